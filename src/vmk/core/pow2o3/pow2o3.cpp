// Pow2o3: x^(2/3) as the square of the cube root, for every real x (a negative x has the real
// cube root, so the result is |x|^(2/3)); no status. Double: c = cbrt|x| from the Cbrt route
// (within 0.52 ulp), then with c^2 = c2h + c2l and c^3 = c2h c + c2l c exact to 2^-106, the
// residual d = x - c^3 (exact in its leading part) corrects the square:
//     |x|^(2/3) = c^2 (1 + d / (3 c^3))^2 = c2h + (c2l + (2/3) d / c) + O(2^-104),
// one rounding of a double-double: within 0.5 + 2^-40 ulp. 1 / c comes from the 12-bit
// reciprocal estimate instead of a division (2^-12 of a term below 2^-52 of the result). The main route takes
// 2^-900 <= |x| < 2^1020 (the residual normal, c^3 finite); the scalar route scales other
// finite non-zero |x| by 2^+-300 and the result by 2^-+200 (exact), and gives +-0 -> +0,
// +-inf -> +inf, NaN -> NaN.
// Single: the cube root in double, squared in double (2^-51 relative), rounded once.
#include "vmk/core/cbrt/cbrt_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/double_lanes.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

using simd::vd;

[[gnu::always_inline]] inline vd pow2o3_main(vd x) {
  const vd ax = simd::and_bits(x, (vd)simd::vul{~0ull >> 1, ~0ull >> 1});
  const vd c = cbrt_core::main<false, 8>(ax);
  const simd::vdd c2 = simd::two_sqr(c);
  const vd p = c2.hi * c;
  const simd::vdd hs = simd::split(c2.hi), cs = simd::split(c);
  const vd e = ((hs.hi * cs.hi - p) + hs.hi * cs.lo + hs.lo * cs.hi) + hs.lo * cs.lo;
  const vd d = ((ax - p) - e) - c2.lo * c;
  // 1 / c to 12 bits is enough for the correction (itself below 2^-52 of the result): the
  // single reciprocal estimate of c's mantissa, times 2^-e built from c's exponent field.
  const simd::vul cb = (simd::vul)c;
  const vd cm = (vd)((cb & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
  const __m128 cm_s = _mm_cvtpd_ps((__m128d)cm);
  const vd rm = (vd)_mm_cvtps_pd(_mm_rcp_ps(cm_s));
  const vd scale = (vd)(0x7FE0000000000000ull - (cb & 0x7FF0000000000000ull));
  return c2.hi + (c2.lo + (d * (rm * scale)) * (2.0 / 3.0));
}

template <class E>
struct Pow2o3Kernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  // double: 2^-900 <= |x| < 2^1020; single: finite and non-zero (denormals included)
  static constexpr uint32_t kRangeLo = sizeof(E) == 8 ? 0x07B00000 : 1;
  static constexpr uint32_t kRangeLen = sizeof(E) == 8 ? 0x7FB00000 - 0x07B00000 : 0x7F800000 - 1;

  [[gnu::always_inline]] static V main(V x) {
    if constexpr (sizeof(E) == 8) {
      return pow2o3_main(x);
    } else {
      return on_double_lanes(x, [](vd d) {
        const vd c = cbrt_core::main<false, 8>(d);
        return c * c;
      });
    }
  }

  static void rare(E x, int i, const E *, E *y) {
    if (x != x) y[i] = x + x;
    else if (x == E(0)) y[i] = E(0);
    else if (x == E(__builtin_inf()) || x == -E(__builtin_inf())) y[i] = E(__builtin_inf());
    else if constexpr (sizeof(E) == 8) {
      if (__builtin_fabs(x) < 1.0) y[i] = pow2o3_main(simd::splat(x * 0x1p300))[0] * 0x1p-200;
      else y[i] = pow2o3_main(simd::splat(x * 0x1p-300))[0] * 0x1p200;
    }
    else y[i] = main(simd::splat(x))[0];
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dPow2o3_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kDouble);
  hpk::vmk::packed_pass<hpk::vmk::Pow2o3Kernel<double>>(n, a, y);
}
void hpk_vmk_kernel_sPow2o3_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kDouble);
  hpk::vmk::packed_pass<hpk::vmk::Pow2o3Kernel<float>>(n, a, y);
}
}
