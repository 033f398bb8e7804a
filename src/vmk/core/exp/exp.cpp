// Exp. The double kernel is the packed route of exp_core.hpp on |x| < 708.39 (top word below
// 0x4086232B) and exp_core::scalar elsewhere:
//   NaN -> quieted, no status;   +inf -> +inf;   -inf -> +0;
//   x <= -745.1332191019412 -> +0, status 4;
//   x <= -708.3964185322642 -> the denormal value, v * 2^(m + 1022) (exact) * 2^-1022, status 4;
//   x >= 709.7827128933841  -> +inf, status 3;
//   x >= 709.7772976810359  -> the main value through 2^1023, times 2.
// The single kernel takes exp_core::main_single (single arithmetic) on |x| < 87.33654785
// (normal single results); its scalar routine takes the double route's scalar path and rounds
// once: the status follows from the single result, 3 when it overflows to infinity, 4 when it
// is below the least normal single (zero included), none for the infinite inputs.
#include <cfloat>

#include "vmk/core/exp/exp_core.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/frame/packed_pass.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"

namespace hpk::vmk {

namespace exp_core {
namespace {
constexpr vd c2(double c) { return vd{c, c}; }
constexpr simd::vf f4(float c) { return simd::vf{c, c, c, c}; }
}  // namespace
const ExpConstants kExpConstants = {
    c2(s_dwInvLn), c2(s_dwRS), c2(simd::from_bits(s_dwLnHi)), c2(simd::from_bits(s_dwLnLo)),
    c2(A2),        c2(A3),     c2(A4),                        c2(A5)};
const ExpSingleConstants kExpSingleConstants = {
    f4(0x1.715476p+7f), f4(0x1.8p23f),         f4(0x1.63p-8f),
    f4(-0x1.bd0106p-20f), f4(0.5f), f4(0x1.555556p-3f)};
}  // namespace exp_core

namespace {

struct DExpKernel {
  using T = double;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = 0;
  static constexpr uint32_t kRangeLen = 0x4086232B;

  [[gnu::always_inline]] static simd::vd main(simd::vd x) { return exp_core::main(x); }

  // _vmkdSpecSc
  static void rare(double x, int i, const double *a, double *y) {
    int status;
    y[i] = exp_core::scalar(x, status);
    if (status) report_error<double>(status, i, a, a, y, y, "vdExp");
  }
};

struct SExpKernel {
  using T = float;
  static constexpr uint32_t kSignMask = 0x7FFFFFFF;
  static constexpr uint32_t kRangeLo = 0;
  static constexpr uint32_t kRangeLen = 0x42AEAC50;  // |x| < 87.33654785: normal results

  [[gnu::always_inline]] static simd::vf main(simd::vf x) {
    return exp_core::main_single(x);
  }

  // _ScalarExp
  static void rare(float x, int i, const float *a, float *y) {
    int status;
    const float r = float(exp_core::scalar(double(x), status));
    y[i] = r;
    if (x != x || x == __builtin_inff() || x == -__builtin_inff()) return;
    if (r == __builtin_inff()) report_error<float>(kStatusOverflow, i, a, a, y, y, "vsExp");
    else if (r < FLT_MIN) report_error<float>(kStatusUnderflow, i, a, a, y, y, "vsExp");
  }
};

}  // namespace
}  // namespace hpk::vmk

extern "C" {
void hpk_vmk_kernel_dExp_EXHAynn(int n, const double *a, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::DExpKernel>(n, a, y);
}
void hpk_vmk_kernel_sExp_EXHAynn(int n, const float *a, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope control(hpk::vmk::current_mode());
  hpk::vmk::packed_pass<hpk::vmk::SExpKernel>(n, a, y);
}
}
