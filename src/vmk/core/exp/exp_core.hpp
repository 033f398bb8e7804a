// The packed exponential of Exp (and of the single kernels, which run it on widened lanes).
//
//   t  = x * s_dwInvLn + s_dwRS           (two roundings; the low bits of t hold k, the
//                                          nearest integer to x * 64 / ln 2)
//   kd = t - s_dwRS                       (k as a double, exact)
//   r  = (x - kd * s_dwLnHi) - kd * s_dwLnLo
//        (s_dwLnHi has 32 significant bits, so kd * s_dwLnHi and the first difference are
//         exact; |r| <= ln 2 / 128 + tiny)
//   j  = k mod 64, (T, Tl) = s_dwExp2[j]  (2^(j/64) in two parts)
//   p  = r + r2 * ((A2 + r * A3) + r2 * (A4 + r * A5)),  r2 = r * r
//        (this grouping is the order of evaluation; the scalar model follows it)
//   v  = T + (Tl + T * p)
//   result = v * 2^m, m = k >> 6, the factor built as ((bits(t) + s_dwBias) << 46) masked with
//   the exponent field; for |x| below 708.39 the factor is a normal power of two and the
//   product is exact.
// The polynomial's truncation error is below 2^-60 relative on |r| <= ln2/128, so the result
// is the exact value with one final rounding plus about 2^-9 ulp from the T * p product.
#pragma once

#include <cstdint>

#include "vmk/core/exp/exp_tables.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::exp_core {

using simd::vd;
using simd::vul;

inline constexpr double s_dwInvLn = 0x1.71547652b82fep+6;  // 64 / ln 2
inline constexpr double s_dwRS = 0x1.8p52;                 // 1.5 * 2^52
inline constexpr uint64_t s_dwLnHi = 0x3F862E42FEF00000ull;
inline constexpr uint64_t s_dwLnLo = 0x3D7473DE6AF278EDull;
inline constexpr uint64_t s_dwBias = 0xFFC0;  // 1023 * 64
inline constexpr uint64_t kExpMask = 0x7FF0000000000000ull;
inline constexpr double A2 = 0x1.fffffffffd97cp-2;  // 0.49999999999945266
inline constexpr double A3 = 0x1.55555555542a1p-3;  // 0.16666666666653376
inline constexpr double A4 = 0x1.555574bc3a1bep-5;  // 0.04166672515731616
inline constexpr double A5 = 0x1.1111276409c2cp-7;  // 0.008333343728805863

// v = T + (Tl + T * p) and the shifted t whose low bits hold k.
struct Reduced {
  vd v;
  vul t_bits;
};

// The constants of the loop, each stored twice side by side so that an aligned load fills a
// register; defined out of line (exp.cpp) so that the loop reads them as memory operands
// instead of rebuilding them from scalars.
struct alignas(16) ExpConstants {
  vd inv_ln, rs, ln_hi, ln_lo, a2, a3, a4, a5;
};
extern const ExpConstants kExpConstants;

// 2^(k/64) as T and E apart (T the table's high part, E = Tl + T p, |E| < 2^-6.9 T): callers
// that carry e^x on as a double-double keep the two; e^x = 2^m (T + E) within about 2^-59.
struct ReducedParts {
  vd T, E;
  vul t_bits;
};

[[gnu::always_inline]] inline ReducedParts reduce_parts(vd x) {
  using exp_tables::s_dwExp2;
  // An opaque pointer, so the constants stay memory operands of the arithmetic instead of
  // being hoisted out of the loop into registers (and spilled there by the four chains).
  const ExpConstants *cp = &kExpConstants;
  __asm__ volatile("" : "+r"(cp));
  const ExpConstants &c = *cp;
  const vd t = x * c.inv_ln + c.rs;
  const vd kd = t - c.rs;
  const vd r = (x - kd * c.ln_hi) - kd * c.ln_lo;
  const vul tb = (vul)t;
  // j * 16 bytes for both lanes, fetched by pextrw straight into general registers
  const __m128i off = _mm_slli_epi32(_mm_and_si128((__m128i)tb, _mm_set1_epi32(63)), 4);
  const char *base = reinterpret_cast<const char *>(s_dwExp2);
  const __m128d row0 = _mm_load_pd(reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 0)));
  const __m128d row1 = _mm_load_pd(reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 4)));
  const vd T = (vd)_mm_unpacklo_pd(row0, row1), Tl = (vd)_mm_unpackhi_pd(row0, row1);
  const vd r2 = r * r;
  const vd p = r + r2 * ((c.a2 + r * c.a3) + r2 * (c.a4 + r * c.a5));
  return {T, Tl + T * p, tb};
}

[[gnu::always_inline]] inline Reduced reduce(vd x) {
  const ReducedParts q = reduce_parts(x);
  return {q.T + q.E, q.t_bits};
}

// 2^m for the lanes' k, as the main route builds it.
[[gnu::always_inline]] inline vd scale(vul t_bits) { return (vd)(((t_bits + s_dwBias) << 46) & kExpMask); }

