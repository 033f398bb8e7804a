// Complex inverse trigonometric and hyperbolic functions: the special-value grid against glibc
// (class and sign of zeros, infinities and NaNs exactly), accuracy part by part against GNU MPC
// on random elements and on elements next to the branch points +-1, +-i, on and beside the
// cuts with both zero signs and next to the unit circle, the pole statuses with their
// positions, and the in-place run with the caller's x87 control word restored.
#include <functional>
#include <string>

#include "support/celem_test_util.hpp"

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

using namespace hpk::test;
using namespace hpk::test::celem;

const CFn kInverse[] = {
    {"Asin", _vmkcAsin_HA, _vmkzAsin_HA, casinf, casin, mpc_asin, 2.0, 0, 0},
    {"Acos", _vmkcAcos_HA, _vmkzAcos_HA, cacosf, cacos, mpc_acos, 2.0, 0, 0},
    {"Atan", _vmkcAtan_HA, _vmkzAtan_HA, catanf, catan, mpc_atan, 2.0, 0, 0},
    {"Asinh", _vmkcAsinh_HA, _vmkzAsinh_HA, casinhf, casinh, mpc_asinh, 2.0, 0, 0},
    {"Acosh", _vmkcAcosh_HA, _vmkzAcosh_HA, cacoshf, cacosh, mpc_acosh, 2.0, 0, 0},
    {"Atanh", _vmkcAtanh_HA, _vmkzAtanh_HA, catanhf, catanh, mpc_atanh, 2.0, 0, 0},
};

// Elements where the parts are hard to get: next to the branch points +-1 and +-i (one part
// 1 + or - a small step, the other small or zero), on the cuts (|x| > 1 with y = +-0, x = +-0
// with |y| > 1) and just off them, next to the unit circle (where atanh's imaginary part
// cancels), tiny elements, and parts of very different size. Every sign combination.
template <class R>
std::vector<std::pair<R, R>> hard_elements() {
  constexpr int kBits = std::numeric_limits<R>::digits;
  constexpr int kMinExp = std::numeric_limits<R>::min_exponent - kBits;  // denormal_min
  std::mt19937_64 gen(7);
  std::uniform_real_distribution<double> mant(1.0, 2.0), unit(0.0, 1.0);
  std::uniform_int_distribution<int> step(1, kBits), small(kMinExp, -1), any(kMinExp, 60);
  std::vector<std::pair<R, R>> base;
  for (int i = 0; i < 400; ++i) {
    const R near1 = R(1 + (i % 2 ? 1 : -1) * std::ldexp(mant(gen), -step(gen)));
    const R tiny = R(std::ldexp(mant(gen), small(gen)));
    const R on_cut = R(1 + std::ldexp(mant(gen), any(gen) % 12));  // > 1
    base.push_back({near1, tiny});
    base.push_back({near1, R(0)});
    base.push_back({R(1), tiny});
    base.push_back({tiny, near1});
    base.push_back({R(0), near1});
    base.push_back({on_cut, R(0)});
    base.push_back({R(0), on_cut});
    base.push_back({on_cut, tiny});
    base.push_back({tiny, on_cut});
    base.push_back({R(std::ldexp(mant(gen), any(gen))), R(std::ldexp(mant(gen), small(gen)))});
    base.push_back({R(std::ldexp(mant(gen), small(gen))), R(std::ldexp(mant(gen), small(gen)))});
    const double t = unit(gen) * 1.5707963267948966;
    base.push_back({R(std::cos(t)), R(std::sin(t))});
  }
  std::vector<std::pair<R, R>> all;
  for (const auto &[x, y] : base)
    for (int s = 0; s < 4; ++s) all.push_back({s & 1 ? -x : x, s & 2 ? -y : y});
  return all;
}

// Worst error of either part against MPC at 200 bits over the given elements.
template <class R, class T>
double worst_on(const CFn &f, void (*ker)(int, const T *, T *),
                const std::vector<std::pair<R, R>> &elems) {
  const int n = int(elems.size());
  std::vector<T> a(n), y(n);
  for (int i = 0; i < n; ++i) a[i] = {elems[i].first, elems[i].second};
  recorded([&] { ker(n, a.data(), y.data()); });  // the poles report; not looked at here
  mpc_t in, out;
  mpc_init2(in, std::numeric_limits<R>::digits);
  mpc_init2(out, 200);
  double worst = 0;
  for (int i = 0; i < n; ++i) {
    mpc_set_d_d(in, a[i].re, a[i].im, MPC_RNDNN);
    f.mpc_ref(out, in, MPC_RNDNN);
    const double e = std::max(hpk::oracle::ulp_error(R(y[i].re), mpc_realref(out)),
                              hpk::oracle::ulp_error(R(y[i].im), mpc_imagref(out)));
    if (e > worst) worst = e;
    if (e > f.ulps)
      ADD_FAILURE() << f.name << " at " << std::hexfloat << double(a[i].re) << " "
                    << double(a[i].im) << " got " << double(y[i].re) << " " << double(y[i].im)
                    << " (" << e << " ulp)";
  }
  mpc_clear(in);
  mpc_clear(out);
  return worst;
}

