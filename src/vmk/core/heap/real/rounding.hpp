// The rounding family (Ceil, Floor, Trunc, Round, NearbyInt, Rint, Modf) on bits, packed.
//
// Every element is sorted by its magnitude bits ax (sign cleared):
//   small    ax below 1.0            (zeros and denormals included)
//   main     1.0 <= ax < 2^p          (p = 52 for double, 23 for single)
//   big      ax >= 2^p                (integers, infinities, NaN)
// The integer part of the magnitude is t = ax AND m, with m all ones shifted left by the number
// of fraction bits, k = 1075 - E for double, 150 - E for single (E the biased exponent). In the
// small range m is 0; in the big range k saturates at 0 and m is all ones, so t = ax. One
// 64-bit lane holds the whole double, so the mask is the same whether the fraction reaches into
// the top word or not, and the carry of an added unit into the top word (and the exponent) is
// the carry of the addition 1.0 + t.
//
// The arithmetic unit is used for one final exact operation: t + 1.0 or t + 0.0 (t an integer
// below 2^p, or a big lane plus 0.0, which quiets a signalling NaN as x * 1.0 would; Round
// rounds the magnitude by an integer carry first), and, in Modf, x minus its integer part in
// the main range (both in one binade). Fractions and halves are tested on the bits. So the
// results do not depend on the caller's rounding direction or on flush-to-zero or
// denormals-are-zero, no control state is read or written, no operand of an arithmetic
// instruction is ever denormal, and the only exception raised is invalid, by a signalling NaN.
// NearbyInt and Rint are the exception: they find the direction by arithmetic, and round to
// nearest by arithmetic too (see Nearest), so they also raise inexact.
//
// Speed. SSE2 has no per-lane variable shift, and its shuffles all go to one execution port, so
// the double kernels avoid lane-wide 64-bit compares: a test "v != 0" of a 64-bit lane is the
// sign of v + (2^63 - 1) (v < 2^63 always), spread by an arithmetic shift over the top 32 bits
// only. Such half-masks select 1.0, whose low word is 0, so the low half never matters. The
// double mask m is made by two 64-bit shifts, one per lane; the single mask as minus 2^k, with
// 2^k built as a float exponent and converted by truncation (exact for k <= 24, independent of
// the rounding direction).
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

