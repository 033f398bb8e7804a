// The exponential's and the logarithms' main routes are fixed step by step: a plain scalar model
// of those steps (constants written as the decimal values and bit patterns that define them,
// the evaluation order of the kernels' header comments) must give the kernels' results bit for
// bit, over random inputs of every kind, each threshold of the rare path with its neighbours,
// the row edges of the logarithm table and the interval around 1.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "hpk/vmk.h"
#include "support/vmk_test_util.hpp"
#include "vmk/core/exp/exp_tables.hpp"
#include "vmk/core/ln/ln_tables.hpp"

namespace {

using namespace hpk::test;

// ---- dExp ------------------------------------------------------------------------------
struct ExpParts {
  double v;
  int64_t k;
};

ExpParts exp_reduce(double x) {
  const double inv_ln = 92.33248261689366, rs = 6755399441055744.0;
  const double t = x * inv_ln + rs;
  const double kd = t - rs;
  const double r = (x - kd * d_of(0x3F862E42FEF00000)) - kd * d_of(0x3D7473DE6AF278ED);
  const int64_t k = int64_t(bits(t) - bits(rs));
  const int j = int(k & 63);
  const double T = hpk::vmk::exp_tables::s_dwExp2[2 * j];
  const double Tl = hpk::vmk::exp_tables::s_dwExp2[2 * j + 1];
  const double A2 = 0.49999999999945266, A3 = 0.16666666666653376, A4 = 0.04166672515731616,
               A5 = 0.008333343728805863;
  const double r2 = r * r;
  const double p = r + r2 * ((A2 + r * A3) + r2 * (A4 + r * A5));
  return {T + (Tl + T * p), k};
}

double pow2(int64_t m) { return d_of(uint64_t(m + 1023) << 52); }

double model_exp(double x, int &status) {
  status = 0;
  if (x != x) return x + x;
  if (x == INFINITY) return INFINITY;
  if (x == -INFINITY) return 0.0;
  if (x <= d_of(0xC0874910D52D3052)) return status = 4, 0.0;
  const ExpParts q = exp_reduce(x);
  const int64_t m = q.k >> 6;  // floor division
  if (x <= d_of(0xC086232BDD7ABCD3)) return status = 4, (q.v * pow2(m + 1022)) * 0x1p-1022;
  if (x >= d_of(0x40862E42FEFA39F0)) return status = 3, INFINITY;
  if (x >= d_of(0x40862E37E7D8BA72)) return (q.v * pow2(m - 1)) * 2.0;
  // main route: the factor from the integer bits of t, ((bits(t) + 0xFFC0) << 46) & exponent
  const uint64_t tb = uint64_t(q.k) + bits(6755399441055744.0);
  return q.v * d_of(((tb + 0xFFC0) << 46) & 0x7FF0000000000000ull);
}

// ---- dLn and dLog10 ----------------------------------------------------------------------
double model_log(double x, bool decimal, int &status) {
  status = 0;
  if (x != x) return x + x;
  if (x == 0) return status = 2, -INFINITY;
  if (x < 0) return status = 1, d_of(0xFFF8000000000000ull);
  if (x == INFINITY) return x;
  if (x < 0x1p-1022) {
    int s;
    return model_log(x * 4503599627370496.0, decimal, s) -
           (decimal ? 15.653559774527022 : 36.04365338911715);
  }
  const uint64_t u = bits(x);
  const uint32_t top = uint32_t(u >> 32);
  const double Y = d_of((u & 0x000FFFFFFFFFFFFFull) | 0x3FF0000000000000ull);
  const double Yhi = d_of(bits(Y) & 0x7FFFFFFF00000000ull);
  const int row = int((((top & 0xFFC00u) + 0x400u) & 0x1FF800u) >> 11);
  const int32_t Ni = (int32_t(top) - int32_t(0x3FE7FC00)) >> 20;  // exponent from 0.74951171875
  const double N = double(Ni);
  const double *tab = decimal ? hpk::vmk::ln_tables::BT_Tbl_Log10 : hpk::vmk::ln_tables::BT_Tbl_Ln;
  const double rcp = tab[4 * row], Thi = tab[4 * row + 2], Tlo = tab[4 * row + 3];
  const double Rhi = Yhi * rcp - 1.0;
  const double Rlo = (Y - Yhi) * rcp;
  const double R = Rhi + Rlo;
  const double R2 = R * R;
  if (!decimal) {
    const double hi2 = d_of(0x3FE62E42FEFA3800), lo2 = d_of(0x3D2EF35793C76730);
    const double Alo = N * lo2 + Tlo;
    const bool exact = Alo == 0.0;
    const double A = N * hi2 + Thi;
    const double hi0 = A + Rhi;
    const double err = (A - hi0) + Rhi;
    const double hi = hi0 + (exact ? Rlo : 0.0);
    const double P1 = -0.49999999999995254, P2 = 0.3333333333332741, P3 = -0.2500001988694339,
                 P4 = 0.2000001934420511;
    const double lo = ((Alo + err) + (exact ? 0.0 : Rlo)) + R2 * ((P1 + R * P2) + R2 * (P3 + R * P4));
    return hi + lo;
  }
  using namespace hpk::vmk::ln_tables;
  const double C = 0.43359375;
  const double Alo = N * dbLg2lo + Tlo;
  const bool exact = Alo == 0.0;
  const double S = Rhi + (exact ? Rlo : 0.0);
  const double Sh = d_of(bits(S) & 0xFFFFFFFFF8000000ull);
  const double L = (S - Sh) + (exact ? 0.0 : Rlo);
  const double A = N * dbLg2hi + Thi;
  const double hi = A + C * Sh;
  const double err = (A - hi) + C * Sh;
  const double *P = kLog10Poly;
  const double lo =
      ((Alo + err) + C * L) + R * ((P[0] + R * P[1]) + R2 * ((P[2] + R * P[3]) + R2 * P[4]));
  return hi + lo;
}

// ---- comparison --------------------------------------------------------------------------

// Runs the inputs through the kernel as one array (packed blocks and a tail) and checks every
// result bit for bit and every status, in element order, against the model.
template <class Model>
void compare(void (*kernel)(int, const double *, double *), const std::vector<double> &in,
             Model model, const char *what) {
  std::vector<double> y(in.size());
  t_reports.clear();
  hpk_vmk_kernel_SetErrorCallBack(record);
  kernel(int(in.size()), in.data(), y.data());
  hpk_vmk_kernel_ClearErrorCallBack();
  std::vector<Report> expected;
  int mismatches = 0;
  for (size_t i = 0; i < in.size(); ++i) {
    int status;
    const double m = model(in[i], status);
    if (status) expected.push_back({status, int(i)});
    if (bits(m) != bits(y[i]) && ++mismatches <= 5)
      ADD_FAILURE() << what << ": x = " << std::hexfloat << in[i] << " kernel " << y[i]
                    << " model " << m;
  }
  EXPECT_EQ(mismatches, 0) << what;
  ASSERT_EQ(t_reports.size(), expected.size()) << what;
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(t_reports[i].code, expected[i].code) << what;
    EXPECT_EQ(t_reports[i].index, expected[i].index) << what;
  }
}

