// Sobol generator: against GSL's Sobol sequence, against a plain model of the sequence (each
// element straight from the Gray code of its point index, no stepping), seeding and its
// fall-backs, the user modes, chunks and copies, leapfrog, skip-ahead, the counter limit and
// allocation failures.
#include <gsl/gsl_qrng.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <vector>

#include "hpk/serv.h"
#include "hpk/vsk_sobol.h"
#include "vsk/brng/sobol/sobol.hpp"

namespace {

using Row = std::array<uint32_t, 32>;
using Dirs = std::vector<Row>;  // direction numbers of each dimension, aligned to bit 31
namespace sb = hpk::vsk::sobol;

// Bratley and Fox's recurrence in its textbook form, for x^e + a1 x^(e-1) + ... + a(e-1) x + c:
//   m(j) = 2 a1 m(j-1) ^ 4 a2 m(j-2) ^ ... ^ 2^(e-1) a(e-1) m(j-e+1) ^ 2^e c m(j-e) ^ m(j-e).
Row model_row(uint32_t poly, int e, const uint32_t *init) {
  uint32_t m[32] = {};
  for (int j = 0; j < 32; ++j) {
    if (j < e) {
      m[j] = init[j];
      continue;
    }
    uint32_t w = m[j - e];
    for (int k = 1; k <= e; ++k)
      if ((poly >> (e - k)) & 1u) w ^= uint32_t(uint64_t(m[j - k]) << k);
    m[j] = w;
  }
  Row r;
  for (int j = 0; j < 32; ++j) r[j] = uint32_t(uint64_t(m[j]) << (31 - j));
  return r;
}

Row ones_row() {
  const uint32_t one = 1;
  return model_row(0x2, 1, &one);  // x alone: m(j) = m(j - 1)
}

Dirs default_dirs(int dim) {
  Dirs v{ones_row()};
  for (int d = 1; d < dim; ++d)
    v.push_back(model_row(uSobolIrredPoly[d - 1], iSobolIrredPolyDeg[d - 1], uSobolMInit[d - 1]));
  return v;
}

int top_bit(uint32_t q) { return q ? 31 - __builtin_clz(q) : 0; }

// Component d of point c: the XOR of the direction numbers at the set bits of c's Gray code.
uint32_t model_point(const Dirs &v, uint64_t c, int d) {
  const uint64_t g = c ^ (c >> 1);
  uint32_t x = 0;
  for (int b = 0; b < 32; ++b)
    if ((g >> b) & 1u) x ^= v[d][b];
  return x;
}

// Elements [from, from + n) of the whole-point stream.
std::vector<uint32_t> model_elements(const Dirs &v, uint64_t from, int n) {
  std::vector<uint32_t> out;
  const uint64_t D = v.size();
  for (uint64_t i = from; i < from + uint64_t(n); ++i) out.push_back(model_point(v, 1 + i / D, int(i % D)));
  return out;
}

struct Stream {
  StreamState *s = nullptr;
  int32_t status;
  explicit Stream(std::vector<uint32_t> p, int32_t brng = HPK_VSK_BRNG_SOBOL)
      : status(__vskNewStreamEx(&s, brng, int32_t(p.size()), p.data())) {}
  explicit Stream(StreamState *copy) : s(copy), status(0) {}
  ~Stream() { __vskDeleteStream(&s); }
  sb::Record &rec() { return *sb::record_of(s); }
  std::vector<uint32_t> raw(int n) {
    std::vector<uint32_t> r(size_t(n) + 1, 0xdeadbeef);
    EXPECT_EQ(__vskiBRngSobol(s, n, r.data()), 0);
    EXPECT_EQ(r[size_t(n)], 0xdeadbeefu) << "written past n";
    r.pop_back();
    return r;
  }
};

class Sobol : public ::testing::Test {
 protected:
  void SetUp() override {
    live_ = hpk_serv_outstanding_allocations();
    rows_ = _GlobRODataTableCount;
  }
  void TearDown() override {
    EXPECT_EQ(hpk_serv_outstanding_allocations(), live_);
    EXPECT_EQ(_GlobRODataTableCount, rows_);
  }
  long live_ = 0;
  int32_t rows_ = 0;
};

// ---- independent oracle ---------------------------------------------------------------------

TEST_F(Sobol, TopThirtyBitsAgreeWithGsl) {
  for (int dim : {1, 2, 13, 40}) {
    Stream st({uint32_t(dim)});
    ASSERT_EQ(st.status, 0);
    gsl_qrng *q = gsl_qrng_alloc(gsl_qrng_sobol, unsigned(dim));
    std::vector<double> x(static_cast<size_t>(dim));
    const int points = 4096;
    const std::vector<uint32_t> ours = st.raw(points * dim);
    for (int c = 0; c < points; ++c) {
      ASSERT_EQ(gsl_qrng_get(q, x.data()), 0);
      for (int d = 0; d < dim; ++d)
        ASSERT_EQ(ours[size_t(c) * dim + d] >> 2, uint32_t(x[d] * 0x1p30))
            << "dimension " << dim << " point " << c + 1 << " component " << d;
    }
    gsl_qrng_free(q);
  }
}

TEST(SobolTables, BuiltinRowsAreConsistent) {
  for (int d = 0; d < 39; ++d) {
    EXPECT_EQ(top_bit(uSobolIrredPoly[d]), iSobolIrredPolyDeg[d]) << d;
    EXPECT_EQ(uSobolIrredPoly[d] & 1u, 1u) << d;
    for (int k = 0; k < 8; ++k) {
      const uint32_t m = uSobolMInit[d][k];
      if (k < iSobolIrredPolyDeg[d]) EXPECT_TRUE((m & 1u) && m < (2u << k)) << d << ' ' << k;
      else EXPECT_EQ(m, 0u) << d << ' ' << k;
    }
  }
}

TEST(SobolTables, RightmostZeroBitByBytes) {
  std::vector<uint32_t> v = {0, 0xffffffffu, 0x7fffffffu, 0xfffffffeu, 0x00ffffffu, 0xff00ffffu};
  for (int b = 0; b < 32; ++b) v.push_back((1u << b) - 1), v.push_back(~(1u << b));
  for (uint32_t x = 0; x < 70000; x += 7) v.push_back(x * 0x9e3779b9u | (x & 0xff));
  for (uint32_t x : v) EXPECT_EQ(sb::RightmostZeroBit(x), x == ~0u ? 32 : __builtin_ctz(~x)) << x;
}

// ---- the element order, across calls and outputs ---------------------------------------------

// Call lengths chosen to start and end inside points, to cross the four-point blocks of the
// one-dimensional path, and to pass through whole points.
const std::vector<int> kCalls = {5, 1, 7, 3, 100, 2, 4, 9, 64, 1, 333};

TEST_F(Sobol, ChunkedCallsFollowTheModel) {
  struct Case { std::vector<uint32_t> seed; int dim; };
  std::vector<Case> cases;
  for (int dim : {1, 2, 3, 4, 5, 7, 8, 17, 40}) cases.push_back({{uint32_t(dim)}, dim});
  // Mode 4 puts 50 dimensions in chunks; the first 40 are the defaults, the rest repeat them.
  const Dirs d40 = default_dirs(40);
  Dirs d50 = d40;
  for (int d = 40; d < 50; ++d) d50.push_back(d40[size_t(d - 40 + 3)]);
  std::vector<uint32_t> p = {50, 1, 4};
  for (const Row &r : d50) p.insert(p.end(), r.begin(), r.end());
  cases.push_back({p, 50});

  for (const Case &c : cases) {
    Stream st(c.seed);
    ASSERT_EQ(st.status, 0);
    const Dirs v = c.dim == 50 ? d50 : default_dirs(c.dim);
    uint64_t at = 0;
    int which = 0;
    for (int n : kCalls) {
      const std::vector<uint32_t> want = model_elements(v, at, n);
      // Rotate through the three outputs; d and s are checked against the raw model words.
      const double a = -3.5, b = 1e3;
      const float fa = 0.1f, fb = 1000.3f;  // b - a inexact in single
      if (which % 3 == 0) {
        EXPECT_EQ(st.raw(n), want) << "dim " << c.dim << " at " << at;
      } else if (which % 3 == 1) {
        std::vector<double> r(static_cast<size_t>(n));
        ASSERT_EQ(__vskdBRngSobol(st.s, n, r.data(), a, b), 0);
        const double s = (b - a) * 0x1p-32;
        for (int i = 0; i < n; ++i)
          ASSERT_EQ(r[size_t(i)], double(want[size_t(i)]) * s + a) << c.dim << ' ' << at + i;
      } else {
        std::vector<float> r(static_cast<size_t>(n));
        ASSERT_EQ(__vsksBRngSobol(st.s, n, r.data(), fa, fb), 0);
        const double s = double(fb - fa) * 0x1p-32;
        for (int i = 0; i < n; ++i)
          ASSERT_EQ(r[size_t(i)], float(double(want[size_t(i)]) * s + double(fa)))
              << c.dim << ' ' << at + i;
      }
      at += uint64_t(n);
      ++which;
      const uint64_t D = uint64_t(c.dim);
      EXPECT_EQ(st.rec().counter, 1 + at / D);
      EXPECT_EQ(st.rec().remaining, at % D ? int32_t(D - at % D) : 0);
    }
  }
}

TEST_F(Sobol, KnownAnswers) {
  Stream one({1});
  EXPECT_EQ(one.raw(4), (std::vector<uint32_t>{0x80000000u, 0xc0000000u, 0x40000000u, 0x60000000u}));
  // Five elements of a three-dimensional stream: point 1 and two components of point 2.
  Stream three({3});
  three.raw(5);
  EXPECT_EQ(three.rec().remaining, 1);
  EXPECT_EQ(three.rec().counter, 2u);
  EXPECT_EQ(three.raw(1)[0], model_point(default_dirs(3), 2, 2));
}

// ---- seeding ----------------------------------------------------------------------------------

TEST_F(Sobol, SeedingChoosesDimensionAndForm) {
  const uint32_t neg = uint32_t(-3);
  struct Case { std::vector<uint32_t> p; int dim; int chunks; };
  const Case cases[] = {
      {{}, 1, 0},
      {{41}, 1, 0},
      {{40}, 40, 0},
      {{0}, 1, 0},
      {{neg, 1, 1, 7, 11}, 1, 0},
      {{3, 1, 1, 7}, 3, 0},          // one word short of mode 1
      {{3, 7}, 3, 0},                // too short for any mode
      {{3, 2, 1, 7, 11}, 3, 0},      // p[1] is not 1
      {{3, 1, 5, 7, 11}, 3, 0},      // no mode 5
      {{3, 1, 12, 7, 11}, 3, 0},     // 12 is not 11 nor 4
      {{50, 1, 1, 7, 11}, 1, 0},     // mode 1 stops at 40 dimensions
      {{45, 1, 4}, 1, 0},            // mode 4 without its numbers
      {{3, 1, 3, 7, 11, 3}, 3, 0},   // mode 3 with L = 3: seven words short
      {{3, 1, 2, 1, 1, 1}, 3, 0},    // mode 2 with L = 1 cannot hold the degree 2 of dimension 3
  };
  for (const Case &c : cases) {
    Stream st(c.p);
    ASSERT_EQ(st.status, 0);
    EXPECT_EQ(st.rec().dimension, c.dim) << c.p.size();
    EXPECT_EQ(__vskGetNumChunks(st.s), c.chunks);
    EXPECT_EQ(st.raw(3 * c.dim), model_elements(default_dirs(c.dim), 0, 3 * c.dim));
  }
}

TEST_F(Sobol, LegacyIdIsTheSameGenerator) {
  BrngEntry e, legacy;
  ASSERT_EQ(__vskGetBrngProperties(HPK_VSK_BRNG_SOBOL, &e), 0);
  ASSERT_EQ(__vskGetBrngProperties(HPK_VSK_LEGACY_SOBOL, &legacy), 0);
  EXPECT_EQ(e.state_bytes, 11648);
  EXPECT_EQ(e.state_words, 2604);
  EXPECT_EQ(e.i_output, &__vskiBRngSobol);
  EXPECT_EQ(legacy.init_stream, e.init_stream);
  Stream a({7}), b({7}, HPK_VSK_LEGACY_SOBOL);
  ASSERT_EQ(b.status, 0);
  EXPECT_EQ(__vskGetStreamStateBrng(b.s), HPK_VSK_LEGACY_SOBOL);
  EXPECT_EQ(a.raw(50), b.raw(50));
  EXPECT_EQ(__vskBRngSobolInitStream(3, a.s, 0, nullptr), HPK_VSK_ERROR_METHOD);
}

// User sets that spell out the built-in tables give the built-in sequence, in both forms.
TEST_F(Sobol, UserModesReproduceTheDefaults) {
  for (int dim : {2, 5, 40}) {
    const uint32_t D = uint32_t(dim), L = 8;
    std::vector<uint32_t> polys(uSobolIrredPoly, uSobolIrredPoly + dim - 1);
    std::vector<uint32_t> inits;
    for (int d = 0; d + 1 < dim; ++d) inits.insert(inits.end(), uSobolMInit[d], uSobolMInit[d] + L);
    std::vector<std::vector<uint32_t>> sets;
    // mode 1: polynomials only
    sets.push_back({D, 1, 1});
    sets.back().insert(sets.back().end(), polys.begin(), polys.end());
    // mode 2: initial numbers only
    sets.push_back({D, 1, 2, L});
    sets.back().insert(sets.back().end(), inits.begin(), inits.end());
    // mode 3: both, in chunks
    sets.push_back({D, 1, 3});
    sets.back().insert(sets.back().end(), polys.begin(), polys.end());
    sets.back().push_back(L);
    sets.back().insert(sets.back().end(), inits.begin(), inits.end());
    // mode 11: dimension 1 too, as the polynomial x with m(1) = 1
    sets.push_back({D, 1, 11, 0x2});
    sets.back().insert(sets.back().end(), polys.begin(), polys.end());
    sets.back().push_back(L);
    sets.back().insert(sets.back().end(), {1, 0, 0, 0, 0, 0, 0, 0});
    sets.back().insert(sets.back().end(), inits.begin(), inits.end());
    // mode 4: finished numbers
    sets.push_back({D, 1, 4});
    for (const Row &r : default_dirs(dim)) sets.back().insert(sets.back().end(), r.begin(), r.end());

    const std::vector<uint32_t> want = model_elements(default_dirs(dim), 0, 300 * dim);
    for (const auto &p : sets) {
      Stream st(p);
      ASSERT_EQ(st.status, 0);
      EXPECT_EQ(__vskGetNumChunks(st.s), p[2] >= 3 ? 2 : 0) << "mode " << p[2];
      EXPECT_EQ(st.rec().dimension, dim);
      EXPECT_EQ(st.raw(300 * dim), want) << "mode " << p[2] << " dim " << dim;
    }
  }
}

// Polynomials and numbers of the caller's own: the sequence follows the recurrence with them.
TEST_F(Sobol, UserPolynomialsFollowTheRecurrence) {
  // {3, 1, 1, 7, 11}: dimensions 2 and 3 take x^2+x+1 and x^3+x+1 with initial numbers read
  // from the flat built-in table: rows 0 and 1, whatever their degree.
  Stream m1({3, 1, 1, 7, 11});
  const uint32_t *flat = &uSobolMInit[0][0];
  Dirs v1 = {ones_row(), model_row(7, 2, flat), model_row(11, 3, flat + 8)};
  EXPECT_EQ(m1.raw(600), model_elements(v1, 0, 600));

  // Mode 3 with 45 dimensions and polynomials of up to degree 9 (beyond the built-in range).
  const int D = 45;
  const uint32_t L = 9;
  std::vector<uint32_t> p = {D, 1, 3};
  Dirs v3 = {ones_row()};
  std::vector<uint32_t> inits;
  for (int d = 1; d < D; ++d) {
    const uint32_t poly = d < 40 ? uSobolIrredPoly[d - 1] : 0x211u + 2u * uint32_t(d);  // degree 9
    p.push_back(poly);
    uint32_t m[9];
    for (uint32_t k = 0; k < L; ++k) m[k] = (2 * (d + 3 * k) + 1) & ((2u << k) - 1);
    inits.insert(inits.end(), m, m + L);
    v3.push_back(model_row(poly, top_bit(poly), m));
  }
  p.push_back(L);
  p.insert(p.end(), inits.begin(), inits.end());
  Stream m3(p);
  ASSERT_EQ(m3.status, 0);
  EXPECT_EQ(m3.rec().dimension, D);
  EXPECT_EQ(m3.raw(D * 200 + 3), model_elements(v3, 0, D * 200 + 3));
  EXPECT_EQ(m3.raw(D * 50), model_elements(v3, D * 200 + 3, D * 50));
}

// ---- chunks, copies and allocation failures ---------------------------------------------------

TEST_F(Sobol, CopiesShareDirectionsAndMoveOnTheirOwn) {
  std::vector<uint32_t> p = {43, 1, 4};
  Dirs v;
  for (int d = 0; d < 43; ++d) {
    Row r;
    for (int j = 0; j < 32; ++j) r[j] = (0x9e3779b9u * uint32_t(d * 32 + j + 1)) | 1u;
    v.push_back(r);
    p.insert(p.end(), r.begin(), r.end());
  }
  const std::vector<uint32_t> want = model_elements(v, 0, 43 * 60);
  auto slice = [&](int from, int n) {
    return std::vector<uint32_t>(want.begin() + from, want.begin() + from + n);
  };

  Stream first(p);
  ASSERT_EQ(first.status, 0);
  EXPECT_EQ(first.raw(100), slice(0, 100));
  StreamState *c = nullptr;
  ASSERT_EQ(__vskCopyStream(&c, first.s), 0);
  Stream copy(c);
  void *dirs = __vskSearchChunk(first.s, HPK_VSK_CHUNK_SOBOL_DIRECTIONS);
  EXPECT_EQ(__vskSearchChunk(copy.s, HPK_VSK_CHUNK_SOBOL_DIRECTIONS), dirs);
  EXPECT_NE(__vskSearchChunk(copy.s, HPK_VSK_CHUNK_SOBOL_POINT),
            __vskSearchChunk(first.s, HPK_VSK_CHUNK_SOBOL_POINT));
  EXPECT_EQ(_GlobRODataTableCount, rows_ + 1);
  EXPECT_EQ(uintptr_t(dirs) % 64, 0u);

  EXPECT_EQ(first.raw(500), slice(100, 500));
  EXPECT_EQ(copy.raw(43), slice(100, 43));  // the copy starts where the source stood
  __vskDeleteStream(&first.s);              // the shared block outlives the first stream
  EXPECT_EQ(_GlobRODataTableCount, rows_ + 1);
  EXPECT_EQ(copy.raw(1000), slice(143, 1000));
  // Skip-ahead and selection read the chunks too.
  ASSERT_EQ(__vskSkipAheadStream(copy.s, 43 * 11 + 5), 0);
  EXPECT_EQ(copy.raw(50), slice(1143 + 43 * 11 + 5, 50));
  ASSERT_EQ(__vskLeapfrogStream(copy.s, 42, 0x7fffffff), 0);
  const uint64_t pt = 1 + (1143 + 43 * 11 + 5 + 50) / 43;  // 42 not spent in the partial point
  EXPECT_EQ(copy.raw(2), (std::vector<uint32_t>{model_point(v, pt, 42), model_point(v, pt + 1, 42)}));
}

TEST_F(Sobol, FailingAllocationsLeakNothing) {
  std::vector<uint32_t> p = {3, 1, 3, 7, 11, 3, 1, 3, 0, 1, 3, 5};  // mode 3, L = 3
  {
    Stream ok(p);
    ASSERT_EQ(ok.status, 0);
    ASSERT_EQ(__vskGetNumChunks(ok.s), 2);
  }
  // Allocations in order: record, direction block, its chunk, point block, its chunk.
  for (long k = 1; k <= 6; ++k) {
    hpk_serv_set_alloc_failure(k);
    Stream st(p);
    hpk_serv_set_alloc_failure(0);
    if (k <= 5) {
      EXPECT_EQ(st.status, HPK_VSK_ERROR_MEM) << k;
    } else {
      EXPECT_EQ(st.status, 0);
    }
    if (st.s == nullptr) continue;
    EXPECT_EQ(__vskGetNumChunks(st.s), k <= 3 ? 0 : k <= 5 ? 1 : 2) << k;
    if (k < 6) {
      // A failed seeding leaves a one-dimensional default stream.
      EXPECT_EQ(st.raw(8), model_elements(default_dirs(1), 0, 8)) << k;
    }
    // Copies of a stream with chunks: every failure leaves the copy without chunks.
    for (long j = 1; j <= 4; ++j) {
      StreamState *c = nullptr;
      hpk_serv_set_alloc_failure(j);
      const int32_t status = __vskCopyStream(&c, st.s);
      hpk_serv_set_alloc_failure(0);
      if (status != 0) EXPECT_TRUE(c == nullptr || __vskGetNumChunks(c) == 0) << k << ' ' << j;
      __vskDeleteStream(&c);
    }
  }
}

// ---- leapfrog and skip-ahead -------------------------------------------------------------------

TEST_F(Sobol, LeapfrogSelectsOneDimension) {
  const Dirs v = default_dirs(5);
  Stream st({5});
  uint32_t k = 5;
  EXPECT_EQ(__vskLeapfrogStream(st.s, 2, 2), HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED);
  EXPECT_EQ(__vskLeapfrogStream(st.s, 5, 0x7fffffff), HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED);
  EXPECT_EQ(__vskLeapfrogStream(st.s, -1, 0x7fffffff), HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED);
  EXPECT_EQ(__vskBRngSobolInitStream(1, st.s, 0x7fffffff, &k), HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED);
  EXPECT_EQ(st.rec().selected, HPK_VSK_SOBOL_ALL_DIMENSIONS);

  // Seven elements: point 1 and components 0, 1 of point 2. Component 1 is spent, so
  // dimension 1 goes on from point 3; dimension 3 would have gone on from point 2.
  st.raw(7);
  ASSERT_EQ(__vskLeapfrogStream(st.s, 1, 0x7fffffff), 0);
  std::vector<uint8_t> before(sizeof(sb::Record));
  std::memcpy(before.data(), &st.rec(), before.size());
  ASSERT_EQ(__vskLeapfrogStream(st.s, 1, 0x7fffffff), 0);  // the same again changes nothing
  EXPECT_EQ(std::memcmp(before.data(), &st.rec(), before.size()), 0);
  std::vector<uint32_t> want;
  for (uint64_t c = 3; c < 3 + 70; ++c) want.push_back(model_point(v, c, 1));
  EXPECT_EQ(st.raw(70), want);  // counter 73 next

  // Another dimension: the counter moves one on and the point is built from its Gray code.
  ASSERT_EQ(__vskLeapfrogStream(st.s, 4, 0x7fffffff), 0);
  want.clear();
  for (uint64_t c = 74; c < 74 + 13; ++c) want.push_back(model_point(v, c, 4));
  EXPECT_EQ(st.raw(13), want);

  Stream fresh({5});
  fresh.raw(2);  // components 0 and 1 of point 1: dimension 3 is not spent yet
  ASSERT_EQ(__vskLeapfrogStream(fresh.s, 3, 0x7fffffff), 0);
  EXPECT_EQ(fresh.raw(2), (std::vector<uint32_t>{model_point(v, 1, 3), model_point(v, 2, 3)}));
}

TEST_F(Sobol, SkipAheadEqualsThePlainStream) {
  struct Case { int dim; int before; uint64_t skip; };
  const Case cases[] = {
      {3, 0, 3}, {3, 0, 7}, {3, 1, 1}, {3, 2, 1}, {3, 2, 4}, {3, 1, 0}, {1, 0, 1},
      {1, 3, 1000}, {5, 3, 12345}, {40, 17, 40 * 999 + 5}, {7, 0, 7ull * 65535}, {2, 1, 1ull << 31},
  };
  for (const Case &c : cases) {
    const Dirs v = default_dirs(c.dim);
    Stream st({uint32_t(c.dim)});
    if (c.before > 0) st.raw(c.before);
    ASSERT_EQ(__vskSkipAheadStream(st.s, c.skip), 0);
    EXPECT_EQ(st.raw(3 * c.dim + 1), model_elements(v, c.before + c.skip, 3 * c.dim + 1))
        << c.dim << ' ' << c.before << ' ' << c.skip;
  }
  // A selected dimension still skips whole points.
  Stream sel({4});
  ASSERT_EQ(__vskLeapfrogStream(sel.s, 2, 0x7fffffff), 0);
  ASSERT_EQ(__vskSkipAheadStream(sel.s, 4 * 100 + 3), 0);
  EXPECT_EQ(sel.raw(1)[0], model_point(default_dirs(4), 101, 2));
}

TEST_F(Sobol, CounterLimit) {
  Stream st({1});
  uint32_t two = 2;
  EXPECT_EQ(__vskBRngSobolInitStream(2, st.s, 0, &two), HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED);
  EXPECT_EQ(__vskSkipAheadStream(st.s, 0xfffffffeull), HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED);
  ASSERT_EQ(__vskSkipAheadStream(st.s, 0xffffffefull), 0);
  ASSERT_EQ(st.rec().counter, 0xfffffff0u);
  std::vector<uint8_t> before(sizeof(sb::Record));
  std::memcpy(before.data(), &st.rec(), before.size());
  std::vector<double> r(100, 9.0);
  EXPECT_EQ(__vskdBRngSobol(st.s, 100, r.data(), 0.0, 1.0), HPK_VSK_ERROR_QRNG_PERIOD_ELAPSED);
  EXPECT_EQ(r[0], 9.0);
  EXPECT_EQ(std::memcmp(before.data(), &st.rec(), before.size()), 0);
  std::vector<uint32_t> want;
  for (uint64_t c = 0xfffffff0u; c < 0xffffffffu; ++c) want.push_back(model_point(default_dirs(1), c, 0));
  EXPECT_EQ(st.raw(15), want);
  uint32_t out;
  EXPECT_EQ(__vskiBRngSobol(st.s, 1, &out), HPK_VSK_ERROR_QRNG_PERIOD_ELAPSED);

  // n elements count against the point counter even in many dimensions.
  Stream wide({40});
  ASSERT_EQ(__vskSkipAheadStream(wide.s, 40ull * 0xfffffff0u), 0);
  std::vector<uint32_t> many(20);
  EXPECT_EQ(__vskiBRngSobol(wide.s, 20, many.data()), HPK_VSK_ERROR_QRNG_PERIOD_ELAPSED);
  EXPECT_EQ(__vskiBRngSobol(wide.s, 14, many.data()), 0);
}

}  // namespace
