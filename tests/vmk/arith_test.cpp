// The arithmetic members: in-order meaning under overlap, the control state each runs under,
// Hypot's special values and accuracy, LinearFrac's three forms.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cfenv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "oracle.hpp"

namespace {

using namespace hpk::test;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<double> ramp(int n, double start, double step) {
  std::vector<double> v(n);
  for (int i = 0; i < n; ++i) v[i] = start + step * i + 0.1 * (i % 7);
  return v;
}

using BinaryD = void (*)(int, const double *, const double *, double *);
using UnaryD = void (*)(int, const double *, double *);

struct BinaryMember {
  const char *name;
  BinaryD kernel;
  double (*op)(double, double);
};

const BinaryMember kBinary[] = {
    {"dAdd", _vmkdAdd, [](double a, double b) { return a + b; }},
    {"dSub", _vmkdSub, [](double a, double b) { return a - b; }},
    {"dMul", _vmkdMul, [](double a, double b) { return a * b; }},
};

// y placed at each offset from a (in elements) inside one buffer; the kernel must give what
// the plain in-order loop gives, whatever the overlap, for every length around the n > 6 switch.
TEST(ArithOverlap, MatchesThePlainInOrderLoop) {
  for (const BinaryMember &m : kBinary) {
    for (int n : {1, 6, 7, 8, 9, 16, 33}) {
      for (int offset : {-3, -1, 0, 1, 2, 5, 40, 100}) {
        const int base = 50;
        std::vector<double> buf = ramp(200, 1.0, 0.25), ref = buf;
        const std::vector<double> b = ramp(n, -3.0, 0.5);
        m.kernel(n, buf.data() + base, b.data(), buf.data() + base + offset);
        for (int i = 0; i < n; ++i) ref[base + offset + i] = m.op(ref[base + i], b[i]);
        EXPECT_EQ(buf, ref) << m.name << " n=" << n << " offset=" << offset;
      }
    }
  }
}

TEST(ArithOverlap, UnaryMembersMatchThePlainInOrderLoop) {
  const struct {
    const char *name;
    UnaryD kernel;
    double (*op)(double);
  } members[] = {{"dSqr", _vmkdSqr, [](double a) { return a * a; }},
                 {"dAbs", _vmkdAbs, [](double a) { return std::fabs(a); }}};
  for (const auto &m : members) {
    for (int n : {6, 7, 8, 21}) {
      for (int offset : {-1, 0, 1, 3, 64}) {
        std::vector<double> buf = ramp(160, -7.0, 0.75), ref = buf;
        m.kernel(n, buf.data() + 40, buf.data() + 40 + offset);
        for (int i = 0; i < n; ++i) ref[40 + offset + i] = m.op(ref[40 + i]);
        EXPECT_EQ(buf, ref) << m.name << " n=" << n << " offset=" << offset;
      }
    }
  }
}

// Misaligned output and counts that leave a tail: every element, none beyond.
TEST(ArithLoops, CoverEveryElementAndNothingElse) {
  for (int n : {0, -5, 1, 8, 15, 16, 17, 31, 100}) {
    for (int shift : {0, 1}) {
      std::vector<double> a = ramp(110, 1.0, 1.0), b = ramp(110, 2.0, 0.5), y(112, -1.0);
      _vmkdAdd(n, a.data(), b.data(), y.data() + shift);
      std::vector<float> fa(110), fb(110), fy(112, -1.0f);
      for (int i = 0; i < 110; ++i) fa[i] = float(a[i]), fb[i] = float(b[i]);
      _vmksMul(n, fa.data(), fb.data(), fy.data() + shift);
      for (int i = 0; i < 112; ++i) {
        const int k = i - shift;
        const bool inside = k >= 0 && k < n;
        EXPECT_EQ(y[i], inside ? a[k] + b[k] : -1.0) << n << " " << i;
        EXPECT_EQ(fy[i], inside ? fa[k] * fb[k] : -1.0f) << n << " " << i;
      }
    }
  }
}

TEST(ArithBits, AbsClearsOnlyTheSignBitEvenOfNaNs) {
  const uint64_t in[] = {0x8000000000000000ull, 0xFFF4000000000123ull, 0x7FF0000000000001ull,
                         0xBFF0000000000000ull, 0x0000000000000001ull, 0xFFF0000000000000ull};
  double a[6], y[6];
  std::memcpy(a, in, sizeof a);
  _vmkdAbs(6, a, y);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(bits(y[i]), in[i] & 0x7FFFFFFFFFFFFFFFull) << i;
  const uint32_t fin[] = {0x80000000u, 0xFFA00001u, 0x7F800001u, 0xBF800000u, 1u,
                          0xFF800000u, 0x80400000u, 0x3F800000u, 0xFFC00000u, 0x80000001u,
                          0xC0000000u, 0x7FC00000u, 0x00800000u, 0x80800000u, 0xFF7FFFFFu,
                          0x7F7FFFFFu, 0x80000002u};
  float fa[17], fy[17];
  std::memcpy(fa, fin, sizeof fa);
  _vmksAbs(17, fa, fy);
  for (int i = 0; i < 17; ++i) {
    uint32_t u;
    std::memcpy(&u, &fy[i], 4);
    EXPECT_EQ(u, fin[i] & 0x7FFFFFFFu) << i;
  }
}

// Scheme A: single members (and Hypot, LinearFrac) run in round-to-nearest, and with FTZ/DAZ
// only when the mode asks for it; the caller's MXCSR comes back. Double Add/Mul/Sub/Sqr run
// under the caller's state.
TEST(ControlState, SchemeARunsInNearestAndRestoresTheCaller) {
  std::thread([] {
    const unsigned entry = _mm_getcsr();
    const float fa[1] = {1.0f}, fb[1] = {0x1p-30f};
    const double da[1] = {1.0}, db[1] = {0x1p-60};
    float fy[1];
    double dy[1];
    for (int round : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO, FE_TONEAREST}) {
      std::fesetround(round);
      const unsigned caller = _mm_getcsr();
      _vmksAdd(1, fa, fb, fy);
      EXPECT_EQ(fy[0], 1.0f) << round;  // nearest
      EXPECT_EQ(_mm_getcsr() & ~0x3Fu, caller & ~0x3Fu);
      _vmkdAdd(1, da, db, dy);
      EXPECT_EQ(dy[0], round == FE_UPWARD ? 0x1.0000000000001p0 : 1.0) << round;
    }
    std::fesetround(FE_TONEAREST);

    // Denormal handling from the mode.
    const float tiny[1] = {0x1p-140f}, half[1] = {0.5f};
    hpk_vmk_kernel_SetMode(HPK_VMK_FTZDAZ_ON);
    _vmksMul(1, tiny, half, fy);
    EXPECT_EQ(fy[0], 0.0f);  // DAZ: the denormal input counts as zero
    EXPECT_EQ(_mm_getcsr() & 0x8040u, entry & 0x8040u);
    hpk_vmk_kernel_SetMode(HPK_VMK_FTZDAZ_OFF);
    _vmksMul(1, tiny, half, fy);
    EXPECT_EQ(fy[0], 0x1p-141f);

    // A caller with FTZ and DAZ set gets them back, and the kernel ran without them.
    _mm_setcsr(entry | 0x8040);
    _vmksMul(1, tiny, half, fy);
    EXPECT_EQ(fy[0], 0x1p-141f);
    EXPECT_EQ(_mm_getcsr() & 0x8040u, 0x8040u);
    _mm_setcsr(entry);

    // Exception flags raised inside the kernel stay raised after the restore.
    std::fesetround(FE_UPWARD);
    std::feclearexcept(FE_ALL_EXCEPT);
    const float big[1] = {3e38f};
    _vmksMul(1, big, big, fy);
    EXPECT_TRUE(std::fetestexcept(FE_OVERFLOW));
    std::fesetround(FE_TONEAREST);
  }).join();
}

