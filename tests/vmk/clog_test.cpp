// Complex logarithms and powers: the special-value grids against glibc (clog, clog10, cpow;
// class and sign exactly), accuracy part by part against GNU MPC, statuses with their
// positions, the three cLn kernels, aliasing and the restored x87 control word.
#include "support/celem_test_util.hpp"

extern "C" {
double _Complex clog(double _Complex);
float _Complex clogf(float _Complex);
double _Complex clog10(double _Complex);
float _Complex clog10f(float _Complex);
double _Complex cpow(double _Complex, double _Complex);
float _Complex cpowf(float _Complex, float _Complex);
}

namespace {

using namespace hpk::test;
using namespace hpk::test::celem;

const CFn kLogFns[] = {
    {"Ln", _vmkcLn_HA, _vmkzLn_HA, clogf, clog, mpc_log, 1.0, 0, 0},
    {"Log10", _vmkcLog10_HA, _vmkzLog10_HA, clog10f, clog10, mpc_log10, 1.0, 0, 0},
    // cLn's low accuracy (slot 0) and enhanced performance (slot 2) kernels; z has one kernel.
    {"LnLA", _vmkcLn_21, nullptr, clogf, clog, mpc_log, 4.0, 0, 0},
    {"LnEP", _vmkcLn_11, nullptr, clogf, clog, mpc_log, 0x1p13, 0, 0},  // 11 bits
};

class CLog : public ::testing::TestWithParam<CFn> {};

TEST_P(CLog, SpecialGridMatchesGlibc) { check_grid(GetParam()); }

TEST_P(CLog, AccuracyAgainstMpc) { check_accuracy(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Fns, CLog, ::testing::ValuesIn(kLogFns),
                         [](const auto &info) { return std::string(info.param.name); });

// Next to |z| = 1 the real part is tiny and must keep its relative accuracy: elements
// (cos t + i sin t)(1 + e) with t random and e down to 2^-40 (single: 2^-20), every kernel.
template <class R, class T>
double worst_near_unit(void (*ker)(int, const T *, T *), int (*ref)(mpc_ptr, mpc_srcptr, mpc_rnd_t)) {
  std::mt19937_64 g(11);
  std::uniform_real_distribution<double> ang(-3.1, 3.1), ex(sizeof(R) == 4 ? -20 : -40, -2);
  const int n = 4000;
  std::vector<T> a(n), y(n);
  for (int i = 0; i < n; ++i) {
    const double t = ang(g), e = (i & 1 ? 1 : -1) * std::exp2(ex(g));
    a[i] = {R(std::cos(t) * (1 + e)), R(std::sin(t) * (1 + e))};
  }
  ker(n, a.data(), y.data());
  mpc_t in, out;
  mpc_init2(in, std::numeric_limits<R>::digits);
  mpc_init2(out, 200);
  double worst = 0;
  for (int i = 0; i < n; ++i) {
    mpc_set_d_d(in, a[i].re, a[i].im, MPC_RNDNN);
    ref(out, in, MPC_RNDNN);
    worst = std::max(worst, hpk::oracle::ulp_error(R(y[i].re), mpc_realref(out)));
    worst = std::max(worst, hpk::oracle::ulp_error(R(y[i].im), mpc_imagref(out)));
  }
  mpc_clear(in);
  mpc_clear(out);
  return worst;
}

TEST(CLogNearUnit, RealPartKeepsRelativeAccuracy) {
  const struct {
    const char *name;
    double got, bound;
  } rows[] = {
      {"zLn", worst_near_unit<double>(_vmkzLn_HA, mpc_log), 1.0},
      {"zLog10", worst_near_unit<double>(_vmkzLog10_HA, mpc_log10), 1.0},
      {"cLn", worst_near_unit<float>(_vmkcLn_HA, mpc_log), 1.0},
      {"cLog10", worst_near_unit<float>(_vmkcLog10_HA, mpc_log10), 1.0},
      {"cLnLA", worst_near_unit<float>(_vmkcLn_21, mpc_log), 4.0},
      {"cLnEP", worst_near_unit<float>(_vmkcLn_11, mpc_log), 0x1p13},
  };
  for (const auto &r : rows) {
    std::printf("%-7s near |z| = 1: worst %.3f ulp\n", r.name, r.got);
    EXPECT_LE(r.got, r.bound) << r.name;
  }
}

// Equal values, NaNs equal to any NaN.
template <class R>
bool same_bits(R a, R b) {
  return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b));
}

