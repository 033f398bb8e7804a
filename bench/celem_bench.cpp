// Complex elementary kernels against glibc's csqrt / cexp (and their single forms) over the
// same arrays of 1000 elements in cache: real parts 0.05 .. 9.1 with both signs, imaginary
// parts -3 .. 11.
#include <benchmark/benchmark.h>

#include <vector>

#include "celem_bench_util.hpp"
#include "hpk/vmk.h"

extern "C" {
double _Complex csqrt(double _Complex);
float _Complex csqrtf(float _Complex);
double _Complex cexp(double _Complex);
float _Complex cexpf(float _Complex);
}

namespace {

template <class CK>
void BM_kernel(benchmark::State &st, void (*k)(int, const CK *, CK *)) {
  hpk::bench::run_celem_kernel(st, k);
}
void BM_libc_z(benchmark::State &st, double _Complex (*f)(double _Complex)) {
  hpk::bench::run_celem_libc<hpk_complex16>(st, f);
}
void BM_libc_c(benchmark::State &st, float _Complex (*f)(float _Complex)) {
  hpk::bench::run_celem_libc<hpk_complex8>(st, f);
}

BENCHMARK_CAPTURE(BM_kernel, zSqrt, _vmkzSqrt_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_z, csqrt, csqrt)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cSqrt, _vmkcSqrt_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_c, csqrtf, csqrtf)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, zExp, _vmkzExp_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_z, cexp, cexp)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cExp_HA, _vmkcExp_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cExp_LA, _vmkcExp_21)->Arg(1000);
BENCHMARK_CAPTURE(BM_libc_c, cexpf, cexpf)->Arg(1000);

}  // namespace
