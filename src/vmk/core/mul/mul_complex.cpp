// Complex Mul: y = a b (single in heap/complex/single_binary.hpp, double in
// heap/complex/double_mul.hpp).
#include "vmk/core/heap/complex/double_mul.hpp"
#include "vmk/core/heap/complex/single_binary.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"

extern "C" {
void hpk_vmk_kernel_cMul_EXHAynn(int n, const hpk_complex8 *a, const hpk_complex8 *b,
                                 hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kDouble);
  hpk::vmk::binary_pass<hpk::vmk::SingleBinary<hpk::vmk::MulOp>>(n, a, b, y, "vcMul");
}
void hpk_vmk_kernel_zMul_EXHAynn(int n, const hpk_complex16 *a, const hpk_complex16 *b,
                                 hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::binary_pass<hpk::vmk::DoubleMul<false>>(n, a, b, y, "vzMul");
}
}
