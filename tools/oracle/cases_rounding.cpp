// The rounding family is exact: the reference is the integer itself (the sweep runs in the
// caller's default direction, to nearest, for NearbyInt and Rint). Modf has two results and is
// tested apart.
#include "cases_common.hpp"

namespace hpk::oracle {

namespace {
int ref_ceil(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_ceil(r, a); }
int ref_floor(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_floor(r, a); }
int ref_trunc(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_trunc(r, a); }
int ref_round(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_round(r, a); }
int ref_rint(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_rint(r, a, MPFR_RNDN); }

constexpr Range kFracD{0x1p-2, 0x1p53, true};  // the binades where a fraction is cut
constexpr Range kFracS{0x1p-2, 0x1p24, true};
}  // namespace

void add_rounding_cases(std::vector<Case> &out) {
  HPK_ORACLE_PAIR1(out, Ceil, ref_ceil, HPK_RANGES(kWholeS, kFracS), HPK_RANGES(kWholeD, kFracD), 0.0, "ceil", std::ceil(a));
  HPK_ORACLE_PAIR1(out, Floor, ref_floor, HPK_RANGES(kWholeS, kFracS), HPK_RANGES(kWholeD, kFracD), 0.0, "floor", std::floor(a));
  HPK_ORACLE_PAIR1(out, NearbyInt, ref_rint, HPK_RANGES(kWholeS, kFracS), HPK_RANGES(kWholeD, kFracD), 0.0, "nearbyint", std::nearbyint(a));
  HPK_ORACLE_PAIR1(out, Rint, ref_rint, HPK_RANGES(kWholeS, kFracS), HPK_RANGES(kWholeD, kFracD), 0.0, "rint", std::rint(a));
  HPK_ORACLE_PAIR1(out, Round, ref_round, HPK_RANGES(kWholeS, kFracS), HPK_RANGES(kWholeD, kFracD), 0.0, "round", std::round(a));
  HPK_ORACLE_PAIR1(out, Trunc, ref_trunc, HPK_RANGES(kWholeS, kFracS), HPK_RANGES(kWholeD, kFracD), 0.0, "trunc", std::trunc(a));
}

}  // namespace hpk::oracle
