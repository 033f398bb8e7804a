// Sobol outputs: raw words, doubles and singles, in the element order of the stream (the
// components of point 1, then of point 2, ...), or of one selected dimension.
//
// One kernel serves the three outputs and both forms; an output differs only in how a raw word
// becomes a value (the Sink), a form only in where the tables stand (Tables).
//   i: the word itself.
//   d: raw * s + a with s = (b - a) * 2^-32, two rounded double operations; the unsigned word
//      is exact in double.
//   s: s = (double)(b - a in single) * 2^-32, raw * s + (double)a in double, then rounded once
//      to single.
// Unsigned words go to double exactly by converting word ^ 2^31 as signed and adding 2^31.
#include <emmintrin.h>

#include "vsk/brng/sobol/sobol.hpp"

namespace hpk::vsk::sobol {
namespace {

constexpr double kTwoM32 = 0x1p-32;

inline void to_double4(__m128i x, __m128d &lo, __m128d &hi) {
  const __m128i flipped = _mm_xor_si128(x, _mm_set1_epi32(int(0x80000000u)));
  const __m128d bias = _mm_set1_pd(0x1p31);
  lo = _mm_add_pd(_mm_cvtepi32_pd(flipped), bias);
  hi = _mm_add_pd(_mm_cvtepi32_pd(_mm_shuffle_epi32(flipped, 0xee)), bias);
}

struct SinkI {
  using T = uint32_t;
  void one(T *r, uint32_t x) const { *r = x; }
  void four(T *r, __m128i x) const { _mm_storeu_si128(reinterpret_cast<__m128i *>(r), x); }
};

struct SinkD {
  using T = double;
  double s, a;
  SinkD(double lo, double hi) : s((hi - lo) * kTwoM32), a(lo) {}
  void one(T *r, uint32_t x) const { *r = double(x) * s + a; }
  void four(T *r, __m128i x) const {
    __m128d lo, hi;
    to_double4(x, lo, hi);
    const __m128d vs = _mm_set1_pd(s), va = _mm_set1_pd(a);
    _mm_storeu_pd(r, _mm_add_pd(_mm_mul_pd(lo, vs), va));
    _mm_storeu_pd(r + 2, _mm_add_pd(_mm_mul_pd(hi, vs), va));
  }
};

struct SinkS {
  using T = float;
  double s, a;
  // The width is taken in single on purpose, then widened.
  SinkS(float lo, float hi) : s(double(float(hi - lo)) * kTwoM32), a(double(lo)) {}
  void one(T *r, uint32_t x) const { *r = float(double(x) * s + a); }
  void four(T *r, __m128i x) const {
    __m128d lo, hi;
    to_double4(x, lo, hi);
    const __m128d vs = _mm_set1_pd(s), va = _mm_set1_pd(a);
    const __m128 flo = _mm_cvtpd_ps(_mm_add_pd(_mm_mul_pd(lo, vs), va));
    const __m128 fhi = _mm_cvtpd_ps(_mm_add_pd(_mm_mul_pd(hi, vs), va));
    _mm_storeu_ps(r, _mm_movelh_ps(flo, fhi));
  }
};

// One dimension: x is its current component at counter c. Single steps bring c to a multiple
// of 4; from there the four points c..c+3 are x, x^v0, x^v0^v1, x^v1, and each next block is
// the last one XOR v1 XOR v(2 + RightmostZeroBit(c / 4)), c being the last block's counter.
template <class Sink>
void one_dimension(uint32_t &x_io, uint32_t &c_io, const uint32_t *v, int32_t n,
                   typename Sink::T *r, const Sink &sink) {
  uint32_t x = x_io, c = c_io;
  int32_t i = 0;
  while (i < n && (c & 3u) != 0) {
    sink.one(r + i++, x);
    x ^= v[RightmostZeroBit(c++)];
  }
  if (n - i >= 4) {
    __m128i block = _mm_xor_si128(_mm_set1_epi32(int(x)),
                                  _mm_setr_epi32(0, int(v[0]), int(v[0] ^ v[1]), int(v[1])));
    do {
      sink.four(r + i, block);
      i += 4;
      block = _mm_xor_si128(block, _mm_set1_epi32(int(v[1] ^ v[2 + RightmostZeroBit(c >> 2)])));
      c += 4;
    } while (n - i >= 4);
    x = uint32_t(_mm_cvtsi128_si32(block));
  }
  while (i < n) {
    sink.one(r + i++, x);
    x ^= v[RightmostZeroBit(c++)];
  }
  x_io = x;
  c_io = c;
}

// Components [from, to) of the point, unchanged.
template <class Sink>
inline void deliver(const uint32_t *p, int32_t from, int32_t to, typename Sink::T *r,
                    const Sink &sink) {
  for (int32_t d = from; d < to; ++d) sink.one(r++, p[d]);
}

inline void step(uint32_t *p, const uint32_t *row, int32_t dim) {
  int32_t d = 0;
  for (; d + 4 <= dim; d += 4) {
    __m128i *pp = reinterpret_cast<__m128i *>(p + d);
    _mm_storeu_si128(pp, _mm_xor_si128(_mm_loadu_si128(pp),
                                       _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + d))));
  }
  for (; d < dim; ++d) p[d] ^= row[d];
}

