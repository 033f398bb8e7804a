// The packed gamma function of TGamma, on double lanes (the single kernel widens its lanes).
//
// Main route, for -10 < x <= 171, |x| >= 2^-1000, x not a negative integer:
//   1. Shift up. With k the least integer making t = x + k >= 10 (k = 0 for x >= 10),
//        Gamma(x) = Gamma(x + k) / P,   P = x (x + 1) ... (x + k - 1).
//      Each factor x + j is formed exactly as a two_sum (sh, sl) (it may need more bits than
//      x: -2 + 2^-52 plus 4 does not fit in one double), and P is carried as a double-double (Ph, Pl): every step is a two_prod
//      of Ph with sh plus the small cross terms, so P keeps about 2^-100 relative per step and
//      the factor nearest a pole is exact, which keeps relative accuracy between the poles.
//   2. Stirling's series in log2 units for the rounded t = sh (>= 10):
//        log2 Gamma(t) = (t - 1/2) log2 t - t log2 e + log2(2 pi)/2 + S(1/t)
//      log2 t comes from the power family's double-double log2 (error below 2^-64 of log2 t),
//      (t - 1/2) log2 t from its exact split product, t log2 e from a 26-bit split of log2 e
//      (t times the high part exact). The series S (nine terms, truncation below 2^-60.7,
//      see gen_tgamma_tables.py) is at most 0.012 and is added to the high part through a
//      two_sum, as is log2(2 pi)/2, so the low part stays below 2^-14 for the exponential.
//      The part sl that the rounding of t = x + k dropped (|sl| <= 2^-50) enters as
//      sl psi(t) log2 e ~ sl (log2 t - log2 e / (2t)), whose own error is below 2^-60.
//   3. 2^(hi + lo) = (T + rest) 2^m from the power family's exponential (T from the 2^(j/128)
//      table, |rest| <= 2^-7 T), and the quotient by P in one correction step:
//        q = T / Ph,  e = (T - q Ph) exact,  res = q + ((e + rest) - q Pl) / Ph,
//      then m is added to the exponent field (res and the result are normal on this route).
// Error: the log2 of the result is off by at most ~2^-56 absolute at t = 171 (|z| ~ 1020, the
// log2 error times t - 1/2), smaller below; with the quotient's ~2^-60 and the final rounding
// the result stays below 0.6 ulp (the figures measured are in docs/accuracy.md).
#pragma once

#include <cstdint>

#include "vmk/core/pow/pow_core.hpp"
#include "vmk/core/tgamma/tgamma_tables.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::tgamma_core {

using simd::vd;
using simd::vul;

inline constexpr double kShiftEdge = tgamma_tables::kStirlingStart;
inline constexpr double kShiftEdgeSingle = 5.0;
inline constexpr double kMainLo = -10.0;      // main route: x > kMainLo
inline constexpr double kMainHi = 171.0;      // and x <= kMainHi (results below 2^1020)
// and |x| >= kTinyD: the quotient q ~ 1/(x 9!) and its Dekker split 2^27 q stay finite
inline constexpr double kTinyD = 0x1p-1000;
inline constexpr double kRoundShift = 0x1.8p52;

// 2^(log2 Gamma(t)) for t >= 10 (rounded) plus the part sl dropped by its rounding, as the
// exponential's parts: Gamma(t + sl) = (T + rest) 2^m, m in the top bits of t_bits.
[[gnu::always_inline]] inline pow_core::Exp2Parts stirling(vd t, vd sl) {
  using namespace tgamma_tables;
  const simd::vdd L = pow_core::log2_dd(t);
  vd yh, yl;
  pow_core::split_y(t - simd::splat(0.5), yh, yl);  // t - 1/2 exact for t >= 1
  const simd::vdd Z = pow_core::mul_dd(yh, yl, L);
  const vd th = (vd)((vul)t & pow_core::constants().high_mask), tt = t - th;
  const vd ph = th * simd::splat(kLog2eHi);  // exact: 26 by 26 bits
  const vd pl = (th * simd::splat(kLog2eLo) + tt * simd::splat(kLog2eHi)) + tt * simd::splat(kLog2eLo);
  const vd w = simd::splat(1.0) / t, w2 = w * w;
  vd s = simd::splat(kStirling[8]);
  for (int k = 7; k >= 0; --k) s = s * w2 + simd::splat(kStirling[k]);
  s = s * w;
  const simd::vdd c = simd::two_sum(simd::splat(kHalfLog2TwoPiHi), s);
  const simd::vdd a = simd::two_sum(Z.hi, -ph);
  const simd::vdd b = simd::two_sum(a.hi, c.hi);
  const vd corr = sl * (L.hi - simd::splat(0.5 * kLog2eHi) * w);
  const vd lo = (((((a.lo + b.lo) + c.lo) + Z.lo) - pl) + simd::splat(kHalfLog2TwoPiLo)) + corr;
  return pow_core::exp2_parts(b.hi, lo);
}

