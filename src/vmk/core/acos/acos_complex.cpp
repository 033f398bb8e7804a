// Complex Acos for c and z on the extended-precision core (heap/celem/inverse_scalar.hpp), one
// element at a time under control scheme B with the target 0x300; each part rounded once.
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/inverse_array.hpp"
#include "vmk/frame/control.hpp"

extern "C" {
void hpk_vmk_kernel_cAcos_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const X87ControlScope control(X87ControlScope::kExtended);
  celem::inverse_array<hpk_complex8, float, celem::acos_element<float>>(n, a, y, "vcAcos");
}
void hpk_vmk_kernel_zAcos_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const X87ControlScope control(X87ControlScope::kExtended);
  celem::inverse_array<hpk_complex16, double, celem::acos_element<double>>(n, a, y, "vzAcos");
}
}
