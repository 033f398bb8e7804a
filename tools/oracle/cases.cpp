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
int ref_div(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_div(r, a, b, m); }
int ref_inv(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_ui_div(r, 1, a, m); }
int ref_sqrt(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_sqrt(r, a, m); }
int ref_invsqrt(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_rec_sqrt(r, a, m); }
int ref_cbrt(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_cbrt(r, a, m); }
int ref_sin(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_sin(r, a, m); }
int ref_cos(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_cos(r, a, m); }
int ref_tan(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_tan(r, a, m); }
int ref_asin(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_asin(r, a, m); }
int ref_acos(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_acos(r, a, m); }
int ref_atan(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_atan(r, a, m); }
int ref_atan2(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_atan2(r, a, b, m); }
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
double div_d(double a, double b) { return a / b; }
float div_s(float a, float b) { return a / b; }
double inv_d(double a) { return 1.0 / a; }
float inv_s(float a) { return 1.0f / a; }
double sqrt_d(double a) { return std::sqrt(a); }
float sqrt_s(float a) { return std::sqrt(a); }
double invsqrt_d(double a) { return 1.0 / std::sqrt(a); }
float invsqrt_s(float a) { return 1.0f / std::sqrt(a); }
double cbrt_d(double a) { return std::cbrt(a); }
double sin_d(double a) { return std::sin(a); }
float sin_s(float a) { return std::sin(a); }
double cos_d(double a) { return std::cos(a); }
float cos_s(float a) { return std::cos(a); }
double tan_d(double a) { return std::tan(a); }
float tan_s(float a) { return std::tan(a); }
double asin_d(double a) { return std::asin(a); }
float asin_s(float a) { return std::asin(a); }
double acos_d(double a) { return std::acos(a); }
float acos_s(float a) { return std::acos(a); }
double atan_d(double a) { return std::atan(a); }
float atan_s(float a) { return std::atan(a); }
double atan2_d(double a, double b) { return std::atan2(a, b); }
float atan2_s(float a, float b) { return std::atan2(a, b); }
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
// Trigonometric arguments: the route switches (90112, 2^17, 2^23, 2^30), the largest doubles,
// and huge values where only a correct reduction gets the value right.
const std::vector<double> kTrigSpecialsD = {0.0, -0.0, kTrueMinD, kMinD, 0x1p-300, 90111.0, 90112.0,
                                            0x1p17, 0x1p23, 0x1p30, 0x1.fffffffffffffp29, 1e22, 1e300,
                                            kMaxD, -kMaxD, kInf, -kInf, 0x1.921fb54442d18p0};
const std::vector<double> kTrigSpecialsS = {0.0, -0.0, kTrueMinF, kMinF, 90111.0, 90112.0, 0x1p17,
                                            0x1p30, kMaxF, -kMaxF, kInf, -kInf, 0x1.921fb6p0};
const std::vector<double> kInvTrigSpecials = {0.0, -0.0, 1.0, -1.0, 0.5, -0.5, 0x1.0000000000001p-1,
                                              0x1.fffffffffffffp-1, 0x1.cp-2, 0x1.38p+1, 0x1p60,
                                              1.0000001, 2.0, kTrueMinD, kMaxD, kInf, -kInf};
const std::vector<double> kSpecialsS = {0.0, -0.0, 1.0, -1.0, kTrueMinF, kMinF, kMaxF, -kMaxF,
                                        kInf, -kInf};

void *k(auto f) { return reinterpret_cast<void *>(f); }

