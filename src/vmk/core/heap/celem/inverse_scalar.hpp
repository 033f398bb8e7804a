// Complex inverse trigonometric and hyperbolic functions of one element: the algebra in 80-bit
// extended arithmetic (x87, 64-bit precision set by the caller's X87ControlScope(kExtended)),
// the final logarithm and arctangent in double lanes (heap/celem/inverse_array.hpp runs them on
// two elements at once).
//
// Asin family, for X = |x|, Y = |y| (the signs follow from asin(conj z) = conj asin z and
// asin(-z) = -asin z):
//   R = |z + 1|, S = |z - 1|, A = (R + S) / 2 >= 1, B = X / A <= 1
//   asin z = asin B + i ln(A + sqrt(A^2 - 1))
// asin B is taken as atan2(X, D) with D = sqrt(A^2 - X^2) = sqrt((A + X)(A - X)), and A - X,
// A - 1 are formed without cancellation from R - (X + 1) = Y^2 / (R + X + 1) and
// S - |X - 1| = Y^2 / (S + |X - 1|):
//   X <= 1:  2(A - X) = Y^2 / (R + X + 1) + (S + (1 - X))
//            2(A - 1) = Y^2 / (R + X + 1) + Y^2 / (S + (1 - X))
//   X >  1:  2(A - X) = Y^2 / (R + X + 1) + Y^2 / (S + (X - 1))
//            2(A - 1) = Y^2 / (R + X + 1) + (S + (X - 1))
// (every term is >= 0). The imaginary part is log1p(Am1 + sqrt(Am1 (A + 1))) for A < 3/2 and
// ln(A + sqrt(A^2 - 1)) above, where A^2 - 1 >= 5/4 does not cancel.
// The extended exponent range holds the square of any double (2^-2148 .. 2^2048), so no part
// needs scaling: tiny and huge elements go the same way (for |z| near 2^1024, A + sqrt(A^2 - 1)
// near 2^1025 is an extended value, and ln of it the ln 2 + ln |z| of the double forms).
// Each step rounds to 64 bits and none cancels, so D, A - 1 and A carry relative errors of a
// few 2^-64, and the arguments handed to the final functions as much; atan2 of a perturbed
// ratio moves by at most the ratio's relative error (the factor t / ((1 + t^2) atan t) is at
// most 1), log1p and ln by the same at most.
// The final functions (see LogIn and AtanIn): ln s = ln s_hi + c - c^2/2 with s_hi = s rounded
// to double and c = (s - s_hi) / s_hi, s - s_hi exact in extended (|c| <= 2^-53, s >= 2^1000
// scaled by 2^-1200 first), ln s_hi by the packed logarithm of the Ln kernel
// (ln/ln_core.hpp: its rounding plus a few 2^-10 ulp, relative also next to 1); atan2 as
// K + sigma atan t with t = min/max in [0, 1] split into t_hi + t_lo, atan by the packed
// core of the real inverse kernels (atan/inverse_core.hpp), its parts summed in extended
// (about 2^-57 relative). So a logarithmic part is within about 1.05 ulp of double, an angle
// within 0.57 ulp, and a single part, rounded once from the extended sum, within
// 0.5 ulp + 2^-28.
//   acos z = atan2(D, x) - i sign(y) ln(A + sqrt(A^2 - 1))       (D as above, x with its sign)
//   asinh z = -i asin(iz),  acosh z = ln(A + ...) + i sign(y) atan2(D, x)   (real part >= 0)
//
// Atanh, for X = |x|, Y = |y| (odd, and atanh(conj z) = conj atanh z):
//   atanh z = (1/4) log1p(4X / ((1 - X)^2 + Y^2)) + (i/2) atan2(2Y, (1 - X)(1 + X) - Y^2)
// The real part's denominator adds squares (1 - X exact in 64 bits next to 1), and again no
// square leaves the extended range. The imaginary part's second argument d cancels only next
// to the unit circle, where both its terms are about Y^2 <= 1: d is then off by a few
// 2^-64 Y^2 and far below 2Y, and the angle, whose slope in d is 2Y / (4Y^2 + d^2) <= 1/(2Y),
// near pi/2 and off by a few 2^-64 Y. (1, 0) is the pole: +inf + i0 with the zero's sign,
// status 2.
//   atan z = -i atanh(iz)
//
// Special values (an infinite or NaN part) as C99 Annex G gives them for casinh, cacos,
// cacosh, catanh, with casin z = -i casinh(iz) and catan z = -i catanh(iz); where a sign is
// left unspecified, the one glibc gives.
#pragma once

