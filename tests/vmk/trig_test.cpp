// Sin, Cos, Tan, SinCos and reduce_pio2d: the main route against a plain model of its steps
// (bit for bit), the reduction against MPFR (the hardest inputs of the committed search among
// them), accuracy sweeps, statuses and the scalar routines' names.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "oracle.hpp"
#include "vmk/core/sin/trig_tables.hpp"

namespace {

using namespace hpk::test;

double from_bits(uint64_t u) {
  double x;
  std::memcpy(&x, &u, 8);
  return x;
}

// ---- plain model of the packed route: sine (off 0) or cosine (off 16) of x + lo ----------
double model_sin(double x, double lo, int off) {
  const double t = x * 10.185916357881302 + 6755399441055744.0;
  const double k = t - 6755399441055744.0;
  const double p1 = from_bits(0x3FB921FB54400000), p2 = from_bits(0x3D90B4611A600000),
               p3 = from_bits(0x3B63198A2E037073);
  const double r1 = x - k * p1;
  // two_sum of r1 and -(k p2), then of that and -(k p3)
  const double b = -(k * p2), r2 = r1 + b, bb = r2 - r1, e2 = (r1 - (r2 - bb)) + (b - bb);
  const double d = -(k * p3), r = r2 + d, dd = r - r2, e3 = (r2 - (r - dd)) + (d - dd);
  const double c = (e3 + e2) + lo;
  const int j = (int(int64_t(k)) + off) & 63;
  const double *w = hpk::vmk::trig_tables::SinCosTbl[j];
  const double r2s = r * r;
  const double S = r2s * (-1.0 / 6 + r2s * (1.0 / 120 + r2s * (-1.0 / 5040 + r2s * 2.7557319223985893e-06)));
  const double C = r2s * (-0.5 + r2s * (1.0 / 24 + r2s * (-1.0 / 720 + r2s * 2.48015873015873e-05)));
  const double chr = w[2] * r;
  // the rounding error of chr, from halves cut at 26 bits
  const auto top26 = [](double v) { return from_bits(bits(v) & 0xFFFFFFFFF8000000ull); };
  const double ah = top26(w[2]), bh = top26(r), al = w[2] - ah, bl = r - bh;
  const double e = ((ah * bh - chr) + ah * bl + al * bh) + al * bl;
  double small = ((w[3] * r + w[2] * c) + e) + w[1];
  small = small + chr * S;
  small = small + w[0] * C;
  return w[0] + (chr + small);
}

std::vector<double> main_route_inputs(int n, uint64_t seed) {
  std::mt19937_64 g(seed);
  std::uniform_real_distribution<double> wide(-90111.99, 90111.99), near(-4.0, 4.0);
  std::uniform_int_distribution<int> ex(-250, 16);
  std::vector<double> v;
  for (int i = 0; i < n; ++i) {
    switch (i % 3) {
      case 0: v.push_back(wide(g)); break;
      case 1: v.push_back(near(g)); break;
      default: v.push_back(std::ldexp(near(g) / 4, ex(g))); break;  // random exponents
    }
  }
  v.push_back(90111.0);
  v.push_back(-0x1.5ffffffffffffp16);  // just below 90112
  return v;
}

using Kernel1 = void (*)(int, const double *, double *);

TEST(TrigModel, MainRouteMatchesModelBitForBit) {
  const std::vector<double> x = main_route_inputs(30001, 7);  // odd: the tail runs too
  std::vector<double> s(x.size()), c(x.size()), ss(x.size()), cc(x.size());
  _vmkdSin_HA(int(x.size()), x.data(), s.data());
  _vmkdCos_HA(int(x.size()), x.data(), c.data());
  _vmkdSinCos_HA(int(x.size()), x.data(), ss.data(), cc.data());
  for (size_t i = 0; i < x.size(); ++i) {
    ASSERT_EQ(bits(s[i]), bits(model_sin(x[i], 0.0, 0))) << std::hexfloat << x[i];
    ASSERT_EQ(bits(c[i]), bits(model_sin(x[i], 0.0, 16))) << std::hexfloat << x[i];
    ASSERT_EQ(bits(ss[i]), bits(s[i])) << std::hexfloat << x[i];
    ASSERT_EQ(bits(cc[i]), bits(c[i])) << std::hexfloat << x[i];
  }
}

// The scalar routine on a large argument is the model applied to reduce_pio2d's pair.
TEST(TrigModel, ScalarRouteIsModelOnReducedPair) {
  std::mt19937_64 g(11);
  std::uniform_int_distribution<uint64_t> u(bits(0x1p17), bits(1e308));
  for (int i = 0; i < 20000; ++i) {
    const double x = (i & 1) ? from_bits(u(g)) : -from_bits(u(g));
    double r[2];
    const int q = hpk_vmk_kernel_reduce_pio2d(x, r);
    double s, c;
    hpk_vmk_kernel_dSin_SC(0, &x, &s, "t");
    hpk_vmk_kernel_dCos_SC(0, &x, &c, "t");
    ASSERT_EQ(bits(s), bits(model_sin(r[0], r[1], 16 * q))) << std::hexfloat << x;
    ASSERT_EQ(bits(c), bits(model_sin(r[0], r[1], 16 * q + 16))) << std::hexfloat << x;
  }
}

// Arrays mixing every route (main, packed medium, scalar) give, element by element, the bits
// of the scalar routine; in place too, where the scalar elements must still see their input.
TEST(TrigModel, EveryRouteMatchesScalarRoutine) {
  std::mt19937_64 g(13);
  std::uniform_int_distribution<uint64_t> med(bits(90112.0), bits(0x1p30));
  std::uniform_int_distribution<uint64_t> any(0, bits(HUGE_VAL));
  std::uniform_int_distribution<int> pick(0, 9);
  std::vector<double> x(10007);
  for (double &v : x) {
    const int p = pick(g);
    v = p < 6 ? from_bits(med(g)) : p < 8 ? from_bits(any(g)) : (double(g() % 1000) - 500) / 77;
    if (g() & 1) v = -v;
  }
  x[100] = HUGE_VAL;
  x[101] = std::nan("");
  const char *names[] = {"dSin", "dCos", "dTan", "dSinCos"};
  for (const char *name : names) {
    const std::string fn = name;
    std::vector<double> y(x.size()), z(x.size()), inplace = x;
    hpk_vmk_kernel_SetErrorCallBack([](HpkVmkErrorContext *) { return 1; });
    if (fn == "dSinCos") _vmkdSinCos_HA(int(x.size()), x.data(), y.data(), z.data());
    else if (fn == "dSin") _vmkdSin_HA(int(x.size()), x.data(), y.data());
    else if (fn == "dCos") _vmkdCos_HA(int(x.size()), x.data(), y.data());
    else _vmkdTan_HA(int(x.size()), x.data(), y.data());
    if (fn == "dSin") _vmkdSin_HA(int(x.size()), inplace.data(), inplace.data());
    for (size_t i = 0; i < x.size(); ++i) {
      double want, want2 = 0;
      if (fn == "dSinCos") hpk_vmk_kernel_dSinCos_SC(0, &x[i], &want, &want2, "t");
      else if (fn == "dSin") hpk_vmk_kernel_dSin_SC(0, &x[i], &want, "t");
      else if (fn == "dCos") hpk_vmk_kernel_dCos_SC(0, &x[i], &want, "t");
      else hpk_vmk_kernel_dTan_SC(0, &x[i], &want, "t");
      if (std::isnan(want)) {
        ASSERT_TRUE(std::isnan(y[i]));
        continue;
      }
      ASSERT_EQ(bits(y[i]), bits(want)) << fn << " " << std::hexfloat << x[i];
      if (fn == "dSinCos") ASSERT_EQ(bits(z[i]), bits(want2)) << std::hexfloat << x[i];
      if (fn == "dSin") ASSERT_EQ(bits(inplace[i]), bits(want)) << std::hexfloat << x[i];
    }
    hpk_vmk_kernel_ClearErrorCallBack();
  }
}

TEST(TrigModel, SingleRoutesMatchScalarRoutine) {
  std::mt19937 g(17);
  std::uniform_int_distribution<uint32_t> u(0, 0x7F800000u);
  std::vector<float> x(4103), y(x.size()), inplace;
  for (float &v : x) {
    const uint32_t b = u(g) | (g() & 0x80000000u);
    std::memcpy(&v, &b, 4);
  }
  inplace = x;
  hpk_vmk_kernel_SetErrorCallBack([](HpkVmkErrorContext *) { return 1; });
  _vmksCos_HA(int(x.size()), x.data(), y.data());
  _vmksCos_HA(int(x.size()), inplace.data(), inplace.data());
  for (size_t i = 0; i < x.size(); ++i) {
    float want;
    hpk_vmk_kernel_sCos_SC_HA(0, &x[i], &want);
    ASSERT_EQ(bits(y[i]), bits(want)) << std::hexfloat << x[i];
    ASSERT_EQ(bits(inplace[i]), bits(want)) << std::hexfloat << x[i];
  }
  hpk_vmk_kernel_ClearErrorCallBack();
}

// ---- reduction against MPFR -------------------------------------------------------------

// Relative error of hi + lo against x - q pi/2, and whether q is the nearest quadrant count
// (mod 4; within one where x 2/pi is within a hair of a half-integer).
struct ReductionCheck {
  double log2_rel_err;
  bool quadrant_ok;
};

ReductionCheck check_reduction(double x) {
  double r[2];
  const int q = hpk_vmk_kernel_reduce_pio2d(x, r);
  mpfr_t pio2, t, h;
  mpfr_inits2(2400, pio2, t, h, (mpfr_ptr)0);
  mpfr_const_pi(pio2, MPFR_RNDN);
  mpfr_div_2ui(pio2, pio2, 1, MPFR_RNDN);
  mpfr_set_d(t, x, MPFR_RNDN);
  mpfr_set_si(h, q, MPFR_RNDN);
  mpfr_mul(h, h, pio2, MPFR_RNDN);
  mpfr_sub(t, t, h, MPFR_RNDN);  // exact remainder for the kernel's q (q mod 4 only matters
                                 // up to multiples of 2 pi, handled below)
  // q is exact only mod 4 for huge x: remove the nearest multiple of 2 pi from the remainder.
  mpfr_mul_ui(h, pio2, 4, MPFR_RNDN);
  mpfr_div(h, t, h, MPFR_RNDN);
  mpfr_rint(h, h, MPFR_RNDN);
  mpfr_mul_ui(h, h, 4, MPFR_RNDN);
  mpfr_mul(h, h, pio2, MPFR_RNDN);
  mpfr_sub(t, t, h, MPFR_RNDN);
  const bool quadrant_ok = mpfr_cmp_d(t, 0.8) < 0 && mpfr_cmp_d(t, -0.8) > 0;
  mpfr_set_d(h, r[0], MPFR_RNDN);
  mpfr_add_d(h, h, r[1], MPFR_RNDN);
  mpfr_sub(h, h, t, MPFR_RNDN);
  mpfr_div(h, h, t, MPFR_RNDN);
  const double rel = std::fabs(mpfr_get_d(h, MPFR_RNDN));
  mpfr_clears(pio2, t, h, (mpfr_ptr)0);
  return {rel == 0 ? -1000.0 : std::log2(rel), quadrant_ok};
}

std::vector<double> hard_cases() {
  const std::string path = HPK_TEST_ORACLES "/trig_reduction_hard.txt";
  std::ifstream in(path);
  std::vector<double> v;
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    v.push_back(std::strtod(line.c_str(), nullptr));
  }
  return v;
}

