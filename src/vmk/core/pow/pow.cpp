// Pow: x^y element by element. The packed route of pow_core.hpp for x positive normal, y normal
// and not extreme, and a normal result; pow_scalar (the single kernel: _spow_scalar) for every
// other element. Statuses: 1 for a negative finite x with a finite non-integer y (the default
// NaN), and for a zero x with a negative y (+inf, or +-inf for an odd integer y); none else,
// overflow and underflow included.
#include "vmk/core/pow/pow_kernel.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"

extern "C" {
void hpk_vmk_kernel_dPow_EXHAynn(int n, const double *a, const double *b, double *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const SseControlScope control(current_mode());
  const PowKernel<double, false> k{a, b, y, "vdPow"};
  packed_pass2(k, n, a, ArrayOperand<double>{b}, y);
}
void hpk_vmk_kernel_sPow_EXHAynn(int n, const float *a, const float *b, float *y) {
  if (n <= 0) return;
  using namespace hpk::vmk;
  const SseControlScope control(current_mode());
  const PowKernel<float, false> k{a, b, y, "vsPow"};
  packed_pass2(k, n, a, ArrayOperand<float>{b}, y);
}
}
