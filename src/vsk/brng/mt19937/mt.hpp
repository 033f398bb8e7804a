// The Mersenne Twister engine shared by MT19937 and MT2203: array seeding, block refill,
// tempering and the three outputs. A generator is a traits struct with the constants of its
// recurrence and an accessor for the three parameter words.
//
// Outputs use the caller's array as the only buffer:
//  1. the untempered words of the sequence go into it (with a refill when the block runs out;
//     past one block the recurrence runs straight in the array, reading the array as history);
//  2. tempering in place;
//  3. for floating outputs, conversion in place: the single output element by element, the
//     double output backward from the top, so that an 8-byte result only ever lands on 4-byte
//     words that were already read.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

#include "vsk/service/registry.hpp"

namespace hpk::vsk::mt {

struct Params {
  uint32_t matrix_a, mask_b, mask_c;
};

// twist(t(u, v)) of four lanes: ((u & upper) | (v & lower)) >> 1, xor matrix_a where that word
// is odd.
inline __m128i twist4(__m128i u, __m128i v, __m128i upper, __m128i lower, __m128i matrix_a) {
  const __m128i y = _mm_or_si128(_mm_and_si128(u, upper), _mm_and_si128(v, lower));
  const __m128i odd = _mm_srai_epi32(_mm_slli_epi32(y, 31), 31);
  return _mm_xor_si128(_mm_srli_epi32(y, 1), _mm_and_si128(odd, matrix_a));
}

template <class G>
inline uint32_t twist1(uint32_t u, uint32_t v, uint32_t matrix_a) {
  const uint32_t y = (u & G::upper) | (v & G::lower);
  return (y >> 1) ^ ((y & 1u) ? matrix_a : 0u);
}

// w[i] = w[i - N + M] ^ twist(t(w[i - N], w[i - N + 1])) for i in [from, to). Four lanes read
// nothing at or above i as long as N - M >= 4, so any run may go four at a time.
template <class G>
inline void recur(uint32_t *w, int64_t from, int64_t to, uint32_t matrix_a) {
  constexpr int N = G::N, M = G::M;
  static_assert(N - M >= 4);
  const __m128i upper = _mm_set1_epi32(int32_t(G::upper)), lower = _mm_set1_epi32(int32_t(G::lower));
  const __m128i ma = _mm_set1_epi32(int32_t(matrix_a));
  int64_t i = from;
  for (; i + 4 <= to; i += 4) {
    const __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i *>(w + i - N));
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(w + i - N + 1));
    const __m128i m = _mm_loadu_si128(reinterpret_cast<const __m128i *>(w + i - N + M));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(w + i),
                     _mm_xor_si128(m, twist4(u, v, upper, lower, ma)));
  }
  for (; i < to; ++i) w[i] = w[i - N + M] ^ twist1<G>(w[i - N], w[i - N + 1], matrix_a);
}

// Renews the block in place, in ascending order of k. The first N - M words read mt[k + 1] and
// mt[k + M], neither written yet in this pass: four lanes at a time while k + 4 <= N - M
// (224 of 227 words for MT19937), the rest one by one. The next words read mt[k + M - N],
// already renewed.
template <class G>
void refill(uint32_t *mt, uint32_t matrix_a) {
  constexpr int N = G::N, M = G::M;
  const __m128i upper = _mm_set1_epi32(int32_t(G::upper)), lower = _mm_set1_epi32(int32_t(G::lower));
  const __m128i ma = _mm_set1_epi32(int32_t(matrix_a));
  int k = 0;
  for (; k + 4 <= N - M; k += 4) {
    const __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i *>(mt + k));
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(mt + k + 1));
    const __m128i m = _mm_loadu_si128(reinterpret_cast<const __m128i *>(mt + k + M));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(mt + k),
                     _mm_xor_si128(m, twist4(u, v, upper, lower, ma)));
  }
  for (; k < N - M; ++k) mt[k] = mt[k + M] ^ twist1<G>(mt[k], mt[k + 1], matrix_a);
  for (; k + 4 <= N - 1; k += 4) {
    const __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i *>(mt + k));
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i *>(mt + k + 1));
    const __m128i m = _mm_loadu_si128(reinterpret_cast<const __m128i *>(mt + k + M - N));
    _mm_storeu_si128(reinterpret_cast<__m128i *>(mt + k),
                     _mm_xor_si128(m, twist4(u, v, upper, lower, ma)));
  }
  for (; k < N - 1; ++k) mt[k] = mt[k + M - N] ^ twist1<G>(mt[k], mt[k + 1], matrix_a);
  mt[N - 1] = mt[M - 1] ^ twist1<G>(mt[N - 1], mt[0], matrix_a);
}

