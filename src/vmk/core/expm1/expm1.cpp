// Expm1: e^x - 1, one element at a time under control scheme B (target 0x200); the arithmetic
// is SSE and its exact steps (TwoSum, TwoProd) need round to nearest, so scheme A is taken too.
//
//   k  = nearest integer to x * 128 / ln 2 (by the shifter 1.5 * 2^52), k = 128 m + j
//   r  = (x - k * L1) - k * L2, L1 = 0x3F762E4200000000 (k * L1 exact), L2 = 0x3E2FDF473DE6AF28,
//        |r| <= ln 2 / 256 + tiny
//   p  = r + q, q = r^2 (1/2 + r (1/6 + r (1/24 + r (1/120 + r / 720))))  (trunc. < 2^-63 rel.)
//   (T, Tl) = 2^(j/128) in two parts
//   x <= 40:   with r = rh + rl (rh = x - k L1 exact, rl = -k L2) and u = 2^m T (exact):
//              (s, e) = TwoSum(u, -1), (ph, pl) = TwoProd(u, rh), (s2, e2) = TwoSum(s, ph),
//              result = s2 + (((e + e2) + pl) + 2^m (Tl (1 + r) + T (rl + q))),
//              q = r^2 (1/2 + ...); the leading terms are summed exactly, so the cancellation
//              of 2^m T against 1 (and against T rh when k != 0) costs nothing, and what
//              is rounded is below 2^-17 of the result. For k = 0 this is x + q.
//   x > 40:    e^x exceeds 2^57 and the -1 lies below half an ulp:
//              result = (T + (Tl + T p)) 2^(m-1) 2
// Specials: NaN -> quieted; |x| < 2^-54 -> x (so +-0 and denormals are kept exactly);
// x < -40 -> -1 (e^x < 2^-57); +inf -> +inf without status; x above 0x40862E42FEFA39EF
// (_range, 709.78...) -> +inf with status 3, the only status of the function.
// The single kernel runs the double routine and rounds once; its overflow (status 3) is a
// finite x whose single result is infinite.
//
// The loops are packed passes (frame/packed_pass.hpp): two doubles a step on the main range
// 2^-54 <= |x| < 708 (top word, sign cleared, in [0x3C900000, 0x40862000)); every other
// element goes to the routine above. The packed route, lane by lane:
//   xc = max(x, -40)  (below -40 the value rounds to -1 either way: e^xc < 2^-57)
//   k, r = rh - rl, (T, Tl), q as above; u = 2^m T (exact, the factor 2^m built in the
//   exponent field, normal for -58 <= m <= 1021);
//   (dh, dl) = TwoSum(u, -1);  (s2, e2) = Fast2Sum(dh, rh)  (|dh| >= 1 - 2^(-1/128) > |rh|
//   when k != 0, dh = 0 when k = 0);
//   result = s2 + (((dl + e2) + dh rh) + 2^m (T (q - rl) + Tl (1 + r)))
// which is e^x - 1 = (u - 1) + rh + (u - 1) rh + u (q - rl) + 2^m Tl (1 + r) with the first
// two terms summed exactly; the rounded terms are below 2^-7 of the result (dh rh is at most
// 0.0054 of it when k = +-1 and the leading terms cancel), so the error is the last rounding
// plus a few thousandths of an ulp. It replaces the TwoProd of the routine above by the
// product dh rh, whose rounding the cancellation no longer magnifies.
// The single route (four singles as two double vectors) needs no exact steps for a result
// rounded once to single: result = (u - 1) + u p, p = r + r^2 (1/2 + r (1/6 + r / 24)),
// within 2^-50 relative of e^x - 1 on 2^-54 <= |x| < 88 (u - 1 is exact when it cancels,
// u in [1/2, 2]); the single result is the correctly rounded one except within 2^-50 of a
// midpoint. Above 88 (overflow range) and the tiny and special inputs take the routine above.
#include "vmk/core/exp/exp_tables.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/double_lanes.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk {
namespace {

constexpr double kInvL = 0x1.71547652b82fep+7;  // 128 / ln 2 = 184.6649652337873
constexpr double kShifter = 0x1.8p52;
constexpr uint64_t kL1 = 0x3F762E4200000000ull;
constexpr uint64_t kL2 = 0x3E2FDF473DE6AF28ull;
constexpr uint64_t _range = 0x40862E42FEFA39EFull;

double expm1_value(double x, int &status) {
  using exp_tables::kExpm1Poly;
  using exp_tables::s_dwExp2_128;
  status = 0;
  if (x != x) return x + x;
  const double ax = __builtin_fabs(x);
  if (ax < 0x1p-54) return x;
  if (x < -40.0) return -1.0;
  if (simd::bits(x) > _range && x > 0) {
    if (x == __builtin_inf()) return x;
    status = 3;
    return __builtin_inf();
  }
  const double t = x * kInvL + kShifter;
  const double kd = t - kShifter;
  const int64_t k = int64_t(simd::bits(t) - simd::bits(kShifter));
  const int64_t m = k >> 7;
  const int j = int(k & 127);
  // r = rh + rl: rh exact, rl = -k L2 carries the rest of the reduction.
  const double rh = x - kd * simd::from_bits(kL1);
  const double rl = -(kd * simd::from_bits(kL2));
  const double r = rh + rl;
  const double *c = kExpm1Poly;
  const double q = (r * r) * (c[0] + r * (c[1] + r * (c[2] + r * (c[3] + r * c[4]))));
  const double T = s_dwExp2_128[2 * j], Tl = s_dwExp2_128[2 * j + 1];
  if (x > 40.0) {
    const double v = T + (Tl + T * ((rh + rl) + q));
    return (v * simd::from_bits(uint64_t(m - 1 + 1023) << 52)) * 2.0;
  }
  const double two_m = simd::from_bits(uint64_t(m + 1023) << 52);
  const double u = T * two_m;
  const simd::dd s = simd::two_sum(u, -1.0);
  const simd::dd ph = simd::two_prod(u, rh);
  const simd::dd s2 = simd::two_sum(s.hi, ph.hi);
  const double tail = ((s.lo + s2.lo) + ph.lo) + two_m * (Tl * (1.0 + r) + T * (rl + q));
  return s2.hi + tail;
}

using simd::vd;
using simd::vul;

constexpr vd c2(double c) { return vd{c, c}; }
constexpr uint64_t kOneBits = 0x3FF0000000000000ull;

// 2^(j/128) in two parts for the lanes' k (the low bits of t), and 2^m, m = k >> 7.
struct Scaled {
  vd T, Tl, two_m;
};
[[gnu::always_inline]] inline Scaled table_and_scale(vd t) {
  using exp_tables::s_dwExp2_128;
  const vul tb = (vul)t;
  // j * 16 bytes for both lanes, fetched by pextrw straight into general registers
  const __m128i off = _mm_slli_epi32(_mm_and_si128((__m128i)tb, _mm_set1_epi32(127)), 4);
  const char *base = reinterpret_cast<const char *>(s_dwExp2_128);
  const __m128d row0 = _mm_load_pd(reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 0)));
  const __m128d row1 = _mm_load_pd(reinterpret_cast<const double *>(base + _mm_extract_epi16(off, 4)));
  // bits(t) = bits(1.5 * 2^52) + k; the shifter's bits are a multiple of 2^7 * 2^12, so the
  // shifted difference leaves m << 52 modulo 2^64
  const vd two_m = (vd)(((tb >> 7) << 52) + kOneBits);
  return {(vd)_mm_unpacklo_pd(row0, row1), (vd)_mm_unpackhi_pd(row0, row1), two_m};
}

