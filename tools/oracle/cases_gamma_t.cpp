// The gamma function: the shifted route (|x| < 10, both signs, down to the poles and to tiny
// arguments), Stirling's route up to overflow, and the reflection below -10 into the
// denormal results; the specials are the route edges, the thresholds of overflow and the
// integers where the result is a factorial or a pole.
#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

int ref_gamma(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_gamma(r, a, m); }

std::vector<double> gamma_specials() {
  std::vector<double> out = {0.0, -0.0, kInf, -kInf, kTrueMinD, -kTrueMinD, kMinD, -kMinD,
                             0x1p-1000, 0x1.fffffffffffffp-1001, 0x1p-1021, 0x1p-1024, 5.562684646268003e-309,
                             5.562684646268005e-309, 171.0, 0x1.5600000000001p+7,
                             171.62437695630272, 171.62437695630274, 172.0, 1e300, 10.0,
                             0x1.3ffffffffffffp+3, -10.0, -0x1.3ffffffffffffp+3,
                             -0x1.4000000000001p+3, -190.0, -189.9, -184.0, -183.9, -170.5,
                             -171.5, -177.5, -0.5, -1.5, -2.5, -9.5, 0.5, 1.5, -kMaxD,
                             -0x1p52, -0x1.fffffffffffffp+51, 35.0, 35.04, 35.05, 34.99,
                             -41.5, -42.5, -45.0, -45.1};
  for (int k = -12; k <= 30; ++k) out.push_back(double(k));
  // next to the poles: the factor nearest the pole is exact, so relative accuracy holds
  for (int k = 1; k <= 12; ++k) {
    out.push_back(std::nextafter(-double(k), 0.0));
    out.push_back(std::nextafter(-double(k), -kInf));
  }
  return out;
}

}  // namespace

void add_gamma_t_cases(std::vector<Case> &out) {
  const Range near0{0x1p-70, 1.0, true};
  const Range shifted{1.0, 10.0, true};
  const Range stirling_d{10.0, 171.7, false};
  const Range stirling_s{10.0, 35.1, false};
  const Range reflect_d{10.0, 186.0, true};
  const Range reflect_s{10.0, 46.0, true};
  std::vector<double> sd = gamma_specials(), ss;
  for (double d : sd) ss.push_back(double(float(d)));
  add_pair(out, "TGamma", 1, kernel_address(_vmksTGamma_HA), kernel_address(_vmkdTGamma_HA),
           ref_gamma, nullptr, HPK_RANGES(near0, shifted, stirling_s, reflect_s, kTinyS),
           HPK_RANGES(near0, shifted, stirling_d, reflect_d, kTinyD), ss, sd, 1.0, "tgamma",
           HPK_ORACLE_PEERS1(tgamma));
  set_timing(out, 0.5, 20.0);
}

}  // namespace hpk::oracle
