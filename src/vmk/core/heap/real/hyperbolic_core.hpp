// Packed pieces shared by the hyperbolic kernels: the exponential and the logarithm with about
// 2^-58 relative error, handed back unrounded as double-double pairs (hi, lo), so that the
// kernels can subtract, divide and halve them before the one final rounding.
//
// exp_parts(ax), ax >= 0 with k = round(ax 64 / ln 2) <= 65536 (ax < 709.79):
//   r  = (ax - k Ln2Hi) - k Ln2Lo          (the exponential's reduction, |r| <= ln2/128 + tiny,
//                                          absolute error below 2^-60)
//   k = 64 m + j,  (T, Tl) = 2^(j/64);   -k = 64 m' + j',  (T', Tl') = 2^(j'/64)
//   odd = r + r^3 (A3 + r^2 A5),  even = r^2 (A2 + r^2 A4)
//        e^r - 1 = odd + even,  e^-r - 1 = even - odd   (one polynomial for both signs)
//   e^ax  / 2 = 2^(m-1)  (T  + (Tl  + T  (odd + even)))    -> (pos_hi, pos_lo)
//   e^-ax / 2 = 2^(m'-1) (T' + (Tl' + T' (even - odd)))    -> (neg_hi, neg_lo)
//   The scale factors are exact powers of two; m' is taken at -k clamped to -6400 (m' >= -100),
//   where e^-ax is below 2^-200 e^ax and any value of that size does: the factor stays normal.
//   The hi parts are exact table values and the lo parts up to 2^-7 of them (not normalised
//   pairs: a caller that divides renormalises first); the lo parts carry r's error (2^-60), the truncation
//   of the polynomial (below 2^-60 relative on |r| <= ln2/128) and two roundings of at most
//   2^-60 of hi: pos and neg are each within 2^-58.5 of their value, relative.
//
// log_parts<kExactRows>(wh, rel), wh positive normal, rel = wl / wh the relative size of a low
// part: ln(wh + wl) = hi + lo, with the logarithm's table and polynomial: Y, Yhi, N,
//   row, rcp, Rhi = Yhi rcp - 1 (exact), Rlo = (Y - Yhi) rcp, R = Rhi + Rlo, as in the packed
//   logarithm; then with A = N Ln2hi + T_hi (exact) and Alo = N Ln2lo + T_lo:
//   kExactRows (results next to 0, Acosh):
//     hi  = A + Rhi (+ Rlo on the rows where Alo = 0, whose R = Rhi + Rlo is exact)
//     lo  = (Alo + err) + Rlo (on the other rows) + rel + R^2 P(R), err the rounding of A + Rhi
//   otherwise (w >= 1.03, results of at least 1/32, Asinh and Atanh):
//     hi  = A,  lo = Rhi + (((Alo + Rlo) + rel) + R^2 P(R))
//   ln(1 + rel) is taken as rel (|rel| <= 2^-52, the square is below 2^-104), and rel is left out
//   of P's argument (an error of rel R <= 2^-62 relative). The absolute error is below 2^-62
//   plus 2^-58 relative to the result.
#pragma once

#include <cstdint>

#include "vmk/core/exp/exp_core.hpp"
#include "vmk/core/heap/real/hyperbolic_tables.hpp"
#include "vmk/core/ln/ln_core.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::hyperbolic {

using simd::vd;
using simd::vdd;
using simd::vi;
using simd::vl;
using simd::vul;

constexpr vd c2(double c) { return vd{c, c}; }
constexpr vul u2(uint64_t u) { return vul{u, u}; }

inline constexpr uint64_t kSignBit = 0x8000000000000000ull;
inline constexpr uint64_t kExpField = 0x7FF0000000000000ull;

[[gnu::always_inline]] inline vd vabs(vd x) { return (vd)((vul)x & ~u2(kSignBit)); }
[[gnu::always_inline]] inline vd sign_of(vd x) { return (vd)((vul)x & u2(kSignBit)); }
[[gnu::always_inline]] inline vd with_sign(vd ax, vd sign) { return (vd)((vul)ax | (vul)sign); }

// x * y exactly as hi + lo, lane by lane (Dekker; the baseline has no FMA).
[[gnu::always_inline]] inline vdd two_prod(vd x, vd y) {
  const vd p = x * y;
  const vdd xs = simd::split(x), ys = simd::split(y);
  const vd e = ((xs.hi * ys.hi - p) + xs.hi * ys.lo + xs.lo * ys.hi) + xs.lo * ys.lo;
  return {p, e};
}

// a + b exactly as hi + lo when |a| >= |b| (or a = 0).
[[gnu::always_inline]] inline vdd fast_two_sum(vd a, vd b) {
  const vd s = a + b;
  return {s, b - (s - a)};
}

// x + x^3 (c[0] + x^2 (c[1] + ...)), x2 = x * x: x is exact, so the rounding of the correction
// counts only at its own (small) size.
template <int N>
[[gnu::always_inline]] inline vd odd_series(vd x, vd x2, const double (&c)[N]) {
  vd p = c2(c[N - 1]);
#pragma GCC unroll 16
  for (int k = N - 2; k >= 0; --k) p = c2(c[k]) + x2 * p;
  return x + (x * x2) * p;
}

