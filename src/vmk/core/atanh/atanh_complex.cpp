// Complex Atanh for c and z on the extended-precision algebra and packed final
// functions (heap/celem/inverse_array.hpp), under control schemes B (target 0x300) and A;
// each part rounded once.
// Status 2 at the poles +-1 + i(+-0), where the result is +-inf + i(+-0).
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/atanh_pair.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"

extern "C" {
void hpk_vmk_kernel_cAtanh_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const X87ControlScope control(X87ControlScope::kExtended);
  const SseControlScope sse(current_mode());
  celem::inverse_array<hpk_complex8, float, celem::AtanhOp>(n, a, y, "vcAtanh");
}
void hpk_vmk_kernel_zAtanh_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const X87ControlScope control(X87ControlScope::kExtended);
  const SseControlScope sse(current_mode());
  celem::atanh_pair_array<false>(n, a, y, "vzAtanh");
}
}
