// The rare routines of LGamma: every input the packed route leaves out (x <= 0, tiny, huge,
// infinite or NaN), one element at a time, in 80-bit extended arithmetic under the x87 state
// of 64-bit precision and round to nearest, which each routine sets and restores itself.
//
//   NaN                      x + x (quieted), status 0
//   +-infinity               +infinity, status 0
//   +-0, negative integer    +infinity, status 2 (a pole); so is a denormal while the caller's
//                            mode treats denormal inputs as zero
//   x > 0                    own_lgamma_pos; a result beyond the type's range gives +infinity,
//                            status 3 (x > 2.55e305 in double, x > 4.08e36 in single)
//   x < 0, not an integer    lgamma x = log(pi / |x sin(pi x)|) - lgamma(-x)
// No input is a domain error: log|Gamma| is defined on every real but the poles, and no
// status 1 is raised.
//
// In the reflection sin(pi x) is formed from f = -x - nearest integer (exact, |f| <= 1/2), so
// the factor keeps its relative accuracy next to the poles. own_lgamma_pos raises -x to
// z >= 16 by the recurrence and takes Stirling's series there (12 terms: truncation below
// 10^-26), so its absolute error is a few units of 2^-64 times lgamma(z) < 40: about 2e-18
// for -x < 16, and a few 2^-64 relative beyond. Where the reflected result is not small, its
// double rounding therefore stays within half an ulp and a few hundredths; next to the zeros
// of lgamma between the negative poles the error is that absolute figure.
#include <xmmintrin.h>

#include <cstdint>

#include "vmk/core/lgamma/lgamma_rare.hpp"
#include "vmk/core/lgamma/lgamma_tables.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::lgamma {
namespace {

using ld = long double;

// log x for x > 0 finite: fyl2x with log(2) from the x87 constant; near 1, fyl2xp1 on x - 1
// (exact there), which keeps the relative error of a small logarithm.
ld own_logl(ld x) {
  ld r;
  const ld t = x - 1.0L;
  if (t > -0.25L && t < 0.25L) {
    __asm__("fldln2\n\tfxch %%st(1)\n\tfyl2xp1" : "=t"(r) : "0"(t));
  } else {
    __asm__("fldln2\n\tfxch %%st(1)\n\tfyl2x" : "=t"(r) : "0"(x));
  }
  return r;
}

// The single routine's logarithm: fyl2x alone (its results are rounded to single).
ld own_log(ld x) {
  ld r;
  __asm__("fldln2\n\tfxch %%st(1)\n\tfyl2x" : "=t"(r) : "0"(x));
  return r;
}

ld pi_l() {
  ld r;
  __asm__("fldpi" : "=t"(r));
  return r;
}

// sin(pi f) for |f| <= 1/2 (pi from the x87 constant, fsin exact to an ulp of the extended
// format for arguments this small).
ld sin_pi(ld f) {
  ld r;
  __asm__("fsin" : "=t"(r) : "0"(pi_l() * f));
  return r;
}

ld own_nearbyintl(ld x) {
  ld r;
  __asm__("frndint" : "=t"(r) : "0"(x));
  return r;
}

// Round to nearest integer in single arithmetic under the kernel's round-to-nearest state.
float own_nearbyintf(float x) {
  const float big = 0x1p23f;
  if (!(__builtin_fabsf(x) < big)) return x;
  volatile float s = __builtin_copysignf(big, x);
  return (x + s) - s;
}

float own_ceilf(float x) {
  const float r = own_nearbyintf(x);
  return r < x ? r + 1.0f : r;
}

// Stirling's series for z >= `from`, with `terms` of the Bernoulli coefficients.
ld stirling(ld z, int terms) {
  const ld iz = 1.0L / z, iz2 = iz * iz;
  ld s = 0;
  for (int k = terms - 1; k >= 0; --k) s = s * iz2 + lgamma_tables::kBernoulliL[k];
  return ((z - 0.5L) * own_logl(z) - z) + (lgamma_tables::kHalfLog2PiL + s * iz);
}

// lgamma x = stirling(z) - log p with z = x + n >= 16 and p = x (x + 1) ... (x + n - 1); p is
// returned (1 when n = 0) so that the reflection can fold log p into its own logarithm.
ld stirling_shifted(ld x, ld &p) {
  p = 1.0L;
  if (x >= 16.0L) return stirling(x, 12);
  ld z = x + 1.0L;
  p = x;
  while (z < 16.0L) {
    p *= z;
    z += 1.0L;
  }
  return stirling(z, 12);
}

ld own_lgamma_pos(ld x) {
  ld p;
  const ld s = stirling_shifted(x, p);
  return s - own_logl(p);
}

// The single twin: eight suffices as the start of the series for a single result (7 terms:
// truncation below 10^-13 of the result).
ld stirlingf_shifted(ld x, ld &p) {
  p = 1.0L;
  if (x >= 8.0L) return stirling(x, 7);
  const int n = int(own_ceilf(8.0f - float(x)));
  ld z = x + 1.0L;
  p = x;
  for (int k = 1; k < n; ++k) {
    p *= z;
    z += 1.0L;
  }
  return stirling(z, 7);
}

ld own_lgammaf_pos(ld x) {
  ld p;
  const ld s = stirlingf_shifted(x, p);
  return s - own_log(p);
}

bool denormals_are_zero() { return (_mm_getcsr() & 0x40u) != 0; }

}  // namespace

