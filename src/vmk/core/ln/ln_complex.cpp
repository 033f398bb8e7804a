// Complex Ln for c and z.
// High accuracy (c, z): the extended element routine (heap/celem/log_scalar.hpp), one element
// at a time under control scheme B with the target 0x300: each part within 0.5 ulp + 2^-9 ulp.
// Low accuracy and enhanced performance (c): four elements a pass in double, parts apart, under
// scheme A (the mode's denormal setting; every step is normal in double):
//   s = x^2 + y^2 and d = (x - 1)(x + 1) + y^2, both of a single rounding in double (the
//   products of widened singles are exact), so d keeps 2^-52 relative accuracy next to |z| = 1;
//   |d| < 2^-8:  ln s = d + d^2 Q(d), Taylor to d^5 (LA, truncation 2^-42 relative) or d^3
//                (EP, 2^-18);
//   otherwise    s = 2^e m, i = top 8 fraction bits of m, rcp = hpk_vmk_core_rcp_table_256[i],
//                r = m rcp - 1 (|r| <= 2^-9 + 2^-20), ln s = e ln2 + L_i + r + r^2 P(r) with
//                L_i from hpk_vmk_core_log_table_256, P to r^4 (LA, 2^-47 absolute against a
//                result of at least 2^-8.1) or r^3 (EP, 2^-38);
//   the real part ln(s) / 2, the imaginary part the packed double atan2 of the inverse
//   trigonometric core (within about 0.55 ulp of double). Each part rounds once to single:
//   LA within 0.5 ulp + 2^-17 ulp, EP within 0.5 ulp + 2^-6 ulp away from |z| = 1 and within
//   2^-17 relative next to it.
//   Elements with a zero element or a non-finite part take the element routine above.
// Status: 2 singularity at a zero element, "vcLn" / "vzLn"; nothing else (no finite element
// overflows, none without NaN parts gives NaN).
#include <cmath>

#include "hpk/vmk.h"
#include "vmk/core/atan/inverse_core.hpp"
#include "vmk/core/heap/celem/log_kernel.hpp"
#include "vmk/core/heap/complex/complex_lanes.hpp"
#include "vmk/core/log1p/log1p_tables.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

using simd::vd;
using simd::vul;

struct LnLA {
  static constexpr int kNearDeg = 5;
  static constexpr int kTableDeg = 4;
};
struct LnEP {
  static constexpr int kNearDeg = 3;
  static constexpr int kTableDeg = 3;
};

// ln(1 + t) - t as t^2 (-1/2 + t (1/3 - t (1/4 ...))) to degree Deg in t.
template <int Deg>
[[gnu::always_inline]] inline vd log1p_tail(vd t) {
  constexpr double c[] = {-0.5, 0x1.5555555555555p-2, -0.25, 0.2};
  vd p = simd::splat(c[Deg - 2]);
  for (int k = Deg - 3; k >= 0; --k) p = simd::splat(c[k]) + t * p;
  return t * t * p;
}

template <class P>
[[gnu::always_inline]] inline vd ln_norm(vd x, vd y) {
  const vd one = simd::splat(1.0);
  const vd s = x * x + y * y;
  const vd d = (x - one) * (x + one) + y * y;
  // s = 2^e m; e by the exponent bits placed under 2^52 (s is normal, positive)
  const vul sb = (vul)s;
  const vd e = (vd)((sb >> 52) | (vul){0x4330000000000000ull, 0x4330000000000000ull}) -
               simd::splat(0x1p52 + 1023.0);
  const vd m = (vd)((sb & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
  const unsigned i0 = unsigned(sb[0] >> 44) & 0xFF, i1 = unsigned(sb[1] >> 44) & 0xFF;
  const double *lt = hpk_vmk_core_log_table_256;
  const vd rcp = {hpk_vmk_core_rcp_table_256[i0], hpk_vmk_core_rcp_table_256[i1]};
  const vd lhi = {lt[2 * i0], lt[2 * i1]}, llo = {lt[2 * i0 + 1], lt[2 * i1 + 1]};
  const vd r = m * rcp - one;
  constexpr double kLn2Hi = 0x1.62e42fefa3800p-1, kLn2Lo = 0x1.ef35793c76730p-45;
  const vd table = (e * kLn2Hi + lhi) + ((e * kLn2Lo + llo) + (r + log1p_tail<P::kTableDeg>(r)));
  const vd near = d + log1p_tail<P::kNearDeg>(d);
  const vd ad = simd::andnot_bits(simd::splat(-0.0), d);
  return simd::select((vd)(ad < simd::splat(0x1p-8)), near, table);
}

template <class P>
[[gnu::always_inline]] inline void ln_lanes(vd x, vd y, vd &re, vd &im) {
  re = simd::splat(0.5) * ln_norm<P>(x, y);
  im = inverse::atan2_main(y, x);
}

template <class P>
void ln_single_lanes(int n, const hpk_complex8 *a, hpk_complex8 *y) {
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
      for (int k = 0; k < 4; ++k)
        if (rare >> k & 1) celem::ln_at<hpk_complex8, float>(i + k, v.re[k], v.im[k], a, y, 1.0L, "vcLn");
    }
  }
  if (i < n) {
    const X87ControlScope control(X87ControlScope::kExtended);
    for (; i < n; ++i) celem::ln_at<hpk_complex8, float>(i, a[i].re, a[i].im, a, y, 1.0L, "vcLn");
  }
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_cLn_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::celem::ln_array<hpk_complex8, float>(n, a, y, 1.0L, "vcLn");
}
void hpk_vmk_kernel_cLn_EXLAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::ln_single_lanes<hpk::vmk::LnLA>(n, a, y);
}
void hpk_vmk_kernel_cLn_EXEPnnn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::ln_single_lanes<hpk::vmk::LnEP>(n, a, y);
}
void hpk_vmk_kernel_zLn_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::celem::ln_array<hpk_complex16, double>(n, a, y, 1.0L, "vzLn");
}
}
