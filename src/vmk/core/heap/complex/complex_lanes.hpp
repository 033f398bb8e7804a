// Complex elements on the packed routes, parts apart: four single elements as their real and
// imaginary parts widened to double (elements 0, 1 in the low register, 2, 3 in the high one),
// and two double elements as a register of real parts and one of imaginary parts. The product
// helpers form x*y exactly as a double-double for the double kernels.
#pragma once

#include <emmintrin.h>

#include "hpk/vmk.h"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::lanes {

using simd::vd;
using simd::vdd;
using simd::vf;
using simd::vul;

// ---- single: four elements in double ------------------------------------------------------

struct C4 {
  vf re, im;  // as stored, single
};
inline C4 load_c4(const hpk_complex8 *p) {
  const __m128 v0 = _mm_loadu_ps(&p[0].re), v1 = _mm_loadu_ps(&p[2].re);
  return {(vf)_mm_shuffle_ps(v0, v1, _MM_SHUFFLE(2, 0, 2, 0)),
          (vf)_mm_shuffle_ps(v0, v1, _MM_SHUFFLE(3, 1, 3, 1))};
}
inline vd widen_lo(vf x) { return (vd)_mm_cvtps_pd((__m128)x); }
inline vd widen_hi(vf x) { return (vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x)); }
inline vf narrow(vd lo, vd hi) {
  return (vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)lo), _mm_cvtpd_ps((__m128d)hi));
}
// Results parts apart (single) to two registers of interleaved elements.
struct C4Out {
  vf e01, e23;
};
inline C4Out interleave(vf re, vf im) {
  return {(vf)_mm_unpacklo_ps((__m128)re, (__m128)im), (vf)_mm_unpackhi_ps((__m128)re, (__m128)im)};
}
inline void store_c4(hpk_complex8 *p, const C4Out &r) {
  _mm_storeu_ps(&p[0].re, (__m128)r.e01);
  _mm_storeu_ps(&p[2].re, (__m128)r.e23);
}

// ---- double: two elements -----------------------------------------------------------------

struct Z2 {
  vd re, im;
};
inline Z2 load_z2(const hpk_complex16 *p) {
  const __m128d v0 = _mm_loadu_pd(&p[0].re), v1 = _mm_loadu_pd(&p[1].re);
  return {(vd)_mm_unpacklo_pd(v0, v1), (vd)_mm_unpackhi_pd(v0, v1)};
}
struct Z2Out {
  vd e0, e1;
};
inline Z2Out interleave(vd re, vd im) {
  return {(vd)_mm_unpacklo_pd((__m128d)re, (__m128d)im),
          (vd)_mm_unpackhi_pd((__m128d)re, (__m128d)im)};
}
inline void store_z2(hpk_complex16 *p, const Z2Out &r) {
  _mm_storeu_pd(&p[0].re, (__m128d)r.e0);
  _mm_storeu_pd(&p[1].re, (__m128d)r.e1);
}

// x = h + l with h the top 26 significant bits (by masking) and l the rest, at most 27 bits:
// h*h', h*l' and l*h' are exact, l*l' is rounded (relative 2^-106 of the whole product).
struct Split {
  vd h, l;
};
inline Split split26(vd x) {
  const vd h = simd::and_bits(x, (vd)vul{0xFFFFFFFFF8000000ull, 0xFFFFFFFFF8000000ull});
  return {h, x - h};
}
// x*y as hi + lo, to 2^-106 relative, when the partial products are normal (|x y| >= 2^-960)
// or exactly zero.
inline vdd product(vd x, const Split &xs, vd y, const Split &ys) {
  const vd p = x * y;
  return {p, ((xs.h * ys.h - p) + xs.h * ys.l + xs.l * ys.h) + xs.l * ys.l};
}
// x + t, where a zero t leaves x as it is, -0 included: the sign of a zero result is then the
// one of the plain formula (the low parts of exact products come out +0 where the products
// are signed zeros). -((-t) + 0) is t for every t but +0, which it turns into -0.
inline vd add_tail(vd x, vd t) {
  const vd m = simd::splat(-0.0);
  return x + simd::xor_bits(simd::xor_bits(t, m) + simd::splat(0.0), m);
}

// u + v and u - v of two double-double products, as one normalised double-double.
inline vdd dd_add(const vdd &u, const vdd &v) {
  const vdd s = simd::two_sum(u.hi, v.hi);
  const vd t = s.lo + (u.lo + v.lo);
  const vd hi = add_tail(s.hi, t);
  return {hi, t - (hi - s.hi)};
}
inline vdd dd_sub(const vdd &u, const vdd &v) { return dd_add(u, {-v.hi, -v.lo}); }

// Bit e set when element e of a pair has a part of magnitude 2^500 or more, infinity or NaN:
// by the top words of the parts alone (their high 32 bits, gathered in one register, sign
// cleared, compared as signed integers).
inline int huge_parts(const Z2 &v) {
  const __m128i top = _mm_and_si128(
      _mm_castps_si128(_mm_shuffle_ps(_mm_castpd_ps((__m128d)v.re), _mm_castpd_ps((__m128d)v.im),
                                      _MM_SHUFFLE(3, 1, 3, 1))),
      _mm_set1_epi32(0x7FFFFFFF));
  const int m = _mm_movemask_ps(_mm_castsi128_ps(_mm_cmpgt_epi32(top, _mm_set1_epi32(0x5F2FFFFF))));
  return (m | m >> 2) & 3;  // lanes: re0, re1, im0, im1
}

// All ones in the lanes whose value is not zero and below 2^-960 in magnitude.
inline vd tiny_not_zero(vd x) {
  const __m128d ax = (__m128d)simd::andnot_bits(simd::splat(-0.0), x);
  return (vd)_mm_and_pd(_mm_cmplt_pd(ax, (__m128d)simd::splat(0x1p-960)),
                        _mm_cmpneq_pd(ax, _mm_setzero_pd()));
}

// All ones in the lanes outside {0} U [2^-450, 2^500) in magnitude, NaN included: there the
// double-double products could overflow or lose their low parts.
inline vd outside_main_range(vd x) {
  const __m128d ax = (__m128d)simd::andnot_bits(simd::splat(-0.0), x);
  const __m128d big = _mm_cmpnlt_pd(ax, (__m128d)simd::splat(0x1p500));
  const __m128d tiny = _mm_and_pd(_mm_cmplt_pd(ax, (__m128d)simd::splat(0x1p-450)),
                                  _mm_cmpneq_pd(ax, _mm_setzero_pd()));
  return (vd)_mm_or_pd(big, tiny);
}

}  // namespace hpk::vmk::lanes
