// The packed natural and decimal logarithms of positive normal doubles (Ln, Log10, and the
// single kernels on widened lanes).
//
//   Y    = x with the exponent set to 0, in [1, 2);  Yhi = Y with the low 32 bits cleared
//          (21 significant bits)
//   row  = (((top & 0xFFC00) + 0x400) & 0x1FF800) >> 11, the top 10 fraction bits rounded to
//          9 bits (0..512), centre c = 1 + row/512, rcp ~ 1/c with 32 significant bits
//   N    = the exponent of x counted from 0.74951171875: (top - 0x3FE7FC00) >> 20 (arithmetic),
//          exact as a double.
//          Rows 256..512 then belong to x in [0.7495, 1) * 2^N and hold log(c/2), so x near
//          1 always has N = 0 and a small table value: no cancellation.
//   Rhi  = Yhi * rcp - 1   exact (21 + 32 bits, and the product is within 2^-9 of 1)
//   Rlo  = (Y - Yhi) * rcp,  R = Rhi + Rlo,  |R| <= 2^-10 (1 + 2^-20)
// Ln, with Alo = N * dbLn2lo + T_lo and the mask E of the lanes where Alo is exactly 0 (rows
// 0 and 512 with N = 0, where R = Rhi + Rlo is exact and is the whole leading term):
//   A    = N * dbLn2hi + T_hi        exact (dbLn2hi and T_hi are multiples of 2^-42)
//   hi0  = A + Rhi,  err = (A - hi0) + Rhi   (exact: A = 0 or |A| >= |Rhi|)
//   hi   = hi0 + (E ? Rlo : 0)
//   lo   = ((Alo + err) + (E ? 0 : Rlo)) + R2 * ((P1 + R * P2) + R2 * (P3 + R * P4))
//   result = hi + lo,  R2 = R * R
// Without the mask, Rhi and Rlo (each up to 2^-21) would cancel in lo for x next to 1 and lo's
// rounding would reach the tiny result.
// Log10, with the decimal table, dbLg2hi/lo (multiples of 2^-43) and dbC = 111/256, a leading
// part of 1/ln 10 (7 significant bits):
//   S    = Rhi + (E ? Rlo : 0),  Sh = S with 26 fraction bits, so dbC * Sh is exact
//   L    = (S - Sh) + (E ? 0 : Rlo)
//   A    = N * dbLg2hi + T_hi,  hi = A + dbC * Sh,  err = (A - hi) + dbC * Sh
//   lo   = ((Alo + err) + dbC * L) + R * ((P0 + R * P1) + R2 * ((P2 + R * P3) + R2 * P4))
//   result = hi + lo
// Both sums run from the largest term; the groupings above are the order of evaluation, and
// the test's scalar model follows them. The error is the final rounding plus a few 2^-10 ulp
// from lo (whose terms are at most 2^-9 of the result).
#pragma once

#include <cstdint>

#include "vmk/core/ln/ln_tables.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::ln_core {

using simd::vd;
using simd::vul;

inline constexpr uint64_t kFraction = 0x000FFFFFFFFFFFFFull;
inline constexpr uint64_t kOneExp = 0x3FF0000000000000ull;
inline constexpr uint64_t dbYHiMask = 0x7FFFFFFF00000000ull;
inline constexpr uint64_t dbNSub = 0x3FE7FC0000000000ull;  // 0.74951171875
inline constexpr uint64_t kSplitMask = 0xFFFFFFFFF8000000ull;  // 26 fraction bits
inline constexpr uint32_t kNSubTop = uint32_t(dbNSub >> 32);
inline constexpr double db2pow20p2pow19 = 0x1.8p20;
inline constexpr uint64_t kShifterTop = 0x41380000ull - 1024;  // absorbs the +1024 above

struct LnTraits {
  static constexpr const double *table = ln_tables::BT_Tbl_Ln;
  static constexpr uint64_t hi_bits = 0x3FE62E42FEFA3800ull;  // dbLn2hi
  static constexpr uint64_t lo_bits = 0x3D2EF35793C76730ull;  // dbLn2lo
  static constexpr double dbLn2pow52 = 0x1.205966f2b4f12p+5;  // 52 ln 2 = 36.04365338911715
};

struct Log10Traits {
  static constexpr const double *table = ln_tables::BT_Tbl_Log10;
  static constexpr double dbC = 0.43359375;
  static constexpr double dbLg2pow52 = 0x1.f4e9f6303263ep+3;  // 52 log10 2 = 15.653559774527022
};

inline constexpr double dbP1 = -0x1.ffffffffffca9p-2;  // -0.49999999999995254
inline constexpr double dbP2 = 0x1.555555555512ap-2;   // 0.3333333333332741
inline constexpr double dbP3 = -0x1.00000d588d052p-2;  // -0.2500001988694339
inline constexpr double dbP4 = 0x1.9999b39037e04p-3;   // 0.2000001934420511

