/* The Sobol quasi-random generator: row 5 of the current table (id 0x600000) and legacy id 277.
 *
 * A stream delivers the points of a Sobol sequence in Gray-code order, component by component:
 * element i is component i mod D of point 1 + i / D, D being the dimension. Point 0, all zero,
 * is not part of the stream. Raw words are 32-bit binary fractions.
 *
 * Seeding (init_stream method 0) with n words p, D = (int32_t)p[0]:
 *   n <= 0, or D <= 0: the built-in tables in 1 dimension;
 *   n == 1: the built-in tables in D dimensions when 1 <= D <= 40, else 1;
 *   n >= 4, p[1] == 1 and p[2] a user mode whose set is well formed: that mode (below);
 *   otherwise the built-in tables in D dimensions when D <= 40, else 1. A malformed user set
 *   is never an error: it falls back silently.
 * User modes, p[2]:
 *   1  polynomials of dimensions 2..D at p[3..D+1], initial numbers from uSobolMInit; D <= 40.
 *   2  L = p[3]; initial numbers of dimension d+2 at p[4 + d*L]; built-in polynomials; D <= 40.
 *   3  polynomials of dimensions 2..D at p[3..D+1], L = p[D+2], initial numbers of dimension
 *      d+2 at p[D+3 + d*L]; dimension 1 all ones.
 *   11 polynomials of all D dimensions at p[3..D+2], L = p[D+3], initial numbers of dimension
 *      d+1 at p[D+4 + d*L].
 *   4  32 finished direction numbers per dimension at p[3 + 32*d], used as they stand.
 * A set is well formed when n covers its length ((D-1)*L + 4, (D-1)*(L+1) + 4, D*(L+1) + 4,
 * 32*D + 3, or D + 2 for mode 1) and every initial number it reads lies inside p (an L below a
 * polynomial's degree would otherwise read past the caller's array on the last dimension).
 * Modes 1 and 2 keep the tables in the record; modes 3, 11 and 4 (any D) put the direction
 * numbers in chunk 9, shared with copies through the global read-only table, and the current
 * point in chunk 13, private to each copy. Seeding in these modes fails with -4 when a block
 * can't be allocated; a chunk added before the failure stays on the stream, and the stream is
 * to be deleted, not used.
 *
 * Outputs return -1012, changing nothing, when counter + n (n elements against a counter of
 * points) would pass 0xffffffff; otherwise 0. Leapfrog (method 1) works only with 0x7fffffff
 * streams and selects the dimension k < D for all later output (-1002 otherwise). Skip-ahead
 * (method 2) counts elements of whole points, even with a dimension selected (-1003 past the
 * counter's limit).
 */
#ifndef HPK_VSK_SOBOL_H
#define HPK_VSK_SOBOL_H

#include <stdint.h>
#include "hpk/vsk.h"

HPK_EXTERN_C_BEGIN

#define HPK_VSK_SOBOL_MAX_DIMENSION   40   /* of the built-in tables and the record form */
#define HPK_VSK_SOBOL_BITS            32
#define HPK_VSK_SOBOL_ALL_DIMENSIONS  0xffffffffu  /* `selected` when no dimension is */
#define HPK_VSK_SOBOL_USER_MODE_WORD  1    /* p[1] that announces a user set */

/* Built-in tables of dimensions 2 to 40 (row d is dimension d + 2): primitive polynomials with
 * bit 0 the constant term, their degrees, and initial direction numbers m(1)..m(degree). */
HPK_API extern const uint32_t uSobolIrredPoly[39];
HPK_API extern const int32_t iSobolIrredPolyDeg[39];
HPK_API extern const uint32_t uSobolMInit[39][8];

/* Row functions. */
HPK_API int32_t __vskBRngSobolInitStream(int32_t method, StreamState *stream, int32_t n,
                                         const uint32_t *params);
HPK_API int32_t __vsksBRngSobol(StreamState *stream, int32_t n, float *r, float a, float b);
HPK_API int32_t __vskdBRngSobol(StreamState *stream, int32_t n, double *r, double a, double b);
HPK_API int32_t __vskiBRngSobol(StreamState *stream, int32_t n, uint32_t *r);

/* The two forms the outputs dispatch to: tables in the record, or in chunks 9 and 13. */
HPK_API int32_t __vsksBRngSobolDefault(StreamState *stream, int32_t n, float *r, float a, float b);
HPK_API int32_t __vskdBRngSobolDefault(StreamState *stream, int32_t n, double *r, double a,
                                       double b);
HPK_API int32_t __vskiBRngSobolDefault(StreamState *stream, int32_t n, uint32_t *r);
HPK_API int32_t __vsksBRngSobolUser(StreamState *stream, int32_t n, float *r, float a, float b);
HPK_API int32_t __vskdBRngSobolUser(StreamState *stream, int32_t n, double *r, double a,
                                    double b);
HPK_API int32_t __vskiBRngSobolUser(StreamState *stream, int32_t n, uint32_t *r);

/* Table builders, for a set the seeding has found well formed (nothing is checked here).
 * __vskSobolUserPolyms fills the record from a mode 1 or 2 set (params[2] says which) and
 * sets dimension, counter 1, remaining 0, all dimensions. __vskSobolUserPolymsDirNumsChunk
 * fills the direction block (D rows of 32 words, then 32 rows of the padded width) and the
 * point block from a mode 3, 11 or 4 set. Both return 0. */
HPK_API int32_t __vskSobolUserPolyms(StreamState *stream, int32_t n, const uint32_t *params);
HPK_API int32_t __vskSobolUserPolymsDirNumsChunk(StreamState *stream, int32_t n,
                                                 const uint32_t *params, uint32_t *directions,
                                                 uint32_t *point, int32_t mode);

HPK_EXTERN_C_END

#endif
