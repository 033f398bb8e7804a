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
// Single kernels run this in double with degree 4 (truncation below 2^-34).
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

}  // namespace hpk::vmk::cbrt_core