// Bit-uniform magnitudes in [lo, hi] (lo > 0), random sign if asked.
std::vector<double> random_between(double lo, double hi, bool sign, int n, uint64_t seed) {
  std::mt19937_64 g(seed);
  std::vector<double> v(n);
  const uint64_t a = bits(lo), b = bits(hi);
  for (double &x : v) {
    x = d_of(a + g() % (b - a + 1));
    if (sign && (g() & 1)) x = -x;
  }
  return v;
}

std::vector<double> any_bits(int n, uint64_t seed) {
  std::mt19937_64 g(seed);
  std::vector<double> v(n);
  for (double &x : v) x = d_of(g());
  return v;
}

// Each value and its neighbours up to `reach` ulps on both sides.
std::vector<double> around(const std::vector<double> &centres, int reach) {
  std::vector<double> v;
  for (double c : centres)
    for (int d = -reach; d <= reach; ++d) v.push_back(d_of(uint64_t(int64_t(bits(c)) + d)));
  return v;
}

double model_exp_fn(double x, int &s) { return model_exp(x, s); }
double model_ln_fn(double x, int &s) { return model_log(x, false, s); }
double model_lg_fn(double x, int &s) { return model_log(x, true, s); }

TEST(ExpModel, RandomInputsOverTheWholeRangeMatchBitForBit) {
  compare(_vmkdExp_HA, random_between(0x1p-70, 750.0, true, 2000003, 1), model_exp_fn, "dExp range");
  compare(_vmkdExp_HA, random_between(0x1p-8, 2.0, true, 500001, 2), model_exp_fn, "dExp near 0");
  compare(_vmkdExp_HA, any_bits(1000003, 3), model_exp_fn, "dExp any bits");
}

