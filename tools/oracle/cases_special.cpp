// Special functions: Erf over the whole range, with the row edges of the double kernel (the
// eighths of a binade from 0.125 to 6), the tiny class below 2^-1015 and the saturation at 6.
#include <cstdint>
#include <cstring>

#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

int ref_erf(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_erf(r, a, m); }

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

void add_special_cases(std::vector<Case> &out) {
  const Range core{0.01, 6.5, true};
  const Range small_d{0x1p-1022, 0.01, true};
  const Range small_s{0x1p-126, 0.01, true};
  std::vector<double> sd = erf_specials(), ss;
  for (double d : sd) ss.push_back(double(float(d)));
  add_pair(out, "Erf", 1, kernel_address(_vmksErf_HA), kernel_address(_vmkdErf_HA), ref_erf,
           nullptr, HPK_RANGES(core, small_s, kWholeS), HPK_RANGES(core, small_d, kTinyD, kWholeD),
           ss, sd, 1.0, "erf", kernel_address(+[](float a) { return std::erf(a); }),
           kernel_address(+[](double a) { return std::erf(a); }));
}

}  // namespace hpk::oracle
