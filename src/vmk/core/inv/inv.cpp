// Inv: y = 1 / a; +-0 reports status 2 after +-inf is stored (frame in div/divide.hpp).
#include "vmk/core/div/divide.hpp"

extern "C" {
void hpk_vmk_kernel_dInv_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::divide<double, true>(n, a, nullptr, y);
}
void hpk_vmk_kernel_sInv_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::divide<float, true>(n, a, nullptr, y);
}
}
