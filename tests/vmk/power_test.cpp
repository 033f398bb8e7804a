// Power family: the stored value and status of each special pair in a block and in the tail,
// signed zeros and the sign rule for odd integers, Powx's dispatch on the exact bits of its
// exponent (and the names of the kernels it forwards to), the statuses of Pow3o2 and Pow2o3,
// in-place calls, and the MPFR sweeps over the ranges where power functions go wrong: x next to
// 1 with large y, results near overflow and underflow, denormal results, negative x with
// integer y.
#include <gtest/gtest.h>
#include <mpfr.h>
#include <xmmintrin.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "oracle.hpp"

namespace {

using namespace hpk::test;

// Runs `body` on a fresh thread with the recording call-back, so reports do not leak between
// cases.
void on_thread(const std::function<void()> &body) {
  std::thread([&] {
    t_reports.clear();
    hpk_vmk_kernel_SetErrorCallBack(record);
    body();
  }).join();
}

template <class T>
void pow_kernel(int n, const T *a, const T *b, T *y) {
  if constexpr (sizeof(T) == 8) hpk_vmk_kernel_dPow_EXHAynn(n, a, b, y);
  else hpk_vmk_kernel_sPow_EXHAynn(n, a, b, y);
}
template <class T>
void powx_kernel(int n, const T *a, T b, T *y) {
  if constexpr (sizeof(T) == 8) hpk_vmk_kernel_dPowx_EXHAynn(n, a, b, y);
  else hpk_vmk_kernel_sPowx_EXHAynn(n, a, b, y);
}

constexpr double kInf = INFINITY;
const double kQNaN = -NAN;  // the default NaN, sign set: pattern 0xFFF8000000000000
const double kNaN = NAN;

struct PowSpecial {
  double x, y, result;
  int status;
};

// Results are compared by bits after conversion to the type (a NaN by being a NaN, the
// default NaN by its pattern).
const std::vector<PowSpecial> kPowSpecials = {
    {0.0, -2.0, kInf, 1},      {-0.0, -3.0, -kInf, 1},    {-0.0, -2.0, kInf, 1},
    {0.0, -3.0, kInf, 1},      {-0.0, -0.5, kInf, 1},     {0.0, -kInf, kInf, 1},
    {-8.0, 1.0 / 3, kQNaN, 1}, {-2.0, 0.5, kQNaN, 1},     {-2.0, -2.5, kQNaN, 1},
    {-2.0, 3.0, -8.0, 0},      {-2.0, 2.0, 4.0, 0},       {-2.0, -3.0, -0.125, 0},
    {-kInf, 0.5, kInf, 0},     {-kInf, -3.0, -0.0, 0},    {-kInf, 3.0, -kInf, 0},
    {-kInf, -2.0, 0.0, 0},     {kInf, 0.5, kInf, 0},      {kInf, -1.0, 0.0, 0},
    {kNaN, 0.0, 1.0, 0},       {kNaN, -0.0, 1.0, 0},      {1.0, kNaN, 1.0, 0},
    {1.0, kInf, 1.0, 0},       {kNaN, 2.0, kNaN, 0},      {2.0, kNaN, kNaN, 0},
    {-1.0, kInf, 1.0, 0},      {-1.0, -kInf, 1.0, 0},     {0.5, kInf, 0.0, 0},
    {2.0, kInf, kInf, 0},      {2.0, -kInf, 0.0, 0},      {0.5, -kInf, kInf, 0},
    {0.0, 3.0, 0.0, 0},        {-0.0, 3.0, -0.0, 0},      {-0.0, 2.0, 0.0, 0},
    {-0.0, 0.5, 0.0, 0},       {2.0, 1024.0, kInf, 0},    {-2.0, 1025.0, -kInf, 0},
    {2.0, -1075.0, 0.0, 0},    {-2.0, -1075.0, -0.0, 0},  {2.0, -1074.0, 0x1p-1074, 0},
    {0x1p-1074, 0.5, 0x1p-537, 0}, {0x1p-1074, -0.5, 0x1p537, 0}, {4.0, 0x1p-600, 1.0, 0},
    {-1.0, 0x1.fffffffffffffp52, -1.0, 0}, {-1.0, 0x1p53, 1.0, 0}, {16.0, 0.25, 2.0, 0},
    {10.0, 308.5, kInf, 0},    {0x1p-1000, 1.5, 0.0, 0},
};

const std::vector<PowSpecial> kSPowSpecials = {
    {2.0, 128.0, kInf, 0},     {-2.0, 129.0, -kInf, 0},   {2.0, -150.0, 0.0, 0},
    {2.0, -149.0, 0x1p-149, 0}, {-2.0, -149.0, -0x1p-149, 0}, {0x1p-149, 0.5, 0x1.6a09e6p-75, 0},
    {-1.0, 16777215.0, -1.0, 0}, {0x1p-126, -1.0, 0x1p126, 0},
};

template <class T>
bool same(T got, double want) {
  if (std::isnan(want) && bits(want) != bits(kQNaN)) return std::isnan(got);
  return bits(got) == bits(T(want));
}

template <class T>
bool dispatched(T b) {
  for (double e : {2.0, 0.5, -0.5, -1.0, 1.0 / 3, -1.0 / 3, 2.0 / 3, 1.5})
    if (bits(b) == bits(T(e))) return true;
  return false;
}

template <class T>
void check_pow_specials(const std::vector<PowSpecial> &cases) {
  const char type = sizeof(T) == 8 ? 'd' : 's';
  const int block = sizeof(T) == 8 ? 8 : 16;
  const int placements[][2] = {{1, 0}, {block, 5}, {block + 3, block + 1}, {2 * block, block - 1}};
  for (const PowSpecial &c : cases) {
    for (const auto &p : placements) {
      const int n = p[0], at = p[1];
      on_thread([&] {
        SCOPED_TRACE(std::string(1, type) + "Pow(" + std::to_string(c.x) + ", " +
                     std::to_string(c.y) + ") at " + std::to_string(at) + " of " + std::to_string(n));
        std::vector<T> a(n, T(1.5)), b(n, T(-2.25)), y(n, T(-7));
        a[at] = T(c.x);
        b[at] = T(c.y);
        pow_kernel<T>(n, a.data(), b.data(), y.data());
        EXPECT_TRUE(same(y[at], c.result)) << std::hexfloat << y[at];
        // the neighbours are ordinary elements and were not disturbed
        T other;
        const T x1 = T(1.5), y1 = T(-2.25);
        pow_kernel<T>(1, &x1, &y1, &other);
        for (int i = 0; i < n; ++i)
          if (i != at) EXPECT_EQ(bits(y[i]), bits(other)) << i;
        if (c.status == 0) {
          EXPECT_TRUE(t_reports.empty());
        } else {
          ASSERT_EQ(t_reports.size(), 1u);
          EXPECT_EQ(t_reports[0].code, c.status);
          EXPECT_EQ(t_reports[0].index, at);
          EXPECT_EQ(t_reports[0].name, std::string("v") + type + "Pow");
        }
        // Powx with the same exponent (where it takes the general route) stores the same and
        // reports under its own name
        if (dispatched(T(c.y))) return;
        std::vector<T> yx(n);
        t_reports.clear();
        a.assign(n, T(c.x));
        powx_kernel<T>(n, a.data(), T(c.y), yx.data());
        for (int i = 0; i < n; ++i) EXPECT_TRUE(same(yx[i], c.result)) << std::hexfloat << yx[i];
        EXPECT_EQ(t_reports.size(), c.status ? size_t(n) : 0u);
        for (const Report &r : t_reports) EXPECT_EQ(r.name, std::string("v") + type + "Powx");
      });
    }
  }
}

TEST(PowFamily, DoubleSpecialsAndStatuses) { check_pow_specials<double>(kPowSpecials); }

TEST(PowFamily, SingleSpecialsAndStatuses) {
  std::vector<PowSpecial> cases;
  for (const PowSpecial &c : kPowSpecials)  // the rows that mean the same in single
    if (std::fabs(c.y) < 300 && (c.x == 0 || std::isinf(c.x) || std::isnan(c.x) || std::fabs(c.x) >= 0.5) &&
        std::fabs(c.x) < 1e30 && !(c.x == 2 && std::fabs(c.y) > 100))
      cases.push_back(c);
  for (const PowSpecial &c : kSPowSpecials) cases.push_back(c);
  check_pow_specials<float>(cases);
}

template <class T>
using K1 = void (*)(int, const T *, T *);

// Powx's own routes: the exponents with a kernel of their own reach it (same bits, same status,
// the target's name); one ulp off they take the general route.
template <class T>
void check_dispatch(const std::vector<std::pair<T, K1<T>>> &routes, const char *const *names) {
  const char type = sizeof(T) == 8 ? 'd' : 's';
  const std::vector<T> a = {T(2.5), T(-1.0), T(0.0), T(-0.0), T(7.0), T(1e-3), T(NAN), T(-27.0),
                            T(INFINITY), T(0.3), T(123.0), T(-0.5)};
  const int n = int(a.size());
  for (size_t k = 0; k < routes.size(); ++k) {
    const T b = routes[k].first;
    on_thread([&] {
      SCOPED_TRACE(std::string(1, type) + "Powx exponent " + std::to_string(double(b)));
      std::vector<T> want(n), got(n);
      std::vector<Report> want_reports;
      if (routes[k].second) {
        routes[k].second(n, a.data(), want.data());
        want_reports = t_reports;
        for (const Report &r : want_reports) EXPECT_EQ(r.name, std::string("v") + type + names[k]);
      } else {
        for (int i = 0; i < n; ++i) want[i] = a[i] * a[i];  // 2: the plain square
      }
      t_reports.clear();
      powx_kernel<T>(n, a.data(), b, got.data());
      for (int i = 0; i < n; ++i)
        EXPECT_TRUE(bits(got[i]) == bits(want[i]) || (std::isnan(got[i]) && std::isnan(want[i])))
            << i << " " << got[i] << " " << want[i];
      ASSERT_EQ(t_reports.size(), want_reports.size());
      for (size_t i = 0; i < t_reports.size(); ++i) {
        EXPECT_EQ(t_reports[i].name, want_reports[i].name);
        EXPECT_EQ(t_reports[i].index, want_reports[i].index);
      }
      // one ulp above: the general route, so a negative base is a domain error of Powx
      const T b1 = std::nextafter(b, T(10));
      t_reports.clear();
      powx_kernel<T>(n, a.data(), b1, got.data());
      int negatives = 0;
      for (T v : a) negatives += v < 0 && !std::isinf(v);
      EXPECT_EQ(int(t_reports.size()), negatives + (b1 < 0 ? 2 : 0));  // the zeros with b1 < 0
      for (const Report &r : t_reports) EXPECT_EQ(r.name, std::string("v") + type + "Powx");
    });
  }
}

TEST(PowxDispatch, DoubleExponentsByExactBits) {
  const char *names[] = {"", "Sqrt", "InvSqrt", "Inv", "Cbrt", "InvCbrt", "Pow2o3", "Pow3o2"};
  check_dispatch<double>({{2.0, nullptr},
                          {0.5, hpk_vmk_kernel_dSqrt_EXHAynn},
                          {-0.5, hpk_vmk_kernel_dInvSqrt_EXHAynn},
                          {-1.0, hpk_vmk_kernel_dInv_EXHAynn},
                          {1.0 / 3, hpk_vmk_kernel_dCbrt_EXHAynn},
                          {-1.0 / 3, hpk_vmk_kernel_dInvCbrt_EXHAynn},
                          {2.0 / 3, hpk_vmk_kernel_dPow2o3_EXHAynn},
                          {1.5, hpk_vmk_kernel_dPow3o2_EXHAynn}},
                         names);
}

TEST(PowxDispatch, SingleExponentsByExactBits) {
  const char *names[] = {"", "Sqrt", "InvSqrt", "Inv", "Cbrt", "InvCbrt", "Pow2o3", "Pow3o2"};
  check_dispatch<float>({{2.0f, nullptr},
                         {0.5f, hpk_vmk_kernel_sSqrt_EXHAynn},
                         {-0.5f, hpk_vmk_kernel_sInvSqrt_EXHAynn},
                         {-1.0f, hpk_vmk_kernel_sInv_EXHAynn},
                         {1.0f / 3, hpk_vmk_kernel_sCbrt_EXHAynn},
                         {-1.0f / 3, hpk_vmk_kernel_sInvCbrt_EXHAynn},
                         {2.0f / 3, hpk_vmk_kernel_sPow2o3_EXHAynn},
                         {1.5f, hpk_vmk_kernel_sPow3o2_EXHAynn}},
                        names);
}

TEST(PowxDispatch, SqrtOfMinusOneReportsTheSqrtKernel) {
  on_thread([] {
    const double a[3] = {4.0, -1.0, 9.0};
    double y[3];
    hpk_vmk_kernel_dPowx_EXHAynn(3, a, 0.5, y);
    EXPECT_EQ(y[0], 2.0);
    EXPECT_EQ(bits(y[1]), 0xFFF8000000000000ull);
    ASSERT_EQ(t_reports.size(), 1u);
    EXPECT_EQ(t_reports[0].name, "vdSqrt");
    EXPECT_EQ(t_reports[0].code, 1);
    EXPECT_EQ(t_reports[0].index, 1);
  });
}

struct RootSpecial {
  double x, result;
  int status;
};

template <class T>
void check_roots(K1<T> k, const char *name, const std::vector<RootSpecial> &cases) {
  const int block = sizeof(T) == 8 ? 8 : 16;
  for (const RootSpecial &c : cases) {
    for (int n : {1, block + 2}) {
      on_thread([&] {
        SCOPED_TRACE(std::string(name) + " of " + std::to_string(c.x) + " in " + std::to_string(n));
        std::vector<T> a(n, T(c.x)), y(n);
        k(n, a.data(), y.data());
        for (int i = 0; i < n; ++i) EXPECT_TRUE(same(y[i], c.result)) << std::hexfloat << y[i];
        EXPECT_EQ(t_reports.size(), c.status ? size_t(n) : 0u);
        for (const Report &r : t_reports) {
          EXPECT_EQ(r.code, c.status);
          EXPECT_EQ(r.name, name);
        }
      });
    }
  }
}

TEST(PowRoots, Pow3o2AndPow2o3Specials) {
  const std::vector<RootSpecial> p32 = {
      {4.0, 8.0, 0},      {0.0, 0.0, 0},          {-0.0, 0.0, 0},       {kInf, kInf, 0},
      {-1.0, kQNaN, 1},   {-kInf, kQNaN, 1},      {kNaN, kNaN, 0},      {0x1p-1074, 0.0, 0},
      {0x1p-1020, 0.0, 0}};
  // underflow to 0 and overflow to infinity raise no status; exact cases in the scaled routes
  std::vector<RootSpecial> d32 = p32;
  d32.push_back({0x1p700, kInf, 0});
  d32.push_back({0x1p682, 0x1p1023, 0});
  d32.push_back({0x1p-600, 0x1p-900, 0});
  d32.push_back({0x1p-680, 0x1p-1020, 0});
  d32.push_back({0x1p-690, 0x1p-1035, 0});  // denormal result, exact
  check_roots<double>(hpk_vmk_kernel_dPow3o2_EXHAynn, "vdPow3o2", d32);
  check_roots<float>(hpk_vmk_kernel_sPow3o2_EXHAynn, "vsPow3o2",
                     {{4.0, 8.0, 0}, {-2.0, kQNaN, 1}, {-0.0, 0.0, 0}, {0x1p86, kInf, 0},
                      {0x1p-96, 0x1p-144, 0}, {kNaN, kNaN, 0}});
  const std::vector<RootSpecial> p23 = {{-8.0, 4.0, 0},   {8.0, 4.0, 0},         {0.0, 0.0, 0},
                                        {-0.0, 0.0, 0},   {-kInf, kInf, 0},      {kInf, kInf, 0},
                                        {kNaN, kNaN, 0},  {-0x1p-99, 0x1p-66, 0}, {0x1p-147, 0x1p-98, 0}};
  std::vector<RootSpecial> d23 = p23;
  d23.push_back({0x1p-1074 * 64, 0x1p-712, 0});  // denormal input, scaled route
  d23.push_back({-0x1p-960, 0x1p-640, 0});
  d23.push_back({0x1.fffffffffffffp1023, 0x1.965fea53d6e3cp+682, 0});
  check_roots<double>(hpk_vmk_kernel_dPow2o3_EXHAynn, "vdPow2o3", d23);
  check_roots<float>(hpk_vmk_kernel_sPow2o3_EXHAynn, "vsPow2o3", p23);
}

TEST(PowFamily, InPlaceGivesTheSameResults) {
  std::vector<double> a(37), b(37);
  for (int i = 0; i < 37; ++i) {
    a[i] = (i % 5 == 0 ? -1 : 1) * (0.3 + 0.41 * i);
    b[i] = (i % 3 == 0) ? i - 9 : 0.37 * i - 3;
  }
  std::vector<double> want(37), y = a, z = b;
  hpk_vmk_kernel_dPow_EXHAynn(37, a.data(), b.data(), want.data());
  hpk_vmk_kernel_dPow_EXHAynn(37, y.data(), b.data(), y.data());
  hpk_vmk_kernel_dPow_EXHAynn(37, a.data(), z.data(), z.data());
  for (int i = 0; i < 37; ++i) {
    EXPECT_TRUE(bits(y[i]) == bits(want[i]) || (std::isnan(y[i]) && std::isnan(want[i]))) << i;
    EXPECT_TRUE(bits(z[i]) == bits(want[i]) || (std::isnan(z[i]) && std::isnan(want[i]))) << i;
  }
}

// ---- accuracy -------------------------------------------------------------------------
// The worst error in ulps of a kernel over generated operand pairs, against MPFR at 256 bits.
template <class T>
struct Sweep {
  std::mt19937_64 g{23};
  std::uniform_real_distribution<double> u{0, 1};
  double uni() { return u(g); }
};

enum class Ref { kPow, kPow2o3, kPow3o2 };

template <class T>
double worst_ulp(Ref ref, const std::vector<T> &x, const std::vector<T> &y, const std::vector<T> &r,
                 double &wx, double &wy) {
  mpfr_t mx, my, e;
  mpfr_inits2(256, mx, my, e, (mpfr_ptr)0);
  double worst = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    mpfr_set_d(mx, double(x[i]), MPFR_RNDN);
    mpfr_set_d(my, double(y[i]), MPFR_RNDN);
    switch (ref) {
      case Ref::kPow: mpfr_pow(e, mx, my, MPFR_RNDN); break;
      case Ref::kPow2o3:
        mpfr_cbrt(e, mx, MPFR_RNDN);
        mpfr_sqr(e, e, MPFR_RNDN);
        break;
      case Ref::kPow3o2:
        mpfr_sqrt(e, mx, MPFR_RNDN);
        mpfr_mul(e, e, mx, MPFR_RNDN);
        break;
    }
    const double err = hpk::oracle::ulp_error(r[i], e);
    if (err > worst || std::isnan(err)) {
      worst = err;
      wx = double(x[i]);
      wy = double(y[i]);
    }
  }
  mpfr_clears(mx, my, e, (mpfr_ptr)0);
  return worst;
}

