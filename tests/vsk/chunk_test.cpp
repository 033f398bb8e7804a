// Chunks and the shared read-only table: order, sharing, the 127-row limit, removal order.
#include <gtest/gtest.h>

#include <vector>

#include "hpk/serv.h"
#include "vsk/toy_brng.hpp"

namespace {

struct Key { uint64_t w[2]; };

Key key(uint64_t a, uint64_t b) { return Key{{a, b}}; }

std::vector<uint64_t> table_first_words() {
  std::vector<uint64_t> v;
  for (int32_t i = 0; i < _GlobRODataTableCount; ++i) v.push_back(_GlobRODataTable[i].id[0]);
  return v;
}

class Chunks : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(_GlobRODataTableCount, 0) << "a test left rows in the shared table";
    live_ = hpk_serv_outstanding_allocations();
    s_ = toy::new_lcg(1);
    ASSERT_NE(s_, nullptr);
  }
  void TearDown() override {
    __vskDeleteStream(&s_);
    EXPECT_EQ(_GlobRODataTableCount, 0);
    EXPECT_EQ(hpk_serv_outstanding_allocations(), live_);
  }
  long live_ = 0;
  StreamState *s_ = nullptr;
};

TEST_F(Chunks, NewestIsFoundFirst) {
  void *a = toy::block(8, 1), *b = toy::block(8, 2), *c = toy::block(8, 3);
  ASSERT_EQ(__vskAddChunk(s_, 3, nullptr, a, 8), 0);
  ASSERT_EQ(__vskAddChunk(s_, 4, nullptr, b, 8), 0);
  EXPECT_EQ(__vskSearchChunk(s_, 3), a);
  EXPECT_EQ(__vskSearchChunk(s_, 4), b);
  EXPECT_EQ(__vskSearchChunk(s_, 5), nullptr);
  ASSERT_EQ(__vskAddChunk(s_, 3, nullptr, c, 8), 0);  // a second chunk of one id shadows the first
  EXPECT_EQ(__vskSearchChunk(s_, 3), c);
  EXPECT_EQ(__vskGetNumChunks(s_), 3);
  EXPECT_EQ(s_->chunks->data, c);
  EXPECT_EQ(s_->chunks->size, 8);
  EXPECT_EQ(uintptr_t(s_->chunks) % HPK_VSK_STREAM_ALIGNMENT, 0u);
  ASSERT_EQ(__vskDeleteChunks(s_), 0);
  EXPECT_EQ(s_->chunks, nullptr);
  EXPECT_EQ(__vskGetNumChunks(s_), 0);
}

TEST_F(Chunks, NullAndZeroKeysStayPrivate) {
  const Key zero = key(0, 0);
  ASSERT_EQ(__vskAddChunk(s_, 1, nullptr, toy::block(8, 0), 8), 0);
  ASSERT_EQ(__vskAddChunk(s_, 2, zero.w, toy::block(8, 0), 8), 0);
  EXPECT_EQ(_GlobRODataTableCount, 0);
  for (const StreamChunk *c = s_->chunks; c; c = c->next) {
    EXPECT_EQ(c->entry_id[0], 0u);
    EXPECT_EQ(c->entry_id[1], 0u);
  }
  GlobRODataEntry *e = nullptr;
  EXPECT_EQ(__vskFindGlobRODataTableEntry(&e, nullptr), HPK_VSK_ERROR_GLOB_RO_NOT_FOUND);
  EXPECT_EQ(__vskFindGlobRODataTableEntry(&e, zero.w), HPK_VSK_ERROR_GLOB_RO_NOT_FOUND);
}

// A keyed block is shared by a copy and outlives the stream that made it, until the last
// reference goes.
TEST_F(Chunks, SharedBlockOutlivesTheFirstStream) {
  uint64_t k[2];
  ASSERT_EQ(__vskGenerateNewGlobalRODataTableEntryId(k, 0x50b01), 0);
  void *dirs = toy::block(256, 0x77);
  ASSERT_EQ(__vskAddChunk(s_, HPK_VSK_CHUNK_SOBOL_DIRECTIONS, k, dirs, 256), 0);
  GlobRODataEntry *e = nullptr;
  ASSERT_EQ(__vskFindGlobRODataTableEntry(&e, k), 0);
  EXPECT_EQ(e->data, dirs);
  EXPECT_EQ(e->ref_count, 1);

  StreamState *copy = nullptr, *second = nullptr;
  ASSERT_EQ(__vskCopyStream(&copy, s_), 0);
  ASSERT_EQ(__vskCopyStream(&second, copy), 0);
  EXPECT_EQ(__vskSearchChunk(copy, HPK_VSK_CHUNK_SOBOL_DIRECTIONS), dirs);
  EXPECT_EQ(__vskSearchChunk(second, HPK_VSK_CHUNK_SOBOL_DIRECTIONS), dirs);
  ASSERT_EQ(__vskFindGlobRODataTableEntry(&e, k), 0);
  EXPECT_EQ(e->ref_count, 3);
  EXPECT_EQ(copy->chunks->entry_id[0], k[0]);
  EXPECT_EQ(copy->chunks->entry_id[1], k[1]);

  const long before = hpk_serv_outstanding_allocations();
  __vskDeleteStream(&s_);
  __vskDeleteStream(&copy);
  // Two records and two chunk records released; the block is not.
  EXPECT_EQ(hpk_serv_outstanding_allocations(), before - 4);
  ASSERT_EQ(__vskFindGlobRODataTableEntry(&e, k), 0);
  EXPECT_EQ(e->ref_count, 1);
  EXPECT_EQ(static_cast<unsigned char *>(dirs)[255], 0x77);
  __vskDeleteStream(&second);
  EXPECT_EQ(__vskFindGlobRODataTableEntry(&e, k), HPK_VSK_ERROR_GLOB_RO_NOT_FOUND);
  s_ = toy::new_lcg(1);
}

