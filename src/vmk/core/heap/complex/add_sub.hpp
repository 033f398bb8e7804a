// Complex Add and Sub: the parts are added or subtracted independently, so both kernels run
// over the 2n parts as one real array, under control scheme A.
//
// The high accuracy kernel (slots 0 and 1) looks for overflow: a result part whose exponent is
// all ones while both input parts are finite. It runs blocks of 32 parts with one bit of a lane
// mask for each part; the hot loop only tests each register for non-finite results, and the
// rare path keeps the bits whose inputs are finite (tested before that register is stored, so y
// may be a or b). Each such part raises status 3 after the block is stored, the real part before
// the imaginary one, so an element whose two parts overflow reports twice.
//
// The enhanced performance kernel (slot 2) is the same loop without any look at the results.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vmk/core/heap/complex/parts.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {

struct AddParts {
  template <class V>
  static V apply(V a, V b) { return a + b; }
};
struct SubParts {
  template <class V>
  static V apply(V a, V b) { return a - b; }
};

template <class R>
inline bool finite_part(R x) {
  return __builtin_isfinite(x);
}

// The bits of `bad` (parts of one register with a non-finite result) whose two inputs are
// finite; read before the register is stored, so y may be a or b.
template <class R>
[[gnu::noinline, gnu::cold]] uint32_t finite_inputs(int bad, int parts, const R *a, const R *b) {
  uint32_t keep = 0;
  for (int l = 0; l < parts; ++l)
    if ((bad >> l & 1) && finite_part(a[l]) && finite_part(b[l])) keep |= uint32_t(1) << l;
  return keep;
}

template <class C, class Op>
void add_sub_ha(int n, const C *a, const C *b, C *y, const char *name) {
  using P = ComplexParts<C>;
  using V = typename P::V;
  using R = typename P::R;
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  const R *pa = parts(a), *pb = parts(b);
  R *py = parts(y);
  const std::ptrdiff_t m = 2 * std::ptrdiff_t(n);
  constexpr int kW = P::kPerReg, kBlock = 32, kRegs = kBlock / kW;
  std::ptrdiff_t j = 0;
  for (; j + kBlock <= m; j += kBlock) {
    uint32_t mask = 0;
#pragma GCC unroll 16
    for (int k = 0; k < kRegs; ++k) {
      const V r = Op::apply(simd::loadu(pa + j + k * kW), simd::loadu(pb + j + k * kW));
      const int bad = simd::movemask(not_finite(r));
      if (__builtin_expect(bad != 0, 0)) mask |= finite_inputs<R>(bad, kW, pa + j + k * kW, pb + j + k * kW) << (k * kW);
      simd::storeu(py + j + k * kW, r);
    }
    if (__builtin_expect(mask != 0, 0)) {
      for (int l = 0; l < kBlock; ++l)
        if (mask >> l & 1) report_error<C>(kStatusOverflow, int((j + l) >> 1), a, b, y, y, name);
    }
  }
  for (; j < m; ++j) {
    const R u = pa[j], v = pb[j];
    const R r = Op::apply(u, v);
    py[j] = r;
    if (__builtin_expect(!finite_part(r), 0) && finite_part(u) && finite_part(v))
      report_error<C>(kStatusOverflow, int(j >> 1), a, b, y, y, name);
  }
}

template <class C, class Op>
void add_sub_ep(int n, const C *a, const C *b, C *y) {
  using P = ComplexParts<C>;
  using V = typename P::V;
  using R = typename P::R;
  if (n <= 0) return;
  const SseControlScope control(current_mode());
  const R *pa = parts(a), *pb = parts(b);
  R *py = parts(y);
  const std::ptrdiff_t m = 2 * std::ptrdiff_t(n);
  constexpr int kW = P::kPerReg, kRegs = 4;
  std::ptrdiff_t j = 0;
  for (; j + kRegs * kW <= m; j += kRegs * kW) {
    V r[kRegs];
#pragma GCC unroll 4
    for (int k = 0; k < kRegs; ++k)
      r[k] = Op::apply(simd::loadu(pa + j + k * kW), simd::loadu(pb + j + k * kW));
#pragma GCC unroll 4
    for (int k = 0; k < kRegs; ++k) simd::storeu(py + j + k * kW, r[k]);
  }
  for (; j < m; ++j) py[j] = Op::apply(pa[j], pb[j]);
}

}  // namespace hpk::vmk
