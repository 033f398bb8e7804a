// The arithmetic members against a plain compiled loop and against memory bandwidth (a memcpy
// of the same bytes that the kernel reads and writes), and Hypot against glibc's hypot loop.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "hpk/vmk.h"

#include <emmintrin.h>
#ifdef HPK_HAVE_SLEEF
#include <sleef.h>
#endif

// glibc's libmvec SSE2 variants (vector function ABI names).
extern "C" __m128d _ZGVbN2vv_hypot(__m128d, __m128d);
extern "C" __m128 _ZGVbN4vv_hypotf(__m128, __m128);

namespace {

template <class T>
struct Arrays {
  std::vector<T> a, b, y;
  explicit Arrays(int n) : a(n), b(n), y(n) {
    for (int i = 0; i < n; ++i) {
      a[i] = T(1.0 + (i % 101) * 0.37);
      b[i] = T(0.5 + (i % 37) * 1.13);
    }
  }
};

template <class T, void (*K)(int, const T *, const T *, T *)>
void BM_kernel(benchmark::State &st) {
  const int n = int(st.range(0));
  Arrays<T> v(n);
  for (auto _ : st) {
    K(n, v.a.data(), v.b.data(), v.y.data());
    benchmark::DoNotOptimize(v.y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class T, class Op>
void BM_loop(benchmark::State &st) {
  const int n = int(st.range(0));
  Arrays<T> v(n);
  for (auto _ : st) {
    const T *a = v.a.data(), *b = v.b.data();
    T *y = v.y.data();
    for (int i = 0; i < n; ++i) y[i] = Op::apply(a[i], b[i]);
    benchmark::DoNotOptimize(v.y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

// Three streams of n elements (two read, one written): the floor for any binary kernel.
template <class T>
void BM_bandwidth(benchmark::State &st) {
  const int n = int(st.range(0));
  Arrays<T> v(n);
  for (auto _ : st) {
    std::memcpy(v.y.data(), v.a.data(), n * sizeof(T));
    benchmark::DoNotOptimize(v.b.data()[n / 2]);
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

struct Add { template <class T> static T apply(T a, T b) { return a + b; } };
struct Mul { template <class T> static T apply(T a, T b) { return a * b; } };
struct Hyp { template <class T> static T apply(T a, T b) { return std::hypot(a, b); } };

#ifdef HPK_HAVE_SLEEF
__m128d sleef_hypot_d(__m128d a, __m128d b) { return Sleef_hypotd2_u05sse2(a, b); }
__m128 sleef_hypot_s(__m128 a, __m128 b) { return Sleef_hypotf4_u05sse2(a, b); }
#endif

// A peer that works on one SSE register at a time, over the whole array.
template <class T, class V, V (*F)(V, V)>
void BM_vector_peer(benchmark::State &st) {
  const int n = int(st.range(0));
  Arrays<T> v(n);
  constexpr int w = sizeof(V) / sizeof(T);
  for (auto _ : st) {
    for (int i = 0; i + w <= n; i += w) {
      V a, b;
      std::memcpy(&a, &v.a[i], sizeof a);
      std::memcpy(&b, &v.b[i], sizeof b);
      const V r = F(a, b);
      std::memcpy(&v.y[i], &r, sizeof r);
    }
    benchmark::DoNotOptimize(v.y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

#define SIZES ->Arg(1000)->Arg(100000)->Arg(4000000)

BENCHMARK(BM_kernel<double, _vmkdAdd>) SIZES;
BENCHMARK(BM_loop<double, Add>) SIZES;
BENCHMARK(BM_kernel<float, _vmksAdd>) SIZES;
BENCHMARK(BM_loop<float, Add>) SIZES;
BENCHMARK(BM_kernel<double, _vmkdMul>) SIZES;
BENCHMARK(BM_loop<double, Mul>) SIZES;
BENCHMARK(BM_bandwidth<double>) SIZES;
BENCHMARK(BM_bandwidth<float>) SIZES;
BENCHMARK(BM_kernel<double, _vmkdHypot>)->Arg(1000)->Arg(100000);
BENCHMARK(BM_loop<double, Hyp>)->Arg(1000)->Arg(100000);
BENCHMARK(BM_vector_peer<double, __m128d, _ZGVbN2vv_hypot>)->Arg(1000)->Arg(100000);
#ifdef HPK_HAVE_SLEEF
BENCHMARK(BM_vector_peer<double, __m128d, sleef_hypot_d>)->Arg(1000)->Arg(100000);
BENCHMARK(BM_vector_peer<float, __m128, sleef_hypot_s>)->Arg(1000)->Arg(100000);
#endif
BENCHMARK(BM_vector_peer<float, __m128, _ZGVbN4vv_hypotf>)->Arg(1000)->Arg(100000);
BENCHMARK(BM_kernel<float, _vmksHypot>)->Arg(1000)->Arg(100000);
BENCHMARK(BM_loop<float, Hyp>)->Arg(1000)->Arg(100000);

}  // namespace
