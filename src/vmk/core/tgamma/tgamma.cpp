// TGamma, double and single: lane-mask kernels over tgamma_core::main, with the rare lanes in
// vdtgamma_cout_rare / vstgamma_cout_rare.
//
// The double rare routine, under the x87 state of 64-bit precision:
//   NaN -> quieted, no status;  +inf -> +inf;  -inf -> NaN, status 1;
//   +-0 -> +-inf, status 2;  a negative integer -> NaN, status 1;
//   0 < |x| < 2^-1000 -> 1/x (Gamma(x) = 1/x - 0.577... and the constant is far below half an
//        ulp of 1/x there; no double 1/x lies on a rounding midpoint), status 3 where it is
//        infinite;
//   171 < x -> Stirling's parts (T + rest) 2^m rounded once to double from 80 bits: +inf with
//        status 3 above 171.62437695630272;
//   x <= -10 -> reflection, Gamma(x) = pi / (sin(pi f) (-1)^n Gamma(1 - x)), f = x - n, n the
//        nearest integer: Gamma(1 - x) = -x Gamma(-x), Gamma(-x) as the parts above, sin(pi f) by its series in 80 bits
//        (|f| <= 1/2 exact, so the relative error holds up to the poles), the quotient and the
//        scaling by 2^-m in 80 bits and one rounding to double, correctly into the denormals;
//        status 4 where the result is below the least normal (below -190 it is +-0 at once);
//   anything else (a lane the main route serves) -> the main route.
// The single routine rounds the double routine's result: 3 where a finite x gives an infinite
// single result, 4 where a non-zero non-integer x gives one below the least normal single.
#include <cfloat>

#include "vmk/core/tgamma/tgamma_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/lane_mask.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {

namespace {

using simd::vd;
using simd::vf;

constexpr double kOverflowStart = 172.0;   // Gamma(172) = 171! > 2^1024
constexpr double kUnderflowAll = -190.0;   // |Gamma(x)| < 2^-1100 below
constexpr uint64_t kDefaultNaN = 0x7FF8000000000000ull;

// 2^e as an 80-bit value, for |e| < 16000.
long double pow2l(int e) {
  struct {
    uint64_t mant;
    uint16_t se;
  } u = {0x8000000000000000ull, uint16_t(16383 + e)};
  long double r;
  __builtin_memcpy(&r, &u, 10);
  return r;
}

// (T + rest) 2^m for Gamma(t), t >= 10, from the packed route's parts, in 80 bits.
long double gamma_big(double t, int &m) {
  const pow_core::Exp2Parts e = tgamma_core::stirling(simd::splat(t), vd{});
  m = int(int64_t(e.t_bits[0] - simd::bits(pow_core::db2p45_2p44)) >> 7);
  return (long double)e.T[0] + (long double)e.rest[0];
}

// sin(pi f) for |f| <= 1/2, relative error a few 2^-64.
long double sin_pi(double f) {
  using tgamma_tables::kSinL;
  const long double u = tgamma_tables::kPiL * (long double)f, u2 = u * u;
  long double p = kSinL[12];
  for (int k = 11; k >= 0; --k) p = p * u2 + kSinL[k];
  return u + u * (u2 * p);
}

}  // namespace

// Gamma of one double element through its address; returns the status of the element.
int vdtgamma_cout_rare(const double *in, double *out) {
  const X87ControlScope x87(X87ControlScope::kExtended);
  const double x = *in * 1.0;
  if (x != x) {
    *out = x + x;
    return 0;
  }
  const double ax = __builtin_fabs(x);
  if (x == __builtin_inf()) {
    *out = x;
    return 0;
  }
  if (x == 0.0) {
    *out = 1.0 / x;
    return kStatusSingularity;
  }
  if (x < 0.0 && (ax >= 0x1p52 || (ax + 0x1p52) - 0x1p52 == ax)) {  // -inf included
    *out = simd::from_bits(kDefaultNaN);
    return kStatusDomain;
  }
  if (ax < tgamma_core::kTinyD) {
    const double r = 1.0 / x;
    *out = r;
    return __builtin_fabs(r) == __builtin_inf() ? kStatusOverflow : 0;
  }
  if (x > tgamma_core::kMainHi) {
    if (x >= kOverflowStart) {
      volatile double huge = 0x1p1000;
      *out = huge * huge;
      return kStatusOverflow;
    }
    int m;
    const long double g = gamma_big(x, m);
    const double r = double(g * pow2l(m));
    *out = r;
    return r == __builtin_inf() ? kStatusOverflow : 0;
  }
  if (x <= tgamma_core::kMainLo) {
    // n the nearest integer (|x| < 2^52 and not an integer here); Gamma's sign on (k, k+1)
    // is that of (-1)^k, k = floor(x).
    const double n = (x - 0x1.8p52) + 0x1.8p52;
    const double f = x - n;
    const double kfloor = f < 0 ? n - 1 : n;
    const bool odd = ax >= 0x1p53 ? false : (simd::bits(-kfloor + 0x1p52) & 1) != 0;
    double r;
    if (x < kUnderflowAll) {
      volatile double tiny = 0x1p-1000;
      r = tiny * tiny;  // +0 with the underflow flag
      if (odd) r = -r;
    } else {
      int m;
      // Gamma(1 - x) = -x Gamma(-x): 1 - x itself may not be a double
      const long double g = gamma_big(-x, m) * (long double)ax;
      const long double s = sin_pi(__builtin_fabs(f));
      r = double((tgamma_tables::kPiL / (s * g)) * pow2l(-m));
      if (odd) r = -r;
    }
    *out = r;
    return __builtin_fabs(r) < DBL_MIN ? kStatusUnderflow : 0;
  }
  *out = tgamma_core::main(simd::splat(x))[0];
  return 0;
}