TEST(TrigReduction, HardCasesAndRandomAreAccurate) {
  std::vector<double> xs = hard_cases();
  ASSERT_GT(xs.size(), 2000u) << "tests/oracles/trig_reduction_hard.txt missing";
  std::mt19937_64 g(3);
  std::uniform_int_distribution<uint64_t> u(bits(0x1p-3), bits(0x1.fffffffffffffp1023));
  for (int i = 0; i < 3000; ++i) xs.push_back(from_bits(u(g)));
  xs.insert(xs.end(), {0x1p17, 0x1p23, 0x1.fffffffffffffp22, 0x1p30, 0x1.fffffffffffffp29, 1e300,
                       0x1.fffffffffffffp1023, 1e22, 0.5});
  double worst = -1000;
  for (size_t i = 0; i < xs.size(); ++i) {
    for (double x : {xs[i], -xs[i]}) {
      const ReductionCheck c = check_reduction(x);
      ASSERT_TRUE(c.quadrant_ok) << std::hexfloat << x;
      worst = std::max(worst, c.log2_rel_err);
      // Below 2^30 the parts of pi/4 sum to it within 2^-142.8, so n times their error reaches
      // 2^-112 next to remainders near 2^-59 at the hardest inputs there: 2^-53 relative at
      // the very worst, 1/16 ulp of a result. Payne-Hanek stays near 2^-64 and below.
      ASSERT_LT(c.log2_rel_err, -56) << std::hexfloat << x;
    }
  }
  std::printf("reduce_pio2d: largest relative error 2^%.1f over %zu inputs\n", worst,
              2 * xs.size());
}

