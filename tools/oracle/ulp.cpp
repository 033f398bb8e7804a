#include <cmath>
#include <limits>

#include "oracle.hpp"

namespace hpk::oracle {

namespace {

template <class T>
double ulp_error_t(T computed, const mpfr_t exact) {
  constexpr int kDigits = std::numeric_limits<T>::digits;
  constexpr int kMinExp = std::numeric_limits<T>::min_exponent;  // 2^(kMinExp-1) is the least normal
  if (mpfr_nan_p(exact)) return std::isnan(computed) ? 0.0 : HUGE_VAL;
  if (std::isnan(computed)) return HUGE_VAL;
  // An infinite result is right when the exact value rounds to it (overflow of the function).
  if (std::isinf(computed)) {
    T rounded;
    if constexpr (sizeof(T) == sizeof(float)) rounded = mpfr_get_flt(exact, MPFR_RNDN);
    else rounded = mpfr_get_d(exact, MPFR_RNDN);
    if (rounded == computed) return 0.0;
  }
  if (mpfr_inf_p(exact)) {
    if (std::isinf(computed) && (computed > 0) == (mpfr_sgn(exact) > 0)) return 0.0;
    // The exact value is infinite only for a pole or overflow of the function itself.
    return HUGE_VAL;
  }
  mpfr_t diff, unit;
  mpfr_inits2(320, diff, unit, (mpfr_ptr)0);
  // The ulp of the exact value in T: 2^(e - digits) with e its exponent (mpfr: x = m 2^e,
  // 0.5 <= m < 1), floored at the denormal spacing. Values beyond the largest finite T keep
  // the spacing of the top binade.
  long e = mpfr_zero_p(exact) ? kMinExp : mpfr_get_exp(exact);
  if (e < kMinExp) e = kMinExp;
  if (e > std::numeric_limits<T>::max_exponent) e = std::numeric_limits<T>::max_exponent;
  mpfr_set_ui_2exp(unit, 1, e - kDigits, MPFR_RNDN);
  if (std::isinf(computed)) {
    mpfr_clears(diff, unit, (mpfr_ptr)0);
    return HUGE_VAL;
  }
  mpfr_set_d(diff, double(computed), MPFR_RNDN);
  mpfr_sub(diff, diff, exact, MPFR_RNDN);
  mpfr_div(diff, diff, unit, MPFR_RNDN);
  const double r = std::fabs(mpfr_get_d(diff, MPFR_RNDN));
  mpfr_clears(diff, unit, (mpfr_ptr)0);
  return r;
}

}  // namespace

double ulp_error(double computed, const mpfr_t exact) { return ulp_error_t(computed, exact); }
double ulp_error(float computed, const mpfr_t exact) { return ulp_error_t(computed, exact); }

}  // namespace hpk::oracle
