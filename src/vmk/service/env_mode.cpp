// Reading a thread's first mode from the environment.
//
// The variable's name is kept enciphered in the binary and deciphered into a stack buffer just
// before the one getenv call, so the plain name never stands in the shared object.
#include <array>
#include <cstdlib>
#include <cstring>

#include "vmk/service/thread_state.hpp"

namespace {

constexpr uint8_t kCipherSeed = 0x5B;
constexpr uint8_t kCipherStep = 0x3D;

template <std::size_t N>
constexpr std::array<uint8_t, N> encipher(const char (&plain)[N]) {
  std::array<uint8_t, N> out{};
  uint8_t key = kCipherSeed;
  for (std::size_t i = 0; i < N; ++i, key = uint8_t(key + kCipherStep)) out[i] = uint8_t(plain[i]) ^ key;
  return out;
}

constinit const auto kEnvNameCipher = encipher(HPK_VMK_MODE_ENV);

struct ModeKeyword {
  const char *text;
  int length;
  uint32_t value;
};

// Searched in this order; the first row whose text matches ends the search. Row 5 is one letter
// short on purpose: "VMK_DOUBLE_CONSISTEN" is the accepted spelling, and the full word is refused
// because no back-tracking to other rows happens once a row has matched.
constexpr ModeKeyword mapModeS_N[13] = {
    {"LA", 2, 0x1},
    {"HA", 2, 0x2},
    {"EP", 2, 0x3},
    {"DEFAULT_PRECISION", 17, 0x0},
    {"FLOAT_CONSISTENT", 16, 0x10},
    {"DOUBLE_CONSISTEN", 16, 0x20},
    {"RESTORE", 7, 0x30},
    {"ERRMODE_IGNORE", 14, 0x100},
    {"ERRMODE_ERRNO", 13, 0x200},
    {"ERRMODE_STDERR", 14, 0x400},
    {"ERRMODE_EXCEPT", 14, 0x800},
    {"ERRMODE_CALLBACK", 16, 0x1000},
    {"ERRMODE_DEFAULT", 15, 0x1A00},
};

constexpr std::size_t kItemLimit = 256;  // no item may end at or beyond this character

}  // namespace

extern "C" int64_t hpk_vmk_kernel_ReadEnvVarMode(void) {
  char name[kEnvNameCipher.size()];
  // The volatile seed keeps the compiler from folding the plain name back into the binary.
  volatile uint8_t seed = kCipherSeed;
  uint8_t key = seed;
  for (std::size_t i = 0; i < kEnvNameCipher.size(); ++i, key = uint8_t(key + kCipherStep))
    name[i] = char(kEnvNameCipher[i] ^ key);

  const char *value = std::getenv(name);
  if (value == nullptr || value[0] == '\0') return -1;

  uint64_t result = 0;
  std::size_t pos = 0;
  for (;;) {
    if (std::strncmp(value + pos, "VMK_", 4) != 0) return -1;
    const char *item = value + pos + 4;
    const ModeKeyword *hit = nullptr;
    for (const ModeKeyword &row : mapModeS_N) {
      if (pos + 4 + std::size_t(row.length) >= kItemLimit) continue;
      if (std::strncmp(item, row.text, std::size_t(row.length)) == 0) {
        hit = &row;
        break;
      }
    }
    if (hit == nullptr) return -1;
    const char next = item[hit->length];
    if (next != ',' && next != '\0') return -1;
    result |= hit->value;
    if (next == '\0') return int64_t(result);
    pos += 4 + std::size_t(hit->length) + 1;
  }
}
