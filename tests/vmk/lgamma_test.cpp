// LGamma: statuses and stored values with their indices at every position of short arrays,
// the x87 state after the rare routine, in-place calls, mixed pairs against single elements,
// the relative error next to the zeros at 1 and 2 and next to the negative poles, and the
// MPFR sweeps of the oracle rows.
#include <gtest/gtest.h>

#include <mpfr.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstdint>
#include <iostream>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "oracle.hpp"
#include "support/vmk_test_util.hpp"

namespace {

using hpk::test::bits;
using hpk::test::record;
using hpk::test::t_reports;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct StatusCase {
  double x;
  double expect;  // NaN: a NaN; otherwise compared by value (+0 and -0 alike)
  int status;
};

// The element at every position of arrays of 1 to 9 elements, the array starting at both
// halves of a 16-byte line (so the peel, the packed passes and the tail each take it), with
// the reports of a fresh thread recorded.
template <class T, class K>
void check_status(K kernel, const StatusCase &c, const char *name) {
  for (int shift = 0; shift < 2; ++shift)
    for (int n = 1; n <= 9; ++n)
      for (int at = 0; at < n; ++at) {
        std::thread([&] {
          alignas(16) T buf[12];
          T *a = buf + shift;
          std::vector<T> y(n, T(-7));
          for (int i = 0; i < n; ++i) a[i] = T(3.5);
          a[at] = T(c.x);
          hpk_vmk_kernel_SetErrorCallBack(record);
          kernel(n, a, y.data());
          SCOPED_TRACE(std::string(name) + " x " + std::to_string(c.x) + " at " +
                       std::to_string(at) + " of " + std::to_string(n));
          if (std::isnan(c.expect)) EXPECT_TRUE(std::isnan(y[at]));
          else EXPECT_EQ(y[at], T(c.expect));
          if (c.status == 0) {
            EXPECT_TRUE(t_reports.empty());
          } else {
            ASSERT_EQ(t_reports.size(), 1u);
            EXPECT_EQ(t_reports[0].code, c.status);
            EXPECT_EQ(t_reports[0].index, at);
            EXPECT_EQ(t_reports[0].name, name);
          }
          T plain;
          const T three_half = T(3.5);
          kernel(1, &three_half, &plain);
          for (int i = 0; i < n; ++i)
            if (i != at) EXPECT_EQ(bits(y[i]), bits(plain)) << i;
        }).join();
      }
}

TEST(LGamma, StatusesAndStoredValues) {
  const StatusCase d_rows[] = {
      {0.0, kInf, 2},       {-0.0, kInf, 2},      {-1.0, kInf, 2},         {-2.0, kInf, 2},
      {-17.0, kInf, 2},     {-0x1p52, kInf, 2},   {-1e300, kInf, 2},       {-0x1.fffffffffffffp+1023, kInf, 2},
      {3e305, kInf, 3},     {1e308, kInf, 3},     {0x1.fffffffffffffp+1023, kInf, 3},
      {kInf, kInf, 0},      {-kInf, kInf, 0},     {kNaN, kNaN, 0},         {-kNaN, kNaN, 0},
      {1.0, 0.0, 0},        {2.0, 0.0, 0}};
  for (const auto &c : d_rows) check_status<double>(_vmkdLGamma_HA, c, "vdLGamma");
  const StatusCase s_rows[] = {
      {0.0, kInf, 2},   {-0.0, kInf, 2},  {-3.0, kInf, 2},  {-0x1p23, kInf, 2},
      {-3e38, kInf, 2}, {4.1e36, kInf, 3}, {3e38, kInf, 3}, {kInf, kInf, 0},
      {-kInf, kInf, 0}, {kNaN, kNaN, 0},  {1.0, 0.0, 0},    {2.0, 0.0, 0}};
  for (const auto &c : s_rows) check_status<float>(_vmksLGamma_HA, c, "vsLGamma");
}

// Just below the overflow threshold the result is finite and reports nothing; just above it
// overflows: the thresholds follow from the type's range.
TEST(LGamma, OverflowThresholds) {
  std::thread([] {
    hpk_vmk_kernel_SetErrorCallBack(record);
    const double d[2] = {2.55e305, 2.56e305};
    double yd[2];
    _vmkdLGamma_HA(2, d, yd);
    EXPECT_TRUE(std::isfinite(yd[0]));
    EXPECT_EQ(yd[1], kInf);
    const float s[4] = {4.07e36f, 4.09e36f, 1e36f, 0x1p121f};
    float ys[4];
    _vmksLGamma_HA(4, s, ys);
    EXPECT_TRUE(std::isfinite(ys[0]));
    EXPECT_EQ(ys[1], std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isfinite(ys[2]) && std::isfinite(ys[3]));
    ASSERT_EQ(t_reports.size(), 2u);
    EXPECT_EQ(t_reports[0].index, 1);
    EXPECT_EQ(t_reports[1].index, 1);
  }).join();
}

uint16_t x87_control() {
  uint16_t cw;
  __asm__ volatile("fnstcw %0" : "=m"(cw));
  return cw;
}
void set_x87_control(uint16_t cw) { __asm__ volatile("fldcw %0" : : "m"(cw)); }

// The rare routines set 64-bit precision themselves and give the caller's word back; the
// results do not depend on the caller's precision.
TEST(LGamma, X87ControlRestoredAfterRareRoutine) {
  const double d[4] = {-2.5, -0.3, 1e-310, 3e300};
  const float s[4] = {-2.5f, -0.3f, 5e37f, -7.25f};
  double yd[4], rd[4];
  float ys[4], rs[4];
  const uint16_t saved = x87_control();
  _vmkdLGamma_HA(4, d, rd);
  _vmksLGamma_HA(4, s, rs);
  set_x87_control(0x27F);  // 53-bit precision
  _vmkdLGamma_HA(4, d, yd);
  EXPECT_EQ(x87_control(), 0x27F);
  _vmksLGamma_HA(4, s, ys);
  EXPECT_EQ(x87_control(), 0x27F);
  set_x87_control(saved);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(bits(yd[i]), bits(rd[i])) << d[i];
    EXPECT_EQ(bits(ys[i]), bits(rs[i])) << s[i];
  }
}

