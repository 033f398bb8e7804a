// ErfInv, the inverse of erf on (-1, 1), double and single, at three levels.
//
// Method (a = |x|, the sign ORed back at the end; tables and fits in tools/tables/gen_erfinv.py):
//   central, a < 0.5:   erfinv a = a F(t), t = a^2, F a polynomial on [0, 0.25].
//   outer, 0.5 <= a < 1: w = -log((1 - a)(1 + a)), s = sqrt(w), erfinv a = s + g(s) with g a
//                       polynomial in s - m_k on the row k = floor(2 s) - 1 (s < 6.004, so
//                       k <= 11). 1 - a is exact for a >= 0.5, so the singularity at 1 costs no
//                       accuracy; |g| <= 0.12 erfinv a.
//
// High accuracy (double; the single kernels use the Mid table in double lanes):
//   central  F = sqrt(pi)/2 + t Q(t); a sqrt(pi)/2 is formed exactly as ph + pl (Dekker, the
//            constant split once), t = a^2 with its error tl, y = ph + (pl + a ((c0lo +
//            tl Q(0)) + t Q)). The rounded correction is below 0.076 of y; its four roundings
//            and Horner's error (about 3 ulp of it at worst) add up to 0.2 ulp of y, so the
//            error is at most about 0.76 ulp (the largest measured, next to 0.5).
//   outer    a relative error e of w moves y by about e/2, so w is kept in two parts:
//            p = (1 - a)(1 + a) = ph + pl exactly (1 + a by Fast2Sum, the product by Dekker),
//            log ph = lh + ll from the logarithm's table reduction left unrounded (within
//            2^-62 relative), w = -(lh + (ll + pl/ph)) as wh + wl, and s = sh + sl with
//            sl = ((wh - sh^2) + wl) / 2sh. With r = (sh - m) + sl (sh - m exact) and
//            g = g0hi + (g0lo + r P(r)), y = sh + (sl + g): one rounding of the sum plus the
//            fit (2^-58.6) and the roundings in g, below 0.12 of y: the largest measured error
//            is 0.66 ulp, next to 0.5.
//   Rare lanes (NaN, a >= 1, a < 2^-35) go to vderfinv_cout_rare.
// Lower levels (double EP, single HA/LA/EP) run the same two routes in plain double lanes with
// shorter polynomials (Mid 2^-31, Low 2^-27, Coarse 2^-16 relative) and the single-precision
// logarithm route (within 2^-48). They store +-infinity at +-1 without a status, and the
// default NaN with status 1 above 1; NaN inputs come back quieted.
#include <cstdint>

