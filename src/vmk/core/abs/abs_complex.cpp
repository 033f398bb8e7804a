// Complex Abs: y = |a|, a real result. No status.
//
// Single, under control scheme B with the target 0x200: the square root in double of the sum of
// the squares in double (exact squares, one rounding), rounded once to single: within
// 0.5 ulp + 2^-28. Four elements a pass, parts apart. An element with an exponent of all ones in
// a part is settled afterwards: an infinite part gives +inf (beside a NaN too), otherwise the
// result is the product of the parts, a NaN.
//
// Double: the method of dHypot on the two parts, by its shared core (heap/real/hypot_core.hpp),
// so zAbs of (x, z) and dHypot of x and z give the same bits.
#include <cmath>

#include "vmk/core/heap/complex/complex_lanes.hpp"
#include "vmk/core/heap/real/hypot_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

using namespace simd;

inline float abs_special(float x, float z) {
  return (std::isinf(x) || std::isinf(z)) ? HUGE_VALF : x * z;
}

void abs_single(int n, const hpk_complex8 *a, float *y) {
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const lanes::C4 v = lanes::load_c4(a + i);
    const vd re0 = lanes::widen_lo(v.re), im0 = lanes::widen_lo(v.im);
    const vd re1 = lanes::widen_hi(v.re), im1 = lanes::widen_hi(v.im);
    const vf r = lanes::narrow(vsqrt(re0 * re0 + im0 * im0), vsqrt(re1 * re1 + im1 * im1));
    const vui exp_re = (vui)v.re & 0x7F800000u, exp_im = (vui)v.im & 0x7F800000u;
    const int special = movemask((vf)((vi)(exp_re == 0x7F800000u) | (vi)(exp_im == 0x7F800000u)));
    storeu(y + i, r);
    if (__builtin_expect(special != 0, 0)) {
      for (int k = 0; k < 4; ++k)
        if (special >> k & 1) y[i + k] = abs_special(v.re[k], v.im[k]);
    }
  }
  for (; i < n; ++i) {
    const float x = a[i].re, z = a[i].im;
    if (!std::isfinite(x) || !std::isfinite(z)) y[i] = abs_special(x, z);
    else y[i] = float(std::sqrt(double(x) * x + double(z) * z));
  }
}

void abs_double(int n, const hpk_complex16 *a, double *y) {
  using namespace hypot;
  const vd abs_mask = (vd)vul{kAbsMask, kAbsMask};
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    bool rare = false;
    for (int k = 0; k < 4; ++k) rare |= is_rare(a[i + k].re, a[i + k].im);
    if (__builtin_expect(rare, 0)) {
      for (int k = 0; k < 4; ++k) y[i + k] = hypot_element(a[i + k].re, a[i + k].im);
      continue;
    }
    vd r[2];
    for (int k = 0; k < 2; ++k) {
      const lanes::Z2 v = lanes::load_z2(a + i + 2 * k);
      const vd x = and_bits(v.re, abs_mask), z = and_bits(v.im, abs_mask);
      r[k] = hypot_core(vmax(x, z), vmin(x, z));
    }
    storeu(y + i, r[0]);
    storeu(y + i + 2, r[1]);
  }
  for (; i < n; ++i) y[i] = hypot_element(a[i].re, a[i].im);
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_cAbs_EXHAynn(int n, const hpk_complex8 *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kDouble);
  hpk::vmk::abs_single(n, a, y);
}
void hpk_vmk_kernel_zAbs_EXHAynn(int n, const hpk_complex16 *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::abs_double(n, a, y);
}
}
