// The 80-bit extended scalar core, inline for the library's own callers (the exported entry
// points in lcore.cpp wrap these; a call to them from inside the library would go through the
// PLT). Everything runs on the x87 at 64-bit precision, round to nearest: the caller holds
// X87ControlScope(kExtended). u = 2^-64 is the unit roundoff; the bounds below are relative to
// the exact value and measured in tests/vmk/lcore_test.cpp.
//
// exp   x = (k/256) ln2 + r, k = round(256 x / ln2) (|k| < 2^23), ln2/256 = Hi + Lo with Hi
//       on 41 bits, so k Hi is exact and x - k Hi exact (Sterbenz); |r| <= ln2/512 + 2^-40.
//       e^x = 2^(k >> 8) (T_hi + (T_lo + T_hi p(r))), T = 2^((k & 255)/256), p the Taylor
//       expm1 of degree 6 (truncation 2^-69 relative): about u plus 2^-9 u.
// expm1 the same pieces as (2^K T_hi - 1) + 2^K (T_lo + T_hi p): the first difference is exact
//       for -1 <= K <= 62 and, for K <= -2, rounded without cancellation; at most a factor
//       two of cancellation between the terms (k = +-1), so below 2u + 2^-8 u.
// log   x = 2^e m, m in [1, 2), i = top 8 fraction bits, rcp = double_rcp[i] (9 bits); with m
//       cut at 32 bits, r = (m_hi rcp - 1) + m_lo rcp is a sum of two exact terms and its
//       rounding error dr is recovered exactly. ln x = (e Ln2Hi + L_hi) + (e Ln2Lo + L_lo +
//       r + r^2 Q(r) + dr), the first sum exact (2^-48 grid). |r| < 2^-8, Q Taylor to r^8
//       (truncation 2^-67 relative to r). Rows 0 and 255 make m near 1 and m near 2 with
//       e = -1 cancel exactly, so x near 1 keeps its relative accuracy.
// atan  |x| > 1 through pi/2 - atan(1/x); t in [0, 1]: atan t = atan(c) + atan(u),
//       c = k/128, u = (t - c)/(1 + t c), |u| <= 2^-8, Taylor to u^7 (2^-67 relative).
// sincos  reduction by pi/2 above pi/4 (trig::reduce_pio2_ld, a pair hi + lo), Taylor sin to
//       r^19 and cos to r^18 on |r| <= pi/4 (truncation 2^-68); the pair's lo enters to first
//       order. The quadrant picks the pair.
// sinhcosh  |x| > 23: e^|x| / 2 as M 2^(K-1), no overflow before the result's own;
//       otherwise from E = expm1|x|: sinh = (E + E/(E+1))/2, cosh = ((E+1) + 1/(E+1))/2,
//       sums of like-signed terms.
#pragma once

#include <cstdint>
#include <cstring>

#include "vmk/core/heap/lcore/lcore_tables.hpp"

namespace hpk::vmk::trig {
int reduce_pio2_ld(long double x, long double &hi, long double &lo);
}

