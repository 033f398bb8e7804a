// The packed double-double route of the double complex logarithms (zLn, zLog10), two elements
// a pass under control scheme A.
//   s = x^2 + y^2 as a pair (sh, sl): each square exact by TwoProd, the two high parts by
//     TwoSum, the three rounding errors added in double: |s - sh - sl| <= about 2^-104 s.
//   ln s = ln(sh) + sl/sh, ln(sh) as the unrounded parts (H, L) of the real Ln core
//     (ln_core.hpp: within a few 2^-10 ulp before its rounding); sl/sh is below 2^-52 and its
//     own error (2^-105 relative) is far below that.
//   arg = the packed atan2 of the inverse trigonometric core, its parts before the final sum.
//   Ln:    re = (H + (L + sl/sh)) / 2,  im = arg;  each part one rounding.
//   Log10: both pairs times 1/ln 10 = K_hi + K_lo: TwoProd(hi, K_hi) + (err + hi K_lo +
//          lo K_hi), one rounding.
// Lanes off the route (kept for the extended element route by the caller's mask):
//   a non-finite part; both parts zero; a non-zero part outside [2^-450, 2^450] (the squares
//   and their error terms stay normal, the quotient y/x of atan2 stays normal, so no result is
//   subnormal); |sh - 1| < 2^-40, where ln s is so small that the 2^-104 of the square sum
//   would reach 2^-64 of it.
// Within the route each part is within 0.5 ulp + about 2^-8 ulp.
#pragma once

#include <emmintrin.h>

#include "hpk/vmk.h"
#include "vmk/core/atan/inverse_core.hpp"
#include "vmk/core/heap/celem/log_kernel.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/core/ln/ln_core.hpp"
#include "vmk/core/sin/trig_core.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::ln_complex {

using simd::vd;

inline constexpr double kInvLn10Hi = 0x1.bcb7b1526e50ep-2;
inline constexpr double kInvLn10Lo = 0x1.95355baaafad3p-57;

// ln x for positive normal x as hi + lo (unrounded), the steps of ln_core::main<false>.
[[gnu::always_inline]] inline void ln_pair(vd x, vd &hi_out, vd &lo_out) {
  const simd::vdd p = ln_core::ln_parts(x);
  hi_out = p.hi;
  lo_out = p.lo;
}

// atan2(y, x) as hi + lo (hi + lo rounds to inverse::atan2_main), same domain.
[[gnu::always_inline]] inline void atan2_pair(vd y, vd x, vd &hi, vd &lo) {
  using namespace inverse;
  const vd ay = vabs(y), ax = vabs(x);
  const vd swap = lt(ax, ay);
  const vd n = sel(swap, ax, ay), d = sel(swap, ay, ax);
  const vd t = n / d;
  vd p, pe;
  trig::two_prod(t, d, p, pe);
  const vd t_lo = ((n - p) - pe) / d;
  AtanParts a = atan_parts(t, t_lo);
  const vd neg_x = lt(x, vd{});
  const vd sigma = simd::and_bits(simd::splat(-0.0), (vd)_mm_xor_pd((__m128d)swap, (__m128d)neg_x));
  const vd k_hi = sel(swap, simd::splat(tt::kPio2Hi), sel(neg_x, tt::kPiHi, 0.0));
  const vd k_lo = sel(swap, simd::splat(tt::kPio2Lo), sel(neg_x, tt::kPiLo, 0.0));
  const simd::vdd c = simd::two_sum(k_hi, flip(a.c_hi, sigma));
  const vd c_lo = (c.lo + k_lo) + flip(a.c_lo, sigma);
  const simd::vdd s = simd::two_sum(c.hi, flip(a.u, sigma));
  const vd sy = sign_of(y);
  hi = flip(s.hi, sy);
  lo = flip(s.lo + (c_lo + flip(a.small, sigma)), sy);
}

// The pieces of ln z on two lanes: ln|z| = re_hi + re_lo, arg z = im_hi + im_lo, and the mask
// (two bits) of the lanes on the route.
struct LnZ {
  vd re_hi, re_lo, im_hi, im_lo;
  int ok;
};

