// ErfInv: the MPFR reference (MPFR has no inverse error function: Newton's iteration on
// mpfr_erf, or on mpfr_erfc against 1 - |x| above 0.5, where 1 - |x| is exact) and the rows of
// the three levels of both types, with inputs sampled by the distance to 1 down to 2^-53.
#include <cstdint>
#include <cstring>

#include "cases_common.hpp"
#include "erfinv_peers.hpp"
#include "erfinv_ref.hpp"

namespace hpk::oracle {

int ref_erfinv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
  if (mpfr_nan_p(x) || mpfr_cmpabs_ui(x, 1) > 0) {
    mpfr_set_nan(r);
    return 0;
  }
  if (mpfr_zero_p(x)) return mpfr_set(r, x, rnd);
  if (mpfr_cmpabs_ui(x, 1) == 0) {
    mpfr_set_inf(r, mpfr_sgn(x));
    return 0;
  }
  const mpfr_prec_t prec = mpfr_get_prec(r) + 40;
  mpfr_t a, target, y, f, d, c;
  mpfr_inits2(prec, a, target, y, f, d, c, (mpfr_ptr)0);
  mpfr_abs(a, x, MPFR_RNDN);
  const bool tail = mpfr_cmp_d(a, 0.5) > 0;
  if (tail) mpfr_ui_sub(target, 1, a, MPFR_RNDN);  // exact at this precision
  else mpfr_set(target, a, MPFR_RNDN);
  // start: the single-style approximation (relative error about 4e-7) up to 1 - 2^-20; closer
  // to 1, y^2 = -log(sqrt(pi) y (1 - x)) from erfc y ~ e^(-y^2) / (y sqrt(pi)), by fixed point
  const double ad = mpfr_get_d(a, MPFR_RNDN);
  double y0 = ad < 1e-300 ? ad * 0.886226925452758 : erfinv_poly(ad);
  if (ad > 1.0 - 0x1p-20) {
    const double u = mpfr_get_d(target, MPFR_RNDN);
    y0 = 4.0;
    for (int k = 0; k < 30; ++k) y0 = std::sqrt(-std::log(1.7724538509055159 * y0 * u));
  }
  mpfr_set_d(y, y0, MPFR_RNDN);
  if (ad < 1e-300) mpfr_mul_d(y, a, 0.886226925452758, MPFR_RNDN);  // a can be denormal
  mpfr_const_pi(c, MPFR_RNDN);
  mpfr_sqrt(c, c, MPFR_RNDN);
  mpfr_div_2ui(c, c, 1, MPFR_RNDN);  // sqrt(pi)/2
  for (int k = 0; k < 40; ++k) {
    // f = F(y) - target, the step f / F'(y) = +-f sqrt(pi)/2 e^(y^2)
    if (tail) mpfr_erfc(f, y, MPFR_RNDN);
    else mpfr_erf(f, y, MPFR_RNDN);
    mpfr_sub(f, f, target, MPFR_RNDN);
    mpfr_sqr(d, y, MPFR_RNDN);
    mpfr_exp(d, d, MPFR_RNDN);
    mpfr_mul(d, d, c, MPFR_RNDN);
    mpfr_mul(d, d, f, MPFR_RNDN);
    if (tail) mpfr_add(y, y, d, MPFR_RNDN);
    else mpfr_sub(y, y, d, MPFR_RNDN);
    if (mpfr_zero_p(d) || mpfr_get_exp(d) < mpfr_get_exp(y) - prec + 8) break;
  }
  if (mpfr_sgn(x) < 0) mpfr_neg(y, y, MPFR_RNDN);
  const int inex = mpfr_set(r, y, rnd);
  mpfr_clears(a, target, y, f, d, c, (mpfr_ptr)0);
  return inex;
}

namespace {

// 1 - |x| over every binade from 2^-2 down to 2^-53 (eight points each), the route edge at 0.5,
// the rare bound 2^-35, and inputs outside the domain.
std::vector<double> erfinv_specials(int min_exp) {
  std::vector<double> out = {0.0, -0.0, 1.0, -1.0, 1.5, -2.0, kInf, -kInf, kTrueMinD, -kMinD,
                             0.5, -0x1.fffffffffffffp-2, 0x1p-35, 0x1.fffffffffffffp-36,
                             0x1.0000000000001p-35, 1e-20, 0.25, 0.75, 0.9, 0.99, 0.999};
  for (int e = 2; e <= min_exp; ++e)
    for (int j = 0; j < 8; ++j) {
      const double u = std::ldexp(1.0 + j / 8.0, -e);
      out.push_back(1.0 - u);
      out.push_back(u - 1.0);
    }
  return out;
}

void add_level(std::vector<Case> &out, const char *name, char type, void *kernel,
               std::vector<Range> ranges, std::vector<double> specials, double bound) {
  void *peer = type == 'd'
                   ? kernel_address(+[](double a) { return erfinv_newton(a); })
                   : kernel_address(+[](float a) { return float(erfinv_newton(a)); });
  out.push_back({name, type, 1, kernel, ref_erfinv, nullptr, std::move(ranges),
                 std::move(specials), bound, "erf Newton", peer, -0.99, 0.99});
}

}  // namespace

void add_erfinv_cases(std::vector<Case> &out) {
  const Range core{0x1p-35, 0x1.fffffffffffffp-1, true};
  const Range outer{0.5, 0x1.fffffffffffffp-1, true};
  const Range tiny_d{kTrueMinD, 0x1p-35, true};
  const Range core_s{0x1p-35, 0x1.fffffep-1, true};
  const Range outer_s{0.5, 0x1.fffffep-1, true};
  const Range tiny_s{kTrueMinF, 0x1p-35, true};
  std::vector<double> sd = erfinv_specials(53), ss;
  for (double v : erfinv_specials(24)) ss.push_back(double(float(v)));
  add_level(out, "dErfInv", 'd', kernel_address(_vmkdErfInv_HA), HPK_RANGES(core, outer, tiny_d),
            sd, 1.0);
  add_level(out, "dErfInv_EP", 'd', kernel_address(_vmkdErfInv_26),
            HPK_RANGES(core, outer, tiny_d), sd, 0x1p26);  // 26 correct bits
  add_level(out, "sErfInv", 's', kernel_address(_vmksErfInv_HA),
            HPK_RANGES(core_s, outer_s, tiny_s), ss, 1.0);
  add_level(out, "sErfInv_LA", 's', kernel_address(_vmksErfInv_21),
            HPK_RANGES(core_s, outer_s, tiny_s), ss, 4.0);
  add_level(out, "sErfInv_EP", 's', kernel_address(_vmksErfInv_11),
            HPK_RANGES(core_s, outer_s, tiny_s), ss, 0x1p12);  // 11 correct bits
}

}  // namespace hpk::oracle
