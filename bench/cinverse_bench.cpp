// Complex inverse trigonometric and hyperbolic kernels against glibc's loops (casin, casinf,
// ...) over the same arrays of 1000 elements in cache: real parts +-(0.05 .. 9.1), imaginary
// parts -3 .. 11, so that most elements lie off the axes and some near the branch points.
#include <benchmark/benchmark.h>

#include <vector>

#include "celem_bench_util.hpp"
#include "hpk/vmk.h"

extern "C" {
double _Complex casin(double _Complex);
double _Complex cacos(double _Complex);
double _Complex catan(double _Complex);
double _Complex casinh(double _Complex);
double _Complex cacosh(double _Complex);
double _Complex catanh(double _Complex);
float _Complex casinf(float _Complex);
float _Complex cacosf(float _Complex);
float _Complex catanf(float _Complex);
float _Complex casinhf(float _Complex);
float _Complex cacoshf(float _Complex);
float _Complex catanhf(float _Complex);
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

#define HPK_CINVERSE_BENCH(Fn, zpeer, cpeer)                  \
  BENCHMARK_CAPTURE(BM_kernel, z##Fn, _vmkz##Fn##_HA)->Arg(1000); \
  BENCHMARK_CAPTURE(BM_libc_z, zpeer, zpeer)->Arg(1000);          \
  BENCHMARK_CAPTURE(BM_kernel, c##Fn, _vmkc##Fn##_HA)->Arg(1000); \
  BENCHMARK_CAPTURE(BM_libc_c, cpeer, cpeer)->Arg(1000);

HPK_CINVERSE_BENCH(Asin, casin, casinf)
HPK_CINVERSE_BENCH(Acos, cacos, cacosf)
HPK_CINVERSE_BENCH(Atan, catan, catanf)
HPK_CINVERSE_BENCH(Asinh, casinh, casinhf)
HPK_CINVERSE_BENCH(Acosh, cacosh, cacoshf)
HPK_CINVERSE_BENCH(Atanh, catanh, catanhf)

}  // namespace
