// Complex Exp for c and z.
// High accuracy (c, z): one template over the element type on the extended-precision core
// (heap/celem/exp_scalar.hpp), under control scheme B with the target 0x300, one element at a
// time.
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

// One element of the high accuracy route, with its status.
template <class T, class R>
inline void exp_element(int i, const T *a, T *y, const char *name) {
  // Finite real parts outside (kUnder, over) may overflow or underflow: checked after.
  constexpr R over = R(std::numeric_limits<R>::max_exponent) * R(0.6931471805599453) - R(1);
  const R x = a[i].re, z = a[i].im;
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
void exp_array(int n, const T *a, T *y, const char *name) {
  for (int i = 0; i < n; ++i) exp_element<T, R>(i, a, y, name);
}

// e^x cis y on two lanes of double, the lanes within the packed route's bounds.
inline void exp_lanes(simd::vd x, simd::vd z, simd::vd &re, simd::vd &im) {
  const simd::vd m = exp_core::main(x);
  simd::vd s, c;
  trig::sincos_eval(z, simd::vd{}, 0, s, c);
  re = m * c;
  im = m * s;
}

void exp_single_la(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  using namespace simd;
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const lanes::C4 v = lanes::load_c4(a + i);
    // In range: |x| < 80, 0 < |y| < 90112 (a NaN fails every comparison).
    const vf ax = and_bits(v.re, (vf)vui{0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu});
    const vf ay = and_bits(v.im, (vf)vui{0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu});
    const vf ok = (vf)((vi)(ax < 80.0f) & (vi)(ay < 90112.0f) & (vi)(ay > 0.0f));
    vd re0, im0, re1, im1;
    exp_lanes(lanes::widen_lo(v.re), lanes::widen_lo(v.im), re0, im0);
    exp_lanes(lanes::widen_hi(v.re), lanes::widen_hi(v.im), re1, im1);
    lanes::store_c4(y + i, lanes::interleave(lanes::narrow(re0, re1), lanes::narrow(im0, im1)));
    const int rare = movemask(ok) ^ 0xF;
    if (__builtin_expect(rare != 0, 0)) {
      const X87ControlScope control(X87ControlScope::kExtended);
      for (int k = 0; k < 4; ++k)
        if (rare >> k & 1) exp_element<hpk_complex8, float>(i + k, a, y, "vcExp");
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
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::exp_array<hpk_complex8, float>(n, a, y, "vcExp");
}
void hpk_vmk_kernel_cExp_EXLAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::exp_single_la(n, a, y);
}
void hpk_vmk_kernel_zExp_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::exp_array<hpk_complex16, double>(n, a, y, "vzExp");
}
}