using Gen = std::function<void(double u1, double u2, double u3, double &x, double &y)>;

template <class T>
void sweep_pow(const char *label, const Gen &gen, int samples, bool powx) {
  std::mt19937_64 g(std::hash<std::string>{}(label));
  std::uniform_real_distribution<double> u(0, 1);
  std::vector<T> x(samples), y(samples), r(samples);
  for (int i = 0; i < samples; ++i) {
    double a, b;
    gen(u(g), u(g), u(g), a, b);
    x[i] = T(a);
    y[i] = T(b);
  }
  if (!powx) {
    pow_kernel<T>(samples, x.data(), y.data(), r.data());
  } else {  // one exponent per run of 64 elements
    for (int i = 0; i < samples; i += 64) {
      for (int k = i; k < std::min(samples, i + 64); ++k) y[k] = y[i];
      powx_kernel<T>(std::min(64, samples - i), x.data() + i, y[i], r.data() + i);
    }
  }
  double wx = 0, wy = 0;
  const double w = worst_ulp<T>(Ref::kPow, x, y, r, wx, wy);
  std::cout << "[ accuracy ] " << (sizeof(T) == 8 ? 'd' : 's') << (powx ? "Powx " : "Pow ") << label
            << ": " << w << " ulp at " << std::hexfloat << wx << ", " << wy << std::defaultfloat
            << " (" << samples << ")\n";
  EXPECT_LE(w, 1.0) << label << std::hexfloat << " x=" << wx << " y=" << wy;
}

