// Packed cores of the inverse trigonometric kernels, on two double lanes. The scalar routines
// run the same cores on one lane where they need them, and the single kernels widen to them.
//
// Arctangent of a double-double v + v_lo >= 0 (v below 2^60): one polynomial on |u| <= 7/16
// (tools/trig/fit_inverse.py), three ways to get u:
//   v <= 7/16            u = v                       base 0
//   7/16 < v <= 39/16    u = (v - 1) / (v + 1)       base pi/4   (u in [-0.392, 0.4375])
//   v > 39/16            u = -1 / v                  base pi/2   (u in [-0.411, 0))
// All three as one quotient num/den with the rounding errors of num and den (two_sum) and of
// the quotient (exact product) gathered in u_lo; atan(u + u_lo) = atan(u) + u_lo / (1 + u^2)
// to far below an ulp. The result base + u is formed exactly by two_sum and the small terms
// join the low part: the result rounds once, to within about 0.55 ulp.
//
// Arcsine of |x| < 1: one polynomial on |u| <= 1/2:
//   |x| <= 1/2           asin |x| = |x| + |x| t Q(t), t = x^2
//   1/2 < |x| < 1        asin |x| = pi/2 - 2 asin(s), s = sqrt(z), z = (1 - |x|)/2 exactly,
//                        with s_lo = (z - s^2) / (2 s) from an exact square
// and the arccosine from the same pieces: pi/2 - asin x, 2 asin(s) or pi - 2 asin(s).
#pragma once

#include <emmintrin.h>

#include "vmk/core/atan/inverse_poly.hpp"
#include "vmk/core/sin/trig_core.hpp"
#include "vmk/core/sin/trig_tables.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::inverse {

using simd::vd;
namespace tt = trig_tables;

[[gnu::always_inline]] inline vd lt(vd a, vd b) { return (vd)(a < b); }
[[gnu::always_inline]] inline vd sel(vd m, vd a, vd b) { return simd::select(m, a, b); }
[[gnu::always_inline]] inline vd sel(vd m, double a, double b) { return simd::select(m, simd::splat(a), simd::splat(b)); }
[[gnu::always_inline]] inline vd vabs(vd x) { return simd::andnot_bits(simd::splat(-0.0), x); }
[[gnu::always_inline]] inline vd sign_of(vd x) { return simd::and_bits(simd::splat(-0.0), x); }
[[gnu::always_inline]] inline vd flip(vd v, vd sign) { return (vd)_mm_xor_pd((__m128d)v, (__m128d)sign); }

// The polynomials' coefficients as 16-byte pairs, defined in another unit so that they are
// read as memory operands (see trig_core.hpp).
extern const vd kAtanPairs[11];
extern const vd kAsinPairs[13];

template <int N>
[[gnu::always_inline]] inline vd horner(const vd (&c)[N], vd t) {
  vd p = c[N - 1];
  for (int i = N - 2; i >= 0; --i) p = c[i] + t * p;
  return p;
}

// A sum with a pair of parts: result = (c_hi + c_lo) + u + small, one rounding at the end.
struct AtanParts {
  vd c_hi, c_lo;  // the constant (base) in two parts
  vd u, small;    // the polynomial argument and everything below it
};

// atan(v + v_lo) for 0 <= v < 2^60 as parts.
[[gnu::always_inline]] inline AtanParts atan_parts(vd v, vd v_lo) {
  const vd mid = lt(simd::splat(0x1.cp-2), v);   // v > 7/16
  const vd big = lt(simd::splat(0x1.38p+1), v);  // v > 39/16
  // num and den with their rounding errors.
  const simd::vdd nm = simd::two_sum(v, simd::splat(-1.0));
  const simd::vdd dp = simd::two_sum(v, simd::splat(1.0));
  const vd num = sel(big, simd::splat(-1.0), sel(mid, nm.hi, v));
  const vd num_lo = sel(big, vd{}, sel(mid, nm.lo + v_lo, v_lo));
  const vd den = sel(big, v, sel(mid, dp.hi, simd::splat(1.0)));
  const vd den_lo = sel(big, v_lo, sel(mid, dp.lo + v_lo, vd{}));
  const vd u = num / den;
  vd p, pe;
  trig::two_prod(u, den, p, pe);
  const vd u_lo = ((((num - p) - pe) + num_lo) - u * den_lo) / den;
  const vd t = u * u;
  const vd poly = u * t * horner(kAtanPairs, t);
  const vd c_hi = sel(big, simd::splat(tt::kPio2Hi), sel(mid, tt::kPio4Hi, 0.0));
  const vd c_lo = sel(big, simd::splat(tt::kPio2Lo), sel(mid, tt::kPio4Lo, 0.0));
  return {c_hi, c_lo, u, u_lo * (1.0 - t) + poly};
}