// ---- powers ---------------------------------------------------------------------------------

// Every pair of grid elements (11^4 per type) through Pow and Powx (bit for bit the same).
// Where the base is zero or a part is not finite, the result is glibc's composition
// cexp(w clog z): class and sign exactly, finite parts within 2^-20 relative (glibc's cpow is
// e^(w log z) in the element type). Elsewhere the reference is MPC's correctly rounded power:
// class and sign exactly, finite parts within 2 ulp, or, where the part is zero or below 2^-50
// of the other (an angle at or next to a multiple of pi/2: the exponential route leaves an
// error of 2^-64 of the modulus there, 2^-52 on the single route), within 2^-60 (single:
// 2^-49) of the modulus.
template <class R, class T, class Ref>
void pow_grid(void (*pw)(int, const T *, const T *, T *), void (*px)(int, const T *, T, T *), Ref ref) {
  const auto g = grid_values<R>();
  std::vector<T> z;
  for (R x : g)
    for (R y : g) z.push_back({x, y});
  const int m = int(z.size());
  std::vector<T> a, b;
  for (const T &w : z)
    for (const T &v : z) {
      a.push_back(v);
      b.push_back(w);
    }
  std::vector<T> y(a.size()), yx(a.size());
  recorded([&] {
    pw(int(a.size()), a.data(), b.data(), y.data());
    for (int k = 0; k < m; ++k) px(m, z.data(), z[k], yx.data() + size_t(k) * m);
  });
  const double loose = std::ldexp(1.0, std::numeric_limits<R>::digits - 20);
  mpc_t in, e, out;
  mpc_init2(in, std::numeric_limits<R>::digits);
  mpc_init2(e, std::numeric_limits<R>::digits);
  mpc_init2(out, 200);
  auto fin = [](R v) { return std::isfinite(v); };
  // what the routes leave in a part that is exactly zero: 2^-64 of the modulus in extended
  // (double), 2^-52 in the packed double route (single)
  const double near_zero = sizeof(R) == 4 ? 0x1p-49 : 0x1p-60;
  for (size_t i = 0; i < a.size(); ++i) {
    SCOPED_TRACE(::testing::Message() << "Pow (" << a[i].re << ", " << a[i].im << ") ^ (" << b[i].re
                                      << ", " << b[i].im << ")");
    EXPECT_TRUE(same_bits(yx[i].re, y[i].re) && same_bits(yx[i].im, y[i].im)) << "Powx differs";
    const bool composed = (a[i].re == 0 && a[i].im == 0) || !fin(a[i].re) || !fin(a[i].im) ||
                          !fin(b[i].re) || !fin(b[i].im);
    if (composed) {
      const auto w = ref(make_c(a[i].re, a[i].im), make_c(b[i].re, b[i].im));
      EXPECT_TRUE(same_part(y[i].re, R(__real__ w), loose));
      EXPECT_TRUE(same_part(y[i].im, R(__imag__ w), loose));
      continue;
    }
    mpc_set_d_d(in, a[i].re, a[i].im, MPC_RNDNN);
    mpc_set_d_d(e, b[i].re, b[i].im, MPC_RNDNN);
    mpc_pow(out, in, e, MPC_RNDNN);
    const R wr = R(mpfr_get_d(mpc_realref(out), MPFR_RNDN)), wi = R(mpfr_get_d(mpc_imagref(out), MPFR_RNDN));
    const R big = std::max(std::fabs(wr), std::fabs(wi));
    // |w ln z| beyond 2^60: the angle is not known to within pi/2 from 64-bit logarithms, so
    // only that no NaN comes from finite arguments can be checked.
    const double size = std::hypot(double(b[i].re), double(b[i].im)) *
                        std::hypot(std::log(std::hypot(double(a[i].re), double(a[i].im))), 4.0);
    for (auto [got, want] : {std::pair<R, R>{y[i].re, wr}, std::pair<R, R>{y[i].im, wi}}) {
      if (size > 0x1p60) {
        EXPECT_FALSE(std::isnan(got));
      } else if (std::isinf(big) && std::isfinite(want)) {
        // a finite part beside an infinite one: below 2^-1000 of the modulus, out of reach
        EXPECT_TRUE(std::isfinite(got)) << got;
      } else if (want == 0) {
        // an exact zero part (the angle a multiple of pi/2): the exponential route leaves
        // 2^-64 of the modulus, with either sign
        EXPECT_LE(std::fabs(got), double(big) * near_zero) << got << " beside " << big;
      } else if (std::isfinite(big) && std::fabs(want) <= big * R(0x1p-50)) {
        EXPECT_LE(std::fabs(got), double(big) * near_zero) << got << " beside " << big;
      } else {
        EXPECT_TRUE(same_part(got, want, 2.0));
      }
    }
  }
  mpc_clear(in);
  mpc_clear(e);
  mpc_clear(out);
}

