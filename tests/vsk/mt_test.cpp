// MT19937 and MT2203 against numpy's reference words, against std::mt19937 loaded with the
// seeded state, and against a plain scalar model of the prescribed steps; the call-size paths,
// splits and interleaving, statuses, and the MT2203 member table with period proofs on a sample.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "../../tools/mt2203/mt2203_period.hpp"
#include "hpk/vsk_brng_mt.h"
#include "vsk/brng/mt2203/mt2203_members.hpp"
#include "vsk/brng_test_util.hpp"

namespace {

using hpk_test::random_split;
using hpk_test::Stream;

// Plain model: word by word, indices taken modulo N.
struct Model {
  int N, M;
  uint32_t upper, lower, matrix_a, mask_b, mask_c;
  int shift_u;
  std::vector<uint32_t> mt;
  int index;

  static Model mt19937() { return {624, 397, 0x80000000u, 0x7fffffffu, 0x9908b0dfu, 0x9d2c5680u, 0xefc60000u, 11, {}, 0}; }
  static Model mt2203(uint32_t a, uint32_t b, uint32_t c) { return {69, 34, 0xffffffe0u, 0x1fu, a, b, c, 12, {}, 0}; }

  void seed(std::vector<uint32_t> key) {
    if (key.empty()) key = {1};
    mt.assign(N, 0);
    mt[0] = 19650218u;
    for (int i = 1; i < N; ++i) mt[i] = 1812433253u * (mt[i - 1] ^ (mt[i - 1] >> 30)) + uint32_t(i);
    int i = 1;
    size_t j = 0;
    for (size_t k = std::max<size_t>(N, key.size()); k; --k) {
      mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1664525u)) + key[j] + uint32_t(j);
      if (++i >= N) { mt[0] = mt[N - 1]; i = 1; }
      if (++j >= key.size()) j = 0;
    }
    for (int k = N - 1; k; --k) {
      mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1566083941u)) - uint32_t(i);
      if (++i >= N) { mt[0] = mt[N - 1]; i = 1; }
    }
    mt[0] = 0x80000000u;
    index = N;
  }
  uint32_t next() {
    if (index == N) {
      for (int k = 0; k < N; ++k) {
        const uint32_t y = (mt[k] & upper) | (mt[(k + 1) % N] & lower);
        mt[k] = mt[(k + M) % N] ^ (y >> 1) ^ ((y & 1) ? matrix_a : 0u);
      }
      index = 0;
    }
    uint32_t y = mt[index++];
    y ^= y >> shift_u;
    y ^= (y << 7) & mask_b;
    y ^= (y << 15) & mask_c;
    return y ^ (y >> 18);
  }
  std::vector<uint32_t> words(size_t n) {
    std::vector<uint32_t> v(n);
    for (auto &w : v) w = next();
    return v;
  }
};

double to_d(uint32_t u, double a, double b) { return double(u) * ((b - a) * 0x1p-32) + a; }
float to_s(uint32_t u, float a, float b) {
  return float(double(u) * ((double(b) - double(a)) * 0x1p-32) + double(a));
}

// ---- independent references ---------------------------------------------------------------

struct OracleCase {
  std::vector<uint32_t> key;
  uint32_t state[4];  // mt[0], mt[1], mt[2], mt[623] after seeding
  std::vector<uint32_t> words;
};

std::vector<OracleCase> read_oracle() {
  const std::string path = HPK_TEST_ORACLES "/mt19937_numpy.txt";
  std::ifstream in(path);
  std::vector<OracleCase> cases;
  std::string tag;
  while (in >> tag) {
    OracleCase c;
    size_t k;
    in >> k;
    c.key.resize(k);
    for (auto &w : c.key) in >> w;
    in >> tag >> c.state[0] >> c.state[1] >> c.state[2] >> c.state[3] >> tag >> k;
    c.words.resize(k);
    for (auto &w : c.words) in >> w;
    cases.push_back(c);
  }
  return cases;
}

