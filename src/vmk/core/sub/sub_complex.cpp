// Complex Sub: y = a - b part by part (frame and overflow status in heap/complex/add_sub.hpp).
#include "vmk/core/heap/complex/add_sub.hpp"

using hpk::vmk::SubParts;

extern "C" {
void hpk_vmk_kernel_cSub_EXHAynn(int n, const hpk_complex8 *a, const hpk_complex8 *b,
                                 hpk_complex8 *y) {
  hpk::vmk::add_sub_ha<hpk_complex8, SubParts>(n, a, b, y, "vcSub");
}
void hpk_vmk_kernel_zSub_EXHAynn(int n, const hpk_complex16 *a, const hpk_complex16 *b,
                                 hpk_complex16 *y) {
  hpk::vmk::add_sub_ha<hpk_complex16, SubParts>(n, a, b, y, "vzSub");
}
void hpk_vmk_kernel_cSub_EXEPnnn(int n, const hpk_complex8 *a, const hpk_complex8 *b,
                                 hpk_complex8 *y) {
  hpk::vmk::add_sub_ep<hpk_complex8, SubParts>(n, a, b, y);
}
void hpk_vmk_kernel_zSub_EXEPnnn(int n, const hpk_complex16 *a, const hpk_complex16 *b,
                                 hpk_complex16 *y) {
  hpk::vmk::add_sub_ep<hpk_complex16, SubParts>(n, a, b, y);
}
}
