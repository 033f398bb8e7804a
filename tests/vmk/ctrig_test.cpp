// Complex Sin, Cos, Tan, Sinh, Cosh, Tanh: the special-value grid against glibc, accuracy per
// part against GNU MPC (Tan and Tanh against MPFR, see tanh_ref) (the shared sample, then imaginary or real parts next to the overflow
// edge and elements near the zeros of the factors), statuses with their positions from the
// packed passes and the tail, in-place runs and the restored control state.
#include <xmmintrin.h>

#include "support/celem_test_util.hpp"

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

using namespace hpk::test;
using namespace hpk::test::celem;

// Tanh at the output's precision plus 64 bits as (sinh x cosh x + i sin y cos y) /
// (sinh^2 x + cos^2 y): sums of positive terms and products only, so each part is within a
// few units of 2^-(p+60) relative, far below the ulp of any element type. MPC's own tangent
// raises its working precision without bound on some wide elements (x huge beside a tiny y).
int tanh_ref(mpc_ptr out, mpc_srcptr in, mpc_rnd_t) {
  const mpfr_prec_t p = mpc_get_prec(out) + 64;
  mpfr_t sh, ch, sn, cs, d, t;
  for (mpfr_ptr v : {sh, ch, sn, cs, d, t}) mpfr_init2(v, p);
  mpfr_sin_cos(sn, cs, mpc_imagref(in), MPFR_RNDN);
  if (mpfr_cmpabs_ui(mpc_realref(in), 2000) > 0) {
    // +-1 within 2^-5000, and 4 sin y cos y e^(-2|x|) (zero or below any subnormal)
    mpfr_set_si(mpc_realref(out), mpfr_sgn(mpc_realref(in)), MPFR_RNDN);
    mpfr_abs(t, mpc_realref(in), MPFR_RNDN);
    mpfr_mul_si(t, t, -2, MPFR_RNDN);
    mpfr_exp(t, t, MPFR_RNDN);
    mpfr_mul(t, t, sn, MPFR_RNDN);
    mpfr_mul(t, t, cs, MPFR_RNDN);
    mpfr_mul_ui(mpc_imagref(out), t, 4, MPFR_RNDN);
    for (mpfr_ptr v : {sh, ch, sn, cs, d, t}) mpfr_clear(v);
    return 0;
  }
  mpfr_sinh_cosh(sh, ch, mpc_realref(in), MPFR_RNDN);
  mpfr_sqr(d, sh, MPFR_RNDN);
  mpfr_sqr(t, cs, MPFR_RNDN);
  mpfr_add(d, d, t, MPFR_RNDN);
  mpfr_mul(t, sh, ch, MPFR_RNDN);
  mpfr_div(mpc_realref(out), t, d, MPFR_RNDN);
  mpfr_mul(t, sn, cs, MPFR_RNDN);
  mpfr_div(mpc_imagref(out), t, d, MPFR_RNDN);
  for (mpfr_ptr v : {sh, ch, sn, cs, d, t}) mpfr_clear(v);
  return 0;
}
// Tan z = -i Tanh(iz), iz = -y + ix.
int tan_ref(mpc_ptr out, mpc_srcptr in, mpc_rnd_t r) {
  mpc_t iz, w;
  mpc_init2(iz, mpc_get_prec(in) + 1);
  mpc_init2(w, mpc_get_prec(out));
  mpfr_neg(mpc_realref(iz), mpc_imagref(in), MPFR_RNDN);
  mpfr_set(mpc_imagref(iz), mpc_realref(in), MPFR_RNDN);
  tanh_ref(w, iz, r);
  mpfr_set(mpc_realref(out), mpc_imagref(w), MPFR_RNDN);
  mpfr_neg(mpc_imagref(out), mpc_realref(w), MPFR_RNDN);
  mpc_clear(iz);
  mpc_clear(w);
  return 0;
}

// The hyperbolic argument is the real part for Sinh/Cosh/Tanh and the imaginary part for
// Sin/Cos/Tan; `hyp_is_re` says which, for the samples built around it below.
struct CTrigRow {
  CFn fn;
  bool hyp_is_re;
};

