// Complex Asinh for c and z on the extended-precision algebra and packed final
// functions (heap/celem/inverse_array.hpp), under control schemes B (target 0x300) and A;
// each part rounded once.
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/inverse_array.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"

extern "C" {
void hpk_vmk_kernel_cAsinh_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const X87ControlScope control(X87ControlScope::kExtended);
  const SseControlScope sse(current_mode());
  celem::inverse_array<hpk_complex8, float, celem::AsinhOp>(n, a, y, "vcAsinh");
}
void hpk_vmk_kernel_zAsinh_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const X87ControlScope control(X87ControlScope::kExtended);
  const SseControlScope sse(current_mode());
  celem::inverse_array<hpk_complex16, double, celem::AsinhOp>(n, a, y, "vzAsinh");
}
}