// Inputs from every class (small, rows, Stirling, negative, tiny, huge, poles) in random
// order: each element alone, in the full array and in place gives the same bits, so the
// selection between the routes within a register is right.
template <class T, class K>
void check_mixed(K kernel, const std::vector<T> &a) {
  std::vector<T> y(a.size()), inplace = a;
  kernel(int(a.size()), a.data(), y.data());
  kernel(int(inplace.size()), inplace.data(), inplace.data());
  for (size_t i = 0; i < a.size(); ++i) {
    T one;
    kernel(1, &a[i], &one);
    EXPECT_EQ(bits(one), bits(y[i])) << a[i];
    EXPECT_EQ(bits(inplace[i]), bits(y[i])) << a[i];
  }
}

TEST(LGamma, MixedClassesAgreeWithSingleElements) {
  std::mt19937_64 rng(17);
  std::uniform_real_distribution<double> u(0, 1);
  const double pick[] = {0.1, 0.7, 1.3, 2.01, 7.9, 12.0, 3e4, -0.4, -5.5, 1e-300, 1e303, -3.0};
  std::vector<double> a(1003);
  for (auto &v : a) {
    const double b = pick[rng() % 12];
    v = b * (1 + 0.1 * u(rng));
    if (b == -3.0 || b == 1e303) v = b;  // a pole, an overflow
  }
  std::thread([&] {
    hpk_vmk_kernel_SetErrorCallBack(record);
    check_mixed(_vmkdLGamma_HA, a);
    std::vector<float> f(a.size());
    for (size_t i = 0; i < a.size(); ++i) f[i] = float(a[i]);
    check_mixed(_vmksLGamma_HA, f);
  }).join();
}

double lgamma_ulp(double x, double y, mpfr_t m, mpfr_t r) {
  mpfr_set_d(m, x, MPFR_RNDN);
  int sign;
  mpfr_lgamma(r, &sign, m, MPFR_RNDN);
  return hpk::oracle::ulp_error(y, r);
}

