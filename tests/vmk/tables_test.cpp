// Stubs and tables: every stub reaches its slot at call time, the slots and cost figures of the
// list stand in the exported tables, and the library holds no instruction beyond SSE2.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "hpk/vmk.h"

namespace {

// The slot a probe records; probes ignore their arguments, which the stubs pass unchanged.
int g_reached = -1;
extern "C" void probe0() { g_reached = 0; }
extern "C" void probe1() { g_reached = 1; }
extern "C" void probe2() { g_reached = 2; }

using Stub = void (*)();

struct FunctionRow {
  std::string name;
  void **table;
  const float *costs;
  std::array<Stub, 4> stubs;  // LA, HA, plain, EP
  std::array<int, 4> slots;
};

#define ROW(t, Fn, shape, k0, k1, k2, c0, c1, c2)                                           \
  FunctionRow{#t #Fn,                                                                       \
              reinterpret_cast<void **>(hpk_vmk_kernel_##t##Fn##_ttab),                     \
              hpk_vmk_kernel_##t##Fn##_ctab,                                                \
              {reinterpret_cast<Stub>(HPK_VMK_STUB_LA(t, Fn)),                              \
               reinterpret_cast<Stub>(_vmk##t##Fn##_HA), reinterpret_cast<Stub>(_vmk##t##Fn), \
               reinterpret_cast<Stub>(HPK_VMK_STUB_EP(t, Fn))},                             \
              {0, 1, 1, 2}},
const std::vector<FunctionRow> kRows = {HPK_VMK_FUNCTION_LIST(ROW)};
#undef ROW

TEST(Stubs, EachStubJumpsThroughItsSlotAtCallTime) {
  void *probes[3] = {reinterpret_cast<void *>(probe0), reinterpret_cast<void *>(probe1),
                     reinterpret_cast<void *>(probe2)};
  for (const FunctionRow &row : kRows) {
    void *saved[3] = {row.table[0], row.table[1], row.table[2]};
    for (int s = 0; s < 3; ++s) row.table[s] = probes[s];
    for (int k = 0; k < 4; ++k) {
      g_reached = -1;
      row.stubs[k]();
      EXPECT_EQ(g_reached, row.slots[k]) << row.name << " stub " << k;
    }
    for (int s = 0; s < 3; ++s) row.table[s] = saved[s];
  }
}

#define SLOTS(t, Fn, shape, k0, k1, k2, c0, c1, c2)                                        \
  EXPECT_EQ(reinterpret_cast<void *>(hpk_vmk_kernel_##t##Fn##_ttab[0]),                    \
            reinterpret_cast<void *>(hpk_vmk_kernel_##t##Fn##_EX##k0)) << #t #Fn;          \
  EXPECT_EQ(reinterpret_cast<void *>(hpk_vmk_kernel_##t##Fn##_ttab[1]),                    \
            reinterpret_cast<void *>(hpk_vmk_kernel_##t##Fn##_EX##k1)) << #t #Fn;          \
  EXPECT_EQ(reinterpret_cast<void *>(hpk_vmk_kernel_##t##Fn##_ttab[2]),                    \
            reinterpret_cast<void *>(hpk_vmk_kernel_##t##Fn##_EX##k2)) << #t #Fn;          \
  EXPECT_EQ(hpk_vmk_kernel_##t##Fn##_ctab[0], c0) << #t #Fn;                               \
  EXPECT_EQ(hpk_vmk_kernel_##t##Fn##_ctab[2], c2) << #t #Fn;

TEST(Tables, SlotsHoldTheListedKernelsAndCosts) { HPK_VMK_FUNCTION_LIST(SLOTS) }
#undef SLOTS

TEST(Tables, FixedCostFigures) {
  struct Fixed {
    const char *name;
    float cost;
  };
  const Fixed fixed[] = {{"sAdd", 0.74f}, {"sMul", 0.74f}, {"sSub", 0.74f}, {"dAdd", 1.79f},
                         {"dMul", 1.79f}, {"dSub", 1.79f}, {"dLinearFrac", 666.666f},
                         {"sLinearFrac", 666.0f}, {"cPackI", 1111.0f}, {"zUnpackM", 1111.0f}};
  for (const Fixed &f : fixed) {
    bool found = false;
    for (const FunctionRow &row : kRows) {
      if (row.name != f.name) continue;
      found = true;
      for (int s = 0; s < 3; ++s) EXPECT_EQ(row.costs[s], f.cost) << f.name;
    }
    EXPECT_TRUE(found) << f.name;
  }
}

// Every stub name of the list is exported under its exact name, and the count of exported
// `_vmk` names is four per function plus the nine forwarders.
TEST(Tables, ExportedNames) {
  const char *path = std::getenv("HPK_LIBRARY");
  if (!path) GTEST_SKIP() << "HPK_LIBRARY not set (run through ctest)";
  const std::string cmd = std::string("nm -D --defined-only ") + path;
  FILE *p = popen(cmd.c_str(), "r");
  ASSERT_NE(p, nullptr);
  char line[512];
  int vmk_names = 0;
  std::vector<std::string> names;
  while (std::fgets(line, sizeof line, p)) {
    char type[8], name[400];
    if (std::sscanf(line, "%*s %7s %399s", type, name) != 2) continue;
    names.push_back(name);
    if (std::strncmp(name, "_vmk", 4) == 0) ++vmk_names;
  }
  ASSERT_EQ(pclose(p), 0);
  EXPECT_EQ(vmk_names, int(4 * kRows.size() + 9));
  auto has = [&](const std::string &n) {
    for (const auto &x : names)
      if (x == n) return true;
    return false;
  };
  EXPECT_TRUE(has("_vmkdAdd_50"));
  EXPECT_TRUE(has("_vmksAdd_21"));
  EXPECT_TRUE(has("_vmkcPackI_11"));
  EXPECT_TRUE(has("_vmkzUnpackV_26"));
  EXPECT_TRUE(has("hpk_vmk_kernel_dHypot_EXHAynn"));
  EXPECT_TRUE(has("dll_cpu_version"));
  EXPECT_FALSE(has("_vmkdAdd_21"));  // single suffixes belong to s and c only
  for (const auto &n : names)  // no C++ symbol leaks out of the library
    EXPECT_NE(n.rfind("_ZN", 0), 0u) << n;
}

// The baseline build: no VEX/EVEX-encoded instruction, and none of the SSE3..SSE4.2 or
// bit-manipulation extensions.
TEST(Isa, NoInstructionBeyondSse2) {
  const char *path = std::getenv("HPK_LIBRARY");
  if (!path) GTEST_SKIP() << "HPK_LIBRARY not set (run through ctest)";
  const std::string cmd = std::string("objdump -d --no-show-raw-insn ") + path;
  FILE *p = popen(cmd.c_str(), "r");
  ASSERT_NE(p, nullptr);
  static const char *const kBeyond[] = {
      "addsubp", "haddp", "hsubp", "lddqu", "movddup", "movshdup", "movsldup",         // SSE3
      "pshufb", "phadd", "phsub", "pmaddubsw", "pmulhrsw", "psign", "pabs", "palignr", // SSSE3
      "blendp", "blendvp", "pblend", "dpp", "insertps", "extractps", "pextrb", "pextrd", "pextrq", "pinsrb", "pinsrd", "pinsrq",
      "pmaxsb", "pmaxsd", "pmaxuw", "pmaxud", "pminsb", "pminsd", "pminuw", "pminud",
      "pmuldq", "pmulld", "ptest", "roundp", "rounds",
      "pmovsx", "pmovzx", "packusdw", "pcmpeqq", "pcmpgtq", "phminposuw", "mpsadbw",
      "movntdqa", "pcmpestr", "pcmpistr", "crc32", "popcnt", "lzcnt", "tzcnt", "bextr",
      "blsi", "blsr", "bzhi", "sarx", "shlx", "shrx", "rorx", "mulx", "movbe"};
  // Names that are prefixes of SSE2 mnemonics (andnpd, pextrw) are matched whole.
  static const char *const kBeyondExact[] = {"andn", "pdep", "pext"};
  char line[512];
  long instructions = 0;
  std::vector<std::string> offenders;
  while (std::fgets(line, sizeof line, p)) {
    const char *tab = std::strchr(line, '\t');
    if (!tab || line[0] != ' ') continue;
    ++instructions;
    char mnemonic[64] = {};
    std::sscanf(tab + 1, "%63s", mnemonic);
    bool bad = mnemonic[0] == 'v' && std::strcmp(mnemonic, "verr") && std::strcmp(mnemonic, "verw");
    for (const char *b : kBeyond) bad |= std::strncmp(mnemonic, b, std::strlen(b)) == 0;
    for (const char *b : kBeyondExact) bad |= std::strcmp(mnemonic, b) == 0;
    if (std::strstr(line, "{evex}") || std::strstr(line, "{vex")) bad = true;
    if (bad && offenders.size() < 20) offenders.push_back(line);
  }
  pclose(p);
  EXPECT_GT(instructions, 1000);
  for (const auto &o : offenders) ADD_FAILURE() << o;
}

}  // namespace
