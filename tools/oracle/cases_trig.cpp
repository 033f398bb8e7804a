// Trigonometric functions and their inverses. SinCos has two results and is tested apart, bit
// for bit against Sin and Cos.
#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

int ref_sin(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_sin(r, a, m); }
int ref_cos(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_cos(r, a, m); }
int ref_tan(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_tan(r, a, m); }
int ref_asin(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_asin(r, a, m); }
int ref_acos(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_acos(r, a, m); }
int ref_atan(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_atan(r, a, m); }
int ref_atan2(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_atan2(r, a, b, m); }

// The route switches (90112, 2^17, 2^23, 2^30), the largest values, and huge arguments where
// only a correct reduction gets the value right.
const std::vector<double> kTrigSpecialsD = {0.0, -0.0, kTrueMinD, kMinD, 0x1p-300, 90111.0, 90112.0,
                                            0x1p17, 0x1p23, 0x1p30, 0x1.fffffffffffffp29, 1e22, 1e300,
                                            kMaxD, -kMaxD, kInf, -kInf, 0x1.921fb54442d18p0};
const std::vector<double> kTrigSpecialsS = {0.0, -0.0, kTrueMinF, kMinF, 90111.0, 90112.0, 0x1p17,
                                            0x1p30, kMaxF, -kMaxF, kInf, -kInf, 0x1.921fb6p0};
const std::vector<double> kInvTrigSpecials = {0.0, -0.0, 1.0, -1.0, 0.5, -0.5, 0x1.0000000000001p-1,
                                              0x1.fffffffffffffp-1, 0x1.cp-2, 0x1.38p+1, 0x1p60,
                                              1.0000001, 2.0, kTrueMinD, kMaxD, kInf, -kInf};

#define KERNELS(Fn) kernel_address(_vmks##Fn##_HA), kernel_address(_vmkd##Fn##_HA)

}  // namespace

void add_trig_cases(std::vector<Case> &out) {
  const Range common_trig{0x1p-8, 0x1p4, true};
  const Range main_trig{0x1p-30, 90112.0, true};
  const Range unit_ball{0x1p-60, 1.0, true};
  const Range upper_ball{0.5, 1.0, true};
  const Range atan_mid{0x1p-3, 0x1p3, true};
  const std::vector<Range> trig_s{kWholeS, common_trig, main_trig};
  const std::vector<Range> trig_d{kWholeD, common_trig, main_trig};
  add_pair(out, "Sin", 1, KERNELS(Sin), ref_sin, nullptr, trig_s, trig_d, kTrigSpecialsS,
           kTrigSpecialsD, 1.0, "sin", HPK_ORACLE_PEERS1(sin));
  add_pair(out, "Cos", 1, KERNELS(Cos), ref_cos, nullptr, trig_s, trig_d, kTrigSpecialsS,
           kTrigSpecialsD, 1.0, "cos", HPK_ORACLE_PEERS1(cos));
  add_pair(out, "Tan", 1, KERNELS(Tan), ref_tan, nullptr, trig_s, trig_d, kTrigSpecialsS,
           kTrigSpecialsD, 1.0, "tan", HPK_ORACLE_PEERS1(tan));
  add_pair(out, "Asin", 1, KERNELS(Asin), ref_asin, nullptr, {unit_ball, upper_ball},
           {unit_ball, upper_ball}, kInvTrigSpecials, kInvTrigSpecials, 1.0, "asin",
           HPK_ORACLE_PEERS1(asin));
  set_timing(out, 0.0625, 0.99);
  add_pair(out, "Acos", 1, KERNELS(Acos), ref_acos, nullptr, {unit_ball, upper_ball},
           {unit_ball, upper_ball}, kInvTrigSpecials, kInvTrigSpecials, 1.0, "acos",
           HPK_ORACLE_PEERS1(acos));
  set_timing(out, 0.0625, 0.99);
  add_pair(out, "Atan", 1, KERNELS(Atan), ref_atan, nullptr, {kWholeS, atan_mid},
           {kWholeD, atan_mid}, kInvTrigSpecials, kInvTrigSpecials, 1.0, "atan",
           HPK_ORACLE_PEERS1(atan));
  add_pair(out, "Atan2", 2, KERNELS(Atan2), nullptr, ref_atan2, {kWholeS, atan_mid},
           {kWholeD, atan_mid}, kSpecialsS, kSpecialsD, 1.0, "atan2", HPK_ORACLE_PEERS2(atan2));
}

}  // namespace hpk::oracle
