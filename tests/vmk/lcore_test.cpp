// The extended scalar core against MPFR: each function's worst relative error over its range,
// in units of 2^-63 (so the header's bound 2^-62 is 2), on random and structured arguments; and
// the core's tables recomputed from their definitions.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "hpk/vmk_core.h"
#include "vmk/frame/control.hpp"

namespace {

using ld = long double;
constexpr mpfr_prec_t kRefPrec = 192;

// |got - ref| / |ref| in units of 2^-63; ref holds the exact value to 192 bits.
double rel_err(ld got, const mpfr_t ref) {
  mpfr_t d;
  mpfr_init2(d, kRefPrec);
  mpfr_set_ld(d, got, MPFR_RNDN);
  mpfr_sub(d, d, ref, MPFR_RNDN);
  mpfr_div(d, d, ref, MPFR_RNDN);
  mpfr_mul_2si(d, d, 63, MPFR_RNDN);
  const double e = std::fabs(mpfr_get_d(d, MPFR_RNDN));
  mpfr_clear(d);
  return e;
}

// A random extended value with a full 64-bit significand, uniform in [lo, hi] (lin) or with a
// uniform exponent (log, lo > 0), random sign when `sign`.
struct Range {
  ld lo, hi;
  bool log, sign;
};

ld draw(std::mt19937_64 &g, const Range &r) {
  const ld u = ld(g() >> 11) * 0x1p-53L + ld(g() >> 11) * 0x1p-106L;  // [0, 1)
  ld v = r.log ? std::exp2l(std::log2l(r.lo) + u * (std::log2l(r.hi) - std::log2l(r.lo)))
               : r.lo + u * (r.hi - r.lo);
  // spread the last bits over the whole significand
  v += v * ld(int64_t(g() >> 40) - (int64_t(1) << 23)) * 0x1p-85L;
  if (r.sign && (g() & 1)) v = -v;
  return v;
}

using Ref1 = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);

struct OneArg {
  const char *name;
  ld (*fn)(ld);
  Ref1 ref;
  std::vector<Range> ranges;
  double bound;  // in 2^-63
};

double worst_one(const OneArg &f, int per_range, ld *worst_x) {
  hpk::vmk::X87ControlScope x87(hpk::vmk::X87ControlScope::kExtended);
  std::mt19937_64 g(0x5eed + f.name[0]);
  mpfr_t x, y;
  mpfr_inits2(kRefPrec, x, y, (mpfr_ptr)0);
  double worst = 0;
  for (const Range &r : f.ranges)
    for (int i = 0; i < per_range; ++i) {
      const ld a = draw(g, r);
      mpfr_set_ld(x, a, MPFR_RNDN);
      f.ref(y, x, MPFR_RNDN);
      const double e = rel_err(f.fn(a), y);
      if (!(e <= worst)) {
        worst = e;
        *worst_x = a;
      }
    }
  mpfr_clears(x, y, (mpfr_ptr)0);
  return worst;
}

const OneArg kOneArg[] = {
    {"expl", hpk_vmk_kernel_expl_scalar, mpfr_exp,
     {{-11355.0L, 11355.0L, false, false}, {0x1p-70L, 2.0L, true, true}, {1e-3L, 0.1L, false, true}},
     2},
    {"expm1l", hpk_vmk_kernel_expm1l_scalar, mpfr_expm1,
     {{0x1p-80L, 1.0L, true, true}, {-46.0L, 60.0L, false, false}, {1e-3L, 4e-3L, false, true},
      {60.0L, 11355.0L, false, false}},
     2},
    {"logl", hpk_vmk_kernel_logl_scalar, mpfr_log,
     {{0x1p-16440L, 0x1p16383L, true, false}, {0.98L, 1.02L, false, false},
      {0.5L, 2.0L, false, false}, {1.0L - 0x1p-40L, 1.0L + 0x1p-40L, false, false}},
     2},
    {"log1pl", hpk_vmk_kernel_log1pl_scalar, mpfr_log1p,
     {{0x1p-80L, 0.9999L, true, true}, {-0.999L, 3.0L, false, false}, {1.0L, 0x1p16000L, true, false}},
     2},
    {"atanl", hpk_vmk_kernel_atanl_scalar, mpfr_atan,
     {{0x1p-80L, 0x1p80L, true, true}, {-2.0L, 2.0L, false, false}, {0.99L, 1.01L, false, true}},
     2},
};

class LcoreOne : public ::testing::TestWithParam<OneArg> {};

TEST_P(LcoreOne, RelativeErrorAgainstMpfr) {
  const OneArg &f = GetParam();
  ld at = 0;
  const double w = worst_one(f, 10000, &at);
  std::printf("%-8s worst %.3f x 2^-63 at %La\n", f.name, w, at);
  EXPECT_LT(w, f.bound) << "at " << std::hexfloat << double(at);
}

INSTANTIATE_TEST_SUITE_P(Fns, LcoreOne, ::testing::ValuesIn(kOneArg),
                         [](const auto &info) { return std::string(info.param.name); });

