/* Random streams: the generator registry, the stream record and its operations, the chunks that
 * hang from a stream, and the process-wide table of shared read-only blocks.
 *
 * A generator is named by a 32-bit id. Ids from 0x100000 up name row (id >> 20) - 1 of the
 * current table __RegBrngsNew, with the member index in the low 20 bits; smaller ids are legacy
 * ids into __RegBrngs. Each row holds the sizes of a stream of that generator and its four
 * functions. A stream is one heap record, 64-byte aligned: a 16-byte head, then the generator
 * state up to `state_bytes`.
 *
 * Rows of generators whose functions are not built yet are all zero and their ids are not
 * valid (-1000); their row numbers and member counts are reserved, so the first generator
 * registered at run time receives id 0xf00000.
 *
 * Registration beyond the table: __vskRegisterBrng fills rows up to the last one, 511 (id
 * 0x20000000). A registration that would need row 512 is refused with
 * HPK_VSK_ERROR_BRNG_TABLE_FULL (-1000, the id it would receive is not a valid one), after the
 * field checks and before anything is written; the tables and the row count are unchanged.
 *
 * Streams take no lock: one stream is used by one thread at a time. The shared read-only table
 * is guarded by one spin lock. The registry takes no lock: registrations must not overlap.
 */
#ifndef HPK_VSK_H
#define HPK_VSK_H

#include <stdint.h>
#include "hpk/export.h"

HPK_EXTERN_C_BEGIN

/* ---- statuses ------------------------------------------------------------------------------ */

#define HPK_VSK_STATUS_OK                        0
#define HPK_VSK_ERROR_METHOD                    (-2)    /* unknown init_stream method */
#define HPK_VSK_ERROR_BADARGS                   (-3)
#define HPK_VSK_ERROR_MEM                       (-4)    /* allocation failed */
#define HPK_VSK_ERROR_NULL_FUNCTION             (-5)    /* registration with a null function */
#define HPK_VSK_ERROR_INVALID_BRNG              (-1000) /* id not valid, or an abstract id */
#define HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED      (-1002)
#define HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED     (-1003)
#define HPK_VSK_ERROR_BAD_STATE_BYTES           (-1008) /* registration: state_bytes < 0 */
#define HPK_VSK_ERROR_BAD_WORD_BYTES            (-1009) /* registration: word_bytes not 4/8/16 */
#define HPK_VSK_ERROR_BAD_STATE_WORDS           (-1010) /* registration: state_words <= 0 */
#define HPK_VSK_ERROR_BAD_WORD_BITS             (-1011) /* registration: word_bits <= 0 */
#define HPK_VSK_ERROR_QRNG_PERIOD_ELAPSED       (-1012)
#define HPK_VSK_ERROR_LEAPFROG_NSTREAMS         (-1013) /* nstreams negative */
#define HPK_VSK_ERROR_BRNG_TABLE_FULL           HPK_VSK_ERROR_INVALID_BRNG /* row 512 needed */
#define HPK_VSK_ERROR_GLOB_RO_NOT_FOUND         (-3000) /* key absent, null or (0, 0) */
#define HPK_VSK_ERROR_GLOB_RO_FULL              (-3001) /* all 128 rows in use */

/* ---- sizes and limits ------------------------------------------------------------------------ */

#define HPK_VSK_MAX_REG_BRNGS         512  /* rows of each generator table */
#define HPK_VSK_NUM_BUILTIN_BRNGS      14  /* rows reserved in the current table */
#define HPK_VSK_NUM_LEGACY_ROWS       279  /* rows of the legacy table */
#define HPK_VSK_BRNG_SHIFT             20  /* id = (row + 1) << 20 | member */
#define HPK_VSK_BRNG_MEMBER_MASK  0xfffff
#define HPK_VSK_STREAM_HEAD_BYTES      16  /* generator state begins here in every record */
#define HPK_VSK_STREAM_ALIGNMENT       64  /* of stream records, chunk records, copied blocks */
#define HPK_VSK_GLOB_RO_ROWS          128  /* rows of the shared read-only table */
#define HPK_VSK_GLOB_RO_SHARE_LIMIT   127  /* from this many rows on, a new keyed chunk is private */

/* Generator ids of the current table, and the legacy ids. */
#define HPK_VSK_BRNG_MCG31M1    0x100000
#define HPK_VSK_BRNG_R250       0x200000
#define HPK_VSK_BRNG_MRG32K3A   0x300000
#define HPK_VSK_BRNG_MCG59      0x400000
#define HPK_VSK_BRNG_WH         0x500000  /* 273 members */
#define HPK_VSK_BRNG_SOBOL      0x600000
#define HPK_VSK_BRNG_NIEDERR    0x700000
#define HPK_VSK_BRNG_MT19937    0x800000
#define HPK_VSK_BRNG_MT2203     0x900000  /* 6024 members */
#define HPK_VSK_BRNG_IABSTRACT  0xa00000
#define HPK_VSK_BRNG_DABSTRACT  0xb00000
#define HPK_VSK_BRNG_SABSTRACT  0xc00000
#define HPK_VSK_BRNG_SFMT19937  0xd00000
#define HPK_VSK_BRNG_NONDETERM  0xe00000
#define HPK_VSK_BRNG_FIRST_USER 0xf00000  /* id of the first generator registered at run time */

