// Modf: y the integer part of x (toward zero), z the fraction x - y, both with the sign of x.
// Infinities give (x, signed zero); NaN gives x + x in both. Exact, packed on bits, no control
// state, no status.
#include "hpk/vmk.h"
#include "vmk/core/heap/real/rounding.hpp"

namespace r = hpk::vmk::rounding;

extern "C" {
void hpk_vmk_kernel_dModf_EXHAynn(int n, const double *a, double *y, double *z) {
  r::modf_loop<r::Double>(n, a, y, z);
}
void hpk_vmk_kernel_sModf_EXHAynn(int n, const float *a, float *y, float *z) {
  r::modf_loop<r::Single>(n, a, y, z);
}
}
