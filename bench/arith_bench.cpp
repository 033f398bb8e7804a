// The arithmetic members against a plain compiled loop and against memory bandwidth (a memcpy
// of the same bytes that the kernel reads and writes), and Hypot against glibc's hypot loop.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "hpk/vmk.h"

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
BENCHMARK(BM_kernel<float, _vmksHypot>)->Arg(1000)->Arg(100000);
BENCHMARK(BM_loop<float, Hyp>)->Arg(1000)->Arg(100000);

}  // namespace
