// Shared pieces of the oracle's function list: input ranges, special values, and the macros
// that add the s and d rows of one function with their MPFR reference and C library peer.
#pragma once

#include <cctype>
#include <cmath>
#include <string>
#include <limits>
#include <utility>
#include <vector>

#include "hpk/vmk.h"
#include "oracle.hpp"

namespace hpk::oracle {

inline constexpr double kInf = std::numeric_limits<double>::infinity();
inline constexpr double kMaxD = std::numeric_limits<double>::max();
inline constexpr double kMinD = std::numeric_limits<double>::min();
inline constexpr double kTrueMinD = std::numeric_limits<double>::denorm_min();
inline constexpr float kMaxF = std::numeric_limits<float>::max();
inline constexpr float kMinF = std::numeric_limits<float>::min();
inline constexpr float kTrueMinF = std::numeric_limits<float>::denorm_min();

inline const std::vector<double> kSpecialsD = {0.0,   -0.0, 1.0,     -1.0,     kTrueMinD,
                                               kMinD, kMaxD, -kMaxD, kInf,     -kInf,
                                               0x1p500, 0x1p-450, 0x1.fffffffffffffp499};
inline const std::vector<double> kSpecialsS = {0.0,  -0.0,  1.0,    -1.0, kTrueMinF,
                                               kMinF, kMaxF, -kMaxF, kInf, -kInf};

// Ranges of |x| (uniform in bit pattern), signed.
inline constexpr Range kWholeD{kTrueMinD, kMaxD, true};
inline constexpr Range kWholeS{kTrueMinF, kMaxF, true};
inline constexpr Range kUnit{0.5, 2.0, true};
inline constexpr Range kHalfD{0x1p-511, 0x1p511, true};  // products stay in range
inline constexpr Range kHalfS{0x1p-63, 0x1p63, true};
inline constexpr Range kTinyD{kTrueMinD, 0x1p-1000, true};  // denormal and near-denormal
inline constexpr Range kTinyS{kTrueMinF, 0x1p-120, true};

inline void *kernel_address(auto f) { return reinterpret_cast<void *>(f); }

// The single peer of a libm function carries the suffix f; an operator stays as it is.
inline std::string single_peer(const char *name) {
  std::string s(name);
  for (unsigned char c : s)
    if (!std::isalnum(c) && c != '_') return s;
  return s + 'f';
}

// A list of ranges as one macro argument.
#define HPK_RANGES(...) std::vector<Range>{__VA_ARGS__}

// The s and d rows of a one-argument function: `expr` is the peer's value in terms of `a`,
// written once for both types (std::sqrt(a), 1 / std::cbrt(a), ...).
#define HPK_ORACLE_PAIR1(out, Fn, ref, ranges_s, ranges_d, bound, peer, expr)                  \
  do {                                                                                         \
    (out).push_back({"s" #Fn, 's', 1, kernel_address(_vmks##Fn##_HA), ref, nullptr, ranges_s,  \
                     kSpecialsS, bound, single_peer(peer),                                              \
                     kernel_address(+[](float a) { return float(expr); })});                   \
    (out).push_back({"d" #Fn, 'd', 1, kernel_address(_vmkd##Fn##_HA), ref, nullptr, ranges_d,  \
                     kSpecialsD, bound, peer,                                                  \
                     kernel_address(+[](double a) { return double(expr); })});                 \
  } while (0)

// The same for two arguments `a`, `b`.
#define HPK_ORACLE_PAIR2(out, Fn, ref, ranges_s, ranges_d, bound, peer, expr)                  \
  do {                                                                                         \
    (out).push_back({"s" #Fn, 's', 2, kernel_address(_vmks##Fn##_HA), nullptr, ref, ranges_s,  \
                     kSpecialsS, bound, single_peer(peer),                                              \
                     kernel_address(+[](float a, float b) { return float(expr); })});          \
    (out).push_back({"d" #Fn, 'd', 2, kernel_address(_vmkd##Fn##_HA), nullptr, ref, ranges_d,  \
                     kSpecialsD, bound, peer,                                                  \
                     kernel_address(+[](double a, double b) { return double(expr); })});       \
  } while (0)

// The s and d rows of a function with specials and ranges of its own.
inline void add_pair(std::vector<Case> &out, const char *fn, int arity, void *ks, void *kd,
                     Ref1 ref1, Ref2 ref2, std::vector<Range> ranges_s,
                     std::vector<Range> ranges_d, std::vector<double> specials_s,
                     std::vector<double> specials_d, double bound, const char *peer, void *ps,
                     void *pd) {
  out.push_back({std::string("s") + fn, 's', arity, ks, ref1, ref2, std::move(ranges_s),
                 std::move(specials_s), bound, single_peer(peer), ps});
  out.push_back({std::string("d") + fn, 'd', arity, kd, ref1, ref2, std::move(ranges_d),
                 std::move(specials_d), bound, peer, pd});
}

// The s and d peers std::f(a) and std::f(a, b) as kernel addresses.
#define HPK_ORACLE_PEERS1(f)                                       \
  kernel_address(+[](float a) { return std::f(a); }),              \
      kernel_address(+[](double a) { return std::f(a); })
#define HPK_ORACLE_PEERS2(f)                                       \
  kernel_address(+[](float a, float b) { return std::f(a, b); }),  \
      kernel_address(+[](double a, double b) { return std::f(a, b); })

// The report times a function on first arguments spread over [lo, hi]; the default [0.5, 2)
// lies outside the domain of some functions, whose timing would then measure the error path.
inline void set_timing(std::vector<Case> &out, double lo, double hi) {
  for (size_t k = out.size() >= 2 ? out.size() - 2 : 0; k < out.size(); ++k) {
    out[k].time_lo = lo;
    out[k].time_hi = hi;
  }
}

// One adder per family, each in its own source file.
void add_arith_cases(std::vector<Case> &out);
void add_rounding_cases(std::vector<Case> &out);
void add_divroot_cases(std::vector<Case> &out);
void add_explog_cases(std::vector<Case> &out);
void add_trig_cases(std::vector<Case> &out);
void add_hyperbolic_cases(std::vector<Case> &out);
void add_power_cases(std::vector<Case> &out);
void add_erf_cases(std::vector<Case> &out);
void add_gamma_t_cases(std::vector<Case> &out);
void add_cdfnorminv_cases(std::vector<Case> &out);
void add_cdfnorm_cases(std::vector<Case> &out);
void add_gamma_l_cases(std::vector<Case> &out);
void add_erfinv_cases(std::vector<Case> &out);

}  // namespace hpk::oracle
