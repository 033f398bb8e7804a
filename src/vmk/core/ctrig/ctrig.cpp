// Complex Sin, Cos, Tan, Sinh, Cosh, Tanh for c and z: one template over the function (the
// factor table in heap/celem/ctrig_scalar.hpp), under control scheme B with the target 0x300.
//
// z: two elements a pass in double-double (see double_pass): the factors as normalised pairs
// (sn, cs within 2^-70, ch 2^-58, sh 2^-56.5), each product exact in its high part, so each
// part is within about 2^-55.5 of its value before its one rounding: 0.5 ulp + 2^-2.5 ulp.
// Elements outside the pass take the element route of the extended-precision core (relative
// error below 2^-59 before the one rounding of each part), statuses included. The trig core's
// pairs are SSE arithmetic, so both kernels run under scheme A as well as scheme B: the
// caller's rounding mode reaches neither.
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

// ---- double: the packed pass in double-double ---------------------------------------------

using simd::vdd;

// hi + lo with |lo| <= ulp(hi) / 2, for |hi| >= |lo| or hi = 0.
[[gnu::always_inline]] inline vdd normal(vd hi, vd lo) { return hyperbolic::fast_two_sum(hi, lo); }

// (a.hi + a.lo)(b.hi + b.lo) as a double-double to about 2^-104 relative of normalised pairs,
// the high product exact by halves cut by masking (no overflow for parts near 2^1020); a zero
// product keeps the sign of the plain product.
[[gnu::always_inline]] inline vdd dd_mul(const vdd &a, const vdd &b) {
  const vdd p = lanes::product(a.hi, lanes::split26(a.hi), b.hi, lanes::split26(b.hi));
  return {p.hi, p.lo + (a.hi * b.lo + a.lo * b.hi)};
}
[[gnu::always_inline]] inline vd dd_round(const vdd &a) { return lanes::add_tail(a.hi, a.lo); }

// n / d rounded once: q = n.hi / d.hi, then one correction with the exact product q d.hi.
[[gnu::always_inline]] inline vd dd_div(const vdd &n, const vdd &d) {
  const vd q = n.hi / d.hi;
  const vdd qd = lanes::product(q, lanes::split26(q), d.hi, lanes::split26(d.hi));
  const vd num = (((n.hi - qd.hi) - qd.lo) + n.lo) - q * d.lo;
  return lanes::add_tail(q, num / d.hi);
}

struct LaneFactorsDD {
  vdd sh, ch, sn, cs;
};

// The four factors as normalised pairs: sn, cs within 2^-70 (the trig core's pairs), ch within
// 2^-58, sh within 2^-56.5 (the difference of the halves for |h| >= 1/4, where it loses at
// most coth(1/4) < 4.1) or 2^-60 (h + h^3 S(h^2) below 1/4, the correction rounded at its own
// size, 2^-9 of h at most). For |t| < 90112, |h| < 709.
[[gnu::always_inline]] inline LaneFactorsDD lane_factors_dd(vd h, vd t) {
  using namespace hyperbolic;
  LaneFactorsDD f;
  const vd ah = vabs(h);
  const ExpParts e = exp_parts<true>(ah);
  const vdd c = fast_two_sum(e.pos_hi, e.neg_hi);
  f.ch = normal(c.hi, c.lo + (e.pos_lo + e.neg_lo));
  const vdd d = fast_two_sum(e.pos_hi, -e.neg_hi);
  const vdd large = normal(d.hi, d.lo + (e.pos_lo - e.neg_lo));
  const vd h2 = ah * ah;
  vd poly = c2(hyperbolic_tables::kSinhPoly[hyperbolic_tables::kSinhPolyLen - 1]);
  for (int k = hyperbolic_tables::kSinhPolyLen - 2; k >= 0; --k)
    poly = c2(hyperbolic_tables::kSinhPoly[k]) + h2 * poly;
  const vdd small = normal(ah, (ah * h2) * poly);
  const vd is_small = (vd)(ah < 0.25);
  const vd sg = sign_of(h);
  f.sh = {with_sign(simd::select(is_small, small.hi, large.hi), sg),
          simd::xor_bits(simd::select(is_small, small.lo, large.lo), sg)};
  const trig::Arg<vd> a = trig::reduce_pio32(t, vd{});
  const vd r2 = a.r * a.r;
  const vd ps = trig::poly_s(r2), pc = trig::poly_c(r2);
  trig::from_row_dd(trig::row(a.t, 0), a, ps, pc, f.sn.hi, f.sn.lo);
  trig::from_row_dd(trig::row(a.t, 16), a, ps, pc, f.cs.hi, f.cs.lo);
  // sin(+-0) = +-0
  f.sn.hi = simd::select((vd)(t == 0.0), t, f.sn.hi);
  return f;
}

