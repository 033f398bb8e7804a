// Sqrt: square root. Positive normal values take the packed seed-and-polynomial route of
// sqrt_core.hpp (within 0.5 + 2^-9 ulp); the scalar route takes the rest:
//   +-0 -> the same zero, no status;        NaN -> a * 1, no status;     +inf -> +inf;
//   positive denormal -> the main route on a * 2^54, times 2^-27 (exact both ways);
//   any other negative value, -inf included -> the default NaN, status 1.
// Single denormals take the scalar route in double, where they are normal and need no scaling.
#include "vmk/core/sqrt/sqrt_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

template <class E>
struct SqrtKernel {
  using T = E;
  using F = sqrt_core::Format<E>;
  using V = typename PassFormat<E>::V;
  static constexpr uint32_t kSignMask = 0xFFFFFFFF;
  static constexpr uint32_t kRangeLo = F::kMinNormalTop;
  static constexpr uint32_t kRangeLen = F::kInfTop - F::kMinNormalTop;
  static constexpr const char *kName = sizeof(E) == 8 ? "vdSqrt" : "vsSqrt";

  static simd::vd core(simd::vd a) { return sqrt_core::sqrt_main<F::kDegree>(a); }
  static V main(V x) {
    if constexpr (sizeof(E) == 8) return core(x);
    else return sqrt_core::single_main<false>(x);
  }

  // sqrt_scalar
  static void rare(E x, int i, const E *a, E *y) {
    if (x == E(0) || x == E(__builtin_inf())) {
      y[i] = times_one(x);  // a denormal treated as zero (DAZ) comes out as that zero
    } else if (x != x) {
      y[i] = times_one(x);
    } else if (x < E(0)) {
      y[i] = F::default_nan();
      report_error<E>(kStatusDomain, i, a, a, y, y, kName);
    } else {
      // Double denormals are scaled into the normal range for the seed; single ones are
      // normal once widened.
      const bool tiny = double(x) < 0x1p-1022;
      const double r = on_double_scalar(tiny ? double(x) * 0x1p54 : double(x), core);
      y[i] = E(tiny ? r * 0x1p-27 : r);
    }
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dSqrt_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::SqrtKernel<double>>(n, a, y);
}
void hpk_vmk_kernel_sSqrt_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::SqrtKernel<float>>(n, a, y);
}
}
