// The packed power x^y = 2^(y log2 x) of Pow and Powx (and of the single kernels, on widened
// lanes), for x positive normal and y normal with 2^-511 <= |y| < 2^1000.
//
// log2 x as a double-double (hi, lo):
//   N    = (top(x) - 0x3FE7FE00) >> 20 (arithmetic): the exponent counted from 0.749755859375,
//          the lower edge of row 512, so x near 1 always has N = 0 and row 0 or 1024 (T = 0)
//   Y    = x with the exponent set to 0, in [1, 2);  Yhi = Y & iHighMask (26 bits), Ylo = Y - Yhi
//   row  = ((top & 0xFFFFF) + 0x200) >> 10, the top 10 fraction bits rounded (0..1024),
//          rcp = rcp_t1[1 + row] (24 bits), (Thi, Tlo) = log2_t1[row]
//   Rhi  = 1 - Yhi * rcp          exact (50-bit product within 2^-10 of 1)
//   Rlo  = Ylo * rcp,  R = Rhi - Rlo ~ 1 - Y rcp,  |R| <= 2^-11 (1 + 2^-10)
//   Rh   = R & iHighMask,  Rl = (Rhi - Rh) - Rlo
//          Rh carries the top 26 bits of R itself, so Rl is at most 2^-25 of R and hi, lo
//          below do not cancel. Rhi - Rh is exact where |R| >= 2^-24 (both are multiples of
//          2^-49 then) and in rows 0 and 1024 (rcp a power of 2, Rlo exact); elsewhere its
//          rounding is below 2^-77 absolute against |log2 x| >= 2^-10.5.
//   P    = Rh * LHN                exact (26 + 23 bits)
//   A    = N + Thi                 exact (Thi on the 2^-42 grid, |N| < 2^11)
//   hi   = A + P,  err = (A - hi) + P    exact: A = 0 or |A| >= 2 |P| (row by row)
//   Q    = R clv1 + R2 ((clv2 + R clv3) + R2 ((clv4 + R clv5) + R2 (clv6 + R clv7))),  R2 = R R
//   lo   = ((Tlo + err) + Rl * LHN) + Q,   log2 x ~ hi + lo
// so log2 x = N + T + log2(1 - R) with the leading term R * LHN carried exactly. The
// truncation of the series is below 2^-80; the roundings of Q (the largest on R2 clv2, a few
// 2^-77 absolute) are at most 2^-66 of log2 x where T != 0 (|log2 x| >= 2^-10.5), and up to
// 2^-64 of it where T = 0 (x within 2^-11 of 1, log2 x ~ R / ln 2).
// The product with y, split on iHighMask as y = yh + yl (26 and 27 bits):
//   s    = hi + lo,  hh = s & iHighMask (26 bits),  hl = (hi - hh) + lo
//   zh   = yh * hh                            exact
//   zl   = (yh * hl + yl * hh) + yl * hl      |zl| <= 2^-25 |z|
// (hi - hh is exact: both are multiples of ulp(hi) / 2 and the difference is at most
// |lo| + 2^-26 |s|; hl itself, at most 2^-26 |s|, carries a rounding below 2^-79 of log2 x,
// so lo's share, up to 2^-12 of hi where T = 0, is not rounded at the scale of hi. yl * hh is
// exact.) The product adds below 2^-76 relative; the error of z is that of log2 x times |z|,
// at most 2^-54 absolute for |z| near 1022 next to x = 1, 2^-56 elsewhere.
// The exponent step, for |zh| < 1020 (the result is then normal):
//   t    = zh + db2p45_2p44   (the low bits of t hold k = zh * 128 rounded)
//   kd   = t - db2p45_2p44,  r = (zh - kd) + zl,  |r| <= 2^-8 + 2^-15
//   j    = k & 127, (T, Tl) = exp2_tbl[j],  m = k >> 7
//   p    = r cev1 + r2 ((cev2 + r cev3) + r2 (cev4 + r cev5)),  r2 = r r
//   v    = T + (Tl + T p)
//   result = v 2^m, by adding m << 52 (from the bits of t) to the bits of v.
// The groupings above are the order of evaluation; the test's scalar model follows them. The
// whole route stays within 0.5 ulp of the final rounding plus 2^-60 from the polynomial, the
// product T p and the error of z: 0.51 ulp measured in general, up to 0.70 ulp for x next to 1
// with |z| near 1000.
// The single kernels need 2^-30 and run a short form of the same steps in double lanes:
//   R = 1 - Y rcp (one rounding),  L = (N + Thi) + (Tlo + R (c1 + R (c2 + R (c3 + R c4)))),
//   ck = -1/(k ln 2),  z = y L,  r = z - kd,  v = T + T (r (cev1 + r (cev2 + r cev3)))
// (truncations below 2^-46 relative to L and 2^-43 to v; Tlo matters where L is small and y
// large), so with |z| < 125 a single result misses the exact value by under 2^-12 ulp before
// its own rounding.
#pragma once

