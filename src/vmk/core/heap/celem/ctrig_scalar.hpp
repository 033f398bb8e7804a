// Complex sine, cosine, tangent and their hyperbolic twins of one element, in 80-bit extended
// arithmetic (x87, 64-bit precision set by the caller's X87ControlScope(kExtended)).
//
// All six are built from four real factors of two real arguments: the hyperbolic argument h
// and the trigonometric argument t,
//   Sinh(x+iy) = sh(x) cs(y) + i ch(x) sn(y)        Sin(x+iy) = sn(x) ch(y) + i cs(x) sh(y)
//   Cosh(x+iy) = ch(x) cs(y) + i sh(x) sn(y)        Cos(x+iy) = cs(x) ch(y) - i sn(x) sh(y)
//   Tanh(x+iy) = (sh ch + i sn cs) / (sh^2 + cs^2), h = x, t = y
//   Tan(x+iy)  = (sn cs + i sh ch) / (sh^2 + cs^2), h = y, t = x
// (the Sin, Cos, Tan rows are Sinh, Cosh, Tanh at i z, turned back). The quotient form of Tanh
// is the usual (sinh 2x + i sin 2y) / (cosh 2x + cos 2y) with cosh^2 x - sin^2 y written as the
// sum of squares sinh^2 x + cos^2 y: no difference anywhere, so every part is a product or a
// quotient of factors that are each accurate relative to themselves.
//
// Factors:
//   sn, cs   the trig core's double-double pairs (sincos_ext), within about 2^-70 relative;
//            t = +-0 gives sn = t, cs = 1 exactly (the pair would lose the zero's sign).
//   sh, ch   |h| < 1/2: m = e^|h| - 1 = f2xm1(|h| log2 e) (relative 2^-63, no cancellation),
//            sh = m (m + 2) / (2 (m + 1)), ch = 1 + m^2 / (2 (m + 1));
//            otherwise E = e^|h| from exp_ext and scale (|h| clamped to 1500), sh = (E - 1/E)/2,
//            ch = (E + 1/E)/2, where the difference loses at most a factor coth(1/2) < 2.2.
//            sh takes the sign of h. Relative error below 2^-60 for both.
// The clamp: e^1500 times the smallest non-zero factor of a double (2^-1074) is still above
// the largest double, and e^-3000 below the smallest, so every part keeps its class and sign;
// the extended range (to 2^16383) holds sh^2 and sh ch without overflow. So a finite element
// gives an infinite part exactly where the rounded part overflows, and no scaling is needed.
// Each part is formed with at most four more roundings of 2^-64: its relative error stays
// below 2^-59 before the one rounding to the element type, 0.5 ulp + 2^-6 ulp in double.
//
// Non-finite elements follow the special values of the C complex functions for Sinh, Cosh and
// Tanh; Sin, Cos and Tan take them through Sin z = -i Sinh(iz), Cos z = Cosh(iz),
// Tan z = -i Tanh(iz).
#pragma once

#include <cmath>
#include <limits>

#include "vmk/core/heap/celem/exp_scalar.hpp"
#include "vmk/core/heap/celem/sqrt_scalar.hpp"