TEST(ControlState, LinearFracHoldsTheX87AtDoublePrecisionAndRestoresIt) {
  unsigned short cw_in = 0x37F, cw_out = 0;  // 64-bit precision, nearest, all masked
  __asm__ volatile("fldcw %0" : : "m"(cw_in));
  const double a[2] = {1, 2}, b[2] = {3, 4};
  double y[2];
  _vmkdLinearFrac(2, a, b, 1.0, 0.0, 1.0, 0.0, y);
  __asm__ volatile("fnstcw %0" : "=m"(cw_out));
  EXPECT_EQ(cw_out, cw_in);
  EXPECT_EQ(y[0], 1.0 / 3.0);
}

struct HypotCase {
  double a, b, expect;
};

TEST(Hypot, SpecialValues) {
  const HypotCase cases[] = {
      {kInf, kNaN, kInf},  {kNaN, -kInf, kInf}, {-kInf, 0.0, kInf}, {0.0, 0.0, 0.0},
      {-0.0, -0.0, 0.0},   {3.0, 4.0, 5.0},     {-3.0, 4.0, 5.0},   {0.0, -7.5, 7.5},
      {0x1p1023, 0x1p1023, 0x1.6a09e667f3bcdp1023},               // no overflow
      {0x1p-1074, 0x1p-1074, 0x1p-1074},                           // sqrt(2) 2^-1074 rounds down
      {0x1p-1074, 0.0, 0x1p-1074},
      {1e308, 1e308, 1.4142135623730951e308},
      {0x1p-1022, 0x1p-1022, 0x1.6a09e667f3bcdp-1022},
  };
  for (const HypotCase &c : cases) {
    // Every position in a block of 9, so the packed and the scalar routes both meet it.
    for (int pos = 0; pos < 9; ++pos) {
      std::vector<double> a(9, 1.0), b(9, 1.0), y(9);
      a[pos] = c.a;
      b[pos] = c.b;
      _vmkdHypot(9, a.data(), b.data(), y.data());
      EXPECT_EQ(bits(y[pos]), bits(c.expect)) << c.a << " " << c.b << " at " << pos;
      EXPECT_EQ(y[(pos + 1) % 9], std::sqrt(2.0));
    }
  }
  const double nan_a[1] = {kNaN}, one[1] = {2.0};
  double y[1];
  _vmkdHypot(1, nan_a, one, y);
  EXPECT_TRUE(std::isnan(y[0]));

  const float fin[4] = {INFINITY, NAN, 3e38f, 0x1p-149f};
  const float fb[4] = {NAN, -INFINITY, 3e38f, 0x1p-149f};
  float fy[4];
  _vmksHypot(4, fin, fb, fy);
  EXPECT_EQ(fy[0], INFINITY);
  EXPECT_EQ(fy[1], INFINITY);
  EXPECT_EQ(fy[2], float(std::sqrt(2.0) * 3e38));
  EXPECT_EQ(fy[3], 0x1p-149f);
}

