// The array loop of the complex inverse functions: each element's algebra in extended precision
// (heap/celem/inverse_scalar.hpp), then the logarithms of two elements in one packed ln and
// their arctangents in one packed atan (double lanes), then each element's parts.
// The caller holds control scheme B with the target 0x300 (the algebra) and scheme A (the
// lanes' exact steps need round to nearest, and their tiny values no flush).
// An element with an infinite or NaN part, or at a pole, idles its lanes and takes the special
// rule; the only status is 2 at a pole (Atanh at +-1, Atan at +-i), reported after the
// element's result is stored. No finite element overflows (the largest part is about
// ln(2^1025), or (1/4) ln(2^2152) next to a pole) and none without NaN parts gives a NaN.
#pragma once

#include <cmath>

#include "hpk/vmk.h"
#include "vmk/core/atan/inverse_core.hpp"
#include "vmk/core/heap/celem/inverse_scalar.hpp"
#include "vmk/core/ln/ln_core.hpp"
#include "vmk/service/error.hpp"

namespace hpk::vmk::celem {

// ln and angle of two staged elements, into ln[0..1] and angle[0..1].
inline void final_pair(const Staged &s0, const Staged &s1, ld *ln, ld *angle) {
  using simd::vd;
  const vd hi = {s0.ln.hi, s1.ln.hi};
  const vd l = ln_core::main<false>(hi);
  const vd c = vd{s0.ln.lo, s1.ln.lo} / hi;
  const inverse::AtanParts p = inverse::atan_parts(vd{s0.at.t_hi, s1.at.t_hi},
                                                   vd{s0.at.t_lo, s1.at.t_lo});
  const Staged *s[2] = {&s0, &s1};
  for (int k = 0; k < 2; ++k) {
    ln[k] = ld(l[k]) + ((ld(c[k]) - 0.5L * ld(c[k]) * ld(c[k])) + s[k]->ln.add);
    const ld at = (ld(p.c_hi[k]) + ld(p.u[k])) + (ld(p.small[k]) + ld(p.c_lo[k]));
    angle[k] = s[k]->at.k + (s[k]->at.neg ? -at : at);
  }
}

// Eight elements a block: their extended chains and then their four packed pairs are
// independent, so the processor overlaps them instead of waiting on one element's latency.
inline constexpr int kBlock = 8;

// Elements first .. first + n - 1 (statuses report their index in the whole array).
template <class T, class R, template <class> class Op>
void inverse_range(int first, int n, const T *a, T *y, const char *name) {
  using F = Op<R>;
  n += first;
  for (int i = first; i < n; i += kBlock) {
    const int m = n - i < kBlock ? n - i : kBlock;
    R x[kBlock], z[kBlock];
    bool rare[kBlock];
    Staged s[kBlock];
    for (int k = 0; k < m; ++k) {  // all read before any store: y may be a
      x[k] = a[i + k].re;
      z[k] = a[i + k].im;
      rare[k] = !(std::isfinite(x[k]) && std::isfinite(z[k])) || F::pole(x[k], z[k]);
      s[k] = __builtin_expect(!rare[k], 1) ? F::stage(x[k], z[k]) : kIdleLane;
    }
    if (m & 1) s[m] = kIdleLane;
    ld ln[kBlock], angle[kBlock];
    for (int k = 0; k < m; k += 2) final_pair(s[k], s[k + 1], ln + k, angle + k);
    for (int k = 0; k < m; ++k) {
      if (__builtin_expect(!rare[k], 1)) {
        const Parts<R> p = F::finish(x[k], z[k], ln[k], angle[k]);
        y[i + k].re = p.re;
        y[i + k].im = p.im;
      }
    }
    for (int k = 0; k < m; ++k) {
      if (__builtin_expect(rare[k], 0)) {
        const Parts<R> p = F::special(x[k], z[k]);
        y[i + k].re = p.re;
        y[i + k].im = p.im;
        if (F::kHasPole && F::pole(x[k], z[k]))
          report_error<T>(kStatusSingularity, i + k, a, a, y, y, name);
      }
    }
  }
}

template <class T, class R, template <class> class Op>
void inverse_array(int n, const T *a, T *y, const char *name) {
  inverse_range<T, R, Op>(0, n, a, y, name);
}

}  // namespace hpk::vmk::celem
