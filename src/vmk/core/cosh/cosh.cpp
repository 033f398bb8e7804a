// Cosh, d and s (the single kernel on widened lanes, rounded once).
//
//   e^|x| / 2 + e^-|x| / 2 from exp_parts, both as double-doubles:
//   (s, e) = TwoSum(P, N),  result = s + ((e + Pl) + Nl)
//   A sum of positive terms: the error before the final rounding is below 2^-58 of the result,
//   for x near 0 too (Cosh(0) = 0.5 + 0.5 = 1 exactly).
// Double main route: |x| < 709.78 (top word below 0x40862E42). The scalar routine takes the rest:
//   NaN -> quieted; +-inf -> +inf without status; |x| >= 709.78 -> e^|x| / 2, +inf with status 3
//   past 710.4758600739439.
// Single main route: |x| < 89; the single result overflows (status 3) from 89.41598629223294 on.
// The single kernel runs under both control schemes: A (the mode's denormal handling, nearest)
// and B with the target 0x300 (x87 at 64-bit precision, nearest).
#include "vmk/core/heap/real/hyperbolic_core.hpp"
#include "vmk/core/heap/real/hyperbolic_kernel.hpp"

namespace hpk::vmk::hyperbolic {
namespace {

struct Cosh {
  static constexpr const char *kName[2] = {"vsCosh", "vdCosh"};
  static constexpr bool kOdd = false;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  struct D {
    static constexpr uint32_t kLo = 0, kEnd = 0x40862E42;
  };
  struct S {
    static constexpr uint32_t kLo = 0, kEnd = 0x42B20000;
  };

  [[gnu::always_inline]] static vd main(vd x) {
    const ExpParts e = exp_parts<true>(vabs(x));
    const vdd s = fast_two_sum(e.pos_hi, e.neg_hi);
    return s.hi + ((s.lo + e.pos_lo) + e.neg_lo);
  }

  static double scalar(double x, int &status) {
    status = 0;
    const double ax = __builtin_fabs(x);
    if (x != x) return x + x;
    if (ax == __builtin_inf()) return ax;
    if (ax >= 0x1.62e42p+9) return exp_half_large(ax, status);
    return main(simd::splat(x))[0];
  }
};

}  // namespace
}  // namespace hpk::vmk::hyperbolic

extern "C" {
void hpk_vmk_kernel_dCosh_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::hyperbolic::run<double, hpk::vmk::hyperbolic::Cosh>(n, a, y);
}
void hpk_vmk_kernel_sCosh_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope x87(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::hyperbolic::run<float, hpk::vmk::hyperbolic::Cosh>(n, a, y);
}
}
