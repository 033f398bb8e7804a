// CIS: from a real x the complex value cos x + i sin x, by the SinCos routines of the
// trigonometric family (their packed routes and the scalar reduced paths for large arguments):
// a stretch of arguments is copied to a local array, the SinCos kernel of the same precision
// runs on it, and its sines and cosines are interleaved into y. So each part has the bits and
// the accuracy of sSinCos or dSinCos.
//
// An infinite x stores x - x (the default NaN) in both parts and raises status 1 through the
// complex dispatcher with "vcCIS" or "vzCIS". It goes to SinCos as a NaN, so that SinCos itself
// reports nothing; a NaN x gives NaN parts and no status. The dispatcher is given y as the
// input array too: a complex element cannot be read from the real array a (it could lie beyond
// its end), so the call-back sees the stored NaN as the argument.
#include "hpk/vmk.h"
#include "vmk/service/error.hpp"

namespace {

constexpr int kStretch = 256;

template <class C, class R>
void cis(int n, const R *a, C *y, void (*sincos)(int, const R *, R *, R *), const char *name) {
  R x[kStretch], s[kStretch], c[kStretch];
  for (int i = 0; i < n; i += kStretch) {
    const int count = n - i < kStretch ? n - i : kStretch;
    bool infinite = false;
    for (int k = 0; k < count; ++k) {
      const R v = a[i + k];
      const bool inf = __builtin_isinf(v);
      infinite |= inf;
      x[k] = inf ? v - v : v;
    }
    sincos(count, x, s, c);
    for (int k = 0; k < count; ++k) y[i + k] = {c[k], s[k]};
    if (__builtin_expect(infinite, 0)) {
      for (int k = 0; k < count; ++k) {
        const R v = a[i + k];
        if (!__builtin_isinf(v)) continue;
        y[i + k] = {v - v, v - v};
        hpk::vmk::report_error<C>(hpk::vmk::kStatusDomain, i + k, y, y, y, y, name);
      }
    }
  }
}

}  // namespace

extern "C" {
void hpk_vmk_kernel_cCIS_EXHAynn(int n, const float *a, hpk_complex8 *y) {
  cis(n, a, y, hpk_vmk_kernel_sSinCos_EXHAynn, "vcCIS");
}
void hpk_vmk_kernel_zCIS_EXHAynn(int n, const double *a, hpk_complex16 *y) {
  cis(n, a, y, hpk_vmk_kernel_dSinCos_EXHAynn, "vzCIS");
}
}
