// Exported entry points of the extended core; the library's own callers use lcore.hpp.
#include "vmk/core/heap/lcore/lcore.hpp"

namespace lc = hpk::vmk::lcore;

extern "C" {
HPK_API long double hpk_vmk_kernel_expl_scalar(long double x) { return lc::expl(x); }
HPK_API long double hpk_vmk_kernel_expm1l_scalar(long double x) { return lc::expm1l(x); }
HPK_API long double hpk_vmk_kernel_logl_scalar(long double x) { return lc::logl(x); }
HPK_API long double hpk_vmk_kernel_log1pl_scalar(long double x) { return lc::log1pl(x); }
HPK_API long double hpk_vmk_kernel_atanl_scalar(long double x) { return lc::atanl(x); }
HPK_API long double hpk_vmk_kernel_atan2l_scalar(long double y, long double x) {
  return lc::atan2l(y, x);
}
HPK_API void hpk_vmk_kernel_sincosl_scalar(long double x, long double *s, long double *c) {
  lc::sincosl(x, *s, *c);
}
HPK_API void hpk_vmk_kernel_sinhcoshl_scalar(long double x, long double *sh, long double *ch) {
  lc::sinhcoshl(x, *sh, *ch);
}
}
