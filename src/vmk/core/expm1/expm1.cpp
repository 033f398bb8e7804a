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
#include "vmk/core/exp/exp_tables.hpp"
#include "vmk/frame/control.hpp"
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

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dExpm1_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(0x200);
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  for (int i = 0; i < n; ++i) {
    int status;
    y[i] = hpk::vmk::expm1_value(a[i], status);
    if (__builtin_expect(status != 0, 0))
      hpk::vmk::report_error<double>(status, i, a, a, y, y, "vdExpm1");
  }
}
void hpk_vmk_kernel_sExpm1_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(0x200);
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  for (int i = 0; i < n; ++i) {
    int status;
    const float r = float(hpk::vmk::expm1_value(double(a[i]), status));
    y[i] = r;
    if (__builtin_expect(r == __builtin_inff(), 0) && a[i] != __builtin_inff())
      hpk::vmk::report_error<float>(hpk::vmk::kStatusOverflow, i, a, a, y, y, "vsExpm1");
  }
}
}
