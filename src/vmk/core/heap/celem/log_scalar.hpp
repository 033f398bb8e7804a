// Complex logarithm and power of one element in 80-bit extended arithmetic (x87, 64-bit
// precision set by the caller's X87ControlScope(kExtended)), on the extended core
// (heap/lcore/lcore.hpp).
//
// ln(x + iy) = ln|z| + i atan2(y, x), for finite parts not both zero:
//   The squares of any double are normal extended values, so s = x^2 + y^2 needs no scaling.
//   s outside [1/2, 2]: ln|z| = ln(s) / 2, s within 2^-63 relative, |ln s| >= ln 2: the part is
//     within about 2^-62 relative before its rounding.
//   s in [1/2, 2]: ln|z| = log1p(d) / 2 with d = x^2 + y^2 - 1 formed from exact pieces: each
//     part cut at 32 significant bits, x = xh + xl, so xh^2 (64 bits), 2 xh xl (54) and xl^2 (42)
//     are exact extended values; the six pieces and -1 are summed by TwoSum into hi + lo, about
//     2^-125 absolute. d keeps its relative accuracy while |d| >= 2^-60, where it could not be
//     smaller without the parts being special; the part cancels nothing.
//   atan2 of the core, within 2^-63 relative.
// Each part is rounded once to the element type: within 0.5 ulp + 2^-9 ulp.
// log10 multiplies both extended parts by 1/ln 10 (64 bits): one more 2^-64.
//
// z^w = e^(w ln z), for finite z != 0 and finite w: with ln z = lr + i li in extended,
//   P = (u lr - v li) + i (u li + v lr) in extended (no overflow: |P| < 2^1036);
//   e^Pr as M 2^K from the core (Pr clamped to [-12000, 12000], where every part is already 0
//   or infinite), sin and cos of Pi by the core, Pi reduced by the extended reduction by pi/2
//   (any magnitude). The error of a part is that of Pr and Pi, about 2^-63 (|u lr| + |v li|)
//   absolute, plus a few 2^-64 relative: within an ulp or two of double unless u lr and v li
//   (or u li and v lr) cancel, where the result is ill-conditioned in w and z.
// z = 0 or a non-finite part: the composition e^(w ln z) carried out on the element type with
// the special values of the logarithm, the product of the C annex (complex_special::mul_recover)
// and the special values of exp, as glibc's cpow does it.
#pragma once

#include <cmath>
#include <limits>

#include "vmk/core/heap/celem/exp_scalar.hpp"
#include "vmk/core/heap/complex/nonfinite.hpp"
#include "vmk/core/heap/lcore/lcore.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::celem {

using ld = long double;

using lcore::kInvLn10;

// x with the low 21 bits of its double significand cleared: 32 significant bits at most.
inline double top32(double x) { return simd::from_bits(simd::bits(x) & 0xFFFFFFFFFFE00000ull); }

// x^2 + y^2 - 1 as hi + lo (see above).
inline void norm_minus_one(double x, double y, ld &hi, ld &lo) {
  const double xh = top32(x), yh = top32(y);
  const ld xl = ld(x) - xh, yl = ld(y) - yh;  // exact, 21 bits
  const ld piece[6] = {ld(xh) * xh, ld(yh) * yh, 2.0L * xh * xl, 2.0L * yh * yl, xl * xl, yl * yl};
  hi = -1.0L;
  lo = 0.0L;
  for (ld t : piece) {
    ld e;
    lcore::two_sum(hi, t, hi, e);
    lo += e;
  }
}

// ln|z| for finite x, y not both zero.
inline ld ln_abs(double x, double y) {
  const ld s = ld(x) * x + ld(y) * y;
  if (s < 0.5L || s > 2.0L) return 0.5L * lcore::logl(s);
  ld hi, lo;
  norm_minus_one(x, y, hi, lo);
  const ld v = hi + lo;
  const ld dv = (hi - v) + lo;
  return 0.5L * (lcore::log1pl(v) + dv / (1.0L + v));
}

inline void ln_finite(double x, double y, ld &lr, ld &li) {
  lr = ln_abs(x, y);
  li = lcore::atan2l(y, x);
}