// Pairs and two-argument functions: each output against its own MPFR reference.
struct Worst {
  double e = 0;
  ld at = 0;
  void take(double v, ld x) {
    if (!(v <= e)) {
      e = v;
      at = x;
    }
  }
};

TEST(LcorePairs, SinCosAndSinhCosh) {
  hpk::vmk::X87ControlScope x87(hpk::vmk::X87ControlScope::kExtended);
  std::mt19937_64 g(77);
  mpfr_t x, s, c;
  mpfr_inits2(kRefPrec, x, s, c, (mpfr_ptr)0);
  const Range trig[] = {{0x1p-70L, 0.8L, true, true}, {0.7L, 100.0L, false, true},
                        {100.0L, 0x1p40L, true, true}, {0x1p40L, 0x1p16000L, true, true}};
  Worst ws, wc;
  for (const Range &r : trig)
    for (int i = 0; i < 10000; ++i) {
      const ld a = draw(g, r);
      ld gs, gc;
      hpk_vmk_kernel_sincosl_scalar(a, &gs, &gc);
      mpfr_set_ld(x, a, MPFR_RNDN);
      mpfr_sin_cos(s, c, x, MPFR_RNDN);
      ws.take(rel_err(gs, s), a);
      wc.take(rel_err(gc, c), a);
    }
  std::printf("sincosl  worst sin %.3f at %La, cos %.3f at %La (x 2^-63)\n", ws.e, ws.at, wc.e, wc.at);
  EXPECT_LT(ws.e, 2.0);
  EXPECT_LT(wc.e, 2.0);

  const Range hyp[] = {{0x1p-70L, 1.0L, true, true}, {-30.0L, 30.0L, false, false},
                       {20.0L, 11356.9L, false, true}};
  Worst wsh, wch;
  for (const Range &r : hyp)
    for (int i = 0; i < 10000; ++i) {
      const ld a = draw(g, r);
      ld gs, gc;
      hpk_vmk_kernel_sinhcoshl_scalar(a, &gs, &gc);
      mpfr_set_ld(x, a, MPFR_RNDN);
      mpfr_sinh_cosh(s, c, x, MPFR_RNDN);
      wsh.take(rel_err(gs, s), a);
      wch.take(rel_err(gc, c), a);
    }
  std::printf("sinhcoshl worst sinh %.3f at %La, cosh %.3f at %La (x 2^-63)\n", wsh.e, wsh.at, wch.e,
              wch.at);
  EXPECT_LT(wsh.e, 2.0);
  EXPECT_LT(wch.e, 2.0);
  mpfr_clears(x, s, c, (mpfr_ptr)0);
}

TEST(LcorePairs, Atan2AllQuadrants) {
  hpk::vmk::X87ControlScope x87(hpk::vmk::X87ControlScope::kExtended);
  std::mt19937_64 g(78);
  mpfr_t x, y, z;
  mpfr_inits2(kRefPrec, x, y, z, (mpfr_ptr)0);
  const Range parts[] = {{0x1p-60L, 0x1p60L, true, true}, {0.5L, 2.0L, false, true},
                         {0x1p-16000L, 0x1p16000L, true, true}};
  Worst w;
  for (const Range &ry : parts)
    for (const Range &rx : parts)
      for (int i = 0; i < 5000; ++i) {
        const ld b = draw(g, ry), a = draw(g, rx);
        // skip pairs whose angle leaves the extended normal range
        if (std::fabs(std::log2l(std::fabs(b)) - std::log2l(std::fabs(a))) > 16000) continue;
        mpfr_set_ld(y, b, MPFR_RNDN);
        mpfr_set_ld(x, a, MPFR_RNDN);
        mpfr_atan2(z, y, x, MPFR_RNDN);
        w.take(rel_err(hpk_vmk_kernel_atan2l_scalar(b, a), z), b);
      }
  std::printf("atan2l   worst %.3f x 2^-63 at y = %La\n", w.e, w.at);
  EXPECT_LT(w.e, 2.0);
  // Axes: exact angles with the sign of y.
  const ld pi = 0xC90FDAA22168C235p-62L;
  EXPECT_EQ(hpk_vmk_kernel_atan2l_scalar(0.0L, 3.0L), 0.0L);
  EXPECT_TRUE(std::signbit(hpk_vmk_kernel_atan2l_scalar(-0.0L, 3.0L)));
  EXPECT_EQ(hpk_vmk_kernel_atan2l_scalar(0.0L, -3.0L), pi);
  EXPECT_EQ(hpk_vmk_kernel_atan2l_scalar(-0.0L, -3.0L), -pi);
  EXPECT_EQ(hpk_vmk_kernel_atan2l_scalar(-2.0L, 0.0L), -pi / 2);
  mpfr_clears(x, y, z, (mpfr_ptr)0);
}

