// Hypot: sqrt(a^2 + b^2) without intermediate overflow or underflow. No status on any input.
//
// Double. The sum of squares is formed as a double-double (Dekker products, exact for operands
// scaled into range), its square root r = sqrt(hi) is taken by the hardware (correctly rounded)
// and corrected once by the residual:
//     result = r + ((hi - r*r) + lo) / (2r),  with r*r exact as a double-double.
// The double-double carries about 104 bits, so the corrected result is within 0.5 + 2^-50 ulp
// of the true value (measured: correctly rounded on every sample of the sweep in
// docs/accuracy.md). Elements whose larger magnitude lies in [2^-450, 2^500) run packed with no
// scaling; the rest (zeros, infinities, NaN, tiny and huge values) go to the scalar routine,
// which scales both by a power of two chosen from the larger one.
//
// Single. Squares of floats are exact in double and their sum is rounded once, so the double
// square root rounded to float is within 0.5 + 2^-28 ulp.
//
// Special values: an infinite input gives +inf even beside a NaN; otherwise a NaN input gives
// a * b (the NaN, quieted); two zeros give +0.
#include <algorithm>
#include <cmath>

#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace {

using namespace hpk::simd;

constexpr uint64_t kExpMask = 0x7FF0000000000000ull;
constexpr uint64_t kAbsMask = 0x7FFFFFFFFFFFFFFFull;
// Packed range of the larger magnitude: top words in [bits(2^-450), bits(2^500)).
constexpr uint32_t kFastLo = uint32_t((1023 - 450) << 20);
constexpr uint32_t kFastLen = uint32_t((1023 + 500) << 20) - kFastLo;

// sqrt(hi + lo) for hi + lo a renormalised double-double with hi normal, returned rounded.
inline double dd_sqrt(double hi, double lo) {
  const double r = std::sqrt(hi);
  const dd rr = two_prod(r, r);
  const double residual = ((hi - rr.hi) - rr.lo) + lo;
  return r + residual / (r + r);
}

inline vd dd_sqrt(vd hi, vd lo) {
  const vd r = vsqrt(hi);
  const vdd rr = two_sqr(r);
  const vd residual = ((hi - rr.hi) - rr.lo) + lo;
  return r + residual / (r + r);
}

// x >= z >= 0, x in the safe range (x^2 and its low part are normal).
inline double hypot_core(double x, double z) {
  const dd x2 = two_prod(x, x), z2 = two_prod(z, z);
  const dd s = two_sum(x2.hi, z2.hi);
  const double lo = s.lo + x2.lo + z2.lo;
  const double hi = s.hi + lo;
  return dd_sqrt(hi, lo - (hi - s.hi));
}

inline vd hypot_core(vd x, vd z) {
  const vdd x2 = two_sqr(x), z2 = two_sqr(z);
  const vdd s = two_sum(x2.hi, z2.hi);
  const vd lo = s.lo + x2.lo + z2.lo;
  const vd hi = s.hi + lo;
  return dd_sqrt(hi, lo - (hi - s.hi));
}

// Correct for every input.
double hypot_scalar(double a, double b) {
  const uint64_t ua = bits(a) & kAbsMask, ub = bits(b) & kAbsMask;
  if (ua == kExpMask || ub == kExpMask) return HUGE_VAL;
  if (ua > kExpMask || ub > kExpMask) return a * b;
  double x = from_bits(ua), z = from_bits(ub);
  if (x < z) std::swap(x, z);
  if (x == 0.0) return 0.0;
  // Scale by 2^-600 above 2^500 and by 2^600 below 2^-450: products of powers of two are exact
  // here, denormal inputs included, and the scaled larger value lies in [2^-100, 2^424].
  double up = 1.0, down = 1.0;
  if (x >= 0x1p500) {
    up = 0x1p-600;
    down = 0x1p600;
  } else if (x < 0x1p-450) {
    up = 0x1p600;
    down = 0x1p-600;
  }
  return hypot_core(x * up, z * up) * down;
}

inline uint32_t top_abs(double x) { return uint32_t((bits(x) & kAbsMask) >> 32); }

}  // namespace

extern "C" {

void hpk_vmk_kernel_dHypot_EXHAynn(int n, const double *a, const double *b, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  const vd abs_mask = (vd)vul{kAbsMask, kAbsMask};
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    bool rare = false;
    for (int k = 0; k < 4; ++k) {
      const uint32_t t = std::max(top_abs(a[i + k]), top_abs(b[i + k]));
      rare |= t - kFastLo >= kFastLen;
    }
    if (__builtin_expect(rare, 0)) {
      for (int k = 0; k < 4; ++k) y[i + k] = hypot_scalar(a[i + k], b[i + k]);
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
  for (; i < n; ++i) y[i] = hypot_scalar(a[i], b[i]);
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
