// The packed main route of zAtanh and zAtan: two elements a pass in double-double lanes, for
// X = |x|, Y = |y| (Atan: X = |y|, Y = |x|, as atan z = -i atanh(iz)):
//   Re = (1/4) log1p(w),  w = 4X / den,  den = (1 - X)^2 + Y^2
//   Im = (1/2) atan2(2Y, d),  d = 1 - X^2 - Y^2
// den: 1 - X = h + l exactly (two_sum), den = h^2 + Y^2 + l (2h + l) from exact squares; all
// terms have one sign but l (2h + l), which is at most 2^-51 h^2, so den carries a relative
// error of a few 2^-104, and w = q + q_lo (q = 4X / den_hi, the remainder from an exact
// product) as much. log1p(w) = ln s + log1p(c), s + e = 1 + q exactly, c = (e + q_lo) / s,
// |c| <= 2^-52, log1p(c) = c - c^2/2 (the next term below 2^-156); ln s = lh + ll from the
// Ln kernel's packed steps (ln/ln_core.hpp) kept as two parts, and Re = (1/4)(lh + (ll + c -
// c^2/2)) rounds once: within the Ln kernel's 0.5 ulp + a few 2^-10.
// d: 1 - X^2 - Y^2 = 2(1 - X) - den, from the exact 1 - X and the double-double den: an
// absolute error of a few 2^-104 max(2|1 - X|, den), relative to |d| as small unless d
// cancels, which needs X^2 + Y^2 near 1 and so den <= 4 + a little. Next to the unit circle
// d cancels; the angle's slope in d is 2Y / (4Y^2 + d^2) <= 1 / max(2Y, |d|), and the angle
// is at least about min(1, 2Y / |d|), so its relative error stays below 2^-60 while
// max(2Y, |d|) >= 2^-40; below that the element takes the extended route. The angle is
// K + sigma atan(t + t_lo), t = min / max of 2Y and |d| with the quotient's remainder, on the
// packed arctangent core (atan/inverse_core.hpp, here for t <= 1 only; about 0.55 ulp),
// halved exactly.
// Lanes: both parts finite with X, Y in {0} u [2^-250, 2^250], so every square, product and
// quotient above is a normal double or exact 0 (w <= 2^502, t >= 2^-749); a pair with a lane
// outside (or with max(2Y, |d|) < 2^-40, which holds the poles) goes the extended route
// (heap/celem/inverse_array.hpp) as a whole.
#pragma once

#include <emmintrin.h>

#include "hpk/vmk.h"
#include "vmk/core/atan/inverse_core.hpp"
#include "vmk/core/heap/celem/inverse_array.hpp"
#include "vmk/core/ln/ln_core.hpp"
#include "vmk/core/sin/trig_core.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::celem {