TEST(Mt19937, MatchesNumpyReference) {
  const auto cases = read_oracle();
  ASSERT_GE(cases.size(), 5u);
  for (const auto &c : cases) {
    Stream s(HPK_VSK_BRNG_MT19937, c.key);
    EXPECT_EQ(s.word<uint32_t>(0), c.state[0]);
    EXPECT_EQ(s.word<uint32_t>(1), c.state[1]);
    EXPECT_EQ(s.word<uint32_t>(2), c.state[2]);
    EXPECT_EQ(s.word<uint32_t>(623), c.state[3]);
    EXPECT_EQ(s.word<int32_t>(624), 624);
    // Three calls: within a block, across a refill, then the long path.
    std::vector<uint32_t> r(c.words.size());
    __vskiBRngMT19937(s, 100, r.data());
    __vskiBRngMT19937(s, 600, r.data() + 100);
    __vskiBRngMT19937(s, int32_t(r.size()) - 700, r.data() + 700);
    EXPECT_EQ(r, c.words) << "key of " << c.key.size() << " words";
  }
}

// The seeded state loaded into std::mt19937 (its text form is the 624 words, and a stream read
// that way begins with a refill, as ours does).
TEST(Mt19937, MatchesStdEngineFromSeededState) {
  const std::vector<std::vector<uint32_t>> keys = {{}, {1}, {0}, {5489}, {0xffffffffu}, {7, 8, 9}};
  for (const auto &key : keys) {
    Stream s(HPK_VSK_BRNG_MT19937, key);
    std::ostringstream text;
    for (int i = 0; i < 624; ++i) text << s.word<uint32_t>(i) << ' ';
    std::istringstream in(text.str());
    std::mt19937 ref;
    in >> ref;
    std::vector<uint32_t> r(3000);
    __vskiBRngMT19937(s, 3000, r.data());
    for (size_t i = 0; i < r.size(); ++i) ASSERT_EQ(r[i], ref()) << i;
  }
  // No seed at all and the key {1} make the same stream; mt[0] is 0x80000000 for every key.
  Stream none(HPK_VSK_BRNG_MT19937, 0, nullptr), one(HPK_VSK_BRNG_MT19937, {1});
  for (int i = 0; i < 625; ++i) ASSERT_EQ(none.word<uint32_t>(i), one.word<uint32_t>(i));
  Stream zero(HPK_VSK_BRNG_MT19937, {0});
  EXPECT_EQ(zero.word<uint32_t>(0), 0x80000000u);
  EXPECT_NE(zero.word<uint32_t>(1), one.word<uint32_t>(1));
}

// ---- the outputs against the model -----------------------------------------------------------

struct Gen {
  int32_t brng;
  int N;
  Model model() const {
    if (brng == HPK_VSK_BRNG_MT19937) return Model::mt19937();
    const uint32_t *p = _vsk_mt2203_table[brng - HPK_VSK_BRNG_MT2203];
    return Model::mt2203(p[0], p[1], p[2]);
  }
  int32_t i(StreamState *s, int32_t n, uint32_t *r) const {
    return (brng == HPK_VSK_BRNG_MT19937 ? __vskiBRngMT19937 : __vskiBRngMT2203)(s, n, r);
  }
  int32_t d(StreamState *s, int32_t n, double *r, double a, double b) const {
    return (brng == HPK_VSK_BRNG_MT19937 ? __vskdBRngMT19937 : __vskdBRngMT2203)(s, n, r, a, b);
  }
  int32_t f(StreamState *s, int32_t n, float *r, float a, float b) const {
    return (brng == HPK_VSK_BRNG_MT19937 ? __vsksBRngMT19937 : __vsksBRngMT2203)(s, n, r, a, b);
  }
};

std::vector<Gen> gens() {
  return {{HPK_VSK_BRNG_MT19937, 624}, {HPK_VSK_BRNG_MT2203, 69},
          {HPK_VSK_BRNG_MT2203 + 2, 69}, {HPK_VSK_BRNG_MT2203 + hpk::vsk::kMt2203Members - 1, 69}};
}