namespace hpk::vmk::rounding {

inline __m128i andnot(__m128i m, __m128i v) { return _mm_andnot_si128(m, v); }
inline __m128i ones() { return _mm_set1_epi32(-1); }
inline __m128i zero() { return _mm_setzero_si128(); }
inline __m128i select(__m128i m, __m128i a, __m128i b) {
  return _mm_or_si128(_mm_and_si128(m, a), _mm_andnot_si128(m, b));
}

// "Lane masks" below are all ones or all zeros in the bits that matter: the whole lane for
// single, the top 32 bits of the lane for double (the suffix _h). Masks for select are whole.
struct Double {
  using T = double;
  static constexpr int kLanes = 2;
  static __m128i load(const double *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
  static void store(double *p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
  static __m128i splat(uint64_t u) { return _mm_set1_epi64x(int64_t(u)); }
  static __m128i sign() { return splat(0x8000000000000000ull); }
  static __m128i one() { return splat(0x3FF0000000000000ull); }    // 1.0, low word 0

  // v != 0, for v below 2^63.
  static __m128i nz_h(__m128i v) { return _mm_srai_epi32(_mm_add_epi64(v, splat(0x7FFFFFFFFFFFFFFFull)), 31); }
  static __m128i add_int(__m128i a, __m128i b) { return _mm_add_epi64(a, b); }
  static __m128i neg_h(__m128i x) { return _mm_srai_epi32(x, 31); }
  static __m128i small_h(__m128i ax) { return _mm_cmplt_epi32(ax, _mm_set1_epi32(0x3FF00000)); }
  static __m128i at_least_half_h(__m128i ax) { return _mm_cmpgt_epi32(ax, _mm_set1_epi32(0x3FDFFFFF)); }
  static __m128i below_half_h(__m128i ax) { return _mm_cmplt_epi32(ax, _mm_set1_epi32(0x3FE00000)); }
  static __m128i big_h(__m128i ax) { return _mm_cmpgt_epi32(ax, _mm_set1_epi32(0x432FFFFF)); }
  static __m128i two_p() { return splat(0x4330000000000000ull); }  // 2^52

  // Integer-part mask: 0 for small, all ones for big. The shift count is 1075 - E saturated at 0
  // (big), plus at least 64 when E < 1023 (small), which shifts every bit out.
  static __m128i int_mask(__m128i ax) {
    const __m128i e = _mm_srli_epi64(ax, 52);
    const __m128i below_one = _mm_subs_epu16(splat(1023), e);
    const __m128i count = _mm_or_si128(_mm_subs_epu16(splat(1075), e), _mm_slli_epi16(below_one, 6));
    const __m128i m0 = _mm_sll_epi64(_mm_set_epi64x(0, -1), count);
    const __m128i m1 = _mm_sll_epi64(_mm_set_epi64x(-1, 0), _mm_unpackhi_epi64(count, count));
    return _mm_or_si128(m0, m1);
  }
  static __m128i low_bit(__m128i m) { return _mm_and_si128(m, _mm_sub_epi64(zero(), m)); }
  static __m128i shift_right_1(__m128i v) { return _mm_srli_epi64(v, 1); }

  // Whole-lane masks, for Modf.
  static __m128i whole(__m128i h) { return _mm_shuffle_epi32(h, _MM_SHUFFLE(3, 3, 1, 1)); }
  static __m128i is_nan(__m128i x) {
    const __m128d v = _mm_castsi128_pd(x);
    return _mm_castpd_si128(_mm_cmpunord_pd(v, v));  // quiet compare: raises nothing
  }

  static __m128d f(__m128i v) { return _mm_castsi128_pd(v); }
  static __m128i b(__m128d v) { return _mm_castpd_si128(v); }
  static __m128i add(__m128i x, __m128i y) { return b(_mm_add_pd(f(x), f(y))); }
  static __m128i sub(__m128i x, __m128i y) { return b(_mm_sub_pd(f(x), f(y))); }
};

struct Single {
  using T = float;
  static constexpr int kLanes = 4;
  static __m128i load(const float *p) { return _mm_loadu_si128(reinterpret_cast<const __m128i *>(p)); }
  static void store(float *p, __m128i v) { _mm_storeu_si128(reinterpret_cast<__m128i *>(p), v); }
  static __m128i splat(uint32_t u) { return _mm_set1_epi32(int32_t(u)); }
  static __m128i sign() { return splat(0x80000000u); }
  static __m128i one() { return splat(0x3F800000u); }

  static __m128i nz_h(__m128i v) { return _mm_srai_epi32(_mm_add_epi32(v, splat(0x7FFFFFFFu)), 31); }
  static __m128i add_int(__m128i a, __m128i b) { return _mm_add_epi32(a, b); }
  static __m128i neg_h(__m128i x) { return _mm_srai_epi32(x, 31); }
  static __m128i small_h(__m128i ax) { return _mm_cmplt_epi32(ax, splat(0x3F800000u)); }
  static __m128i at_least_half_h(__m128i ax) { return _mm_cmpgt_epi32(ax, splat(0x3EFFFFFFu)); }
  static __m128i below_half_h(__m128i ax) { return _mm_cmplt_epi32(ax, splat(0x3F000000u)); }
  static __m128i big_h(__m128i ax) { return _mm_cmpgt_epi32(ax, splat(0x4AFFFFFFu)); }
  static __m128i two_p() { return splat(0x4B000000u); }  // 2^23

  // -2^k with k = 150 - E saturated at 0 (big: all ones) and capped at 24 so that the float
  // 2^k is exact and converts without a flag; small lanes are cleared.
  static __m128i int_mask(__m128i ax) {
    const __m128i k = _mm_min_epi16(_mm_subs_epu16(splat(150), _mm_srli_epi32(ax, 23)), splat(24));
    const __m128i pow2 = _mm_cvttps_epi32(_mm_castsi128_ps(_mm_slli_epi32(_mm_add_epi32(k, splat(127)), 23)));
    return andnot(small_h(ax), _mm_sub_epi32(zero(), pow2));
  }
  static __m128i low_bit(__m128i m) { return _mm_and_si128(m, _mm_sub_epi32(zero(), m)); }
  static __m128i shift_right_1(__m128i v) { return _mm_srli_epi32(v, 1); }

  static __m128i whole(__m128i h) { return h; }
  static __m128i is_nan(__m128i x) {
    const __m128 v = _mm_castsi128_ps(x);
    return _mm_castps_si128(_mm_cmpunord_ps(v, v));
  }

  static __m128 f(__m128i v) { return _mm_castsi128_ps(v); }
  static __m128i b(__m128 v) { return _mm_castps_si128(v); }
  static __m128i add(__m128i x, __m128i y) { return b(_mm_add_ps(f(x), f(y))); }
  static __m128i sub(__m128i x, __m128i y) { return b(_mm_sub_ps(f(x), f(y))); }
};

// What every member needs of a vector of elements.
template <class K>
struct Sorted {
  __m128i x, sign, ax;
  __m128i mask;   // integer-part mask: 0 small, all ones big
  __m128i t;      // integer part of the magnitude (ax in big lanes)

  explicit Sorted(__m128i v) : x(v) {
    sign = _mm_and_si128(x, K::sign());
    ax = _mm_xor_si128(x, sign);
    mask = K::int_mask(ax);
    t = _mm_and_si128(ax, mask);
  }
  __m128i fraction() const { return _mm_xor_si128(ax, t); }
  // The result: t + 1.0 where `up` is set, t + 0.0 elsewhere, with the sign of x. Exact; in a
  // big lane it is |x| + 0.0, which quiets a signalling NaN as x * 1.0 would. (An addition of
  // 0.0 is kept by the compiler as long as signed zeros are honoured, which the build does.)
  __m128i finish(__m128i up) const { return finish_from(t, up); }
  __m128i finish_from(__m128i magnitude, __m128i up) const {
    return _mm_or_si128(K::add(magnitude, _mm_and_si128(up, K::one())), sign);
  }
};

// Unary members: `apply` maps a vector of element patterns to a vector of result patterns.
template <class K>
struct Ceil {
  static __m128i apply(__m128i v) {
    const Sorted<K> s(v);
    return s.finish(andnot(K::neg_h(v), K::nz_h(s.fraction())));
  }
};

template <class K>
struct Floor {
  static __m128i apply(__m128i v) {
    const Sorted<K> s(v);
    return s.finish(_mm_and_si128(K::neg_h(v), K::nz_h(s.fraction())));
  }
};

template <class K>
struct Trunc {
  static __m128i apply(__m128i v) {
    const Sorted<K> s(v);
    return s.finish(zero());
  }
};

// Halves away from zero, by an integer carry: with h the half bit of the lane (the bit below
// the integer part's lowest bit; 0 in small and big lanes), (ax + h) AND m carries into the
// integer part exactly when the fraction is at least h. The carry runs on into the exponent
// where the integer part is all ones (1.5 -> 2, 2^52 - 0.5 -> 2^52). Small lanes (m = 0) give
// 0 and go to 1.0 from 0.5 by their own test.
template <class K>
struct Round {
  static __m128i apply(__m128i v) {
    const Sorted<K> s(v);
    const __m128i half_bit = K::shift_right_1(K::low_bit(s.mask));
    const __m128i r = _mm_and_si128(K::add_int(s.ax, half_bit), s.mask);
    return s.finish_from(r, _mm_and_si128(K::small_h(s.ax), K::at_least_half_h(s.ax)));
  }
};

// To nearest, halves to the even neighbour, for NearbyInt and Rint only: this loop runs when
// the direction sums at entry found the caller rounding to nearest, so adding and subtracting
// 2^p rounds a magnitude below 2^p to the required integer in one exact step (ties to even,
// 0.5 to 0). It raises inexact, as the direction sums have already done. Lanes below 0.5 (their
// result is a signed zero, and no denormal should meet the adder) and big lanes are zeroed
// first; a big lane then takes 0 + |x|, which quiets a signalling NaN.
template <class K>
struct Nearest {
  static __m128i apply(__m128i v) {
    const __m128i sign = _mm_and_si128(v, K::sign());
    const __m128i ax = _mm_xor_si128(v, sign);
    const __m128i big = K::big_h(ax);
    const __m128i skip = K::whole(_mm_or_si128(big, K::below_half_h(ax)));
    const __m128i two_p = K::two_p();
    const __m128i r = K::sub(K::add(andnot(skip, ax), two_p), two_p);
    return _mm_or_si128(K::add(r, _mm_and_si128(K::whole(big), ax)), sign);
  }
};

// Rounding direction in force, found by arithmetic rather than by reading the control state:
// with S = 2^52,
//   a = (1.25 + S) - S,  b = (-0.5 - S) + S,  c = (-0.75 - S) + S,
//   d = -(int)((a + b) + c) & 3
// gives 0 to nearest, 1 downward, 2 upward, 3 toward zero. S is read through a volatile, so the
// sums are done at run time under the caller's direction and cannot be folded at build time.
// They are inexact by design and raise that flag, the only flag these two kernels raise beside
// invalid for a signalling NaN.
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
    for (; i <= n - L; i += L) K::store(y + i, Op::apply(K::load(a + i)));
  }
  for (; i < n; ++i) {
    T lanes[L] = {a[i]};
    K::store(lanes, Op::apply(K::load(lanes)));
    y[i] = lanes[0];
  }
}

// Modf: y the integer part, z the fraction. Main range: z = x - y (exact), or a zero with the
// sign of x when no fraction bit was set. Small: y = signed zero, z = x. Integers and
// infinities: y = x, z = signed zero. NaN: both x + x, which is what y = (t + 0.0) | sign
// gives for a NaN lane (t = |x| there). The fraction is taken on magnitudes, ax - t, in main
// lanes only (the others zeroed, so nothing denormal or infinite meets the subtracter), and its
// sign bit is cleared before the sign of x goes on: x - x is -0 when rounding downward.
template <class K>
struct Modf {
  static void apply(__m128i v, __m128i &iy, __m128i &iz) {
    const Sorted<K> s(v);
    iy = s.finish(zero());
    const __m128i small_h = K::small_h(s.ax);
    const __m128i off_main = K::whole(_mm_or_si128(small_h, K::big_h(s.ax)));
    const __m128i fm = K::sub(andnot(off_main, s.ax), andnot(off_main, s.t));
    const __m128i z = select(K::whole(small_h), v, andnot(K::sign(), fm));
    iz = _mm_or_si128(_mm_or_si128(z, _mm_and_si128(K::is_nan(v), iy)), s.sign);
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
    for (; i <= n - L; i += L) {
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
