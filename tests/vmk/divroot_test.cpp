// Division and root family: the stored value and the status of every special element, on both
// routes of the packed frame (inside a block and in the tail); element results independent of
// their position; reports in element order with the right names; call-backs and exception
// flags end to end; and the MPFR accuracy sweeps.
#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "oracle.hpp"

namespace {

using namespace hpk::test;

template <class F>
void on_fresh_thread(F f) {
  std::thread(f).join();
}

using Kd1 = void (*)(int, const double *, double *);
using Kd2 = void (*)(int, const double *, const double *, double *);
using Ks1 = void (*)(int, const float *, float *);
using Ks2 = void (*)(int, const float *, const float *, float *);

// One element of a kernel, bit patterns of input(s) and result, and its status.
template <class T>
struct Special {
  const char *fn;
  T a, b;  // b only for Div
  T result;
  int status;
};

const double kInf = std::numeric_limits<double>::infinity();
const double kDefaultNaN = d_of(0xFFF8000000000000ull);
const double kQNaN = d_of(0x7FF8000000000123ull);
const double kSNaN = d_of(0x7FF0000000000123ull);
const double kDenormMin = d_of(1);
const float kInfF = std::numeric_limits<float>::infinity();
const float kDefaultNaNF = f_of(0xFFC00000u);
const float kQNaNF = f_of(0x7FC00123u);
const float kSNaNF = f_of(0x7F800123u);

// Kernels by name; a two-input kernel is marked by its name "Div".
struct Kernels {
  Kd1 d1;
  Kd2 d2;
  Ks1 s1;
  Ks2 s2;
};
Kernels kernel(const std::string &fn) {
  if (fn == "Div") return {nullptr, _vmkdDiv, nullptr, _vmksDiv};
  if (fn == "Inv") return {_vmkdInv, nullptr, _vmksInv, nullptr};
  if (fn == "Sqrt") return {_vmkdSqrt, nullptr, _vmksSqrt, nullptr};
  if (fn == "InvSqrt") return {_vmkdInvSqrt, nullptr, _vmksInvSqrt, nullptr};
  if (fn == "Cbrt") return {_vmkdCbrt, nullptr, _vmksCbrt, nullptr};
  return {_vmkdInvCbrt, nullptr, _vmksInvCbrt, nullptr};
}

template <class T>
void run(const std::string &fn, int n, const T *a, const T *b, T *y) {
  const Kernels k = kernel(fn);
  if constexpr (sizeof(T) == 8) {
    if (k.d2) k.d2(n, a, b, y);
    else k.d1(n, a, y);
  } else {
    if (k.s2) k.s2(n, a, b, y);
    else k.s1(n, a, y);
  }
}

// Each special element at a position in the tail of a short array, inside a packed block,
// and in the tail after a block; the other elements are ordinary (they report nothing).
template <class T>
void check_specials(const std::vector<Special<T>> &cases) {
  const char type = sizeof(T) == 8 ? 'd' : 's';
  const int block = sizeof(T) == 8 ? 8 : 16;
  const int placements[][2] = {{1, 0}, {block, 5}, {block + 3, block + 1}, {3 * block, block - 1}};
  for (const Special<T> &c : cases) {
    for (const auto &p : placements) {
      const int n = p[0], at = p[1];
      on_fresh_thread([&] {
        SCOPED_TRACE(std::string(1, type) + c.fn + " of " + std::to_string(double(c.a)) + ", " +
                     std::to_string(double(c.b)) + " at " + std::to_string(at) + " of " +
                     std::to_string(n));
        std::vector<T> a(n, T(1.5)), b(n, T(0.75)), y(n, T(-7));
        a[at] = c.a;
        b[at] = c.b;
        hpk_vmk_kernel_SetErrorCallBack(record);
        run<T>(c.fn, n, a.data(), b.data(), y.data());
        EXPECT_EQ(bits(y[at]), bits(c.result));
        if (c.status == 0) {
          EXPECT_TRUE(t_reports.empty());
        } else {
          ASSERT_EQ(t_reports.size(), 1u);
          EXPECT_EQ(t_reports[0].code, c.status);
          EXPECT_EQ(t_reports[0].index, at);
          EXPECT_EQ(t_reports[0].name, std::string("v") + type + c.fn);
        }
      });
    }
  }
}

TEST(DivRootSpecials, DoubleStatusesAndStoredValues) {
  const double big = 0x1.fffffffffffffp1023;
  check_specials<double>({
      {"Div", 1.0, 0.0, kInf, 2},
      {"Div", -1.0, 0.0, -kInf, 2},
      {"Div", 1.0, -0.0, -kInf, 2},
      {"Div", 0.0, 0.0, kDefaultNaN, 2},  // 0/0 reports 2, not 1
      {"Div", kQNaN, 0.0, kQNaN, 0},      // NaN never reports
      {"Div", kInf, 0.0, kInf, 0},        // nor does an infinity
      {"Div", 1.0, kQNaN, kQNaN, 0},
      {"Div", kInf, kInf, kDefaultNaN, 0},
      {"Div", big, 0.5, kInf, 0},  // overflow is the hardware's, without status
      {"Div", 6.0, 3.0, 2.0, 0},
      {"Inv", -0.0, 0, -kInf, 2},
      {"Inv", 0.0, 0, kInf, 2},
      {"Inv", kInf, 0, 0.0, 0},
      {"Inv", kQNaN, 0, kQNaN, 0},
      {"Inv", 4.0, 0, 0.25, 0},
      {"Sqrt", -0.0, 0, -0.0, 0},
      {"Sqrt", 0.0, 0, 0.0, 0},
      {"Sqrt", -kDenormMin, 0, kDefaultNaN, 1},
      {"Sqrt", -1.0, 0, kDefaultNaN, 1},
      {"Sqrt", -kInf, 0, kDefaultNaN, 1},
      {"Sqrt", kInf, 0, kInf, 0},
      {"Sqrt", kQNaN, 0, kQNaN, 0},
      {"Sqrt", kSNaN, 0, kQNaN, 0},  // quieted by the product with 1
      {"Sqrt", d_of(0xFFF8000000000123ull), 0, d_of(0xFFF8000000000123ull), 0},
      {"Sqrt", kDenormMin, 0, 0x1p-537, 0},
      {"Sqrt", 0x1.2p-1070, 0, std::sqrt(0x1.2p-1070), 0},
      {"Sqrt", 0x1.8p1022, 0, std::sqrt(0x1.8p1022), 0},
      {"Sqrt", 0x1p-1022, 0, 0x1p-511, 0},
      {"InvSqrt", 0.0, 0, kInf, 2},
      {"InvSqrt", -0.0, 0, kInf, 2},
      {"InvSqrt", -1.0, 0, kDefaultNaN, 1},
      {"InvSqrt", -kInf, 0, kDefaultNaN, 1},
      {"InvSqrt", kInf, 0, 0.0, 0},
      {"InvSqrt", kQNaN, 0, kQNaN, 0},
      {"InvSqrt", kDenormMin, 0, 0x1p537, 0},
      {"InvSqrt", 4.0, 0, 0.5, 0},
      {"Cbrt", -0.0, 0, -0.0, 0},
      {"Cbrt", kInf, 0, kInf, 0},
      {"Cbrt", -kInf, 0, -kInf, 0},
      {"Cbrt", kSNaN, 0, kQNaN, 0},
      {"Cbrt", -8.0, 0, -2.0, 0},
      {"Cbrt", 0x1.bp4, 0, 3.0, 0},
      {"Cbrt", kDenormMin, 0, 0x1p-358, 0},
      {"Cbrt", -0x1p-1071, 0, -0x1p-357, 0},
      {"Cbrt", 0x1p1023, 0, 0x1p341, 0},
      {"InvCbrt", 0.0, 0, kInf, 2},
      {"InvCbrt", -0.0, 0, -kInf, 2},
      {"InvCbrt", kInf, 0, 0.0, 0},
      {"InvCbrt", -kInf, 0, -0.0, 0},
      {"InvCbrt", kQNaN, 0, kQNaN, 0},
      {"InvCbrt", -8.0, 0, -0.5, 0},
      {"InvCbrt", kDenormMin, 0, 0x1p358, 0},
      {"InvCbrt", 0x1p-1020, 0, 0x1p340, 0},
  });
}

TEST(DivRootSpecials, SingleStatusesAndStoredValues) {
  const float denorm = std::numeric_limits<float>::denorm_min();
  check_specials<float>({
      {"Div", 1.0f, 0.0f, kInfF, 2},
      {"Div", 0.0f, -0.0f, f_of(0xFFC00000u), 2},
      {"Div", kQNaNF, 0.0f, kQNaNF, 0},
      {"Div", -kInfF, 0.0f, -kInfF, 0},
      {"Div", 1.0f, 3.0f, 1.0f / 3.0f, 0},
      {"Inv", -0.0f, 0, -kInfF, 2},
      {"Inv", 3.0f, 0, 1.0f / 3.0f, 0},
      {"Sqrt", -0.0f, 0, -0.0f, 0},
      {"Sqrt", -denorm, 0, kDefaultNaNF, 1},
      {"Sqrt", -kInfF, 0, kDefaultNaNF, 1},
      {"Sqrt", kSNaNF, 0, kQNaNF, 0},
      {"Sqrt", 0x1p-148f, 0, 0x1p-74f, 0},
      {"Sqrt", 2.0f, 0, std::sqrt(2.0f), 0},
      {"InvSqrt", 0.0f, 0, kInfF, 2},
      {"InvSqrt", -2.0f, 0, kDefaultNaNF, 1},
      {"InvSqrt", kInfF, 0, 0.0f, 0},
      {"InvSqrt", 0x1p-148f, 0, 0x1p74f, 0},
      {"Cbrt", -0x1p-147f, 0, -0x1p-49f, 0},
      {"Cbrt", -kInfF, 0, -kInfF, 0},
      {"Cbrt", 0x1.bp4f, 0, 3.0f, 0},
      {"InvCbrt", -0.0f, 0, -kInfF, 2},
      {"InvCbrt", 0x1p-147f, 0, 0x1p49f, 0},
      {"InvCbrt", kQNaNF, 0, kQNaNF, 0},
  });
}

// Inputs that visit every route: ordinary values of all magnitudes, with zeros, denormals,
// negatives, infinities and NaNs sprinkled in.
template <class T>
std::vector<T> mixed_inputs(int n, uint64_t seed) {
  std::mt19937_64 g(seed);
  const T specials[] = {T(0), -T(0), std::numeric_limits<T>::denorm_min(),
                        std::numeric_limits<T>::infinity(), -std::numeric_limits<T>::infinity(),
                        std::numeric_limits<T>::quiet_NaN(), T(-1), std::numeric_limits<T>::max(),
                        std::numeric_limits<T>::min()};
  std::vector<T> v(n);
  for (T &x : v) {
    if (g() % 5 == 0) {
      x = specials[g() % 9];
    } else {
      using U = std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t>;
      const U u = U(g());
      std::memcpy(&x, &u, sizeof x);
      if (std::isnan(x)) x = T(0.5);
    }
  }
  return v;
}

template <class T>
void check_position_independence(const std::string &fn) {
  on_fresh_thread([&] {
    SCOPED_TRACE(std::string(sizeof(T) == 8 ? "d" : "s") + fn);
    hpk_vmk_kernel_SetMode(0x100);  // statuses only: this test looks at values
    const int n = 77;
    const std::vector<T> a = mixed_inputs<T>(n, 7), b = mixed_inputs<T>(n, 8);
    std::vector<T> y(n), one(1), in_place = a;
    run<T>(fn, n, a.data(), b.data(), y.data());
    for (int i = 0; i < n; ++i) {
      run<T>(fn, 1, &a[i], &b[i], one.data());
      ASSERT_EQ(bits(y[i]), bits(one[0])) << "element " << i << " input " << double(a[i]);
    }
    // y == a: every input is read before its block is stored.
    run<T>(fn, n, in_place.data(), b.data(), in_place.data());
    for (int i = 0; i < n; ++i) ASSERT_EQ(bits(in_place[i]), bits(y[i])) << "element " << i;
  });
}

TEST(DivRootFrame, ElementResultsDoNotDependOnPositionOrAliasing) {
  for (const char *fn : {"Div", "Inv", "Sqrt", "InvSqrt", "Cbrt", "InvCbrt"}) {
    check_position_independence<double>(fn);
    check_position_independence<float>(fn);
  }
}

TEST(DivRootFrame, ReportsComeInElementOrderWithWholeArrayIndices) {
  on_fresh_thread([] {
    std::vector<double> a(29, 2.0), y(29);
    for (int i : {2, 7, 13, 23, 28}) a[i] = -3.0;
    hpk_vmk_kernel_SetErrorCallBack(record);
    // The calling layer hands the kernel the piece starting at element 4 of a longer array.
    std::vector<double> whole(4, 1.0);
    whole.insert(whole.end(), a.begin(), a.end());
    hpk_vmk_kernel_SetInterfInputVectorPointer(whole.data());
    _vmkdSqrt(29, whole.data() + 4, y.data());
    ASSERT_EQ(t_reports.size(), 5u);
    const int expected[] = {2, 7, 13, 23, 28};
    for (int k = 0; k < 5; ++k) {
      EXPECT_EQ(t_reports[k].index, expected[k] + 4);
      EXPECT_EQ(t_reports[k].code, 1);
      EXPECT_EQ(bits(y[expected[k]]), 0xFFF8000000000000ull);
    }
    EXPECT_EQ(y[3], std::sqrt(2.0));
  });
}

int replace_result(HpkVmkErrorContext *c) {
  c->res1 = -123.0;
  return 0;
}

TEST(DivRootFrame, CallBackReplacementReachesTheArray) {
  on_fresh_thread([] {
    double a[20], b[20], y[20];
    for (int i = 0; i < 20; ++i) a[i] = i, b[i] = (i % 6 == 0) ? 0.0 : 1.0;
    hpk_vmk_kernel_SetErrorCallBack(replace_result);
    _vmkdDiv(20, a, b, y);
    for (int i = 0; i < 20; ++i) EXPECT_EQ(y[i], i % 6 == 0 ? -123.0 : a[i]) << i;
    EXPECT_EQ(hpk_vmk_kernel_GetErrStatus(), 2);
  });
}

TEST(DivRootFrame, ExceptionAndErrnoComeFromTheDispatcherAsTheModeAsks) {
  struct Case {
    uint32_t mode;
    int err, flags;
  };
  for (const Case c : {Case{0x200, EDOM, 0}, Case{0x800, 12345, FE_INVALID},
                       Case{0xA00, EDOM, FE_INVALID}}) {
    on_fresh_thread([&] {
      hpk_vmk_kernel_SetMode(c.mode);
      const double a[1] = {-4.0};
      double y[1];
      errno = 12345;
      std::feclearexcept(FE_ALL_EXCEPT);
      _vmkdSqrt(1, a, y);
      EXPECT_EQ(std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW),
                c.flags);
      EXPECT_EQ(errno, c.err);
    });
  }
}

