// LGamma, d and s, on the lane-mask frame: the packed route of lgamma_core.hpp for the main
// range of the type, the rare routines (lgamma_rare.cpp) for the rest. The single kernel
// computes in double lanes and rounds once. Control scheme A: round to nearest for the SSE
// arithmetic whatever the caller's state.
#include <cstdint>

#include "vmk/core/lgamma/lgamma_core.hpp"
#include "vmk/core/lgamma/lgamma_rare.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/lane_mask.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::lgamma {
namespace {

using simd::vf;

// Main range: [2^-1022, 2^990) in double (the split of the Stirling product stays finite);
// (0, 2^121) in single, where every input is a normal double and lgamma stays below the
// largest single (lgamma(2^121) = 2.2e38), and the negative non-integers above -2^20 by the
// reflection. Everything else, NaN included, is rare.
struct DoubleTraits {
  using T = double;
  using V = vd;
  static constexpr int kLanes = 2;
  static constexpr const char *kName = "vdLGamma";
  [[gnu::always_inline]] static V compute(V x, int &rare) {
    const vd ok = simd::and_bits((vd)(x >= 0x1p-1022), (vd)(x < 0x1p990));
    rare = simd::movemask(ok) ^ 3;
    return main_route(simd::select(ok, x, simd::splat(1.5)));
  }
  static int cout_rare(const T *in, T *out) { return vdlgamma_cout_rare(in, out); }
};

struct SingleTraits {
  using T = float;
  using V = vf;
  static constexpr int kLanes = 4;
  static constexpr const char *kName = "vsLGamma";
  // Two double lanes: main_route on |x|, and where a lane is negative the reflection on top
  // (lgamma_core.hpp); `lost` gets the negative lanes the reflection does not hold.
  [[gnu::always_inline]] static vd half(vd x, int neg, int &lost) {
    if (__builtin_expect(neg == 0, 1)) return main_route(x);
    const vd B = main_route(simd::andnot_bits(simd::splat(-0.0), x));
    vd keep;
    const vd y = reflect_single(x, B, keep);
    lost = neg & ~simd::movemask(keep);
    return simd::select((vd)(x < 0.0), y, B);
  }
  // Main range: (0, 2^121) and the negative non-integers above -2^20 (but the lanes next to a
  // zero of lgamma); the rest is rare.
  [[gnu::always_inline]] static V compute(V x, int &rare) {
    const vf pos = simd::and_bits((vf)(x > 0.0f), (vf)(x < 0x1p121f));
    const vf neg = simd::and_bits((vf)(x < 0.0f), (vf)(x > -0x1p20f));
    const int mn = simd::movemask(neg);
    if (__builtin_expect(mn == 0, 1)) {
      rare = simd::movemask(pos) ^ 15;
      const __m128 v = (__m128)simd::select(pos, x, simd::splat(1.5f));
      const vd lo = main_route((vd)_mm_cvtps_pd(v));
      const vd hi = main_route((vd)_mm_cvtps_pd(_mm_movehl_ps(v, v)));
      return (vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)lo), _mm_cvtpd_ps((__m128d)hi));
    }
    const vf ok = simd::or_bits(pos, neg);
    const __m128 v = (__m128)simd::select(ok, x, simd::splat(1.5f));
    int lost_lo = 0, lost_hi = 0;
    const vd lo = half((vd)_mm_cvtps_pd(v), mn & 3, lost_lo);
    const vd hi = half((vd)_mm_cvtps_pd(_mm_movehl_ps(v, v)), mn >> 2, lost_hi);
    rare = (simd::movemask(ok) ^ 15) | lost_lo | (lost_hi << 2);
    return (vf)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)lo), _mm_cvtpd_ps((__m128d)hi));
  }
  static int cout_rare(const T *in, T *out) { return vslgamma_cout_rare(in, out); }
};

template <class Tr>
struct Kernel : Tr {
  using typename Tr::T;
  static T harmless() { return T(1.5); }
  static void report(int status, int index, const T *a, T *y) {
    report_error<T>(status, index, a, a, y, y, Tr::kName);
  }
};

template <class Tr>
void run(int n, const typename Tr::T *a, typename Tr::T *y) {
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  LaneMaskPass<Kernel<Tr>>::run(n, a, y);
}

}  // namespace
}  // namespace hpk::vmk::lgamma

extern "C" {
void hpk_vmk_kernel_dLGamma_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::lgamma::run<hpk::vmk::lgamma::DoubleTraits>(n, a, y);
}
void hpk_vmk_kernel_sLGamma_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::lgamma::run<hpk::vmk::lgamma::SingleTraits>(n, a, y);
}
}
