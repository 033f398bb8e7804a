// The packed logarithm of |z|^2 on two double lanes, shared by the single complex kernels
// (cLn, cLog10, cPow, cPowx); the method and its error bounds are told in ln_complex.cpp.
#pragma once

#include "vmk/core/heap/lcore/lcore_poly.hpp"
#include "vmk/core/log1p/log1p_tables.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::ln_lanes {

using simd::vd;
using simd::vul;

struct LnHA {
  static constexpr int kNearDeg = 7;
  static constexpr int kTableDeg = 5;
  static constexpr double kScale = 1.0;
};
struct LnLA {
  static constexpr int kNearDeg = 5;
  static constexpr int kTableDeg = 4;
  static constexpr double kScale = 1.0;
};
struct LnEP {
  static constexpr int kNearDeg = 3;
  static constexpr int kTableDeg = 3;
  static constexpr double kScale = 1.0;
};
// Log10: the high accuracy lanes with both parts times 1/ln 10 (double, within 2^-53).
struct Log10HA {
  static constexpr int kNearDeg = 7;
  static constexpr int kTableDeg = 5;
  static constexpr double kScale = double(hpk::vmk::lcore::kInvLn10);
};

// ln(1 + t) - t as t^2 (-1/2 + t (1/3 - t (1/4 ...))) to degree Deg in t.
template <int Deg>
[[gnu::always_inline]] inline vd log1p_tail(vd t) {
  constexpr double c[] = {-0.5, 0x1.5555555555555p-2, -0.25, 0.2, -0x1.5555555555555p-3,
                         0x1.2492492492492p-3};
  vd p = simd::splat(c[Deg - 2]);
  for (int k = Deg - 3; k >= 0; --k) p = simd::splat(c[k]) + t * p;
  return t * t * p;
}

template <class P>
[[gnu::always_inline]] inline vd ln_norm(vd x, vd y) {
  const vd one = simd::splat(1.0);
  const vd s = x * x + y * y;
  const vd d = (x - one) * (x + one) + y * y;
  // s = 2^e m; e by the exponent bits placed under 2^52 (s is normal, positive)
  const vul sb = (vul)s;
  const vd e = (vd)((sb >> 52) | (vul){0x4330000000000000ull, 0x4330000000000000ull}) -
               simd::splat(0x1p52 + 1023.0);
  const vd m = (vd)((sb & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
  const unsigned i0 = unsigned(sb[0] >> 44) & 0xFF, i1 = unsigned(sb[1] >> 44) & 0xFF;
  const double *lt = hpk_vmk_core_log_table_256;
  const vd rcp = {hpk_vmk_core_rcp_table_256[i0], hpk_vmk_core_rcp_table_256[i1]};
  const vd lhi = {lt[2 * i0], lt[2 * i1]}, llo = {lt[2 * i0 + 1], lt[2 * i1 + 1]};
  const vd r = m * rcp - one;
  constexpr double kLn2Hi = 0x1.62e42fefa3800p-1, kLn2Lo = 0x1.ef35793c76730p-45;
  const vd table = (e * kLn2Hi + lhi) + ((e * kLn2Lo + llo) + (r + log1p_tail<P::kTableDeg>(r)));
  const vd near = d + log1p_tail<P::kNearDeg>(d);
  const vd ad = simd::andnot_bits(simd::splat(-0.0), d);
  return simd::select((vd)(ad < simd::splat(0x1p-8)), near, table);
}

}  // namespace hpk::vmk::ln_lanes
