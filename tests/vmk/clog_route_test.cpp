// The packed double-double route of zLn and zLog10 against MPC: random elements inside its
// bounds, the elements on both sides of each bound (the part magnitudes 2^-450 and 2^450, |z|^2
// at 2^-40 from 1, zero parts), and passes mixing route and extended lanes, in place and not.
#include "support/celem_test_util.hpp"

namespace {

using namespace hpk::test::celem;

struct LogRow {
  const char *name;
  void (*ker)(int, const z16 *, z16 *);
  int (*ref)(mpc_ptr, mpc_srcptr, mpc_rnd_t);
};

const LogRow kRows[] = {
    {"zLn", _vmkzLn_HA, mpc_log},
    {"zLog10", _vmkzLog10_HA, mpc_log10},
};

double worst_of(const LogRow &r, const std::vector<z16> &a, const std::vector<z16> &y, size_t *at) {
  mpc_t in, out;
  mpc_init2(in, 53);
  mpc_init2(out, 200);
  double worst = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    mpc_set_d_d(in, a[i].re, a[i].im, MPC_RNDNN);
    r.ref(out, in, MPC_RNDNN);
    const double e = std::max(hpk::oracle::ulp_error(y[i].re, mpc_realref(out)),
                              hpk::oracle::ulp_error(y[i].im, mpc_imagref(out)));
    if (e > worst) worst = e, *at = i;
  }
  mpc_clear(in);
  mpc_clear(out);
  return worst;
}

// Parts of random sign with exponents in [-440, 440] and 2^-30 below each other: every lane
// takes the route; a fifth of the elements lie within 2^-40 of the unit circle, on either side
// of the route's bound there.
std::vector<z16> route_elements(int n) {
  std::mt19937_64 g(7);
  std::uniform_real_distribution<double> mant(1.0, 2.0);
  std::uniform_int_distribution<int> ex(-440, 440), sign(0, 1), near(-4, 4);
  std::vector<z16> a(n);
  for (int i = 0; i < n; ++i) {
    auto part = [&](int e) { return (sign(g) ? -1 : 1) * std::ldexp(mant(g), e); };
    const int e = i % 3 == 0 ? near(g) : ex(g);  // a third of moduli within 2^+-5 of 1
    a[i] = {part(e), part(i % 2 ? std::max(e - 30, -440) : std::min(std::max(e + near(g), -440), 440))};
    if (i % 4 == 0) std::swap(a[i].re, a[i].im);
    if (i % 5 == 4) {  // |z| = 1 + e, e down to 2^-52: beside the route's bound next to 1
      const double t = std::ldexp(mant(g), near(g) - 2), e = std::ldexp(mant(g), -41 - (i / 5) % 12);
      a[i] = {std::cos(t) * (1 + (i & 1 ? e : -e)), std::sin(t) * (1 + (i & 1 ? e : -e))};
    }
  }
  return a;
}

// Elements beside each bound of the route; the rows alternate so that every pass of two pairs a
// bound element with an element on the other side.
std::vector<z16> bound_elements() {
  const double t = 0x1p-450, b = 0x1p450, e = 0x1p-41;
  std::vector<z16> a = {
      {t, 1.0},  {std::nextafter(t, 0.0), 1.0},  {1.0, -t},  {1.0, -std::nextafter(t, 0.0)},
      {b, 3.0},  {std::nextafter(b, 1e300), 3.0}, {-3.0, b}, {-3.0, std::nextafter(b, 1e300)},
      {t, -t},   {b, b},                         {-b, t},   {t, b},
      {1.0 + 2 * e, 0.0}, {1.0 + e, 0.0},         {0.0, 1.0 - 2 * e}, {0.0, -1.0 + e},
      // |z|^2 - 1 far below the square sum's error bound: 2^-60, -2^-53 + 2^-52
      {1.0, 0x1p-30},      {-0x1.fffffffffffffp-1, 0x1p-26}, {0x1p-26, -1.0}, {-3.0, -0.5},
      {2.0, 0.0},  {-2.0, 0.0},  {-2.0, -0.0},   {0.0, -0.5},
      {-0.0, 3.0}, {0.5, -0.0},  {1.0, 1.0},     {0x1.6a09e667f3bcdp-1, 0x1.6a09e667f3bcdp-1},
  };
  return a;
}

class CLogRoute : public ::testing::TestWithParam<LogRow> {};

TEST_P(CLogRoute, RandomElementsWithinOneUlp) {
  const LogRow &r = GetParam();
  const std::vector<z16> a = route_elements(20000);
  std::vector<z16> y(a.size());
  r.ker(int(a.size()), a.data(), y.data());
  size_t at = 0;
  const double w = worst_of(r, a, y, &at);
  std::printf("%s route: worst %.3f ulp at (%a, %a)\n", r.name, w, a[at].re, a[at].im);
  EXPECT_LE(w, 1.0) << r.name;
}

TEST_P(CLogRoute, BoundsInPlaceAndNot) {
  const LogRow &r = GetParam();
  const std::vector<z16> a = bound_elements();
  // both alignments of the pairs: from the first element and from the second
  for (size_t start = 0; start < 2; ++start) {
    const std::vector<z16> in(a.begin() + start, a.end());
    std::vector<z16> y(in.size()), io = in;
    r.ker(int(in.size()), in.data(), y.data());
    r.ker(int(io.size()), io.data(), io.data());
    for (size_t i = 0; i < in.size(); ++i) {
      EXPECT_EQ(std::memcmp(&y[i], &io[i], sizeof(z16)), 0) << r.name << " in place at " << i;
      // the sign of a zero angle follows the imaginary part
      if (y[i].im == 0.0) EXPECT_EQ(std::signbit(y[i].im), std::signbit(in[i].im)) << r.name << i;
    }
    size_t at = 0;
    const double w = worst_of(r, in, y, &at);
    EXPECT_LE(w, 1.0) << r.name << " at (" << in[at].re << ", " << in[at].im << ")";
  }
}

INSTANTIATE_TEST_SUITE_P(Fns, CLogRoute, ::testing::ValuesIn(kRows),
                         [](const auto &info) { return std::string(info.param.name); });

}  // namespace
