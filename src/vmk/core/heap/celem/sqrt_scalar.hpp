// Complex square root of one element in 80-bit extended arithmetic (x87, 64-bit precision set
// by the caller's X87ControlScope(kExtended)).
//
// For a finite element a = x + iy, with r = |a| and t = sqrt((|x| + r) / 2):
//   x >= 0:  sqrt(a) = t + i y / (2t)
//   x <  0:  sqrt(a) = |y| / (2t) + i copysign(t, y)
// The squares of any double are normal extended values (|x|^2 lies in [2^-2148, 2^2048]), so no
// scaling is needed; |x| + r adds two positives and does not cancel. Each of the five steps
// (square-sum, sqrt, add, sqrt, divide) rounds to 64 bits, so each part carries a relative error
// below 2^-61 before its one rounding to the element type: within 0.5 ulp + 2^-8 ulp of the
// correctly rounded part, subnormal parts included (the extended value is rounded once).
//
// Special values follow the branch cut on the negative real axis, continuous from above, with
// sqrt(conj a) = conj(sqrt a):
//   sqrt(+-0 + i(+-0)) = +0 + i(+-0); sqrt(x + i inf) = +inf + i inf for every x, NaN too;
//   sqrt(-inf + iy) = +0 + i copysign(inf, y), sqrt(+inf + iy) = +inf + i copysign(0, y), y finite;
//   sqrt(-inf + i NaN) = NaN + i inf (sign unspecified; +inf chosen);
//   sqrt(+inf + i NaN) = +inf + i NaN; any other NaN gives NaN + i NaN.
// No status: no finite argument gives an infinite or undefined part.
#pragma once

#include <cmath>

namespace hpk::vmk::celem {

template <class R>
struct Parts {
  R re, im;
};

template <class R>
[[gnu::noinline, gnu::cold]] Parts<R> sqrt_special(R x, R y) {
  const R inf = R(HUGE_VAL);
  if (std::isinf(y)) return {inf, y};
  if (std::isnan(x)) return {x, x + y};  // the NaN of x, propagated
  if (std::isinf(x)) {
    if (x > 0) return {x, std::isnan(y) ? y : std::copysign(R(0), y)};
    return std::isnan(y) ? Parts<R>{y, inf} : Parts<R>{R(0), std::copysign(inf, y)};
  }
  if (std::isnan(y)) return {y, y};                   // finite x, NaN y
  return {R(0), y};                                   // both parts zero
}

// The finite, not both zero, element: called for every regular element.
template <class R>
inline Parts<R> sqrt_finite(R x, R y) {
  const long double lx = x, ly = y;
  const long double ax = __builtin_fabsl(lx), ay = __builtin_fabsl(ly);
  const long double r = __builtin_sqrtl(lx * lx + ly * ly);
  const long double t = __builtin_sqrtl((ax + r) * 0.5L);
  const long double q = ay / (t + t);
  if (!std::signbit(x)) return {R(t), std::copysign(R(q), y)};
  return {R(q), std::copysign(R(t), y)};
}

template <class R>
inline bool sqrt_is_special(R x, R y) {
  return !(std::isfinite(x) && std::isfinite(y)) || (x == R(0) && y == R(0));
}

}  // namespace hpk::vmk::celem
