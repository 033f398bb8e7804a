// Stream records: creation, allocation, copies, leapfrog, skip-ahead and deletion, over the
// toy generators registered at run time.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "hpk/serv.h"
#include "vsk/toy_brng.hpp"

namespace {

StreamState *const kUntouched = reinterpret_cast<StreamState *>(uintptr_t(0x5a5a5a5a5a5a5a40));

TEST(Stream, NewStreamStatuses) {
  const toy::Ids &ids = toy::ids();
  const uint32_t seed[2] = {1, 2};
  struct Case { int32_t brng; int32_t n; int32_t status; bool allocated; };
  const Case cases[] = {
      {HPK_VSK_BRNG_IABSTRACT, 2, -1000, false},
      {HPK_VSK_BRNG_DABSTRACT, 2, -1000, false},
      {HPK_VSK_BRNG_SABSTRACT, 2, -1000, false},
      {HPK_VSK_BRNG_DABSTRACT + 1, 2, -1000, false},  // not the abstract id: refused as not built
      {HPK_VSK_BRNG_R250, 2, -1000, false},            // reserved row, generator not built
      {ids.lcg + 1, 2, -1000, false},
      {(HPK_VSK_MAX_REG_BRNGS + 1) << 20, 2, -1000, false},
      {279, 2, -1000, false},
      {-1, 2, -1000, false},                             // valid by the legacy rule, but no row
      {ids.lcg, 0, HPK_VSK_ERROR_BADARGS, true},         // the seed's status, record kept
      {ids.wide, 0, HPK_VSK_ERROR_BADARGS, true},
      {ids.lcg, 2, 0, true},
      {ids.wide, 1, 0, true},
  };
  for (const Case &c : cases) {
    const long live = hpk_serv_outstanding_allocations();
    StreamState *s = kUntouched;
    EXPECT_EQ(__vskNewStreamEx(&s, c.brng, c.n, seed), c.status) << std::hex << c.brng;
    if (!c.allocated) {
      EXPECT_EQ(s, kUntouched) << std::hex << c.brng;
      EXPECT_EQ(hpk_serv_outstanding_allocations(), live);
      continue;
    }
    ASSERT_NE(s, kUntouched);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(__vskGetStreamStateBrng(s), c.brng);
    EXPECT_EQ(__vskDeleteStream(&s), 0);
    EXPECT_EQ(s, nullptr);
    EXPECT_EQ(hpk_serv_outstanding_allocations(), live);
  }
}

TEST(Stream, AllocationWritesTheHeadOnly) {
  const toy::Ids &ids = toy::ids();
  int32_t row, member;
  const BrngEntry *t = __vskGetBrngBaseOffset(ids.lcg, &row, &member);
  StreamState *s = kUntouched;
  ASSERT_EQ(__vskAllocateStream(&s, t, ids.lcg, row, member), 0);
  EXPECT_EQ(uintptr_t(s) % HPK_VSK_STREAM_ALIGNMENT, 0u);
  EXPECT_EQ(s->brng, ids.lcg);
  EXPECT_EQ(s->alloc_mark, 1);
  EXPECT_EQ(s->chunks, nullptr);
  EXPECT_EQ(__vskGetNumChunks(s), 0);
  __vskDeleteStream(&s);

  // An invalid row: nothing allocated, the output untouched.
  s = kUntouched;
  EXPECT_EQ(__vskAllocateStream(&s, t, ids.lcg, row, member + 1), -1000);
  EXPECT_EQ(s, kUntouched);

  // A failing allocation: -4 and the allocator's null.
  const long live = hpk_serv_outstanding_allocations();
  hpk_serv_set_alloc_failure(1);
  EXPECT_EQ(__vskAllocateStream(&s, t, ids.lcg, row, member), HPK_VSK_ERROR_MEM);
  EXPECT_EQ(s, nullptr);
  s = kUntouched;
  hpk_serv_set_alloc_failure(1);
  const uint32_t seed[1] = {5};
  EXPECT_EQ(__vskNewStreamEx(&s, ids.lcg, 1, seed), HPK_VSK_ERROR_MEM);
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(hpk_serv_outstanding_allocations(), live);
  hpk_serv_set_alloc_failure(0);
}

TEST(Stream, LeapfrogRefusesNegativeCountsFirst) {
  const toy::Ids &ids = toy::ids();
  struct Case { int32_t brng; int32_t k; int32_t nstreams; int32_t status; };
  const Case cases[] = {
      {ids.lcg, 0, -1, -1013},
      {ids.lcg, 0, INT_MIN, -1013},
      {ids.wide, 0, -1, -1013},     // before the generator's own refusal
      {ids.wide, 0, -2, -1013},
      {ids.wide, 0, 3, HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED},
      {ids.wide, 0, INT_MAX, HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED},
      {ids.lcg, 0, INT_MAX, 0},     // passes the check
      {ids.lcg, 5, 3, HPK_VSK_ERROR_BADARGS},  // k reaches the generator
      {ids.lcg, 2, 3, 0},
  };
  const uint32_t seed[1] = {77};
  for (const Case &c : cases) {
    StreamState *s = nullptr;
    ASSERT_EQ(__vskNewStreamEx(&s, c.brng, 1, seed), 0);
    EXPECT_EQ(__vskLeapfrogStream(s, c.k, c.nstreams), c.status)
        << std::hex << c.brng << std::dec << " k=" << c.k << " n=" << c.nstreams;
    __vskDeleteStream(&s);
  }
}

TEST(Stream, LeapfrogAndSkipAheadReachTheirElements) {
  const uint64_t seed = 0xfeedfacecafebeefu;
  const std::vector<uint32_t> model = toy::lcg_model(seed, 4000);
  for (int32_t k = 0; k < 3; ++k) {
    StreamState *s = toy::new_lcg(seed);
    ASSERT_EQ(__vskLeapfrogStream(s, k, 3), 0);
    const std::vector<uint32_t> got = toy::draw(s, 100);
    for (int i = 0; i < 100; ++i) ASSERT_EQ(got[size_t(i)], model[size_t(3 * i + k)]) << k;
    __vskDeleteStream(&s);
  }
  for (uint64_t nskip : {uint64_t{0}, uint64_t{1}, uint64_t{999}, uint64_t{3000}}) {
    StreamState *s = toy::new_lcg(seed);
    ASSERT_EQ(__vskSkipAheadStream(s, nskip), 0);
    const std::vector<uint32_t> got = toy::draw(s, 10);
    for (int i = 0; i < 10; ++i) ASSERT_EQ(got[size_t(i)], model[size_t(nskip) + size_t(i)]);
    __vskDeleteStream(&s);
  }
  StreamState *w = nullptr;
  const uint32_t one[1] = {1};
  ASSERT_EQ(__vskNewStreamEx(&w, toy::ids().wide, 1, one), 0);
  EXPECT_EQ(__vskSkipAheadStream(w, 10), HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED);
  __vskDeleteStream(&w);
}

TEST(Stream, LegacyIdIsKeptAsGiven) {
  const BrngEntry e = toy::lcg_entry();
  toy::LegacyRow wh(HPK_VSK_LEGACY_WH_FIRST, e);
  StreamState *s = nullptr;
  const uint32_t seed[1] = {3};
  ASSERT_EQ(__vskNewStreamEx(&s, 276, 1, seed), 0);
  EXPECT_EQ(__vskGetStreamStateBrng(s), 276);
  EXPECT_EQ(toy::draw(s, 5), toy::lcg_model(3, 5));
  StreamState *c = nullptr;
  ASSERT_EQ(__vskCopyStream(&c, s), 0);
  EXPECT_EQ(__vskGetStreamStateBrng(c), 276);
  EXPECT_EQ(toy::draw(c, 5), toy::draw(s, 5));
  __vskDeleteStream(&c);
  __vskDeleteStream(&s);
}

std::vector<int32_t> chunk_ids(const StreamState *s) {
  std::vector<int32_t> v;
  for (const StreamChunk *c = s->chunks; c; c = c->next) v.push_back(c->id);
  return v;
}

TEST(Stream, CopyTakesTheWholeRecordAndReversesTheChunks) {
  const long live = hpk_serv_outstanding_allocations();
  StreamState *s = toy::new_lcg(42);
  ASSERT_EQ(__vskLeapfrogStream(s, 1, 5), 0);  // the multiplier is part of the record
  for (int32_t id : {HPK_VSK_CHUNK_DGAMMA, HPK_VSK_CHUNK_BINOMIAL, HPK_VSK_CHUNK_DBOXMULLER2})
    ASSERT_EQ(__vskAddChunk(s, id, nullptr, toy::block(24, (unsigned char)id), 24), 0);
  EXPECT_EQ(chunk_ids(s), (std::vector<int32_t>{2, 5, 7}));  // newest first

  StreamState *c = nullptr;
  ASSERT_EQ(__vskCopyStream(&c, s), 0);
  EXPECT_EQ(chunk_ids(c), (std::vector<int32_t>{7, 5, 2}));
  StreamState *cc = nullptr;
  ASSERT_EQ(__vskCopyStream(&cc, c), 0);
  EXPECT_EQ(chunk_ids(cc), (std::vector<int32_t>{2, 5, 7}));
  for (int32_t id : {2, 5, 7}) {
    // Private blocks are copied, not shared.
    const auto *a = static_cast<const unsigned char *>(__vskSearchChunk(s, id));
    const auto *b = static_cast<const unsigned char *>(__vskSearchChunk(c, id));
    ASSERT_NE(b, nullptr);
    EXPECT_NE(a, b);
    EXPECT_EQ(std::memcmp(a, b, 24), 0);
    EXPECT_EQ(uintptr_t(b) % 64, 0u);
  }
  const std::vector<uint32_t> ahead = toy::draw(s, 20);
  EXPECT_EQ(toy::draw(c, 20), ahead);
  EXPECT_EQ(toy::draw(cc, 20), ahead);
  __vskDeleteStream(&cc);
  __vskDeleteStream(&c);
  __vskDeleteStream(&s);
  EXPECT_EQ(hpk_serv_outstanding_allocations(), live);
}

TEST(Stream, CopyStateMovesOnlyTheMovingState) {
  StreamState *src = toy::new_lcg(1000);
  StreamState *dst = toy::new_lcg(2000);
  ASSERT_EQ(__vskLeapfrogStream(dst, 0, 2), 0);
  ASSERT_EQ(__vskAddChunk(src, 9, nullptr, toy::block(8, 0x11), 8), 0);
  ASSERT_EQ(__vskAddChunk(src, 13, nullptr, toy::block(8, 0x22), 8), 0);
  ASSERT_EQ(__vskAddChunk(dst, 1, nullptr, toy::block(8, 0x33), 8), 0);

  const toy::LcgState before = *reinterpret_cast<toy::LcgState *>(dst);
  toy::draw(src, 7);
  ASSERT_EQ(__vskCopyStreamState(dst, src), 0);
  const auto &d = *reinterpret_cast<toy::LcgState *>(dst);
  const auto &s = *reinterpret_cast<toy::LcgState *>(src);
  EXPECT_EQ(d.x, s.x);
  EXPECT_EQ(d.a, before.a);  // state_words * word_bytes = 8: the multiplier stays
  EXPECT_EQ(d.c, before.c);
  EXPECT_EQ(d.head.brng, before.head.brng);
  // The destination's chunks are replaced by copies of the source's, in reverse order.
  EXPECT_EQ(chunk_ids(dst), (std::vector<int32_t>{9, 13}));
  EXPECT_EQ(__vskSearchChunk(dst, 1), nullptr);
  EXPECT_EQ(*static_cast<unsigned char *>(__vskSearchChunk(dst, 13)), 0x22);

  // A stream copied onto itself: nothing happens, chunks stay.
  ASSERT_EQ(__vskCopyStreamState(src, src), 0);
  EXPECT_EQ(chunk_ids(src), (std::vector<int32_t>{13, 9}));
  __vskDeleteStream(&dst);
  __vskDeleteStream(&src);
}

// 4 words of 16 bytes over 32 bytes of state: the copy stops at the end of the record (an
// overrun shows under the address sanitizer of `make check`).
TEST(Stream, CopyStateStaysWithinTheRecord) {
  const toy::Ids &ids = toy::ids();
  StreamState *a = nullptr, *b = nullptr;
  const uint32_t sa[1] = {100}, sb[1] = {900};
  ASSERT_EQ(__vskNewStreamEx(&a, ids.wide, 1, sa), 0);
  ASSERT_EQ(__vskNewStreamEx(&b, ids.wide, 1, sb), 0);
  ASSERT_EQ(__vskCopyStreamState(b, a), 0);
  EXPECT_EQ(std::memcmp(reinterpret_cast<char *>(a) + 16, reinterpret_cast<char *>(b) + 16, 32), 0);
  __vskDeleteStream(&a);
  __vskDeleteStream(&b);
}

TEST(Stream, DeleteReleasesEverything) {
  const long live = hpk_serv_outstanding_allocations();
  StreamState *s = toy::new_lcg(5);
  ASSERT_EQ(__vskAddChunk(s, 3, nullptr, toy::block(100, 0), 100), 0);
  ASSERT_EQ(__vskAddChunk(s, 4, nullptr, nullptr, 0), 0);  // a chunk without a block
  EXPECT_EQ(__vskDeleteStream(&s), 0);
  EXPECT_EQ(s, nullptr);
  EXPECT_EQ(__vskDeleteStream(&s), 0);  // a null stream is accepted
  EXPECT_EQ(hpk_serv_outstanding_allocations(), live);
}

// Every allocation of a stream copy fails in turn: the status is -4, the copy either was never
// made (null) or stands without chunks, and once it is deleted nothing is left over.
TEST(Stream, FailingAllocationsInCopiesLeakNothing) {
  StreamState *s = toy::new_lcg(8);
  ASSERT_EQ(__vskAddChunk(s, 5, nullptr, toy::block(40, 5), 40), 0);
  uint64_t key[2];
  ASSERT_EQ(__vskGenerateNewGlobalRODataTableEntryId(key, 77), 0);
  ASSERT_EQ(__vskAddChunk(s, 9, key, toy::block(64, 9), 64), 0);
  ASSERT_EQ(__vskAddChunk(s, 6, nullptr, toy::block(16, 6), 16), 0);
  const long live = hpk_serv_outstanding_allocations();

  int failures = 0;
  for (long k = 1;; ++k) {
    StreamState *c = kUntouched;
    hpk_serv_set_alloc_failure(k);
    const int32_t status = __vskCopyStream(&c, s);
    hpk_serv_set_alloc_failure(0);
    if (status == 0) {
      EXPECT_EQ(__vskGetNumChunks(c), 3);
      __vskDeleteStream(&c);
      EXPECT_EQ(hpk_serv_outstanding_allocations(), live);
      break;
    }
    ++failures;
    EXPECT_EQ(status, HPK_VSK_ERROR_MEM) << k;
    if (k == 1) {
      EXPECT_EQ(c, nullptr);
    } else {
      ASSERT_NE(c, nullptr);
      EXPECT_EQ(__vskGetNumChunks(c), 0) << k;
      __vskDeleteStream(&c);
    }
    EXPECT_EQ(hpk_serv_outstanding_allocations(), live) << k;
    ASSERT_LT(k, 20);
  }
  // Record, then per chunk: a block copy where private, and the chunk record.
  EXPECT_EQ(failures, 1 + 2 + 1 + 2);

  // The same for copying the state between two existing streams.
  StreamState *d = toy::new_lcg(9);
  const long with_d = hpk_serv_outstanding_allocations();
  for (long k = 1; k <= 5; ++k) {
    hpk_serv_set_alloc_failure(k);
    EXPECT_EQ(__vskCopyStreamState(d, s), HPK_VSK_ERROR_MEM) << k;
    hpk_serv_set_alloc_failure(0);
    EXPECT_EQ(__vskGetNumChunks(d), 0);
    EXPECT_EQ(hpk_serv_outstanding_allocations(), with_d);
  }
  EXPECT_EQ(__vskCopyStreamState(d, s), 0);
  EXPECT_EQ(__vskGetNumChunks(d), 3);
  __vskDeleteStream(&d);
  __vskDeleteStream(&s);
  GlobRODataEntry *e;
  EXPECT_EQ(__vskFindGlobRODataTableEntry(&e, key), HPK_VSK_ERROR_GLOB_RO_NOT_FOUND);
}

}  // namespace