template <class T>
void pow_sweeps(bool powx) {
  const double emax = sizeof(T) == 8 ? 1024 : 128, emin = sizeof(T) == 8 ? -1074 : -149;
  const double big = sizeof(T) == 8 ? 1000 : 120;
  const int n = sizeof(T) == 8 ? 60000 : 30000;
  sweep_pow<T>("general", [&](double u1, double u2, double u3, double &x, double &y) {
    x = std::exp2((u1 - 0.5) * 2 * (emax - 4));
    y = (u2 - 0.5) * 2 * big / std::max(1.0, std::fabs(std::log2(x))) * (u3 < 0.5 ? 1 : u3);
  }, n, powx);
  sweep_pow<T>("x near 1, large y", [&](double u1, double u2, double u3, double &x, double &y) {
    x = 1 + (u1 - 0.5) * std::exp2(-u2 * (sizeof(T) == 8 ? 52 : 23));
    y = (u3 - 0.5) * 2 * (emax - 1) / std::fabs(std::log2(T(x)));
  }, n, powx);
  sweep_pow<T>("near overflow", [&](double u1, double u2, double u3, double &x, double &y) {
    x = std::exp2((u1 - 0.5) * 2 * (emax - 4));
    y = (emax - 1.5 + u2 * 2) / std::log2(T(x)) * (1 + (u3 - 0.5) * 1e-6);
  }, n, powx);
  sweep_pow<T>("near underflow and denormal", [&](double u1, double u2, double u3, double &x, double &y) {
    x = std::exp2((u1 - 0.5) * 2 * (emax - 4));
    y = (emin + 60 - u2 * 70) / std::log2(T(x)) * (1 + (u3 - 0.5) * 1e-6);
  }, n, powx);
  sweep_pow<T>("negative x, integer y", [&](double u1, double u2, double, double &x, double &y) {
    x = -std::exp2((u1 - 0.5) * 20);
    y = std::round((u2 - 0.5) * 2 * big / std::max(1.0, std::fabs(std::log2(-x))));
  }, n / 4, powx);
  sweep_pow<T>("denormal x", [&](double u1, double u2, double, double &x, double &y) {
    x = std::ldexp(u1, int(emin) + 52 * (sizeof(T) == 8) + 23 * (sizeof(T) == 4) - 1);
    y = (u2 - 0.5) * 1.9;
  }, n / 4, powx);
}

