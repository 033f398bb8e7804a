// Add: y = a + b, the IEEE result of the hardware addition.
#include "vmk/frame/plain_loop.hpp"

namespace {
struct AddOp {
  template <class V>
  static V apply(V a, V b) { return a + b; }
};
}  // namespace

extern "C" {
void hpk_vmk_kernel_dAdd_EXHAynn(int n, const double *a, const double *b, double *y) {
  hpk::vmk::plain_loop_d<2, AddOp>(n, a, b, y);
}
void hpk_vmk_kernel_sAdd_EXHAynn(int n, const float *a, const float *b, float *y) {
  hpk::vmk::packed_loop_s<2, AddOp>(n, a, b, y);
}
}