// Without the exception action no root kernel raises invalid, divide-by-zero, overflow or
// underflow on its own: not for the special elements, whose values come from the scalar route,
// nor for their neighbours in a packed block.
TEST(DivRootFrame, RootsRaiseNoFlagOfTheirOwn) {
  on_fresh_thread([] {
    hpk_vmk_kernel_SetMode(0x200);
    const double specials[] = {-kInf, kInf, kQNaN, -1.0, 0.0, -0.0, kDenormMin, -kDenormMin,
                               0x1p-1022, 0x1.fffffffffffffp1023};
    for (const char *fn : {"Sqrt", "InvSqrt", "Cbrt", "InvCbrt"}) {
      for (const double s : specials) {
        for (const int n : {1, 8, 16}) {
          std::vector<double> a(n, 2.5), y(n);
          a[n / 2] = s;
          std::vector<float> af(n, 2.5f), yf(n);
          af[n / 2] = float(s);
          std::feclearexcept(FE_ALL_EXCEPT);
          run<double>(fn, n, a.data(), nullptr, y.data());
          run<float>(fn, n, af.data(), nullptr, yf.data());
          EXPECT_EQ(std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW), 0)
              << fn << " of " << s << " in " << n;
        }
      }
    }
  });
}

TEST(DivRootFrame, RunsInNearestWhateverTheCallersRoundingAndRestoresIt) {
  on_fresh_thread([] {
    const std::vector<double> a = mixed_inputs<double>(40, 3);
    std::vector<double> nearest(40), upward(40);
    hpk_vmk_kernel_SetMode(0x100);
    _vmkdCbrt(40, a.data(), nearest.data());
    std::fesetround(FE_UPWARD);
    _vmkdCbrt(40, a.data(), upward.data());
    const int after = std::fegetround();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(after, FE_UPWARD);
    for (int i = 0; i < 40; ++i) EXPECT_EQ(bits(upward[i]), bits(nearest[i])) << i;
  });
}

