// Powers: Pow and Powx over operands near 1 (where every pair has a finite result of moderate
// size) and over the pairs of the specials (zeros, infinities, NaN, negative bases with integer
// and non-integer exponents, thresholds of overflow and underflow); Pow2o3 and Pow3o2 over the
// whole range. Powx is measured through a wrapper that calls it once per element, since its
// exponent is one value per call; its specials leave out 1/2, -1/2 and 1/3, whose own routes
// give the routed function's value (Sqrt's NaN at -inf, InvSqrt's -inf at -0, the real cube
// root of a negative base) where pow has another.
#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

int ref_pow(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t m) { return mpfr_pow(r, a, b, m); }
// |x|^(2/3) as the square of the real cube root, at the working precision of the sweep.
int ref_pow2o3(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) {
  mpfr_cbrt(r, a, m);
  return mpfr_sqr(r, r, m);
}
int ref_pow3o2(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) {
  if (mpfr_sgn(a) < 0) {
    mpfr_set_nan(r);
    return 0;
  }
  mpfr_sqrt(r, a, m);
  return mpfr_mul(r, r, a, m);
}

void powx_d(int n, const double *a, const double *b, double *y) {
  for (int i = 0; i < n; ++i) _vmkdPowx_HA(1, a + i, b[i], y + i);
}
void powx_s(int n, const float *a, const float *b, float *y) {
  for (int i = 0; i < n; ++i) _vmksPowx_HA(1, a + i, b[i], y + i);
}

const std::vector<double> kPowSpecials = {
    0.0,  -0.0, 1.0,  -1.0, 2.0,    -2.0,   0.5,  -0.5,   3.0,      -3.0,       kInf, -kInf,
    1e-3, 1e3,  -1e3, 1023, 1024.5, -1074.5, -1075, 1.0 / 3, kTrueMinD, kMinD, kMaxD, 0x1.0000000000001p+0,
    0x1.fffffffffffffp-1, 1e15, -1e15 + 1};
const std::vector<double> kSPowSpecials = {
    0.0,  -0.0, 1.0,  -1.0, 2.0,  -2.0,   0.5,  -0.5,   3.0,      -3.0,      kInf, -kInf,
    1e-3, 1e3,  -1e3, 127,  128.5, -149.5, -150, 1.0 / 3, kTrueMinF, kMinF, kMaxF, 0x1.000002p+0,
    0x1.fffffep-1, 16777215};

std::vector<double> without_routed(std::vector<double> v) {
  std::erase_if(v, [](double e) { return e == 0.5 || e == -0.5 || e == double(float(1.0 / 3)) || e == 1.0 / 3;
  });
  return v;
}

}  // namespace

void add_power_cases(std::vector<Case> &out) {
  const Range near1{0.5, 2.0, false};
  const Range wide{0x1p-6, 0x1p6, false};
  for (const char *fn : {"Pow", "Powx"}) {
    const bool x = fn[3] == 'x';
    out.push_back({std::string("s") + fn, 's', 2,
                   x ? kernel_address(powx_s) : kernel_address(_vmksPow_HA), nullptr, ref_pow,
                   {near1, wide}, x ? without_routed(kSPowSpecials) : kSPowSpecials, 1.0, "powf",
                   kernel_address(+[](float a, float b) { return std::pow(a, b); })});
    out.push_back({std::string("d") + fn, 'd', 2,
                   x ? kernel_address(powx_d) : kernel_address(_vmkdPow_HA), nullptr, ref_pow,
                   {near1, wide}, x ? without_routed(kPowSpecials) : kPowSpecials, 1.0, "pow",
                   kernel_address(+[](double a, double b) { return std::pow(a, b); })});
  }
  HPK_ORACLE_PAIR1(out, Pow2o3, ref_pow2o3, HPK_RANGES(kWholeS, kTinyS, kUnit),
                   HPK_RANGES(kWholeD, kTinyD, kUnit), 1.0, "cbrt(a)*cbrt(a)",
                   std::cbrt(a) * std::cbrt(a));
  HPK_ORACLE_PAIR1(out, Pow3o2, ref_pow3o2, HPK_RANGES(kWholeS, kTinyS, kUnit),
                   HPK_RANGES(kWholeD, kTinyD, kUnit), 1.0, "a*sqrt(a)", a * std::sqrt(a));
}

}  // namespace hpk::oracle