std::vector<Case> make_cases() {
  const Range whole_d{kTrueMinD, kMaxD, true};
  const Range whole_s{kTrueMinF, kMaxF, true};
  const Range unit{0.5, 2.0, true};
  const Range half_d{0x1p-511, 0x1p511, true};  // products stay in range
  const Range half_s{0x1p-63, 0x1p63, true};
  const Range common_trig{0x1p-8, 0x1p4, true};
  const Range main_trig{0x1p-30, 90112.0, true};
  const Range unit_ball{0x1p-60, 1.0, true};
  const Range upper_ball{0.5, 1.0, true};
  const Range atan_mid{0x1p-3, 0x1p3, true};
  return {
      {"sAbs", 's', 1, k(_vmksAbs_HA), ref_abs, nullptr, {whole_s}, kSpecialsS, 0.0, "fabsf", k(fabs_s)},
      {"dAbs", 'd', 1, k(_vmkdAbs_HA), ref_abs, nullptr, {whole_d}, kSpecialsD, 0.0, "fabs", k(fabs_d)},
      {"sAcos", 's', 1, k(_vmksAcos_HA), ref_acos, nullptr, {unit_ball, upper_ball}, kInvTrigSpecials, 1.0, "acosf", k(acos_s)},
      {"dAcos", 'd', 1, k(_vmkdAcos_HA), ref_acos, nullptr, {unit_ball, upper_ball}, kInvTrigSpecials, 1.0, "acos", k(acos_d)},
      {"sAdd", 's', 2, k(_vmksAdd_HA), nullptr, ref_add, {whole_s, unit}, kSpecialsS, 0.5, "a+b", k(add_s)},
      {"dAdd", 'd', 2, k(_vmkdAdd_HA), nullptr, ref_add, {whole_d, unit}, kSpecialsD, 0.5, "a+b", k(add_d)},
      {"sAsin", 's', 1, k(_vmksAsin_HA), ref_asin, nullptr, {unit_ball, upper_ball}, kInvTrigSpecials, 1.0, "asinf", k(asin_s)},
      {"dAsin", 'd', 1, k(_vmkdAsin_HA), ref_asin, nullptr, {unit_ball, upper_ball}, kInvTrigSpecials, 1.0, "asin", k(asin_d)},
      {"sAtan", 's', 1, k(_vmksAtan_HA), ref_atan, nullptr, {whole_s, atan_mid}, kInvTrigSpecials, 1.0, "atanf", k(atan_s)},
      {"dAtan", 'd', 1, k(_vmkdAtan_HA), ref_atan, nullptr, {whole_d, atan_mid}, kInvTrigSpecials, 1.0, "atan", k(atan_d)},
      {"sAtan2", 's', 2, k(_vmksAtan2_HA), nullptr, ref_atan2, {whole_s, atan_mid}, kSpecialsS, 1.0, "atan2f", k(atan2_s)},
      {"dAtan2", 'd', 2, k(_vmkdAtan2_HA), nullptr, ref_atan2, {whole_d, atan_mid}, kSpecialsD, 1.0, "atan2", k(atan2_d)},
      {"sCbrt", 's', 1, k(_vmksCbrt_HA), ref_cbrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "cbrtf", k(cbrt_s)},
      {"dCbrt", 'd', 1, k(_vmkdCbrt_HA), ref_cbrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "cbrt", k(cbrt_d)},
      {"sCos", 's', 1, k(_vmksCos_HA), ref_cos, nullptr, {whole_s, common_trig, main_trig}, kTrigSpecialsS, 1.0, "cosf", k(cos_s)},
      {"dCos", 'd', 1, k(_vmkdCos_HA), ref_cos, nullptr, {whole_d, common_trig, main_trig}, kTrigSpecialsD, 1.0, "cos", k(cos_d)},
      {"sDiv", 's', 2, k(_vmksDiv_HA), nullptr, ref_div, {half_s, unit}, kSpecialsS, 0.5, "a/b", k(div_s)},
      {"dDiv", 'd', 2, k(_vmkdDiv_HA), nullptr, ref_div, {half_d, unit}, kSpecialsD, 0.5, "a/b", k(div_d)},
      {"sHypot", 's', 2, k(_vmksHypot_HA), nullptr, ref_hypot, {whole_s, unit, half_s}, kSpecialsS, 1.0, "hypotf", k(hypot_s)},
      {"dHypot", 'd', 2, k(_vmkdHypot_HA), nullptr, ref_hypot, {whole_d, unit, half_d}, kSpecialsD, 1.0, "hypot", k(hypot_d)},
      {"sInv", 's', 1, k(_vmksInv_HA), ref_inv, nullptr, {whole_s, unit}, kSpecialsS, 0.5, "1/a", k(inv_s)},
      {"dInv", 'd', 1, k(_vmkdInv_HA), ref_inv, nullptr, {whole_d, unit}, kSpecialsD, 0.5, "1/a", k(inv_d)},
      {"sInvCbrt", 's', 1, k(_vmksInvCbrt_HA), ref_invcbrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "1/cbrtf", k(invcbrt_s)},
      {"dInvCbrt", 'd', 1, k(_vmkdInvCbrt_HA), ref_invcbrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "1/cbrt", k(invcbrt_d)},
      {"sInvSqrt", 's', 1, k(_vmksInvSqrt_HA), ref_invsqrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "1/sqrtf", k(invsqrt_s)},
      {"dInvSqrt", 'd', 1, k(_vmkdInvSqrt_HA), ref_invsqrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "1/sqrt", k(invsqrt_d)},
      {"sMul", 's', 2, k(_vmksMul_HA), nullptr, ref_mul, {half_s, unit}, kSpecialsS, 0.5, "a*b", k(mul_s)},
      {"dMul", 'd', 2, k(_vmkdMul_HA), nullptr, ref_mul, {half_d, unit}, kSpecialsD, 0.5, "a*b", k(mul_d)},
      {"sSin", 's', 1, k(_vmksSin_HA), ref_sin, nullptr, {whole_s, common_trig, main_trig}, kTrigSpecialsS, 1.0, "sinf", k(sin_s)},
      {"dSin", 'd', 1, k(_vmkdSin_HA), ref_sin, nullptr, {whole_d, common_trig, main_trig}, kTrigSpecialsD, 1.0, "sin", k(sin_d)},
      {"sSqr", 's', 1, k(_vmksSqr_HA), ref_sqr, nullptr, {half_s}, kSpecialsS, 0.5, "a*a", k(sqr_s)},
      {"dSqr", 'd', 1, k(_vmkdSqr_HA), ref_sqr, nullptr, {half_d}, kSpecialsD, 0.5, "a*a", k(sqr_d)},
      {"sSqrt", 's', 1, k(_vmksSqrt_HA), ref_sqrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "sqrtf", k(sqrt_s)},
      {"dSqrt", 'd', 1, k(_vmkdSqrt_HA), ref_sqrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "sqrt", k(sqrt_d)},
      {"sSub", 's', 2, k(_vmksSub_HA), nullptr, ref_sub, {whole_s, unit}, kSpecialsS, 0.5, "a-b", k(sub_s)},
      {"dSub", 'd', 2, k(_vmkdSub_HA), nullptr, ref_sub, {whole_d, unit}, kSpecialsD, 0.5, "a-b", k(sub_d)},
      {"sTan", 's', 1, k(_vmksTan_HA), ref_tan, nullptr, {whole_s, common_trig, main_trig}, kTrigSpecialsS, 1.0, "tanf", k(tan_s)},
      {"dTan", 'd', 1, k(_vmkdTan_HA), ref_tan, nullptr, {whole_d, common_trig, main_trig}, kTrigSpecialsD, 1.0, "tan", k(tan_d)},
  };
}

}  // namespace

const std::vector<Case> &cases() {
  static const std::vector<Case> all = make_cases();
  return all;
}

}  // namespace hpk::oracle
