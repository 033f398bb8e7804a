// The lane-mask kernel shape: for functions whose rare inputs are scattered through the range
// (tails, poles), so that a whole-pass range test would send too much to the slow path.
//
//   1. Peel (address of a rounded up to 16, minus a) / sizeof(T) elements, at most n, as a
//      first partial pass; afterwards every load of a is aligned.
//   2. Each pass computes all lanes of one register; lanes outside the array hold a harmless
//      value, and the kernel's compute step returns the bit mask of rare lanes.
//   3. For each set bit, lowest lane first, `cout_rare` recomputes the lane from the input
//      element; a non-zero status stores the lane to y first and then goes to the dispatcher
//      with the element's index.
//   4. The lanes inside the array are stored.
//
// K provides:
//   using T, using V (one SSE register of T), static constexpr int kLanes;
//   static V compute(V x, int &rare_mask);       // all lanes, rare ones forced harmless
//   static T harmless();                          // a value with a cheap, non-rare result
//   static int cout_rare(const T *in, T *out);    // correct for every input; returns a status
//   static void report(int status, int index, const T *a, T *y);
// The control state is the kernel's business; the frame only runs the passes.
#pragma once

#include <cstdint>

#include "vmk/simd/vec.hpp"

namespace hpk::vmk {

template <class K>
class LaneMaskPass {
  using T = typename K::T;
  using V = typename K::V;
  static constexpr int W = K::kLanes;
  static_assert(W * sizeof(T) == 16);

 public:
  static void run(int n, const T *a, T *y) {
    if (n <= 0) return;
    int peel = int(((16 - (uintptr_t(a) & 15)) & 15) / sizeof(T));
    if (peel > n) peel = n;
    int i = 0;
    if (peel > 0) {
      partial(a, y, 0, peel);
      i = peel;
    }
    for (; i + W <= n; i += W) {
      int rare = 0;
      const V r = K::compute(simd::loada(a + i), rare);
      if (__builtin_expect(rare != 0, 0)) {
        alignas(16) T out[W];
        simd::storea(out, r);
        fix_rare(a, y, i, rare, out);
        for (int l = 0; l < W; ++l) y[i + l] = out[l];
      } else {
        simd::storeu(y + i, r);
      }
    }
    if (i < n) partial(a, y, i, n - i);
  }

 private:
  static void fix_rare(const T *a, T *y, int start, int rare, T *out) {
    for (int l = 0; l < W; ++l) {
      if (!(rare & (1 << l))) continue;
      const int status = K::cout_rare(a + start + l, out + l);
      if (status != 0) {
        y[start + l] = out[l];
        K::report(status, start + l, a, y);
      }
    }
  }

  // Elements [start, start + count) with count < W, in lanes 0..count-1 of a local register.
  static void partial(const T *a, T *y, int start, int count) {
    alignas(16) T in[W], out[W];
    for (int l = 0; l < W; ++l) in[l] = l < count ? a[start + l] : K::harmless();
    int rare = 0;
    simd::storea(out, K::compute(simd::loada(in), rare));
    rare &= (1 << count) - 1;
    if (rare) fix_rare(a, y, start, rare, out);
    for (int l = 0; l < count; ++l) y[start + l] = out[l];
  }
};

}  // namespace hpk::vmk
