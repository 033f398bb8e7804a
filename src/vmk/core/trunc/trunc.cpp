// Trunc: x rounded toward zero; the result keeps the sign of x, also when it is zero.
// Packed on bits, under the caller's control state, which it neither reads nor changes; no
// status on any input. The method and its exactness are told in heap/real/rounding.hpp.
#include "hpk/vmk.h"
#include "vmk/core/heap/real/rounding.hpp"

namespace r = hpk::vmk::rounding;

extern "C" {
void hpk_vmk_kernel_dTrunc_EXHAynn(int n, const double *a, double *y) {
  r::unary_loop<r::Double, r::Trunc<r::Double>>(n, a, y);
}
void hpk_vmk_kernel_sTrunc_EXHAynn(int n, const float *a, float *y) {
  r::unary_loop<r::Single, r::Trunc<r::Single>>(n, a, y);
}
}
