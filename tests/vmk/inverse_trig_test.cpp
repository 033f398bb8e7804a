// Asin, Acos, Atan, Atan2: accuracy sweeps against MPFR, the domain statuses, the signed
// special values of Atan2, and the routes (packed, scalar, scaled) agreeing in place and out.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "oracle.hpp"

namespace {

using namespace hpk::test;

class InverseSweep : public ::testing::TestWithParam<const char *> {};

TEST_P(InverseSweep, WithinBound) {
  for (const hpk::oracle::Case &c : hpk::oracle::cases()) {
    if (c.name != GetParam()) continue;
    const hpk::oracle::Worst w = hpk::oracle::sweep(c, 20000, 1234);
    std::printf("%s: %.3f ulp at %a, %a\n", c.name.c_str(), w.max_ulp, w.x, w.y);
    EXPECT_LE(w.max_ulp, c.bound_ulp) << std::hexfloat << w.x << " " << w.y;
    return;
  }
  FAIL() << "no oracle case " << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Inverse, InverseSweep,
                         ::testing::Values("sAsin", "dAsin", "sAcos", "dAcos", "sAtan", "dAtan",
                                           "sAtan2", "dAtan2"));

struct Seen {
  int calls = 0, code = 0, index = -1;
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

class InverseStatus : public ::testing::Test {
 protected:
  void SetUp() override {
    seen = Seen{};
    hpk_vmk_kernel_SetErrorCallBack(record);
  }
  void TearDown() override {
    hpk_vmk_kernel_ClearErrorCallBack();
    hpk_vmk_kernel_ClearErrStatus();
  }
};

using Kernel1 = void (*)(int, const double *, double *);
using Kernel1s = void (*)(int, const float *, float *);

struct DomainCase {
  const char *name;
  Kernel1 kd;
  Kernel1s ks;
  double x;
  double want;   // ignored when the default NaN is expected
  bool domain;   // default NaN and status 1
};

TEST_F(InverseStatus, DomainAndEnds) {
  const double pio2 = 0x1.921fb54442d18p0, pi = 0x1.921fb54442d18p1;
  const DomainCase table[] = {
      {"Asin", _vmkdAsin_HA, _vmksAsin_HA, 1.0, pio2, false},
      {"Asin", _vmkdAsin_HA, _vmksAsin_HA, -1.0, -pio2, false},
      {"Acos", _vmkdAcos_HA, _vmksAcos_HA, 1.0, 0.0, false},
      {"Acos", _vmkdAcos_HA, _vmksAcos_HA, -1.0, pi, false},
      {"Asin", _vmkdAsin_HA, _vmksAsin_HA, 1.5, 0, true},
      {"Asin", _vmkdAsin_HA, _vmksAsin_HA, -HUGE_VAL, 0, true},
      {"Acos", _vmkdAcos_HA, _vmksAcos_HA, -2.0, 0, true},
      {"Acos", _vmkdAcos_HA, _vmksAcos_HA, HUGE_VAL, 0, true},
  };
  for (const DomainCase &c : table) {
    // Element 9 of 11: behind a full block, in the tail.
    std::vector<double> a(11, 0.25), y(11);
    a[9] = c.x;
    seen = Seen{};
    c.kd(11, a.data(), y.data());
    if (c.domain) {
      EXPECT_EQ(bits(y[9]), 0xFFF8000000000000ull) << c.name << " " << c.x;
      EXPECT_EQ(seen.calls, 1);
      EXPECT_EQ(seen.code, 1);
      EXPECT_EQ(seen.index, 9);
      EXPECT_EQ(seen.name, std::string("vd") + c.name);
    } else {
      EXPECT_EQ(bits(y[9]), bits(c.want)) << c.name << " " << c.x;
      EXPECT_EQ(seen.calls, 0);
    }
    std::vector<float> fa(20, 0.25f), fy(20);
    fa[3] = float(c.x);  // inside a block of 16
    seen = Seen{};
    c.ks(20, fa.data(), fy.data());
    if (c.domain) {
      EXPECT_EQ(bits(fy[3]), 0xFFC00000u) << c.name << " " << c.x;
      EXPECT_EQ(seen.calls, 1);
      EXPECT_EQ(seen.name, std::string("vs") + c.name);
    } else {
      EXPECT_EQ(bits(fy[3]), bits(float(c.want))) << c.name << " " << c.x;
    }
  }
}

TEST_F(InverseStatus, NanPassesWithoutStatus) {
  const double nan = std::nan("");
  double y[4];
  const double a[4] = {nan, -nan, nan, nan};
  for (Kernel1 k : {_vmkdAsin_HA, _vmkdAcos_HA, _vmkdAtan_HA}) {
    k(4, a, y);
    for (double v : y) EXPECT_TRUE(std::isnan(v));
  }
  _vmkdAtan2_HA(4, a, a, y);
  EXPECT_TRUE(std::isnan(y[0]));
  EXPECT_EQ(seen.calls, 0);
}

// Atan2's signed special values against the C library, bit for bit; finite pairs of every
// scale against MPFR.
TEST_F(InverseStatus, Atan2SpecialsAndScales) {
  const double inf = HUGE_VAL, dmin = std::numeric_limits<double>::denorm_min();
  const double vals[] = {0.0,   -0.0,    1.0,     -1.0,    inf,    -inf, 1e-300, -1e300,
                         1e300, dmin,    -dmin,   0x1p-600, 0x1p600, 3.0,  -7.5,   0x1p-1022};
  std::vector<double> ys, xs;
  for (double y : vals)
    for (double x : vals) {
      ys.push_back(y);
      xs.push_back(x);
    }
  std::vector<double> out(ys.size()), outs(ys.size());
  _vmkdAtan2_HA(int(ys.size()), ys.data(), xs.data(), out.data());
  std::vector<float> fy(ys.begin(), ys.end()), fx(xs.begin(), xs.end()), fo(ys.size());
  _vmksAtan2_HA(int(fy.size()), fy.data(), fx.data(), fo.data());
  mpfr_t e, my, mx;
  mpfr_inits2(256, e, my, mx, (mpfr_ptr)0);
  for (size_t i = 0; i < ys.size(); ++i) {
    const bool special = ys[i] == 0 || xs[i] == 0 || std::isinf(ys[i]) || std::isinf(xs[i]);
    if (special) {
      EXPECT_EQ(bits(out[i]), bits(std::atan2(ys[i], xs[i]))) << ys[i] << ", " << xs[i];
    } else {
      mpfr_set_d(my, ys[i], MPFR_RNDN);
      mpfr_set_d(mx, xs[i], MPFR_RNDN);
      mpfr_atan2(e, my, mx, MPFR_RNDN);
      EXPECT_LE(hpk::oracle::ulp_error(out[i], e), 1.0) << std::hexfloat << ys[i] << ", " << xs[i];
    }
    mpfr_set_flt(my, fy[i], MPFR_RNDN);
    mpfr_set_flt(mx, fx[i], MPFR_RNDN);
    mpfr_atan2(e, my, mx, MPFR_RNDN);
    EXPECT_LE(hpk::oracle::ulp_error(fo[i], e), 1.0) << std::hexfloat << fy[i] << ", " << fx[i];
  }
  mpfr_clears(e, my, mx, (mpfr_ptr)0);
  EXPECT_EQ(seen.calls, 0);
}

// In place (y = a, then y = b) gives what a separate result array gets, rare elements mixed in.
TEST(InverseRoutes, Atan2InPlace) {
  std::mt19937_64 g(21);
  std::uniform_real_distribution<double> u(-4, 4);
  std::vector<double> a(1001), b(1001);
  for (size_t i = 0; i < a.size(); ++i) {
    a[i] = u(g);
    b[i] = u(g);
    if (i % 7 == 0) a[i] = 0.0;
    if (i % 11 == 0) b[i] = i % 2 ? HUGE_VAL : 1e-320;
  }
  std::vector<double> want(a.size()), in_a = a, in_b = b;
  _vmkdAtan2_HA(int(a.size()), a.data(), b.data(), want.data());
  _vmkdAtan2_HA(int(a.size()), in_a.data(), b.data(), in_a.data());
  _vmkdAtan2_HA(int(a.size()), a.data(), in_b.data(), in_b.data());
  for (size_t i = 0; i < a.size(); ++i) {
    ASSERT_EQ(bits(in_a[i]), bits(want[i])) << i;
    ASSERT_EQ(bits(in_b[i]), bits(want[i])) << i;
  }
}

TEST(InverseRoutes, AtanOfHugeIsHalfPi) {
  const double a[3] = {0x1p60, -1e300, -HUGE_VAL};
  double y[3];
  _vmkdAtan_HA(3, a, y);
  EXPECT_EQ(y[0], 0x1.921fb54442d18p0);
  EXPECT_EQ(y[1], -0x1.921fb54442d18p0);
  EXPECT_EQ(y[2], -0x1.921fb54442d18p0);
}

}  // namespace
