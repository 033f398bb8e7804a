// CdfNorm, six kernels: statuses and stored values of the rare lanes at every lane position
// (peel, passes, tail) and mixed with regular lanes, the underflow cut checked against MPFR, the
// stubs and table slots, in-place calls, the control state, and the accuracy of each level
// against MPFR.
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
using hpk::test::Report;
using hpk::test::t_reports;

using KD = void (*)(int, const double *, double *);
using KS = void (*)(int, const float *, float *);

struct Level {
  const char *name;
  KD d;
  KS s;
};
const Level kLevels[] = {
    {"HA", hpk_vmk_kernel_dCdfNorm_EXHAynn, hpk_vmk_kernel_sCdfNorm_EXHAynn},
    {"LA", hpk_vmk_kernel_dCdfNorm_EXLAynn, hpk_vmk_kernel_sCdfNorm_EXLAynn},
    {"EP", hpk_vmk_kernel_dCdfNorm_EXEPnnn, hpk_vmk_kernel_sCdfNorm_EXEPnnn},
};

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Runs `kernel` over a on a fresh thread in call-back mode; returns the reports.
template <class T, class K>
std::vector<Report> run_recorded(K kernel, const T *a, T *y, int n) {
  std::vector<Report> seen;
  std::thread([&] {
    hpk_vmk_kernel_SetMode(HPK_VMK_ERRMODE_CALLBACK);
    hpk_vmk_kernel_SetErrorCallBack(record);
    kernel(n, a, y);
    seen = t_reports;
  }).join();
  return seen;
}

// kUnderflow: 0 <= y < least normal; kNormal: least normal <= y < 1/2
enum Expect { kValue, kUnderflow, kNormal };
struct RareRow {
  double x;
  Expect kind;
  double value;  // for kValue; NaN means a NaN
  int status;
};

template <class T>
bool matches(T y, const RareRow &r) {
  if (r.kind == kUnderflow) return y >= T(0) && y < std::numeric_limits<T>::min() && !std::signbit(y);
  if (r.kind == kNormal) return y >= std::numeric_limits<T>::min() && y < T(0.5);
  if (std::isnan(r.value)) return std::isnan(y);
  return bits(y) == bits(T(r.value));
}

// Each rare input at every position of an odd array that starts 4 bytes past 16-byte alignment
// (so the peel, whole passes and the tail all see it), among regular lanes: the stored value,
// exactly one report with the element's index, the status and the name, and regular lanes
// equal to what the kernel gives them alone.
template <class T, class K>
void check_rare_rows(K kernel, const std::vector<RareRow> &rows, const char *name, const char *level) {
  constexpr int n = 9;
  alignas(16) T buf[n + 4];
  T *a = buf + 1;
  for (const RareRow &r : rows)
    for (int at = 0; at < n; ++at) {
      for (int i = 0; i < n; ++i) a[i] = T(-2.0 + 0.45 * i);
      a[at] = T(r.x);
      std::vector<T> y(n, T(-7));
      const std::vector<Report> seen = run_recorded<T>(kernel, a, y.data(), n);
      SCOPED_TRACE(std::string(name) + " " + level + " x " + std::to_string(r.x) + " at " +
                   std::to_string(at));
      EXPECT_TRUE(matches(y[at], r)) << std::hexfloat << y[at];
      if (r.status == 0) {
        EXPECT_TRUE(seen.empty());
      } else {
        ASSERT_EQ(seen.size(), 1u);
        EXPECT_EQ(seen[0].code, r.status);
        EXPECT_EQ(seen[0].index, at);
        EXPECT_EQ(seen[0].name, name);
      }
      for (int i = 0; i < n; ++i) {
        if (i == at) continue;
        T alone;
        kernel(1, &a[i], &alone);
        EXPECT_EQ(bits(y[i]), bits(alone)) << "lane " << i;
      }
    }
}

TEST(CdfNorm, RareLanesAtEveryPosition) {
  const std::vector<RareRow> d_rows = {
      {kNaN, kValue, kNaN, 0},         {-kInf, kValue, 0.0, 0},       {kInf, kValue, 1.0, 0},
      {1e300, kValue, 1.0, 0},         {-37.6, kUnderflow, 0, 4},     {-38.5, kUnderflow, 0, 4},
      {-39.5, kValue, 0.0, 4},         {-1e300, kValue, 0.0, 4},      {-37.5, kNormal, 0, 0},
      {-37.519, kNormal, 0, 0},
  };
  const std::vector<RareRow> s_rows = {
      {kNaN, kValue, kNaN, 0},         {-kInf, kValue, 0.0, 0},       {kInf, kValue, 1.0, 0},
      {-13.0, kUnderflow, 0, 4},       {-14.0, kUnderflow, 0, 4},     {-20.0, kValue, 0.0, 4},
      {-1e30, kValue, 0.0, 4},         {-12.5, kNormal, 0, 0},        {-12.9, kNormal, 0, 0},
  };
  for (const Level &l : kLevels) {
    check_rare_rows<double>(l.d, d_rows, "vdCdfNorm", l.name);
    check_rare_rows<float>(l.s, s_rows, "vsCdfNorm", l.name);
  }
}

