// Atan and Atan2 in s and d. No status.
//
// Atan, packed route: |x| below 2^60 (inverse_core.hpp). Scalar route: NaN gives x + x;
// |x| from 2^60 up, infinities included, gives +-(pi/2_hi + (pi/2_lo - 1/|x|)), which is
// pi/2 rounded since 1/|x| is below 2^-60.
//
// Atan2(a, b) = the angle of the point (b, a), a the ordinate. Packed route: both finite,
// non-zero and in [2^-511, 2^512) in magnitude, where the quotient's exact product cannot
// overflow or underflow: the smaller over the larger with its error, its arctangent and the
// quadrant's constant (0, pi/2 or pi, in two parts) added exactly. datan2_scalar takes every
// other element: NaN, zeros, infinities by the usual table of signed results, and finite
// pairs outside the packed range, scaled by a power of two into it or, when their ratio is
// beyond 2^60 either way, settled by the limit (the ratio itself, pi/2 or pi).
// The single kernels widen to double and round once.
#include <cstdint>

#include "hpk/vmk.h"
#include "vmk/core/atan/inverse_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/frame/packed_pass_two_in.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {

namespace inverse {
#define HPK_PAIR(a, i) simd::vd{a[i], a[i]}
#define HPK_PAIRS4(a, i) HPK_PAIR(a, i), HPK_PAIR(a, i + 1), HPK_PAIR(a, i + 2), HPK_PAIR(a, i + 3)
const vd kAtanPairs[11] = {HPK_PAIRS4(inverse_poly::kAtanPoly, 0), HPK_PAIRS4(inverse_poly::kAtanPoly, 4),
                           HPK_PAIR(inverse_poly::kAtanPoly, 8), HPK_PAIR(inverse_poly::kAtanPoly, 9),
                           HPK_PAIR(inverse_poly::kAtanPoly, 10)};
const vd kAsinPairs[13] = {HPK_PAIRS4(inverse_poly::kAsinPoly, 0), HPK_PAIRS4(inverse_poly::kAsinPoly, 4),
                           HPK_PAIRS4(inverse_poly::kAsinPoly, 8), HPK_PAIR(inverse_poly::kAsinPoly, 12)};
#undef HPK_PAIRS4
#undef HPK_PAIR
}  // namespace inverse

namespace {

using simd::vd;
using simd::vf;
namespace tt = trig_tables;

double atan_scalar(double x) {
  if (x != x) return x + x;
  const double ax = __builtin_fabs(x);
  if (ax < 0x1p60) return inverse::atan_main(simd::splat(x))[0];
  const double r = tt::kPio2Hi + (tt::kPio2Lo - 1.0 / ax);
  return x < 0 ? -r : r;
}

double copysign_of(double v, double s) { return __builtin_copysign(v, s); }

double datan2_scalar(double y, double x) {
  if (x != x || y != y) return x + y;
  const double ax = __builtin_fabs(x), ay = __builtin_fabs(y);
  const bool neg_x = __builtin_signbit(x);
  const double inf = __builtin_inf();
  if (ay == 0) return copysign_of(neg_x ? tt::kPiHi + tt::kPiLo : 0.0, y);
  if (ax == 0) return copysign_of(tt::kPio2Hi + tt::kPio2Lo, y);
  if (ay == inf) {
    if (ax == inf)
      return copysign_of(neg_x ? 3 * tt::kPio4Hi + 3 * tt::kPio4Lo : tt::kPio4Hi + tt::kPio4Lo, y);
    return copysign_of(tt::kPio2Hi + tt::kPio2Lo, y);
  }
  if (ax == inf) return copysign_of(neg_x ? tt::kPiHi + tt::kPiLo : 0.0, y);
  const int ey = __builtin_ilogb(ay), ex = __builtin_ilogb(ax);
  if (ey - ex > 60) return copysign_of(tt::kPio2Hi + tt::kPio2Lo, y);
  if (ex - ey > 60) {
    if (neg_x) return copysign_of(tt::kPiHi + tt::kPiLo, y);
    return y / x;  // the angle is the ratio to within 2^-120 of it, rounded once
  }
  // Within 2^60 of each other: scale the larger to [1, 2); both land in the packed range.
  const int e = ey > ex ? ey : ex;
  const double ys = __builtin_ldexp(y, -e), xs = __builtin_ldexp(x, -e);
  return inverse::atan2_main(simd::splat(ys), simd::splat(xs))[0];
}

template <class E>
struct AtanKernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = 0;
  static constexpr uint32_t kRangeLen = sizeof(E) == 8 ? 0x43B00000u : 0x5D800000u;  // 2^60
  [[gnu::always_inline]] static vd main(vd x) { return inverse::atan_main(x); }
  [[gnu::always_inline]] static vf main(vf x) { return trig::widened<inverse::atan_main>(x); }
  static void rare(E x, int i, const E *, E *y) { y[i] = E(atan_scalar(x)); }
};

template <class E>
struct Atan2Kernel {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  // Doubles: [2^-511, 2^512); singles: every finite non-zero value.
  static constexpr uint32_t kRangeLo = sizeof(E) == 8 ? 0x20000000u : 1u;
  static constexpr uint32_t kRangeLen = (sizeof(E) == 8 ? 0x5FF00000u : 0x7F800000u) - kRangeLo;
  [[gnu::always_inline]] static vd main(vd a, vd b) { return inverse::atan2_main(a, b); }
  [[gnu::always_inline]] static vf main(vf a, vf b) {
    const vd alo = (vd)_mm_cvtps_pd((__m128)a), blo = (vd)_mm_cvtps_pd((__m128)b);
    const vd ahi = (vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)a, (__m128)a));
    const vd bhi = (vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)b, (__m128)b));
    return (vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)inverse::atan2_main(alo, blo)),
                             _mm_cvtpd_ps((__m128d)inverse::atan2_main(ahi, bhi)));
  }
  static void rare(int i, const E *a, const E *b, E *y) { y[i] = E(datan2_scalar(a[i], b[i])); }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dAtan_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::AtanKernel<double>>(n, a, y);
}
void hpk_vmk_kernel_sAtan_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::AtanKernel<float>>(n, a, y);
}
void hpk_vmk_kernel_dAtan2_EXHAynn(int n, const double *a, const double *b, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass_two_in<hpk::vmk::Atan2Kernel<double>>(n, a, b, y);
}
void hpk_vmk_kernel_sAtan2_EXHAynn(int n, const float *a, const float *b, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass_two_in<hpk::vmk::Atan2Kernel<float>>(n, a, b, y);
}
}
