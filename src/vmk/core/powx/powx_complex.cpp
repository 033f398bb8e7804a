// Complex Powx for c and z: z^w with one exponent w for the whole array, the routes of Pow
// (core/pow/pow_complex.cpp). Statuses as Pow's, named "vcPowx" / "vzPowx", with the base array
// handed twice to the dispatcher.
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/pow_single_lanes.hpp"
#include "vmk/service/thread_state.hpp"

extern "C" {
void hpk_vmk_kernel_cPowx_EXHAynn(int n, const hpk_complex8 *a, hpk_complex8 b, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::celem::pow_single<true>(n, a, &b, a, y, "vcPowx");
}
void hpk_vmk_kernel_zPowx_EXHAynn(int n, const hpk_complex16 *a, hpk_complex16 b, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::celem::powx_array<hpk_complex16, double>(n, a, b, y, "vzPowx");
}
}
