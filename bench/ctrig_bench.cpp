// Complex Sin, Cos, Tan, Sinh, Cosh, Tanh against glibc's csin ... loops (and their single
// forms) over the same arrays of 1000 elements in cache: real parts 0.05 .. 9.1 with both
// signs, imaginary parts -3 .. 11 (inside every kernel's packed range).
#include <benchmark/benchmark.h>

#include <vector>

#include "hpk/vmk.h"

extern "C" {
double _Complex csin(double _Complex);
double _Complex ccos(double _Complex);
double _Complex ctan(double _Complex);
double _Complex csinh(double _Complex);
double _Complex ccosh(double _Complex);
double _Complex ctanh(double _Complex);
float _Complex csinf(float _Complex);
float _Complex ccosf(float _Complex);
float _Complex ctanf(float _Complex);
float _Complex csinhf(float _Complex);
float _Complex ccoshf(float _Complex);
float _Complex ctanhf(float _Complex);
}

namespace {

template <class CK>
std::vector<CK> ctrig_inputs(int n) {
  std::vector<CK> a(n);
  for (int i = 0; i < n; ++i) {
    a[i].re = decltype(a[i].re)((i % 2 ? -1 : 1) * (0.05 + (i % 101) * 0.09));
    a[i].im = decltype(a[i].re)(-3.0 + (i % 23) * 0.61);
  }
  return a;
}

template <class CK>
void BM_ctrig_kernel(benchmark::State &st, void (*k)(int, const CK *, CK *)) {
  const int n = int(st.range(0));
  const std::vector<CK> a = ctrig_inputs<CK>(n);
  std::vector<CK> y(n);
  for (auto _ : st) {
    k(n, a.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class CK, class C>
void ctrig_libc_loop(benchmark::State &st, C (*f)(C)) {
  const int n = int(st.range(0));
  const std::vector<CK> a = ctrig_inputs<CK>(n);
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

void BM_ctrig_libc_z(benchmark::State &st, double _Complex (*f)(double _Complex)) {
  ctrig_libc_loop<hpk_complex16>(st, f);
}
void BM_ctrig_libc_c(benchmark::State &st, float _Complex (*f)(float _Complex)) {
  ctrig_libc_loop<hpk_complex8>(st, f);
}

#define HPK_CTRIG_BENCH(Fn, zpeer, cpeer)                                   \
  BENCHMARK_CAPTURE(BM_ctrig_kernel, z##Fn, _vmkz##Fn##_HA)->Arg(1000);     \
  BENCHMARK_CAPTURE(BM_ctrig_libc_z, zpeer, zpeer)->Arg(1000);              \
  BENCHMARK_CAPTURE(BM_ctrig_kernel, c##Fn, _vmkc##Fn##_HA)->Arg(1000);     \
  BENCHMARK_CAPTURE(BM_ctrig_libc_c, cpeer, cpeer)->Arg(1000);

HPK_CTRIG_BENCH(Sin, csin, csinf)
HPK_CTRIG_BENCH(Cos, ccos, ccosf)
HPK_CTRIG_BENCH(Tan, ctan, ctanf)
HPK_CTRIG_BENCH(Sinh, csinh, csinhf)
HPK_CTRIG_BENCH(Cosh, ccosh, ccoshf)
HPK_CTRIG_BENCH(Tanh, ctanh, ctanhf)

}  // namespace