class CInverse : public ::testing::TestWithParam<CFn> {};

TEST_P(CInverse, SpecialGridMatchesGlibc) { check_grid(GetParam()); }

TEST_P(CInverse, AccuracyAgainstMpc) { check_accuracy(GetParam()); }

TEST_P(CInverse, AccuracyNearBranchPointsAndCuts) {
  const CFn &f = GetParam();
  const double z = worst_on<double>(f, f.zker, hard_elements<double>());
  const double c = worst_on<float>(f, f.cker, hard_elements<float>());
  std::printf("z%s near branch points and cuts: worst %.3f ulp\n", f.name, z);
  std::printf("c%s near branch points and cuts: worst %.3f ulp\n", f.name, c);
}

// zAtanh and zAtan take two elements a pass in double-double lanes while both parts lie in
// {0} u [2^-250, 2^250] and max(2Y, |1 - X^2 - Y^2|) >= 2^-40 (X, Y the magnitudes of the
// atanh argument), and the extended route otherwise. Families on both sides of each limit,
// in odd-length arrays so that pairs mix the routes and the last element is single.
TEST(CInversePairRoute, AtanAndAtanhWithinBoundEitherSideOfTheLimits) {
  std::mt19937_64 gen(11);
  std::uniform_real_distribution<double> mant(1.0, 2.0), unit(0.0, 1.0);
  std::uniform_int_distribution<int> mid(-30, 30), edge(235, 265), step(30, 52);
  struct Row {
    const char *name;
    std::function<std::pair<double, double>()> make;
  };
  const Row rows[] = {
      {"moderate", [&] { return std::pair{std::ldexp(mant(gen), mid(gen)),
                                          std::ldexp(mant(gen), mid(gen))}; }},
      {"unit circle, offset 2^-30..2^-52", [&] {
         const double t = unit(gen) * 1.5707963267948966;
         const double r = 1 + (unit(gen) < 0.5 ? -1 : 1) * std::ldexp(mant(gen), -step(gen));
         return std::pair{r * std::cos(t), r * std::sin(t)};
       }},
      {"next to 1, small other part", [&] {
         return std::pair{1 + (unit(gen) < 0.5 ? -1 : 1) * std::ldexp(mant(gen), -step(gen)),
                          std::ldexp(mant(gen), -step(gen) + 8)};
       }},
      {"huge parts", [&] { return std::pair{std::ldexp(mant(gen), edge(gen)),
                                            std::ldexp(mant(gen), edge(gen) - 40)}; }},
      {"tiny parts", [&] { return std::pair{std::ldexp(mant(gen), -edge(gen)),
                                            std::ldexp(mant(gen), mid(gen))}; }},
      {"one tiny, one huge", [&] { return std::pair{std::ldexp(mant(gen), -edge(gen)),
                                                    std::ldexp(mant(gen), edge(gen))}; }},
      {"real and imaginary axes", [&] {
         const double v = std::ldexp(mant(gen), mid(gen));
         return unit(gen) < 0.5 ? std::pair{v, 0.0} : std::pair{0.0, v};
       }},
  };
  for (const Row &row : rows) {
    std::vector<std::pair<double, double>> elems;
    for (int i = 0; i < 1001; ++i) {
      const auto [x, y] = row.make();
      elems.push_back({i & 1 ? -x : x, i & 2 ? -y : y});
    }
    for (const CFn &f : kInverse) {
      if (std::string(f.name) != "Atan" && std::string(f.name) != "Atanh") continue;
      std::vector<std::pair<double, double>> e = elems;
      if (f.name[4] == '\0')  // Atan: the same families turned by i
        for (auto &p : e) p = {-p.second, p.first};
      const double w = worst_on<double>(f, f.zker, e);
      std::printf("z%s %s: worst %.3f ulp\n", f.name, row.name, w);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Fns, CInverse, ::testing::ValuesIn(kInverse),
                         [](const auto &info) { return std::string(info.param.name); });

// The only status is 2, at the poles of Atanh (+-1 with either zero) and Atan (+-i), with the
// element's index; the other four report nothing on the whole grid, infinities and NaNs
// included, and the two report nothing else there. Pole results: +-inf with the zero kept.
TEST(CInverseStatus, PolesReportSingularityWithIndex) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<z16> a = {{0.5, 0.5},  {1.0, 0.0},   {-1.0, -0.0}, {1.0, 1e-30}, 
                              {inf, 0.0},  {0.0, 1.0},   {-0.0, -1.0}, {1.0, -0.0},
                              {NAN, 1.0},  {1.0, NAN},   {0.0, 0.0},   {-1.0, 0.0}};
  struct Row {
    const char *name;
    void (*z)(int, const z16 *, z16 *);
    void (*c)(int, const c8 *, c8 *);
    std::vector<int> poles;
    bool real_pole;  // the pole's infinity in the real part (Atanh) or the imaginary (Atan)
  };
  const Row rows[] = {
      {"Atanh", _vmkzAtanh_HA, _vmkcAtanh_HA, {1, 2, 7, 11}, true},
      {"Atan", _vmkzAtan_HA, _vmkcAtan_HA, {5, 6}, false},
      {"Asin", _vmkzAsin_HA, _vmkcAsin_HA, {}, false},
      {"Acos", _vmkzAcos_HA, _vmkcAcos_HA, {}, false},
      {"Asinh", _vmkzAsinh_HA, _vmkcAsinh_HA, {}, false},
      {"Acosh", _vmkzAcosh_HA, _vmkcAcosh_HA, {}, false},
  };
  std::vector<c8> ca(a.size());
  for (size_t i = 0; i < a.size(); ++i) ca[i] = {float(a[i].re), float(a[i].im)};
  for (const Row &r : rows) {
    std::vector<z16> zy(a.size());
    std::vector<c8> cy(a.size());
    for (const char t : {'z', 'c'}) {
      const auto reports = recorded([&] {
        if (t == 'z') r.z(int(a.size()), a.data(), zy.data());
        else r.c(int(ca.size()), ca.data(), cy.data());
      });
      std::vector<int> got;
      for (const Report &rep : reports) {
        got.push_back(rep.index);
        EXPECT_EQ(rep.code, 2);
        EXPECT_EQ(rep.name, std::string("v") + t + r.name);
      }
      EXPECT_EQ(got, r.poles) << t << r.name;
    }
    for (int i : r.poles) {
      const bool re = r.real_pole;
      const double inf_part = re ? zy[i].re : zy[i].im, zero_part = re ? zy[i].im : zy[i].re;
      EXPECT_EQ(inf_part, std::copysign(inf, re ? a[i].re : a[i].im)) << r.name << " " << i;
      EXPECT_EQ(zero_part, 0.0);
      EXPECT_EQ(float(inf_part), re ? cy[i].re : cy[i].im);
    }
  }
  // The grid: no reports but the poles.
  const auto g = grid_values<double>();
  std::vector<z16> ga;
  for (double x : g)
    for (double y : g) ga.push_back({x, y});
  std::vector<z16> gy(ga.size());
  for (const Row &r : rows) {
    const auto reports = recorded([&] { r.z(int(ga.size()), ga.data(), gy.data()); });
    for (const Report &rep : reports) {
      const z16 e = ga[rep.index];
      const bool pole = !r.poles.empty() && (r.real_pole ? std::fabs(e.re) == 1 && e.im == 0
                                                         : std::fabs(e.im) == 1 && e.re == 0);
      EXPECT_TRUE(pole && rep.code == 2) << r.name << " " << e.re << " " << e.im;
    }
  }
}

// In place (y == a) gives the out-of-place results, the caller's x87 control word (53-bit
// precision) comes back unchanged, and the computation is not run at 53 bits: the parts
// equal those of the default 64-bit state.
TEST(CInverseArray, InPlaceAndControlRestored) {
  std::vector<z16> a;
  std::vector<c8> ca;
  for (int i = 0; i < 37; ++i) {
    const double x = std::ldexp(1.0 + i / 37.0, i % 9 - 4) * (i % 3 ? 1 : -1);
    const double y = (i % 5 - 2) * 0.37 + (i == 7 ? 1e-300 : 0.0);
    a.push_back({x, y});
    ca.push_back({float(x), float(y)});
  }
  for (const CFn &f : kInverse) {
    std::vector<z16> zw(a.size()), zi = a;
    std::vector<c8> cw(ca.size()), ci = ca;
    f.zker(int(a.size()), a.data(), zw.data());
    f.cker(int(ca.size()), ca.data(), cw.data());
    bool kept = false;
    recorded([&] {
      kept = keeps_x87_control([&] {
        f.zker(int(zi.size()), zi.data(), zi.data());
        f.cker(int(ci.size()), ci.data(), ci.data());
      });
    });
    EXPECT_TRUE(kept) << f.name;
    for (size_t i = 0; i < a.size(); ++i) {
      EXPECT_EQ(bits(zi[i].re), bits(zw[i].re)) << f.name << i;
      EXPECT_EQ(bits(zi[i].im), bits(zw[i].im)) << f.name << i;
      EXPECT_EQ(bits(ci[i].re), bits(cw[i].re)) << f.name << i;
      EXPECT_EQ(bits(ci[i].im), bits(cw[i].im)) << f.name << i;
    }
  }
}

}  // namespace