[[gnu::always_inline]] inline vd finish(const AtanParts &a) {
  const simd::vdd s = simd::two_sum(a.c_hi, a.u);
  return s.hi + (s.lo + (a.c_lo + a.small));
}

// atan(x) for |x| < 2^60.
[[gnu::always_inline]] inline vd atan_main(vd x) {
  return flip(finish(atan_parts(vabs(x), vd{})), sign_of(x));
}

// atan2(y, x) for finite non-zero y, x whose magnitudes lie in [2^-511, 2^512).
[[gnu::always_inline]] inline vd atan2_main(vd y, vd x) {
  const vd ay = vabs(y), ax = vabs(x);
  const vd swap = lt(ax, ay);
  const vd n = sel(swap, ax, ay), d = sel(swap, ay, ax);
  const vd t = n / d;
  vd p, pe;
  trig::two_prod(t, d, p, pe);
  const vd t_lo = ((n - p) - pe) / d;
  AtanParts a = atan_parts(t, t_lo);
  // angle = K + sigma * atan(t): K = 0, pi/2 (swap), pi (x < 0); sigma = -1 when exactly one
  // of swap and x < 0 holds.
  const vd neg_x = lt(x, vd{});
  const vd sigma = simd::and_bits(simd::splat(-0.0), (vd)_mm_xor_pd((__m128d)swap, (__m128d)neg_x));
  const vd k_hi = sel(swap, simd::splat(tt::kPio2Hi), sel(neg_x, tt::kPiHi, 0.0));
  const vd k_lo = sel(swap, simd::splat(tt::kPio2Lo), sel(neg_x, tt::kPiLo, 0.0));
  const simd::vdd c = simd::two_sum(k_hi, flip(a.c_hi, sigma));
  a.c_hi = c.hi;
  a.c_lo = (c.lo + k_lo) + flip(a.c_lo, sigma);
  a.u = flip(a.u, sigma);
  a.small = flip(a.small, sigma);
  return flip(finish(a), sign_of(y));
}

// The arcsine pieces of |x| < 1: w = |x| or s, its low part, and the polynomial term.
struct AsinParts {
  vd upper;  // lanes with |x| > 1/2
  vd w, w_lo, poly;
};

[[gnu::always_inline]] inline AsinParts asin_parts(vd ax) {
  const vd upper = lt(simd::splat(0.5), ax);
  const vd z = (1.0 - ax) * 0.5;
  const vd s = simd::vsqrt(z);
  vd p, pe;
  trig::two_prod(s, s, p, pe);
  const vd s_lo = ((z - p) - pe) / (s + s);
  const vd w = sel(upper, s, ax);
  const vd t = sel(upper, z, ax * ax);
  return {upper, w, simd::and_bits(upper, s_lo), w * t * horner(kAsinPairs, t)};
}

[[gnu::always_inline]] inline vd asin_main(vd x) {
  const AsinParts a = asin_parts(vabs(x));
  // lower: |x| + poly; upper: pi/2 - 2 (s + s_lo + poly)
  const vd lower = a.w + a.poly;
  const simd::vdd h = simd::two_sum(simd::splat(tt::kPio2Hi), -(a.w + a.w));
  const vd upper = h.hi + (h.lo + ((tt::kPio2Lo - (a.w_lo + a.w_lo)) - (a.poly + a.poly)));
  return flip(sel(a.upper, upper, lower), sign_of(x));
}

[[gnu::always_inline]] inline vd acos_main(vd x) {
  const vd sign = sign_of(x);
  const AsinParts a = asin_parts(vabs(x));
  // lower: pi/2 - (x + poly x/|x|)
  const vd xs = flip(a.w, sign), ps = flip(a.poly, sign);
  const simd::vdd hl = simd::two_sum(simd::splat(tt::kPio2Hi), -xs);
  const vd lower = hl.hi + (hl.lo + (tt::kPio2Lo - ps));
  // x > 1/2: 2 (s + s_lo + poly); x < -1/2: pi - 2 (s + s_lo + poly)
  const vd two_w = a.w + a.w, two_rest = (a.w_lo + a.w_lo) + (a.poly + a.poly);
  const vd pos = two_w + two_rest;
  const simd::vdd hn = simd::two_sum(simd::splat(tt::kPiHi), -two_w);
  const vd neg = hn.hi + (hn.lo + (tt::kPiLo - two_rest));
  const vd upper = sel(lt(x, vd{}), neg, pos);
  return sel(a.upper, upper, lower);
}

}  // namespace hpk::vmk::inverse
