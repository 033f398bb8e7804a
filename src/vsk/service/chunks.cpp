// Blocks attached to a stream: a singly linked list, newest first.
//
// A chunk whose key is in the shared table refers to the table's block and owns nothing: the
// table releases the block when its last reference goes. Any other chunk owns its block. The
// look-up and the following create or reference step are separate critical sections (the lock
// is not recursive), so two streams adding the same new key at once may both create a row;
// keys come from the time stamp counter and are not shared between threads in practice.
#include <cstring>

#include "hpk/serv.h"
#include "vsk/service/registry.hpp"

namespace {

bool keyed(const uint64_t id[2]) { return id[0] != 0 || id[1] != 0; }

}  // namespace

extern "C" {

int32_t __vskAddChunk(StreamState *stream, int32_t id, const uint64_t *entry_id, void *data,
                      int32_t size) {
  auto *chunk = static_cast<StreamChunk *>(
      hpk_serv_hpk_malloc(sizeof(StreamChunk), hpk::vsk::stream_alignment));
  if (chunk == nullptr) return HPK_VSK_ERROR_MEM;
  chunk->id = id;
  chunk->size = size;
  chunk->data = data;
  chunk->next = nullptr;
  chunk->entry_id[0] = entry_id ? entry_id[0] : 0;
  chunk->entry_id[1] = entry_id ? entry_id[1] : 0;

  GlobRODataEntry *entry;
  if (__vskFindGlobRODataTableEntry(&entry, chunk->entry_id) == HPK_VSK_STATUS_OK) {
    // Shared: the chunk now points at the table's block; the caller's block is not ours.
    __vskRegisterGlobRODataReference(chunk, chunk->entry_id);
  } else if (__atomic_load_n(&_GlobRODataTableCount, __ATOMIC_RELAXED) >=
             HPK_VSK_GLOB_RO_SHARE_LIMIT) {
    // One row short of the table's 128: the block stays private to this chunk.
    chunk->entry_id[0] = 0;
    chunk->entry_id[1] = 0;
  } else if (keyed(chunk->entry_id)) {
    // A full table (another thread got there first) leaves the row absent; the chunk then
    // keeps a key that is not in the table and is treated as private when deleted.
    __vskCreateGlobRODataTableEntry(&entry, chunk->entry_id, data);
  }

  chunk->next = stream->chunks;
  stream->chunks = chunk;
  return HPK_VSK_STATUS_OK;
}

void *__vskSearchChunk(const StreamState *stream, int32_t id) {
  for (const StreamChunk *c = stream->chunks; c != nullptr; c = c->next)
    if (c->id == id) return c->data;
  return nullptr;
}

int32_t __vskGetNumChunks(const StreamState *stream) {
  int32_t n = 0;
  for (const StreamChunk *c = stream->chunks; c != nullptr; c = c->next) ++n;
  return n;
}

int32_t __vskDeleteChunks(StreamState *stream) {
  StreamChunk *c = stream->chunks;
  while (c != nullptr) {
    StreamChunk *next = c->next;
    GlobRODataEntry *entry;
    if (__vskFindGlobRODataTableEntry(&entry, c->entry_id) == HPK_VSK_STATUS_OK)
      __vskUnregisterGlobRODataReference(c->entry_id);
    else if (c->data != nullptr)
      hpk_serv_hpk_free(c->data);
    hpk_serv_hpk_free(c);
    c = next;
  }
  stream->chunks = nullptr;
  return HPK_VSK_STATUS_OK;
}

// Each add goes to the head, so the copy lists the chunks in the opposite order of the source.
int32_t __vskCopyChunks(StreamState *destination, const StreamState *source) {
  int32_t status = HPK_VSK_STATUS_OK;
  for (const StreamChunk *c = source->chunks; c != nullptr; c = c->next) {
    GlobRODataEntry *entry;
    void *block = c->data;
    bool fresh = false;
    if (__vskFindGlobRODataTableEntry(&entry, c->entry_id) != HPK_VSK_STATUS_OK &&
        c->data != nullptr) {
      block = hpk_serv_hpk_malloc(size_t(uint32_t(c->size)), hpk::vsk::stream_alignment);
      if (block == nullptr) {
        __vskDeleteChunks(destination);
        return HPK_VSK_ERROR_MEM;
      }
      std::memcpy(block, c->data, size_t(uint32_t(c->size)));
      fresh = true;
    }
    status = __vskAddChunk(destination, c->id, c->entry_id, block, c->size);
    if (status != HPK_VSK_STATUS_OK) {
      // The add failed before taking the block: a copy made here is still ours to release.
      if (fresh) hpk_serv_hpk_free(block);
      __vskDeleteChunks(destination);
      return status;
    }
  }
  return status;
}

}  // extern "C"
