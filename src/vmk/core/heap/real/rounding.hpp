// The rounding family (Ceil, Floor, Trunc, Round, NearbyInt, Rint, Modf) on bits, packed.
//
// Every element is sorted by the magnitude bits ax (sign cleared):
//   small    ax below 1.0            (zeros and denormals included)
//   main     1.0 <= ax < 2^p          (p = 52 for double, 23 for single)
//   big      ax >= 2^p                (integers, infinities, NaN)
// In the main range the integer part is ax AND m, with m all ones shifted left by the number of
// fraction bits (1075 - E for double, 150 - E for single, E the biased exponent); in the small
// range m is 0. This is the same mask whether the fraction reaches into the top word of a
// double or not: one 64-bit lane holds the whole pattern, so the carry of an added unit into
// the top word is the integer carry of the lane.
//
// The arithmetic unit is used only where the result is exact and no operand is denormal:
// adding 1.0 to an integer below 2^p, and, in Modf, subtracting the integer part from a main
// range x (both lie in one binade). Halves and parities are tested on the bits. So the results do not depend on the caller's rounding direction or
// on flush-to-zero, no control state is read or written, and the only exception ever raised is
// invalid, by x * 1.0 (or x + x in Modf) on a signalling NaN, which is what quiets it. Big
// lanes are zeroed before any other arithmetic so that no NaN reaches a signalling compare and
// nothing near the top of the range can overflow.
//
// SSE2 has no per-lane variable shift; the double mask is made by two 64-bit shifts of all
// ones, one per lane, and the single mask as minus 2^k, with 2^k built as a float exponent and
// converted by truncation (exact for k <= 23, independent of the rounding direction).
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace hpk::vmk::rounding {

inline __m128i andnot(__m128i m, __m128i v) { return _mm_andnot_si128(m, v); }
inline __m128i ones() { return _mm_set1_epi32(-1); }
inline __m128i zero() { return _mm_setzero_si128(); }
inline __m128i select(__m128i m, __m128i a, __m128i b) {
  return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
}

struct Double {
  using T = double;
  static constexpr int kLanes = 2;
  static __m128i load(const double *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
  static void store(double *p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
  static __m128i splat(uint64_t u) { return _mm_set1_epi64x(int64_t(u)); }
  static __m128i sign() { return splat(0x8000000000000000ull); }
  static __m128i one() { return splat(0x3FF0000000000000ull); }    // 1.0
  static __m128i half() { return splat(0x3FE0000000000000ull); }   // 0.5

  // Lane-wide masks from the top words (odd dwords) of a sign-cleared pattern.
  static __m128i broadcast_top(__m128i c) { return _mm_shuffle_epi32(c, _MM_SHUFFLE(3, 3, 1, 1)); }
  static __m128i is_small(__m128i ax) {
    return broadcast_top(_mm_cmplt_epi32(ax, _mm_set1_epi32(0x3FF00000)));
  }
  static __m128i is_big(__m128i ax) {
    return broadcast_top(_mm_cmpgt_epi32(ax, _mm_set1_epi32(0x432FFFFF)));
  }
  static __m128i is_negative(__m128i x) { return broadcast_top(_mm_srai_epi32(x, 31)); }
  static __m128i at_least_half(__m128i ax) {
    return broadcast_top(_mm_cmpgt_epi32(ax, _mm_set1_epi32(0x3FDFFFFF)));
  }
  static __m128i is_nan(__m128i x) {
    const __m128d v = _mm_castsi128_pd(x);
    return _mm_castpd_si128(_mm_cmpunord_pd(v, v));  // quiet compare: raises nothing
  }
  static __m128i eq(__m128i a, __m128i b) {
    const __m128i c = _mm_cmpeq_epi32(a, b);
    return _mm_and_si128(c, _mm_shuffle_epi32(c, _MM_SHUFFLE(2, 3, 0, 1)));
  }
  // Integer-part mask of a main or small lane (0 for small); any value for a big lane.
  static __m128i int_mask(__m128i ax, __m128i small) {
    const __m128i count = _mm_sub_epi64(splat(1075), _mm_srli_epi64(ax, 52));
    const __m128i ones = _mm_set1_epi32(-1);
    const __m128i m0 = _mm_sll_epi64(ones, count);
    const __m128i m1 = _mm_sll_epi64(ones, _mm_unpackhi_epi64(count, count));
    return andnot(small, _mm_unpacklo_epi64(m0, m1));
  }
  // The lowest set bit of a mask lane (0 for a zero mask), and the bit below it.
  static __m128i low_bit(__m128i m) { return _mm_and_si128(m, _mm_sub_epi64(_mm_setzero_si128(), m)); }
  static __m128i half_bit(__m128i m) { return _mm_srli_epi64(low_bit(m), 1); }

  static __m128d f(__m128i v) { return _mm_castsi128_pd(v); }
  static __m128i b(__m128d v) { return _mm_castpd_si128(v); }
  static __m128i add(__m128i x, __m128i y) { return b(_mm_add_pd(f(x), f(y))); }
  static __m128i sub(__m128i x, __m128i y) { return b(_mm_sub_pd(f(x), f(y))); }
  static __m128i mul(__m128i x, __m128i y) { return b(_mm_mul_pd(f(x), f(y))); }
};

struct Single {
  using T = float;
  static constexpr int kLanes = 4;
  static __m128i load(const float *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
  static void store(float *p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
  static __m128i splat(uint32_t u) { return _mm_set1_epi32(int32_t(u)); }
  static __m128i sign() { return splat(0x80000000u); }
  static __m128i one() { return splat(0x3F800000u); }
  static __m128i half() { return splat(0x3F000000u); }

  static __m128i is_small(__m128i ax) { return _mm_cmplt_epi32(ax, splat(0x3F800000u)); }
  static __m128i is_big(__m128i ax) { return _mm_cmpgt_epi32(ax, splat(0x4AFFFFFFu)); }
  static __m128i is_negative(__m128i x) { return _mm_srai_epi32(x, 31); }
  static __m128i at_least_half(__m128i ax) { return _mm_cmpgt_epi32(ax, splat(0x3EFFFFFFu)); }
  static __m128i is_nan(__m128i x) {
    const __m128 v = _mm_castsi128_ps(x);
    return _mm_castps_si128(_mm_cmpunord_ps(v, v));
  }
  static __m128i eq(__m128i a, __m128i b) { return _mm_cmpeq_epi32(a, b); }
  // -2^k with k = 150 - E the fraction bit count; k is forced to 0 outside the main range so
  // that the float 2^k stays in [1, 2^23] and its conversion is exact and raises nothing.
  static __m128i int_mask(__m128i ax, __m128i small) {
    const __m128i main = andnot(_mm_or_si128(small, is_big(ax)), _mm_set1_epi32(-1));
    const __m128i k = _mm_and_si128(main, _mm_sub_epi32(splat(150), _mm_srli_epi32(ax, 23)));
    const __m128i pow2 = _mm_cvttps_epi32(_mm_castsi128_ps(_mm_slli_epi32(_mm_add_epi32(k, splat(127)), 23)));
    return andnot(small, _mm_sub_epi32(_mm_setzero_si128(), pow2));
  }
  static __m128i low_bit(__m128i m) { return _mm_and_si128(m, _mm_sub_epi32(_mm_setzero_si128(), m)); }
  static __m128i half_bit(__m128i m) { return _mm_srli_epi32(low_bit(m), 1); }

  static __m128 f(__m128i v) { return _mm_castsi128_ps(v); }
  static __m128i b(__m128 v) { return _mm_castps_si128(v); }
  static __m128i add(__m128i x, __m128i y) { return b(_mm_add_ps(f(x), f(y))); }
  static __m128i sub(__m128i x, __m128i y) { return b(_mm_sub_ps(f(x), f(y))); }
  static __m128i mul(__m128i x, __m128i y) { return b(_mm_mul_ps(f(x), f(y))); }
};

// What every member needs of a vector of elements.
template <class K>
struct Sorted {
  __m128i x, sign, small, big;
  __m128i axs;    // magnitude, zero in big lanes
  __m128i t;      // integer part of the magnitude (the truncated magnitude)
  __m128i mask;   // integer-part mask, 0 in small lanes
  __m128i frac;   // lane mask: some fraction bit was set

  explicit Sorted(__m128i v) : x(v) {
    sign = _mm_and_si128(x, K::sign());
    const __m128i ax = _mm_xor_si128(x, sign);
    small = K::is_small(ax);
    big = K::is_big(ax);
    mask = K::int_mask(ax, small);
    axs = andnot(big, ax);
    t = _mm_and_si128(axs, mask);
    frac = andnot(K::eq(t, axs), _mm_set1_epi32(-1));
  }
  // Big lanes take x * 1.0: integers unchanged, signalling NaNs quieted (the other lanes are
  // zeroed first, so a denormal raises not even the denormal flag). The compiler would
  // drop a multiplication by a known 1.0 (it assumes no signalling NaN), so the constant is
  // passed through an empty asm that hides its value.
  __m128i finish(__m128i magnitude) const {
    __m128i one = K::one();
    asm("" : "+x"(one));
    return select(big, K::mul(_mm_and_si128(big, x), one), _mm_or_si128(magnitude, sign));
  }
  // The truncated magnitude plus one where `up` is set (exact: t < 2^p).
  __m128i t_plus(__m128i up) const { return K::add(t, _mm_and_si128(up, K::one())); }
};

// Unary members: `apply` maps a vector of element patterns to a vector of result patterns.
template <class K>
struct Ceil {
  static __m128i apply(__m128i v) {
    const Sorted<K> s(v);
    return s.finish(s.t_plus(andnot(K::is_negative(v), s.frac)));
  }
};

template <class K>
struct Floor {
  static __m128i apply(__m128i v) {
    const Sorted<K> s(v);
    return s.finish(s.t_plus(_mm_and_si128(K::is_negative(v), s.frac)));
  }
};

template <class K>
struct Trunc {
  static __m128i apply(__m128i v) {
    const Sorted<K> s(v);
    return s.finish(s.t);
  }
};

// Halves away from zero. The half bit of a main lane is the bit below the integer part's
// lowest bit; a small lane goes up from 0.5. Integer compares only, so a denormal input meets
// no arithmetic (not even the denormal-operand flag is raised).
template <class K>
struct Round {
  static __m128i apply(__m128i v) {
    const Sorted<K> s(v);
    const __m128i half_set = andnot(K::eq(_mm_and_si128(s.axs, K::half_bit(s.mask)), zero()), ones());
    return s.finish(s.t_plus(_mm_or_si128(half_set, _mm_and_si128(s.small, K::at_least_half(s.axs)))));
  }
};

// To nearest, halves to the even neighbour: up when the fraction has its half bit and either
// another bit or an odd integer part. A small lane goes up above 0.5 (its integer part, 0, is
// even, so exactly 0.5 goes to zero).
template <class K>
struct Nearest {
  static __m128i apply(__m128i v) {
    const Sorted<K> s(v);
    const __m128i hb = K::half_bit(s.mask);
    const __m128i f = andnot(s.mask, s.axs);
    const __m128i has_half = andnot(K::eq(_mm_and_si128(f, hb), zero()), ones());
    const __m128i tie = K::eq(f, hb);
    const __m128i odd = andnot(K::eq(_mm_and_si128(s.t, K::low_bit(s.mask)), zero()), ones());
    const __m128i main_up = _mm_and_si128(has_half, _mm_or_si128(andnot(tie, ones()), odd));
    const __m128i small_up =
        _mm_and_si128(_mm_and_si128(s.small, K::at_least_half(s.axs)), andnot(K::eq(s.axs, K::half()), ones()));
    return s.finish(s.t_plus(_mm_or_si128(main_up, small_up)));
  }
};

// Rounding direction in force, found by arithmetic rather than by reading the control state:
// with S = 2^52,
//   a = (1.25 + S) - S,  b = (-0.5 - S) + S,  c = (-0.75 - S) + S,
//   d = -(int)((a + b) + c) & 3
// gives 0 to nearest, 1 downward, 2 upward, 3 toward zero. The sums are inexact by design and
// raise that flag, the only flag these two kernels raise beside invalid for a signalling NaN.
// S is read through a volatile so the
// sums are done at run time, under the caller's direction, and cannot be folded at build time.
inline int rounding_direction() {
  static volatile const double kS = 0x1p52;
  const double s = kS;
  const double a = (1.25 + s) - s;
  const double b = (-0.5 - s) + s;
  const double c = (-0.75 - s) + s;
  return -int((a + b) + c) & 3;
}

inline bool overlaps(const void *p, const void *q, std::size_t bytes) {
  const uintptr_t u = uintptr_t(p), v = uintptr_t(q);
  return (u > v ? u - v : v - u) < bytes;
}

// Output arrays that share storage with the input (or each other) other than exactly run
// element by element in order, as a plain loop would; otherwise whole vectors.
template <class K, class Op>
void unary_loop(int n, const typename K::T *a, typename K::T *y) {
  using T = typename K::T;
  constexpr int L = K::kLanes;
  if (n <= 0) return;
  int i = 0;
  if (y == a || !overlaps(y, a, std::size_t(n) * sizeof(T))) {
    for (; i + L <= n; i += L) K::store(y + i, Op::apply(K::load(a + i)));
  }
  for (; i < n; ++i) {
    T lanes[L] = {a[i]};
    K::store(lanes, Op::apply(K::load(lanes)));
    y[i] = lanes[0];
  }
}

// Modf: y the integer part, z the fraction. Main range: z = x - y (exact), or a zero with the
// sign of x when no fraction bit was set. Small: y = signed zero, z = x. Integers and
// infinities: y = x, z = signed zero. NaN: both x + x.
template <class K>
struct Modf {
  static void apply(__m128i v, __m128i &iy, __m128i &iz) {
    const Sorted<K> s(v);
    const __m128i ip = _mm_or_si128(s.t, s.sign);
    const __m128i in_main = andnot(_mm_or_si128(s.small, s.big), v);
    const __m128i fp = K::sub(in_main, andnot(s.small, ip));
    const __m128i nan = K::is_nan(v);
    const __m128i nan_x = _mm_and_si128(nan, v);
    const __m128i twice = K::add(nan_x, nan_x);
    iy = select(nan, twice, select(s.big, v, ip));
    iz = select(nan, twice,
                select(s.big, s.sign, select(s.small, v, select(s.frac, fp, s.sign))));
  }
};

template <class K>
void modf_loop(int n, const typename K::T *a, typename K::T *y, typename K::T *z) {
  using T = typename K::T;
  constexpr int L = K::kLanes;
  if (n <= 0) return;
  const std::size_t bytes = std::size_t(n) * sizeof(T);
  int i = 0;
  const bool apart = (y == a || !overlaps(y, a, bytes)) && (z == a || !overlaps(z, a, bytes)) &&
                     !overlaps(y, z, bytes);
  if (apart) {
    for (; i + L <= n; i += L) {
      __m128i iy, iz;
      Modf<K>::apply(K::load(a + i), iy, iz);
      K::store(y + i, iy);
      K::store(z + i, iz);
    }
  }
  for (; i < n; ++i) {
    T lanes[L] = {a[i]};
    __m128i iy, iz;
    Modf<K>::apply(K::load(lanes), iy, iz);
    T ly[L], lz[L];
    K::store(ly, iy);
    K::store(lz, iz);
    y[i] = ly[0];
    z[i] = lz[0];
  }
}

// NearbyInt and Rint: the direction is found once at entry and selects the loop.
template <class K>
void rint_loop(int n, const typename K::T *a, typename K::T *y) {
  if (n <= 0) return;
  using Loop = void (*)(int, const typename K::T *, typename K::T *);
  static constexpr Loop kByDirection[4] = {unary_loop<K, Nearest<K>>, unary_loop<K, Floor<K>>,
                                           unary_loop<K, Ceil<K>>, unary_loop<K, Trunc<K>>};
  kByDirection[rounding_direction()](n, a, y);
}

}  // namespace hpk::vmk::rounding
