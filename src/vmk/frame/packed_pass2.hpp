// The hand-scheduled packed pass of two-input kernels (Pow, Powx): the twin of packed_pass.hpp
// with a second operand, and with a second test that only the main route itself can make (the
// result's range is known once the product y log2 x is).
//
//   while 8 doubles (16 singles) remain:
//     test the top 32 bits of every x, and of every y when the kernel asks, against the main
//     route's ranges by one unsigned subtraction and compare each;
//     if any element is out of range, run the block's special-case routine, element by element;
//     otherwise compute the whole block packed; the main route returns a lane mask of the
//     results it cannot give (overflow, underflow); if none is set, store the block, otherwise
//     run the block's special-case routine, which sends those elements to the scalar routine;
//   the tail, one element at a time through the same calculation.
// Each element is read before its result is stored, so y equal to a or b is fine.
//
// A kernel object k provides:
//   using T                              float or double
//   kXLo, kXLen                          x in range: (top32(x) - kXLo) < kXLen
//   kTestY, kYMask, kYLo, kYLen          y in range: ((top32(y) & kYMask) - kYLo) < kYLen
//   V main(V x, V y, vd &bad) const      the packed route; bad: a mask, non-zero (in any lane)
//                                        when some lane's result is out of its range
//   void rare(T x, T y, int i) const     the scalar routine: stores y[i], reports its status
// and the second operand comes from a source B with V load(int i) and T at(int i): an array,
// or a constant (Powx).
#pragma once

#include <cstdint>

#include "vmk/frame/packed_pass.hpp"

namespace hpk::vmk {

template <class T>
struct ArrayOperand {
  const T *p;
  typename PassFormat<T>::V load(int i) const { return simd::loadu(p + i); }
  T at(int i) const { return p[i]; }
  // The same array behind a pointer the compiler cannot see through (see the block loop).
  ArrayOperand opaque() const {
    const T *q = p;
    __asm__("" : "+r"(q));
    return {q};
  }
};

template <class T>
struct ConstOperand {
  T v;
  typename PassFormat<T>::V load(int) const { return simd::splat(v); }
  T at(int) const { return v; }
  ConstOperand opaque() const { return *this; }
};

template <class K>
inline bool in_main_range2(const K &, typename K::T x, typename K::T y) {
  using F = PassFormat<typename K::T>;
  if (F::top(x) - K::kXLo >= K::kXLen) return false;
  return !K::kTestY || ((F::top(y) & K::kYMask) - K::kYLo) < K::kYLen;
}

template <class K>
inline void pass2_element(const K &k, typename K::T x, typename K::T yv, int i,
                          typename K::T *y) {
  if (in_main_range2(k, x, yv)) {
    simd::vd bad;
    const auto r = k.main(simd::splat(x), simd::splat(yv), bad);
    if (simd::movemask(bad) == 0) {
      y[i] = r[0];
      return;
    }
  }
  k.rare(x, yv, i);
}

template <class K>
[[gnu::noinline, gnu::cold]] void packed_pass2_special(const K &k, const typename K::T *x,
                                                       const typename K::T *yv, int i,
                                                       typename K::T *y, int lanes) {
  for (int l = 0; l < PassFormat<typename K::T>::kBlock; ++l)
    if (lanes >> l & 1) pass2_element(k, x[l], yv[l], i + l, y);
}

template <class K, class B>
void packed_pass2(const K &k, int n, const typename K::T *a, B b, typename K::T *y) {
  using T = typename K::T;
  using F = PassFormat<T>;
  using V = typename F::V;
  using simd::vui;
  constexpr int kRegs = F::kBlock / F::kLanes;
  constexpr int kAll = (1 << F::kBlock) - 1;
  const vui xlo = vui{} + K::kXLo, xlen = vui{} + K::kXLen;
  const vui ymask = vui{} + K::kYMask, ylo = vui{} + K::kYLo, ylen = vui{} + K::kYLen;
  int i = 0;
  for (; i <= n - F::kBlock; i += F::kBlock) {
    V vx[kRegs], vy[kRegs];
#pragma GCC unroll 8
    for (int r = 0; r < kRegs; ++r) {
      vx[r] = simd::loadu(a + i + r * F::kLanes);
      vy[r] = b.load(i + r * F::kLanes);
    }
    vui t[F::kTopVectors];
    F::tops(vx, t);
    vui out = vui{};
#pragma GCC unroll 8
    for (int r = 0; r < F::kTopVectors; ++r) out |= (vui)((t[r] - xlo) >= xlen);
    if constexpr (K::kTestY) {
      F::tops(vy, t);
#pragma GCC unroll 8
      for (int r = 0; r < F::kTopVectors; ++r) out |= (vui)(((t[r] & ymask) - ylo) >= ylen);
    }
    if (__builtin_expect(simd::movemask((simd::vf)out) != 0, 0)) {
      alignas(16) T x[F::kBlock], yv[F::kBlock];
      for (int r = 0; r < kRegs; ++r) {
        simd::storea(x + r * F::kLanes, vx[r]);
        simd::storea(yv + r * F::kLanes, vy[r]);
      }
      packed_pass2_special(k, x, yv, i, y, kAll);
      continue;
    }
    // The operands are read again for each register rather than kept from the test: holding
    // all of them over the four chains would spill them (the arrays are not written before
    // the block's results are stored, so the reads see the same values).
    const T *ap = a;
    __asm__("" : "+r"(ap));
    const B bp = b.opaque();
    V res[kRegs];
    simd::vd bad = {};
#pragma GCC unroll 8
    for (int r = 0; r < kRegs; ++r) {
      simd::vd br;
      res[r] = k.main(simd::loadu(ap + i + r * F::kLanes), bp.load(i + r * F::kLanes), br);
      bad = simd::or_bits(bad, br);
    }
    if (__builtin_expect(simd::movemask(bad) != 0, 0)) {
      // Some result leaves the main route: the block goes element by element, with its
      // operands read before any of its results is stored (y may be a or b).
      alignas(16) T x[F::kBlock], yv[F::kBlock];
      for (int l = 0; l < F::kBlock; ++l) {
        x[l] = a[i + l];
        yv[l] = b.at(i + l);
      }
      packed_pass2_special(k, x, yv, i, y, kAll);
      continue;
    }
#pragma GCC unroll 8
    for (int r = 0; r < kRegs; ++r) simd::storeu(y + i + r * F::kLanes, res[r]);
  }
  for (; i < n; ++i) pass2_element(k, a[i], b.at(i), i, y);
}

}  // namespace hpk::vmk
