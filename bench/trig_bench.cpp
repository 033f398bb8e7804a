// Sin and Cos against the glibc loop, libmvec's two-lane SSE kernels and SLEEF's u10 SSE2
// kernels, on arguments in [-pi, pi] (the common range) and in [-1e6, 1e6] (large arguments:
// the packed medium route takes 90112 up to 2^30); Tan and SinCos against the glibc loop;
// the inverse functions against the glibc loop; the single Sin, Cos, Tan, SinCos against the
// glibc sinf, cosf, tanf loops. All with 1024 elements per call.
//   hpk_bench --benchmark_filter=Trig --benchmark_min_time=0.2
#include <benchmark/benchmark.h>
#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "hpk/vmk.h"
#if HPK_HAVE_SLEEF
#include <sleef.h>
#endif

extern "C" __m128d _ZGVbN2v_sin(__m128d);
extern "C" __m128d _ZGVbN2v_cos(__m128d);

namespace {

constexpr int kN = 1024;

std::vector<double> inputs(double half_width) {
  std::mt19937_64 g(42);
  std::uniform_real_distribution<double> u(-half_width, half_width);
  std::vector<double> v(kN);
  for (double &x : v) x = u(g);
  return v;
}

double width_of(const benchmark::State &st) { return st.range(0) == 0 ? M_PI : 1e6; }

template <void (*K)(int, const double *, double *)>
void BM_TrigKernel(benchmark::State &st) {
  const std::vector<double> a = inputs(width_of(st));
  std::vector<double> y(kN);
  for (auto _ : st) {
    K(kN, a.data(), y.data());
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

void BM_TrigSinCosKernel(benchmark::State &st) {
  const std::vector<double> a = inputs(width_of(st));
  std::vector<double> y(kN), z(kN);
  for (auto _ : st) {
    _vmkdSinCos_HA(kN, a.data(), y.data(), z.data());
    benchmark::DoNotOptimize(y.data());
    benchmark::DoNotOptimize(z.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

template <double (*F)(double)>
void BM_TrigLoop(benchmark::State &st) {
  const std::vector<double> a = inputs(width_of(st));
  std::vector<double> y(kN);
  for (auto _ : st) {
    for (int i = 0; i < kN; ++i) y[i] = F(a[i]);
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

template <__m128d (*F)(__m128d)>
void BM_TrigPairs(benchmark::State &st) {
  const std::vector<double> a = inputs(width_of(st));
  std::vector<double> y(kN);
  for (auto _ : st) {
    for (int i = 0; i < kN; i += 2) _mm_storeu_pd(&y[i], F(_mm_loadu_pd(&a[i])));
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

double glibc_sin(double x) { return std::sin(x); }
double glibc_cos(double x) { return std::cos(x); }
double glibc_tan(double x) { return std::tan(x); }
__m128d mvec_sin(__m128d x) { return _ZGVbN2v_sin(x); }
__m128d mvec_cos(__m128d x) { return _ZGVbN2v_cos(x); }
#if HPK_HAVE_SLEEF
__m128d sleef_sin(__m128d x) { return Sleef_sind2_u10sse2(x); }
__m128d sleef_cos(__m128d x) { return Sleef_cosd2_u10sse2(x); }
#endif

// The inverse functions against the glibc loop: Asin, Acos on [-1, 1], Atan on [-4, 4],
// Atan2 on [-4, 4]^2.
template <void (*K)(int, const double *, double *), double (*F)(double)>
void BM_TrigInverse(benchmark::State &st) {
  std::vector<double> a = inputs(st.range(1) ? 4.0 : 1.0), y(kN);
  for (auto _ : st) {
    if (st.range(0)) {
      for (int i = 0; i < kN; ++i) y[i] = F(a[i]);
    } else {
      K(kN, a.data(), y.data());
    }
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

void BM_TrigAtan2(benchmark::State &st) {
  std::vector<double> a = inputs(4.0), b = inputs(4.0), y(kN);
  std::reverse(b.begin(), b.end());
  for (auto _ : st) {
    if (st.range(0)) {
      for (int i = 0; i < kN; ++i) y[i] = std::atan2(a[i], b[i]);
    } else {
      _vmkdAtan2_HA(kN, a.data(), b.data(), y.data());
    }
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

double glibc_asin(double x) { return std::asin(x); }
double glibc_acos(double x) { return std::acos(x); }
double glibc_atan(double x) { return std::atan(x); }

// Args: (0 kernel, 1 glibc loop; argument range).
BENCHMARK(BM_TrigInverse<_vmkdAsin_HA, glibc_asin>)->Args({0, 0})->Args({1, 0})->Name("Trig/Asin");
BENCHMARK(BM_TrigInverse<_vmkdAcos_HA, glibc_acos>)->Args({0, 0})->Args({1, 0})->Name("Trig/Acos");
BENCHMARK(BM_TrigInverse<_vmkdAtan_HA, glibc_atan>)->Args({0, 1})->Args({1, 1})->Name("Trig/Atan");
BENCHMARK(BM_TrigAtan2)->Arg(0)->Arg(1)->Name("Trig/Atan2");

// Arg 0: [-pi, pi]; arg 1: [-1e6, 1e6].
BENCHMARK(BM_TrigKernel<_vmkdSin_HA>)->Arg(0)->Arg(1)->Name("Trig/dSin");
BENCHMARK(BM_TrigLoop<glibc_sin>)->Arg(0)->Arg(1)->Name("Trig/sin_glibc");
BENCHMARK(BM_TrigPairs<mvec_sin>)->Arg(0)->Arg(1)->Name("Trig/sin_libmvec");
BENCHMARK(BM_TrigKernel<_vmkdCos_HA>)->Arg(0)->Arg(1)->Name("Trig/dCos");
BENCHMARK(BM_TrigLoop<glibc_cos>)->Arg(0)->Arg(1)->Name("Trig/cos_glibc");
BENCHMARK(BM_TrigPairs<mvec_cos>)->Arg(0)->Arg(1)->Name("Trig/cos_libmvec");
#if HPK_HAVE_SLEEF
BENCHMARK(BM_TrigPairs<sleef_sin>)->Arg(0)->Arg(1)->Name("Trig/sin_sleef_u10");
BENCHMARK(BM_TrigPairs<sleef_cos>)->Arg(0)->Arg(1)->Name("Trig/cos_sleef_u10");
#endif
BENCHMARK(BM_TrigKernel<_vmkdTan_HA>)->Arg(0)->Arg(1)->Name("Trig/dTan");
BENCHMARK(BM_TrigLoop<glibc_tan>)->Arg(0)->Arg(1)->Name("Trig/tan_glibc");
BENCHMARK(BM_TrigSinCosKernel)->Arg(0)->Arg(1)->Name("Trig/dSinCos");

// Singles: arguments in [-pi, pi] and in [-90000, 90000] (the single route's whole range).
std::vector<float> inputs_s(const benchmark::State &st) {
  std::mt19937_64 g(42);
  std::uniform_real_distribution<float> u(st.range(0) == 0 ? -float(M_PI) : -90000.0f,
                                          st.range(0) == 0 ? float(M_PI) : 90000.0f);
  std::vector<float> v(kN);
  for (float &x : v) x = u(g);
  return v;
}

template <void (*K)(int, const float *, float *)>
void BM_TrigKernelS(benchmark::State &st) {
  const std::vector<float> a = inputs_s(st);
  std::vector<float> y(kN);
  for (auto _ : st) {
    K(kN, a.data(), y.data());
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

void BM_TrigSinCosKernelS(benchmark::State &st) {
  const std::vector<float> a = inputs_s(st);
  std::vector<float> y(kN), z(kN);
  for (auto _ : st) {
    _vmksSinCos_HA(kN, a.data(), y.data(), z.data());
    benchmark::DoNotOptimize(y.data());
    benchmark::DoNotOptimize(z.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

template <float (*F)(float)>
void BM_TrigLoopS(benchmark::State &st) {
  const std::vector<float> a = inputs_s(st);
  std::vector<float> y(kN);
  for (auto _ : st) {
    for (int i = 0; i < kN; ++i) y[i] = F(a[i]);
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

float glibc_sinf(float x) { return sinf(x); }
float glibc_cosf(float x) { return cosf(x); }
float glibc_tanf(float x) { return tanf(x); }

BENCHMARK(BM_TrigKernelS<_vmksSin_HA>)->Arg(0)->Arg(1)->Name("Trig/sSin");
BENCHMARK(BM_TrigLoopS<glibc_sinf>)->Arg(0)->Arg(1)->Name("Trig/sinf_glibc");
BENCHMARK(BM_TrigKernelS<_vmksCos_HA>)->Arg(0)->Arg(1)->Name("Trig/sCos");
BENCHMARK(BM_TrigLoopS<glibc_cosf>)->Arg(0)->Arg(1)->Name("Trig/cosf_glibc");
BENCHMARK(BM_TrigKernelS<_vmksTan_HA>)->Arg(0)->Arg(1)->Name("Trig/sTan");
BENCHMARK(BM_TrigLoopS<glibc_tanf>)->Arg(0)->Arg(1)->Name("Trig/tanf_glibc");
BENCHMARK(BM_TrigSinCosKernelS)->Arg(0)->Arg(1)->Name("Trig/sSinCos");

}  // namespace
