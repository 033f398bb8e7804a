// CdfNormInv and ErfcInv. MPFR has no inverse, so the reference inverts mpfr_erfc by Newton:
// erfcinv(y) for 0 < y <= 1 starts from the 16-digit AS 241 value (or, where that is not a
// positive number, at sqrt(-ln y), right of the root since erfc x <= e^(-x^2); erfc is
// decreasing and convex there, so the iterates then rise monotonically to the root). They run
// at 128 bits until the step is below 2^-100 of x (the iterate is then good to the 128 bits),
// then one more step at 256 bits (quadratic: far below what an ulp error needs).
//   CdfNormInv(p) = -sqrt2 erfcinv(2p) for p <= 1/2, sqrt2 erfcinv(2 - 2p) above (exact in MPFR)
//   ErfcInv(y)    = erfcinv(y) for y <= 1, -erfcinv(2 - y) above.
// Ranges: the lower tails by binade down to the least denormal, the centre pieces, the upper
// tails next to 1 (or 2), the route edges and their neighbours.
#include <cmath>

#include "as241_peer.hpp"
#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

// x = erfcinv(y), 0 < y <= 1, into x (whose precision is kept).
void erfcinv_mpfr(mpfr_ptr x, mpfr_srcptr y) {
  const mpfr_prec_t out_prec = mpfr_get_prec(x);
  mpfr_t t, f, d, xx;
  mpfr_inits2(256, t, f, d, xx, (mpfr_ptr)0);
  mpfr_log(t, y, MPFR_RNDN);
  mpfr_neg(t, t, MPFR_RNDN);
  const double start = as241_erfcinv(mpfr_get_d(y, MPFR_RNDN));
  if (start > 0 && start < 40) mpfr_set_d(xx, start, MPFR_RNDN);
  else mpfr_sqrt(xx, t, MPFR_RNDN);
  if (mpfr_cmp_ui(y, 1) == 0) {  // y = 1
    mpfr_set_zero(x, 1);
    mpfr_clears(t, f, d, xx, (mpfr_ptr)0);
    return;
  }
  auto step = [&](mpfr_prec_t prec) {
    mpfr_prec_round(xx, prec, MPFR_RNDN);
    mpfr_set_prec(f, prec);
    mpfr_set_prec(d, prec);
    mpfr_set_prec(t, prec);
    mpfr_erfc(f, xx, MPFR_RNDN);
    mpfr_sub(f, f, y, MPFR_RNDN);           // erfc x - y
    mpfr_sqr(d, xx, MPFR_RNDN);
    mpfr_neg(d, d, MPFR_RNDN);
    mpfr_exp(d, d, MPFR_RNDN);              // e^(-x^2)
    mpfr_const_pi(t, MPFR_RNDN);
    mpfr_sqrt(t, t, MPFR_RNDN);
    mpfr_mul(f, f, t, MPFR_RNDN);
    mpfr_div(f, f, d, MPFR_RNDN);
    mpfr_div_2ui(f, f, 1, MPFR_RNDN);      // (erfc x - y) sqrt(pi) / (2 e^(-x^2)) = -dx
    mpfr_add(xx, xx, f, MPFR_RNDN);
    // relative size of the step, as a binary exponent
    return mpfr_zero_p(f) ? -100000L : long(mpfr_get_exp(f)) - long(mpfr_get_exp(xx));
  };
  for (int k = 0; k < 200 && step(128) > -100; ++k) {
  }
  step(256);
  mpfr_set_prec(x, out_prec);
  mpfr_set(x, xx, MPFR_RNDN);
  mpfr_clears(t, f, d, xx, (mpfr_ptr)0);
}

// sign * scale * erfcinv(u), with u = y or 2 - y.
int ref_common(mpfr_ptr r, mpfr_srcptr y, bool scaled) {
  mpfr_t u, s;
  mpfr_inits2(mpfr_get_prec(y) + 4, u, (mpfr_ptr)0);
  mpfr_init2(s, 320);
  const bool upper = mpfr_cmp_ui(y, 1) > 0;
  if (upper) mpfr_ui_sub(u, 2, y, MPFR_RNDN);  // exact at this precision
  else mpfr_set(u, y, MPFR_RNDN);
  erfcinv_mpfr(s, u);
  if (scaled) {
    mpfr_t two;
    mpfr_init2(two, 320);
    mpfr_sqrt_ui(two, 2, MPFR_RNDN);
    mpfr_mul(s, s, two, MPFR_RNDN);
    mpfr_clear(two);
  }
  if (upper != scaled) mpfr_neg(s, s, MPFR_RNDN);  // CdfNormInv: negative below 1/2
  const int inex = mpfr_set(r, s, MPFR_RNDN);
  mpfr_clears(u, s, (mpfr_ptr)0);
  return inex;
}

