// The steps shared by the sine, cosine, tangent and sine-cosine kernels, written once for a
// double (the scalar routines) and for a vector of two doubles (the packed routes), so that
// both routes compute each element with the same operations in the same order.
//
// Reduction by pi/32 (x below 90112 in magnitude, or the pair hi + lo left by reduce_pio2d):
//   t  = x * 32/pi + 1.5*2^52;   k = t - 1.5*2^52          (k = x*32/pi rounded to an integer)
//   r1 = x - k*P1                                          exact: k*P1 is exact (|k| < 2^21,
//                                                          P1 has 31 bits) and r1 is exact
//   r2 = r1 - k*P2,  e2 = (r1 - r2) - k*P2                 k*P2 exact (P2 has 32 bits); e2 is
//                                                          the exact error (see fast_diff)
//   r  = r2 - k*P3,  e3 = (r2 - r) - k*P3                  k*P3 rounded: error below 2^-125
//   c  = (e3 + e2) + lo                                    the correction term
// P1 + P2 + P3 is pi/32 within 2^-126.9, so r + c is x - k pi/32 within about 2^-104 for the
// largest k. The row j = (k + off) mod 64 (off = 16q for a quadrant count q, plus 16 for the
// cosine) gives Sh, Sl, Ch, Cl = sin, cos of j pi/32 in two parts each; since the table holds
// a whole circle, no sign or quadrant logic is needed.
//
// Sine from the row, with S(r) = r^2 (S1 + r^2 (S2 + r^2 (S3 + r^2 S4))) and
// C(r) = r^2 (C1 + r^2 (C2 + r^2 (C3 + r^2 C4))) (Taylor coefficients of sin and cos), and
// e the rounding error of the product Ch*r:
//   small = (((Cl*r + Ch*c) + e) + Sl) + (Ch*r)*S(r) + Sh*C(r)   left to right, small to large
//   sin   = Sh + (Ch*r + small)
// Without e the two roundings of Ch*r and of the sum could reach just over 1 ulp where the
// result and Ch*r share a binade (1.002 ulp seen near x = -0.057); with it the largest error
// stays near 0.5 ulp plus the final rounding of small.
// |r| <= pi/64 (a little more after reduce_pio2d), where the first neglected Taylor term is
// below 2^-70 relative.
//
// Tangent: the same sine and cosine, each as a renormalised double-double (Ch*r exact), then a
// quotient with one correction step: q = s (1/c), q + ((s - q*c) + s_lo - q*c_lo) (1/c).
#pragma once

#include <emmintrin.h>

#include <cstdint>

#include "vmk/core/sin/trig_tables.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::trig {

inline constexpr double db32DivPi = 0x1.45f306dc9c883p+3;  // 10.185916357881302
inline constexpr double dbSh = 0x1.8p+52;                   // 6755399441055744
inline constexpr double dbP1 = 0x1.921fb54400000p-4;        // 0x3FB921FB54400000
inline constexpr double dbP2 = 0x1.0b4611a600000p-38;       // 0x3D90B4611A600000
inline constexpr double dbP3 = 0x1.3198a2e037073p-73;       // 0x3B63198A2E037073
inline constexpr double dbS1 = -0x1.5555555555555p-3;       // -1/6
inline constexpr double dbS2 = 0x1.1111111111111p-7;        // 1/120
inline constexpr double dbS3 = -0x1.a01a01a01a01ap-13;      // -1/5040
inline constexpr double dbS4 = 0x1.71de3a556c734p-19;       // 1/362880
inline constexpr double dbC1 = -0x1p-1;                     // -1/2
inline constexpr double dbC2 = 0x1.5555555555555p-5;        // 1/24
inline constexpr double dbC3 = -0x1.6c16c16c16c17p-10;      // -1/720
inline constexpr double dbC4 = 0x1.a01a01a01a01ap-16;       // 1/40320

// Top words (sign cleared) bounding the packed route: tiny arguments and zeros take the
// scalar route too, which keeps the sign of a zero and the tiny-argument rules.
inline constexpr uint32_t kTinyTop = 0x30300000;   // 2^-252
inline constexpr uint32_t kLargeTop = 0x40F60000;  // 90112
inline constexpr uint32_t kReduceExp = 0x410;      // 2^17: reduce_pio2d from here on
inline constexpr uint32_t kTinyExp = 0x303;

using simd::vd;

