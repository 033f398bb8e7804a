// The pass frame of the complex Mul, MulByConj and Div kernels.
//
// Each pass computes K::kElems elements on the packed main route and returns a bit mask of the
// elements that the route cannot take (NaN, infinity, magnitudes that could overflow or lose
// accuracy, results the single rounding made non-finite). A pass without such elements stores
// its registers. Otherwise its results go to a local block, the marked elements are recomputed
// by K::scalar from their inputs, which are read before anything of the pass is stored (so y
// may be a or b), the block is stored, and each element whose scalar route returned a status
// goes to the dispatcher, in element order.
// The tail runs the same pass over a padded local copy, so an element's result does not depend
// on its position in the array.
//
// K provides: using C; static constexpr int kElems; struct Out (the result registers);
//   static int compute(const C *a, const C *b, Out &r);  // bit e set: element e is rare
//   static void store(C *y, const Out &r);               // kElems elements, unaligned
//   static int scalar(C a, C b, C &r);                   // every input; returns a status
#pragma once

#include "hpk/vmk.h"
#include "vmk/service/error.hpp"

namespace hpk::vmk {

template <class K>
[[gnu::noinline]] void binary_pass_fix(const typename K::C *a, const typename K::C *b,
                                       typename K::C *y, int start, int count, int rare,
                                       const typename K::Out &r, const char *name) {
  using C = typename K::C;
  C out[K::kElems];
  int status[K::kElems];
  K::store(out, r);
  for (int e = 0; e < count; ++e)
    status[e] = (rare >> e & 1) ? K::scalar(a[start + e], b[start + e], out[e]) : 0;
  for (int e = 0; e < count; ++e) y[start + e] = out[e];
  for (int e = 0; e < count; ++e)
    if (status[e] != 0) report_error<C>(status[e], start + e, a, b, y, y, name);
}

template <class K>
void binary_pass(int n, const typename K::C *a, const typename K::C *b, typename K::C *y,
                 const char *name) {
  using C = typename K::C;
  constexpr int E = K::kElems;
  int i = 0;
  for (; i <= n - E; i += E) {
    typename K::Out r;
    const int rare = K::compute(a + i, b + i, r);
    if (__builtin_expect(rare == 0, 1)) K::store(y + i, r);
    else binary_pass_fix<K>(a, b, y, i, E, rare, r, name);
  }
  if (i < n) {
    const int count = n - i;
    C la[E] = {}, lb[E] = {};
    for (int e = 0; e < count; ++e) {
      la[e] = a[i + e];
      lb[e] = b[i + e];
    }
    for (int e = count; e < E; ++e) lb[e].re = 1;  // padding 0 / 1: on the main route of all
    typename K::Out r;
    const int rare = K::compute(la, lb, r) & ((1 << count) - 1);
    binary_pass_fix<K>(a, b, y, i, count, rare, r, name);
  }
}

}  // namespace hpk::vmk
