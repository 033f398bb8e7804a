// The generator registry: two tables of 512 rows, id translation, validity and registration.
//
// Every row is static data filled by the compiler; the library allocates nothing at load and
// runs no constructor. A built-in generator's row is filled once its four functions exist: to
// add one, replace `not_built` in its line of kBuiltin by HPK_VSK_BRNG_FUNCTIONS(G) and declare
// those functions. Until then the row is all zero, its member count 0 and its ids invalid,
// while the row numbers stay reserved, so ids never move when generators arrive.
#include "vsk/service/registry.hpp"

#include "hpk/vsk_sobol.h"
#include "hpk/vsk_brng_mcg.h"
#include "hpk/vsk_brng_mt.h"
#include "vsk/brng/mt2203/mt2203_members.hpp"

#include <cstring>

namespace hpk::vsk {
namespace {

struct BrngFunctions {
  HpkVskInitStream init_stream;
  HpkVsksOutput s_output;
  HpkVskdOutput d_output;
  HpkVskiOutput i_output;
  // Said outright: whether the address of an exported (interposable) function is null is not
  // a constant expression in every build (-fsanitize=undefined refuses it).
  bool present;
};

constexpr BrngFunctions not_built = {nullptr, nullptr, nullptr, nullptr, false};

// Row functions of generator G: __vskBRng<G>InitStream, __vsksBRng<G>, __vskdBRng<G>,
// __vskiBRng<G>.
#define HPK_VSK_BRNG_FUNCTIONS(G) \
  BrngFunctions { __vskBRng##G##InitStream, __vsksBRng##G, __vskdBRng##G, __vskiBRng##G, true }

struct BuiltinRow {
  int32_t state_bytes, state_words, has_zero, word_bytes, word_bits;
  int32_t members;
  BrngFunctions fn;
};

// Rows 0 to 13 of the current table; row r has id (r + 1) << 20.
constexpr BuiltinRow kBuiltin[HPK_VSK_NUM_BUILTIN_BRNGS] = {
    {24, 1, 0, 4, 31, 1, HPK_VSK_BRNG_FUNCTIONS(MCG31M1)},  // 0  MCG31M1
    {1024, 252, 1, 4, 32, 1, not_built},         // 1  R250
    {40, 6, 1, 4, 32, 1, not_built},             // 2  MRG32K3A
    {32, 1, 0, 8, 59, 1, HPK_VSK_BRNG_FUNCTIONS(MCG59)},    // 3  MCG59
    {48, 4, 1, 16, 24, 273, not_built},          // 4  WH
    {11648, 2604, 0, 4, 32, 1, HPK_VSK_BRNG_FUNCTIONS(Sobol)},  // 5  Sobol
    {43280, 10498, 0, 4, 32, 1, not_built},      // 6  Niederr
    {2520, 625, 1, 4, 32, 1, HPK_VSK_BRNG_FUNCTIONS(MT19937)},  // 7  MT19937
    // Members of MT2203 whose parameters are proven so far (6024 once the table is complete).
    {312, 70, 1, 4, 32, kMt2203Members, HPK_VSK_BRNG_FUNCTIONS(MT2203)},  // 8  MT2203
    {48, 0, 1, 4, 32, 1, not_built},             // 9  iAbstract
    {64, 0, 1, 4, 32, 1, not_built},             // 10 dAbstract
    {56, 0, 1, 4, 32, 1, not_built},             // 11 sAbstract
    {2536, 625, 1, 16, 128, 1, not_built},       // 12 SFMT19937
    {24, 1, 1, 4, 32, 1, not_built},             // 13 TRNG
};

constexpr bool built(const BuiltinRow &r) { return r.fn.present; }

constexpr BrngEntry entry_of(const BuiltinRow &r) {
  if (!built(r)) return BrngEntry{};
  return BrngEntry{r.state_bytes, r.state_words, r.has_zero, r.word_bytes, r.word_bits,
                   r.fn.init_stream, r.fn.s_output, r.fn.d_output, r.fn.i_output};
}

constexpr int32_t members_of(const BuiltinRow &r) { return built(r) ? r.members : 0; }

}  // namespace

constinit int32_t NRegBrngsNew = HPK_VSK_NUM_BUILTIN_BRNGS;

constinit int32_t NumOffsets[HPK_VSK_MAX_REG_BRNGS] = {
    members_of(kBuiltin[0]),  members_of(kBuiltin[1]),  members_of(kBuiltin[2]),
    members_of(kBuiltin[3]),  members_of(kBuiltin[4]),  members_of(kBuiltin[5]),
    members_of(kBuiltin[6]),  members_of(kBuiltin[7]),  members_of(kBuiltin[8]),
    members_of(kBuiltin[9]),  members_of(kBuiltin[10]), members_of(kBuiltin[11]),
    members_of(kBuiltin[12]), members_of(kBuiltin[13]),
};

}  // namespace hpk::vsk

using hpk::vsk::entry_of;
using hpk::vsk::kBuiltin;
using hpk::vsk::NRegBrngsNew;
using hpk::vsk::NumOffsets;

// The legacy table repeats the WH row 273 times (rows 4 to 276); only row 4 is ever reached.
#define HPK_VSK_X1(r) r
#define HPK_VSK_X4(r) r, r, r, r
#define HPK_VSK_X16(r) HPK_VSK_X4(r), HPK_VSK_X4(r), HPK_VSK_X4(r), HPK_VSK_X4(r)
#define HPK_VSK_X64(r) HPK_VSK_X16(r), HPK_VSK_X16(r), HPK_VSK_X16(r), HPK_VSK_X16(r)
#define HPK_VSK_X256(r) HPK_VSK_X64(r), HPK_VSK_X64(r), HPK_VSK_X64(r), HPK_VSK_X64(r)
#define HPK_VSK_X273(r) HPK_VSK_X256(r), HPK_VSK_X16(r), HPK_VSK_X1(r)

extern "C" {

constinit BrngEntry __RegBrngsNew[HPK_VSK_MAX_REG_BRNGS] = {
    entry_of(kBuiltin[0]),  entry_of(kBuiltin[1]),  entry_of(kBuiltin[2]),
    entry_of(kBuiltin[3]),  entry_of(kBuiltin[4]),  entry_of(kBuiltin[5]),
    entry_of(kBuiltin[6]),  entry_of(kBuiltin[7]),  entry_of(kBuiltin[8]),
    entry_of(kBuiltin[9]),  entry_of(kBuiltin[10]), entry_of(kBuiltin[11]),
    entry_of(kBuiltin[12]), entry_of(kBuiltin[13]),
};

constinit BrngEntry __RegBrngs[HPK_VSK_MAX_REG_BRNGS] = {
    entry_of(kBuiltin[0]), entry_of(kBuiltin[1]), entry_of(kBuiltin[2]), entry_of(kBuiltin[3]),
    HPK_VSK_X273(entry_of(kBuiltin[4])),
    entry_of(kBuiltin[5]), entry_of(kBuiltin[6]),
};

BrngEntry *__vskGetBrngBaseOffset(int32_t brng, int32_t *row, int32_t *member) {
  if (brng >= (1 << HPK_VSK_BRNG_SHIFT)) {
    *row = (brng >> HPK_VSK_BRNG_SHIFT) - 1;
    *member = brng & HPK_VSK_BRNG_MEMBER_MASK;
    return __RegBrngsNew;
  }
  if (brng >= HPK_VSK_LEGACY_WH_FIRST && brng <= HPK_VSK_LEGACY_WH_LAST) {
    *row = HPK_VSK_LEGACY_WH_FIRST;
    *member = brng - HPK_VSK_LEGACY_WH_FIRST;
    return __RegBrngs;
  }
  *row = brng;
  *member = 0;
  return __RegBrngs;
}

int32_t __vskIsBrngValid(const BrngEntry *table, int32_t row, int32_t member) {
  if (table == __RegBrngs) {
    // Signed comparison: negative rows pass. The member is not examined. A legacy row whose
    // generator is not built yet is refused.
    if (row >= HPK_VSK_NUM_LEGACY_ROWS) return HPK_VSK_ERROR_INVALID_BRNG;
    if (row >= 0 && __RegBrngs[row].init_stream == nullptr) return HPK_VSK_ERROR_INVALID_BRNG;
    return HPK_VSK_STATUS_OK;
  }
  if (table != __RegBrngsNew) return HPK_VSK_ERROR_INVALID_BRNG;
  // NRegBrngsNew never exceeds the table, so NumOffsets[row] is in bounds once row passes.
  if (row < 0 || row >= NRegBrngsNew || member < 0 || member >= NumOffsets[row])
    return HPK_VSK_ERROR_INVALID_BRNG;
  return HPK_VSK_STATUS_OK;
}

int32_t __vskGetBrngProperties(int32_t brng, BrngEntry *entry) {
  int32_t row, member;
  const BrngEntry *table = __vskGetBrngBaseOffset(brng, &row, &member);
  if (__vskIsBrngValid(table, row, member) < 0) return HPK_VSK_ERROR_INVALID_BRNG;
  const BrngEntry *e = hpk::vsk::brng_row(brng);
  if (e == nullptr) return HPK_VSK_ERROR_INVALID_BRNG;
  std::memcpy(entry, e, sizeof *entry);
  return HPK_VSK_STATUS_OK;
}

int32_t __vskRegisterBrng(const BrngEntry *entry) {
  if (entry->state_bytes < 0) return HPK_VSK_ERROR_BAD_STATE_BYTES;
  if (entry->word_bytes != 4 && entry->word_bytes != 8 && entry->word_bytes != 16)
    return HPK_VSK_ERROR_BAD_WORD_BYTES;
  if (entry->state_words <= 0) return HPK_VSK_ERROR_BAD_STATE_WORDS;
  if (entry->word_bits <= 0) return HPK_VSK_ERROR_BAD_WORD_BITS;
  if (!entry->d_output || !entry->s_output || !entry->i_output || !entry->init_stream)
    return HPK_VSK_ERROR_NULL_FUNCTION;
  if (NRegBrngsNew >= HPK_VSK_MAX_REG_BRNGS) return HPK_VSK_ERROR_BRNG_TABLE_FULL;

  BrngEntry &row = __RegBrngsNew[NRegBrngsNew];
  row = *entry;  // has_zero is taken as it comes
  NumOffsets[NRegBrngsNew] = 1;
  const int32_t id = (NRegBrngsNew + 1) << HPK_VSK_BRNG_SHIFT;
  ++NRegBrngsNew;
  return id;
}

int32_t __vskGetNumRegBrngs(void) { return NRegBrngsNew; }

}  // extern "C"
