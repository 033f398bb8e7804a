// Complex Sin, Cos, Tan, Sinh, Cosh, Tanh for c and z: one template over the function (the
// factor table in heap/celem/ctrig_scalar.hpp), under control scheme B with the target 0x300.
//
// z: the element route of the extended-precision core, one element at a time (relative error
// below 2^-59 before the one rounding of each part). Its sine and cosine pairs come from the
// trig core in SSE double arithmetic, so both kernels run under scheme A as well: the caller's
// rounding mode reaches neither.
//
// c: four elements a pass in double, parts apart, each part rounded once to single:
//   sn, cs   the trig core's single route (within 2^-34 relative, also next to the zeros);
//   sh, ch   e^|h|/2 and e^-|h|/2 as double-double halves (hyperbolic_core.hpp, 2^-58.5
//            each): ch = their sum, sh their difference, or below 1/4 the Taylor series of
//            sinh (the one of Sinh): both within 2^-50 relative.
// A product of two factors, or the quotient of the Tan/Tanh form, is then within 2^-32 of its
// value: within 0.5 ulp + 2^-8 ulp of single after the rounding. The pass covers
// |t| < 90112 (the single trig route) and |h| < 88 (where cosh h < 2^127: no part can overflow
// and sh^2 stays far from the double range's end). Other elements (non-finite parts included)
// go through the element route of the extended core, which also gives their statuses; the
// packed lanes raise none.
//
// Statuses, element by element after its result is stored (names "vcSin", "vzTanh", ...):
//   3 overflow    a finite element with an infinite part
//   1 domain      an element without NaN parts whose result has a NaN part
//                 (Sin of +-inf + i y with y finite, Sinh of x + i inf, ...)
// NaN parts report nothing.
#include <cmath>

#include "hpk/vmk.h"
#include "vmk/core/heap/celem/ctrig_scalar.hpp"
#include "vmk/core/heap/complex/complex_lanes.hpp"
#include "vmk/core/heap/real/hyperbolic_core.hpp"
#include "vmk/core/heap/real/hyperbolic_tables.hpp"
#include "vmk/core/sin/trig_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

using celem::CTrig;
using simd::vd;
using simd::vf;

template <CTrig F>
struct CTrigNames;
#define HPK_CTRIG_NAMES(F, c, z)                 \
  template <>                                    \
  struct CTrigNames<CTrig::F> {                  \
    static constexpr const char *kNames[2] = {c, z}; \
  };
HPK_CTRIG_NAMES(kSin, "vcSin", "vzSin")
HPK_CTRIG_NAMES(kCos, "vcCos", "vzCos")
HPK_CTRIG_NAMES(kTan, "vcTan", "vzTan")
HPK_CTRIG_NAMES(kSinh, "vcSinh", "vzSinh")
HPK_CTRIG_NAMES(kCosh, "vcCosh", "vzCosh")
HPK_CTRIG_NAMES(kTanh, "vcTanh", "vzTanh")
#undef HPK_CTRIG_NAMES

template <CTrig F, class T>
constexpr const char *name_of() {
  return CTrigNames<F>::kNames[sizeof(T) == 16];
}

// The status of element i, whose result is stored; reported when not 0.
template <CTrig F, class T, class R>
[[gnu::cold, gnu::noinline]] void ctrig_report(int i, R x, R z, celem::Parts<R> p, const T *a, T *y) {
  const int code = celem::ctrig_status(x, z, p);
  if (code) report_error<T>(code, i, a, a, y, y, name_of<F, T>());
}

// One element of the extended route, x and z its parts (read before any store, so that y may
// be a), with its status.
template <CTrig F, class T, class R>
inline void ctrig_element(int i, R x, R z, const T *a, T *y) {
  const celem::Parts<R> p = celem::ctrig_element<F>(x, z);
  y[i].re = p.re;
  y[i].im = p.im;
  // Finite parts from finite parts report nothing: test the result first.
  if (__builtin_expect(!(std::isfinite(p.re) && std::isfinite(p.im)), 0))
    ctrig_report<F, T, R>(i, x, z, p, a, y);
}

template <CTrig F, class T, class R>
void ctrig_array(int n, const T *a, T *y) {
  for (int i = 0; i < n; ++i) ctrig_element<F, T, R>(i, a[i].re, a[i].im, a, y);
}

// ---- single: the packed pass ---------------------------------------------------------------

struct LaneFactors {
  vd sh, ch, sn, cs;
};

// sinh h, cosh h for |h| < 88 and sin t, cos t for |t| < 90112 on two lanes.
[[gnu::always_inline]] inline LaneFactors lane_factors(vd h, vd t) {
  using namespace hyperbolic;
  LaneFactors f;
  const vd ah = vabs(h);
  const ExpParts e = exp_parts<true>(ah);
  f.ch = (e.pos_hi + e.neg_hi) + (e.pos_lo + e.neg_lo);
  const vd diff = (e.pos_hi - e.neg_hi) + (e.pos_lo - e.neg_lo);
  const vd series = odd_series(ah, ah * ah, hyperbolic_tables::kSinhPoly);
  f.sh = with_sign(simd::select((vd)(ah < 0.25), series, diff), sign_of(h));
  trig::single_sincos(t, f.sn, f.cs);
  // sin(+-0) = +-0: the route's sum would give +0 for both.
  f.sn = simd::select((vd)(t == 0.0), t, f.sn);
  return f;
}

