// The Ln and Log10 kernels, double and single, over the packed pass: positive normal inputs
// take ln_core::main (double) or ln_core::main_single (single, on widened lanes), the rest
// ln_core::scalar, the double routine, rounded once for the single kernels.
#pragma once

#include "vmk/core/ln/ln_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/double_lanes.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {

template <class E, bool Decimal>
struct LogKernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr bool kDouble = sizeof(E) == 8;
  static constexpr uint32_t kSignMask = 0xFFFFFFFF;
  static constexpr uint32_t kRangeLo = kDouble ? 0x00100000 : 0x00800000;
  static constexpr uint32_t kRangeLen = kDouble ? 0x7FF00000 - 0x00100000 : 0x7F800000 - 0x00800000;
  static constexpr const char *kName =
      Decimal ? (kDouble ? "vdLog10" : "vsLog10") : (kDouble ? "vdLn" : "vsLn");

  [[gnu::always_inline]] static V main(V x) {
    return on_double_lanes(x, [](simd::vd d) __attribute__((always_inline)) {
      if constexpr (kDouble) return ln_core::main<Decimal>(d);
      else return ln_core::main_single<Decimal>(d);
    });
  }

  static void rare(E x, int i, const E *a, E *y) {
    int status;
    y[i] = E(ln_core::scalar<Decimal>(double(x), status));
    if (status) report_error<E>(status, i, a, a, y, y, kName);
  }
};

template <class E, bool Decimal>
inline void log_kernel(int n, const E *a, E *y) {
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  packed_pass<LogKernel<E, Decimal>>(n, a, y);
}

}  // namespace hpk::vmk
