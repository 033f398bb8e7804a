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
// z^w = e^(w ln z), for finite z != 0 and finite w, with w ln z = P as pairs of extended values:
//   ln|z| as hi + lo (the square sum from its exact pieces, the logarithm's exact table sum
//   and its rest) and atan2 as hi + lo (quotient, 1 + t c and u with their rounding errors),
//   both about 2^-70 relative; P = (u lr - v li) + i (u li + v lr) with exact products of the
//   high parts (Dekker), about 2^-70 (|u lr| + |v li|) absolute. e^Pr as M (1 + Pr_lo) 2^K
//   (Pr clamped to [-12000, 12000], where every part is already 0 or infinite); sin and cos of
//   Pi_hi + Pi_lo, Pi_hi reduced by the extended reduction by pi/2 (any magnitude). A part is
//   then within 0.5 ulp + a few 2^-64 of the modulus, unless u lr and v li (or u li and v lr)
//   cancel, where the result is ill-conditioned in w and z, or the part is far below the
//   modulus (an angle next to a multiple of pi/2).
// z = 0 or a non-finite part: the composition e^(w ln z) carried out on the element type with
// the special values of the logarithm, the product of the C annex (mul_annex)
// and the special values of exp, as glibc's cpow does it.
#pragma once

#include <cmath>
#include <limits>

#include "vmk/core/heap/celem/exp_scalar.hpp"
#include "vmk/core/heap/lcore/lcore.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::celem {

using ld = long double;

using lcore::kInvLn10;

// x with the low 21 bits of its double significand cleared: 32 significant bits at most.
inline double top32(double x) { return simd::from_bits(simd::bits(x) & 0xFFFFFFFFFFE00000ull); }

// x^2 + y^2 + start as hi + lo (see above).
inline void norm_plus(double x, double y, ld start, ld &hi, ld &lo) {
  const double xh = top32(x), yh = top32(y);
  const ld xl = ld(x) - xh, yl = ld(y) - yh;  // exact, 21 bits
  const ld piece[6] = {ld(xh) * xh, ld(yh) * yh, 2.0L * xh * xl, 2.0L * yh * yl, xl * xl, yl * yl};
  hi = start;
  lo = 0.0L;
  for (ld t : piece) {
    ld e;
    lcore::two_sum(hi, t, hi, e);
    lo += e;
  }
}

// ln|z| for finite x, y not both zero, as hi + lo (about 2^-70 relative, or 2^-70 |ln|z||
// plus 2^-125 next to |z| = 1).
inline void ln_abs_pair(double x, double y, ld &hi, ld &lo) {
  const ld s = ld(x) * x + ld(y) * y;
  ld a, b;
  if (s < 0.5L || s > 2.0L) {
    ld sh, sl;
    norm_plus(x, y, 0.0L, sh, sl);
    lcore::logl_parts(sh, a, b);
    b += sl / sh;
  } else {
    ld dh, dl;
    norm_plus(x, y, -1.0L, dh, dl);
    const ld v = dh + dl;
    const ld dv = (dh - v) + dl;
    if (__builtin_fabsl(v) < 0x1p-8L) {
      a = v;
      b = lcore::log1p_tail(v) + dv / (1.0L + v);
    } else {
      ld sv, err;
      lcore::two_sum(1.0L, v, sv, err);
      lcore::logl_parts(sv, a, b);
      b += (err + dv) / sv;
    }
  }
  lcore::two_sum(a, b, hi, lo);
  hi *= 0.5L;
  lo *= 0.5L;
}

