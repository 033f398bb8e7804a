// Generator registry: id translation, validity, properties and registration.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "vsk/toy_brng.hpp"

namespace {

int32_t validity(int32_t brng) {
  int32_t row, member;
  const BrngEntry *t = __vskGetBrngBaseOffset(brng, &row, &member);
  return __vskIsBrngValid(t, row, member);
}

TEST(Registry, TranslatesIdsToTableRowAndMember) {
  struct Case { int32_t brng; bool current; int32_t row, member; };
  const Case cases[] = {
      {HPK_VSK_BRNG_MCG31M1, true, 0, 0},
      {HPK_VSK_BRNG_WH + 272, true, 4, 272},
      {HPK_VSK_BRNG_WH + 273, true, 4, 273},
      {HPK_VSK_BRNG_MT2203 + 6023, true, 8, 6023},
      {HPK_VSK_BRNG_NONDETERM, true, 13, 0},
      {HPK_VSK_BRNG_FIRST_USER, true, 14, 0},
      {0x100000 - 1, false, 0xfffff, 0},
      {INT_MAX, true, 2046, 0xfffff},
      {0, false, 0, 0},
      {3, false, 3, 0},
      {4, false, 4, 0},
      {276, false, 4, 272},
      {277, false, 277, 0},
      {278, false, 278, 0},
      {279, false, 279, 0},
      {-1, false, -1, 0},
      {INT_MIN, false, INT_MIN, 0},
  };
  for (const Case &c : cases) {
    int32_t row = -7, member = -7;
    const BrngEntry *t = __vskGetBrngBaseOffset(c.brng, &row, &member);
    EXPECT_EQ(t, c.current ? __RegBrngsNew : __RegBrngs) << std::hex << c.brng;
    EXPECT_EQ(row, c.row) << std::hex << c.brng;
    EXPECT_EQ(member, c.member) << std::hex << c.brng;
  }
}

// A built-in row is either built (valid id, four functions) or all zero with invalid ids.
TEST(Registry, GeneratorsNotBuiltYetHaveInvalidIds) {
  EXPECT_GE(__vskGetNumRegBrngs(), HPK_VSK_NUM_BUILTIN_BRNGS);
  for (int32_t row = 0; row < HPK_VSK_NUM_BUILTIN_BRNGS; ++row) {
    const int32_t id = (row + 1) << 20;
    const BrngEntry &e = __RegBrngsNew[row];
    if (e.init_stream != nullptr) {
      EXPECT_EQ(validity(id), 0) << std::hex << id;
      EXPECT_TRUE(e.s_output && e.d_output && e.i_output) << row;
      continue;
    }
    EXPECT_EQ(validity(id), HPK_VSK_ERROR_INVALID_BRNG) << std::hex << id;
    const BrngEntry zero{};
    EXPECT_TRUE(toy::same_entry(e, zero)) << row;
  }
  for (int32_t legacy = 0; legacy < HPK_VSK_NUM_LEGACY_ROWS; ++legacy) {
    const bool built = __RegBrngs[legacy].init_stream != nullptr;
    EXPECT_EQ(validity(legacy), built ? 0 : HPK_VSK_ERROR_INVALID_BRNG) << legacy;
  }
}

TEST(Registry, LegacyValidityIgnoresMemberAndPassesNegativeRows) {
  const BrngEntry e = toy::lcg_entry();
  toy::LegacyRow wh(HPK_VSK_LEGACY_WH_FIRST, e);
  struct Case { int32_t brng; int32_t status; };
  const Case cases[] = {
      {4, 0}, {5, 0}, {276, 0},              // every WH legacy id reaches row 4
      {1, HPK_VSK_ERROR_INVALID_BRNG},       // a row not built (R250)
      {278, HPK_VSK_ERROR_INVALID_BRNG},
      {279, HPK_VSK_ERROR_INVALID_BRNG},     // past the legacy rows
      {0xfffff, HPK_VSK_ERROR_INVALID_BRNG},
      {-1, 0}, {INT_MIN, 0},                 // deliberately reported valid
  };
  for (const Case &c : cases) EXPECT_EQ(validity(c.brng), c.status) << c.brng;
  // The member is not examined for the legacy table, whatever it is.
  EXPECT_EQ(__vskIsBrngValid(__RegBrngs, 4, 100000), 0);
  EXPECT_EQ(__vskIsBrngValid(__RegBrngs, 4, -5), 0);
  // A table that is neither of the two is refused.
  EXPECT_EQ(__vskIsBrngValid(nullptr, 0, 0), HPK_VSK_ERROR_INVALID_BRNG);
}

TEST(Registry, FirstRegisteredGeneratorTakesTheFirstFreeRow) {
  const toy::Ids &ids = toy::ids();
  EXPECT_EQ(ids.count_before, HPK_VSK_NUM_BUILTIN_BRNGS);
  EXPECT_EQ(ids.probe_before, HPK_VSK_ERROR_INVALID_BRNG);  // 0xf00000 before registering
  EXPECT_EQ(ids.lcg, HPK_VSK_BRNG_FIRST_USER);
  EXPECT_EQ(ids.wide, HPK_VSK_BRNG_FIRST_USER + (1 << 20));
  EXPECT_EQ(validity(ids.lcg), 0);
  EXPECT_EQ(validity(ids.lcg + 1), HPK_VSK_ERROR_INVALID_BRNG);  // one member only
  EXPECT_EQ(validity(ids.wide), 0);
  EXPECT_EQ(validity(ids.wide + 1), HPK_VSK_ERROR_INVALID_BRNG);
  EXPECT_EQ(validity((__vskGetNumRegBrngs() + 1) << 20), HPK_VSK_ERROR_INVALID_BRNG);
}

TEST(Registry, PropertiesCopyTheRowOrLeaveTheOutputAlone) {
  const toy::Ids &ids = toy::ids();
  BrngEntry out;
  ASSERT_EQ(__vskGetBrngProperties(ids.wide, &out), 0);
  const BrngEntry w = toy::wide_entry();
  EXPECT_TRUE(toy::same_entry(out, w));

  const int32_t bad[] = {ids.lcg + 1, HPK_VSK_BRNG_R250, HPK_VSK_BRNG_WH + 273, 279, 1, -1,
                         INT_MIN};
  for (int32_t brng : bad) {
    std::memset(&out, 0x5a, sizeof out);
    EXPECT_EQ(__vskGetBrngProperties(brng, &out), HPK_VSK_ERROR_INVALID_BRNG) << brng;
    for (size_t i = 0; i < sizeof out; ++i)
      ASSERT_EQ(reinterpret_cast<unsigned char *>(&out)[i], 0x5a) << brng;
  }

  const BrngEntry e = toy::lcg_entry();
  toy::LegacyRow wh(HPK_VSK_LEGACY_WH_FIRST, e);
  ASSERT_EQ(__vskGetBrngProperties(276, &out), 0);
  EXPECT_EQ(out.init_stream, e.init_stream);
  EXPECT_EQ(out.state_bytes, e.state_bytes);
}

TEST(Registry, RegistrationChecksRunInOrder) {
  toy::ids();
  struct Case { const char *what; void (*edit)(BrngEntry &); int32_t status; };
  const Case cases[] = {
      {"state_bytes -1", [](BrngEntry &e) { e.state_bytes = -1; }, -1008},
      {"state_bytes -1, word_bytes 12", [](BrngEntry &e) { e.state_bytes = -1; e.word_bytes = 12; }, -1008},
      {"word_bytes 12, state_words 0", [](BrngEntry &e) { e.word_bytes = 12; e.state_words = 0; }, -1009},
      {"word_bytes 0", [](BrngEntry &e) { e.word_bytes = 0; }, -1009},
      {"word_bytes 32", [](BrngEntry &e) { e.word_bytes = 32; }, -1009},
      {"state_words 0, word_bits 0", [](BrngEntry &e) { e.state_words = 0; e.word_bits = 0; }, -1010},
      {"state_words -3", [](BrngEntry &e) { e.state_words = -3; }, -1010},
      {"word_bits 0, no d_output", [](BrngEntry &e) { e.word_bits = 0; e.d_output = nullptr; }, -1011},
      {"no d_output", [](BrngEntry &e) { e.d_output = nullptr; }, -5},
      {"no s_output", [](BrngEntry &e) { e.s_output = nullptr; }, -5},
      {"no i_output", [](BrngEntry &e) { e.i_output = nullptr; }, -5},
      {"no init_stream", [](BrngEntry &e) { e.init_stream = nullptr; }, -5},
  };
  const int32_t count = __vskGetNumRegBrngs();
  for (const Case &c : cases) {
    BrngEntry e = toy::lcg_entry();
    c.edit(e);
    EXPECT_EQ(__vskRegisterBrng(&e), c.status) << c.what;
    EXPECT_EQ(__vskGetNumRegBrngs(), count) << c.what;
  }
}

// Fills the current table to its last row; the next registration is refused and writes nothing.
// Registrations are permanent, so this leaves the table full for the rest of the process.
TEST(Registry, RegistrationBeyondTheLastRowIsRefused) {
  toy::ids();
  BrngEntry e = toy::lcg_entry();
  e.has_zero = 7;        // stored as it comes
  int32_t last = 0;
  while (__vskGetNumRegBrngs() < HPK_VSK_MAX_REG_BRNGS) {
    const int32_t expect = (__vskGetNumRegBrngs() + 1) << 20;
    last = __vskRegisterBrng(&e);
    ASSERT_EQ(last, expect);
  }
  EXPECT_EQ(last, 0x20000000);  // row 511
  BrngEntry props;
  ASSERT_EQ(__vskGetBrngProperties(last, &props), 0);
  EXPECT_EQ(props.has_zero, 7);

  StreamState *s = nullptr;
  const uint32_t seed[1] = {9};
  ASSERT_EQ(__vskNewStreamEx(&s, last, 1, seed), 0);
  EXPECT_EQ(__vskGetStreamStateBrng(s), last);
  __vskDeleteStream(&s);

  const BrngEntry after = __RegBrngsNew[HPK_VSK_MAX_REG_BRNGS - 1];
  const BrngEntry w = toy::wide_entry();
  EXPECT_EQ(__vskRegisterBrng(&w), HPK_VSK_ERROR_BRNG_TABLE_FULL);
  EXPECT_EQ(__vskGetNumRegBrngs(), HPK_VSK_MAX_REG_BRNGS);
  EXPECT_TRUE(toy::same_entry(after, __RegBrngsNew[HPK_VSK_MAX_REG_BRNGS - 1]));
  // The field checks still come first.
  e.word_bytes = 2;
  EXPECT_EQ(__vskRegisterBrng(&e), HPK_VSK_ERROR_BAD_WORD_BYTES);
}

}  // namespace
