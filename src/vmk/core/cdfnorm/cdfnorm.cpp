// CdfNorm, d and s, three levels each: the standard normal distribution function
// Phi(x) = erfc(-x / sqrt 2) / 2.
//
// With t = |x| and the upper tail Q(t) = 1 - Phi(t):  Phi(x) = Q(t) for x < 0, 1 - Q(t) otherwise,
// and Q(t) = e^(-t^2/2) R(t), R smooth (interval rows, cdfnorm_tables.hpp). So the tail never
// goes through erfc's argument -x/sqrt 2, whose rounding would cost t^2 2^-53 relative:
//
//   w = t^2 = wh + wl exactly (Dekker), k = round(wh (256/ln 2)/2) by the negative shifter
//   -1.5 * 2^52, so that the low bits of the shifted value hold -k: -k = 256 M + j,
//   e^(-w/2) = 2^M 2^(j/256) e^r,  r = ((k L1 - wh) + k L2 - wl) / 2,  |r| <= ln 2/512 + 2^-40,
//   (L1 + L2 = ln 2/128, k L1 exact).  e^r - 1 by its Taylor polynomial of the level's degree.
//   u = t + 1/2 picks the row of R (eighths of a binade of u), r' = t - c,
//   R(t) = Rh + (Rl + r' (b1 + b2 r' + ...)).
//
// HA (double):  T = 2^(j/256) and Rh = R(c) rounded to 26 bits, with the rest in Tl and Rl, so
//   T Rh is exact; E = Tl + (T + Tl)(e^r - 1), P = Rl + r' (...),
//   Q / 2^M = T Rh + lo, lo = T P + E (Rh + P); for x < 0 that sum rounded once and scaled
//   exactly, for x >= 0 (s, e) = FastTwoSum(1, -T Rh 2^M), Phi = s + (e - lo 2^M). Fit below 2^-57.5,
//   e^r truncation below 2^-66, the rest of the rounding errors below 2^-56 of the result: the
//   error is the last rounding's half ulp plus about a sixth of an ulp (0.66 measured).
// LA (double):  no Rl, T and Rh whole: Q / 2^M = T R + E R with R = Rh + r' p (fit 2^-53.1), e^r
//   of degree 4 (2^-54.5): a few roundings of 2^-53 each, within 4 ulp (2.4 measured).
// EP (double) and HA (single):  w = t^2 rounded (relative 2^-53 of w, so below 2^-43 of e^-w/2;
//   exact for single inputs), no Tl, e^r of degree 2 (2^-31), fit of degree 5 (2^-29).
// LA (single): fit of degree 4 (2^-24.3), EP (single): degree 2 (2^-14.1), e^r of degree 1
//   (2^-20).
// The single kernels run their lanes in double and round once to single.
//
// Main route: x > -37.5 (single: x > -12.5), where Q and 2^M are normal (M >= -1016); t is
// clamped to 37.5, where 1 - Q rounds to 1 anyway. The rest goes to the rare routine, shared
// by the three levels of a type: NaN -> quieted, no status; -infinity -> +0, no status;
// -39 < x <= -37.5 -> the HA formula scaled into the denormals with one rounding;
// x <= -39 -> +0 (Q(39) < 2^-1100). Status 4 where the stored result is below the type's least
// normal: double below x = -37.519379347144 (the first x whose Phi is at least 2^-1022),
// single below -12.949953.
#include <emmintrin.h>

#include <cstdint>
#include <utility>