// Two rows of a table of (hi, lo) pairs for the low 6 bits of the two lanes' low words.
[[gnu::always_inline]] inline vdd rows64(vd t) {
  using exp_tables::s_dwExp2;
  const uint64_t lows =
      uint64_t(_mm_cvtsi128_si64(_mm_shuffle_epi32((__m128i)t, _MM_SHUFFLE(3, 1, 2, 0))));
  const uint64_t j0 = lows & 63, j1 = (lows >> 32) & 63;
  const __m128d row0 = _mm_load_pd(s_dwExp2 + 2 * j0), row1 = _mm_load_pd(s_dwExp2 + 2 * j1);
  return {(vd)_mm_unpacklo_pd(row0, row1), (vd)_mm_unpackhi_pd(row0, row1)};
}

// 2^(m + offset) for t = 1.5 2^52 + k, m = floor(k / 64); needs m + offset + 1023 in [1, 2046].
template <int Offset>
[[gnu::always_inline]] inline vd scale_of(vd t) {
  constexpr uint64_t bias = uint64_t(1023 + Offset) * 64;
  return (vd)((((vul)t + bias) << 46) & kExpField);
}

struct ExpParts {
  vd pos_hi, pos_lo, neg_hi, neg_lo;
};

// kNeg: both halves e^ax / 2 and e^-ax / 2 (Sinh, Cosh); otherwise e^ax alone, unhalved (Tanh,
// whose argument 2|x| < 44 keeps m small).
template <bool kNeg>
[[gnu::always_inline]] inline ExpParts exp_parts(vd ax) {
  using namespace exp_core;
  const ExpConstants *cp = &kExpConstants;  // memory operands, as in log_parts
  __asm__ volatile("" : "+r"(cp));
  const ExpConstants &c = *cp;
  const vd t = ax * c.inv_ln + c.rs;
  const vd kd = t - c.rs;
  const vd r = (ax - kd * c.ln_hi) - kd * c.ln_lo;
  const vd r2 = r * r;
  const vd odd = r + (r * r2) * (c.a3 + r2 * c.a5);
  const vd even = r2 * (c.a2 + r2 * c.a4);
  ExpParts e;
  const vdd P = rows64(t);
  const vd sp = scale_of<kNeg ? -1 : 0>(t);
  e.pos_hi = P.hi * sp;
  e.pos_lo = (P.lo + P.hi * (odd + even)) * sp;
  if constexpr (kNeg) {
    const vd tn = simd::vmax(-kd, c2(-6400.0)) + c.rs;
    const vdd Q = rows64(tn);
    const vd sn = scale_of<-1>(tn);
    e.neg_hi = Q.hi * sn;
    e.neg_lo = (Q.lo + Q.hi * (even - odd)) * sn;
  }
  return e;
}

template <bool kExactRows>
[[gnu::always_inline]] inline vdd log_parts(vd wh, vd rel) {
  using namespace ln_core;
  // The logarithm's loop constants through an opaque pointer: memory operands of the
  // arithmetic, instead of registers hoisted out of the loop and spilled by the four chains.
  const LogConstants *cp = &kLnConstants;
  __asm__ volatile("" : "+r"(cp));
  const LogConstants &c = *cp;
  const double *tab = LnTraits::table;
  const vul ux = (vul)wh;
  const vd Y = (vd)((ux & c.fraction) | c.one_exp);
  const vd Yhi = (vd)((vul)Y & c.yhi_mask);
  const __m128i top = _mm_shuffle_epi32((__m128i)wh, _MM_SHUFFLE(3, 1, 3, 1));
  const vd N = (vd)_mm_cvtepi32_pd(_mm_srai_epi32(_mm_sub_epi32(top, (__m128i)c.nsub_top), 20));
  const __m128i off = _mm_srli_epi32(
      _mm_and_si128(_mm_add_epi32(_mm_and_si128(top, (__m128i)c.row_mask1), (__m128i)c.row_round),
                    (__m128i)c.row_mask2),
      11 - 5);  // row * 32 bytes
  const char *base = reinterpret_cast<const char *>(tab);
  const uint64_t offs = uint64_t(_mm_cvtsi128_si64(off));
  const double *r0 = reinterpret_cast<const double *>(base + uint32_t(offs));
  const double *r1 = reinterpret_cast<const double *>(base + (offs >> 32));
  const __m128d b0 = _mm_load_pd(r0 + 2), b1 = _mm_load_pd(r1 + 2);
  const vd rcp = (vd)_mm_loadh_pd(_mm_load_sd(r0), r1);
  const vd Thi = (vd)_mm_unpacklo_pd(b0, b1), Tlo = (vd)_mm_unpackhi_pd(b0, b1);

  const vd Rhi = Yhi * rcp - c.one;
  const vd Rlo = (Y - Yhi) * rcp;
  const vd R = Rhi + Rlo;
  const vd R2 = R * R;
  const vd Alo = N * c.ln2lo + Tlo;
  const vd A = N * c.ln2hi + Thi;
  const vd poly = R2 * ((c.p1 + R * c.p2) + R2 * (c.p3 + R * c.p4));
  if constexpr (kExactRows) {
    const vd hi0 = A + Rhi;
    const vd err = (A - hi0) + Rhi;
    const vd exact = (vd)(Alo == 0.0);
    const vd hi = hi0 + simd::and_bits(exact, Rlo);
    const vd lo = (((Alo + err) + simd::andnot_bits(exact, Rlo)) + rel) + poly;
    return {hi, lo};
  } else {
    // Results of at least 1/32: Rhi (below 2^-9) joins the low part, whose rounding (2^-63)
    // is then below 2^-58 of the result, and A + Rhi needs no exact sum.
    return {A, Rhi + (((Alo + Rlo) + rel) + poly)};
  }
}

