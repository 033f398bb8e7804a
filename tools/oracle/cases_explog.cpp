// Exponentials and logarithms, with the thresholds of the exponential's rare path and the
// numbers near 1 and -1 where the logarithms cancel.
#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

int ref_exp(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_exp(r, a, m); }
int ref_expm1(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_expm1(r, a, m); }
int ref_ln(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_log(r, a, m); }
int ref_log10(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_log10(r, a, m); }
int ref_log1p(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_log1p(r, a, m); }

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
const std::vector<float> kExpSpecialsS = {88.72283172607422f, 88.72283935546875f,
                                          -87.33654022216797f, -87.33654785156250f,
                                          -103.97207641601562f, -103.97208404541016f,
                                          -103.9720687866211f};

// The double specials rounded to single, with the single thresholds.
std::vector<double> as_single(const std::vector<double> &v) {
  std::vector<double> out;
  for (double d : v) out.push_back(double(float(d)));
  for (float f : kExpSpecialsS) out.push_back(f);
  return out;
}

}  // namespace

void add_explog_cases(std::vector<Case> &out) {
  const Range rexp_d{0x1p-60, 745.2, true};
  const Range rexp_s{0x1p-30, 104.0, true};
  const Range exp_core{0x1p-10, 2.0, true};
  const Range near1{0.5, 2.0, false};
  const Range at1{0x1.ff8p-1, 0x1.004p+0, false};  // rows 511, 512, 0, 1 around N = 0
  const Range rlog1p_d{0x1p-60, kMaxD, false};
  const Range rlog1p_s{0x1p-30, kMaxF, false};
  const Range pos_d{kTrueMinD, kMaxD, false};
  const Range pos_s{kTrueMinF, kMaxF, false};
  add_pair(out, "Exp", 1, kernel_address(_vmksExp_HA), kernel_address(_vmkdExp_HA), ref_exp, nullptr,
           {rexp_s, exp_core}, {rexp_d, exp_core}, as_single(kExpSpecialsD),
           kExpSpecialsD, 1.0, "exp", HPK_ORACLE_PEERS1(exp));
  add_pair(out, "Expm1", 1, kernel_address(_vmksExpm1_HA), kernel_address(_vmkdExpm1_HA), ref_expm1, nullptr,
           {rexp_s, exp_core}, {rexp_d, exp_core}, as_single(kExpSpecialsD),
           kExpSpecialsD, 1.0, "expm1", HPK_ORACLE_PEERS1(expm1));
  add_pair(out, "Ln", 1, kernel_address(_vmksLn_HA), kernel_address(_vmkdLn_HA), ref_ln, nullptr,
           {pos_s, near1, at1}, {pos_d, near1, at1}, as_single(kLogSpecialsD),
           kLogSpecialsD, 1.0, "log", HPK_ORACLE_PEERS1(log));
  add_pair(out, "Log10", 1, kernel_address(_vmksLog10_HA), kernel_address(_vmkdLog10_HA), ref_log10, nullptr,
           {pos_s, near1, at1}, {pos_d, near1, at1}, as_single(kLogSpecialsD),
           kLogSpecialsD, 1.0, "log10", HPK_ORACLE_PEERS1(log10));
  add_pair(out, "Log1p", 1, kernel_address(_vmksLog1p_HA), kernel_address(_vmkdLog1p_HA), ref_log1p, nullptr,
           {rlog1p_s, {0x1p-30, 1.0, true}}, {rlog1p_d, {0x1p-60, 1.0, true}},
           as_single(kLogSpecialsD), kLogSpecialsD, 1.0, "log1p", HPK_ORACLE_PEERS1(log1p));
}

}  // namespace hpk::oracle
