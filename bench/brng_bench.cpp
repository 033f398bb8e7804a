// Basic generators, words per second, against the generators a user would pick instead:
// std::mt19937 and std::minstd_rand (a 31-bit congruential generator), and GSL's mt19937. Each
// fills an array of 1000 elements per call; the double peers form u * 2^-32 (or GSL's uniform),
// the same kind of value as ours with a = 0, b = 1.
#include <benchmark/benchmark.h>
#include <gsl/gsl_rng.h>

#include <random>
#include <vector>

#include "hpk/vsk.h"
#include "hpk/vsk_brng_mcg.h"
#include "hpk/vsk_brng_mt.h"

namespace {

constexpr int kN = 1000;

template <int32_t Brng>
struct Ours {
  StreamState *s = nullptr;
  Ours() {
    const uint32_t seed = 12345;
    __vskNewStreamEx(&s, Brng, 1, &seed);
  }
  ~Ours() { __vskDeleteStream(&s); }
};

template <int32_t Brng, int32_t (*F)(StreamState *, int32_t, uint32_t *), int Words>
void BM_ours_i(benchmark::State &st) {
  Ours<Brng> g;
  std::vector<uint32_t> r(kN * Words);
  for (auto _ : st) {
    F(g.s, kN, r.data());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

template <int32_t Brng, int32_t (*F)(StreamState *, int32_t, double *, double, double)>
void BM_ours_d(benchmark::State &st) {
  Ours<Brng> g;
  std::vector<double> r(kN);
  for (auto _ : st) {
    F(g.s, kN, r.data(), 0.0, 1.0);
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

template <int32_t Brng, int32_t (*F)(StreamState *, int32_t, float *, float, float)>
void BM_ours_s(benchmark::State &st) {
  Ours<Brng> g;
  std::vector<float> r(kN);
  for (auto _ : st) {
    F(g.s, kN, r.data(), 0.0f, 1.0f);
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

template <class E>
void BM_std_i(benchmark::State &st) {
  E e(12345);
  std::vector<uint32_t> r(kN);
  for (auto _ : st) {
    for (auto &x : r) x = uint32_t(e());
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

template <class E, int Bits>
void BM_std_d(benchmark::State &st) {
  E e(12345);
  std::vector<double> r(kN);
  const double scale = Bits == 32 ? 0x1p-32 : 1.0 / 2147483647.0;
  for (auto _ : st) {
    for (auto &x : r) x = double(e()) * scale;
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
}

void BM_gsl_mt19937_i(benchmark::State &st) {
  gsl_rng *g = gsl_rng_alloc(gsl_rng_mt19937);
  gsl_rng_set(g, 12345);
  std::vector<uint32_t> r(kN);
  for (auto _ : st) {
    for (auto &x : r) x = uint32_t(gsl_rng_get(g));
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
  gsl_rng_free(g);
}

void BM_gsl_mt19937_d(benchmark::State &st) {
  gsl_rng *g = gsl_rng_alloc(gsl_rng_mt19937);
  gsl_rng_set(g, 12345);
  std::vector<double> r(kN);
  for (auto _ : st) {
    for (auto &x : r) x = gsl_rng_uniform(g);
    benchmark::DoNotOptimize(r.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * kN);
  gsl_rng_free(g);
}

BENCHMARK(BM_ours_i<HPK_VSK_BRNG_MT19937, __vskiBRngMT19937, 1>)->Name("brng/MT19937/i/ours");
BENCHMARK(BM_std_i<std::mt19937>)->Name("brng/MT19937/i/std");
BENCHMARK(BM_gsl_mt19937_i)->Name("brng/MT19937/i/gsl");
BENCHMARK(BM_ours_d<HPK_VSK_BRNG_MT19937, __vskdBRngMT19937>)->Name("brng/MT19937/d/ours");
BENCHMARK(BM_std_d<std::mt19937, 32>)->Name("brng/MT19937/d/std");
BENCHMARK(BM_gsl_mt19937_d)->Name("brng/MT19937/d/gsl");
BENCHMARK(BM_ours_s<HPK_VSK_BRNG_MT19937, __vsksBRngMT19937>)->Name("brng/MT19937/s/ours");
BENCHMARK(BM_ours_i<HPK_VSK_BRNG_MT2203, __vskiBRngMT2203, 1>)->Name("brng/MT2203/i/ours");
BENCHMARK(BM_ours_d<HPK_VSK_BRNG_MT2203, __vskdBRngMT2203>)->Name("brng/MT2203/d/ours");
BENCHMARK(BM_ours_i<HPK_VSK_BRNG_MCG31M1, __vskiBRngMCG31M1, 1>)->Name("brng/MCG31M1/i/ours");
BENCHMARK(BM_std_i<std::minstd_rand>)->Name("brng/MCG31M1/i/std_minstd");
BENCHMARK(BM_ours_d<HPK_VSK_BRNG_MCG31M1, __vskdBRngMCG31M1>)->Name("brng/MCG31M1/d/ours");
BENCHMARK(BM_std_d<std::minstd_rand, 31>)->Name("brng/MCG31M1/d/std_minstd");
BENCHMARK(BM_ours_s<HPK_VSK_BRNG_MCG31M1, __vsksBRngMCG31M1>)->Name("brng/MCG31M1/s/ours");
BENCHMARK(BM_ours_i<HPK_VSK_BRNG_MCG59, __vskiBRngMCG59, 2>)->Name("brng/MCG59/i/ours");
BENCHMARK(BM_ours_d<HPK_VSK_BRNG_MCG59, __vskdBRngMCG59>)->Name("brng/MCG59/d/ours");
BENCHMARK(BM_ours_s<HPK_VSK_BRNG_MCG59, __vsksBRngMCG59>)->Name("brng/MCG59/s/ours");

}  // namespace
