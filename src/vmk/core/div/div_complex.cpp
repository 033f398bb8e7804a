// Complex Div: y = a / b.
//
// Single: heap/complex/single_binary.hpp (each part in double, rounded once; no scaling is
// needed, since the denominator's square of singles lies in double range).
//
// Double, under control scheme A. Main route, two elements a pass, parts apart, for elements
// whose four parts are zero or in [2^-450, 2^500) in magnitude with b not zero:
//   D  = br^2 + bi^2 and the numerators Nr = ar br + ai bi, Ni = ai br - ar bi as double-doubles
//        of exact products (2^-104 relative to the products), all within [2^-1004, 2^1001];
//   q  = Nh / Dh by one reciprocal of Dh shared by both parts, then one correction
//        q + ((Nh - q Dh) - q Dl + Nl) / Dh with q Dh exact as a double-double,
// so each part is within 0.5 ulp + 2^-100 relative of the exact quotient of the double-doubles:
// correctly rounded but for cancellation in a numerator beyond 2^-50 of its products, and then
// still far below an ulp of the result's larger part. A result part that comes out below 2^-960
// and not zero would have lost the low parts of its products, and goes to the scalar route too.
// _z_div_ha_scalar takes the rest: extended precision (no exponent limit that double parts can
// reach: D of doubles lies in [2^-2148, 2^2049]), then the special-value rules of
// heap/complex/nonfinite.hpp. Status 3 when the four input parts are finite and a result part is
// not: an overflow, or a division by zero.
#include "vmk/core/heap/complex/binary_pass.hpp"
#include "vmk/core/heap/complex/complex_lanes.hpp"
#include "vmk/core/heap/complex/single_binary.hpp"
#include "vmk/core/heap/complex/nonfinite.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {

int _z_div_ha_scalar(hpk_complex16 a, hpk_complex16 b, hpk_complex16 &r) {
  const X87ControlScope control(X87ControlScope::kExtended);
  const long double ar = a.re, ai = a.im, br = b.re, bi = b.im;
  const long double d = br * br + bi * bi;
  long double re = (ar * br + ai * bi) / d, im = (ai * br - ar * bi) / d;
  complex_special::div_recover(ar, ai, br, bi, d, re, im, (long double)__builtin_inf());
  r = {double(re), double(im)};
  const bool finite_in = __builtin_isfinite(a.re) && __builtin_isfinite(a.im) &&
                         __builtin_isfinite(b.re) && __builtin_isfinite(b.im);
  return finite_in && !(__builtin_isfinite(r.re) && __builtin_isfinite(r.im)) ? kStatusOverflow
                                                                             : 0;
}

namespace {

using namespace lanes;

// Nh + Nl over Dh + Dl, given inv = 1 / Dh and the split of Dh.
[[gnu::always_inline]] inline vd quotient(const vdd &N, const vdd &D, const Split &ds, vd inv) {
  const vd q = N.hi * inv;
  const vdd qd = product(q, split26(q), D.hi, ds);
  const vd rem = (((N.hi - qd.hi) - qd.lo) + N.lo) - q * D.lo;
  return add_tail(q, rem * inv);
}

struct DoubleDiv {
  using C = hpk_complex16;
  static constexpr int kElems = 2;
  using Out = Z2Out;

  [[gnu::always_inline]] static int compute(const C *a, const C *b, Out &r) {
    const Z2 va = load_z2(a), vb = load_z2(b);
    const vd zero_b = (vd)_mm_and_pd(_mm_cmpeq_pd((__m128d)vb.re, _mm_setzero_pd()),
                                     _mm_cmpeq_pd((__m128d)vb.im, _mm_setzero_pd()));
    const vd rare_in =
        simd::or_bits(simd::or_bits(outside_main_range(va.re), outside_main_range(va.im)),
                      simd::or_bits(simd::or_bits(outside_main_range(vb.re),
                                                  outside_main_range(vb.im)), zero_b));
    const Split ar = split26(va.re), ai = split26(va.im), br = split26(vb.re), bi = split26(vb.im);
    const vdd D = dd_add(product(vb.re, br, vb.re, br), product(vb.im, bi, vb.im, bi));
    const vdd Nr = dd_add(product(va.re, ar, vb.re, br), product(va.im, ai, vb.im, bi));
    const vdd Ni = dd_sub(product(va.im, ai, vb.re, br), product(va.re, ar, vb.im, bi));
    // A zero denominator lane divides by 1 instead, so no flag is raised for a lane that the
    // scalar route redoes.
    const vd dh = simd::select(zero_b, simd::splat(1.0), D.hi);
    const vd inv = simd::splat(1.0) / dh;
    const Split ds = split26(dh);
    const vd re = quotient(Nr, {dh, D.lo}, ds, inv), im = quotient(Ni, {dh, D.lo}, ds, inv);
    r = interleave(re, im);
    return simd::movemask(simd::or_bits(rare_in, simd::or_bits(tiny_not_zero(re), tiny_not_zero(im))));
  }
  static void store(C *y, const Out &r) { store_z2(y, r); }
  static int scalar(C a, C b, C &r) { return _z_div_ha_scalar(a, b, r); }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_cDiv_EXHAynn(int n, const hpk_complex8 *a, const hpk_complex8 *b,
                                 hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kDouble);
  hpk::vmk::binary_pass<hpk::vmk::SingleBinary<hpk::vmk::DivOp>>(n, a, b, y, "vcDiv");
}
void hpk_vmk_kernel_zDiv_EXHAynn(int n, const hpk_complex16 *a, const hpk_complex16 *b,
                                 hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::binary_pass<hpk::vmk::DoubleDiv>(n, a, b, y, "vzDiv");
}
}
