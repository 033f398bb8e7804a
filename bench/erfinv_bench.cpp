// ErfInv against scalar loops (the C library has no erfinv): a published single-precision-style
// two-branch polynomial in w = -log(1 - x^2), and that start refined by two Newton steps on the
// C library's erf/erfc. Arrays of 1000 in cache; inputs spread over (-1, 1) with one in eight
// within 2^-10 .. 2^-50 of +-1 (the tail route), and (single) the same values rounded to float.
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "../tools/oracle/erfinv_peers.hpp"
#include "hpk/vmk.h"

extern "C" {
void hpk_vmk_kernel_dErfInv_EXHAynn(int, const double *, double *);
void hpk_vmk_kernel_dErfInv_EXEPnnn(int, const double *, double *);
void hpk_vmk_kernel_sErfInv_EXLAynn(int, const float *, float *);
void hpk_vmk_kernel_sErfInv_EXHAynn(int, const float *, float *);
void hpk_vmk_kernel_sErfInv_EXEPnnn(int, const float *, float *);
}

namespace {

template <class T>
std::vector<T> erfinv_inputs(int n) {
  std::vector<T> a(n);
  for (int i = 0; i < n; ++i) {
    const double s = ((i * 7919) % 10007) / 10007.0;
    const double sign = (i * 31) % 7 < 3 ? -1.0 : 1.0;
    double v = 0.999 * s;
    if (i % 8 == 5) v = 1.0 - std::ldexp(1.0 + s, -10 - (i * 13) % (sizeof(T) == 4 ? 13 : 40));
    a[i] = T(sign * v);
  }
  return a;
}

template <class T, void (*K)(int, const T *, T *)>
void BM_hpk(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = erfinv_inputs<T>(n);
  std::vector<T> y(n);
  for (auto _ : st) {
    K(n, a.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class T, double (*F)(double)>
void BM_loop(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<T> a = erfinv_inputs<T>(n);
  std::vector<T> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = T(F(a[i]));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

void BM_polyf_loop(benchmark::State &st) {
  const int n = int(st.range(0));
  const std::vector<float> a = erfinv_inputs<float>(n);
  std::vector<float> y(n);
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) y[i] = hpk::oracle::erfinv_polyf(a[i]);
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

}  // namespace

BENCHMARK(BM_hpk<double, hpk_vmk_kernel_dErfInv_EXHAynn>)->Name("ErfInv/d/hpk_HA")->Arg(1000);
BENCHMARK(BM_hpk<double, hpk_vmk_kernel_dErfInv_EXEPnnn>)->Name("ErfInv/d/hpk_EP")->Arg(1000);
BENCHMARK(BM_loop<double, hpk::oracle::erfinv_poly>)->Name("ErfInv/d/poly_loop")->Arg(1000);
BENCHMARK(BM_loop<double, hpk::oracle::erfinv_newton>)->Name("ErfInv/d/newton_loop")->Arg(1000);
BENCHMARK(BM_hpk<float, hpk_vmk_kernel_sErfInv_EXHAynn>)->Name("ErfInv/s/hpk_HA")->Arg(1000);
BENCHMARK(BM_hpk<float, hpk_vmk_kernel_sErfInv_EXLAynn>)->Name("ErfInv/s/hpk_LA")->Arg(1000);
BENCHMARK(BM_hpk<float, hpk_vmk_kernel_sErfInv_EXEPnnn>)->Name("ErfInv/s/hpk_EP")->Arg(1000);
BENCHMARK(BM_polyf_loop)->Name("ErfInv/s/poly_loop")->Arg(1000);
BENCHMARK(BM_loop<float, hpk::oracle::erfinv_newton>)->Name("ErfInv/s/newton_loop")->Arg(1000);