// Outside the open domain: NaN, the poles, the default NaN.
bool ref_edge(mpfr_ptr r, mpfr_srcptr a, double top, int pole_sign) {
  if (mpfr_nan_p(a) || mpfr_cmp_d(a, 0.0) < 0 || mpfr_cmp_d(a, top) > 0) {
    mpfr_set_nan(r);
    return true;
  }
  if (mpfr_zero_p(a) || mpfr_cmp_d(a, top) == 0) {
    mpfr_set_inf(r, mpfr_zero_p(a) ? pole_sign : -pole_sign);
    return true;
  }
  return false;
}

int ref_cdfnorminv(mpfr_ptr r, mpfr_srcptr p, mpfr_rnd_t) {
  if (ref_edge(r, p, 1.0, -1)) return 0;
  mpfr_t y;
  mpfr_init2(y, mpfr_get_prec(p) + 2);
  mpfr_mul_2ui(y, p, 1, MPFR_RNDN);  // exact
  const int inex = ref_common(r, y, true);
  mpfr_clear(y);
  return inex;
}

int ref_erfcinv(mpfr_ptr r, mpfr_srcptr y, mpfr_rnd_t) {
  if (ref_edge(r, y, 2.0, 1)) return 0;
  return ref_common(r, y, false);
}

std::vector<double> with_neighbours(std::vector<double> v) {
  const size_t n = v.size();
  for (size_t i = 0; i < n; ++i) {
    v.push_back(std::nextafter(v[i], -kInf));
    v.push_back(std::nextafter(v[i], kInf));
  }
  return v;
}

std::vector<double> to_single(const std::vector<double> &v) {
  std::vector<double> out;
  for (double d : v) out.push_back(double(float(d)));
  return out;
}

}  // namespace

void add_cdfnorminv_cases(std::vector<Case> &out) {
  const std::vector<double> cd = with_neighbours(
      {0.0, 1.0, 0.5, 0.4375, 0.5625, 0x1p-7, 0.25, 0.75, kTrueMinD, kMinD, 0x1p-1073, 0x1p-54, 0.1, 0.9,
       0x1.fffffffffffffp-1, 1e-300, 1e-10});
  std::vector<double> cdx = cd;
  for (double v : {-0.0, -1.0, 2.0, kInf, -kInf, std::nan("")}) cdx.push_back(v);
  const Range lower_d{kTrueMinD, 0.5, false}, lower_s{kTrueMinF, 0.5, false};
  const Range centre{0.4375, 0.5625, false}, upper{0.5, 1.0, false};
  const Range near_one{0x1.ffffp-1, 0x1.fffffffffffffp-1, false};
  const Range near_one_s{0x1.ffffp-1, 0x1.fffffep-1, false};
  add_pair(out, "CdfNormInv", 1, kernel_address(_vmksCdfNormInv_HA),
           kernel_address(_vmkdCdfNormInv_HA), ref_cdfnorminv, nullptr,
           HPK_RANGES(lower_s, centre, upper, near_one_s),
           HPK_RANGES(lower_d, centre, upper, near_one), to_single(cdx), cdx, 1.0, "as241",
           kernel_address(+[](float a) { return float(as241(a)); }),
           kernel_address(+[](double a) { return as241(a); }));
  set_timing(out, 0.01, 0.99);

  std::vector<double> ed = with_neighbours(
      {0.0, 2.0, 1.0, 0.875, 1.125, 0x1p-6, 2 - 0x1p-6, 0.5, 1.5, kTrueMinD, kMinD, 0x1p-1073, 0x1p-53, 0.2, 1.8,
       0x1.fffffffffffffp+0, 1e-300, 1e-10});
  for (double v : {-0.0, -1.0, 3.0, kInf, -kInf, std::nan("")}) ed.push_back(v);
  const Range elower_d{kTrueMinD, 1.0, false}, elower_s{kTrueMinF, 1.0, false};
  const Range ecentre{0.875, 1.125, false}, eupper{1.0, 2.0, false};
  const Range near_two{0x1.ffffp+0, 0x1.fffffffffffffp+0, false};
  const Range near_two_s{0x1.ffffp+0, 0x1.fffffep+0, false};
  add_pair(out, "ErfcInv", 1, kernel_address(_vmksErfcInv_HA), kernel_address(_vmkdErfcInv_HA),
           ref_erfcinv, nullptr, HPK_RANGES(elower_s, ecentre, eupper, near_two_s),
           HPK_RANGES(elower_d, ecentre, eupper, near_two), to_single(ed), ed, 1.0, "as241",
           kernel_address(+[](float a) { return float(as241_erfcinv(a)); }),
           kernel_address(+[](double a) { return as241_erfcinv(a); }));
  set_timing(out, 0.02, 1.98);
}

}  // namespace hpk::oracle