// A whole point delivered and stepped in one pass over the row dir_t[j].
template <class Sink>
inline void deliver_and_step(uint32_t *p, const uint32_t *row, int32_t dim, typename Sink::T *r,
                             const Sink &sink) {
  int32_t d = 0;
  for (; d + 4 <= dim; d += 4) {
    __m128i *pp = reinterpret_cast<__m128i *>(p + d);
    const __m128i x = _mm_loadu_si128(pp);
    sink.four(r + d, x);
    _mm_storeu_si128(pp, _mm_xor_si128(x, _mm_loadu_si128(reinterpret_cast<const __m128i *>(row + d))));
  }
  for (; d < dim; ++d) {
    sink.one(r + d, p[d]);
    p[d] ^= row[d];
  }
}

template <class Sink>
int32_t generate(StreamState *stream, const Tables &t, int32_t n, typename Sink::T *r,
                 const Sink &sink) {
  Record *rec = record_of(stream);
  if (uint64_t(rec->counter) + uint64_t(int64_t(n)) > 0xffffffffu)
    return HPK_VSK_ERROR_QRNG_PERIOD_ELAPSED;
  if (n <= 0) return HPK_VSK_STATUS_OK;
  const int32_t dim = rec->dimension;

  // A selected dimension, or the only one (whose points are never partly delivered).
  if (rec->selected != kAll || dim == 1) {
    const uint32_t k = rec->selected != kAll ? rec->selected : 0u;
    one_dimension(t.point[k], rec->counter, t.dir + int64_t(k) * t.dir_stride, n, r, sink);
    return HPK_VSK_STATUS_OK;
  }

  uint32_t *p = t.point;
  uint32_t c = rec->counter;
  int32_t left = n;
  if (rec->remaining > 0) {
    const int32_t from = dim - rec->remaining;
    if (left < rec->remaining) {
      deliver(p, from, from + left, r, sink);
      rec->remaining -= left;
      return HPK_VSK_STATUS_OK;
    }
    deliver(p, from, dim, r, sink);
    r += rec->remaining;
    left -= rec->remaining;
    rec->remaining = 0;
    step(p, t.dir_t + int64_t(RightmostZeroBit(c++)) * t.dirt_stride, dim);
  }
  for (; left >= dim; left -= dim, r += dim)
    deliver_and_step(p, t.dir_t + int64_t(RightmostZeroBit(c++)) * t.dirt_stride, dim, r, sink);
  if (left > 0) {
    deliver(p, 0, left, r, sink);
    rec->remaining = dim - left;
  }
  rec->counter = c;
  return HPK_VSK_STATUS_OK;
}

Tables user_tables(StreamState *s) { return tables_of(s); }

}  // namespace
}  // namespace hpk::vsk::sobol

using namespace hpk::vsk::sobol;

extern "C" {

int32_t __vsksBRngSobolDefault(StreamState *stream, int32_t n, float *r, float a, float b) {
  return generate(stream, record_tables(record_of(stream)), n, r, SinkS(a, b));
}
int32_t __vskdBRngSobolDefault(StreamState *stream, int32_t n, double *r, double a, double b) {
  return generate(stream, record_tables(record_of(stream)), n, r, SinkD(a, b));
}
int32_t __vskiBRngSobolDefault(StreamState *stream, int32_t n, uint32_t *r) {
  return generate(stream, record_tables(record_of(stream)), n, r, SinkI{});
}

int32_t __vsksBRngSobolUser(StreamState *stream, int32_t n, float *r, float a, float b) {
  return generate(stream, user_tables(stream), n, r, SinkS(a, b));
}
int32_t __vskdBRngSobolUser(StreamState *stream, int32_t n, double *r, double a, double b) {
  return generate(stream, user_tables(stream), n, r, SinkD(a, b));
}
int32_t __vskiBRngSobolUser(StreamState *stream, int32_t n, uint32_t *r) {
  return generate(stream, user_tables(stream), n, r, SinkI{});
}

// The form follows from the point chunk, which only the user modes attach.
int32_t __vsksBRngSobol(StreamState *stream, int32_t n, float *r, float a, float b) {
  return __vskSearchChunk(stream, HPK_VSK_CHUNK_SOBOL_POINT) != nullptr
             ? __vsksBRngSobolUser(stream, n, r, a, b)
             : __vsksBRngSobolDefault(stream, n, r, a, b);
}
int32_t __vskdBRngSobol(StreamState *stream, int32_t n, double *r, double a, double b) {
  return __vskSearchChunk(stream, HPK_VSK_CHUNK_SOBOL_POINT) != nullptr
             ? __vskdBRngSobolUser(stream, n, r, a, b)
             : __vskdBRngSobolDefault(stream, n, r, a, b);
}
int32_t __vskiBRngSobol(StreamState *stream, int32_t n, uint32_t *r) {
  return __vskSearchChunk(stream, HPK_VSK_CHUNK_SOBOL_POINT) != nullptr
             ? __vskiBRngSobolUser(stream, n, r)
             : __vskiBRngSobolDefault(stream, n, r);
}

}  // extern "C"
