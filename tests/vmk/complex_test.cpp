// Complex arithmetic and polar family: Add and Sub in both kernels with their overflow statuses,
// Conj on bits, Mul, MulByConj and Div against MPFR part by part with the special values of
// infinities and NaNs, Abs against MPFR and against dHypot bit for bit; statuses through a
// recording call-back, positions in the array, aliasing and the control state.
#include <gtest/gtest.h>
#include <mpfr.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "oracle.hpp"

namespace {

using namespace hpk::test;

using c8 = hpk_complex8;
using z16 = hpk_complex16;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr float kInfF = std::numeric_limits<float>::infinity();
constexpr float kMaxF = std::numeric_limits<float>::max();
constexpr double kMax = std::numeric_limits<double>::max();

struct Report {
  int code, index;
  std::string name;
  uint16_t x87_control;
};
// Kernels run on a fresh thread (its own mode and call-back); the reports are read after join.
std::vector<Report> t_reports;

int record(HpkVmkErrorContext *c) {
  uint16_t cw;
  __asm__ volatile("fnstcw %0" : "=m"(cw));
  t_reports.push_back({c->code, c->index, std::string(c->funcName, c->funcNameLen), cw});
  return 0;
}

// Runs f on a fresh thread with the recording call-back and errors going to it alone.
template <class F>
void recorded(F f) {
  std::thread([&] {
    hpk_vmk_kernel_SetMode(HPK_VMK_ERRMODE_CALLBACK);
    hpk_vmk_kernel_SetErrorCallBack(record);
    t_reports.clear();
    f();
  }).join();
}

bool same(double x, double y) { return bits(x) == bits(y) || (x != x && y != y); }
bool same(float x, float y) { return bits(x) == bits(y) || (x != x && y != y); }

// ---- Add, Sub -------------------------------------------------------------------------------

template <class C>
using Binary = void (*)(int, const C *, const C *, C *);

struct AddSubCase {
  const char *name;
  Binary<c8> c_ha, c_ep;
  Binary<z16> z_ha, z_ep;
  bool subtract;
};
const AddSubCase kAddSub[] = {
    {"Add", _vmkcAdd_HA, _vmkcAdd_11, _vmkzAdd_HA, _vmkzAdd_26, false},
    {"Sub", _vmkcSub_HA, _vmkcSub_11, _vmkzSub_HA, _vmkzSub_26, true},
};

template <class C, class R>
void check_add_sub(const AddSubCase &k, Binary<C> ha, Binary<C> ep, R big, const char *prefix) {
  // Lengths around the 16-element block; overflowing elements placed inside blocks and in tails,
  // some overflowing in one part only, and NaN and infinite inputs that must not report.
  for (int n : {1, 5, 15, 16, 17, 33, 47}) {
    std::mt19937 g(n);
    std::uniform_real_distribution<R> u(-4, 4);
    std::vector<C> a(n), b(n);
    std::vector<std::pair<int, int>> expected;  // (index, part)
    for (int i = 0; i < n; ++i) {
      a[i] = {u(g), u(g)};
      b[i] = {u(g), u(g)};
      const int kind = (i * 7 + n) % 9;
      const R s = k.subtract ? -big : big;
      if (kind == 1) {
        a[i] = {big, big};
        b[i] = {s, s};
        expected.push_back({i, 0});
        expected.push_back({i, 1});
      } else if (kind == 4) {
        a[i].im = -big;
        b[i].im = -s;
        expected.push_back({i, 1});
      } else if (kind == 6) {
        a[i].re = std::numeric_limits<R>::infinity();
        b[i].im = std::numeric_limits<R>::quiet_NaN();
      }
    }
    for (int slot : {1, 2}) {
      std::vector<C> y(n);
      recorded([&] { (slot == 1 ? ha : ep)(n, a.data(), b.data(), y.data()); });
      for (int i = 0; i < n; ++i) {
        const R re = k.subtract ? a[i].re - b[i].re : a[i].re + b[i].re;
        const R im = k.subtract ? a[i].im - b[i].im : a[i].im + b[i].im;
        EXPECT_TRUE(same(y[i].re, re) && same(y[i].im, im)) << prefix << k.name << " n=" << n << " i=" << i;
      }
      if (slot == 2) {
        EXPECT_TRUE(t_reports.empty()) << prefix << k.name << " slot 2 raised a status";
        continue;
      }
      ASSERT_EQ(t_reports.size(), expected.size()) << prefix << k.name << " n=" << n;
      for (std::size_t r = 0; r < expected.size(); ++r) {
        EXPECT_EQ(t_reports[r].code, 3);
        EXPECT_EQ(t_reports[r].index, expected[r].first);
        EXPECT_EQ(t_reports[r].name, std::string(prefix) + k.name);
      }
    }
  }
}

TEST(ComplexAddSub, OverflowReportsOncePerPartAtSlotOneAndNeverAtSlotTwo) {
  for (const AddSubCase &k : kAddSub) {
    check_add_sub<c8, float>(k, k.c_ha, k.c_ep, kMaxF, "vc");
    check_add_sub<z16, double>(k, k.z_ha, k.z_ep, kMax, "vz");
  }
}

TEST(ComplexAddSub, StubsReachTheirKernels) {
  // The two largest floats: infinity and status 3 at slots 0 and 1, infinity alone at slot 2.
  const c8 a[1] = {{kMaxF, 1}}, b[1] = {{kMaxF, 2}};
  const struct {
    Binary<c8> stub;
    std::size_t reports;
  } stubs[] = {{_vmkcAdd_21, 1}, {_vmkcAdd_HA, 1}, {_vmkcAdd, 1}, {_vmkcAdd_11, 0}};
  for (const auto &s : stubs) {
    c8 y[1];
    recorded([&] { s.stub(1, a, b, y); });
    EXPECT_EQ(y[0].re, kInfF);
    EXPECT_EQ(y[0].im, 3.0f);
    EXPECT_EQ(t_reports.size(), s.reports);
  }
}

TEST(ComplexAddSub, InPlaceAndEitherOperandAsResult) {
  std::vector<z16> a(37), b(37);
  for (int i = 0; i < 37; ++i) {
    a[i] = {i * 0.5, -i * 0.25};
    b[i] = {1.0 / (i + 1), i * 3.0};
  }
  for (int which = 0; which < 2; ++which) {
    std::vector<z16> x = a, y = b;
    _vmkzSub(37, x.data(), y.data(), which == 0 ? x.data() : y.data());
    const std::vector<z16> &r = which == 0 ? x : y;
    for (int i = 0; i < 37; ++i) {
      EXPECT_EQ(r[i].re, a[i].re - b[i].re);
      EXPECT_EQ(r[i].im, a[i].im - b[i].im);
    }
  }
}

// ---- Conj -----------------------------------------------------------------------------------

TEST(ComplexConj, FlipsOnlyTheImaginarySignBitAndKeepsNaNPayloads) {
  for (int n : {1, 2, 3, 8, 9, 21}) {
    std::vector<uint32_t> cf(2 * n);
    std::vector<uint64_t> zf(2 * n);
    std::mt19937_64 g(n);
    const uint32_t f_specials[] = {0x7FA00001u, 0xFFC12345u, 0x7F800000u, 0x00000001u, 0x80000000u};
    const uint64_t z_specials[] = {0x7FF0000000000ABCull, 0xFFF8000000000001ull,
                                   0xFFF0000000000000ull, 0x8000000000000000ull, 1ull};
    for (int j = 0; j < 2 * n; ++j) {
      cf[j] = j % 3 == 0 ? f_specials[j % 5] : uint32_t(g());
      zf[j] = j % 3 == 0 ? z_specials[j % 5] : g();
    }
    std::vector<uint32_t> cy(2 * n);
    std::vector<uint64_t> zy(2 * n);
    _vmkcConj(n, reinterpret_cast<const c8 *>(cf.data()), reinterpret_cast<c8 *>(cy.data()));
    _vmkzConj(n, reinterpret_cast<const z16 *>(zf.data()), reinterpret_cast<z16 *>(zy.data()));
    for (int j = 0; j < 2 * n; ++j) {
      EXPECT_EQ(cy[j], cf[j] ^ (j & 1 ? 0x80000000u : 0u)) << "c n=" << n << " part " << j;
      EXPECT_EQ(zy[j], zf[j] ^ (j & 1 ? 0x8000000000000000ull : 0ull)) << "z n=" << n << " part " << j;
    }
    // In place.
    std::vector<uint64_t> in_place = zf;
    _vmkzConj(n, reinterpret_cast<const z16 *>(in_place.data()), reinterpret_cast<z16 *>(in_place.data()));
    EXPECT_EQ(in_place, zy);
  }
}

// ---- MPFR references ------------------------------------------------------------------------

enum class Op { Mul, MulByConj, Div };

// The exact parts of a op b at 400 bits (exact for products and sums of doubles within 2^300
// of each other, which the sweeps keep), with the magnitude of the terms of each part's
// numerator, |x1| + |x2|, for the cancellation test.
struct Exact {
  mpfr_t re, im;
  double terms_re, terms_im;
  Exact() { mpfr_inits2(400, re, im, (mpfr_ptr)nullptr); }
  ~Exact() { mpfr_clears(re, im, (mpfr_ptr)nullptr); }
};

void exact(Op op, double ar, double ai, double br, double bi, Exact &e) {
  mpfr_t p1, p2, p3, p4, d, t;
  mpfr_inits2(400, p1, p2, p3, p4, d, t, (mpfr_ptr)nullptr);
  if (op == Op::MulByConj) bi = -bi;
  mpfr_set_d(t, ar, MPFR_RNDN);
  mpfr_mul_d(p1, t, br, MPFR_RNDN);  // ar br
  mpfr_mul_d(p3, t, bi, MPFR_RNDN);  // ar bi
  mpfr_set_d(t, ai, MPFR_RNDN);
  mpfr_mul_d(p2, t, bi, MPFR_RNDN);  // ai bi
  mpfr_mul_d(p4, t, br, MPFR_RNDN);  // ai br
  e.terms_re = std::fabs(mpfr_get_d(p1, MPFR_RNDN)) + std::fabs(mpfr_get_d(p2, MPFR_RNDN));
  e.terms_im = std::fabs(mpfr_get_d(p3, MPFR_RNDN)) + std::fabs(mpfr_get_d(p4, MPFR_RNDN));
  if (op == Op::Div) {
    // (ar br + ai bi) / d, (ai br - ar bi) / d
    mpfr_set_d(t, br, MPFR_RNDN);
    mpfr_sqr(d, t, MPFR_RNDN);
    mpfr_set_d(t, bi, MPFR_RNDN);
    mpfr_sqr(t, t, MPFR_RNDN);
    mpfr_add(d, d, t, MPFR_RNDN);
    mpfr_add(e.re, p1, p2, MPFR_RNDN);
    mpfr_sub(e.im, p4, p3, MPFR_RNDN);
    mpfr_div(e.re, e.re, d, MPFR_RNDN);
    mpfr_div(e.im, e.im, d, MPFR_RNDN);
    const double dd = mpfr_get_d(d, MPFR_RNDN);
    e.terms_re /= dd;
    e.terms_im /= dd;
  } else {
    mpfr_sub(e.re, p1, p2, MPFR_RNDN);
    mpfr_add(e.im, p3, p4, MPFR_RNDN);
  }
  mpfr_clears(p1, p2, p3, p4, d, t, (mpfr_ptr)nullptr);
}

// The worst errors of a sweep: in ulps of each part where the part is not the result of
// cancellation (|part| >= half the magnitude of its terms), and, over all parts, relative to the
// larger magnitude of the exact result.
struct PartErrors {
  double max_ulp = 0;       // parts without cancellation
  double max_ulp_cancelling = 0;  // the others, for the record (not bounded)
  double max_relative = 0;  // |error| / max(|re|, |im|), all parts
  long parts = 0, cancelling = 0;
};

template <class R>
void accumulate(PartErrors &pe, R got, const mpfr_t exact_part, double terms, double scale) {
  const double x = mpfr_get_d(exact_part, MPFR_RNDN);
  if (std::fabs(x) >= 0.5 * terms) {
    pe.max_ulp = std::max(pe.max_ulp, hpk::oracle::ulp_error(got, exact_part));
  } else {
    ++pe.cancelling;
    pe.max_ulp_cancelling = std::max(pe.max_ulp_cancelling, hpk::oracle::ulp_error(got, exact_part));
  }
  ++pe.parts;
  // An overflowed part is judged by its ulp error alone (0 when the exact value rounds to it);
  // a result below the normal range by its error relative to the least normal.
  scale = std::max(scale, double(std::numeric_limits<R>::min()));
  if (std::isfinite(scale) && std::isfinite(got)) {
    mpfr_t err;
    mpfr_init2(err, 400);
    mpfr_set_d(err, double(got), MPFR_RNDN);
    mpfr_sub(err, err, exact_part, MPFR_RNDN);
    pe.max_relative = std::max(pe.max_relative, std::fabs(mpfr_get_d(err, MPFR_RNDN)) / scale);
    mpfr_clear(err);
  }
}

// Random double with random sign and exponent uniform in [lo, hi] (denormal below -1022).
double random_double(std::mt19937_64 &g, int lo, int hi) {
  const int e = lo + int(g() % uint64_t(hi - lo + 1));
  const double m = 1 + std::ldexp(double(g() >> 12), -52);
  const double x = std::ldexp(m, e);
  return g() & 1 ? -x : x;
}

struct Regime {
  const char *name;
  int lo, hi;        // exponent range of the parts
  bool near_cancel;  // b chosen so that one part of a b cancels to a few bits
};

template <class C, class R>
PartErrors sweep(Binary<C> kernel, Op op, const Regime &rg, int count, uint64_t seed) {
  std::mt19937_64 g(seed);
  std::vector<C> a(count), b(count), y(count);
  for (int i = 0; i < count; ++i) {
    a[i] = {R(random_double(g, rg.lo, rg.hi)), R(random_double(g, rg.lo, rg.hi))};
    b[i] = {R(random_double(g, rg.lo, rg.hi)), R(random_double(g, rg.lo, rg.hi))};
    if (i % 7 == 0) a[i].im = 0;  // real operands take the main route too
    if (rg.near_cancel) {
      // ar br close to ai bi: b = (ai, ar) (1 + small), so the real part of a b cancels.
      b[i] = {R(a[i].im * (1 + std::numeric_limits<R>::epsilon() * double(g() % 1000))), a[i].re};
      if (op == Op::MulByConj) b[i].im = -b[i].im;
    }
  }
  kernel(count, a.data(), b.data(), y.data());
  PartErrors pe;
  Exact e;
  for (int i = 0; i < count; ++i) {
    exact(op, a[i].re, a[i].im, b[i].re, b[i].im, e);
    const double scale = std::max(std::fabs(mpfr_get_d(e.re, MPFR_RNDN)),
                                  std::fabs(mpfr_get_d(e.im, MPFR_RNDN)));
    accumulate(pe, y[i].re, e.re, e.terms_re, scale);
    accumulate(pe, y[i].im, e.im, e.terms_im, scale);
  }
  return pe;
}

struct SweepCase {
  const char *name;
  Op op;
  Binary<c8> c;
  Binary<z16> z;
};
const SweepCase kSweeps[] = {
    {"Mul", Op::Mul, _vmkcMul, _vmkzMul},
    {"MulByConj", Op::MulByConj, _vmkcMulByConj, _vmkzMulByConj},
    {"Div", Op::Div, _vmkcDiv, _vmkzDiv},
};

// Within 1 ulp on parts without cancellation; every part within 2^-50 (double) or 2^-22
// (single) of the result's larger part. The figures are printed for docs/accuracy.md.
TEST(ComplexAccuracy, MulMulByConjDivPartByPartAgainstMpfr) {
  const Regime z_regimes[] = {{"moderate", -30, 30, false},
                              {"wide", -480, 480, false},
                              {"edges of the main route", -470, 520, false},
                              {"beyond the main route", -1000, 960, false},
                              {"tiny", -1070, -900, false},
                              {"cancelling", -20, 20, true}};
  const Regime c_regimes[] = {{"moderate", -20, 20, false},
                              {"wide", -62, 62, false},
                              {"overflowing products", 50, 66, false},
                              {"tiny", -149, -100, false},
                              {"cancelling", -10, 10, true}};
  for (const SweepCase &s : kSweeps) {
    for (const Regime &rg : z_regimes) {
      if (s.op == Op::Div && rg.lo < -1000) continue;
      const PartErrors pe = sweep<z16, double>(s.z, s.op, rg, 20000, 11);
      std::printf("z%-10s %-24s max %.3f ulp (non-cancelling parts), max %.3g of |result|, "
                  "%ld of %ld parts cancelling (max %.3g ulp)\n",
                  s.name, rg.name, pe.max_ulp, pe.max_relative, pe.cancelling, pe.parts,
                  pe.max_ulp_cancelling);
      EXPECT_LE(pe.max_ulp, 1.0) << "z" << s.name << " " << rg.name;
      EXPECT_LE(pe.max_relative, 0x1p-50) << "z" << s.name << " " << rg.name;
    }
    for (const Regime &rg : c_regimes) {
      const PartErrors pe = sweep<c8, float>(s.c, s.op, rg, 20000, 12);
      std::printf("c%-10s %-24s max %.3f ulp (non-cancelling parts), max %.3g of |result|, "
                  "%ld of %ld parts cancelling (max %.3g ulp)\n",
                  s.name, rg.name, pe.max_ulp, pe.max_relative, pe.cancelling, pe.parts,
                  pe.max_ulp_cancelling);
      EXPECT_LE(pe.max_ulp, 1.0) << "c" << s.name << " " << rg.name;
      EXPECT_LE(pe.max_relative, 0x1p-22) << "c" << s.name << " " << rg.name;
    }
  }
}

// ---- special values and statuses of Mul, MulByConj, Div ----------------------------------

enum Expect { kBothNaN, kSomeInf, kZeros, kFinite };

struct SpecialRow {
  Op op;
  double ar, ai, br, bi;
  Expect expect;
  bool status;  // status 3
};

const SpecialRow kSpecialRows[] = {
    // Products in the manner of the C annex: an infinity times a non-zero value is infinite,
    // also beside NaN parts; an infinity times zero and NaN times anything are NaN.
    {Op::Mul, kInf, 0, 0, 0, kBothNaN, false},
    {Op::Mul, kInf, kNaN, 1, 0, kSomeInf, false},
    {Op::Mul, kNaN, kInf, 2, 3, kSomeInf, false},
    {Op::Mul, 2, 3, kNaN, -kInf, kSomeInf, false},
    {Op::Mul, kInf, kInf, kInf, -kInf, kSomeInf, false},
    {Op::Mul, kNaN, 0, 1, 1, kBothNaN, false},
    {Op::Mul, 1, 2, kNaN, kNaN, kBothNaN, false},
    {Op::MulByConj, kInf, kNaN, 1, 0, kSomeInf, false},
    {Op::MulByConj, kNaN, 1, 1, 0, kBothNaN, false},
    // Overflow of finite values: status 3.
    {Op::Mul, 0x1p600, 0x1p600, 0x1p600, 0, kSomeInf, true},
    {Op::MulByConj, 0x1p600, 1, 0x1p600, 0x1p600, kSomeInf, true},
    {Op::Mul, kMax, kMax, 2, 0, kSomeInf, true},
    // Products beyond the main route that stay in range: right values, no status.
    {Op::Mul, 0x1p700, 0x1p-700, 0x1p300, 0x1p-300, kFinite, false},
    {Op::Mul, 0x1p-540, 3, 0x1p-540, 0x1p-540, kFinite, false},
    // Quotients: a finite non-zero value over zero is infinite with status 3 (finite inputs);
    // an infinity over a finite value is infinite; a finite value over an infinity is zero.
    {Op::Div, 1, 1, 0, 0, kSomeInf, true},
    {Op::Div, 0, 0, 0, 0, kBothNaN, true},
    {Op::Div, kInf, kNaN, 1, 2, kSomeInf, false},
    {Op::Div, kNaN, -kInf, 0, 3, kSomeInf, false},
    {Op::Div, 1, 2, kInf, kNaN, kZeros, false},
    {Op::Div, -1, 2, kNaN, kInf, kZeros, false},
    {Op::Div, kNaN, 1, kInf, 1, kBothNaN, false},
    {Op::Div, 1, 1, kNaN, 0, kBothNaN, false},
    {Op::Div, 0x1p1000, 0, 0x1p-100, 0, kSomeInf, true},
    {Op::Div, 0x1p500, 0x1p500, 0x1p-500, 0x1p-500, kFinite, false},
    {Op::Div, 0x1p-1000, 0x1p-1000, 0x1p10, 0x1p10, kFinite, false},
    {Op::Div, 0x1p1000, -0x1p1000, 0x1p-1000, 0x1p-1000, kSomeInf, true},
};

template <class R>
bool matches(Expect e, R re, R im) {
  switch (e) {
    case kBothNaN: return std::isnan(re) && std::isnan(im);
    case kSomeInf: return std::isinf(re) || std::isinf(im);
    case kZeros: return re == 0 && im == 0;
    case kFinite: return std::isfinite(re) && std::isfinite(im);
  }
  return false;
}

const char *op_name(Op op) {
  return op == Op::Mul ? "Mul" : op == Op::MulByConj ? "MulByConj" : "Div";
}

TEST(ComplexSpecials, InfinitiesNaNsAndStatusesOfMulAndDiv) {
  for (const SpecialRow &r : kSpecialRows) {
    const SweepCase &s = kSweeps[int(r.op)];
    // Double: the element alone, and in the middle of an array of ordinary elements.
    for (int n : {1, 7}) {
      std::vector<z16> a(n, z16{1.5, -2.0}), b(n, z16{0.75, 3.0}), y(n);
      const int at = n / 2;
      a[at] = {r.ar, r.ai};
      b[at] = {r.br, r.bi};
      recorded([&] { s.z(n, a.data(), b.data(), y.data()); });
      EXPECT_TRUE(matches(r.expect, y[at].re, y[at].im))
          << "z" << op_name(r.op) << " (" << r.ar << "," << r.ai << ") (" << r.br << "," << r.bi
          << ") -> (" << y[at].re << "," << y[at].im << ")";
      ASSERT_EQ(t_reports.size(), r.status ? 1u : 0u) << "z" << op_name(r.op) << " " << r.ar;
      if (r.status) {
        EXPECT_EQ(t_reports[0].code, 3);
        EXPECT_EQ(t_reports[0].index, at);
        EXPECT_EQ(t_reports[0].name, std::string("vz") + op_name(r.op));
      }
      if (r.expect == kFinite) {
        Exact e;
        exact(r.op, r.ar, r.ai, r.br, r.bi, e);
        EXPECT_LE(hpk::oracle::ulp_error(y[at].re, e.re), 1.0) << op_name(r.op) << r.ar;
        EXPECT_LE(hpk::oracle::ulp_error(y[at].im, e.im), 1.0) << op_name(r.op) << r.ar;
      }
    }
    // Single, where the values are singles.
    const float fr[4] = {float(r.ar), float(r.ai), float(r.br), float(r.bi)};
    bool representable = true;
    for (int k = 0; k < 4; ++k) {
      const double v = (&r.ar)[k];
      representable &= (std::isnan(v) && std::isnan(fr[k])) || double(fr[k]) == v;
    }
    if (!representable) continue;
    for (int n : {1, 6}) {
      std::vector<c8> a(n, c8{1.5f, -2.0f}), b(n, c8{0.75f, 3.0f}), y(n);
      const int at = n - 1;
      a[at] = {fr[0], fr[1]};
      b[at] = {fr[2], fr[3]};
      recorded([&] { s.c(n, a.data(), b.data(), y.data()); });
      EXPECT_TRUE(matches(r.expect, y[at].re, y[at].im)) << "c" << op_name(r.op) << " " << r.ar;
      ASSERT_EQ(t_reports.size(), r.status ? 1u : 0u) << "c" << op_name(r.op) << " " << r.ar;
      if (r.status) {
        EXPECT_EQ(t_reports[0].index, at);
        EXPECT_EQ(t_reports[0].name, std::string("vc") + op_name(r.op));
        EXPECT_EQ(t_reports[0].x87_control & 0xF00, 0x200);  // scheme B holds during dispatch
      }
    }
  }
}

TEST(ComplexSpecials, SingleProductsThatOverflowOnlyInTheirTermsAreFinite) {
  // (2^64 + 2^62 i)^2 = (2^128 - 2^124) + 2^127 i: ar br = 2^128 overflows single, the parts fit.
  const c8 a[1] = {{0x1p64f, 0x1p62f}};
  c8 y[1];
  recorded([&] { _vmkcMul(1, a, a, y); });
  EXPECT_EQ(y[0].re, 0x1p128 - 0x1p124);
  EXPECT_EQ(y[0].im, 0x1p127f);
  EXPECT_TRUE(t_reports.empty());
  // And over a quotient: (2^100 + 2^100 i) / (2^-30 + 2^-30 i) = 2^130, which overflows.
  const c8 n[1] = {{0x1p100f, 0x1p100f}}, d[1] = {{0x1p-30f, 0x1p-30f}};
  recorded([&] { _vmkcDiv(1, n, d, y); });
  EXPECT_EQ(y[0].re, kInfF);
  ASSERT_EQ(t_reports.size(), 1u);
  EXPECT_EQ(t_reports[0].name, "vcDiv");
}

// Signed zeros and exact values as the plain formula gives them: every combination of parts in
// {+0, -0, +1, -1, +3} (divisors not zero), whichever route the element takes.
TEST(ComplexSpecials, SignedZerosAsThePlainFormula) {
  const double v[] = {0.0, -0.0, 1.0, -1.0, 3.0};
  std::vector<z16> a, b;
  for (double ar : v)
    for (double ai : v)
      for (double br : v)
        for (double bi : v) {
          if (br == 0 && bi == 0) continue;
          a.push_back({ar, ai});
          b.push_back({br, bi});
        }
  const int n = int(a.size());
  for (const SweepCase &s : kSweeps) {
    std::vector<z16> y(n);
    s.z(n, a.data(), b.data(), y.data());
    for (int i = 0; i < n; ++i) {
      const double ar = a[i].re, ai = a[i].im, br = b[i].re;
      const double bi = s.op == Op::MulByConj ? -b[i].im : b[i].im;
      double re, im;
      if (s.op == Op::Div) {
        const double d = br * br + bi * bi;
        re = (ar * br + ai * bi) / d;
        im = (ai * br - ar * bi) / d;
      } else {
        re = ar * br - ai * bi;
        im = ar * bi + ai * br;
      }
      EXPECT_EQ(bits(y[i].re), bits(re)) << "z" << s.name << " (" << ar << "," << ai << ") (" << br << "," << b[i].im << ")";
      EXPECT_EQ(bits(y[i].im), bits(im)) << "z" << s.name << " (" << ar << "," << ai << ") (" << br << "," << b[i].im << ")";
    }
  }
}

// Each element's result is independent of its position (tail or pass, rare neighbours or not)
// and of y being a or b.
TEST(ComplexFrame, ResultsDoNotDependOnPositionOrAliasing) {
  std::mt19937_64 g(5);
  const int n = 23;
  std::vector<z16> a(n), b(n);
  std::vector<c8> ca(n), cb(n);
  for (int i = 0; i < n; ++i) {
    a[i] = {random_double(g, -3, 3), random_double(g, -3, 3)};
    b[i] = {random_double(g, -3, 3), random_double(g, -3, 3)};
    if (i % 5 == 2) b[i].re = random_double(g, 600, 700);  // a rare neighbour
    ca[i] = {float(a[i].re), float(a[i].im)};
    cb[i] = {float(b[i].re), float(b[i].im)};
  }
  for (const SweepCase &s : kSweeps) {
    std::vector<z16> whole(n);
    std::vector<c8> cwhole(n);
    s.z(n, a.data(), b.data(), whole.data());
    s.c(n, ca.data(), cb.data(), cwhole.data());
    for (int i = 0; i < n; ++i) {
      z16 one;
      c8 cone;
      s.z(1, &a[i], &b[i], &one);
      s.c(1, &ca[i], &cb[i], &cone);
      EXPECT_TRUE(same(one.re, whole[i].re) && same(one.im, whole[i].im)) << s.name << i;
      EXPECT_TRUE(same(cone.re, cwhole[i].re) && same(cone.im, cwhole[i].im)) << s.name << i;
    }
    std::vector<z16> x = a, w = b;
    s.z(n, x.data(), b.data(), x.data());
    s.z(n, a.data(), w.data(), w.data());
    for (int i = 0; i < n; ++i) {
      EXPECT_TRUE(same(x[i].re, whole[i].re) && same(x[i].im, whole[i].im)) << s.name << i;
      EXPECT_TRUE(same(w[i].re, whole[i].re) && same(w[i].im, whole[i].im)) << s.name << i;
    }
  }
}

TEST(ComplexFrame, ControlStateDuringTheCallAndAfter) {
  // zMul runs in nearest whatever the caller's rounding, and gives the caller's MXCSR back.
  const z16 a[3] = {{1.0 / 3, 0.1}, {2.0 / 3, 0.7}, {0x1p-460, 5}};
  const z16 b[3] = {{0.3, 1.0 / 7}, {0.9, 1.0 / 11}, {3, 0x1p-460}};
  z16 nearest[3], up[3];
  _vmkzMul(3, a, b, nearest);
  const unsigned saved = _mm_getcsr();
  _mm_setcsr((saved & ~0x6000u) | 0x4000u);  // round up
  _vmkzMul(3, a, b, up);
  const unsigned after = _mm_getcsr();
  _mm_setcsr(saved);
  EXPECT_EQ(after & 0xE040u, (saved & ~0x6000u & 0xE040u) | 0x4000u);
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(same(up[i].re, nearest[i].re) && same(up[i].im, nearest[i].im));
  // Add and Sub, both slots, run under scheme A too: nearest under a caller's round-up, and
  // denormal results flushed when the mode asks for it.
  const z16 one[1] = {{1.0, 0x1p-1070}}, tiny[1] = {{0x1p-60, 0x1p-1070}};
  for (auto k : {_vmkzAdd_HA, _vmkzAdd_26}) {
    z16 r[1];
    _mm_setcsr((saved & ~0x6000u) | 0x4000u);
    k(1, one, tiny, r);
    _mm_setcsr(saved);
    EXPECT_EQ(r[0].re, 1.0);  // 1 + 2^-60 rounds down to nearest
    EXPECT_EQ(r[0].im, 0x1p-1069);
    std::thread([&] {
      hpk_vmk_kernel_SetMode(HPK_VMK_FTZDAZ_ON);
      k(1, one, tiny, r);
    }).join();
    EXPECT_EQ(r[0].im, 0.0);
  }
  // cMul and cAbs hold the x87 at 53-bit precision inside and restore the caller's word.
  uint16_t cw, cw_after;
  __asm__ volatile("fnstcw %0" : "=m"(cw));
  const uint16_t extended = uint16_t((cw & 0xF0FF) | 0x300);
  __asm__ volatile("fldcw %0" : : "m"(extended));
  const c8 big[1] = {{0x1p100f, 0}};
  c8 y[1];
  recorded([&] {
    __asm__ volatile("fldcw %0" : : "m"(extended));
    _vmkcMul(1, big, big, y);
    uint16_t inner_after;
    __asm__ volatile("fnstcw %0" : "=m"(inner_after));
    EXPECT_EQ(inner_after, extended);
  });
  ASSERT_EQ(t_reports.size(), 1u);
  EXPECT_EQ(t_reports[0].x87_control & 0xF00, 0x200);
  __asm__ volatile("fnstcw %0" : "=m"(cw_after));
  __asm__ volatile("fldcw %0" : : "m"(cw));
  EXPECT_EQ(cw_after, extended);
}

// ---- Abs ------------------------------------------------------------------------------------

TEST(ComplexAbs, SpecialValues) {
  const struct {
    float re, im;
    float expect;  // NaN: a NaN
  } c_rows[] = {{3, 4, 5},          {-3, 4, 5},          {0, -0.0f, 0},
                {kInfF, NAN, kInfF}, {NAN, -kInfF, kInfF}, {NAN, 1, NAN},
                {kMaxF, kMaxF, kInfF}, {0x1p-149f, 0x1p-149f, 0x1p-149f}};
  for (int n : {1, 4, 9}) {
    for (const auto &r : c_rows) {
      std::vector<c8> a(n, c8{1, 1});
      std::vector<float> y(n);
      a[n - 1] = {r.re, r.im};
      recorded([&] { _vmkcAbs(n, a.data(), y.data()); });
      EXPECT_TRUE(same(y[n - 1], r.expect) || (std::isnan(r.expect) && std::isnan(y[n - 1])))
          << r.re << " " << r.im << " -> " << y[n - 1];
      if (n > 1) EXPECT_FLOAT_EQ(y[0], std::sqrt(2.0f));
      EXPECT_TRUE(t_reports.empty());
    }
  }
}

TEST(ComplexAbs, DoubleIsDHypotBitForBit) {
  std::mt19937_64 g(9);
  const int n = 4099;
  std::vector<z16> a(n);
  std::vector<double> re(n), im(n), y(n), ref(n);
  for (int i = 0; i < n; ++i) {
    uint64_t u = g(), v = g();
    if (i % 3) {  // mostly ordinary magnitudes, some of the whole bit range
      u = (u & 0x800FFFFFFFFFFFFFull) | (uint64_t(1023 + int(g() % 120) - 60) << 52);
      v = (v & 0x800FFFFFFFFFFFFFull) | (uint64_t(1023 + int(g() % 120) - 60) << 52);
    }
    std::memcpy(&re[i], &u, 8);
    std::memcpy(&im[i], &v, 8);
    a[i] = {re[i], im[i]};
  }
  a[7] = {kInf, kNaN};
  re[7] = kInf;
  im[7] = kNaN;
  _vmkzAbs(n, a.data(), y.data());
  _vmkdHypot(n, re.data(), im.data(), ref.data());
  for (int i = 0; i < n; ++i) EXPECT_TRUE(same(y[i], ref[i])) << i;
  EXPECT_EQ(y[7], kInf);
}

TEST(ComplexAbs, AccuracyAgainstMpfr) {
  std::mt19937_64 g(3);
  const int n = 20000;
  std::vector<z16> a(n);
  std::vector<c8> ca(n);
  std::vector<double> y(n);
  std::vector<float> cy(n);
  for (int i = 0; i < n; ++i) {
    const int lo = i % 2 ? -1070 : -40, hi = i % 2 ? 1020 : 40;
    a[i] = {random_double(g, lo, hi), random_double(g, lo, hi)};
    ca[i] = {float(random_double(g, -149, 127)), float(random_double(g, -30, 30))};
    if (i % 4 == 0) ca[i].im = float(random_double(g, -149, 127));
  }
  _vmkzAbs(n, a.data(), y.data());
  _vmkcAbs(n, ca.data(), cy.data());
  double worst_z = 0, worst_c = 0;
  mpfr_t x, t;
  mpfr_inits2(300, x, t, (mpfr_ptr)nullptr);
  for (int i = 0; i < n; ++i) {
    mpfr_set_d(x, a[i].re, MPFR_RNDN);
    mpfr_set_d(t, a[i].im, MPFR_RNDN);
    mpfr_hypot(x, x, t, MPFR_RNDN);
    worst_z = std::max(worst_z, hpk::oracle::ulp_error(y[i], x));
    mpfr_set_d(x, ca[i].re, MPFR_RNDN);
    mpfr_set_d(t, ca[i].im, MPFR_RNDN);
    mpfr_hypot(x, x, t, MPFR_RNDN);
    worst_c = std::max(worst_c, hpk::oracle::ulp_error(cy[i], x));
  }
  mpfr_clears(x, t, (mpfr_ptr)nullptr);
  std::printf("zAbs max %.3f ulp, cAbs max %.3f ulp over %d elements\n", worst_z, worst_c, n);
  EXPECT_LE(worst_z, 0.501);
  EXPECT_LE(worst_c, 0.501);
}

// ---- Arg, CIS -------------------------------------------------------------------------------

namespace polar {

// Parts and arguments of every kind: ordinary, wide, huge (past the reductions' switches),
// tiny, signed zeros, infinities, NaN.
double polar_value(std::mt19937_64 &g, int i) {
  switch (i % 11) {
    case 0: return 0.0;
    case 1: return -0.0;
    case 2: return i % 2 ? kInf : -kInf;
    case 3: return kNaN;
    case 4: return random_double(g, 17, 1023);
    case 5: return random_double(g, -1074, -900);
    default: return random_double(g, -8, 12);
  }
}

TEST(ComplexPolar, ArgIsAtan2OfThePartsAndCisIsSinCosBitForBit) {
  std::mt19937_64 g(21);
  const int n = 700;  // more than two stretches of the kernels
  std::vector<z16> a(n);
  std::vector<c8> ca(n);
  std::vector<double> re(n), im(n), x(n), ref(n), s(n), c(n);
  std::vector<float> cre(n), cim(n), cx(n), cref(n), cs(n), cc(n);
  for (int i = 0; i < n; ++i) {
    re[i] = polar_value(g, i);
    im[i] = polar_value(g, i * 7 + 3);
    x[i] = std::isinf(re[i]) ? 1.5 : re[i];  // infinities of CIS are tested below
    a[i] = {re[i], im[i]};
    cre[i] = float(re[i]);
    cim[i] = float(im[i]);
    cx[i] = std::isinf(float(x[i])) ? 0x1.8p100f : float(x[i]);
    ca[i] = {cre[i], cim[i]};
  }
  std::vector<double> y(n);
  std::vector<float> cy(n);
  std::vector<z16> w(n);
  std::vector<c8> cw(n);
  recorded([&] {
    _vmkzArg(n, a.data(), y.data());
    _vmkcArg(n, ca.data(), cy.data());
    _vmkzCIS(n, x.data(), w.data());
    _vmkcCIS(n, cx.data(), cw.data());
  });
  EXPECT_TRUE(t_reports.empty());
  _vmkdAtan2(n, im.data(), re.data(), ref.data());
  _vmksAtan2(n, cim.data(), cre.data(), cref.data());
  _vmkdSinCos(n, x.data(), s.data(), c.data());
  _vmksSinCos(n, cx.data(), cs.data(), cc.data());
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(bits(y[i]), bits(ref[i])) << "zArg " << re[i] << " " << im[i];
    EXPECT_EQ(bits(cy[i]), bits(cref[i])) << "cArg " << cre[i] << " " << cim[i];
    EXPECT_EQ(bits(w[i].re), bits(c[i])) << "zCIS " << x[i];
    EXPECT_EQ(bits(w[i].im), bits(s[i])) << "zCIS " << x[i];
    EXPECT_EQ(bits(cw[i].re), bits(cc[i])) << "cCIS " << cx[i];
    EXPECT_EQ(bits(cw[i].im), bits(cs[i])) << "cCIS " << cx[i];
  }
}

TEST(ComplexPolar, CisOfAnInfinityIsNaNWithStatusOneNaNRaisesNothing) {
  const int n = 300;
  std::vector<double> x(n, 0.5);
  std::vector<float> cx(n, 0.5f);
  const int at[] = {3, 255, 256, 299};
  for (int i : at) {
    x[i] = i % 2 ? kInf : -kInf;
    cx[i] = float(x[i]);
  }
  x[10] = kNaN;
  cx[10] = NAN;
  std::vector<z16> y(n);
  std::vector<c8> cy(n);
  for (int type = 0; type < 2; ++type) {
    recorded([&] {
      if (type == 0) _vmkzCIS(n, x.data(), y.data());
      else _vmkcCIS(n, cx.data(), cy.data());
    });
    ASSERT_EQ(t_reports.size(), std::size(at));
    for (std::size_t r = 0; r < std::size(at); ++r) {
      EXPECT_EQ(t_reports[r].code, 1);
      EXPECT_EQ(t_reports[r].index, at[r]);
      EXPECT_EQ(t_reports[r].name, type == 0 ? "vzCIS" : "vcCIS");
    }
    for (int i : at) {
      EXPECT_TRUE(type == 0 ? std::isnan(y[i].re) && std::isnan(y[i].im)
                            : std::isnan(cy[i].re) && std::isnan(cy[i].im));
    }
    EXPECT_TRUE(type == 0 ? std::isnan(y[10].re) && std::isnan(y[10].im)
                          : std::isnan(cy[10].re) && std::isnan(cy[10].im));
    EXPECT_EQ(type == 0 ? y[11].re : double(cy[11].re), type == 0 ? std::cos(0.5) : double(std::cos(0.5f)));
  }
}

// The exported scalar routines give each element what the kernels give (odd counts, so the
// partial pass of cCIS runs too) and report an infinity under their level's name.
TEST(ComplexPolar, CisScalarRoutinesMatchTheKernelsAndNameTheirLevel) {
  const std::vector<double> x = {0.0, -0.0, 1e-300, 0.75, -3.0, 1e5, -1e22, 1e30, kNaN, kInf, -kInf};
  const int n = int(x.size());
  std::vector<float> cx(n);
  for (int i = 0; i < n; ++i) cx[i] = float(x[i]);
  std::vector<z16> w(n), ws(n);
  std::vector<c8> cw(n), cws(n);
  for (int len = 1; len <= n; len += 2) {
    _vmkzCIS(len, x.data(), w.data());
    _vmkcCIS(len, cx.data(), cw.data());
  }
  using ZSc = void (*)(int32_t, const double *, z16 *);
  using CSc = void (*)(int32_t, const float *, c8 *);
  const struct {
    ZSc z;
    CSc c;
    const char *zname, *cname;
  } levels[] = {{hpk_vmk_kernel_zCIS_SC_HA, hpk_vmk_kernel_cCIS_SC_HA, "zCIS_HA", "cCIS_HA"},
                {hpk_vmk_kernel_zCIS_SC_LA, hpk_vmk_kernel_cCIS_SC_LA, "zCIS_LA", "cCIS_LA"},
                {hpk_vmk_kernel_zCIS_SC_A11, hpk_vmk_kernel_cCIS_SC_A11, "zCIS_A11", "cCIS_A11"}};
  for (const auto &lv : levels) {
    recorded([&] {
      for (int i = 0; i < n; ++i) {
        lv.z(i, x.data(), ws.data());
        lv.c(i, cx.data(), cws.data());
      }
    });
    ASSERT_EQ(t_reports.size(), 4u);
    for (int r = 0; r < 4; ++r) {
      EXPECT_EQ(t_reports[r].code, 1);
      EXPECT_EQ(t_reports[r].index, n - 2 + r / 2);
      EXPECT_EQ(t_reports[r].name, r % 2 ? lv.cname : lv.zname);
    }
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(bits(ws[i].re), bits(w[i].re)) << x[i];
      EXPECT_EQ(bits(ws[i].im), bits(w[i].im)) << x[i];
      EXPECT_EQ(bits(cws[i].re), bits(cw[i].re)) << cx[i];
      EXPECT_EQ(bits(cws[i].im), bits(cw[i].im)) << cx[i];
    }
  }
  EXPECT_TRUE(std::signbit(w[1].im) && std::signbit(cw[1].im));  // sin(-0) = -0
}

