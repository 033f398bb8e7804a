// Stream records: creation, copies, leapfrog, skip-ahead and deletion.
//
// Operations on an existing stream trust the id stored in it: it passed the validity test
// when the record was made and rows are never removed.
#include <cstring>

#include "hpk/serv.h"
#include "vsk/service/registry.hpp"

using hpk::vsk::brng_row;
using hpk::vsk::record_bytes;
using hpk::vsk::state_of;
using hpk::vsk::stream_head_bytes;

extern "C" {

int32_t __vskAllocateStream(StreamState **stream, const BrngEntry *table, int32_t brng,
                            int32_t row, int32_t member) {
  const int32_t valid = __vskIsBrngValid(table, row, member);
  if (valid < 0) return valid;
  // A negative legacy row is valid by the rule above but has no row to read.
  if (row < 0 || row >= HPK_VSK_MAX_REG_BRNGS) return HPK_VSK_ERROR_INVALID_BRNG;
  auto *s = static_cast<StreamState *>(
      hpk_serv_hpk_malloc(size_t(record_bytes(table[row])), hpk::vsk::stream_alignment));
  *stream = s;
  if (s == nullptr) return HPK_VSK_ERROR_MEM;
  s->brng = brng;
  s->chunks = nullptr;
  s->alloc_mark = 1;
  return HPK_VSK_STATUS_OK;
}

int32_t __vskNewStreamEx(StreamState **stream, int32_t brng, int32_t n, const uint32_t *params) {
  // Abstract streams have their own constructors.
  if (brng == HPK_VSK_BRNG_IABSTRACT || brng == HPK_VSK_BRNG_DABSTRACT ||
      brng == HPK_VSK_BRNG_SABSTRACT)
    return HPK_VSK_ERROR_INVALID_BRNG;
  int32_t row, member;
  const BrngEntry *table = __vskGetBrngBaseOffset(brng, &row, &member);
  const int32_t status = __vskAllocateStream(stream, table, brng, row, member);
  if (status < 0) return status;
  // A failing seed leaves the record allocated and in *stream; the caller deletes it.
  return table[row].init_stream(HPK_VSK_INIT_METHOD_STANDARD, *stream, n, params);
}

int32_t __vskCopyStream(StreamState **copy, const StreamState *source) {
  int32_t row, member;
  const BrngEntry *table = __vskGetBrngBaseOffset(source->brng, &row, &member);
  const int32_t status = __vskAllocateStream(copy, table, source->brng, row, member);
  if (status < 0) return status;
  std::memcpy(*copy, source, size_t(record_bytes(table[row])));
  (*copy)->chunks = nullptr;
  return __vskCopyChunks(*copy, source);
}

// Copies the moving state only (state_words * word_bytes, which leaves out what a generator
// keeps behind it, such as a multiplier). Where that product passes the end of the record
// (16-byte words of a short state) the copy stops at the end of the state; it also stops at
// the end of the destination's state, so a caller mixing generators cannot write past it.
int32_t __vskCopyStreamState(StreamState *destination, const StreamState *source) {
  if (destination == source) return HPK_VSK_STATUS_OK;
  const BrngEntry *src = brng_row(source->brng);
  const BrngEntry *dst = brng_row(destination->brng);
  if (src != nullptr && dst != nullptr) {
    int64_t bytes = int64_t(src->state_words) * src->word_bytes;
    const int64_t src_room = record_bytes(*src) - stream_head_bytes;
    const int64_t dst_room = record_bytes(*dst) - stream_head_bytes;
    if (bytes > src_room) bytes = src_room;
    if (bytes > dst_room) bytes = dst_room;
    if (bytes > 0) std::memcpy(state_of(destination), state_of(source), size_t(bytes));
  }
  __vskDeleteChunks(destination);
  return __vskCopyChunks(destination, source);
}

int32_t __vskLeapfrogStream(StreamState *stream, int32_t k, int32_t nstreams) {
  // Widened with its sign and read as unsigned: every negative count lands at or above
  // 0xffffffff, every non-negative one below it.
  if (uint64_t(int64_t(nstreams)) >= 0xffffffffu) return HPK_VSK_ERROR_LEAPFROG_NSTREAMS;
  return brng_row(stream->brng)->init_stream(HPK_VSK_INIT_METHOD_LEAPFROG, stream, nstreams,
                                             reinterpret_cast<const uint32_t *>(&k));
}

int32_t __vskSkipAheadStream(StreamState *stream, uint64_t nskip) {
  return brng_row(stream->brng)->init_stream(HPK_VSK_INIT_METHOD_SKIPAHEAD, stream, 2,
                                             reinterpret_cast<const uint32_t *>(&nskip));
}

int32_t __vskDeleteStream(StreamState **stream) {
  if (stream == nullptr || *stream == nullptr) return HPK_VSK_STATUS_OK;
  __vskDeleteChunks(*stream);
  hpk_serv_hpk_free(*stream);
  *stream = nullptr;
  return HPK_VSK_STATUS_OK;
}

int32_t __vskGetStreamStateBrng(const StreamState *stream) { return stream->brng; }

}  // extern "C"
