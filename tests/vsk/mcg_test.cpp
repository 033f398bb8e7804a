// MCG31M1 and MCG59 against plain models (a product reduced by division, or a 64-bit product
// masked), closed forms of the sequence, the seeding table, the call-size cases and the jumps.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "hpk/vsk_brng_mcg.h"
#include "vsk/brng_test_util.hpp"

namespace {

using hpk_test::random_split;
using hpk_test::Stream;

constexpr uint64_t P31 = 0x7fffffffu;
constexpr uint64_t A31 = 1132489760u;
constexpr uint64_t M59 = (uint64_t(1) << 59) - 1;
constexpr uint64_t A59 = 302875106592253ull;
constexpr double kInv31 = 0x1.00000002p-31;  // nearest double to 1 / (2^31 - 1)

// x * a^e by repeated multiplication with division: slow, plain, and independent of the fold.
uint64_t jump31(uint64_t x, uint64_t a, uint64_t e) {
  for (uint64_t i = 0; i < e; ++i) x = x * a % P31;
  return x;
}
std::vector<uint64_t> model31(uint64_t x, uint64_t a, size_t n) {
  std::vector<uint64_t> v(n);
  for (auto &e : v) { e = x; x = x * a % P31; }
  return v;
}
std::vector<uint64_t> model59(uint64_t x, uint64_t a, size_t n) {
  std::vector<uint64_t> v(n);
  for (auto &e : v) { e = x; x = (x * a) & M59; }
  return v;
}
double d31(uint64_t x, double a, double b) { return double(x) * ((b - a) * kInv31) + a; }
float s31(uint64_t x, float a, float b) {
  return float(double(x) * ((double(b) - double(a)) * kInv31) + double(a));
}
double d59(uint64_t x, double a, double b) { return double(int64_t(x)) * ((b - a) * 0x1p-59) + a; }
float s59(uint64_t x, float a, float b) {
  const float s = float((double(b) - double(a)) * 0x1p-59);
  const float fx = float(int64_t(x));
  const float p = fx * s;  // two roundings, in single
  return p + a;
}

TEST(Mcg, Constants) {
  uint64_t p13 = 1;
  for (int i = 0; i < 13; ++i) p13 *= 13;
  EXPECT_EQ(p13, A59);
  uint64_t bits;
  std::memcpy(&bits, &kInv31, 8);
  EXPECT_EQ(bits, 0x3e00000000200000ull);
  // Nearest: 1/(2^31-1) = 2^-31 (1 + 2^-31 + 2^-62 + ...), and the tail is below half an ulp.
  EXPECT_LT(std::fabs(double(1.0L / 2147483647.0L - (long double)kInv31)),
            std::ldexp(1.0, -31 - 53));
}

struct SeedCase {
  int32_t brng;
  std::vector<uint32_t> seed;
  int32_t n;  // seed words passed
  uint64_t x;
};

TEST(Mcg, SeedingTable) {
  const uint32_t k = 0;
  const SeedCase cases[] = {
      {HPK_VSK_BRNG_MCG31M1, {}, 0, 1},
      {HPK_VSK_BRNG_MCG31M1, {7}, -3, 1},
      {HPK_VSK_BRNG_MCG31M1, {0}, 1, 1},
      {HPK_VSK_BRNG_MCG31M1, {0x7fffffff}, 1, 1},
      {HPK_VSK_BRNG_MCG31M1, {0x80000000u}, 1, 1},
      {HPK_VSK_BRNG_MCG31M1, {0xfffffffeu}, 1, 1},
      {HPK_VSK_BRNG_MCG31M1, {0x7ffffffe}, 1, 0x7ffffffe},
      {HPK_VSK_BRNG_MCG31M1, {12345, 999}, 2, 12345},
      {HPK_VSK_LEGACY_MCG31M1, {42}, 1, 42},
      {HPK_VSK_BRNG_MCG59, {}, 0, 1},
      {HPK_VSK_BRNG_MCG59, {0}, 1, 1},
      {HPK_VSK_BRNG_MCG59, {5, 1}, 1, 5},
      {HPK_VSK_BRNG_MCG59, {5, 1}, 2, 5 + (uint64_t(1) << 32)},
      {HPK_VSK_BRNG_MCG59, {0, 0x08000000}, 2, 1},
      {HPK_VSK_BRNG_MCG59, {3, 0xffffffffu, 9}, 3, 0x07ffffff00000003ull},
      {HPK_VSK_LEGACY_MCG59, {0xffffffffu}, 1, 0xffffffffu},
  };
  (void)k;
  for (const auto &c : cases) {
    std::vector<uint32_t> seed = c.seed;
    seed.resize(4, 0xdeadbeef);  // words past n must not be read into the seed
    Stream s(c.brng, c.n, seed.data());
    const bool wide = c.brng == HPK_VSK_BRNG_MCG59 || c.brng == HPK_VSK_LEGACY_MCG59;
    const uint64_t x = wide ? s.word<uint64_t>(0) : s.word<uint32_t>(0);
    const uint64_t a = wide ? s.word<uint64_t>(1) : s.word<uint32_t>(1);
    EXPECT_EQ(x, c.x) << std::hex << c.brng << " n=" << c.n;
    EXPECT_EQ(a, wide ? A59 : A31);
    // The first element delivered is the seed itself.
    uint32_t r[2] = {};
    (wide ? __vskiBRngMCG59 : __vskiBRngMCG31M1)(s, 1, r);
    EXPECT_EQ(wide ? (uint64_t(r[1]) << 32 | r[0]) : r[0], c.x);
  }
}

// Every output, every size that meets a path (groups of 8 and 16, remainders), from a few
// starting points: bit-for-bit equal to the model.
TEST(Mcg, OutputsMatchModel) {
  const int32_t sizes[] = {1, 2, 7, 8, 9, 15, 16, 17, 31, 32, 33, 64, 1000, 1001};
  const double da = -3.5, db = 11.25;
  const float fa = 0.25f, fb = 7.0f;
  for (int32_t n : sizes) {
    for (uint32_t seed : {1u, 0x7ffffffeu, 987654321u}) {
      const auto m31 = model31(seed, A31, size_t(n) + 1);
      {
        Stream s(HPK_VSK_BRNG_MCG31M1, {seed});
        std::vector<uint32_t> r(n);
        __vskiBRngMCG31M1(s, n, r.data());
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(r[i], m31[i]) << n << " " << i;
        EXPECT_EQ(s.word<uint32_t>(0), m31[n]);
      }
      {
        Stream s(HPK_VSK_BRNG_MCG31M1, {seed});
        std::vector<double> r(n);
        __vskdBRngMCG31M1(s, n, r.data(), da, db);
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(r[i], d31(m31[i], da, db)) << n << " " << i;
        std::vector<float> f(n);
        __vsksBRngMCG31M1(s, n, f.data(), fa, fb);
        const auto m = model31(m31[n], A31, size_t(n));
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(f[i], s31(m[i], fa, fb)) << n << " " << i;
      }
      const uint64_t seed59 = (uint64_t(seed) << 27) ^ 0x0123456789abcdeull;
      const auto m59 = model59(seed59 & M59, A59, size_t(3 * n) + 1);
      {
        const uint32_t w[2] = {uint32_t(seed59), uint32_t(seed59 >> 32)};
        Stream s(HPK_VSK_BRNG_MCG59, 2, w);
        std::vector<uint32_t> r(2 * size_t(n));
        __vskiBRngMCG59(s, n, r.data());
        for (int32_t i = 0; i < n; ++i)
          ASSERT_EQ(uint64_t(r[2 * i + 1]) << 32 | r[2 * i], m59[i]) << n << " " << i;
        std::vector<double> d(n);
        __vskdBRngMCG59(s, n, d.data(), da, db);
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(d[i], d59(m59[n + i], da, db)) << n << " " << i;
        std::vector<float> f(n);
        __vsksBRngMCG59(s, n, f.data(), fa, fb);
        for (int32_t i = 0; i < n; ++i)
          ASSERT_EQ(f[i], s59(m59[2 * n + i], fa, fb)) << n << " " << i;
        EXPECT_EQ(s.word<uint64_t>(0), m59[3 * n]);
      }
    }
  }
}

// The single output of MCG59 computes in single: it differs from the double result rounded to
// single somewhere, which a double computation would not.
TEST(Mcg, Mcg59SingleComputesInSingle) {
  Stream s(HPK_VSK_BRNG_MCG59, {77});
  std::vector<float> f(4096);
  __vsksBRngMCG59(s, 4096, f.data(), 1.0f, 3.0f);
  const auto m = model59(77, A59, 4096);
  int differ = 0;
  for (size_t i = 0; i < m.size(); ++i) differ += f[i] != float(d59(m[i], 1.0, 3.0));
  EXPECT_GT(differ, 0);
}

TEST(Mcg, ZeroLengthCalls) {
  {
    // MCG31M1 writes its first element and advances before it looks at n.
    Stream s(HPK_VSK_BRNG_MCG31M1, {1000});
    uint32_t r[2] = {7, 7};
    __vskiBRngMCG31M1(s, 0, r);
    EXPECT_EQ(r[0], 1000u);
    EXPECT_EQ(r[1], 7u);
    EXPECT_EQ(s.word<uint32_t>(0), 1000 * A31 % P31);
    double d[2] = {-1, -1};
    __vskdBRngMCG31M1(s, 0, d, 0.0, 1.0);
    EXPECT_EQ(d[0], d31(1000 * A31 % P31, 0.0, 1.0));
    EXPECT_EQ(d[1], -1.0);
  }
  {
    Stream s(HPK_VSK_BRNG_MCG59, {1000});
    uint32_t r[2] = {7, 7};
    __vskiBRngMCG59(s, 0, r);
    float f = 9.0f;
    __vsksBRngMCG59(s, 0, &f, 0.0f, 1.0f);
    EXPECT_EQ(r[0], 7u);
    EXPECT_EQ(f, 9.0f);
    EXPECT_EQ(s.word<uint64_t>(0), 1000u);
  }
}

// Any split of a request, with the three outputs interleaved on one stream, gives the elements
// of one request, and the same final state.
TEST(Mcg, SplitsAndInterleavingEqualOneRequest) {
  const int32_t total = 5000;
  for (uint32_t trial = 0; trial < 6; ++trial) {
    for (int32_t brng : {HPK_VSK_BRNG_MCG31M1, HPK_VSK_BRNG_MCG59}) {
      const bool wide = brng == HPK_VSK_BRNG_MCG59;
      Stream one(brng, {trial + 11});
      std::vector<uint32_t> all(2 * size_t(total));
      (wide ? __vskiBRngMCG59 : __vskiBRngMCG31M1)(one, total, all.data());
      auto raw = [&](int32_t i) {
        return wide ? uint64_t(all[2 * i + 1]) << 32 | all[2 * i] : uint64_t(all[i]);
      };
      Stream parts(brng, {trial + 11});
      int32_t at = 0, kind = 0;
      for (int32_t k : random_split(total, trial)) {
        switch (kind++ % 3) {
          case 0: {
            std::vector<uint32_t> r(2 * size_t(k));
            (wide ? __vskiBRngMCG59 : __vskiBRngMCG31M1)(parts, k, r.data());
            for (int32_t i = 0; i < k; ++i)
              ASSERT_EQ(wide ? uint64_t(r[2 * i + 1]) << 32 | r[2 * i] : uint64_t(r[i]),
                        raw(at + i));
            break;
          }
          case 1: {
            std::vector<double> r(k);
            (wide ? __vskdBRngMCG59 : __vskdBRngMCG31M1)(parts, k, r.data(), -1.0, 1.0);
            for (int32_t i = 0; i < k; ++i)
              ASSERT_EQ(r[i], wide ? d59(raw(at + i), -1.0, 1.0) : d31(raw(at + i), -1.0, 1.0));
            break;
          }
          default: {
            std::vector<float> r(k);
            (wide ? __vsksBRngMCG59 : __vsksBRngMCG31M1)(parts, k, r.data(), 2.0f, 5.0f);
            for (int32_t i = 0; i < k; ++i)
              ASSERT_EQ(r[i], wide ? s59(raw(at + i), 2.0f, 5.0f) : s31(raw(at + i), 2.0f, 5.0f));
          }
        }
        at += k;
      }
      EXPECT_EQ(one.word<uint64_t>(0), parts.word<uint64_t>(0));
      if (wide) EXPECT_EQ(one.word<uint64_t>(1), parts.word<uint64_t>(1));
    }
  }
}

TEST(Mcg, LeapfrogAndSkipAheadFollowThePlainStream) {
  struct Case { int32_t k, nstreams; };
  const Case cases[] = {{0, 1}, {0, 3}, {2, 3}, {4, 5}, {1, 2}, {6, 7}};
  const int32_t m = 300;
  for (int32_t brng : {HPK_VSK_BRNG_MCG31M1, HPK_VSK_BRNG_MCG59}) {
    const bool wide = brng == HPK_VSK_BRNG_MCG59;
    auto plain = wide ? model59(4242, A59, 7 * (m + 4)) : model31(4242, A31, 7 * (m + 4));
    auto read = [&](StreamState *s, int32_t n) {
      std::vector<uint32_t> r(2 * size_t(n));
      (wide ? __vskiBRngMCG59 : __vskiBRngMCG31M1)(s, n, r.data());
      std::vector<uint64_t> v(n);
      for (int32_t i = 0; i < n; ++i) v[i] = wide ? uint64_t(r[2 * i + 1]) << 32 | r[2 * i] : r[i];
      return v;
    };
    for (const auto &c : cases) {
      Stream s(brng, {4242});
      ASSERT_EQ(__vskLeapfrogStream(s, c.k, c.nstreams), 0);
      const auto v = read(s, m);
      for (int32_t j = 0; j < m; ++j) ASSERT_EQ(v[j], plain[c.k + j * c.nstreams]) << j;
      // A skip on a leapfrogged stream counts its own steps.
      ASSERT_EQ(__vskSkipAheadStream(s, 3), 0);
      EXPECT_EQ(read(s, 1)[0], plain[c.k + (m + 3) * c.nstreams]);
    }
    for (uint64_t skip : {0ull, 1ull, 7ull, 1000ull}) {
      Stream s(brng, {4242});
      ASSERT_EQ(__vskSkipAheadStream(s, skip), 0);
      const auto v = read(s, 50);
      for (int32_t j = 0; j < 50; ++j) ASSERT_EQ(v[j], plain[skip + j]);
    }
    Stream s(brng, {4242});
    const uint32_t k = 0;
    EXPECT_EQ(__vskLeapfrogStream(s, 0, 1), 0);
    EXPECT_EQ(read(s, 5), std::vector<uint64_t>(plain.begin(), plain.begin() + 5));
    EXPECT_EQ((wide ? __vskBRngMCG59InitStream : __vskBRngMCG31M1InitStream)(3, s, 1, &k), -2);
    EXPECT_EQ(__vskLeapfrogStream(s, 0, -1), HPK_VSK_ERROR_LEAPFROG_NSTREAMS);
  }
}

// Long skips against closed forms: the order of a modulo 2^31 - 1 divides 2^31 - 2, and every
// odd number has an order dividing 2^57 modulo 2^59.
TEST(Mcg, LongSkipsAndPowers) {
  const uint64_t e = (uint64_t(1) << 40) + 12345;
  {
    Stream s(HPK_VSK_BRNG_MCG31M1, {99});
    ASSERT_EQ(__vskSkipAheadStream(s, e), 0);
    EXPECT_EQ(s.word<uint32_t>(0), jump31(99, A31, e % (P31 - 1)));
  }
  {
    Stream s(HPK_VSK_BRNG_MCG59, {99});
    const uint64_t e59 = (uint64_t(1) << 57) * 3 + 777;
    ASSERT_EQ(__vskSkipAheadStream(s, e59), 0);
    EXPECT_EQ(s.word<uint64_t>(0), model59(99, A59, 778)[777]);
  }
  struct PowCase { uint32_t base; uint64_t e; uint32_t m; };
  const PowCase pc[] = {{3, 0, 7}, {3, 1, 7}, {2, 10, 1000}, {0xffffffffu, 3, 0xfffffffbu},
                        {12345, 1000003, 65536}, {5, (uint64_t(1) << 63) + 9, 65537u}, {7, 123456789, 4294967291u}};
  for (const auto &c : pc) {
    // Reference by repeated multiplication on the exponent reduced by the group order
    // where the modulus is prime, plainly otherwise.
    uint64_t e = c.e;
    if (c.m == 65537u || c.m == 4294967291u) e %= (c.m - 1);
    uint64_t ref = 1 % uint64_t(c.m);
    if (c.e == 0) ref = 1;
    for (uint64_t i = 0; i < e; ++i) ref = ref * (c.base % c.m) % c.m;
    EXPECT_EQ(__vskiPowMod(c.base, c.e, c.m), ref) << c.base << "^" << c.e << " mod " << c.m;
  }
  const uint32_t bases31[] = {1u, 2u, 16807u, uint32_t(A31), 0x7ffffffeu};
  const uint64_t exps[] = {0ull, 1ull, 2ull, 31ull, 1000ull, (uint64_t(1) << 62) + 5};
  for (uint32_t base : bases31) {
    // Fermat: base^(p-1) = 1, so the exponent may be reduced before the plain loop; a large
    // reduced exponent is split as e = q * 2^16 + r with base^(2^16) found by the loop too.
    EXPECT_EQ(__vskiPowMod2P31M1(base, P31 - 1), 1u);
    for (uint64_t e : exps) {
      const uint64_t r = e % (P31 - 1);
      const uint64_t b16 = jump31(1, base, 1 << 16);
      const uint64_t ref = jump31(jump31(1, b16, r >> 16), base, r & 0xffff);
      EXPECT_EQ(__vskiPowMod2P31M1(base, e), ref) << base << "^" << e;
    }
  }
  const uint64_t bases59[] = {3ull, A59, M59, (uint64_t(1) << 63) + 1};
  const uint64_t exps59[] = {0ull, 1ull, 5ull, 1000ull, (uint64_t(1) << 57) + 3};
  for (uint64_t base : bases59) {
    EXPECT_EQ(__vskiPowMod2P59(base, uint64_t(1) << 57), 1u);
    for (uint64_t e : exps59) {
      uint64_t ref = 1;
      for (uint64_t i = 0; i < e % (uint64_t(1) << 57); ++i) ref *= base;
      EXPECT_EQ(__vskiPowMod2P59(base, e), ref & M59) << base << "^" << e;
    }
  }
  EXPECT_EQ(__vskiPowMod2P59(2, 59), 0u);
  EXPECT_EQ(__vskiPowMod2P59(2, 58), uint64_t(1) << 58);
}

}  // namespace