#define HPK_VSK_LEGACY_MCG31M1    0
#define HPK_VSK_LEGACY_R250       1
#define HPK_VSK_LEGACY_MRG32K3A   2
#define HPK_VSK_LEGACY_MCG59      3
#define HPK_VSK_LEGACY_WH_FIRST   4       /* WH member k has legacy id 4 + k, k < 273 */
#define HPK_VSK_LEGACY_WH_LAST  276
#define HPK_VSK_LEGACY_SOBOL    277
#define HPK_VSK_LEGACY_NIEDERR  278

/* Methods of init_stream. */
#define HPK_VSK_INIT_METHOD_STANDARD   0   /* n seed words in params */
#define HPK_VSK_INIT_METHOD_LEAPFROG   1   /* n streams; params -> the 32-bit index k */
#define HPK_VSK_INIT_METHOD_SKIPAHEAD  2   /* n = 2; params -> one 64-bit count */

/* Chunk ids. A stream holds at most one chunk of each id, since owners search before adding. */
#define HPK_VSK_CHUNK_SBOXMULLER2        1
#define HPK_VSK_CHUNK_DBOXMULLER2        2
#define HPK_VSK_CHUNK_POISSON_PTPE       3
#define HPK_VSK_CHUNK_NEGBINOMIAL        4
#define HPK_VSK_CHUNK_BINOMIAL           5
#define HPK_VSK_CHUNK_HYPERGEOMETRIC     6
#define HPK_VSK_CHUNK_DGAMMA             7
#define HPK_VSK_CHUNK_SGAMMA             8
#define HPK_VSK_CHUNK_SOBOL_DIRECTIONS   9
#define HPK_VSK_CHUNK_NIEDERR_USER      10
#define HPK_VSK_CHUNK_SFMT_BITS32       11
#define HPK_VSK_CHUNK_SFMT_BITS64       12
#define HPK_VSK_CHUNK_SOBOL_POINT       13

/* ---- records ------------------------------------------------------------------------------- */

typedef struct StreamChunk StreamChunk;

/* The head of every stream record; generator state follows at HPK_VSK_STREAM_HEAD_BYTES. */
typedef struct StreamState {
  int32_t brng;          /* id as the caller gave it, member included; legacy ids stay legacy */
  uint8_t alloc_mark;    /* 1 once allocated; nothing reads it */
  StreamChunk *chunks;   /* newest chunk first, null when none */
} StreamState;

struct StreamChunk {
  int32_t id;            /* one of HPK_VSK_CHUNK_* */
  int32_t size;          /* bytes of data */
  void *data;
  StreamChunk *next;
  uint64_t entry_id[2];  /* key in _GlobRODataTable; (0, 0) when the block is private */
};

typedef struct GlobRODataEntry {
  uint64_t id[2];        /* key; (0, 0) means no entry */
  int32_t ref_count;     /* chunks that refer to the block */
  void *data;            /* owned by the table while the row lives */
} GlobRODataEntry;

/* The generator's functions. init_stream: method 0 seeds from n words, 1 leapfrogs (n streams,
 * params points at the index k), 2 skips ahead (n = 2, params points at a 64-bit count); other
 * methods give -2. The outputs are sequential across all three; i_output writes n raw words of
 * word_bytes bytes each. */
typedef int32_t (*HpkVskInitStream)(int32_t method, StreamState *stream, int32_t n,
                                    const uint32_t *params);
typedef int32_t (*HpkVsksOutput)(StreamState *stream, int32_t n, float *r, float a, float b);
typedef int32_t (*HpkVskdOutput)(StreamState *stream, int32_t n, double *r, double a, double b);
typedef int32_t (*HpkVskiOutput)(StreamState *stream, int32_t n, uint32_t *r);

typedef struct BrngEntry {
  int32_t state_bytes;   /* whole StreamState record, head included */
  int32_t state_words;   /* times word_bytes: what __vskCopyStreamState copies */
  int32_t has_zero;      /* 1 when a raw word can be 0; stored and handed out only */
  int32_t word_bytes;    /* 4, 8 or 16 */
  int32_t word_bits;     /* significant bits of a raw word */
  HpkVskInitStream init_stream;
  HpkVsksOutput s_output;
  HpkVskdOutput d_output;
  HpkVskiOutput i_output;
} BrngEntry;

/* ---- registry ------------------------------------------------------------------------------ */

HPK_API extern BrngEntry __RegBrngsNew[HPK_VSK_MAX_REG_BRNGS];
HPK_API extern BrngEntry __RegBrngs[HPK_VSK_MAX_REG_BRNGS];

/* Translates an id into a row and member and returns the table that holds the row. Checks
 * nothing: a negative id comes back as a negative legacy row. */
HPK_API BrngEntry *__vskGetBrngBaseOffset(int32_t brng, int32_t *row, int32_t *member);
/* 0 or -1000. Negative legacy rows are reported valid on purpose: refusing them is the job of
 * the checking layer above this library. The calls below that read a row answer -1000 for a row
 * outside the table instead of reading it. */
