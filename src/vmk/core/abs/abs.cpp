// Abs: a with its sign bit cleared. Done on bits, with no arithmetic, so NaN payloads and
// signalling NaNs pass unchanged and no control state is needed.
#include <cstring>

#include "vmk/frame/plain_loop.hpp"

namespace {

struct AbsOp {
  static double apply(double a, double) {
    return hpk::simd::from_bits(uint64_t(hpk::simd::bits(a) & 0x7FFFFFFFFFFFFFFFull));
  }
  static hpk::simd::vd apply(hpk::simd::vd a, hpk::simd::vd) {
    return hpk::simd::andnot_bits(hpk::simd::splat(-0.0), a);
  }
};

}  // namespace

extern "C" {

void hpk_vmk_kernel_dAbs_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::plain_loop_d<1, AbsOp>(n, a, a, y);
}

// Integer lanes throughout: a float load and store through SSE registers would keep the bits
// too, but the scalar tail must not go through the x87 or a conversion.
void hpk_vmk_kernel_sAbs_EXHAynn(int n, const float *a, float *y) {
  using hpk::simd::vui;
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    vui r[4];
    for (int k = 0; k < 4; ++k) {
      std::memcpy(&r[k], a + i + 4 * k, sizeof r[k]);
      r[k] &= 0x7FFFFFFFu;
    }
    std::memcpy(y + i, r, sizeof r);
  }
  for (; i < n; ++i) {
    uint32_t u;
    std::memcpy(&u, a + i, 4);
    u &= 0x7FFFFFFFu;
    std::memcpy(y + i, &u, 4);
  }
}

}
