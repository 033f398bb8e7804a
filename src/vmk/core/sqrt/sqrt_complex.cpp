// Complex Sqrt for c and z: one template over the element type on the extended-precision core
// (heap/celem/sqrt_scalar.hpp), under control scheme B with the target 0x300. One element at a
// time: the x87 unit is scalar, and the two square roots and the division dominate. Infinite,
// NaN and doubly zero elements leave the loop for the special-value rule. No status.
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/sqrt_scalar.hpp"
#include "vmk/frame/control.hpp"

namespace hpk::vmk {
namespace {

template <class T, class R>
void sqrt_array(int n, const T *a, T *y) {
  for (int i = 0; i < n; ++i) {
    const R x = a[i].re, z = a[i].im;
    const celem::Parts<R> p = __builtin_expect(celem::sqrt_is_special(x, z), 0)
                                  ? celem::sqrt_special(x, z)
                                  : celem::sqrt_finite(x, z);
    y[i].re = p.re;
    y[i].im = p.im;
  }
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_cSqrt_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::sqrt_array<hpk_complex8, float>(n, a, y);
}
void hpk_vmk_kernel_zSqrt_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::sqrt_array<hpk_complex16, double>(n, a, y);
}
}
