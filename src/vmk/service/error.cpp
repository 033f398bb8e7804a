// Error dispatch: the four exported dispatchers, one template over the element type.
//
// Order of the actions, fixed: status; ignore (the action byte exactly 0x100); the record with
// the index mapped into the whole array; the call-back, which may stop everything; errno,
// report, exception, each governed by the code as the call-back left it; write-back of the
// second then the first result at the kernel's own index.
#include <cerrno>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <bit>

#include "hpk/serv.h"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {

namespace {

// How a dispatcher reads and writes one element. kShift turns a byte distance into elements.
template <class T>
struct Element;

template <>
struct Element<float> {
  static constexpr int kShift = 2;
  static constexpr bool kComplex = false;
  static double re(const float &x) { return x; }
  static double im(const float &) { return 0.0; }
  static void store(float &dst, double re, double) { dst = float(re); }
};

template <>
struct Element<double> {
  static constexpr int kShift = 3;
  static constexpr bool kComplex = false;
  static double re(const double &x) { return x; }
  static double im(const double &) { return 0.0; }
  static void store(double &dst, double re, double) { dst = re; }
};

template <>
struct Element<hpk_complex8> {
  static constexpr int kShift = 3;
  static constexpr bool kComplex = true;
  static double re(const hpk_complex8 &x) { return x.re; }
  static double im(const hpk_complex8 &x) { return x.im; }
  static void store(hpk_complex8 &dst, double re, double im) {
    dst.re = float(re);
    dst.im = float(im);
  }
};

template <>
struct Element<hpk_complex16> {
  static constexpr int kShift = 4;
  static constexpr bool kComplex = true;
  static double re(const hpk_complex16 &x) { return x.re; }
  static double im(const hpk_complex16 &x) { return x.im; }
  static void store(hpk_complex16 &dst, double re, double im) {
    dst.re = re;
    dst.im = im;
  }
};

// Operands of the exception operations, in this order: the double of bit pattern
// 0x0010000000000001 (its square underflows), the largest finite double (its square
// overflows), 0.0, 1.0.
alignas(16) constexpr double kExceptionOperands[4] = {
    std::bit_cast<double>(uint64_t{0x0010000000000001}), DBL_MAX, 0.0, 1.0};

// One real double-precision operation that raises the code's exception flag, or traps when the
// caller has unmasked it. The instruction is in asm so that the compiler can neither fold it nor
// drop it; it runs under the kernel's control state (so FTZ applies to the code 4 square).
void raise_exception(int code) {
  const double *k = kExceptionOperands;
  double x;
  switch (code) {
    case 1:  // invalid: 0/0
      x = k[2];
      __asm__ volatile("divsd %1, %0" : "+x"(x) : "m"(k[2]));
      break;
    case 2:  // divide by zero: 1/0
      x = k[3];
      __asm__ volatile("divsd %1, %0" : "+x"(x) : "m"(k[2]));
      break;
    case 3:  // overflow: DBL_MAX squared
      x = k[1];
      __asm__ volatile("mulsd %1, %0" : "+x"(x) : "m"(k[1]));
      break;
    case 4:  // underflow: 0x0010000000000001 squared
      x = k[0];
      __asm__ volatile("mulsd %1, %0" : "+x"(x) : "m"(k[0]));
      break;
    default:
      return;
  }
  volatile double scratch = x;  // the result is stored and dropped
  (void)scratch;
}

int errno_for(int code) {
  switch (code) {
    case 0: return 0;
    case 1: return EDOM;
    case 2:
    case 3:
    case 4: return ERANGE;
    case -1: return EINVAL;
    case -2: return EACCES;
    default: return EFAULT;
  }
}

// The heading by code, then one line per value of the element. The shape of the element is
// read from the real parts: one argument when arg1 == arg2 or arg2 == 0.0, one result when
// res1 == res2 or res2 == 0.0 (a NaN compares unequal).
void report(const HpkVmkErrorContext &c) {
  const char *name = c.funcName;  // printed with a 64-character precision: may be unterminated
  switch (c.code) {
    case 0: return;
    case -1: hpk_serv_hpk_print(1, 735, 2, name, c.index); return;
    case -2: hpk_serv_hpk_print(1, 736, 1, name); return;
    case 1:
    case 2:
    case 3:
    case 4: hpk_serv_hpk_print(1, 736 + c.code, 1, name); break;
    default: hpk_serv_hpk_print(1, 741, 1, name); break;
  }
  const bool one_arg = c.arg1 == c.arg2 || c.arg2 == 0.0;
  const bool one_res = c.res1 == c.res2 || c.res2 == 0.0;
  auto line = [&](int id, double v) { hpk_serv_hpk_print(1, id, 2, c.index, v); };
  if (one_arg && one_res) {
    line(742, c.arg1);
    line(743, c.res1);
  } else if (one_arg) {
    line(744, c.arg1);
    line(745, c.res1);
    line(746, c.res2);
  } else if (one_res) {
    line(747, c.arg1);
    line(748, c.arg2);
    line(749, c.res1);
  } else {
    line(750, c.arg1);
    line(751, c.arg2);
    line(752, c.res1);
    line(753, c.res2);
  }
}

template <class T>
void dispatch(int32_t code, int32_t index, const T *a, const T *b, T *y, T *z, const char *name) {
  using E = Element<T>;
  VectorThreadState &ts = t_state;
  ts.status = code;
  const uint64_t mode = current_mode();
  if ((mode & HPK_VMK_ERRMODE_MASK) == HPK_VMK_ERRMODE_IGNORE) return;

  HpkVmkErrorContext ctx;
  std::memset(&ctx, 0, sizeof ctx);
  ctx.code = code;
  ctx.index = index;
  if (ts.input_vector) {
    // Element distance from the start of the whole array to the piece, truncated to 32 bits.
    const uint64_t distance = (uintptr_t(a) - uintptr_t(ts.input_vector)) >> E::kShift;
    ctx.index = int32_t(uint32_t(index) + uint32_t(distance));
  }

  // At most 64 characters, then a terminator; for a name of 64 characters the terminator lands
  // on the first byte of funcNameLen and is overwritten by the length.
  char *const dst = reinterpret_cast<char *>(&ctx) + offsetof(HpkVmkErrorContext, funcName);
  int32_t len = 0;
  while (len < 64 && name[len] != '\0') {
    dst[len] = name[len];
    ++len;
  }
  dst[len] = '\0';
  ctx.funcNameLen = len;

  const bool caller_error = code == -1 || code == -2;
  if (!caller_error) {
    ctx.arg1 = E::re(a[index]);
    ctx.arg2 = E::re(b[index]);
    ctx.res1 = E::re(y[index]);
    ctx.res2 = E::re(z[index]);
    if constexpr (E::kComplex) {
      ctx.arg1Imag = E::im(a[index]);
      ctx.arg2Imag = E::im(b[index]);
      ctx.res1Imag = E::im(y[index]);
      ctx.res2Imag = E::im(z[index]);
    }
  }

  if ((mode & 0xF000) != 0 && ts.callback != nullptr) {
    if (ts.callback(&ctx) != 0) return;
  }

  if ((mode & 0xF00) != 0) {
    if (mode & HPK_VMK_ERRMODE_ERRNO) errno = errno_for(ctx.code);
    if (mode & HPK_VMK_ERRMODE_STDERR) report(ctx);
    if (mode & HPK_VMK_ERRMODE_EXCEPT) raise_exception(ctx.code);
  }

  // The first result is written last, so a one-result kernel (y passed twice) keeps res1.
  if (!caller_error) {
    E::store(z[index], ctx.res2, ctx.res2Imag);
    E::store(y[index], ctx.res1, ctx.res1Imag);
  }
}

}  // namespace

}  // namespace hpk::vmk

extern "C" {

void hpk_vmk_kernel_sError(int32_t code, int32_t index, const float *a, const float *b, float *y,
                           float *z, const char *name) {
  hpk::vmk::dispatch(code, index, a, b, y, z, name);
}
void hpk_vmk_kernel_dError(int32_t code, int32_t index, const double *a, const double *b,
                           double *y, double *z, const char *name) {
  hpk::vmk::dispatch(code, index, a, b, y, z, name);
}
void hpk_vmk_kernel_cError(int32_t code, int32_t index, const hpk_complex8 *a,
                           const hpk_complex8 *b, hpk_complex8 *y, hpk_complex8 *z,
                           const char *name) {
  hpk::vmk::dispatch(code, index, a, b, y, z, name);
}
void hpk_vmk_kernel_zError(int32_t code, int32_t index, const hpk_complex16 *a,
                           const hpk_complex16 *b, hpk_complex16 *y, hpk_complex16 *z,
                           const char *name) {
  hpk::vmk::dispatch(code, index, a, b, y, z, name);
}

}  // extern "C"
