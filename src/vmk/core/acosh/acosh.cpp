// Acosh, d and s (the single kernel on widened lanes, rounded once).
//
//   1 <= x:         ln(w), w = x + sqrt(x^2 - 1) as a double-double:
//                   (s, se) = x^2 exactly (exact_sqr), (h, e) = TwoSum(s, -1), l = e + se, so
//                   x^2 - 1 = h + l exactly: no cancellation next to 1, where it is 2t + t^2
//                   for x = 1 + t;  then log_of_sum_with_root (w = x + sqrt(h + l) as a pair,
//                   and its logarithm as a pair). Next to 1, w = 1 + sqrt(2t)
//                   + ... falls in the logarithm's rows 0 and 512 with N = 0, where its leading
//                   term is exact; the error before the final rounding is below 2^-56 of the
//                   result, down to Acosh(1 + 2^-52) = 2^-25.5.
// Double main route: 1 <= x < 2^511 (top word, sign included, in [0x3FF00000, 0x5FE00000)),
// where x^2 is finite. The scalar routine takes the rest: NaN -> quieted, no status; +inf ->
// +inf; x >= 2^511 -> ln 2x (the dropped -1/(4x^2) is far below an ulp); x < 1 (-inf
// included) -> the default NaN with status 1. Single main route: 1 <= x < +inf. Acosh(1) = +0.
#include "vmk/core/heap/real/hyperbolic_core.hpp"
#include "vmk/core/heap/real/hyperbolic_kernel.hpp"

namespace hpk::vmk::hyperbolic {
namespace {

struct Acosh {
  static constexpr const char *kName[2] = {"vsAcosh", "vdAcosh"};
  static constexpr bool kOdd = false;
  static constexpr uint32_t kSignMask = 0xFFFFFFFF;
  struct D {
    static constexpr uint32_t kLo = 0x3FF00000, kEnd = 0x5FE00000;
  };
  struct S {
    static constexpr uint32_t kLo = 0x3F800000, kEnd = 0x7F800000;
  };

  [[gnu::always_inline]] static vd main(vd x) {
    const vdd s = exact_sqr(x);
    const vdd h = fast_two_sum(s.hi, c2(-1.0));  // x^2 >= 1
    const vdd l = log_of_sum_with_root<false, true>(x, h.hi, h.lo + s.lo);
    return l.hi + l.lo;
  }

  // Single lanes: x^2 - 1 is exact in double for a single x, so the plain double formula has
  // w within 2^-52 of its value and ln w >= 2^-11.5: within 2^-40 of the result.
  [[gnu::always_inline]] static vd main_single(vd x) {
    return ln_core::main<false>(x + simd::vsqrt(x * x - c2(1.0)));
  }

  static double scalar(double x, int &status) {
    status = 0;
    if (x != x) return x + x;
    if (x < 1.0) {
      status = kStatusDomain;
      return kDefaultNaN;
    }
    if (x == __builtin_inf()) return x;
    if (x >= 0x1p511) return log_twice(x);
    return main(simd::splat(x))[0];
  }
};

}  // namespace
}  // namespace hpk::vmk::hyperbolic

extern "C" {
void hpk_vmk_kernel_dAcosh_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::hyperbolic::run<double, hpk::vmk::hyperbolic::Acosh>(n, a, y);
}
void hpk_vmk_kernel_sAcosh_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::hyperbolic::run<float, hpk::vmk::hyperbolic::Acosh>(n, a, y);
}
}
