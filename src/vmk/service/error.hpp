// How a kernel reports a bad element: store the element's result first, then call
//     report_error<T>(code, i, a, b, y, z, "vdDiv");
// with the arrays the kernel was given (a, a, y, y for one input and one result). The call goes
// to the exported dispatcher of the element type, which may replace y[i] (and z[i]) through
// the thread's call-back. It is a slow path: keep it out of the main loop.
#pragma once

#include <type_traits>

#include "hpk/vmk.h"

namespace hpk::vmk {

// Status codes a kernel raises.
enum : int { kStatusDomain = 1, kStatusSingularity = 2, kStatusOverflow = 3, kStatusUnderflow = 4 };

template <class T>
[[gnu::cold, gnu::noinline]] void report_error(int code, int index, const T *a, const T *b, T *y,
                                               T *z, const char *name) {
  if constexpr (std::is_same_v<T, float>)
    hpk_vmk_kernel_sError(code, index, a, b, y, z, name);
  else if constexpr (std::is_same_v<T, double>)
    hpk_vmk_kernel_dError(code, index, a, b, y, z, name);
  else if constexpr (std::is_same_v<T, hpk_complex8>)
    hpk_vmk_kernel_cError(code, index, a, b, y, z, name);
  else {
    static_assert(std::is_same_v<T, hpk_complex16>, "no dispatcher for this element type");
    hpk_vmk_kernel_zError(code, index, a, b, y, z, name);
  }
}

}  // namespace hpk::vmk
