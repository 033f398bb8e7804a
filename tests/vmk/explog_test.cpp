// Exponential and logarithm family: the stored value and status of each special element on
// both routes of the packed frame (inside a block and in the tail), the single twins'
// thresholds, NaN payloads, signed zeros, the names the reports carry, the control state the
// element loops and the packed kernels run under, in-place calls, and the MPFR sweeps.
#include <gtest/gtest.h>

#include <xmmintrin.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iostream>
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
struct Kernels {
  Kd d;
  Ks s;
};
Kernels kernel(const std::string &fn) {
  if (fn == "Exp") return {_vmkdExp_HA, _vmksExp_HA};
  if (fn == "Expm1") return {_vmkdExpm1_HA, _vmksExpm1_HA};
  if (fn == "Ln") return {_vmkdLn_HA, _vmksLn_HA};
  if (fn == "Log10") return {_vmkdLog10_HA, _vmksLog10_HA};
  return {_vmkdLog1p_HA, _vmksLog1p_HA};
}
template <class T>
void run(const std::string &fn, int n, const T *a, T *y) {
  if constexpr (sizeof(T) == 8) kernel(fn).d(n, a, y);
  else kernel(fn).s(n, a, y);
}

// What an element must give: these exact bits, or (kTiny) a result in (0, least normal] as
// the underflow cases give, or (kFinite) a finite number of the sign of `result`.
enum Kind { kBits, kTiny, kFinite };
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
const double kQNaN = d_of(0x7FF8000000000123ull), kQNaNQuiet = kQNaN;
const double kNegQNaN = d_of(0xFFF8000000000456ull);
const double kSNaN = d_of(0x7FF0000000000123ull), kSNaNQuiet = d_of(0x7FF8000000000123ull);
const float kInfF = INFINITY;
const float kDefaultNaNF = f_of(0xFFC00000u);
const float kQNaNF = f_of(0x7FC00123u), kSNaNF = f_of(0x7F800123u), kSNaNQuietF = f_of(0x7FC00123u);

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
        std::vector<T> a(n, T(0.625)), y(n, T(-7));
        a[at] = c.x;
        hpk_vmk_kernel_SetErrorCallBack(record);
        run<T>(c.fn, n, a.data(), y.data());
        const T r = y[at];
        switch (c.kind) {
          case kBits: EXPECT_EQ(bits(r), bits(c.result)) << r; break;
          case kTiny:
            EXPECT_GT(r, T(0));
            EXPECT_LE(r, sizeof(T) == 8 ? T(DBL_MIN) : T(FLT_MIN));
            break;
          case kFinite:
            EXPECT_TRUE(std::isfinite(r)) << r;
            EXPECT_EQ(std::signbit(r), std::signbit(c.result)) << r;
            break;
        }
        if (c.status == 0) {
          EXPECT_TRUE(t_reports.empty());
        } else {
          ASSERT_EQ(t_reports.size(), 1u);
          EXPECT_EQ(t_reports[0].code, c.status);
          EXPECT_EQ(t_reports[0].index, at);
          EXPECT_EQ(t_reports[0].name, std::string("v") + type + c.fn);
        }
        // the neighbours are ordinary elements and were not disturbed
        T expect_other;
        run<T>(c.fn, 1, a.data() + (at == 0 ? 1 % n : 0), &expect_other);
        for (int i = 0; i < n; ++i)
          if (i != at) EXPECT_EQ(bits(y[i]), bits(expect_other)) << i;
      }).join();
    }
  }
}