#include <cstdint>

#include "vmk/core/exp/exp_tables.hpp"
#include "vmk/core/pow/pow_tables.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::pow_core {

using simd::vd;
using simd::vul;

inline constexpr uint64_t iHighMask = 0xFFFFFFFFF8000000ull;
inline constexpr uint64_t kFraction = 0x000FFFFFFFFFFFFFull;
inline constexpr uint64_t kOneExp = 0x3FF0000000000000ull;
inline constexpr uint32_t kNBreakTop = 0x3FE7FE00;  // 0.749755859375
inline constexpr double db2p45_2p44 = 0x1.8p45;
// Main-route bounds of |zh|: double results normal below 2^1020, single ones above 2^-126.
inline constexpr double kZBoundD = 1020.0;
inline constexpr double kZBoundS = 125.0;

// The constants of the loop, each stored twice side by side so that an aligned load fills a
// register; defined out of line (pow_constants.cpp) so that the loop reads them as memory
// operands instead of rebuilding them from scalars.
struct alignas(16) PowConstants {
  vul fraction, one_exp, high_mask, abs_mask;
  simd::vi nbreak, row_mask, row_round, row_offset_mask;
  vd one, lhn, clv1, clv2, clv3, clv4, clv5, clv6, clv7;
  vd shifter, cev1, cev2, cev3, cev4, cev5, zbound_d, zbound_s;
  vd c1, c2, c3, c4;  // the single route's logarithm: -1/(k ln 2)
};
extern const PowConstants kPowConstants;

[[gnu::always_inline]] inline const PowConstants &constants() {
  // An opaque pointer, so the constants stay memory operands of the arithmetic instead of
  // being hoisted out of the loop into registers (and spilled there by the chains).
  const PowConstants *cp = &kPowConstants;
  __asm__ volatile("" : "+r"(cp));
  return *cp;
}

