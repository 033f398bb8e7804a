// The plain element loops of the arithmetic members.
//
// Double members run under the caller's control state. For n above 6 they first test whether y
// overlaps an input closer than the array's length in bytes; if so the loop runs element by
// element in order, which keeps the in-order meaning (y == a is then still correct, and y one
// element behind a sees the values already written). Otherwise, with n >= 8 and y 8-aligned,
// they peel to a 16-byte aligned y and run 8 elements a pass.
//
// Single members run under scheme A in passes of 16 elements with a scalar tail.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk {

// True when y and x are closer than `bytes` (either side), the equal case included.
inline bool overlaps(const void *y, const void *x, std::size_t bytes) {
  const uintptr_t py = uintptr_t(y), px = uintptr_t(x);
  return (py > px ? py - px : px - py) < bytes;
}

// Op provides `static double apply(double a, double b)` and the same over simd::vd; a unary
// Op (Arity 1) ignores b.
template <int Arity, class Op>
void plain_loop_d(int n, const double *a, const double *b, double *y) {
  using simd::vd;
  if (n <= 0) return;
  int i = 0;
  const std::size_t bytes = std::size_t(n) * sizeof(double);
  const bool overlap = n > 6 && (overlaps(y, a, bytes) || (Arity == 2 && overlaps(y, b, bytes)));
  if (n > 6 && !overlap && n >= 8 && (uintptr_t(y) & 7) == 0) {
    if (uintptr_t(y) & 15) {
      y[0] = Op::apply(a[0], Arity == 2 ? b[0] : a[0]);
      i = 1;
    }
    for (; i + 8 <= n; i += 8) {
      vd r[4];
      for (int k = 0; k < 4; ++k) {
        const vd va = simd::loadu(a + i + 2 * k);
        r[k] = Op::apply(va, Arity == 2 ? simd::loadu(b + i + 2 * k) : va);
      }
      for (int k = 0; k < 4; ++k) simd::storea(y + i + 2 * k, r[k]);
    }
  }
  for (; i < n; ++i) y[i] = Op::apply(a[i], Arity == 2 ? b[i] : a[i]);
}

// Single members under scheme A: 16 elements a pass, loads before stores, so y equal to a or
// to b is handled by the same pass.
template <int Arity, class Op>
void packed_loop_s(int n, const float *a, const float *b, float *y) {
  using simd::vf;
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  int i = 0;
  for (; i + 16 <= n; i += 16) {
    vf r[4];
    for (int k = 0; k < 4; ++k) {
      const vf va = simd::loadu(a + i + 4 * k);
      r[k] = Op::apply(va, Arity == 2 ? simd::loadu(b + i + 4 * k) : va);
    }
    for (int k = 0; k < 4; ++k) simd::storeu(y + i + 4 * k, r[k]);
  }
  for (; i < n; ++i) y[i] = Op::apply(a[i], Arity == 2 ? b[i] : a[i]);
}

}  // namespace hpk::vmk
