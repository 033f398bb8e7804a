// Internal view of a Sobol stream: the record, where its tables stand, and the lowest zero bit.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hpk/vsk_sobol.h"
#include "vsk/service/registry.hpp"

namespace hpk::vsk::sobol {

inline constexpr int kMaxDim = HPK_VSK_SOBOL_MAX_DIMENSION;
inline constexpr int kBits = HPK_VSK_SOBOL_BITS;
inline constexpr uint32_t kAll = HPK_VSK_SOBOL_ALL_DIMENSIONS;
inline constexpr int kRecordDirStride = 33;   // words of a `dir` row in the record
inline constexpr int kRecordDirTStride = 48;  // words of a `dir_t` row in the record: 3 lines
inline constexpr int kChunkDirStride = 32;    // words of a `dir` row in chunk 9

// Generator state, from byte 16 of the record. `dir_t` starts on a 64-byte line (the record is
// 64-byte aligned), which is where the 32 spare bytes of the 11648-byte record go.
struct Record {
  uint32_t counter;    // index of the point held in `point`, from 1
  int32_t dimension;
  uint32_t selected;   // kAll, or the one dimension delivered
  int32_t remaining;   // components of `point` still to deliver when it is partly delivered
  uint32_t point[kMaxDim];
  uint32_t dir[kMaxDim][kRecordDirStride];
  uint32_t pad[8];
  uint32_t dir_t[kBits][kRecordDirTStride];
};
static_assert(offsetof(Record, point) == 16);
static_assert(stream_head_bytes + offsetof(Record, dir_t) == 5504);
static_assert((stream_head_bytes + offsetof(Record, dir_t)) % 64 == 0);
static_assert(stream_head_bytes + sizeof(Record) == 11648);

inline Record *record_of(StreamState *s) { return reinterpret_cast<Record *>(state_of(s)); }

// Where the arrays of one stream stand: in the record, or in chunks 9 and 13.
struct Tables {
  uint32_t *point;
  uint32_t *dir;    // dir[d * dir_stride + j]: direction number j of dimension d
  uint32_t *dir_t;  // dir_t[j * dirt_stride + d], the same numbers transposed
  int dir_stride;
  int dirt_stride;
};

inline Tables record_tables(Record *r) {
  return {r->point, &r->dir[0][0], &r->dir_t[0][0], kRecordDirStride, kRecordDirTStride};
}

// Words of a transposed row in chunk 9: D rounded up to whole 64-byte lines, one whole line
// more when D already fills them.
inline int64_t chunk_dirt_stride(int64_t dim) { return (64 - (4 * dim) % 64 + 4 * dim) / 4; }
// Bytes allocated for chunk 9 (more than the arrays need); also its `size`.
inline int64_t chunk_dir_bytes(int64_t dim) {
  return 4 * (64 * dim + 32 * (64 - (4 * dim) % 64));
}

inline Tables chunk_tables(uint32_t *directions, uint32_t *point, int32_t dim) {
  return {point, directions, directions + int64_t(kChunkDirStride) * dim, kChunkDirStride,
          int(chunk_dirt_stride(dim))};
}

// The tables of a stream: chunks 9 and 13 when it has a point chunk, else its record. Chunk 9
// is shared with copies and is only read once attached.
Tables tables_of(StreamState *s);

// iT[b]: index of the lowest zero bit of byte b, 8 for 0xff.
struct ZeroBitTable {
  uint8_t iT[256];
  constexpr ZeroBitTable() : iT{} {
    for (int b = 0; b < 256; ++b) {
      int i = 0;
      while (i < 8 && ((b >> i) & 1)) ++i;
      iT[b] = uint8_t(i);
    }
  }
};
inline constexpr ZeroBitTable kZeroBit{};

// Index of the lowest zero bit of v, from the lowest byte that is not 0xff; 32 for 0xffffffff.
inline int RightmostZeroBit(uint32_t v) {
  if ((v & 0xffu) != 0xffu) return kZeroBit.iT[v & 0xffu];
  if ((v & 0xff00u) != 0xff00u) return 8 + kZeroBit.iT[(v >> 8) & 0xffu];
  if ((v & 0xff0000u) != 0xff0000u) return 16 + kZeroBit.iT[(v >> 16) & 0xffu];
  return 24 + kZeroBit.iT[v >> 24];
}

}  // namespace hpk::vsk::sobol