// The constants of the packed route as 16-byte pairs, defined in another unit: the compiler
// then reads each as a memory operand, where a constant it can see would be rebuilt from a
// scalar at every use (two instructions in the baseline instruction set).
struct alignas(16) PairConstants {
  vd inv32pi, sh, p1, p2, p3, s1, s2, s3, s4, c1, c2, c3, c4, top26;
};
extern const PairConstants kPairs;

// A constant as the operand type: the scalar itself, or its pair.
#define HPK_TRIG_CST(V, name, scalar) \
  ([]() -> V {                         \
    if constexpr (sizeof(V) == 8) return scalar; \
    else return kPairs.name;           \
  }())

template <class V>
struct Row {
  V sh, sl, ch, cl;
};

[[gnu::always_inline]] inline Row<double> row(double t, int off) {
  const int j = (int(uint32_t(simd::bits(t))) + off) & 63;
  const double *p = trig_tables::SinCosTbl[j];
  return {p[0], p[1], p[2], p[3]};
}

[[gnu::always_inline]] inline Row<vd> row(vd t, int off) {
  const __m128i b = _mm_castpd_si128((__m128d)t);
  const int j0 = (_mm_cvtsi128_si32(b) + off) & 63;
  const int j1 = (_mm_cvtsi128_si32(_mm_shuffle_epi32(b, 2)) + off) & 63;
  const double *p0 = trig_tables::SinCosTbl[j0], *p1 = trig_tables::SinCosTbl[j1];
  const __m128d a0 = _mm_load_pd(p0), a1 = _mm_load_pd(p1);
  const __m128d b0 = _mm_load_pd(p0 + 2), b1 = _mm_load_pd(p1 + 2);
  return {(vd)_mm_unpacklo_pd(a0, a1), (vd)_mm_unpackhi_pd(a0, a1), (vd)_mm_unpacklo_pd(b0, b1),
          (vd)_mm_unpackhi_pd(b0, b1)};
}

template <class V>
struct Arg {
  V t;  // the shifted k: its low word holds k
  V r, c;
};

// a - b as s + e. The error e = (a - s) - b is exact when a's exponent is at least b's, or
// when a - b is exact (then e = 0). Every use below meets one of the two, so the results are
// those of a full two_sum, in half the operations:
//  - pi/32 steps, r1 - k P2 and r2 - k P3: with k != 0 the argument is at least pi/64 in
//    magnitude, so r1 and r2 are multiples of 2^-69 (P1's lowest bit is 2^-34, P2's 2^-69,
//    and ulp(x) >= 2^-57); where |r1| < |k P2| both are below 2^-36 k and r1 - k P2 is exact,
//    and |r2| < |k P3| <= 2^-70 forces r2 = 0. With k = 0 the products are 0.
//  - Cody-Waite (|x| >= 2^17, ulp(x) >= 2^-35): the first difference is exact (its operands
//    are multiples of 2^-35 and the result below 2); after it the running value is a multiple
//    of 2^-59 (2^-49 with the five parts), so where it is smaller than the next product (at
//    most 2^-36) the difference is exact again.
template <class V>
[[gnu::always_inline]] inline void fast_diff(V a, V b, V &s, V &e) {
  s = a - b;
  e = (a - s) - b;
}

template <class V>
[[gnu::always_inline]] inline Arg<V> reduce_pio32(V x, V lo) {
  const V sh = HPK_TRIG_CST(V, sh, dbSh);
  const V t = x * HPK_TRIG_CST(V, inv32pi, db32DivPi) + sh;
  const V k = t - sh;
  const V r1 = x - k * HPK_TRIG_CST(V, p1, dbP1);
  V r2, e2, r, e3;
  fast_diff(r1, k * HPK_TRIG_CST(V, p2, dbP2), r2, e2);
  fast_diff(r2, k * HPK_TRIG_CST(V, p3, dbP3), r, e3);
  return {t, r, (e3 + e2) + lo};
}

template <class V>
[[gnu::always_inline]] inline V poly_s(V r2) {
  return r2 * (HPK_TRIG_CST(V, s1, dbS1) +
               r2 * (HPK_TRIG_CST(V, s2, dbS2) +
                     r2 * (HPK_TRIG_CST(V, s3, dbS3) + r2 * HPK_TRIG_CST(V, s4, dbS4))));
}
template <class V>
[[gnu::always_inline]] inline V poly_c(V r2) {
  return r2 * (HPK_TRIG_CST(V, c1, dbC1) +
               r2 * (HPK_TRIG_CST(V, c2, dbC2) +
                     r2 * (HPK_TRIG_CST(V, c3, dbC3) + r2 * HPK_TRIG_CST(V, c4, dbC4))));
}

