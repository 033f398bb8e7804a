// TGamma: statuses and stored values with the element's index at every position of short
// arrays, factorials exact at the integers, relative accuracy next to the poles, the control
// state of the caller (MXCSR and the x87 control word) restored, in-place calls, and the MPFR
// sweeps by range.
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

// kind of expected value
enum Expect { kExact, kIsNaN, kDenormalOrZero, kFiniteNormal };

struct StatusCase {
  double x;
  Expect kind;
  double value;  // for kExact; for kDenormalOrZero its sign
  int status;
};

// x at every position of arrays of length 1..5 (the peel, whole passes and the tail), the
// other elements 2.5 (whose result must not change); checks the stored value, the one status with its index and name.
template <class T, class K>
void check_status(K kernel, const StatusCase &c, const char *name) {
  for (int n = 1; n <= 5; ++n)
    for (int at = 0; at < n; ++at) {
      std::thread([&] {
        T other;
        const T two_half = T(2.5);
        kernel(1, &two_half, &other);
        std::vector<T> a(n + 1, T(2.5)), y(n + 1, T(-7));
        T *pa = a.data() + (n & 1);  // both alignments of the array
        T *py = y.data();
        pa[at] = T(c.x);
        hpk_vmk_kernel_SetErrorCallBack(record);
        kernel(n, pa, py);
        SCOPED_TRACE(std::string(name) + " x " + std::to_string(c.x) + " at " +
                     std::to_string(at) + " of " + std::to_string(n));
        const T r = py[at];
        switch (c.kind) {
          case kExact: EXPECT_EQ(bits(r), bits(T(c.value))) << r; break;
          case kIsNaN: EXPECT_TRUE(std::isnan(r)) << r; break;
          case kDenormalOrZero:
            EXPECT_LT(std::fabs(r), std::numeric_limits<T>::min()) << r;
            EXPECT_EQ(std::signbit(r), std::signbit(c.value)) << r;
            break;
          case kFiniteNormal:
            EXPECT_TRUE(std::isfinite(r) && std::fabs(r) >= std::numeric_limits<T>::min()) << r;
            break;
        }
        if (c.status == 0) {
          EXPECT_TRUE(t_reports.empty()) << t_reports[0].code;
        } else {
          ASSERT_EQ(t_reports.size(), 1u);
          EXPECT_EQ(t_reports[0].code, c.status);
          EXPECT_EQ(t_reports[0].index, at);
          EXPECT_EQ(t_reports[0].name, name);
        }
        for (int i = 0; i < n; ++i)
          if (i != at) EXPECT_EQ(bits(py[i]), bits(other)) << i;
      }).join();
    }
}

TEST(TGamma, DoubleStatuses) {
  const StatusCase rows[] = {
      {0.0, kExact, kInf, 2},
      {-0.0, kExact, -kInf, 2},
      {-1.0, kIsNaN, 0, 1},
      {-171.0, kIsNaN, 0, 1},
      {-0x1p52, kIsNaN, 0, 1},
      {-1e300, kIsNaN, 0, 1},
      {-kInf, kIsNaN, 0, 1},
      {kNaN, kIsNaN, 0, 0},
      {kInf, kExact, kInf, 0},
      {171.62437695630274, kExact, kInf, 3},
      {172.0, kExact, kInf, 3},
      {1e300, kExact, kInf, 3},
      {171.62437695630272, kFiniteNormal, 0, 0},
      {0x1p-1024, kExact, kInf, 3},
      {-0x1p-1030, kExact, -kInf, 3},
      {0x1p-1023, kExact, 0x1p1023, 0},
      {-0x1p-1022, kExact, -0x1p1022, 0},
      // the sign on (k, k + 1) is that of (-1)^k
      {-200.5, kDenormalOrZero, -0.0, 4},
      {-199.5, kDenormalOrZero, 0.0, 4},
      {-180.5, kDenormalOrZero, -0.0, 4},  // about -1e-329
      {-177.25, kDenormalOrZero, 0.0, 4},  // about 6e-322
      {-170.5, kFiniteNormal, 0, 0},       // about -3.3e-308
      {-9.5, kFiniteNormal, 0, 0},
      {-10.5, kFiniteNormal, 0, 0},
  };
  for (const auto &c : rows) check_status<double>(_vmkdTGamma_HA, c, "vdTGamma");
}

TEST(TGamma, SingleStatuses) {
  const StatusCase rows[] = {
      {0.0, kExact, kInf, 2},         {-0.0, kExact, -kInf, 2},    {-3.0, kIsNaN, 0, 1},
      {-kInf, kIsNaN, 0, 1},          {kNaN, kIsNaN, 0, 0},        {kInf, kExact, kInf, 0},
      {35.05, kExact, kInf, 3},       {40.0, kExact, kInf, 3},     {35.04, kFiniteNormal, 0, 0},
      {0x1p-149, kExact, kInf, 3},    {-0x1p-140, kExact, -kInf, 3},
      {0x1p-127, kFiniteNormal, 0, 0}, {-45.5, kDenormalOrZero, 0.0, 4},
      {-60.5, kDenormalOrZero, -0.0, 4}, {-61.5, kDenormalOrZero, 0.0, 4},
      {-36.5, kDenormalOrZero, -0.0, 4}, {-33.5, kFiniteNormal, 0, 0},
  };
  for (const auto &c : rows) check_status<float>(_vmksTGamma_HA, c, "vsTGamma");
}

