// Ln: natural logarithm; the route and the rare-path table are in ln_core.hpp.
#include "vmk/core/ln/ln_kernel.hpp"

extern "C" {
void hpk_vmk_kernel_dLn_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::log_kernel<double, false>(n, a, y);
}
void hpk_vmk_kernel_sLn_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::log_kernel<float, false>(n, a, y);
}
}
