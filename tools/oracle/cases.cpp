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
// At the oracle's 256 bits the two roundings are far below a double's ulp.
int ref_invcbrt(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) {
  mpfr_cbrt(r, a, m);
  return mpfr_ui_div(r, 1, r, m);
}

int ref_exp(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_exp(r, a, m); }
int ref_expm1(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_expm1(r, a, m); }
int ref_ln(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_log(r, a, m); }
int ref_log10(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_log10(r, a, m); }
int ref_log1p(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_log1p(r, a, m); }

double exp_d(double a) { return std::exp(a); }
float exp_s(float a) { return std::exp(a); }
double expm1_d(double a) { return std::expm1(a); }
float expm1_s(float a) { return std::expm1(a); }
double log_d(double a) { return std::log(a); }
float log_s(float a) { return std::log(a); }
double log10_d(double a) { return std::log10(a); }
float log10_s(float a) { return std::log10(a); }
double log1p_d(double a) { return std::log1p(a); }
float log1p_s(float a) { return std::log1p(a); }
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
// Thresholds of the exponential's rare path, their neighbours, and the numbers near 1 and -1
// where the logarithms cancel.
const std::vector<double> kExpSpecialsD = {
    0.0, -0.0, 1.0, -1.0, kTrueMinD, kInf, -kInf, 0x1.fffffffffffffp-55, 0x1p-54,
    -745.1332191019412, -745.1332191019411, -745.1332191019413, -708.3964185322642,
    -708.3964185322641, -708.3964185322643, 709.7827128933841, 709.782712893384,
    709.7827128933842, 709.7772976810359, 709.7772976810358, 709.777297681036, 708.3964185322641,
    708.39, -708.39, 40.0, -40.0, 0x1.62e42fefa39efp-8, -0x1.62e42fefa39efp-8};
const std::vector<double> kLogSpecialsD = {
    0.0, -0.0, 1.0, -1.0, kTrueMinD, kMinD, 0x1.fffffffffffffp-1023, kMaxD, kInf, -kInf,
    0x1.fffffffffffffp-1, 0x1.0000000000001p+0, 0.74951171875, 0x1.7fbffffffffffp-1,
    0x1.7fc0000000001p-1, 0.75, 0x1p-9, -0x1p-9, 0x1.fffffffffffffp-10, -0x1.fffffffffffffp-10,
    -0x1.fffffffffffffp-1, 0x1p-54, 0x1.fffffffffffffp-55, 0x1p53, 0x1p1000};
const std::vector<float> kExpSpecialsS_f = {88.72283172607422f, 88.72283935546875f,
                                            -87.33654022216797f, -87.33654785156250f,
                                            -103.97207641601562f, -103.97208404541016f, -103.9720687866211f};
const std::vector<double> kSpecialsS = {0.0, -0.0, 1.0, -1.0, kTrueMinF, kMinF, kMaxF, -kMaxF,
                                        kInf, -kInf};

void *k(auto f) { return reinterpret_cast<void *>(f); }

std::vector<double> with(std::vector<double> a, const std::vector<double> &b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}
std::vector<double> as_single(const std::vector<double> &v) {
  std::vector<double> out;
  for (double d : v) out.push_back(double(float(d)));
  for (float f : kExpSpecialsS_f) out.push_back(f);
  return out;
}

