// Scalar peers of the ErfInv kernels (the C library has no erfinv), shared by the report and
// the benchmarks, and the start of the MPFR reference's Newton iteration.
//   erfinv_poly    a published single-precision-style approximation in w = -log(1 - x^2):
//                  two polynomials of 9 coefficients (w < 5 in w - 2.5, else in sqrt(w) - 3),
//                  relative error about 4e-7 (|x| < 1 - 2^-24; it degrades closer to 1);
//   erfinv_newton  that start refined by two Newton steps on the C library's erf (erfc for
//                  |x| > 0.5, against 1 - |x|, so the tail keeps its accuracy).
#pragma once

#include <cmath>

namespace hpk::oracle {

// In the arithmetic of T: double for the report and the Newton start, float as published.
template <class T>
inline T erfinv_poly_in(T x) {
  T w = -std::log((T(1) - x) * (T(1) + x)), p;
  if (w < T(5)) {
    w = w - T(2.5);
    p = T(2.81022636e-08);
    p = T(3.43273939e-07) + p * w;
    p = T(-3.5233877e-06) + p * w;
    p = T(-4.39150654e-06) + p * w;
    p = T(0.00021858087) + p * w;
    p = T(-0.00125372503) + p * w;
    p = T(-0.00417768164) + p * w;
    p = T(0.246640727) + p * w;
    p = T(1.50140941) + p * w;
  } else {
    w = std::sqrt(w) - T(3);
    p = T(-0.000200214257);
    p = T(0.000100950558) + p * w;
    p = T(0.00134934322) + p * w;
    p = T(-0.00367342844) + p * w;
    p = T(0.00573950773) + p * w;
    p = T(-0.0076224613) + p * w;
    p = T(0.00943887047) + p * w;
    p = T(1.00167406) + p * w;
    p = T(2.83297682) + p * w;
  }
  return p * x;
}

inline double erfinv_poly(double x) { return erfinv_poly_in<double>(x); }
inline float erfinv_polyf(float x) { return erfinv_poly_in<float>(x); }

inline double erfinv_newton(double x) {
  const double a = std::fabs(x);
  if (!(a < 1.0)) return a == 1.0 ? std::copysign(HUGE_VAL, x) : std::nan("");
  double y = erfinv_poly(a);
  for (int k = 0; k < 2; ++k) {
    const double f = a > 0.5 ? std::erfc(y) - (1.0 - a) : std::erf(y) - a;
    y -= f * 0.886226925452758 * std::exp(y * y) * (a > 0.5 ? -1.0 : 1.0);
  }
  return std::copysign(y, x);
}

}  // namespace hpk::oracle