// The top 26 bits of x (the mantissa's low 27 bits cleared).
[[gnu::always_inline]] inline double top26(double x) {
  return simd::from_bits(simd::bits(x) & 0xFFFFFFFFF8000000ull);
}
[[gnu::always_inline]] inline vd top26(vd x) { return simd::and_bits(x, kPairs.top26); }

// The rounding error of the product p = a*b from halves cut by masking: the three leading
// partial products are exact, the last (below 2^-104 of p) is rounded, which leaves the error
// term within 2^-100 of p's error.
template <class V>
[[gnu::always_inline]] inline V product_error(V a, V b, V p) {
  const V ah = top26(a), bh = top26(b);
  const V al = a - ah, bl = b - bh;
  return ((ah * bh - p) + ah * bl + al * bh) + al * bl;
}

template <class V>
[[gnu::always_inline]] inline V from_row(const Row<V> &w, const Arg<V> &a, V s, V c) {
  const V chr = w.ch * a.r;
  V small = ((w.cl * a.r + w.ch * a.c) + product_error(w.ch, a.r, chr)) + w.sl;
  small = small + chr * s;
  small = small + w.sh * c;
  return w.sh + (chr + small);
}

// sin(x + lo) with x + lo already reduced by q quadrants (off = 16 q); cosine with off + 16.
// The packed route of medium arguments passes the quadrants per lane in qoff (16 q as a
// double), added to the shifted k: the row index is the same integer either way.
template <class V>
[[gnu::always_inline]] inline V sin_eval(V x, V lo, int off, V qoff = V{}) {
  const Arg<V> a = reduce_pio32(x, lo);
  const V r2 = a.r * a.r;
  return from_row(row(a.t + qoff, off), a, poly_s(r2), poly_c(r2));
}

template <class V>
[[gnu::always_inline]] inline void sincos_eval(V x, V lo, int off, V &s, V &c, V qoff = V{}) {
  const Arg<V> a = reduce_pio32(x, lo);
  const V r2 = a.r * a.r;
  const V ps = poly_s(r2), pc = poly_c(r2);
  s = from_row(row(a.t + qoff, off), a, ps, pc);
  c = from_row(row(a.t + qoff, off + 16), a, ps, pc);
}

// Exact products without FMA (Dekker), for doubles and pairs of doubles alike.
template <class V>
[[gnu::always_inline]] inline void split(V x, V &hi, V &lo) {
  const V m = x * simd::kDekkerSplit;
  hi = m - (m - x);
  lo = x - hi;
}
template <class V>
[[gnu::always_inline]] inline void two_prod(V x, V y, V &p, V &e) {
  p = x * y;
  V xh, xl, yh, yl;
  split(x, xh, xl);
  split(y, yh, yl);
  e = ((xh * yh - p) + xh * yl + xl * yh) + xl * yl;
}

// The sine of a row as a normalised pair. Both sums may take the short form: with Sh != 0,
// |Sh| >= sin(pi/32) > pi/64 >= |Ch r|, and with Sh = 0 the first is exact; the value never
// cancels (|r| <= pi/64 keeps it off a zero unless Sh = 0), so the high part dominates.
template <class V>
[[gnu::always_inline]] inline void from_row_dd(const Row<V> &w, const Arg<V> &a, V s, V c, V &hi,
                                               V &lo) {
  V p, pe;
  two_prod(w.ch, a.r, p, pe);
  V small = (w.cl * a.r + w.ch * a.c) + w.sl;
  small = small + p * s;
  small = small + w.sh * c;
  const V h = w.sh + p;
  const V he = (w.sh - h) + p;
  const V rest = he + (pe + small);
  hi = h + rest;
  lo = (h - hi) + rest;
}

// tan = s / c with one division: q = s (1/c), then one correction step with the exact product
// q c, which takes the quotient to about 2^-100 relative whatever q's own rounding.
template <class V>
[[gnu::always_inline]] inline V tan_eval(V x, V lo, int off, V qoff = V{}) {
  const Arg<V> a = reduce_pio32(x, lo);
  const V r2 = a.r * a.r;
  const V ps = poly_s(r2), pc = poly_c(r2);
  V sh, sl, ch, cl;
  from_row_dd(row(a.t + qoff, off), a, ps, pc, sh, sl);
  from_row_dd(row(a.t + qoff, off + 16), a, ps, pc, ch, cl);
  const V inv = V{} + 1.0;
  const V rc = inv / ch;
  const V t = sh * rc;
  V p, pe;
  two_prod(t, ch, p, pe);
  const V num = (((sh - p) - pe) + sl) - t * cl;
  return t + num * rc;
}

