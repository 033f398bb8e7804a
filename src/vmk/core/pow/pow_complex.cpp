// Complex Pow for c and z: z^w = e^(w ln z).
// z: per element in extended precision (heap/celem/log_scalar.hpp), under control scheme B with
// the target 0x300. c: the packed double route of heap/celem/pow_single_lanes.hpp under scheme A,
// its rare lanes on the extended element routine. Statuses in heap/celem/pow_kernel.hpp, named
// "vcPow" / "vzPow".
#include "hpk/vmk.h"
#include "vmk/core/heap/celem/pow_single_lanes.hpp"
#include "vmk/service/thread_state.hpp"

extern "C" {
void hpk_vmk_kernel_cPow_EXHAynn(int n, const hpk_complex8 *a, const hpk_complex8 *b, hpk_complex8 *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::celem::pow_single<false>(n, a, b, b, y, "vcPow");
}
void hpk_vmk_kernel_zPow_EXHAynn(int n, const hpk_complex16 *a, const hpk_complex16 *b, hpk_complex16 *y) {
  if (n <= 0) return;
  const hpk::vmk::X87ControlScope control(hpk::vmk::X87ControlScope::kExtended);
  hpk::vmk::celem::pow_array<hpk_complex16, double>(n, a, b, y, "vzPow");
}
}