std::vector<Case> make_cases() {
  const Range whole_d{kTrueMinD, kMaxD, true};
  const Range whole_s{kTrueMinF, kMaxF, true};
  const Range unit{0.5, 2.0, true};
  const Range half_d{0x1p-511, 0x1p511, true};  // products stay in range
  const Range half_s{0x1p-63, 0x1p63, true};
  const Range rexp_d{0x1p-60, 745.2, true};
  const Range rexp_s{0x1p-30, 104.0, true};
  const Range exp_core{0x1p-10, 2.0, true};
  const Range near1{0.5, 2.0, false};
  const Range at1{0x1.ff8p-1, 0x1.004p+0, false};  // rows 511, 512, 0, 1 around N = 0
  const Range rlog1p_d{0x1p-60, kMaxD, false};
  const Range rlog1p_s{0x1p-30, kMaxF, false};
  const Range pos_d{kTrueMinD, kMaxD, false};
  const Range pos_s{kTrueMinF, kMaxF, false};
  return {
      {"sAbs", 's', 1, k(_vmksAbs_HA), ref_abs, nullptr, {whole_s}, kSpecialsS, 0.0, "fabsf", k(fabs_s)},
      {"dAbs", 'd', 1, k(_vmkdAbs_HA), ref_abs, nullptr, {whole_d}, kSpecialsD, 0.0, "fabs", k(fabs_d)},
      {"sAdd", 's', 2, k(_vmksAdd_HA), nullptr, ref_add, {whole_s, unit}, kSpecialsS, 0.5, "a+b", k(add_s)},
      {"dAdd", 'd', 2, k(_vmkdAdd_HA), nullptr, ref_add, {whole_d, unit}, kSpecialsD, 0.5, "a+b", k(add_d)},
      {"sCbrt", 's', 1, k(_vmksCbrt_HA), ref_cbrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "cbrtf", k(cbrt_s)},
      {"dCbrt", 'd', 1, k(_vmkdCbrt_HA), ref_cbrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "cbrt", k(cbrt_d)},
      {"sDiv", 's', 2, k(_vmksDiv_HA), nullptr, ref_div, {half_s, unit}, kSpecialsS, 0.5, "a/b", k(div_s)},
      {"dDiv", 'd', 2, k(_vmkdDiv_HA), nullptr, ref_div, {half_d, unit}, kSpecialsD, 0.5, "a/b", k(div_d)},
      {"sHypot", 's', 2, k(_vmksHypot_HA), nullptr, ref_hypot, {whole_s, unit, half_s}, kSpecialsS, 1.0, "hypotf", k(hypot_s)},
      {"sExp", 's', 1, k(_vmksExp_HA), ref_exp, nullptr, {rexp_s, exp_core}, as_single(kExpSpecialsD), 1.0, "expf", k(exp_s)},
      {"dExp", 'd', 1, k(_vmkdExp_HA), ref_exp, nullptr, {rexp_d, exp_core}, kExpSpecialsD, 1.0, "exp", k(exp_d)},
      {"sExpm1", 's', 1, k(_vmksExpm1_HA), ref_expm1, nullptr, {rexp_s, exp_core}, as_single(kExpSpecialsD), 1.0, "expm1f", k(expm1_s)},
      {"dExpm1", 'd', 1, k(_vmkdExpm1_HA), ref_expm1, nullptr, {rexp_d, exp_core}, kExpSpecialsD, 1.0, "expm1", k(expm1_d)},
      {"dHypot", 'd', 2, k(_vmkdHypot_HA), nullptr, ref_hypot, {whole_d, unit, half_d}, kSpecialsD, 1.0, "hypot", k(hypot_d)},
      {"sInv", 's', 1, k(_vmksInv_HA), ref_inv, nullptr, {whole_s, unit}, kSpecialsS, 0.5, "1/a", k(inv_s)},
      {"dInv", 'd', 1, k(_vmkdInv_HA), ref_inv, nullptr, {whole_d, unit}, kSpecialsD, 0.5, "1/a", k(inv_d)},
      {"sInvCbrt", 's', 1, k(_vmksInvCbrt_HA), ref_invcbrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "1/cbrtf", k(invcbrt_s)},
      {"dInvCbrt", 'd', 1, k(_vmkdInvCbrt_HA), ref_invcbrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "1/cbrt", k(invcbrt_d)},
      {"sInvSqrt", 's', 1, k(_vmksInvSqrt_HA), ref_invsqrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "1/sqrtf", k(invsqrt_s)},
      {"dInvSqrt", 'd', 1, k(_vmkdInvSqrt_HA), ref_invsqrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "1/sqrt", k(invsqrt_d)},
      {"sLn", 's', 1, k(_vmksLn_HA), ref_ln, nullptr, {pos_s, near1, at1}, as_single(kLogSpecialsD), 1.0, "logf", k(log_s)},
      {"dLn", 'd', 1, k(_vmkdLn_HA), ref_ln, nullptr, {pos_d, near1, at1}, kLogSpecialsD, 1.0, "log", k(log_d)},
      {"sLog10", 's', 1, k(_vmksLog10_HA), ref_log10, nullptr, {pos_s, near1, at1}, as_single(kLogSpecialsD), 1.0, "log10f", k(log10_s)},
      {"dLog10", 'd', 1, k(_vmkdLog10_HA), ref_log10, nullptr, {pos_d, near1, at1}, kLogSpecialsD, 1.0, "log10", k(log10_d)},
      {"sLog1p", 's', 1, k(_vmksLog1p_HA), ref_log1p, nullptr, {rlog1p_s, {0x1p-30, 1.0, true}}, as_single(kLogSpecialsD), 1.0, "log1pf", k(log1p_s)},
      {"dLog1p", 'd', 1, k(_vmkdLog1p_HA), ref_log1p, nullptr, {rlog1p_d, {0x1p-60, 1.0, true}}, kLogSpecialsD, 1.0, "log1p", k(log1p_d)},
      {"sMul", 's', 2, k(_vmksMul_HA), nullptr, ref_mul, {half_s, unit}, kSpecialsS, 0.5, "a*b", k(mul_s)},
      {"dMul", 'd', 2, k(_vmkdMul_HA), nullptr, ref_mul, {half_d, unit}, kSpecialsD, 0.5, "a*b", k(mul_d)},
      {"sSqr", 's', 1, k(_vmksSqr_HA), ref_sqr, nullptr, {half_s}, kSpecialsS, 0.5, "a*a", k(sqr_s)},
      {"dSqr", 'd', 1, k(_vmkdSqr_HA), ref_sqr, nullptr, {half_d}, kSpecialsD, 0.5, "a*a", k(sqr_d)},
      {"sSqrt", 's', 1, k(_vmksSqrt_HA), ref_sqrt, nullptr, {whole_s, unit}, kSpecialsS, 1.0, "sqrtf", k(sqrt_s)},
      {"dSqrt", 'd', 1, k(_vmkdSqrt_HA), ref_sqrt, nullptr, {whole_d, unit}, kSpecialsD, 1.0, "sqrt", k(sqrt_d)},
      {"sSub", 's', 2, k(_vmksSub_HA), nullptr, ref_sub, {whole_s, unit}, kSpecialsS, 0.5, "a-b", k(sub_s)},
      {"dSub", 'd', 2, k(_vmkdSub_HA), nullptr, ref_sub, {whole_d, unit}, kSpecialsD, 0.5, "a-b", k(sub_d)},
  };
}

}  // namespace

const std::vector<Case> &cases() {
  static const std::vector<Case> all = make_cases();
  return all;
}

}  // namespace hpk::oracle
