// Double complex Mul and MulByConj, under control scheme A.
//
// Main route, two elements a pass, parts apart: each part is a sum of two exact products
// (double-double by a 26-bit split), added as double-doubles and rounded once, so every part is
// within 0.5 ulp + 2^-100 of its own magnitude plus 2^-104 of the products' magnitude: the
// correctly rounded value unless the part cancels by more than 2^-50 of the products, and even
// then an error far below an ulp of the result's larger part. It takes the elements whose four
// parts are below 2^500 in magnitude (so no product overflows and no result part can leave the
// range of doubles) and whose result parts are zero or at least 2^-960: a product whose partial
// products underflow is below 2^-916 and errs by at most 2^-1073 or so, a negligible part of
// an ulp of such a result. Every other element (NaN, infinity, huge parts, results that are
// tiny and not zero) goes to _z_mul_ha_scalar. The test of the inputs reads their top words
// only, so it costs a few integer operations for the pair.
#pragma once

#include "vmk/core/heap/complex/binary_pass.hpp"
#include "vmk/core/heap/complex/complex_lanes.hpp"

namespace hpk::vmk {

// (a.re + i a.im)(b.re + i b.im), or with b conjugated, in extended precision under the x87
// state of 64-bit precision: the products and their sum carry 64 bits and no exponent limit
// that double parts can reach, so the only rounding that matters is the last one, to double.
// NaN and infinity follow heap/complex/nonfinite.hpp (with the constants of _vmkzMulHATab).
// Returns status 3 when all input parts are finite and a result part is not.
int _z_mul_ha_scalar(hpk_complex16 a, hpk_complex16 b, hpk_complex16 &r, bool conj_b);

template <bool Conj>
struct DoubleMul {
  using C = hpk_complex16;
  static constexpr int kElems = 2;
  using Out = lanes::Z2Out;

  [[gnu::always_inline]] static int compute(const C *a, const C *b, Out &r) {
    using namespace lanes;
    const Z2 va = load_z2(a);
    Z2 vb = load_z2(b);
    if (Conj) vb.im = simd::xor_bits(vb.im, simd::splat(-0.0));
    const Split ar = split26(va.re), ai = split26(va.im), br = split26(vb.re), bi = split26(vb.im);
    const vdd rr = product(va.re, ar, vb.re, br), ii = product(va.im, ai, vb.im, bi);
    const vdd ri = product(va.re, ar, vb.im, bi), ir = product(va.im, ai, vb.re, br);
    // Rounded once: hi + lo of a normalised pair is hi.
    const vd re = dd_sub(rr, ii).hi, im = dd_add(ri, ir).hi;
    r = interleave(re, im);
    return huge_parts(va) | huge_parts(vb) |
           simd::movemask(simd::or_bits(tiny_not_zero(re), tiny_not_zero(im)));
  }
  static void store(C *y, const Out &r) { lanes::store_z2(y, r); }
  static int scalar(C a, C b, C &r) { return _z_mul_ha_scalar(a, b, r, Conj); }
};

}  // namespace hpk::vmk
