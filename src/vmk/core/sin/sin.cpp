// Sin, Cos, Tan, SinCos in s and d, and their scalar reduced-path routines.
//
// Packed route: |x| in [2^-252, 90112), the steps of trig_core.hpp straight on x. The single
// kernels (every non-zero |x| below 90112) widen to double and take the shorter single route
// of trig_core.hpp (quadrant reduction, short polynomials), rounded once.
// Medium route, packed: |x| in [90112, 2^30), the scalar route's own steps on lanes (no
// reduction below 2^17, Cody-Waite above), bit for bit the same results.
// Scalar route (every input is correct there, the packed route's out-of-range elements come
// here):
//   NaN or infinity   x - x; an infinity raises status 1, a NaN nothing. The single SinCos
//                     stores the pattern 0xFFC00000 in both arrays on an infinity.
//   |x| < 2^-252      sine and tangent: a zero stays, another x gives (x 2^55 - x) 2^-55,
//                     which is x and raises inexact; cosine: 1 - |x|.
//   |x| >= 2^17       reduce_pio2d gives q quadrants and a pair hi + lo; the row offset is 16 q.
//   otherwise         the pair (x, 0) with q = 0.
#include <cstdint>
#include <cstring>

#include "hpk/vmk.h"
#include "vmk/core/sin/trig_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/frame/packed_pass_medium.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

using simd::vd;
using simd::vf;

enum class Fn { kSin, kCos, kTan };

template <Fn F>
inline double finite_eval(double x, uint32_t e) {
  double hi = x, lo = 0.0;
  int off = F == Fn::kCos ? 16 : 0;
  if (e >= trig::kReduceExp) off += 16 * trig::reduce_pio2(x, hi, lo);
  if constexpr (F == Fn::kTan) return trig::tan_eval(hi, lo, off);
  else return trig::sin_eval(hi, lo, off);
}

template <Fn F>
inline double tiny_eval(double x) {
  if constexpr (F == Fn::kCos) return 1.0 - __builtin_fabs(x);
  else return x == 0.0 ? x : (x * 0x1p55 - x) * 0x1p-55;
}

// The scalar routine of one function, for both element types: the single one widens, runs the
// double steps and rounds once.
template <Fn F, class T>
void scalar_route(int i, const T *a, T *y, const char *name) {
  const double x = a[i];
  const uint32_t e = uint32_t(simd::bits(x) >> 52) & 0x7FF;
  if (e == 0x7FF) {
    y[i] = a[i] - a[i];
    if (x == x) report_error<T>(kStatusDomain, i, a, a, y, y, name);
    return;
  }
  y[i] = T(e < trig::kTinyExp ? tiny_eval<F>(x) : finite_eval<F>(x, e));
}

template <class T>
void sincos_route(int i, const T *a, T *y, T *z, const char *name) {
  const double x = a[i];
  const uint32_t e = uint32_t(simd::bits(x) >> 52) & 0x7FF;
  if (e == 0x7FF) {
    if constexpr (sizeof(T) == 4) {
      if (x == x) {
        const float nan = simd::from_bits(uint32_t(0xFFC00000u));
        y[i] = nan;
        z[i] = nan;
        report_error<T>(kStatusDomain, i, a, a, y, z, name);
        return;
      }
    }
    const T d = a[i] - a[i];
    y[i] = d;
    z[i] = d;
    if (x == x) report_error<T>(kStatusDomain, i, a, a, y, z, name);
    return;
  }
  if (e < trig::kTinyExp) {
    y[i] = T(tiny_eval<Fn::kSin>(x));
    z[i] = T(tiny_eval<Fn::kCos>(x));
    return;
  }
  double hi = x, lo = 0.0, s, c;
  int off = 0;
  if (e >= trig::kReduceExp) off = 16 * trig::reduce_pio2(x, hi, lo);
  trig::sincos_eval(hi, lo, off, s, c);
  y[i] = T(s);
  z[i] = T(c);
}

template <class T>
struct TrigRange {
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  // Doubles: [2^-252, 90112). Singles: every non-zero value below 90112 (0x47B00000).
  static constexpr uint32_t kRangeLo = sizeof(T) == 8 ? trig::kTinyTop : 1u;
  static constexpr uint32_t kRangeLen = (sizeof(T) == 8 ? trig::kLargeTop : 0x47B00000u) - kRangeLo;
  // [90112, 2^30)
  static constexpr uint32_t kMediumLo = sizeof(T) == 8 ? trig::kLargeTop : 0x47B00000u;
  static constexpr uint32_t kMediumLen = (sizeof(T) == 8 ? 0x41D00000u : 0x4E800000u) - kMediumLo;
};

