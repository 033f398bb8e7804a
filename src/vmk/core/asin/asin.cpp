// Asin and Acos in s and d. Packed route: |x| below 1 (inverse_core.hpp). Scalar route:
//   NaN                    x + x, no status;
//   |x| = 1                Asin +-pi/2, Acos +0 or pi;
//   |x| > 1, infinities    the default NaN (0xFFF8000000000000, single 0xFFC00000), status 1.
// The single kernels widen to double and round once.
#include <cstdint>

#include "hpk/vmk.h"
#include "vmk/core/atan/inverse_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

using simd::vd;
namespace tt = trig_tables;

// The default NaN stored for arguments outside [-1, 1].
constexpr uint64_t iIndeterminate = 0xFFF8000000000000ull;
constexpr uint32_t iIndeterminateS = 0xFFC00000u;

template <bool kAcos, class E>
struct AsinKernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = 0;
  static constexpr uint32_t kRangeLen = sizeof(E) == 8 ? 0x3FF00000u : 0x3F800000u;
  static constexpr const char *kName =
      kAcos ? (sizeof(E) == 8 ? "vdAcos" : "vsAcos") : (sizeof(E) == 8 ? "vdAsin" : "vsAsin");
  [[gnu::always_inline]] static vd core(vd x) {
    if constexpr (kAcos) return inverse::acos_main(x);
    else return inverse::asin_main(x);
  }
  [[gnu::always_inline]] static vd main(vd x) { return core(x); }
  [[gnu::always_inline]] static simd::vf main(simd::vf x) { return trig::widened<core>(x); }
  static void rare(E x, int i, const E *a, E *y) {
    if (x != x) {
      y[i] = x + x;
    } else if (x == E(1) || x == E(-1)) {
      if constexpr (kAcos) y[i] = x > 0 ? E(0) : E(tt::kPiHi + tt::kPiLo);
      else y[i] = E(x > 0 ? tt::kPio2Hi + tt::kPio2Lo : -(tt::kPio2Hi + tt::kPio2Lo));
    } else {
      if constexpr (sizeof(E) == 8) y[i] = simd::from_bits(iIndeterminate);
      else y[i] = simd::from_bits(iIndeterminateS);
      report_error<E>(kStatusDomain, i, a, a, y, y, kName);
    }
  }
};

template <bool kAcos, class E>
void run(int n, const E *a, E *y) {
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  packed_pass<AsinKernel<kAcos, E>>(n, a, y);
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dAsin_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::run<false>(n, a, y);
}
void hpk_vmk_kernel_sAsin_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::run<false>(n, a, y);
}
void hpk_vmk_kernel_dAcos_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::run<true>(n, a, y);
}
void hpk_vmk_kernel_sAcos_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::run<true>(n, a, y);
}
}
