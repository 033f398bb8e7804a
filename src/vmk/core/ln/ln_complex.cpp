// Complex Ln for c and z, and Log10 for c.
// z (Ln): two elements a pass in double-double under control scheme A (ln_complex_dd.hpp), each
// part within 0.5 ulp + about 2^-8 ulp; rare lanes (non-finite, zero, huge or tiny parts, |z|
// within about 2^-41 of 1) through the extended element routine (heap/celem/log_scalar.hpp)
// under control scheme B with the target 0x300: there within 0.5 ulp + 2^-9 ulp.
// c (all three cLn kernels, cLog10): four elements a pass in double, parts apart, under scheme
// A (the mode's denormal setting; every step is normal in double), the kernels differing only
// in their polynomial degrees:
//   s = x^2 + y^2 and d = (x - 1)(x + 1) + y^2, both of a single rounding in double (the
//   products of widened singles are exact), so d keeps 2^-52 relative accuracy next to |z| = 1;
//   |d| < 2^-8:  ln s = d + d^2 Q(d), Taylor to d^7 (HA, truncation 2^-59 relative), d^5 (LA,
//                2^-42) or d^3 (EP, 2^-18);
//   otherwise    s = 2^e m, i = top 8 fraction bits of m, rcp = hpk_vmk_core_rcp_table_256[i],
//                r = m rcp - 1 (|r| <= 2^-9 + 2^-20), ln s = e ln2 + L_i + r + r^2 P(r) with
//                L_i from hpk_vmk_core_log_table_256, P to r^5 (HA, 2^-56 absolute against a
//                result of at least 2^-8.1), r^4 (LA, 2^-47) or r^3 (EP, 2^-38);
//   the real part ln(s) / 2, the imaginary part the packed double atan2 of the inverse
//   trigonometric core (within about 0.55 ulp of double); Log10 multiplies both by 1/ln 10 in
//   double. Each part rounds once to single: HA within 0.5 ulp + 2^-20 ulp, LA within
//   0.5 ulp + 2^-17 ulp, EP within 0.5 ulp + 2^-6 ulp away from |z| = 1 and within 2^-17
//   relative next to it.
//   A zero element or a non-finite part takes the extended element routine (statuses there),
//   with the parts as loaded (y may lie over a).
// Status: 2 singularity at a zero element, "vcLn" / "vzLn" / "vcLog10"; nothing else (no finite
// element overflows, none without NaN parts gives NaN).
#include <cmath>

#include "hpk/vmk.h"
#include "vmk/core/atan/inverse_core.hpp"
#include "vmk/core/heap/celem/log_kernel.hpp"
#include "vmk/core/heap/complex/complex_lanes.hpp"
#include "vmk/core/ln/ln_complex_dd.hpp"
#include "vmk/core/ln/ln_lanes.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

using simd::vd;
using simd::vul;

using namespace ln_lanes;

template <class P>
[[gnu::always_inline]] inline void ln_lanes(vd x, vd y, vd &re, vd &im) {
  re = simd::splat(0.5 * P::kScale) * ln_norm<P>(x, y);
  im = inverse::atan2_main(y, x);
  if constexpr (P::kScale != 1.0) im = im * simd::splat(P::kScale);
}

template <class P>
void ln_single_lanes(int n, const hpk_complex8 *a, hpk_complex8 *y, const char *name) {
  const long double k = P::kScale == 1.0 ? 1.0L : celem::kInvLn10;
  using namespace simd;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const lanes::C4 v = lanes::load_c4(a + i);
    const vf mask = (vf)vui{0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu};
    const vf ax = and_bits(v.re, mask), ay = and_bits(v.im, mask);
    const vf inf = splat(__builtin_inff());
    // finite parts, not both zero (a NaN fails every comparison)
    const vf ok = (vf)((vi)(ax < inf) & (vi)(ay < inf) & ((vi)(ax > vf{}) | (vi)(ay > vf{})));
    vd re0, im0, re1, im1;
    ln_lanes<P>(lanes::widen_lo(v.re), lanes::widen_lo(v.im), re0, im0);
    ln_lanes<P>(lanes::widen_hi(v.re), lanes::widen_hi(v.im), re1, im1);
    lanes::store_c4(y + i, lanes::interleave(lanes::narrow(re0, re1), lanes::narrow(im0, im1)));
    const int rare = movemask(ok) ^ 0xF;
    if (__builtin_expect(rare != 0, 0)) {
      const X87ControlScope control(X87ControlScope::kExtended);
      for (int e = 0; e < 4; ++e)
        if (rare >> e & 1) celem::ln_at<hpk_complex8, float>(i + e, v.re[e], v.im[e], a, y, k, name);
    }
  }
  if (i < n) {
    const X87ControlScope control(X87ControlScope::kExtended);
    for (; i < n; ++i) celem::ln_at<hpk_complex8, float>(i, a[i].re, a[i].im, a, y, k, name);
  }
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_cLn_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::ln_single_lanes<hpk::vmk::LnHA>(n, a, y, "vcLn");
}
void hpk_vmk_kernel_cLog10_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::ln_single_lanes<hpk::vmk::Log10HA>(n, a, y, "vcLog10");
}
void hpk_vmk_kernel_cLn_EXLAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::ln_single_lanes<hpk::vmk::LnLA>(n, a, y, "vcLn");
}
void hpk_vmk_kernel_cLn_EXEPnnn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::ln_single_lanes<hpk::vmk::LnEP>(n, a, y, "vcLn");
}
void hpk_vmk_kernel_zLn_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::ln_complex::ln_array_dd<false>(n, a, y, "vzLn");
}
}