TEST(CPow, SpecialGridMatchesGlibc) {
  pow_grid<double>(_vmkzPow_HA, _vmkzPowx_HA, cpow);
  pow_grid<float>(_vmkcPow_HA, _vmkcPowx_HA, cpowf);
}

// Worst error per part against mpc_pow: bases with |z| in [2^-8, 2^8] at any angle, exponents
// with parts up to 40 in magnitude (the results mostly in range), Powx with one exponent per
// stretch of 100.
template <class R, class T>
void pow_accuracy(void (*pw)(int, const T *, const T *, T *), void (*px)(int, const T *, T, T *),
                  double bound, const char *name) {
  std::mt19937_64 g(5);
  std::uniform_real_distribution<double> lm(-8, 8), ang(-3.14159, 3.14159), ex(-40, 40), sm(-1, 1);
  const int n = 6000;
  std::vector<T> a(n), b(n), y(n), yx(n);
  for (int i = 0; i < n; ++i) {
    const double r = std::exp2(lm(g)), t = ang(g);
    a[i] = {R(r * std::cos(t)), R(r * std::sin(t))};
    if (i % 10 == 0) a[i].im = 0;  // real bases, negative ones on the cut
    b[i] = i % 3 ? T{R(ex(g)), R(ex(g) / 8)} : T{R(sm(g) * 4), R(sm(g) * 4)};
    if (i % 100) b[i] = b[i - i % 100];
  }
  pw(n, a.data(), b.data(), y.data());
  for (int i = 0; i < n; i += 100) px(std::min(100, n - i), a.data() + i, b[i], yx.data() + i);
  mpc_t in, e, out;
  mpc_init2(in, std::numeric_limits<R>::digits);
  mpc_init2(e, std::numeric_limits<R>::digits);
  mpc_init2(out, 200);
  double worst = 0;
  int at = 0;
  for (int i = 0; i < n; ++i) {
    mpc_set_d_d(in, a[i].re, a[i].im, MPC_RNDNN);
    mpc_set_d_d(e, b[i].re, b[i].im, MPC_RNDNN);
    mpc_pow(out, in, e, MPC_RNDNN);
    const double err = std::max(hpk::oracle::ulp_error(R(y[i].re), mpc_realref(out)),
                                hpk::oracle::ulp_error(R(y[i].im), mpc_imagref(out)));
    if (err > worst) {
      worst = err;
      at = i;
    }
    EXPECT_TRUE(same_bits(yx[i].re, y[i].re) && same_bits(yx[i].im, y[i].im)) << i;
  }
  std::printf("%s worst %.3f ulp at (%a, %a) ^ (%a, %a)\n", name, worst, double(a[at].re),
              double(a[at].im), double(b[at].re), double(b[at].im));
  EXPECT_LE(worst, bound) << name;
  mpc_clear(in);
  mpc_clear(e);
  mpc_clear(out);
}

