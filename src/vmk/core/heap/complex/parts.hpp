// Complex elements seen as their parts: a complex array of n elements is 2n reals, real part
// first. The traits give the real type, its register and the finite test shared by the complex
// kernels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hpk/vmk.h"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk {

template <class C>
struct ComplexParts;

template <>
struct ComplexParts<hpk_complex8> {
  using R = float;
  using V = simd::vf;
  static constexpr int kPerReg = 4;  // parts in one register: two elements
  static constexpr float kMax = 0x1.fffffep127f;
  static constexpr char kType = 'c';
};

template <>
struct ComplexParts<hpk_complex16> {
  using R = double;
  using V = simd::vd;
  static constexpr int kPerReg = 2;  // one element
  static constexpr double kMax = 0x1.fffffffffffffp1023;
  static constexpr char kType = 'z';
};

template <class C>
inline const typename ComplexParts<C>::R *parts(const C *p) {
  return reinterpret_cast<const typename ComplexParts<C>::R *>(p);
}
template <class C>
inline typename ComplexParts<C>::R *parts(C *p) {
  return reinterpret_cast<typename ComplexParts<C>::R *>(p);
}

// All ones in the lanes whose exponent is all ones (infinity or NaN): |x| <= max is false there
// and only there; the unordered "not less or equal" compare is true for NaN.
inline simd::vd not_finite(simd::vd x) {
  return (simd::vd)_mm_cmpnle_pd(
      (__m128d)simd::andnot_bits(simd::splat(-0.0), x),
      (__m128d)simd::splat(ComplexParts<hpk_complex16>::kMax));
}
inline simd::vf not_finite(simd::vf x) {
  return (simd::vf)_mm_cmpnle_ps((__m128)simd::andnot_bits(simd::splat(-0.0f), x),
                                 (__m128)simd::splat(ComplexParts<hpk_complex8>::kMax));
}

}  // namespace hpk::vmk