#include "vmk/core/erfinv/erfinv_tables.hpp"
#include "vmk/core/ln/ln_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/lane_mask.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::erfinv {
namespace {

using simd::vd;
using simd::vdd;
using simd::vf;
namespace tab = erfinv_tables;

// ---- the constants of the high accuracy kernel, each a 64-byte row ------------------------

struct alignas(64) Row {
  double v[8];
};
constexpr Row row(double x) { return {{x, x, x, x, x, x, x, x}}; }
constexpr Row row_bits(uint64_t u) { return row(__builtin_bit_cast(double, u)); }

struct alignas(64) VdErfInvData {
  Row abs_mask, one, half, two, tiny, dekker;
  Row c0hi, c0hi_hi, c0hi_lo, c0lo;         // sqrt(pi)/2 = c0hi + c0lo; c0hi = c0hi_hi + c0hi_lo
  Row central[tab::kHaCentralDegree + 1];  // Q(t), degrees 0 up
  Row scale_up, split_big, split_small, rare_hi, rare_lo, scale_down;  // the rare routine's
  double outer[12][16];                    // rows of g: -m, g0lo, g0hi, degrees 1 up
};

constexpr double dekker_hi(double x) {
  const double c = simd::kDekkerSplit * x;
  return c - (c - x);
}

constexpr VdErfInvData make_data() {
  VdErfInvData d{};
  d.abs_mask = row_bits(0x7FFFFFFFFFFFFFFFull);
  d.one = row(1.0);
  d.half = row(0.5);
  d.two = row(2.0);
  d.tiny = row(0x1p-35);
  d.dekker = row(simd::kDekkerSplit);
  d.c0hi = row(tab::kSqrtPiOver2Hi);
  d.c0hi_hi = row(dekker_hi(tab::kSqrtPiOver2Hi));
  d.c0hi_lo = row(tab::kSqrtPiOver2Hi - dekker_hi(tab::kSqrtPiOver2Hi));
  d.c0lo = row(tab::kSqrtPiOver2Lo);
  for (int k = 0; k <= tab::kHaCentralDegree; ++k) d.central[k] = row(tab::kHaCentral[k]);
  d.scale_up = row(0x1p256);
  d.split_big = row(103079215105.0);   // 3 2^35 + 1
  d.split_small = row(103079215104.0);  // 3 2^35
  d.rare_hi = row(0.88623046875);       // sqrt(pi)/2 to 11 bits
  d.rare_lo = row(-3.543297241986351e-06);
  d.scale_down = row(0x1p-256);
  for (int k = 0; k < 12; ++k)
    for (int j = 0; j < 16; ++j) d.outer[k][j] = tab::kHaOuter[k][j];
  return d;
}

constinit const VdErfInvData vderfinv_data = make_data();

[[gnu::always_inline]] inline vd ld(const Row &r) { return simd::loada(r.v); }

// The two entries j of the rows k0, k1 as one register.
[[gnu::always_inline]] inline vd gather(const double *r0, const double *r1, int j) {
  return (vd)_mm_loadh_pd(_mm_load_sd(r0 + j), r1 + j);
}

[[gnu::always_inline]] inline void rows_of(vd s, const double (*table)[16], const double *&r0,
                                           const double *&r1) {
  // k = floor(2 s) - 1 in 0..11 (s >= 0.536; the clamp guards the last row against s = 6.5)
  const __m128i k = _mm_cvttpd_epi32((__m128d)(s + s));
  int k0 = _mm_cvtsi128_si32(k) - 1, k1 = _mm_cvtsi128_si32(_mm_srli_si128(k, 4)) - 1;
  k0 = k0 > 11 ? 11 : k0;
  k1 = k1 > 11 ? 11 : k1;
  r0 = table[k0];
  r1 = table[k1];
}

// log p = hi + lo for positive normal p, the logarithm kernel's table reduction with the last
// addition left undone (hi + lo within 2^-62 of log p for p <= 0.75, where |hi| >= 0.28).
[[gnu::always_inline]] inline vdd log_parts(vd x) {
  const ln_core::LogConstants &c = ln_core::kLnConstants;
  const simd::vul ux = (simd::vul)x;
  const vd Y = (vd)((ux & c.fraction) | c.one_exp);
  const vd Yhi = (vd)((simd::vul)Y & c.yhi_mask);
  const __m128i top = _mm_shuffle_epi32((__m128i)x, _MM_SHUFFLE(3, 1, 3, 1));
  const vd N = (vd)_mm_cvtepi32_pd(_mm_srai_epi32(_mm_sub_epi32(top, (__m128i)c.nsub_top), 20));
  const __m128i off = _mm_srli_epi32(
      _mm_and_si128(_mm_add_epi32(_mm_and_si128(top, (__m128i)c.row_mask1), (__m128i)c.row_round),
                    (__m128i)c.row_mask2),
      11 - 5);
  const char *base = reinterpret_cast<const char *>(ln_core::LnTraits::table);
  const double *r0 = reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 0));
  const double *r1 = reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 2));
  const __m128d b0 = _mm_load_pd(r0 + 2), b1 = _mm_load_pd(r1 + 2);
  const vd rcp = (vd)_mm_loadh_pd(_mm_load_sd(r0), r1);
  const vd Thi = (vd)_mm_unpacklo_pd(b0, b1), Tlo = (vd)_mm_unpackhi_pd(b0, b1);
  const vd Rhi = Yhi * rcp - c.one;
  const vd Rlo = (Y - Yhi) * rcp;
  const vd R = Rhi + Rlo;
  const vd R2 = R * R;
  // p <= 0.75 never reaches rows 0 and 512 with N = 0, so A != 0 and Rlo goes to the low part
  const vd A = N * c.ln2hi + Thi;
  const vd hi = A + Rhi;
  const vd err = (A - hi) + Rhi;
  const vd lo = (((N * c.ln2lo + Tlo) + err) + Rlo) +
                R2 * ((c.p1 + R * c.p2) + R2 * (c.p3 + R * c.p4));
  return {hi, lo};
}