#include <cmath>
#include <limits>

#include "vmk/core/heap/celem/sqrt_scalar.hpp"

namespace hpk::vmk::celem {

using ld = long double;

inline constexpr ld kPiL = 0xc.90fdaa22168c235p-2L;   // pi to 64 bits
inline constexpr ld kLn2L = 0xb.17217f7d1cf79acp-4L;  // ln 2 to 64 bits

// ln s, staged for the packed logarithm: ln s = ln hi + log1p(lo / hi) + add, the quotient
// c = lo / hi (|c| <= 2^-53) taken in the lanes and log1p(c) as c - c^2/2.
struct LogIn {
  double hi;  // s (scaled) rounded to double, a positive normal
  double lo;  // s - hi, rounded to double (an error of 2^-106 relative to s)
  ld add;     // the scaling's 1200 ln 2, or 0
};

// s >= 1 finite.
inline LogIn log_stage(ld s) {
  ld k = 0.0L;
  if (s >= 0x1p1000L) {  // up to 2^2152 (atanh next to its pole): hi stays a double
    s *= 0x1p-1200L;
    k = 1200.0L * kLn2L;
  }
  const double hi = double(s);
  return {hi, double(s - hi), k};  // the difference is exact
}

// ln(1 + w), w >= 0 finite: the low part of 1 + w is recovered from w itself, so a w far
// below 1 keeps its relative accuracy.
inline LogIn log1p_stage(ld w) {
  if (w >= 0x1p62L) return log_stage(1.0L + w);
  const double hi = double(1.0L + w);
  return {hi, double((1.0L - hi) + w), 0.0L};  // 1 - hi exact (hi < 2^63)
}

// atan2(yy, xx), yy >= 0, not both 0, staged for the packed arctangent:
// angle = k + (neg ? -1 : 1) atan(t_hi + t_lo).
struct AtanIn {
  double t_hi, t_lo;  // t = min(yy, |xx|) / max(yy, |xx|) in [0, 1]
  ld k;               // 0, pi/2 or pi
  bool neg;
};

inline AtanIn atan2_stage(ld yy, ld xx) {
  const ld ax = __builtin_fabsl(xx);
  const bool swap = ax < yy, left = std::signbit(xx);
  const ld t = swap ? ax / yy : yy / ax;
  const double t_hi = double(t);
  return {t_hi, double(t - t_hi), swap ? 0.5L * kPiL : left ? kPiL : 0.0L, swap != left};
}

// The pieces of asin(X + iY), X, Y >= 0 finite: asin B = atan2(X, d), acosh A = ln of `ln`.
struct AsinPieces {
  ld d;       // sqrt(A^2 - X^2) > 0 unless X > 1 = Y + 1
  LogIn ln;   // A + sqrt(A^2 - 1)
};

inline AsinPieces asin_pieces(ld X, ld Y) {
  const ld xp1 = X + 1.0L, xm1 = X - 1.0L;  // exact next to 1
  const ld y2 = Y * Y;
  const ld R = __builtin_sqrtl(xp1 * xp1 + y2);
  const ld S = __builtin_sqrtl(xm1 * xm1 + y2);
  const ld A = 0.5L * (R + S);
  // One division for both quotients: Y^2 / den1 = Y^2 den2 inv and Y^2 / den2 = Y^2 den1 inv,
  // inv = 1 / (den1 den2) (two more roundings of 2^-64).
  const ld den1 = R + xp1;  // >= 1
  ld amx, am1;
  if (X <= 1.0L) {
    const ld s_out = S - xm1;  // S + (1 - X), 0 only at (1, 0)
    if (s_out > 0.0L) {
      const ld inv = 1.0L / (den1 * s_out);
      const ld r_part = y2 * s_out * inv;  // R - (X + 1)
      amx = 0.5L * (r_part + s_out);
      am1 = 0.5L * (r_part + y2 * den1 * inv);
    } else {
      amx = 0.0L;
      am1 = 0.0L;
    }
  } else {
    const ld s_in = S + xm1;  // > 0
    const ld inv = 1.0L / (den1 * s_in);
    const ld r_part = y2 * s_in * inv;
    amx = 0.5L * (r_part + y2 * den1 * inv);
    am1 = 0.5L * (r_part + s_in);
  }
  return {__builtin_sqrtl((A + X) * amx),
          A < 1.5L ? log1p_stage(am1 + __builtin_sqrtl(am1 * (A + 1.0L)))
                   : log_stage(A + __builtin_sqrtl(A * A - 1.0L))};
}

// What an element hands to the packed pass, and what comes back.
struct Staged {
  LogIn ln;
  AtanIn at;
};
inline constexpr Staged kIdleLane = {{1.0, 0.0, 0.0L}, {0.0, 0.0, 0.0L, false}};

template <class R>
inline bool inverse_is_special(R x, R y) {
  return !(std::isfinite(x) && std::isfinite(y));
}

template <class R>
inline R r_nan() {
  return std::numeric_limits<R>::quiet_NaN();
}
// q quarters of pi, rounded once from the extended value.
template <class R>
inline R quarter_pi(int q) {
  return R(kPiL * (0.25L * q));
}

// casinh with an infinite or NaN part.
template <class R>
[[gnu::noinline, gnu::cold]] Parts<R> asinh_special(R x, R y) {
  const R inf = std::numeric_limits<R>::infinity();
  if (std::isnan(x)) {
    if (y == R(0)) return {x, y};
    if (std::isinf(y)) return {inf, x};
    return {x, x + y};
  }
  if (std::isnan(y)) return std::isinf(x) ? Parts<R>{x, y} : Parts<R>{y, y};
  if (std::isinf(x)) return {x, std::copysign(std::isinf(y) ? quarter_pi<R>(1) : R(0), y)};
  return {std::copysign(inf, x), std::copysign(quarter_pi<R>(2), y)};  // y infinite
}

// catanh with an infinite or NaN part.
template <class R>
[[gnu::noinline, gnu::cold]] Parts<R> atanh_special(R x, R y) {
  if (std::isnan(x)) {
    if (std::isinf(y)) return {std::copysign(R(0), x), std::copysign(quarter_pi<R>(2), y)};
    return {x, x + y};
  }
  if (std::isnan(y)) {
    if (std::isinf(x) || x == R(0)) return {std::copysign(R(0), x), y};
    return {y, y};
  }
  return {std::copysign(R(0), x), std::copysign(quarter_pi<R>(2), y)};
}

// cacos with an infinite or NaN part.
template <class R>
[[gnu::noinline, gnu::cold]] Parts<R> acos_special(R x, R y) {
  const R inf = std::numeric_limits<R>::infinity();
  if (std::isnan(x)) return std::isinf(y) ? Parts<R>{x, -y} : Parts<R>{x, x + y};
  if (std::isnan(y)) {
    if (std::isinf(x)) return {y, -inf};
    return x == R(0) ? Parts<R>{quarter_pi<R>(2), y} : Parts<R>{y, y};
  }
  if (std::isinf(x)) {
    const R mag = std::isinf(y) ? quarter_pi<R>(x > 0 ? 1 : 3) : x > 0 ? R(0) : quarter_pi<R>(4);
    return {mag, std::copysign(inf, -y)};
  }
  return {quarter_pi<R>(2), -y};  // y infinite
}

// cacosh with an infinite or NaN part.
template <class R>
[[gnu::noinline, gnu::cold]] Parts<R> acosh_special(R x, R y) {
  const R inf = std::numeric_limits<R>::infinity();
  if (std::isnan(x)) return std::isinf(y) ? Parts<R>{inf, x} : Parts<R>{x, x + y};
  if (std::isnan(y)) {
    if (std::isinf(x)) return {inf, y};
    // +-0 + i NaN: NaN + i pi/2, i times cacos(+-0 + i NaN) = pi/2 + i NaN, as glibc gives it
    // (where Annex G's finite-x rule would give NaN + i NaN).
    return x == R(0) ? Parts<R>{y, quarter_pi<R>(2)} : Parts<R>{y, y};
  }
  if (std::isinf(x)) {
    const int q = std::isinf(y) ? (x > 0 ? 1 : 3) : (x > 0 ? 0 : 4);
    return {inf, std::copysign(quarter_pi<R>(q), y)};
  }
  return {inf, std::copysign(quarter_pi<R>(2), y)};  // y infinite
}


// The six functions: stage (finite element, not a pole) puts the element's final ln and
// atan2 arguments in the lanes; finish turns ln and angle into the parts, each rounded once;
// special gives the parts of an element with an infinite or NaN part, or at a pole.
template <class R>
struct AsinOp {
  static Staged stage(R x, R y) {
    const ld X = std::fabs(x);
    const AsinPieces p = asin_pieces(X, std::fabs(y));
    return {p.ln, atan2_stage(X, p.d)};
  }
  static Parts<R> finish(R x, R y, ld ln, ld angle) {
    return {std::copysign(R(angle), x), std::copysign(R(ln), y)};
  }
  static Parts<R> special(R x, R y) {
    // +-inf + i NaN: NaN + i inf, the imaginary sign unspecified; glibc's + taken.
    if (std::isinf(x) && std::isnan(y)) return {y, std::numeric_limits<R>::infinity()};
    const Parts<R> w = asinh_special(-y, x);  // asin z = -i asinh(iz)
    return {w.im, -w.re};
  }
  static constexpr bool kHasPole = false;
  static bool pole(R, R) { return false; }
};

template <class R>
struct AsinhOp {  // asinh z = -i asin(iz): the asin pieces of (|y|, |x|)
  static Staged stage(R x, R y) {
    const ld Y = std::fabs(y);
    const AsinPieces p = asin_pieces(Y, std::fabs(x));
    return {p.ln, atan2_stage(Y, p.d)};
  }
  static Parts<R> finish(R x, R y, ld ln, ld angle) {
    return {std::copysign(R(ln), x), std::copysign(R(angle), y)};
  }
  static Parts<R> special(R x, R y) { return asinh_special(x, y); }
  static constexpr bool kHasPole = false;
  static bool pole(R, R) { return false; }
};

template <class R>
struct AcosOp {
  static Staged stage(R x, R y) {
    const AsinPieces p = asin_pieces(std::fabs(x), std::fabs(y));
    return {p.ln, atan2_stage(p.d, x)};
  }
  static Parts<R> finish(R, R y, ld ln, ld angle) {
    return {R(angle), -std::copysign(R(ln), y)};
  }
  static Parts<R> special(R x, R y) { return acos_special(x, y); }
  static constexpr bool kHasPole = false;
  static bool pole(R, R) { return false; }
};

template <class R>
struct AcoshOp {  // the acos pieces; the real part >= 0, the imaginary part signed as y
  static Staged stage(R x, R y) { return AcosOp<R>::stage(x, y); }
  static Parts<R> finish(R, R y, ld ln, ld angle) {
    return {R(ln), std::copysign(R(angle), y)};
  }
  static Parts<R> special(R x, R y) { return acosh_special(x, y); }
  static constexpr bool kHasPole = false;
  static bool pole(R, R) { return false; }
};

template <class R>
struct AtanhOp {
  static Staged stage(R x, R y) {
    const ld X = std::fabs(x), Y = std::fabs(y);
    const ld omx = 1.0L - X;
    const ld y2 = Y * Y;
    return {log1p_stage(4.0L * X / (omx * omx + y2)), atan2_stage(Y + Y, omx * (1.0L + X) - y2)};
  }
  static Parts<R> finish(R x, R y, ld ln, ld angle) {
    return {std::copysign(R(0.25L * ln), x), std::copysign(R(0.5L * angle), y)};
  }
  static Parts<R> special(R x, R y) {
    if (pole(x, y)) return {std::copysign(std::numeric_limits<R>::infinity(), x), y};
    return atanh_special(x, y);
  }
  static constexpr bool kHasPole = true;
  static bool pole(R x, R y) { return std::fabs(x) == R(1) && y == R(0); }  // +-1 + i(+-0)
};

template <class R>
struct AtanOp {  // atan z = -i atanh(iz), iz = -y + ix; its poles are +-i
  static Staged stage(R x, R y) { return AtanhOp<R>::stage(y, x); }
  static Parts<R> finish(R x, R y, ld ln, ld angle) {
    return {std::copysign(R(0.5L * angle), x), std::copysign(R(0.25L * ln), y)};
  }
  static Parts<R> special(R x, R y) {
    const Parts<R> w = AtanhOp<R>::special(-y, x);
    return {w.im, -w.re};
  }
  static constexpr bool kHasPole = true;
  static bool pole(R x, R y) { return AtanhOp<R>::pole(y, x); }
};

}  // namespace hpk::vmk::celem
