// CdfNormInv and ErfcInv against a scalar loop of the 16-digit rational approximation AS 241
// (over the C library's log and sqrt; ErfcInv as -AS241(y/2)/sqrt2), in elements per second
// over arrays of 1000 in cache. Inputs spread evenly over the open domain, so about a quarter
// of them fall in the centre pieces and the rest in the tails; singles are the same values
// rounded to float.
#include <benchmark/benchmark.h>

#include <vector>

#include "../tools/oracle/as241_peer.hpp"
#include "hpk/vmk.h"

namespace {

template <class T>
std::vector<T> inputs(int n, double top) {
  std::vector<T> a(n);
  for (int i = 0; i < n; ++i) a[i] = T(top * (((i * 7919) % 10007) + 0.5) / 10007.0);
  return a;
}

template <class T, void (*K)(int, const T *, T *)>
void BM_hpk(benchmark::State &st, double top) {
  const int n = int(st.range(0));
  const std::vector<T> a = inputs<T>(n, top);
  std::vector<T> y(n);
  for (auto _ : st) {
    K(n, a.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class T, double (*F)(double)>
void BM_as241(benchmark::State &st, double top) {
  const int n = int(st.range(0));
  const std::vector<T> a = inputs<T>(n, top);
  std::vector<T> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = T(F(a[i]));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

using hpk::oracle::as241;
using hpk::oracle::as241_erfcinv;


void BM_dCdfNormInv(benchmark::State &st) { BM_hpk<double, _vmkdCdfNormInv_HA>(st, 1.0); }
void BM_dCdfNormInv_as241(benchmark::State &st) { BM_as241<double, as241>(st, 1.0); }
void BM_sCdfNormInv(benchmark::State &st) { BM_hpk<float, _vmksCdfNormInv_HA>(st, 1.0); }
void BM_sCdfNormInv_as241(benchmark::State &st) { BM_as241<float, as241>(st, 1.0); }
void BM_dErfcInv(benchmark::State &st) { BM_hpk<double, _vmkdErfcInv_HA>(st, 2.0); }
void BM_dErfcInv_as241(benchmark::State &st) { BM_as241<double, as241_erfcinv>(st, 2.0); }
void BM_sErfcInv(benchmark::State &st) { BM_hpk<float, _vmksErfcInv_HA>(st, 2.0); }
void BM_sErfcInv_as241(benchmark::State &st) { BM_as241<float, as241_erfcinv>(st, 2.0); }

BENCHMARK(BM_dCdfNormInv)->Arg(1000);
BENCHMARK(BM_dCdfNormInv_as241)->Arg(1000);
BENCHMARK(BM_sCdfNormInv)->Arg(1000);
BENCHMARK(BM_sCdfNormInv_as241)->Arg(1000);
BENCHMARK(BM_dErfcInv)->Arg(1000);
BENCHMARK(BM_dErfcInv_as241)->Arg(1000);
BENCHMARK(BM_sErfcInv)->Arg(1000);
BENCHMARK(BM_sErfcInv_as241)->Arg(1000);

}  // namespace
