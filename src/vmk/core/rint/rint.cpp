// Rint: x rounded to an integer in the caller's rounding direction, found by arithmetic at
// entry. The same algorithm as NearbyInt (nearbyint/), kept as a kernel of its own so that each
// function has its own address in its table. No control state changed, no status.
#include "hpk/vmk.h"
#include "vmk/core/heap/real/rounding.hpp"

namespace r = hpk::vmk::rounding;

extern "C" {
void hpk_vmk_kernel_dRint_EXHAynn(int n, const double *a, double *y) {
  r::rint_loop<r::Double>(n, a, y);
}
void hpk_vmk_kernel_sRint_EXHAynn(int n, const float *a, float *y) {
  r::rint_loop<r::Single>(n, a, y);
}
}