TEST(ExpModel, ThresholdsOfTheRarePathAndTheirNeighbours) {
  const std::vector<double> t = {
      d_of(0xC0874910D52D3052), d_of(0xC086232BDD7ABCD3), d_of(0x40862E42FEFA39F0),
      d_of(0x40862E37E7D8BA72), d_of(0x4086232B00000000), d_of(0xC086232B00000000),
      0.0, -0.0, 0x1p-1074, -0x1p-1074, 0x1p-1022, INFINITY, -INFINITY,
      // k changes its row or its exponent: multiples of ln2/64 and the half-way points
      64 * 0.6931471805599453 / 64, 0.6931471805599453 / 128, -0.6931471805599453 / 128};
  compare(_vmkdExp_HA, around(t, 300), model_exp_fn, "dExp thresholds");
  // Everything between the last main-route input and the overflow limit, and between the
  // underflow limits, sampled densely.
  compare(_vmkdExp_HA, random_between(708.3, 709.8, false, 200001, 4), model_exp_fn, "dExp top");
  compare(_vmkdExp_HA, random_between(-745.2, -708.3, false, 200001, 5), model_exp_fn, "dExp bottom");
}

TEST(LnModel, RandomInputsOverTheWholeRangeMatchBitForBit) {
  for (bool decimal : {false, true}) {
    auto kernel = decimal ? _vmkdLog10_HA : _vmkdLn_HA;
    auto model = decimal ? model_lg_fn : model_ln_fn;
    const char *name = decimal ? "dLog10" : "dLn";
    compare(kernel, random_between(0x1p-1074, 0x1.fffffffffffffp1023, false, 1500001, 11), model, name);
    compare(kernel, any_bits(500001, 12), model, name);
    // the interval with N = 0 and its neighbours: [0.7495, 1.499) and a little beyond
    compare(kernel, random_between(0.7, 1.6, false, 500001, 13), model, name);
    compare(kernel, random_between(0x1.ff8p-1, 0x1.004p+0, false, 300001, 14), model, name);
  }
}

TEST(LnModel, RowEdgesPowersOfTwoAndTheBreakAt0_7495) {
  std::vector<double> centres;
  for (int k = 0; k <= 1024; ++k) centres.push_back(1.0 + k / 1024.0);  // row edges of Y
  for (int e = -1074; e <= 1023; e += 7) centres.push_back(std::ldexp(1.0, e));
  centres.push_back(0.74951171875);  // dbNSub
  centres.push_back(0.75);
  centres.push_back(0x1p-1022);
  const std::vector<double> in = around(centres, 20);
  compare(_vmkdLn_HA, in, model_ln_fn, "dLn edges");
  compare(_vmkdLog10_HA, in, model_lg_fn, "dLog10 edges");
}

TEST(LnModel, OneIsExactlyZeroAndTheTableKeepsItsDefinition) {
  for (auto k : {_vmkdLn_HA, _vmkdLog10_HA}) {
    const double x[2] = {1.0, 0.75};
    double y[2];
    k(2, x, y);
    EXPECT_EQ(bits(y[0]), 0u);
    EXPECT_LT(y[1], 0.0);
  }
  using namespace hpk::vmk::ln_tables;
  for (const double *tab : {BT_Tbl_Ln, BT_Tbl_Log10}) {
    const int grid = tab == BT_Tbl_Ln ? 42 : 43;
    EXPECT_EQ(tab[0], 1.0);
    EXPECT_EQ(tab[4 * 512], 0.5);
    EXPECT_EQ(tab[2], 0.0);
    EXPECT_EQ(tab[3], 0.0);
    EXPECT_EQ(tab[4 * 512 + 2], 0.0);
    EXPECT_EQ(tab[4 * 512 + 3], 0.0);
    for (int i = 0; i <= 512; ++i) {
      // rcp: at most 32 significant bits; T_hi on the grid that makes N * hi + T_hi exact
      EXPECT_EQ(bits(tab[4 * i]) & 0x1FFFFF, 0u) << i;
      const double scaled = std::ldexp(tab[4 * i + 2], grid);
      EXPECT_EQ(scaled, std::trunc(scaled)) << i;
      // rows 1..255 hold logarithms of numbers above 1, rows 256..511 of numbers below 1
      if (i > 0 && i < 256) EXPECT_GT(tab[4 * i + 2], 0.0) << i;
      if (i >= 256 && i < 512) EXPECT_LT(tab[4 * i + 2], 0.0) << i;
    }
  }
}

}  // namespace