// Relative error next to the zeros at 1 and 2 (from both sides, down to 2^-50 away) and next
// to the negative poles (the reflection, with sin(pi x) from the exactly reduced fraction).
TEST(LGamma, NearZerosAndPolesWithinOneUlp) {
  std::vector<double> xs;
  for (int k = 1; k <= 50; ++k) {
    const double h = std::ldexp(1.0, -k);
    for (double c : {1.0, 2.0}) {
      xs.push_back(c + h);
      xs.push_back(c - h);
      xs.push_back(c + 3 * h / 4);
    }
  }
  for (int n = 1; n <= 30; ++n)
    for (int k = 8; k <= 44; k += 4) {
      xs.push_back(-n + std::ldexp(1.0, -k));
      xs.push_back(-n - std::ldexp(1.0, -k));
    }
  std::vector<double> y(xs.size());
  _vmkdLGamma_HA(int(xs.size()), xs.data(), y.data());
  std::vector<float> xf(xs.size()), yf(xs.size());
  for (size_t i = 0; i < xs.size(); ++i) xf[i] = float(xs[i]);
  _vmksLGamma_HA(int(xf.size()), xf.data(), yf.data());
  mpfr_t m, r;
  mpfr_inits2(200, m, r, (mpfr_ptr)0);
  double worst_d = 0, worst_s = 0;
  for (size_t i = 0; i < xs.size(); ++i) {
    const double ed = lgamma_ulp(xs[i], y[i], m, r);
    EXPECT_LE(ed, 1.0) << std::hexfloat << xs[i] << " gives " << y[i];
    worst_d = std::max(worst_d, ed);
    if (float(xs[i]) != std::nearbyint(float(xs[i]))) {
      mpfr_set_d(m, double(xf[i]), MPFR_RNDN);
      int sign;
      mpfr_lgamma(r, &sign, m, MPFR_RNDN);
      const double es = hpk::oracle::ulp_error(yf[i], r);
      EXPECT_LE(es, 1.0) << std::hexfloat << xf[i] << " gives " << yf[i];
      worst_s = std::max(worst_s, es);
    }
  }
  std::cout << "[ accuracy ] near zeros and poles: d " << worst_d << " ulp, s " << worst_s
            << " ulp\n";
  mpfr_clears(m, r, (mpfr_ptr)0);
}

// While the mode treats denormals as zero, a denormal input is the pole at zero; otherwise it
// is an ordinary tiny input (-log x and a little more).
TEST(LGamma, DenormalInputsFollowTheMode) {
  std::thread([] {
    hpk_vmk_kernel_SetErrorCallBack(record);
    const double d[3] = {0x1p-1074, -0x1p-1060, 0x1p-1030};
    const float s[3] = {0x1p-149f, -0x1p-140f, 0x1p-130f};
    double yd[3];
    float ys[3];
    _vmkdLGamma_HA(3, d, yd);
    _vmksLGamma_HA(3, s, ys);
    EXPECT_TRUE(t_reports.empty());
    for (int i = 0; i < 3; ++i) {
      EXPECT_NEAR(yd[i], -std::log(std::fabs(d[i])), 1e-12) << d[i];
      EXPECT_NEAR(ys[i], -std::log(std::fabs(double(s[i]))), 1e-4) << s[i];
    }
    hpk_vmk_kernel_SetMode(HPK_VMK_HA | HPK_VMK_FTZDAZ_ON);
    _vmkdLGamma_HA(3, d, yd);
    _vmksLGamma_HA(3, s, ys);
    ASSERT_EQ(t_reports.size(), 6u);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(yd[i], kInf);
      EXPECT_EQ(ys[i], std::numeric_limits<float>::infinity());
      EXPECT_EQ(t_reports[i].code, 2);
      EXPECT_EQ(t_reports[i].index, i);
      EXPECT_EQ(t_reports[3 + i].name, "vsLGamma");
    }
  }).join();
}

// The kernels run in round to nearest whatever the caller's SSE rounding mode, the rare
// routines included (the single one rounds to integers by adding 2^23).
TEST(LGamma, CallerRoundingModeDoesNotChangeResults) {
  std::vector<double> a;
  for (int i = 1; i < 300; ++i) a.push_back(0.0137 * i * i * (i % 3 == 0 ? -1 : 1) + 1e-7 * i);
  std::vector<float> af(a.begin(), a.end());
  std::vector<double> near(a.size()), up(a.size());
  std::vector<float> nearf(a.size()), upf(a.size());
  _vmkdLGamma_HA(int(a.size()), a.data(), near.data());
  _vmksLGamma_HA(int(af.size()), af.data(), nearf.data());
  const unsigned csr = _mm_getcsr();
  for (unsigned rc : {0x2000u, 0x4000u, 0x6000u}) {
    _mm_setcsr((csr & ~0x6000u) | rc);
    _vmkdLGamma_HA(int(a.size()), a.data(), up.data());
    _vmksLGamma_HA(int(af.size()), af.data(), upf.data());
    _mm_setcsr(csr);
    for (size_t i = 0; i < a.size(); ++i) {
      EXPECT_EQ(bits(up[i]), bits(near[i])) << a[i] << " rc " << rc;
      EXPECT_EQ(bits(upf[i]), bits(nearf[i])) << af[i] << " rc " << rc;
    }
  }
}

