// Complex exponential of one element, e^x (cos y + i sin y), in 80-bit extended arithmetic
// (x87, 64-bit precision set by the caller's X87ControlScope(kExtended)).
//
// cos y and sin y: the real trigonometric core (core/sin/trig_core.hpp) as double-double pairs,
// reduced by quadrants first where |y| >= 2^17; each pair is within about 2^-70 of its value
// relative (2^-44 at worst next to a zero of the function, where the reduced argument's
// absolute error 2^-104 meets the nearest double to a multiple of pi/2, about 2^-60 off).
// e^x: x clamped to [-1500, 1500] (beyond it every part is 0 or infinite whatever y), then
// x = k ln2 + r with k = round(x / ln2), |k| <= 2165; ln2 = L1 + L2 with L1 of 53 bits, so
// k L1 is exact in 64 bits and x - k L1 is exact (Sterbenz); r = (x - k L1) - k L2 within
// 2^-63 |r|. e^r = 1 + f2xm1(r log2 e), |r log2 e| <= 1/2, within a few 2^-64.
// Each part e^r * trig * 2^k (the scaling exact) carries a relative error below
// 2^-60 before its single rounding to the element type: within 0.5 ulp + 2^-7 ulp of the
// correctly rounded part for normal results; a subnormal part is rounded once from the
// extended value.
#pragma once

#include <cmath>
#include <cstdint>

#include "vmk/core/heap/celem/sqrt_scalar.hpp"
#include "vmk/core/sin/trig_core.hpp"

namespace hpk::vmk::celem {

// e^1500 times the smallest |sin y| or |cos y| of a non-zero double y (at least 2^-1075)
// overflows any element type, and e^-1500 underflows: beyond the clamp the parts keep their
// classes and signs.
inline constexpr double kExpClamp = 1500.0;
inline constexpr double kLog2eD = 0x1.71547652b82fep0;
inline constexpr long double kLn2Hi = 0x1.62e42fefa39efp-1L;         // 53 bits
inline constexpr long double kLn2Lo = 0x1.abc9e3b39803f2f6p-56L;    // ln2 - kLn2Hi
inline constexpr long double kLog2eL = 0x1.71547652b82fe178p0L;

// sin y and cos y as extended values from the double-double pairs of the trig core.
inline void sincos_ext(double y, long double &s, long double &c) {
  double hi = y, lo = 0.0;
  int off = 0;
  const uint32_t e = uint32_t(simd::bits(y) >> 52) & 0x7FF;
  if (e >= trig::kReduceExp) off = 16 * trig::reduce_pio2(y, hi, lo);
  const trig::Arg<double> a = trig::reduce_pio32(hi, lo);
  const double r2 = a.r * a.r;
  const double ps = trig::poly_s(r2), pc = trig::poly_c(r2);
  double sh, sl, ch, cl;
  trig::from_row_dd(trig::row(a.t, off), a, ps, pc, sh, sl);
  trig::from_row_dd(trig::row(a.t, off + 16), a, ps, pc, ch, cl);
  s = (long double)sh + sl;
  c = (long double)ch + cl;
}

// e^x for finite x as m 2^k, m in [2^-1/2, 2^1/2].
inline long double exp_ext(double x, int &k) {
  const double xc = x > kExpClamp ? kExpClamp : x < -kExpClamp ? -kExpClamp : x;
  const double kd = __builtin_nearbyint(xc * kLog2eD);
  k = int(kd);
  const long double lk = kd;
  const long double r = ((long double)xc - lk * kLn2Hi) - lk * kLn2Lo;
  long double t = r * kLog2eL;
  __asm__("f2xm1" : "+t"(t));
  return 1.0L + t;
}

// v 2^k, exact: 2^k built as an extended value (biased exponent 16383 + k, explicit leading
// bit), |k| <= 2165.
inline long double scale(long double v, int k) {
  struct {
    uint64_t mant;
    uint16_t se;
  } b = {uint64_t(1) << 63, uint16_t(16383 + k)};
  long double p;
  __builtin_memcpy(&p, &b, 10);
  return v * p;
}

// Finite x and y, y != 0.
template <class R>
inline Parts<R> exp_finite(R x, R y) {
  long double s, c;
  sincos_ext(double(y), s, c);
  int k;
  const long double m = exp_ext(double(x), k);
  return {R(scale(m * c, k)), R(scale(m * s, k))};
}

// y == 0 with finite x: e^x + i y, the zero's sign kept.
template <class R>
inline Parts<R> exp_real_axis(R x, R y) {
  int k;
  const long double m = exp_ext(double(x), k);
  return {R(scale(m, k)), y};
}

template <class R>
inline bool exp_is_special(R x, R y) {
  return !(std::isfinite(x) && std::isfinite(y));
}

// An infinite or NaN part:
//   x finite, y inf or NaN        NaN + i NaN
//   x = +inf, y = 0               +inf + i y;   y finite: +inf cis y;   y inf or NaN: +inf + i NaN
//   x = -inf, y finite            +0 cis y (signs of cos y, sin y);      else +0 + i copysign(0, y)
//   x NaN, y = 0                  NaN + i y;    otherwise NaN + i NaN
template <class R>
[[gnu::noinline, gnu::cold]] Parts<R> exp_special(R x, R y) {
  const R nan = std::numeric_limits<R>::quiet_NaN();
  if (std::isnan(x)) return {x, y == R(0) ? y : x + y};
  if (std::isfinite(x)) return {std::isnan(y) ? y : nan, std::isnan(y) ? y : nan};
  if (std::isfinite(y)) {
    if (y == R(0)) return {x > 0 ? x : R(0), y};
    long double s, c;
    sincos_ext(double(y), s, c);
    const R mag = x > 0 ? x : R(0);
    return {std::copysign(mag, R(c)), std::copysign(mag, R(s))};
  }
  if (x > 0) return {x, std::isnan(y) ? y : nan};
  return {R(0), std::copysign(R(0), y)};
}

}  // namespace hpk::vmk::celem