TEST(CPow, AccuracyAgainstMpc) {
  pow_accuracy<double>(_vmkzPow_HA, _vmkzPowx_HA, 2.0, "zPow");
  pow_accuracy<float>(_vmkcPow_HA, _vmkcPowx_HA, 1.0, "cPow");
}

// ---- statuses, slots, aliasing --------------------------------------------------------------

std::vector<std::pair<int, int>> codes(const std::vector<Report> &reports, const char *name) {
  std::vector<std::pair<int, int>> got;
  for (const Report &r : reports) {
    got.push_back({r.index, r.code});
    EXPECT_EQ(r.name, name);
  }
  return got;
}

// Ln and Log10 report a zero element only (singularity), whatever its signs; infinities and
// NaNs report nothing. All three cLn kernels, the packed passes and the tail alike.
TEST(CLogStatus, SingularityAtZeroOnly) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  const std::vector<z16> a = {{1.0, 2.0}, {0.0, 0.0}, {-0.0, 0.0}, {inf, 1.0}, {0.0, nan},
                              {-2.0, -0.0}, {1e-300, 0.0}, {0.0, -0.0}, {nan, nan}};
  const std::vector<std::pair<int, int>> want = {{1, 2}, {2, 2}, {7, 2}};
  std::vector<z16> y(a.size());
  EXPECT_EQ(codes(recorded([&] { _vmkzLn_HA(int(a.size()), a.data(), y.data()); }), "vzLn"), want);
  EXPECT_TRUE(std::isinf(y[2].re) && y[2].re < 0 && y[2].im == M_PI);
  EXPECT_EQ(codes(recorded([&] { _vmkzLog10_HA(int(a.size()), a.data(), y.data()); }), "vzLog10"), want);
  std::vector<c8> ca(a.size()), cy(a.size());
  for (size_t i = 0; i < a.size(); ++i) ca[i] = {float(a[i].re), float(a[i].im)};
  ca[6] = {1e-30f, 0.0f};
  for (auto ker : {_vmkcLn_21, _vmkcLn_HA, _vmkcLn_11}) {
    EXPECT_EQ(codes(recorded([&] { ker(int(ca.size()), ca.data(), cy.data()); }), "vcLn"), want);
    EXPECT_TRUE(std::isinf(cy[7].re) && cy[7].im == 0.0f && std::signbit(cy[7].im));
  }
  EXPECT_EQ(codes(recorded([&] { _vmkcLog10_HA(int(ca.size()), ca.data(), cy.data()); }), "vcLog10"),
            want);
}

