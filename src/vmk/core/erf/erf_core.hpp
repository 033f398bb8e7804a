// The interval route of Erf on packed lanes, shared with Erfc (which needs the unrounded
// parts to form 1 - erf x). Layout of the rows and error bounds: erf.cpp.
#pragma once

#include <cstdint>

#include "vmk/core/erf/erf_tables.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::erf {

using simd::vd;
using simd::vf;

constexpr uint64_t kHighMask = 0xFFFFFFFFF8000000ull;  // sign, exponent, top 26 bits
constexpr uint32_t kRowBase = 0x3FBE0000, kRowMask = 0x7FFE0000;
constexpr uint32_t kTinyEnd = 0x00800000, kInfTop = 0x7FF00000;

inline int row_of(uint32_t top) {
  const uint32_t t = top & kRowMask;
  if (t < kRowBase) return 0;
  const uint32_t k = (t - kRowBase) >> 17;
  return k > 45 ? 45 : int(k);
}

inline uint32_t abs_top(double x) { return uint32_t(simd::bits(x) >> 32) & 0x7FFFFFFF; }

inline vd high_part(vd v) {
  return simd::and_bits(v, (vd)(simd::vl{} + int64_t(kHighMask)));
}

// |erf x| = hi + lo unrounded, for |x| finite (both lanes); hi is erf(c)'s high part.
struct Parts {
  vd hi, lo;
};
[[gnu::always_inline]] inline Parts parts(vd ax) {
  const double *P0 = erf_tables::kPoly[row_of(abs_top(ax[0]))];
  const double *P1 = erf_tables::kPoly[row_of(abs_top(ax[1]))];
  auto entry = [&](int j) { return vd{P0[j], P1[j]}; };
  const vd r = ax + entry(12);
  vd p = entry(11);
#pragma GCC unroll 8
  for (int j = 10; j >= 3; --j) p = p * r + entry(j);
  p = p * r;
  const vd a1 = entry(2);
  const vd s = a1 + p;
  const vd sh = high_part(s);
  const vd sl = (a1 - sh) + p;
  const vd rh = high_part(r);
  const vd rl = r - rh;
  return {entry(1), rh * sh + (((rl * sl + rh * sl) + rl * sh) + entry(0))};
}

// The interval route on both lanes (each lane in the main class).
[[gnu::always_inline]] inline vd main_route(vd x) {
  const vd sign = simd::splat(-0.0);
  const Parts p = parts(simd::andnot_bits(sign, x));
  return simd::or_bits(p.hi + p.lo, simd::and_bits(sign, x));
}

}  // namespace hpk::vmk::erf
