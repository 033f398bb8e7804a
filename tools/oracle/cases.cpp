// The vector functions measured by the report and the accuracy tests. A function joins the
// list when its kernel lands.
#include <cmath>
#include <limits>

#include "hpk/vmk.h"
#include "oracle.hpp"

namespace hpk::oracle {

namespace {

int ref_add(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_add(r, a, b, m); }
int ref_sub(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_sub(r, a, b, m); }
int ref_mul(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_mul(r, a, b, m); }
int ref_hypot(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_hypot(r, a, b, m); }
int ref_sqr(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_sqr(r, a, m); }
int ref_abs(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_abs(r, a, m); }
// The rounding family is exact: the reference is the integer itself (the sweep runs in the
// caller's default direction, to nearest, for NearbyInt and Rint).
int ref_ceil(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_ceil(r, a); }
int ref_floor(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_floor(r, a); }
int ref_trunc(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_trunc(r, a); }
int ref_round(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_round(r, a); }
int ref_rint(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) { return mpfr_rint(r, a, MPFR_RNDN); }
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

double add_d(double a, double b) { return a + b; }
float add_s(float a, float b) { return a + b; }
double mul_d(double a, double b) { return a * b; }
float mul_s(float a, float b) { return a * b; }
double sub_d(double a, double b) { return a - b; }
float sub_s(float a, float b) { return a - b; }
double sqr_d(double a) { return a * a; }
float sqr_s(float a) { return a * a; }
double hypot_d(double a, double b) { return std::hypot(a, b); }
float hypot_s(float a, float b) { return std::hypot(a, b); }
double fabs_d(double a) { return std::fabs(a); }
float fabs_s(float a) { return std::fabs(a); }
double ceil_d(double a) { return std::ceil(a); }
float ceil_s(float a) { return std::ceil(a); }
double floor_d(double a) { return std::floor(a); }
float floor_s(float a) { return std::floor(a); }
double trunc_d(double a) { return std::trunc(a); }
float trunc_s(float a) { return std::trunc(a); }
double round_d(double a) { return std::round(a); }
float round_s(float a) { return std::round(a); }
double nearbyint_d(double a) { return std::nearbyint(a); }
float nearbyint_s(float a) { return std::nearbyint(a); }
double rint_d(double a) { return std::rint(a); }
float rint_s(float a) { return std::rint(a); }
double div_d(double a, double b) { return a / b; }
float div_s(float a, float b) { return a / b; }
double inv_d(double a) { return 1.0 / a; }
float inv_s(float a) { return 1.0f / a; }
double sqrt_d(double a) { return std::sqrt(a); }
float sqrt_s(float a) { return std::sqrt(a); }
double invsqrt_d(double a) { return 1.0 / std::sqrt(a); }
float invsqrt_s(float a) { return 1.0f / std::sqrt(a); }
double cbrt_d(double a) { return std::cbrt(a); }
float cbrt_s(float a) { return std::cbrt(a); }
double invcbrt_d(double a) { return 1.0 / std::cbrt(a); }
float invcbrt_s(float a) { return 1.0f / std::cbrt(a); }

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kMaxD = std::numeric_limits<double>::max();
constexpr double kMinD = std::numeric_limits<double>::min();
constexpr double kTrueMinD = std::numeric_limits<double>::denorm_min();
constexpr float kMaxF = std::numeric_limits<float>::max();
constexpr float kMinF = std::numeric_limits<float>::min();
constexpr float kTrueMinF = std::numeric_limits<float>::denorm_min();

const std::vector<double> kSpecialsD = {0.0, -0.0, 1.0, -1.0, kTrueMinD, kMinD, kMaxD, -kMaxD,
                                        kInf, -kInf, 0x1p500, 0x1p-450, 0x1.fffffffffffffp499};
const std::vector<double> kSpecialsS = {0.0, -0.0, 1.0, -1.0, kTrueMinF, kMinF, kMaxF, -kMaxF,
                                        kInf, -kInf};

void *k(auto f) { return reinterpret_cast<void *>(f); }

std::vector<Case> make_cases() {
  const Range whole_d{kTrueMinD, kMaxD, true};
  const Range whole_s{kTrueMinF, kMaxF, true};
  const Range unit{0.5, 2.0, true};
  const Range half_d{0x1p-511, 0x1p511, true};  // products stay in range
  const Range half_s{0x1p-63, 0x1p63, true};
  const Range tiny_d{kTrueMinD, 0x1p-1000, true};  // denormal and near-denormal results
  const Range tiny_s{kTrueMinF, 0x1p-120, true};
  const Range frac_d{0x1p-2, 0x1p53, true};  // the binades where a fraction is cut
  const Range frac_s{0x1p-2, 0x1p24, true};
  return {
      {"sAbs", 's', 1, k(_vmksAbs_HA), ref_abs, nullptr, {whole_s}, kSpecialsS, 0.0, "fabsf", k(fabs_s)},
      {"dAbs", 'd', 1, k(_vmkdAbs_HA), ref_abs, nullptr, {whole_d}, kSpecialsD, 0.0, "fabs", k(fabs_d)},
      {"sAdd", 's', 2, k(_vmksAdd_HA), nullptr, ref_add, {whole_s, unit}, kSpecialsS, 0.5, "a+b", k(add_s)},
      {"dAdd", 'd', 2, k(_vmkdAdd_HA), nullptr, ref_add, {whole_d, unit}, kSpecialsD, 0.5, "a+b", k(add_d)},
      {"sCeil", 's', 1, k(_vmksCeil_HA), ref_ceil, nullptr, {whole_s, frac_s}, kSpecialsS, 0.0, "ceilf", k(ceil_s)},
      {"dCeil", 'd', 1, k(_vmkdCeil_HA), ref_ceil, nullptr, {whole_d, frac_d}, kSpecialsD, 0.0, "ceil", k(ceil_d)},
      {"sFloor", 's', 1, k(_vmksFloor_HA), ref_floor, nullptr, {whole_s, frac_s}, kSpecialsS, 0.0, "floorf", k(floor_s)},
      {"dFloor", 'd', 1, k(_vmkdFloor_HA), ref_floor, nullptr, {whole_d, frac_d}, kSpecialsD, 0.0, "floor", k(floor_d)},
      {"sHypot", 's', 2, k(_vmksHypot_HA), nullptr, ref_hypot, {whole_s, unit, half_s, tiny_s}, kSpecialsS, 1.0, "hypotf", k(hypot_s)},
      {"dHypot", 'd', 2, k(_vmkdHypot_HA), nullptr, ref_hypot, {whole_d, unit, half_d, tiny_d}, kSpecialsD, 1.0, "hypot", k(hypot_d)},
      {"sCbrt", 's', 1, k(_vmksCbrt_HA), ref_cbrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "cbrtf", k(cbrt_s)},
      {"dCbrt", 'd', 1, k(_vmkdCbrt_HA), ref_cbrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "cbrt", k(cbrt_d)},
      {"sDiv", 's', 2, k(_vmksDiv_HA), nullptr, ref_div, {half_s, unit}, kSpecialsS, 0.5, "a/b", k(div_s)},
      {"dDiv", 'd', 2, k(_vmkdDiv_HA), nullptr, ref_div, {half_d, unit}, kSpecialsD, 0.5, "a/b", k(div_d)},
      {"sInv", 's', 1, k(_vmksInv_HA), ref_inv, nullptr, {whole_s, unit}, kSpecialsS, 0.5, "1/a", k(inv_s)},
      {"dInv", 'd', 1, k(_vmkdInv_HA), ref_inv, nullptr, {whole_d, unit}, kSpecialsD, 0.5, "1/a", k(inv_d)},
      {"sInvCbrt", 's', 1, k(_vmksInvCbrt_HA), ref_invcbrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "1/cbrtf", k(invcbrt_s)},
      {"dInvCbrt", 'd', 1, k(_vmkdInvCbrt_HA), ref_invcbrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "1/cbrt", k(invcbrt_d)},
      {"sInvSqrt", 's', 1, k(_vmksInvSqrt_HA), ref_invsqrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "1/sqrtf", k(invsqrt_s)},
      {"dInvSqrt", 'd', 1, k(_vmkdInvSqrt_HA), ref_invsqrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "1/sqrt", k(invsqrt_d)},
      {"sMul", 's', 2, k(_vmksMul_HA), nullptr, ref_mul, {half_s, unit}, kSpecialsS, 0.5, "a*b", k(mul_s)},
      {"dMul", 'd', 2, k(_vmkdMul_HA), nullptr, ref_mul, {half_d, unit}, kSpecialsD, 0.5, "a*b", k(mul_d)},
      {"sNearbyInt", 's', 1, k(_vmksNearbyInt_HA), ref_rint, nullptr, {whole_s, frac_s}, kSpecialsS, 0.0, "nearbyintf", k(nearbyint_s)},
      {"dNearbyInt", 'd', 1, k(_vmkdNearbyInt_HA), ref_rint, nullptr, {whole_d, frac_d}, kSpecialsD, 0.0, "nearbyint", k(nearbyint_d)},
      {"sRint", 's', 1, k(_vmksRint_HA), ref_rint, nullptr, {whole_s, frac_s}, kSpecialsS, 0.0, "rintf", k(rint_s)},
      {"dRint", 'd', 1, k(_vmkdRint_HA), ref_rint, nullptr, {whole_d, frac_d}, kSpecialsD, 0.0, "rint", k(rint_d)},
      {"sRound", 's', 1, k(_vmksRound_HA), ref_round, nullptr, {whole_s, frac_s}, kSpecialsS, 0.0, "roundf", k(round_s)},
      {"dRound", 'd', 1, k(_vmkdRound_HA), ref_round, nullptr, {whole_d, frac_d}, kSpecialsD, 0.0, "round", k(round_d)},
      {"sSqr", 's', 1, k(_vmksSqr_HA), ref_sqr, nullptr, {half_s}, kSpecialsS, 0.5, "a*a", k(sqr_s)},
      {"dSqr", 'd', 1, k(_vmkdSqr_HA), ref_sqr, nullptr, {half_d}, kSpecialsD, 0.5, "a*a", k(sqr_d)},
      {"sSqrt", 's', 1, k(_vmksSqrt_HA), ref_sqrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "sqrtf", k(sqrt_s)},
      {"dSqrt", 'd', 1, k(_vmkdSqrt_HA), ref_sqrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "sqrt", k(sqrt_d)},
      {"sSub", 's', 2, k(_vmksSub_HA), nullptr, ref_sub, {whole_s, unit}, kSpecialsS, 0.5, "a-b", k(sub_s)},
      {"dSub", 'd', 2, k(_vmkdSub_HA), nullptr, ref_sub, {whole_d, unit}, kSpecialsD, 0.5, "a-b", k(sub_d)},
      {"sTrunc", 's', 1, k(_vmksTrunc_HA), ref_trunc, nullptr, {whole_s, frac_s}, kSpecialsS, 0.0, "truncf", k(trunc_s)},
      {"dTrunc", 'd', 1, k(_vmkdTrunc_HA), ref_trunc, nullptr, {whole_d, frac_d}, kSpecialsD, 0.0, "trunc", k(trunc_d)},
  };
}

}  // namespace

const std::vector<Case> &cases() {
  static const std::vector<Case> all = make_cases();
  return all;
}

}  // namespace hpk::oracle
