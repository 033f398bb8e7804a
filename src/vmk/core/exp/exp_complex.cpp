// Complex Exp, high accuracy, for c and z: one template over the element type on the
// extended-precision core (heap/celem/exp_scalar.hpp), under control scheme B with the target
// 0x300, one element at a time.
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
#include "vmk/core/heap/celem/exp_scalar.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"

namespace hpk::vmk {
namespace {

template <class R>
struct ExpLimits;
// Below these e^x is subnormal in the element type (x < ln of the smallest normal).
template <>
struct ExpLimits<double> {
  static constexpr double kUnder = -0x1.6232bdd7abcd2p+9;  // ln(2^-1022), to nearest
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

template <class T, class R>
void exp_array(int n, const T *a, T *y, const char *name) {
  // Finite real parts outside (kUnder, kOver) may overflow or underflow: checked after.
  const R over = R(std::numeric_limits<R>::max_exponent) * R(0.6931471805599453) - R(1);
  for (int i = 0; i < n; ++i) {
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
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_zExp_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::exp_array<hpk_complex16, double>(n, a, y, "vzExp");
}
}