[[gnu::always_inline]] inline LnZ ln_lanes(vd x, vd y) {
  using inverse::vabs;
  vd p, pe, q, qe;
  trig::two_prod(x, x, p, pe);
  trig::two_prod(y, y, q, qe);
  const simd::vdd h = simd::two_sum(p, q);
  const vd l = h.lo + (pe + qe);
  const vd sh = h.hi + l;
  const vd sl = (h.hi - sh) + l;
  vd H, L;
  ln_pair(sh, H, L);
  LnZ r;
  r.re_hi = H * 0.5;
  r.re_lo = (L + sl / sh) * 0.5;
  atan2_pair(y, x, r.im_hi, r.im_lo);
  const vd ax = vabs(x), ay = vabs(y), zero{};
  const vd lo_b = simd::splat(0x1p-450), hi_b = simd::splat(0x1p450);
  const vd in_x = (vd)((ax == zero) | ((ax >= lo_b) & (ax <= hi_b)));
  const vd in_y = (vd)((ay == zero) | ((ay >= lo_b) & (ay <= hi_b)));
  const vd nz = (vd)((ax > zero) | (ay > zero));
  const vd away = (vd)(vabs(sh - 1.0) >= simd::splat(0x1p-40));
  r.ok = simd::movemask(simd::and_bits(simd::and_bits(in_x, in_y), simd::and_bits(nz, away)));
  return r;
}

// hi + lo times 1/ln 10, one rounding.
[[gnu::always_inline]] inline vd times_inv_ln10(vd hi, vd lo) {
  vd p, pe;
  trig::two_prod(hi, simd::splat(kInvLn10Hi), p, pe);
  return p + (pe + (hi * kInvLn10Lo + lo * kInvLn10Hi));
}

// The array loop: two elements a pass on the route, the other lanes (taken from the registers
// read before the pass stores, so an in-place call sees its input) and an odd last element
// through the extended element routine (statuses there) under control scheme B. The caller
// holds SseControlScope.
template <bool Decimal>
void ln_array_dd(int n, const hpk_complex16 *a, hpk_complex16 *y, const char *name) {
  const long double k = Decimal ? celem::kInvLn10 : 1.0L;
  int i = 0;
  for (; i + 2 <= n; i += 2) {
    const vd v0 = simd::loadu(&a[i].re), v1 = simd::loadu(&a[i + 1].re);
    const vd x = (vd)_mm_unpacklo_pd((__m128d)v0, (__m128d)v1);
    const vd z = (vd)_mm_unpackhi_pd((__m128d)v0, (__m128d)v1);
    const LnZ r = ln_lanes(x, z);
    vd re, im;
    if constexpr (Decimal) {
      re = times_inv_ln10(r.re_hi, r.re_lo);
      // the angle's sign is y's (a zero angle keeps it; the product's low terms may not)
      im = simd::or_bits(inverse::vabs(times_inv_ln10(r.im_hi, r.im_lo)), inverse::sign_of(z));
    } else {
      re = r.re_hi + r.re_lo;
      im = r.im_hi + r.im_lo;
    }
    simd::storeu(&y[i].re, (vd)_mm_unpacklo_pd((__m128d)re, (__m128d)im));
    simd::storeu(&y[i + 1].re, (vd)_mm_unpackhi_pd((__m128d)re, (__m128d)im));
    const int rare = r.ok ^ 3;
    if (__builtin_expect(rare != 0, 0)) {
      const X87ControlScope control(X87ControlScope::kExtended);
      for (int e = 0; e < 2; ++e)
        if (rare >> e & 1) celem::ln_at<hpk_complex16, double>(i + e, x[e], z[e], a, y, k, name);
    }
  }
  if (i < n) {
    const X87ControlScope control(X87ControlScope::kExtended);
    celem::ln_at<hpk_complex16, double>(i, a[i].re, a[i].im, a, y, k, name);
  }
}

}  // namespace hpk::vmk::ln_complex