// The constants of the packed routes, each twice side by side; read through an opaque
// pointer so that they stay memory operands of the arithmetic instead of registers that the
// four chains of a block would spill.
struct alignas(16) Expm1Constants {
  vd low, inv_l, shifter, l1, l2, minus_one, one, c0, c1, c2, c3, c4, s0, s1, s2;
};
const Expm1Constants kExpm1Constants = {
    c2(-40.0), c2(kInvL), c2(kShifter), c2(simd::from_bits(kL1)), c2(simd::from_bits(kL2)),
    c2(-1.0), c2(1.0), c2(exp_tables::kExpm1Poly[0]), c2(exp_tables::kExpm1Poly[1]),
    c2(exp_tables::kExpm1Poly[2]), c2(exp_tables::kExpm1Poly[3]), c2(exp_tables::kExpm1Poly[4]),
    c2(0.5), c2(0x1.5555555555555p-3), c2(0x1.5555555555555p-5)};

[[gnu::always_inline]] inline const Expm1Constants &constants() {
  const Expm1Constants *cp = &kExpm1Constants;
  __asm__ volatile("" : "+r"(cp));
  return *cp;
}

[[gnu::always_inline]] inline vd expm1_main(vd x) {
  const Expm1Constants &c = constants();
  const vd xc = simd::vmax(x, c.low);
  const vd t = xc * c.inv_l + c.shifter;
  const vd kd = t - c.shifter;
  const vd rh = xc - kd * c.l1;
  const vd rl = kd * c.l2;
  const vd r = rh - rl;
  const Scaled s = table_and_scale(t);
  const vd u = s.T * s.two_m;
  const simd::vdd d = simd::two_sum(u, c.minus_one);
  const vd s2 = d.hi + rh;
  const vd e2 = rh - (s2 - d.hi);
  const vd r2 = r * r;
  const vd q = r2 * (c.c0 + r * (c.c1 + r * (c.c2 + r * (c.c3 + r * c.c4))));
  const vd tail = ((d.lo + e2) + d.hi * rh) + s.two_m * (s.T * (q - rl) + s.Tl * (c.one + r));
  return s2 + tail;
}

