// Powx: x^b with one exponent b for the whole array. The exponent is looked at once, by its exact
// bits (one ulp off takes the general route):
//   2      each element times itself (no logarithm: a negative base gives the plain square)
//   1/2    the Sqrt kernel      -1/2  InvSqrt      -1    Inv
//   1/3    Cbrt                 -1/3  InvCbrt      2/3   Pow2o3     3/2   Pow3o2
// each through a forwarder that calls the function's table at the high accuracy slot, so a
// status from there carries that kernel's name ("vdSqrt"), not "vdPowx";
//   others the route of Pow with the exponent split and classified once: the packed route when
//          the exponent is in its range (then only x and the result are tested), powc_scalar
//          for every element otherwise. Statuses as Pow's, named "vdPowx" / "vsPowx".
#include "vmk/core/pow/pow_kernel.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
namespace {

void call_to_Sqrt_HA(int n, const double *a, double *y) { hpk_vmk_kernel_dSqrt_ttab[1](n, a, y); }
void call_to_Sqrt_HA(int n, const float *a, float *y) { hpk_vmk_kernel_sSqrt_ttab[1](n, a, y); }
void call_to_InvSqrt_HA(int n, const double *a, double *y) {
  hpk_vmk_kernel_dInvSqrt_ttab[1](n, a, y);
}
void call_to_InvSqrt_HA(int n, const float *a, float *y) {
  hpk_vmk_kernel_sInvSqrt_ttab[1](n, a, y);
}
void call_to_Inv_HA(int n, const double *a, double *y) { hpk_vmk_kernel_dInv_ttab[1](n, a, y); }
void call_to_Inv_HA(int n, const float *a, float *y) { hpk_vmk_kernel_sInv_ttab[1](n, a, y); }
void call_to_Cbrt_HA(int n, const double *a, double *y) { hpk_vmk_kernel_dCbrt_ttab[1](n, a, y); }
void call_to_Cbrt_HA(int n, const float *a, float *y) { hpk_vmk_kernel_sCbrt_ttab[1](n, a, y); }
void call_to_InvCbrt_HA(int n, const double *a, double *y) {
  hpk_vmk_kernel_dInvCbrt_ttab[1](n, a, y);
}
void call_to_InvCbrt_HA(int n, const float *a, float *y) {
  hpk_vmk_kernel_sInvCbrt_ttab[1](n, a, y);
}
void call_to_Pow2o3_HA(int n, const double *a, double *y) {
  hpk_vmk_kernel_dPow2o3_ttab[1](n, a, y);
}
void call_to_Pow2o3_HA(int n, const float *a, float *y) {
  hpk_vmk_kernel_sPow2o3_ttab[1](n, a, y);
}
void call_to_Pow3o2_HA(int n, const double *a, double *y) {
  hpk_vmk_kernel_dPow3o2_ttab[1](n, a, y);
}
void call_to_Pow3o2_HA(int n, const float *a, float *y) {
  hpk_vmk_kernel_sPow3o2_ttab[1](n, a, y);
}

// The exponents with a route of their own, as bit patterns.
template <class E>
struct PowxExponents;
template <>
struct PowxExponents<double> {
  using U = uint64_t;
  static constexpr U dbTwo = 0x4000000000000000, db0p5 = 0x3FE0000000000000,
                     dbm0p5 = 0xBFE0000000000000, dbm1 = 0xBFF0000000000000,
                     db1o3 = 0x3FD5555555555555, dbm1o3 = 0xBFD5555555555555,
                     db2o3 = 0x3FE5555555555555, db3o2 = 0x3FF8000000000000;
};
template <>
struct PowxExponents<float> {
  using U = uint32_t;
  static constexpr U dbTwo = 0x40000000, db0p5 = 0x3F000000, dbm0p5 = 0xBF000000,
                     dbm1 = 0xBF800000, db1o3 = 0x3EAAAAAB, dbm1o3 = 0xBEAAAAAB,
                     db2o3 = 0x3F2AAAAB, db3o2 = 0x3FC00000;
};

// The exponent 2: each element times itself, in rounds of 4 elements, then a tail. Every
// element is read before its result is stored, so y equal to a is fine.
template <class E>
void square(int n, const E *a, E *y) {
  using V = typename PassFormat<E>::V;
  constexpr int L = PassFormat<E>::kLanes, R = 4 / L;
  int i = 0;
  for (; i <= n - 4; i += 4) {
    V v[R];
    for (int k = 0; k < R; ++k) v[k] = simd::loadu(a + i + k * L);
    for (int k = 0; k < R; ++k) simd::storeu(y + i + k * L, v[k] * v[k]);
  }
  for (; i < n; ++i) y[i] = a[i] * a[i];
}

template <class E>
void powx(int n, const E *a, E b, E *y, const char *name) {
  if (n <= 0) return;
  using X = PowxExponents<E>;
  switch (simd::bits(b)) {
    case X::db0p5: return call_to_Sqrt_HA(n, a, y);
    case X::dbm0p5: return call_to_InvSqrt_HA(n, a, y);
    case X::dbm1: return call_to_Inv_HA(n, a, y);
    case X::db1o3: return call_to_Cbrt_HA(n, a, y);
    case X::dbm1o3: return call_to_InvCbrt_HA(n, a, y);
    case X::db2o3: return call_to_Pow2o3_HA(n, a, y);
    case X::db3o2: return call_to_Pow3o2_HA(n, a, y);
    default: break;
  }
  const SseControlScope control(current_mode());
  if (simd::bits(b) == X::dbTwo) return square(n, a, y);
  PowKernel<E, true> k{a, a, y, name};
  k.y_class = pow_core::classify_y(double(b));
  if (!k.exponent_in_range(b)) {
    for (int i = 0; i < n; ++i) k.rare(a[i], b, i);
    return;
  }
  k.yc = simd::splat(double(b));
  pow_core::split_y(k.yc, k.yh, k.yl);
  packed_pass2(k, n, a, ConstOperand<E>{b}, y);
}

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dPowx_EXHAynn(int n, const double *a, double b, double *y) {
  hpk::vmk::powx(n, a, b, y, "vdPowx");
}
void hpk_vmk_kernel_sPowx_EXHAynn(int n, const float *a, float b, float *y) {
  hpk::vmk::powx(n, a, b, y, "vsPowx");
}
}