TEST(PowAccuracy, DoublePowWithinOneUlp) { on_thread([] { pow_sweeps<double>(false); }); }
TEST(PowAccuracy, SinglePowWithinOneUlp) { on_thread([] { pow_sweeps<float>(false); }); }
TEST(PowAccuracy, DoublePowxWithinOneUlp) { on_thread([] { pow_sweeps<double>(true); }); }
TEST(PowAccuracy, SinglePowxWithinOneUlp) { on_thread([] { pow_sweeps<float>(true); }); }

template <class T>
void sweep_root(Ref ref, K1<T> k, const char *label, double lo_exp, double hi_exp, bool negative) {
  std::mt19937_64 g(31);
  std::uniform_real_distribution<double> u(0, 1);
  const int n = 40000;
  std::vector<T> x(n), y(n), r(n);
  for (int i = 0; i < n; ++i) {
    x[i] = T(std::exp2(lo_exp + (hi_exp - lo_exp) * u(g)) * (negative && i % 2 ? -1 : 1));
    if (i % 8 == 0) x[i] = T(std::ldexp(1 + u(g), int(lo_exp) - 60 * (sizeof(T) == 8)));  // denormal side
  }
  k(n, x.data(), r.data());
  if (ref == Ref::kPow2o3)
    for (T &v : x) v = std::fabs(v);  // the result is |x|^(2/3)
  double wx = 0, wy = 0;
  const double w = worst_ulp<T>(ref, x, y, r, wx, wy);
  std::cout << "[ accuracy ] " << label << ": " << w << " ulp at " << std::hexfloat << wx
            << std::defaultfloat << "\n";
  EXPECT_LE(w, 1.0) << label << std::hexfloat << " x=" << wx;
}

