// Tanh, d and s (the single kernel on widened lanes, rounded once). No status.
//
//   |x| < 1/8:   x + x^3 S(x^2), S the Taylor series to x^17 (truncation below 2^-62 of x)
//   otherwise:   1 - 2 / (e^2|x| + 1), with e^2|x| = (Eh, El) from exp_parts:
//                (s, e1) = TwoSum(Eh, 1), (dh, e2) = TwoSum(s, El), dl = e1 + e2
//                                                                (D = dh + dl, |dl| <= 2^-52 dh)
//                q0 = 2 / dh, (ph, pl) = TwoProd(q0, dh),
//                q1 = (((2 - ph) - pl) - q0 dl) q0 / 2            (2 / D = q0 + q1, 2^-100)
//                (t, e) = TwoSum(1, -q0), result = t + (e - q1)
//                1 - 2/D cancels by at most 2/D / tanh |x| < 7.2 (at |x| = 1/8), so the error
//                before the final rounding is below 2^-55 of the result.
// Double main route: 2^-28 <= |x| < 22 (top word in [0x3E300000, 0x40360000)). The scalar
// routine takes the rest: NaN -> quieted; |x| < 2^-28 -> x itself (x^3/3 is below a quarter
// ulp; denormals stay exact); |x| >= 22 (infinities included) -> +-1, as 2 e^-2|x| < 2^-60.
// Single main route: 2^-12 <= |x| < 22.
#include "vmk/core/heap/real/hyperbolic_core.hpp"
#include "vmk/core/heap/real/hyperbolic_kernel.hpp"

namespace hpk::vmk::hyperbolic {
namespace {

struct Tanh {
  static constexpr const char *kName[2] = {"vsTanh", "vdTanh"};
  static constexpr bool kOdd = true;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  struct D {
    static constexpr uint32_t kLo = 0x3E300000, kEnd = 0x40360000;
  };
  struct S {
    static constexpr uint32_t kLo = 0x39800000, kEnd = 0x41B00000;
  };

  [[gnu::always_inline]] static vd main(vd x) {
    const vd ax = vabs(x);
    const vd small = odd_series(ax, ax * ax, hyperbolic_tables::kTanhPoly);
    const ExpParts e = exp_parts<false>(ax + ax);
    // e^2|x| + 1 renormalised: El is up to 2^-7 of Eh, too large for a first-order quotient
    const vdd d1 = fast_two_sum(e.pos_hi, c2(1.0));  // e^2|x| > 1
    const vdd d = fast_two_sum(d1.hi, e.pos_lo);
    const vd dl = d.lo + d1.lo;
    const vd q0 = c2(2.0) / d.hi;
    const vdd p = two_prod(q0, d.hi);
    const vd q1 = (((c2(2.0) - p.hi) - p.lo) - q0 * dl) * (q0 * c2(0.5));
    const vdd t = fast_two_sum(c2(1.0), -q0);  // q0 < 1
    const vd large = t.hi + (t.lo - q1);
    return with_sign(simd::select((vd)(ax < 0.125), small, large), sign_of(x));
  }

  // Single lanes (|x| >= 2^-12): 1 - 2 / (e^2|x| + 1) in plain double; the difference loses
  // at most 2^12 of relative accuracy, so the result is within 2^-38 of it, and no series.
  [[gnu::always_inline]] static vd main_single(vd x) {
    const ExpParts e = exp_parts<false>(vabs(x) * c2(2.0));
    return with_sign(c2(1.0) - c2(2.0) / ((e.pos_hi + c2(1.0)) + e.pos_lo), sign_of(x));
  }

  static double scalar(double x, int &status) {
    status = 0;
    const double ax = __builtin_fabs(x);
    if (x != x) return x + x;
    if (ax < 0x1p-28) return x;
    if (ax >= 22.0) return __builtin_copysign(1.0, x);
    return main(simd::splat(x))[0];
  }
};

}  // namespace
}  // namespace hpk::vmk::hyperbolic

extern "C" {
void hpk_vmk_kernel_dTanh_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::hyperbolic::run<double, hpk::vmk::hyperbolic::Tanh>(n, a, y);
}
void hpk_vmk_kernel_sTanh_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::hyperbolic::run<float, hpk::vmk::hyperbolic::Tanh>(n, a, y);
}
}
