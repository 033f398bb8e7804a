// Several threads adding, copying and removing keyed chunks on their own streams at once: the
// shared table must come out consistent (every block found where it was put, no row lost or
// doubled, all memory returned). Run under ThreadSanitizer by `make tsan`.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "hpk/serv.h"
#include "vsk/toy_brng.hpp"

namespace {

constexpr int kThreads = 4;

TEST(VskThreads, SpinLockExcludes) {
  constexpr int kRounds = 20000;
  long counter = 0;  // plain on purpose: only the lock orders the increments
  std::vector<std::thread> pool;
  for (int t = 0; t < kThreads; ++t)
    pool.emplace_back([&] {
      for (int i = 0; i < kRounds; ++i) {
        _vskGlobRODataTableLock();
        counter = counter + 1;
        _vskGlobRODataTableUnLock();
      }
    });
  for (auto &th : pool) th.join();
  EXPECT_EQ(counter, long{kThreads} * kRounds);
  EXPECT_EQ(_VSK_GLOB_RO_DATA_TABLE_LOCKER_1, 0);
}

// Each thread keeps up to kLive keyed chunks on its stream, copies the stream (sharing the
// blocks), checks every block through the copy and removes them again in changing orders, so
// that rows of other threads move under its feet.
TEST(VskThreads, KeyedChunksOnSeparateStreams) {
  constexpr int kRounds = 400, kLive = 6, kBytes = 96;
  ASSERT_EQ(_GlobRODataTableCount, 0);
  toy::ids();
  const long live = hpk_serv_outstanding_allocations();
  std::atomic<int> faults{0};

  auto work = [&](int t) {
    StreamState *s = toy::new_lcg(uint64_t(t) + 1);
    if (s == nullptr) { ++faults; return; }
    for (int round = 0; round < kRounds; ++round) {
      const unsigned char fill = (unsigned char)(t * 64 + round % 64);
      uint64_t key[2];
      __vskGenerateNewGlobalRODataTableEntryId(key, uint64_t(t) << 32 | uint64_t(round));
      void *data = toy::block(kBytes, fill);
      const int32_t id = 1 + round % 13;
      if (__vskAddChunk(s, id, key, data, kBytes) != 0) { ++faults; break; }
      // Below the limit of 127 rows the key must have made a shared row.
      GlobRODataEntry *e;
      if (s->chunks->entry_id[0] != key[0] ||
          __vskFindGlobRODataTableEntry(&e, key) != 0) ++faults;

      StreamState *copy = nullptr;
      if (__vskCopyStream(&copy, s) != 0) { ++faults; break; }
      // The copy refers to the same blocks, in reverse order.
      const StreamChunk *a = s->chunks;
      std::vector<const StreamChunk *> mine;
      for (; a; a = a->next) mine.push_back(a);
      const StreamChunk *b = copy->chunks;
      for (auto it = mine.rbegin(); it != mine.rend(); ++it, b = b ? b->next : b)
        if (!b || b->data != (*it)->data || b->id != (*it)->id) ++faults;
      if (static_cast<unsigned char *>(__vskSearchChunk(copy, id))[kBytes - 1] != fill) ++faults;

      // Drop either the original's chunks or the copy first, so either side is last.
      if (__vskGetNumChunks(s) >= kLive) {
        if (round % 2) {
          __vskDeleteChunks(s);
          __vskDeleteStream(&copy);
        } else {
          __vskDeleteStream(&copy);
          __vskDeleteChunks(s);
        }
      } else {
        __vskDeleteStream(&copy);
      }
    }
    __vskDeleteStream(&s);
  };

  std::vector<std::thread> pool;
  for (int t = 0; t < kThreads; ++t) pool.emplace_back(work, t);
  for (auto &th : pool) th.join();
  EXPECT_EQ(faults.load(), 0);
  EXPECT_EQ(_GlobRODataTableCount, 0);
  EXPECT_EQ(hpk_serv_outstanding_allocations(), live);
}

}  // namespace