TEST(ExpFamily, DoubleSpecialsThresholdsAndStatuses) {
  check_specials<double>({
      {"Exp", kQNaN, kQNaNQuiet, 0},
      {"Exp", kSNaN, kSNaNQuiet, 0},
      {"Exp", kNegQNaN, kNegQNaN, 0},
      {"Exp", kInf, kInf, 0},
      {"Exp", -kInf, 0.0, 0},
      {"Exp", -0.0, 1.0, 0},
      {"Exp", d_of(1), 1.0, 0},
      {"Exp", -746.0, 0.0, 4},
      {"Exp", d_of(0xC0874910D52D3052), 0.0, 4},      // -745.1332191019412: still zero
      {"Exp", d_of(0xC0874910D52D3051), 0.0, 4, kTiny},  // one ulp up: the least denormal
      {"Exp", -720.0, 0.0, 4, kTiny},
      {"Exp", d_of(0xC086232BDD7ABCD3), 0.0, 4, kTiny},  // -708.3964185322642
      {"Exp", d_of(0xC086232BDD7ABCD2), 1.0, 0, kFinite},
      {"Exp", 709.78, 1.0, 0, kFinite},
      {"Exp", d_of(0x40862E42FEFA39EF), 1.0, 0, kFinite},  // through 2^1023, times 2
      {"Exp", d_of(0x40862E37E7D8BA72), 1.0, 0, kFinite},
      {"Exp", d_of(0x40862E42FEFA39F0), kInf, 3},
      {"Exp", 709.79, kInf, 3},
      {"Expm1", kQNaN, kQNaNQuiet, 0},
      {"Expm1", kSNaN, kSNaNQuiet, 0},
      {"Expm1", -0.0, -0.0, 0},
      {"Expm1", 0.0, 0.0, 0},
      {"Expm1", d_of(0x8000000000000001ull), d_of(0x8000000000000001ull), 0},
      {"Expm1", 1e-300, 1e-300, 0},
      {"Expm1", -kInf, -1.0, 0},
      {"Expm1", -40.5, -1.0, 0},
      {"Expm1", kInf, kInf, 0},
      {"Expm1", d_of(0x40862E42FEFA39EF), 1.0, 0, kFinite},
      {"Expm1", d_of(0x40862E42FEFA39F0), kInf, 3},
      {"Expm1", 1000.0, kInf, 3},
  });
}

TEST(LogFamily, DoubleSpecialsAndStatuses) {
  std::vector<Special<double>> cases;
  for (const char *fn : {"Ln", "Log10"}) {
    const std::vector<Special<double>> each = {
        {fn, 0.0, -kInf, 2},
        {fn, -0.0, -kInf, 2},
        {fn, -1.0, kDefaultNaN, 1},
        {fn, -d_of(1), kDefaultNaN, 1},
        {fn, -kInf, kDefaultNaN, 1},
        {fn, kInf, kInf, 0},
        {fn, kQNaN, kQNaNQuiet, 0},
        {fn, kNegQNaN, kNegQNaN, 0},
        {fn, kSNaN, kSNaNQuiet, 0},
        {fn, 1.0, 0.0, 0},
        {fn, d_of(1), -1.0, 0, kFinite},
        {fn, DBL_MAX, 1.0, 0, kFinite},
    };
    cases.insert(cases.end(), each.begin(), each.end());
  }
  const std::vector<Special<double>> l1p = {
      {"Log1p", -1.0, -kInf, 0},  // the pole: -inf without a status
      {"Log1p", -1.5, kDefaultNaN, 1},
      {"Log1p", -kInf, kDefaultNaN, 1},
      {"Log1p", kInf, kInf, 0},
      {"Log1p", -0.0, -0.0, 0},
      {"Log1p", d_of(1), d_of(1), 0},
      {"Log1p", kQNaN, kQNaNQuiet, 0},
      {"Log1p", kSNaN, kSNaNQuiet, 0},
      {"Log1p", DBL_MAX, 1.0, 0, kFinite},
      {"Log1p", d_of(0xBFEFFFFFFFFFFFFF), -1.0, 0, kFinite},
  };
  cases.insert(cases.end(), l1p.begin(), l1p.end());
  check_specials<double>(cases);
}

