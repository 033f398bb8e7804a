// MCG31M1: x <- a x mod 2^31 - 1, raw word x (31 bits, never 0).
//
// From eight elements on, the sequence runs in groups of eight: the first eight are formed one
// by one, then every group is the previous one times a^8, two lanes per 32x32->64 bit multiply,
// reduced by the fold of mcg31m1.hpp with no division. The values do not depend on this
// grouping: each element is the exact residue, whatever path formed it.
//
// Conversions (two rounded operations, no contraction): d = double(x) * s + a with
// s = (b - a) * dbInv2P31M1; the single output does the same in double and rounds once.
#include <emmintrin.h>

#include <cstring>

#include "hpk/vsk_brng_mcg.h"
#include "vsk/brng/mcg31m1/mcg31m1.hpp"
#include "vsk/service/registry.hpp"

namespace hpk::vsk {
namespace {

constexpr uint64_t dbInv2P31M1_bits = 0x3e00000000200000ull;  // nearest double to 1/(2^31 - 1)

inline double dbInv2P31M1() {
  double d;
  std::memcpy(&d, &dbInv2P31M1_bits, sizeof d);
  return d;
}

Mcg31State *mcg31(StreamState *s) { return reinterpret_cast<Mcg31State *>(state_of(s)); }

// Four residues times m (m < 2^31) modulo 2^31 - 1. Even lanes multiply in place; odd lanes are
// brought down first. Reduction: t = lo31 + hi, below 2^32; t - p is negative (sign bit of the
// 32-bit lane) exactly when t < p, and then p is added back.
inline __m128i mulmod31x4(__m128i x, __m128i m) {
  const __m128i low31 = _mm_set_epi32(0, 0x7fffffff, 0, 0x7fffffff);
  const __m128i p = _mm_set_epi32(0, 0x7fffffff, 0, 0x7fffffff);
  auto fold = [&](__m128i v) {
    __m128i t = _mm_add_epi64(_mm_and_si128(v, low31), _mm_srli_epi64(v, 31));
    __m128i u = _mm_sub_epi32(t, p);
    return _mm_add_epi32(u, _mm_and_si128(_mm_srai_epi32(u, 31), p));
  };
  __m128i even = fold(_mm_mul_epu32(x, m));
  __m128i odd = fold(_mm_mul_epu32(_mm_srli_epi64(x, 32), m));
  return _mm_or_si128(even, _mm_slli_epi64(odd, 32));
}

struct IntSink {
  uint32_t *r;
  void one(int32_t i, uint32_t x) const { r[i] = x; }
  void eight(int32_t i, __m128i lo, __m128i hi) const {
    _mm_storeu_si128(reinterpret_cast<__m128i *>(r + i), lo);
    _mm_storeu_si128(reinterpret_cast<__m128i *>(r + i + 4), hi);
  }
};

// Element in double: x (exact) times s, plus a.
struct DoubleSink {
  double *r;
  double s, a;
  void one(int32_t i, uint32_t x) const { r[i] = double(int32_t(x)) * s + a; }
  void four(double *p, __m128i v) const {
    const __m128d vs = _mm_set1_pd(s), va = _mm_set1_pd(a);
    __m128d d0 = _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(v), vs), va);
    __m128d d1 = _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(_mm_shuffle_epi32(v, 0xee)), vs), va);
    _mm_storeu_pd(p, d0);
    _mm_storeu_pd(p + 2, d1);
  }
  void eight(int32_t i, __m128i lo, __m128i hi) const {
    four(r + i, lo);
    four(r + i + 4, hi);
  }
};

