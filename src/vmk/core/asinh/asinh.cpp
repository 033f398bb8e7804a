// Asinh, d and s (the single kernel on widened lanes, rounded once). No status.
//
//   |x| < 1/32:  x + x^3 S(x^2), S the Taylor series to x^11 (truncation below 2^-62 of x)
//   otherwise:   ln(w), w = |x| + sqrt(x^2 + 1) as a double-double:
//                (s, se) = x^2 exactly (exact_sqr), (h, e) = TwoSum(1, s), l = e + se;
//                then log_of_sum_with_root (w = |x| + sqrt(h + l) as a pair, and its
//                logarithm as a pair): no cancellation (w >= 1.03, ln w >= 1/32), the
//                error before the final rounding is below 2^-57 of the result
// The sign is put back on the magnitude's result.
// Double main route: 2^-28 <= |x| < 2^511 (top word in [0x3E300000, 0x5FE00000)), where x^2
// is finite; the scalar routine takes NaN (quieted), +-inf (themselves), |x| < 2^-28 (x
// itself: x^3/6 is below a quarter ulp; denormals stay exact) and |x| >= 2^511 (ln 2|x|: the
// dropped 1/(4x^2) is far below an ulp). Single main route: 2^-12 <= |x|.
#include "vmk/core/heap/real/hyperbolic_core.hpp"
#include "vmk/core/heap/real/hyperbolic_kernel.hpp"

namespace hpk::vmk::hyperbolic {
namespace {

struct Asinh {
  static constexpr const char *kName[2] = {"vsAsinh", "vdAsinh"};
  static constexpr bool kOdd = true;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  struct D {
    static constexpr uint32_t kLo = 0x3E300000, kEnd = 0x5FE00000;
  };
  struct S {
    static constexpr uint32_t kLo = 0x39800000, kEnd = 0x7F800000;
  };

  [[gnu::always_inline]] static vd main(vd x) {
    const vd ax = vabs(x);
    const vd small = odd_series(ax, ax * ax, hyperbolic_tables::kAsinhPoly);
    const vdd s = exact_sqr(ax);
    const vdd h = fast_two_sum(simd::vmax(s.hi, c2(1.0)), simd::vmin(s.hi, c2(1.0)));
    const vdd l = log_of_sum_with_root<true, false>(ax, h.hi, h.lo + s.lo);
    return with_sign(simd::select((vd)(ax < 0.03125), small, l.hi + l.lo), sign_of(x));
  }

  // Single lanes: the same formula in plain double (x^2 + 1 rounded once, w within 2^-52 of its
  // value, ln w >= 2^-12 from the single range on), within 2^-40 of the result, and no series.
  [[gnu::always_inline]] static vd main_single(vd x) {
    const vd ax = vabs(x);
    return with_sign(ln_core::main<false>(ax + simd::vsqrt(ax * ax + c2(1.0))), sign_of(x));
  }

  static double scalar(double x, int &status) {
    status = 0;
    const double ax = __builtin_fabs(x);
    if (x != x) return x + x;
    if (ax < 0x1p-28 || ax == __builtin_inf()) return x;
    if (ax >= 0x1p511) return __builtin_copysign(log_twice(x), x);
    return main(simd::splat(x))[0];
  }
};

}  // namespace
}  // namespace hpk::vmk::hyperbolic

extern "C" {
void hpk_vmk_kernel_dAsinh_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::hyperbolic::run<double, hpk::vmk::hyperbolic::Asinh>(n, a, y);
}
void hpk_vmk_kernel_sAsinh_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::hyperbolic::run<float, hpk::vmk::hyperbolic::Asinh>(n, a, y);
}
}
