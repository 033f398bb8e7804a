// Complex Atanh for c and z on the extended-precision core (heap/celem/inverse_scalar.hpp), one
// element at a time under control scheme B with the target 0x300; each part rounded once.
// Status 2 at the poles +-1 + i(+-0), where the result is +-inf + i(+-0).
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/inverse_array.hpp"
#include "vmk/frame/control.hpp"

extern "C" {
void hpk_vmk_kernel_cAtanh_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const X87ControlScope control(X87ControlScope::kExtended);
  celem::inverse_array<hpk_complex8, float, celem::atanh_element<float>, celem::atanh_pole<float>>(n, a, y, "vcAtanh");
}
void hpk_vmk_kernel_zAtanh_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const X87ControlScope control(X87ControlScope::kExtended);
  celem::inverse_array<hpk_complex16, double, celem::atanh_element<double>, celem::atanh_pole<double>>(n, a, y, "vzAtanh");
}
}