// The parts of two elements (as h, t lanes) from their factors.
template <CTrig F>
[[gnu::always_inline]] inline void lane_parts(vd h, vd t, vd &re, vd &im) {
  const LaneFactors f = lane_factors(h, t);
  if constexpr (F == CTrig::kSinh) {
    re = f.sh * f.cs;
    im = f.ch * f.sn;
  } else if constexpr (F == CTrig::kCosh) {
    re = f.ch * f.cs;
    im = f.sh * f.sn;
  } else if constexpr (F == CTrig::kSin) {
    re = f.sn * f.ch;
    im = f.cs * f.sh;
  } else if constexpr (F == CTrig::kCos) {
    re = f.cs * f.ch;
    im = -(f.sn * f.sh);
  } else {
    const vd rd = simd::splat(1.0) / (f.sh * f.sh + f.cs * f.cs);
    const vd hyp = (f.sh * f.ch) * rd, circ = (f.sn * f.cs) * rd;
    re = F == CTrig::kTanh ? hyp : circ;
    im = F == CTrig::kTanh ? circ : hyp;
  }
}

// Four elements from src to dst (dst may be src); returns the mask of the elements outside
// the pass's range, whose lanes hold unchecked values.
template <CTrig F>
[[gnu::always_inline]] inline int single_pass(const hpk_complex8 *src, hpk_complex8 *dst) {
  const lanes::C4 v = lanes::load_c4(src);
  const vf h = celem::is_circular(F) ? v.im : v.re;
  const vf t = celem::is_circular(F) ? v.re : v.im;
  const vf abs_mask = (vf)simd::vui{0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu, 0x7FFFFFFFu};
  // a NaN fails both comparisons
  const vf ok = (vf)((simd::vi)(simd::and_bits(t, abs_mask) < 90112.0f) &
                     (simd::vi)(simd::and_bits(h, abs_mask) < 88.0f));
  vd re0, im0, re1, im1;
  lane_parts<F>(lanes::widen_lo(h), lanes::widen_lo(t), re0, im0);
  lane_parts<F>(lanes::widen_hi(h), lanes::widen_hi(t), re1, im1);
  lanes::store_c4(dst, lanes::interleave(lanes::narrow(re0, re1), lanes::narrow(im0, im1)));
  return simd::movemask(ok) ^ 0xF;
}

// The elements of a pass outside its range, in order, through the element route; v holds
// the pass's arguments (a may be y).
template <CTrig F>
[[gnu::cold, gnu::noinline]] void single_rare(int i, int rare, const hpk_complex8 *v,
                                              const hpk_complex8 *a, hpk_complex8 *y) {
  for (int k = 0; k < 4; ++k)
    if (rare >> k & 1) ctrig_element<F, hpk_complex8, float>(i + k, v[k].re, v[k].im, a, y);
}

template <CTrig F>
void single_array(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    hpk_complex8 v[4];
    __builtin_memcpy(v, a + i, sizeof v);
    const int rare = single_pass<F>(v, y + i);
    if (__builtin_expect(rare != 0, 0)) single_rare<F>(i, rare, v, a, y);
  }
  if (i < n) {
    // The tail through the same pass on a padded copy (zeros are in range).
    const int m = n - i;
    hpk_complex8 v[4] = {}, r[4];
    __builtin_memcpy(v, a + i, sizeof(hpk_complex8) * m);
    const int rare = single_pass<F>(v, r) & ((1 << m) - 1);
    __builtin_memcpy(y + i, r, sizeof(hpk_complex8) * m);
    if (rare) single_rare<F>(i, rare, v, a, y);
  }
}

template <CTrig F>
void run_c(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  if (n <= 0) return;
  const X87ControlScope x87(X87ControlScope::kExtended);
  const SseControlScope sse(current_mode());
  single_array<F>(n, a, y);
}

template <CTrig F>
void run_z(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const X87ControlScope x87(X87ControlScope::kExtended);
  const SseControlScope sse(current_mode());  // the trig core's pairs are SSE arithmetic
  ctrig_array<F, hpk_complex16, double>(n, a, y);
}

}  // namespace
}  // namespace hpk::vmk

#define HPK_CTRIG_KERNELS(Fn, F)                                                              \
  void hpk_vmk_kernel_c##Fn##_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {        \
    hpk::vmk::run_c<hpk::vmk::celem::CTrig::F>(n, a, y);                                      \
  }                                                                                           \
  void hpk_vmk_kernel_z##Fn##_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {      \
    hpk::vmk::run_z<hpk::vmk::celem::CTrig::F>(n, a, y);                                      \
  }

extern "C" {
HPK_CTRIG_KERNELS(Sin, kSin)
HPK_CTRIG_KERNELS(Cos, kCos)
HPK_CTRIG_KERNELS(Tan, kTan)
HPK_CTRIG_KERNELS(Sinh, kSinh)
HPK_CTRIG_KERNELS(Cosh, kCosh)
HPK_CTRIG_KERNELS(Tanh, kTanh)
}