// log2 x as hi + lo for positive normal x; `N_extra` is added to the exponent (the scalar
// route passes -54 for a denormal x scaled by 2^54, the loop 0).
template <bool Extra = false>
[[gnu::always_inline]] inline simd::vdd log2_dd(vd x, vd N_extra = vd{}) {
  using namespace pow_tables;
  const PowConstants &c = constants();
  const vul ux = (vul)x;
  const vd Y = (vd)((ux & c.fraction) | c.one_exp);
  const vd Yhi = (vd)((vul)Y & c.high_mask);
  const __m128i top = _mm_shuffle_epi32((__m128i)x, _MM_SHUFFLE(3, 1, 3, 1));
  vd N = (vd)_mm_cvtepi32_pd(_mm_srai_epi32(_mm_sub_epi32(top, (__m128i)c.nbreak), 20));
  if constexpr (Extra) N = N + N_extra;
  // row * 8 in both lanes, one transfer to a general register for both offsets
  const __m128i off = _mm_srli_epi32(
      _mm_and_si128(_mm_add_epi32(_mm_and_si128(top, (__m128i)c.row_mask), (__m128i)c.row_round),
                    (__m128i)c.row_offset_mask),
      7);
  const uint64_t offs = uint64_t(_mm_cvtsi128_si64(off));
  const uint64_t o0 = uint32_t(offs), o1 = offs >> 32;
  const char *rb = reinterpret_cast<const char *>(rcp_t1 + 1);
  const char *lb = reinterpret_cast<const char *>(log2_t1);
  const vd rcp = (vd)_mm_loadh_pd(_mm_load_sd(reinterpret_cast<const double *>(rb + o0)),
                                  reinterpret_cast<const double *>(rb + o1));
  const __m128d t0 = _mm_load_pd(reinterpret_cast<const double *>(lb + 2 * o0));
  const __m128d t1 = _mm_load_pd(reinterpret_cast<const double *>(lb + 2 * o1));
  const vd Thi = (vd)_mm_unpacklo_pd(t0, t1), Tlo = (vd)_mm_unpackhi_pd(t0, t1);

  const vd Rhi = c.one - Yhi * rcp;
  const vd Rlo = (Y - Yhi) * rcp;
  const vd R = Rhi - Rlo;
  const vd Rh = (vd)((vul)R & c.high_mask);
  const vd Rl = (Rhi - Rh) - Rlo;
  const vd P = Rh * c.lhn;
  const vd A = N + Thi;
  const vd hi = A + P;
  const vd err = (A - hi) + P;
  const vd R2 = R * R;
  const vd Q = R * c.clv1 +
               R2 * ((c.clv2 + R * c.clv3) + R2 * ((c.clv4 + R * c.clv5) + R2 * (c.clv6 + R * c.clv7)));
  const vd lo = ((Tlo + err) + Rl * c.lhn) + Q;
  return {hi, lo};
}

// y, split as yh + yl, times the double-double L.
[[gnu::always_inline]] inline simd::vdd mul_dd(vd yh, vd yl, simd::vdd L) {
  const PowConstants &c = constants();
  const vd s = L.hi + L.lo;
  const vd hh = (vd)((vul)s & c.high_mask);
  const vd hl = (L.hi - hh) + L.lo;
  const vd zh = yh * hh;
  const vd zl = (yh * hl + yl * hh) + yl * hl;
  return {zh, zl};
}

// 2^(zh + zl) as v = T + rest in [2^-1/256, 2^(1+1/256)) and the bits of t, whose low bits
// hold k.
struct Exp2Parts {
  vd T, rest;
  vul t_bits;
  vd v() const { return T + rest; }
};

// 2^(j/128) in two parts (hi, lo by row): the exponential family's table.
inline constexpr const double *exp2_tbl = exp_tables::s_dwExp2_128;

[[gnu::always_inline]] inline Exp2Parts exp2_parts(vd zh, vd zl) {
  const PowConstants &c = constants();
  const vd t = zh + c.shifter;
  const vd kd = t - c.shifter;
  const vd r = (zh - kd) + zl;
  const uint64_t lows =
      uint64_t(_mm_cvtsi128_si64(_mm_shuffle_epi32((__m128i)t, _MM_SHUFFLE(3, 1, 2, 0))));
  const uint64_t j0 = lows & 127, j1 = (lows >> 32) & 127;
  const __m128d row0 = _mm_load_pd(exp2_tbl + 2 * j0), row1 = _mm_load_pd(exp2_tbl + 2 * j1);
  const vd T = (vd)_mm_unpacklo_pd(row0, row1), Tl = (vd)_mm_unpackhi_pd(row0, row1);
  const vd r2 = r * r;
  const vd p = r * c.cev1 + r2 * ((c.cev2 + r * c.cev3) + r2 * (c.cev4 + r * c.cev5));
  return {T, Tl + T * p, (vul)t};
}