template <class G>
inline uint32_t temper1(uint32_t y, const Params &p) {
  y ^= y >> G::shift_u;
  y ^= (y << 7) & p.mask_b;
  y ^= (y << 15) & p.mask_c;
  y ^= y >> 18;
  return y;
}

template <class G>
inline __m128i temper4(__m128i y, __m128i mb, __m128i mc) {
  y = _mm_xor_si128(y, _mm_srli_epi32(y, G::shift_u));
  y = _mm_xor_si128(y, _mm_and_si128(_mm_slli_epi32(y, 7), mb));
  y = _mm_xor_si128(y, _mm_and_si128(_mm_slli_epi32(y, 15), mc));
  return _mm_xor_si128(y, _mm_srli_epi32(y, 18));
}

// Tempering in place, sixteen words at a time, then one by one.
template <class G>
void temper(uint32_t *w, int32_t n, const Params &p) {
  const __m128i mb = _mm_set1_epi32(int32_t(p.mask_b)), mc = _mm_set1_epi32(int32_t(p.mask_c));
  int32_t i = 0;
  for (; i + 16 <= n; i += 16) {
    __m128i *q = reinterpret_cast<__m128i *>(w + i);
    const __m128i y0 = _mm_loadu_si128(q), y1 = _mm_loadu_si128(q + 1);
    const __m128i y2 = _mm_loadu_si128(q + 2), y3 = _mm_loadu_si128(q + 3);
    _mm_storeu_si128(q, temper4<G>(y0, mb, mc));
    _mm_storeu_si128(q + 1, temper4<G>(y1, mb, mc));
    _mm_storeu_si128(q + 2, temper4<G>(y2, mb, mc));
    _mm_storeu_si128(q + 3, temper4<G>(y3, mb, mc));
  }
  for (; i < n; ++i) w[i] = temper1<G>(w[i], p);
}

// First pass: the next n untempered words of the sequence into w.
template <class G>
void untempered(typename G::State *st, int32_t n, uint32_t *w) {
  constexpr int N = G::N;
  const uint32_t matrix_a = G::params(st).matrix_a;
  uint32_t *mt = st->mt;
  const int32_t index = st->index;
  if (int64_t(n) + index <= N) {
    std::memcpy(w, mt + index, size_t(n) * 4);
    st->index = index + n;
    return;
  }
  const int32_t rest = N - index;  // words left in the block
  std::memcpy(w, mt + index, size_t(rest) * 4);
  refill<G>(mt, matrix_a);
  if (n <= N) {
    std::memcpy(w + rest, mt, size_t(n - rest) * 4);
    st->index = n - rest;
    return;
  }
  // Longer than a block: the renewed block follows, then the recurrence runs in w itself.
  const int32_t from_block = n - rest < N ? n - rest : N;
  std::memcpy(w + rest, mt, size_t(from_block) * 4);
  recur<G>(w, int64_t(rest) + from_block, n, matrix_a);
  std::memcpy(mt, w + (n - N), size_t(N) * 4);
  st->index = N;
}

template <class G>
int32_t iout(StreamState *stream, int32_t n, uint32_t *r) {
  auto *st = G::state(stream);
  untempered<G>(st, n, r);
  temper<G>(r, n, G::params(st));
  return 0;
}

// Raw word to double exactly: xor the sign bit, convert signed, add 2^31 back.
inline __m128d u32_to_pd(__m128i v) {
  return _mm_add_pd(_mm_cvtepi32_pd(_mm_xor_si128(v, _mm_set1_epi32(int32_t(0x80000000u)))),
                    _mm_set1_pd(0x1p31));
}

constexpr double dbInv2P32 = 0x1p-32;

