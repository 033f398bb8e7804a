// Ceil: the least integer not below x. A zero keeps its sign, and so does a negative x above
// -1 (it gives -0).
// Packed on bits, under the caller's control state, which it neither reads nor changes; no
// status on any input. The method and its exactness are told in heap/real/rounding.hpp.
#include "hpk/vmk.h"
#include "vmk/core/heap/real/rounding.hpp"

namespace r = hpk::vmk::rounding;

extern "C" {
void hpk_vmk_kernel_dCeil_EXHAynn(int n, const double *a, double *y) {
  r::unary_loop<r::Double, r::Ceil<r::Double>>(n, a, y);
}
void hpk_vmk_kernel_sCeil_EXHAynn(int n, const float *a, float *y) {
  r::unary_loop<r::Single, r::Ceil<r::Single>>(n, a, y);
}
}