HPK_API int32_t __vskIsBrngValid(const BrngEntry *table, int32_t row, int32_t member);
/* 0, or -1000 with *entry left as it was. */
HPK_API int32_t __vskGetBrngProperties(int32_t brng, BrngEntry *entry);
/* The new id (positive), or -1008, -1009, -1010, -1011, -5 (checked in that order), or
 * HPK_VSK_ERROR_BRNG_TABLE_FULL when all 512 rows are taken. Not thread-safe. */
HPK_API int32_t __vskRegisterBrng(const BrngEntry *entry);
HPK_API int32_t __vskGetNumRegBrngs(void);

/* ---- streams ------------------------------------------------------------------------------- */

/* -1000 for the abstract ids and invalid ids; -4; else the status of init_stream method 0, with
 * the record left allocated in *stream even when that status is a failure. */
HPK_API int32_t __vskNewStreamEx(StreamState **stream, int32_t brng, int32_t n,
                                 const uint32_t *params);
/* The allocation step: validity, then a 64-byte aligned record of state_bytes with brng set,
 * no chunks, alloc_mark 1 and the state as the allocator left it. -1000 or -4 (*stream null). */
HPK_API int32_t __vskAllocateStream(StreamState **stream, const BrngEntry *table, int32_t brng,
                                    int32_t row, int32_t member);
/* Releases chunks and record, nulls *stream. Always 0. */
HPK_API int32_t __vskDeleteStream(StreamState **stream);
/* Whole record copied, then the chunks (in reverse order). On a chunk failure the copy stays
 * allocated without chunks and the status is returned. */
HPK_API int32_t __vskCopyStream(StreamState **copy, const StreamState *source);
/* Copies state_words * word_bytes bytes of moving state (bounded by both records' state),
 * then replaces the destination's chunks by copies of the source's. 0 when both are one. */
HPK_API int32_t __vskCopyStreamState(StreamState *destination, const StreamState *source);
/* -1013 for a negative nstreams, whatever the generator; else init_stream method 1. */
HPK_API int32_t __vskLeapfrogStream(StreamState *stream, int32_t k, int32_t nstreams);
HPK_API int32_t __vskSkipAheadStream(StreamState *stream, uint64_t nskip);
HPK_API int32_t __vskGetStreamStateBrng(const StreamState *stream);

/* ---- chunks -------------------------------------------------------------------------------- */

/* Attaches a block at the head of the list; the chunk owns `data` (from hpk_serv_hpk_malloc)
 * unless the key is already in the shared table, in which case the chunk refers to the table's
 * block and `data` is left to the caller. On -4 nothing is attached and `data` stays the
 * caller's. A null key and a (0, 0) key both make a private chunk. */
HPK_API int32_t __vskAddChunk(StreamState *stream, int32_t id, const uint64_t *entry_id,
                              void *data, int32_t size);
HPK_API void *__vskSearchChunk(const StreamState *stream, int32_t id);
HPK_API int32_t __vskGetNumChunks(const StreamState *stream);
/* Adds to the destination a chunk for each of the source's, in reverse order: shared blocks by
 * reference, private blocks copied. On failure the destination is left without chunks. */
HPK_API int32_t __vskCopyChunks(StreamState *destination, const StreamState *source);
HPK_API int32_t __vskDeleteChunks(StreamState *stream);

/* ---- shared read-only table ------------------------------------------------------------------ */

HPK_API extern GlobRODataEntry _GlobRODataTable[HPK_VSK_GLOB_RO_ROWS];
HPK_API extern int32_t _GlobRODataTableCount;
HPK_API extern int32_t _VSK_GLOB_RO_DATA_TABLE_LOCKER_1;

HPK_API void _vskGlobRODataTableLock(void);
HPK_API void _vskGlobRODataTableUnLock(void);
/* A key (time stamp counter, second_word) not in the table at the time of the call. */
HPK_API int32_t __vskGenerateNewGlobalRODataTableEntryId(uint64_t id[2], uint64_t second_word);
/* 0 and the row's address, or -3000 (also for a null or (0, 0) key). The address is stable
 * only while the table is not changed. */
HPK_API int32_t __vskFindGlobRODataTableEntry(GlobRODataEntry **entry, const uint64_t id[2]);
/* Appends a row (ref_count 1) without looking for the key; -3001 when all 128 are used. */
HPK_API int32_t __vskCreateGlobRODataTableEntry(GlobRODataEntry **entry, const uint64_t id[2],
                                                void *data);
/* Raises the first matching row's count and points the chunk at its block; no match: nothing. */
HPK_API void __vskRegisterGlobRODataReference(StreamChunk *chunk, const uint64_t id[2]);
/* Lowers the count of each matching row met by one scan; a row reaching 0 releases its block
 * and is replaced by the last row, which the scan does not examine again. */
HPK_API void __vskUnregisterGlobRODataReference(const uint64_t id[2]);

HPK_API uint64_t vsktsRDTSC(void);

HPK_EXTERN_C_END

#endif