// The extended reduction on extended arguments (random 64-bit significands over the whole
// exponent range) and on the double hard cases.
TEST(TrigReduction, ExtendedIsAccurate) {
  std::vector<long double> xs;
  for (double x : hard_cases()) xs.push_back(x);
  std::mt19937_64 g(8);
  std::uniform_int_distribution<int> ex(-10, 16380);
  for (int i = 0; i < 2000; ++i) {
    const long double m = 1.0L + (long double)(g() >> 1) * 0x1p-63L;
    xs.push_back(std::ldexp(m, ex(g)));
  }
  xs.insert(xs.end(), {0x1p30L, 0x1.fffffffffffffffep29L, 1e4000L, 0x1.fffffffffffffffep16383L});
  mpfr_t pio2, t, h;
  mpfr_inits2(16700, pio2, t, h, (mpfr_ptr)0);
  mpfr_const_pi(pio2, MPFR_RNDN);
  mpfr_div_2ui(pio2, pio2, 1, MPFR_RNDN);
  double worst = -1000;
  for (long double x0 : xs) {
    for (long double x : {x0, -x0}) {
      long double r[2];
      const int q = hpk_vmk_kernel_reduce_pi04l(x, 1, r);
      mpfr_set_ld(t, x, MPFR_RNDN);
      mpfr_set_si(h, q, MPFR_RNDN);
      mpfr_mul(h, h, pio2, MPFR_RNDN);
      mpfr_sub(t, t, h, MPFR_RNDN);
      mpfr_mul_ui(h, pio2, 4, MPFR_RNDN);
      mpfr_div(h, t, h, MPFR_RNDN);
      mpfr_rint(h, h, MPFR_RNDN);
      mpfr_mul_ui(h, h, 4, MPFR_RNDN);
      mpfr_mul(h, h, pio2, MPFR_RNDN);
      mpfr_sub(t, t, h, MPFR_RNDN);  // the exact remainder for q mod 4
      ASSERT_TRUE(mpfr_cmp_d(t, 0.8) < 0 && mpfr_cmp_d(t, -0.8) > 0) << x;
      mpfr_set_ld(h, r[0], MPFR_RNDN);
      mpfr_add_d(h, h, double(r[1]), MPFR_RNDN);
      mpfr_sub(h, h, t, MPFR_RNDN);
      mpfr_div(h, h, t, MPFR_RNDN);
      const double rel = std::fabs(mpfr_get_d(h, MPFR_RNDN));
      const double l2 = rel == 0 ? -1000 : std::log2(rel);
      worst = std::max(worst, l2);
      ASSERT_LT(l2, -64) << x;
    }
  }
  mpfr_clears(pio2, t, h, (mpfr_ptr)0);
  std::printf("reduce_pi04l: largest relative error 2^%.1f over %zu inputs\n", worst,
              2 * xs.size());
  // The low part is left alone when it is not asked for.
  long double r[2] = {0, 7};
  hpk_vmk_kernel_reduce_pi04l(1e10L, 0, r);
  EXPECT_EQ(r[1], 7);
}

