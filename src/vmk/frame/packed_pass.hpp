// The hand-scheduled packed pass, shared by the kernels whose main route is packed arithmetic
// with a scalar route for rare elements (roots now; exponentials, logarithms, sines later).
//
//   while 8 doubles (16 singles) remain:
//     test the top 32 bits of every element, sign masked as the kernel asks, against the main
//     route's range by one unsigned subtraction and compare;
//     if all are in range, compute the whole block packed and store it;
//     otherwise run the block's special-case routine: each in-range element goes through the
//     same packed calculation on its own, each out-of-range element to the kernel's scalar
//     routine, which stores its value (and reports a status if the element has one);
//   the tail, one element at a time through the same packed calculation (so an element's
//   result never depends on its position), out-of-range elements to the scalar routine.
//
// The results are those of computing every block packed and then overwriting the rare
// elements by the scalar routine; keeping rare lanes out of the packed arithmetic only spares
// the caller the exception flags that garbage lanes would raise (an infinity in a square root
// block would raise invalid). The rare path costs the main loop one compare per element and
// one branch per block. Each element is read before its result is stored, so y equal to a is
// fine.
//
// A kernel K provides:
//   using T                      float or double
//   kSignMask                    0x7FFFFFFF to test |x|, 0xFFFFFFFF when the sign matters
//   kRangeLo, kRangeLen          main route: ((top32(x) & kSignMask) - kRangeLo) < kRangeLen
//   static V main(V x)           the packed route, lane by lane (V = simd::vd or simd::vf)
//   static void rare(T x, int i, const T *a, T *y)
//                                the scalar routine for the element x = a[i] as it was on
//                                entry (y may be a, already partly overwritten): correct for
//                                every input, stores y[i] and reports its status with the
//                                arrays as given
// and may provide
//   kTopLimit                    top words (sign included, unsigned) at or above it go to the
//                                scalar routine too: a second bound for a main range that
//                                is not symmetric, e.g. x > -1 (0xBFF00000) with |x| in range
// and the kernel body is `packed_pass<K>(n, a, y)` under its control scope. Two-input
// kernels get a twin of the frame with a second array and a combined range mask.
#pragma once

#include <cstdint>
#include <type_traits>

#include "vmk/simd/vec.hpp"

namespace hpk::vmk {

template <class T>
struct PassFormat;

template <>
struct PassFormat<double> {
  using V = simd::vd;
  static constexpr int kLanes = 2;
  static constexpr int kBlock = 8;
  static uint32_t top(double x) { return uint32_t(simd::bits(x) >> 32); }
  // The top words of four registers (8 doubles) as two vectors of four.
  static void tops(const V *v, simd::vui *t) {
    for (int k = 0; k < 2; ++k)
      t[k] = (simd::vui)_mm_shuffle_ps((__m128)v[2 * k], (__m128)v[2 * k + 1],
                                       _MM_SHUFFLE(3, 1, 3, 1));
  }
  static constexpr int kTopVectors = 2;
};

template <>
struct PassFormat<float> {
  using V = simd::vf;
  static constexpr int kLanes = 4;
  static constexpr int kBlock = 16;
  static uint32_t top(float x) { return simd::bits(x); }
  static void tops(const V *v, simd::vui *t) {
#pragma GCC unroll 4
    for (int k = 0; k < 4; ++k) t[k] = (simd::vui)v[k];
  }
  static constexpr int kTopVectors = 4;
};

template <class K, class = void>
struct HasTopLimit : std::false_type {};
template <class K>
struct HasTopLimit<K, std::void_t<decltype(K::kTopLimit)>> : std::true_type {};

template <class K>
inline bool in_main_range(uint32_t top) {
  if constexpr (HasTopLimit<K>::value)
    if (top >= K::kTopLimit) return false;
  return ((top & K::kSignMask) - K::kRangeLo) < K::kRangeLen;
}

// The block's special-case routine: out of the hot loop, so the block's registers stay free.
template <class K>
[[gnu::noinline, gnu::cold]] void packed_pass_special(const typename K::T *x, int i,
                                                      const typename K::T *a, typename K::T *y) {
  using F = PassFormat<typename K::T>;
  for (int k = 0; k < F::kBlock; ++k) {
    if (in_main_range<K>(F::top(x[k]))) y[i + k] = K::main(simd::splat(x[k]))[0];
    else K::rare(x[k], i + k, a, y);
  }
}

template <class K>
void packed_pass(int n, const typename K::T *a, typename K::T *y) {
  using T = typename K::T;
  using F = PassFormat<T>;
  using V = typename F::V;
  using simd::vui;
  constexpr int kRegs = F::kBlock / F::kLanes;
  const vui sign_mask = vui{} + K::kSignMask, lo = vui{} + K::kRangeLo,
            len = vui{} + K::kRangeLen;
  int i = 0;
  for (; i <= n - F::kBlock; i += F::kBlock) {
    V v[kRegs];
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) v[k] = simd::loadu(a + i + k * F::kLanes);
    vui t[F::kTopVectors];
    F::tops(v, t);
    vui out = vui{};
#pragma GCC unroll 8
    for (int k = 0; k < F::kTopVectors; ++k) out |= (vui)(((t[k] & sign_mask) - lo) >= len);
    if constexpr (HasTopLimit<K>::value) {
#pragma GCC unroll 8
      for (int k = 0; k < F::kTopVectors; ++k) out |= (vui)(t[k] >= K::kTopLimit);
    }
    if (__builtin_expect(simd::movemask((simd::vf)out) != 0, 0)) {
      alignas(16) T x[F::kBlock];
      for (int k = 0; k < kRegs; ++k) simd::storea(x + k * F::kLanes, v[k]);
      packed_pass_special<K>(x, i, a, y);
      continue;
    }
    V r[kRegs];
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) r[k] = K::main(v[k]);
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) simd::storeu(y + i + k * F::kLanes, r[k]);
  }
  for (; i < n; ++i) {
    const T x = a[i];
    if (in_main_range<K>(F::top(x))) y[i] = K::main(simd::splat(x))[0];
    else K::rare(x, i, a, y);
  }
}

// A double routine applied to one scalar of either type through lane 0.
template <class T, class Fd>
inline T on_double_scalar(T x, Fd fd) {
  return T(fd(simd::splat(double(x)))[0]);
}

// x * 1 where the multiplication must happen (it quiets a signalling NaN): the compiler may
// not fold a product by an opaque one.
template <class T>
inline T times_one(T x) {
  T one = T(1);
  __asm__("" : "+x"(one));
  return x * one;
}

}  // namespace hpk::vmk