// The number of shift steps per lane, n = ceil(edge - x) for x < edge (0 above), and the
// largest of the lanes. n is decided before the product so that the product's chain is the
// loop's only carried dependency. Where edge - x rounds, t = x + n may fall below the edge
// by an ulp, which the series tolerates.
[[gnu::always_inline]] inline int shift_steps(vd x, vd edge, vd &n) {
  const vd d = simd::vmax(edge - x, vd{});
  const vd r = (d + simd::splat(kRoundShift)) - simd::splat(kRoundShift);
  n = r + simd::and_bits((vd)(r < d), simd::splat(1.0));
  return int(simd::vmax(n, (vd)_mm_unpackhi_pd((__m128d)n, (__m128d)n))[0]);
}

// The main route for lanes that lie on it (the caller puts a harmless value in the others).
[[gnu::always_inline]] inline vd main(vd x) {
  const vd one = simd::splat(1.0);
  vd n;
  const int steps = shift_steps(x, simd::splat(kShiftEdge), n);
  if (__builtin_expect(steps == 0, 1)) {
    const pow_core::Exp2Parts e = stirling(x, vd{});
    return (vd)((vul)e.v() + ((e.t_bits >> 7) << 52));
  }
  vd Ph = one, Pl = vd{};
  for (int j = 0; j < steps; ++j) {
    const vd k = simd::splat(double(j));
    const vd m = (vd)(k < n);
    const simd::vdd f = simd::two_sum(x, k);
    const vd fh = simd::select(m, f.hi, one), fl = simd::and_bits(m, f.lo);
    const simd::vdd hs = simd::split(Ph), fs = simd::split(fh);
    const vd p = Ph * fh;
    const vd e = ((hs.hi * fs.hi - p) + hs.hi * fs.lo + hs.lo * fs.hi) + hs.lo * fs.lo;
    Pl = e + (Ph * fl + Pl * fh);
    Ph = p;
  }
  const simd::vdd t = simd::two_sum(x, n);
  const pow_core::Exp2Parts e = stirling(t.hi, t.lo);
  const vd q = e.T / Ph;
  const simd::vdd qp = simd::split(q), ps = simd::split(Ph);
  const vd pp = q * Ph;
  const vd pe = ((qp.hi * ps.hi - pp) + qp.hi * ps.lo + qp.lo * ps.hi) + qp.lo * ps.lo;
  const vd res = q + (((e.T - pp) - pe + e.rest) - q * Pl) / Ph;
  return (vd)((vul)res + ((e.t_bits >> 7) << 52));
}

// The route of the single kernel on widened lanes, which needs about 2^-35 relative: the
// shift stops at t >= 5, where the nine terms of the series leave below 2^-43, and P is a
// plain double (at most 15 roundings, 2^-49 relative).
[[gnu::always_inline]] inline vd main_single(vd x) {
  const vd one = simd::splat(1.0);
  vd n;
  const int steps = shift_steps(x, simd::splat(kShiftEdgeSingle), n);
  vd P = one;
  for (int j = 0; j < steps; ++j) {
    const vd k = simd::splat(double(j));
    P = P * simd::select((vd)(k < n), x + k, one);
  }
  const pow_core::Exp2Parts e = stirling(x + n, vd{});
  return (vd)((vul)(e.v() / P) + ((e.t_bits >> 7) << 52));
}

// Lanes of x that the main route does not serve: NaN, infinities, x <= -10, x > 171,
// |x| < 2^-1000 (zero included), negative integers.
[[gnu::always_inline]] inline vd off_route(vd x) {
  const vd ax = simd::and_bits(x, (vd)vul{0x7FFFFFFFFFFFFFFFull, 0x7FFFFFFFFFFFFFFFull});
  const vd on = (vd)((x > simd::splat(kMainLo)) & (x <= simd::splat(kMainHi)) &
                     (ax >= simd::splat(kTinyD)));
  const vd r = (x + simd::splat(kRoundShift)) - simd::splat(kRoundShift);  // exact for |x| < 2^51
  const vd negint = (vd)((r == x) & (x < vd{}));
  return simd::or_bits(simd::andnot_bits(on, (vd)vul{~0ull, ~0ull}), negint);
}

}  // namespace hpk::vmk::tgamma_core

namespace hpk::vmk {
// Gamma of one element through its address, correct for every input; the status of the element
// is returned (tgamma.cpp tells which).
int vdtgamma_cout_rare(const double *in, double *out);
int vstgamma_cout_rare(const float *in, float *out);
}  // namespace hpk::vmk