// Accuracy against MPFR over the oracle's sweep (whole range, near-unit, half range and all
// pairs of special values). Both should be correctly rounded or within a hair of it.
TEST(Hypot, AccuracyAgainstMpfr) {
  for (const auto &c : hpk::oracle::cases()) {
    if (c.name != "dHypot" && c.name != "sHypot") continue;
    const hpk::oracle::Worst w = hpk::oracle::sweep(c, 40000, 7);
    EXPECT_LE(w.max_ulp, 0.51) << c.name << " at " << w.x << ", " << w.y;
    EXPECT_GT(w.samples, 100000);
  }
}

TEST(Hypot, HardCasesNearHalfwayPoints) {
  // Pythagorean-like pairs where a^2 + b^2 lies just off a perfect square: the residual
  // correction must decide the rounding.
  std::mt19937_64 g(11);
  mpfr_t x, y, r;
  mpfr_inits2(256, x, y, r, (mpfr_ptr)0);
  std::vector<double> a(4096), b(4096), out(4096);
  for (int i = 0; i < 4096; ++i) {
    const double m = double((g() >> 11) | 1);  // 53-bit odd integers
    a[i] = std::ldexp(m, -52 + int(g() % 40) - 20);
    b[i] = std::ldexp(double(g() >> 38), -52 + int(g() % 40) - 20);  // small second term
  }
  _vmkdHypot(4096, a.data(), b.data(), out.data());
  double worst = 0;
  for (int i = 0; i < 4096; ++i) {
    mpfr_set_d(x, a[i], MPFR_RNDN);
    mpfr_set_d(y, b[i], MPFR_RNDN);
    mpfr_hypot(r, x, y, MPFR_RNDN);
    worst = std::max(worst, hpk::oracle::ulp_error(out[i], r));
  }
  mpfr_clears(x, y, r, (mpfr_ptr)0);
  EXPECT_LE(worst, 0.501);
}

struct LinearFracCase {
  const char *form;
  double sa, ta, sb, tb;
};

TEST(LinearFrac, ThreeFormsAgainstTheFormula) {
  const LinearFracCase cases[] = {
      {"full", 2.0, 1.0, -0.5, 3.0},
      {"constant denominator", 3.0, -1.0, 0.0, 4.0},
      {"constant numerator", 0.0, 5.0, 2.0, 1.0},
      {"both constant", 0.0, 5.0, 0.0, 2.0},
  };
  const int n = 37;
  std::vector<double> a = ramp(n, -4.0, 0.3), b = ramp(n, 1.0, -0.2);
  a[3] = kInf;   // reaches y only through the forms that read a
  b[5] = kNaN;   // and only through the forms that read b
  b[6] = -0.5;   // a zero denominator in the full form: no status, an infinity
  for (const LinearFracCase &c : cases) {
    std::vector<double> y(n);
    _vmkdLinearFrac(n, a.data(), b.data(), c.sa, c.ta, c.sb, c.tb, y.data());
    std::vector<float> fa(n), fb(n), fy(n);
    for (int i = 0; i < n; ++i) fa[i] = float(a[i]), fb[i] = float(b[i]);
    _vmksLinearFrac(n, fa.data(), fb.data(), float(c.sa), float(c.ta), float(c.sb), float(c.tb),
                    fy.data());
    for (int i = 0; i < n; ++i) {
      const double num = c.sa == 0.0 && c.sb != 0.0 ? c.ta : c.sa * a[i] + c.ta;
      const double den = c.sb == 0.0 ? c.tb : c.sb * b[i] + c.tb;
      const double expect = num / den;
      EXPECT_EQ(bits(y[i]), bits(expect)) << c.form << " " << i;
      const double fnum = c.sa == 0.0 && c.sb != 0.0 ? c.ta : c.sa * double(fa[i]) + c.ta;
      const double fden = c.sb == 0.0 ? c.tb : c.sb * double(fb[i]) + c.tb;
      const float fexpect = float(fnum / fden);
      if (std::isnan(fexpect)) EXPECT_TRUE(std::isnan(fy[i])) << c.form << " " << i;
      else EXPECT_EQ(fy[i], fexpect) << c.form << " " << i;
    }
  }
}

}  // namespace