const CTrigRow kRows[] = {
    {{"Sin", _vmkcSin_HA, _vmkzSin_HA, csinf, csin, mpc_sin, 2.0, 0, 0}, false},
    {{"Cos", _vmkcCos_HA, _vmkzCos_HA, ccosf, ccos, mpc_cos, 2.0, 0, 0}, false},
    {{"Tan", _vmkcTan_HA, _vmkzTan_HA, ctanf, ctan, tan_ref, 2.0, 0, 0}, false},
    {{"Sinh", _vmkcSinh_HA, _vmkzSinh_HA, csinhf, csinh, mpc_sinh, 2.0, 0, 0}, true},
    {{"Cosh", _vmkcCosh_HA, _vmkzCosh_HA, ccoshf, ccosh, mpc_cosh, 2.0, 0, 0}, true},
    {{"Tanh", _vmkcTanh_HA, _vmkzTanh_HA, ctanhf, ctanh, tanh_ref, 2.0, 0, 0}, true},
};

class CTrig : public ::testing::TestWithParam<CTrigRow> {};

TEST_P(CTrig, SpecialGridMatchesGlibc) { check_grid(GetParam().fn); }

// The shared sample: every exponent of each type, near the axes, of equal scale.
TEST_P(CTrig, AccuracyAgainstMpc) { check_accuracy(GetParam().fn); }

// Worst error per part over elements built from a hyperbolic argument h and a trigonometric
// argument t, both given per element.
template <class R, class T>
double worst_of(const CFn &f, void (*ker)(int, const T *, T *), bool hyp_is_re,
                const std::vector<std::pair<double, double>> &ht) {
  std::vector<T> a(ht.size()), y(ht.size());
  for (size_t i = 0; i < ht.size(); ++i) {
    const R h = R(ht[i].first), t = R(ht[i].second);
    a[i] = hyp_is_re ? T{h, t} : T{t, h};
  }
  ker(int(a.size()), a.data(), y.data());
  mpc_t in, out;
  mpc_init2(in, std::numeric_limits<R>::digits);
  mpc_init2(out, 200);
  double worst = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    mpc_set_d_d(in, a[i].re, a[i].im, MPC_RNDNN);
    f.mpc_ref(out, in, MPC_RNDNN);
    worst = std::max(worst, hpk::oracle::ulp_error(R(y[i].re), mpc_realref(out)));
    worst = std::max(worst, hpk::oracle::ulp_error(R(y[i].im), mpc_imagref(out)));
  }
  mpc_clear(in);
  mpc_clear(out);
  return worst;
}

// h next to the overflow edge of cosh h (where a part overflows only if the trigonometric
// factor is large enough) with t of every size, t next to the multiples of pi/2 (the zeros of
// sin and cos) with moderate h, and small h (sinh h relative) with t anywhere.
template <class R>
std::vector<std::pair<double, double>> edge_sample(int n) {
  std::mt19937_64 gen(7031);
  const double edge = sizeof(R) == 8 ? 710.4758600739439 : 89.41598629223294;
  std::uniform_real_distribution<double> near_edge(edge - 24.0, edge + 1.0), unit(-1.0, 1.0);
  std::uniform_int_distribution<int> texp(sizeof(R) == 8 ? -1074 : -149, sizeof(R) == 8 ? 60 : 40);
  std::uniform_int_distribution<int> mult(-200000, 200000), hexp(sizeof(R) == 8 ? -1074 : -149, 3);
  std::vector<std::pair<double, double>> s;
  for (int i = 0; i < n; ++i) {
    const double sg = i & 1 ? -1.0 : 1.0;
    switch (i % 3) {
      case 0:
        s.push_back({sg * near_edge(gen), std::ldexp(unit(gen), texp(gen))});
        break;
      case 1:  // the nearest value of R to k pi/2, and its neighbours
        s.push_back({unit(gen) * 30.0, double(std::nextafter(R(mult(gen) * 1.5707963267948966),
                                                          R(i % 2 ? 1e30 : -1e30)))});
        break;
      default:
        s.push_back({std::ldexp(unit(gen), hexp(gen)), unit(gen) * 1e4});
    }
  }
  return s;
}

TEST_P(CTrig, AccuracyNearEdgesAndZeros) {
  const CTrigRow &r = GetParam();
  const double zerr = worst_of<double>(r.fn, r.fn.zker, r.hyp_is_re, edge_sample<double>(3000));
  const double cerr = worst_of<float>(r.fn, r.fn.cker, r.hyp_is_re, edge_sample<float>(3000));
  std::printf("z%s edges worst %.3f ulp, c%s %.3f ulp\n", r.fn.name, zerr, r.fn.name, cerr);
  EXPECT_LE(zerr, r.fn.ulps);
  EXPECT_LE(cerr, r.fn.ulps);
}

