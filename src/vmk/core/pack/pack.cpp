// Pack and Unpack: strided, indexed and masked copies. Elements are moved as raw bits (NaN
// payloads and signalling NaNs survive), with no control state and no status.
//
// The width flag 1 makes the count, the stride, the indices and the mask values 32-bit
// integers; any other value makes them all 64-bit.
#include <cstdint>
#include <cstring>

#include "hpk/vmk.h"

namespace {

template <int Bytes>
struct Element {
  unsigned char b[Bytes];
};

template <class I>
inline int64_t at(const void *p, int64_t i) {
  return static_cast<const I *>(p)[i];
}

inline int64_t count(int64_t n, int width) { return width == 1 ? int64_t(int32_t(n)) : n; }

// Calls f with a value of the integer type the width flag selects for indices and masks.
template <class F>
inline void by_width(int width, F f) {
  if (width == 1) f(int32_t{});
  else f(int64_t{});
}

template <int Bytes>
struct Copies {
  using E = Element<Bytes>;

  static void pack_i(int64_t n, const void *a, int64_t inc, void *y, int width) {
    n = count(n, width);
    inc = count(inc, width);
    const E *src = static_cast<const E *>(a);
    E *dst = static_cast<E *>(y);
    for (int64_t i = 0; i < n; ++i) dst[i] = src[i * inc];
  }
  static void unpack_i(int64_t n, const void *a, int64_t inc, void *y, int width) {
    n = count(n, width);
    inc = count(inc, width);
    const E *src = static_cast<const E *>(a);
    E *dst = static_cast<E *>(y);
    for (int64_t i = 0; i < n; ++i) dst[i * inc] = src[i];
  }

  template <class I>
  static void pack_v(int64_t n, const E *src, const void *index, E *dst) {
    for (int64_t i = 0; i < n; ++i) dst[i] = src[at<I>(index, i)];
  }
  template <class I>
  static void unpack_v(int64_t n, const E *src, const void *index, E *dst) {
    for (int64_t i = 0; i < n; ++i) dst[at<I>(index, i)] = src[i];
  }
  static void pack_v(int64_t n, const void *a, const void *index, void *y, int width) {
    n = count(n, width);
    by_width(width, [&](auto i) {
      pack_v<decltype(i)>(n, static_cast<const E *>(a), index, static_cast<E *>(y));
    });
  }
  static void unpack_v(int64_t n, const void *a, const void *index, void *y, int width) {
    n = count(n, width);
    by_width(width, [&](auto i) {
      unpack_v<decltype(i)>(n, static_cast<const E *>(a), index, static_cast<E *>(y));
    });
  }

  // PackM appends, in order, each a[i] whose mask value is non-zero; UnpackM puts the packed
  // values back, in order, at the positions whose mask value is non-zero, and leaves the others.
  template <class I>
  static void pack_m(int64_t n, const E *src, const void *mask, E *dst) {
    int64_t j = 0;
    for (int64_t i = 0; i < n; ++i)
      if (at<I>(mask, i) != 0) dst[j++] = src[i];
  }
  template <class I>
  static void unpack_m(int64_t n, const E *src, const void *mask, E *dst) {
    int64_t j = 0;
    for (int64_t i = 0; i < n; ++i)
      if (at<I>(mask, i) != 0) dst[i] = src[j++];
  }
  static void pack_m(int64_t n, const void *a, const void *mask, void *y, int width) {
    n = count(n, width);
    by_width(width, [&](auto i) {
      pack_m<decltype(i)>(n, static_cast<const E *>(a), mask, static_cast<E *>(y));
    });
  }
  static void unpack_m(int64_t n, const void *a, const void *mask, void *y, int width) {
    n = count(n, width);
    by_width(width, [&](auto i) {
      unpack_m<decltype(i)>(n, static_cast<const E *>(a), mask, static_cast<E *>(y));
    });
  }
};

}  // namespace

#define HPK_PACK_KERNELS(t, T, Bytes)                                                          \
  void hpk_vmk_kernel_##t##PackI_EXHAynn(int64_t n, const T *a, int64_t inc, T *y, int w) {    \
    Copies<Bytes>::pack_i(n, a, inc, y, w);                                                    \
  }                                                                                            \
  void hpk_vmk_kernel_##t##UnpackI_EXHAynn(int64_t n, const T *a, int64_t inc, T *y, int w) {  \
    Copies<Bytes>::unpack_i(n, a, inc, y, w);                                                  \
  }                                                                                            \
  void hpk_vmk_kernel_##t##PackV_EXHAynn(int64_t n, const T *a, const void *ix, T *y, int w) { \
    Copies<Bytes>::pack_v(n, a, ix, y, w);                                                     \
  }                                                                                            \
  void hpk_vmk_kernel_##t##UnpackV_EXHAynn(int64_t n, const T *a, const void *ix, T *y,        \
                                           int w) {                                            \
    Copies<Bytes>::unpack_v(n, a, ix, y, w);                                                   \
  }                                                                                            \
  void hpk_vmk_kernel_##t##PackM_EXHAynn(int64_t n, const T *a, const void *m, T *y, int w) {  \
    Copies<Bytes>::pack_m(n, a, m, y, w);                                                      \
  }                                                                                            \
  void hpk_vmk_kernel_##t##UnpackM_EXHAynn(int64_t n, const T *a, const void *m, T *y,         \
                                           int w) {                                            \
    Copies<Bytes>::unpack_m(n, a, m, y, w);                                                    \
  }

extern "C" {
HPK_PACK_KERNELS(s, float, 4)
HPK_PACK_KERNELS(d, double, 8)
HPK_PACK_KERNELS(c, hpk_complex8, 8)
HPK_PACK_KERNELS(z, hpk_complex16, 16)
}
