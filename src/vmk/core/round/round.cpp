// Round: x rounded to the nearest integer, halves away from zero; the result keeps the sign of x.
// Packed on bits, under the caller's control state, which it neither reads nor changes; no
// status on any input. The method and its exactness are told in heap/real/rounding.hpp.
#include "hpk/vmk.h"
#include "vmk/core/heap/real/rounding.hpp"

namespace r = hpk::vmk::rounding;

extern "C" {
void hpk_vmk_kernel_dRound_EXHAynn(int n, const double *a, double *y) {
  r::unary_loop<r::Double, r::Round<r::Double>>(n, a, y);
}
void hpk_vmk_kernel_sRound_EXHAynn(int n, const float *a, float *y) {
  r::unary_loop<r::Single, r::Round<r::Single>>(n, a, y);
}
}