// In place gives the values of a separate output, under a caller's x87 control word and
// round-up SSE mode, both restored; every length up to 9 (full passes and tails of c).
TEST_P(CTrig, InPlaceAndControlRestored) {
  const CFn &f = GetParam().fn;
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<z16> base = {{0.5, -1.25}, {3.0, 2.0},  {-0.0, 1e-3}, {2e5, 0.5}, {1.0, 95.0},
                                 {inf, 1.0},   {-7.5, 0.0}, {1e-30, -4.0}, {40.0, -300.0}};
  for (size_t n = 1; n <= base.size(); ++n) {
    std::vector<z16> za(base.begin(), base.begin() + n), zwant(n);
    std::vector<c8> ca(n), cwant(n);
    for (size_t i = 0; i < n; ++i) ca[i] = {float(za[i].re), float(za[i].im)};
    recorded([&] {
      f.zker(int(n), za.data(), zwant.data());
      f.cker(int(n), ca.data(), cwant.data());
    });
    bool kept_z = false, kept_c = false;
    unsigned csr_before = 0, csr_after = 0;
    recorded([&] {
      csr_before = _mm_getcsr();
      _mm_setcsr((csr_before & ~0x6000u) | 0x4000u);  // round up
      kept_z = keeps_x87_control([&] { f.zker(int(n), za.data(), za.data()); });
      kept_c = keeps_x87_control([&] { f.cker(int(n), ca.data(), ca.data()); });
      csr_after = _mm_getcsr();
      _mm_setcsr(csr_before);
    });
    EXPECT_TRUE(kept_z && kept_c);
    EXPECT_EQ(csr_after & 0x6000u, 0x4000u);
    for (size_t i = 0; i < n; ++i) {
      SCOPED_TRACE(std::string(f.name) + " n " + std::to_string(n) + " i " + std::to_string(i));
      EXPECT_TRUE(same_part(za[i].re, zwant[i].re, 0));
      EXPECT_TRUE(same_part(za[i].im, zwant[i].im, 0));
      EXPECT_TRUE(same_part(ca[i].re, cwant[i].re, 0));
      EXPECT_TRUE(same_part(ca[i].im, cwant[i].im, 0));
    }
  }
}

// On the axes the zero part keeps the sign of the plain products (sinh(-0) = -0, -(sin x *
// sinh y) for Cos, ...), as glibc's functions give it, for finite elements of every size:
// zeros take the packed passes of both types.
TEST_P(CTrig, SignedZerosOnTheAxes) {
  const CFn &f = GetParam().fn;
  std::vector<z16> za;
  for (double v : {0.5, -0.5, 3.0, -3.0, 2.5e4, -40.0, 1e-310})
    for (double z : {0.0, -0.0}) {
      za.push_back({v, z});
      za.push_back({z, v});
    }
  std::vector<z16> zy(za.size());
  std::vector<c8> ca(za.size()), cy(za.size());
  for (size_t i = 0; i < za.size(); ++i) ca[i] = {float(za[i].re), float(za[i].im)};
  recorded([&] {
    f.zker(int(za.size()), za.data(), zy.data());
    f.cker(int(ca.size()), ca.data(), cy.data());
  });
  for (size_t i = 0; i < za.size(); ++i) {
    SCOPED_TRACE(std::string(f.name) + " " + std::to_string(za[i].re) + " " + std::to_string(za[i].im));
    const double _Complex w = f.zref(make_c(za[i].re, za[i].im));
    EXPECT_TRUE(same_part(zy[i].re, __real__ w, f.ulps));
    EXPECT_TRUE(same_part(zy[i].im, __imag__ w, f.ulps));
    const float _Complex v = f.cref(make_c(ca[i].re, ca[i].im));
    EXPECT_TRUE(same_part(cy[i].re, __real__ v, f.ulps));
    EXPECT_TRUE(same_part(cy[i].im, __imag__ v, f.ulps));
  }
}

INSTANTIATE_TEST_SUITE_P(Fns, CTrig, ::testing::ValuesIn(kRows),
                         [](const auto &info) { return std::string(info.param.fn.name); });

// Statuses with their positions, for both types, by a table of (h, t) and the expected code
// of each function shape: overflow where a finite element has an infinite part, domain where
// an element without NaN gives a NaN part, nothing for NaN parts and for finite results.
struct StatusRow {
  double h, t;
  int prod, quot;  // code of Sin/Cos/Sinh/Cosh, of Tan/Tanh
  bool single_only = false, double_only = false;
};

