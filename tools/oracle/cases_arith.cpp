// Arithmetic members: IEEE operations (0.5 ulp) and Hypot.
#include "cases_common.hpp"

namespace hpk::oracle {

namespace {
int ref_add(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_add(r, a, b, m); }
int ref_sub(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_sub(r, a, b, m); }
int ref_mul(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_mul(r, a, b, m); }
int ref_hypot(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_hypot(r, a, b, m); }
int ref_sqr(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_sqr(r, a, m); }
int ref_abs(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_abs(r, a, m); }
}  // namespace

void add_arith_cases(std::vector<Case> &out) {
  HPK_ORACLE_PAIR1(out, Abs, ref_abs, HPK_RANGES(kWholeS), HPK_RANGES(kWholeD), 0.0, "fabs", std::fabs(a));
  HPK_ORACLE_PAIR2(out, Add, ref_add, HPK_RANGES(kWholeS, kUnit), HPK_RANGES(kWholeD, kUnit), 0.5, "a+b", a + b);
  HPK_ORACLE_PAIR2(out, Hypot, ref_hypot, HPK_RANGES(kWholeS, kUnit, kHalfS, kTinyS),
                   HPK_RANGES(kWholeD, kUnit, kHalfD, kTinyD), 1.0, "hypot", std::hypot(a, b));
  HPK_ORACLE_PAIR2(out, Mul, ref_mul, HPK_RANGES(kHalfS, kUnit), HPK_RANGES(kHalfD, kUnit), 0.5, "a*b", a * b);
  HPK_ORACLE_PAIR1(out, Sqr, ref_sqr, HPK_RANGES(kHalfS), HPK_RANGES(kHalfD), 0.5, "a*a", a * a);
  HPK_ORACLE_PAIR2(out, Sub, ref_sub, HPK_RANGES(kWholeS, kUnit), HPK_RANGES(kWholeD, kUnit), 0.5, "a-b", a - b);
}

}  // namespace hpk::oracle
