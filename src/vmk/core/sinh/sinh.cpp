// Sinh, d and s (the single kernel on widened lanes, rounded once).
//
//   |x| < 1/4:   x + x^3 S(x^2), S the Taylor series to x^13 (truncation below 2^-62 of x)
//   otherwise:   e^|x| / 2 - e^-|x| / 2 from exp_parts, both as double-doubles:
//                (s, e) = TwoSum(P, -N),  result = s + ((e + Pl) - Nl)
//                The difference loses at most coth(1/4) ~ 4.1 of relative accuracy, so the
//                error before the final rounding is below 2^-56 of the result.
// Double main route: 2^-28 <= |x| < 709.78 (top word in [0x3E300000, 0x40862E42)). The scalar
// routine takes the rest:
//   NaN -> quieted; |x| < 2^-28 -> x itself (x^3/6 is below a quarter ulp; denormals stay
//   exact, also under denormals-are-zero); +-inf -> +-inf without status;
//   |x| >= 709.78 -> +-e^|x| / 2, +-inf with status 3 past 710.4758600739439.
// Single main route: 2^-12 <= |x| < 89; the single result overflows (status 3) from
// 89.41598629223294 on.
#include "vmk/core/heap/real/hyperbolic_core.hpp"
#include "vmk/core/heap/real/hyperbolic_kernel.hpp"

namespace hpk::vmk::hyperbolic {
namespace {

struct Sinh {
  static constexpr const char *kName[2] = {"vsSinh", "vdSinh"};
  static constexpr bool kOdd = true;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  struct D {
    static constexpr uint32_t kLo = 0x3E300000, kEnd = 0x40862E42;
  };
  struct S {
    static constexpr uint32_t kLo = 0x39800000, kEnd = 0x42B20000;
  };

  [[gnu::always_inline]] static vd main(vd x) {
    const vd ax = vabs(x);
    const vd small = odd_series(ax, ax * ax, hyperbolic_tables::kSinhPoly);
    const ExpParts e = exp_parts<true>(ax);
    const vdd s = fast_two_sum(e.pos_hi, -e.neg_hi);
    const vd large = s.hi + ((s.lo + e.pos_lo) - e.neg_lo);
    return with_sign(simd::select((vd)(ax < 0.25), small, large), sign_of(x));
  }

  // Single lanes (|x| >= 2^-12): the two halves summed in plain double; the difference loses
  // at most 2^12 of relative accuracy, so the result is within 2^-38 of it, and no series.
  [[gnu::always_inline]] static vd main_single(vd x) {
    const ExpParts e = exp_parts<true>(vabs(x));
    return with_sign((e.pos_hi - e.neg_hi) + (e.pos_lo - e.neg_lo), sign_of(x));
  }

  static double scalar(double x, int &status) {
    status = 0;
    const double ax = __builtin_fabs(x);
    if (x != x) return x + x;
    if (ax < 0x1p-28) return x;
    if (ax == __builtin_inf()) return x;
    if (ax >= 0x1.62e42p+9) return __builtin_copysign(exp_half_large(ax, status), x);
    return main(simd::splat(x))[0];
  }
};

}  // namespace
}  // namespace hpk::vmk::hyperbolic

extern "C" {
void hpk_vmk_kernel_dSinh_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::hyperbolic::run<double, hpk::vmk::hyperbolic::Sinh>(n, a, y);
}
void hpk_vmk_kernel_sSinh_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::hyperbolic::run<float, hpk::vmk::hyperbolic::Sinh>(n, a, y);
}
}
