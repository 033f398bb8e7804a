// The core of Hypot, sqrt(x^2 + z^2) without intermediate overflow or underflow, shared by
// dHypot and zAbs so that both give the same bits for the same pair.
//
// The sum of squares is formed as a double-double (squares split by masking, exact for operands
// scaled into range), its square root r = sqrt(hi) is taken by the hardware (correctly rounded)
// and corrected once by the residual:
//     result = r + ((hi - r*r) + lo) / (2r),   r*r exact as a double-double.
// The double-double carries about 104 bits, so the result is within 0.5 + 2^-50 ulp.
// Elements whose larger magnitude lies in [2^-450, 2^500) need no scaling (`is_rare` false); the
// rest (zeros, infinities, NaN, tiny and huge values) go to `hypot_scalar`, which scales both by
// 2^600 or 2^-600 so that the squares neither overflow nor underflow.
//
// Special values: an infinite input gives +inf even beside a NaN; otherwise a NaN input gives
// a * b (the NaN, quieted); two zeros give +0.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "vmk/simd/vec.hpp"

namespace hpk::vmk::hypot {

using namespace hpk::simd;

inline constexpr uint64_t kExpMask = 0x7FF0000000000000ull;
inline constexpr uint64_t kAbsMask = 0x7FFFFFFFFFFFFFFFull;
// Packed range of the larger magnitude: top words in [bits(2^-450), bits(2^500)).
inline constexpr uint32_t kFastLo = uint32_t((1023 - 450) << 20);
inline constexpr uint32_t kFastLen = uint32_t((1023 + 500) << 20) - kFastLo;

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
inline double hypot_scalar(double a, double b) {
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

}  // namespace hpk::vmk::hypot
