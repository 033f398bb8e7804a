// Shared pieces of the complex elementary benchmarks: one input array for every function (real
// parts +-(0.05 .. 9.1), imaginary parts -3 .. 11: most elements off the axes, some near the
// branch points), a kernel run over it and the loop over a glibc C99 complex function.
#pragma once

#include <benchmark/benchmark.h>

#include <vector>

#include "hpk/vmk.h"

namespace hpk::bench {

template <class CK>
std::vector<CK> celem_inputs(int n) {
  std::vector<CK> a(n);
  for (int i = 0; i < n; ++i) {
    a[i].re = decltype(a[i].re)((i % 2 ? -1 : 1) * (0.05 + (i % 101) * 0.09));
    a[i].im = decltype(a[i].re)(-3.0 + (i % 23) * 0.61);
  }
  return a;
}

template <class C, class CK>
C to_c(const CK &v) {
  C c;
  __real__ c = v.re;
  __imag__ c = v.im;
  return c;
}

template <class CK>
void run_celem_kernel(benchmark::State &st, void (*k)(int, const CK *, CK *)) {
  const int n = int(st.range(0));
  const std::vector<CK> a = celem_inputs<CK>(n);
  std::vector<CK> y(n);
  for (auto _ : st) {
    k(n, a.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class CK, class C>
void run_celem_libc(benchmark::State &st, C (*f)(C)) {
  const int n = int(st.range(0));
  const std::vector<CK> a = celem_inputs<CK>(n);
  std::vector<CK> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) {
      const C r = f(to_c<C>(a[i]));
      y[i].re = __real__ r;
      y[i].im = __imag__ r;
    }
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

}  // namespace hpk::bench