namespace pair_detail {

using simd::vd;
using simd::vdd;
using simd::vul;

// ln x = hi + lo for positive normal x, the natural logarithm's route without its last sum.
[[gnu::always_inline]] inline vdd ln_parts(vd x) { return ln_core::ln_parts(x); }

// inverse::atan_parts for 0 <= v <= 1 (+ an ulp): its two lower ranges only, one reciprocal
// for the quotient and its remainder, and the polynomial by Estrin's scheme (the Horner chain
// of ten dependent multiply-adds was the longest path of the pass). The polynomial term is
// below 3% of the result, so the changed order of its roundings moves the result by far below
// an ulp; u's remainder taken by the reciprocal is off by 2^-52 of itself (2^-105 of u).
[[gnu::always_inline]] inline inverse::AtanParts atan_parts(vd v, vd v_lo) {
  using inverse::lt;
  using inverse::sel;
  namespace tt = trig_tables;
  const vd mid = lt(simd::splat(0x1.cp-2), v);  // v > 7/16: u = (v - 1) / (v + 1)
  const vdd nm = simd::two_sum(v, simd::splat(-1.0));
  const vdd dp = simd::two_sum(v, simd::splat(1.0));
  const vd num = sel(mid, nm.hi, v);
  const vd num_lo = sel(mid, nm.lo + v_lo, v_lo);
  const vd den = sel(mid, dp.hi, simd::splat(1.0));
  const vd den_lo = simd::and_bits(mid, dp.lo + v_lo);
  const vd r = 1.0 / den;
  const vd u = num * r;
  vd p, pe;
  trig::two_prod(u, den, p, pe);
  const vd u_lo = ((((num - p) - pe) + num_lo) - u * den_lo) * r;
  const vd t = u * u;
  const vd (&k)[11] = inverse::kAtanPairs;
  const vd t2 = t * t, t4 = t2 * t2, t8 = t4 * t4;
  const vd q0 = (k[0] + t * k[1]) + t2 * (k[2] + t * k[3]);
  const vd q1 = (k[4] + t * k[5]) + t2 * (k[6] + t * k[7]);
  const vd q2 = (k[8] + t * k[9]) + t2 * k[10];
  const vd poly = u * t * ((q0 + t4 * q1) + t8 * q2);
  return {simd::and_bits(mid, simd::splat(tt::kPio4Hi)), simd::and_bits(mid, simd::splat(tt::kPio4Lo)),
          u, u_lo * (1.0 - t) + poly};
}

struct Halves {
  vd re, im;  // |Re| and |Im| of atanh(X + iY)
  int rare;   // lanes outside the packed route's domain
};

[[gnu::always_inline]] inline Halves atanh_lanes(vd X, vd Y) {
  using inverse::lt;
  using inverse::sel;
  using inverse::flip;
  const vd one = simd::splat(1.0);
  // Re
  const vdd omx = simd::two_sum(one, -X);
  const vdd h2 = simd::two_sqr(omx.hi);
  const vdd y2 = simd::two_sqr(Y);
  const vdd s = simd::two_sum(h2.hi, y2.hi);
  const vd tail = s.lo + ((h2.lo + y2.lo) + omx.lo * (omx.hi + omx.hi + omx.lo));
  const vd den = s.hi + tail;
  const vd den_lo = tail - (den - s.hi);  // s.hi >= |tail|
  const vd four_x = X * 4.0;
  const vd r_den = 1.0 / den;
  const vd q = four_x * r_den;
  vd p, pe;
  trig::two_prod(q, den, p, pe);
  const vd q_lo = (((four_x - p) - pe) - q * den_lo) * r_den;
  const vdd one_q = simd::two_sum(one, q);
  const vd c = (one_q.lo + q_lo) / one_q.hi;
  const vdd l = ln_parts(one_q.hi);
  const vd re = (l.hi + (l.lo + (c - 0.5 * c * c))) * 0.25;
  // Im
  const vdd b = simd::two_sum(omx.hi + omx.hi, -den);  // d = 2(1 - X) - den
  const vdd d = simd::two_sum(b.hi, b.lo + ((omx.lo + omx.lo) - den_lo));
  const vd two_y = Y + Y;
  const vd ad = inverse::vabs(d.hi), ad_lo = flip(d.lo, inverse::sign_of(d.hi));
  const vd swap = lt(ad, two_y);
  const vd num = sel(swap, ad, two_y), num_lo = simd::and_bits(swap, ad_lo);
  const vd dn = sel(swap, two_y, ad), dn_lo = simd::andnot_bits(swap, ad_lo);
  const vd r_dn = 1.0 / dn;
  const vd t = num * r_dn;
  trig::two_prod(t, dn, p, pe);
  const vd t_lo = ((((num - p) - pe) + num_lo) - t * dn_lo) * r_dn;
  inverse::AtanParts at = atan_parts(t, t_lo);
  namespace tt = trig_tables;
  const vd neg_d = lt(d.hi, vd{});
  const vd sigma = simd::and_bits(simd::splat(-0.0), simd::xor_bits(swap, neg_d));
  const vd k_hi = sel(swap, simd::splat(tt::kPio2Hi), sel(neg_d, tt::kPiHi, 0.0));
  const vd k_lo = sel(swap, simd::splat(tt::kPio2Lo), sel(neg_d, tt::kPiLo, 0.0));
  const vdd kc = simd::two_sum(k_hi, flip(at.c_hi, sigma));
  at.c_hi = kc.hi;
  at.c_lo = (kc.lo + k_lo) + flip(at.c_lo, sigma);
  at.u = flip(at.u, sigma);
  at.small = flip(at.small, sigma);
  const vd im = inverse::finish(at) * 0.5;
  // Domain: X, Y in {0} u [2^-250, 2^250] (NaN fails the first test), max(2Y, |d|) >= 2^-40.
  const vd big = simd::splat(0x1p250), small = simd::splat(0x1p-250);
  const vd inside = simd::and_bits((vd)(X <= big), (vd)(Y <= big));
  const vd tiny = simd::or_bits(simd::and_bits((vd)(X != 0.0), lt(X, small)),
                                simd::and_bits((vd)(Y != 0.0), lt(Y, small)));
  const vd cancels = lt(simd::vmax(two_y, ad), simd::splat(0x1p-40));
  const int rare = simd::movemask(simd::or_bits(simd::andnot_bits(inside, simd::splat(-0.0)),
                                                simd::or_bits(tiny, cancels)));
  return {re, im, rare};
}

}  // namespace pair_detail

// zAtanh (Swap false) or zAtan (Swap true) over the array; the caller holds control schemes B
// (for the extended route) and A.
template <bool Swap>
void atanh_pair_array(int n, const hpk_complex16 *a, hpk_complex16 *y, const char *name) {
  using simd::vd;
  const vd sign = simd::splat(-0.0);
  int i = 0;
  for (; i + 2 <= n; i += 2) {
    const __m128d v0 = _mm_loadu_pd(&a[i].re), v1 = _mm_loadu_pd(&a[i + 1].re);
    const vd re = (vd)_mm_unpacklo_pd(v0, v1), im = (vd)_mm_unpackhi_pd(v0, v1);
    const vd X = simd::andnot_bits(sign, Swap ? im : re);
    const vd Y = simd::andnot_bits(sign, Swap ? re : im);
    const pair_detail::Halves h = pair_detail::atanh_lanes(X, Y);
    if (__builtin_expect(h.rare != 0, 0)) {
      if (Swap)
        inverse_range<hpk_complex16, double, AtanOp>(i, 2, a, y, name);
      else
        inverse_range<hpk_complex16, double, AtanhOp>(i, 2, a, y, name);
      continue;
    }
    // Atanh: Re signed as x, Im as y; Atan: Re = the angle signed as x, Im = the log part as y.
    const vd out_re = simd::or_bits(Swap ? h.im : h.re, simd::and_bits(sign, re));
    const vd out_im = simd::or_bits(Swap ? h.re : h.im, simd::and_bits(sign, im));
    _mm_storeu_pd(&y[i].re, _mm_unpacklo_pd((__m128d)out_re, (__m128d)out_im));
    _mm_storeu_pd(&y[i + 1].re, _mm_unpackhi_pd((__m128d)out_re, (__m128d)out_im));
  }
  if (i < n) {
    if (Swap)
      inverse_range<hpk_complex16, double, AtanOp>(i, 1, a, y, name);
    else
      inverse_range<hpk_complex16, double, AtanhOp>(i, 1, a, y, name);
  }
}

}  // namespace hpk::vmk::celem
