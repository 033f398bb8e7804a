// Pow3o2: x^(3/2) = x sqrt(x). Double: s = sqrt(x) correctly rounded, and with the residual
// d = (x - s_hi^2) - s_lo^2-part (x - s^2 exactly, from the exact square of s),
//     x^(3/2) = x s + x d / (2 s) = x s + d s / 2 (1 + O(2^-52)),
// so the result is the exact two-product x s (hi + lo) plus d s / 2, rounded once: within
// 0.5 + 2^-50 ulp, without a division. The main route takes 2^-600 <= x < 2^680 (all parts
// normal, no overflow in the splits); the scalar route scales other positive x by 2^-+700 and
// the result back by 2^-+1050 (one rounding for denormal or infinite results), and gives:
//   +-0 -> +0;  NaN -> NaN;  +inf -> +inf;  x < 0, -inf included -> the default NaN, status 1
// (the only status: overflow to +inf raises none).
// Single: x sqrt(x) in double (2^-52 relative), rounded once; all positive finite singles.
#include "vmk/frame/control.hpp"
#include "vmk/frame/double_lanes.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

using simd::vd;

[[gnu::always_inline]] inline vd pow3o2_main(vd x) {
  const vd s = simd::vsqrt(x);
  const simd::vdd s2 = simd::two_sqr(s);
  const vd d = (x - s2.hi) - s2.lo;
  const vd p = x * s;
  const simd::vdd xs = simd::split(x), ss = simd::split(s);
  const vd e = ((xs.hi * ss.hi - p) + xs.hi * ss.lo + xs.lo * ss.hi) + xs.lo * ss.lo;
  return p + (e + d * s * 0.5);
}

template <class E>
struct Pow3o2Kernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr uint32_t kSignMask = 0xFFFFFFFF;
  // double: 2^-600 <= x < 2^680; single: positive, finite, non-zero (denormals included)
  static constexpr uint32_t kRangeLo = sizeof(E) == 8 ? 0x1A700000 : 1;
  static constexpr uint32_t kRangeLen = sizeof(E) == 8 ? 0x50000000 : 0x7F800000 - 1;
  static constexpr const char *kName = sizeof(E) == 8 ? "vdPow3o2" : "vsPow3o2";

  [[gnu::always_inline]] static V main(V x) {
    if constexpr (sizeof(E) == 8) return pow3o2_main(x);
    else return on_double_lanes(x, [](vd d) { return d * simd::vsqrt(d); });
  }

  static void rare(E x, int i, const E *a, E *y) {
    if (x != x) {
      y[i] = x + x;
    } else if (x == E(0)) {
      y[i] = E(0);
    } else if (x < E(0)) {
      if constexpr (sizeof(E) == 8) y[i] = simd::from_bits(0xFFF8000000000000ull);
      else y[i] = simd::from_bits(0xFFC00000u);
      report_error<E>(kStatusDomain, i, a, a, y, y, kName);
    } else if (x == E(__builtin_inf())) {
      y[i] = x;
    } else if constexpr (sizeof(E) == 8) {
      const bool small = x < 0x1p-600;
      const double r = pow3o2_main(simd::splat(small ? x * 0x1p700 : x * 0x1p-700))[0];
      y[i] = small ? r * 0x1p-525 * 0x1p-525 : r * 0x1p525 * 0x1p525;
    } else {
      y[i] = main(simd::splat(x))[0];
    }
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dPow3o2_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kDouble);
  hpk::vmk::packed_pass<hpk::vmk::Pow3o2Kernel<double>>(n, a, y);
}
void hpk_vmk_kernel_sPow3o2_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::Pow3o2Kernel<float>>(n, a, y);
}
}
