// Helpers shared by the generator tests: streams that delete themselves, the state words of a
// record, and random splits of a request.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "hpk/vsk.h"

namespace hpk_test {

struct Stream {
  StreamState *s = nullptr;
  Stream(int32_t brng, std::vector<uint32_t> seed) {
    const int32_t st = __vskNewStreamEx(&s, brng, int32_t(seed.size()), seed.data());
    EXPECT_EQ(st, 0) << std::hex << brng;
  }
  Stream(int32_t brng, int32_t n, const uint32_t *seed) {
    EXPECT_EQ(__vskNewStreamEx(&s, brng, n, seed), 0);
  }
  Stream(const Stream &) = delete;
  ~Stream() {
    if (s) __vskDeleteStream(&s);
  }
  operator StreamState *() const { return s; }
  template <class T>
  T word(size_t i) const {  // i-th T of the generator state
    T v;
    std::memcpy(&v, reinterpret_cast<const unsigned char *>(s) + 16 + i * sizeof(T), sizeof v);
    return v;
  }
  std::vector<unsigned char> bytes(size_t n) const {
    const auto *p = reinterpret_cast<const unsigned char *>(s);
    return {p, p + n};
  }
};

// Parts of a request of `total` elements, mixing the sizes that meet every path of a
// generator: 1, just below and above the group sizes, and long runs.
inline std::vector<int32_t> random_split(int32_t total, uint32_t seed) {
  static const int32_t sizes[] = {1, 2, 3, 7, 8, 9, 15, 16, 17, 31, 33, 68, 69, 70,
                                  100, 623, 624, 625, 1000, 1300};
  std::mt19937 g(seed);
  std::vector<int32_t> parts;
  while (total > 0) {
    int32_t k = sizes[g() % (sizeof sizes / sizeof sizes[0])];
    if (k > total) k = total;
    parts.push_back(k);
    total -= k;
  }
  return parts;
}

}  // namespace hpk_test