// A block added under a key that is already shared is not used: the chunk takes the table's
// block and the caller's block stays the caller's.
TEST_F(Chunks, AddingAKnownKeyTakesTheTablesBlock) {
  uint64_t k[2];
  ASSERT_EQ(__vskGenerateNewGlobalRODataTableEntryId(k, 1), 0);
  void *first = toy::block(32, 1);
  void *second = toy::block(32, 2);
  ASSERT_EQ(__vskAddChunk(s_, 9, k, first, 32), 0);
  StreamState *other = toy::new_lcg(2);
  ASSERT_EQ(__vskAddChunk(other, 9, k, second, 32), 0);
  EXPECT_EQ(__vskSearchChunk(other, 9), first);
  __vskDeleteStream(&other);
  hpk_serv_hpk_free(second);
}

TEST_F(Chunks, TableLimitMakesNewKeyedChunksPrivate) {
  std::vector<Key> keys;
  GlobRODataEntry *e = nullptr;
  for (uint64_t i = 1; i <= HPK_VSK_GLOB_RO_SHARE_LIMIT; ++i) {
    keys.push_back(key(i, 0xabc));
    ASSERT_EQ(__vskCreateGlobRODataTableEntry(&e, keys.back().w, nullptr), 0);
  }
  ASSERT_EQ(_GlobRODataTableCount, 127);

  const Key fresh = key(1000, 0xabc);
  ASSERT_EQ(__vskAddChunk(s_, 9, fresh.w, toy::block(64, 9), 64), 0);
  EXPECT_EQ(_GlobRODataTableCount, 127);
  EXPECT_EQ(s_->chunks->entry_id[0], 0u);
  EXPECT_EQ(s_->chunks->entry_id[1], 0u);
  EXPECT_EQ(__vskFindGlobRODataTableEntry(&e, fresh.w), HPK_VSK_ERROR_GLOB_RO_NOT_FOUND);
  // A key already in the table is still shared at the limit.
  ASSERT_EQ(__vskAddChunk(s_, 10, keys[5].w, nullptr, 0), 0);
  ASSERT_EQ(__vskFindGlobRODataTableEntry(&e, keys[5].w), 0);
  EXPECT_EQ(e->ref_count, 2);
  // The private block goes with its stream (checked by the leak count in TearDown), and the
  // shared reference is returned.
  ASSERT_EQ(__vskDeleteChunks(s_), 0);
  EXPECT_EQ(e->ref_count, 1);

  // Creating directly accepts row 128 and refuses the next.
  const Key last = key(2000, 0xabc), over = key(3000, 0xabc);
  EXPECT_EQ(__vskCreateGlobRODataTableEntry(&e, last.w, nullptr), 0);
  EXPECT_EQ(e, &_GlobRODataTable[127]);
  EXPECT_EQ(_GlobRODataTableCount, 128);
  e = nullptr;
  EXPECT_EQ(__vskCreateGlobRODataTableEntry(&e, over.w, nullptr), HPK_VSK_ERROR_GLOB_RO_FULL);
  EXPECT_EQ(e, nullptr);
  EXPECT_EQ(_GlobRODataTableCount, 128);

  __vskUnregisterGlobRODataReference(last.w);
  for (const Key &k : keys) __vskUnregisterGlobRODataReference(k.w);
}

