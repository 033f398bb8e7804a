// Complex logarithms and powers against glibc's clog / clogf / clog10 / clog10f / cpow / cpowf
// loops over the same arrays of 1000 elements in cache: bases with real parts 0.05 .. 9.1 of
// both signs and imaginary parts -3 .. 11; exponents with real parts -2 .. 2.5 and imaginary
// parts -1 .. 1 (Powx: 0.75 - 0.25 i).
#include <benchmark/benchmark.h>

#include <vector>

#include "celem_bench_util.hpp"
#include "hpk/vmk.h"

extern "C" {
double _Complex clog(double _Complex);
float _Complex clogf(float _Complex);
double _Complex clog10(double _Complex);
float _Complex clog10f(float _Complex);
double _Complex cpow(double _Complex, double _Complex);
float _Complex cpowf(float _Complex, float _Complex);
}

namespace {

template <class CK>
std::vector<CK> bases(int n) {
  return hpk::bench::celem_inputs<CK>(n);
}

template <class CK>
std::vector<CK> exponents(int n) {
  std::vector<CK> b(n);
  for (int i = 0; i < n; ++i) {
    b[i].re = decltype(b[i].re)(-2.0 + (i % 19) * 0.25);
    b[i].im = decltype(b[i].re)(-1.0 + (i % 7) / 3.0);
  }
  return b;
}

using hpk::bench::to_c;

template <class CK>
void BM_kernel(benchmark::State &st, void (*k)(int, const CK *, CK *)) {
  hpk::bench::run_celem_kernel(st, k);
}

template <class CK>
void BM_pow(benchmark::State &st, void (*k)(int, const CK *, const CK *, CK *)) {
  const int n = int(st.range(0));
  const std::vector<CK> a = bases<CK>(n), b = exponents<CK>(n);
  std::vector<CK> y(n);
  for (auto _ : st) {
    k(n, a.data(), b.data(), y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class CK>
void BM_powx(benchmark::State &st, void (*k)(int, const CK *, CK, CK *)) {
  const int n = int(st.range(0));
  const std::vector<CK> a = bases<CK>(n);
  std::vector<CK> y(n);
  CK w;
  w.re = 0.75;
  w.im = -0.25;
  for (auto _ : st) {
    k(n, a.data(), w, y.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class CK, class C>
void libc_pow(benchmark::State &st, C (*f)(C, C), bool one_exponent) {
  const int n = int(st.range(0));
  const std::vector<CK> a = bases<CK>(n), b = exponents<CK>(n);
  std::vector<CK> y(n);
  C w;
  __real__ w = 0.75;
  __imag__ w = -0.25;
  for (auto _ : st) {
    for (int i = 0; i < n; ++i) {
      const C r = f(to_c<C>(a[i]), one_exponent ? w : to_c<C>(b[i]));
      y[i].re = __real__ r;
      y[i].im = __imag__ r;
    }
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

void BM_libc_z(benchmark::State &st, double _Complex (*f)(double _Complex)) {
  hpk::bench::run_celem_libc<hpk_complex16>(st, f);
}
void BM_libc_c(benchmark::State &st, float _Complex (*f)(float _Complex)) {
  hpk::bench::run_celem_libc<hpk_complex8>(st, f);
}
void BM_libc_zpow(benchmark::State &st, bool one) { libc_pow<hpk_complex16>(st, cpow, one); }
void BM_libc_cpow(benchmark::State &st, bool one) { libc_pow<hpk_complex8>(st, cpowf, one); }

BENCHMARK_CAPTURE(BM_kernel, zLn, _vmkzLn_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_z, clog, clog)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cLn_HA, _vmkcLn_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cLn_LA, _vmkcLn_21)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cLn_EP, _vmkcLn_11)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_c, clogf, clogf)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, zLog10, _vmkzLog10_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_z, clog10, clog10)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cLog10, _vmkcLog10_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_c, clog10f, clog10f)->Arg(1000);
BENCHMARK_CAPTURE(BM_pow, zPow, _vmkzPow_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_zpow, cpow, false)->Arg(1000);
BENCHMARK_CAPTURE(BM_powx, zPowx, _vmkzPowx_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_zpow, cpow_one_exponent, true)->Arg(1000);
BENCHMARK_CAPTURE(BM_pow, cPow, _vmkcPow_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_cpow, cpowf, false)->Arg(1000);
BENCHMARK_CAPTURE(BM_powx, cPowx, _vmkcPowx_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_cpow, cpowf_one_exponent, true)->Arg(1000);

}  // namespace
