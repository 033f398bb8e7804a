// Special functions: Erfc's statuses and stored values at the underflow thresholds, its
// route edge inside a pair; Erf's element classes (zero, tiny, infinity, NaN, the saturation at 6) in
// the pair and in the tail, the tiny class rounded correctly, odd symmetry, in-place calls,
// and the MPFR sweeps.
#include <gtest/gtest.h>

#include <mpfr.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "oracle.hpp"

namespace {

uint64_t bits(double x) {
  uint64_t u;
  std::memcpy(&u, &x, 8);
  return u;
}
uint32_t bits(float x) {
  uint32_t u;
  std::memcpy(&u, &x, 4);
  return u;
}

constexpr double kInf = std::numeric_limits<double>::infinity();

// Runs x at every position of arrays of length 1..5 (pairs, the tail, the single lanes) and
// checks that all positions agree bit for bit; returns the value.
template <class T, class K>
T at_every_position(K kernel, T x) {
  T first{};
  bool have = false;
  for (int n = 1; n <= 5; ++n)
    for (int pos = 0; pos < n; ++pos) {
      std::vector<T> a(n, T(0.5)), y(n);
      a[pos] = x;
      kernel(n, a.data(), y.data());
      if (!have) {
        first = y[pos];
        have = true;
      } else {
        EXPECT_EQ(bits(first), bits(y[pos])) << "n " << n << " pos " << pos << " x " << x;
      }
    }
  return first;
}

struct ClassCase {
  double x, expect;
};

TEST(Erf, ElementClasses) {
  const ClassCase rows[] = {
      {0.0, 0.0},   {-0.0, -0.0}, {kInf, 1.0},  {-kInf, -1.0},      {6.0, 1.0},
      {-6.0, -1.0}, {1e300, 1.0}, {-1e300, -1.0}, {0x1.fffffffffffffp+1023, 1.0}};
  for (const auto &r : rows) {
    const double d = at_every_position(_vmkdErf_HA, r.x);
    EXPECT_EQ(bits(d), bits(r.expect)) << r.x;
    const float s = at_every_position(_vmksErf_HA, float(r.x));
    EXPECT_EQ(bits(s), bits(float(r.expect))) << r.x;
  }
  // NaN: the input quieted, sign and payload kept
  const double snan = std::numeric_limits<double>::signaling_NaN();
  const double qd = at_every_position(_vmkdErf_HA, -snan);
  EXPECT_EQ(bits(qd), bits(-snan) | 0x0008000000000000ull);
  const float qs = at_every_position(_vmksErf_HA, std::numeric_limits<float>::quiet_NaN());
  EXPECT_TRUE(std::isnan(qs));
}

// Below 2^-1015 erf x is x * 2/sqrt(pi) rounded once, also where the result is denormal.
TEST(Erf, TinyClassCorrectlyRounded) {
  mpfr_t c, r;
  mpfr_inits2(300, c, r, (mpfr_ptr)0);
  mpfr_const_pi(c, MPFR_RNDN);
  mpfr_sqrt(c, c, MPFR_RNDN);
  mpfr_ui_div(c, 2, c, MPFR_RNDN);
  std::mt19937_64 rng(5);
  std::vector<double> xs = {0x1p-1074, 0x1p-1073, 3 * 0x1p-1074, 0x1p-1022, 0x1.fffffffffffffp-1016,
                            0x1.fffffffffffffp-1023, 0x1p-1050};
  for (int i = 0; i < 4000; ++i) {
    const uint64_t u = rng() % 0x0080000000000000ull;  // top word below 0x00800000
    double x;
    std::memcpy(&x, &u, 8);
    xs.push_back(i & 1 ? -x : x);
  }
  std::vector<double> y(xs.size());
  _vmkdErf_HA(int(xs.size()), xs.data(), y.data());
  int wrong = 0;
  for (size_t i = 0; i < xs.size(); ++i) {
    mpfr_set_d(r, xs[i], MPFR_RNDN);
    mpfr_mul(r, r, c, MPFR_RNDN);
    // the nearest double on the denormal grid: round at the bit of 2^-1074
    mpfr_t g;
    mpfr_init2(g, 300);
    mpfr_mul_2si(g, r, 1074, MPFR_RNDN);
    mpfr_rint(g, g, MPFR_RNDN);
    mpfr_mul_2si(g, g, -1074, MPFR_RNDN);
    const double expect = std::fabs(xs[i]) < 0x1p-1023 ? mpfr_get_d(g, MPFR_RNDN)
                                                       : mpfr_get_d(r, MPFR_RNDN);
    mpfr_clear(g);
    if (bits(y[i]) != bits(expect) && ++wrong < 5)
      ADD_FAILURE() << std::hexfloat << xs[i] << " gives " << y[i] << " expected " << expect;
  }
  EXPECT_EQ(wrong, 0);
  mpfr_clears(c, r, (mpfr_ptr)0);
}

// erf is odd: the kernel works on |x| and puts the sign back, so -x gives exactly -erf(x).
TEST(Erf, OddAndInPlace) {
  std::mt19937_64 rng(9);
  std::uniform_real_distribution<double> u(-7.0, 7.0);
  std::vector<double> a(1001), neg(1001), y(1001), yn(1001);
  for (size_t i = 0; i < a.size(); ++i) {
    a[i] = u(rng);
    neg[i] = -a[i];
  }
  _vmkdErf_HA(1001, a.data(), y.data());
  _vmkdErf_HA(1001, neg.data(), yn.data());
  std::vector<double> inplace = a;
  _vmkdErf_HA(1001, inplace.data(), inplace.data());
  for (size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(bits(yn[i]), bits(-y[i])) << a[i];
    EXPECT_EQ(bits(inplace[i]), bits(y[i])) << a[i];
  }
  std::vector<float> fa(1001), fy(1001);
  for (size_t i = 0; i < a.size(); ++i) fa[i] = float(a[i]);
  _vmksErf_HA(1001, fa.data(), fy.data());
  _vmksErf_HA(1001, fa.data(), fa.data());
  for (size_t i = 0; i < a.size(); ++i) EXPECT_EQ(bits(fa[i]), bits(fy[i]));
}

TEST(Erf, NonPositiveCountWritesNothing) {
  double a = 1.0, y = 7.0;
  _vmkdErf_HA(0, &a, &y);
  _vmkdErf_HA(-3, &a, &y);
  EXPECT_EQ(y, 7.0);
}

// The caller's rounding mode and flags come back, and the result does not depend on them.
TEST(Erf, ControlStateRestored) {
  const unsigned saved = _mm_getcsr();
  _mm_setcsr((saved & ~0x6000u) | 0x2000u);  // round down
  const double x[2] = {0.3, 1.7};
  double y[2], ref[2];
  _vmkdErf_HA(2, x, y);
  EXPECT_EQ(_mm_getcsr() & 0x6000u, 0x2000u);
  _mm_setcsr(saved);
  _vmkdErf_HA(2, x, ref);
  EXPECT_EQ(bits(y[0]), bits(ref[0]));
  EXPECT_EQ(bits(y[1]), bits(ref[1]));
}

using hpk::test::record;
using hpk::test::t_reports;

struct ErfcCase {
  double x;
  double expect;  // NaN: only the status and the bounds below are checked
  int status;
};

// Erfc's statuses in both types, at every position of arrays of 1 to 5 elements (pairs, quads
// and tails): 4 exactly where the result is below the least normal, nothing at +infinity.
template <class T, class K>
void check_erfc(K kernel, const ErfcCase &c, const char *name) {
  for (int n = 1; n <= 5; ++n)
    for (int at = 0; at < n; ++at) {
      std::thread([&] {
        std::vector<T> a(n, T(0.75)), y(n, T(-7));
        a[at] = T(c.x);
        hpk_vmk_kernel_SetErrorCallBack(record);
        kernel(n, a.data(), y.data());
        SCOPED_TRACE(std::string(name) + " x " + std::to_string(c.x) + " at " +
                     std::to_string(at) + " of " + std::to_string(n));
        if (!std::isnan(c.expect)) {
          EXPECT_EQ(bits(y[at]), bits(T(c.expect))) << y[at];
        } else {
          EXPECT_GE(y[at], T(0));
          EXPECT_LT(y[at], std::numeric_limits<T>::min());
        }
        if (c.status == 0) {
          EXPECT_TRUE(t_reports.empty());
        } else {
          ASSERT_EQ(t_reports.size(), 1u);
          EXPECT_EQ(t_reports[0].code, c.status);
          EXPECT_EQ(t_reports[0].index, at);
          EXPECT_EQ(t_reports[0].name, name);
        }
        for (int i = 0; i < n; ++i)
          if (i != at) EXPECT_EQ(bits(y[i]), bits(y[at == 0 ? (n > 1 ? 1 : 0) : 0]));
      }).join();
    }
}

TEST(Erfc, StatusesAndStoredValues) {
  const double nan = std::nan("");
  const ErfcCase d_rows[] = {
      {-kInf, 2.0, 0},   {-6.0, 2.0, 0},   {-30.0, 2.0, 0},  {kInf, 0.0, 0},  {0.0, 1.0, 0},
      {26.5, nan, 0},    {26.543, nan, 0}, {26.544, nan, 4},  {27.0, nan, 4},  {27.3, 0.0, 4},
      {1e300, 0.0, 4},   {26.0, nan, 0}};
  for (const auto &c : d_rows) {
    if (std::isnan(c.expect) && c.status == 0) {
      // a normal result: just no status and a positive value
      double x = c.x, y;
      _vmkdErfc_HA(1, &x, &y);
      EXPECT_GE(y, 0x1p-1022) << c.x;
      continue;
    }
    check_erfc<double>(_vmkdErfc_HA, c, "vdErfc");
  }
  const ErfcCase s_rows[] = {{-kInf, 2.0, 0}, {kInf, 0.0, 0}, {9.2, nan, 4}, {9.25, nan, 4},
                             {12.0, 0.0, 4},  {-7.0, 2.0, 0}};
  for (const auto &c : s_rows) check_erfc<float>(_vmksErfc_HA, c, "vsErfc");
  float x = 9.19f, y;
  _vmksErfc_HA(1, &x, &y);
  EXPECT_GE(y, 0x1p-126f);
}

// Arrays mixing both routes and rare elements across several 64-element blocks: each element
// gives what it gives alone, in place too, and the statuses arrive once each in index order.
template <class T>
void check_mixed_blocks(void (*kernel)(int, const T *, T *), double under, const char *name) {
  std::mt19937_64 rng(3);
  std::uniform_real_distribution<double> u(-1.0, 2.0);
  std::vector<T> a(203);
  std::vector<int> want;
  for (size_t i = 0; i < a.size(); ++i) {
    a[i] = T(u(rng));
    if (i % 17 == 5) a[i] = T(-7.0);
    if (i % 23 == 11) {
      a[i] = T(under);
      want.push_back(int(i));
    }
    if (i % 29 == 3) a[i] = std::numeric_limits<T>::quiet_NaN();
  }
  std::vector<T> y(a.size()), in_place = a;
  std::vector<int> got, got_in_place;
  std::thread([&] {
    hpk_vmk_kernel_SetErrorCallBack(record);
    kernel(int(a.size()), a.data(), y.data());
    for (const auto &r : t_reports) {
      got.push_back(r.index);
      EXPECT_EQ(r.code, 4);
      EXPECT_EQ(r.name, name);
    }
    t_reports.clear();
    kernel(int(a.size()), in_place.data(), in_place.data());
    for (const auto &r : t_reports) got_in_place.push_back(r.index);
  }).join();
  EXPECT_EQ(got, want);
  EXPECT_EQ(got_in_place, want);
  for (size_t i = 0; i < a.size(); ++i) {
    T one;
    kernel(1, &a[i], &one);
    EXPECT_EQ(bits(one), bits(y[i])) << a[i];
    EXPECT_EQ(bits(one), bits(in_place[i])) << a[i];
  }
}

TEST(Erfc, MixedBlocksAgreeWithSingleElements) {
  check_mixed_blocks<double>(_vmkdErfc_HA, 27.0, "vdErfc");
  check_mixed_blocks<float>(_vmksErfc_HA, 9.5, "vsErfc");
}

TEST(SpecialAccuracy, WithinOneUlpOfMpfr) {
  int seen = 0;
  for (const auto &c : hpk::oracle::cases()) {
    if (c.name.substr(1) != "Erf" && c.name.substr(1) != "Erfc") continue;
    ++seen;
    hpk::oracle::Worst w;
    const long samples = c.name.substr(1) == "Erf" ? 40000 : 6000;  // MPFR's erfc tail is slow
    std::thread([&] { w = hpk::oracle::sweep(c, samples, 31); }).join();
    std::cout << "[ accuracy ] " << c.name << " " << w.max_ulp << " ulp at " << std::hexfloat << w.x
              << std::defaultfloat << " (" << w.samples << " samples)\n";
    EXPECT_LE(w.max_ulp, c.bound_ulp) << c.name << " at " << std::hexfloat << w.x;
    EXPECT_GT(w.samples, 3 * samples);
  }
  EXPECT_EQ(seen, 4);
}

}  // namespace
