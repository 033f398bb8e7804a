// The complex arithmetic and polar family against the plain std::complex loop a user would
// write (GCC's operators: the textbook formulas with a library call only when a product comes
// out NaN; division scaled by the larger part of the divisor; std::abs by hypot; std::arg by
// atan2; std::polar by cos and sin).
#include <benchmark/benchmark.h>

#include <complex>
#include <vector>

#include "hpk/vmk.h"

namespace {

template <class R>
struct Arrays {
  using C = std::complex<R>;
  std::vector<C> a, b, y;
  std::vector<R> r;
  explicit Arrays(int n) : a(n), b(n), y(n), r(n) {
    for (int i = 0; i < n; ++i) {
      a[i] = C(R(1.0 + (i % 101) * 0.37), R(-0.25 + (i % 23) * 0.61));
      b[i] = C(R(0.5 + (i % 37) * 1.13), R(2.0 - (i % 41) * 0.09));
    }
  }
};

template <class CK>
using PartOf = decltype(CK{}.re);

template <class CK>
void BM_kernel(benchmark::State &st, void (*k)(int, const CK *, const CK *, CK *)) {
  using R = PartOf<CK>;
  const int n = int(st.range(0));
  Arrays<R> v(n);
  const CK *a = reinterpret_cast<const CK *>(v.a.data()), *b = reinterpret_cast<const CK *>(v.b.data());
  CK *y = reinterpret_cast<CK *>(v.y.data());
  for (auto _ : st) {
    k(n, a, b, y);
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class CK>
void BM_kernel_to_real(benchmark::State &st, void (*k)(int, const CK *, PartOf<CK> *)) {
  using R = PartOf<CK>;
  const int n = int(st.range(0));
  Arrays<R> v(n);
  for (auto _ : st) {
    k(n, reinterpret_cast<const CK *>(v.a.data()), v.r.data());
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

template <class CK>
void BM_kernel_one(benchmark::State &st, void (*k)(int, const CK *, CK *)) {
  using R = PartOf<CK>;
  const int n = int(st.range(0));
  Arrays<R> v(n);
  for (auto _ : st) {
    k(n, reinterpret_cast<const CK *>(v.a.data()), reinterpret_cast<CK *>(v.y.data()));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

// CIS from the real parts of a (the same arguments as the std::polar loop).
template <class CK>
void BM_kernel_cis(benchmark::State &st, void (*k)(int, const PartOf<CK> *, CK *)) {
  using R = PartOf<CK>;
  const int n = int(st.range(0));
  Arrays<R> v(n);
  for (int i = 0; i < n; ++i) v.r[i] = v.a[i].real();
  for (auto _ : st) {
    k(n, v.r.data(), reinterpret_cast<CK *>(v.y.data()));
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

enum class Op { Add, Mul, MulByConj, Div, Abs, Conj, Arg, Cis };

template <class R, Op op>
void BM_std(benchmark::State &st) {
  const int n = int(st.range(0));
  Arrays<R> v(n);
  for (auto _ : st) {
    const auto *a = v.a.data(), *b = v.b.data();
    auto *y = v.y.data();
    R *r = v.r.data();
    for (int i = 0; i < n; ++i) {
      if constexpr (op == Op::Add) y[i] = a[i] + b[i];
      else if constexpr (op == Op::Mul) y[i] = a[i] * b[i];
      else if constexpr (op == Op::MulByConj) y[i] = a[i] * std::conj(b[i]);
      else if constexpr (op == Op::Div) y[i] = a[i] / b[i];
      else if constexpr (op == Op::Abs) r[i] = std::abs(a[i]);
      else if constexpr (op == Op::Arg) r[i] = std::arg(a[i]);
      else if constexpr (op == Op::Cis) y[i] = std::polar(R(1), a[i].real());
      else y[i] = std::conj(a[i]);
    }
    benchmark::ClobberMemory();
  }
  st.SetItemsProcessed(st.iterations() * n);
}

#define PAIR(t, R, CK, Fn, op)                                                         \
  BENCHMARK_CAPTURE(BM_kernel, t##Fn, _vmk##t##Fn)->Arg(1000);                         \
  BENCHMARK(BM_std<R, Op::op>)->Name("std_" #t #Fn)->Arg(1000);

BENCHMARK_CAPTURE(BM_kernel, cAdd_HA, _vmkcAdd_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, cAdd_EP, _vmkcAdd_11)->Arg(1000);
BENCHMARK(BM_std<float, Op::Add>)->Name("std_cAdd")->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, zAdd_HA, _vmkzAdd_HA)->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel, zAdd_EP, _vmkzAdd_26)->Arg(1000);
BENCHMARK(BM_std<double, Op::Add>)->Name("std_zAdd")->Arg(1000);
PAIR(c, float, hpk_complex8, Mul, Mul)
PAIR(z, double, hpk_complex16, Mul, Mul)
PAIR(c, float, hpk_complex8, MulByConj, MulByConj)
PAIR(z, double, hpk_complex16, MulByConj, MulByConj)
PAIR(c, float, hpk_complex8, Div, Div)
PAIR(z, double, hpk_complex16, Div, Div)
BENCHMARK_CAPTURE(BM_kernel_to_real, cAbs, _vmkcAbs)->Arg(1000);
BENCHMARK(BM_std<float, Op::Abs>)->Name("std_cAbs")->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel_to_real, zAbs, _vmkzAbs)->Arg(1000);
BENCHMARK(BM_std<double, Op::Abs>)->Name("std_zAbs")->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel_to_real, cArg, _vmkcArg)->Arg(1000);
BENCHMARK(BM_std<float, Op::Arg>)->Name("std_cArg")->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel_to_real, zArg, _vmkzArg)->Arg(1000);
BENCHMARK(BM_std<double, Op::Arg>)->Name("std_zArg")->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel_cis, cCIS, _vmkcCIS)->Arg(1000);
BENCHMARK(BM_std<float, Op::Cis>)->Name("std_cCIS")->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel_cis, zCIS, _vmkzCIS)->Arg(1000);
BENCHMARK(BM_std<double, Op::Cis>)->Name("std_zCIS")->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel_one, cConj, _vmkcConj)->Arg(1000);
BENCHMARK(BM_std<float, Op::Conj>)->Name("std_cConj")->Arg(1000);
BENCHMARK_CAPTURE(BM_kernel_one, zConj, _vmkzConj)->Arg(1000);
BENCHMARK(BM_std<double, Op::Conj>)->Name("std_zConj")->Arg(1000);

}  // namespace
