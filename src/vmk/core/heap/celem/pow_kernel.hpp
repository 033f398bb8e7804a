// Array loops of the complex powers (Pow: an exponent per element; Powx: one exponent for the
// array) on the extended element routines of log_scalar.hpp; the caller holds
// X87ControlScope(kExtended).
// Statuses, element by element after its result is stored:
//   2 singularity  a zero base whose result has an infinite part (0^w with Re w < 0 ...);
//   3 overflow     a finite element (base and exponent) whose result has an infinite part;
//   1 domain       an element without NaN parts whose result has a NaN part (an infinite part
//                  of base or exponent where the composition is undefined);
//   4 underflow    a finite element with a non-zero base whose modulus e^Re(w ln z) lies
//                  below the smallest normal number of the type.
// Elements with a NaN part report nothing. A zero base with Re w > 0 gives an exact zero and
// no status.
#pragma once

#include "vmk/core/heap/celem/log_scalar.hpp"
#include "vmk/service/error.hpp"

namespace hpk::vmk::celem {

template <class R>
struct PowLimits;
template <>
struct PowLimits<double> {
  static constexpr ld kUnder = -0x1.6232bdd7abcd2p+9L;  // ln(2^-1022), to nearest double
  static constexpr ld kOver = 709.0L;                   // below: every part finite
};
template <>
struct PowLimits<float> {
  static constexpr ld kUnder = -0x1.5d58ap+6L;  // ln(2^-126), to nearest single
  static constexpr ld kOver = 88.0L;
};

// pr: Re(w ln z) of a finite element with a non-zero base.
template <class T, class R>
[[gnu::cold, gnu::noinline]] void pow_report_finite(int i, ld pr, const T *a, const T *b, T *y,
                                                    const char *name) {
  if (std::isinf(y[i].re) || std::isinf(y[i].im))
    report_error<T>(kStatusOverflow, i, a, b, y, y, name);
  else if (pr < PowLimits<R>::kUnder)
    report_error<T>(kStatusUnderflow, i, a, b, y, y, name);
}

template <class T, class R>
[[gnu::cold, gnu::noinline]] void pow_rare(int i, R x, R z, R u, R v, const T *a, const T *b, T *y,
                                           const char *name) {
  const Parts<R> p = pow_special(x, z, u, v);
  y[i].re = p.re;
  y[i].im = p.im;
  if (std::isnan(x) || std::isnan(z) || std::isnan(u) || std::isnan(v)) return;
  const bool inf_out = std::isinf(p.re) || std::isinf(p.im);
  const bool finite_in = std::isfinite(x) && std::isfinite(z) && std::isfinite(u) && std::isfinite(v);
  if (inf_out && x == R(0) && z == R(0))
    report_error<T>(kStatusSingularity, i, a, b, y, y, name);
  else if (inf_out && finite_in)
    report_error<T>(kStatusOverflow, i, a, b, y, y, name);
  else if (std::isnan(p.re) || std::isnan(p.im))
    report_error<T>(kStatusDomain, i, a, b, y, y, name);
}

// Element i, base x + iz and exponent u + iv (a packed pass may have stored over a in place);
// b is the second array handed to the dispatcher.
template <class T, class R>
inline void pow_at(int i, R x, R z, R u, R v, const T *a, const T *b, T *y, const char *name) {
  if (__builtin_expect(pow_is_special(x, z, u, v), 0)) return pow_rare<T, R>(i, x, z, u, v, a, b, y, name);
  ld pr;
  const Parts<R> p = pow_finite(x, z, u, v, pr);
  y[i].re = p.re;
  y[i].im = p.im;
  if (__builtin_expect(!(pr > PowLimits<R>::kUnder && pr < PowLimits<R>::kOver), 0))
    pow_report_finite<T, R>(i, pr, a, b, y, name);
}

template <class T, class R>
void pow_array(int n, const T *a, const T *b, T *y, const char *name) {
  for (int i = 0; i < n; ++i) pow_at<T, R>(i, a[i].re, a[i].im, b[i].re, b[i].im, a, b, y, name);
}

template <class T, class R>
void powx_array(int n, const T *a, T b, T *y, const char *name) {
  for (int i = 0; i < n; ++i) pow_at<T, R>(i, a[i].re, a[i].im, b.re, b.im, a, a, y, name);
}

}  // namespace hpk::vmk::celem