TEST(ComplexPolar, AccuracyAgainstMpfr) {
  std::mt19937_64 g(8);
  const int n = 20000;
  std::vector<z16> a(n), w(n);
  std::vector<c8> ca(n), cw(n);
  std::vector<double> y(n), x(n);
  std::vector<float> cy(n), cx(n);
  for (int i = 0; i < n; ++i) {
    a[i] = {random_double(g, -1074, 1023), random_double(g, -1074, 1023)};
    if (i % 2) a[i] = {random_double(g, -10, 10), random_double(g, -10, 10)};
    ca[i] = {float(random_double(g, -149, 127)), float(random_double(g, -20, 20))};
    x[i] = i % 3 ? random_double(g, -30, 40) : random_double(g, -1074, 1023);
    cx[i] = float(i % 3 ? random_double(g, -30, 30) : random_double(g, -149, 127));
  }
  _vmkzArg(n, a.data(), y.data());
  _vmkcArg(n, ca.data(), cy.data());
  _vmkzCIS(n, x.data(), w.data());
  _vmkcCIS(n, cx.data(), cw.data());
  double worst[4] = {0, 0, 0, 0};  // zArg, cArg, zCIS, cCIS
  mpfr_t u, v, r;
  mpfr_inits2(300, u, v, r, (mpfr_ptr)nullptr);
  for (int i = 0; i < n; ++i) {
    mpfr_set_d(u, a[i].im, MPFR_RNDN);
    mpfr_set_d(v, a[i].re, MPFR_RNDN);
    mpfr_atan2(r, u, v, MPFR_RNDN);
    worst[0] = std::max(worst[0], hpk::oracle::ulp_error(y[i], r));
    mpfr_set_d(u, ca[i].im, MPFR_RNDN);
    mpfr_set_d(v, ca[i].re, MPFR_RNDN);
    mpfr_atan2(r, u, v, MPFR_RNDN);
    worst[1] = std::max(worst[1], hpk::oracle::ulp_error(cy[i], r));
    mpfr_set_d(u, x[i], MPFR_RNDN);
    mpfr_sin_cos(v, r, u, MPFR_RNDN);
    worst[2] = std::max({worst[2], hpk::oracle::ulp_error(w[i].re, r), hpk::oracle::ulp_error(w[i].im, v)});
    mpfr_set_d(u, cx[i], MPFR_RNDN);
    mpfr_sin_cos(v, r, u, MPFR_RNDN);
    worst[3] = std::max({worst[3], hpk::oracle::ulp_error(cw[i].re, r), hpk::oracle::ulp_error(cw[i].im, v)});
  }
  mpfr_clears(u, v, r, (mpfr_ptr)nullptr);
  std::printf("zArg max %.3f ulp, cArg %.3f, zCIS %.3f (both parts), cCIS %.3f over %d elements\n",
              worst[0], worst[1], worst[2], worst[3], n);
  for (double w_ulp : worst) EXPECT_LE(w_ulp, 1.0);
}

}  // namespace polar

}  // namespace
