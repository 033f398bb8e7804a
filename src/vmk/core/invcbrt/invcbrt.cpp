// InvCbrt: 1 / cube root. Normal values take the packed route of cbrt_core.hpp with the
// reciprocal tables (within 0.5 + 2^-6 ulp). The scalar route (invcbrt_scalar):
//   +-0 -> +-inf, status 2;   +-inf -> +-0;   NaN -> a * 1, no status;
//   double denormal -> the core on a * 2^54, times 2^18 (both exact).
#include "vmk/core/cbrt/cbrt_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

template <class E>
struct InvCbrtKernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr int kDegree = sizeof(E) == 8 ? 8 : 4;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = sizeof(E) == 8 ? 0x00100000 : 0x00800000;
  static constexpr uint32_t kRangeLen = (sizeof(E) == 8 ? 0x7FF00000 : 0x7F800000) - kRangeLo;
  static constexpr const char *kName = sizeof(E) == 8 ? "vdInvCbrt" : "vsInvCbrt";

  static simd::vd core(simd::vd a) { return cbrt_core::main<true, kDegree>(a); }
  static V main(V x) {
    if constexpr (sizeof(E) == 8) return core(x);
    else return cbrt_core::single_main<true>(x);
  }

  // invcbrt_scalar
  static void rare(E x, int i, const E *a, E *y) {
    if (x == E(0)) {
      y[i] = __builtin_copysign(E(__builtin_inf()), x);
      report_error<E>(kStatusSingularity, i, a, a, y, y, kName);
    } else if (x != x) {
      y[i] = times_one(x);
    } else if (__builtin_isinf(x)) {
      y[i] = __builtin_copysign(E(0), x);
    } else {
      const bool tiny = __builtin_fabs(double(x)) < 0x1p-1022;
      const double r = on_double_scalar(tiny ? double(x) * 0x1p54 : double(x), core);
      y[i] = E(tiny ? r * 0x1p18 : r);
    }
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dInvCbrt_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::InvCbrtKernel<double>>(n, a, y);
}
void hpk_vmk_kernel_sInvCbrt_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::InvCbrtKernel<float>>(n, a, y);
}
}
