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
// is (e - 0x41C) / 25 but for exact multiples of 25, where it is one less (0x147AE is a hair
// below 2^21/25), and rr = e - 0x41C - 25 i0 is in 0..25. X = |x| 2^(-25 i0 - 24) lies in
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
#include <cstring>

#include "hpk/vmk.h"
#include "vmk/core/sin/trig_core.hpp"
#include "vmk/core/sin/trig_tables.hpp"

namespace hpk::vmk::trig {

#define HPK_PAIR(c) simd::vd{c, c}
const PairConstants kPairs = {HPK_PAIR(db32DivPi), HPK_PAIR(dbSh), HPK_PAIR(dbP1), HPK_PAIR(dbP2),
                              HPK_PAIR(dbP3),      HPK_PAIR(dbS1), HPK_PAIR(dbS2), HPK_PAIR(dbS3),
                              HPK_PAIR(dbS4),      HPK_PAIR(dbC1), HPK_PAIR(dbC2), HPK_PAIR(dbC3),
                              HPK_PAIR(dbC4),      HPK_PAIR(simd::from_bits(0xFFFFFFFFF8000000ull))};
const SinglePairConstants kSinglePairs = {
    HPK_PAIR(db32DivPi), HPK_PAIR(dbSh), HPK_PAIR(dbP1), HPK_PAIR(single::kPio32Lo),
    HPK_PAIR(dbS1),      HPK_PAIR(dbS2), HPK_PAIR(dbC1), HPK_PAIR(dbC2)};
#undef HPK_PAIR

namespace {

using simd::bits;
using simd::from_bits;

// t less a multiple of 8, exact, in (-8, 8) with the sign of t: clears the mantissa bits that
// weigh 8 or more.
inline double drop_eights(double t) {
  const uint64_t b = bits(t);
  const int e = int((b >> 52) & 0x7FF) - 1023;
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

// ---- the same for an 80-bit extended argument ---------------------------------------------
//
// Below 2^30 (biased extended exponent under 0x401D): Cody-Waite in extended arithmetic with
// the five parts of pi/4 (every part but the last has at most 21 bits, so n times it is exact
// in the 64-bit significand), each difference through an extended two_sum, and a sixth part,
// what the five leave out (2^-142.8), so that the remainder holds beyond 64 bits.
// From 2^30 up: the Payne-Hanek steps of the double routine with the 64-bit significand cut
// into three parts of 26, 26 and 12 bits (every product with a 25-bit chunk stays exact in a
// double): step 1 takes every term that reaches the integer part (with the lowest part that
// includes the chunk two above the first), exactly; step 3 the rest,
// largest first, as normalised double-double sums; the fraction times pi/4 as a double-double
// product, then rounded to an extended pair.
namespace hpk::vmk::trig {
namespace {

using ld = long double;

inline void two_sum_ld(ld a, ld b, ld &s, ld &e) {
  s = a + b;
  const ld bb = s - a;
  e = (a - (s - bb)) + (b - bb);
}

int cody_waite_ld(ld ax, ld &hi, ld &lo) {
  int n = int(ax * ld(k4DivPi));
  n += n & 1;
  const ld dn = ld(n);
  ld s, e, err;
  const ld r = ax - dn * ld(kPio4B[0]);
  two_sum_ld(r, -(dn * ld(kPio4B[1])), s, err);
  two_sum_ld(s, -(dn * ld(kPio4B[2])), s, e);
  err += e;
  two_sum_ld(s, -(dn * ld(kPio4B[3])), s, e);
  err += e;
  err -= dn * ld(kPio4B[4]);
  err -= dn * ld(trig_tables::kPio4FivePartsTail);
  two_sum_ld(s, err, hi, lo);
  return n >> 1;
}

int payne_hanek_ld(ld ax, uint32_t e, ld &hi_out, ld &lo_out) {
  const int i0 = int(((e - 0x401C) * 0x147AEu) >> 21);
  const int rr = int(e - 0x401C) - 25 * i0;
  // X = ax 2^(-25 i0 - 24) in [2^(rr+5), 2^(rr+6)), then cut into doubles.
  const ld X = __builtin_ldexpl(ax, -25 * i0 - 24);
  const double X1 = double(X);  // rounded: the remainder below has at most 38 bits
  const ld rest = X - ld(X1);
  const double X1t = simd::from_bits(simd::bits(X1) & ~((uint64_t(1) << 27) - 1));  // 26 bits
  const ld rest2 = (ld(X1) - ld(X1t)) + rest;  // exact: below 2^(rr-20)
  // The middle part on the fixed grid of 2^(rr-46) (rounded there by a shifter), so that its
  // products' lowest bits do not depend on leading zeros; the rest has at most 12 bits.
  const ld shifter = __builtin_ldexpl(1.5L, rr + 17);
  const double X2 = double((rest2 + shifter) - shifter);
  const double X3 = double(rest2 - ld(X2));
  const double P[3] = {X1t, X2, X3};
  const double *c = trig_tables::k4OnPiChunks + 1 + i0;
  auto sc = [](int j) { return simd::from_bits(uint64_t(0x3FF - 25 * j) << 52); };  // 2^-25j
  // The lowest part's bits reach down to 2^(rr-58): with the chunk two above the first one
  // its product is not yet a multiple of 8 (the zero chunk stands in above the table's top).
  const double c_m2 = i0 >= 1 ? c[-2] : 0.0;
  double hi = drop_eights(P[2] * c_m2 * sc(-2)), lo = 0.0;
  add_exact(drop_eights(P[1] * c_m2 * sc(-2)), hi, lo);
  hi = drop_eights(hi);
  // Step 1: every term that may reach the integer part, exactly, freed of multiples of 8.
  const double big[10] = {P[1] * c[-1] * sc(-1), P[2] * c[-1] * sc(-1), P[0] * c[0],
                          P[1] * c[0],           P[2] * c[0],           P[0] * c[1] * sc(1),
                          P[1] * c[1] * sc(1),   P[2] * c[1] * sc(1),   P[0] * c[2] * sc(2),
                          P[1] * c[2] * sc(2)};
  for (double t : big) {
    add_exact(drop_eights(t), hi, lo);
    hi = drop_eights(hi);
  }
  const double m = __builtin_floor(hi * 0.5 + 0.5);
  const int q = int(m);
  const simd::dd f0 = simd::two_sum(hi - (m + m), lo);
  hi = f0.hi;
  lo = f0.lo;
  // Step 3: the rest, by chunk, largest part first.
  add_dd(P[2] * c[2] * sc(2), hi, lo);
  for (int j = 3; j <= 8; ++j)
    for (int p = 0; p < 3; ++p) add_dd(P[p] * c[j] * sc(j), hi, lo);
  const simd::dd f = simd::two_sum(hi, lo);
  double pp, pe;
  two_prod(f.hi, trig_tables::kPio4Hi, pp, pe);
  const double tail = pe + (f.hi * trig_tables::kPio4Lo + f.lo * trig_tables::kPio4Hi);
  const simd::dd r = simd::two_sum(pp, tail);
  hi_out = ld(r.hi) + ld(r.lo);
  lo_out = (ld(r.hi) - hi_out) + ld(r.lo);
  return q;
}

}  // namespace

int reduce_pio2_ld(long double x, long double &hi, long double &lo) {
  uint16_t se;
  std::memcpy(&se, reinterpret_cast<const char *>(&x) + 8, 2);
  const uint32_t e = se & 0x7FFF;
  if (e == 0x7FFF) {
    hi = x - x;
    lo = hi;
    return 0;
  }
  const long double ax = __builtin_fabsl(x);
  const int q = e < 0x401D ? cody_waite_ld(ax, hi, lo) : payne_hanek_ld(ax, e, hi, lo);
  if (se & 0x8000) {
    hi = -hi;
    lo = -lo;
    return -q;
  }
  return q;
}

}  // namespace hpk::vmk::trig

extern "C" int32_t hpk_vmk_kernel_reduce_pi04l(long double x, int32_t want_lo, long double *r) {
  long double hi, lo;
  const int q = hpk::vmk::trig::reduce_pio2_ld(x, hi, lo);
  r[0] = hi;
  if (want_lo) r[1] = lo;
  return q;
}
