// The lane-mask frame, through a toy kernel: y = 2x, with |x| >= 2^1000 (and NaN) as rare
// lanes whose routine stores -x and reports status 3 for an infinity.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "vmk/frame/lane_mask.hpp"

namespace {

using hpk::simd::vd;

std::vector<std::pair<int, int>> g_reports;  // (status, index)

struct Toy {
  using T = double;
  using V = vd;
  static constexpr int kLanes = 2;
  static V compute(V x, int &rare) {
    const V big = hpk::simd::splat(0x1p1000);
    const V ax = hpk::simd::andnot_bits(hpk::simd::splat(-0.0), x);
    const V is_rare = (V)((ax >= big) | (ax != ax));
    rare = hpk::simd::movemask(is_rare);
    return hpk::simd::select(is_rare, hpk::simd::splat(0.0), x + x);
  }
  static double harmless() { return 1.0; }
  static int cout_rare(const double *in, double *out) {
    *out = -*in;
    return std::isinf(*in) ? 3 : 0;
  }
  static void report(int status, int index, const double *, double *y) {
    EXPECT_EQ(y[index], -std::numeric_limits<double>::infinity());  // stored before the report
    g_reports.push_back({status, index});
  }
};

TEST(LaneMaskFrame, EveryElementOnceRareLanesFixedAndReportedInOrder) {
  const double inf = std::numeric_limits<double>::infinity();
  for (int shift : {0, 1}) {  // a aligned to 16, and one element past it
    for (int n = 0; n <= 13; ++n) {
      for (int rare_at = -1; rare_at < n; ++rare_at) {
        alignas(16) double buf[20] = {};
        std::vector<double> y(20, 7.0);
        double *a = buf + shift;
        for (int i = 0; i < n; ++i) a[i] = 0.5 + i;
        if (rare_at >= 0) a[rare_at] = inf;
        if (n > 3 && rare_at != 2) a[2] = -0x1p1001;  // rare but no status
        g_reports.clear();
        hpk::vmk::LaneMaskPass<Toy>::run(n, a, y.data() + 1);
        for (int i = 0; i < n; ++i) {
          const double expect = (std::fabs(a[i]) >= 0x1p1000) ? -a[i] : 2 * a[i];
          EXPECT_EQ(y[1 + i], expect) << "n=" << n << " i=" << i << " shift=" << shift;
        }
        EXPECT_EQ(y[0], 7.0);
        for (int i = n + 1; i < 20; ++i) EXPECT_EQ(y[i], 7.0) << "n=" << n;
        if (rare_at >= 0) {
          ASSERT_EQ(g_reports.size(), 1u);
          EXPECT_EQ(g_reports[0], std::make_pair(3, rare_at));
        } else {
          EXPECT_TRUE(g_reports.empty());
        }
      }
    }
  }
}

}  // namespace