// A long unaligned odd array with rare lanes scattered through it: the reports come in index
// order, exactly for the underflowing elements.
TEST(CdfNorm, ScatteredRareLanesReportInOrder) {
  for (const Level &l : kLevels) {
    std::vector<double> buf(40);
    double *a = buf.data() + 1;
    const int n = 37;
    std::vector<int> want;
    for (int i = 0; i < n; ++i) {
      const bool under = i % 5 == 3 || i == 0 || i == n - 1;
      a[i] = under ? -38.0 - 0.01 * i : (i % 7 == 2 ? kNaN : -9.0 + 0.5 * i);
      if (under) want.push_back(i);
    }
    std::vector<double> y(n);
    const std::vector<Report> seen = run_recorded<double>(l.d, a, y.data(), n);
    ASSERT_EQ(seen.size(), want.size()) << l.name;
    for (size_t k = 0; k < want.size(); ++k) {
      EXPECT_EQ(seen[k].index, want[k]) << l.name;
      EXPECT_EQ(seen[k].code, 4);
    }
  }
}

// The cut between a normal result and status 4 lies where MPFR puts it: the least x whose
// value is at least the least normal (the generator's figure), and its lower neighbour.
TEST(CdfNorm, UnderflowCutAgreesWithMpfr) {
  mpfr_t v, s2;
  mpfr_inits2(200, v, s2, (mpfr_ptr)0);
  mpfr_sqrt_ui(s2, 2, MPFR_RNDN);
  auto cdf_below = [&](double x, int least_exp) {
    mpfr_set_d(v, -x, MPFR_RNDN);
    mpfr_div(v, v, s2, MPFR_RNDN);
    mpfr_erfc(v, v, MPFR_RNDN);
    mpfr_div_2ui(v, v, 1, MPFR_RNDN);
    return mpfr_cmp_ui_2exp(v, 1, least_exp) < 0;
  };
  const double cut_d = -37.51937934714449;
  const double below_d = std::nextafter(cut_d, -kInf);
  ASSERT_FALSE(cdf_below(cut_d, -1022));
  ASSERT_TRUE(cdf_below(below_d, -1022));
  float cut_s = float(-12.949952701187202);  // the least float at or above the double cut
  if (cut_s < -12.949952701187202) cut_s = std::nextafter(cut_s, 0.0f);
  const float below_s = std::nextafter(cut_s, -100.0f);
  ASSERT_FALSE(cdf_below(cut_s, -126));
  ASSERT_TRUE(cdf_below(below_s, -126));
  mpfr_clears(v, s2, (mpfr_ptr)0);
  for (const Level &l : kLevels) {
    const double xd[2] = {cut_d, below_d};
    double yd[2];
    const std::vector<Report> rd = run_recorded<double>(l.d, xd, yd, 2);
    ASSERT_EQ(rd.size(), 1u) << l.name;
    EXPECT_EQ(rd[0].index, 1);
    EXPECT_GE(yd[0], 0x1p-1022);
    const float xs[2] = {cut_s, below_s};
    float ys[2];
    const std::vector<Report> rs = run_recorded<float>(l.s, xs, ys, 2);
    ASSERT_EQ(rs.size(), 1u) << l.name;
    EXPECT_EQ(rs[0].index, 1);
    EXPECT_GE(ys[0], 0x1p-126f);
  }
}

