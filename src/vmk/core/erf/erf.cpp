// Erf, d and s (the single kernel widens its lanes to double and rounds once). No status.
//
// Interval polynomials: |x| picks one of 46 rows of kPoly by its top word masked to the
// exponent and the top 3 mantissa bits (an eighth of a binade from 0.125; row 0 below, row 45
// at and above 6, where erf rounds to 1). With c the row's centre and r = |x| - c:
//   p = r (a2 + a3 r + ... + a10 r^8)                                   (Horner)
//   s = a1 + p as sh + sl, sh the top 26 bits;  r = rh + rl the same way
//   |erf x| = erf(c)hi + (rh sh + (((rl sl + rh sl) + rl sh) + erf(c)lo))
// rh sh is exact, and the terms that follow it are below 2^-4 of the result, so the result
// carries one rounding of the sum plus the fit error (below 2^-54.7 relative, see the
// generator) and the rounding of the small terms: at most about 0.9 ulp.
//
// Element classes by the top word of |x|: below 0x00800000 (|x| < 2^-1015, zero and denormals
// included) the tiny class, erf x = x * 2/sqrt(pi) rounded once from an exact scaled product;
// infinity gives +-1; NaN gives x quieted; the rest take the interval route. A pair with both
// lanes in the last class, the common case, takes no other branch.
#include <cstdint>

#include "vmk/core/erf/erf_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::erf {
namespace {

using simd::vd;

// erf x = x * 2/sqrt(pi) for |x| < 2^-1015, rounded once: the product is formed exactly at the
// scale 2^110 as ph + pl, and a result in the denormal range is corrected by one unit of its
// grid where the rounding of ph alone went the wrong way.
[[gnu::cold]] double tiny(double x) {
  constexpr double kTwoOverSqrtPiHi = 0x1.20dd750429b6dp+0;
  constexpr double kTwoOverSqrtPiLo = 0x1.1ae3a914fed80p-56;
  constexpr double kScale = 0x1p110, kUnscale = 0x1p-110;
  constexpr double kLeastNorm = 0x1p-1022, kUnit = 0x1p-1074;
  // keeps the sign of zero; under denormals-are-zero a denormal x compares equal to zero and
  // comes back as it is
  if (x == 0) return x;
  const double X = x * kScale;  // exact
  const simd::dd p0 = simd::two_prod(X, kTwoOverSqrtPiHi);
  const simd::dd p = simd::two_sum(p0.hi, p0.lo + X * kTwoOverSqrtPiLo);
  const double rd = p.hi * kUnscale;
  if (__builtin_fabs(rd) >= kLeastNorm || (_mm_getcsr() & 0x8000)) return rd;
  const double d = (p.hi - rd * kScale) + p.lo;  // p.hi - rd * kScale is exact
  constexpr double half = 0x1p-965;  // half a unit of the denormal grid, at the scale
  if (d > half) return rd + kUnit;
  if (d < -half) return rd - kUnit;
  return rd;
}

[[gnu::cold]] double scalar(double x) {
  const uint32_t t = abs_top(x);
  if (t < kTinyEnd) return tiny(x);
  if (t >= kInfTop) {
    if (x != x) return x + x;
    return __builtin_copysign(1.0, x);
  }
  return main_route(simd::splat(x))[0];
}

inline bool main_class(uint32_t t) { return t - kTinyEnd < kInfTop - kTinyEnd; }

[[gnu::always_inline]] inline vd pair(vd x) {
  if (__builtin_expect(main_class(abs_top(x[0])) && main_class(abs_top(x[1])), 1))
    return main_route(x);
  return vd{scalar(x[0]), scalar(x[1])};
}

inline double one(double x) {
  return main_class(abs_top(x)) ? main_route(simd::splat(x))[0] : scalar(x);
}

void run_d(int n, const double *a, double *y) {
  if (n <= 0) return;
  SseControlScope scope(current_mode());
  int i = 0;
  for (; i + 2 <= n; i += 2) simd::storeu(y + i, pair(simd::loadu(a + i)));
  if (i < n) y[i] = one(a[i]);
}

void run_s(int n, const float *a, float *y) {
  if (n <= 0) return;
  SseControlScope scope(current_mode());
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const __m128 v = _mm_loadu_ps(a + i);
    const vd lo = (vd)_mm_cvtps_pd(v);
    const vd hi = (vd)_mm_cvtps_pd(_mm_movehl_ps(v, v));
    const __m128 rlo = _mm_cvtpd_ps((__m128d)pair(lo));
    const __m128 rhi = _mm_cvtpd_ps((__m128d)pair(hi));
    _mm_storeu_ps(y + i, _mm_movelh_ps(rlo, rhi));
  }
  for (; i < n; ++i) y[i] = float(one(double(a[i])));
}

}  // namespace
}  // namespace hpk::vmk::erf

extern "C" {
void hpk_vmk_kernel_dErf_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::erf::run_d(n, a, y);
}
void hpk_vmk_kernel_sErf_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::erf::run_s(n, a, y);
}
}