// Exact cases the reductions are built to keep: ln 1, e^0, ln of 1 +- one ulp (rows 0 and 255
// of the logarithm tables cancel exactly), expm1 and log1p at tiny arguments, expm1's floor.
TEST(LcoreExact, ReductionsKeepExactCases) {
  hpk::vmk::X87ControlScope x87(hpk::vmk::X87ControlScope::kExtended);
  EXPECT_EQ(hpk_vmk_kernel_logl_scalar(1.0L), 0.0L);
  EXPECT_EQ(hpk_vmk_kernel_expl_scalar(0.0L), 1.0L);
  EXPECT_EQ(hpk_vmk_kernel_expm1l_scalar(0x1p-100L), 0x1p-100L);
  EXPECT_EQ(hpk_vmk_kernel_log1pl_scalar(-0x1p-100L), -0x1p-100L);
  EXPECT_EQ(hpk_vmk_kernel_expm1l_scalar(-50.0L), -1.0L);
  EXPECT_EQ(hpk_vmk_kernel_logl_scalar(1.0L - 0x1p-64L), -0x1p-64L);
  EXPECT_EQ(hpk_vmk_kernel_logl_scalar(1.0L + 0x1p-63L), 0x1p-63L - 0x1p-127L);
}

// The tables from their definitions, every row, with MPFR at 192 bits.
class LcoreTables : public ::testing::Test {
 protected:
  void SetUp() override { mpfr_inits2(kRefPrec, v, w, t, (mpfr_ptr)0); }
  void TearDown() override { mpfr_clears(v, w, t, (mpfr_ptr)0); }
  // hi + lo against v: the relative error in units of 2^-63.
  double pair_err(ld hi, ld lo) {
    mpfr_set_ld(w, hi, MPFR_RNDN);
    mpfr_set_ld(t, lo, MPFR_RNDN);
    mpfr_add(w, w, t, MPFR_RNDN);
    mpfr_sub(w, w, v, MPFR_RNDN);
    mpfr_div(w, w, v, MPFR_RNDN);
    mpfr_mul_2si(w, w, 63, MPFR_RNDN);
    return std::fabs(mpfr_get_d(w, MPFR_RNDN));
  }
  mpfr_t v, w, t;
};

TEST_F(LcoreTables, ExpAndAtanPairs) {
  for (int j = 0; j < 256; ++j) {
    mpfr_set_si(v, j, MPFR_RNDN);
    mpfr_div_ui(v, v, 256, MPFR_RNDN);
    mpfr_exp2(v, v, MPFR_RNDN);
    const ld *row = hpk_vmk_core_expl_table_256 + 2 * j;
    EXPECT_EQ(row[0], mpfr_get_ld(v, MPFR_RNDN)) << "exp row " << j;
    EXPECT_LT(pair_err(row[0], row[1]), 0x1p-60) << "exp row " << j;
  }
  EXPECT_EQ(hpk_vmk_core_atanl_table_128[0], 0.0L);
  for (int k = 1; k < 128; ++k) {
    mpfr_set_si(v, k, MPFR_RNDN);
    mpfr_div_ui(v, v, 128, MPFR_RNDN);
    mpfr_atan(v, v, MPFR_RNDN);
    const ld *row = hpk_vmk_core_atanl_table_128 + 2 * k;
    EXPECT_EQ(row[0], mpfr_get_ld(v, MPFR_RNDN)) << "atan row " << k;
    EXPECT_LT(pair_err(row[0], row[1]), 0x1p-60) << "atan row " << k;
  }
}

// rcp: 9 bits, within half a step of 2^-9 of the centre's reciprocal (rows 0 and 255: 1 and
// 1/2), and m rcp within 2^-8 of 1 over the row's interval; logl: -ln(rcp) with hi on the
// 2^-48 grid.
TEST_F(LcoreTables, ReciprocalAndLogRows) {
  for (int i = 0; i < 256; ++i) {
    const double rcp = hpk_vmk_core_double_rcp_table_256[i];
    const double c = 1.0 + (i + 0.5) / 256;
    if (i == 0 || i == 255) {
      EXPECT_EQ(rcp, i == 0 ? 1.0 : 0.5);
    } else {
      EXPECT_EQ(rcp * 512, std::nearbyint(rcp * 512)) << i;
      EXPECT_LE(std::fabs(rcp - 1 / c), 0x1p-10 * (1 + 0x1p-40)) << i;
    }
    EXPECT_LT(std::fabs((1.0 + i / 256.0) * rcp - 1), 0x1p-8) << i;
    EXPECT_LE(std::fabs((1.0 + (i + 1) / 256.0) * rcp - 1), 0x1p-8) << i;
    const ld *row = hpk_vmk_core_logl_table_256 + 2 * i;
    EXPECT_EQ(row[0] * 0x1p48L, std::nearbyintl(row[0] * 0x1p48L)) << i;
    if (i == 0) {
      EXPECT_EQ(row[0], 0.0L);
      EXPECT_EQ(row[1], 0.0L);
      continue;
    }
    mpfr_set_d(v, rcp, MPFR_RNDN);
    mpfr_log(v, v, MPFR_RNDN);
    mpfr_neg(v, v, MPFR_RNDN);
    EXPECT_LT(pair_err(row[0], row[1]), 0x1p-42) << "log row " << i;
  }
}

}  // namespace
