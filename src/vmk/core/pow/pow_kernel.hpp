// The kernel object of Pow and of Powx's general route, for the two-input pass
// (frame/packed_pass2.hpp). Main route: x positive normal, y normal with 2^-511 <= |y| < 2^1000
// (double) or any normal y (single), and the result normal; everything else goes to
// powc_scalar / _spow_scalar. Powx (Const) splits and classifies its exponent once per call.
#pragma once

#include "vmk/core/pow/pow_core.hpp"
#include "vmk/core/pow/pow_scalar.hpp"
#include "vmk/frame/packed_pass2.hpp"
#include "vmk/service/error.hpp"

namespace hpk::vmk {

template <class E>
struct PowRanges;
template <>
struct PowRanges<double> {
  static constexpr uint32_t kXLo = 0x00100000, kXLen = 0x7FE00000;  // positive normal
  static constexpr uint32_t kYLo = 0x20000000, kYLen = 0x5E700000;  // |y| in [2^-511, 2^1000)
};
template <>
struct PowRanges<float> {
  static constexpr uint32_t kXLo = 0x00800000, kXLen = 0x7F000000;  // positive normal
  static constexpr uint32_t kYLo = 0x00800000, kYLen = 0x7F000000;  // normal
};

template <class E, bool Const>
struct PowKernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr uint32_t kXLo = PowRanges<E>::kXLo, kXLen = PowRanges<E>::kXLen;
  static constexpr bool kTestY = !Const;
  static constexpr uint32_t kYMask = 0x7FFFFFFF;
  static constexpr uint32_t kYLo = PowRanges<E>::kYLo, kYLen = PowRanges<E>::kYLen;

  const E *a, *b;  // b: the array of Pow, or a again for Powx
  E *y;
  const char *name;
  // Powx: the exponent as a vector, its split and its class.
  simd::vd yc{}, yh{}, yl{};
  int y_class = 0;

  // Whether a constant exponent lets the elements take the main route at all.
  static bool exponent_in_range(E v) {
    return ((PassFormat<E>::top(v) & kYMask) - kYLo) < kYLen;
  }

  [[gnu::always_inline]] V main(V x, V yv, simd::vd &bad) const {
    if constexpr (sizeof(E) == 8) {
      simd::vd h = yh, l = yl;
      if constexpr (!Const) pow_core::split_y(yv, h, l);
      return pow_core::main(x, h, l, bad);
    } else {
      const simd::vd x0 = (simd::vd)_mm_cvtps_pd((__m128)x);
      const simd::vd x1 = (simd::vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x));
      simd::vd y0 = yc, y1 = yc;
      if constexpr (!Const) {
        y0 = (simd::vd)_mm_cvtps_pd((__m128)yv);
        y1 = (simd::vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)yv, (__m128)yv));
      }
      simd::vd m0, m1;
      const simd::vd r0 = pow_core::main_single(x0, y0, m0);
      const simd::vd r1 = pow_core::main_single(x1, y1, m1);
      bad = simd::or_bits(m0, m1);
      return (simd::vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)r0), _mm_cvtpd_ps((__m128d)r1));
    }
  }

  // pow_scalar / powc_scalar / _spow_scalar
  void rare(E x, E yv, int i) const {
    int status;
    const int cls = Const ? y_class : pow_core::classify_y(double(yv));
    if constexpr (sizeof(E) == 8) y[i] = pow_core::powc_scalar(x, yv, cls, status);
    else y[i] = pow_core::spow_scalar(x, yv, cls, status);
    if (status) report_error<E>(status, i, a, b, y, y, name);
  }
};

}  // namespace hpk::vmk
