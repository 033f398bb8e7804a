// LGamma against mpfr_lgamma (log |Gamma x|): the positive range by route (tiny, small, the
// interval rows with the zeros at 1 and 2, Stirling up to overflow near 2.55e305 / 4.08e36)
// and the negative range above -2, where the result keeps away from zero, with the 1 ulp bound;
// below -2, where lgamma crosses zero twice between neighbouring poles, the rows "LGammaNeg"
// measure results under 1 in magnitude as an absolute error in ulps of 1.
#include <cstdint>
#include <cstring>

#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

int ref_lgamma(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) {
  int sign;
  return mpfr_lgamma(r, &sign, a, m);
}

std::vector<double> lgamma_specials() {
  std::vector<double> out = {0.0, -0.0, kTrueMinD, -kTrueMinD, kMinD, kMaxD, -kMaxD, kInf, -kInf,
                             1.0, 2.0, -1.0, -2.0, 3.0, 0.5, -0.5, 1.4616321449683622,
                             0x1p990, 0x1.fffffffffffffp989, 2.55e305, 2.56e305, 4.08e36, 4.09e36,
                             0x1p121, 0x1p-126, 0x1p-149, 1e300, -1e300, -0x1p52, -0x1.8p51,
                             -3.0 + 0x1p-40, -3.0 - 0x1p-40, -0x1p-1000, 170.5, 171.7};
  // route edges and their lower neighbours: the small rows, 0.25, the zero rows, 10
  for (double e : {1.0 / 16, 3.0 / 32, 0.125, 3.0 / 16, 0.25, 0.96875, 1.0625, 1.9375, 2.125, 8.0,
                   10.0})
    for (double s : {e, std::nextafter(e, 0.0)}) out.push_back(s);
  return out;
}

}  // namespace

void add_gamma_l_cases(std::vector<Case> &out) {
  const Range tiny_d{kTrueMinD, 0x1p-1000, false}, tiny_s{kTrueMinF, 0x1p-120, false};
  const Range small{0x1p-30, 0.25, false};
  const Range mid{0.25, 10.0, false};
  const Range zero1{0.97, 1.06, false}, zero2{1.94, 2.12, false};
  const Range large_d{10.0, 0x1p990, false}, large_s{10.0, 0x1p121, false};
  const Range whole_d{kTrueMinD, kMaxD, false}, whole_s{kTrueMinF, kMaxF, false};
  const Range neg_near{-kTrueMinD, -2.0, false}, neg_near_s{-kTrueMinF, -2.0, false};
  std::vector<double> sd = lgamma_specials(), ss;
  for (double d : sd) ss.push_back(double(float(d)));
  add_pair(out, "LGamma", 1, kernel_address(_vmksLGamma_HA), kernel_address(_vmkdLGamma_HA),
           ref_lgamma, nullptr,
           HPK_RANGES(tiny_s, small, mid, zero1, zero2, large_s, whole_s, neg_near_s),
           HPK_RANGES(tiny_d, small, mid, zero1, zero2, large_d, whole_d, neg_near), ss, sd, 1.0,
           "lgamma", kernel_address(+[](float a) { return std::lgamma(a); }),
           kernel_address(+[](double a) { return std::lgamma(a); }));
  set_timing(out, 0.05, 20.0);

  const Range neg_mid{-2.0, -40.0, false};
  const Range neg_far_d{-40.0, -0x1p52, false}, neg_far_s{-40.0, -0x1p23, false};
  // the two zeros between -3 and -2 and their neighbours
  std::vector<double> nd = {-2.4570247382208006, -2.7476826467274127}, ns;
  for (int k = 0; k < 2; ++k)
    for (double d : {std::nextafter(nd[k], 0.0), std::nextafter(nd[k], -3.0)}) nd.push_back(d);
  for (double d : nd) ns.push_back(double(float(d)));
  for (int n = 2; n < 40; ++n)
    for (double f : {0x1p-30, 0x1p-12, 0.1, 0.25, 0.5, 0.75, 0.9, 1 - 0x1p-12, 1 - 0x1p-30}) {
      nd.push_back(-(n + f));
      ns.push_back(double(float(-(n + f))));
    }
  add_pair(out, "LGammaNeg", 1, kernel_address(_vmksLGamma_HA), kernel_address(_vmkdLGamma_HA),
           ref_lgamma, nullptr, HPK_RANGES(neg_mid, neg_far_s), HPK_RANGES(neg_mid, neg_far_d), ns,
           nd, 4.0, "lgamma", kernel_address(+[](float a) { return std::lgamma(a); }),
           kernel_address(+[](double a) { return std::lgamma(a); }));
  set_timing(out, -20.0, -0.05);
  out[out.size() - 2].abs_floor = 1.0;
  out[out.size() - 1].abs_floor = 1.0;
}

}  // namespace hpk::oracle