// The constants of the loop, each stored twice side by side so that an aligned load fills a
// register, defined out of line (ln_constants.cpp) so that the loop reads them as memory
// operands instead of rebuilding them from scalars.
struct alignas(16) LogConstants {
  vul fraction, one_exp, yhi_mask;
  simd::vi nsub_top, row_mask1, row_round, row_mask2;
  vd one, ln2hi, ln2lo;  // dbLn2hi/lo, or dbLg2hi/lo
  vd p1, p2, p3, p4, p5;  // Ln: dbP1..dbP4; Log10: P0..P4
  vd c, split_mask;       // Log10: dbC and the 26-bit split
};
extern const LogConstants kLnConstants, kLog10Constants;

// The reduction both routes share: x = 2^N Y, Y in [1, 2), a table row by the top bits of Y
// with its reciprocal rcp and the logarithm T = Thi + Tlo of 1/rcp, and R = Y rcp - 1 as the
// exact pair Rhi + Rlo (Yhi has few enough bits that Yhi rcp is exact).
struct Reduced {
  vd N, Thi, Tlo, Rhi, Rlo, R, R2;
};

template <bool Decimal>
[[gnu::always_inline]] inline Reduced reduce(vd x, const LogConstants &c) {
  const double *tab = Decimal ? Log10Traits::table : LnTraits::table;
  const vul ux = (vul)x;
  const vd Y = (vd)((ux & c.fraction) | c.one_exp);
  const vd Yhi = (vd)((vul)Y & c.yhi_mask);
  // The two top words in 32-bit lanes: N by an arithmetic shift (exact, so the conversion by
  // the shifter 2^20 + 2^19 and cvtdq2pd give the same double), the row as a byte offset.
  const __m128i top = _mm_shuffle_epi32((__m128i)x, _MM_SHUFFLE(3, 1, 3, 1));
  const vd N = (vd)_mm_cvtepi32_pd(_mm_srai_epi32(_mm_sub_epi32(top, (__m128i)c.nsub_top), 20));
  const __m128i off = _mm_srli_epi32(
      _mm_and_si128(_mm_add_epi32(_mm_and_si128(top, (__m128i)c.row_mask1), (__m128i)c.row_round),
                    (__m128i)c.row_mask2),
      11 - 5);  // row * 32 bytes
  const char *base = reinterpret_cast<const char *>(tab);
  // both offsets (below 2^15) by pextrw straight into general registers
  const double *r0 = reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 0));
  const double *r1 = reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 2));
  const __m128d b0 = _mm_load_pd(r0 + 2), b1 = _mm_load_pd(r1 + 2);
  const vd rcp = (vd)_mm_loadh_pd(_mm_load_sd(r0), r1);
  const vd Thi = (vd)_mm_unpacklo_pd(b0, b1), Tlo = (vd)_mm_unpackhi_pd(b0, b1);

  const vd Rhi = Yhi * rcp - c.one;
  const vd Rlo = (Y - Yhi) * rcp;
  const vd R = Rhi + Rlo;
  const vd R2 = R * R;
  return {N, Thi, Tlo, Rhi, Rlo, R, R2};
}

// An opaque pointer to the constants, so they stay memory operands of the arithmetic instead of
// being hoisted out of the loop into registers (and spilled there by the four chains).
template <bool Decimal>
[[gnu::always_inline]] inline const LogConstants &constants() {
  const LogConstants *cp = Decimal ? &kLog10Constants : &kLnConstants;
  __asm__ volatile("" : "+r"(cp));
  return *cp;
}

// ln x = hi + lo for positive normal x before the last sum (|lo| below an ulp of hi): the
// natural route, for callers that carry the logarithm on as a double-double.
[[gnu::always_inline]] inline simd::vdd ln_parts(vd x) {
  const LogConstants &c = constants<false>();
  const Reduced q = reduce<false>(x, c);
  const vd N = q.N, Thi = q.Thi, Tlo = q.Tlo, Rhi = q.Rhi, Rlo = q.Rlo, R = q.R, R2 = q.R2;
  const vd Alo = N * c.ln2lo + Tlo;
  const vd exact = (vd)(Alo == 0.0);  // rows 0 and 512 with N = 0: Rhi + Rlo is exact
  const vd A = N * c.ln2hi + Thi;
  const vd hi0 = A + Rhi;
  const vd err = (A - hi0) + Rhi;
  const vd hi = hi0 + simd::and_bits(exact, Rlo);
  const vd lo = ((Alo + err) + simd::andnot_bits(exact, Rlo)) +
                R2 * ((c.p1 + R * c.p2) + R2 * (c.p3 + R * c.p4));
  return {hi, lo};
}