// A finite element that is not zero.
template <class R>
inline bool ln_is_special(R x, R y) {
  return !(std::isfinite(x) && std::isfinite(y)) || (x == R(0) && y == R(0));
}

// The special values of the logarithm, with conj symmetry:
//   -0 + i0: -inf + i pi;  +0 + i0: -inf + i0 (the zero's sign kept in the imaginary part);
//   an infinite part: +inf for the real part and the angle of the infinities (pi/2, 0, pi,
//   pi/4, 3 pi/4); a NaN part: NaN real part except beside an infinity (+inf), NaN angle.
// k scales the finite angles (1 for ln, 1/ln 10 for log10), rounded once.
template <class R>
[[gnu::noinline, gnu::cold]] Parts<R> ln_special(R x, R y, ld k) {
  const R inf = std::numeric_limits<R>::infinity(), nan = std::numeric_limits<R>::quiet_NaN();
  const R pi = R(lcore::kPiHi * k), pio2 = R(lcore::kPio2Hi * k), pio4 = R(lcore::kPio2Hi * 0.5L * k);
  const R three_pio4 = R(lcore::kPio2Hi * 1.5L * k);
  if (std::isinf(x) || std::isinf(y)) {
    R ang;
    if (std::isnan(x) || std::isnan(y)) ang = nan;
    else if (std::isinf(x) && std::isinf(y)) ang = x > 0 ? pio4 : three_pio4;
    else if (std::isinf(y)) ang = pio2;
    else ang = x > 0 ? R(0) : pi;
    return {inf, std::isnan(ang) ? ang : std::copysign(ang, y)};
  }
  if (std::isnan(x) || std::isnan(y)) return {x + y, x + y};
  // zero
  return {-inf, std::copysign(std::signbit(x) ? pi : R(0), y)};
}

template <class R>
inline Parts<R> ln_element(R x, R y, ld scale_by) {
  ld lr, li;
  ln_finite(double(x), double(y), lr, li);
  return {R(lr * scale_by), R(li * scale_by)};
}

// ---- power ----------------------------------------------------------------------------------

// e^(pr + i pim) rounded to R, for finite pr, pim.
template <class R>
inline Parts<R> exp_ext_parts(ld pr, ld pim) {
  const ld c = pr > 12000.0L ? 12000.0L : pr < -12000.0L ? -12000.0L : pr;
  int K;
  const ld m = lcore::exp_parts(c, K);
  ld s, co;
  lcore::sincosl(pim, s, co);
  return {R(lcore::scale(m * co, K)), R(lcore::scale(m * s, K))};
}

// z^w for finite z != 0, finite w; pr_out is Re(w ln z) for the underflow test.
template <class R>
inline Parts<R> pow_finite(R x, R y, R u, R v, ld &pr_out) {
  ld lr, li;
  ln_finite(double(x), double(y), lr, li);
  const ld pr = ld(u) * lr - ld(v) * li;
  const ld pim = ld(u) * li + ld(v) * lr;
  pr_out = pr;
  return exp_ext_parts<R>(pr, pim);
}

template <class R>
inline bool pow_is_special(R x, R y, R u, R v) {
  return ln_is_special(x, y) || !(std::isfinite(u) && std::isfinite(v));
}

// The composition on the element type, for z = 0 or a non-finite part.
template <class R>
[[gnu::noinline, gnu::cold]] Parts<R> pow_special(R x, R y, R u, R v) {
  Parts<R> l;
  if (ln_is_special(x, y)) l = ln_special(x, y, 1.0L);
  else l = ln_element<R>(x, y, 1.0L);
  const R inf = std::numeric_limits<R>::infinity();
  R pr = u * l.re - v * l.im, pim = u * l.im + v * l.re;
  complex_special::mul_recover<R>(u, v, l.re, l.im, pr, pim, inf);
  if (exp_is_special(pr, pim)) return exp_special(pr, pim);
  if (pim == R(0)) return exp_real_axis(pr, pim);
  return exp_finite(pr, pim);
}

}  // namespace hpk::vmk::celem