// ---- double, high accuracy -----------------------------------------------------------------

[[gnu::always_inline]] inline vd ha_central(vd a) {
  const VdErfInvData &d = vderfinv_data;
  const vd t = a * a;
  vd q = ld(d.central[tab::kHaCentralDegree]);
#pragma GCC unroll 16
  for (int k = tab::kHaCentralDegree - 1; k >= 0; --k) q = q * t + ld(d.central[k]);
  const vdd as = simd::split(a);
  const vd tl = ((as.hi * as.hi - t) + (as.hi + as.hi) * as.lo) + as.lo * as.lo;  // a^2 - t
  const vd ph = a * ld(d.c0hi);
  const vd pl = ((as.hi * ld(d.c0hi_hi) - ph) + as.hi * ld(d.c0hi_lo) + as.lo * ld(d.c0hi_hi)) +
                as.lo * ld(d.c0hi_lo);
  return ph + (pl + a * ((ld(d.c0lo) + tl * ld(d.central[0])) + t * q));
}

[[gnu::always_inline]] inline vd ha_outer(vd a) {
  const VdErfInvData &d = vderfinv_data;
  const vd one = ld(d.one);
  const vd u = one - a;  // exact, a >= 0.5
  const vd vh = one + a;
  const vd vl = a - (vh - one);
  const vdd us = simd::split(u), vs = simd::split(vh);
  const vd ph = u * vh;
  const vd pl = (((us.hi * vs.hi - ph) + us.hi * vs.lo + us.lo * vs.hi) + us.lo * vs.lo) + u * vl;
  const vdd l = log_parts(ph);
  const vd lo = l.lo + pl / ph;
  const vd sum = l.hi + lo;
  const vd wh = -sum, wl = -((l.hi - sum) + lo);
  const vd sh = simd::vsqrt(wh);
  const vdd sq = simd::two_sqr(sh);
  const vd sl = (((wh - sq.hi) - sq.lo) + wl) / (sh + sh);
  const double *r0, *r1;
  rows_of(sh, vderfinv_data.outer, r0, r1);
  const vd r = (sh + gather(r0, r1, 0)) + sl;
  vd p = gather(r0, r1, 2 + tab::kHaOuterDegree);
#pragma GCC unroll 16
  for (int j = 1 + tab::kHaOuterDegree; j >= 3; --j) p = p * r + gather(r0, r1, j);
  const vd g = gather(r0, r1, 2) + (gather(r0, r1, 1) + r * p);
  return sh + (sl + g);
}

// |x| in [2^-35, 1) on both lanes, x not NaN.
[[gnu::always_inline]] inline vd ha_main(vd x) {
  const VdErfInvData &d = vderfinv_data;
  const vd a = simd::and_bits(x, ld(d.abs_mask));
  const vd sign = simd::andnot_bits(ld(d.abs_mask), x);
  const vd cm = (vd)(a < ld(d.half));
  const int central = simd::movemask(cm);
  vd y;
  if (central == 3) {
    y = ha_central(a);
  } else if (central == 0) {
    y = ha_outer(a);
  } else {
    y = simd::select(cm, ha_central(simd::select(cm, a, simd::splat(0.25))),
                     ha_outer(simd::select(cm, simd::splat(0.75), a)));
  }
  return simd::or_bits(y, sign);
}

