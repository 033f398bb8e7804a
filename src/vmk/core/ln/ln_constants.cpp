// The loop constants of the logarithms, each stored twice side by side.
#include "vmk/core/ln/ln_core.hpp"

namespace hpk::vmk::ln_core {
namespace {

constexpr vd c2(double c) { return vd{c, c}; }
constexpr vul u2(uint64_t u) { return vul{u, u}; }
constexpr simd::vi i4(uint32_t u) { return simd::vi{int(u), int(u), int(u), int(u)}; }

constexpr LogConstants make(bool decimal) {
  const double *P = ln_tables::kLog10Poly;
  return {u2(kFraction),
          u2(kOneExp),
          u2(dbYHiMask),
          i4(kNSubTop),
          i4(0xFFC00),
          i4(0x400),
          i4(0x1FF800),
          c2(1.0),
          decimal ? c2(ln_tables::dbLg2hi) : c2(__builtin_bit_cast(double, LnTraits::hi_bits)),
          decimal ? c2(ln_tables::dbLg2lo) : c2(__builtin_bit_cast(double, LnTraits::lo_bits)),
          decimal ? c2(P[0]) : c2(dbP1),
          decimal ? c2(P[1]) : c2(dbP2),
          decimal ? c2(P[2]) : c2(dbP3),
          decimal ? c2(P[3]) : c2(dbP4),
          decimal ? c2(P[4]) : c2(0.0),
          c2(Log10Traits::dbC),
          (vd)u2(kSplitMask)};
}

}  // namespace

const LogConstants kLnConstants = make(false);
const LogSingleConstants kLogSingleConstants = {
    u2(kFraction), u2(kOneExp), i4(0x3FE7E000), i4(0xFE000), i4(0x2000), i4(0x1FC000),
    c2(1.0),       c2(0x1.62e42fefa39efp-1),   c2(-0.5),     c2(0x1.5555555555555p-2),
    c2(-0.25),     c2(0x1.999999999999ap-3),   c2(0x1.bcb7b1526e50ep-2)};
const LogConstants kLog10Constants = make(true);

}  // namespace hpk::vmk::ln_core
