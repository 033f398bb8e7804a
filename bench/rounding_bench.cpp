// The rounding family against the glibc loops of the same meaning, and against memory
// bandwidth (a memcpy of the bytes the kernel reads and writes). Inputs mix the small, main and
// integer ranges with both signs, as a user's data would.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "hpk/vmk.h"

namespace {

template <class T>
std::vector<T> mixed(int n) {
  std::vector<T> a(n);
  for (int i = 0; i < n; ++i) a[i] = T(((i * 7919) % 4001 - 2000) * 0.0371);
  return a;
}

template <class T, void (*K)(int, const T *, T *)>
void BM_kernel(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = mixed<T>(n);
  std::vector<T> y(n);
  for (auto _ : st) {
    K(n, a.data(), y.data());
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class T, T (*F)(T)>
void BM_libm(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = mixed<T>(n);
  std::vector<T> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = F(a[i]);
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class T, void (*K)(int, const T *, T *, T *)>
void BM_kernel2(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = mixed<T>(n);
  std::vector<T> y(n), z(n);
  for (auto _ : st) {
    K(n, a.data(), y.data(), z.data());
    benchmark::DoNotOptimize(z.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class T, T (*F)(T, T *)>
void BM_libm2(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = mixed<T>(n);
  std::vector<T> y(n), z(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) z[i] = F(a[i], &y[i]);
    benchmark::DoNotOptimize(z.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

// One stream read, one written.
template <class T>
void BM_copy(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = mixed<T>(n);
  std::vector<T> y(n);
  for (auto _ : st) {
    std::memcpy(y.data(), a.data(), n * sizeof(T));
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

#define SIZES ->Arg(1000)->Arg(1000000)
#define PAIR(Fn, fn)                                   \
  BENCHMARK(BM_kernel<double, _vmkd##Fn>) SIZES;       \
  BENCHMARK(BM_libm<double, ::fn>) SIZES;              \
  BENCHMARK(BM_kernel<float, _vmks##Fn>) SIZES;        \
  BENCHMARK(BM_libm<float, ::fn##f>) SIZES;

PAIR(Ceil, ceil)
PAIR(Floor, floor)
PAIR(Trunc, trunc)
PAIR(Round, round)
PAIR(NearbyInt, nearbyint)
PAIR(Rint, rint)
BENCHMARK(BM_kernel2<double, _vmkdModf>) SIZES;
BENCHMARK(BM_libm2<double, ::modf>) SIZES;
BENCHMARK(BM_kernel2<float, _vmksModf>) SIZES;
BENCHMARK(BM_libm2<float, ::modff>) SIZES;
BENCHMARK(BM_copy<double>) SIZES;
BENCHMARK(BM_copy<float>) SIZES;

}  // namespace
