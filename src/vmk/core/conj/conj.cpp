// Conj: the real part copied, the sign bit of the imaginary part flipped. Done on bits, so NaN
// payloads (signalling ones too) come through unchanged but for that sign; no control state,
// no status.
#include <cstddef>

#include "vmk/core/heap/complex/parts.hpp"

namespace hpk::vmk {
namespace {

template <class C>
void conjugate(int n, const C *a, C *y) {
  using P = ComplexParts<C>;
  using V = typename P::V;
  using R = typename P::R;
  if (n <= 0) return;
  const R *pa = parts(a);
  R *py = parts(y);
  const std::ptrdiff_t m = 2 * std::ptrdiff_t(n);
  // -0.0 in the imaginary lanes, +0.0 in the real ones.
  V flip;
  for (int k = 0; k < P::kPerReg; ++k) flip[k] = (k & 1) ? R(-0.0) : R(0.0);
  constexpr int kW = P::kPerReg, kRegs = 4;
  std::ptrdiff_t j = 0;
  for (; j + kRegs * kW <= m; j += kRegs * kW) {
    V r[kRegs];
#pragma GCC unroll 4
    for (int k = 0; k < kRegs; ++k) r[k] = simd::xor_bits(simd::loadu(pa + j + k * kW), flip);
#pragma GCC unroll 4
    for (int k = 0; k < kRegs; ++k) simd::storeu(py + j + k * kW, r[k]);
  }
  for (; j < m; j += 2) {
    py[j] = simd::from_bits(simd::bits(pa[j]));
    py[j + 1] = simd::from_bits(simd::bits(pa[j + 1]) ^ simd::bits(R(-0.0)));
  }
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_cConj_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 *y) {
  hpk::vmk::conjugate(n, a, y);
}
void hpk_vmk_kernel_zConj_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 *y) {
  hpk::vmk::conjugate(n, a, y);
}
}
