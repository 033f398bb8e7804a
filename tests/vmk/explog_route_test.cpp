// Expm1 and Log1p run packed passes: two doubles a step on the main range, the element routine
// for the rest. An element's result must not depend on where it stands (inside an all-main
// block, in a block the rare path takes, in the tail, next to a lane of the other polynomial),
// and the elements on both sides of every route threshold must be accurate.
#include <gtest/gtest.h>

#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "oracle.hpp"

namespace {

template <class T>
auto bits_of(T x) {
  if constexpr (sizeof(T) == 8) {
    uint64_t u;
    std::memcpy(&u, &x, 8);
    return u;
  } else {
    uint32_t u;
    std::memcpy(&u, &x, 4);
    return u;
  }
}

template <class T>
struct Fn {
  const char *name;
  void (*kernel)(int, const T *, T *);
  int (*ref)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
  T filler;                  // a main-route value
  std::vector<T> inputs;     // thresholds of the routes and values on both sides
};

template <class T>
T up(T x) { return std::nextafter(x, T(INFINITY)); }
template <class T>
T down(T x) { return std::nextafter(x, T(-INFINITY)); }

// Values at and next to the route thresholds: 2^-54 (tiny), the upper bounds, -40, and for
// Log1p -1, 2^-9 (the short polynomial) and 2^1000.
template <class T>
std::vector<T> around(std::initializer_list<T> points) {
  std::vector<T> v;
  for (T p : points)
    for (T s : {T(1), T(-1)}) v.insert(v.end(), {s * p, s * up(p), s * down(p)});
  return v;
}

std::vector<Fn<double>> fns_d() {
  const double big = std::ldexp(1.0, 1000);
  return {{"vdExpm1", _vmkdExpm1_HA, mpfr_expm1, 0.75,
           around<double>({0x1p-54, 40.0, 708.0, 0x1.62e42fefa39efp-8, 0.3, 36.0, 1e-3})},
          {"vdLog1p", _vmkdLog1p_HA, mpfr_log1p, 0.75,
           around<double>({0x1p-54, 0x1p-9, 0x1p-20, 0.5, 0.99, big, 1e300})}};
}
std::vector<Fn<float>> fns_s() {
  return {{"vsExpm1", _vmksExpm1_HA, mpfr_expm1, 0.75f,
           around<float>({0x1p-54f, 40.0f, 88.0f, 0.3f, 1e-3f, 0x1p-30f})},
          {"vsLog1p", _vmksLog1p_HA, mpfr_log1p, 0.75f,
           around<float>({0x1p-54f, 0x1p-9f, 0x1p-29f, 0.5f, 0.99f, 1e38f})}};
}

// The result of x at every position of arrays of 1 to 19 elements, with main-route fillers,
// with a NaN in the same block (the block takes the rare path) and with a value of the other
// Log1p polynomial (0x1p-12 or 2) next to it, is the result of x alone.
template <class T>
void check_positions(const Fn<T> &f) {
  for (T x : f.inputs) {
    if (!(x > T(-1)) && std::string(f.name).find("Log1p") != std::string::npos) continue;
    T alone;
    f.kernel(1, &x, &alone);
    for (int n = 1; n <= 19; ++n) {
      for (int pos = 0; pos < n; ++pos) {
        for (int variant = 0; variant < 3; ++variant) {
          std::vector<T> a(n, variant == 2 ? T(2) : f.filler), y(n);
          if (variant == 1 && n > 1) a[(pos + 1) % n] = T(NAN);
          if (variant == 2 && n > 1) a[(pos ^ 1) < n ? (pos ^ 1) : 0] = T(0x1p-12);
          a[pos] = x;
          f.kernel(n, a.data(), y.data());
          ASSERT_EQ(bits_of(y[pos]), bits_of(alone))
              << f.name << " x " << std::hexfloat << x << " n " << n << " at " << pos
              << " variant " << variant;
        }
      }
    }
  }
}

template <class T>
void check_accuracy(const Fn<T> &f) {
  mpfr_t m, r;
  mpfr_init2(m, 64);
  mpfr_init2(r, 256);
  std::vector<T> a;
  for (T x : f.inputs)
    if (std::isfinite(x) && (std::string(f.name).find("Log1p") == std::string::npos || x > T(-1)) &&
        !(std::string(f.name).find("Expm1") != std::string::npos && x > T(88) && sizeof(T) == 4) &&
        !(std::string(f.name).find("Expm1") != std::string::npos && x > T(709)))
      a.push_back(x);
  std::vector<T> y(a.size());
  f.kernel(int(a.size()), a.data(), y.data());
  for (size_t i = 0; i < a.size(); ++i) {
    mpfr_set_d(m, double(a[i]), MPFR_RNDN);
    f.ref(r, m, MPFR_RNDN);
    EXPECT_LE(hpk::oracle::ulp_error(y[i], r), 0.51) << f.name << " at " << std::hexfloat << a[i];
  }
  mpfr_clears(m, r, (mpfr_ptr)nullptr);
}

// The thread keeps the main thread's error state clean (NaN inputs report nothing, but the
// overflow inputs of Expm1 do).
TEST(Expm1Log1pRoutes, AnElementsResultDoesNotDependOnItsPosition) {
  std::thread([] {
    for (const auto &f : fns_d()) check_positions(f);
    for (const auto &f : fns_s()) check_positions(f);
  }).join();
}

TEST(Expm1Log1pRoutes, BothSidesOfEachThresholdAreAccurate) {
  std::thread([] {
    for (const auto &f : fns_d()) check_accuracy(f);
    for (const auto &f : fns_s()) check_accuracy(f);
  }).join();
}

// A block of 8 doubles whose lanes alternate between the short polynomial (|x| < 2^-9) and
// the table gives each lane the value of an all-table or all-polynomial block.
TEST(Expm1Log1pRoutes, Log1pMixedRegistersTakeEachLanesPolynomial) {
  std::vector<double> mixed(16), y(16), ref(16);
  for (int i = 0; i < 16; ++i) mixed[i] = (i % 2) ? 0x1.37p-11 * (i + 1) : 0.01 * (i + 1) - 0.09;
  _vmkdLog1p_HA(16, mixed.data(), y.data());
  for (int i = 0; i < 16; ++i) {
    std::vector<double> same(16, mixed[i]);
    _vmkdLog1p_HA(16, same.data(), ref.data());
    EXPECT_EQ(bits_of(y[i]), bits_of(ref[0])) << std::hexfloat << mixed[i];
  }
}

}  // namespace
