// Complex elementary functions: the special-value grid against glibc's complex functions (class
// and sign of zeros, infinities and NaNs exactly, finite parts within the accuracy bound),
// accuracy part by part against GNU MPC on random and extreme elements, statuses through a
// recording call-back, aliasing and the restored control state.
#include <gtest/gtest.h>
#include <mpc.h>
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "oracle.hpp"

// glibc's complex functions, by their C names (GCC's _Complex in C++).
extern "C" {
double _Complex csqrt(double _Complex);
double _Complex cexp(double _Complex);
float _Complex cexpf(float _Complex);
float _Complex csqrtf(float _Complex);
}

namespace {

using c8 = hpk_complex8;
using z16 = hpk_complex16;

struct Report {
  int code, index;
  std::string name;
};
std::vector<Report> t_reports;

int record(HpkVmkErrorContext *c) {
  t_reports.push_back({c->code, c->index, std::string(c->funcName, c->funcNameLen)});
  return 0;
}

template <class F>
void recorded(F f) {
  std::thread([&] {
    hpk_vmk_kernel_SetMode(HPK_VMK_ERRMODE_CALLBACK);
    hpk_vmk_kernel_SetErrorCallBack(record);
    t_reports.clear();
    f();
  }).join();
}

// The grid {+-0, +-tiny, +-1, +-huge, +-inf, NaN} of one part.
template <class R>
std::vector<R> grid_values() {
  const R inf = std::numeric_limits<R>::infinity();
  const R tiny = std::numeric_limits<R>::denorm_min(), huge = std::numeric_limits<R>::max();
  return {R(0), -R(0), tiny, -tiny, R(1), R(-1), huge, -huge, inf, -inf,
          std::numeric_limits<R>::quiet_NaN()};
}

// Class and sign equal for zeros, infinities and NaNs (a NaN's sign is not compared); finite
// non-zero parts within `ulps` of the reference.
template <class R>
::testing::AssertionResult same_part(R got, R want, double ulps) {
  auto fail = [&] {
    return ::testing::AssertionFailure() << "got " << std::hexfloat << got << " want " << want;
  };
  if (std::isnan(want)) return std::isnan(got) ? ::testing::AssertionSuccess() : fail();
  if (std::isinf(want) || want == R(0))
    return (got == want && std::signbit(got) == std::signbit(want)) ? ::testing::AssertionSuccess()
                                                                    : fail();
  if (!std::isfinite(got) || got == R(0) || std::signbit(got) != std::signbit(want)) return fail();
  const R step = std::nextafter(std::fabs(want), std::numeric_limits<R>::infinity()) - std::fabs(want);
  return std::fabs(double(got) - double(want)) <= ulps * double(step) ? ::testing::AssertionSuccess()
                                                                      : fail();
}

inline double _Complex make_c(double x, double y) {
  double _Complex w;
  __real__ w = x;
  __imag__ w = y;
  return w;
}
inline float _Complex make_c(float x, float y) {
  float _Complex w;
  __real__ w = x;
  __imag__ w = y;
  return w;
}

struct CFn {
  const char *name;
  void (*cker)(int, const c8 *, c8 *);
  void (*zker)(int, const z16 *, z16 *);
  float _Complex (*cref)(float _Complex);
  double _Complex (*zref)(double _Complex);
  int (*mpc_ref)(mpc_ptr, mpc_srcptr, mpc_rnd_t);
  double ulps;  // accuracy bound per part
  double xlo, xhi;  // real parts uniform in [xlo, xhi] (both 0: any exponent)
};

const CFn kFns[] = {
    {"Sqrt", _vmkcSqrt_HA, _vmkzSqrt_HA, csqrtf, csqrt, mpc_sqrt, 1.0, 0, 0},
    {"Exp", _vmkcExp_HA, _vmkzExp_HA, cexpf, cexp, mpc_exp, 1.0, -745.0, 709.7},
    // The low accuracy kernel of cExp (slots 0 and 2); bound 4 ulp. zExp has one kernel.
    {"ExpLA", _vmkcExp_21, _vmkzExp_50, cexpf, cexp, mpc_exp, 4.0, -745.0, 709.7},
};

class CElem : public ::testing::TestWithParam<CFn> {};

TEST_P(CElem, SpecialGridMatchesGlibc) {
  const CFn &f = GetParam();
  const auto gd = grid_values<double>();
  const auto gs = grid_values<float>();
  std::vector<z16> za;
  std::vector<c8> ca;
  for (double x : gd)
    for (double y : gd) za.push_back({x, y});
  for (float x : gs)
    for (float y : gs) ca.push_back({x, y});
  std::vector<z16> zy(za.size());
  std::vector<c8> cy(ca.size());
  recorded([&] {
    f.zker(int(za.size()), za.data(), zy.data());
    if (f.cker) f.cker(int(ca.size()), ca.data(), cy.data());
  });
  for (size_t i = 0; i < za.size(); ++i) {
    const double _Complex w = f.zref(make_c(za[i].re, za[i].im));
    SCOPED_TRACE(std::string(f.name) + " z " + std::to_string(za[i].re) + " " + std::to_string(za[i].im));
    EXPECT_TRUE(same_part(zy[i].re, __real__ w, f.ulps));
    EXPECT_TRUE(same_part(zy[i].im, __imag__ w, f.ulps));
  }
  for (size_t i = 0; f.cker && i < ca.size(); ++i) {
    const float _Complex w = f.cref(make_c(ca[i].re, ca[i].im));
    SCOPED_TRACE(std::string(f.name) + " c " + std::to_string(ca[i].re) + " " + std::to_string(ca[i].im));
    EXPECT_TRUE(same_part(cy[i].re, __real__ w, f.ulps));
    EXPECT_TRUE(same_part(cy[i].im, __imag__ w, f.ulps));
  }
}

// Random elements with parts of random sign and exponent over the whole range, and near the
// axes (one part far smaller than the other): worst error per part against MPC.
template <class R, class T>
double worst_error(const CFn &f, void (*ker)(int, const T *, T *), int emin, int emax) {
  std::mt19937_64 gen(20261122);
  std::uniform_real_distribution<double> mant(1.0, 2.0);
  std::uniform_int_distribution<int> ex(emin, emax), sign(0, 1);
  const int n = 6000;
  std::vector<T> a(n), y(n);
  for (int i = 0; i < n; ++i) {
    auto part = [&](int e) { return R((sign(gen) ? -1 : 1) * std::ldexp(mant(gen), e)); };
    const int e1 = ex(gen);
    // A third of the elements near an axis, a third of equal scale, a third anywhere.
    const int e2 = i % 3 == 0 ? e1 - 30 : i % 3 == 1 ? e1 + (ex(gen) % 3) : ex(gen);
    a[i] = {part(e1), part(std::max(std::min(e2, emax), emin))};
    if (f.xlo != f.xhi) {
      // Real parts over the range where the modulus is finite; most near the origin.
      // single: the finite range of single, e^88 < 2^127
      const double lo = sizeof(R) == 4 ? std::max(f.xlo, -103.0) : f.xlo;
      const double hi = sizeof(R) == 4 ? std::min(f.xhi, 88.0) : f.xhi;
      const double u = std::uniform_real_distribution<double>(lo, hi)(gen);
      a[i].re = R(i % 2 ? u : u * 0x1p-12);
    }
  }
  ker(n, a.data(), y.data());
  const mpfr_prec_t prec = std::numeric_limits<R>::digits;
  mpc_t in, out;
  mpc_init2(in, prec);
  mpc_init2(out, 200);
  double worst = 0;
  for (int i = 0; i < n; ++i) {
    mpc_set_d_d(in, a[i].re, a[i].im, MPC_RNDNN);
    f.mpc_ref(out, in, MPC_RNDNN);
    worst = std::max(worst, hpk::oracle::ulp_error(R(y[i].re), mpc_realref(out)));
    worst = std::max(worst, hpk::oracle::ulp_error(R(y[i].im), mpc_imagref(out)));
  }
  mpc_clear(in);
  mpc_clear(out);
  return worst;
}

TEST_P(CElem, AccuracyAgainstMpc) {
  const CFn &f = GetParam();
  const double zerr = worst_error<double>(f, f.zker, -1074, 1023);
  const double cerr = f.cker ? worst_error<float>(f, f.cker, -149, 127) : 0.0;
  EXPECT_LE(zerr, f.ulps) << f.name;
  EXPECT_LE(cerr, f.ulps) << f.name;
  std::printf("z%s worst %.3f ulp\n", f.name, zerr);
  if (f.cker) std::printf("c%s worst %.3f ulp\n", f.name, cerr);
}

INSTANTIATE_TEST_SUITE_P(Fns, CElem, ::testing::ValuesIn(kFns),
                         [](const auto &info) { return std::string(info.param.name); });

// Sqrt reports nothing, even for infinite and NaN parts, and works in place with the
// caller's x87 control word restored.
TEST(CElemSqrt, NoStatusInPlaceAndControlRestored) {
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<z16> a = {{-4.0, 0.0}, {-4.0, -0.0}, {inf, 1.0}, {-inf, NAN}, {1e308, 1e308}, {0.0, -0.0}};
  std::vector<z16> want(a.size());
  _vmkzSqrt_HA(int(a.size()), a.data(), want.data());
  uint16_t before = 0, after = 0;
  recorded([&] {
    const uint16_t cw = 0x27F;  // 53-bit precision, the state a caller may have set
    __asm__ volatile("fldcw %0" : : "m"(cw));
    __asm__ volatile("fnstcw %0" : "=m"(before));
    _vmkzSqrt_HA(int(a.size()), a.data(), a.data());
    __asm__ volatile("fnstcw %0" : "=m"(after));
  });
  EXPECT_EQ(before, after);
  EXPECT_TRUE(t_reports.empty());
  for (size_t i = 0; i < a.size(); ++i) {
    EXPECT_TRUE(same_part(a[i].re, want[i].re, 0));
    EXPECT_TRUE(same_part(a[i].im, want[i].im, 0));
  }
  // The branch cut: the sign of a zero imaginary part picks the side.
  EXPECT_EQ(want[0].im, 2.0);
  EXPECT_EQ(want[1].im, -2.0);
  EXPECT_TRUE(std::isfinite(want[4].re) && std::isfinite(want[4].im));
}

// zExp statuses with their positions: overflow where a finite element gives an infinite part
// (on the real axis too), underflow where the modulus falls below the smallest normal, domain
// for a finite real part with an infinite imaginary part; NaNs and infinite real parts report
// nothing. Rare elements among regular ones, the control word restored.
TEST(CElemExp, StatusesThroughCallBack) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  struct Row {
    z16 a;
    int code;  // 0: no report
  };
  const Row rows[] = {
      {{1.0, 2.0}, 0},      {{710.0, 0.0}, 3},     {{709.0, 1.0}, 0},    {{710.0, 3.0}, 3},
      {{-709.0, 1.0}, 4},   {{-800.0, 0.5}, 4},    {{-700.0, 1.0}, 0},   {{0.5, inf}, 1},
      {{0.5, nan}, 0},      {{nan, 1.0}, 0},       {{inf, 1.0}, 0},      {{-inf, inf}, 0},
      {{1e308, 1e-300}, 3}, {{-1e308, 1.0}, 4},    {{2.0, -0.0}, 0},     {{0.0, 1e300}, 0},
  };
  const int n = int(std::size(rows));
  std::vector<z16> a(n), y(n);
  for (int i = 0; i < n; ++i) a[i] = rows[i].a;
  uint16_t before = 0, after = 0;
  recorded([&] {
    const uint16_t cw = 0x27F;
    __asm__ volatile("fldcw %0" : : "m"(cw));
    __asm__ volatile("fnstcw %0" : "=m"(before));
    _vmkzExp_HA(n, a.data(), y.data());
    __asm__ volatile("fnstcw %0" : "=m"(after));
  });
  EXPECT_EQ(before, after);
  std::vector<std::pair<int, int>> want, got;
  for (int i = 0; i < n; ++i)
    if (rows[i].code) want.push_back({i, rows[i].code});
  for (const Report &r : t_reports) {
    got.push_back({r.index, r.code});
    EXPECT_EQ(r.name, "vzExp");
  }
  EXPECT_EQ(got, want);
  // The reported elements keep their results (the call-back returns 0).
  EXPECT_TRUE(std::isinf(y[1].re) && y[1].im == 0.0);
  EXPECT_TRUE(std::isnan(y[7].re) && std::isnan(y[7].im));
}

// cExp, both kernels: the same statuses at the same positions, from the packed passes and
// the tail alike (nine elements: two passes of four and one left).
TEST(CElemExp, SingleStatusesBothKernels) {
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<c8> a = {{1.0f, 2.0f}, {89.0f, 0.0f}, {0.5f, -3.0f}, {-88.0f, 1.0f},
                             {-2.0f, 1e5f}, {0.0f, inf}, {90.0f, 1e-30f}, {-1.0f, 0.5f},
                             {100.0f, -1.0f}};
  const std::vector<std::pair<int, int>> want = {{1, 3}, {3, 4}, {5, 1}, {6, 3}, {8, 3}};
  for (auto ker : {_vmkcExp_HA, _vmkcExp_21}) {
    std::vector<c8> y(a.size());
    recorded([&] { ker(int(a.size()), a.data(), y.data()); });
    std::vector<std::pair<int, int>> got;
    for (const Report &r : t_reports) {
      got.push_back({r.index, r.code});
      EXPECT_EQ(r.name, "vcExp");
    }
    EXPECT_EQ(got, want);
    EXPECT_TRUE(std::isinf(y[8].re) && std::isinf(y[8].im) && y[8].im < 0);
  }
}

}  // namespace