TEST(TrigReduction, NonFiniteGivesNanAndZeroCount) {
  for (double x : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    double r[2] = {1, 1};
    EXPECT_EQ(hpk_vmk_kernel_reduce_pio2d(x, r), 0);
    EXPECT_TRUE(std::isnan(r[0]));
  }
}

// ---- accuracy against MPFR ----------------------------------------------------------------

double ulp_of(double v, mpfr_t exact) { return hpk::oracle::ulp_error(v, exact); }

TEST(TrigAccuracy, HardCasesWithinOneUlp) {
  const std::vector<double> xs = hard_cases();
  const int n = int(xs.size());
  std::vector<double> s(n), c(n), t(n), ss(n), cc(n);
  _vmkdSin_HA(n, xs.data(), s.data());
  _vmkdCos_HA(n, xs.data(), c.data());
  _vmkdTan_HA(n, xs.data(), t.data());
  _vmkdSinCos_HA(n, xs.data(), ss.data(), cc.data());
  mpfr_t e;
  mpfr_init2(e, 256);
  double worst[3] = {0, 0, 0};
  for (int i = 0; i < n; ++i) {
    mpfr_set_d(e, xs[i], MPFR_RNDN);
    mpfr_sin(e, e, MPFR_RNDN);
    worst[0] = std::max(worst[0], ulp_of(s[i], e));
    mpfr_set_d(e, xs[i], MPFR_RNDN);
    mpfr_cos(e, e, MPFR_RNDN);
    worst[1] = std::max(worst[1], ulp_of(c[i], e));
    mpfr_set_d(e, xs[i], MPFR_RNDN);
    mpfr_tan(e, e, MPFR_RNDN);
    worst[2] = std::max(worst[2], ulp_of(t[i], e));
    ASSERT_EQ(bits(ss[i]), bits(s[i]));
    ASSERT_EQ(bits(cc[i]), bits(c[i]));
  }
  mpfr_clear(e);
  std::printf("hard cases: sin %.3f cos %.3f tan %.3f ulp\n", worst[0], worst[1], worst[2]);
  EXPECT_LE(worst[0], 1.0);
  EXPECT_LE(worst[1], 1.0);
  EXPECT_LE(worst[2], 1.0);
}

