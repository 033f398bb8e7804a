// The hand-scheduled packed pass for one input and two results (SinCos): the same frame as
// packed_pass.hpp, with the kernel's packed route giving two vectors and its scalar routine
// storing both y[i] and z[i]. Inputs are read before a block's results are stored.
//
// A kernel K provides, beside T, kSignMask, kRangeLo, kRangeLen as for packed_pass:
//   static void main2(V x, V &y, V &z)          the packed route
//   static void rare(int i, const T *a, T *y, T *z)
#pragma once

#include "vmk/frame/packed_pass.hpp"

namespace hpk::vmk {

template <class K>
[[gnu::noinline, gnu::cold]] void packed_pass_two_out_spec(int i, const typename K::T *a,
                                                           typename K::T *y, typename K::T *z) {
  using F = PassFormat<typename K::T>;
  for (int k = 0; k < F::kBlock; ++k)
    if (!in_main_range<K>(F::top(a[i + k]))) K::rare(i + k, a, y, z);
}

template <class K>
void packed_pass_two_out(int n, const typename K::T *a, typename K::T *y, typename K::T *z) {
  using T = typename K::T;
  using F = PassFormat<T>;
  using V = typename F::V;
  using simd::vui;
  constexpr int kRegs = F::kBlock / F::kLanes;
  const vui sign_mask = vui{} + K::kSignMask, lo = vui{} + K::kRangeLo,
            len = vui{} + K::kRangeLen;
  int i = 0;
  for (; i + F::kBlock <= n; i += F::kBlock) {
    V v[kRegs];
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) v[k] = simd::loadu(a + i + k * F::kLanes);
    vui t[F::kTopVectors];
    F::tops(v, t);
    vui out = vui{};
#pragma GCC unroll 8
    for (int k = 0; k < F::kTopVectors; ++k) out |= (vui)(((t[k] & sign_mask) - lo) >= len);
    V r[kRegs], s[kRegs];
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) K::main2(v[k], r[k], s[k]);
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) {
      simd::storeu(y + i + k * F::kLanes, r[k]);
      simd::storeu(z + i + k * F::kLanes, s[k]);
    }
    if (__builtin_expect(simd::movemask((simd::vf)out) != 0, 0))
      packed_pass_two_out_spec<K>(i, a, y, z);
  }
  for (; i < n; ++i) {
    if (in_main_range<K>(F::top(a[i]))) {
      V r, s;
      K::main2(simd::splat(a[i]), r, s);
      y[i] = r[0];
      z[i] = s[0];
    } else {
      K::rare(i, a, y, z);
    }
  }
}

}  // namespace hpk::vmk
