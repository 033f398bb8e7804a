// Special functions: Erfc over the whole range and its tail down to underflow (with the
// thresholds 26.5433 and 9.1945 and the route edges -6, 0.5, 26.5); Erf over the whole range, with the row edges of the double kernel (the
// eighths of a binade from 0.125 to 6), the tiny class below 2^-1015 and the saturation at 6.
#include <cstdint>
#include <cstring>

#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

int ref_erf(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_erf(r, a, m); }
int ref_erfc(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_erfc(r, a, m); }

std::vector<double> erf_specials() {
  std::vector<double> out = {0.0, -0.0, kTrueMinD, -kTrueMinD, kMinD, kMaxD, -kMaxD, kInf, -kInf,
                             0x1p-1015, 0x1.fffffffffffffp-1016, 0x1p-1074 * 3, 0x1p-1060,
                             6.0, 0x1.7ffffffffffffp+2, 5.9, 0.84375, 1e300};
  // every row edge and its lower neighbour
  for (int k = 0; k <= 45; ++k) {
    const uint64_t top = 0x3FC00000ull + uint64_t(k) * 0x20000;
    double e;
    const uint64_t b = top << 32;
    std::memcpy(&e, &b, sizeof e);
    out.push_back(e);
    out.push_back(std::nextafter(e, 0.0));
  }
  return out;
}

}  // namespace

void add_erf_cases(std::vector<Case> &out) {
  const Range core{0.01, 6.5, true};
  const Range small_d{0x1p-1022, 0.01, true};
  const Range small_s{0x1p-126, 0.01, true};
  std::vector<double> sd = erf_specials(), ss;
  for (double d : sd) ss.push_back(double(float(d)));
  add_pair(out, "Erf", 1, kernel_address(_vmksErf_HA), kernel_address(_vmkdErf_HA), ref_erf,
           nullptr, HPK_RANGES(core, small_s, kWholeS), HPK_RANGES(core, small_d, kTinyD, kWholeD),
           ss, sd, 1.0, "erf", kernel_address(+[](float a) { return std::erf(a); }),
           kernel_address(+[](double a) { return std::erf(a); }));

  const Range tail_d{0.5, 27.3, false}, tail_s{0.5, 10.0, false};
  const Range under_d{26.4, 27.3, false}, under_s{9.0, 10.5, false};  // into the denormals
  std::vector<double> cd = {0.0,  -0.0, kInf, -kInf, kTrueMinD, -6.0, -5.99, 0.5, 0x1.fffffffffffffp-2,
                            26.5, 0x1.a7fffffffffffp+4, 26.543258454250978, 26.54325845425098, 27.226017111108362, 27.22601711110837, 27.0, 27.2, 27.3, 28.0, 32.0,
                            40.0, 1e300, 9.19, 9.1945, 9.1946, 9.2, 9.1, 0x1.233334p+3, 1.0, -1.0, 3.0, 10.0};
  std::vector<double> cs;
  for (double d : cd) cs.push_back(double(float(d)));
  add_pair(out, "Erfc", 1, kernel_address(_vmksErfc_HA), kernel_address(_vmkdErfc_HA), ref_erfc,
           nullptr, HPK_RANGES(core, tail_s, under_s, kWholeS),
           HPK_RANGES(core, tail_d, under_d, kWholeD), cs, cd,
           1.0, "erfc", kernel_address(+[](float a) { return std::erfc(a); }),
           kernel_address(+[](double a) { return std::erfc(a); }));
}

}  // namespace hpk::oracle
