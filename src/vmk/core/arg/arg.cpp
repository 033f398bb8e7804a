// Arg: the angle of a complex element, atan2(im, re), by the Atan2 routines of the
// trigonometric family: the parts of a stretch of elements are taken apart into two local
// arrays and the Atan2 kernel of the same precision runs on them, writing straight into y. So
// cArg and zArg give exactly the bits of sAtan2 and dAtan2 (the single one computes in double
// and rounds once), within 1 ulp, and raise no status.
#include "hpk/vmk.h"

namespace {

constexpr int kStretch = 256;

template <class C, class R>
void arg(int n, const C *a, R *y, void (*atan2)(int, const R *, const R *, R *)) {
  R re[kStretch], im[kStretch];
  for (int i = 0; i < n; i += kStretch) {
    const int count = n - i < kStretch ? n - i : kStretch;
    for (int k = 0; k < count; ++k) {
      re[k] = a[i + k].re;
      im[k] = a[i + k].im;
    }
    // y may lie over a: its first i + count values cover no element after this stretch.
    atan2(count, im, re, y + i);
  }
}

}  // namespace

extern "C" {
void hpk_vmk_kernel_cArg_EXHAynn(int n, const hpk_complex8 *a, float *y) {
  arg(n, a, y, hpk_vmk_kernel_sAtan2_EXHAynn);
}
void hpk_vmk_kernel_zArg_EXHAynn(int n, const hpk_complex16 *a, double *y) {
  arg(n, a, y, hpk_vmk_kernel_dAtan2_EXHAynn);
}
}
