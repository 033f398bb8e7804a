// The array loop of the complex inverse functions: one element at a time on the
// extended-precision core (heap/celem/inverse_scalar.hpp), the caller holding control scheme B
// with the target 0x300. The x87 unit is scalar and the element's logarithm and arctangent
// dominate, so there is no packed route to gain. The only status is 2 at a pole (Atanh at
// +-1, Atan at +-i), reported after the element's result is stored; no finite element
// overflows (the largest part is about ln(2^1025) or, next to a pole, (1/4) ln(2^2150)) and
// no element without NaN parts gives a NaN part.
#pragma once

#include "hpk/vmk.h"
#include "vmk/core/heap/celem/inverse_scalar.hpp"
#include "vmk/service/error.hpp"

namespace hpk::vmk::celem {

template <class R>
using ElementFn = Parts<R> (*)(R, R);
template <class R>
using PoleFn = bool (*)(R, R);

template <class T, class R, ElementFn<R> Element, PoleFn<R> Pole = nullptr>
void inverse_array(int n, const T *a, T *y, const char *name) {
  for (int i = 0; i < n; ++i) {
    const R x = a[i].re, z = a[i].im;  // read before the store: y may be a
    const Parts<R> p = Element(x, z);
    y[i].re = p.re;
    y[i].im = p.im;
    if constexpr (Pole != nullptr) {
      if (__builtin_expect(Pole(x, z), 0)) report_error<T>(kStatusSingularity, i, a, a, y, y, name);
    }
  }
}

}  // namespace hpk::vmk::celem
