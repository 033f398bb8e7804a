// Erfc, d and s (the single kernel widens its lanes to double and rounds once). Status 4 where
// the result underflows.
//
//   x < 0.5:        erfc x = 1 - erf x, with erf x = sign (hi + lo) from Erf's interval route
//                   unrounded: (h, l) = TwoSum(1, -sign hi), result h + (l - sign lo). The
//                   result is at least 0.479, so erf's absolute error (below 2^-54 of 0.52)
//                   stays below a quarter ulp of it.
//   0.5 <= x < 32:  erfc x = e^(-x^2) R(x), R = erfc e^(x^2) from 48 interval rows by eighths of
//                   a binade (fit below 2^-57.8 relative, see the generator).
//                   x^2 = qh + ql exactly; e^-qh by the exponential's reduction and table:
//                   k = round(-qh 64/ln 2) = 64 m + j, r = ((-qh - k Ln2Hi) - k Ln2Lo) - ql,
//                   e^(-x^2) = 2^m (T + E), E = Tl + T (e^r - 1) (below 2^-60 relative).
//                   With R = Rh + P (P = Rl + r (b1 + ...)), (ph, pl) = TwoProd(T, Rh):
//                   y = 2^m (ph + ((pl + T P) + E R)), one rounding of the sum, so about 0.55 ulp.
// Main route: -6 < x < 26.5, where 2^m and the result stay normal and the scaling is exact.
// The scalar routine takes the rest: NaN -> quieted; x <= -6 -> 2 (erfc(-6) rounds to 2);
// 26.5 <= x < 27.3 -> the same formula scaled in two steps, one rounding into the denormals, and
// status 4 where the result is below the least normal (double: x > 26.5433; single: x > 9.1945);
// x >= 27.3 -> +0 with status 4; +infinity -> +0 without status.
#include <cstdint>

