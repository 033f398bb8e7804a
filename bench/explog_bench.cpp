// Exp and Ln against glibc's scalar loops, glibc's two-lane SSE kernels and SLEEF's SSE2
// kernels of 1-ulp accuracy, in elements per second over arrays of 1000 and 100000 doubles.
// Inputs are spread over the main route (|x| < 700 for Exp, positive normal for Ln).
#include <benchmark/benchmark.h>
#include <emmintrin.h>

#include <cmath>
#include <vector>

#include "hpk/vmk.h"

#ifdef HPK_HAVE_SLEEF
#include <sleef.h>
#endif

extern "C" __m128d _ZGVbN2v_exp(__m128d);
extern "C" __m128d _ZGVbN2v_log(__m128d);

namespace {

struct ExpInput {
  static double at(int i) { return -700.0 + 1400.0 * ((i * 7919) % 10007) / 10007.0; }
};
struct LnInput {
  static double at(int i) { return std::ldexp(1.0 + ((i * 7919) % 10007) / 10007.0, (i % 200) - 100); }
};

template <class In>
std::vector<double> inputs(int n) {
  std::vector<double> a(n);
  for (int i = 0; i < n; ++i) a[i] = In::at(i);
  return a;
}

template <class In, void (*K)(int, const double *, double *)>
void BM_hpk(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<double> a = inputs<In>(n);
  std::vector<double> y(n);
  for (auto _ : st) {
    K(n, a.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class In, double (*F)(double)>
void BM_glibc(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<double> a = inputs<In>(n);
  std::vector<double> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = F(a[i]);
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class In, __m128d (*F)(__m128d)>
void BM_vec2(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<double> a = inputs<In>(n);
  std::vector<double> y(n);
  for (auto _ : st) {
    for (int i = 0; i + 2 <= n; i += 2) _mm_storeu_pd(&y[i], F(_mm_loadu_pd(&a[i])));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

double glibc_exp(double x) { return std::exp(x); }
double glibc_log(double x) { return std::log(x); }
__m128d mvec_exp(__m128d x) { return _ZGVbN2v_exp(x); }
__m128d mvec_log(__m128d x) { return _ZGVbN2v_log(x); }
#ifdef HPK_HAVE_SLEEF
__m128d sleef_exp(__m128d x) { return Sleef_expd2_u10sse2(x); }
__m128d sleef_log(__m128d x) { return Sleef_logd2_u10sse2(x); }
#endif

#define EXPLOG_SIZES ->Arg(1000)->Arg(100000)

template <class In, void (*K)(int, const float *, float *)>
void BM_hpk_s(benchmark::State &st) {
  const int n = int(st.range(0));
  std::vector<float> a(n), y(n);
  for (int i = 0; i < n; ++i) a[i] = float(In::at(i) / 8.1);  // within the single main route
  for (auto _ : st) {
    K(n, a.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class In, float (*F)(float)>
void BM_glibc_s(benchmark::State &st) {
  const int n = int(st.range(0));
  std::vector<float> a(n), y(n);
  for (int i = 0; i < n; ++i) a[i] = float(In::at(i) / 8.1);  // within the single main route
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = F(a[i]);
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}
float glibc_expf(float x) { return std::exp(x); }
double glibc_expm1(double x) { return std::expm1(x); }
double glibc_log1p(double x) { return std::log1p(x); }
float glibc_expm1f(float x) { return std::expm1(x); }
float glibc_log1pf(float x) { return std::log1p(x); }

// Expm1 over (-2, 2) and Log1p over (-0.5, 4): the ranges where the functions differ from
// Exp and Ln, every element on the main route.
struct Expm1Input {
  static double at(int i) { return -2.0 + 4.0 * ((i * 7919) % 10007) / 10007.0; }
};
struct Log1pInput {
  static double at(int i) { return -0.5 + 4.5 * ((i * 7919) % 10007) / 10007.0; }
};
float glibc_logf(float x) { return std::log(x); }

BENCHMARK(BM_hpk<ExpInput, _vmkdExp_HA>) EXPLOG_SIZES;
BENCHMARK(BM_glibc<ExpInput, glibc_exp>) EXPLOG_SIZES;
BENCHMARK(BM_vec2<ExpInput, mvec_exp>) EXPLOG_SIZES;
BENCHMARK(BM_hpk<LnInput, _vmkdLn_HA>) EXPLOG_SIZES;
BENCHMARK(BM_glibc<LnInput, glibc_log>) EXPLOG_SIZES;
BENCHMARK(BM_vec2<LnInput, mvec_log>) EXPLOG_SIZES;
BENCHMARK(BM_hpk<LnInput, _vmkdLog10_HA>) EXPLOG_SIZES;
BENCHMARK(BM_hpk<ExpInput, _vmkdExpm1_HA>)->Arg(1000);
BENCHMARK(BM_glibc<ExpInput, glibc_expm1>)->Arg(1000);
BENCHMARK(BM_hpk<LnInput, _vmkdLog1p_HA>)->Arg(1000);
BENCHMARK(BM_glibc<LnInput, glibc_log1p>)->Arg(1000);
BENCHMARK(BM_hpk<Expm1Input, _vmkdExpm1_HA>)->Arg(1000);
BENCHMARK(BM_glibc<Expm1Input, glibc_expm1>)->Arg(1000);
BENCHMARK(BM_hpk<Log1pInput, _vmkdLog1p_HA>)->Arg(1000);
BENCHMARK(BM_glibc<Log1pInput, glibc_log1p>)->Arg(1000);
BENCHMARK(BM_hpk_s<ExpInput, _vmksExpm1_HA>)->Arg(1000);
BENCHMARK(BM_glibc_s<ExpInput, glibc_expm1f>)->Arg(1000);
BENCHMARK(BM_hpk_s<LnInput, _vmksLog1p_HA>)->Arg(1000);
BENCHMARK(BM_glibc_s<LnInput, glibc_log1pf>)->Arg(1000);
BENCHMARK(BM_hpk_s<LnInput, _vmksLog10_HA>)->Arg(1000);
BENCHMARK(BM_hpk_s<ExpInput, _vmksExp_HA>) EXPLOG_SIZES;
BENCHMARK(BM_glibc_s<ExpInput, glibc_expf>) EXPLOG_SIZES;
BENCHMARK(BM_hpk_s<LnInput, _vmksLn_HA>) EXPLOG_SIZES;
BENCHMARK(BM_glibc_s<LnInput, glibc_logf>) EXPLOG_SIZES;
#ifdef HPK_HAVE_SLEEF
BENCHMARK(BM_vec2<ExpInput, sleef_exp>) EXPLOG_SIZES;
BENCHMARK(BM_vec2<LnInput, sleef_log>) EXPLOG_SIZES;
#endif

}  // namespace