// Two elements from src to dst (dst may be src); returns the mask of the elements outside the
// pass's range: |t| < 90112 and |h| below 709 (products) or 20 (quotients, where sh^2 stays
// small and the real part is +-1 within 2^-57 from there on), each part zero or at least
// 2^-500 (so no product of two factors falls below 2^-1000 and loses its low part).
template <CTrig F>
[[gnu::always_inline]] inline int double_pass(const hpk_complex16 *src, hpk_complex16 *dst) {
  const lanes::Z2 v = lanes::load_z2(src);
  const vd h = celem::is_circular(F) ? v.im : v.re;
  const vd t = celem::is_circular(F) ? v.re : v.im;
  const vd ah = hyperbolic::vabs(h), at = hyperbolic::vabs(t);
  constexpr double hmax = celem::is_quotient(F) ? 20.0 : 709.0;
  const vd tiny = (vd)(((ah < 0x1p-500) & (ah != 0.0)) | ((at < 0x1p-500) & (at != 0.0)));
  const vd ok = simd::andnot_bits(tiny, (vd)((at < 90112.0) & (ah < hmax)));
  const LaneFactorsDD f = lane_factors_dd(h, t);
  vd re, im;
  if constexpr (F == CTrig::kSinh) {
    re = dd_round(dd_mul(f.sh, f.cs));
    im = dd_round(dd_mul(f.ch, f.sn));
  } else if constexpr (F == CTrig::kCosh) {
    re = dd_round(dd_mul(f.ch, f.cs));
    im = dd_round(dd_mul(f.sh, f.sn));
  } else if constexpr (F == CTrig::kSin) {
    re = dd_round(dd_mul(f.sn, f.ch));
    im = dd_round(dd_mul(f.cs, f.sh));
  } else if constexpr (F == CTrig::kCos) {
    re = dd_round(dd_mul(f.cs, f.ch));
    im = -dd_round(dd_mul(f.sn, f.sh));
  } else {
    const vdd d = lanes::dd_add(dd_mul(f.sh, f.sh), dd_mul(f.cs, f.cs));
    const vd hyp = dd_div(dd_mul(f.sh, f.ch), d), circ = dd_div(dd_mul(f.sn, f.cs), d);
    re = F == CTrig::kTanh ? hyp : circ;
    im = F == CTrig::kTanh ? circ : hyp;
  }
  lanes::store_z2(dst, lanes::interleave(re, im));
  return simd::movemask(ok) ^ 3;
}

template <CTrig F>
[[gnu::cold, gnu::noinline]] void double_rare(int i, int rare, const hpk_complex16 *v,
                                              const hpk_complex16 *a, hpk_complex16 *y) {
  for (int k = 0; k < 2; ++k)
    if (rare >> k & 1) ctrig_element<F, hpk_complex16, double>(i + k, v[k].re, v[k].im, a, y);
}

template <CTrig F>
void double_array(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  int i = 0;
  for (; i + 2 <= n; i += 2) {
    hpk_complex16 v[2];
    __builtin_memcpy(v, a + i, sizeof v);
    const int rare = double_pass<F>(v, y + i);
    if (__builtin_expect(rare != 0, 0)) double_rare<F>(i, rare, v, a, y);
  }
  if (i < n) {
    hpk_complex16 v[2] = {a[i], {}}, r[2];
    const int rare = double_pass<F>(v, r) & 1;
    y[i] = r[0];
    if (rare) double_rare<F>(i, rare, v, a, y);
  }
}

template <CTrig F>
void run_z(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  if (n <= 0) return;
  const X87ControlScope x87(X87ControlScope::kExtended);
  const SseControlScope sse(current_mode());
  double_array<F>(n, a, y);
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
