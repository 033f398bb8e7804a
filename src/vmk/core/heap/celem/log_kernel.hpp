// Array loops of the complex logarithms (Ln, Log10) on the extended element routines of
// log_scalar.hpp, one element at a time; the caller holds X87ControlScope(kExtended).
// Status: 2 singularity for a zero element (result -inf + i0 or -inf + i pi, scaled); no finite
// element overflows and no element without NaN parts gives a NaN part, so there is no other.
#pragma once

#include "vmk/core/heap/celem/log_scalar.hpp"
#include "vmk/service/error.hpp"

namespace hpk::vmk::celem {

template <class T, class R>
[[gnu::cold, gnu::noinline]] void ln_rare(int i, R x, R z, const T *a, T *y, ld k, const char *name) {
  const Parts<R> p = ln_special(x, z, k);
  y[i].re = p.re;
  y[i].im = p.im;
  if (x == R(0) && z == R(0)) report_error<T>(kStatusSingularity, i, a, a, y, y, name);
}

// Element i with its parts x, z given (a packed pass may have stored over a in place).
template <class T, class R>
inline void ln_at(int i, R x, R z, const T *a, T *y, ld k, const char *name) {
  if (__builtin_expect(ln_is_special(x, z), 0)) return ln_rare<T, R>(i, x, z, a, y, k, name);
  const Parts<R> p = ln_element<R>(x, z, k);
  y[i].re = p.re;
  y[i].im = p.im;
}

template <class T, class R>
void ln_array(int n, const T *a, T *y, ld k, const char *name) {
  for (int i = 0; i < n; ++i) ln_at<T, R>(i, a[i].re, a[i].im, a, y, k, name);
}

}  // namespace hpk::vmk::celem
