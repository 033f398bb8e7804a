// Element cost of every kernel in the function list, for the cost tables: nanoseconds per
// element on arrays of 1000 in cache. tools/cost_figures.py turns the figures into the scale of
// the tables (dAdd = 1.79) and prints the single Add beside its fixed 0.74 as a check.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "hpk/vmk.h"

namespace {

constexpr int kN = 1000;

template <class T, class R>
struct Data {
  std::vector<T> a, b, y;
  std::vector<R> ra, ry;
  std::vector<int32_t> index, mask;
  Data() : a(kN), b(kN), y(2 * kN), ra(kN), ry(kN), index(kN), mask(kN) {
    for (int i = 0; i < kN; ++i) {
      const R va = R(0.75 + (i % 97) / 64.0), vb = R(1.5 - (i % 89) / 128.0);
      fill(a[i], va);
      fill(b[i], vb);
      ra[i] = va;
      index[i] = (i * 37) % kN;
      mask[i] = (i % 3) != 0;
    }
  }
  static void fill(T &t, R v) {
    R parts[sizeof(T) / sizeof(R)];
    for (auto &p : parts) p = v;
    std::memcpy(&t, parts, sizeof t);
  }
};

// One call per shape, arguments chosen so every element does typical work.
#define CALL_ONE(f, d) f(kN, d.a.data(), d.y.data())
#define CALL_TWO(f, d) f(kN, d.a.data(), d.b.data(), d.y.data())
// Powx with b[1] (1.4921875): b[0] = 1.5 would measure the forwarded Pow3o2 route.
#define CALL_POWX(f, d) f(kN, d.a.data(), d.b[1], d.y.data())
#define CALL_TWO_OUT(f, d) f(kN, d.a.data(), d.y.data(), d.y.data() + kN)
#define CALL_CIS(f, d) f(kN, d.ra.data(), d.y.data())
#define CALL_TO_REAL(f, d) f(kN, d.a.data(), d.ry.data())
#define CALL_LINFRAC(f, d) f(kN, d.a.data(), d.b.data(), 2, 1, 3, 4, d.y.data())
#define CALL_PACK_I(f, d) f(kN, d.a.data(), 1, d.y.data(), 1)
#define CALL_PACK_V(f, d) f(kN, d.a.data(), d.index.data(), d.y.data(), 1)
#define CALL_PACK_M(f, d) f(kN, d.a.data(), d.mask.data(), d.y.data(), 1)

#define SLOT_BENCH(t, Fn, shape, stub, label)                                             \
  benchmark::RegisterBenchmark("Cost/" #t #Fn "/" label, [](benchmark::State &st) {       \
    static Data<HPK_VMK_T_##t, HPK_VMK_R_##t> d;                                          \
    for (auto _ : st) {                                                                   \
      CALL_##shape(stub, d);                                                              \
      benchmark::ClobberMemory();                                                         \
    }                                                                                     \
    st.SetItemsProcessed(st.iterations() * kN);                                           \
  });

#define REGISTER(t, Fn, shape, k0, k1, k2, c0, c1, c2)      \
  SLOT_BENCH(t, Fn, shape, HPK_VMK_STUB_LA(t, Fn), "slot0") \
  SLOT_BENCH(t, Fn, shape, _vmk##t##Fn##_HA, "slot1")       \
  SLOT_BENCH(t, Fn, shape, HPK_VMK_STUB_EP(t, Fn), "slot2")

[[maybe_unused]] const int kRegistered = [] {
  HPK_VMK_FUNCTION_LIST(REGISTER)
  return 0;
}();

}  // namespace
