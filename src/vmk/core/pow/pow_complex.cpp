// Complex Pow for c and z: z^w = e^(w ln z) per element in extended precision
// (heap/celem/log_scalar.hpp), under control scheme B with the target 0x300. Statuses in
// heap/celem/pow_kernel.hpp, named "vcPow" / "vzPow".
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/pow_kernel.hpp"
#include "vmk/frame/control.hpp"

extern "C" {
void hpk_vmk_kernel_cPow_EXHAynn(int n, const hpk_complex8 *a, const hpk_complex8 *b, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::celem::pow_array<hpk_complex8, float>(n, a, b, y, "vcPow");
}
void hpk_vmk_kernel_zPow_EXHAynn(int n, const hpk_complex16 *a, const hpk_complex16 *b, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::celem::pow_array<hpk_complex16, double>(n, a, b, y, "vzPow");
}
}
