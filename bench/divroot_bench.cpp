// Division and roots against the peers a caller would pick instead: the plain loop over
// glibc's function (or the C operator) and SLEEF's SSE2 kernels, on arrays of 1000 positive
// values spread over many binades.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "hpk/vmk.h"
#ifdef HPK_HAVE_SLEEF
#include <sleef.h>
#endif

namespace {

constexpr int kN = 1000;

template <class T>
std::vector<T> inputs(int salt) {
  std::vector<T> v(kN);
  for (int i = 0; i < kN; ++i) v[i] = T(std::ldexp(1.0 + ((i * 7919 + salt) % 1000) / 1000.0, (i % 41) - 20));
  return v;
}

template <class T, void (*K)(int, const T *, T *)>
void BM_kernel1(benchmark::State &st) {
  const std::vector<T> a = inputs<T>(1);
  std::vector<T> y(kN);
  for (auto _ : st) {
    K(kN, a.data(), y.data());
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

template <class T, void (*K)(int, const T *, const T *, T *)>
void BM_kernel2(benchmark::State &st) {
  const std::vector<T> a = inputs<T>(1), b = inputs<T>(2);
  std::vector<T> y(kN);
  for (auto _ : st) {
    K(kN, a.data(), b.data(), y.data());
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

template <class T, class F>
void loop1(benchmark::State &st, F f) {
  const std::vector<T> a = inputs<T>(1);
  std::vector<T> y(kN);
  for (auto _ : st) {
    for (int i = 0; i < kN; ++i) y[i] = f(a[i]);
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

void BM_glibc_sqrt(benchmark::State &st) { loop1<double>(st, [](double x) { return std::sqrt(x); }); }
void BM_glibc_sqrtf(benchmark::State &st) { loop1<float>(st, [](float x) { return std::sqrt(x); }); }
void BM_glibc_invsqrt(benchmark::State &st) { loop1<double>(st, [](double x) { return 1.0 / std::sqrt(x); }); }
void BM_glibc_invsqrtf(benchmark::State &st) { loop1<float>(st, [](float x) { return 1.0f / std::sqrt(x); }); }
void BM_glibc_cbrt(benchmark::State &st) { loop1<double>(st, [](double x) { return std::cbrt(x); }); }
void BM_glibc_cbrtf(benchmark::State &st) { loop1<float>(st, [](float x) { return std::cbrt(x); }); }
void BM_glibc_invcbrt(benchmark::State &st) { loop1<double>(st, [](double x) { return 1.0 / std::cbrt(x); }); }
void BM_glibc_invcbrtf(benchmark::State &st) { loop1<float>(st, [](float x) { return 1.0f / std::cbrt(x); }); }
void BM_loop_inv(benchmark::State &st) { loop1<double>(st, [](double x) { return 1.0 / x; }); }
void BM_loop_invf(benchmark::State &st) { loop1<float>(st, [](float x) { return 1.0f / x; }); }

template <class T>
void BM_loop_div(benchmark::State &st) {
  const std::vector<T> a = inputs<T>(1), b = inputs<T>(2);
  std::vector<T> y(kN);
  for (auto _ : st) {
    for (int i = 0; i < kN; ++i) y[i] = a[i] / b[i];
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

#ifdef HPK_HAVE_SLEEF
template <__m128d (*F)(__m128d)>
void BM_sleef_d(benchmark::State &st) {
  const std::vector<double> a = inputs<double>(1);
  std::vector<double> y(kN);
  for (auto _ : st) {
    for (int i = 0; i < kN; i += 2) _mm_storeu_pd(&y[i], F(_mm_loadu_pd(&a[i])));
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}
template <__m128 (*F)(__m128)>
void BM_sleef_s(benchmark::State &st) {
  const std::vector<float> a = inputs<float>(1);
  std::vector<float> y(kN);
  for (auto _ : st) {
    for (int i = 0; i < kN; i += 4) _mm_storeu_ps(&y[i], F(_mm_loadu_ps(&a[i])));
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}
// Plain wrappers: the declared attributes of the SLEEF functions keep them from being template
// arguments themselves.
__m128d sleef_sqrt(__m128d x) { return Sleef_sqrtd2_u05sse2(x); }
__m128 sleef_sqrtf(__m128 x) { return Sleef_sqrtf4_u05sse2(x); }
__m128d sleef_cbrt(__m128d x) { return Sleef_cbrtd2_u10sse2(x); }
__m128 sleef_cbrtf(__m128 x) { return Sleef_cbrtf4_u10sse2(x); }
#endif

BENCHMARK(BM_kernel1<double, _vmkdSqrt>);
BENCHMARK(BM_glibc_sqrt);
BENCHMARK(BM_kernel1<float, _vmksSqrt>);
BENCHMARK(BM_glibc_sqrtf);
BENCHMARK(BM_kernel1<double, _vmkdInvSqrt>);
BENCHMARK(BM_glibc_invsqrt);
BENCHMARK(BM_kernel1<float, _vmksInvSqrt>);
BENCHMARK(BM_glibc_invsqrtf);
BENCHMARK(BM_kernel1<double, _vmkdCbrt>);
BENCHMARK(BM_glibc_cbrt);
BENCHMARK(BM_kernel1<float, _vmksCbrt>);
BENCHMARK(BM_glibc_cbrtf);
BENCHMARK(BM_kernel1<double, _vmkdInvCbrt>);
BENCHMARK(BM_glibc_invcbrt);
BENCHMARK(BM_kernel1<float, _vmksInvCbrt>);
BENCHMARK(BM_glibc_invcbrtf);
BENCHMARK(BM_kernel2<double, _vmkdDiv>);
BENCHMARK(BM_loop_div<double>);
BENCHMARK(BM_kernel2<float, _vmksDiv>);
BENCHMARK(BM_loop_div<float>);
BENCHMARK(BM_kernel1<double, _vmkdInv>);
BENCHMARK(BM_loop_inv);
BENCHMARK(BM_kernel1<float, _vmksInv>);
BENCHMARK(BM_loop_invf);
#ifdef HPK_HAVE_SLEEF
BENCHMARK(BM_sleef_d<sleef_sqrt>);
BENCHMARK(BM_sleef_s<sleef_sqrtf>);
BENCHMARK(BM_sleef_d<sleef_cbrt>);
BENCHMARK(BM_sleef_s<sleef_cbrtf>);
#endif

}  // namespace