// The rare routine: correct for every input, status 2 at +-1 and 1 above 1.
//   1. x = x * 1.0 quiets a signalling NaN; a NaN returns x + x.
//   2. |x| < 2^-35: +-0 returns itself; otherwise, with xs = x 2^256 (normal even for the least
//      denormal), th = xs * (3 2^35 + 1), hi = th - xs * (3 2^35) (at most 18 significant
//      bits: both terms lie on the grid of ulp(3 2^35 xs)), lo = xs - hi (exact),
//      y = (hi ch + (lo ch + (hi cl + lo cl))) 2^-256 with ch = 0.88623046875 (11 bits, so hi ch
//      and lo ch are exact) and ch + cl = sqrt(pi)/2 within 2^-72. Everything but ch is below
//      2^-17 of the sum, so the result is x sqrt(pi)/2 rounded once (twice where it is
//      denormal). erfinv x - x sqrt(pi)/2 is below 2^-72 of it here.
//   3. |x| = 1: +-infinity, status 2; |x| > 1: the default NaN, status 1.
//   4. Anything else: the main route on one lane.
[[gnu::cold, gnu::noinline]] int vderfinv_cout_rare(const double *in, double *out) {
  const VdErfInvData &d = vderfinv_data;
  double one = d.one.v[0];
  __asm__("" : "+x"(one));  // keep x * 1.0 from being folded away
  const double x = *in * one;
  if (x != x) {
    *out = x + x;
    return 0;
  }
  const double a = __builtin_fabs(x);
  if (a < d.tiny.v[0]) {
    if (x == 0.0) {
      *out = x;
      return 0;
    }
    const double xs = x * d.scale_up.v[0];
    const double th = xs * d.split_big.v[0];
    const double hi = th - xs * d.split_small.v[0];
    const double lo = xs - hi;
    const double ch = d.rare_hi.v[0], cl = d.rare_lo.v[0];
    *out = (hi * ch + (lo * ch + (hi * cl + lo * cl))) * d.scale_down.v[0];
    return 0;
  }
  if (a == 1.0) {
    *out = __builtin_copysign(__builtin_inf(), x);
    return kStatusSingularity;
  }
  if (a > 1.0) {
    *out = simd::from_bits(0xFFF8000000000000ull);
    return kStatusDomain;
  }
  *out = ha_main(simd::splat(x))[0];
  return 0;
}

struct HaKernel {
  using T = double;
  using V = vd;
  static constexpr int kLanes = 2;
  [[gnu::always_inline]] static V compute(V x, int &rare) {
    const VdErfInvData &d = vderfinv_data;
    const vd a = simd::and_bits(x, ld(d.abs_mask));
    const vd ok = (vd)((a >= ld(d.tiny)) & (a < ld(d.one)));  // false for NaN
    rare = simd::movemask(ok) ^ 3;
    if (__builtin_expect(rare != 0, 0)) x = simd::select(ok, x, simd::splat(0.25));
    return ha_main(x);
  }
  static T harmless() { return 0.25; }
  static int cout_rare(const T *in, T *out) { return vderfinv_cout_rare(in, out); }
  static void report(int status, int index, const T *a, T *y) {
    report_error<double>(status, index, a, a, y, y, "vdErfInv");
  }
};

// ---- lower levels: plain double lanes ------------------------------------------------------

template <int CD, int OD>
struct Level {
  const double *central;        // F(t), degrees 0 up
  const double (*outer)[16];    // rows: -m, unused, g0, degrees 1 up
};
template <int CD, int OD>
constexpr Level<CD, OD> level(const double *c, const double (*o)[16]) {
  return {c, o};
}
constexpr auto kMid = level<tab::kMidCentralDegree, tab::kMidOuterDegree>(tab::kMidCentral,
                                                                          tab::kMidOuter);
