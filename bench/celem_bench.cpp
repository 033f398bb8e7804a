// Complex elementary kernels against glibc's csqrt / cexp (and their single forms) over the
// same arrays of 1000 elements in cache: real parts 0.05 .. 9.1 with both signs, imaginary
// parts -3 .. 11.
#include <benchmark/benchmark.h>

#include <vector>

#include "hpk/vmk.h"

extern "C" {
double _Complex csqrt(double _Complex);
float _Complex csqrtf(float _Complex);
double _Complex cexp(double _Complex);
float _Complex cexpf(float _Complex);
}

namespace {

template <class CK>
std::vector<CK> inputs(int n) {
  std::vector<CK> a(n);
  for (int i = 0; i < n; ++i) {
    a[i].re = decltype(a[i].re)((i % 2 ? -1 : 1) * (0.05 + (i % 101) * 0.09));
    a[i].im = decltype(a[i].re)(-3.0 + (i % 23) * 0.61);
  }
  return a;
}

template <class CK>
void BM_kernel(benchmark::State &st, void (*k)(int, const CK *, CK *)) {
  const int n = int(st.range(0));
  const std::vector<CK> a = inputs<CK>(n);
  std::vector<CK> y(n);
  for (auto _ : st) {
    k(n, a.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class CK, class C>
void libc_loop(benchmark::State &st, C (*f)(C)) {
  const int n = int(st.range(0));
  const std::vector<CK> a = inputs<CK>(n);
  std::vector<CK> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) {
      C v;
      __real__ v = a[i].re;
      __imag__ v = a[i].im;
      const C r = f(v);
      y[i].re = __real__ r;
      y[i].im = __imag__ r;
    }
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

void BM_libc_z(benchmark::State &st, double _Complex (*f)(double _Complex)) {
  libc_loop<hpk_complex16>(st, f);
}
void BM_libc_c(benchmark::State &st, float _Complex (*f)(float _Complex)) {
  libc_loop<hpk_complex8>(st, f);
}

BENCHMARK_CAPTURE(BM_kernel, zSqrt, _vmkzSqrt_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_z, csqrt, csqrt)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cSqrt, _vmkcSqrt_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_c, csqrtf, csqrtf)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, zExp, _vmkzExp_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_z, cexp, cexp)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cExp_HA, _vmkcExp_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cExp_LA, _vmkcExp_21)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_c, cexpf, cexpf)->Arg(1000);

}  // namespace