// The single kernel's reflection (negative non-integers above -2^20) against MPFR, relative
// error within one ulp everywhere: random singles by binade of |x|, and the 400 singles
// around each negative zero of lgamma above -8 (located by bisection on the sign of the
// double lgamma), where the route must hand its lanes to the rare routine. Each element sits
// in a long array beside positive and rare neighbours, so it runs in the packed passes.
TEST(LGamma, SingleReflectionWithinOneUlp) {
  struct Band {
    float lo, hi;  // magnitudes
    int count;
  };
  const Band bands[] = {{0x1p-149f, 0x1p-100f, 300}, {0x1p-100f, 0x1p-20f, 300},
                         {0x1p-20f, 1.0f, 600},      {1.0f, 2.0f, 800},
                         {2.0f, 8.0f, 3000},         {8.0f, 40.0f, 2000},
                         {40.0f, 0x1p12f, 1000},     {0x1p12f, 0x1p20f, 1000}};
  std::mt19937_64 rng(7);
  std::vector<float> xs;
  for (const Band &b : bands) {
    std::uniform_real_distribution<double> u(std::log2(b.lo), std::log2(b.hi));
    for (int i = 0; i < b.count; ++i) {
      const float x = -float(std::exp2(u(rng)));
      if (x != std::nearbyint(x)) xs.push_back(x);
    }
  }
  int zeros = 0;
  for (int n = 2; n < 8; ++n) {
    // lgamma rises to +inf at both poles and dips below zero between them: bisect on each side
    // of the dip's lowest sample
    double lowest = -n - 0.5, ymin = 1e300;
    for (int k = 1; k < 1000; ++k) {
      const double x = -n - k / 1000.0, y = std::lgamma(x);
      if (y < ymin) ymin = y, lowest = x;
    }
    ASSERT_LT(ymin, 0.0) << n;
    for (double pole : {double(-n), double(-n - 1)}) {
      double a = pole + (lowest < pole ? -1e-12 : 1e-12), b = lowest;
      for (int it = 0; it < 80; ++it) {
        const double m = 0.5 * (a + b);
        (std::lgamma(m) > 0 ? a : b) = m;
      }
      float z = float(b);
      for (int k = 0; k < 200; ++k) z = std::nextafter(z, 0.0f);
      for (int k = 0; k < 400; ++k, z = std::nextafter(z, -1e9f)) xs.push_back(z);
      ++zeros;
    }
  }
  EXPECT_EQ(zeros, 12);
  // neighbours: a positive input and a pole beside every third element
  std::vector<float> a;
  for (size_t i = 0; i < xs.size(); ++i) {
    a.push_back(xs[i]);
    if (i % 3 == 0) a.push_back(i % 2 ? 2.75f : -4.0f);
  }
  std::vector<float> y(a.size());
  _vmksLGamma_HA(int(a.size()), a.data(), y.data());
  mpfr_t m, r;
  mpfr_inits2(100, m, r, (mpfr_ptr)0);
  double worst = 0;
  float at = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] == std::nearbyint(a[i])) {
      EXPECT_EQ(y[i], std::numeric_limits<float>::infinity()) << a[i];
      continue;
    }
    mpfr_set_d(m, double(a[i]), MPFR_RNDN);
    int sign;
    mpfr_lgamma(r, &sign, m, MPFR_RNDN);
    const double e = hpk::oracle::ulp_error(y[i], r);
    EXPECT_LE(e, 1.0) << std::hexfloat << a[i] << " gives " << y[i];
    if (e > worst) worst = e, at = a[i];
  }
  std::cout << "[ accuracy ] single reflection: " << worst << " ulp at " << std::hexfloat << at
            << std::defaultfloat << " (" << a.size() << " elements)\n";
  mpfr_clears(m, r, (mpfr_ptr)0);
}

TEST(LGamma, NonPositiveCountWritesNothing) {
  double a = -2.5, y = 7.0;
  _vmkdLGamma_HA(0, &a, &y);
  _vmkdLGamma_HA(-3, &a, &y);
  EXPECT_EQ(y, 7.0);
}

TEST(LGammaAccuracy, OracleRows) {
  int seen = 0;
  for (const auto &c : hpk::oracle::cases()) {
    if (c.name.substr(1, 6) != "LGamma") continue;
    ++seen;
    hpk::oracle::Worst w;
    const long samples = 1500;
    std::thread([&] { w = hpk::oracle::sweep(c, samples, 41); }).join();
    std::cout << "[ accuracy ] " << c.name << " " << w.max_ulp << " ulp at " << std::hexfloat
              << w.x << std::defaultfloat << " (" << w.samples << " samples)\n";
    EXPECT_LE(w.max_ulp, c.bound_ulp) << c.name << " at " << std::hexfloat << w.x;
    EXPECT_GT(w.samples, long(c.ranges.size()) * samples);
  }
  EXPECT_EQ(seen, 4);
}

}  // namespace
