// The small vector layer the kernels are written in: SSE2 registers seen as GCC vectors, so
// arithmetic reads like the algorithm, with the few operations that need intrinsics wrapped.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace hpk::simd {

typedef double vd __attribute__((vector_size(16)));
typedef float vf __attribute__((vector_size(16)));
typedef int64_t vl __attribute__((vector_size(16)));
typedef int32_t vi __attribute__((vector_size(16)));
typedef uint64_t vul __attribute__((vector_size(16)));
typedef uint32_t vui __attribute__((vector_size(16)));

// Unaligned and aligned loads and stores of one register.
inline vd loadu(const double *p) { return (vd)_mm_loadu_pd(p); }
inline vf loadu(const float *p) { return (vf)_mm_loadu_ps(p); }
inline vd loada(const double *p) { return (vd)_mm_load_pd(p); }
inline vf loada(const float *p) { return (vf)_mm_load_ps(p); }
inline void storeu(double *p, vd v) { _mm_storeu_pd(p, (__m128d)v); }
inline void storeu(float *p, vf v) { _mm_storeu_ps(p, (__m128)v); }
inline void storea(double *p, vd v) { _mm_store_pd(p, (__m128d)v); }
inline void storea(float *p, vf v) { _mm_store_ps(p, (__m128)v); }

inline vd splat(double x) { return vd{x, x}; }
inline vf splat(float x) { return vf{x, x, x, x}; }

// Bitwise operations on floating vectors.
inline vd and_bits(vd a, vd b) { return (vd)_mm_and_pd((__m128d)a, (__m128d)b); }
inline vf and_bits(vf a, vf b) { return (vf)_mm_and_ps((__m128)a, (__m128)b); }
inline vd andnot_bits(vd a, vd b) { return (vd)_mm_andnot_pd((__m128d)a, (__m128d)b); }
inline vf andnot_bits(vf a, vf b) { return (vf)_mm_andnot_ps((__m128)a, (__m128)b); }
inline vd or_bits(vd a, vd b) { return (vd)_mm_or_pd((__m128d)a, (__m128d)b); }
inline vf or_bits(vf a, vf b) { return (vf)_mm_or_ps((__m128)a, (__m128)b); }
inline vd xor_bits(vd a, vd b) { return (vd)_mm_xor_pd((__m128d)a, (__m128d)b); }
inline vf xor_bits(vf a, vf b) { return (vf)_mm_xor_ps((__m128)a, (__m128)b); }

// select(m, a, b): a where the mask lane is all ones, b where it is zero.
inline vd select(vd m, vd a, vd b) { return or_bits(and_bits(m, a), andnot_bits(m, b)); }
inline vf select(vf m, vf a, vf b) { return or_bits(and_bits(m, a), andnot_bits(m, b)); }

inline vd vsqrt(vd x) { return (vd)_mm_sqrt_pd((__m128d)x); }
inline vf vsqrt(vf x) { return (vf)_mm_sqrt_ps((__m128)x); }
inline vd vmax(vd a, vd b) { return (vd)_mm_max_pd((__m128d)a, (__m128d)b); }
inline vd vmin(vd a, vd b) { return (vd)_mm_min_pd((__m128d)a, (__m128d)b); }

// One bit per lane, from the lane's sign bit (bit i for lane i).
inline int movemask(vd m) { return _mm_movemask_pd((__m128d)m); }
inline int movemask(vf m) { return _mm_movemask_ps((__m128)m); }

template <class To, class From>
inline To bit_cast(From f) {
  static_assert(sizeof(To) == sizeof(From));
  To t;
  std::memcpy(&t, &f, sizeof t);
  return t;
}

inline uint64_t bits(double x) { return bit_cast<uint64_t>(x); }
inline uint32_t bits(float x) { return bit_cast<uint32_t>(x); }
inline double from_bits(uint64_t u) { return bit_cast<double>(u); }
inline double from_bits(unsigned long long u) { return bit_cast<double>(uint64_t(u)); }
inline float from_bits(uint32_t u) { return bit_cast<float>(u); }

// Dekker's splitting constant 2^27 + 1: x = hi + lo with hi holding the top 26 bits, so
// products of halves are exact.
constexpr double kDekkerSplit = 134217729.0;

struct dd {
  double hi, lo;
};

inline dd split(double x) {
  const double c = kDekkerSplit * x;
  const double hi = c - (c - x);
  return {hi, x - hi};
}

// x*y exactly as hi + lo (no FMA in the baseline build).
inline dd two_prod(double x, double y) {
  const double p = x * y;
  const dd xs = split(x), ys = split(y);
  const double e = ((xs.hi * ys.hi - p) + xs.hi * ys.lo + xs.lo * ys.hi) + xs.lo * ys.lo;
  return {p, e};
}

// a + b exactly as hi + lo, any order of magnitude.
inline dd two_sum(double a, double b) {
  const double s = a + b;
  const double bb = s - a;
  const double e = (a - (s - bb)) + (b - bb);
  return {s, e};
}

// Packed twins of the double-double helpers, lane by lane the same operations.
struct vdd {
  vd hi, lo;
};

inline vdd split(vd x) {
  const vd c = splat(kDekkerSplit) * x;
  const vd hi = c - (c - x);
  return {hi, x - hi};
}

inline vdd two_sqr(vd x) {
  const vd p = x * x;
  const vdd s = split(x);
  const vd e = ((s.hi * s.hi - p) + (s.hi + s.hi) * s.lo) + s.lo * s.lo;
  return {p, e};
}

inline vdd two_sum(vd a, vd b) {
  const vd s = a + b;
  const vd bb = s - a;
  return {s, (a - (s - bb)) + (b - bb)};
}

}  // namespace hpk::simd
