// The hand-scheduled packed pass with a second, packed route for a medium range: the kernels
// whose scalar routine has a costly part (the reduction of large trigonometric arguments)
// that is still cheap to run on whole vectors over a known range.
//
//   while a block of 8 doubles (16 singles) remains:
//     test the block's top words against the main range, as in packed_pass.hpp;
//     all inside: the main route for the whole block, stored;
//     otherwise the mixed-block routine: if every element is in the main or the medium range, the
//     medium route for the whole block; if not, per register, the main route and the medium
//     route, each only if a lane needs it, each lane stored from its own route, and then the
//     scalar routine for the lanes outside both ranges;
//   the tail, one element at a time: main, medium or scalar route by range.
// The medium route gives, lane by lane, the bits that the scalar routine gives (the kernel
// writes both from the same templates), so an element's result never depends on its route;
// on lanes of the main range it must give the main route's bits too, so that a block of main
// and medium elements alone takes the medium route on all its registers, interleaved.
// The mixed-block routine works from the block's inputs kept in registers; an element sent to the
// scalar routine gets its input written back to y first, for the case that y is a.
//
// K provides what packed_pass and packed_pass_two_out ask for, and
//   kMediumLo, kMediumLen           medium range of the top word (sign masked by kSignMask)
//   static V medium(V x)            one result, or
//   static void medium2(V x, V &y, V &z)   two results
#pragma once

#include "vmk/frame/packed_pass.hpp"

namespace hpk::vmk {

template <class K>
inline bool in_medium_range(uint32_t top) {
  return ((top & K::kSignMask) - K::kMediumLo) < K::kMediumLen;
}

// A block with an element outside the main range: per register, the main and the medium
// route where some lane needs them, lanes stored one by one, then the scalar routine for the
// rest. Nothing of the block is stored before its inputs are all in registers, and the scalar
// routine runs after the stores, with its own element's input written back (y may be a).
template <class K, int kOut>
[[gnu::noinline]] void packed_pass_medium_mixed(int i, const typename PassFormat<typename K::T>::V *v,
                                               const typename K::T *a, typename K::T *y,
                                               typename K::T *z) {
  using T = typename K::T;
  using F = PassFormat<T>;
  using V = typename F::V;
  constexpr int kRegs = F::kBlock / F::kLanes;
  bool all_medium = true;
  for (int k = 0; k < F::kBlock; ++k) {
    const uint32_t top = F::top(v[k / F::kLanes][k % F::kLanes]);
    all_medium &= in_medium_range<K>(top) || in_main_range<K>(top);
  }
  if (all_medium) {  // the common case of an array of large arguments: registers interleaved
    V m[kRegs], m2[kRegs];
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) {
      if constexpr (kOut == 1) m[k] = K::medium(v[k]);
      else K::medium2(v[k], m[k], m2[k]);
    }
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) {
      simd::storeu(y + i + k * F::kLanes, m[k]);
      if constexpr (kOut == 2) simd::storeu(z + i + k * F::kLanes, m2[k]);
    }
    return;
  }
  int rare[F::kBlock];
  int n_rare = 0;
  for (int k = 0; k < kRegs; ++k) {
    bool any_main = false, any_medium = false;
    for (int l = 0; l < F::kLanes; ++l) {
      const uint32_t top = F::top(v[k][l]);
      any_main |= in_main_range<K>(top);
      any_medium |= !in_main_range<K>(top) && in_medium_range<K>(top);
    }
    V r{}, r2{}, m{}, m2{};
    if (any_main) {
      if constexpr (kOut == 1) r = K::main(v[k]);
      else K::main2(v[k], r, r2);
    }
    if (any_medium) {
      if constexpr (kOut == 1) m = K::medium(v[k]);
      else K::medium2(v[k], m, m2);
    }
    for (int l = 0; l < F::kLanes; ++l) {
      const int idx = i + k * F::kLanes + l;
      const uint32_t top = F::top(v[k][l]);
      if (in_main_range<K>(top)) {
        y[idx] = r[l];
        if constexpr (kOut == 2) z[idx] = r2[l];
      } else if (in_medium_range<K>(top)) {
        y[idx] = m[l];
        if constexpr (kOut == 2) z[idx] = m2[l];
      } else {
        rare[n_rare++] = k * F::kLanes + l;
      }
    }
  }
  for (int j = 0; j < n_rare; ++j) {
    const int idx = i + rare[j];
    const T x = v[rare[j] / F::kLanes][rare[j] % F::kLanes];
    y[idx] = x;
    if constexpr (kOut == 1) {
      K::rare(idx, a, y);
    } else {
      z[idx] = x;
      K::rare(idx, a, y, z);
    }
  }
}

template <class K, int kOut>
void packed_pass_medium_impl(int n, const typename K::T *a, typename K::T *y, typename K::T *z) {
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
    if (__builtin_expect(simd::movemask((simd::vf)out) != 0, 0)) {
      packed_pass_medium_mixed<K, kOut>(i, v, a, y, z);
      continue;
    }
    V r[kRegs], s[kRegs];
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) {
      if constexpr (kOut == 1) r[k] = K::main(v[k]);
      else K::main2(v[k], r[k], s[k]);
    }
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) {
      simd::storeu(y + i + k * F::kLanes, r[k]);
      if constexpr (kOut == 2) simd::storeu(z + i + k * F::kLanes, s[k]);
    }
  }
  for (; i < n; ++i) {
    const T x = a[i];
    const uint32_t top = F::top(x);
    if (in_main_range<K>(top) || in_medium_range<K>(top)) {
      V r, s;
      if (in_main_range<K>(top)) {
        if constexpr (kOut == 1) r = K::main(simd::splat(x));
        else K::main2(simd::splat(x), r, s);
      } else {
        if constexpr (kOut == 1) r = K::medium(simd::splat(x));
        else K::medium2(simd::splat(x), r, s);
      }
      y[i] = r[0];
      if constexpr (kOut == 2) z[i] = s[0];
    } else if constexpr (kOut == 1) {
      K::rare(i, a, y);
    } else {
      K::rare(i, a, y, z);
    }
  }
}

template <class K>
void packed_pass_medium(int n, const typename K::T *a, typename K::T *y) {
  packed_pass_medium_impl<K, 1>(n, a, y, nullptr);
}

template <class K>
void packed_pass_medium_two_out(int n, const typename K::T *a, typename K::T *y,
                                typename K::T *z) {
  packed_pass_medium_impl<K, 2>(n, a, y, z);
}

}  // namespace hpk::vmk
