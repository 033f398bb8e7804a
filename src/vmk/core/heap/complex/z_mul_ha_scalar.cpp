// The extended-precision scalar route of the double complex products (see double_mul.hpp).
#include "vmk/core/heap/complex/double_mul.hpp"
#include "vmk/core/heap/complex/nonfinite.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"

namespace hpk::vmk {
namespace {
// 1, 0, -1, infinity: the boxed directions of the special-value rules and their scale.
constexpr double _vmkzMulHATab[4] = {1.0, 0.0, -1.0, __builtin_inf()};
}  // namespace

int _z_mul_ha_scalar(hpk_complex16 a, hpk_complex16 b, hpk_complex16 &r, bool conj_b) {
  const X87ControlScope control(X87ControlScope::kExtended);
  const long double ar = a.re, ai = a.im, br = b.re;
  const long double bi = conj_b ? _vmkzMulHATab[2] * b.im : (long double)b.im;
  long double re = ar * br - ai * bi, im = ar * bi + ai * br;
  complex_special::mul_recover(ar, ai, br, bi, re, im, (long double)_vmkzMulHATab[3]);
  r = {double(re), double(im)};
  const bool finite_in = __builtin_isfinite(a.re) && __builtin_isfinite(a.im) &&
                         __builtin_isfinite(b.re) && __builtin_isfinite(b.im);
  return finite_in && !(__builtin_isfinite(r.re) && __builtin_isfinite(r.im)) ? kStatusOverflow
                                                                             : 0;
}

}  // namespace hpk::vmk