// Sizes around the block and the groups of 8 and 16, from starting offsets inside the block.
TEST(Mt, OutputsMatchModelAtEverySize) {
  for (const Gen &g : gens()) {
    const int N = g.N;
    const int32_t sizes[] = {1, 7, 8, 9, 15, 16, 17, N - 1, N, N + 1, 2 * N + 3, 3000};
    const int32_t skips[] = {0, 1, N - 5, N};
    for (int32_t n : sizes)
      for (int32_t skip : skips) {
        const std::vector<uint32_t> key = {uint32_t(n), uint32_t(skip)};
        Model m = g.model();
        m.seed(key);
        m.words(size_t(skip));
        const auto ref = m.words(3 * size_t(n));
        Stream s(g.brng, key);
        std::vector<uint32_t> pre(skip + 1);
        if (skip) g.i(s, skip, pre.data());
        std::vector<uint32_t> r(n + 1, 0xabababab);
        EXPECT_EQ(g.i(s, n, r.data()), 0);
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(r[i], ref[i]) << std::hex << g.brng << std::dec << " n=" << n << " skip=" << skip << " i=" << i;
        EXPECT_EQ(r[n], 0xababababu);  // nothing written past n
        std::vector<double> d(n + 1, -7.0);
        EXPECT_EQ(g.d(s, n, d.data(), -2.0, 3.0), 0);
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(d[i], to_d(ref[n + i], -2.0, 3.0)) << n << " " << i;
        EXPECT_EQ(d[n], -7.0);
        std::vector<float> f(n + 1, -7.0f);
        EXPECT_EQ(g.f(s, n, f.data(), 1.0f, 1.5f), 0);
        for (int32_t i = 0; i < n; ++i) ASSERT_EQ(f[i], to_s(ref[2 * n + i], 1.0f, 1.5f)) << n << " " << i;
        EXPECT_EQ(f[n], -7.0f);
      }
  }
}

TEST(Mt, BlockIndexAfterCalls) {
  struct Case { int32_t pre, n, index; };
  for (const Gen &g : gens()) {
    const int N = g.N;
    const Case cases[] = {
        {0, N, N},          // n = N with a used-up block: exactly one refill
        {0, N + 1, N},      // long path
        {0, 1, 1},  {5, N - 5, N}, {5, N - 4, 1}, {3, 2 * N, N}, {N, N, N}, {10, N + 20, N},
    };
    for (const auto &c : cases) {
      Stream s(g.brng, {42});
      std::vector<uint32_t> r(size_t(c.pre + c.n) + 1);
      if (c.pre) g.i(s, c.pre, r.data());
      g.i(s, c.n, r.data());
      EXPECT_EQ(s.word<int32_t>(size_t(N)), c.index) << N << " " << c.pre << "+" << c.n;
    }
  }
}

TEST(Mt, SplitsAndInterleavingEqualOneRequest) {
  for (const Gen &g : gens()) {
    for (uint32_t trial = 0; trial < 4; ++trial) {
      const int32_t total = 7000;
      Model m = g.model();
      m.seed({trial});
      const auto ref = m.words(total);
      Stream s(g.brng, {trial});
      int32_t at = 0, kind = trial;
      for (int32_t k : random_split(total, trial + 100)) {
        switch (kind++ % 3) {
          case 0: {
            std::vector<uint32_t> r(k);
            g.i(s, k, r.data());
            for (int32_t i = 0; i < k; ++i) ASSERT_EQ(r[i], ref[at + i]);
            break;
          }
          case 1: {
            std::vector<double> r(k);
            g.d(s, k, r.data(), 0.0, 1.0);
            for (int32_t i = 0; i < k; ++i) ASSERT_EQ(r[i], to_d(ref[at + i], 0.0, 1.0));
            break;
          }
          default: {
            std::vector<float> r(k);
            g.f(s, k, r.data(), -1.0f, 1.0f);
            for (int32_t i = 0; i < k; ++i) ASSERT_EQ(r[i], to_s(ref[at + i], -1.0f, 1.0f));
          }
        }
        at += k;
      }
      // The state arrived at by parts continues the sequence like one long request.
      Stream one(g.brng, {trial});
      std::vector<uint32_t> r(total + 50);
      g.i(one, total + 50, r.data());
      std::vector<uint32_t> tail(50);
      g.i(s, 50, tail.data());
      EXPECT_EQ(tail, std::vector<uint32_t>(r.begin() + total, r.end()));
    }
  }
}

