// The demo's tour of the kernel families: a few values of each, and generators drawn through
// the registry.
#include <cmath>
#include <cstdio>

#include "hpk/vmk.h"
#include "hpk/vsk.h"

namespace {

void row(const char *title, const double *v, int n) {
  std::printf("  %-34s", title);
  for (int i = 0; i < n; ++i) std::printf(" %.17g", v[i]);
  std::printf("\n");
}

void draws(const char *title, int32_t brng, int32_t dims) {
  StreamState *s = nullptr;
  const uint32_t seed[1] = {uint32_t(dims)};
  if (__vskNewStreamEx(&s, brng, 1, seed) != 0) {
    std::printf("  %-34s (not available)\n", title);
    return;
  }
  int32_t r = 0, member = 0;
  const BrngEntry *table = __vskGetBrngBaseOffset(brng, &r, &member);
  double u[6];
  table[r].d_output(s, 6, u, 0.0, 1.0);
  row(title, u, 6);
  __vskDeleteStream(&s);
}

}  // namespace

int run_demo_families() {
  std::printf("\nElementary functions (high accuracy, within 1 ulp; see docs/accuracy.md)\n");
  double x[4] = {0.5, 1.0, 100.0, -745.5}, y[4];
  row("x", x, 4);
  _vmkdExp(4, x, y);
  row("vdExp(x)  (last: underflow to 0)", y, 4);
  _vmkdLn(4, x, y);
  row("vdLn(x)   (last: NaN, domain)", y, 4);
  const double big[3] = {1e22, 1e300, 0x1.fffffffffffffp1023};
  _vmkdSin(3, big, y);
  row("vdSin of 1e22, 1e300, max double", y, 3);
  const double base[3] = {2.0, -8.0, 10.0}, expo[3] = {0.5, 1.0 / 3.0, -300.0};
  _vmkdPow(3, base, expo, y);
  row("vdPow(2,.5) (-8,1/3) (10,-300)", y, 3);
  _vmkdCbrt(3, base, y);
  row("vdCbrt(2, -8, 10)", y, 3);
  _vmkdTanh(3, expo, y);
  row("vdTanh(.5, 1/3, -300)", y, 3);

  std::printf("\nBasic generators through the registry, 6 doubles in [0, 1)\n");
  draws("MT19937, seed 1", HPK_VSK_BRNG_MT19937, 1);
  draws("MT2203 member 6023, seed 1", HPK_VSK_BRNG_MT2203 + 6023, 1);
  draws("MCG31M1, seed 1", HPK_VSK_BRNG_MCG31M1, 1);
  draws("Sobol, 2 dimensions (3 points)", HPK_VSK_BRNG_SOBOL, 2);
  return 0;
}
