/* The companion service library: aligned allocation (with fault injection for tests), and the
 * services the kernels call outside themselves. */
#ifndef HPK_SERV_H
#define HPK_SERV_H

#include <stddef.h>
#include "hpk/export.h"

HPK_EXTERN_C_BEGIN

/* Aligned allocation for the statistics and fitting subsystems. `alignment` is rounded up to a
 * power of two of at least sizeof(void*). Returns null on failure (or on an injected failure). */
HPK_API void *hpk_serv_allocate(size_t bytes, int alignment);
HPK_API void hpk_serv_deallocate(void *pointer);

/* The same service under the name used by streams and distribution generators. */
HPK_API void *hpk_serv_hpk_malloc(size_t bytes, int alignment);
HPK_API void hpk_serv_hpk_free(void *pointer);

/* Fault injection: the k-th allocation counted from this call fails (k = 1 is the next one);
 * k = 0 turns injection off. Process-wide. */
HPK_API void hpk_serv_set_alloc_failure(long k);

/* Blocks handed out and not yet released, over all four allocation calls. Lets tests prove
 * that a failing path leaks nothing. */
HPK_API long hpk_serv_outstanding_allocations(void);

/* The print service. selector 1 writes to standard error (the only selector defined); `id`
 * picks the message from the catalogue, `count` is the number of arguments that follow, which
 * must match the message. One line per call. Returns the characters written, or -1 for an
 * unknown selector, an unknown id or a wrong count (nothing is printed then).
 *   735 (name, index)  736..741 (name)  742..753 (index, double value) */
HPK_API int hpk_serv_hpk_print(int selector, int id, int count, ...);

HPK_EXTERN_C_END

#endif