// The single route on double lanes (see the head of the file).
[[gnu::always_inline]] inline vd expm1_single(vd x) {
  const Expm1Constants &c = constants();
  const vd xc = simd::vmax(x, c.low);
  const vd t = xc * c.inv_l + c.shifter;
  const vd kd = t - c.shifter;
  const vd r = (xc - kd * c.l1) - kd * c.l2;
  const Scaled s = table_and_scale(t);
  const vd u = s.T * s.two_m;
  const vd p = r + (r * r) * (c.s0 + r * (c.s1 + r * c.s2));
  return (u + c.minus_one) + u * p;
}

struct DExpm1Kernel {
  using T = double;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = 0x3C900000;               // 2^-54
  static constexpr uint32_t kRangeLen = 0x40862000 - kRangeLo;  // below 708
  [[gnu::always_inline]] static vd main(vd x) { return expm1_main(x); }
  static void rare(double x, int i, const double *a, double *y) {
    int status;
    y[i] = expm1_value(x, status);
    if (status != 0) report_error<double>(status, i, a, a, y, y, "vdExpm1");
  }
};

struct SExpm1Kernel {
  using T = float;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = 0x24800000;               // 2^-54
  static constexpr uint32_t kRangeLen = 0x42B00000 - kRangeLo;  // below 88
  [[gnu::always_inline]] static simd::vf main(simd::vf x) {
    return on_double_lanes(x, [](vd v) { return expm1_single(v); });
  }
  static void rare(float x, int i, const float *a, float *y) {
    int status;
    const float r = float(expm1_value(double(x), status));
    y[i] = r;
    if (r == __builtin_inff() && x != __builtin_inff())
      report_error<float>(kStatusOverflow, i, a, a, y, y, "vsExpm1");
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dExpm1_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(0x200);
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::DExpm1Kernel>(n, a, y);
}
void hpk_vmk_kernel_sExpm1_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(0x200);
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::SExpm1Kernel>(n, a, y);
}
}
