// CdfNormInv and ErfcInv, d and s (the single kernels widen to double lanes and round once).
// One core serves both, through
//   CdfNormInv(p) = sqrt2 erfinv(2d), d = p - 1/2    centre, |d| <= 1/16 (d exact)
//                 = -sqrt2 erfcinv(2p)              p < 1/2 (2p exact, also for denormals)
//                 = sqrt2 erfcinv(2(1 - p))          p > 1/2 (1 - p exact for p >= 1/2)
//   ErfcInv(y)    = erfinv(1 - y)                   |1 - y| <= 1/8 (1 - y exact)
//                 = erfcinv(y)                      y < 1
//                 = -erfcinv(2 - y)                  y > 1 (2 - y exact for y >= 1)
// so every argument of erfcinv is exact and the tails keep relative accuracy down to the least
// denormal (CdfNormInv(2^-1074) = -38.4674...), and the centre keeps it next to p = 1/2, where
// CdfNormInv(1/2 + d) ~ sqrt(2 pi) d.
//
// Three pieces, each giving the value as hi + lo, well below an ulp apart from the final
// rounding (the table's generator prints the fit errors):
//   centre  erfinv(z) = z (a0 + u (a1 + a2 u + ... + a10 u^9)), u = z^2, |z| <= 1/8: the
//           Maclaurin series, truncated below 2^-64 relative; z a0 is exact as TwoProd with a0
//           in two parts, and the rest is at most 0.005 of it. CdfNormInv has the series of
//           sqrt2 erfinv(2d) in d, its own coefficients of the same shape.
//   mid     erfcinv(y), 1/64 <= y < 7/8, by rows of sixteenths of a binade of y: with r = y - c
//           exact, erfcinv(c)hi + (erfcinv(c)lo + r (b1 + r P(r))), below 2^-56.6 relative as
//           rounded, the sum at most 1/4 of the value. CdfNormInv has rows of its own for
//           sqrt2 erfcinv(2q) in q = min(p, 1 - p), 1/128 <= q < 7/16.
//   tail    erfcinv(y) = F(w), y < 1/64, w = sqrt(-ln y) in [2.04, 27.3], by rows of eighths of
//           a binade of w (fit below 2^-57 relative as rounded). -ln y comes as hi + lo (the
//           logarithm's reduction and table, kept in two parts, within 2^-60 relative),
//           w = wh + wl with wl from the exact residual L - wh^2, and r = w - c is exact in its
//           high part, so F = F(c)hi + (F(c)lo + b1 wl + r (b1 + r P(r))), the sum at most 1/8
//           of F(c).
// In the tail CdfNormInv multiplies hi + lo by sqrt2 in two parts. Every route ends in one
// rounding of hi + lo; the other roundings (the row's coefficients, the products of the sum)
// add up to about 0.2 ulp, most where the middle rows meet the centre, where the sum is 1/8 of
// the value: the largest error measured there is 0.71 ulp.
//
// Rare elements (outside the open domain, or NaN) go to the scalar routines below; pairs whose
// lanes all lie inside run packed, each piece computed only where a lane needs it.
#include <emmintrin.h>

#include <cstdint>

