// InvSqrt: 1 / square root, by the seed and polynomial of sqrt_core.hpp (within 0.5 + 2^-9
// ulp) for positive normal values. The scalar route (invsqrt_scalar):
//   +-0 -> +inf, status 2 (the square root of -0 is -0, but the reciprocal square root of a
//          zero is +inf, as the correctly rounded function has it);
//   NaN -> a * 1, no status;   +inf -> +0;
//   positive denormal -> the main route on a * 2^54, times 2^27 (exact both ways);
//   any other negative value, -inf included -> the default NaN, status 1.
#include "vmk/core/sqrt/sqrt_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

template <class E>
struct InvSqrtKernel {
  using T = E;
  using F = sqrt_core::Format<E>;
  using V = typename PassFormat<E>::V;
  static constexpr uint32_t kSignMask = 0xFFFFFFFF;
  static constexpr uint32_t kRangeLo = F::kMinNormalTop;
  static constexpr uint32_t kRangeLen = F::kInfTop - F::kMinNormalTop;
  static constexpr const char *kName = sizeof(E) == 8 ? "vdInvSqrt" : "vsInvSqrt";

  static simd::vd core(simd::vd a) { return sqrt_core::invsqrt_main<F::kDegree>(a); }
  static V main(V x) {
    if constexpr (sizeof(E) == 8) return core(x);
    else return sqrt_core::single_main<true>(x);
  }

  // invsqrt_scalar
  static void rare(E x, int i, const E *a, E *y) {
    if (x == E(0)) {
      y[i] = E(__builtin_inf());
      report_error<E>(kStatusSingularity, i, a, a, y, y, kName);
    } else if (x != x) {
      y[i] = times_one(x);
    } else if (x < E(0)) {
      y[i] = F::default_nan();
      report_error<E>(kStatusDomain, i, a, a, y, y, kName);
    } else if (x == E(__builtin_inf())) {
      y[i] = E(0);
    } else {
      const bool tiny = double(x) < 0x1p-1022;
      const double r = on_double_scalar(tiny ? double(x) * 0x1p54 : double(x), core);
      y[i] = E(tiny ? r * 0x1p27 : r);
    }
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dInvSqrt_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::InvSqrtKernel<double>>(n, a, y);
}
void hpk_vmk_kernel_sInvSqrt_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::InvSqrtKernel<float>>(n, a, y);
}
}