namespace hpk::vmk::celem {

enum class CTrig { kSin, kCos, kTan, kSinh, kCosh, kTanh };

constexpr bool is_circular(CTrig f) { return f == CTrig::kSin || f == CTrig::kCos || f == CTrig::kTan; }
constexpr bool is_quotient(CTrig f) { return f == CTrig::kTan || f == CTrig::kTanh; }

struct Factors {
  long double sh, ch, sn, cs;
};

// sin t and cos t with the sign of a zero t kept.
inline void sincos_signed(double t, long double &sn, long double &cs) {
  if (t == 0.0) {
    sn = t;
    cs = 1.0L;
    return;
  }
  sincos_ext(t, sn, cs);
}

// sinh h and cosh h, h finite.
inline void sinhcosh_ext(double h, long double &sh, long double &ch) {
  const double ah = __builtin_fabs(h);
  if (ah < 0.5) {
    long double m = (long double)ah * kLog2eL;
    __asm__("f2xm1" : "+t"(m));
    const long double r = 1.0L / (2.0L * (m + 1.0L));
    sh = m * (m + 2.0L) * r;
    ch = 1.0L + m * m * r;
  } else {
    int k;
    const long double m = exp_ext(ah, k);
    const long double e = scale(m, k);
    const long double inv = 1.0L / e;
    sh = (e - inv) * 0.5L;
    ch = (e + inv) * 0.5L;
  }
  if (std::signbit(h)) sh = -sh;
}

// The four factors of a finite element.
template <CTrig F>
inline Factors factors(double x, double y) {
  const double h = is_circular(F) ? y : x, t = is_circular(F) ? x : y;
  Factors f;
  sinhcosh_ext(h, f.sh, f.ch);
  sincos_signed(t, f.sn, f.cs);
  return f;
}

// The parts of a finite element, rounded once to R.
template <CTrig F, class R>
inline Parts<R> ctrig_finite(R x, R y) {
  const Factors f = factors<F>(double(x), double(y));
  if constexpr (F == CTrig::kSinh) return {R(f.sh * f.cs), R(f.ch * f.sn)};
  if constexpr (F == CTrig::kCosh) return {R(f.ch * f.cs), R(f.sh * f.sn)};
  if constexpr (F == CTrig::kSin) return {R(f.sn * f.ch), R(f.cs * f.sh)};
  if constexpr (F == CTrig::kCos) return {R(f.cs * f.ch), R(-(f.sn * f.sh))};
  if constexpr (is_quotient(F)) {
    const long double d = f.sh * f.sh + f.cs * f.cs;
    const long double hyp = f.sh * f.ch / d, circ = f.sn * f.cs / d;
    if constexpr (F == CTrig::kTanh) return {R(hyp), R(circ)};
    else return {R(circ), R(hyp)};
  }
}

// ---- non-finite elements -------------------------------------------------------------------

// The signs of cos y and sin y for finite y (+-0 for y = +-0 in the sine).
template <class R>
inline void trig_signs(R y, R &c, R &s) {
  long double sl, cl;
  sincos_signed(double(y), sl, cl);
  c = std::copysign(R(1), R(cl));
  s = y == R(0) ? y : std::copysign(R(1), R(sl));
}

// Sinh of an element with an infinite or NaN part.
template <class R>
Parts<R> sinh_special(R x, R y) {
  const R nan = std::numeric_limits<R>::quiet_NaN();
  if (std::isnan(x)) return {x, y == R(0) ? y : nan};
  if (std::isinf(x)) {
    if (y == R(0)) return {x, y};
    if (!std::isfinite(y)) return {std::fabs(x), y - y};  // inf + i NaN, the sign chosen +
    R c, s;
    trig_signs(y, c, s);
    return {x * c, std::fabs(x) * s};
  }
  // finite x, y infinite or NaN
  if (x == R(0)) return {x, y - y};
  return {nan, nan};
}

// Cosh of an element with an infinite or NaN part.
template <class R>
Parts<R> cosh_special(R x, R y) {
  const R nan = std::numeric_limits<R>::quiet_NaN();
  if (std::isnan(x)) return {x, y == R(0) ? y : nan};
  if (std::isinf(x)) {
    if (y == R(0)) return {std::fabs(x), std::copysign(R(0), x) * y};
    if (!std::isfinite(y)) return {std::fabs(x), y - y};
    R c, s;
    trig_signs(y, c, s);
    return {std::fabs(x) * c, x * s};
  }
  if (x == R(0)) return {y - y, R(0)};  // NaN + i0, the zero's sign chosen +
  return {nan, nan};
}

// Tanh of an element with an infinite or NaN part.
template <class R>
Parts<R> tanh_special(R x, R y) {
  const R nan = std::numeric_limits<R>::quiet_NaN();
  if (std::isinf(x)) {
    // +-1 + i 0 sin 2y: the sign of sin y cos y
    if (!std::isfinite(y) || y == R(0)) return {std::copysign(R(1), x), std::copysign(R(0), y)};
    R c, s;
    trig_signs(y, c, s);
    return {std::copysign(R(1), x), std::copysign(R(0), c * s)};
  }
  if (std::isnan(x)) return {x, y == R(0) ? y : nan};
  // finite x, y infinite or NaN: +-0 + i NaN on the imaginary axis (the current rule for a
  // zero real part), NaN + i NaN elsewhere
  if (x == R(0)) return {x, y - y};
  return {nan, nan};
}

template <CTrig F, class R>
[[gnu::noinline, gnu::cold]] Parts<R> ctrig_special(R x, R y) {
  // Sin z = -i Sinh(iz), Cos z = Cosh(iz), Tan z = -i Tanh(iz), with iz = -y + ix.
  if constexpr (F == CTrig::kSinh) return sinh_special(x, y);
  if constexpr (F == CTrig::kCosh) return cosh_special(x, y);
  if constexpr (F == CTrig::kTanh) return tanh_special(x, y);
  if constexpr (F == CTrig::kCos) return cosh_special(R(-y), x);
  if constexpr (F == CTrig::kSin) {
    const Parts<R> p = sinh_special(R(-y), x);
    // x + i inf with x infinite or NaN: NaN + i inf, the sign (unspecified) chosen +
    if (std::isinf(p.re) && std::isnan(p.im)) return {p.im, p.re};
    return {p.im, R(-p.re)};
  }
  if constexpr (F == CTrig::kTan) {
    const Parts<R> p = tanh_special(R(-y), x);
    return {p.im, R(-p.re)};
  }
}

template <CTrig F, class R>
inline Parts<R> ctrig_element(R x, R y) {
  if (__builtin_expect(!(std::isfinite(x) && std::isfinite(y)), 0)) return ctrig_special<F>(x, y);
  return ctrig_finite<F>(x, y);
}

// The status of an element from its argument and result: 0 for a NaN part in the argument,
// 1 (domain) for a NaN part in the result, 3 (overflow) for an infinite part from a finite
// argument, 0 otherwise.
template <class R>
inline int ctrig_status(R x, R y, Parts<R> p) {
  if (std::isnan(x) || std::isnan(y)) return 0;
  if (std::isnan(p.re) || std::isnan(p.im)) return 1;
  if (std::isfinite(x) && std::isfinite(y) && !(std::isfinite(p.re) && std::isfinite(p.im))) return 3;
  return 0;
}

}  // namespace hpk::vmk::celem
