// Accuracy measurement against MPFR, and the list of vector functions that the report, the
// accuracy tests and the benchmarks go over. Not part of the library.
#pragma once

#include <mpfr.h>

#include <cstdint>
#include <string>
#include <vector>

namespace hpk::oracle {

// Error of `computed` in units in the last place of the exact value's binade in the format of
// T (denormal spacing below the normal range). Both infinite and equal, or both NaN, is 0; a
// finite result against an infinite exact value (or NaN against a number) is +inf.
double ulp_error(double computed, const mpfr_t exact);
double ulp_error(float computed, const mpfr_t exact);

// MPFR reference functions of one and two arguments.
using Ref1 = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using Ref2 = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

// Random inputs: uniform bit patterns within [lo, hi] in magnitude order (so every binade of
// the range is sampled alike), with random sign when `signed_inputs`.
struct Range {
  double lo, hi;
  bool signed_inputs;
};

struct Worst {
  double max_ulp = 0;
  double x = 0, y = 0;   // the inputs where it was reached
  long samples = 0;
};

// A vector function as the report sees it: its kernel through the high accuracy stub, its
// reference, and the input ranges of the sweep (first argument, second argument).
struct Case {
  std::string name;      // "dHypot"
  char type;             // 's' or 'd'
  int arity;             // 1 or 2
  void *kernel;          // void(int, const T*, T*) or void(int, const T*, const T*, T*)
  Ref1 ref1;
  Ref2 ref2;
  std::vector<Range> ranges;     // swept in turn; for arity 2 the same range is used for both
  std::vector<double> specials;  // extra inputs, all pairs for arity 2
  double bound_ulp;              // the level's promise, asserted by the tests
  std::string peer_name;         // glibc loop compared in the report ("hypot", "a+b")
  void *peer;                    // double(*)(double[,double]) or float(...) of the same arity
  double time_lo = 0.5, time_hi = 2.0;  // first argument of the report's timing arrays
  // Where a function crosses zero its relative error means little: exact values below this
  // magnitude are measured in ulps of the floor instead (an absolute error). 0: none.
  double abs_floor = 0;
};

const std::vector<Case> &cases();

// Runs `samples` random elements per range plus the specials through the kernel in arrays of
// 1024, and measures each against MPFR at 256 bits.
Worst sweep(const Case &c, long samples, uint64_t seed);

}  // namespace hpk::oracle