#include "vmk/core/cdfnorminv/cdfnorminv_tables.hpp"
#include "vmk/core/ln/ln_core.hpp"
#include "vmk/core/ln/ln_tables.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::cdfnorminv {
namespace {

using simd::vd;
using simd::vdd;
using simd::vul;
using cdfnorminv_tables::_vmkdCdfNormInvHATab;

inline vd c2(double v) { return simd::splat(v); }

inline vdd two_prod(vd x, vd y) {
  const vd p = x * y;
  const vdd xs = simd::split(x), ys = simd::split(y);
  return {p, ((xs.hi * ys.hi - p) + xs.hi * ys.lo + xs.lo * ys.hi) + xs.lo * ys.lo};
}

// The centre series z (a0 + a1 u + ... + a10 u^10), u = z^2, as hi + lo (not normalised: |lo|
// below 2^-50 |hi|); a in high parts, a0lo the low part of a0.
[[gnu::always_inline]] inline vdd centre(vd z, const double *a, double a0lo) {
  const vd u = z * z, u2 = u * u;
  // a1 + a2 u + ... + a10 u^9 as an odd and an even chain in u^2
  const vd e = (((c2(a[9]) * u2 + c2(a[7])) * u2 + c2(a[5])) * u2 + c2(a[3])) * u2 + c2(a[1]);
  const vd o = (((c2(a[10]) * u2 + c2(a[8])) * u2 + c2(a[6])) * u2 + c2(a[4])) * u2 + c2(a[2]);
  const vd s = u * (e + u * o);
  const vdd p = two_prod(z, c2(a[0]));
  return {p.hi, p.lo + z * (c2(a0lo) + s)};
}

// The row of a middle argument: sixteenths of binades from the top word `base`.
inline int mid_row(double y, uint32_t base) {
  const uint32_t t = uint32_t(simd::bits(y) >> 32) & 0x7FFF0000;
  return int((t - base) >> 16);
}

// A middle row's value as hi + lo (not normalised): erfcinv(y) for 1/64 <= y < 7/8 from the
// rows `mid`, or sqrt2 erfcinv(2q) for 1/128 <= q < 7/16 from `cdf_mid`.
[[gnu::always_inline]] inline vdd mid(vd y, const double (*rows)[12], uint32_t base) {
  const double *P0 = rows[mid_row(y[0], base)];
  const double *P1 = rows[mid_row(y[1], base)];
  auto entry = [&](int j) { return vd{P0[j], P1[j]}; };
  const vd r = y + entry(11);  // exact
  const vd r2 = r * r;
  // b2 + b3 r + ... + b9 r^7 (entry j holds b(j-1))
  const vd e = ((entry(9) * r2 + entry(7)) * r2 + entry(5)) * r2 + entry(3);
  const vd o = ((entry(10) * r2 + entry(8)) * r2 + entry(6)) * r2 + entry(4);
  const vd t = r * (entry(2) + r * (e + r * o)) + entry(0);
  return {entry(1), t};
}

// -ln y as hi + lo for 0 < y < 1/64, normal or denormal. The logarithm's reduction (see
// ln_core.hpp) with its sum left in two parts: N ln2hi + T_hi is exact and at least 4 in
// magnitude (N <= -6), so hi0 = A + Rhi has an exact error.
[[gnu::always_inline]] inline vdd neg_log(vd y) {
  using namespace ln_core;
  const vd tiny = (vd)(y < c2(0x1p-1022));
  y = simd::select(tiny, y * c2(0x1p54), y);
  const vd N0 = simd::and_bits(tiny, c2(54.0));
  const vul ux = (vul)y;
  const vd Y = (vd)((ux & kFraction) | kOneExp);
  const vd Yhi = (vd)((vul)Y & dbYHiMask);
  const uint32_t t0 = uint32_t(ux[0] >> 32), t1 = uint32_t(ux[1] >> 32);
  const vd N = vd{double(int32_t(t0 - kNSubTop) >> 20), double(int32_t(t1 - kNSubTop) >> 20)} - N0;
  const double *r0 = ln_tables::BT_Tbl_Ln + 4 * ((((t0 & 0xFFC00) + 0x400) & 0x1FF800) >> 11);
  const double *r1 = ln_tables::BT_Tbl_Ln + 4 * ((((t1 & 0xFFC00) + 0x400) & 0x1FF800) >> 11);
  const vd rcp{r0[0], r1[0]}, Thi{r0[2], r1[2]}, Tlo{r0[3], r1[3]};
  const vd Rhi = Yhi * rcp - c2(1.0);  // exact: 21 + 32 bits, within 2^-9 of 1
  const vd Rlo = (Y - Yhi) * rcp;
  const vd R = Rhi + Rlo, R2 = R * R;
  const vd A = N * c2(simd::from_bits(LnTraits::hi_bits)) + Thi;
  const vd Alo = N * c2(simd::from_bits(LnTraits::lo_bits)) + Tlo;
  const vd hi0 = A + Rhi;
  const vd err = (A - hi0) + Rhi;
  const vd lo = ((Alo + err) + Rlo) + R2 * ((c2(dbP1) + R * c2(dbP2)) + R2 * (c2(dbP3) + R * c2(dbP4)));
  const vd s = hi0 + lo;
  return {-s, -(lo - (s - hi0))};
}

inline int row_of(double w) {
  const uint32_t t = uint32_t(simd::bits(w) >> 32) & 0x7FFE0000;
  return int((t - 0x40000000) >> 17);
}

// erfcinv(y) as hi + lo (normalised), 0 < y < 1/64.
[[gnu::always_inline]] inline vdd tail(vd y) {
  const vdd L = neg_log(y);
  const vd wh = simd::vsqrt(L.hi);
  const vdd sq = simd::two_sqr(wh);
  const vd wl = (((L.hi - sq.hi) - sq.lo) + L.lo) / (wh + wh);
  const double *P0 = _vmkdCdfNormInvHATab.rows[row_of(wh[0])];
  const double *P1 = _vmkdCdfNormInvHATab.rows[row_of(wh[1])];
  auto entry = [&](int j) { return vd{P0[j], P1[j]}; };
  const vd r = wh + entry(12);  // exact: wh and the centre lie in one binade
  const vd r2 = r * r;
  // b2 + b3 r + ... + b10 r^8 as an even and an odd chain in r^2
  // (entry j holds b(j-1)): e = b2 + b4 r^2 + ... + b10 r^8, o = b3 + b5 r^2 + ... + b9 r^6
  vd e = entry(11), o = entry(10);
#pragma GCC unroll 3
  for (int j = 9; j >= 5; j -= 2) {
    e = e * r2 + entry(j);
    o = o * r2 + entry(j - 1);
  }
  e = e * r2 + entry(3);
  const vd p = e + r * o;
  const vd b1 = entry(2);
  const vd t = r * (b1 + r * p) + (entry(0) + b1 * wl);
  const vd h = entry(1) + t;
  return {h, t - (h - entry(1))};
}

// The two functions as the core sees them: the centre argument and series, the middle argument
// (the tail's argument is kToY times it) with its rows, and the sign of the non-centre lanes.
struct CdfNormInvFn {
  static constexpr bool kScaled = true;  // the tail's erfcinv is multiplied by sqrt2
  static constexpr double kToY = 2.0, kTailEdge = 0x1p-7;
  static constexpr uint32_t kMidBase = 0x3F800000;  // 1/128
  static constexpr const double (*mid_rows())[12] { return _vmkdCdfNormInvHATab.cdf_mid; }
  static constexpr const double *centre_hi() { return _vmkdCdfNormInvHATab.cdf_centre_hi; }
  static constexpr double centre_lo0() { return _vmkdCdfNormInvHATab.cdf_centre_lo[0]; }
  static vd inside(vd p) { return simd::and_bits((vd)(p > c2(0.0)), (vd)(p < c2(1.0))); }
  static vd is_centre(vd p) { return (vd)(simd::andnot_bits(c2(-0.0), p - c2(0.5)) <= c2(0x1p-4)); }
  static vd centre_arg(vd p) { return p - c2(0.5); }
  static vd negative(vd p) { return (vd)(p < c2(0.5)); }
  static vd mid_arg(vd p) { return simd::select(negative(p), p, c2(1.0) - p); }
  template <class T>
  static constexpr const char *name() {
    return sizeof(T) == 8 ? "vdCdfNormInv" : "vsCdfNormInv";
  }
  // 0 -> -inf and 1 -> +inf (2), outside [0, 1] -> the default NaN (1), NaN -> quieted.
  static double rare(double p, int &status) {
    status = 0;
    if (p != p) return p + p;
    if (p == 0.0 || p == 1.0) {
      status = kStatusSingularity;
      return p == 0.0 ? -__builtin_inf() : __builtin_inf();
    }
    status = kStatusDomain;
    return simd::from_bits(0xFFF8000000000000ull);
  }
};

struct ErfcInvFn {
  static constexpr bool kScaled = false;
  static constexpr double kToY = 1.0, kTailEdge = 0x1p-6;
  static constexpr uint32_t kMidBase = 0x3F900000;  // 1/64
  static constexpr const double (*mid_rows())[12] { return _vmkdCdfNormInvHATab.mid; }
  static constexpr const double *centre_hi() { return _vmkdCdfNormInvHATab.centre_hi; }
  static constexpr double centre_lo0() { return _vmkdCdfNormInvHATab.centre_lo[0]; }
  static vd inside(vd y) { return simd::and_bits((vd)(y > c2(0.0)), (vd)(y < c2(2.0))); }
  static vd is_centre(vd y) { return (vd)(simd::andnot_bits(c2(-0.0), c2(1.0) - y) <= c2(0x1p-3)); }
  static vd centre_arg(vd y) { return c2(1.0) - y; }
  static vd negative(vd y) { return (vd)(y > c2(1.0)); }
  static vd mid_arg(vd y) { return simd::select(negative(y), c2(2.0) - y, y); }
  template <class T>
  static constexpr const char *name() {
    return sizeof(T) == 8 ? "vdErfcInv" : "vsErfcInv";
  }
  // 0 -> +inf and 2 -> -inf (2), outside [0, 2] -> the default NaN (1), NaN -> quieted.
  static double rare(double y, int &status) {
    status = 0;
    if (y != y) return y + y;
    if (y == 0.0 || y == 2.0) {
      status = kStatusSingularity;
      return y == 0.0 ? __builtin_inf() : -__builtin_inf();
    }
    status = kStatusDomain;
    return simd::from_bits(0xFFF8000000000000ull);
  }
};

// The tail's value, scaled by sqrt2 in two parts where the function asks for it.
template <class Fn>
[[gnu::always_inline]] inline vdd scaled_tail(vd y) {
  const vdd t = tail(y);
  if constexpr (Fn::kScaled) {
    const double *s2 = _vmkdCdfNormInvHATab.sqrt2;
    const vdd p = two_prod(t.hi, c2(s2[0]));
    return {p.hi, p.lo + (t.hi * c2(s2[1]) + t.lo * c2(s2[0]))};
  } else {
    return t;
  }
}

// Both lanes inside the open domain.
template <class Fn>
[[gnu::always_inline]] inline vd main_pair(vd x) {
  const vd cm = Fn::is_centre(x);
  const int centre_lanes = simd::movemask(cm);
  vdd v;
  if (centre_lanes == 3) {
    v = centre(Fn::centre_arg(x), Fn::centre_hi(), Fn::centre_lo0());
  } else {
    // the middle argument, in (0, 1/2] or (0, 1]; centre lanes go to the middle rows' first
    // edge instead, which is harmless
    const vd q = simd::select(cm, c2(0x1p-6), Fn::mid_arg(x));
    const vd tm = (vd)(q < c2(Fn::kTailEdge));
    const int tail_lanes = simd::movemask(tm);
    if (tail_lanes == 0) {
      v = mid(q, Fn::mid_rows(), Fn::kMidBase);
    } else {
      v = scaled_tail<Fn>(simd::select(tm, q * c2(Fn::kToY), c2(0x1p-8)));
      if (tail_lanes != 3) {
        const vdd m = mid(simd::select(tm, c2(0x1p-6), q), Fn::mid_rows(), Fn::kMidBase);
        v = {simd::select(tm, v.hi, m.hi), simd::select(tm, v.lo, m.lo)};
      }
    }
    if (centre_lanes != 0) {
      const vdd c = centre(simd::and_bits(cm, Fn::centre_arg(x)), Fn::centre_hi(), Fn::centre_lo0());
      v = {simd::select(cm, c.hi, v.hi), simd::select(cm, c.lo, v.lo)};
    }
    const vd flip = simd::andnot_bits(cm, simd::and_bits(Fn::negative(x), c2(-0.0)));
    v = {simd::xor_bits(v.hi, flip), simd::xor_bits(v.lo, flip)};
  }
  return v.hi + v.lo;
}

template <class Fn, class T>
[[gnu::cold, gnu::noinline]] void element(int i, const T *a, T *y) {
  const double x = a[i];
  if (x > 0.0 && x < (Fn::kScaled ? 1.0 : 2.0)) {
    y[i] = T(main_pair<Fn>(simd::splat(x))[0]);
    return;
  }
  int status;
  y[i] = T(Fn::rare(x, status));
  if (status) report_error<T>(status, i, a, a, y, y, Fn::template name<T>());
}

template <class Fn>
void run_d(int n, const double *a, double *y) {
  if (n <= 0) return;
  SseControlScope scope(current_mode());
  int i = 0;
  for (; i + 2 <= n; i += 2) {
    const vd x = simd::loadu(a + i);
    if (__builtin_expect(simd::movemask(Fn::inside(x)) == 3, 1)) {
      simd::storeu(y + i, main_pair<Fn>(x));
    } else {
      element<Fn>(i, a, y);
      element<Fn>(i + 1, a, y);
    }
  }
  if (i < n) element<Fn>(i, a, y);
}

// Four singles a pass, as two pairs of doubles; the double result is within 0.57 ulp of its
// own format, so the single rounding is correct but within 2^-29 ulp of a half-way point.
template <class Fn>
void run_s(int n, const float *a, float *y) {
  if (n <= 0) return;
  SseControlScope scope(current_mode());
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const __m128 v = _mm_loadu_ps(a + i);
    const vd lo = (vd)_mm_cvtps_pd(v), hi = (vd)_mm_cvtps_pd(_mm_movehl_ps(v, v));
    if (__builtin_expect(simd::movemask(simd::and_bits(Fn::inside(lo), Fn::inside(hi))) == 3, 1)) {
      const __m128 rlo = _mm_cvtpd_ps((__m128d)main_pair<Fn>(lo));
      const __m128 rhi = _mm_cvtpd_ps((__m128d)main_pair<Fn>(hi));
      _mm_storeu_ps(y + i, _mm_movelh_ps(rlo, rhi));
    } else {
      for (int l = 0; l < 4; ++l) element<Fn>(i + l, a, y);
    }
  }
  for (; i < n; ++i) element<Fn>(i, a, y);
}

}  // namespace
}  // namespace hpk::vmk::cdfnorminv

extern "C" {
void hpk_vmk_kernel_dCdfNormInv_EXHAynn(int n, const double *a, double *y) {
  using namespace hpk::vmk::cdfnorminv;
  run_d<CdfNormInvFn>(n, a, y);
}
void hpk_vmk_kernel_sCdfNormInv_EXHAynn(int n, const float *a, float *y) {
  using namespace hpk::vmk::cdfnorminv;
  run_s<CdfNormInvFn>(n, a, y);
}
void hpk_vmk_kernel_dErfcInv_EXHAynn(int n, const double *a, double *y) {
  using namespace hpk::vmk::cdfnorminv;
  run_d<ErfcInvFn>(n, a, y);
}
void hpk_vmk_kernel_sErfcInv_EXHAynn(int n, const float *a, float *y) {
  using namespace hpk::vmk::cdfnorminv;
  run_s<ErfcInvFn>(n, a, y);
}
}