TEST(PowAccuracy, RootPowersWithinOneUlp) {
  on_thread([] {
    sweep_root<double>(Ref::kPow3o2, hpk_vmk_kernel_dPow3o2_EXHAynn, "dPow3o2", -1020, 1024, false);
    sweep_root<float>(Ref::kPow3o2, hpk_vmk_kernel_sPow3o2_EXHAynn, "sPow3o2", -126, 128, false);
    sweep_root<double>(Ref::kPow2o3, hpk_vmk_kernel_dPow2o3_EXHAynn, "dPow2o3", -1014, 1024, true);
    sweep_root<float>(Ref::kPow2o3, hpk_vmk_kernel_sPow2o3_EXHAynn, "sPow2o3", -126, 128, true);
  });
}

}  // namespace

namespace {

// The oracle's rows of the family (as `hpk report` measures them): random pairs near 1 and all
// pairs of the specials for Pow and Powx, the whole range for the root powers.
TEST(PowAccuracy, OracleRowsWithinTheirBound) {
  for (const auto &c : hpk::oracle::cases()) {
    const std::string n = c.name.substr(1);
    if (n != "Pow" && n != "Powx" && n != "Pow2o3" && n != "Pow3o2") continue;
    hpk::oracle::Worst w;
    on_thread([&] { w = hpk::oracle::sweep(c, 20000, 41); });
    std::cout << "[ accuracy ] oracle " << c.name << " " << w.max_ulp << " ulp at " << std::hexfloat
              << w.x << ", " << w.y << std::defaultfloat << " (" << w.samples << " samples)\n";
    EXPECT_LE(w.max_ulp, c.bound_ulp) << c.name << std::hexfloat << " at " << w.x << ", " << w.y;
    EXPECT_GT(w.samples, 20000);
  }
}

}  // namespace