TEST(CPowStatus, EachStatusAtItsElement) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  struct Row {
    z16 a, b;
    int code;
  };
  const Row rows[] = {
      {{2.0, 1.0}, {0.5, -1.5}, 0},    {{0.0, 0.0}, {-1.0, 0.0}, 2},  {{0.0, 0.0}, {2.0, 1.0}, 0},
      {{10.0, 1.0}, {400.0, 0.0}, 3},  {{10.0, 0.0}, {-400.0, 0.0}, 4}, {{inf, 0.0}, {1.0, 1.0}, 1},
      {{nan, 1.0}, {1.0, 0.0}, 0},     {{2.0, 0.0}, {nan, 0.0}, 0},   {{-8.0, 0.0}, {1.0 / 3, 0.0}, 0},
      {{1e300, 1e300}, {3.0, 0.0}, 3}, {{0.5, 0.0}, {1e5, 1.0}, 4},   {{-0.0, 0.0}, {-0.5, 0.0}, 2},
  };
  const int n = int(std::size(rows));
  std::vector<z16> a(n), b(n), y(n);
  std::vector<std::pair<int, int>> want;
  for (int i = 0; i < n; ++i) {
    a[i] = rows[i].a;
    b[i] = rows[i].b;
    if (rows[i].code) want.push_back({i, rows[i].code});
  }
  bool kept = false;
  const auto reports =
      recorded([&] { kept = keeps_x87_control([&] { _vmkzPow_HA(n, a.data(), b.data(), y.data()); }); });
  EXPECT_TRUE(kept);
  EXPECT_EQ(codes(reports, "vzPow"), want);
  EXPECT_EQ(y[2].re, 0.0);
  EXPECT_NEAR(y[8].re, 1.0, 1e-15);  // principal cube root of -8: 1 + i sqrt 3
  EXPECT_NEAR(y[8].im, std::sqrt(3.0), 1e-15);
  // The same through cPow and, one exponent at a time, cPowx and zPowx.
  std::vector<c8> ca(n), cb(n), cy(n);
  for (int i = 0; i < n; ++i) {
    ca[i] = {float(a[i].re), float(a[i].im)};
    cb[i] = {float(b[i].re), float(b[i].im)};
  }
  ca[3] = {10.0f, 1.0f};
  cb[3] = {40.0f, 0.0f};
  cb[4] = {-40.0f, 0.0f};
  ca[9] = {1e30f, 1e30f};
  EXPECT_EQ(codes(recorded([&] { _vmkcPow_HA(n, ca.data(), cb.data(), cy.data()); }), "vcPow"), want);
  for (int i = 0; i < n; ++i) {
    const auto rz = codes(recorded([&] { _vmkzPowx_HA(1, &a[i], b[i], &y[i]); }), "vzPowx");
    const auto rc = codes(recorded([&] { _vmkcPowx_HA(1, &ca[i], cb[i], &cy[i]); }), "vcPowx");
    const std::vector<std::pair<int, int>> one =
        rows[i].code ? std::vector<std::pair<int, int>>{{0, rows[i].code}} : std::vector<std::pair<int, int>>{};
    EXPECT_EQ(rz, one) << i;
    EXPECT_EQ(rc, one) << i;
  }
}

// The three stubs of cLn go through their own slots, which hold three kernels; zLn's slots
// hold one kernel. A probe in a slot shows which stub reads it.
int g_probe_slot = -1;
template <int K>
void probe(int, const c8 *, c8 *) {
  g_probe_slot = K;
}

TEST(CLogSlots, ThreeKernelsForCLn) {
  EXPECT_EQ(hpk_vmk_kernel_cLn_ttab[0], &hpk_vmk_kernel_cLn_EXLAynn);
  EXPECT_EQ(hpk_vmk_kernel_cLn_ttab[1], &hpk_vmk_kernel_cLn_EXHAynn);
  EXPECT_EQ(hpk_vmk_kernel_cLn_ttab[2], &hpk_vmk_kernel_cLn_EXEPnnn);
  EXPECT_EQ(hpk_vmk_kernel_zLn_ttab[0], hpk_vmk_kernel_zLn_ttab[2]);
  EXPECT_FLOAT_EQ(hpk_vmk_kernel_cLn_ctab[0], 76.04f);
  EXPECT_FLOAT_EQ(hpk_vmk_kernel_cLn_ctab[1], 111.67f);
  EXPECT_FLOAT_EQ(hpk_vmk_kernel_cLn_ctab[2], 56.36f);
  void (*saved[3])(int, const c8 *, c8 *);
  for (int k = 0; k < 3; ++k) saved[k] = hpk_vmk_kernel_cLn_ttab[k];
  hpk_vmk_kernel_cLn_ttab[0] = probe<0>;
  hpk_vmk_kernel_cLn_ttab[1] = probe<1>;
  hpk_vmk_kernel_cLn_ttab[2] = probe<2>;
  const struct {
    void (*stub)(int, const c8 *, c8 *);
    int slot;
  } stubs[] = {{_vmkcLn_21, 0}, {_vmkcLn_HA, 1}, {_vmkcLn, 1}, {_vmkcLn_11, 2}};
  for (const auto &s : stubs) {
    g_probe_slot = -1;
    s.stub(0, nullptr, nullptr);
    EXPECT_EQ(g_probe_slot, s.slot);
  }
  for (int k = 0; k < 3; ++k) hpk_vmk_kernel_cLn_ttab[k] = saved[k];
}

