// Division and roots.
#include "cases_common.hpp"

namespace hpk::oracle {

namespace {
int ref_div(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_div(r, a, b, m); }
int ref_inv(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_ui_div(r, 1, a, m); }
int ref_sqrt(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_sqrt(r, a, m); }
int ref_invsqrt(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_rec_sqrt(r, a, m); }
int ref_cbrt(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_cbrt(r, a, m); }
// At the oracle's 256 bits the two roundings are far below a double's ulp.
int ref_invcbrt(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) {
  mpfr_cbrt(r, a, m);
  return mpfr_ui_div(r, 1, r, m);
}
}  // namespace

void add_divroot_cases(std::vector<Case> &out) {
  HPK_ORACLE_PAIR1(out, Cbrt, ref_cbrt, HPK_RANGES(kWholeS, kUnit), HPK_RANGES(kWholeD, kUnit), 1.0, "cbrt", std::cbrt(a));
  HPK_ORACLE_PAIR2(out, Div, ref_div, HPK_RANGES(kHalfS, kUnit), HPK_RANGES(kHalfD, kUnit), 0.5, "a/b", a / b);
  HPK_ORACLE_PAIR1(out, Inv, ref_inv, HPK_RANGES(kWholeS, kUnit), HPK_RANGES(kWholeD, kUnit), 0.5, "1/a", 1 / a);
  HPK_ORACLE_PAIR1(out, InvCbrt, ref_invcbrt, HPK_RANGES(kWholeS, kUnit), HPK_RANGES(kWholeD, kUnit), 1.0, "1/cbrt", 1 / std::cbrt(a));
  HPK_ORACLE_PAIR1(out, InvSqrt, ref_invsqrt, HPK_RANGES(kWholeS, kUnit), HPK_RANGES(kWholeD, kUnit), 1.0, "1/sqrt", 1 / std::sqrt(a));
  HPK_ORACLE_PAIR1(out, Sqrt, ref_sqrt, HPK_RANGES(kWholeS, kUnit), HPK_RANGES(kWholeD, kUnit), 1.0, "sqrt", std::sqrt(a));
}

}  // namespace hpk::oracle