#include "vmk/core/cdfnorm/cdfnorm_tables.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/lane_mask.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::cdfnorm {
namespace {

using simd::vd;
using simd::vdd;
using simd::vf;
using simd::vul;
namespace tb = cdfnorm_tables;

// The constants of the lane-mask kernels, each replicated across the lanes, in 64-byte rows.
struct alignas(64) CdfNormData {
  vd one, half, inv_ln, shifter;  // 1, 0.5, (256/ln 2)/2, -1.5 * 2^52
  vd ln_hi, ln_lo, e3, e4;        // ln 2/128 in two parts; 1/6, 1/24
  vd e5, lo_cut, t_clamp, sign;   // 1/120; below lo_cut the lane is rare; 37.5; -0.0
};
static_assert(sizeof(CdfNormData) % 64 == 0);

constinit const CdfNormData vdcdfnorm_data = {
    {1.0, 1.0},
    {0.5, 0.5},
    {tb::kInvLn256, tb::kInvLn256},
    {-0x1.8p52, -0x1.8p52},
    {tb::kLn2By128Hi, tb::kLn2By128Hi},
    {tb::kLn2By128Lo, tb::kLn2By128Lo},
    {tb::kE3, tb::kE3},
    {tb::kE4, tb::kE4},
    {tb::kE5, tb::kE5},
    {-37.5, -37.5},
    {37.5, 37.5},
    {-0.0, -0.0},
};

// The single kernels' own constants: the rare cut in single lanes (the double lanes use
// vdcdfnorm_data).
struct alignas(64) CdfNormDataS {
  vf lo_cut, pad0, pad1, pad2;
};
static_assert(sizeof(CdfNormDataS) == 64);
constinit const CdfNormDataS vscdfnorm_data = {
    {-12.5f, -12.5f, -12.5f, -12.5f}, {}, {}, {}};

// The levels: row table and its shape, polynomial degrees, which correction terms are carried.
struct LevelHA {
  static const double *rows() { return &tb::kRowsHA[0][0]; }
  static constexpr int kRowShift = 7, kDeg = tb::kRowsHADegree, kExpDeg = 5;
  static constexpr int kNegC = 15, kRh = 1, kB1 = 2;
  static constexpr bool kTwoPart = true;  // Rl, wl, Tl and TwoProd(T, Rh)
  static constexpr bool kExactW = true, kTl = true;
};
struct LevelLA {
  static const double *rows() { return &tb::kRowsLA[0][0]; }
  static constexpr int kRowShift = 7, kDeg = tb::kRowsLADegree, kExpDeg = 4;
  static constexpr int kNegC = 15, kRh = 1, kB1 = 2;
  static constexpr bool kTwoPart = false, kExactW = true, kTl = true;
};
struct LevelEP {
  static const double *rows() { return &tb::kRowsEP[0][0]; }
  static constexpr int kRowShift = 6, kDeg = tb::kRowsEPDegree, kExpDeg = 2;
  static constexpr int kNegC = 0, kRh = 1, kB1 = 2;
  static constexpr bool kTwoPart = false, kExactW = false, kTl = false;
};
struct LevelSLA : LevelEP {
  static const double *rows() { return &tb::kRowsSLA[0][0]; }
  static constexpr int kDeg = tb::kRowsSLADegree;
};
struct LevelSEP : LevelEP {
  static const double *rows() { return &tb::kRowsSEP[0][0]; }
  static constexpr int kDeg = tb::kRowsSEPDegree, kExpDeg = 1;
};

// Q(t) / 2^M as hi + lo (lo = 0 below HA) and the shifted value kt whose mantissa field is
// 2^51 - k, for 0 <= t < 39.5.
struct Unscaled {
  vd hi, lo;
  vul kt_bits;
};

// |kt| = 2^52 + 2^51 - k: with -k = 256 M + j, the mantissa field's low 8 bits are j and its
// bits from 8 up are 2^43 + M; the low 12 of those plus 1023, shifted to the exponent field,
// make 2^M where M + 1023 lies in 1..2046 (the main route).
[[gnu::always_inline]] inline vd pow2_of(vul kt_bits) { return (vd)(((kt_bits >> 8) + 1023) << 52); }

// b_lo + b_(lo+1) r + ... + b_(lo+n-1) r^(n-1) by Estrin's scheme: the same terms as Horner's
// rule with a dependency chain of about log2(n) multiply-adds instead of n, which is what
// bounds a pass of the lane-mask loop. The rounding errors stay below 2^-53 of b_lo + ...,
// and the sum enters R multiplied by r, at most a tenth of R.
struct Powers {
  vd r1, r2, r4, r8;
  explicit Powers(vd r) : r1(r), r2(r * r), r4(r2 * r2), r8(r4 * r4) {}
  vd of(int m) const { return m == 1 ? r1 : m == 2 ? r2 : m == 4 ? r4 : r8; }
};

template <int kLo, int kN, class E>
[[gnu::always_inline]] inline vd estrin(const E &entry, vd r, const Powers &pw) {
  if constexpr (kN == 1) {
    return entry(kLo);
  } else if constexpr (kN == 2 && kLo % 2 == 0) {
    const auto [b0, b1] = entry.pair(kLo);
    return b0 + r * b1;
  } else if constexpr (kN == 2) {
    return entry(kLo) + r * entry(kLo + 1);
  } else {
    constexpr int m = kN > 8 ? 8 : kN > 4 ? 4 : 2;
    return estrin<kLo, m>(entry, r, pw) + pw.of(m) * estrin<kLo + m, kN - m>(entry, r, pw);
  }
}

template <class L>
[[gnu::always_inline]] inline Unscaled unscaled(vd t) {
  const CdfNormData &c = vdcdfnorm_data;
  vd wh, wl{};
  if constexpr (L::kExactW) {
    const vdd w = simd::two_sqr(t);
    wh = w.hi;
    wl = w.lo;
  } else {
    wh = t * t;
  }
  const vd kt = wh * c.inv_ln + c.shifter;  // -(1.5 * 2^52) + k
  const vd kd = kt - c.shifter;
  vd r2x = (kd * c.ln_hi - wh) + kd * c.ln_lo;  // 2 r
  if constexpr (L::kExactW) r2x = r2x - wl;
  const vd r = r2x * c.half;
  vd em1;
  if constexpr (L::kExpDeg == 5) {
    const vd rr = r * r;
    em1 = r + rr * ((c.half + r * c.e3) + rr * (c.e4 + r * c.e5));
  } else if constexpr (L::kExpDeg == 4) {
    const vd rr = r * r;
    em1 = r + rr * ((c.half + r * c.e3) + rr * c.e4);
  } else if constexpr (L::kExpDeg == 2) {
    em1 = r + (r * r) * c.half;
  } else {
    em1 = r;
  }

  const vul ktb = (vul)kt;
  const __m128i joff = _mm_slli_epi64(_mm_and_si128((__m128i)ktb, _mm_set1_epi64x(255)), 4);
  const char *eb = reinterpret_cast<const char *>(L::kTwoPart ? tb::kExp2Split : tb::kExp2);
  const __m128d e0 = _mm_load_pd(reinterpret_cast<const double *>(eb + _mm_extract_epi16(joff, 0)));
  const __m128d e1 = _mm_load_pd(reinterpret_cast<const double *>(eb + _mm_extract_epi16(joff, 4)));
  const vd T = (vd)_mm_unpacklo_pd(e0, e1);

  // Row of u = t + 1/2: (top 15 bits of u) - (0x3FE << 3), times the row size in bytes.
  const vd u = t + c.half;
  const __m128i roff = _mm_slli_epi64(
      _mm_sub_epi64(_mm_srli_epi64((__m128i)u, 49), _mm_set1_epi64x(0x1FF0)), L::kRowShift);
  const char *rb = reinterpret_cast<const char *>(L::rows());
  const double *P0 = reinterpret_cast<const double *>(rb + _mm_extract_epi16(roff, 0));
  const double *P1 = reinterpret_cast<const double *>(rb + _mm_extract_epi16(roff, 4));
  // Entry j of both rows; pair(j), j even, fetches entries j and j + 1 by one aligned load per row.
  struct Entries {
    const double *P0, *P1;
    vd operator()(int j) const { return vd{P0[j], P1[j]}; }
    std::pair<vd, vd> pair(int j) const {
      const __m128d a = _mm_load_pd(P0 + j), b = _mm_load_pd(P1 + j);
      return {(vd)_mm_unpacklo_pd(a, b), (vd)_mm_unpackhi_pd(a, b)};
    }
  } const entry{P0, P1};

  const vd rr = t + entry(L::kNegC);
  const vd p = estrin<L::kB1, L::kDeg>(entry, rr, Powers(rr));
  const vd Rh = entry(L::kRh);

  if constexpr (L::kTwoPart) {
    // T and Rh have 26 significant bits each (their low parts, about 2^-26 of them, are in Tl
    // and P), so T Rh is exact and carries the result's leading bits.
    const vd Tl = (vd)_mm_unpackhi_pd(e0, e1);
    const vd E = Tl + (T + Tl) * em1;
    const vd P = entry(0) + p * rr;
    return {T * Rh, T * P + E * (Rh + P), ktb};
  } else if constexpr (L::kTl) {
    const vd Tl = (vd)_mm_unpackhi_pd(e0, e1);
    const vd R = Rh + p * rr;
    const vd E = Tl + T * em1;
    return {T * R + E * R, vd{}, ktb};
  } else {
    const vd R = Rh + p * rr;
    return {(T + T * em1) * R, vd{}, ktb};
  }
}

// Phi for two lanes of the main route (x > -37.5; NaN lanes must have been replaced).
template <class L>
[[gnu::always_inline]] inline vd cdf(vd x) {
  const CdfNormData &c = vdcdfnorm_data;
  const vd t = simd::vmin(simd::andnot_bits(c.sign, x), c.t_clamp);
  const Unscaled q = unscaled<L>(t);
  const vd s = pow2_of(q.kt_bits);
  const vd neg = (vd)(x < vd{});
  if constexpr (L::kTwoPart) {
    const vd qh = q.hi * s, ql = q.lo * s;
    const vd hi = c.one - qh;                 // FastTwoSum: 1 >= qh
    const vd pos = hi + (((c.one - hi) - qh) - ql);
    return simd::select(neg, (q.hi + q.lo) * s, pos);
  } else {
    const vd qs = q.hi * s;
    return simd::select(neg, qs, c.one - qs);
  }
}

inline double pow2(int64_t m) { return simd::from_bits(uint64_t(m + 1023) << 52); }

// Correct for every double input; the status the kernels hand to the dispatcher.
[[gnu::cold, gnu::noinline]] int vdcdfnorm_cout_rare(const double *in, double *out) {
  const double x = *in * 1.0;  // a signalling NaN comes out quiet
  if (x != x) {
    *out = x + x;
    return 0;
  }
  if (x > -37.5) {
    *out = cdf<LevelHA>(vd{x, 0.0})[0];
    return 0;
  }
  if (x == -__builtin_inf()) {
    *out = 0.0;
    return 0;
  }
  double y = 0.0;
  if (x > -39.0) {
    const Unscaled q = unscaled<LevelHA>(vd{-x, 0.0});
    // 2^M itself is not a normal number here: M from the shifted value's mantissa field.
    const int64_t m = int64_t((q.kt_bits[0] & 0xFFFFFFFFFFFFFull) >> 8) - (int64_t(1) << 43);
    // Round hi 2^M onto the denormal grid (hi 2^(M+200) exact, one rounding), then add the
    // residual and lo rounded onto the same grid: one rounding of hi + lo in all.
    const double s = pow2(m + 200), a = q.hi[0] * s;
    const double y1 = a * 0x1p-200;
    y = y1 >= 0x1p-1022 ? ((q.hi[0] + q.lo[0]) * s) * 0x1p-200  // normal: scalings exact
                        : y1 + ((a - y1 * 0x1p200) + q.lo[0] * s) * 0x1p-200;
  }
  *out = y;
  return y < 0x1p-1022 ? kStatusUnderflow : 0;
}

[[gnu::cold, gnu::noinline]] int vscdfnorm_cout_rare(const float *in, float *out) {
  const float x = *in * 1.0f;
  if (x != x) {
    *out = x + x;
    return 0;
  }
  const double xd = x;
  double yd;
  vdcdfnorm_cout_rare(&xd, &yd);
  const float y = float(yd);  // yd is within 0.6 ulp of double: one more rounding
  *out = y;
  return x != -__builtin_inff() && y < 0x1p-126f ? kStatusUnderflow : 0;
}

template <class L>
struct KernelD {
  using T = double;
  using V = vd;
  static constexpr int kLanes = 2;
  static V compute(V x, int &rare) {
    const vd m = (vd)_mm_cmpngt_pd((__m128d)x, (__m128d)vdcdfnorm_data.lo_cut);
    rare = simd::movemask(m);
    return cdf<L>(simd::andnot_bits(m, x));
  }
  static T harmless() { return 0.0; }
  static int cout_rare(const T *in, T *out) { return vdcdfnorm_cout_rare(in, out); }
  static void report(int status, int index, const T *a, T *y) {
    report_error<double>(status, index, a, a, y, y, "vdCdfNorm");
  }
};

template <class L>
struct KernelS {
  using T = float;
  using V = vf;
  static constexpr int kLanes = 4;
  static V compute(V x, int &rare) {
    const __m128 m = _mm_cmpngt_ps((__m128)x, (__m128)vscdfnorm_data.lo_cut);
    rare = _mm_movemask_ps(m);
    const __m128 xs = _mm_andnot_ps(m, (__m128)x);
    const __m128 lo = _mm_cvtpd_ps((__m128d)cdf<L>((vd)_mm_cvtps_pd(xs)));
    const __m128 hi = _mm_cvtpd_ps((__m128d)cdf<L>((vd)_mm_cvtps_pd(_mm_movehl_ps(xs, xs))));
    return (vf)_mm_movelh_ps(lo, hi);
  }
  static T harmless() { return 0.0f; }
  static int cout_rare(const T *in, T *out) { return vscdfnorm_cout_rare(in, out); }
  static void report(int status, int index, const T *a, T *y) {
    report_error<float>(status, index, a, a, y, y, "vsCdfNorm");
  }
};

template <class K>
void run(int n, const typename K::T *a, typename K::T *y) {
  if (n <= 0) return;
  SseControlScope scope(current_mode());
  LaneMaskPass<K>::run(n, a, y);
}

}  // namespace
}  // namespace hpk::vmk::cdfnorm

extern "C" {
using namespace hpk::vmk::cdfnorm;
void hpk_vmk_kernel_dCdfNorm_EXHAynn(int n, const double *a, double *y) {
  run<KernelD<LevelHA>>(n, a, y);
}
void hpk_vmk_kernel_dCdfNorm_EXLAynn(int n, const double *a, double *y) {
  run<KernelD<LevelLA>>(n, a, y);
}
void hpk_vmk_kernel_dCdfNorm_EXEPnnn(int n, const double *a, double *y) {
  run<KernelD<LevelEP>>(n, a, y);
}
void hpk_vmk_kernel_sCdfNorm_EXHAynn(int n, const float *a, float *y) {
  run<KernelS<LevelEP>>(n, a, y);
}
void hpk_vmk_kernel_sCdfNorm_EXLAynn(int n, const float *a, float *y) {
  run<KernelS<LevelSLA>>(n, a, y);
}
void hpk_vmk_kernel_sCdfNorm_EXEPnnn(int n, const float *a, float *y) {
  run<KernelS<LevelSEP>>(n, a, y);
}
}
