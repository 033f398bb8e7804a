// Modular powers by square-and-multiply from the low bit of the exponent.
#include "hpk/vsk_brng_mcg.h"
#include "vsk/brng/mcg31m1/mcg31m1.hpp"

extern "C" {

uint32_t __vskiPowMod(uint32_t base, uint64_t e, uint32_t m) {
  uint64_t result = 1, b = base;
  for (; e != 0; e >>= 1) {
    if (e & 1) result = (result * b) % m;
    b = (b * b) % m;
  }
  return uint32_t(result);
}

uint32_t __vskiPowMod2P31M1(uint32_t base, uint64_t e) {
  uint32_t result = 1, b = base;
  for (; e != 0; e >>= 1) {
    if (e & 1) result = hpk::vsk::mulmod31(result, b);
    b = hpk::vsk::mulmod31(b, b);
  }
  return result;
}

}  // extern "C"
