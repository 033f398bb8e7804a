// Log10: decimal logarithm; the route and the rare-path table are in ln_core.hpp.
#include "vmk/core/ln/ln_kernel.hpp"

extern "C" {
void hpk_vmk_kernel_dLog10_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::log_kernel<double, true>(n, a, y);
}
void hpk_vmk_kernel_sLog10_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::log_kernel<float, true>(n, a, y);
}
}
