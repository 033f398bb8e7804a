// Single kernels that take their family's double route: widen the four lanes of a single
// vector to two double vectors, run the double routine on each, and round once to single.
#pragma once

#include "vmk/simd/vec.hpp"

namespace hpk::vmk {

template <class Fd>
[[gnu::always_inline]] inline simd::vf on_double_lanes(simd::vf x, Fd fd) {
  const simd::vd lo = (simd::vd)_mm_cvtps_pd((__m128)x);
  const simd::vd hi = (simd::vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x));
  return (simd::vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)fd(lo)), _mm_cvtpd_ps((__m128d)fd(hi)));
}
template <class Fd>
[[gnu::always_inline]] inline simd::vd on_double_lanes(simd::vd x, Fd fd) {
  return fd(x);
}

}  // namespace hpk::vmk
