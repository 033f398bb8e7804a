// Floor: the greatest integer not above x. A zero keeps its sign; a positive x below 1 gives +0.
// Packed on bits, under the caller's control state, which it neither reads nor changes; no
// status on any input. The method and its exactness are told in heap/real/rounding.hpp.
#include "hpk/vmk.h"
#include "vmk/core/heap/real/rounding.hpp"

namespace r = hpk::vmk::rounding;

extern "C" {
void hpk_vmk_kernel_dFloor_EXHAynn(int n, const double *a, double *y) {
  r::unary_loop<r::Double, r::Floor<r::Double>>(n, a, y);
}
void hpk_vmk_kernel_sFloor_EXHAynn(int n, const float *a, float *y) {
  r::unary_loop<r::Single, r::Floor<r::Single>>(n, a, y);
}
}
