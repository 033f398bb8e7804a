// The frame of the hyperbolic kernels, d and s: the packed pass over a double route (single
// lanes widened, computed in double, rounded once), and a scalar routine for the rare elements.
//
// A function F provides:
//   kName[2]                       {"vs...", "vd..."}
//   kOdd                           an odd function, whose tiny arguments are their own results
//   kSignMask                      0x7FFFFFFF (odd and even functions) or 0xFFFFFFFF (Acosh)
//   D::kLo, D::kEnd, S::kLo, S::kEnd
//                                  main route: top word (sign masked) in [kLo, kEnd); the
//                                  double and single ranges differ where the single result
//                                  overflows or is the argument itself sooner
//   static vd main(vd x)           the packed double route, correct on the double range
//   static vd main_single(vd x)    optional: a cheaper double route for widened single lanes,
//                                  with error far below a single ulp on the single range
//   static double scalar(double x, int &status)
//                                  every input; status 0 or the status of the double result
// The single rare routine runs the double scalar routine and rounds; a finite argument whose
// single result is infinite has overflowed (status 3) even when the double did not.
#pragma once

#include <cstdint>

#include "vmk/frame/control.hpp"
#include "vmk/frame/double_lanes.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk::hyperbolic {

inline constexpr double kDefaultNaN = __builtin_bit_cast(double, 0xFFF8000000000000ull);

template <class E, class F>
struct Kernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr bool kDouble = sizeof(E) == 8;
  using Range = std::conditional_t<kDouble, typename F::D, typename F::S>;
  static constexpr uint32_t kSignMask = F::kSignMask;
  static constexpr uint32_t kRangeLo = Range::kLo;
  static constexpr uint32_t kRangeLen = Range::kEnd - Range::kLo;

  [[gnu::always_inline]] static V main(V x) {
    if constexpr (!kDouble && requires { F::main_single(simd::vd{}); })
      return on_double_lanes(x, F::main_single);
    else
      return on_double_lanes(x, F::main);
  }

  static void rare(E x, int i, const E *a, E *y) {
    // A single zero or denormal of an odd function is its own result: stored as it is, since
    // widening and narrowing would flush it under denormals-are-zero.
    if constexpr (!kDouble && F::kOdd)
      if ((simd::bits(x) & 0x7FFFFFFFu) < 0x00800000u) {
        y[i] = x;
        return;
      }
    int status;
    const E r = E(F::scalar(double(x), status));
    y[i] = r;
    if (!kDouble && status == 0 && __builtin_isinf(r) && !__builtin_isinf(x))
      status = kStatusOverflow;
    if (status) report_error<E>(status, i, a, a, y, y, F::kName[kDouble]);
  }
};

template <class E, class F>
inline void run(int n, const E *a, E *y) {
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  packed_pass<Kernel<E, F>>(n, a, y);
}

}  // namespace hpk::vmk::hyperbolic