TEST(Mt, InitStreamStatuses) {
  for (const Gen &g : gens()) {
    Stream s(g.brng, {9});
    const size_t bytes = g.N == 624 ? 2516 : 308;
    std::vector<uint32_t> r(5);
    g.i(s, 5, r.data());
    const auto before = std::vector<unsigned char>(
        reinterpret_cast<unsigned char *>(s.s) + 16, reinterpret_cast<unsigned char *>(s.s) + bytes);
    auto init = g.N == 624 ? __vskBRngMT19937InitStream : __vskBRngMT2203InitStream;
    const uint64_t skip = 5;
    const uint32_t k = 0;
    EXPECT_EQ(init(1, s, 2, &k), HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED);
    EXPECT_EQ(init(2, s, 2, reinterpret_cast<const uint32_t *>(&skip)), HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED);
    EXPECT_EQ(init(3, s, 0, nullptr), HPK_VSK_ERROR_METHOD);
    EXPECT_EQ(init(-1, s, 0, nullptr), HPK_VSK_ERROR_METHOD);
    EXPECT_EQ(__vskLeapfrogStream(s, 0, 1), HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED);
    EXPECT_EQ(__vskLeapfrogStream(s, 0, -1), HPK_VSK_ERROR_LEAPFROG_NSTREAMS);
    EXPECT_EQ(__vskSkipAheadStream(s, 10), HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED);
    const auto after = std::vector<unsigned char>(
        reinterpret_cast<unsigned char *>(s.s) + 16, reinterpret_cast<unsigned char *>(s.s) + bytes);
    EXPECT_EQ(before, after);
  }
}

// A long key (longer than the state) goes through every word.
TEST(Mt, LongKeysAreReadWhole) {
  std::vector<uint32_t> key(2000);
  for (size_t i = 0; i < key.size(); ++i) key[i] = uint32_t(i * 2654435761u);
  for (int32_t brng : {HPK_VSK_BRNG_MT19937, HPK_VSK_BRNG_MT2203 + 1}) {
    Stream a(brng, key);
    key.back() ^= 1;
    Stream b(brng, key);
    key.back() ^= 1;
    Gen g{brng, brng == HPK_VSK_BRNG_MT19937 ? 624 : 69};
    Model m = g.model();
    m.seed(key);
    std::vector<uint32_t> ra(10), rb(10);
    g.i(a, 10, ra.data());
    g.i(b, 10, rb.data());
    EXPECT_EQ(ra, m.words(10));
    EXPECT_NE(ra, rb);
  }
}

// ---- MT2203 members ----------------------------------------------------------------------------

TEST(Mt2203, GivenRowsAndDistinctTable) {
  const uint32_t given[5][4] = {{0, 0xaf81055fu, 0xdd7eef80u, 0xefd78000u},
                                {1, 0x832604e1u, 0x66ad7f80u, 0xebd58000u},
                                {2, 0x92f70739u, 0x656d7780u, 0xefc50000u},
                                {6022, 0x8a8c1d4au, 0x65757780u, 0xefe18000u},
                                {6023, 0xe8761d4bu, 0x72967680u, 0xefeb0000u}};
  for (const auto &g : given)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(_vsk_mt2203_table[g[0]][j], g[j + 1]) << g[0];
  std::set<uint32_t> seen;
  for (int i = 0; i < HPK_VSK_MT2203_TABLE_ROWS; ++i) {
    const uint32_t *r = _vsk_mt2203_table[i];
    if (i < hpk::vsk::kMt2203Members) ASSERT_NE(r[0], 0u) << i;
    if (r[0] == 0) continue;
    EXPECT_TRUE(seen.insert(r[0]).second) << "twist word of row " << i << " repeats";
    // Tempering masks act only where the shifted word has bits.
    EXPECT_EQ(r[1] & 0x7fu, 0u) << i;
    EXPECT_EQ(r[2] & 0x7fffu, 0u) << i;
  }
  EXPECT_GE(hpk::vsk::kMt2203Members, 3);
}

