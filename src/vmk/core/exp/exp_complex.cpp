// Complex Exp for c and z.
// High accuracy (c, z): two elements a pass in double-double, under control scheme A.
//   e^x = 2^m (T + E) from the exponential's reduction (within about 2^-59 relative),
//   sin y = sh + sl, cos y = ch + cl from the trig core's pairs (about 2^-70 relative),
//   each part 2^m (Th + (Te + T l + E h)) with (Th, Te) = TwoProd(T, h) and (h, l) the pair,
//   one rounding of the sum (so within 0.5 ulp + about 2^-6 ulp), the scaling exact.
// The route takes -708 < x < 709 (e^x normal and finite) and 2^-252 <= |y| < 90112 (the trig
// core's packed range); a lane outside it, or whose part comes out below 2^-1021 (where the
// scaling would round a second time), goes through the extended-precision element route
// (heap/celem/exp_scalar.hpp) under control scheme B with the target 0x300, statuses included.
// The single kernel rounds each double part once more, to single.
// Low accuracy (c): four elements a pass in double, parts apart: e^x by the packed real
// exponential (exp/exp_core.hpp, within 0.5 ulp + 2^-9 of double) and sin y, cos y by the
// trig core's packed sine and cosine (about 0.5 ulp of double), their products rounded once to
// single: within 0.5 ulp + 2^-27 of single. Elements with |x| >= 80 (where a part may overflow
// or the modulus underflow), y = 0 (its signed zero), |y| >= 90112 (the quadrant reduction) or
// a non-finite part take the high accuracy element route, statuses included.
//
// Statuses, element by element after its result is stored:
//   3 overflow    a finite element with an infinite part
//   4 underflow   a finite element whose modulus e^x lies below the smallest normal number
//                 (its parts lost precision or vanished)
//   1 domain      a finite real part with an infinite imaginary part (NaN + i NaN, as the real
//                 sine and cosine of an infinity)
// NaN parts report nothing.
#include <cmath>
#include <limits>

#include "hpk/vmk.h"
#include "vmk/core/exp/exp_core.hpp"
#include "vmk/core/heap/celem/exp_scalar.hpp"
#include "vmk/core/heap/complex/complex_lanes.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

template <class R>
struct ExpLimits;
// Below these e^x is subnormal in the element type (x < ln of the smallest normal).
template <>
struct ExpLimits<double> {
  static constexpr double kUnder = -0x1.6232bdd7abcd2p+9;  // ln(2^-1022), to nearest
};
template <>
struct ExpLimits<float> {
  static constexpr float kUnder = -0x1.5d58ap+6f;  // ln(2^-126), to nearest
};

template <class T, class R>
[[gnu::cold, gnu::noinline]] void exp_report(int i, R x, R z, const T *a, T *y, const char *name) {
  if (std::isfinite(x) && std::isinf(z)) {
    report_error<T>(kStatusDomain, i, a, a, y, y, name);
  } else if (std::isfinite(x) && std::isfinite(z)) {
    if (std::isinf(y[i].re) || std::isinf(y[i].im))
      report_error<T>(kStatusOverflow, i, a, a, y, y, name);
    else if (x < ExpLimits<R>::kUnder)
      report_error<T>(kStatusUnderflow, i, a, a, y, y, name);
  }
}

// One element of the high accuracy route, from its parts x + i z (read by the caller before any
// store of its pass, so that an in-place call sees the input), stored to y[i] with its status.
template <class T, class R>
inline void exp_element(int i, R x, R z, const T *a, T *y, const char *name) {
  // Finite real parts outside (kUnder, over) may overflow or underflow: checked after.
  constexpr R over = R(std::numeric_limits<R>::max_exponent) * R(0.6931471805599453) - R(1);
  celem::Parts<R> p;
  if (__builtin_expect(celem::exp_is_special(x, z), 0)) p = celem::exp_special(x, z);
  else if (z == R(0)) p = celem::exp_real_axis(x, z);
  else p = celem::exp_finite(x, z);
  y[i].re = p.re;
  y[i].im = p.im;
  if (__builtin_expect(!(x > ExpLimits<R>::kUnder && x < over && std::isfinite(z)), 0))
    exp_report<T, R>(i, x, z, a, y, name);
}

template <class T, class R>
inline void exp_element(int i, const T *a, T *y, const char *name) {
  exp_element<T, R>(i, a[i].re, a[i].im, a, y, name);
}

// e^x cis y on two lanes of double, the lanes within the packed route's bounds.
[[gnu::always_inline]] inline void exp_lanes(simd::vd x, simd::vd z, simd::vd &re, simd::vd &im) {
  const simd::vd m = exp_core::main(x);
  simd::vd s, c;
  trig::sincos_eval(z, simd::vd{}, 0, s, c);
  re = m * c;
  im = m * s;
}