constexpr auto kLow = level<tab::kLowCentralDegree, tab::kLowOuterDegree>(tab::kLowCentral,
                                                                          tab::kLowOuter);
constexpr auto kCoarse = level<tab::kCoarseCentralDegree, tab::kCoarseOuterDegree>(
    tab::kCoarseCentral, tab::kCoarseOuter);

template <int CD, int OD>
[[gnu::always_inline]] inline vd plain_central(const Level<CD, OD> &L, vd a) {
  const vd t = a * a;
  vd f = simd::splat(L.central[CD]);
#pragma GCC unroll 16
  for (int k = CD - 1; k >= 0; --k) f = f * t + simd::splat(L.central[k]);
  return a * f;
}

template <int CD, int OD>
[[gnu::always_inline]] inline vd plain_outer(const Level<CD, OD> &L, vd a) {
  const vd one = simd::splat(1.0);
  const vd w = -ln_core::main_single<false>((one - a) * (one + a));
  const vd s = simd::vsqrt(w);
  const double *r0, *r1;
  rows_of(s, L.outer, r0, r1);
  const vd r = s + gather(r0, r1, 0);
  vd g = gather(r0, r1, 2 + OD);
#pragma GCC unroll 16
  for (int j = 1 + OD; j >= 2; --j) g = g * r + gather(r0, r1, j);
  return s + g;
}

// |x| < 1 on both lanes, x not NaN.
template <int CD, int OD>
[[gnu::always_inline]] inline vd plain_main(const Level<CD, OD> &L, vd x) {
  const vd abs_mask = (vd)simd::vul{0x7FFFFFFFFFFFFFFFull, 0x7FFFFFFFFFFFFFFFull};
  const vd a = simd::and_bits(x, abs_mask);
  const vd sign = simd::andnot_bits(abs_mask, x);
  const vd cm = (vd)(a < simd::splat(0.5));
  const int central = simd::movemask(cm);
  vd y;
  if (central == 3) {
    y = plain_central(L, a);
  } else if (central == 0) {
    y = plain_outer(L, a);
  } else {
    y = simd::select(cm, plain_central(L, simd::select(cm, a, simd::splat(0.25))),
                     plain_outer(L, simd::select(cm, simd::splat(0.75), a)));
  }
  return simd::or_bits(y, sign);
}

// Lanes with |x| >= 1 or NaN, for the lower levels: status 1 above 1 only.
template <class T>
[[gnu::cold]] int plain_rare(T x, T &out) {
  if (x != x) {
    out = x + x;
    return 0;
  }
  const T a = __builtin_fabs(x);
  if (a == T(1)) {
    out = __builtin_copysign(T(__builtin_inf()), x);
    return 0;
  }
  out = T(simd::from_bits(0xFFF8000000000000ull));  // the default NaN in either type
  return kStatusDomain;
}

template <const auto &L>
struct PlainKernelD {
  using T = double;
  using V = vd;
  static constexpr int kLanes = 2;
  [[gnu::always_inline]] static V compute(V x, int &rare) {
    const vd a = simd::and_bits(x, (vd)simd::vul{0x7FFFFFFFFFFFFFFFull, 0x7FFFFFFFFFFFFFFFull});
    const vd ok = (vd)(a < simd::splat(1.0));
    rare = simd::movemask(ok) ^ 3;
    if (__builtin_expect(rare != 0, 0)) x = simd::select(ok, x, simd::splat(0.25));
    return plain_main(L, x);
  }
  static T harmless() { return 0.25; }
  static int cout_rare(const T *in, T *out) {
    if (__builtin_fabs(*in) < 1.0) {
      *out = plain_main(L, simd::splat(*in))[0];
      return 0;
    }
    return plain_rare(*in, *out);
  }
  static void report(int status, int index, const T *a, T *y) {
    report_error<double>(status, index, a, a, y, y, "vdErfInv");
  }
};