class TrigSweep : public ::testing::TestWithParam<const char *> {};

TEST_P(TrigSweep, WithinBound) {
  for (const hpk::oracle::Case &c : hpk::oracle::cases()) {
    if (c.name != GetParam()) continue;
    const hpk::oracle::Worst w = hpk::oracle::sweep(c, 20000, 99);
    std::printf("%s: %.3f ulp at %a\n", c.name.c_str(), w.max_ulp, w.x);
    EXPECT_LE(w.max_ulp, c.bound_ulp) << std::hexfloat << w.x;
    return;
  }
  FAIL() << "no oracle case " << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Trig, TrigSweep,
                         ::testing::Values("sSin", "dSin", "sCos", "dCos", "sTan", "dTan"));

TEST(TrigAccuracy, SingleSinCosMatchesSinAndCos) {
  std::mt19937 g(5);
  std::uniform_int_distribution<uint32_t> u(0, 0x7F7FFFFFu);
  std::vector<float> x(4099), s(x.size()), c(x.size()), ss(x.size()), cc(x.size());
  for (float &v : x) {
    const uint32_t b = u(g) | (g() & 0x80000000u);
    std::memcpy(&v, &b, 4);
  }
  _vmksSin_HA(int(x.size()), x.data(), s.data());
  _vmksCos_HA(int(x.size()), x.data(), c.data());
  _vmksSinCos_HA(int(x.size()), x.data(), ss.data(), cc.data());
  for (size_t i = 0; i < x.size(); ++i) {
    ASSERT_EQ(bits(ss[i]), bits(s[i])) << std::hexfloat << x[i];
    ASSERT_EQ(bits(cc[i]), bits(c[i])) << std::hexfloat << x[i];
  }
}

// ---- statuses and special values ---------------------------------------------------------