// Gamma of one single element through its address, by the double routine rounded once more.
int vstgamma_cout_rare(const float *in, float *out) {
  const float x = *in * 1.0f;
  if (x != x) {
    *out = x + x;
    return 0;
  }
  const double xd = x;
  double rd;
  const int sd = vdtgamma_cout_rare(&xd, &rd);
  const float r = float(rd);
  *out = r;
  if (sd == kStatusDomain || sd == kStatusSingularity) return sd;
  if (x == __builtin_inff()) return 0;
  if (__builtin_fabsf(r) == __builtin_inff()) return kStatusOverflow;
  if (__builtin_fabsf(r) < FLT_MIN) return kStatusUnderflow;
  return 0;
}

namespace {

struct DTGammaKernel {
  using T = double;
  using V = vd;
  static constexpr int kLanes = 2;
  static T harmless() { return 2.0; }
  [[gnu::always_inline]] static V compute(V x, int &rare) {
    const vd off = tgamma_core::off_route(x);
    rare = simd::movemask(off);
    return tgamma_core::main(simd::select(off, simd::splat(2.0), x));
  }
  static int cout_rare(const T *in, T *out) { return vdtgamma_cout_rare(in, out); }
  static void report(int status, int index, const T *a, T *y) {
    report_error<double>(status, index, a, a, y, y, "vdTGamma");
  }
};

// Four single lanes as two double halves of the same route. The single route's domain is
// narrower: x <= 35 (Gamma(35) = 34! < 2^128) and |x| >= 2^-126 keep the results normal.
struct STGammaKernel {
  using T = float;
  using V = vf;
  static constexpr int kLanes = 4;
  static T harmless() { return 2.0f; }
  [[gnu::always_inline]] static V compute(V x, int &rare) {
    const vd lo = (vd)_mm_cvtps_pd((__m128)x);
    const vd hi = (vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x));
    const vd two = simd::splat(2.0), top = simd::splat(35.0), tiny = simd::splat(0x1p-126);
    auto off = [&](vd v) {
      const vd ax = simd::and_bits(v, (vd)simd::vul{0x7FFFFFFFFFFFFFFFull, 0x7FFFFFFFFFFFFFFFull});
      return simd::or_bits(tgamma_core::off_route(v),
                           simd::or_bits((vd)(v > top), (vd)(ax < tiny)));
    };
    const vd olo = off(lo), ohi = off(hi);
    rare = simd::movemask(olo) | (simd::movemask(ohi) << 2);
    const vd rlo = tgamma_core::main_single(simd::select(olo, two, lo));
    const vd rhi = tgamma_core::main_single(simd::select(ohi, two, hi));
    return (vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)rlo), _mm_cvtpd_ps((__m128d)rhi));
  }
  static int cout_rare(const T *in, T *out) { return vstgamma_cout_rare(in, out); }
  static void report(int status, int index, const T *a, T *y) {
    report_error<float>(status, index, a, a, y, y, "vsTGamma");
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dTGamma_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::LaneMaskPass<hpk::vmk::DTGammaKernel>::run(n, a, y);
}
void hpk_vmk_kernel_sTGamma_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::LaneMaskPass<hpk::vmk::STGammaKernel>::run(n, a, y);
}
}
