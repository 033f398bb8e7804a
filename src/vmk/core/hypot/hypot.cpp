// Hypot: sqrt(a^2 + b^2) without intermediate overflow or underflow. No status on any input.
//
// Double. The method and its bound are those of the shared core (core/heap/real/hypot_core.hpp,
// also used by zAbs): a double-double sum of squares, the hardware square root and one
// correction; within 0.5 + 2^-50 ulp (measured: 0.5 over the sweeps of docs/accuracy.md). A
// float reciprocal estimate refined once in place of the division was tried and measured slower
// on the development machine: the loop is bound by its instruction count, not by the divider.
// Every element goes through the same packed core (rare ones after scaling), so a result does
// not depend on the element's position in the array.
//
// Single. Squares of floats are exact in double and their sum is rounded once, so the double
// square root rounded to float is within 0.5 + 2^-28 ulp.
//
// Special values: an infinite input gives +inf even beside a NaN; otherwise a NaN input gives
// a * b (the NaN, quieted); two zeros give +0.
#include <algorithm>
#include <cmath>

#include "vmk/core/heap/real/hypot_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace {
using namespace hpk::simd;
using namespace hpk::vmk::hypot;
}  // namespace

extern "C" {

void hpk_vmk_kernel_dHypot_EXHAynn(int n, const double *a, const double *b, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  const vd abs_mask = (vd)vul{kAbsMask, kAbsMask};
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    // The range test runs on the integer units, which the packed core leaves idle.
    bool rare = false;
    for (int k = 0; k < 4; ++k) rare |= is_rare(a[i + k], b[i + k]);
    if (__builtin_expect(rare, 0)) {
      for (int k = 0; k < 4; ++k) y[i + k] = hypot_element(a[i + k], b[i + k]);
      continue;
    }
    vd r[2];
    for (int k = 0; k < 2; ++k) {
      const vd va = and_bits(loadu(a + i + 2 * k), abs_mask);
      const vd vb = and_bits(loadu(b + i + 2 * k), abs_mask);
      r[k] = hypot_core(vmax(va, vb), vmin(va, vb));
    }
    storeu(y + i, r[0]);
    storeu(y + i + 2, r[1]);
  }
  for (; i < n; ++i) y[i] = hypot_element(a[i], b[i]);
}

void hpk_vmk_kernel_sHypot_EXHAynn(int n, const float *a, const float *b, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const vf va = loadu(a + i), vb = loadu(b + i);
    const vui ea = (vui)va & 0x7F800000u, eb = (vui)vb & 0x7F800000u;
    const vi special = (vi)(ea == 0x7F800000u) | (vi)(eb == 0x7F800000u);
    const vd a0 = (vd)_mm_cvtps_pd((__m128)va), b0 = (vd)_mm_cvtps_pd((__m128)vb);
    const vd a1 = (vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)va, (__m128)va));
    const vd b1 = (vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)vb, (__m128)vb));
    const vd r0 = vsqrt(a0 * a0 + b0 * b0), r1 = vsqrt(a1 * a1 + b1 * b1);
    const vf r = (vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)r0), _mm_cvtpd_ps((__m128d)r1));
    storeu(y + i, r);
    if (__builtin_expect(movemask((vf)special) != 0, 0)) {
      for (int k = 0; k < 4; ++k) {
        const float x = a[i + k], z = b[i + k];
        if (std::isinf(x) || std::isinf(z)) y[i + k] = HUGE_VALF;
        else if (std::isnan(x) || std::isnan(z)) y[i + k] = x * z;
      }
    }
  }
  for (; i < n; ++i) {
    const float x = a[i], z = b[i];
    if (std::isinf(x) || std::isinf(z)) y[i] = HUGE_VALF;
    else if (std::isnan(x) || std::isnan(z)) y[i] = x * z;
    else y[i] = float(std::sqrt(double(x) * x + double(z) * z));
  }
}

}