// The medium route's reduction on lanes: the pair and 16 q for the row index, as the scalar
// route forms them (x itself below 2^17, Cody-Waite above, the sign applied last).
[[gnu::always_inline]] inline void medium_reduce(vd x, vd &hi, vd &lo, vd &q16) {
  const vd sign = simd::and_bits(x, simd::splat(-0.0));
  const vd ax = simd::andnot_bits(simd::splat(-0.0), x);
  vd h, l;
  const vd q = trig::cody_waite(ax, h, l);
  const vd big = (vd)(ax >= 0x1p17);
  const auto flip = [&](vd v) { return (vd)_mm_xor_pd((__m128d)v, (__m128d)sign); };
  if (simd::movemask(big) == 3) {  // the rule in an array of large arguments
    hi = flip(h);
    lo = flip(l);
    q16 = flip(q);
    return;
  }
  hi = flip(simd::select(big, h, ax));
  lo = simd::and_bits(big, flip(l));
  q16 = flip(simd::and_bits(big, q));
}

template <Fn F, class E>
struct TrigKernel : TrigRange<E> {
  using T = E;
  using V = typename PassFormat<E>::V;
  static constexpr const char *kName =
      F == Fn::kSin ? (sizeof(E) == 8 ? "vdSin" : "vsSin")
                    : F == Fn::kCos ? (sizeof(E) == 8 ? "vdCos" : "vsCos")
                                    : (sizeof(E) == 8 ? "vdTan" : "vsTan");
  [[gnu::always_inline]] static vd core(vd x) {
    if constexpr (F == Fn::kTan) return trig::tan_eval(x, vd{}, 0);
    else return trig::sin_eval(x, vd{}, F == Fn::kCos ? 16 : 0);
  }
  [[gnu::always_inline]] static vd main(vd x) { return core(x); }
  [[gnu::always_inline]] static vd single_core(vd x) {
    if constexpr (F == Fn::kTan) return trig::single_tan(x);
    else if constexpr (F == Fn::kCos) return trig::single_cos(x);
    else return trig::single_sin(x);
  }
  [[gnu::always_inline]] static vf main(vf x) { return trig::widened<single_core>(x); }
  [[gnu::always_inline]] static vd medium_core(vd x) {
    vd hi, lo, q16;
    medium_reduce(x, hi, lo, q16);
    if constexpr (F == Fn::kTan) return trig::tan_eval(hi, lo, 0, q16);
    else return trig::sin_eval(hi, lo, F == Fn::kCos ? 16 : 0, q16);
  }
  [[gnu::always_inline]] static vd medium(vd x) { return medium_core(x); }
  [[gnu::always_inline]] static vf medium(vf x) { return trig::widened<medium_core>(x); }
  static void rare(int i, const E *a, E *y) { scalar_route<F>(i, a, y, kName); }
};

template <class E>
struct SinCosKernel : TrigRange<E> {
  using T = E;
  static constexpr const char *kName = sizeof(E) == 8 ? "vdSinCos" : "vsSinCos";
  [[gnu::always_inline]] static void main_d(vd x, vd &s, vd &c) { trig::sincos_eval(x, vd{}, 0, s, c); }
  [[gnu::always_inline]] static void medium_d(vd x, vd &s, vd &c) {
    vd hi, lo, q16;
    medium_reduce(x, hi, lo, q16);
    trig::sincos_eval(hi, lo, 0, s, c, q16);
  }
  template <void (*G)(vd, vd &, vd &)>
  static void on_lanes(vd x, vd &s, vd &c) { G(x, s, c); }
  template <void (*G)(vd, vd &, vd &)>
  static void on_lanes(vf x, vf &s, vf &c) {
    const vd lo = (vd)_mm_cvtps_pd((__m128)x);
    const vd hi = (vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x));
    vd s0, c0, s1, c1;
    G(lo, s0, c0);
    G(hi, s1, c1);
    s = (vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)s0), _mm_cvtpd_ps((__m128d)s1));
    c = (vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)c0), _mm_cvtpd_ps((__m128d)c1));
  }
  [[gnu::always_inline]] static void main2(vd x, vd &s, vd &c) { main_d(x, s, c); }
  [[gnu::always_inline]] static void main2(vf x, vf &s, vf &c) {
    on_lanes<trig::single_sincos>(x, s, c);
  }
  template <class V>
  static void medium2(V x, V &s, V &c) { on_lanes<medium_d>(x, s, c); }
  static void rare(int i, const E *a, E *y, E *z) { sincos_route(i, a, y, z, kName); }
};

template <Fn F, class E>
inline void run(int n, const E *a, E *y) {
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  packed_pass_medium<TrigKernel<F, E>>(n, a, y);
}

