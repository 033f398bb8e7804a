// LGamma against glibc's scalar loop and SLEEF's SSE2 kernels (1 ulp), in elements per second
// over arrays of 1000 in cache. Two input sets: (0, 20], spread over the small class, the
// interval rows and Stirling; and a mix with a quarter negative non-integers in (-20, 0) (the
// kernel's rare routine), so the cost of the rare share shows.
#include <benchmark/benchmark.h>
#include <emmintrin.h>

#include <cmath>
#include <vector>

#include "hpk/vmk.h"

#ifdef HPK_HAVE_SLEEF
#include <sleef.h>
#endif

namespace {

template <class T>
std::vector<T> lgamma_inputs(int n, bool negatives) {
  std::vector<T> a(n);
  for (int i = 0; i < n; ++i) {
    const double s = ((i * 7919) % 10007 + 1) / 10007.0;  // (0, 1]
    a[i] = T(20.0 * s);
    if (negatives && i % 4 == 1) a[i] = T(-20.0 * s + 0x1p-7);  // never an integer
  }
  return a;
}

template <class T, void (*K)(int, const T *, T *)>
void BM_hpk(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = lgamma_inputs<T>(n, st.range(1) != 0);
  std::vector<T> y(n);
  for (auto _ : st) {
    K(n, a.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class T, T (*F)(T)>
void BM_glibc(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = lgamma_inputs<T>(n, st.range(1) != 0);
  std::vector<T> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = F(a[i]);
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

double glibc_lgamma(double x) { return std::lgamma(x); }
float glibc_lgammaf(float x) { return std::lgamma(x); }

#ifdef HPK_HAVE_SLEEF
void BM_sleef_d(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<double> a = lgamma_inputs<double>(n, st.range(1) != 0);
  std::vector<double> y(n);
  for (auto _ : st) {
    for (int i = 0; i + 2 <= n; i += 2)
      _mm_storeu_pd(&y[i], Sleef_lgammad2_u10sse2(_mm_loadu_pd(&a[i])));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}
void BM_sleef_s(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<float> a = lgamma_inputs<float>(n, st.range(1) != 0);
  std::vector<float> y(n);
  for (auto _ : st) {
    for (int i = 0; i + 4 <= n; i += 4)
      _mm_storeu_ps(&y[i], Sleef_lgammaf4_u10sse2(_mm_loadu_ps(&a[i])));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}
BENCHMARK(BM_sleef_d)->Name("sleef_lgamma_d2")->Args({1000, 0})->Args({1000, 1});
BENCHMARK(BM_sleef_s)->Name("sleef_lgamma_f4")->Args({1000, 0})->Args({1000, 1});
#endif

BENCHMARK(BM_hpk<double, _vmkdLGamma_HA>)->Name("hpk_dLGamma")->Args({1000, 0})->Args({1000, 1});
BENCHMARK(BM_glibc<double, glibc_lgamma>)->Name("glibc_lgamma")->Args({1000, 0})->Args({1000, 1});
BENCHMARK(BM_hpk<float, _vmksLGamma_HA>)->Name("hpk_sLGamma")->Args({1000, 0})->Args({1000, 1});
BENCHMARK(BM_glibc<float, glibc_lgammaf>)->Name("glibc_lgammaf")->Args({1000, 0})->Args({1000, 1});

}  // namespace