// Computed as the double element, rounded to single once.
struct FloatSink {
  float *r;
  double s, a;
  void one(int32_t i, uint32_t x) const { r[i] = float(double(int32_t(x)) * s + a); }
  __m128 four(__m128i v) const {
    const __m128d vs = _mm_set1_pd(s), va = _mm_set1_pd(a);
    __m128d d0 = _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(v), vs), va);
    __m128d d1 = _mm_add_pd(_mm_mul_pd(_mm_cvtepi32_pd(_mm_shuffle_epi32(v, 0xee)), vs), va);
    return _mm_movelh_ps(_mm_cvtpd_ps(d0), _mm_cvtpd_ps(d1));
  }
  void eight(int32_t i, __m128i lo, __m128i hi) const {
    _mm_storeu_ps(r + i, four(lo));
    _mm_storeu_ps(r + i + 4, four(hi));
  }
};

template <class Sink>
int32_t generate(StreamState *stream, int32_t n, const Sink &out) {
  Mcg31State *st = mcg31(stream);
  const uint32_t a = st->a;
  uint32_t x = st->x;
  // The first element goes out before n is looked at.
  out.one(0, x);
  x = mulmod31(a, x);
  int32_t i = 1;
  if (n >= 8) {
    alignas(16) uint32_t e[8];
    e[0] = st->x;
    for (int j = 1; j < 8; ++j) {
      e[j] = x;
      out.one(j, x);
      x = mulmod31(a, x);
    }
    uint32_t a8 = mulmod31(a, a);
    a8 = mulmod31(a8, a8);
    a8 = mulmod31(a8, a8);
    const __m128i m = _mm_set_epi32(0, int32_t(a8), 0, int32_t(a8));
    __m128i lo = _mm_load_si128(reinterpret_cast<const __m128i *>(e));
    __m128i hi = _mm_load_si128(reinterpret_cast<const __m128i *>(e + 4));
    for (i = 8; i + 8 <= n; i += 8) {
      lo = mulmod31x4(lo, m);
      hi = mulmod31x4(hi, m);
      out.eight(i, lo, hi);
    }
    x = mulmod31(a, uint32_t(_mm_cvtsi128_si32(_mm_shuffle_epi32(hi, 0xff))));
  }
  for (; i < n; ++i) {
    out.one(i, x);
    x = mulmod31(a, x);
  }
  st->x = x;
  return HPK_VSK_STATUS_OK;
}

}  // namespace
}  // namespace hpk::vsk

using namespace hpk::vsk;

extern "C" {

int32_t __vskBRngMCG31M1InitStream(int32_t method, StreamState *stream, int32_t n,
                                   const uint32_t *params) {
  Mcg31State *st = mcg31(stream);
  switch (method) {
    case HPK_VSK_INIT_METHOD_STANDARD: {
      uint32_t x = n >= 1 ? params[0] % kMod31 : 1u;
      st->x = x == 0 ? 1u : x;
      st->a = kMcg31A;
      return HPK_VSK_STATUS_OK;
    }
    case HPK_VSK_INIT_METHOD_LEAPFROG:
      st->x = mulmod31(st->x, __vskiPowMod2P31M1(st->a, params[0]));
      st->a = __vskiPowMod2P31M1(st->a, uint32_t(n));
      return HPK_VSK_STATUS_OK;
    case HPK_VSK_INIT_METHOD_SKIPAHEAD: {
      uint64_t s;
      std::memcpy(&s, params, sizeof s);
      st->x = mulmod31(st->x, __vskiPowMod2P31M1(st->a, s));
      return HPK_VSK_STATUS_OK;
    }
    default:
      return HPK_VSK_ERROR_METHOD;
  }
}

int32_t __vskiBRngMCG31M1(StreamState *stream, int32_t n, uint32_t *r) {
  return generate(stream, n, IntSink{r});
}

int32_t __vskdBRngMCG31M1(StreamState *stream, int32_t n, double *r, double a, double b) {
  return generate(stream, n, DoubleSink{r, (b - a) * dbInv2P31M1(), a});
}

int32_t __vsksBRngMCG31M1(StreamState *stream, int32_t n, float *r, float a, float b) {
  const double da = a, db = b;
  return generate(stream, n, FloatSink{r, (db - da) * dbInv2P31M1(), da});
}

}  // extern "C"
