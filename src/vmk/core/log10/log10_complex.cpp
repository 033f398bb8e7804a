// Complex Log10 for z: the extended logarithm of heap/celem/log_scalar.hpp with both parts times
// 1/ln 10 in extended precision before their one rounding (within 0.5 ulp + 2^-8 ulp), one
// element at a time under control scheme B with the target 0x300. cLog10 shares the packed
// single route of cLn (core/ln/ln_complex.cpp).
// Status: 2 singularity at a zero element (-inf + i0 or -inf + i pi/ln 10), "vcLog10" /
// "vzLog10"; nothing else.
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/log_kernel.hpp"
#include "vmk/frame/control.hpp"

extern "C" {
void hpk_vmk_kernel_zLog10_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::celem::ln_array<hpk_complex16, double>(n, a, y, hpk::vmk::celem::kInvLn10, "vzLog10");
}
}