// Gamma(n + 1) = n!: exact in double up to 22! (and in single up to 13!), on the shifted
// route (n < 10) and on Stirling's route, where the result is an exp of a double-double.
TEST(TGamma, FactorialsExact) {
  std::vector<double> a, expect;
  double f = 1.0;
  for (int n = 1; n <= 23; ++n) {
    a.push_back(n);
    expect.push_back(f);  // (n - 1)!
    f *= n;
  }
  std::vector<double> y(a.size());
  _vmkdTGamma_HA(int(a.size()), a.data(), y.data());
  for (size_t i = 0; i < a.size(); ++i) EXPECT_EQ(y[i], expect[i]) << a[i];
  std::vector<float> as(14), ys(14);
  for (int i = 0; i < 14; ++i) as[i] = float(a[i]);
  _vmksTGamma_HA(14, as.data(), ys.data());
  for (int i = 0; i < 14; ++i) EXPECT_EQ(ys[i], float(expect[i])) << as[i];
}

// Next to each pole -k (k = 1..9 on the shifted route, 10..30 by reflection) the result is
// huge with alternating sign and still within 1 ulp relative of MPFR.
TEST(TGamma, RelativeAccuracyNextToPoles) {
  std::vector<double> a;
  for (int k = 1; k <= 30; ++k)
    for (int j = 1; j <= 3; ++j) {
      double up = -double(k), down = -double(k);
      for (int s = 0; s < j * j; ++s) {
        up = std::nextafter(up, 0.0);
        down = std::nextafter(down, -kInf);
      }
      a.push_back(up);
      a.push_back(down);
    }
  std::vector<double> y(a.size());
  _vmkdTGamma_HA(int(a.size()), a.data(), y.data());
  mpfr_t e;
  mpfr_init2(e, 256);
  for (size_t i = 0; i < a.size(); ++i) {
    mpfr_set_d(e, a[i], MPFR_RNDN);
    mpfr_gamma(e, e, MPFR_RNDN);
    EXPECT_LE(hpk::oracle::ulp_error(y[i], e), 1.0) << std::hexfloat << a[i] << " " << y[i];
  }
  mpfr_clear(e);
}

// The caller's rounding mode and x87 precision come back, and the results (rare lanes
// included) do not depend on them.
TEST(TGamma, ControlStateRestored) {
  const double x[5] = {0.3, 17.25, -12.75, 171.5, -3.5};
  double ref[5], y[5];
  _vmkdTGamma_HA(5, x, ref);
  const unsigned saved = _mm_getcsr();
  uint16_t cw0, cw1;
  __asm__ volatile("fnstcw %0" : "=m"(cw0));
  const uint16_t cw = uint16_t((cw0 & ~0xF00) | 0xC00);  // 24-bit precision, round to zero
  __asm__ volatile("fldcw %0" : : "m"(cw));
  _mm_setcsr((saved & ~0x6000u) | 0x4000u);  // round up
  _vmkdTGamma_HA(5, x, y);
  const unsigned after = _mm_getcsr();
  __asm__ volatile("fnstcw %0" : "=m"(cw1));
  __asm__ volatile("fldcw %0" : : "m"(cw0));
  _mm_setcsr(saved);
  EXPECT_EQ(after & 0x6000u, 0x4000u);
  EXPECT_EQ(cw1, cw);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(bits(y[i]), bits(ref[i])) << x[i];
}

// In place, and every element the same as alone in an array of one (the pass, its peel and
// the tail, a lane rare next to a main lane).
TEST(TGamma, InPlaceAndPositionIndependent) {
  std::mt19937_64 rng(11);
  std::uniform_real_distribution<double> u(-30.0, 180.0);
  std::vector<double> a(1003);
  for (auto &v : a) v = u(rng);
  std::vector<double> y(a.size()), in = a;
  _vmkdTGamma_HA(int(a.size()), a.data(), y.data());
  _vmkdTGamma_HA(int(in.size()), in.data(), in.data());
  std::vector<float> fa(a.begin(), a.end()), fy(a.size());
  for (auto &v : fa) v = std::fmod(v, 45.0f);
  _vmksTGamma_HA(int(fa.size()), fa.data(), fy.data());
  for (size_t i = 0; i < a.size(); ++i) {
    double one;
    _vmkdTGamma_HA(1, &a[i], &one);
    EXPECT_EQ(bits(one), bits(y[i])) << a[i];
    EXPECT_EQ(bits(in[i]), bits(y[i])) << a[i];
    float fone;
    _vmksTGamma_HA(1, &fa[i], &fone);
    EXPECT_EQ(bits(fone), bits(fy[i])) << fa[i];
  }
}

// The MPFR sweep of each range on its own, so that the figure of every route is seen.
TEST(TGamma, WithinOneUlpOfMpfrByRange) {
  int seen = 0;
  for (const auto &c : hpk::oracle::cases()) {
    if (c.name.substr(1) != "TGamma") continue;
    ++seen;
    for (const auto &r : c.ranges) {
      hpk::oracle::Case one = c;
      one.ranges = {r};
      hpk::oracle::Worst w;
      std::thread([&] { w = hpk::oracle::sweep(one, 4000, 77); }).join();
      std::cout << "[ accuracy ] " << c.name << " [" << r.lo << ", " << r.hi << "]"
                << (r.signed_inputs ? " +-" : "") << ": " << w.max_ulp << " ulp at "
                << std::hexfloat << w.x << std::defaultfloat << "\n";
      EXPECT_LE(w.max_ulp, c.bound_ulp) << c.name << " at " << std::hexfloat << w.x;
      EXPECT_GT(w.samples, 4000);
    }
  }
  EXPECT_EQ(seen, 2);
}

}  // namespace