struct Seen {
  int calls = 0;
  int code = 0;
  int index = -1;
  std::string name;
};
thread_local Seen seen;

int record(HpkVmkErrorContext *ctx) {
  ++seen.calls;
  seen.code = ctx->code;
  seen.index = ctx->index;
  seen.name.assign(ctx->funcName, ctx->funcNameLen);
  return 1;
}

class TrigStatus : public ::testing::Test {
 protected:
  void SetUp() override {
    seen = Seen{};
    hpk_vmk_kernel_ClearErrStatus();
    hpk_vmk_kernel_SetErrorCallBack(record);
  }
  void TearDown() override {
    hpk_vmk_kernel_ClearErrorCallBack();
    hpk_vmk_kernel_ClearErrStatus();
  }
};

struct SpecialCase {
  const char *fn;
  double x;
  uint64_t want;      // bit pattern of the result, or 0 to skip
  bool want_nan;
  int calls;          // expected call-backs (status 1 each)
};

Kernel1 kernel_of(const std::string &fn) {
  if (fn == "dSin") return _vmkdSin_HA;
  if (fn == "dCos") return _vmkdCos_HA;
  return _vmkdTan_HA;
}

TEST_F(TrigStatus, DoubleSpecials) {
  const SpecialCase table[] = {
      {"dSin", -HUGE_VAL, 0, true, 1},
      {"dCos", HUGE_VAL, 0, true, 1},
      {"dTan", -HUGE_VAL, 0, true, 1},
      {"dSin", std::nan(""), 0, true, 0},
      {"dCos", -std::nan(""), 0, true, 0},
      {"dSin", -0.0, bits(-0.0), false, 0},
      {"dTan", -0.0, bits(-0.0), false, 0},
      {"dCos", -0.0, bits(1.0), false, 0},
      {"dSin", 0x1p-300, bits(0x1p-300), false, 0},
      {"dTan", -0x1p-1074, bits(-0x1p-1074), false, 0},
      {"dCos", 0x1p-300, bits(1.0), false, 0},
  };
  for (const SpecialCase &c : table) {
    seen = Seen{};
    // Element 5 of 9, so the packed block and its mixed-block routine are used.
    std::vector<double> a(9, 0.5), y(9);
    a[5] = c.x;
    kernel_of(c.fn)(9, a.data(), y.data());
    if (c.want_nan) EXPECT_TRUE(std::isnan(y[5])) << c.fn << " " << c.x;
    else EXPECT_EQ(bits(y[5]), c.want) << c.fn << " " << c.x;
    EXPECT_EQ(seen.calls, c.calls) << c.fn << " " << c.x;
    if (c.calls) {
      EXPECT_EQ(seen.code, 1);
      EXPECT_EQ(seen.index, 5);
      EXPECT_EQ(seen.name, std::string("v") + c.fn);
    }
  }
}

TEST_F(TrigStatus, TinySineIsInexact) {
  const double x = 0x1p-300;
  double y;
  std::feclearexcept(FE_ALL_EXCEPT);
  hpk_vmk_kernel_dSin_SC(0, &x, &y, "t");
  EXPECT_EQ(y, x);
  EXPECT_TRUE(std::fetestexcept(FE_INEXACT));
}

TEST_F(TrigStatus, SinCosInfinities) {
  double a[3] = {1.0, -HUGE_VAL, HUGE_VAL}, y[3], z[3];
  _vmkdSinCos_HA(3, a, y, z);
  EXPECT_TRUE(std::isnan(y[1]) && std::isnan(z[1]) && std::isnan(y[2]) && std::isnan(z[2]));
  EXPECT_EQ(seen.calls, 2);
  float fa[17], fy[17], fz[17];
  for (float &v : fa) v = 0.25f;
  fa[16] = -HUGE_VALF;  // the tail
  fa[3] = HUGE_VALF;    // a packed block
  seen = Seen{};
  _vmksSinCos_HA(17, fa, fy, fz);
  for (int i : {3, 16}) {
    EXPECT_EQ(bits(fy[i]), 0xFFC00000u);
    EXPECT_EQ(bits(fz[i]), 0xFFC00000u);
  }
  EXPECT_EQ(seen.calls, 2);
  EXPECT_EQ(seen.name, "vsSinCos");
  EXPECT_EQ(fy[0], std::sin(0.25f));
}