TEST_F(Chunks, RemovalMovesTheLastRowIntoTheGap) {
  GlobRODataEntry *e = nullptr;
  void *blocks[6];
  for (uint64_t i = 1; i <= 5; ++i) {
    blocks[i] = toy::block(16, (unsigned char)i);
    ASSERT_EQ(__vskCreateGlobRODataTableEntry(&e, key(i, 0).w, blocks[i]), 0);
  }
  EXPECT_EQ(table_first_words(), (std::vector<uint64_t>{1, 2, 3, 4, 5}));
  __vskUnregisterGlobRODataReference(key(2, 0).w);
  EXPECT_EQ(table_first_words(), (std::vector<uint64_t>{1, 5, 3, 4}));
  EXPECT_EQ(_GlobRODataTable[1].data, blocks[5]);  // moved whole
  EXPECT_EQ(_GlobRODataTable[1].ref_count, 1);
  __vskUnregisterGlobRODataReference(key(4, 0).w);  // the last row: nothing moves
  EXPECT_EQ(table_first_words(), (std::vector<uint64_t>{1, 5, 3}));
  __vskUnregisterGlobRODataReference(key(9, 0).w);  // absent: nothing happens
  EXPECT_EQ(table_first_words(), (std::vector<uint64_t>{1, 5, 3}));

  // A row with more references only loses one; its block stays.
  StreamChunk chunk{};
  __vskRegisterGlobRODataReference(&chunk, key(1, 0).w);
  EXPECT_EQ(chunk.data, blocks[1]);
  EXPECT_EQ(_GlobRODataTable[0].ref_count, 2);
  __vskUnregisterGlobRODataReference(key(1, 0).w);
  EXPECT_EQ(table_first_words(), (std::vector<uint64_t>{1, 5, 3}));
  StreamChunk untouched{};
  __vskRegisterGlobRODataReference(&untouched, key(8, 0).w);
  EXPECT_EQ(untouched.data, nullptr);

  for (uint64_t i : {1, 3, 5}) __vskUnregisterGlobRODataReference(key(i, 0).w);
  EXPECT_EQ(_GlobRODataTableCount, 0);
}

// Rows created without a look-up may repeat a key. Removal goes on scanning after a match, but
// the row moved into a freed place is not examined again.
TEST_F(Chunks, DuplicateKeysAndTheMovedRow) {
  GlobRODataEntry *e = nullptr;
  void *b1 = toy::block(8, 1), *b2 = toy::block(8, 2), *b3 = toy::block(8, 3);
  // 7, 7, 8: both sevens are reached and removed.
  ASSERT_EQ(__vskCreateGlobRODataTableEntry(&e, key(7, 7).w, b1), 0);
  ASSERT_EQ(__vskCreateGlobRODataTableEntry(&e, key(7, 7).w, b2), 0);
  ASSERT_EQ(__vskCreateGlobRODataTableEntry(&e, key(8, 8).w, nullptr), 0);
  ASSERT_EQ(__vskFindGlobRODataTableEntry(&e, key(7, 7).w), 0);
  EXPECT_EQ(e, &_GlobRODataTable[0]);  // the first match
  __vskUnregisterGlobRODataReference(key(7, 7).w);
  EXPECT_EQ(table_first_words(), (std::vector<uint64_t>{8}));
  // 8, 7, 9, 7: the second seven moves into the first one's place and survives.
  ASSERT_EQ(__vskCreateGlobRODataTableEntry(&e, key(7, 7).w, b1 = toy::block(8, 1)), 0);
  ASSERT_EQ(__vskCreateGlobRODataTableEntry(&e, key(9, 9).w, nullptr), 0);
  ASSERT_EQ(__vskCreateGlobRODataTableEntry(&e, key(7, 7).w, b3), 0);
  __vskUnregisterGlobRODataReference(key(7, 7).w);
  EXPECT_EQ(table_first_words(), (std::vector<uint64_t>{8, 7, 9}));
  EXPECT_EQ(_GlobRODataTable[1].data, b3);
  for (uint64_t k : {7, 8, 9}) __vskUnregisterGlobRODataReference(key(k, k).w);
}

TEST_F(Chunks, GeneratedKeysCarryTheTimeStampAndTheCallersWord) {
  const uint64_t t0 = vsktsRDTSC();
  uint64_t k[2];
  ASSERT_EQ(__vskGenerateNewGlobalRODataTableEntryId(k, 0x1234), 0);
  const uint64_t t1 = vsktsRDTSC();
  EXPECT_EQ(k[1], 0x1234u);
  EXPECT_GE(k[0], t0);
  EXPECT_LE(k[0], t1);
  EXPECT_GT(t1, t0);
}

TEST_F(Chunks, FailingChunkAllocationAttachesNothing) {
  void *mine = toy::block(8, 0);
  hpk_serv_set_alloc_failure(1);
  EXPECT_EQ(__vskAddChunk(s_, 3, nullptr, mine, 8), HPK_VSK_ERROR_MEM);
  hpk_serv_set_alloc_failure(0);
  EXPECT_EQ(__vskGetNumChunks(s_), 0);
  hpk_serv_hpk_free(mine);  // still the caller's
}

}  // namespace