TEST(DivRootFrame, DenormalModeTreatsDenormalInputsAsZero) {
  on_fresh_thread([] {
    hpk_vmk_kernel_SetErrorCallBack(record);
    hpk_vmk_kernel_SetMode(0x280000);
    const unsigned before = __builtin_ia32_stmxcsr();
    const double a[3] = {d_of(5), -d_of(5), 4.0};
    double s[3], r[3];
    _vmkdSqrt(3, a, s);
    _vmkdInvSqrt(3, a, r);
    EXPECT_EQ(__builtin_ia32_stmxcsr() & 0xFFC0u, before & 0xFFC0u);
    EXPECT_EQ(bits(s[0]), 0u);
    EXPECT_EQ(bits(s[1]), 0x8000000000000000ull);
    EXPECT_EQ(s[2], 2.0);
    EXPECT_EQ(r[0], kInf);
    EXPECT_EQ(r[2], 0.5);
    ASSERT_EQ(t_reports.size(), 2u);  // InvSqrt of the two zeros
    EXPECT_EQ(t_reports[0].code, 2);
    EXPECT_EQ(t_reports[1].index, 1);
  });
}

// The accuracy promise of the family: at most 1 ulp (Div and Inv are the hardware's correctly
// rounded operations, 0.5). The figures go to the log; `hpk report` writes them to the docs.
TEST(DivRootAccuracy, WithinTheBoundAgainstMpfr) {
  for (const hpk::oracle::Case &c : hpk::oracle::cases()) {
    const std::string base = c.name.substr(1);
    if (base != "Div" && base != "Inv" && base != "Sqrt" && base != "InvSqrt" && base != "Cbrt" &&
        base != "InvCbrt")
      continue;
    const hpk::oracle::Worst w = hpk::oracle::sweep(c, 20000, 20261122);
    std::printf("  %-9s max %.4f ulp over %ld samples (at %a)\n", c.name.c_str(), w.max_ulp,
                w.samples, w.x);
    EXPECT_LE(w.max_ulp, c.bound_ulp) << c.name << " at " << w.x << ", " << w.y;
  }
}

}  // namespace