template <class G>
int32_t dout(StreamState *stream, int32_t n, double *r, double a, double b) {
  auto *st = G::state(stream);
  auto *w = reinterpret_cast<uint32_t *>(r);
  untempered<G>(st, n, w);
  temper<G>(w, n, G::params(st));
  const double s = (b - a) * dbInv2P32;
  const __m128d vs = _mm_set1_pd(s), va = _mm_set1_pd(a);
  // Backward, eight at a time: elements i..i+7 read words i..i+7 before writing words 2i and
  // up, so no word below i is touched before it is read.
  int32_t i = n - 8;
  for (; i >= 0; i -= 8) {
    const __m128i lo = _mm_loadu_si128(reinterpret_cast<const __m128i *>(w + i));
    const __m128i hi = _mm_loadu_si128(reinterpret_cast<const __m128i *>(w + i + 4));
    const __m128d d0 = _mm_add_pd(_mm_mul_pd(u32_to_pd(lo), vs), va);
    const __m128d d1 = _mm_add_pd(_mm_mul_pd(u32_to_pd(_mm_shuffle_epi32(lo, 0xee)), vs), va);
    const __m128d d2 = _mm_add_pd(_mm_mul_pd(u32_to_pd(hi), vs), va);
    const __m128d d3 = _mm_add_pd(_mm_mul_pd(u32_to_pd(_mm_shuffle_epi32(hi, 0xee)), vs), va);
    _mm_storeu_pd(r + i, d0);
    _mm_storeu_pd(r + i + 2, d1);
    _mm_storeu_pd(r + i + 4, d2);
    _mm_storeu_pd(r + i + 6, d3);
  }
  for (int32_t j = i + 7; j >= 0; --j) {
    uint32_t u;
    std::memcpy(&u, w + j, 4);
    const double d = double(u) * s + a;
    std::memcpy(r + j, &d, 8);
  }
  return 0;
}

template <class G>
int32_t sout(StreamState *stream, int32_t n, float *r, float a, float b) {
  auto *st = G::state(stream);
  auto *w = reinterpret_cast<uint32_t *>(r);
  untempered<G>(st, n, w);
  temper<G>(w, n, G::params(st));
  const double da = a, s = (double(b) - da) * dbInv2P32;
  const __m128d vs = _mm_set1_pd(s), va = _mm_set1_pd(da);
  // Same size in and out: four words are read, then four results written over them.
  int32_t i = 0;
  for (; i + 4 <= n; i += 4) {
    const __m128i u = _mm_loadu_si128(reinterpret_cast<const __m128i *>(w + i));
    const __m128d d0 = _mm_add_pd(_mm_mul_pd(u32_to_pd(u), vs), va);
    const __m128d d1 = _mm_add_pd(_mm_mul_pd(u32_to_pd(_mm_shuffle_epi32(u, 0xee)), vs), va);
    _mm_storeu_ps(r + i, _mm_movelh_ps(_mm_cvtpd_ps(d0), _mm_cvtpd_ps(d1)));
  }
  for (; i < n; ++i) {
    uint32_t u;
    std::memcpy(&u, w + i, 4);
    const float f = float(double(u) * s + da);
    std::memcpy(r + i, &f, 4);
  }
  return 0;
}

// Seeding by the array method; the key is the seed words, or {1} when there are none.
template <class G>
void seed(typename G::State *st, int32_t n, const uint32_t *params) {
  constexpr int N = G::N;
  static const uint32_t one = 1;
  const uint32_t *key = n >= 1 ? params : &one;
  const uint32_t len = n >= 1 ? uint32_t(n) : 1u;
  uint32_t *mt = st->mt;
  mt[0] = 19650218u;
  for (uint32_t i = 1; i < N; ++i) mt[i] = 1812433253u * (mt[i - 1] ^ (mt[i - 1] >> 30)) + i;
  st->index = N;
  uint32_t i = 1, j = 0;
  for (uint32_t k = N > len ? N : len; k > 0; --k) {
    mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1664525u)) + key[j] + j;
    ++i;
    ++j;
    if (i >= N) {
      mt[0] = mt[N - 1];
      i = 1;
    }
    if (j >= len) j = 0;
  }
  for (uint32_t k = N - 1; k > 0; --k) {
    mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * 1566083941u)) - i;
    ++i;
    if (i >= N) {
      mt[0] = mt[N - 1];
      i = 1;
    }
  }
  mt[0] = 0x80000000u;
}

// Statuses of the methods that only reject: leapfrog and skip-ahead are not supported.
inline int32_t unsupported(int32_t method) {
  if (method == HPK_VSK_INIT_METHOD_LEAPFROG) return HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED;
  if (method == HPK_VSK_INIT_METHOD_SKIPAHEAD) return HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED;
  return HPK_VSK_ERROR_METHOD;
}

}  // namespace hpk::vsk::mt