#include "vmk/core/erf/erf_core.hpp"
#include "vmk/core/erfc/erfc_tables.hpp"
#include "vmk/core/exp/exp_core.hpp"
#include "vmk/core/exp/exp_tables.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::erfc {
namespace {

using simd::vd;
using simd::vdd;

inline vd c2(double v) { return simd::splat(v); }

// 1 - erf x for both lanes, x < 0.5 finite.
[[gnu::always_inline]] inline vd near_route(vd x) {
  const vd sign = simd::splat(-0.0);
  const vd xs = simd::and_bits(sign, x);
  const erf::Parts p = erf::parts(simd::andnot_bits(sign, x));
  const vd hi = simd::xor_bits(p.hi, xs), lo = simd::xor_bits(p.lo, xs);  // signed erf parts
  const vdd s = simd::two_sum(c2(1.0), -hi);
  return s.hi + (s.lo - lo);
}

inline int row_of(double x) {
  const uint32_t t = uint32_t(simd::bits(x) >> 32) & 0x7FFE0000;
  const int k = int((t - 0x3FE00000) >> 17);
  return k > 47 ? 47 : k;
}

// e^(-x^2) R(x) for both lanes (0.5 <= x < 32) as the unscaled sum and the exponent m.
struct Unscaled {
  vd y;
  int64_t m0, m1;
};
[[gnu::always_inline]] inline Unscaled far_route(vd x) {
  using namespace exp_core;
  const vdd q = simd::two_sqr(x);
  const vd nq = -q.hi;
  const vd t = nq * c2(s_dwInvLn) + c2(s_dwRS);
  const vd kd = t - c2(s_dwRS);
  const vd r = ((nq - kd * c2(simd::from_bits(s_dwLnHi))) - kd * c2(simd::from_bits(s_dwLnLo))) -
               q.lo;
  const vd r2 = r * r;
  const vd em1 = r + r2 * ((c2(A2) + r * c2(A3)) + r2 * (c2(A4) + r * c2(A5)));
  const int64_t k0 = int64_t(kd[0]), k1 = int64_t(kd[1]);
  const double *E0 = exp_tables::s_dwExp2 + 2 * (k0 & 63);
  const double *E1 = exp_tables::s_dwExp2 + 2 * (k1 & 63);
  const vd T{E0[0], E1[0]}, Tl{E0[1], E1[1]};
  const vd E = Tl + T * em1;
  const double *P0 = erfc_tables::kRows[row_of(x[0])];
  const double *P1 = erfc_tables::kRows[row_of(x[1])];
  auto entry = [&](int j) { return vd{P0[j], P1[j]}; };
  const vd rr = x + entry(13);
  vd p = entry(12);
#pragma GCC unroll 12
  for (int j = 11; j >= 2; --j) p = p * rr + entry(j);
  const vd P = entry(0) + p * rr;
  const vd Rh = entry(1);
  const vdd Ts = simd::split(T), Rs = simd::split(Rh);  // TwoProd(T, Rh), Dekker
  const vd phh = T * Rh;
  const vd phl = ((Ts.hi * Rs.hi - phh) + Ts.hi * Rs.lo + Ts.lo * Rs.hi) + Ts.lo * Rs.lo;
  const vdd ph{phh, phl};
  return {ph.hi + ((ph.lo + T * P) + E * (Rh + P)), k0 >> 6, k1 >> 6};
}

inline double pow2(int64_t m) { return simd::from_bits(uint64_t(m + 1023) << 52); }

[[gnu::always_inline]] inline vd main_pair(vd x) {
  const int near = simd::movemask((vd)(x < c2(0.5)));
  if (near == 3) return near_route(x);
  const Unscaled u = far_route(simd::vmax(x, c2(0.5)));
  const vd far = u.y * vd{pow2(u.m0), pow2(u.m1)};
  if (near == 0) return far;
  const vd m = (vd)(x < c2(0.5));
  return simd::select(m, near_route(simd::select(m, x, c2(0.25))), far);
}

inline bool main_class(double x) { return x > -6.0 && x < 26.5; }

// Correct for every input; status 4 where the result is below `least` (the type's least
// normal) for a finite x.
[[gnu::cold]] double scalar(double x, double least, int &status) {
  status = 0;
  if (x != x) return x + x;
  if (x <= -6.0) return 2.0;
  if (x == __builtin_inf()) return 0.0;
  double y;
  if (x < 26.5) {
    y = main_pair(simd::splat(x))[0];
  } else if (x >= 27.3) {  // erfc(27.3) < 2^-1080: below half the least denormal
    y = 0.0;
  } else {
    const Unscaled u = far_route(simd::splat(x));
    y = (u.y[0] * pow2(u.m0 + 100)) * 0x1p-100;  // the first product exact, one rounding
  }
  if (y < least) status = kStatusUnderflow;
  return y;
}

void run_d(int n, const double *a, double *y) {
  if (n <= 0) return;
  SseControlScope scope(current_mode());
  auto rare = [&](int i, double x) {
    int status;
    y[i] = scalar(x, 0x1p-1022, status);
    if (status) report_error<double>(status, i, a, a, y, y, "vdErfc");
  };
  int i = 0;
  for (; i + 2 <= n; i += 2) {
    const vd x = simd::loadu(a + i);
    if (__builtin_expect(simd::movemask(simd::and_bits((vd)(x > c2(-6.0)), (vd)(x < c2(26.5)))) == 3, 1)) {
      simd::storeu(y + i, main_pair(x));
    } else {
      const double x0 = x[0], x1 = x[1];
      if (main_class(x0)) y[i] = main_pair(simd::splat(x0))[0];
      else rare(i, x0);
      if (main_class(x1)) y[i + 1] = main_pair(simd::splat(x1))[0];
      else rare(i + 1, x1);
    }
  }
  if (i < n) {
    const double x = a[i];
    if (main_class(x)) y[i] = main_pair(simd::splat(x))[0];
    else rare(i, x);
  }
}

// Single: the double route, rounded once; above 9.1 the scalar routine decides underflow
// against the single least normal.
void run_s(int n, const float *a, float *y) {
  if (n <= 0) return;
  SseControlScope scope(current_mode());
  auto one = [&](int i, float xf) {
    const double x = xf;
    if (x > -6.0 && x < 9.1) {
      y[i] = float(main_pair(simd::splat(x))[0]);
      return;
    }
    int status;
    y[i] = float(scalar(x, 0x1p-126, status));
    if (status) report_error<float>(status, i, a, a, y, y, "vsErfc");
  };
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const __m128 v = _mm_loadu_ps(a + i);
    const __m128 in = _mm_and_ps(_mm_cmpgt_ps(v, _mm_set1_ps(-6.0f)),
                                 _mm_cmplt_ps(v, _mm_set1_ps(9.1f)));
    if (__builtin_expect(_mm_movemask_ps(in) == 15, 1)) {
      const __m128 rlo = _mm_cvtpd_ps((__m128d)main_pair((vd)_mm_cvtps_pd(v)));
      const __m128 rhi = _mm_cvtpd_ps((__m128d)main_pair((vd)_mm_cvtps_pd(_mm_movehl_ps(v, v))));
      _mm_storeu_ps(y + i, _mm_movelh_ps(rlo, rhi));
    } else {
      const float x0 = a[i], x1 = a[i + 1], x2 = a[i + 2], x3 = a[i + 3];
      one(i, x0);
      one(i + 1, x1);
      one(i + 2, x2);
      one(i + 3, x3);
    }
  }
  for (; i < n; ++i) one(i, a[i]);
}

}  // namespace
}  // namespace hpk::vmk::erfc

extern "C" {
void hpk_vmk_kernel_dErfc_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::erfc::run_d(n, a, y);
}
void hpk_vmk_kernel_sErfc_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::erfc::run_s(n, a, y);
}
}
