// Complex Sin, Cos, Tan, Sinh, Cosh, Tanh against glibc's csin ... loops (and their single
// forms) over the same arrays of 1000 elements in cache: real parts 0.05 .. 9.1 with both
// signs, imaginary parts -3 .. 11 (inside every kernel's packed range).
#include <benchmark/benchmark.h>

#include <vector>

#include "celem_bench_util.hpp"
#include "hpk/vmk.h"

extern "C" {
double _Complex csin(double _Complex);
double _Complex ccos(double _Complex);
double _Complex ctan(double _Complex);
double _Complex csinh(double _Complex);
double _Complex ccosh(double _Complex);
double _Complex ctanh(double _Complex);
float _Complex csinf(float _Complex);
float _Complex ccosf(float _Complex);
float _Complex ctanf(float _Complex);
float _Complex csinhf(float _Complex);
float _Complex ccoshf(float _Complex);
float _Complex ctanhf(float _Complex);
}

namespace {

template <class CK>
void BM_ctrig_kernel(benchmark::State &st, void (*k)(int, const CK *, CK *)) {
  hpk::bench::run_celem_kernel(st, k);
}
void BM_ctrig_libc_z(benchmark::State &st, double _Complex (*f)(double _Complex)) {
  hpk::bench::run_celem_libc<hpk_complex16>(st, f);
}
void BM_ctrig_libc_c(benchmark::State &st, float _Complex (*f)(float _Complex)) {
  hpk::bench::run_celem_libc<hpk_complex8>(st, f);
}

#define HPK_CTRIG_BENCH(Fn, zpeer, cpeer)                                   \
  BENCHMARK_CAPTURE(BM_ctrig_kernel, z##Fn, _vmkz##Fn##_HA)->Arg(1000);     \
  BENCHMARK_CAPTURE(BM_ctrig_libc_z, zpeer, zpeer)->Arg(1000);              \
  BENCHMARK_CAPTURE(BM_ctrig_kernel, c##Fn, _vmkc##Fn##_HA)->Arg(1000);     \
  BENCHMARK_CAPTURE(BM_ctrig_libc_c, cpeer, cpeer)->Arg(1000);

HPK_CTRIG_BENCH(Sin, csin, csinf)
HPK_CTRIG_BENCH(Cos, ccos, ccosf)
HPK_CTRIG_BENCH(Tan, ctan, ctanf)
HPK_CTRIG_BENCH(Sinh, csinh, csinhf)
HPK_CTRIG_BENCH(Cosh, ccosh, ccoshf)
HPK_CTRIG_BENCH(Tanh, ctanh, ctanhf)

}  // namespace
