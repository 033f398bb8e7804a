// Complex Powx for c and z: z^w with one exponent w for the whole array, the element routine of
// Pow (heap/celem/pow_kernel.hpp) under control scheme B with the target 0x300. Statuses as
// Pow's, named "vcPowx" / "vzPowx", with the base array handed twice to the dispatcher.
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/pow_kernel.hpp"
#include "vmk/frame/control.hpp"

extern "C" {
void hpk_vmk_kernel_cPowx_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 b, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::celem::powx_array<hpk_complex8, float>(n, a, b, y, "vcPowx");
}
void hpk_vmk_kernel_zPowx_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 b, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::celem::powx_array<hpk_complex16, double>(n, a, b, y, "vzPowx");
}
}
