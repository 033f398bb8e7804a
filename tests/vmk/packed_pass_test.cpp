// The packed pass frame over a toy kernel: which elements reach the scalar routine, with which
// input, in which order, for both sign rules, in blocks and in the tail, in place or not.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "vmk/frame/packed_pass.hpp"

namespace {

template <class E, uint32_t SignMask>
struct Toy {
  using T = E;
  using V = typename hpk::vmk::PassFormat<E>::V;
  static constexpr uint32_t kSignMask = SignMask;
  // Main route: magnitudes in [1, 2^4) for doubles (top words 0x3FF00000..0x402FFFFF), the
  // same binades for singles.
  static constexpr uint32_t kRangeLo = sizeof(E) == 8 ? 0x3FF00000 : 0x3F800000;
  static constexpr uint32_t kRangeLen = (sizeof(E) == 8 ? 0x40300000 : 0x41800000) - kRangeLo;
  static inline std::vector<std::pair<int, E>> seen;
  static V main(V x) { return x + x; }
  static void rare(E x, int i, const E *, E *y) {
    seen.push_back({i, x});
    y[i] = -x;
  }
};

template <class E, uint32_t SignMask>
void check(bool in_place) {
  using K = Toy<E, SignMask>;
  for (const int n : {0, 1, 7, 8, 15, 16, 17, 33, 50}) {
    SCOPED_TRACE(testing::Message() << "n " << n << (in_place ? " in place" : ""));
    std::vector<E> a(n), y(n);
    std::vector<std::pair<int, E>> expected;
    for (int i = 0; i < n; ++i) {
      // A pattern of in-range, out-of-range and negative values.
      const E v = E(0.75 + (i * 37 % 23));
      a[i] = (i % 3 == 1) ? -v : v;
      const E mag = std::fabs(a[i]);
      const bool main = mag >= E(1) && mag < E(16) && (SignMask == 0x7FFFFFFF || a[i] > 0);
      if (!main) expected.push_back({i, a[i]});
    }
    const std::vector<E> input = a;
    K::seen.clear();
    E *out = in_place ? a.data() : y.data();
    hpk::vmk::packed_pass<K>(n, a.data(), out);
    EXPECT_EQ(K::seen, expected);
    for (int i = 0; i < n; ++i) {
      const bool rare = std::find_if(expected.begin(), expected.end(),
                                     [&](auto &p) { return p.first == i; }) != expected.end();
      EXPECT_EQ(out[i], rare ? -input[i] : input[i] + input[i]) << i;
    }
  }
}

TEST(PackedPass, ScalarRoutineSeesExactlyTheOutOfRangeElements) {
  check<double, 0x7FFFFFFF>(false);
  check<double, 0xFFFFFFFF>(false);
  check<float, 0x7FFFFFFF>(false);
  check<float, 0xFFFFFFFF>(false);
  check<double, 0xFFFFFFFF>(true);
  check<float, 0x7FFFFFFF>(true);
}

}  // namespace
