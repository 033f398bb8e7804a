// Complex inverse trigonometric and hyperbolic functions of one element in 80-bit extended
// arithmetic (x87, 64-bit precision set by the caller's X87ControlScope(kExtended)).
//
// Asin family, for X = |x|, Y = |y| (the signs follow from asin(conj z) = conj asin z and
// asin(-z) = -asin z):
//   R = |z + 1|, S = |z - 1|, A = (R + S) / 2 >= 1, B = X / A <= 1
//   asin z = asin B + i ln(A + sqrt(A^2 - 1))
// asin B is taken as atan2(X, D) with D = sqrt(A^2 - X^2) = sqrt((A + X)(A - X)), and A - X,
// A - 1 are formed without cancellation from R - (X + 1) = Y^2 / (R + X + 1) and
// S - |X - 1| = Y^2 / (S + |X - 1|):
//   X <= 1:  2(A - X) = Y^2/(R + X + 1) + (S + (1 - X)),  2(A - 1) = Y^2/(R + X + 1) + Y^2/(S + (1 - X))
//   X >  1:  2(A - X) = Y^2/(R + X + 1) + Y^2/(S + (X - 1)),  2(A - 1) = Y^2/(R + X + 1) + (S + (X - 1))
// (every term is >= 0). The imaginary part is log1p(Am1 + sqrt(Am1 (A + 1))) for A < 3/2 and
// ln(A + sqrt(A^2 - 1)) above, where A^2 - 1 >= 5/4 does not cancel.
// The extended exponent range holds the square of any double (2^-2148 .. 2^2048), so no part
// needs scaling: tiny and huge elements go the same way (for |z| near 2^1024, A + sqrt(A^2 - 1)
// near 2^1025 is an extended value, and ln of it the ln 2 + ln |z| of the double forms).
// ln, log1p and atan2 are the extended core's (heap/lcore), each within 2^-62 relative.
// Each step rounds to 64 bits and none cancels, so D, A - 1 and A carry relative errors of a
// few 2^-64; atan2 of a perturbed ratio moves by at most the ratio's relative error (the
// factor t / ((1 + t^2) atan t) is at most 1), and log1p / ln by the same at most. Each part
// is within 2^-60 relative of its value before its single rounding to the element type.
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
#include "vmk/core/heap/lcore/lcore.hpp"

namespace hpk::vmk::celem {

inline constexpr long double kPiL = 0xc.90fdaa22168c235p-2L;  // pi to 64 bits

// The pieces of asin(X + iY), X, Y >= 0 finite: asin B = atan2(X, d), acosh A = im.
struct AsinPieces {
  long double d;   // sqrt(A^2 - X^2) >= 0
  long double im;  // ln(A + sqrt(A^2 - 1)) >= 0
};

inline AsinPieces asin_pieces(long double X, long double Y) {
  const long double xp1 = X + 1.0L, xm1 = X - 1.0L;  // exact next to 1
  const long double y2 = Y * Y;
  const long double R = __builtin_sqrtl(xp1 * xp1 + y2);
  const long double S = __builtin_sqrtl(xm1 * xm1 + y2);
  const long double A = 0.5L * (R + S);
  const long double r_part = y2 / (R + xp1);  // R - (X + 1)
  long double amx, am1;
  if (X <= 1.0L) {
    const long double s_out = S - xm1;  // S + (1 - X), 0 only at (1, 0)
    amx = 0.5L * (r_part + s_out);
    am1 = s_out > 0.0L ? 0.5L * (r_part + y2 / s_out) : 0.0L;
  } else {
    const long double s_in = S + xm1;  // > 0
    amx = 0.5L * (r_part + y2 / s_in);
    am1 = 0.5L * (r_part + s_in);
  }
  AsinPieces p;
  p.d = __builtin_sqrtl((A + X) * amx);
  p.im = A < 1.5L ? lcore::log1pl(am1 + __builtin_sqrtl(am1 * (A + 1.0L)))
                  : lcore::logl(A + __builtin_sqrtl(A * A - 1.0L));
  return p;
}

// atanh(X + iY) for X, Y >= 0 finite, (X, Y) != (1, 0): both parts >= 0.
inline void atanh_pieces(long double X, long double Y, long double &re, long double &im) {
  const long double omx = 1.0L - X;
  const long double y2 = Y * Y;
  re = 0.25L * lcore::log1pl(4.0L * X / (omx * omx + y2));
  im = 0.5L * lcore::atan2l(Y + Y, omx * (1.0L + X) - y2);
}

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

// The six functions of one element. The finite routes round each part once.
template <class R>
inline Parts<R> asin_element(R x, R y) {
  if (__builtin_expect(inverse_is_special(x, y), 0)) {
    // +-inf + i NaN: NaN + i inf, the imaginary sign unspecified; glibc's + taken.
    if (std::isinf(x) && std::isnan(y)) return {y, std::numeric_limits<R>::infinity()};
    const Parts<R> w = asinh_special(-y, x);  // asin z = -i asinh(iz)
    return {w.im, -w.re};
  }
  const long double X = std::fabs(x);
  const AsinPieces p = asin_pieces(X, std::fabs(y));
  return {std::copysign(R(lcore::atan2l(X, p.d)), x), std::copysign(R(p.im), y)};
}

template <class R>
inline Parts<R> asinh_element(R x, R y) {
  if (__builtin_expect(inverse_is_special(x, y), 0)) return asinh_special(x, y);
  const long double Y = std::fabs(y);
  const AsinPieces p = asin_pieces(Y, std::fabs(x));
  return {std::copysign(R(p.im), x), std::copysign(R(lcore::atan2l(Y, p.d)), y)};
}

template <class R>
inline Parts<R> acos_element(R x, R y) {
  if (__builtin_expect(inverse_is_special(x, y), 0)) return acos_special(x, y);
  const AsinPieces p = asin_pieces(std::fabs(x), std::fabs(y));
  return {R(lcore::atan2l(p.d, x)), -std::copysign(R(p.im), y)};
}

template <class R>
inline Parts<R> acosh_element(R x, R y) {
  if (__builtin_expect(inverse_is_special(x, y), 0)) return acosh_special(x, y);
  const AsinPieces p = asin_pieces(std::fabs(x), std::fabs(y));
  return {R(p.im), std::copysign(R(lcore::atan2l(p.d, x)), y)};
}

// The pole of atanh: (+-1, +-0).
template <class R>
inline bool atanh_pole(R x, R y) {
  return std::fabs(x) == R(1) && y == R(0);
}

template <class R>
inline Parts<R> atanh_element(R x, R y) {
  if (__builtin_expect(inverse_is_special(x, y), 0)) return atanh_special(x, y);
  if (__builtin_expect(atanh_pole(x, y), 0))
    return {std::copysign(std::numeric_limits<R>::infinity(), x), y};
  long double re, im;
  atanh_pieces(std::fabs(x), std::fabs(y), re, im);
  return {std::copysign(R(re), x), std::copysign(R(im), y)};
}

// atan z = -i atanh(iz), iz = -y + ix; its poles are +-i.
template <class R>
inline Parts<R> atan_element(R x, R y) {
  const Parts<R> w = atanh_element(-y, x);
  return {w.im, -w.re};
}

template <class R>
inline bool atan_pole(R x, R y) {
  return atanh_pole(y, x);
}

}  // namespace hpk::vmk::celem
