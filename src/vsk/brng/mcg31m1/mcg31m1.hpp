// Arithmetic modulo 2^31 - 1 and 2^59 shared by the congruential generators and their jumps.
#pragma once

#include <cstdint>

namespace hpk::vsk {

inline constexpr uint32_t kMod31 = 0x7fffffffu;
inline constexpr uint64_t kMask59 = 0x7ffffffffffffffull;

// v mod 2^31 - 1 for v = x y with x, y < 2^31: 2^31 = 1 in this modulus, so the high part folds
// onto the low one; the sum is below 2 (2^31 - 1) and one conditional subtraction ends it.
inline uint32_t reduce31(uint64_t v) {
  uint32_t t = uint32_t(v & kMod31) + uint32_t(v >> 31);
  if (t >= kMod31) t -= kMod31;
  return t;
}
inline uint32_t mulmod31(uint32_t a, uint32_t x) { return reduce31(uint64_t(a) * x); }

// Generator state after the stream head.
struct Mcg31State {
  uint32_t x;  // next element, never 0
  uint32_t a;  // current multiplier
};
struct Mcg59State {
  uint64_t x;  // next element, below 2^59
  uint64_t a;  // current multiplier
};

inline constexpr uint32_t kMcg31A = 0x43806c20u;         // 1132489760
inline constexpr uint64_t kMcg59A = 0x113769b23c5fdull;  // 13^13

}  // namespace hpk::vsk
