// The exported kernel and cost tables, one pair per entry of the function list.
// The kernel tables are writable data filled by the loader's relocations, so a slot can be
// replaced at run time; the stubs read them at call time.
#include "hpk/vmk.h"

#define HPK_VMK_DEFINE_TABLES(t, Fn, shape, k0, k1, k2, c0, c1, c2)                          \
  void (*hpk_vmk_kernel_##t##Fn##_ttab[3]) HPK_VMK_PARAMS(t, shape) = {                      \
      hpk_vmk_kernel_##t##Fn##_EX##k0, hpk_vmk_kernel_##t##Fn##_EX##k1,                      \
      hpk_vmk_kernel_##t##Fn##_EX##k2};                                                      \
  const float hpk_vmk_kernel_##t##Fn##_ctab[3] = {c0, c1, c2};

extern "C" {
HPK_VMK_FUNCTION_LIST(HPK_VMK_DEFINE_TABLES)
}
