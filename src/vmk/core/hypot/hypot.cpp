// Hypot: sqrt(a^2 + b^2) without intermediate overflow or underflow. No status on any input.
//
// Double. The sum of squares is formed as a double-double (Dekker products, exact for operands
// scaled into range), its square root r = sqrt(hi) is taken by the hardware (correctly rounded)
// and corrected once by the residual:
//     result = r + ((hi - r*r) + lo) / (2r),   r*r exact as a double-double.
// The double-double carries about 104 bits, so the result is within 0.5 + 2^-50 ulp (measured:
// 0.5 over the sweeps of docs/accuracy.md). A float reciprocal estimate refined once in place of
// the division was tried and measured slower on the development machine: the loop is bound by
// its instruction count, not by the divider.
// Every element goes through the same packed core (rare ones after scaling), so a result does
// not depend on the element's position in the array.
// Elements whose larger magnitude lies in [2^-450, 2^500) need no scaling; the rest (zeros,
// infinities, NaN, tiny and huge values) go to the scalar routine, which scales both by 2^600 or
// 2^-600 so that the squares neither overflow nor underflow.
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

// x^2 as hi + lo. The split is by masking, cheaper than Dekker's: xh keeps 26 significant bits
// and xl at most 27, so xh^2 and 2 xh xl are exact and xl^2 alone is rounded, a relative error
// of 2^-107 in x^2, far below what the final correction needs (about 2^-70).
inline vdd square(vd x) {
  const vd xh = and_bits(x, (vd)vul{0xFFFFFFFFF8000000ull, 0xFFFFFFFFF8000000ull});
  const vd xl = x - xh;
  const vd p = x * x;
  return {p, ((xh * xh - p) + (xh + xh) * xl) + xl * xl};
}

// x >= z >= 0 lane by lane, x in [2^-450, 2^500) (squares and their low parts normal).
// Returns sqrt(x^2 + z^2) as r + c: r the square root of the rounded sum, c the correction.
inline vdd hypot_parts(vd x, vd z) {
  const vdd x2 = square(x), z2 = square(z);
  const vdd s = two_sum(x2.hi, z2.hi);
  const vd lo0 = s.lo + x2.lo + z2.lo;
  const vd hi = s.hi + lo0;
  const vd lo = lo0 - (hi - s.hi);
  const vd r = vsqrt(hi);
  const vdd rr = square(r);
  const vd residual = ((hi - rr.hi) - rr.lo) + lo;
  return {r, residual / (r + r)};
}

inline vd hypot_core(vd x, vd z) {
  const vdd p = hypot_parts(x, z);
  return p.hi + p.lo;
}

inline double hypot_core(double x, double z) { return hypot_core(splat(x), splat(z))[0]; }

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
  if (up <= 1.0 || x >= 0x1p-1022) return hypot_core(x * up, z * up) * down;
  // Results below 2^-1022 lie on the denormal grid g = 2^-1074, 2^-474 when scaled. Rounding the
  // scaled r + c to 53 bits and then to the grid would round twice (up to 0.75 ulp), so r is
  // rounded to the scaled grid by the shifter C = 2^52 g, and its exact remainder e plus c
  // decides one step of g. An exact tie cannot occur: a^2 + b^2 is an integer in g^2 units while
  // a midpoint squared is not.
  const vdd p = hypot_parts(splat(x * up), splat(z * up));
  const double r = p.hi[0], c = p.lo[0];
  constexpr double kShifter = 0x1p-422, kGrid = 0x1p-474;
  if (r + c >= kShifter) return (r + c) * down;
  double u = r + kShifter;
  const double e = r - (u - kShifter);
  const double t = e + c;
  if (t > 0.5 * kGrid) u += kGrid;
  else if (t < -0.5 * kGrid) u -= kGrid;
  return (u - kShifter) * down;
}

inline bool is_rare(double a, double b) {
  const uint32_t t = uint32_t(std::max(bits(a) & kAbsMask, bits(b) & kAbsMask) >> 32);
  return t - kFastLo >= kFastLen;
}

// One element of the tail or of a block with rare lanes.
inline double hypot_element(double a, double b) {
  if (is_rare(a, b)) return hypot_scalar(a, b);
  const double x = std::fabs(a), z = std::fabs(b);
  return x >= z ? hypot_core(x, z) : hypot_core(z, x);
}

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