// x as hi + lo with hi holding the top 26 bits of the significand (by a mask, so hi^2 and
// 2 hi lo are exact), for the exact squares below.
[[gnu::always_inline]] inline vdd mask_split(vd x) {
  const vd hi = (vd)((vul)x & u2(0xFFFFFFFFF8000000ull));
  return {hi, x - hi};
}

// x^2 exactly as hi + lo (lo rounded at 2^-106 of x^2).
[[gnu::always_inline]] inline vdd exact_sqr(vd x) {
  const vd p = x * x;
  const vdd s = mask_split(x);
  // doublings as products: the adder is the busy unit of these kernels, the multiplier is not
  return {p, ((s.hi * s.hi - p) + (s.hi * c2(2.0)) * s.lo) + s.lo * s.lo};
}

// sqrt(h + l) = q + num / 2q to 2^-104 relative, q = sqrt(h) rounded, num = h - q^2 + l:
// with q = qh + ql (mask_split), h - qh^2 and then - 2 qh ql are exact (each difference is of
// numbers within a factor 2 of each other), so num is exact but for the 2^-106 of ql^2 and l.
// h >= 0; the caller divides, so that it can share the division.
[[gnu::always_inline]] inline vdd sqrt_parts(vd h, vd l) {
  const vd q = simd::vsqrt(h);
  const vdd qs = mask_split(q);
  return {q, (((h - qs.hi * qs.hi) - (qs.hi * c2(2.0)) * qs.lo) - qs.lo * qs.lo) + l};
}

// ln(x + sqrt(h + l)) for x >= 0, h + l > 0 or (x >= 1, h + l >= 0), as a pair:
//   (q, num) = sqrt_parts(h, l);  (wh, e) = TwoSum(x, q) (ordered by `q_larger`);
//   w = wh + (e + num / 2q), and the low part's relative size (e + num / 2q) / wh is taken in
//   one division as (2q e + num) / (2q wh), whose roundings (2^-52 relative) act on a term of
//   at most 2^-52: below 2^-102 of w. A tiny floor keeps q = 0 (h = l = 0, Acosh of 1) from
//   dividing 0 by 0; 2q wh is far above it for every other input.
template <bool q_larger, bool kExactRows>
[[gnu::always_inline]] inline vdd log_of_sum_with_root(vd x, vd h, vd l) {
  const vdd q = sqrt_parts(h, l);
  const vdd w = q_larger ? fast_two_sum(q.hi, x) : fast_two_sum(x, q.hi);
  const vd q2 = q.hi * c2(2.0);
  const vd rel = (q2 * w.lo + q.lo) / simd::vmax(q2 * w.hi, c2(0x1p-1000));
  return log_parts<kExactRows>(w.hi, rel);
}

// ln(2|x|) for |x| >= 2^28, where Asinh and Acosh are it to 2^-58 (the scalar routes beyond
// the main ranges).
inline double log_twice(double x) {
  const vdd l = log_parts<false>(simd::splat(__builtin_fabs(x)), c2(0.0));
  const double ln2hi = simd::from_bits(ln_core::LnTraits::hi_bits);
  const double ln2lo = simd::from_bits(ln_core::LnTraits::lo_bits);
  const simd::dd h = simd::two_sum(l.hi[0], ln2hi);
  return h.hi + ((h.lo + l.lo[0]) + ln2lo);
}

// e^ax / 2 for ax from 709.78 on (Sinh, Cosh near overflow, where e^-ax is far below half an
// ulp): the exponential's value v in [1, 2) through 2^(m-2), then times 2, so that only the last
// product can overflow; +inf with status 3 when it does.
inline double exp_half_large(double ax, int &status) {
  if (ax >= 711.0) {
    status = 3;
    return __builtin_inf();
  }
  const exp_core::Reduced q = exp_core::reduce(simd::splat(ax));
  const int64_t m = int64_t(q.t_bits[0] - simd::bits(exp_core::s_dwRS)) >> 6;
  const double r = (q.v[0] * simd::from_bits(uint64_t(m - 2 + 1023) << 52)) * 2.0;
  if (r == __builtin_inf()) status = 3;
  return r;
}

}  // namespace hpk::vmk::hyperbolic