namespace hpk::vmk::lcore {

using ld = long double;

// 2^k as an extended value, -16382 <= k <= 16383.
inline ld pow2(int k) {
  struct {
    uint64_t mant;
    uint16_t se;
  } b = {uint64_t(1) << 63, uint16_t(16383 + k)};
  ld p;
  std::memcpy(&p, &b, 10);
  return p;
}

// v 2^k with one rounding, |k| <= 32000 (two steps beyond the normal exponents, the first
// exact).
inline ld scale(ld v, int k) {
  if (k > 16000) {
    v *= pow2(16000);
    k -= 16000;
  } else if (k < -16000) {
    v *= pow2(-16000);
    k += 16000;
  }
  return v * pow2(k);
}

// 1.5 2^63: v + kShift rounds v to an integer (|v| < 2^62) that the significand then holds
// offset by 2^63 + 2^62.
inline constexpr ld kShift = 0x3p62L;

inline int64_t shifted_int(ld t) {
  uint64_t mant;
  std::memcpy(&mant, &t, 8);
  return int64_t(mant - 0xC000000000000000ull);
}

inline void two_sum(ld a, ld b, ld &s, ld &e) {
  s = a + b;
  const ld bb = s - a;
  e = (a - (s - bb)) + (b - bb);
}

struct ExpReduced {
  ld p;   // expm1(r)
  int j;  // table row
  int K;  // power of two
};

inline ExpReduced exp_reduce(ld x) {
  const ld t = x * k256oLn2 + kShift;
  const int64_t k = shifted_int(t);
  const ld kd = t - kShift;
  const ld r = (x - kd * kLn2o256Hi) - kd * kLn2o256Lo;
  const ld *c = kExpm1Poly;
  const ld p = r + r * r * (c[0] + r * (c[1] + r * (c[2] + r * (c[3] + r * c[4]))));
  return {p, int(k & 255), int(k >> 8)};
}

// e^x = M 2^K, M in [1 - 2^-9, 2).
inline ld exp_parts(ld x, int &K) {
  const ExpReduced e = exp_reduce(x);
  const ld th = hpk_vmk_core_expl_table_256[2 * e.j], tl = hpk_vmk_core_expl_table_256[2 * e.j + 1];
  K = e.K;
  return th + (tl + th * e.p);
}

inline ld expl(ld x) {
  int K;
  const ld m = exp_parts(x, K);
  return scale(m, K);
}

inline ld expm1l(ld x) {
  if (x > 43.0L) return expl(x) - 1.0L;  // K >= 62: the -1 is one rounding
  if (x < -46.0L) return -1.0L;          // e^x < 2^-66: -1 is the rounded value
  const ExpReduced e = exp_reduce(x);
  const ld th = hpk_vmk_core_expl_table_256[2 * e.j], tl = hpk_vmk_core_expl_table_256[2 * e.j + 1];
  const ld s = pow2(e.K);
  return (th * s - 1.0L) + (tl + th * e.p) * s;
}

// ln(1 + r) - r as r^2 Q(r), |r| < 2^-8.
inline ld log1p_tail(ld r) {
  const ld *c = kLog1pPoly;
  return r * r *
         (c[0] + r * (c[1] + r * (c[2] + r * (c[3] + r * (c[4] + r * (c[5] + r * c[6]))))));
}

// ln(2^e m) for m in [1, 2) given by its 64-bit significand (leading bit set).
inline ld log_parts(int e, uint64_t mant) {
  const int i = int(mant >> 55) & 0xFF;
  struct {
    uint64_t mant;
    uint16_t se;
  } b = {mant, 16383};
  ld m, mh;
  std::memcpy(&m, &b, 10);
  b.mant = mant & 0xFFFFFFFF00000000ull;
  std::memcpy(&mh, &b, 10);
  const ld rcp = hpk_vmk_core_double_rcp_table_256[i];
  const ld rh = mh * rcp - 1.0L;  // exact: 41 bits, within 2^-8 of 0
  const ld rl = (m - mh) * rcp;   // exact: 41 bits
  const ld r = rh + rl;
  const ld dr = (rh - r) + rl;    // exact: rh is a multiple of rl's ulp
  const ld ed = e;
  const ld s = ed * kLn2Hi + hpk_vmk_core_logl_table_256[2 * i];  // exact
  const ld lo = ed * kLn2Lo + hpk_vmk_core_logl_table_256[2 * i + 1];
  return s + (r + (log1p_tail(r) + (lo + dr)));
}

inline ld logl(ld x) {
  uint64_t mant;
  uint16_t se;
  std::memcpy(&mant, &x, 8);
  std::memcpy(&se, reinterpret_cast<const char *>(&x) + 8, 2);
  int e = int(se & 0x7FFF) - 16383;
  if ((se & 0x7FFF) == 0) {  // subnormal: normalise by 2^64 (exact)
    const ld y = x * 0x1p64L;
    std::memcpy(&mant, &y, 8);
    std::memcpy(&se, reinterpret_cast<const char *>(&y) + 8, 2);
    e = int(se & 0x7FFF) - 16383 - 64;
  }
  return log_parts(e, mant);
}

// ln(1 + x): |x| < 2^-8 by the polynomial on x itself; otherwise 1 + x = s + err exactly
// (TwoSum) and ln(s) + err / s, the correction first-order (|err/s| <= 2^-64).
inline ld log1pl(ld x) {
  if (__builtin_fabsl(x) < 0x1p-8L) return x + log1p_tail(x);
  ld s, err;
  two_sum(1.0L, x, s, err);
  return logl(s) + err / s;
}

// atan t for 0 <= t <= 1 as hi + lo (hi from the table, |lo| <= 2^-7).
inline void atan01(ld t, ld &hi, ld &lo) {
  int k = int(shifted_int(t * 128.0L + kShift));
  if (k > 127) k = 127;
  const ld c = ld(k) * 0x1p-7L;
  const ld u = (t - c) / (1.0L + t * c);  // t - c exact (Sterbenz, or c = 0)
  const ld u2 = u * u;
  const ld *a = kAtanPoly;
  hi = hpk_vmk_core_atanl_table_128[2 * k];
  lo = hpk_vmk_core_atanl_table_128[2 * k + 1] + (u + u * u2 * (a[0] + u2 * (a[1] + u2 * a[2])));
}

// pi/2 - (hi + lo) as a pair.
inline void pio2_minus(ld &hi, ld &lo) {
  ld s, e;
  two_sum(kPio2Hi, -hi, s, e);
  hi = s;
  lo = e + (kPio2Lo - lo);
}

inline ld atanl(ld x) {
  const ld a = __builtin_fabsl(x);
  ld hi, lo;
  if (a <= 1.0L) {
    atan01(a, hi, lo);
  } else {
    atan01(1.0L / a, hi, lo);
    pio2_minus(hi, lo);
  }
  const ld v = hi + lo;
  return x < 0 ? -v : v;
}

inline ld atan2l(ld y, ld x) {
  const ld ax = __builtin_fabsl(x), ay = __builtin_fabsl(y);
  ld hi, lo;
  if (ay <= ax) {
    atan01(ay / ax, hi, lo);
  } else {
    atan01(ax / ay, hi, lo);
    pio2_minus(hi, lo);
  }
  if (x < 0) {  // pi - angle
    ld s, e;
    two_sum(kPiHi, -hi, s, e);
    hi = s;
    lo = e + (kPiLo - lo);
  }
  const ld v = hi + lo;
  return __builtin_signbit(y) ? -v : v;
}

inline void sincosl(ld x, ld &s, ld &c) {
  ld hi = x, lo = 0.0L;
  int q = 0;
  if (!(__builtin_fabsl(x) < 0x1.921fb54442d18p-1L)) q = trig::reduce_pio2_ld(x, hi, lo);
  const ld r2 = hi * hi;
  const ld *sp = kSinPoly, *cp = kCosPoly;
  const ld ps =
      sp[0] +
      r2 * (sp[1] + r2 * (sp[2] + r2 * (sp[3] + r2 * (sp[4] + r2 * (sp[5] + r2 * (sp[6] + r2 * (sp[7] + r2 * sp[8])))))));
  const ld pc =
      cp[0] + r2 * (cp[1] + r2 * (cp[2] + r2 * (cp[3] + r2 * (cp[4] + r2 * (cp[5] + r2 * (cp[6] + r2 * cp[7]))))));
  const ld sv = hi + (hi * r2 * ps + (lo - lo * r2 * 0.5L));
  const ld h = r2 * 0.5L;
  const ld w = 1.0L - h;
  const ld we = (1.0L - w) - h;  // exact (Fast2Sum, 1 >= h)
  const ld cv = w + (we + (r2 * r2 * pc - hi * lo));
  switch (q & 3) {
    case 0: s = sv; c = cv; break;
    case 1: s = cv; c = -sv; break;
    case 2: s = -sv; c = -cv; break;
    default: s = -cv; c = sv; break;
  }
}

inline void sinhcoshl(ld x, ld &sh, ld &ch) {
  const ld a = __builtin_fabsl(x);
  if (a > 23.0L) {  // e^-2a < 2^-66 relative
    int K;
    const ld m = exp_parts(a, K);
    ch = scale(m, K - 1);
    sh = x < 0 ? -ch : ch;
    return;
  }
  const ld E = expm1l(a);
  const ld e1 = E + 1.0L;
  const ld v = 0.5L * (E + E / e1);
  sh = x < 0 ? -v : v;  // keeps -0
  ch = 0.5L * (e1 + 1.0L / e1);
}

}  // namespace hpk::vmk::lcore