// A double routine on the four lanes of a single vector, widened in two halves and rounded
// once (inlined, unlike a call through a closure).
template <vd (*G)(vd)>
[[gnu::always_inline]] inline simd::vf widened(simd::vf x) {
  const vd lo = (vd)_mm_cvtps_pd((__m128)x);
  const vd hi = (vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x));
  return (simd::vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)G(lo)), _mm_cvtpd_ps((__m128d)G(hi)));
}

// ---- Cody-Waite reduction by pi/4 parts, for |x| below 2^30 ----------------------------
// n = trunc(|x| 4/pi) made even; |x| - n P1 - n P2 - n P3 - n P4 - n P5, the first difference
// exact, the next three through two_sum, the last product rounded, all errors in lo. Below
// 2^23 the four parts A1..A4 go as A1, A2, A3, 0, A4 (a zero part adds nothing), from 2^23
// on the five parts B1..B5. Every part but the last has few enough bits that n times it is
// exact. Written once for doubles and lanes, so that the scalar routine and the packed route
// of medium arguments agree to the bit.
inline constexpr double k4DivPi = 0x1.45f306dc9c883p+0;  // 1.2732395447351628
inline constexpr double kPio4A[5] = {0x1.921fb54000000p-1, 0x1.10b4612000000p-31,
                                     -0x1.676733c000000p-61, 0.0, 0x1.1701b839a2520p-89};
inline constexpr double kPio4B[5] = {0x1.921fa00000000p-1, 0x1.5444300000000p-21,
                                     -0x1.73dca00000000p-44, -0x1.3b39a00000000p-64,
                                     0x1.45c06e0e68948p-87};
inline constexpr double kFiveParts = 0x1p23;

template <class V>
[[gnu::always_inline]] inline void cody_waite_core(V ax, V dn, const V *p, V &hi, V &lo) {
  const V r = ax - dn * p[0];
  V s1, e1, s2, e2, s3, e3;
  fast_diff(r, dn * p[1], s1, e1);
  fast_diff(s1, dn * p[2], s2, e2);
  fast_diff(s2, dn * p[3], s3, e3);
  V err = e1 + e2;
  err = err + e3;
  err = err - dn * p[4];
  const auto s = simd::two_sum(s3, err);
  hi = s.hi;
  lo = s.lo;
}

// ax = |x| below 2^30: returns the quadrant count n/2.
[[gnu::always_inline]] inline int cody_waite(double ax, double &hi, double &lo) {
  int n = int(ax * k4DivPi);
  n += n & 1;
  const double *parts = ax < kFiveParts ? kPio4A : kPio4B;
  cody_waite_core(ax, double(n), parts, hi, lo);
  return n >> 1;
}

// The same on two lanes; returns 16 q per lane as doubles (8 n).
[[gnu::always_inline]] inline vd cody_waite(vd ax, vd &hi, vd &lo) {
  __m128i n = _mm_cvttpd_epi32((__m128d)(ax * k4DivPi));
  n = _mm_add_epi32(n, _mm_and_si128(n, _mm_set1_epi32(1)));
  const vd dn = (vd)_mm_cvtepi32_pd(n);
  const vd five = (vd)(ax >= kFiveParts);
  vd p[5];
  // Both lanes on one side is the rule in an array; the per-lane choice is the exception.
  switch (simd::movemask(five)) {
    case 0:
      for (int i = 0; i < 5; ++i) p[i] = simd::splat(kPio4A[i]);
      break;
    case 3:
      for (int i = 0; i < 5; ++i) p[i] = simd::splat(kPio4B[i]);
      break;
    default:
      for (int i = 0; i < 5; ++i)
        p[i] = simd::select(five, simd::splat(kPio4B[i]), simd::splat(kPio4A[i]));
  }
  cody_waite_core(ax, dn, p, hi, lo);
  return dn * 8.0;
}

// |x| reduced by quadrants: x = q pi/2 + hi + lo with |hi + lo| about pi/4 at most; returns q
// (only q mod 4 matters to the callers). Any finite x; defined in reduce.cpp.
int reduce_pio2(double x, double &hi, double &lo);

