// The single route of sSin, sCos, sTan, sSinCos (pi/32 reduction and short polynomials in
// double): its constants, its accuracy against MPFR and against the scalar routine over many
// inputs, its edges (the hardest reduction, the smallest inputs, the switch to the medium
// route at 90112), and the agreement of SinCos with Sin and Cos.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "hpk/vmk.h"
#include "oracle.hpp"
#include "vmk/core/sin/trig_core.hpp"

namespace {

namespace single = hpk::vmk::trig::single;

float from_bits(uint32_t u) {
  float x;
  std::memcpy(&x, &u, 4);
  return x;
}
uint32_t bits(float x) {
  uint32_t u;
  std::memcpy(&u, &x, 4);
  return u;
}

// dbP1 + kPio32Lo must be pi/32 within 2^-91 (k < 2^20 makes that 2^-71 absolute).
TEST(TrigSingle, ReductionConstant) {
  mpfr_t d;
  mpfr_init2(d, 256);
  mpfr_const_pi(d, MPFR_RNDN);
  mpfr_div_2ui(d, d, 5, MPFR_RNDN);
  mpfr_sub_d(d, d, hpk::vmk::trig::dbP1, MPFR_RNDN);
  EXPECT_EQ(mpfr_get_d(d, MPFR_RNDN), single::kPio32Lo);
  mpfr_sub_d(d, d, single::kPio32Lo, MPFR_RNDN);
  EXPECT_LT(std::fabs(mpfr_get_d(d, MPFR_RNDN)), 0x1p-91);
  mpfr_clear(d);
}

enum class Which { kSin, kCos, kTan };

void exact(mpfr_t e, float x, Which w) {
  mpfr_set_flt(e, x, MPFR_RNDN);
  if (w == Which::kSin) mpfr_sin(e, e, MPFR_RNDN);
  else if (w == Which::kCos) mpfr_cos(e, e, MPFR_RNDN);
  else mpfr_tan(e, e, MPFR_RNDN);
}

struct Kernel {
  const char *name;
  Which which;
  void (*packed)(int, const float *, float *);
  void (*scalar)(int, const float *, float *);
};

const Kernel kKernels[] = {
    {"sSin", Which::kSin, _vmksSin_HA, hpk_vmk_kernel_sSin_SC_HA},
    {"sCos", Which::kCos, _vmksCos_HA, hpk_vmk_kernel_sCos_SC_HA},
    {"sTan", Which::kTan, _vmksTan_HA, hpk_vmk_kernel_sTan_SC_HA},
};

// Inputs of the single route: random bit patterns below 90112 (every binade equally), random
// values below 90112 (every quadrant count equally), and the edges.
std::vector<float> route_inputs() {
  std::mt19937 g(2024);
  std::vector<float> x;
  std::uniform_int_distribution<uint32_t> pattern(1, 0x47AFFFFFu);
  std::uniform_real_distribution<float> value(-90111.99f, 90111.99f);
  for (int i = 0; i < 30000; ++i) x.push_back(from_bits(pattern(g) | (g() & 0x80000000u)));
  for (int i = 0; i < 30000; ++i) x.push_back(value(g));
  // the single nearest a multiple of pi/2 below 90112 (k = 161), its neighbours, and the
  // smallest and largest magnitudes of the route
  const float edges[] = {252.89820861816406f, std::nextafter(252.89820861816406f, 0.f),
                         std::nextafter(252.89820861816406f, 1e9f), 0x1p-149f, 0x1p-126f,
                         0x1.fffffcp-127f, from_bits(0x47AFFFFFu), 0.785398185f, 1.57079637f,
                         3.14159274f, 4.71238899f, 6.28318548f};
  for (float e : edges) {
    x.push_back(e);
    x.push_back(-e);
  }
  return x;
}

// Against MPFR: the double value is within 2^-34 relative, so the single result may only miss
// the correctly rounded one within 2^-10 ulp of a midpoint; against the scalar routine (about
// 2^-70 relative) they may differ by one ulp in those rare cases only.
TEST(TrigSingle, RouteAccurateAndAgreesWithScalarRoutine) {
  const std::vector<float> x = route_inputs();
  const int n = int(x.size());
  std::vector<float> y(n);
  mpfr_t e;
  mpfr_init2(e, 128);
  for (const Kernel &k : kKernels) {
    k.packed(n, x.data(), y.data());
    double worst = 0;
    float worst_x = 0;
    int differ = 0;
    for (int i = 0; i < n; ++i) {
      exact(e, x[i], k.which);
      const double u = hpk::oracle::ulp_error(y[i], e);
      if (u > worst) worst = u, worst_x = x[i];
      float want;
      k.scalar(0, &x[i], &want);
      if (bits(want) != bits(y[i])) {
        ++differ;
        ASSERT_LE(std::abs(int64_t(bits(want)) - int64_t(bits(y[i]))), 1)
            << k.name << " " << std::hexfloat << x[i];
      }
    }
    std::printf("%s single route: %.4f ulp at %a, %d of %d differ from the scalar routine\n",
                k.name, worst, worst_x, differ, n);
    EXPECT_LE(worst, 0.501) << k.name << " " << std::hexfloat << worst_x;
    EXPECT_LE(differ, n / 10000) << k.name;
  }
  mpfr_clear(e);
}

// SinCos gives Sin's and Cos's bits on the route, in whole blocks and in the tail.
TEST(TrigSingle, SinCosIsSinAndCos) {
  const std::vector<float> x = route_inputs();
  const int n = int(x.size()) - 3;  // a tail of odd length
  std::vector<float> s(n), c(n), ss(n), cc(n);
  _vmksSin_HA(n, x.data(), s.data());
  _vmksCos_HA(n, x.data(), c.data());
  _vmksSinCos_HA(n, x.data(), ss.data(), cc.data());
  for (int i = 0; i < n; ++i) {
    ASSERT_EQ(bits(ss[i]), bits(s[i])) << std::hexfloat << x[i];
    ASSERT_EQ(bits(cc[i]), bits(c[i])) << std::hexfloat << x[i];
  }
}

// The last single of the route and the first of the medium route, alone, in a block of their
// own kind, and mixed in one block: the medium one keeps the scalar routine's bits, both stay
// near the correctly rounded value, and zeros keep their sign through the scalar routine.
TEST(TrigSingle, SwitchToMediumRoute) {
  const float last = from_bits(0x47AFFFFFu), first = 90112.0f;
  ASSERT_EQ(std::nextafter(last, 1e9f), first);
  const float cases[][16] = {
      {last, first, -last, -first, last, first, 0.0f, -0.0f, last, first, 1.0f, 2.0f, 3.0f,
       first, last, -first},
  };
  mpfr_t e;
  mpfr_init2(e, 128);
  for (const Kernel &k : kKernels) {
    for (const auto &row : cases) {
      float y[16];
      k.packed(16, row, y);
      for (int i = 0; i < 16; ++i) {
        exact(e, row[i], k.which);
        EXPECT_LE(hpk::oracle::ulp_error(y[i], e), 0.501) << k.name << " " << row[i];
        if (std::fabs(row[i]) >= first || row[i] == 0.0f) {
          float want;
          k.scalar(0, &row[i], &want);
          EXPECT_EQ(bits(y[i]), bits(want)) << k.name << " " << row[i];
        }
      }
    }
  }
  mpfr_clear(e);
}

}  // namespace