// The high accuracy route on two lanes (meaningful for lanes inside its bounds).
[[gnu::always_inline]] inline void exp_lanes_dd(simd::vd x, simd::vd z, simd::vd &re, simd::vd &im) {
  using simd::vd;
  const exp_core::ReducedParts q = exp_core::reduce_parts(x);
  const trig::Arg<vd> arg = trig::reduce_pio32(z, vd{});
  const vd r2 = arg.r * arg.r;
  const vd ps = trig::poly_s(r2), pc = trig::poly_c(r2);
  vd sh, sl, ch, cl;
  trig::from_row_dd(trig::row(arg.t, 0), arg, ps, pc, sh, sl);
  trig::from_row_dd(trig::row(arg.t, 16), arg, ps, pc, ch, cl);
  const vd f = exp_core::scale(q.t_bits);
  vd p, pe;
  trig::two_prod(q.T, ch, p, pe);
  re = (p + ((pe + q.T * cl) + q.E * ch)) * f;
  trig::two_prod(q.T, sh, p, pe);
  im = (p + ((pe + q.T * sl) + q.E * sh)) * f;
}

inline simd::vd abs_pd(simd::vd v) { return simd::andnot_bits(simd::splat(-0.0), v); }

// Mask (two bits) of the lanes inside the high accuracy route's input bounds.
inline int exp_dd_inside(simd::vd x, simd::vd z) {
  using simd::vd;
  const vd az = abs_pd(z);
  return simd::movemask((vd)((x > simd::splat(-708.0)) & (x < simd::splat(709.0)) &
                             (az >= simd::splat(0x1p-252)) & (az < simd::splat(90112.0))));
}

void exp_double_ha(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  using simd::vd;
  int i = 0;
  for (; i + 2 <= n; i += 2) {
    const vd v0 = simd::loadu(&a[i].re), v1 = simd::loadu(&a[i + 1].re);
    const vd x = (vd)_mm_unpacklo_pd((__m128d)v0, (__m128d)v1);
    const vd z = (vd)_mm_unpackhi_pd((__m128d)v0, (__m128d)v1);
    vd re, im;
    exp_lanes_dd(x, z, re, im);
    const vd least = simd::splat(0x1p-1021);
    const int tiny = simd::movemask((vd)((abs_pd(re) < least) | (abs_pd(im) < least)));
    const int rare = (exp_dd_inside(x, z) & ~tiny) ^ 3;
    simd::storeu(&y[i].re, (vd)_mm_unpacklo_pd((__m128d)re, (__m128d)im));
    simd::storeu(&y[i + 1].re, (vd)_mm_unpackhi_pd((__m128d)re, (__m128d)im));
    if (__builtin_expect(rare != 0, 0)) {
      const X87ControlScope control(X87ControlScope::kExtended);
      for (int k = 0; k < 2; ++k)
        if (rare >> k & 1) exp_element<hpk_complex16, double>(i + k, x[k], z[k], a, y, "vzExp");
    }
  }
  if (i < n) {
    const X87ControlScope control(X87ControlScope::kExtended);
    exp_element<hpk_complex16, double>(i, a, y, "vzExp");
  }
}

// The single kernels: four elements a pass in double lanes through `Lanes` (exp_lanes_dd for
// high accuracy: every double part is normal there, since |x| < 80 keeps e^x within 2^+-116 and
// |sin y| >= 2^-150 for a non-zero single y, so a single rounding of the double sum remains
// before the one to single; exp_lanes for low accuracy). In range: |x| < 80, 0 < |y| < 90112 (a
// NaN fails every comparison); lanes outside compute something finite or NaN, overwritten by
// the element route from the inputs read before the store.
template <void (*Lanes)(simd::vd, simd::vd, simd::vd &, simd::vd &)>
void exp_single(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  using namespace simd;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const lanes::C4 v = lanes::load_c4(a + i);
    const vf ax = and_bits(v.re, (vf)vui{0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu});
    const vf ay = and_bits(v.im, (vf)vui{0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu});
    const vf ok = (vf)((vi)(ax < 80.0f) & (vi)(ay < 90112.0f) & (vi)(ay > 0.0f));
    vd re0, im0, re1, im1;
    Lanes(lanes::widen_lo(v.re), lanes::widen_lo(v.im), re0, im0);
    Lanes(lanes::widen_hi(v.re), lanes::widen_hi(v.im), re1, im1);
    lanes::store_c4(y + i, lanes::interleave(lanes::narrow(re0, re1), lanes::narrow(im0, im1)));
    const int rare = movemask(ok) ^ 0xF;
    if (__builtin_expect(rare != 0, 0)) {
      const X87ControlScope control(X87ControlScope::kExtended);
      for (int k = 0; k < 4; ++k)
        if (rare >> k & 1) exp_element<hpk_complex8, float>(i + k, v.re[k], v.im[k], a, y, "vcExp");
    }
  }
  if (i < n) {
    const X87ControlScope control(X87ControlScope::kExtended);
    for (; i < n; ++i) exp_element<hpk_complex8, float>(i, a, y, "vcExp");
  }
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_cExp_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::exp_single<hpk::vmk::exp_lanes_dd>(n, a, y);
}
void hpk_vmk_kernel_cExp_EXLAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::exp_single<hpk::vmk::exp_lanes>(n, a, y);
}
void hpk_vmk_kernel_zExp_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::exp_double_ha(n, a, y);
}
}
