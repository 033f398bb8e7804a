// The main route of dPow is fixed step by step: a plain scalar model of the steps (the
// constants as the decimal values and bit patterns that define them, the generated tables, the
// evaluation order of pow_core.hpp's header comment) must give the kernel's results bit for
// bit, over random operands of every magnitude, x next to 1 with large y, the row edges of the
// logarithm table, the break of the exponent at 0.749755859375, and results up to the edges of
// the normal range (where the scalar route takes over and must agree). Powx's general route
// must give the same bits as Pow.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "vmk/core/exp/exp_tables.hpp"
#include "vmk/core/pow/pow_tables.hpp"

namespace {

using namespace hpk::test;

namespace tab = hpk::vmk::pow_tables;

double mask26(double x) { return d_of(bits(x) & 0xFFFFFFFFF8000000ull); }

// Model of the main route for x positive normal, y normal, |y log2 x| < 1020.
double model_pow(double x, double y) {
  const double LHN = -1.442694902420044;
  const uint32_t top = uint32_t(bits(x) >> 32);
  const double N = double(int32_t(top - 0x3FE7FE00u) >> 20);
  const int row = int(((top & 0xFFFFF) + 0x200) >> 10);
  const double Y = d_of((bits(x) & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
  const double Yhi = mask26(Y);
  const double rcp = tab::rcp_t1[1 + row], Thi = tab::log2_t1[2 * row],
               Tlo = tab::log2_t1[2 * row + 1];
  const double Rhi = 1.0 - Yhi * rcp;
  const double Rlo = (Y - Yhi) * rcp;
  const double R = Rhi - Rlo;
  const double Rh = mask26(R);
  const double Rl = (Rhi - Rh) - Rlo;
  const double P = Rh * LHN;
  const double A = N + Thi;
  const double hi0 = A + P;
  const double err = (A - hi0) + P;
  const double R2 = R * R;
  const double Q = R * tab::clv1 +
                   R2 * ((tab::clv2 + R * tab::clv3) +
                         R2 * ((tab::clv4 + R * tab::clv5) + R2 * (tab::clv6 + R * tab::clv7)));
  const double lo = ((Tlo + err) + Rl * LHN) + Q;

  const double yh = mask26(y), yl = y - yh;
  const double hh = mask26(hi0 + lo), hl = (hi0 - hh) + lo;
  const double zh = yh * hh;
  const double zl = (yh * hl + yl * hh) + yl * hl;

  const double shifter = 52776558133248.0;
  const double t = zh + shifter;
  const double kd = t - shifter;
  const double r = (zh - kd) + zl;
  const int64_t k = int64_t(bits(t) - bits(shifter));
  const int j = int(k & 127);
  const double T = hpk::vmk::exp_tables::s_dwExp2_128[2 * j];
  const double Tl = hpk::vmk::exp_tables::s_dwExp2_128[2 * j + 1];
  const double cev1 = 0.6931471805599453, cev2 = tab::cev2, cev3 = 0.055504108664821576,
               cev4 = 0.009618129107628477, cev5 = 0.0013333558146428443;
  const double r2 = r * r;
  const double p = r * cev1 + r2 * ((cev2 + r * cev3) + r2 * (cev4 + r * cev5));
  const double v = T + (Tl + T * p);
  return v * d_of(uint64_t((k >> 7) + 1023) << 52);
}

TEST(PowModel, MainRouteBitForBit) {
  std::mt19937_64 g(5);
  std::uniform_real_distribution<double> u(0, 1);
  std::vector<double> x, y;
  auto add = [&](double a, double b) {
    if (std::fabs(b * std::log2(a)) < 1019.0) {
      x.push_back(a);
      y.push_back(b);
    }
  };
  for (int i = 0; i < 20000; ++i) {
    const double a = std::ldexp(1 + u(g), int(u(g) * 2040) - 1021);
    add(a, (u(g) - 0.5) * 2 * 1000 / std::max(1.0, std::fabs(std::log2(a))));
    add(1 + (u(g) - 0.5) * std::ldexp(1.0, -int(u(g) * 52)), (u(g) - 0.5) * std::ldexp(1.0, int(u(g) * 60)));
    // the row edges, the break at 0.749755859375 and its neighbours
    const int row = int(u(g) * 1025);
    const double edge = std::ldexp(1 + (row - 0.5) / 1024, int(u(g) * 20) - 10);
    add(std::nextafter(edge, 0.0), u(g) * 50 - 25);
    add(edge, u(g) * 50 - 25);
    add(std::nextafter(0.749755859375, double(i % 2)), std::ldexp(u(g) - 0.5, int(u(g) * 40)));
  }
  const int n = int(x.size());
  std::vector<double> r(n), rx(n);
  hpk_vmk_kernel_dPow_EXHAynn(n, x.data(), y.data(), r.data());
  int mismatches = 0;
  for (int i = 0; i < n; ++i) {
    const double m = model_pow(x[i], y[i]);
    if (bits(m) != bits(r[i]) && ++mismatches < 10)
      ADD_FAILURE() << std::hexfloat << "x=" << x[i] << " y=" << y[i] << " model " << m
                    << " kernel " << r[i];
  }
  EXPECT_EQ(mismatches, 0);
  // Powx's general route, exponent by exponent: the same bits as Pow
  for (int i = 0; i < 64; ++i) {
    const double b = y[i * 97];
    std::vector<double> bv(n, b);
    hpk_vmk_kernel_dPow_EXHAynn(n, x.data(), bv.data(), r.data());
    hpk_vmk_kernel_dPowx_EXHAynn(n, x.data(), b, rx.data());
    for (int k = 0; k < n; ++k) ASSERT_EQ(bits(r[k]), bits(rx[k])) << std::hexfloat << x[k] << " " << b;
  }
}

// Up to the ends of the normal range, the scalar route takes over (|y log2 x| >= 1020) and
// gives the value of the same steps, scaled in two exact steps.
TEST(PowModel, ScalarRouteAgreesWhereResultsAreNormal) {
  std::mt19937_64 g(9);
  std::uniform_real_distribution<double> u(0, 1);
  std::vector<double> x, y;
  for (int i = 0; i < 4000; ++i) {
    const double a = std::ldexp(1 + u(g), int(u(g) * 1800) - 900);
    const double z = (i % 2 ? 1020.0 : -1020.0) + (i % 2 ? 1 : -1) * u(g) * 1.9;
    x.push_back(a);
    y.push_back(z / std::log2(a));
  }
  const int n = int(x.size());
  std::vector<double> r(n);
  hpk_vmk_kernel_dPow_EXHAynn(n, x.data(), y.data(), r.data());
  for (int i = 0; i < n; ++i) {
    const double m = model_pow(x[i], y[i]);
    if (std::fabs(m) >= 0x1p-1022 && std::isfinite(m))
      ASSERT_EQ(bits(m), bits(r[i])) << std::hexfloat << x[i] << " " << y[i];
  }
}

}  // namespace
