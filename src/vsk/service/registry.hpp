// Internal view of the generator registry for the stream operations.
#pragma once

#include <cstdint>

#include "hpk/vsk.h"

namespace hpk::vsk {

inline constexpr int32_t stream_head_bytes = HPK_VSK_STREAM_HEAD_BYTES;
inline constexpr int stream_alignment = HPK_VSK_STREAM_ALIGNMENT;

// Rows filled in the current table, and the member count of each row (0 for a reserved row
// whose generator is not built yet, which makes every id of it invalid).
extern int32_t NRegBrngsNew;
extern int32_t NumOffsets[HPK_VSK_MAX_REG_BRNGS];

// The row of an id, or null when the row lies outside the table (a negative legacy id passes
// the validity test; nothing may index the table with it).
inline const BrngEntry *brng_row(int32_t brng) {
  int32_t row, member;
  const BrngEntry *table = __vskGetBrngBaseOffset(brng, &row, &member);
  if (row < 0 || row >= HPK_VSK_MAX_REG_BRNGS) return nullptr;
  return table + row;
}

// Bytes of a record: state_bytes, but never less than the head, which every record carries
// (registration accepts any state_bytes from 0).
inline int64_t record_bytes(const BrngEntry &e) {
  return e.state_bytes > stream_head_bytes ? e.state_bytes : stream_head_bytes;
}

inline unsigned char *state_of(StreamState *s) {
  return reinterpret_cast<unsigned char *>(s) + stream_head_bytes;
}
inline const unsigned char *state_of(const StreamState *s) {
  return reinterpret_cast<const unsigned char *>(s) + stream_head_bytes;
}

}  // namespace hpk::vsk
