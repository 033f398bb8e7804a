// Erf and Erfc against glibc's scalar loops and SLEEF's SSE2 kernels (1 ulp; erfc 1.5 ulp), in elements per
// second over arrays of 1000 in cache. Inputs |x| < 6.5 spread over all interval rows, both
// signs, and (single) the same values rounded to float.
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
std::vector<T> erf_inputs(int n) {
  std::vector<T> a(n);
  for (int i = 0; i < n; ++i) {
    const double s = ((i * 7919) % 10007) / 10007.0;
    a[i] = T(((i * 31) % 7 < 3 ? -1.0 : 1.0) * 6.5 * s);
  }
  return a;
}

template <class T, void (*K)(int, const T *, T *)>
void BM_hpk(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = erf_inputs<T>(n);
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
  const std::vector<T> a = erf_inputs<T>(n);
  std::vector<T> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = F(a[i]);
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

double glibc_erf(double x) { return std::erf(x); }
float glibc_erff(float x) { return std::erf(x); }
double glibc_erfc(double x) { return std::erfc(x); }
float glibc_erfcf(float x) { return std::erfc(x); }

#ifdef HPK_HAVE_SLEEF
void BM_sleef_d(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<double> a = erf_inputs<double>(n);
  std::vector<double> y(n);
  for (auto _ : st) {
    for (int i = 0; i + 2 <= n; i += 2)
      _mm_storeu_pd(&y[i], Sleef_erfd2_u10sse2(_mm_loadu_pd(&a[i])));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}
void BM_sleef_s(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<float> a = erf_inputs<float>(n);
  std::vector<float> y(n);
  for (auto _ : st) {
    for (int i = 0; i + 4 <= n; i += 4)
      _mm_storeu_ps(&y[i], Sleef_erff4_u10sse2(_mm_loadu_ps(&a[i])));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}
void BM_sleef_cd(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<double> a = erf_inputs<double>(n);
  std::vector<double> y(n);
  for (auto _ : st) {
    for (int i = 0; i + 2 <= n; i += 2)
      _mm_storeu_pd(&y[i], Sleef_erfcd2_u15sse2(_mm_loadu_pd(&a[i])));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}
BENCHMARK(BM_sleef_cd)->Name("sleef_erfc_d2")->Arg(1000);
BENCHMARK(BM_sleef_d)->Name("sleef_erf_d2")->Arg(1000);
BENCHMARK(BM_sleef_s)->Name("sleef_erf_f4")->Arg(1000);
#endif

BENCHMARK(BM_hpk<double, _vmkdErfc_HA>)->Name("hpk_dErfc")->Arg(1000);
BENCHMARK(BM_glibc<double, glibc_erfc>)->Name("glibc_erfc")->Arg(1000);
BENCHMARK(BM_hpk<float, _vmksErfc_HA>)->Name("hpk_sErfc")->Arg(1000);
BENCHMARK(BM_glibc<float, glibc_erfcf>)->Name("glibc_erfcf")->Arg(1000);
BENCHMARK(BM_hpk<double, _vmkdErf_HA>)->Name("hpk_dErf")->Arg(1000);
BENCHMARK(BM_glibc<double, glibc_erf>)->Name("glibc_erf")->Arg(1000);
BENCHMARK(BM_hpk<float, _vmksErf_HA>)->Name("hpk_sErf")->Arg(1000);
BENCHMARK(BM_glibc<float, glibc_erff>)->Name("glibc_erff")->Arg(1000);

}  // namespace
