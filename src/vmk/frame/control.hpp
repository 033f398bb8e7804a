// Floating-point control state of a kernel: two scoped schemes whose destructor restores the
// caller's state as the last act of the kernel, on every path.
#pragma once

#include <xmmintrin.h>

#include <cstdint>

#include "hpk/vmk.h"

namespace hpk::vmk {

// Scheme A, for SSE arithmetic. Runs the kernel in round-to-nearest, with flush-to-zero and
// denormals-are-zero on exactly when the mode's denormal field is 0x280000. MXCSR is written
// only when the bits under 0xE040 (FTZ, DAZ, rounding control) differ from the target.
class SseControlScope {
 public:
  static constexpr uint32_t kCompareMask = 0xE040;
  static constexpr uint32_t kKeepMask = 0xFFFF1FBF;
  static constexpr uint32_t kFtzDaz = 0x8040;
  static constexpr uint32_t kFlagMask = 0x3F;

  static constexpr uint32_t target_for(uint64_t mode) {
    return (mode & HPK_VMK_DENORMAL_MASK) == HPK_VMK_FTZDAZ_ON ? kFtzDaz : 0u;
  }

  explicit SseControlScope(uint64_t mode) {
    const uint32_t target = target_for(mode);
    saved_ = _mm_getcsr();
    changed_ = (saved_ & kCompareMask) != target;
    if (changed_) _mm_setcsr((saved_ & kKeepMask) | target);
  }
  // The caller's control bits come back; the exception flags raised meanwhile stay raised, so
  // a caller can still read them with fetestexcept.
  ~SseControlScope() {
    if (changed_) _mm_setcsr((saved_ & ~kFlagMask) | (_mm_getcsr() & kFlagMask));
  }
  SseControlScope(const SseControlScope &) = delete;
  SseControlScope &operator=(const SseControlScope &) = delete;

 private:
  uint32_t saved_;
  bool changed_;
};

// Scheme B, for x87 arithmetic: precision and rounding control (mask 0xF00) set to the target,
// 0x200 (53-bit, nearest) or 0x300 (64-bit, nearest). Independent of the mode.
class X87ControlScope {
 public:
  static constexpr uint16_t kDouble = 0x200;
  static constexpr uint16_t kExtended = 0x300;

  explicit X87ControlScope(uint16_t target) {
    __asm__ volatile("fnstcw %0" : "=m"(saved_));
    changed_ = (saved_ & 0xF00) != target;
    if (changed_) {
      const uint16_t cw = uint16_t((saved_ & 0xF0FF) | target);
      __asm__ volatile("fldcw %0" : : "m"(cw));
    }
  }
  ~X87ControlScope() {
    if (changed_) __asm__ volatile("fldcw %0" : : "m"(saved_));
  }
  X87ControlScope(const X87ControlScope &) = delete;
  X87ControlScope &operator=(const X87ControlScope &) = delete;

 private:
  uint16_t saved_;
  bool changed_;
};

}  // namespace hpk::vmk
