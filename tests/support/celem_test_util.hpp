// Shared scaffolding of the complex elementary function tests: a row type naming a function's
// kernels and its references (glibc's C99 complex function, GNU MPC), the special-value grid
// compared with glibc by class and sign, the worst error per part against MPC over random and
// extreme elements, and a recording call-back run on a fresh thread.
#pragma once

#include <gtest/gtest.h>
#include <mpc.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <complex.h>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "oracle.hpp"
#include "support/vmk_test_util.hpp"

namespace hpk::test::celem {

using c8 = hpk_complex8;
using z16 = hpk_complex16;

// Runs f on a fresh thread in call-back mode with the recording call-back; returns what it saw.
template <class F>
std::vector<Report> recorded(F f) {
  std::vector<Report> seen;
  std::thread([&] {
    hpk_vmk_kernel_SetMode(HPK_VMK_ERRMODE_CALLBACK);
    hpk_vmk_kernel_SetErrorCallBack(record);
    t_reports.clear();
    f();
    seen = t_reports;
  }).join();
  return seen;
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

// One function of one argument: its kernels (either may be null), glibc's twins and MPC's.
struct CFn {
  const char *name;
  void (*cker)(int, const c8 *, c8 *);
  void (*zker)(int, const z16 *, z16 *);
  float _Complex (*cref)(float _Complex);
  double _Complex (*zref)(double _Complex);
  int (*mpc_ref)(mpc_ptr, mpc_srcptr, mpc_rnd_t);
  double ulps;      // accuracy bound per part
  double xlo, xhi;  // real parts uniform in [xlo, xhi] (both 0: any exponent)
};

// Every grid element through both kernels, compared with glibc part by part, and in place.
inline void check_grid(const CFn &f) {
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
    if (f.zker) f.zker(int(za.size()), za.data(), zy.data());
    if (f.cker) f.cker(int(ca.size()), ca.data(), cy.data());
  });
  // In place, each element gives the same bits (rare elements sit among regular ones).
  std::vector<z16> zi = za;
  std::vector<c8> ci = ca;
  recorded([&] {
    if (f.zker) f.zker(int(zi.size()), zi.data(), zi.data());
    if (f.cker) f.cker(int(ci.size()), ci.data(), ci.data());
  });
  for (size_t i = 0; f.zker && i < za.size(); ++i)
    EXPECT_TRUE(std::memcmp(&zi[i], &zy[i], sizeof(z16)) == 0) << f.name << " z in place at " << i;
  for (size_t i = 0; f.cker && i < ca.size(); ++i)
    EXPECT_TRUE(std::memcmp(&ci[i], &cy[i], sizeof(c8)) == 0) << f.name << " c in place at " << i;
  for (size_t i = 0; f.zker && i < za.size(); ++i) {
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

// Worst error of either part, in ulps of that part, against MPC at 200 bits over n elements:
// parts of random sign and exponent in [emin, emax], a third of the elements near an axis
// (one part 2^30 smaller), a third of equal scale, a third anywhere; with f.xlo != f.xhi the
// real parts are uniform in [xlo, xhi] (clipped to [-103, 88] for single), half of them
// scaled by 2^-12.
template <class R, class T>
double worst_error(const CFn &f, void (*ker)(int, const T *, T *), int emin, int emax, int n = 6000) {
  std::mt19937_64 gen(20261122);
  std::uniform_real_distribution<double> mant(1.0, 2.0);
  std::uniform_int_distribution<int> ex(emin, emax), sign(0, 1);
  std::vector<T> a(n), y(n);
  for (int i = 0; i < n; ++i) {
    auto part = [&](int e) { return R((sign(gen) ? -1 : 1) * std::ldexp(mant(gen), e)); };
    const int e1 = ex(gen);
    const int e2 = i % 3 == 0 ? e1 - 30 : i % 3 == 1 ? e1 + (ex(gen) % 3) : ex(gen);
    a[i] = {part(e1), part(std::max(std::min(e2, emax), emin))};
    if (i % 6 == 0) std::swap(a[i].re, a[i].im);
    if (f.xlo != f.xhi) {
      const double lo = sizeof(R) == 4 ? std::max(f.xlo, -103.0) : f.xlo;
      const double hi = sizeof(R) == 4 ? std::min(f.xhi, 88.0) : f.xhi;
      const double u = std::uniform_real_distribution<double>(lo, hi)(gen);
      a[i].re = R(i % 2 ? u : u * 0x1p-12);
    }
  }
  ker(n, a.data(), y.data());
  mpc_t in, out;
  mpc_init2(in, std::numeric_limits<R>::digits);
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

// Both kernels of a row against MPC; prints the figures and checks the bound.
inline void check_accuracy(const CFn &f, int zemin = -1074, int zemax = 1023, int cemin = -149,
                           int cemax = 127) {
  const double zerr = f.zker ? worst_error<double>(f, f.zker, zemin, zemax) : 0.0;
  const double cerr = f.cker ? worst_error<float>(f, f.cker, cemin, cemax) : 0.0;
  EXPECT_LE(zerr, f.ulps) << f.name;
  EXPECT_LE(cerr, f.ulps) << f.name;
  if (f.zker) std::printf("z%s worst %.3f ulp\n", f.name, zerr);
  if (f.cker) std::printf("c%s worst %.3f ulp\n", f.name, cerr);
}

// Runs a kernel under a caller's x87 control word 0x27F and returns whether it came back equal.
template <class Fn>
bool keeps_x87_control(Fn run) {
  uint16_t before = 0, after = 0;
  const uint16_t cw = 0x27F;
  __asm__ volatile("fldcw %0" : : "m"(cw));
  __asm__ volatile("fnstcw %0" : "=m"(before));
  run();
  __asm__ volatile("fnstcw %0" : "=m"(after));
  const uint16_t dflt = 0x37F;
  __asm__ volatile("fldcw %0" : : "m"(dflt));
  return before == after;
}

}  // namespace hpk::test::celem
