// Hyperbolic family: stored values and statuses of the special elements on both routes of the
// packed frame (inside a block and in the tail), the overflow thresholds, the domain edges of
// Acosh and Atanh, tiny arguments kept as they are (also under denormals-are-zero), symmetry,
// the control state of sCosh, in-place calls, and the MPFR sweeps.
#include <gtest/gtest.h>

#include <xmmintrin.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "oracle.hpp"

namespace {

using namespace hpk::test;

using Kd = void (*)(int, const double *, double *);
using Ks = void (*)(int, const float *, float *);
const std::map<std::string, std::pair<Kd, Ks>> kKernels = {
    {"Sinh", {_vmkdSinh_HA, _vmksSinh_HA}},   {"Cosh", {_vmkdCosh_HA, _vmksCosh_HA}},
    {"Tanh", {_vmkdTanh_HA, _vmksTanh_HA}},   {"Asinh", {_vmkdAsinh_HA, _vmksAsinh_HA}},
    {"Acosh", {_vmkdAcosh_HA, _vmksAcosh_HA}}, {"Atanh", {_vmkdAtanh_HA, _vmksAtanh_HA}}};
const char *const kNames[] = {"Sinh", "Cosh", "Tanh", "Asinh", "Acosh", "Atanh"};

template <class T>
void run(const std::string &fn, int n, const T *a, T *y) {
  if constexpr (sizeof(T) == 8) kKernels.at(fn).first(n, a, y);
  else kKernels.at(fn).second(n, a, y);
}

// What an element must give: these exact bits, or (kFinite) a finite number of the sign of
// `result` at least half its size.
enum Kind { kBits, kFinite };
template <class T>
struct Special {
  const char *fn;
  T x;
  T result;
  int status;
  Kind kind = kBits;
};

const double kInf = INFINITY;
const double kDefaultNaN = d_of(0xFFF8000000000000ull);
const double kQNaN = d_of(0x7FF8000000000123ull);
const double kNegQNaN = d_of(0xFFF8000000000456ull);
const double kSNaN = d_of(0x7FF0000000000123ull), kSNaNQuiet = d_of(0x7FF8000000000123ull);
const double kDenorm = d_of(0x800000000000BEEFull);
const float kInfF = INFINITY;
const float kDefaultNaNF = f_of(0xFFC00000u);
const float kSNaNF = f_of(0x7F800123u), kSNaNQuietF = f_of(0x7FC00123u);
const float kDenormF = f_of(0x00012345u);

template <class T>
void check_specials(const std::vector<Special<T>> &cases) {
  const char type = sizeof(T) == 8 ? 'd' : 's';
  const int block = sizeof(T) == 8 ? 8 : 16;
  const int placements[][2] = {{1, 0}, {block, 5}, {block + 3, block + 1}, {3 * block, block - 1}};
  for (const Special<T> &c : cases) {
    for (const auto &p : placements) {
      const int n = p[0], at = p[1];
      std::thread([&] {
        SCOPED_TRACE(std::string(1, type) + c.fn + " of " + std::to_string(double(c.x)) + " at " +
                     std::to_string(at) + " of " + std::to_string(n));
        std::vector<T> a(n, std::string(c.fn) == "Acosh" ? T(1.375) : T(0.375)), y(n, T(-7));
        a[at] = c.x;
        hpk_vmk_kernel_SetErrorCallBack(record);
        run<T>(c.fn, n, a.data(), y.data());
        const T r = y[at];
        if (c.kind == kBits) {
          EXPECT_EQ(bits(r), bits(c.result)) << r;
        } else {
          EXPECT_TRUE(std::isfinite(r)) << r;
          EXPECT_EQ(std::signbit(r), std::signbit(c.result)) << r;
          EXPECT_GE(std::fabs(r), std::fabs(c.result) / 2) << r;
        }
        if (c.status == 0) {
          EXPECT_TRUE(t_reports.empty());
        } else {
          ASSERT_EQ(t_reports.size(), 1u);
          EXPECT_EQ(t_reports[0].code, c.status);
          EXPECT_EQ(t_reports[0].index, at);
          EXPECT_EQ(t_reports[0].name, std::string("v") + type + c.fn);
        }
        T other;  // the neighbours are ordinary elements and were not disturbed
        run<T>(c.fn, 1, a.data() + (at == 0 ? 1 % n : 0), &other);
        for (int i = 0; i < n; ++i)
          if (i != at) EXPECT_EQ(bits(y[i]), bits(other)) << i;
      }).join();
    }
  }
}

// NaNs are quieted and never reported, by every function.
template <class T>
std::vector<Special<T>> nan_cases(T q, T s, T s_quiet) {
  std::vector<Special<T>> v;
  for (const char *fn : kNames) {
    v.push_back({fn, q, q, 0});
    v.push_back({fn, s, s_quiet, 0});
  }
  return v;
}

TEST(HyperbolicFamily, DoubleSpecialsThresholdsAndStatuses) {
  std::vector<Special<double>> cases = nan_cases(kQNaN, kSNaN, kSNaNQuiet);
  for (const char *fn : kNames) cases.push_back({fn, kNegQNaN, kNegQNaN, 0});
  const std::vector<Special<double>> each = {
      {"Sinh", kInf, kInf, 0},
      {"Sinh", -kInf, -kInf, 0},
      {"Sinh", -0.0, -0.0, 0},
      {"Sinh", kDenorm, kDenorm, 0},
      {"Sinh", 0x1p-29, 0x1p-29, 0},
      {"Sinh", d_of(0x408633CE8FB9F87Dull), DBL_MAX / 2, 0, kFinite},  // 710.4758600739439
      {"Sinh", d_of(0xC08633CE8FB9F87Dull), -DBL_MAX / 2, 0, kFinite},
      {"Sinh", d_of(0x408633CE8FB9F87Eull), kInf, 3},
      {"Sinh", d_of(0xC08633CE8FB9F87Eull), -kInf, 3},
      {"Sinh", 709.78125, 1e300, 0, kFinite},  // first element of the scalar route
      {"Sinh", 1e5, kInf, 3},
      {"Sinh", -DBL_MAX, -kInf, 3},
      {"Cosh", kInf, kInf, 0},
      {"Cosh", -kInf, kInf, 0},
      {"Cosh", -0.0, 1.0, 0},
      {"Cosh", kDenorm, 1.0, 0},
      {"Cosh", d_of(0x408633CE8FB9F87Dull), DBL_MAX / 2, 0, kFinite},
      {"Cosh", d_of(0xC08633CE8FB9F87Eull), kInf, 3},
      {"Cosh", DBL_MAX, kInf, 3},
      {"Tanh", kInf, 1.0, 0},
      {"Tanh", -kInf, -1.0, 0},
      {"Tanh", -22.0, -1.0, 0},
      {"Tanh", 1e300, 1.0, 0},
      {"Tanh", kDenorm, kDenorm, 0},
      {"Tanh", -0.0, -0.0, 0},
      {"Asinh", kInf, kInf, 0},
      {"Asinh", -kInf, -kInf, 0},
      {"Asinh", kDenorm, kDenorm, 0},
      {"Asinh", -0.0, -0.0, 0},
      {"Asinh", -DBL_MAX, -710.0, 0, kFinite},
      {"Acosh", 1.0, 0.0, 0},
      {"Acosh", kInf, kInf, 0},
      {"Acosh", DBL_MAX, 710.0, 0, kFinite},
      {"Acosh", d_of(0x3FEFFFFFFFFFFFFFull), kDefaultNaN, 1},
      {"Acosh", 0.0, kDefaultNaN, 1},
      {"Acosh", -1.0, kDefaultNaN, 1},
      {"Acosh", -kInf, kDefaultNaN, 1},
      {"Atanh", 1.0, kInf, 2},
      {"Atanh", -1.0, -kInf, 2},
      {"Atanh", d_of(0x3FF0000000000001ull), kDefaultNaN, 1},
      {"Atanh", -2.0, kDefaultNaN, 1},
      {"Atanh", kInf, kDefaultNaN, 1},
      {"Atanh", -kInf, kDefaultNaN, 1},
      {"Atanh", d_of(0xBFEFFFFFFFFFFFFFull), -18.0, 0, kFinite},  // -18.714973875118524
      {"Atanh", kDenorm, kDenorm, 0},
      {"Atanh", -0.0, -0.0, 0},
  };
  cases.insert(cases.end(), each.begin(), each.end());
  check_specials<double>(cases);
}

// The single thresholds: the last input with a finite result and the first without, which
// the double route reaches without overflowing itself.
TEST(HyperbolicFamily, SingleSpecialsThresholdsAndStatuses) {
  std::vector<Special<float>> cases = nan_cases(f_of(0x7FC00123u), kSNaNF, kSNaNQuietF);
  const std::vector<Special<float>> each = {
      {"Sinh", f_of(0x42B2D4FCu), FLT_MAX / 2, 0, kFinite},  // 89.41598510742188
      {"Sinh", f_of(0xC2B2D4FCu), -FLT_MAX / 2, 0, kFinite},
      {"Sinh", f_of(0x42B2D4FDu), kInfF, 3},  // 89.4159927368164
      {"Sinh", f_of(0xC2B2D4FDu), -kInfF, 3},
      {"Sinh", FLT_MAX, kInfF, 3},
      {"Sinh", -kInfF, -kInfF, 0},
      {"Sinh", kDenormF, kDenormF, 0},
      {"Sinh", -0.0f, -0.0f, 0},
      {"Cosh", f_of(0xC2B2D4FCu), FLT_MAX / 2, 0, kFinite},
      {"Cosh", f_of(0x42B2D4FDu), kInfF, 3},
      {"Cosh", -kInfF, kInfF, 0},
      {"Cosh", kDenormF, 1.0f, 0},
      {"Tanh", -kInfF, -1.0f, 0},
      {"Tanh", 9.5f, 1.0f, 0},
      {"Tanh", kDenormF, kDenormF, 0},
      {"Asinh", -kInfF, -kInfF, 0},
      {"Asinh", FLT_MAX, 89.0f, 0, kFinite},
      {"Asinh", kDenormF, kDenormF, 0},
      {"Acosh", 1.0f, 0.0f, 0},
      {"Acosh", 0x1.fffffep-1f, kDefaultNaNF, 1},
      {"Acosh", -kInfF, kDefaultNaNF, 1},
      {"Acosh", kInfF, kInfF, 0},
      {"Atanh", -1.0f, -kInfF, 2},
      {"Atanh", 1.0f, kInfF, 2},
      {"Atanh", 0x1.000002p+0f, kDefaultNaNF, 1},
      {"Atanh", kInfF, kDefaultNaNF, 1},
      {"Atanh", 0x1.fffffep-1f, 8.0f, 0, kFinite},  // 8.664340
      {"Atanh", -kDenormF, -kDenormF, 0},
  };
  cases.insert(cases.end(), each.begin(), each.end());
  check_specials<float>(cases);
}

// Tiny arguments of the odd functions give the argument itself, denormals included, also when
// the mode asks for denormals-are-zero (which the packed arithmetic would obey).
TEST(HyperbolicFamily, TinyArgumentsAreTheirOwnResultUnderEitherDenormalMode) {
  std::thread([] {
    for (const uint64_t mode : {uint64_t(HPK_VMK_HA), uint64_t(HPK_VMK_HA | HPK_VMK_FTZDAZ_ON)}) {
      hpk_vmk_kernel_SetMode(mode);
      std::vector<double> a = {d_of(1), -d_of(0x000FFFFFFFFFFFFFull), 0x1p-1022, -0x1p-40,
                               0x1.fffffffffffffp-29, -0x1p-1000, 0x1p-600, d_of(0x8000000000000777ull), 0x1p-30};
      std::vector<float> af = {f_of(1u), -f_of(0x007FFFFFu), 0x1p-126f, -0x1p-20f, 0x1.fffffep-13f,
                               -0x1p-100f, f_of(0x80000777u), 0x1p-13f, 0x1p-60f,
                               f_of(0x00400000u), -0x1p-14f, 0x1p-30f, -0x1p-125f, 0x1p-127f,
                               f_of(2u), -f_of(3u), 0x1p-15f};
      for (const char *fn : {"Sinh", "Tanh", "Asinh", "Atanh"}) {
        std::vector<double> y(a.size());
        std::vector<float> yf(af.size());
        run<double>(fn, int(a.size()), a.data(), y.data());
        run<float>(fn, int(af.size()), af.data(), yf.data());
        for (size_t i = 0; i < a.size(); ++i) EXPECT_EQ(bits(y[i]), bits(a[i])) << fn << " " << a[i];
        for (size_t i = 0; i < af.size(); ++i)
          EXPECT_EQ(bits(yf[i]), bits(af[i])) << fn << " " << af[i];
      }
    }
  }).join();
}

// Sinh, Tanh, Asinh, Atanh are odd and Cosh is even, to the bit, on every route.
TEST(HyperbolicFamily, SymmetryOnEveryRoute) {
  std::vector<double> a;
  for (double x = 0x1p-30; x < 800; x *= 1.0137) a.push_back(x);
  std::vector<double> na(a.size());
  for (size_t i = 0; i < a.size(); ++i) na[i] = -a[i];
  std::vector<float> af(a.begin(), a.end()), naf(na.begin(), na.end());
  std::thread([&] {
    hpk_vmk_kernel_SetErrorCallBack(record);
    for (const char *fn : {"Sinh", "Cosh", "Tanh", "Asinh", "Atanh"}) {
      const bool even = std::string(fn) == "Cosh";
      const size_t len = std::string(fn) == "Atanh" ? 1500 : a.size();  // |x| < 1 there
      ASSERT_LT(a[len - 1], 1.0 + (len == a.size()) * 1e3);
      std::vector<double> y(a.size()), ny(a.size());
      std::vector<float> yf(a.size()), nyf(a.size());
      run<double>(fn, int(a.size()), a.data(), y.data());
      run<double>(fn, int(a.size()), na.data(), ny.data());
      run<float>(fn, int(a.size()), af.data(), yf.data());
      run<float>(fn, int(a.size()), naf.data(), nyf.data());
      for (size_t i = 0; i < len; ++i) {
        EXPECT_EQ(bits(ny[i]), bits(even ? y[i] : -y[i])) << fn << " " << a[i];
        EXPECT_EQ(bits(nyf[i]), bits(even ? yf[i] : -yf[i])) << fn << " " << af[i];
      }
    }
  }).join();
}

// sCosh holds the x87 at 64 bits, nearest, and MXCSR at the mode's state during the call (the
// call-back runs under the kernel's state), and gives both words back.
uint16_t t_seen_cw;
uint32_t t_seen_csr;
int observe(HpkVmkErrorContext *) {
  __asm__ volatile("fnstcw %0" : "=m"(t_seen_cw));
  t_seen_csr = _mm_getcsr();
  return 0;
}

TEST(HyperbolicFamily, SingleCoshRunsUnderBothControlSchemes) {
  std::thread([] {
    hpk_vmk_kernel_SetErrorCallBack(observe);
    hpk_vmk_kernel_SetMode(HPK_VMK_HA | HPK_VMK_ERRMODE_CALLBACK | HPK_VMK_FTZDAZ_ON);
    uint16_t cw;
    __asm__ volatile("fnstcw %0" : "=m"(cw));
    const uint16_t dbl_up = uint16_t((cw & 0xF0FF) | 0x200 | 0x800);  // 53 bits, round up
    __asm__ volatile("fldcw %0" : : "m"(dbl_up));
    const uint32_t csr = _mm_getcsr();
    const uint32_t up = (csr & ~0x6000u) | 0x4000u;
    _mm_setcsr(up);
    const float big[1] = {100.0f};
    float y[1];
    t_seen_cw = 0;
    _vmksCosh_HA(1, big, y);
    uint16_t after;
    __asm__ volatile("fnstcw %0" : "=m"(after));
    const uint32_t csr_after = _mm_getcsr();
    __asm__ volatile("fldcw %0" : : "m"(cw));
    _mm_setcsr(csr);
    EXPECT_EQ(t_seen_cw & 0xF00, 0x300);
    EXPECT_EQ(t_seen_csr & 0xE040, 0x8040u);
    EXPECT_EQ(after, dbl_up);
    EXPECT_EQ(csr_after & 0xE040, up & 0xE040);
    EXPECT_EQ(y[0], kInfF);
  }).join();
}

// Every kernel runs round-to-nearest whatever the caller's rounding mode.
TEST(HyperbolicFamily, CallerRoundingModeDoesNotChangeResults) {
  std::vector<double> a;
  for (int i = 0; i < 203; ++i) a.push_back(1.0 + 0.0731 * i * (i % 2 ? 1 : -0.1));
  std::vector<float> af(a.begin(), a.end());
  std::thread([&] {
    hpk_vmk_kernel_SetErrorCallBack(record);
    for (const char *fn : kNames) {
      std::vector<double> y(a.size()), yu(a.size());
      std::vector<float> yf(a.size()), yfu(a.size());
      run<double>(fn, int(a.size()), a.data(), y.data());
      run<float>(fn, int(a.size()), af.data(), yf.data());
      const uint32_t csr = _mm_getcsr();
      _mm_setcsr((csr & ~0x6000u) | 0x2000u);  // round down
      run<double>(fn, int(a.size()), a.data(), yu.data());
      run<float>(fn, int(a.size()), af.data(), yfu.data());
      _mm_setcsr(csr);
      for (size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(bits(yu[i]), bits(y[i])) << fn << " " << a[i];
        EXPECT_EQ(bits(yfu[i]), bits(yf[i])) << fn << " " << af[i];
      }
    }
  }).join();
}

TEST(HyperbolicFamily, InPlaceGivesTheSameResults) {
  std::vector<double> a(101);
  std::vector<float> af(101);
  for (int i = 0; i < 101; ++i) af[i] = float(a[i] = 0.043 * i - 2.1);
  std::thread([&] {
    hpk_vmk_kernel_SetErrorCallBack(record);
    for (const char *fn : kNames) {
      std::vector<double> y(101), in(a);
      std::vector<float> yf(101), inf(af);
      run<double>(fn, 101, a.data(), y.data());
      run<double>(fn, 101, in.data(), in.data());
      run<float>(fn, 101, af.data(), yf.data());
      run<float>(fn, 101, inf.data(), inf.data());
      for (int i = 0; i < 101; ++i) {
        EXPECT_EQ(bits(in[i]), bits(y[i])) << fn << i;
        EXPECT_EQ(bits(inf[i]), bits(yf[i])) << fn << i;
      }
    }
  }).join();
}

// Accuracy against MPFR: random sweeps of the whole range, the neighbourhoods of 0, of 1
// (Acosh), of +-1 (Atanh) and of the overflow thresholds, and the route boundaries.
TEST(HyperbolicAccuracy, WithinOneUlpOfMpfr) {
  int seen = 0;
  for (const auto &c : hpk::oracle::cases()) {
    const std::string n = c.name.substr(1);
    if (!kKernels.count(n)) continue;
    ++seen;
    hpk::oracle::Worst w;
    std::thread([&] { w = hpk::oracle::sweep(c, 20000, 23); }).join();
    std::cout << "[ accuracy ] " << c.name << " " << w.max_ulp << " ulp at " << std::hexfloat << w.x
              << std::defaultfloat << " (" << w.samples << " samples)\n";
    EXPECT_LE(w.max_ulp, 1.0) << c.name << " at " << std::hexfloat << w.x;
    EXPECT_GT(w.samples, 60000);
  }
  EXPECT_EQ(seen, 12);
}

}  // namespace
