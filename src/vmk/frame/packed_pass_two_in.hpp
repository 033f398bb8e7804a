// The hand-scheduled packed pass for two inputs and one result (Atan2): the frame of
// packed_pass.hpp with both inputs' top words tested against the main range, and the scalar
// routine taking both arrays. Inputs are read before a block's results are stored.
//
// K provides T, kSignMask, kRangeLo, kRangeLen (one range for both inputs) and
//   static V main(V a, V b)
//   static void rare(int i, const T *a, const T *b, T *y)
#pragma once

#include "vmk/frame/packed_pass.hpp"

namespace hpk::vmk {

template <class K>
[[gnu::noinline, gnu::cold]] void packed_pass_two_in_mixed(int i, const typename PassFormat<typename K::T>::V *va,
                                                          const typename PassFormat<typename K::T>::V *vb,
                                                          const typename K::T *a,
                                                          const typename K::T *b,
                                                          typename K::T *y) {
  using F = PassFormat<typename K::T>;
  // With y equal to a or b the arrays already hold results: the scalar routine gets its
  // element's inputs written back first where they alias.
  for (int k = 0; k < F::kBlock; ++k) {
    const auto xa = va[k / F::kLanes][k % F::kLanes], xb = vb[k / F::kLanes][k % F::kLanes];
    if (in_main_range<K>(F::top(xa)) && in_main_range<K>(F::top(xb))) continue;
    if (y == a) y[i + k] = xa;
    if (y == b) y[i + k] = xb;
    K::rare(i + k, a, b, y);
  }
}

template <class K>
void packed_pass_two_in(int n, const typename K::T *a, const typename K::T *b, typename K::T *y) {
  using T = typename K::T;
  using F = PassFormat<T>;
  using V = typename F::V;
  using simd::vui;
  constexpr int kRegs = F::kBlock / F::kLanes;
  const vui sign_mask = vui{} + K::kSignMask, lo = vui{} + K::kRangeLo,
            len = vui{} + K::kRangeLen;
  int i = 0;
  for (; i + F::kBlock <= n; i += F::kBlock) {
    V va[kRegs], vb[kRegs];
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) {
      va[k] = simd::loadu(a + i + k * F::kLanes);
      vb[k] = simd::loadu(b + i + k * F::kLanes);
    }
    vui ta[F::kTopVectors], tb[F::kTopVectors];
    F::tops(va, ta);
    F::tops(vb, tb);
    vui out = vui{};
#pragma GCC unroll 8
    for (int k = 0; k < F::kTopVectors; ++k)
      out |= (vui)(((ta[k] & sign_mask) - lo) >= len) | (vui)(((tb[k] & sign_mask) - lo) >= len);
    V r[kRegs];
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) r[k] = K::main(va[k], vb[k]);
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) simd::storeu(y + i + k * F::kLanes, r[k]);
    if (__builtin_expect(simd::movemask((simd::vf)out) != 0, 0))
      packed_pass_two_in_mixed<K>(i, va, vb, a, b, y);
  }
  for (; i < n; ++i) {
    if (in_main_range<K>(F::top(a[i])) && in_main_range<K>(F::top(b[i])))
      y[i] = K::main(simd::splat(a[i]), simd::splat(b[i]))[0];
    else
      K::rare(i, a, b, y);
  }
}

}  // namespace hpk::vmk
