// Complex Add: y = a + b part by part (frame and overflow status in heap/complex/add_sub.hpp).
#include "vmk/core/heap/complex/add_sub.hpp"

using hpk::vmk::AddParts;

extern "C" {
void hpk_vmk_kernel_cAdd_EXHAynn(int n, const hpk_complex8 *a, const hpk_complex8 *b,
                                 hpk_complex8 *y) {
  hpk::vmk::add_sub_ha<hpk_complex8, AddParts>(n, a, b, y, "vcAdd");
}
void hpk_vmk_kernel_zAdd_EXHAynn(int n, const hpk_complex16 *a, const hpk_complex16 *b,
                                 hpk_complex16 *y) {
  hpk::vmk::add_sub_ha<hpk_complex16, AddParts>(n, a, b, y, "vzAdd");
}
void hpk_vmk_kernel_cAdd_EXEPnnn(int n, const hpk_complex8 *a, const hpk_complex8 *b,
                                 hpk_complex8 *y) {
  hpk::vmk::add_sub_ep<hpk_complex8, AddParts>(n, a, b, y);
}
void hpk_vmk_kernel_zAdd_EXEPnnn(int n, const hpk_complex16 *a, const hpk_complex16 *b,
                                 hpk_complex16 *y) {
  hpk::vmk::add_sub_ep<hpk_complex16, AddParts>(n, a, b, y);
}
}
