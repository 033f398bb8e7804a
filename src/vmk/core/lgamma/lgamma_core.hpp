// The packed route of LGamma on double lanes, for 2^-1022 <= x < 2^990 (the single kernel
// widens its lanes and rounds once). Three classes of lane:
//
//   middle  0.25 <= x < 64: interval rows. The sixteenth of a binade of x picks row k of
//           kRows, c its expansion point, r = x - c (exact):
//             p  = r (a2 + a3 r + ... + a9 r^7)                       (Horner)
//             s  = a1 + p as sh + sl, sh the top 26 bits;  r = rh + rl the same way
//             (Sh, Sl) = two_sum(F(c)hi, rh sh)                      (rh sh is exact)
//             lgamma x = Sh + (Sl + ((rl sl + rh sl) + rl sh + F(c)lo))
//           The rows next to the zeros at 1 and 2 expand at the zero, where F(c) = 0: the
//           result is then rh sh (exact) plus terms below 2^-24 of it, so the relative error
//           stays near half an ulp however close x comes to the zero. The fit error of the rows
//           is below 2^-55.8 of lgamma x (the generator prints it; the worst rows are the two
//           at the zeros, all others are below 2^-58).
//   small   x < 0.25: lgamma x = lgamma(1 + x) - log x, the first term from five more rows
//           (expanded at 0 for x < 1/16, |lgamma(1 + x)| < 0.13 < 0.1 |log x|), log x as a
//           double-double from the logarithm's table: (Z, z) = two_sum(F hi, -log hi), result
//           Z + ((z + F lo) - log lo).
//   large   x >= 64: Stirling, with L = log x as Lh + Ll (error below 2^-62 relative) and
//           (uh, ul) = two_sum(Lh, -1):
//             lgamma x = x uh (exact as P + p) + [(p + x (ul + Ll)) + ((C - Lh/2) - Ll/2 + S/x)]
//           C = log(2 pi)/2, S a degree-4 fit in 1/x^2 (error below 2^-71 of lgamma x). The
//           bracket is below a fortieth of the result, so its roundings add about a hundredth
//           of an ulp to the final rounding.
// A pair whose lanes are all in one class computes that class alone; a mixed pair computes the
// classes it holds and selects. Measured against MPFR (tools/oracle/cases_gamma_l.cpp, 20000
// samples per range): at most 0.71 ulp over x > 0, the largest in the row at the zero 1.
#pragma once

#include <cstdint>

#include "vmk/core/lgamma/lgamma_sinpi.hpp"
#include "vmk/core/lgamma/lgamma_tables.hpp"
#include "vmk/core/ln/ln_core.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::lgamma {

using simd::vd;
using simd::vdd;
using simd::vl;

inline constexpr uint64_t kHighMask = 0xFFFFFFFFF8000000ull;  // sign, exponent, top 25 fraction bits
inline constexpr uint32_t kMidBase = 0x3FD00000;             // 0.25
inline constexpr int kLastMidRow = 127, kSmallRows = 128;
inline constexpr double kSmallEnd = 0.25, kLargeFrom = 64.0;
inline constexpr double kHalfLog2Pi = 0x1.d67f1c864beb5p-1;  // log(2 pi)/2 = 0.91893853320467...

// Row of one lane (x in the main range).
inline int row_of(double x) {
  const uint32_t top = uint32_t(simd::bits(x) >> 32);
  if (top < kMidBase) {
    // 0x7F5: the top word of 1/16 shifted by 19 (exponent and first fraction bit), minus one
    const int k = int(top >> 19) - 0x7F5;
    return kSmallRows + (k > 0 ? k : 0);
  }
  const uint32_t k = (top - kMidBase) >> 16;
  return k > uint32_t(kLastMidRow) ? kLastMidRow : int(k);
}

inline vd high_part(vd v) { return simd::and_bits(v, (vd)(vl{} + int64_t(kHighMask))); }

// The row value F(x) as hi + lo (unrounded), F = lgamma or lgamma(1 + x) by the row.
[[gnu::always_inline]] inline vdd row_value(vd x) {
  const double *P0 = lgamma_tables::kRows[row_of(x[0])];
  const double *P1 = lgamma_tables::kRows[row_of(x[1])];
  auto entry = [&](int j) { return vd{P0[j], P1[j]}; };
  const vd r = x + entry(15);
  vd p = entry(11);
#pragma GCC unroll 8
  for (int j = 10; j >= 4; --j) p = p * r + entry(j);
  p = p * r;
  const vd a1 = entry(2);
  const vd s = a1 + p;
  const vd sh = high_part(s);
  const vd sl = ((a1 - sh) + p) + entry(3);
  const vd rh = high_part(r);
  const vd rl = r - rh;
  const vdd S = simd::two_sum(entry(1), rh * sh);
  return {S.hi, S.lo + ((((rl * sl + rh * sl) + rl * sh)) + entry(0))};
}

