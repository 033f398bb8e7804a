// Aligned allocation with a process-wide fault injector and a count of live blocks.
#include "hpk/serv.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<long> g_fail_countdown{0};   // 0: off; k: the k-th allocation from now fails
std::atomic<long> g_outstanding{0};

// True when this allocation is the injected failure. The countdown is decremented once per
// allocation while armed; the allocation that takes it from 1 to 0 fails and disarms it.
bool injected_failure() {
  long k = g_fail_countdown.load(std::memory_order_relaxed);
  while (k > 0) {
    if (g_fail_countdown.compare_exchange_weak(k, k - 1, std::memory_order_relaxed))
      return k == 1;
  }
  return false;
}

void *aligned_block(size_t bytes, int alignment) {
  if (injected_failure()) return nullptr;
  size_t align = sizeof(void *);
  while (align < static_cast<size_t>(alignment > 0 ? alignment : 1)) align <<= 1;
  void *p = nullptr;
  if (posix_memalign(&p, align, bytes ? bytes : 1) != 0) return nullptr;
  g_outstanding.fetch_add(1, std::memory_order_relaxed);
  return p;
}

void release_block(void *p) {
  if (!p) return;
  g_outstanding.fetch_sub(1, std::memory_order_relaxed);
  free(p);
}

}  // namespace

extern "C" {

void *hpk_serv_allocate(size_t bytes, int alignment) { return aligned_block(bytes, alignment); }
void hpk_serv_deallocate(void *pointer) { release_block(pointer); }
void *hpk_serv_hpk_malloc(size_t bytes, int alignment) { return aligned_block(bytes, alignment); }
void hpk_serv_hpk_free(void *pointer) { release_block(pointer); }

void hpk_serv_set_alloc_failure(long k) {
  g_fail_countdown.store(k > 0 ? k : 0, std::memory_order_relaxed);
}

long hpk_serv_outstanding_allocations(void) {
  return g_outstanding.load(std::memory_order_relaxed);
}

}
