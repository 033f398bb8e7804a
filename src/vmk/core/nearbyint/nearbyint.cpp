// NearbyInt: x rounded to an integer in the caller's rounding direction, which is found by
// arithmetic at entry (never by reading the control registers) and selects one of four packed
// loops: nearest with halves to even, floor, ceil, trunc. No control state changed, no status.
// Rint is the same algorithm in a kernel of its own (rint/), so the two have two addresses.
#include "hpk/vmk.h"
#include "vmk/core/heap/real/rounding.hpp"

namespace r = hpk::vmk::rounding;

extern "C" {
void hpk_vmk_kernel_dNearbyInt_EXHAynn(int n, const double *a, double *y) {
  r::rint_loop<r::Double>(n, a, y);
}
void hpk_vmk_kernel_sNearbyInt_EXHAynn(int n, const float *a, float *y) {
  r::rint_loop<r::Single>(n, a, y);
}
}
