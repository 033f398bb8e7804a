// CdfNorm, one row per kernel level and type: HA within 1 ulp, LA within 4, EP with 26 correct
// bits in double (2^26 ulp) and 11 in single (2^12 ulp). Sweeps over the central range, the
// negative tail to the edge of the main route (-37.5, single -12.5) and across the underflow
// cut into the denormals, with the cuts, the route edges and the row edges as specials.
#include <cmath>

#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

// erfc(-x / sqrt 2) / 2 at 128 bits: the quotient's rounding (2^-128 relative, amplified by
// x^2 < 2^11 in the tail) stays far below what an ulp measurement of a double needs, and MPFR's
// erfc is several times faster in the tail than at the oracle's 256 bits.
int ref_cdfnorm(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) {
  mpfr_t t, s;
  mpfr_inits2(128, t, s, (mpfr_ptr)0);
  mpfr_sqrt_ui(s, 2, MPFR_RNDN);
  mpfr_div(t, a, s, MPFR_RNDN);
  mpfr_neg(t, t, MPFR_RNDN);
  mpfr_erfc(t, t, MPFR_RNDN);
  const int inex = mpfr_div_2ui(r, t, 1, m);
  mpfr_clears(t, s, (mpfr_ptr)0);
  return inex;
}

std::vector<double> cdfnorm_specials() {
  std::vector<double> out = {0.0, -0.0, kInf, -kInf, kTrueMinD, -kTrueMinD, kMaxD, -kMaxD, 1e300,
                             -1e300, -37.5, std::nextafter(-37.5, 0.0), -37.51937934714449,
                             -37.519379347144494, -38.99, -39.0, -38.0, 8.3, 9.0, 37.5, 38.0,
                             -12.5, -12.499999, -12.949952701187202, -12.95, -14.0, -14.5, 1.0,
                             -1.0, 0x1p-30, -0x1p-30};
  // the row edges: t + 1/2 on eighths of a binade
  for (int e = -1; e <= 5; ++e)
    for (int m = 0; m < 8; ++m) {
      const double t = std::ldexp(1.0 + m / 8.0, e) - 0.5;
      if (t > 0 && t < 39.0) {
        out.push_back(-t);
        out.push_back(-std::nextafter(t, 0.0));
        if (t < 9.0) out.push_back(t);
      }
    }
  return out;
}

}  // namespace

void add_cdfnorm_cases(std::vector<Case> &out) {
  const Range core{0x1p-20, 9.0, true};
  const Range tail_d{-37.5, -9.0, false}, tail_s{-12.5, -9.0, false};
  const Range under_d{-38.9, -37.45, false}, under_s{-14.6, -12.4, false};
  std::vector<double> sd = cdfnorm_specials(), ss;
  for (double d : sd) ss.push_back(double(float(d)));
  auto peer_s = kernel_address(+[](float a) { return 0.5f * std::erfc(-a * float(M_SQRT1_2)); });
  auto peer_d = kernel_address(+[](double a) { return 0.5 * std::erfc(-a * M_SQRT1_2); });
  struct Level {
    const char *suffix;
    void *ks, *kd;
    double bound_s, bound_d;
  };
  const Level levels[] = {
      {"", kernel_address(_vmksCdfNorm_HA), kernel_address(_vmkdCdfNorm_HA), 1.0, 1.0},
      {"_LA", kernel_address(_vmksCdfNorm_21), kernel_address(_vmkdCdfNorm_50), 4.0, 4.0},
      {"_EP", kernel_address(_vmksCdfNorm_11), kernel_address(_vmkdCdfNorm_26), 0x1p12, 0x1p26},
  };
  for (const Level &l : levels) {
    const std::string fn = std::string("CdfNorm") + l.suffix;
    out.push_back({"s" + fn, 's', 1, l.ks, ref_cdfnorm, nullptr,
                   HPK_RANGES(core, tail_s, under_s, kWholeS), ss, l.bound_s, "0.5*erfcf(-x/sqrt2)",
                   peer_s});
    out.push_back({"d" + fn, 'd', 1, l.kd, ref_cdfnorm, nullptr,
                   HPK_RANGES(core, tail_d, under_d, kWholeD), sd, l.bound_d, "0.5*erfc(-x/sqrt2)",
                   peer_d});
    set_timing(out, -3.0, 3.0);
  }
}

}  // namespace hpk::oracle