// v * 2^m: over the main route v is in (1, 2) and the product normal, so the product by the
// factor that scale() builds is exact and equals adding m to v's exponent field, which is what
// the loop does (m << 52 from the bits of t, two's complement for negative m).
[[gnu::always_inline]] inline vd main(vd x) {
  const Reduced q = reduce(x);
  return (vd)((vul)q.v + ((q.t_bits >> 6) << 52));
}

// The single route, four lanes of single arithmetic with the float table:
//   t = x * 128/ln 2 + 1.5 * 2^23 (k in t's low bits), kd = t - 1.5 * 2^23,
//   r = (x - kd * L1) - kd * L2, L1 = ln 2 / 128 to 10 bits (kd * L1 and the difference are
//   exact for |k| <= 16128), L1 + L2 within 2^-38 of ln 2 / 128; |r| <= 2^-8.5,
//   j = k mod 128, m = k >> 7, (T, Tl) = exp2f_table[j] (T + Tl within 2^-48 of 2^(j/128)),
//   p = r + r^2 (1/2 + r/6)                 (truncation below 2^-38 relative),
//   v = T + (Tl + T p), result = v * 2^m by adding m to the exponent field.
// Over the main route (|x| <= 87.33654, so x > -126 ln 2) v lies in (1, 2) when m = -126 and
// the result is normal. The rounded terms are at most 2^-8 of the result, so the error is the
// last addition's half ulp plus about 2^-8 ulp.
struct alignas(16) ExpSingleConstants {
  simd::vf inv_ln, rs, l1, l2, half, sixth;
};
extern const ExpSingleConstants kExpSingleConstants;

[[gnu::always_inline]] inline simd::vf main_single(simd::vf x) {
  using simd::vf;
  const ExpSingleConstants *cp = &kExpSingleConstants;
  __asm__ volatile("" : "+r"(cp));
  const ExpSingleConstants &c = *cp;
  const vf t = x * c.inv_ln + c.rs;
  const vf kd = t - c.rs;
  const vf r = (x - kd * c.l1) - kd * c.l2;
  const __m128i tb = (__m128i)t;
  const __m128i off = _mm_slli_epi32(_mm_and_si128(tb, _mm_set1_epi32(127)), 3);
  const char *base = reinterpret_cast<const char *>(exp_tables::exp2f_table);
  auto row = [&](int w) { return reinterpret_cast<const __m64 *>(base + _mm_extract_epi16(off, w)); };
  // rows (hi0, lo0, hi1, lo1) and (hi2, lo2, hi3, lo3), then split into hi and lo lanes
  const __m128 r01 = _mm_loadh_pi(_mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double *>(row(0)))), row(2));
  const __m128 r23 = _mm_loadh_pi(_mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double *>(row(4)))), row(6));
  const vf T = (vf)_mm_shuffle_ps(r01, r23, _MM_SHUFFLE(2, 0, 2, 0));
  const vf Tl = (vf)_mm_shuffle_ps(r01, r23, _MM_SHUFFLE(3, 1, 3, 1));
  const vf p = r + (r * r) * (c.half + r * c.sixth);
  const vf v = T + (Tl + T * p);
  return (vf)((simd::vi)v + ((simd::vi)(_mm_srai_epi32(tb, 7)) << 23));
}

// The full scalar exponential (no status): the rare-path table of the double kernel.
// `status` receives 3 or 4 where the kernel reports them.
inline double scalar(double x, int &status) {
  const uint64_t ux = simd::bits(x);
  status = 0;
  if (x != x) return x + x;
  if (ux == 0x7FF0000000000000ull) return x;
  if (ux == 0xFFF0000000000000ull) return 0.0;
  const bool neg = ux >> 63;
  if (neg && ux >= 0xC0874910D52D3052ull) {  // at or below -745.1332191019412
    status = 4;
    return 0.0;
  }
  if (neg && ux >= 0xC086232BDD7ABCD3ull) {  // at or below -708.3964185322642
    // Scale by 2^(m + 1022) (normal, exact) and round once by the least normal exponent.
    status = 4;
    const Reduced q = reduce(simd::splat(x));
    const int64_t m = int64_t(q.t_bits[0] - simd::bits(s_dwRS)) >> 6;  // floor(k / 64)
    return (q.v[0] * simd::from_bits(uint64_t(m + 1022 + 1023) << 52)) * 0x1p-1022;
  }
  if (!neg && ux >= 0x40862E42FEFA39F0ull) {  // at or above 709.7827128933841
    status = 3;
    return __builtin_inf();
  }
  if (!neg && ux >= 0x40862E37E7D8BA72ull) {  // k = 65536: through 2^1023, then times 2
    const Reduced q = reduce(simd::splat(x));
    const int64_t m = int64_t(q.t_bits[0] - simd::bits(s_dwRS)) >> 6;
    return (q.v[0] * simd::from_bits(uint64_t(m - 1 + 1023) << 52)) * 2.0;
  }
  return main(simd::splat(x))[0];
}

}  // namespace hpk::vmk::exp_core
