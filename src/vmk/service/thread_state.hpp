// The per-thread block of the vector math layer and the fast read of its mode.
#pragma once

#include <cstdint>

#include "hpk/vmk.h"

namespace hpk::vmk {

// Zero at thread start; no constructor, no destructor. Field order is part of the design:
// input-vector pointer, call-back, status, mode.
struct VectorThreadState {
  const void *input_vector;        // start of the caller's whole input array, or null
  HpkVmkErrorCallBack callback;    // null when none
  int32_t status;                  // last error status, 0 for none
  uint64_t mode;                   // the ModeWord; 0 until initialised (only low 32 bits used)
};

// Initial-exec TLS: one %fs-relative address per access, no call to __tls_get_addr.
extern constinit thread_local VectorThreadState t_state __attribute__((tls_model("initial-exec")));

// The mode after lazy initialisation. Kernels call this once at entry and keep the masked
// value in a local.
inline uint64_t current_mode() {
  const uint64_t m = t_state.mode;
  return m != 0 ? m : hpk_vmk_kernel_GetMode();
}

}  // namespace hpk::vmk