template <bool Decimal>
[[gnu::always_inline]] inline vd main(vd x) {
  if constexpr (!Decimal) {
    const simd::vdd p = ln_parts(x);
    return p.hi + p.lo;
  } else {
    const LogConstants &c = constants<true>();
    const Reduced q = reduce<true>(x, c);
    const vd N = q.N, Thi = q.Thi, Tlo = q.Tlo, Rhi = q.Rhi, Rlo = q.Rlo, R = q.R, R2 = q.R2;
    const vd Alo = N * c.ln2lo + Tlo;
    const vd exact = (vd)(Alo == 0.0);
    const vd S = Rhi + simd::and_bits(exact, Rlo);
    const vd Sh = simd::and_bits(S, c.split_mask);
    const vd L = (S - Sh) + simd::andnot_bits(exact, Rlo);
    const vd A = N * c.ln2hi + Thi;
    const vd CSh = c.c * Sh;
    const vd hi = A + CSh;
    const vd err = (A - hi) + CSh;
    const vd lo = ((Alo + err) + c.c * L) +
                  R * ((c.p1 + R * c.p2) + R2 * ((c.p3 + R * c.p4) + R2 * c.p5));
    return hi + lo;
  }
}

// The single route, in double lanes (single inputs, denormals included, are normal doubles):
//   row  = (((top & 0xFE000) + 0x2000) & 0x1FC000) >> 14, the top 7 fraction bits of Y rounded
//          to 6 bits (0..64), (rcp, T) = BT_Tbl_LnSingle[row] (1040 bytes)
//   N    = (top - 0x3FE7E000) >> 20, the exponent counted from 0.74609375, where rows 32..64
//          begin, so x near 1 has N = 0 and a table value of 0 (rows 0 and 64)
//   R    = Y * rcp - 1 (|R| <= 2^-7; exact in rows 0 and 64)
//   ln x = (N ln 2 + T) + R + R^2 (-1/2 + R (1/3 + R (-1/4 + R / 5)))   (truncation < 2^-37)
//   log10 x = ln x * (1/ln 10)
// The double result is within 2^-48 of the value, so the single rounding is correct but for
// the rare value within 2^-24 ulp of a half-way point.
struct alignas(16) LogSingleConstants {
  vul fraction, one_exp;
  simd::vi nsub_top, row_mask1, row_round, row_mask2;
  vd one, ln2, q2, q3, q4, q5, inv_ln10;
};
extern const LogSingleConstants kLogSingleConstants;

template <bool Decimal>
[[gnu::always_inline]] inline vd main_single(vd x) {
  const LogSingleConstants *cp = &kLogSingleConstants;
  __asm__ volatile("" : "+r"(cp));
  const LogSingleConstants &c = *cp;
  const vul ux = (vul)x;
  const vd Y = (vd)((ux & c.fraction) | c.one_exp);
  const __m128i top = _mm_shuffle_epi32((__m128i)x, _MM_SHUFFLE(3, 1, 3, 1));
  const vd N = (vd)_mm_cvtepi32_pd(_mm_srai_epi32(_mm_sub_epi32(top, (__m128i)c.nsub_top), 20));
  const __m128i off = _mm_srli_epi32(
      _mm_and_si128(_mm_add_epi32(_mm_and_si128(top, (__m128i)c.row_mask1), (__m128i)c.row_round),
                    (__m128i)c.row_mask2),
      14 - 4);  // row * 16 bytes
  const char *base = reinterpret_cast<const char *>(ln_tables::BT_Tbl_LnSingle);
  const __m128d a0 = _mm_load_pd(reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 0)));
  const __m128d a1 = _mm_load_pd(reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 2)));
  const vd rcp = (vd)_mm_unpacklo_pd(a0, a1), T = (vd)_mm_unpackhi_pd(a0, a1);
  const vd R = Y * rcp - c.one;
  const vd lnx = (N * c.ln2 + T) + (R + (R * R) * (c.q2 + R * (c.q3 + R * (c.q4 + R * c.q5))));
  if constexpr (Decimal) return lnx * c.inv_ln10;
  else return lnx;
}

// The rare-path table (_dLn_Scalar, _dLg_Scalar) for all inputs outside the positive normal
// range, status in `status`:
//   +-0 -> -inf, 2;   negative non-zero or -inf -> the default NaN, 1;
//   +inf -> +inf;     NaN -> the same NaN quieted;
//   positive denormal -> the main route on x * 2^52, minus 52 log(2).
template <bool Decimal>
inline double scalar(double x, int &status) {
  status = 0;
  if (x != x) return x + x;
  if (x == 0.0) {
    status = 2;
    return -__builtin_inf();
  }
  if (x < 0.0) {
    status = 1;
    return simd::from_bits(0xFFF8000000000000ull);
  }
  if (x == __builtin_inf()) return x;
  if (x < 0x1p-1022) {
    const double sub = Decimal ? Log10Traits::dbLg2pow52 : LnTraits::dbLn2pow52;
    return main<Decimal>(simd::splat(x * 0x1p52))[0] - sub;
  }
  return main<Decimal>(simd::splat(x))[0];
}

}  // namespace hpk::vmk::ln_core