// Period 2^2203 - 1 (irreducible characteristic polynomial of degree 2203) for the given rows
// and a spread sample of the searched ones; and a twist word known to fall short is refused.
TEST(Mt2203, PeriodProofOnSample) {
  std::vector<int> rows = {0, 1, 2, 6022, 6023};
  const int members = hpk::vsk::kMt2203Members;
  for (int i : {3, members / 2, members - 1})
    if (i < members && i > 2) rows.push_back(i);
  for (int i : rows) EXPECT_TRUE(mt2203::full_period(_vsk_mt2203_table[i][0])) << "row " << i;
  EXPECT_FALSE(mt2203::full_period(0xaf81055eu));
}

TEST(Mt2203, MembersDifferAndKeepTheirParameters) {
  Stream a(HPK_VSK_BRNG_MT2203, {77}), b(HPK_VSK_BRNG_MT2203 + 1, {77});
  // Same seeding, so the same block; the member shows from the first refill on.
  for (int i = 0; i < 70; ++i) ASSERT_EQ(a.word<uint32_t>(i), b.word<uint32_t>(i));
  EXPECT_EQ(a.word<uint32_t>(70), 0xaf81055fu);
  EXPECT_EQ(b.word<uint32_t>(70), 0x832604e1u);
  EXPECT_EQ(b.word<uint32_t>(71), 0x66ad7f80u);
  EXPECT_EQ(b.word<uint32_t>(72), 0xebd58000u);
  std::vector<uint32_t> ra(8), rb(8);
  __vskiBRngMT2203(a, 8, ra.data());
  __vskiBRngMT2203(b, 8, rb.data());
  EXPECT_NE(ra, rb);
  // Copying the moving state carries the words and index, not the member.
  ASSERT_EQ(__vskCopyStreamState(b, a), 0);
  EXPECT_EQ(b.word<uint32_t>(70), 0x832604e1u);
  EXPECT_EQ(b.word<int32_t>(69), 8);
  Model m = Model::mt2203(0x832604e1u, 0x66ad7f80u, 0xebd58000u);
  m.mt.assign(69, 0);
  for (int i = 0; i < 69; ++i) m.mt[i] = a.word<uint32_t>(i);
  m.index = 8;
  std::vector<uint32_t> r(200);
  __vskiBRngMT2203(b, 200, r.data());
  EXPECT_EQ(r, m.words(200));
}

TEST(Mt, RegistryRows) {
  struct Case { int32_t brng; int32_t status; int32_t bytes, words, word_bytes, bits; };
  const int32_t last = HPK_VSK_BRNG_MT2203 + hpk::vsk::kMt2203Members - 1;
  const Case cases[] = {
      {HPK_VSK_BRNG_MT19937, 0, 2520, 625, 4, 32},
      {HPK_VSK_BRNG_MT19937 + 1, -1000, 0, 0, 0, 0},
      {HPK_VSK_BRNG_MT2203, 0, 312, 70, 4, 32},
      {last, 0, 312, 70, 4, 32},
      {last + 1, -1000, 0, 0, 0, 0},
      {HPK_VSK_BRNG_MT2203 + 6024, -1000, 0, 0, 0, 0},
      {HPK_VSK_BRNG_MCG31M1, 0, 24, 1, 4, 31},
      {HPK_VSK_LEGACY_MCG31M1, 0, 24, 1, 4, 31},
      {HPK_VSK_BRNG_MCG59, 0, 32, 1, 8, 59},
      {HPK_VSK_LEGACY_MCG59, 0, 32, 1, 8, 59},
  };
  for (const auto &c : cases) {
    BrngEntry e{};
    EXPECT_EQ(__vskGetBrngProperties(c.brng, &e), c.status) << std::hex << c.brng;
    if (c.status) {
      StreamState *s = nullptr;
      EXPECT_EQ(__vskNewStreamEx(&s, c.brng, 0, nullptr), c.status);
      continue;
    }
    EXPECT_EQ(e.state_bytes, c.bytes);
    EXPECT_EQ(e.state_words, c.words);
    EXPECT_EQ(e.word_bytes, c.word_bytes);
    EXPECT_EQ(e.word_bits, c.bits);
    EXPECT_NE(e.i_output, nullptr);
  }
}

}  // namespace
