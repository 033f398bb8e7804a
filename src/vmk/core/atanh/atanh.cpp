// Atanh, d and s (the single kernel on widened lanes, rounded once).
//
//   |x| < 1/32:   x + x^3 S(x^2), S the Taylor series to x^11 (truncation below 2^-62 of x)
//   otherwise:    ln((1 + |x|) / (1 - |x|)) / 2 with the quotient as a double-double:
//                 (nh, nl) = TwoSum(1, |x|), (dh, dl) = TwoSum(1, -|x|) (exact from |x| = 1/2
//                 on, so next to 1 the pole is taken exactly); q0 = nh / dh,
//                 (ph, pl) = TwoProd(q0, dh), rho = (((nh - ph) - pl) + nl) - q0 dl,
//                 the quotient is q0 (1 + rho / nh) to 2^-100; then log_parts(q0, rho / nh),
//                 halved exactly. No cancellation (the quotient is above 1.06): the error
//                 before the final rounding is below 2^-57 of the result.
// The sign is put back on the magnitude's result.
// Double main route: 2^-28 <= |x| < 1 (top word in [0x3E300000, 0x3FF00000)). The scalar
// routine takes the rest: NaN -> quieted, no status; |x| < 2^-28 -> x itself (x^3/3 is below a
// quarter ulp; denormals stay exact); +-1 -> +-inf with status 2; |x| > 1 (infinities included)
// -> the default NaN with status 1. Single main route: 2^-12 <= |x| < 1.
#include "vmk/core/heap/real/hyperbolic_core.hpp"
#include "vmk/core/heap/real/hyperbolic_kernel.hpp"

namespace hpk::vmk::hyperbolic {
namespace {

struct Atanh {
  static constexpr const char *kName[2] = {"vsAtanh", "vdAtanh"};
  static constexpr bool kOdd = true;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  struct D {
    static constexpr uint32_t kLo = 0x3E300000, kEnd = 0x3FF00000;
  };
  struct S {
    static constexpr uint32_t kLo = 0x39800000, kEnd = 0x3F800000;
  };

  [[gnu::always_inline]] static vd main(vd x) {
    const vd ax = vabs(x);
    const vd small = odd_series(ax, ax * ax, hyperbolic_tables::kAtanhPoly);
    const vdd n = fast_two_sum(c2(1.0), ax);
    const vdd d = fast_two_sum(c2(1.0), -ax);
    const vd q0 = n.hi / d.hi;
    const vdd p = two_prod(q0, d.hi);
    const vd rho = (((n.hi - p.hi) - p.lo) + n.lo) - q0 * d.lo;
    const vdd l = log_parts<false>(q0, rho / n.hi);
    const vd large = (l.hi + l.lo) * c2(0.5);
    return with_sign(simd::select((vd)(ax < 0.03125), small, large), sign_of(x));
  }

  // Single lanes: 1 + x and 1 - x are exact in double for a single x, the quotient is rounded
  // once and ln of it is at least 2^-11: within 2^-40 of the result, and no series.
  [[gnu::always_inline]] static vd main_single(vd x) {
    const vd ax = vabs(x);
    return with_sign(ln_core::main<false>((c2(1.0) + ax) / (c2(1.0) - ax)) * c2(0.5), sign_of(x));
  }

  static double scalar(double x, int &status) {
    status = 0;
    const double ax = __builtin_fabs(x);
    if (x != x) return x + x;
    if (ax < 0x1p-28) return x;
    if (ax == 1.0) {
      status = kStatusSingularity;
      return __builtin_copysign(__builtin_inf(), x);
    }
    if (ax > 1.0) {
      status = kStatusDomain;
      return kDefaultNaN;
    }
    return main(simd::splat(x))[0];
  }
};

}  // namespace
}  // namespace hpk::vmk::hyperbolic

extern "C" {
void hpk_vmk_kernel_dAtanh_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::hyperbolic::run<double, hpk::vmk::hyperbolic::Atanh>(n, a, y);
}
void hpk_vmk_kernel_sAtanh_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::hyperbolic::run<float, hpk::vmk::hyperbolic::Atanh>(n, a, y);
}
}
