// The vector functions measured by the report and the accuracy tests, gathered from the
// families; a function joins when its kernel lands. Listed by name, single before double.
#include <algorithm>

#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

std::vector<Case> make_cases() {
  std::vector<Case> all;
  for (auto add : {
           add_arith_cases,
           add_rounding_cases,
           add_divroot_cases,
           add_explog_cases,
           add_trig_cases,
           add_hyperbolic_cases,
           add_power_cases,
           add_erf_cases,
           add_gamma_t_cases,
           add_cdfnorminv_cases,
           add_cdfnorm_cases,
           add_gamma_l_cases,
           add_erfinv_cases,
       })
    add(all);
  std::stable_sort(all.begin(), all.end(), [](const Case &x, const Case &y) {
    const int by_name = x.name.compare(1, std::string::npos, y.name, 1, std::string::npos);
    return by_name != 0 ? by_name < 0 : x.type == 's' && y.type == 'd';
  });
  return all;
}

}  // namespace

const std::vector<Case> &cases() {
  static const std::vector<Case> all = make_cases();
  return all;
}

}  // namespace hpk::oracle