template <const auto &L>
struct PlainKernelS {
  using T = float;
  using V = vf;
  static constexpr int kLanes = 4;
  [[gnu::always_inline]] static V compute(V x, int &rare) {
    const vf a = simd::and_bits(x, (vf)simd::vui{0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF});
    const vf ok = (vf)(a < simd::splat(1.0f));
    rare = simd::movemask(ok) ^ 15;
    if (__builtin_expect(rare != 0, 0)) x = simd::select(ok, x, simd::splat(0.25f));
    const int central = simd::movemask((vf)(a < simd::splat(0.5f)));
    if (__builtin_expect(kGrouped[central], 1)) {
      const vd lo = (vd)_mm_cvtps_pd((__m128)x);
      const vd hi = (vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x));
      const __m128 ylo = _mm_cvtpd_ps((__m128d)plain_main(L, lo));
      const __m128 yhi = _mm_cvtpd_ps((__m128d)plain_main(L, hi));
      return (vf)_mm_movelh_ps(ylo, yhi);
    }
    // Both routes in both halves: regroup the lanes, central ones first, so that at most one
    // pair runs both routes.
    alignas(16) float in[4], out[4];
    simd::storea(in, x);
    const unsigned char *p = kOrder[central];
    const vd r0 = plain_main(L, vd{in[p[0]], in[p[1]]});
    const vd r1 = plain_main(L, vd{in[p[2]], in[p[3]]});
    out[p[0]] = float(r0[0]);
    out[p[1]] = float(r0[1]);
    out[p[2]] = float(r1[0]);
    out[p[3]] = float(r1[1]);
    return simd::loada(out);
  }
  // Central-lane masks whose halves are each on one route already.
  static constexpr bool kGrouped[16] = {1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1};
  // Lanes by route, central first, for each mask.
  static constexpr unsigned char kOrder[16][4] = {
      {0, 1, 2, 3}, {0, 1, 2, 3}, {1, 0, 2, 3}, {0, 1, 2, 3}, {2, 0, 1, 3}, {0, 2, 1, 3},
      {1, 2, 0, 3}, {0, 1, 2, 3}, {3, 0, 1, 2}, {0, 3, 1, 2}, {1, 3, 0, 2}, {0, 1, 3, 2},
      {2, 3, 0, 1}, {0, 2, 3, 1}, {1, 2, 3, 0}, {0, 1, 2, 3}};
  static T harmless() { return 0.25f; }
  static int cout_rare(const T *in, T *out) {
    if (__builtin_fabs(*in) < 1.0f) {
      *out = float(plain_main(L, simd::splat(double(*in)))[0]);
      return 0;
    }
    return plain_rare(*in, *out);
  }
  static void report(int status, int index, const T *a, T *y) {
    report_error<float>(status, index, a, a, y, y, "vsErfInv");
  }
};

template <class K>
void run(int n, const typename K::T *a, typename K::T *y) {
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  LaneMaskPass<K>::run(n, a, y);
}

}  // namespace
}  // namespace hpk::vmk::erfinv

extern "C" {
using namespace hpk::vmk::erfinv;
void hpk_vmk_kernel_dErfInv_EXHAynn(int n, const double *a, double *y) { run<HaKernel>(n, a, y); }
void hpk_vmk_kernel_dErfInv_EXEPnnn(int n, const double *a, double *y) {
  run<PlainKernelD<kMid>>(n, a, y);
}
void hpk_vmk_kernel_sErfInv_EXHAynn(int n, const float *a, float *y) {
  run<PlainKernelS<kMid>>(n, a, y);
}
void hpk_vmk_kernel_sErfInv_EXLAynn(int n, const float *a, float *y) {
  run<PlainKernelS<kLow>>(n, a, y);
}
void hpk_vmk_kernel_sErfInv_EXEPnnn(int n, const float *a, float *y) {
  run<PlainKernelS<kCoarse>>(n, a, y);
}
}
