// Complex inverse trigonometric and hyperbolic kernels against glibc's loops (casin, casinf,
// ...) over the same arrays of 1000 elements in cache: real parts +-(0.05 .. 9.1), imaginary
// parts -3 .. 11, so that most elements lie off the axes and some near the branch points.
#include <benchmark/benchmark.h>

#include <vector>

#include "hpk/vmk.h"

extern "C" {
double _Complex casin(double _Complex);
double _Complex cacos(double _Complex);
double _Complex catan(double _Complex);
double _Complex casinh(double _Complex);
double _Complex cacosh(double _Complex);
double _Complex catanh(double _Complex);
float _Complex casinf(float _Complex);
float _Complex cacosf(float _Complex);
float _Complex catanf(float _Complex);
float _Complex casinhf(float _Complex);
float _Complex cacoshf(float _Complex);
float _Complex catanhf(float _Complex);
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

#define HPK_CINVERSE_BENCH(Fn, zpeer, cpeer)                  \
  BENCHMARK_CAPTURE(BM_kernel, z##Fn, _vmkz##Fn##_HA)->Arg(1000); \
  BENCHMARK_CAPTURE(BM_libc_z, zpeer, zpeer)->Arg(1000);          \
  BENCHMARK_CAPTURE(BM_kernel, c##Fn, _vmkc##Fn##_HA)->Arg(1000); \
  BENCHMARK_CAPTURE(BM_libc_c, cpeer, cpeer)->Arg(1000);

HPK_CINVERSE_BENCH(Asin, casin, casinf)
HPK_CINVERSE_BENCH(Acos, cacos, cacosf)
HPK_CINVERSE_BENCH(Atan, catan, catanf)
HPK_CINVERSE_BENCH(Asinh, casinh, casinhf)
HPK_CINVERSE_BENCH(Acosh, cacosh, cacoshf)
HPK_CINVERSE_BENCH(Atanh, catanh, catanhf)

}  // namespace