// The main route: the result for each lane, and in `bad` the lanes whose |zh| reaches 1020
// (their z is replaced by 0 before the exponent step, so they raise no flag there; the caller
// sends them to the scalar route).
[[gnu::always_inline]] inline vd main(vd x, vd yh, vd yl, vd &bad) {
  const PowConstants &c = constants();
  const simd::vdd z = mul_dd(yh, yl, log2_dd(x));
  bad = (vd)((vd)((vul)z.hi & c.abs_mask) >= c.zbound_d);
  const Exp2Parts e = exp2_parts(simd::andnot_bits(bad, z.hi), simd::andnot_bits(bad, z.lo));
  return (vd)((vul)e.v() + ((e.t_bits >> 7) << 52));
}

// The single route (see the header): x positive normal, y normal; `bad` marks the lanes
// with |z| >= 125.
[[gnu::always_inline]] inline vd main_single(vd x, vd y, vd &bad) {
  using namespace pow_tables;
  const PowConstants &c = constants();
  const vul ux = (vul)x;
  const vd Y = (vd)((ux & c.fraction) | c.one_exp);
  const __m128i top = _mm_shuffle_epi32((__m128i)x, _MM_SHUFFLE(3, 1, 3, 1));
  const vd N = (vd)_mm_cvtepi32_pd(_mm_srai_epi32(_mm_sub_epi32(top, (__m128i)c.nbreak), 20));
  const __m128i off = _mm_srli_epi32(
      _mm_and_si128(_mm_add_epi32(_mm_and_si128(top, (__m128i)c.row_mask), (__m128i)c.row_round),
                    (__m128i)c.row_offset_mask),
      7);
  const uint64_t offs = uint64_t(_mm_cvtsi128_si64(off));
  const uint64_t o0 = uint32_t(offs), o1 = offs >> 32;
  const char *rb = reinterpret_cast<const char *>(rcp_t1 + 1);
  const char *lb = reinterpret_cast<const char *>(log2_t1);
  const vd rcp = (vd)_mm_loadh_pd(_mm_load_sd(reinterpret_cast<const double *>(rb + o0)),
                                  reinterpret_cast<const double *>(rb + o1));
  const __m128d t0 = _mm_load_pd(reinterpret_cast<const double *>(lb + 2 * o0));
  const __m128d t1 = _mm_load_pd(reinterpret_cast<const double *>(lb + 2 * o1));
  const vd Thi = (vd)_mm_unpacklo_pd(t0, t1), Tlo = (vd)_mm_unpackhi_pd(t0, t1);
  const vd R = c.one - Y * rcp;
  const vd L = (N + Thi) + (Tlo + R * (c.c1 + R * (c.c2 + R * (c.c3 + R * c.c4))));
  vd z = y * L;
  bad = (vd)((vd)((vul)z & c.abs_mask) >= c.zbound_s);
  z = simd::andnot_bits(bad, z);
  const vd t = z + c.shifter;
  const vd r = z - (t - c.shifter);
  const uint64_t lows =
      uint64_t(_mm_cvtsi128_si64(_mm_shuffle_epi32((__m128i)t, _MM_SHUFFLE(3, 1, 2, 0))));
  const vd T = (vd)_mm_loadh_pd(_mm_load_sd(exp2_tbl + 2 * (lows & 127)),
                                exp2_tbl + 2 * ((lows >> 32) & 127));
  const vd v = T + T * (r * (c.cev1 + r * (c.cev2 + r * c.cev3)));
  return (vd)((vul)v + (((vul)t >> 7) << 52));
}

[[gnu::always_inline]] inline void split_y(vd y, vd &yh, vd &yl) {
  yh = (vd)((vul)y & constants().high_mask);
  yl = y - yh;
}

// x^y for x positive (normal or denormal, finite) and y finite and non-zero, x != 1: every
// case the main route leaves, overflow and underflow included, with IEEE results and flags.
// Over the main route's range it gives the main route's value.
double positive_pow(double x, double y);

}  // namespace hpk::vmk::pow_core
