// Square root and reciprocal square root of positive normal doubles by a seed and a polynomial,
// shared by Sqrt and InvSqrt.
//
// Seed. The exponent's low bit and the top 20 fraction bits of a form a single s in [1/2, 2)
// with a = s * 2^(2k); the approximate reciprocal square root instruction gives 1/sqrt(s) to
// 1.5 * 2^-12, widened to double, and the exponent goes back by integer arithmetic:
//     bits(y) = bits(seed) + (fl3BiD2MSBi - (biased exponent >> 1)) << 52,  fl3BiD2MSBi = 511,
// so y ~ 1/sqrt(a). y is then cut to 16 significant bits and a is split into hi (its top 32
// bits: 21 significant bits) and lo = a - hi (32 bits). Products hi*y*y, hi*y, lo*y are then
// exact, and
//     e = (hi*y*y - 1) + lo*y*y           |e| < 2^-10, exact but for the small lo term
//     1/sqrt(a) = y (1 + e)^(-1/2),   sqrt(a) = a y (1 + e)^(-1/2),
// with P(e) = (1 + e)^(-1/2) - 1 as its Taylor polynomial of degree 5 (coefficients -1/2, 3/8,
// -5/16, 35/128, -63/256; truncation below 2^-62):
//     sqrt(a)   = hi*y + (lo*y + P(e) * (a*y))
//     1/sqrt(a) = y + y*P(e)
// The correction term is below 2^-10 of the result and carries its own rounding error of
// 2^-53 relative to itself, so the result is the exact value rounded once, within 0.5 + 2^-9
// ulp; the sweeps find it correctly rounded on nearly every input.
// The single kernels need no exponent arithmetic: the instruction takes the single value itself
// (the main route holds positive normal singles only). The seed is widened and cut to 14 bits,
// so that with a of 24 bits a*y*y is exact in double; the polynomial is of degree 3
// (truncation below 2^-43) and the double result is rounded once to single, which is off the
// correct rounding only when the exact root lies within 2^-43 of a midpoint.
#pragma once

#include <cstdint>

#include "vmk/simd/vec.hpp"

namespace hpk::vmk::sqrt_core {

using simd::vd;
using simd::vf;
using simd::vl;
using simd::vul;

inline constexpr uint64_t dbHi = 0xFFFFFFFF00000000ull;       // top 32 bits
inline constexpr uint64_t dbSeedMask = 0xFFFFFFE000000000ull;  // 16 significant bits
inline constexpr int64_t fl3BiD2MSBi = 511;

struct Seed {
  vd y;   // ~ 1/sqrt(a), 16 significant bits
  vd hi;  // top 32 bits of a
  vd lo;  // a - hi
};

inline Seed seed(vd a) {
  const vul ua = (vul)a;
  // float bits 0x3F000000 | (exponent low bit, top 20 fraction bits) << 3: s in [1/2, 2).
  const vul sbits = ((ua >> 29) & (0x001FFFFFull << 3)) | 0x3F000000u;
  const __m128i packed = _mm_shuffle_epi32((__m128i)sbits, _MM_SHUFFLE(2, 2, 2, 0));
  const vd r = (vd)_mm_cvtps_pd(_mm_rsqrt_ps((__m128)packed));
  const vl shift = (vl)((vul)vl{fl3BiD2MSBi, fl3BiD2MSBi} - (ua >> 53)) << 52;
  const vd y = (vd)(((vl)r + shift) & (vl)(vul{} + dbSeedMask));
  const vd hi = (vd)(ua & dbHi);
  return {y, hi, a - hi};
}

// (1 + e)^(-1/2) - 1, Taylor to degree Degree (3 or 5), evaluated in pairs of terms (Estrin)
// so that the chain of dependent operations stays short: the pass is latency-bound.
template <int Degree>
inline vd poly(vd e) {
  constexpr double c1 = -0x1p-1, c2 = 0x1.8p-2, c3 = -0x1.4p-2, c4 = 0x1.18p-2, c5 = -0x1.f8p-3;
  const vd e2 = e * e;
  const vd low = c1 + c2 * e;
  if constexpr (Degree == 5) return e * (low + e2 * ((c3 + c4 * e) + c5 * e2));
  else return e * (low + e2 * c3);
}

// sqrt: hi*y and lo*y are needed for the result anyway, so e is formed from them
// (hi*y*y has 21 + 16 + 16 bits: exact).
template <int Degree>
inline vd sqrt_main(vd a) {
  const Seed s = seed(a);
  const vd hy = s.hi * s.y, ly = s.lo * s.y;
  const vd e = (hy * s.y - 1.0) + ly * s.y;
  return hy + (ly + poly<Degree>(e) * (a * s.y));
}

template <int Degree>
inline vd invsqrt_main(vd a) {
  const Seed s = seed(a);
  const vd yy = s.y * s.y;
  const vd e = (s.hi * yy - 1.0) + s.lo * yy;
  return s.y + s.y * poly<Degree>(e);
}

inline constexpr uint64_t kSingleSeedMask = 0xFFFFFF8000000000ull;  // 14 significant bits

template <bool Inverse>
inline vd single_half(vd a, vd r) {
  const vd y = (vd)((vul)r & kSingleSeedMask);
  const vd e = a * (y * y) - 1.0;
  const vd p = poly<3>(e);
  if constexpr (Inverse) return y + y * p;
  const vd ay = a * y;
  return ay + ay * p;
}

template <bool Inverse>
inline vf single_main(vf x) {
  const __m128 r = _mm_rsqrt_ps((__m128)x);
  const vd lo = single_half<Inverse>((vd)_mm_cvtps_pd((__m128)x), (vd)_mm_cvtps_pd(r));
  const vd hi = single_half<Inverse>((vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x)),
                                     (vd)_mm_cvtps_pd(_mm_movehl_ps(r, r)));
  return (vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)lo), _mm_cvtpd_ps((__m128d)hi));
}

// The family's formats: range of the main route (positive normal values; the sign is part of
// the test), default NaN, and polynomial degree.
template <class T>
struct Format;

template <>
struct Format<double> {
  static constexpr uint32_t kMinNormalTop = 0x00100000, kInfTop = 0x7FF00000;
  static constexpr int kDegree = 5;
  static double default_nan() { return simd::from_bits(uint64_t{0xFFF8000000000000}); }
};

template <>
struct Format<float> {
  static constexpr uint32_t kMinNormalTop = 0x00800000, kInfTop = 0x7F800000;
  static constexpr int kDegree = 3;
  static float default_nan() { return simd::from_bits(uint32_t{0xFFC00000}); }
};

}  // namespace hpk::vmk::sqrt_core
