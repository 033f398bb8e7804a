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

HPK_EXTERN_C_END

#endif