// ---- The single route: a single x below 90112 in magnitude, rounded once to single -------
// A single result needs the sine about 2^-30 relative before its one rounding, so the route
// takes the pi/32 reduction with two parts and short Taylor polynomials, all in double, two
// lanes at a time:
//   t = x 32/pi + 1.5*2^52,  k = t - 1.5*2^52          (k = x 32/pi rounded, |k| < 2^20)
//   r = (x - k P1) - k Q                               P1 + Q = pi/32 within 2^-91.9
// P1 (dbP1) has 31 bits, so k P1 is exact, and x - k P1 is exact (Sterbenz: x and k P1 are
// within a factor of two for k != 0). The product k Q and the last difference round, which
// leaves r within 2^-71 absolute plus 2^-52 relative of x - k pi/32. |r| <= pi/64 (1 + 2^-40).
//   s = r + r r^2 (S1 + r^2 S2)          sin r, Taylor to r^5: the rest below 2^-38 relative
//   m = r^2 (C1 + r^2 C2)                cos r - 1, Taylor to r^4: the rest below 2^-35
// With the row j = k mod 64 (Sh = sin j pi/32, Ch = cos j pi/32, the high parts only):
//   sin x = Sh + (Ch s + Sh m),   cos x = Ch + (Ch m - Sh s)
// No sum cancels: where Sh != 0, |Sh| >= sin(pi/32) > 2 |Ch s| (likewise for the cosine), and
// where Sh = 0 (x near a multiple of pi) the sine is Ch s, whose r is within 2^-44 relative
// since no single below 90112 comes nearer a multiple of pi/2 than 2^-27.8 (x =
// 252.89820861816406, checked for every multiple with exact arithmetic). So the double value
// is within about 2^-34 relative, and the single result is the correctly rounded one except
// within 2^-10 ulp of a midpoint. Sine and cosine come from the same row and the same
// polynomials, so SinCos gives Sin's and Cos's bits.
namespace single {
inline constexpr double kPio32Lo = 0x1.0b4611a626331p-38;  // pi/32 - dbP1 rounded
}  // namespace single

// Defined in another unit, read as memory operands (see PairConstants).
struct alignas(16) SinglePairConstants {
  vd inv32pi, sh, p1, q, s1, s2, c1, c2;
};
extern const SinglePairConstants kSinglePairs;

struct SingleParts {
  vd sh, ch, s, m;  // the row's sine and cosine; sin r and cos r - 1
};

[[gnu::always_inline]] inline SingleParts single_parts(vd x) {
  const SinglePairConstants &p = kSinglePairs;
  const vd t = x * p.inv32pi + p.sh;
  const vd k = t - p.sh;
  const vd r = (x - k * p.p1) - k * p.q;
  const vd r2 = r * r;
  const __m128i b = _mm_castpd_si128((__m128d)t);
  const int j0 = _mm_cvtsi128_si32(b) & 63;
  const int j1 = _mm_cvtsi128_si32(_mm_shuffle_epi32(b, 2)) & 63;
  const double *w0 = trig_tables::SinCosTbl[j0], *w1 = trig_tables::SinCosTbl[j1];
  const vd sh = (vd)_mm_loadh_pd(_mm_load_sd(w0), w1);
  const vd ch = (vd)_mm_loadh_pd(_mm_load_sd(w0 + 2), w1 + 2);
  return {sh, ch, r + r * (r2 * (p.s1 + r2 * p.s2)), r2 * (p.c1 + r2 * p.c2)};
}
[[gnu::always_inline]] inline vd single_sin_of(const SingleParts &w) {
  return w.sh + (w.ch * w.s + w.sh * w.m);
}
[[gnu::always_inline]] inline vd single_cos_of(const SingleParts &w) {
  return w.ch + (w.ch * w.m - w.sh * w.s);
}

[[gnu::always_inline]] inline vd single_sin(vd x) { return single_sin_of(single_parts(x)); }
[[gnu::always_inline]] inline vd single_cos(vd x) { return single_cos_of(single_parts(x)); }
// One rounded division of two values within 2^-34 relative each.
[[gnu::always_inline]] inline vd single_tan(vd x) {
  const SingleParts w = single_parts(x);
  return single_sin_of(w) / single_cos_of(w);
}
[[gnu::always_inline]] inline void single_sincos(vd x, vd &s, vd &c) {
  const SingleParts w = single_parts(x);
  s = single_sin_of(w);
  c = single_cos_of(w);
}

}  // namespace hpk::vmk::trig