// The four stubs of each type reach the kernels of their slots, the tables hold them, and the
// three kernels differ (the lower levels are not the HA kernel under another name).
TEST(CdfNorm, StubsReachTheirSlots) {
  EXPECT_EQ(hpk_vmk_kernel_dCdfNorm_ttab[0], &hpk_vmk_kernel_dCdfNorm_EXLAynn);
  EXPECT_EQ(hpk_vmk_kernel_dCdfNorm_ttab[1], &hpk_vmk_kernel_dCdfNorm_EXHAynn);
  EXPECT_EQ(hpk_vmk_kernel_dCdfNorm_ttab[2], &hpk_vmk_kernel_dCdfNorm_EXEPnnn);
  EXPECT_EQ(hpk_vmk_kernel_sCdfNorm_ttab[0], &hpk_vmk_kernel_sCdfNorm_EXLAynn);
  EXPECT_EQ(hpk_vmk_kernel_sCdfNorm_ttab[1], &hpk_vmk_kernel_sCdfNorm_EXHAynn);
  EXPECT_EQ(hpk_vmk_kernel_sCdfNorm_ttab[2], &hpk_vmk_kernel_sCdfNorm_EXEPnnn);
  const int n = 257;
  std::vector<double> a(n);
  std::vector<float> af(n);
  for (int i = 0; i < n; ++i) af[i] = float(a[i] = -12.0 + 0.09 * i);
  const std::pair<KD, KD> d_pairs[] = {{_vmkdCdfNorm_50, hpk_vmk_kernel_dCdfNorm_EXLAynn},
                                       {_vmkdCdfNorm_HA, hpk_vmk_kernel_dCdfNorm_EXHAynn},
                                       {_vmkdCdfNorm, hpk_vmk_kernel_dCdfNorm_EXHAynn},
                                       {_vmkdCdfNorm_26, hpk_vmk_kernel_dCdfNorm_EXEPnnn}};
  std::vector<std::vector<double>> outs;
  for (const auto &[stub, kernel] : d_pairs) {
    std::vector<double> ys(n), yk(n);
    stub(n, a.data(), ys.data());
    kernel(n, a.data(), yk.data());
    for (int i = 0; i < n; ++i) EXPECT_EQ(bits(ys[i]), bits(yk[i])) << a[i];
    outs.push_back(ys);
  }
  EXPECT_NE(outs[0], outs[1]);
  EXPECT_NE(outs[3], outs[1]);
  const std::pair<KS, KS> s_pairs[] = {{_vmksCdfNorm_21, hpk_vmk_kernel_sCdfNorm_EXLAynn},
                                       {_vmksCdfNorm_HA, hpk_vmk_kernel_sCdfNorm_EXHAynn},
                                       {_vmksCdfNorm, hpk_vmk_kernel_sCdfNorm_EXHAynn},
                                       {_vmksCdfNorm_11, hpk_vmk_kernel_sCdfNorm_EXEPnnn}};
  std::vector<std::vector<float>> souts;
  for (const auto &[stub, kernel] : s_pairs) {
    std::vector<float> ys(n), yk(n);
    stub(n, af.data(), ys.data());
    kernel(n, af.data(), yk.data());
    for (int i = 0; i < n; ++i) EXPECT_EQ(bits(ys[i]), bits(yk[i])) << af[i];
    souts.push_back(ys);
  }
  EXPECT_NE(souts[0], souts[1]);
  EXPECT_NE(souts[3], souts[1]);
}

// In place (rare lanes included) gives what a separate output gives; the caller's rounding mode
// comes back and does not change the results.
TEST(CdfNorm, InPlaceAndControlState) {
  std::mt19937_64 rng(17);
  std::uniform_real_distribution<double> u(-40.0, 10.0);
  const int n = 1001;
  std::vector<double> a(n);
  for (auto &x : a) x = u(rng);
  for (const Level &l : kLevels) {
    std::vector<double> y(n), in = a, up(n);
    std::vector<float> af(a.begin(), a.end()), yf(n), inf_ = af;
    const uint32_t old_mode = uint32_t(hpk_vmk_kernel_SetMode(HPK_VMK_ERRMODE_IGNORE));
    l.d(n, a.data(), y.data());
    l.d(n, in.data(), in.data());
    l.s(n, af.data(), yf.data());
    l.s(n, inf_.data(), inf_.data());
    const unsigned saved = _mm_getcsr();
    _mm_setcsr((saved & ~0x6000u) | 0x4000u);  // round up
    l.d(n, a.data(), up.data());
    const unsigned after = _mm_getcsr();
    _mm_setcsr(saved);
    hpk_vmk_kernel_SetMode(old_mode);
    EXPECT_EQ(after & 0x6000u, 0x4000u) << l.name;
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(bits(in[i]), bits(y[i])) << l.name << " " << a[i];
      EXPECT_EQ(bits(up[i]), bits(y[i])) << l.name << " " << a[i];
      EXPECT_EQ(bits(inf_[i]), bits(yf[i])) << l.name << " " << af[i];
    }
  }
}

// Each level within its bound against MPFR over the oracle's sweep (central range, the negative
// tail, across the underflow cut, the whole range, the specials). MPFR's erfc is slow in the
// tail, so the sample count is small; `hpk report` runs the large sweep.
TEST(CdfNorm, AccuracyPerLevelAgainstMpfr) {
  int seen = 0;
  for (const auto &c : hpk::oracle::cases()) {
    const std::string fn = c.name.substr(1);
    if (fn != "CdfNorm" && fn != "CdfNorm_LA" && fn != "CdfNorm_EP") continue;
    ++seen;
    hpk::oracle::Worst w;
    std::thread([&] { w = hpk::oracle::sweep(c, 400, 41); }).join();
    std::cout << "[ accuracy ] " << c.name << " " << w.max_ulp << " ulp at " << std::hexfloat
              << w.x << std::defaultfloat << " (" << w.samples << " samples)\n";
    EXPECT_LE(w.max_ulp, c.bound_ulp) << c.name << " at " << std::hexfloat << w.x;
  }
  EXPECT_EQ(seen, 6);
}

}  // namespace
