// Special values of complex products and quotients, in the manner of the C annex on complex
// arithmetic: when the plain formula gives NaN in both parts, an infinite operand still makes
// an infinite result (a complex infinity times a non-zero value, or over a finite value), a
// finite value over an infinity gives zero, and a non-zero finite value over zero gives an
// infinity. An infinite part beside a NaN part counts as an infinity; a NaN beside finite parts
// stays NaN. T is the type the kernel computes in (double for the single kernels, long double
// for the double ones).
#pragma once

namespace hpk::vmk::complex_special {

template <class T>
inline bool is_inf(T x) {
  return __builtin_isinf(x);
}
template <class T>
inline bool is_nan(T x) {
  return x != x;
}
template <class T>
inline bool is_finite(T x) {
  return !is_inf(x) && !is_nan(x);
}
// An infinite part becomes +-1, a finite or NaN one +-0: the direction of the infinity.
template <class T>
inline T box(T x) {
  return __builtin_copysignl(is_inf(x) ? 1.0L : 0.0L, x);
}
template <class T>
inline T nan_to_zero(T x) {
  return is_nan(x) ? T(__builtin_copysignl(0.0L, x)) : x;
}

// (a + ib)(c + id) given the plain parts x, y.
template <class T>
inline void mul_recover(T a, T b, T c, T d, T &x, T &y, T inf) {
  if (!(is_nan(x) && is_nan(y))) return;
  bool recalc = false;
  if (is_inf(a) || is_inf(b)) {
    a = box(a);
    b = box(b);
    c = nan_to_zero(c);
    d = nan_to_zero(d);
    recalc = true;
  }
  if (is_inf(c) || is_inf(d)) {
    c = box(c);
    d = box(d);
    a = nan_to_zero(a);
    b = nan_to_zero(b);
    recalc = true;
  }
  if (recalc) {
    x = inf * (a * c - b * d);
    y = inf * (a * d + b * c);
  }
}

// (a + ib) / (c + id) given the plain parts x, y and the denominator c^2 + d^2.
template <class T>
inline void div_recover(T a, T b, T c, T d, T denom, T &x, T &y, T inf) {
  if (!(is_nan(x) && is_nan(y))) return;
  if (denom == 0 && (!is_nan(a) || !is_nan(b))) {
    const T s = T(__builtin_copysignl(inf, c));
    x = s * a;
    y = s * b;
  } else if ((is_inf(a) || is_inf(b)) && is_finite(c) && is_finite(d)) {
    a = box(a);
    b = box(b);
    x = inf * (a * c + b * d);
    y = inf * (b * c - a * d);
  } else if ((is_inf(c) || is_inf(d)) && is_finite(a) && is_finite(b)) {
    c = box(c);
    d = box(d);
    x = T(0) * (a * c + b * d);
    y = T(0) * (b * c - a * d);
  }
}

}  // namespace hpk::vmk::complex_special
