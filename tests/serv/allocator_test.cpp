#include <gtest/gtest.h>

#include <cstdint>

#include "hpk/serv.h"

namespace {

struct Allocator {
  const char *name;
  void *(*alloc)(size_t, int);
  void (*release)(void *);
};

const Allocator kAllocators[] = {
    {"allocate", hpk_serv_allocate, hpk_serv_deallocate},
    {"hpk_malloc", hpk_serv_hpk_malloc, hpk_serv_hpk_free},
};

TEST(Allocator, AlignsAsAskedAndCountsLiveBlocks) {
  for (const Allocator &a : kAllocators) {
    const long before = hpk_serv_outstanding_allocations();
    for (int align : {1, 8, 16, 64, 128, 4096}) {
      void *p = a.alloc(1000, align);
      ASSERT_NE(p, nullptr) << a.name;
      EXPECT_EQ(uintptr_t(p) % uintptr_t(align < 8 ? 8 : align), 0u) << a.name << " " << align;
      EXPECT_EQ(hpk_serv_outstanding_allocations(), before + 1);
      a.release(p);
    }
    EXPECT_EQ(hpk_serv_outstanding_allocations(), before) << a.name;
    a.release(nullptr);  // releasing null is allowed and counts nothing
    EXPECT_EQ(hpk_serv_outstanding_allocations(), before);
  }
}

TEST(Allocator, FaultInjectionFailsExactlyTheKthAllocation) {
  for (long k : {1L, 2L, 5L}) {
    hpk_serv_set_alloc_failure(k);
    const long before = hpk_serv_outstanding_allocations();
    void *blocks[8];
    for (long i = 1; i <= 7; ++i) {
      blocks[i] = (i % 2 ? hpk_serv_allocate : hpk_serv_hpk_malloc)(64, 64);
      EXPECT_EQ(blocks[i] == nullptr, i == k) << "k=" << k << " i=" << i;
    }
    for (long i = 1; i <= 7; ++i) hpk_serv_hpk_free(blocks[i]);
    EXPECT_EQ(hpk_serv_outstanding_allocations(), before);
  }
  hpk_serv_set_alloc_failure(3);
  hpk_serv_set_alloc_failure(0);  // off again: nothing fails
  for (int i = 0; i < 5; ++i) {
    void *p = hpk_serv_allocate(16, 16);
    EXPECT_NE(p, nullptr);
    hpk_serv_deallocate(p);
  }
}

}  // namespace