template <class E>
inline void run_sincos(int n, const E *a, E *y, E *z) {
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  packed_pass_medium_two_out<SinCosKernel<E>>(n, a, y, z);
}

}  // namespace
}  // namespace hpk::vmk

using hpk::vmk::Fn;

extern "C" {
void hpk_vmk_kernel_dSin_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::run<Fn::kSin>(n, a, y);
}
void hpk_vmk_kernel_sSin_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::run<Fn::kSin>(n, a, y);
}
void hpk_vmk_kernel_dCos_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::run<Fn::kCos>(n, a, y);
}
void hpk_vmk_kernel_sCos_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::run<Fn::kCos>(n, a, y);
}
void hpk_vmk_kernel_dTan_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::run<Fn::kTan>(n, a, y);
}
void hpk_vmk_kernel_sTan_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::run<Fn::kTan>(n, a, y);
}
void hpk_vmk_kernel_dSinCos_EXHAynn(int n, const double *a, double *y, double *z) {
  hpk::vmk::run_sincos(n, a, y, z);
}
void hpk_vmk_kernel_sSinCos_EXHAynn(int n, const float *a, float *y, float *z) {
  hpk::vmk::run_sincos(n, a, y, z);
}

// Scalar reduced-path routines. They run under the caller's control state.
void hpk_vmk_kernel_dSin_SC(int i, const double *a, double *y, const char *name) {
  hpk::vmk::scalar_route<Fn::kSin>(i, a, y, name);
}
void hpk_vmk_kernel_dCos_SC(int i, const double *a, double *y, const char *name) {
  hpk::vmk::scalar_route<Fn::kCos>(i, a, y, name);
}
void hpk_vmk_kernel_dTan_SC(int i, const double *a, double *y, const char *name) {
  hpk::vmk::scalar_route<Fn::kTan>(i, a, y, name);
}
void hpk_vmk_kernel_dSinCos_SC(int i, const double *a, double *y, double *z, const char *name) {
  hpk::vmk::sincos_route(i, a, y, z, name);
}

#define HPK_TRIG_D_FORWARD(F, lvl)                                                  \
  void hpk_vmk_kernel_d##F##_SC_##lvl(int i, const double *a, double *y) {         \
    hpk_vmk_kernel_d##F##_SC(i, a, y, "d" #F "_" #lvl);                             \
  }
#define HPK_TRIG_S_ROUTINE(F, lvl)                                                  \
  void hpk_vmk_kernel_s##F##_SC_##lvl(int i, const float *a, float *y) {           \
    hpk::vmk::scalar_route<hpk::vmk::Fn::k##F>(i, a, y, "s" #F "_" #lvl);          \
  }
#define HPK_TRIG_LEVELS(M, F) M(F, HA) M(F, LA) M(F, A11)

HPK_TRIG_LEVELS(HPK_TRIG_D_FORWARD, Sin)
HPK_TRIG_LEVELS(HPK_TRIG_D_FORWARD, Cos)
HPK_TRIG_LEVELS(HPK_TRIG_D_FORWARD, Tan)
HPK_TRIG_LEVELS(HPK_TRIG_S_ROUTINE, Sin)
HPK_TRIG_LEVELS(HPK_TRIG_S_ROUTINE, Cos)
HPK_TRIG_LEVELS(HPK_TRIG_S_ROUTINE, Tan)

void hpk_vmk_kernel_dSinCos_SC_HA(int i, const double *a, double *y, double *z) {
  hpk_vmk_kernel_dSinCos_SC(i, a, y, z, "dSinCos_HA");
}
void hpk_vmk_kernel_dSinCos_SC_LA(int i, const double *a, double *y, double *z) {
  hpk_vmk_kernel_dSinCos_SC(i, a, y, z, "dSinCos_LA");
}
void hpk_vmk_kernel_dSinCos_SC_A11(int i, const double *a, double *y, double *z) {
  hpk_vmk_kernel_dSinCos_SC(i, a, y, z, "dSinCos_A11");
}
void hpk_vmk_kernel_sSinCos_SC_HA(int i, const float *a, float *y, float *z) {
  hpk::vmk::sincos_route(i, a, y, z, "sSinCos_HA");
}
void hpk_vmk_kernel_sSinCos_SC_LA(int i, const float *a, float *y, float *z) {
  hpk::vmk::sincos_route(i, a, y, z, "sSinCos_LA");
}
void hpk_vmk_kernel_sSinCos_SC_A11(int i, const float *a, float *y, float *z) {
  hpk::vmk::sincos_route(i, a, y, z, "sSinCos_A11");
}
}
