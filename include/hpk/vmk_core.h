/* The 80-bit extended scalar core: one-argument elementary functions on long double, for
 * callers that compute in extended precision (the complex kernels among them).
 *
 * Every function expects the x87 control word at 64-bit precision and round to nearest (the
 * library's kernels hold it so with their X87ControlScope(kExtended)); under another setting
 * the results are unspecified. Arguments outside the stated ranges give unspecified results.
 * Error bounds are relative to the exact value of a finite, normal result (a subnormal result
 * is the extended value rounded once more); they are the bounds the core is tested against
 * with 64-bit MPFR references, in units of 2^-63 relative: below 2^-62 everywhere.
 */
#ifndef HPK_VMK_CORE_H
#define HPK_VMK_CORE_H

#include "hpk/export.h"

HPK_EXTERN_C_BEGIN

/* e^x for |x| < 11356 (the result is then finite and not zero). */
HPK_API long double hpk_vmk_kernel_expl_scalar(long double x);
/* e^x - 1 for x < 11356; x below -46 gives -1. */
HPK_API long double hpk_vmk_kernel_expm1l_scalar(long double x);
/* ln x for finite x > 0, subnormal x included. */
HPK_API long double hpk_vmk_kernel_logl_scalar(long double x);
/* ln(1 + x) for finite x > -1. */
HPK_API long double hpk_vmk_kernel_log1pl_scalar(long double x);
/* atan x for any x that is not NaN. */
HPK_API long double hpk_vmk_kernel_atanl_scalar(long double x);
/* The angle of (x, y) in [-pi, pi], the sign of y; finite, not both zero. */
HPK_API long double hpk_vmk_kernel_atan2l_scalar(long double y, long double x);
/* sin x and cos x for finite x. The relative bound holds where the argument reduction leaves
 * more than 2^-40 of pi/2 from a zero of the function (reduction to about 2^-105 absolute). */
HPK_API void hpk_vmk_kernel_sincosl_scalar(long double x, long double *s, long double *c);
/* sinh x and cosh x for |x| < 11357. */
HPK_API void hpk_vmk_kernel_sinhcoshl_scalar(long double x, long double *sh, long double *ch);

/* Tables of the core (definitions with their generator, tools/tables/gen_lcore_tables.py):
 * expl: 2^(j/256) as hi, lo pairs; double_rcp: 1/(1 + (i + 1/2)/256) on 9 bits (rows 0, 255:
 * 1 and 1/2); logl: -ln(double_rcp[i]) as hi (2^-48 grid), lo pairs; atanl: atan(k/128) as hi,
 * lo pairs. */
HPK_API extern const long double hpk_vmk_core_expl_table_256[512];
HPK_API extern const double hpk_vmk_core_double_rcp_table_256[256];
HPK_API extern const long double hpk_vmk_core_logl_table_256[512];
HPK_API extern const long double hpk_vmk_core_atanl_table_128[256];

HPK_EXTERN_C_END

#endif
