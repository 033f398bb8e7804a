// The packed route of the single complex powers (cPow, cPowx): four elements a pass in double,
// parts apart, under control scheme A (every step is normal in double):
//   ln z = ln|z| + i atan2(y, x) by the high accuracy lanes of cLn (core/ln/ln_lanes.hpp), both
//   parts within about 2^-52 relative;
//   P = (u lr - v li) + i (u li + v lr) in double, within 2^-51 (|u lr| + |v li| + |u li| +
//   |v lr|) absolute, kept below 2^-41 by the range test;
//   e^Pr by the packed real exponential (exp/exp_core.hpp), sin and cos of Pi by the trig
//   core's packed pair (about 0.5 ulp of double each), the parts e^Pr cos Pi, e^Pr sin Pi
//   rounded once to single: within 0.5 ulp + 2^-17 ulp.
// Lanes outside the route -- a zero or non-finite base, a non-finite exponent, |Pr| >= 80
// (where a part may overflow or the modulus fall below the least normal), |Pi| >= 90112 (the
// quadrant reduction), the sum of the four products at 1024 or more -- take the extended
// element routine with its statuses (pow_kernel.hpp), with the parts as loaded.
#pragma once

#include "vmk/core/atan/inverse_core.hpp"
#include "vmk/core/exp/exp_core.hpp"
#include "vmk/core/heap/celem/pow_kernel.hpp"
#include "vmk/core/heap/complex/complex_lanes.hpp"
#include "vmk/core/ln/ln_lanes.hpp"
#include "vmk/core/sin/trig_core.hpp"
#include "vmk/frame/control.hpp"

namespace hpk::vmk::celem {

// Two elements: bases x + iy, exponents u + iv; ok: all ones in the lanes on the route.
[[gnu::always_inline]] inline void pow_lanes(simd::vd x, simd::vd y, simd::vd u, simd::vd v, simd::vd &re,
                                             simd::vd &im, simd::vd &ok) {
  using simd::vd;
  const vd lr = simd::splat(0.5) * ln_lanes::ln_norm<ln_lanes::LnHA>(x, y);
  const vd li = inverse::atan2_main(y, x);
  const vd ulr = u * lr, vli = v * li, uli = u * li, vlr = v * lr;
  const vd pr = ulr - vli, pim = uli + vlr;
  const vd sign = simd::splat(-0.0);
  auto mag = [&](vd t) { return simd::andnot_bits(sign, t); };
  const vd sum = mag(ulr) + mag(vli) + mag(uli) + mag(vlr);
  ok = (vd)((simd::vl)(mag(pr) < simd::splat(80.0)) & (simd::vl)(mag(pim) < simd::splat(90112.0)) &
            (simd::vl)(sum < simd::splat(1024.0)));
  // lanes off the route compute harmless values
  const vd prs = simd::select(ok, pr, vd{}), pis = simd::select(ok, pim, vd{});
  const vd m = exp_core::main(prs);
  vd s, c;
  trig::sincos_eval(pis, vd{}, 0, s, c);
  re = m * c;
  im = m * s;
}

// y[i] = a[i]^w[i] (Const: w[0] for every element); b is handed to the dispatcher.
template <bool Const>
void pow_single(int n, const hpk_complex8 *a, const hpk_complex8 *w, const hpk_complex8 *b,
                hpk_complex8 *y, const char *name) {
  using namespace simd;
  int i = 0;
  const vf mask = (vf)vui{0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu};
  const vf inf = splat(__builtin_inff());
  lanes::C4 e = Const ? lanes::C4{splat(w[0].re), splat(w[0].im)} : lanes::C4{};
  for (; i + 4 <= n; i += 4) {
    const lanes::C4 v = lanes::load_c4(a + i);
    if (!Const) e = lanes::load_c4(w + i);
    const vf ax = and_bits(v.re, mask), ay = and_bits(v.im, mask);
    // finite parts, base not zero (a NaN fails every comparison)
    const vf fin = (vf)((vi)(ax < inf) & (vi)(ay < inf) & ((vi)(ax > vf{}) | (vi)(ay > vf{})) &
                        (vi)(and_bits(e.re, mask) < inf) & (vi)(and_bits(e.im, mask) < inf));
    vd re0, im0, re1, im1, ok0, ok1;
    pow_lanes(lanes::widen_lo(v.re), lanes::widen_lo(v.im), lanes::widen_lo(e.re), lanes::widen_lo(e.im),
              re0, im0, ok0);
    pow_lanes(lanes::widen_hi(v.re), lanes::widen_hi(v.im), lanes::widen_hi(e.re), lanes::widen_hi(e.im),
              re1, im1, ok1);
    lanes::store_c4(y + i, lanes::interleave(lanes::narrow(re0, re1), lanes::narrow(im0, im1)));
    const int rare = (movemask(fin) & (movemask(ok0) | movemask(ok1) << 2)) ^ 0xF;
    if (__builtin_expect(rare != 0, 0)) {
      const X87ControlScope control(X87ControlScope::kExtended);
      for (int k = 0; k < 4; ++k)
        if (rare >> k & 1)
          pow_at<hpk_complex8, float>(i + k, v.re[k], v.im[k], e.re[k], e.im[k], a, b, y, name);
    }
  }
  if (i < n) {
    const X87ControlScope control(X87ControlScope::kExtended);
    for (; i < n; ++i) {
      const hpk_complex8 wi = Const ? w[0] : w[i];
      pow_at<hpk_complex8, float>(i, a[i].re, a[i].im, wi.re, wi.im, a, b, y, name);
    }
  }
}

}  // namespace hpk::vmk::celem