// log x as hi + lo for x normal and outside [0.25, 64) (so the exponent N is not 0 and the
// table part dominates R): the logarithm's packed route with its last addition left undone.
[[gnu::always_inline]] inline vdd log_parts(vd x) {
  using namespace ln_core;
  const LogConstants &c = kLnConstants;
  const simd::vul ux = (simd::vul)x;
  const vd Y = (vd)((ux & c.fraction) | c.one_exp);
  const vd Yhi = (vd)((simd::vul)Y & c.yhi_mask);
  const __m128i top = _mm_shuffle_epi32((__m128i)x, _MM_SHUFFLE(3, 1, 3, 1));
  const vd N = (vd)_mm_cvtepi32_pd(_mm_srai_epi32(_mm_sub_epi32(top, (__m128i)c.nsub_top), 20));
  const __m128i off = _mm_srli_epi32(
      _mm_and_si128(_mm_add_epi32(_mm_and_si128(top, (__m128i)c.row_mask1), (__m128i)c.row_round),
                    (__m128i)c.row_mask2),
      11 - 5);
  const char *base = reinterpret_cast<const char *>(LnTraits::table);
  const double *r0 = reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 0));
  const double *r1 = reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 2));
  const __m128d b0 = _mm_load_pd(r0 + 2), b1 = _mm_load_pd(r1 + 2);
  const vd rcp = (vd)_mm_loadh_pd(_mm_load_sd(r0), r1);
  const vd Thi = (vd)_mm_unpacklo_pd(b0, b1), Tlo = (vd)_mm_unpackhi_pd(b0, b1);
  const vd Rhi = Yhi * rcp - c.one;
  const vd Rlo = (Y - Yhi) * rcp;
  const vd R = Rhi + Rlo;
  const vd R2 = R * R;
  const vd A = N * c.ln2hi + Thi;  // exact
  const vd hi = A + Rhi;
  const vd err = (A - hi) + Rhi;  // exact: |A| >= ln 2 / 2 > |Rhi|
  const vd lo = (((N * c.ln2lo + Tlo) + err) + Rlo) +
                R2 * ((c.p1 + R * c.p2) + R2 * (c.p3 + R * c.p4));
  return {hi, lo};
}

[[gnu::always_inline]] inline vd stirling(vd x, vdd L) {
  const vdd u = simd::two_sum(L.hi, simd::splat(-1.0));
  // x uh exactly: x < 2^990 keeps the split's 2^27 x finite
  const vd P = x * u.hi;
  const vdd xs = simd::split(x), us = simd::split(u.hi);
  const vd p = ((xs.hi * us.hi - P) + xs.hi * us.lo + xs.lo * us.hi) + xs.lo * us.lo;
  const vd ix = simd::splat(1.0) / x;
  const vd z = ix * ix;
  const double *k = lgamma_tables::kStirling;
  const vd S = (((k[4] * z + k[3]) * z + k[2]) * z + k[1]) * z + k[0];
  const vd half = simd::splat(0.5);
  return P + ((p + x * (u.lo + L.lo)) + (((kHalfLog2Pi - half * L.hi) - half * L.lo) + ix * S));
}

// lgamma on both lanes, each in [2^-1022, 2^990).
[[gnu::always_inline]] inline vd main_route(vd x) {
  const vd small = (vd)(x < kSmallEnd), large = (vd)(x >= kLargeFrom);
  const int ms = simd::movemask(small), ml = simd::movemask(large);
  if (__builtin_expect((ms | ml) == 0, 1)) {
    const vdd F = row_value(x);
    return F.hi + F.lo;
  }
  const vdd L = log_parts(x);
  if (ml == 3) return stirling(x, L);
  const vdd F = row_value(x);
  const vd Lh = simd::and_bits(small, L.hi), Ll = simd::and_bits(small, L.lo);
  const vdd Z = simd::two_sum(F.hi, -Lh);
  const vd y = Z.hi + ((Z.lo + F.lo) - Ll);
  if (ml == 0) return y;
  return simd::select(large, stirling(x, L), y);
}

// The reflection for negative non-integer lanes of the single kernel (x a widened single,
// -2^20 < x < 0), on double lanes, with B = lgamma|x| from main_route:
//   n = x rounded to the nearest integer (the shifter 2^52 + 2^51; round to nearest holds),
//   f = x - n exactly, |f| <= 1/2, s = sin(pi f) = f P(f^2) (lgamma_sinpi.hpp, relative error a
//   few 2^-53), lgamma x = log(pi / (|x| |s|)) - B, the logarithm from the Ln core.
// Every step but the last carries a relative error of a few 2^-53, so the result is within
// about 2^-50 (1 + |B|) of lgamma x (|log q| <= |B| + |lgamma x| + 1). A lane is kept where
// |lgamma x| >= 2^-20 (1 + |B|): there this adds at most 2^-6 ulp of single to the one final
// rounding. The others lie next to a negative zero of lgamma, or at a pole (f = 0); `keep`
// clears them and the caller sends them to the rare routine.
[[gnu::always_inline]] inline vd reflect_single(vd x, vd B, vd &keep) {
  const vd shifter = simd::splat(0x1.8p52);
  const vd n = (x + shifter) - shifter;
  const vd f = x - n;
  const vd f2 = f * f;
  const double *c = lgamma_tables::kSinPi;
  vd P = simd::splat(c[10]);
#pragma GCC unroll 10
  for (int j = 9; j >= 0; --j) P = P * f2 + c[j];
  const vd sign = simd::splat(-0.0);
  const vd t = simd::andnot_bits(sign, x);
  const vd s = simd::andnot_bits(sign, f * P);
  const vd A = ln_core::main<false>(simd::splat(lgamma_tables::kSinPi[0]) / (t * s));
  const vd y = A - B;
  const vd bound = (simd::splat(1.0) + simd::andnot_bits(sign, B)) * 0x1p-20;
  keep = simd::and_bits((vd)(f != 0.0), (vd)(simd::andnot_bits(sign, y) >= bound));
  return y;
}

}  // namespace hpk::vmk::lgamma