TEST(CTrigStatus, PositionsAndCodes) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
  const StatusRow rows[] = {
      {1.0, 2.0, 0, 0},
      {711.0, 1.0, 3, 0, false, true},   // e^711 / 2 overflows double
      {705.0, 1e-300, 0, 0, false, true},
      {90.0, 1.0, 3, 0, true, false},      // single overflow
      {89.0, 1e-30, 0, 0, true, false},
      {1e5, 0.5, 3, 0},                  // Tan/Tanh: +-1 + i 0
      {0.5, inf, 1, 1},                  // t infinite: NaN parts
      {inf, 1.0, 0, 0},                  // h infinite: infinities, no status
      {inf, inf, 1, 0},                  // +-inf + i NaN; Tanh gives 1 + i 0
      {nan, 1.0, 0, 0},
      {1.0, nan, 0, 0},
      {0.0, inf, 1, 1},
      {-800.0, 3.0, 3, 0},
      {-0.0, 2e5, 0, 0},                 // the large reduction, no status
  };
  struct Fn {
    const char *name;
    void (*c)(int, const c8 *, c8 *);
    void (*z)(int, const z16 *, z16 *);
    bool hyp_is_re, quot;
  };
  const Fn fns[] = {{"Sin", _vmkcSin_HA, _vmkzSin_HA, false, false},
                    {"Cos", _vmkcCos_HA, _vmkzCos_HA, false, false},
                    {"Tan", _vmkcTan_HA, _vmkzTan_HA, false, true},
                    {"Sinh", _vmkcSinh_HA, _vmkzSinh_HA, true, false},
                    {"Cosh", _vmkcCosh_HA, _vmkzCosh_HA, true, false},
                    {"Tanh", _vmkcTanh_HA, _vmkzTanh_HA, true, true}};
  for (const Fn &f : fns) {
    for (int type = 0; type < 2; ++type) {
      std::vector<z16> za;
      std::vector<c8> ca;
      std::vector<std::pair<int, int>> want;
      for (const StatusRow &r : rows) {
        if ((type == 0 && r.double_only) || (type == 1 && r.single_only)) continue;
        const z16 e = f.hyp_is_re ? z16{r.h, r.t} : z16{r.t, r.h};
        const int code = f.quot ? r.quot : r.prod;
        if (code) want.push_back({int(za.size()), code});
        za.push_back(e);
        ca.push_back({float(e.re), float(e.im)});
      }
      std::vector<z16> zy(za.size());
      std::vector<c8> cy(ca.size());
      const auto reports = recorded([&] {
        if (type == 0) f.c(int(ca.size()), ca.data(), cy.data());
        else f.z(int(za.size()), za.data(), zy.data());
      });
      std::vector<std::pair<int, int>> got;
      const std::string name = std::string(type == 0 ? "vc" : "vz") + f.name;
      for (const Report &rep : reports) {
        got.push_back({rep.index, rep.code});
        EXPECT_EQ(rep.name, name);
      }
      EXPECT_EQ(got, want) << name;
    }
  }
}

// A finite part beside an overflowing factor: with |y| past the overflow of cosh y and sin x
// small, the real part of Sin (sin x cosh y) stays finite and accurate while the imaginary
// part overflows; each element reports 3 once.
TEST(CTrigOverflow, FiniteProductBesideOverflowingFactor) {
  const z16 a[] = {{1e-10, 720.0}, {3.0, 711.0}, {-1e-100, -745.0}};
  z16 y[3];
  const auto reports = recorded([&] { _vmkzSin_HA(3, a, y); });
  ASSERT_EQ(reports.size(), 3u);
  mpc_t in, out;
  mpc_init2(in, 53);
  mpc_init2(out, 200);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(reports[i].index, i);
    EXPECT_EQ(reports[i].code, 3);
    mpc_set_d_d(in, a[i].re, a[i].im, MPC_RNDNN);
    mpc_sin(out, in, MPC_RNDNN);
    EXPECT_TRUE(std::isfinite(y[i].re));
    EXPECT_LE(hpk::oracle::ulp_error(y[i].re, mpc_realref(out)), 2.0);
    EXPECT_TRUE(std::isinf(y[i].im));
  }
  mpc_clear(in);
  mpc_clear(out);
}

}  // namespace
