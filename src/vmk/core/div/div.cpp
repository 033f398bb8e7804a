// Div: y = a / b (frame and status rules in divide.hpp).
#include "vmk/core/div/divide.hpp"

extern "C" {
void hpk_vmk_kernel_dDiv_EXHAynn(int n, const double *a, const double *b, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::divide<double, false>(n, a, b, y);
}
void hpk_vmk_kernel_sDiv_EXHAynn(int n, const float *a, const float *b, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::divide<float, false>(n, a, b, y);
}
}
