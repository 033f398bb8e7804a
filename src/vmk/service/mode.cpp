// Per-thread mode, status and call-back services, and their exported forwarders.
#include <initializer_list>

#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {
constinit thread_local VectorThreadState t_state __attribute__((tls_model("initial-exec"))) = {};
}

using hpk::vmk::t_state;

extern "C" {

uint64_t hpk_vmk_kernel_GetMode(void) {
  if (t_state.mode != 0) return t_state.mode;
  const int64_t env = hpk_vmk_kernel_ReadEnvVarMode();
  // A parsed value of 0 is stored as 0: the thread stays uninitialised and the environment is
  // read again on its next call, until somebody sets the mode.
  const uint64_t m = env == -1 ? uint64_t{HPK_VMK_DEFAULT_MODE} : uint64_t{uint32_t(env)};
  t_state.mode = m;
  return m;
}

// A field-wise merge: a field of the argument replaces the stored one only when non-zero, so
// no call can clear the accuracy, the error actions or the denormal field, and the
// consistency nibble can only come from the environment.
uint64_t hpk_vmk_kernel_SetMode(uint32_t mode) {
  const uint64_t previous = hpk_vmk_kernel_GetMode();
  uint64_t m = previous;
  for (const uint64_t field : {uint64_t{HPK_VMK_ACCURACY_MASK}, uint64_t{HPK_VMK_ERRMODE_MASK},
                               uint64_t{HPK_VMK_DENORMAL_MASK}}) {
    if (mode & field) m = (m & ~field) | (mode & field);
  }
  t_state.mode = m;
  return previous;
}

int32_t hpk_vmk_kernel_GetErrStatus(void) { return t_state.status; }

int32_t hpk_vmk_kernel_SetErrStatus(int32_t status) {
  const int32_t previous = t_state.status;
  t_state.status = status;
  return previous;
}

int32_t hpk_vmk_kernel_ClearErrStatus(void) { return hpk_vmk_kernel_SetErrStatus(0); }

HpkVmkErrorCallBack hpk_vmk_kernel_GetErrorCallBack(void) { return t_state.callback; }

// Through the merge rule a null call-back leaves 0x1000 set when it was the only action (the
// field is then zero and keeps its value); dispatch tests the pointer as well, so that is
// harmless.
HpkVmkErrorCallBack hpk_vmk_kernel_SetErrorCallBack(HpkVmkErrorCallBack cb) {
  const HpkVmkErrorCallBack previous = t_state.callback;
  const uint64_t mode = hpk_vmk_kernel_GetMode();
  t_state.callback = cb;
  hpk_vmk_kernel_SetMode(uint32_t(cb ? (mode | HPK_VMK_ERRMODE_CALLBACK)
                                     : (mode & ~uint64_t{HPK_VMK_ERRMODE_CALLBACK})));
  return previous;
}

HpkVmkErrorCallBack hpk_vmk_kernel_ClearErrorCallBack(void) {
  return hpk_vmk_kernel_SetErrorCallBack(nullptr);
}

const void *hpk_vmk_kernel_SetInterfInputVectorPointer(const void *p) {
  t_state.input_vector = p;
  return p;
}

// Slot index for the table of a function; a zero accuracy nibble gives -1 and a nibble above
// 3 an index beyond the table. The caller must not use such a result.
int32_t hpk_vmk_kernel_GetTTableIndex(void) {
  return int32_t(hpk_vmk_kernel_GetMode() & HPK_VMK_ACCURACY_MASK) - 1;
}

int32_t hpk_vmk_kernel_GetTTableIndexM(uint64_t, uint64_t mode) {
  return int32_t(mode & HPK_VMK_ACCURACY_MASK) - 1;
}

int dll_cpu_version(void) { return 0; }

uint64_t _vmkGetMode(void) { return hpk_vmk_kernel_GetMode(); }
uint64_t _vmkSetMode(uint32_t mode) { return hpk_vmk_kernel_SetMode(mode); }
int32_t _vmkGetErrStatus(void) { return hpk_vmk_kernel_GetErrStatus(); }
int32_t _vmkSetErrStatus(int32_t status) { return hpk_vmk_kernel_SetErrStatus(status); }
int32_t _vmkClearErrStatus(void) { return hpk_vmk_kernel_ClearErrStatus(); }
HpkVmkErrorCallBack _vmkGetErrorCallBack(void) { return hpk_vmk_kernel_GetErrorCallBack(); }
HpkVmkErrorCallBack _vmkSetErrorCallBack(HpkVmkErrorCallBack cb) {
  return hpk_vmk_kernel_SetErrorCallBack(cb);
}
HpkVmkErrorCallBack _vmkClearErrorCallBack(void) { return hpk_vmk_kernel_ClearErrorCallBack(); }
const void *_vmkSetInterfInputVectorPointer(const void *p) {
  return hpk_vmk_kernel_SetInterfInputVectorPointer(p);
}

}  // extern "C"
