// Single complex Mul, MulByConj and Div: each part computed in double and rounded once to
// single, under control scheme B with the target 0x200.
//
// The products of two singles are exact in double, so Mul and MulByConj round twice in all:
// the sum of the two products to double, then to single. A part that would overflow single only
// in a product (as in (2^100 + 2^100 i)(2^100 - 2^100 i)) is therefore right, and every part is
// within 0.5 ulp + 2^-29 of the exact value relative to its own size, cancellation or not.
// Div: d = br^2 + bi^2 is exact but for one rounding, and neither overflows nor underflows in
// double for any single inputs (2^-298 <= d <= 2^257 for non-zero b), so no scaling is needed;
// each part is N / d with N the rounded sum of exact products: three roundings in double
// (relative 2^-51.4 at most: N is the rounded sum of exact products, cancelling or not), then
// one to single.
//
// The double arithmetic itself runs on the SSE unit (packed, then the same scalar operations on
// the rare route), so its results are those of the caller's MXCSR, round to nearest by default.
//
// Rare elements: a non-finite result part. The scalar route computes the same operations in
// the same order, then applies the special-value rules of heap/complex/nonfinite.hpp, and raises
// status 3 when all four input parts are finite: a part that overflows single, or, for Div, a
// division by zero.
#pragma once

#include "vmk/core/heap/complex/binary_pass.hpp"
#include "vmk/core/heap/complex/complex_lanes.hpp"
#include "vmk/core/heap/complex/parts.hpp"
#include "vmk/core/heap/complex/nonfinite.hpp"
#include "vmk/service/error.hpp"

namespace hpk::vmk {

// Op::parts(ar, ai, br, bi, re, im) on simd::vd lanes and on doubles alike; Op::recover fixes a
// NaN result of infinite operands.
struct MulOp {
  template <class V>
  static void parts(V ar, V ai, V br, V bi, V &re, V &im) {
    re = ar * br - ai * bi;
    im = ar * bi + ai * br;
  }
  static void recover(double ar, double ai, double br, double bi, double &re, double &im) {
    complex_special::mul_recover(ar, ai, br, bi, re, im, __builtin_inf());
  }
};
struct MulByConjOp {
  template <class V>
  static void parts(V ar, V ai, V br, V bi, V &re, V &im) {
    re = ar * br + ai * bi;
    im = ai * br - ar * bi;
  }
  static void recover(double ar, double ai, double br, double bi, double &re, double &im) {
    complex_special::mul_recover(ar, ai, br, -bi, re, im, __builtin_inf());
  }
};
struct DivOp {
  template <class V>
  static void parts(V ar, V ai, V br, V bi, V &re, V &im) {
    const V d = br * br + bi * bi;
    re = (ar * br + ai * bi) / d;
    im = (ai * br - ar * bi) / d;
  }
  static void recover(double ar, double ai, double br, double bi, double &re, double &im) {
    complex_special::div_recover(ar, ai, br, bi, br * br + bi * bi, re, im, __builtin_inf());
  }
};

template <class Op>
struct SingleBinary {
  using C = hpk_complex8;
  static constexpr int kElems = 4;
  using Out = lanes::C4Out;

  [[gnu::always_inline]] static int compute(const C *a, const C *b, Out &r) {
    using namespace lanes;
    const C4 va = load_c4(a), vb = load_c4(b);
    vd re_lo, im_lo, re_hi, im_hi;
    Op::parts(widen_lo(va.re), widen_lo(va.im), widen_lo(vb.re), widen_lo(vb.im), re_lo, im_lo);
    Op::parts(widen_hi(va.re), widen_hi(va.im), widen_hi(vb.re), widen_hi(vb.im), re_hi, im_hi);
    const vf re = narrow(re_lo, re_hi), im = narrow(im_lo, im_hi);
    r = interleave(re, im);
    return simd::movemask(simd::or_bits(not_finite(re), not_finite(im)));
  }
  static void store(C *y, const Out &r) { lanes::store_c4(y, r); }
  static int scalar(C a, C b, C &r) {
    double re, im;
    Op::parts(double(a.re), double(a.im), double(b.re), double(b.im), re, im);
    Op::recover(a.re, a.im, b.re, b.im, re, im);
    r = {float(re), float(im)};
    const bool finite_in = __builtin_isfinite(a.re) && __builtin_isfinite(a.im) &&
                           __builtin_isfinite(b.re) && __builtin_isfinite(b.im);
    return finite_in && !(__builtin_isfinite(r.re) && __builtin_isfinite(r.im)) ? kStatusOverflow
                                                                               : 0;
  }
};

}  // namespace hpk::vmk
