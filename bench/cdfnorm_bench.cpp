// CdfNorm, three levels per type, against the glibc loop 0.5 erfc(-x / sqrt 2) and SLEEF's SSE2
// erfc used the same way (1.5 ulp erfc; the product by 1/sqrt 2 costs it accuracy in the tail),
// in elements per second over arrays of 1000 in cache. Two input sets: "mid", x spread over
// [-9, 9] (both routes, 1 - Q and Q); "tail", x over [-37, -5] (single [-12.4, -5]), the far negative tail down to the edge of the
// main route.
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
std::vector<T> inputs(int n, bool tail) {
  std::vector<T> a(n);
  for (int i = 0; i < n; ++i) {
    const double s = ((i * 7919) % 10007) / 10007.0;
    // single tail to -12.4: below -12.5 the single kernels take their rare route
    const double tail_len = sizeof(T) == 8 ? 32.0 : 7.4;
    a[i] = T(tail ? -5.0 - tail_len * s : -9.0 + 18.0 * s);
  }
  return a;
}

template <class T, void (*K)(int, const T *, T *), bool kTail>
void BM_hpk(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = inputs<T>(n, kTail);
  std::vector<T> y(n);
  for (auto _ : st) {
    K(n, a.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <bool kTail>
void BM_glibc_d(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<double> a = inputs<double>(n, kTail);
  std::vector<double> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = 0.5 * std::erfc(-a[i] * M_SQRT1_2);
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <bool kTail>
void BM_glibc_s(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<float> a = inputs<float>(n, kTail);
  std::vector<float> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = 0.5f * std::erfc(-a[i] * float(M_SQRT1_2));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

#ifdef HPK_HAVE_SLEEF
template <bool kTail>
void BM_sleef_d(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<double> a = inputs<double>(n, kTail);
  std::vector<double> y(n);
  const __m128d c = _mm_set1_pd(-M_SQRT1_2), h = _mm_set1_pd(0.5);
  for (auto _ : st) {
    for (int i = 0; i + 2 <= n; i += 2)
      _mm_storeu_pd(&y[i], _mm_mul_pd(h, Sleef_erfcd2_u15sse2(_mm_mul_pd(c, _mm_loadu_pd(&a[i])))));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}
template <bool kTail>
void BM_sleef_s(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<float> a = inputs<float>(n, kTail);
  std::vector<float> y(n);
  const __m128 c = _mm_set1_ps(-float(M_SQRT1_2)), h = _mm_set1_ps(0.5f);
  for (auto _ : st) {
    for (int i = 0; i + 4 <= n; i += 4)
      _mm_storeu_ps(&y[i], _mm_mul_ps(h, Sleef_erfcf4_u15sse2(_mm_mul_ps(c, _mm_loadu_ps(&a[i])))));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}
BENCHMARK(BM_sleef_d<false>)->Name("sleef_cdfnorm_d2_mid")->Arg(1000);
BENCHMARK(BM_sleef_d<true>)->Name("sleef_cdfnorm_d2_tail")->Arg(1000);
BENCHMARK(BM_sleef_s<false>)->Name("sleef_cdfnorm_f4_mid")->Arg(1000);
BENCHMARK(BM_sleef_s<true>)->Name("sleef_cdfnorm_f4_tail")->Arg(1000);
#endif

BENCHMARK(BM_hpk<double, _vmkdCdfNorm_HA, false>)->Name("hpk_dCdfNorm_HA_mid")->Arg(1000);
BENCHMARK(BM_hpk<double, _vmkdCdfNorm_50, false>)->Name("hpk_dCdfNorm_LA_mid")->Arg(1000);
BENCHMARK(BM_hpk<double, _vmkdCdfNorm_26, false>)->Name("hpk_dCdfNorm_EP_mid")->Arg(1000);
BENCHMARK(BM_glibc_d<false>)->Name("glibc_cdfnorm_d_mid")->Arg(1000);
BENCHMARK(BM_hpk<double, _vmkdCdfNorm_HA, true>)->Name("hpk_dCdfNorm_HA_tail")->Arg(1000);
BENCHMARK(BM_hpk<double, _vmkdCdfNorm_50, true>)->Name("hpk_dCdfNorm_LA_tail")->Arg(1000);
BENCHMARK(BM_hpk<double, _vmkdCdfNorm_26, true>)->Name("hpk_dCdfNorm_EP_tail")->Arg(1000);
BENCHMARK(BM_glibc_d<true>)->Name("glibc_cdfnorm_d_tail")->Arg(1000);
BENCHMARK(BM_hpk<float, _vmksCdfNorm_HA, false>)->Name("hpk_sCdfNorm_HA_mid")->Arg(1000);
BENCHMARK(BM_hpk<float, _vmksCdfNorm_21, false>)->Name("hpk_sCdfNorm_LA_mid")->Arg(1000);
BENCHMARK(BM_hpk<float, _vmksCdfNorm_11, false>)->Name("hpk_sCdfNorm_EP_mid")->Arg(1000);
BENCHMARK(BM_glibc_s<false>)->Name("glibc_cdfnorm_s_mid")->Arg(1000);
BENCHMARK(BM_hpk<float, _vmksCdfNorm_HA, true>)->Name("hpk_sCdfNorm_HA_tail")->Arg(1000);
BENCHMARK(BM_glibc_s<true>)->Name("glibc_cdfnorm_s_tail")->Arg(1000);

}  // namespace
