// The frame of Div (y = a / b) and Inv (y = 1 / a).
// Div: y = a / b, the hardware division, under control scheme A. An element whose b is zero
// reports status 2 after its quotient is stored (so 0/0 reports 2, not 1), unless a or b is a
// NaN or an infinity: those divide plainly and report nothing.
//
// Packed blocks of 8 doubles or 16 singles; the block's report mask is formed from the inputs
// before the quotients are stored, so y may be a or b. A report goes out only after the whole
// block is stored, in element order.
#pragma once

#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk {

template <class T>
struct DivLanes;
template <>
struct DivLanes<double> {
  using V = simd::vd;
  static constexpr int kLanes = 2;
  static constexpr double kMax = 0x1.fffffffffffffp1023;
  static constexpr const char *kDiv = "vdDiv", *kInv = "vdInv";
};
template <>
struct DivLanes<float> {
  using V = simd::vf;
  static constexpr int kLanes = 4;
  static constexpr float kMax = 0x1.fffffep127f;
  static constexpr const char *kDiv = "vsDiv", *kInv = "vsInv";
};

// Inv: an element of a equal to +-0 reports status 2 after 1/a (+-inf) is stored.
//
// abs(x) <= max is false exactly for NaN and infinities (exponent all ones).
template <class V, class T>
inline V finite(V x, T max) {
  return (V)(simd::andnot_bits(simd::splat(T(-0.0)), x) <= max);
}

// The status of one element, from its inputs: 2 when the denominator is zero and no input is
// a NaN or an infinity.
template <class T, bool Inverse>
inline bool reports(T num, T den) {
  return den == T(0) && (Inverse || __builtin_isfinite(num));
}

template <class T, bool Inverse>
void divide(int n, const T *a, const T *b, T *y) {
  using L = DivLanes<T>;
  using V = typename L::V;
  constexpr int kRegs = 4, kBlock = kRegs * L::kLanes;
  const char *name = Inverse ? L::kInv : L::kDiv;
  const T *const den = Inverse ? a : b;
  int i = 0;
  for (; i <= n - kBlock; i += kBlock) {
    V q[kRegs];
    int mask = 0;
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) {
      const V vb = simd::loadu(den + i + k * L::kLanes);
      V reportable = (V)(vb == T(0));
      if constexpr (Inverse) {
        q[k] = T(1) / vb;
      } else {
        const V va = simd::loadu(a + i + k * L::kLanes);
        q[k] = va / vb;
        reportable = simd::and_bits(reportable, finite(va, L::kMax));
      }
      mask |= simd::movemask(reportable) << (k * L::kLanes);
    }
#pragma GCC unroll 8
    for (int k = 0; k < kRegs; ++k) simd::storeu(y + i + k * L::kLanes, q[k]);
    if (__builtin_expect(mask != 0, 0)) {
      for (int lane = 0; lane < kBlock; ++lane)
        if (mask >> lane & 1)
          report_error<T>(kStatusSingularity, i + lane, a, Inverse ? a : b, y, y, name);
    }
  }
  for (; i < n; ++i) {
    const T num = Inverse ? T(1) : a[i], d = den[i];
    y[i] = num / d;
    if (__builtin_expect(reports<T, Inverse>(num, d), 0))
      report_error<T>(kStatusSingularity, i, a, Inverse ? a : b, y, y, name);
  }
}

}  // namespace hpk::vmk

