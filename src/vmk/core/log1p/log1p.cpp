// Log1p: ln(1 + x), one element at a time under control scheme B (target 0x200); the arithmetic
// is SSE and its exact steps (TwoSum, the exact sums) need round to nearest, so scheme A is
// taken too.
//
//   |x| < 2^-54:  x (the square term is below half an ulp; keeps +-0 and denormals)
//   |x| < 2^-9:   x + x^2 Q(x),  Q(x) = q2 + x (q3 + ... + x q8)   (_Q2)
//   otherwise:    (s, e) = TwoSum(1, x), exactly 1 + x; s = 2^M m, m in [1, 2);
//                 i = top 8 fraction bits of m, rcp = hpk_vmk_core_rcp_table_256[i] (24 bits),
//                 mhi = m with 28 fraction bits, so mhi * rcp is exact and within 2^-8 of 1:
//                 rhi = mhi * rcp - 1 (exact), rlo = (m - mhi) * rcp + (e 2^-M) * rcp,
//                 r = rhi + rlo, |r| <= 2^-9 (1 + 2^-20);
//                 A = M * ln2hi + Lhi (exact: both on the 2^-42 grid), (hi, err) = TwoSum(A, rhi),
//                 result = hi + ((((M * ln2lo + Llo) + err) + rlo) + r^2 Q(r))   (_Q1 = _Q2)
//   Q is the Taylor series of (log1p(r) - r) / r^2 to degree 6 in r (truncation below 2^-72
//   relative on |r| <= 2^-9), so the error is the final rounding plus about 2^-8 ulp.
// Specials: NaN -> quieted; +inf -> +inf; x < -1 (-inf included) -> the default NaN with
// status 1, the function's only status.
// x = -1 stores -inf and reports nothing: the value is the exact limit at a pole, not an
// argument outside the domain, and the function has no pole status to give.
// The single kernel runs the double routine and rounds once.
//
// The loops are packed passes (frame/packed_pass.hpp): two doubles a step on the main range
// -1 < x < 2^1000 with |x| >= 2^-54 (top word, sign cleared, in [0x3C900000, 0x7E700000),
// and the whole top word below 0xBFF00000); NaN, infinities, x <= -1, tiny and huge inputs
// take the routine above. The packed route is the routine above lane by lane, with its two
// TwoSums replaced by Fast2Sums that give the same exact pairs on the route, so it gives the
// same bits; a register with a lane of
// |x| < 2^-9 computes the short polynomial too and takes it on those lanes.
// The single route (four singles as two double vectors) needs no exact steps for a result
// rounded once to single: 1 + x in one rounding (exact for single x with |x| >= 2^-29, else
// within 2^-53 of it), r = m rcp - 1 in one rounding, and
//   result = (M ln 2 + (Lhi + Llo)) + (r + r^2 (-1/2 + r (1/3 + r (-1/4 + r / 5)))),
//   |x| < 2^-9: x + x^2 (-1/2 + x (1/3 + x (-1/4 + x (1/5 - x / 6)))),
// within 2^-46 relative of log1p(x) (truncation r^6 / 6 and x^7 / 7 against a result of at
// least 2^-9.01 resp. |x|), so the single result is the correctly rounded one except within
// 2^-22 ulp of a midpoint. The single main range is the double one with 2^-54 <= |x|,
// x > -1 and x finite (top word below 0x7F800000).
#include "vmk/core/log1p/log1p_tables.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/double_lanes.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk {
namespace {

constexpr uint64_t kLn2Hi = 0x3FE62E42FEFA3800ull;
constexpr uint64_t kLn2Lo = 0x3D2EF35793C76730ull;
constexpr uint64_t kFraction = 0x000FFFFFFFFFFFFFull;
constexpr uint64_t kOneExp = 0x3FF0000000000000ull;
constexpr uint64_t kHi28 = 0xFFFFFFFFFF000000ull;  // sign, exponent, 28 fraction bits

inline double q_poly(double r) {
  const double *q = log1p_tables::kLog1pPoly;
  return q[0] + r * (q[1] + r * (q[2] + r * (q[3] + r * (q[4] + r * (q[5] + r * q[6])))));
}

double log1p_value(double x, int &status) {
  status = 0;
  if (x != x) return x + x;
  if (x <= -1.0) {
    if (x == -1.0) return -__builtin_inf();
    status = 1;
    return simd::from_bits(0xFFF8000000000000ull);
  }
  if (x == __builtin_inf()) return x;
  const double ax = __builtin_fabs(x);
  if (ax < 0x1p-54) return x;
  if (ax < 0x1p-9) return x + (x * x) * q_poly(x);

  const simd::dd s = simd::two_sum(1.0, x);
  const uint64_t sb = simd::bits(s.hi);
  const int M = int(sb >> 52) - 1023;
  const int i = int((sb >> 44) & 0xFF);
  const double m = simd::from_bits((sb & kFraction) | kOneExp);
  const double mhi = simd::from_bits(simd::bits(m) & kHi28);
  const double rcp = hpk_vmk_core_rcp_table_256[i];
  const double e = M < 1000 ? s.lo * simd::from_bits(uint64_t(1023 - M) << 52) : 0.0;
  const double rhi = mhi * rcp - 1.0;
  const double rlo = (m - mhi) * rcp + e * rcp;
  const double r = rhi + rlo;
  const double Md = double(M);
  const double A = Md * simd::from_bits(kLn2Hi) + hpk_vmk_core_log_table_256[2 * i];
  const simd::dd h = simd::two_sum(A, rhi);
  const double lo = (((Md * simd::from_bits(kLn2Lo) + hpk_vmk_core_log_table_256[2 * i + 1]) +
                      h.lo) + rlo) + (r * r) * q_poly(r);
  return h.hi + lo;
}

using simd::vd;
using simd::vul;

// The constants of the packed routes, each twice side by side; read through an opaque
// pointer so that they stay memory operands of the arithmetic instead of registers that the
// four chains of a block would spill.
struct alignas(16) Log1pConstants {
  vd q[7], one, m_bias, ln2hi, ln2lo, ln2, small, s0, s1, s2, s3, s4;
};
constexpr vd c2(double c) { return vd{c, c}; }
const Log1pConstants kLog1pConstants = {
    {c2(log1p_tables::kLog1pPoly[0]), c2(log1p_tables::kLog1pPoly[1]),
     c2(log1p_tables::kLog1pPoly[2]), c2(log1p_tables::kLog1pPoly[3]),
     c2(log1p_tables::kLog1pPoly[4]), c2(log1p_tables::kLog1pPoly[5]),
     c2(log1p_tables::kLog1pPoly[6])},
    c2(1.0), c2(0x1p52 + 1023.0), c2(simd::from_bits(kLn2Hi)), c2(simd::from_bits(kLn2Lo)),
    c2(0x1.62e42fefa39efp-1), c2(0x1p-9), c2(-0.5), c2(0x1.5555555555555p-2), c2(-0.25),
    c2(0x1.999999999999ap-3), c2(-0x1.5555555555555p-3)};

[[gnu::always_inline]] inline const Log1pConstants &constants() {
  const Log1pConstants *cp = &kLog1pConstants;
  __asm__ volatile("" : "+r"(cp));
  return *cp;
}

[[gnu::always_inline]] inline vd q_poly(vd r, const Log1pConstants &c) {
  const vd *q = c.q;
  return q[0] + r * (q[1] + r * (q[2] + r * (q[3] + r * (q[4] + r * (q[5] + r * q[6])))));
}

// 1 + x = 2^M m, m in [1, 2) (s > 0): the row i of the tables, m, and M as a double.
struct Row {
  vd m, rcp, Lhi, Llo, Md;
  vul sb;
};
[[gnu::always_inline]] inline Row row_of(vd s, const Log1pConstants &c) {
  const vul sb = (vul)s;
  // i * 16 bytes for both lanes (a row of the log table; a quarter of it in the rcp table),
  // fetched by pextrw straight into general registers
  const __m128i off = (__m128i)((sb >> 40) & 0xFF0);
  const unsigned o0 = unsigned(_mm_extract_epi16(off, 0)), o1 = unsigned(_mm_extract_epi16(off, 4));
  const char *lt = reinterpret_cast<const char *>(hpk_vmk_core_log_table_256);
  const char *rt = reinterpret_cast<const char *>(hpk_vmk_core_rcp_table_256);
  const __m128d l0 = _mm_load_pd(reinterpret_cast<const double *>(lt + o0));
  const __m128d l1 = _mm_load_pd(reinterpret_cast<const double *>(lt + o1));
  const __m128 r0 = _mm_load_ss(reinterpret_cast<const float *>(rt + (o0 >> 2)));
  const __m128 r1 = _mm_load_ss(reinterpret_cast<const float *>(rt + (o1 >> 2)));
  // M + 2^52 from the exponent field placed under the exponent of 2^52, then 2^52 + 1023 off
  const vd Md = (vd)((sb >> 52) | 0x4330000000000000ull) - c.m_bias;
  return {(vd)((sb & kFraction) | kOneExp), (vd)_mm_cvtps_pd(_mm_unpacklo_ps(r0, r1)),
          (vd)_mm_unpacklo_pd(l0, l1), (vd)_mm_unpackhi_pd(l0, l1), Md, sb};
}

// Lanes with |x| < 2^-9 (x is normal here, so the compare sees it whatever DAZ says).
[[gnu::always_inline]] inline vd small_lanes(vd x, const Log1pConstants &c) {
  return (vd)(simd::and_bits(x, (vd)(vul{} + 0x7FFFFFFFFFFFFFFFull)) < c.small);
}

// The routine above on 2^-9 <= |x| (and -1 < x < 2^1000), lane by lane. 1 + x is summed
// exactly by Fast2Sum with the larger of 1 and x first (x > -1, so it is also the larger in
// magnitude): the same pair (s, e) as the routine's TwoSum.
[[gnu::always_inline]] inline vd log1p_table(vd x, const Log1pConstants &c) {
  const vd big = simd::vmax(x, c.one), sml = simd::vmin(x, c.one);
  const vd sh = big + sml;
  const vd sl = (big - sh) + sml;
  const Row w = row_of(sh, c);
  const vd mhi = (vd)((vul)w.m & kHi28);
  // e 2^-M with 2^-M = bits 2046 - (M + 1023) in the exponent field (M < 1000 here)
  const vd e = sl * (vd)(0x7FE0000000000000ull - (w.sb & 0x7FF0000000000000ull));
  const vd rhi = mhi * w.rcp - c.one;
  const vd rlo = (w.m - mhi) * w.rcp + e * w.rcp;
  const vd r = rhi + rlo;
  const vd A = w.Md * c.ln2hi + w.Lhi;
  // Fast2Sum: exponent(A) >= exponent(rhi) wherever this value is taken (|x| >= 2^-9): for
  // M = 0 and M = -1 the rows nearest 1 give |A| in [2^-10, 2^-9) against |rhi| < 2^-9 (row
  // 0) and |A| > 2^-10 against |rhi| < 2^-9 (row 255, m = 2 - 2^-8 only); elsewhere |A| is
  // above 2^-9. The pair is the routine's TwoSum pair, exactly.
  const vd hh = A + rhi;
  const simd::vdd h = {hh, rhi - (hh - A)};
  const vd lo = (((w.Md * c.ln2lo + w.Llo) + h.lo) + rlo) + (r * r) * q_poly(r, c);
  return h.hi + lo;
}

[[gnu::always_inline]] inline vd log1p_main(vd x) {
  const Log1pConstants &c = constants();
  const vd v = log1p_table(x, c);
  const vd small = small_lanes(x, c);
  if (__builtin_expect(simd::movemask(small) == 0, 1)) return v;
  return simd::select(small, x + (x * x) * q_poly(x, c), v);
}

// The single route on double lanes (see the head of the file).
[[gnu::always_inline]] inline vd log1p_single(vd x) {
  const Log1pConstants &c = constants();
  const vd s = x + c.one;
  const Row w = row_of(s, c);
  const vd r = w.m * w.rcp - c.one;
  const vd p = r + (r * r) * (c.s0 + r * (c.s1 + r * (c.s2 + r * c.s3)));
  const vd v = (w.Md * c.ln2 + (w.Lhi + w.Llo)) + p;
  const vd small = small_lanes(x, c);
  if (__builtin_expect(simd::movemask(small) == 0, 1)) return v;
  const vd ps = x + (x * x) * (c.s0 + x * (c.s1 + x * (c.s2 + x * (c.s3 + x * c.s4))));
  return simd::select(small, ps, v);
}

struct DLog1pKernel {
  using T = double;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = 0x3C900000;               // 2^-54
  static constexpr uint32_t kRangeLen = 0x7E700000 - kRangeLo;  // below 2^1000
  static constexpr uint32_t kTopLimit = 0xBFF00000;              // x <= -1
  [[gnu::always_inline]] static vd main(vd x) { return log1p_main(x); }
  static void rare(double x, int i, const double *a, double *y) {
    int status;
    y[i] = log1p_value(x, status);
    if (status != 0) report_error<double>(status, i, a, a, y, y, "vdLog1p");
  }
};

struct SLog1pKernel {
  using T = float;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = 0x24800000;               // 2^-54
  static constexpr uint32_t kRangeLen = 0x7F800000 - kRangeLo;  // finite
  static constexpr uint32_t kTopLimit = 0xBF800000;              // x <= -1
  [[gnu::always_inline]] static simd::vf main(simd::vf x) {
    return on_double_lanes(x, [](vd v) { return log1p_single(v); });
  }
  static void rare(float x, int i, const float *a, float *y) {
    int status;
    y[i] = float(log1p_value(double(x), status));
    if (status != 0) report_error<float>(status, i, a, a, y, y, "vsLog1p");
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dLog1p_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(0x200);
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::DLog1pKernel>(n, a, y);
}
void hpk_vmk_kernel_sLog1p_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(0x200);
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::SLog1pKernel>(n, a, y);
}
}