// The scalar routines report under their own names.
TEST_F(TrigStatus, ScalarRoutineNames) {
  const double inf = HUGE_VAL;
  const float finf = HUGE_VALF;
  double y, z;
  float fy, fz;
  struct Named {
    std::string name;
    std::function<void()> call;
  };
  const Named table[] = {
      {"dSin_HA", [&] { hpk_vmk_kernel_dSin_SC_HA(0, &inf, &y); }},
      {"dCos_LA", [&] { hpk_vmk_kernel_dCos_SC_LA(0, &inf, &y); }},
      {"dTan_A11", [&] { hpk_vmk_kernel_dTan_SC_A11(0, &inf, &y); }},
      {"dSinCos_HA", [&] { hpk_vmk_kernel_dSinCos_SC_HA(0, &inf, &y, &z); }},
      {"sSin_HA", [&] { hpk_vmk_kernel_sSin_SC_HA(0, &finf, &fy); }},
      {"sSin_LA", [&] { hpk_vmk_kernel_sSin_SC_LA(0, &finf, &fy); }},
      {"sSin_A11", [&] { hpk_vmk_kernel_sSin_SC_A11(0, &finf, &fy); }},
      {"sCos_HA", [&] { hpk_vmk_kernel_sCos_SC_HA(0, &finf, &fy); }},
      {"sTan_LA", [&] { hpk_vmk_kernel_sTan_SC_LA(0, &finf, &fy); }},
      {"sSinCos_A11", [&] { hpk_vmk_kernel_sSinCos_SC_A11(0, &finf, &fy, &fz); }},
  };
  for (const Named &n : table) {
    seen = Seen{};
    n.call();
    EXPECT_EQ(seen.calls, 1) << n.name;
    EXPECT_EQ(seen.name, n.name);
  }
  // The same routines give the values on finite input, under no status.
  seen = Seen{};
  const double x = 1e300;
  hpk_vmk_kernel_dSin_SC_HA(0, &x, &y);
  const float fx = 1e30f;
  hpk_vmk_kernel_sSin_SC_A11(0, &fx, &fy);
  EXPECT_EQ(seen.calls, 0);
  mpfr_t e;
  mpfr_init2(e, 256);
  mpfr_set_d(e, x, MPFR_RNDN);
  mpfr_sin(e, e, MPFR_RNDN);
  EXPECT_LE(hpk::oracle::ulp_error(y, e), 1.0);
  mpfr_set_flt(e, fx, MPFR_RNDN);
  mpfr_sin(e, e, MPFR_RNDN);
  EXPECT_LE(hpk::oracle::ulp_error(fy, e), 1.0);
  mpfr_clear(e);
}

// 90111 runs the packed route, 90112 the scalar one; 2^17 and 2^30 open the two reductions.
TEST(TrigRoutes, SwitchPointsAgreeWithMpfr) {
  const double xs[] = {90111.0, 90112.0, 0x1.5ffffffffffffp16, 0x1p17, 0x1.fffffffffffffp16,
                       0x1p30, 0x1.fffffffffffffp29, 1e300, 0x1.fffffffffffffp1023};
  mpfr_t e;
  mpfr_init2(e, 256);
  for (double x : xs) {
    double s, c;
    _vmkdSin_HA(1, &x, &s);
    _vmkdCos_HA(1, &x, &c);
    mpfr_set_d(e, x, MPFR_RNDN);
    mpfr_sin(e, e, MPFR_RNDN);
    EXPECT_LE(hpk::oracle::ulp_error(s, e), 1.0) << std::hexfloat << x;
    mpfr_set_d(e, x, MPFR_RNDN);
    mpfr_cos(e, e, MPFR_RNDN);
    EXPECT_LE(hpk::oracle::ulp_error(c, e), 1.0) << std::hexfloat << x;
  }
  mpfr_clear(e);
}

}  // namespace
