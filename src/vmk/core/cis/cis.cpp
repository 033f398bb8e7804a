// CIS: from a real x the complex value cos x + i sin x, with the steps of SinCos.
//
// zCIS, a loop over pairs: both lanes in [2^-252, 90112) take the trig core's packed sine and
// cosine (bit for bit what dSinCos gives there); any other pair goes element by element
// through hpk_vmk_kernel_zCIS_SC, the scalar routine for every input (zeros and tiny values,
// reduction of large ones, NaN, infinity).
// cCIS, a lane-mask kernel: four singles a pass, widened to double and run through the single
// SinCos route (every non-zero |x| below 90112), rounded once; a zero, a large, NaN or infinite
// lane is rare and goes to vccis_cout_rare, which uses hpk_vmk_kernel_cCIS_SC_HA.
//
// An infinite x stores the default NaN in both parts and raises status 1 through the complex
// dispatcher ("vcCIS", "vzCIS"); a NaN x gives NaN parts and no status. The dispatcher is given
// y as the input array too: a complex element cannot be read from the real array a (it could
// lie beyond its end), so the call-back sees the stored NaN as the argument.
#include <cstdint>

#include "hpk/vmk.h"
#include "vmk/core/sin/trig_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk {
namespace {

using simd::vd;
using simd::vf;

// The scalar routine of both types: status 1 for an infinity, reported under `name` when it is
// not null; otherwise the SinCos scalar route of the same precision, which reports nothing for
// a finite or NaN x.
template <class C, class R>
int cis_element(int i, const R *a, C *y, const char *name) {
  const R x = a[i];
  if (__builtin_isinf(x)) {
    y[i] = {x - x, x - x};
    if (name) report_error<C>(kStatusDomain, i, y, y, y, y, name);
    return kStatusDomain;
  }
  R s, c;
  if constexpr (sizeof(R) == 8) hpk_vmk_kernel_dSinCos_SC(0, &x, &s, &c, "vzCIS");
  else hpk_vmk_kernel_sSinCos_SC_HA(0, &x, &s, &c);
  y[i] = {c, s};
  return 0;
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {

// Constants of the cCIS lane-mask kernel, each replicated over a register, in 64-byte rows:
// row 0 the magnitude mask and the packed range's upper bound (90112) as single bit patterns.
alignas(64) const uint32_t vccis_data[2][16] = {
    {0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu, 0x47B00000u, 0x47B00000u, 0x47B00000u,
     0x47B00000u},
    {}};

// One element of cCIS for every input: reads *in, writes *out, returns the status.
int vccis_cout_rare(const float *in, hpk_complex8 *out) {
  return hpk::vmk::cis_element<hpk_complex8, float>(0, in, out, nullptr);
}

void hpk_vmk_kernel_zCIS_SC(int32_t i, const double *a, hpk_complex16 *y, const char *name) {
  hpk::vmk::cis_element<hpk_complex16, double>(i, a, y, name);
}
void hpk_vmk_kernel_zCIS_SC_HA(int32_t i, const double *a, hpk_complex16 *y) {
  hpk_vmk_kernel_zCIS_SC(i, a, y, "zCIS_HA");
}
void hpk_vmk_kernel_zCIS_SC_LA(int32_t i, const double *a, hpk_complex16 *y) {
  hpk_vmk_kernel_zCIS_SC(i, a, y, "zCIS_LA");
}
void hpk_vmk_kernel_zCIS_SC_A11(int32_t i, const double *a, hpk_complex16 *y) {
  hpk_vmk_kernel_zCIS_SC(i, a, y, "zCIS_A11");
}
void hpk_vmk_kernel_cCIS_SC_HA(int32_t i, const float *a, hpk_complex8 *y) {
  hpk::vmk::cis_element<hpk_complex8, float>(i, a, y, "cCIS_HA");
}
void hpk_vmk_kernel_cCIS_SC_LA(int32_t i, const float *a, hpk_complex8 *y) {
  hpk::vmk::cis_element<hpk_complex8, float>(i, a, y, "cCIS_LA");
}
void hpk_vmk_kernel_cCIS_SC_A11(int32_t i, const float *a, hpk_complex8 *y) {
  hpk::vmk::cis_element<hpk_complex8, float>(i, a, y, "cCIS_A11");
}

void hpk_vmk_kernel_zCIS_EXHAynn(int n, const double *a, hpk_complex16 *y) {
  using namespace hpk::vmk;
  namespace simd = hpk::simd;
  using simd::vd;
  using simd::vf;
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  const vd lo = simd::splat(0x1p-252), hi = simd::splat(90112.0);
  int i = 0;
  for (; i + 2 <= n; i += 2) {
    const vd x = simd::loadu(a + i);
    const vd ax = simd::andnot_bits(simd::splat(-0.0), x);
    if (__builtin_expect(simd::movemask((vd)((ax >= lo) & (ax < hi))) == 3, 1)) {
      vd s, c;
      trig::sincos_eval(x, vd{}, 0, s, c);
      simd::storeu(&y[i].re, (vd)_mm_unpacklo_pd((__m128d)c, (__m128d)s));
      simd::storeu(&y[i + 1].re, (vd)_mm_unpackhi_pd((__m128d)c, (__m128d)s));
    } else {
      hpk_vmk_kernel_zCIS_SC(i, a, y, "vzCIS");
      hpk_vmk_kernel_zCIS_SC(i + 1, a, y, "vzCIS");
    }
  }
  if (i < n) hpk_vmk_kernel_zCIS_SC(i, a, y, "vzCIS");
}

void hpk_vmk_kernel_cCIS_EXHAynn(int n, const float *a, hpk_complex8 *y) {
  using namespace hpk::vmk;
  namespace simd = hpk::simd;
  using simd::vd;
  using simd::vf;
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  const vf mag = (vf)simd::loadu(reinterpret_cast<const float *>(&vccis_data[0][0]));
  const simd::vi top = (simd::vi)simd::loadu(reinterpret_cast<const float *>(&vccis_data[0][4]));
  // Lanes past the end of a partial pass hold 1.0, a main-route value.
  auto pass = [&](int i, int count) {
    alignas(16) float in[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    for (int l = 0; count < 4 && l < count; ++l) in[l] = a[i + l];
    const vf x = count == 4 ? simd::loadu(a + i) : simd::loadu(in);
    // rare: zero (its sign), |x| >= 90112, NaN, infinity (integer compares on the bits)
    const simd::vi b = (simd::vi)simd::and_bits(x, mag);
    const int rare = _mm_movemask_ps((__m128)((b == simd::vi{}) | (b >= top))) & ((1 << count) - 1);
    vd s0, c0, s1, c1;
    trig::single_sincos((vd)_mm_cvtps_pd((__m128)x), s0, c0);
    trig::single_sincos((vd)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x)), s1, c1);
    const __m128 s = _mm_movelh_ps(_mm_cvtpd_ps((__m128d)s0), _mm_cvtpd_ps((__m128d)s1));
    const __m128 c = _mm_movelh_ps(_mm_cvtpd_ps((__m128d)c0), _mm_cvtpd_ps((__m128d)c1));
    alignas(16) hpk_complex8 out[4];
    _mm_store_ps(&out[0].re, _mm_unpacklo_ps(c, s));
    _mm_store_ps(&out[2].re, _mm_unpackhi_ps(c, s));
    for (int l = 0; l < 4; ++l) {
      if (!(rare >> l & 1)) continue;
      if (vccis_cout_rare(a + i + l, out + l) != 0) {
        y[i + l] = out[l];
        report_error<hpk_complex8>(kStatusDomain, i + l, y, y, y, y, "vcCIS");
      }
    }
    for (int l = 0; l < count; ++l) y[i + l] = out[l];
  };
  int i = 0;
  for (; i + 4 <= n; i += 4) pass(i, 4);
  if (i < n) pass(i, n - i);
}
}
