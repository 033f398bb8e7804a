// Per-thread mode: environment parsing (each value read by a fresh thread), the merge rules of
// the set operation, the call-back and status services, and table index functions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>

#include "hpk/vmk.h"

namespace {

// The mode a new thread starts with under the given environment value (null: unset).
uint64_t first_mode_with(const char *value) {
  if (value) setenv(HPK_VMK_MODE_ENV, value, 1);
  else unsetenv(HPK_VMK_MODE_ENV);
  uint64_t mode = 0;
  std::thread([&] { mode = hpk_vmk_kernel_GetMode(); }).join();
  unsetenv(HPK_VMK_MODE_ENV);
  return mode;
}

struct EnvCase {
  const char *value;
  uint64_t mode;
};

TEST(ModeEnvironment, ParsesItemListsByTheKeywordTable) {
  const EnvCase cases[] = {
      {nullptr, 0x1A02},
      {"", 0x1A02},
      {"VMK_HA,VMK_ERRMODE_STDERR", 0x402},
      {"VMK_ERRMODE_DEFAULT,VMK_EP", 0x1A03},
      {"VMK_LA,VMK_HA", 0x3},                 // items accumulate by OR
      {"VMK_HA,", 0x1A02},                    // trailing comma: the whole value is bad
      {"HA", 0x1A02},                         // no prefix
      {"VMK_DOUBLE_CONSISTEN", 0x20},         // the table's spelling
      {"VMK_DOUBLE_CONSISTENT", 0x1A02},      // refused: row 5 matched, then 'T' follows
      {"VMK_FLOAT_CONSISTENT,VMK_LA", 0x11},
      {"VMK_RESTORE", 0x30},
      {"VMK_ERRMODE_IGNORE", 0x100},
      {"VMK_ERRMODE_ERRNO,VMK_ERRMODE_EXCEPT", 0xA00},
      {"VMK_ERRMODE_CALLBACK", 0x1000},
      {"VMK_LA,VMK_BOGUS", 0x1A02},            // one bad item discards the good ones before it
      {"VMK_HAX", 0x1A02},                    // first match without back-tracking
      {"VMK_HA VMK_LA", 0x1A02},              // no blanks allowed
      {"vmk_HA", 0x1A02},
  };
  for (const EnvCase &c : cases)
    EXPECT_EQ(first_mode_with(c.value), c.mode) << (c.value ? c.value : "(unset)");
}

TEST(ModeEnvironment, NoItemMayEndAtOrBeyondCharacter256) {
  // An item that ends exactly at position 255 is fine; one that would reach 256 matches nothing.
  auto with_prefix_items = [](int commas_to_fill) {
    std::string v;
    for (int i = 0; i < commas_to_fill; ++i) v += "VMK_LA,";
    return v;
  };
  // 36 items of 7 characters put the next item at position 252: "VMK_" + "HA" ends at 258.
  std::string bad = with_prefix_items(36) + "VMK_HA";
  EXPECT_EQ(first_mode_with(bad.c_str()), 0x1A02u);
  // 35 items put it at 245: "VMK_HA" occupies 245..250, inside the limit.
  std::string good = with_prefix_items(35) + "VMK_HA";
  EXPECT_EQ(first_mode_with(good.c_str()), 0x3u);
}

TEST(ModeEnvironment, DefaultPrecisionAloneLeavesTheThreadUninitialised) {
  setenv(HPK_VMK_MODE_ENV, "VMK_DEFAULT_PRECISION", 1);
  uint64_t first = 1, second = 1, after_env_change = 0;
  std::thread([&] {
    first = hpk_vmk_kernel_GetMode();
    second = hpk_vmk_kernel_GetMode();
    setenv(HPK_VMK_MODE_ENV, "VMK_EP", 1);  // read again, since the stored mode is still 0
    after_env_change = hpk_vmk_kernel_GetMode();
  }).join();
  unsetenv(HPK_VMK_MODE_ENV);
  EXPECT_EQ(first, 0u);
  EXPECT_EQ(second, 0u);
  EXPECT_EQ(after_env_change, 0x3u);
}

TEST(ModeEnvironment, TheVariableNameIsNotPlainTextInTheLibrary) {
  const char *path = std::getenv("HPK_LIBRARY");
  if (!path) GTEST_SKIP() << "HPK_LIBRARY not set (run through ctest)";
  FILE *f = std::fopen(path, "rb");
  ASSERT_NE(f, nullptr);
  std::string bytes;
  char buf[65536];
  size_t got;
  while ((got = std::fread(buf, 1, sizeof buf, f)) > 0) bytes.append(buf, got);
  std::fclose(f);
  EXPECT_GT(bytes.size(), 10000u);
  EXPECT_EQ(bytes.find(HPK_VMK_MODE_ENV), std::string::npos);
  EXPECT_NE(bytes.find("ERRMODE_CALLBACK"), std::string::npos);  // the keyword table is there
}

struct SetCase {
  uint32_t start, arg, expect;
};

TEST(ModeSet, MergesFieldByField) {
  const SetCase cases[] = {
      {0x1A02, 0x30, 0x1A02},        // consistency nibble is never set
      {0x1A02, 0x101, 0x101},        // the whole error byte replaced
      {0x1A02, 0x3, 0x1A03},
      {0x1A02, 0x280000, 0x281A02},
      {0x281A02, 0x140000, 0x141A02},
      {0x1A02, 0x0, 0x1A02},         // zero fields keep the stored values
      {0x1A02, 0xFF000000u, 0x1A02}, // bits outside the fields are dropped
      {0x1A02, 0x400, 0x402},
  };
  for (const SetCase &c : cases) {
    std::thread([&] {
      hpk_vmk_kernel_SetMode(c.start);
      // Fields are replaced as wholes: clear them first so `start` stands exactly.
      EXPECT_EQ(hpk_vmk_kernel_GetMode() & ~uint64_t(c.start), 0u);
      const uint64_t before = hpk_vmk_kernel_GetMode();
      EXPECT_EQ(_vmkSetMode(c.arg), before);
      EXPECT_EQ(hpk_vmk_kernel_GetMode(), c.expect) << std::hex << c.start << " " << c.arg;
    }).join();
  }
}

TEST(ModeSet, ANewThreadDoesNotInheritItsParentsMode) {
  hpk_vmk_kernel_SetMode(0x101);
  uint64_t child = 0;
  std::thread([&] { child = hpk_vmk_kernel_GetMode(); }).join();
  EXPECT_EQ(child, 0x1A02u);
  hpk_vmk_kernel_SetMode(0x1A02);
}

int dummy_callback(HpkVmkErrorContext *) { return 0; }

TEST(ModeServices, StatusAndCallBack) {
  std::thread([] {
    EXPECT_EQ(_vmkGetErrStatus(), 0);
    EXPECT_EQ(_vmkSetErrStatus(3), 0);
    EXPECT_EQ(hpk_vmk_kernel_GetErrStatus(), 3);
    EXPECT_EQ(_vmkClearErrStatus(), 3);
    EXPECT_EQ(_vmkGetErrStatus(), 0);

    hpk_vmk_kernel_SetMode(0x202);  // errno only
    EXPECT_EQ(_vmkSetErrorCallBack(dummy_callback), nullptr);
    EXPECT_EQ(_vmkGetErrorCallBack(), dummy_callback);
    EXPECT_EQ(hpk_vmk_kernel_GetMode(), 0x1202u);  // call-back action added
    EXPECT_EQ(_vmkClearErrorCallBack(), dummy_callback);
    EXPECT_EQ(_vmkGetErrorCallBack(), nullptr);
    EXPECT_EQ(hpk_vmk_kernel_GetMode(), 0x202u);   // and removed
    // With the call-back as the only action, clearing leaves the field (a zero field keeps
    // its value); dispatch tests the pointer as well.
    hpk_vmk_kernel_SetMode(0x1000);
    _vmkSetErrorCallBack(dummy_callback);
    _vmkClearErrorCallBack();
    EXPECT_EQ(hpk_vmk_kernel_GetMode(), 0x1002u);

    int x = 0;
    EXPECT_EQ(_vmkSetInterfInputVectorPointer(&x), &x);
    EXPECT_EQ(dll_cpu_version(), 0);
  }).join();
}

TEST(ModeServices, TableIndex) {
  const std::pair<uint64_t, int> cases[] = {{0x1A01, 0}, {0x3, 2}, {0x0, -1}, {0x1A02, 1}, {0x5, 4}};
  for (auto [mode, index] : cases) EXPECT_EQ(hpk_vmk_kernel_GetTTableIndexM(12345, mode), index);
  std::thread([] {
    EXPECT_EQ(hpk_vmk_kernel_GetTTableIndex(), 1);
    hpk_vmk_kernel_SetMode(HPK_VMK_LA);
    EXPECT_EQ(hpk_vmk_kernel_GetTTableIndex(), 0);
  }).join();
}

}  // namespace