// ln|z| for finite x, y not both zero: away from |z| = 1 the rounded square sum is enough.
inline ld ln_abs(double x, double y) {
  const ld s = ld(x) * x + ld(y) * y;
  if (s < 0.5L || s > 2.0L) return 0.5L * lcore::logl(s);
  ld hi, lo;
  ln_abs_pair(x, y, hi, lo);
  return hi + lo;
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

// u a + v b as a pair, a and b pairs: exact products of the high parts, first order in the
// low ones.
inline void dot_pair(ld u, ld ah, ld al, ld v, ld bh, ld bl, ld &hi, ld &lo) {
  ld p1, e1, p2, e2, s, e;
  lcore::two_prod(u, ah, p1, e1);
  lcore::two_prod(v, bh, p2, e2);
  lcore::two_sum(p1, p2, s, e);
  const ld t = e + ((e1 + e2) + (u * al + v * bl));
  lcore::two_sum(s, t, hi, lo);
}

// z^w for finite z != 0, finite w; pr_out is Re(w ln z) for the underflow test.
// Single elements (the rare lanes of the packed single route) need only plain extended values:
// P is then within about 2^-62 (|u lr| + |v li| + |u li| + |v lr|) absolute. Double elements
// take the pairs always: with plain values a part far below the modulus (an angle next to a
// multiple of pi/2) would lose its last bits.
template <class R>
inline Parts<R> pow_finite(R x, R y, R u, R v, ld &pr_out) {
  if constexpr (sizeof(R) == 4) {
    ld lr, li;
    ln_finite(double(x), double(y), lr, li);
    pr_out = ld(u) * lr - ld(v) * li;
    return exp_ext_parts<R>(pr_out, ld(u) * li + ld(v) * lr);
  }
  ld lrh, lrl, lih, lil;
  ln_abs_pair(double(x), double(y), lrh, lrl);
  lcore::atan2_pair(y, x, lih, lil);
  ld prh, prl, pih, pil;
  dot_pair(u, lrh, lrl, -ld(v), lih, lil, prh, prl);
  dot_pair(u, lih, lil, v, lrh, lrl, pih, pil);
  pr_out = prh;
  const ld c = prh > 12000.0L ? 12000.0L : prh < -12000.0L ? -12000.0L : prh;
  int K;
  ld m = lcore::exp_parts(c, K);
  m += m * prl;
  ld s, co;
  lcore::sincos_pair(pih, pil, s, co);
  return {R(lcore::scale(m * co, K)), R(lcore::scale(m * s, K))};
}

template <class R>
inline bool pow_is_special(R x, R y, R u, R v) {
  return ln_is_special(x, y) || !(std::isfinite(u) && std::isfinite(v));
}

// (a + ib)(c + id) on the element type by the C annex's multiplication: when the plain parts
// are both NaN, an infinite factor still gives an infinity, and so does a product that
// overflowed.
template <class R>
inline void mul_annex(R a, R b, R c, R d, R &x, R &y) {
  const R ac = a * c, bd = b * d, ad = a * d, bc = b * c;
  x = ac - bd;
  y = ad + bc;
  if (!(std::isnan(x) && std::isnan(y))) return;
  auto box = [](R v) { return std::copysign(std::isinf(v) ? R(1) : R(0), v); };
  auto unnan = [](R v) { return std::isnan(v) ? std::copysign(R(0), v) : v; };
  bool recalc = false;
  if (std::isinf(a) || std::isinf(b)) {
    a = box(a);
    b = box(b);
    c = unnan(c);
    d = unnan(d);
    recalc = true;
  }
  if (std::isinf(c) || std::isinf(d)) {
    c = box(c);
    d = box(d);
    a = unnan(a);
    b = unnan(b);
    recalc = true;
  }
  if (!recalc && (std::isinf(ac) || std::isinf(bd) || std::isinf(ad) || std::isinf(bc))) {
    a = unnan(a);
    b = unnan(b);
    c = unnan(c);
    d = unnan(d);
    recalc = true;
  }
  if (recalc) {
    const R inf = std::numeric_limits<R>::infinity();
    x = inf * (a * c - b * d);
    y = inf * (a * d + b * c);
  }
}

// The composition on the element type, for z = 0 or a non-finite part.
template <class R>
[[gnu::noinline, gnu::cold]] Parts<R> pow_special(R x, R y, R u, R v) {
  Parts<R> l;
  if (ln_is_special(x, y)) l = ln_special(x, y, 1.0L);
  else l = ln_element<R>(x, y, 1.0L);
  R pr, pim;
  mul_annex(u, v, l.re, l.im, pr, pim);
  if (exp_is_special(pr, pim)) return exp_special(pr, pim);
  if (pim == R(0)) return exp_real_axis(pr, pim);
  return exp_finite(pr, pim);
}

}  // namespace hpk::vmk::celem
