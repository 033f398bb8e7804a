// Sqr: y = a * a. The single twin runs under scheme A like the other single arithmetic.
#include "vmk/frame/plain_loop.hpp"

namespace {
struct SqrOp {
  template <class V>
  static V apply(V a, V) { return a * a; }
};
}  // namespace

extern "C" {
void hpk_vmk_kernel_dSqr_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::plain_loop_d<1, SqrOp>(n, a, a, y);
}
void hpk_vmk_kernel_sSqr_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::packed_loop_s<1, SqrOp>(n, a, a, y);
}
}
