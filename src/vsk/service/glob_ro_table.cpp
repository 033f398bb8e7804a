// The process-wide table of shared read-only blocks and its spin lock.
//
// Rows 0 to count - 1 are in use, in no particular order: removing a row moves the last row
// into its place. The lock is not recursive, so no function here calls another while holding
// it. The count is written only under the lock, but __vskAddChunk reads it without the lock;
// both sides use relaxed atomic accesses so that read is a benign race and not undefined
// behaviour (it compiles to the plain load and store it would be anyway).
#include <x86intrin.h>

#include "hpk/serv.h"
#include "hpk/vsk.h"

namespace {

bool same_key(const uint64_t a[2], const uint64_t b[2]) { return a[0] == b[0] && a[1] == b[1]; }

int32_t count_now() { return __atomic_load_n(&_GlobRODataTableCount, __ATOMIC_RELAXED); }
void set_count(int32_t c) { __atomic_store_n(&_GlobRODataTableCount, c, __ATOMIC_RELAXED); }

}  // namespace

extern "C" {

constinit GlobRODataEntry _GlobRODataTable[HPK_VSK_GLOB_RO_ROWS] = {};
constinit int32_t _GlobRODataTableCount = 0;
constinit int32_t _VSK_GLOB_RO_DATA_TABLE_LOCKER_1 = 0;

// Compare-and-exchange 0 -> 1 until it succeeds; no pause, no back-off. Acquire ordering on
// success pairs with the release store of the unlock.
void _vskGlobRODataTableLock(void) {
  int32_t expected = 0;
  while (!__atomic_compare_exchange_n(&_VSK_GLOB_RO_DATA_TABLE_LOCKER_1, &expected, 1, false,
                                      __ATOMIC_ACQUIRE, __ATOMIC_RELAXED))
    expected = 0;
}

// A release store: on x86-64 a plain mov.
void _vskGlobRODataTableUnLock(void) {
  __atomic_store_n(&_VSK_GLOB_RO_DATA_TABLE_LOCKER_1, 0, __ATOMIC_RELEASE);
}

uint64_t vsktsRDTSC(void) { return __rdtsc(); }

int32_t __vskFindGlobRODataTableEntry(GlobRODataEntry **entry, const uint64_t id[2]) {
  if (id == nullptr || (id[0] == 0 && id[1] == 0)) return HPK_VSK_ERROR_GLOB_RO_NOT_FOUND;
  int32_t status = HPK_VSK_ERROR_GLOB_RO_NOT_FOUND;
  _vskGlobRODataTableLock();
  const int32_t count = count_now();
  for (int32_t i = 0; i < count; ++i) {
    if (same_key(_GlobRODataTable[i].id, id)) {
      *entry = &_GlobRODataTable[i];
      status = HPK_VSK_STATUS_OK;
      break;
    }
  }
  _vskGlobRODataTableUnLock();
  return status;
}

int32_t __vskCreateGlobRODataTableEntry(GlobRODataEntry **entry, const uint64_t id[2],
                                        void *data) {
  _vskGlobRODataTableLock();
  const int32_t count = count_now();
  if (count >= HPK_VSK_GLOB_RO_ROWS) {
    _vskGlobRODataTableUnLock();
    return HPK_VSK_ERROR_GLOB_RO_FULL;
  }
  GlobRODataEntry &row = _GlobRODataTable[count];
  row.id[0] = id[0];
  row.id[1] = id[1];
  row.ref_count = 1;
  row.data = data;
  *entry = &row;
  set_count(count + 1);
  _vskGlobRODataTableUnLock();
  return HPK_VSK_STATUS_OK;
}

void __vskRegisterGlobRODataReference(StreamChunk *chunk, const uint64_t id[2]) {
  _vskGlobRODataTableLock();
  const int32_t count = count_now();
  for (int32_t i = 0; i < count; ++i) {
    GlobRODataEntry &row = _GlobRODataTable[i];
    if (same_key(row.id, id)) {
      ++row.ref_count;
      chunk->data = row.data;
      break;
    }
  }
  _vskGlobRODataTableUnLock();
}

// Every matching row is lowered (keys are unique unless a caller created a duplicate through
// __vskCreateGlobRODataTableEntry). The row moved into a freed place is not examined again:
// the scan goes on with the next index up to the new count.
void __vskUnregisterGlobRODataReference(const uint64_t id[2]) {
  _vskGlobRODataTableLock();
  int32_t count = count_now();
  for (int32_t i = 0; i < count; ++i) {
    GlobRODataEntry &row = _GlobRODataTable[i];
    if (!same_key(row.id, id)) continue;
    if (--row.ref_count != 0) continue;
    if (row.data != nullptr) hpk_serv_hpk_free(row.data);
    --count;
    if (i != count) row = _GlobRODataTable[count];
    _GlobRODataTable[count] = GlobRODataEntry{};
    set_count(count);
  }
  _vskGlobRODataTableUnLock();
}

// The time stamp makes the key unique from one call to the next; the second word is the
// caller's property of the data.
int32_t __vskGenerateNewGlobalRODataTableEntryId(uint64_t id[2], uint64_t second_word) {
  id[1] = second_word;
  id[0] = vsktsRDTSC();
  GlobRODataEntry *found;
  while (__vskFindGlobRODataTableEntry(&found, id) == HPK_VSK_STATUS_OK) id[0] = vsktsRDTSC();
  return HPK_VSK_STATUS_OK;
}

}  // extern "C"
