// A short tour: the thread's mode, the tables behind the stubs, and the kernels that exist.
#include <cfenv>
#include <cmath>
#include <cstdio>

#include "hpk/vmk.h"

namespace {

void show(const char *title, const double *v, int n) {
  std::printf("  %-34s", title);
  for (int i = 0; i < n; ++i) std::printf(" %.17g", v[i]);
  std::printf("\n");
}

}  // namespace

int run_demo_vsk();       // demo_vsk.cpp
int run_demo_families();  // demo_families.cpp

int run_demo() {
  std::printf("hpk kernel library, cpu version %d (baseline: SSE2 and x87)\n\n", dll_cpu_version());

  std::printf("Per-thread mode\n");
  std::printf("  first mode of this thread          0x%llx (from %s, or the default 0x1A02)\n",
              (unsigned long long)_vmkGetMode(), HPK_VMK_MODE_ENV);
  std::printf("  table slot for this mode           %d\n", hpk_vmk_kernel_GetTTableIndex());
  const uint64_t old = _vmkSetMode(HPK_VMK_EP);
  std::printf("  after SetMode(EP)                  0x%llx (slot %d)\n",
              (unsigned long long)_vmkGetMode(), hpk_vmk_kernel_GetTTableIndex());
  _vmkSetMode(uint32_t(old));

  std::printf("\nKernel tables (three slots: low, high, enhanced performance)\n");
  std::printf("  dAdd costs                         %.2f %.2f %.2f\n", hpk_vmk_kernel_dAdd_ctab[0],
              hpk_vmk_kernel_dAdd_ctab[1], hpk_vmk_kernel_dAdd_ctab[2]);
  std::printf("  _vmkdAdd_50 and _vmkdAdd_26 reach  %s\n",
              hpk_vmk_kernel_dAdd_ttab[0] == hpk_vmk_kernel_dAdd_ttab[2] ? "the same kernel"
                                                                         : "different kernels");

  std::printf("\nArray kernels\n");
  const double a[4] = {3.0, 1e300, 0x1p-1070, INFINITY};
  const double b[4] = {4.0, 1e300, 0x1p-1070, NAN};
  double y[4];
  show("a", a, 4);
  show("b", b, 4);
  _vmkdAdd(4, a, b, y);
  show("vdAdd(a, b)", y, 4);
  _vmkdMul(4, a, b, y);
  show("vdMul(a, b)", y, 4);
  _vmkdHypot(4, a, b, y);
  show("vdHypot(a, b)  (no overflow)", y, 4);
  _vmkdLinearFrac(4, a, b, 2.0, 1.0, 0.0, 4.0, y);
  show("vdLinearFrac(a, b, 2, 1, 0, 4)", y, 4);

  const double src[6] = {10, 11, 12, 13, 14, 15};
  const int32_t mask[6] = {1, 0, 1, 1, 0, 1};
  double packed[6] = {};
  _vmkdPackM(6, src, mask, packed, 1);
  show("vdPackM(src, mask 101101)", packed, 4);
  _vmkdPackI(3, src, 2, packed, 1);
  show("vdPackI(src, stride 2)", packed, 3);

  std::printf("\nSingle arithmetic runs in round-to-nearest whatever the caller's mode:\n");
  const float fa[1] = {1.0f}, fb[1] = {0x1p-30f};
  float fy[1];
  double dy[1];
  const double da[1] = {1.0}, db[1] = {0x1p-60};
  std::fesetround(FE_UPWARD);
  _vmksAdd(1, fa, fb, fy);
  _vmkdAdd(1, da, db, dy);
  std::fesetround(FE_TONEAREST);
  std::printf("  under FE_UPWARD: vsAdd(1, 2^-30) = %a (nearest), vdAdd(1, 2^-60) = %a (caller's)\n",
              double(fy[0]), dy[0]);
  if (const int rc = run_demo_vsk()) return rc;
  return run_demo_families();
}
