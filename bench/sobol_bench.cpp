// Sobol points per second: our double and raw outputs against GSL's Sobol generator, at 1, 10
// and 40 dimensions, 1024 points per call (GSL delivers one point per call).
//   build/bench/hpk_bench --benchmark_filter=Sobol --benchmark_min_time=0.2
#include <benchmark/benchmark.h>
#include <gsl/gsl_qrng.h>

#include <cstdint>
#include <vector>

#include "hpk/vsk_sobol.h"

namespace {

constexpr int kPoints = 1024;

StreamState *new_sobol(int dim) {
  StreamState *s = nullptr;
  const uint32_t p = uint32_t(dim);
  __vskNewStreamEx(&s, HPK_VSK_BRNG_SOBOL, 1, &p);
  return s;
}

template <class T>
int32_t draw(StreamState *s, int n, T *r) {
  if constexpr (sizeof(T) == 8) return __vskdBRngSobol(s, n, r, 0.0, 1.0);
  else return __vskiBRngSobol(s, n, r);
}

template <class T>
void BM_SobolHpk(benchmark::State &st) {
  const int dim = int(st.range(0));
  std::vector<T> r(size_t(kPoints) * dim);
  StreamState *s = new_sobol(dim);
  for (auto _ : st) {
    if (draw(s, kPoints * dim, r.data()) != 0) {  // counter limit: start again
      __vskDeleteStream(&s);
      s = new_sobol(dim);
    }
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  __vskDeleteStream(&s);
  st.SetItemsProcessed(st.iterations() * kPoints);
}

void BM_SobolGsl(benchmark::State &st) {
  const int dim = int(st.range(0));
  std::vector<double> r(size_t(kPoints) * dim);
  gsl_qrng *q = gsl_qrng_alloc(gsl_qrng_sobol, unsigned(dim));
  for (auto _ : st) {
    for (int i = 0; i < kPoints; ++i)
      if (gsl_qrng_get(q, r.data() + size_t(i) * dim) != 0) gsl_qrng_init(q);  // 2^30 points
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  gsl_qrng_free(q);
  st.SetItemsProcessed(st.iterations() * kPoints);
}

BENCHMARK(BM_SobolHpk<double>)->Name("Sobol/hpk_d")->Arg(1)->Arg(10)->Arg(40);
BENCHMARK(BM_SobolHpk<uint32_t>)->Name("Sobol/hpk_i")->Arg(1)->Arg(10)->Arg(40);
BENCHMARK(BM_SobolGsl)->Name("Sobol/gsl")->Arg(1)->Arg(10)->Arg(40);

}  // namespace
