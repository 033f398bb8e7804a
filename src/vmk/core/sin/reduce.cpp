// Reduction of a double by pi/2: x = q pi/2 + (hi + lo), |hi + lo| <= pi/4 (a hair more where
// x*4/pi rounds across an odd integer), hi + lo within about 2^-115 of the exact remainder
// relative to it even at the hardest arguments.
//
// Below 2^30 (biased exponent under 0x41D), Cody-Waite (trig_core.hpp): n = trunc(|x| 4/pi),
// made even by adding its low bit, is the number of octants, q = n/2 the quadrants; then
// |x| minus n times the four parts of pi/4 below 2^23 and five above. The parts sum to pi/4
// within 2^-142.8.
//
// From 2^30 up, Payne-Hanek with 4/pi cut into 25-bit chunks c_k (4/pi = sum c_k 2^(-25k-24),
// tools/tables/gen_trig_tables.py). With e the biased exponent, i0 = ((e - 0x41C) * 0x147AE) >> 21
// is (e - 0x41C) / 25 and rr = e - 0x41C - 25 i0 in 0..24. X = |x| 2^(-25 i0 - 24) lies in
// [2^(rr+5), 2^(rr+6)) and |x| 4/pi = sum_k X c_{i0+j} 2^(-25j), j = k - i0. X is split into
// Xh (top 26 bits) and Xl, so every product X{h,l} * c * 2^(-25j) is an exact double; products
// for j < -1 and Xh * c_{i0-1} * 2^25 are multiples of 8 and are not formed.
//   1. Sum, from the largest, Xl c_{i0-1} 2^25, Xh c_{i0}, Xl c_{i0}, Xh c_{i0+1} 2^-25,
//      Xl c_{i0+1} 2^-25, Xh c_{i0+2} 2^-50 as a double-double, each product and each running
//      high part first freed of its multiples of 8 by masking the mantissa bits that weigh 8
//      or more. All these have their lowest bits at 2^(rr-72) or above and stay below 16, so
//      the pair holds the sum exactly.
//   2. The even octant count: n = 2 floor(hi/2 + 1/2), f = hi - n exact in [-1, 1]; q = n/2.
//   3. Renormalise (f, lo), then add, from large to small, Xh c_{i0+3} 2^-75, Xl c_{i0+2}
//      2^-50, ..., Xh c_{i0+7} 2^-175, Xl c_{i0+6} 2^-150 as normalised double-double sums,
//      and Xl c_{i0+7} 2^-175 to lo. By now the running value is within 2^(rr-44) of the
//      final one, so each sum's rounding error is below 2^-106 of that, 2^-126 absolute at
//      worst; the chunks left out weigh below 2^(rr-169) <= 2^-145. Against the smallest
//      remainder of any double, about 2^-61, that is a relative error below 2^-64.
//   4. Renormalise, multiply by pi/4 in two parts with an exact product of the high parts.
// The sign of x goes to hi, lo and q.
#include <cstdint>

#include "hpk/vmk.h"
#include "vmk/core/sin/trig_core.hpp"
#include "vmk/core/sin/trig_tables.hpp"

namespace hpk::vmk::trig {
namespace {

using simd::bits;
using simd::from_bits;

// t mod 8 for t >= 0, exact: clears the mantissa bits that weigh 8 or more.
inline double drop_eights(double t) {
  const uint64_t b = bits(t);
  const int e = int(b >> 52) - 1023;
  if (e < 3) return t;
  if (e > 54) return 0.0;
  return t - from_bits(b & ~((uint64_t(1) << (55 - e)) - 1));
}

// Step 1: the pair stays exact without renormalising (see above).
inline void add_exact(double t, double &hi, double &lo) {
  const simd::dd s = simd::two_sum(hi, t);
  hi = s.hi;
  lo += s.lo;
}

// Step 3: a double-double sum kept normalised, so that lo's rounding errors stay relative to
// the running value, which shrinks towards the remainder as the terms are added.
inline void add_dd(double t, double &hi, double &lo) {
  const simd::dd s = simd::two_sum(hi, t);
  const simd::dd n = simd::two_sum(s.hi, lo + s.lo);
  hi = n.hi;
  lo = n.lo;
}

int payne_hanek(double ax, uint32_t e, double &hi, double &lo) {
  const int i0 = int(((e - 0x41C) * 0x147AEu) >> 21);
  // 2^(-25 i0 - 24): i0 <= 39 keeps it normal.
  const double X = ax * from_bits(uint64_t(0x3FF - 25 * i0 - 24) << 52);
  const double Xh = from_bits(bits(X) & ~((uint64_t(1) << 27) - 1));
  const double Xl = X - Xh;
  const double *c = trig_tables::k4OnPiChunks + 1 + i0;  // c[-1] is the zero chunk or c_{i0-1}
  constexpr double k25 = 0x1p25, km25 = 0x1p-25, km50 = 0x1p-50, km75 = 0x1p-75,
                   km100 = 0x1p-100, km125 = 0x1p-125, km150 = 0x1p-150, km175 = 0x1p-175;

  // Step 1: the terms that reach the integer part, exactly.
  hi = drop_eights(Xl * c[-1] * k25);
  lo = 0.0;
  const double big[5] = {Xh * c[0], Xl * c[0], Xh * c[1] * km25, Xl * c[1] * km25,
                         Xh * c[2] * km50};
  for (double t : big) {
    add_exact(drop_eights(t), hi, lo);
    hi = drop_eights(hi);
  }
  // Step 2: the even octant count and the centred fraction.
  const double m = __builtin_floor(hi * 0.5 + 0.5);
  const int q = int(m);
  const simd::dd f0 = simd::two_sum(hi - (m + m), lo);
  hi = f0.hi;
  lo = f0.lo;
  // Step 3: the small terms, largest first.
  const double smalls[9] = {Xh * c[3] * km75,  Xl * c[2] * km50,  Xh * c[4] * km100,
                            Xl * c[3] * km75,  Xh * c[5] * km125, Xl * c[4] * km100,
                            Xh * c[6] * km150, Xl * c[5] * km125, Xh * c[7] * km175};
  for (double t : smalls) add_dd(t, hi, lo);
  add_dd(Xl * c[6] * km150, hi, lo);
  lo += Xl * c[7] * km175;
  // Step 4: times pi/4.
  const simd::dd f = simd::two_sum(hi, lo);
  double p, pe;
  two_prod(f.hi, trig_tables::kPio4Hi, p, pe);
  const double tail = pe + (f.hi * trig_tables::kPio4Lo + f.lo * trig_tables::kPio4Hi);
  const simd::dd r = simd::two_sum(p, tail);
  hi = r.hi;
  lo = r.lo;
  return q;
}

}  // namespace

int reduce_pio2(double x, double &hi, double &lo) {
  const uint64_t b = bits(x);
  const uint32_t e = uint32_t(b >> 52) & 0x7FF;
  if (e == 0x7FF) {
    hi = x - x;
    lo = hi;
    return 0;
  }
  const double ax = from_bits(b & ~(uint64_t(1) << 63));
  const int q = e < 0x41D ? cody_waite(ax, hi, lo) : payne_hanek(ax, e, hi, lo);
  if (b >> 63) {
    hi = -hi;
    lo = -lo;
    return -q;
  }
  return q;
}

}  // namespace hpk::vmk::trig

extern "C" int32_t hpk_vmk_kernel_reduce_pio2d(double x, double *r) {
  return hpk::vmk::trig::reduce_pio2(x, r[0], r[1]);
}