// The single thresholds: the last input with a finite (normal) result and the first without.
TEST(ExpFamily, SingleThresholds) {
  check_specials<float>({
      {"Exp", f_of(0x42B17217u), 1.0f, 0, kFinite},  // 88.72283
      {"Exp", f_of(0x42B17218u), kInfF, 3},
      {"Exp", f_of(0xC2AEAC4Fu), FLT_MIN, 0, kFinite},  // -87.33654: still normal
      {"Exp", f_of(0xC2AEAC50u), 0.0f, 4, kTiny},
      {"Exp", f_of(0xC2CFF1B4u), f_of(1u), 4},  // -103.972076: the least denormal
      {"Exp", f_of(0xC2CFF1B5u), 0.0f, 4},  // -103.972084: zero
      {"Exp", -kInfF, 0.0f, 0},
      {"Exp", kInfF, kInfF, 0},
      {"Exp", kQNaNF, kQNaNF, 0},
      {"Exp", kSNaNF, kSNaNQuietF, 0},
      {"Exp", -0.0f, 1.0f, 0},
      {"Expm1", f_of(0x42B17217u), 1.0f, 0, kFinite},
      {"Expm1", f_of(0x42B17218u), kInfF, 3},
      {"Expm1", -kInfF, -1.0f, 0},
      {"Expm1", -0.0f, -0.0f, 0},
      {"Expm1", f_of(0x80000001u), f_of(0x80000001u), 0},
      {"Expm1", kSNaNF, kSNaNQuietF, 0},
  });
}

TEST(LogFamily, SingleSpecials) {
  std::vector<Special<float>> cases;
  for (const char *fn : {"Ln", "Log10"}) {
    const std::vector<Special<float>> each = {
        {fn, 0.0f, -kInfF, 2},
        {fn, -0.0f, -kInfF, 2},
        {fn, -2.0f, kDefaultNaNF, 1},
        {fn, -kInfF, kDefaultNaNF, 1},
        {fn, kInfF, kInfF, 0},
        {fn, kSNaNF, kSNaNQuietF, 0},
        {fn, 1.0f, 0.0f, 0},
        {fn, f_of(1u), -1.0f, 0, kFinite},
    };
    cases.insert(cases.end(), each.begin(), each.end());
  }
  const std::vector<Special<float>> l1p = {
      {"Log1p", -1.0f, -kInfF, 0},
      {"Log1p", -2.0f, kDefaultNaNF, 1},
      {"Log1p", -0.0f, -0.0f, 0},
      {"Log1p", kSNaNF, kSNaNQuietF, 0},
      {"Log1p", FLT_MAX, 1.0f, 0, kFinite},
  };
  cases.insert(cases.end(), l1p.begin(), l1p.end());
  check_specials<float>(cases);
}

// Values the definitions fix exactly.
TEST(LogFamily, DenormalInputsAndTheIntervalAroundOne) {
  double x[4] = {d_of(1), 1.0, 0.75, 0x1.fffffffffffffp-1}, y[4];
  _vmkdLog10_HA(4, x, y);
  EXPECT_NEAR(y[0], -323.306215343, 1e-9);  // the least denormal
  EXPECT_EQ(bits(y[1]), 0u);
  _vmkdLn_HA(4, x, y);
  EXPECT_NEAR(y[0], -744.440071921, 1e-9);
  EXPECT_EQ(bits(y[1]), 0u);
  // just below 1: N = 0 and row 512, the result is the tiny -2^-53 - 2^-107 - ..., rounded
  EXPECT_EQ(y[3], -0x1p-53);
  EXPECT_EQ(y[2], std::log(0.75));
}

// Element loops hold the x87 at 53 bits, nearest, during the call (the call-back runs under the
// kernel's state) and give the caller's word back; the packed kernels do the same with MXCSR.
uint16_t t_seen_cw;
uint32_t t_seen_csr;
int observe(HpkVmkErrorContext *) {
  __asm__ volatile("fnstcw %0" : "=m"(t_seen_cw));
  t_seen_csr = _mm_getcsr();
  return 0;
}