int vdlgamma_cout_rare(const double *in, double *out) {
  double x = *in * 1.0;  // quiets a signalling NaN
  if (x != x) {
    *out = x + x;
    return 0;
  }
  if (__builtin_isinf(x)) {
    *out = __builtin_inf();
    return 0;
  }
  if (__builtin_fabs(x) < 0x1p-1022 && denormals_are_zero()) x = 0.0;
  if (x == 0.0) {
    *out = __builtin_inf();
    return kStatusSingularity;
  }
  const X87ControlScope x87(X87ControlScope::kExtended);
  ld y;
  if (x > 0) {
    y = own_lgamma_pos(x);
  } else {
    const ld t = -ld(x);
    const ld f = t - own_nearbyintl(t);
    if (f == 0) {
      *out = __builtin_inf();
      return kStatusSingularity;
    }
    // log(pi / |t sin(pi f)|) - lgamma t, with lgamma t = stirling(z) - log p: one logarithm
    ld p;
    const ld s = stirling_shifted(t, p);
    y = own_logl(pi_l() * p / __builtin_fabsl(t * sin_pi(f))) - s;
  }
  const double r = double(y);
  *out = r;
  return __builtin_isinf(r) ? kStatusOverflow : 0;
}

int vslgamma_cout_rare(const float *in, float *out) {
  float x = *in * 1.0f;
  if (x != x) {
    *out = x + x;
    return 0;
  }
  if (__builtin_isinf(x)) {
    *out = __builtin_inff();
    return 0;
  }
  if (__builtin_fabsf(x) < 0x1p-126f && denormals_are_zero()) x = 0.0f;
  if (x == 0.0f) {
    *out = __builtin_inff();
    return kStatusSingularity;
  }
  const X87ControlScope x87(X87ControlScope::kExtended);
  ld y;
  if (x > 0) {
    y = own_lgammaf_pos(x);
  } else {
    const float t = -x;
    const float f = t - own_nearbyintf(t);  // exact
    if (f == 0) {
      *out = __builtin_inff();
      return kStatusSingularity;
    }
    ld p;
    const ld s = stirlingf_shifted(t, p);
    y = own_log(pi_l() * p / __builtin_fabsl(ld(t) * sin_pi(f))) - s;
  }
  const float r = float(y);
  *out = r;
  return __builtin_isinf(r) ? kStatusOverflow : 0;
}

}  // namespace hpk::vmk::lgamma
