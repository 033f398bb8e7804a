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
#include "vmk/core/log1p/log1p_tables.hpp"
#include "vmk/frame/control.hpp"
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

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dLog1p_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(0x200);
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  for (int i = 0; i < n; ++i) {
    int status;
    y[i] = hpk::vmk::log1p_value(a[i], status);
    if (__builtin_expect(status != 0, 0))
      hpk::vmk::report_error<double>(status, i, a, a, y, y, "vdLog1p");
  }
}
void hpk_vmk_kernel_sLog1p_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(0x200);
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  for (int i = 0; i < n; ++i) {
    int status;
    y[i] = float(hpk::vmk::log1p_value(double(a[i]), status));
    if (__builtin_expect(status != 0, 0))
      hpk::vmk::report_error<float>(status, i, a, a, y, y, "vsLog1p");
  }
}
}
