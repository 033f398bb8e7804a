// Cube root and reciprocal cube root of normal doubles, shared by Cbrt and InvCbrt.
//
// Reduction 3 to 1: |x| = 2^(3(q - 341) + rem) * m with m in [1, 2), from the biased exponent
// be = 3q + rem, q = (be * 0x1556) >> 14 (exact floor(be / 3) for be < 2^12: the multiplier
// exceeds 2^14/3 by 2/3, too little to carry a fraction of at most 2/3 past an integer).
// j, the top 5 fraction bits of m, picks s_dwRcp[j] ~ 1 / (m's interval centre), and
//     r = m * s_dwRcp[j] - 1 = (mhi * rcp - 1) + mlo * rcp,   |r| <= 2^-6,
// where mhi (top 21 bits of m) times the 24-bit reciprocal is exact, so r carries only the
// rounding of the small mlo term and of the last addition. Then
//     cbrt(x)   = +-2^(q - 341) * T * (1 + r)^(1/3),  T = cbrt(2^rem / rcp)   (s_dwCbrtHi/Lo)
//     1/cbrt(x) = +-2^(341 - q) * T' * (1 + r)^(-1/3), T' = cbrt(rcp / 2^rem) (s_dwInvCbrtHi/Lo)
// with the Taylor polynomials of degree 8 (truncation below 2^-60 at |r| = 2^-6):
//     result = Thi + (Tlo + Thi * P(r)),
// the correction being below 2^-7 of the result, so the result is the exact value rounded once
// plus under 2^-6 ulp. The power of two goes into the exponent field by an integer addition;
// results of normal inputs are always normal (|cbrt| in [2^-341, 2^342)).
// Single kernels reduce the single value itself, four lanes of integers at a time: with
// be + 2 = 3q + rem (the bias 127 is 3 * 43 - 2), |x| = 2^(3(q - 43) + rem) * m, and
// be + 2 < 2^9 makes the division by 3 one 16-bit multiply-add. m (24 bits) times the 24-bit
// reciprocal is exact in double, the polynomial has degree 4 (truncation below 2^-34), the high
// table part suffices, and the double result is rounded once to single.
#pragma once

#include <cstdint>

#include "vmk/core/cbrt/cbrt_tables.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::cbrt_core {

using simd::vd;
using simd::vul;

inline constexpr uint64_t dbHi = 0xFFFFFFFF00000000ull;
inline constexpr uint64_t kSign = 0x8000000000000000ull;
inline constexpr uint64_t kFraction = 0x000FFFFFFFFFFFFFull;
inline constexpr uint64_t kOneExp = 0x3FF0000000000000ull;
inline constexpr uint32_t kDiv3 = 0x1556;  // 2^14 / 3, rounded up
inline constexpr uint64_t kThirdBias = 341;  // 1023 / 3

template <bool Inverse, int Degree>
inline vd main(vd x) {
  using namespace cbrt_tables;
  const double *poly = Inverse ? kInvCbrtPoly : kCbrtPoly;
  const double *hi_tab = Inverse ? s_dwInvCbrtHi : s_dwCbrtHi;
  const double *lo_tab = Inverse ? s_dwInvCbrtLo : s_dwCbrtLo;

  const vul ux = (vul)x;
  const vul sign = ux & kSign;
  const vul be = (ux & ~kSign) >> 52;
  const vul j = (ux >> 47) & 31u;
  const vul q = (vul)_mm_mul_epu32((__m128i)be, _mm_set1_epi32(kDiv3)) >> 14;
  const vul idx = ((be - (q + q + q)) << 5) | j;

  const vd m = (vd)((ux & kFraction) | kOneExp);
  const vd mhi = (vd)((vul)m & dbHi);
  const vd mlo = m - mhi;
  const vd rcp = {s_dwRcp[j[0]], s_dwRcp[j[1]]};
  const vd r = (mhi * rcp - 1.0) + mlo * rcp;

  // Estrin's scheme: pairs of terms, then powers r^2, r^4, to keep the dependent chain short.
  const vd r2 = r * r;
  vd p;
  if constexpr (Degree == 8) {
    const vd r4 = r2 * r2;
    const vd p01 = poly[0] + poly[1] * r, p23 = poly[2] + poly[3] * r;
    const vd p45 = poly[4] + poly[5] * r, p67 = poly[6] + poly[7] * r;
    p = r * ((p01 + r2 * p23) + r4 * (p45 + r2 * p67));
  } else {
    static_assert(Degree == 4);
    p = r * ((poly[0] + poly[1] * r) + r2 * (poly[2] + poly[3] * r));
  }

  const vd t_hi = {hi_tab[idx[0]], hi_tab[idx[1]]};
  const vd t_lo = {lo_tab[idx[0]], lo_tab[idx[1]]};
  const vd res = t_hi + (t_lo + t_hi * p);
  const vul scale = (Inverse ? kThirdBias - q : q - kThirdBias) << 52;
  return (vd)(((vul)res + scale) | sign);
}

template <bool Inverse>
inline simd::vf single_main(simd::vf x) {
  using namespace cbrt_tables;
  using simd::vui;
  const double *poly = Inverse ? kInvCbrtPoly : kCbrtPoly;
  const double *hi_tab = Inverse ? s_dwInvCbrtHi : s_dwCbrtHi;

  const vui ux = (vui)x;
  const vui sign = ux & 0x80000000u;
  const vui be2 = ((ux >> 23) & 0xFFu) + 2u;
  const vui j = (ux >> 18) & 31u;
  const vui q = (vui)_mm_madd_epi16((__m128i)be2, _mm_set1_epi32(kDiv3)) >> 14;
  const vui idx = ((be2 - (q + q + q)) << 5) | j;
  const __m128 m = (__m128)((ux & 0x007FFFFFu) | 0x3F800000u);
  // Exponent offsets of the four results, as 64-bit lanes for the double halves.
  const vui k = Inverse ? 43u - q : q - 43u;
  const __m128i k_sign = _mm_srai_epi32((__m128i)k, 31);
  const vul k_lo = (vul)_mm_unpacklo_epi32((__m128i)k, k_sign) << 52;
  const vul k_hi = (vul)_mm_unpackhi_epi32((__m128i)k, k_sign) << 52;

  auto half = [&](vd mm, int l, vul scale) {
    const vd rcp = {s_dwRcp[j[l]], s_dwRcp[j[l + 1]]};
    const vd t = {hi_tab[idx[l]], hi_tab[idx[l + 1]]};
    const vd r = mm * rcp - 1.0;
    const vd r2 = r * r;
    const vd p = r * ((poly[0] + poly[1] * r) + r2 * (poly[2] + poly[3] * r));
    return (vd)((vul)(t + t * p) + scale);
  };
  const vd lo = half((vd)_mm_cvtps_pd(m), 0, k_lo);
  const vd hi = half((vd)_mm_cvtps_pd(_mm_movehl_ps(m, m)), 2, k_hi);
  const vui res = (vui)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)lo), _mm_cvtpd_ps((__m128d)hi));
  return (simd::vf)(res | sign);
}

}  // namespace hpk::vmk::cbrt_core
