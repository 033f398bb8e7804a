// Pow against glibc's scalar pow loop, glibc's two-lane SSE kernel and SLEEF's SSE2 kernel of
// 1-ulp accuracy, in elements per second over arrays of 1000 and 100000 doubles; the single
// kernel against powf and the four-lane kernels. Bases spread over 2^-20..2^20, exponents over
// -8..8 for double and -5..5 for single (|y log2 x| below 170 and 105: every element on the
// main routes of all, no overflow or underflow).
#include <benchmark/benchmark.h>
#include <emmintrin.h>

#include <cmath>
#include <vector>

#include "hpk/vmk.h"

#ifdef HPK_HAVE_SLEEF
#include <sleef.h>
#endif

extern "C" __m128d _ZGVbN2vv_pow(__m128d, __m128d);
extern "C" __m128 _ZGVbN4vv_powf(__m128, __m128);

namespace {

double base_at(int i) { return std::ldexp(1.0 + ((i * 7919) % 10007) / 10007.0, (i % 41) - 20); }
double exponent_at(int i, double range) {
  return range * (-1.0 + 2.0 * ((i * 4999) % 10009) / 10009.0);
}

template <class T>
struct Inputs {
  std::vector<T> x, y, r;
  explicit Inputs(int n) : x(n), y(n), r(n) {
    for (int i = 0; i < n; ++i) {
      x[i] = T(base_at(i));
      y[i] = T(exponent_at(i, sizeof(T) == 8 ? 8.0 : 5.0));
    }
  }
};

template <class T, void (*K)(int, const T *, const T *, T *)>
void BM_hpk(benchmark::State &st) {
  const int n = int(st.range(0));
  Inputs<T> in(n);
  for (auto _ : st) {
    K(n, in.x.data(), in.y.data(), in.r.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class T, T (*F)(T, T)>
void BM_glibc(benchmark::State &st) {
  const int n = int(st.range(0));
  Inputs<T> in(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) in.r[i] = F(in.x[i], in.y[i]);
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <__m128d (*F)(__m128d, __m128d)>
void BM_vec2(benchmark::State &st) {
  const int n = int(st.range(0));
  Inputs<double> in(n);
  for (auto _ : st) {
    for (int i = 0; i + 2 <= n; i += 2)
      _mm_storeu_pd(&in.r[i], F(_mm_loadu_pd(&in.x[i]), _mm_loadu_pd(&in.y[i])));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <__m128 (*F)(__m128, __m128)>
void BM_vec4(benchmark::State &st) {
  const int n = int(st.range(0));
  Inputs<float> in(n);
  for (auto _ : st) {
    for (int i = 0; i + 4 <= n; i += 4)
      _mm_storeu_ps(&in.r[i], F(_mm_loadu_ps(&in.x[i]), _mm_loadu_ps(&in.y[i])));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

double glibc_pow(double x, double y) { return std::pow(x, y); }
float glibc_powf(float x, float y) { return std::pow(x, y); }
__m128d mvec_pow(__m128d x, __m128d y) { return _ZGVbN2vv_pow(x, y); }
__m128 mvec_powf(__m128 x, __m128 y) { return _ZGVbN4vv_powf(x, y); }
#ifdef HPK_HAVE_SLEEF
__m128d sleef_pow(__m128d x, __m128d y) { return Sleef_powd2_u10sse2(x, y); }
__m128 sleef_powf(__m128 x, __m128 y) { return Sleef_powf4_u10sse2(x, y); }
#endif

#define POW_SIZES ->Arg(1000)->Arg(100000)

BENCHMARK(BM_hpk<double, _vmkdPow_HA>) POW_SIZES;
BENCHMARK(BM_glibc<double, glibc_pow>) POW_SIZES;
BENCHMARK(BM_vec2<mvec_pow>) POW_SIZES;
BENCHMARK(BM_hpk<float, _vmksPow_HA>) POW_SIZES;
BENCHMARK(BM_glibc<float, glibc_powf>) POW_SIZES;
BENCHMARK(BM_vec4<mvec_powf>) POW_SIZES;
#ifdef HPK_HAVE_SLEEF
BENCHMARK(BM_vec2<sleef_pow>) POW_SIZES;
BENCHMARK(BM_vec4<sleef_powf>) POW_SIZES;
#endif

}  // namespace