// In place, each kernel gives what it gives out of place, and the caller's x87 control word
// comes back.
TEST(CLogAlias, InPlaceAndControlRestored) {
  std::vector<z16> z(37);
  std::vector<c8> c(37);
  for (int i = 0; i < 37; ++i) {
    z[i] = {std::ldexp(1.0 + i / 37.0, i - 18) * (i % 3 ? 1 : -1), (i % 5) - 2.5};
    c[i] = {float(z[i].re), float(z[i].im)};
  }
  z[4] = {0.0, 0.0};
  c[4] = {0.0f, -0.0f};
  const z16 wz = {0.75, -0.25};
  const c8 wc = {0.75f, -0.25f};
  auto check_z = [&](auto run) {
    std::vector<z16> want(z.size()), inout = z;
    run(z.data(), want.data());
    bool kept = false;
    recorded([&] { kept = keeps_x87_control([&] { run(inout.data(), inout.data()); }); });
    EXPECT_TRUE(kept);
    for (size_t i = 0; i < z.size(); ++i)
      EXPECT_TRUE(same_bits(inout[i].re, want[i].re) && same_bits(inout[i].im, want[i].im))
          << i << ": " << inout[i].re << " " << inout[i].im << " vs " << want[i].re << " " << want[i].im;
  };
  auto check_c = [&](auto run) {
    std::vector<c8> want(c.size()), inout = c;
    run(c.data(), want.data());
    bool kept = false;
    recorded([&] { kept = keeps_x87_control([&] { run(inout.data(), inout.data()); }); });
    EXPECT_TRUE(kept);
    for (size_t i = 0; i < c.size(); ++i)
      EXPECT_TRUE(same_bits(inout[i].re, want[i].re) && same_bits(inout[i].im, want[i].im))
          << i << ": " << inout[i].re << " " << inout[i].im << " vs " << want[i].re << " " << want[i].im;
  };
  const int n = 37;
  check_z([&](const z16 *a, z16 *y) { _vmkzLn_HA(n, a, y); });
  check_z([&](const z16 *a, z16 *y) { _vmkzLog10_HA(n, a, y); });
  check_z([&](const z16 *a, z16 *y) { _vmkzPowx_HA(n, a, wz, y); });
  check_z([&](const z16 *a, z16 *y) { _vmkzPow_HA(n, a, a, y); });
  check_c([&](const c8 *a, c8 *y) { _vmkcLn_HA(n, a, y); });
  check_c([&](const c8 *a, c8 *y) { _vmkcLn_21(n, a, y); });
  check_c([&](const c8 *a, c8 *y) { _vmkcLn_11(n, a, y); });
  check_c([&](const c8 *a, c8 *y) { _vmkcLog10_HA(n, a, y); });
  check_c([&](const c8 *a, c8 *y) { _vmkcPowx_HA(n, a, wc, y); });
  check_c([&](const c8 *a, c8 *y) { _vmkcPow_HA(n, a, a, y); });
}

}  // namespace
