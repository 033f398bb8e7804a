// Pack and Unpack for every type, both widths of the count/stride/index/mask integers.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "hpk/vmk.h"

namespace {

// Raw element of B bytes with a recognisable pattern.
template <int B>
struct Elem {
  unsigned char b[B];
  static Elem make(int k) {
    Elem e;
    for (int i = 0; i < B; ++i) e.b[i] = (unsigned char)(k * 7 + i + 1);
    return e;
  }
  bool operator==(const Elem &o) const { return std::memcmp(b, o.b, B) == 0; }
};

template <class T, int B>
struct Kernels {
  void (*pack_i)(int64_t, const T *, int64_t, T *, int);
  void (*unpack_i)(int64_t, const T *, int64_t, T *, int);
  void (*pack_v)(int64_t, const T *, const void *, T *, int);
  void (*unpack_v)(int64_t, const T *, const void *, T *, int);
  void (*pack_m)(int64_t, const T *, const void *, T *, int);
  void (*unpack_m)(int64_t, const T *, const void *, T *, int);
};

// With width 1 only the low 32 bits of the count and stride count: garbage in the high half of
// a 64-bit register must not matter.
constexpr int64_t kHighGarbage = int64_t(0x5A5A5A5A) << 32;

template <class T, int B>
void check_all(const Kernels<T, B> &k) {
  using E = Elem<B>;
  static_assert(sizeof(E) == sizeof(T));
  const int n = 11;
  std::vector<E> src(40), dst(40), expect(40);
  for (int i = 0; i < 40; ++i) src[i] = E::make(i);
  auto as_t = [](std::vector<E> &v) { return reinterpret_cast<T *>(v.data()); };
  auto as_ct = [](const std::vector<E> &v) { return reinterpret_cast<const T *>(v.data()); };
  const int32_t idx32[n] = {5, 0, 39, 7, 7, 12, 3, 30, 1, 2, 20};
  const int64_t idx64[n] = {5, 0, 39, 7, 7, 12, 3, 30, 1, 2, 20};
  const int32_t mask32[n] = {1, 0, 0, 3, -1, 0, 1, 0, 0, 0, 1};
  const int64_t mask64[n] = {1, 0, 0, int64_t(1) << 40, -1, 0, 1, 0, 0, 0, 1};

  for (int width : {1, 8}) {
    const int64_t count = width == 1 ? n + kHighGarbage : n;
    const void *idx = width == 1 ? (const void *)idx32 : (const void *)idx64;
    const void *mask = width == 1 ? (const void *)mask32 : (const void *)mask64;

    // PackI / UnpackI with stride 3.
    const int64_t stride = width == 1 ? 3 + kHighGarbage : 3;
    dst.assign(40, E::make(99));
    k.pack_i(count, as_ct(src), stride, as_t(dst), width);
    expect.assign(40, E::make(99));
    for (int i = 0; i < n; ++i) expect[i] = src[i * 3];
    EXPECT_TRUE(dst == expect) << "PackI width " << width;
    dst.assign(40, E::make(99));
    k.unpack_i(count, as_ct(src), stride, as_t(dst), width);
    expect.assign(40, E::make(99));
    for (int i = 0; i < n; ++i) expect[i * 3] = src[i];
    EXPECT_TRUE(dst == expect) << "UnpackI width " << width;

    // PackV / UnpackV.
    dst.assign(40, E::make(99));
    k.pack_v(count, as_ct(src), idx, as_t(dst), width);
    expect.assign(40, E::make(99));
    for (int i = 0; i < n; ++i) expect[i] = src[idx64[i]];
    EXPECT_TRUE(dst == expect) << "PackV width " << width;
    dst.assign(40, E::make(99));
    k.unpack_v(count, as_ct(src), idx, as_t(dst), width);
    expect.assign(40, E::make(99));
    for (int i = 0; i < n; ++i) expect[idx64[i]] = src[i];  // the later of two writes to 7 wins
    EXPECT_TRUE(dst == expect) << "UnpackV width " << width;

    // PackM / UnpackM: a mask value counts when any of its bits is set (1 << 40 in 64-bit).
    dst.assign(40, E::make(99));
    k.pack_m(count, as_ct(src), mask, as_t(dst), width);
    expect.assign(40, E::make(99));
    int j = 0;
    for (int i = 0; i < n; ++i)
      if (mask64[i]) expect[j++] = src[i];
    EXPECT_EQ(j, 5);
    EXPECT_TRUE(dst == expect) << "PackM width " << width;
    dst.assign(40, E::make(99));
    k.unpack_m(count, as_ct(src), mask, as_t(dst), width);
    expect.assign(40, E::make(99));
    j = 0;
    for (int i = 0; i < n; ++i)
      if (mask64[i]) expect[i] = src[j++];
    EXPECT_TRUE(dst == expect) << "UnpackM width " << width;
  }

  // A count of zero or less touches nothing.
  dst.assign(40, E::make(99));
  expect = dst;
  k.pack_i(0, as_ct(src), 1, as_t(dst), 8);
  k.pack_m(-3, as_ct(src), mask64, as_t(dst), 8);
  k.unpack_v(int64_t(-1) & 0xFFFFFFFF, as_ct(src), idx32, as_t(dst), 1);  // -1 as 32-bit
  EXPECT_TRUE(dst == expect);
}

#define KERNELS(t)                                                                     \
  {hpk_vmk_kernel_##t##PackI_EXHAynn, hpk_vmk_kernel_##t##UnpackI_EXHAynn,             \
   hpk_vmk_kernel_##t##PackV_EXHAynn, hpk_vmk_kernel_##t##UnpackV_EXHAynn,             \
   hpk_vmk_kernel_##t##PackM_EXHAynn, hpk_vmk_kernel_##t##UnpackM_EXHAynn}

TEST(Pack, SingleDoubleAndComplexElementsBothWidths) {
  check_all<float, 4>(Kernels<float, 4> KERNELS(s));
  check_all<double, 8>(Kernels<double, 8> KERNELS(d));
  check_all<hpk_complex8, 8>(Kernels<hpk_complex8, 8> KERNELS(c));
  check_all<hpk_complex16, 16>(Kernels<hpk_complex16, 16> KERNELS(z));
}

}  // namespace
