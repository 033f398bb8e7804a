// Complex Log10 for z: the packed double-double route of core/ln/ln_complex_dd.hpp, both parts
// times 1/ln 10 in two parts before their one rounding, two elements a pass under control
// scheme A; rare lanes through the extended logarithm of heap/celem/log_scalar.hpp (parts times
// 1/ln 10 in extended precision, within 0.5 ulp + 2^-8 ulp) under scheme B. cLog10 shares the packed
// single route of cLn (core/ln/ln_complex.cpp).
// Status: 2 singularity at a zero element (-inf + i0 or -inf + i pi/ln 10), "vcLog10" /
// "vzLog10"; nothing else.
#include "hpk/vmk.h"
#include "vmk/core/ln/ln_complex_dd.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"

extern "C" {
void hpk_vmk_kernel_zLog10_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::ln_complex::ln_array_dd<true>(n, a, y, "vzLog10");
}
}