TEST(ExpFamily, ControlStateDuringTheCallAndAfter) {
  std::thread([] {
    hpk_vmk_kernel_SetErrorCallBack(observe);
    uint16_t cw, extended;
    __asm__ volatile("fnstcw %0" : "=m"(cw));
    extended = uint16_t((cw & 0xF0FF) | 0x300);
    __asm__ volatile("fldcw %0" : : "m"(extended));
    const double big[1] = {1000.0};
    double y[1];
    _vmkdExpm1_HA(1, big, y);
    EXPECT_EQ(t_seen_cw & 0xF00, 0x200);
    uint16_t after;
    __asm__ volatile("fnstcw %0" : "=m"(after));
    EXPECT_EQ(after, extended);
    __asm__ volatile("fldcw %0" : : "m"(cw));

    const uint32_t csr = _mm_getcsr();
    _mm_setcsr((csr & ~0x6000u) | 0x4000u);  // round up
    hpk_vmk_kernel_SetMode(HPK_VMK_HA | HPK_VMK_ERRMODE_CALLBACK | HPK_VMK_FTZDAZ_ON);
    _vmkdExp_HA(1, big, y);
    EXPECT_EQ(t_seen_csr & 0xE040, 0x8040u);
    EXPECT_EQ(_mm_getcsr() & 0xE040, (csr & ~0x6000u & 0xE040) | 0x4000u);
    _mm_setcsr(csr);
  }).join();
}

// Every kernel runs its arithmetic in round to nearest whatever the caller's rounding mode.
TEST(ExpFamily, CallerRoundingModeDoesNotChangeResults) {
  std::vector<double> a;
  for (int i = 0; i < 400; ++i) a.push_back(0.0137 * i * i - 300.0 + 1e-9 * i);
  std::thread([&] {
    for (const char *fn : {"Exp", "Expm1", "Ln", "Log10", "Log1p"}) {
      std::vector<double> near(a.size()), up(a.size());
      std::vector<float> af(a.begin(), a.end()), nearf(a.size()), upf(a.size());
      run<double>(fn, int(a.size()), a.data(), near.data());
      run<float>(fn, int(a.size()), af.data(), nearf.data());
      const uint32_t csr = _mm_getcsr();
      _mm_setcsr((csr & ~0x6000u) | 0x4000u);  // round up
      run<double>(fn, int(a.size()), a.data(), up.data());
      run<float>(fn, int(a.size()), af.data(), upf.data());
      _mm_setcsr(csr);
      for (size_t i = 0; i < a.size(); ++i) {
        EXPECT_EQ(bits(up[i]), bits(near[i])) << fn << " " << a[i];
        EXPECT_EQ(bits(upf[i]), bits(nearf[i])) << fn << " " << af[i];
      }
    }
  }).join();
}

TEST(ExpFamily, InPlaceGivesTheSameResults) {
  std::vector<double> a(101);
  std::vector<float> af(101);
  for (int i = 0; i < 101; ++i) af[i] = float(a[i] = 0.37 * i - 3.1);
  for (const char *fn : {"Exp", "Expm1", "Ln", "Log10", "Log1p"}) {
    std::vector<double> y(101), in(a);
    std::vector<float> yf(101), inf(af);
    run<double>(fn, 101, a.data(), y.data());
    std::thread([&] {  // negative inputs of the logarithms report; keep the main thread clean
      run<double>(fn, 101, in.data(), in.data());
      run<float>(fn, 101, af.data(), yf.data());
      run<float>(fn, 101, inf.data(), inf.data());
    }).join();
    for (int i = 0; i < 101; ++i) {
      EXPECT_EQ(bits(in[i]), bits(y[i])) << fn << i;
      EXPECT_EQ(bits(inf[i]), bits(yf[i])) << fn << i;
    }
  }
}

// Accuracy against MPFR: random sweeps of the whole range, the ranges near 0 and 1 where the
// functions cancel, and the special and threshold inputs of the oracle's case list.
TEST(ExpLogAccuracy, WithinOneUlpOfMpfr) {
  for (const auto &c : hpk::oracle::cases()) {
    const std::string n = c.name.substr(1);
    if (n != "Exp" && n != "Expm1" && n != "Ln" && n != "Log10" && n != "Log1p") continue;
    hpk::oracle::Worst w;
    std::thread([&] { w = hpk::oracle::sweep(c, 40000, 17); }).join();
    std::cout << "[ accuracy ] " << c.name << " " << w.max_ulp << " ulp at " << std::hexfloat << w.x
              << std::defaultfloat << " (" << w.samples << " samples)\n";
    EXPECT_LE(w.max_ulp, c.bound_ulp) << c.name << " at " << std::hexfloat << w.x;
    EXPECT_GT(w.samples, 80000);
  }
}

}  // namespace
