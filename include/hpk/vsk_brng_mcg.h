/* The multiplicative congruential generators MCG31M1 (x <- a x mod 2^31 - 1) and MCG59
 * (x <- a x mod 2^59), rows 0 and 3 of the generator registry (legacy ids 0 and 3), and the
 * modular powers that jump-ahead uses.
 *
 * Both deliver the stored x first, so the first element of a new stream is its seed. The
 * outputs follow the generator contract of hpk/vsk.h; every output returns 0. MCG31M1 writes
 * its first element and advances before it looks at n: a call with n <= 0 still delivers one
 * element. MCG59 with n <= 0 does nothing. MCG59's i_output writes 8 bytes per element.
 *
 * Leapfrog (method 1, n streams, index k): x <- x a^k, a <- a^n. Skip-ahead (method 2, a 64-bit
 * count s): x <- x a^s with the current multiplier, so on a leapfrogged stream it counts steps
 * of that stream. Both always succeed.
 */
#ifndef HPK_VSK_BRNG_MCG_H
#define HPK_VSK_BRNG_MCG_H

#include <stdint.h>
#include "hpk/vsk.h"

HPK_EXTERN_C_BEGIN

HPK_API int32_t __vskBRngMCG31M1InitStream(int32_t method, StreamState *stream, int32_t n,
                                           const uint32_t *params);
HPK_API int32_t __vsksBRngMCG31M1(StreamState *stream, int32_t n, float *r, float a, float b);
HPK_API int32_t __vskdBRngMCG31M1(StreamState *stream, int32_t n, double *r, double a, double b);
HPK_API int32_t __vskiBRngMCG31M1(StreamState *stream, int32_t n, uint32_t *r);

HPK_API int32_t __vskBRngMCG59InitStream(int32_t method, StreamState *stream, int32_t n,
                                         const uint32_t *params);
HPK_API int32_t __vsksBRngMCG59(StreamState *stream, int32_t n, float *r, float a, float b);
HPK_API int32_t __vskdBRngMCG59(StreamState *stream, int32_t n, double *r, double a, double b);
/* r receives n 64-bit words (2 n 32-bit words, low half first). */
HPK_API int32_t __vskiBRngMCG59(StreamState *stream, int32_t n, uint32_t *r);

/* base^e mod m by square-and-multiply with 64-bit products reduced by division; e = 0 gives 1. */
HPK_API uint32_t __vskiPowMod(uint32_t base, uint64_t e, uint32_t m);
/* base^e mod 2^31 - 1, base below 2^31, reduced by shift and add. */
HPK_API uint32_t __vskiPowMod2P31M1(uint32_t base, uint64_t e);
/* base^e mod 2^59. */
HPK_API uint64_t __vskiPowMod2P59(uint64_t base, uint64_t e);

HPK_EXTERN_C_END

#endif
