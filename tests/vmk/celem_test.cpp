// Complex elementary functions: the special-value grid against glibc's complex functions (class
// and sign of zeros, infinities and NaNs exactly, finite parts within the accuracy bound),
// accuracy part by part against GNU MPC on random and extreme elements, statuses through a
// recording call-back, aliasing and the restored control state.
#include "support/celem_test_util.hpp"

// glibc's complex functions, by their C names (GCC's _Complex in C++).
extern "C" {
double _Complex csqrt(double _Complex);
double _Complex cexp(double _Complex);
float _Complex cexpf(float _Complex);
float _Complex csqrtf(float _Complex);
}

namespace {

using namespace hpk::test;
using namespace hpk::test::celem;

const CFn kFns[] = {
    {"Sqrt", _vmkcSqrt_HA, _vmkzSqrt_HA, csqrtf, csqrt, mpc_sqrt, 1.0, 0, 0},
    {"Exp", _vmkcExp_HA, _vmkzExp_HA, cexpf, cexp, mpc_exp, 1.0, -745.0, 709.7},
    // The low accuracy kernel of cExp (slots 0 and 2); bound 4 ulp. zExp has one kernel.
    {"ExpLA", _vmkcExp_21, _vmkzExp_50, cexpf, cexp, mpc_exp, 4.0, -745.0, 709.7},
};

class CElem : public ::testing::TestWithParam<CFn> {};

TEST_P(CElem, SpecialGridMatchesGlibc) { check_grid(GetParam()); }

TEST_P(CElem, AccuracyAgainstMpc) { check_accuracy(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Fns, CElem, ::testing::ValuesIn(kFns),
                         [](const auto &info) { return std::string(info.param.name); });

// Sqrt reports nothing, even for infinite and NaN parts, and works in place with the
// caller's x87 control word restored.
TEST(CElemSqrt, NoStatusInPlaceAndControlRestored) {
  const double inf = std::numeric_limits<double>::infinity();
  std::vector<z16> a = {{-4.0, 0.0}, {-4.0, -0.0}, {inf, 1.0}, {-inf, NAN}, {1e308, 1e308}, {0.0, -0.0}};
  std::vector<z16> want(a.size());
  _vmkzSqrt_HA(int(a.size()), a.data(), want.data());
  bool kept = false;
  const auto reports = recorded([&] {
    // 53-bit precision, the state a caller may have set
    kept = keeps_x87_control([&] { _vmkzSqrt_HA(int(a.size()), a.data(), a.data()); });
  });
  EXPECT_TRUE(kept);
  EXPECT_TRUE(reports.empty());
  for (size_t i = 0; i < a.size(); ++i) {
    EXPECT_TRUE(same_part(a[i].re, want[i].re, 0));
    EXPECT_TRUE(same_part(a[i].im, want[i].im, 0));
  }
  // The branch cut: the sign of a zero imaginary part picks the side.
  EXPECT_EQ(want[0].im, 2.0);
  EXPECT_EQ(want[1].im, -2.0);
  EXPECT_TRUE(std::isfinite(want[4].re) && std::isfinite(want[4].im));
}

// zExp statuses with their positions: overflow where a finite element gives an infinite part
// (on the real axis too), underflow where the modulus falls below the smallest normal, domain
// for a finite real part with an infinite imaginary part; NaNs and infinite real parts report
// nothing. Rare elements among regular ones, the control word restored.
TEST(CElemExp, StatusesThroughCallBack) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  struct Row {
    z16 a;
    int code;  // 0: no report
  };
  const Row rows[] = {
      {{1.0, 2.0}, 0},      {{710.0, 0.0}, 3},     {{709.0, 1.0}, 0},    {{710.0, 3.0}, 3},
      {{-709.0, 1.0}, 4},   {{-800.0, 0.5}, 4},    {{-700.0, 1.0}, 0},   {{0.5, inf}, 1},
      {{0.5, nan}, 0},      {{nan, 1.0}, 0},       {{inf, 1.0}, 0},      {{-inf, inf}, 0},
      {{1e308, 1e-300}, 3}, {{-1e308, 1.0}, 4},    {{2.0, -0.0}, 0},     {{0.0, 1e300}, 0},
  };
  const int n = int(std::size(rows));
  std::vector<z16> a(n), y(n);
  for (int i = 0; i < n; ++i) a[i] = rows[i].a;
  bool kept = false;
  const auto reports = recorded(
      [&] { kept = keeps_x87_control([&] { _vmkzExp_HA(n, a.data(), y.data()); }); });
  EXPECT_TRUE(kept);
  std::vector<std::pair<int, int>> want, got;
  for (int i = 0; i < n; ++i)
    if (rows[i].code) want.push_back({i, rows[i].code});
  for (const Report &r : reports) {
    got.push_back({r.index, r.code});
    EXPECT_EQ(r.name, "vzExp");
  }
  EXPECT_EQ(got, want);
  // The reported elements keep their results (the call-back returns 0).
  EXPECT_TRUE(std::isinf(y[1].re) && y[1].im == 0.0);
  EXPECT_TRUE(std::isnan(y[7].re) && std::isnan(y[7].im));
}

// cExp, both kernels: the same statuses at the same positions, from the packed passes and
// the tail alike (nine elements: two passes of four and one left).
TEST(CElemExp, SingleStatusesBothKernels) {
  const float inf = std::numeric_limits<float>::infinity();
  const std::vector<c8> a = {{1.0f, 2.0f}, {89.0f, 0.0f}, {0.5f, -3.0f}, {-88.0f, 1.0f},
                             {-2.0f, 1e5f}, {0.0f, inf}, {90.0f, 1e-30f}, {-1.0f, 0.5f},
                             {100.0f, -1.0f}};
  const std::vector<std::pair<int, int>> want = {{1, 3}, {3, 4}, {5, 1}, {6, 3}, {8, 3}};
  for (auto ker : {_vmkcExp_HA, _vmkcExp_21}) {
    std::vector<c8> y(a.size());
    const auto reports = recorded([&] { ker(int(a.size()), a.data(), y.data()); });
    std::vector<std::pair<int, int>> got;
    for (const Report &r : reports) {
      got.push_back({r.index, r.code});
      EXPECT_EQ(r.name, "vcExp");
    }
    EXPECT_EQ(got, want);
    EXPECT_TRUE(std::isinf(y[8].re) && std::isinf(y[8].im) && y[8].im < 0);
  }
}

}  // namespace
