// Cbrt: cube root, no status on any input. Normal values take the packed route of
// cbrt_core.hpp (within 0.5 + 2^-6 ulp). The scalar route (cbrt_scalar): +-0 and +-inf give
// themselves, NaN gives a * 1, a double denormal goes through the core scaled by 2^54 and comes
// back times 2^-18 (both exact); a single denormal goes through the double core directly, as
// it is normal in double.
#include "vmk/core/cbrt/cbrt_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

template <class E>
struct CbrtKernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr int kDegree = sizeof(E) == 8 ? 8 : 4;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = sizeof(E) == 8 ? 0x00100000 : 0x00800000;
  static constexpr uint32_t kRangeLen = (sizeof(E) == 8 ? 0x7FF00000 : 0x7F800000) - kRangeLo;

  static simd::vd core(simd::vd a) { return cbrt_core::main<false, kDegree>(a); }
  static V main(V x) {
    if constexpr (sizeof(E) == 8) return core(x);
    else return cbrt_core::single_main<false>(x);
  }

  // cbrt_scalar
  static void rare(E x, int i, const E *a, E *y) {
    if (x == E(0) || __builtin_isinf(x) || __builtin_isnan(x)) {
      y[i] = times_one(x);
      return;
    }
    const bool tiny = __builtin_fabs(double(x)) < 0x1p-1022;
    const double r = on_double_scalar(tiny ? double(x) * 0x1p54 : double(x), core);
    y[i] = E(tiny ? r * 0x1p-18 : r);
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dCbrt_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::CbrtKernel<double>>(n, a, y);
}
void hpk_vmk_kernel_sCbrt_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::CbrtKernel<float>>(n, a, y);
}
}