namespace {

// Pow and Powx run under control scheme A: a caller in round-up mode gets the results of
// round-to-nearest, and its MXCSR back. Pow3o2 restores the x87 control word it sets.
TEST(PowFamily, ControlStateDuringTheCallAndAfter) {
  std::vector<double> a(29), b(29), want(29), got(29), wantx(29), gotx(29), r32(29);
  for (int i = 0; i < 29; ++i) {
    a[i] = 0.37 + 1.9 * i;
    b[i] = -3.3 + 0.41 * i;
  }
  hpk_vmk_kernel_dPow_EXHAynn(29, a.data(), b.data(), want.data());
  hpk_vmk_kernel_dPowx_EXHAynn(29, a.data(), 2.75, wantx.data());
  const unsigned saved = _mm_getcsr();
  const unsigned round_up = (saved & ~0x6000u) | 0x4000u;
  _mm_setcsr(round_up);
  hpk_vmk_kernel_dPow_EXHAynn(29, a.data(), b.data(), got.data());
  hpk_vmk_kernel_dPowx_EXHAynn(29, a.data(), 2.75, gotx.data());
  const unsigned after = _mm_getcsr();
  _mm_setcsr(saved);
  EXPECT_EQ(after & 0xE040u, round_up & 0xE040u);
  for (int i = 0; i < 29; ++i) {
    EXPECT_EQ(bits(got[i]), bits(want[i])) << i;
    EXPECT_EQ(bits(gotx[i]), bits(wantx[i])) << i;
  }
  uint16_t cw = 0x37F, cw_after;  // 64-bit precision: the kernel sets 53 bits and restores
  __asm__ volatile("fldcw %0" : : "m"(cw));
  hpk_vmk_kernel_dPow3o2_EXHAynn(29, a.data(), r32.data());
  __asm__ volatile("fnstcw %0" : "=m"(cw_after));
  const uint16_t standard = 0x37F;
  __asm__ volatile("fldcw %0" : : "m"(standard));
  EXPECT_EQ(cw_after, cw);
}

}  // namespace
