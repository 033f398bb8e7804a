/* The Mersenne Twister generators: MT19937 (row 7, 624 words of state) and MT2203 (row 8, a set
 * of members with 69 words of state each, period 2^2203 - 1, told apart by the three parameter
 * words of _vsk_mt2203_table). One tempered 32-bit word per element.
 *
 * Seeding is the array method with the seed words as key (no words: the key {1}). Neither
 * generator leapfrogs (-1002) or skips ahead (-1003); other methods give -2; the stream is left
 * as it was. The outputs build the raw words in the caller's array and convert in place, so they
 * need no memory of their own; every output returns 0.
 */
#ifndef HPK_VSK_BRNG_MT_H
#define HPK_VSK_BRNG_MT_H

#include <stdint.h>
#include "hpk/vsk.h"

HPK_EXTERN_C_BEGIN

HPK_API int32_t __vskBRngMT19937InitStream(int32_t method, StreamState *stream, int32_t n,
                                           const uint32_t *params);
HPK_API int32_t __vsksBRngMT19937(StreamState *stream, int32_t n, float *r, float a, float b);
HPK_API int32_t __vskdBRngMT19937(StreamState *stream, int32_t n, double *r, double a, double b);
HPK_API int32_t __vskiBRngMT19937(StreamState *stream, int32_t n, uint32_t *r);

HPK_API int32_t __vskBRngMT2203InitStream(int32_t method, StreamState *stream, int32_t n,
                                          const uint32_t *params);
HPK_API int32_t __vsksBRngMT2203(StreamState *stream, int32_t n, float *r, float a, float b);
HPK_API int32_t __vskdBRngMT2203(StreamState *stream, int32_t n, double *r, double a, double b);
HPK_API int32_t __vskiBRngMT2203(StreamState *stream, int32_t n, uint32_t *r);

#define HPK_VSK_MT2203_TABLE_ROWS 6024
/* matrix_a, mask_b, mask_c of each member; every row proven to give period 2^2203 - 1 by
 * tools/mt2203 (a row not yet searched would be zero, and the members from the first such row on
 * would not be valid ids: see kMt2203Members in the registry). */
HPK_API extern const uint32_t _vsk_mt2203_table[HPK_VSK_MT2203_TABLE_ROWS][3];

HPK_EXTERN_C_END

#endif
