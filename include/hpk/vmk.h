/* Vector math: per-thread mode and status services, the array kernels, their tables and stubs.
 *
 * Each array function <t><Fn> has
 *   hpk_vmk_kernel_<t><Fn>_ttab  three kernel addresses: slot 0 low accuracy, 1 high, 2 enhanced
 *                                performance (writable: a slot may be replaced at run time);
 *   hpk_vmk_kernel_<t><Fn>_ctab  three element costs on the scale sAdd = 0.74, dAdd = 1.79;
 *   the stubs _vmk<t><Fn>_21 / _50 (slot 0), _vmk<t><Fn>_HA and _vmk<t><Fn> (slot 1),
 *   _vmk<t><Fn>_11 / _26 (slot 2); the first suffix of each pair is for s and c, the second for
 *   d and z. A stub jumps through its table slot at call time and checks nothing.
 * The functions that exist are listed in hpk/vmk_functions.h.
 */
#ifndef HPK_VMK_H
#define HPK_VMK_H

#include <stdint.h>
#include "hpk/export.h"
#include "hpk/vmk_functions.h"

HPK_EXTERN_C_BEGIN

typedef struct { float re, im; } hpk_complex8;
typedef struct { double re, im; } hpk_complex16;

/* ---- per-thread mode ------------------------------------------------------------------ */

/* ModeWord fields. */
#define HPK_VMK_ACCURACY_MASK      0xFu
#define HPK_VMK_LA                 0x1u
#define HPK_VMK_HA                 0x2u
#define HPK_VMK_EP                 0x3u
#define HPK_VMK_CONSISTENCY_MASK   0xF0u
#define HPK_VMK_ERRMODE_MASK       0xFF00u
#define HPK_VMK_ERRMODE_IGNORE     0x100u
#define HPK_VMK_ERRMODE_ERRNO      0x200u
#define HPK_VMK_ERRMODE_STDERR     0x400u
#define HPK_VMK_ERRMODE_EXCEPT     0x800u
#define HPK_VMK_ERRMODE_CALLBACK   0x1000u
#define HPK_VMK_ERRMODE_DEFAULT    0x1A00u
#define HPK_VMK_DENORMAL_MASK      0x3C0000u
#define HPK_VMK_FTZDAZ_ON          0x280000u
#define HPK_VMK_FTZDAZ_OFF         0x140000u
#define HPK_VMK_DEFAULT_MODE       0x1A02u

/* The environment variable that gives a thread its first mode: a comma-joined list of items
 * such as "VMK_HA,VMK_ERRMODE_STDERR". */
#define HPK_VMK_MODE_ENV "HPK_VMK_MODE"

/* The record a call-back receives for one bad element; built on the dispatcher's stack. Single
 * and single-complex values are widened to double; the imaginary fields are filled by the
 * complex dispatchers only. A name of 64 characters or more leaves funcName without a
 * terminator: only funcNameLen tells where it ends. */
typedef struct HpkVmkErrorContext {
  int32_t code;        /* status; a call-back may change it, later actions obey the change */
  int32_t index;       /* element index in the whole array */
  double arg1;
  double arg2;
  double res1;         /* a call-back may replace the results */
  double res2;
  char funcName[64];
  int32_t funcNameLen;
  double arg1Imag;
  double arg2Imag;
  double res1Imag;
  double res2Imag;
} HpkVmkErrorContext;

/* Returns 0 to let dispatch go on with the actions of the mode, non-zero when it has dealt with
 * the element (the kernel's stored result then stands). */
typedef int (*HpkVmkErrorCallBack)(struct HpkVmkErrorContext *);

HPK_API uint64_t hpk_vmk_kernel_GetMode(void);
HPK_API uint64_t hpk_vmk_kernel_SetMode(uint32_t mode);
HPK_API int32_t hpk_vmk_kernel_GetErrStatus(void);
HPK_API int32_t hpk_vmk_kernel_SetErrStatus(int32_t status);
HPK_API int32_t hpk_vmk_kernel_ClearErrStatus(void);
HPK_API HpkVmkErrorCallBack hpk_vmk_kernel_GetErrorCallBack(void);
HPK_API HpkVmkErrorCallBack hpk_vmk_kernel_SetErrorCallBack(HpkVmkErrorCallBack cb);
HPK_API HpkVmkErrorCallBack hpk_vmk_kernel_ClearErrorCallBack(void);
HPK_API const void *hpk_vmk_kernel_SetInterfInputVectorPointer(const void *p);
HPK_API int32_t hpk_vmk_kernel_GetTTableIndex(void);
HPK_API int32_t hpk_vmk_kernel_GetTTableIndexM(uint64_t ignored, uint64_t mode);
HPK_API int64_t hpk_vmk_kernel_ReadEnvVarMode(void);

HPK_API uint64_t _vmkGetMode(void);
HPK_API uint64_t _vmkSetMode(uint32_t mode);
HPK_API int32_t _vmkGetErrStatus(void);
HPK_API int32_t _vmkSetErrStatus(int32_t status);
HPK_API int32_t _vmkClearErrStatus(void);
HPK_API HpkVmkErrorCallBack _vmkGetErrorCallBack(void);
HPK_API HpkVmkErrorCallBack _vmkSetErrorCallBack(HpkVmkErrorCallBack cb);
HPK_API HpkVmkErrorCallBack _vmkClearErrorCallBack(void);
HPK_API const void *_vmkSetInterfInputVectorPointer(const void *p);

/* Error dispatch: a kernel stores the element's result, then reports it here with its code,
 * the element's index inside the arrays it was given, the arrays' start addresses (first and
 * second input, first and second result; a one-input kernel passes a twice, a one-result kernel
 * y twice) and its name ("vdDiv"). Codes: 1 domain, 2 singularity, 3 overflow, 4 underflow;
 * -1 and -2 belong to the calling layer (the arrays are then not read). */
HPK_API void hpk_vmk_kernel_sError(int32_t code, int32_t index, const float *a, const float *b,
                                   float *y, float *z, const char *name);
HPK_API void hpk_vmk_kernel_dError(int32_t code, int32_t index, const double *a, const double *b,
                                   double *y, double *z, const char *name);
HPK_API void hpk_vmk_kernel_cError(int32_t code, int32_t index, const hpk_complex8 *a,
                                   const hpk_complex8 *b, hpk_complex8 *y, hpk_complex8 *z,
                                   const char *name);
HPK_API void hpk_vmk_kernel_zError(int32_t code, int32_t index, const hpk_complex16 *a,
                                   const hpk_complex16 *b, hpk_complex16 *y, hpk_complex16 *z,
                                   const char *name);

/* ---- complex elementary functions: special values and statuses ------------------------- */

/* The complex elementary kernels (cExp, zExp, cSqrt, zSqrt, cLn, zLn, cLog10, zLog10, cPow,
 * zPow, cPowx, zPowx) give the special values of the C
 * complex functions (branch cut of Sqrt on the negative real axis, continuous from above; the
 * sign of a zero part kept; a NaN part gives NaN parts except where an infinite or zero part
 * decides the result). Their statuses, element by element under the names "vcExp", "vzSqrt"...:
 *   3 overflow    a finite element whose result has an infinite part;
 *   4 underflow   Exp of a finite element whose modulus e^re lies below the smallest normal
 *                 number of the type;
 *   1 domain      Exp of a finite real part with an infinite imaginary part (the result
 *                 NaN + i NaN, as the real sine and cosine of an infinity).
 * NaN parts report nothing; Sqrt reports nothing (no finite element overflows).
 * Ln and Log10 (cLn, zLn, cLog10, zLog10): branch cut on the negative real axis, the sign of a
 * zero imaginary part picking the side (ln(-x + i0) = ln x + i pi, ln(-x - i0) = ln x - i pi);
 * ln(+-0 + i0) = -inf + i0 or -inf + i pi (the zero's sign kept) with status 2 singularity,
 * their only status; an infinite part gives +inf with the angle of the infinities (pi/4,
 * 3 pi/4, pi/2, 0, pi; NaN beside a NaN). Log10 is Ln times 1/ln 10.
 * Pow and Powx (cPow, zPow, cPowx, zPowx): z^w = e^(w ln z); where the base is zero or a part
 * is not finite, the composition is carried out as cexp(w * clog(z)) with the multiplication of
 * the C annex (its recovery of infinities included). Statuses:
 *   2 singularity  a zero base whose result has an infinite part;
 *   3 overflow     a finite element whose result has an infinite part;
 *   1 domain       an element without NaN parts whose result has a NaN part;
 *   4 underflow    a finite element with a non-zero base whose modulus lies below the least
 *                  normal number of the type.
 * A zero base with Re w > 0 gives an exact zero and no status.
 * cSin, zSin, cCos, zCos, cTan, zTan, cSinh, zSinh, cCosh, zCosh, cTanh, zTanh: the special
 * values of the C functions for Sinh, Cosh, Tanh (Tanh of +-0 + i inf or +-0 + i NaN gives
 * +-0 + i NaN), Sin z = -i Sinh(iz), Cos z = Cosh(iz), Tan z = -i Tanh(iz) for the others;
 * where the sign of an infinite or zero part beside a NaN is unspecified, + is chosen. Statuses:
 *   3 overflow    a finite element with an infinite part (Sin, Cos, Sinh, Cosh of elements
 *                 with a large hyperbolic argument; a part stays finite where its trigonometric
 *                 factor is small enough);
 *   1 domain      an element without NaN parts whose result has a NaN part (Sinh of x + i inf,
 *                 Cosh of +-inf + i inf, Tan of +-inf + i y, ...).
 * Tan and Tanh never overflow.
 * The inverse functions (cAsin, cAcos, cAtan, cAsinh, cAcosh, cAtanh and their z twins) follow
 * the branch cuts of the C complex functions (Asin, Acos, Atanh on the real axis beyond +-1,
 * Asinh, Atan on the imaginary axis beyond +-i, Acosh on the real axis below 1; the sign of a
 * zero part picks the side). Their only status is
 *   2 singularity Atanh at +-1 + i(+-0) (result +-inf + i(+-0)) and Atan at +-0 + i(+-1)
 *                 (result +-0 + i(+-inf));
 * no finite element overflows and none without NaN parts gives a NaN part. */

/* ---- gamma function: statuses ---------------------------------------------------------- */

/* TGamma ("vdTGamma", "vsTGamma"), element by element:
 *   2 singularity  +-0 gives +-infinity;
 *   1 domain       a negative integer or -infinity gives NaN;
 *   3 overflow     a finite element whose result is infinite: x above 171.62437695630272
 *                  (single: above 35.040096), and 0 < |x| so small that 1/x overflows;
 *   4 underflow    a negative non-integer whose result lies below the least normal number of
 *                  the type (a denormal or a signed zero), as the exponential reports it: from
 *                  about -170.6 down (single: from about -34.3 down), between the poles.
 * NaN gives the quieted NaN and +infinity gives +infinity, with no status. */

/* ---- LGamma: special values and statuses ---------------------------------------------- */

/* sLGamma and dLGamma give log |Gamma x| ("vsLGamma", "vdLGamma"):
 *   2 singularity  a pole, +-0 or a negative integer (every double below -2^52, every single
 *                  below -2^23 is one): +infinity;
 *   3 overflow     x so large that the result exceeds the type (x above about 2.55e305 in
 *                  double, 4.08e36 in single): +infinity;
 *   +-infinity gives +infinity and NaN a quiet NaN, without status. While the mode treats
 *   denormal inputs as zero, a denormal input is the pole at zero. No input is a domain
 *   error (status 1): log |Gamma| is defined on every real number but the poles, negative
 *   non-integers included. */

/* ---- special functions: statuses ------------------------------------------------------ */

/* ErfInv ("vsErfInv", "vdErfInv"): |x| above 1 (infinities included) stores the default NaN
 * with status 1; a NaN comes back quieted without a status. At +-1 the double high accuracy
 * kernel (slots 0 and 1 of dErfInv) stores +-infinity with status 2; the double enhanced
 * performance kernel and the three single kernels store +-infinity without a status (status 1
 * is their only one). Accuracy: high at most 1 ulp, single low accuracy at most 4 ulp,
 * enhanced performance at least 26 (double) and 11 (single) correct bits. */

/* ---- trigonometric scalar routes and reductions ---------------------------------------- */

/* Scalar reduced-path routines of the trigonometric kernels: element i of a goes to y[i] (and
 * z[i]), correct for every input, with the status reported under `name` (the double routines)
 * or under their own name ("sSin_HA", ...). The double _HA/_LA/_A11 forms forward to the
 * routine with the name "dSin_HA" and the like. */
HPK_API void hpk_vmk_kernel_dSin_SC(int32_t i, const double *a, double *y, const char *name);
HPK_API void hpk_vmk_kernel_dCos_SC(int32_t i, const double *a, double *y, const char *name);
HPK_API void hpk_vmk_kernel_dTan_SC(int32_t i, const double *a, double *y, const char *name);
HPK_API void hpk_vmk_kernel_dSinCos_SC(int32_t i, const double *a, double *y, double *z,
                                       const char *name);
#define HPK_VMK_TRIG_SC_LEVELS(M, t, Fn, T) M(t, Fn, T, HA) M(t, Fn, T, LA) M(t, Fn, T, A11)
#define HPK_VMK_TRIG_SC_ONE(t, Fn, T, lvl) \
  HPK_API void hpk_vmk_kernel_##t##Fn##_SC_##lvl(int32_t i, const T *a, T *y);
#define HPK_VMK_TRIG_SC_TWO(t, Fn, T, lvl) \
  HPK_API void hpk_vmk_kernel_##t##Fn##_SC_##lvl(int32_t i, const T *a, T *y, T *z);
HPK_VMK_TRIG_SC_LEVELS(HPK_VMK_TRIG_SC_ONE, d, Sin, double)
HPK_VMK_TRIG_SC_LEVELS(HPK_VMK_TRIG_SC_ONE, d, Cos, double)
HPK_VMK_TRIG_SC_LEVELS(HPK_VMK_TRIG_SC_ONE, d, Tan, double)
HPK_VMK_TRIG_SC_LEVELS(HPK_VMK_TRIG_SC_TWO, d, SinCos, double)
HPK_VMK_TRIG_SC_LEVELS(HPK_VMK_TRIG_SC_ONE, s, Sin, float)
HPK_VMK_TRIG_SC_LEVELS(HPK_VMK_TRIG_SC_ONE, s, Cos, float)
HPK_VMK_TRIG_SC_LEVELS(HPK_VMK_TRIG_SC_ONE, s, Tan, float)
HPK_VMK_TRIG_SC_LEVELS(HPK_VMK_TRIG_SC_TWO, s, SinCos, float)
/* CIS: element i of the real array a to the complex y[i] (cos + i sin), for every input; an
 * infinity stores NaN parts and raises status 1 through the complex dispatcher under `name`
 * (the level forms: "zCIS_HA", "cCIS_LA", ...). */
HPK_API void hpk_vmk_kernel_zCIS_SC(int32_t i, const double *a, hpk_complex16 *y, const char *name);
#define HPK_VMK_CIS_SC(t, T, C, lvl) \
  HPK_API void hpk_vmk_kernel_##t##CIS_SC_##lvl(int32_t i, const T *a, C *y);
#define HPK_VMK_CIS_SC_LEVELS(t, T, C) \
  HPK_VMK_CIS_SC(t, T, C, HA) HPK_VMK_CIS_SC(t, T, C, LA) HPK_VMK_CIS_SC(t, T, C, A11)
HPK_VMK_CIS_SC_LEVELS(z, double, hpk_complex16)
HPK_VMK_CIS_SC_LEVELS(c, float, hpk_complex8)

/* x = q pi/2 + r[0] + r[1] with |r[0] + r[1]| about pi/4 at most, for any finite x (an
 * infinity or NaN gives NaN and q = 0). Returns q, whose value mod 4 is the quadrant. */
HPK_API int32_t hpk_vmk_kernel_reduce_pio2d(double x, double *r);

/* The same for an 80-bit extended x: r[0] + r[1] (r[1] written only when want_lo is not 0).
 * Runs under the caller's x87 state, which must be at 64-bit precision and nearest. */
HPK_API int32_t hpk_vmk_kernel_reduce_pi04l(long double x, int32_t want_lo, long double *r);

/* This is the baseline build: SSE2 and x87 only. Always 0. */
HPK_API int dll_cpu_version(void);

/* ---- array kernels, tables and stubs ---------------------------------------------------- */

/* Element types and their real parts. */
#define HPK_VMK_T_s float
#define HPK_VMK_T_d double
#define HPK_VMK_T_c hpk_complex8
#define HPK_VMK_T_z hpk_complex16
#define HPK_VMK_R_s float
#define HPK_VMK_R_d double
#define HPK_VMK_R_c float
#define HPK_VMK_R_z double

/* Argument lists by shape. In the Pack and Unpack shapes the width flag 1 makes the count, the
 * stride, the indices and the mask values 32-bit integers; any other value makes them 64-bit. */
#define HPK_VMK_PARAMS_ONE(T, R)     (int n, const T *a, T *y)
#define HPK_VMK_PARAMS_TWO(T, R)     (int n, const T *a, const T *b, T *y)
#define HPK_VMK_PARAMS_POWX(T, R)    (int n, const T *a, T b, T *y)
#define HPK_VMK_PARAMS_TWO_OUT(T, R) (int n, const T *a, T *y, T *z)
#define HPK_VMK_PARAMS_CIS(T, R)     (int n, const R *a, T *y)
#define HPK_VMK_PARAMS_TO_REAL(T, R) (int n, const T *a, R *y)
#define HPK_VMK_PARAMS_LINFRAC(T, R) \
  (int n, const T *a, const T *b, T scalea, T shifta, T scaleb, T shiftb, T *y)
#define HPK_VMK_PARAMS_PACK_I(T, R)  (int64_t n, const T *a, int64_t incra, T *y, int width)
#define HPK_VMK_PARAMS_PACK_V(T, R)  (int64_t n, const T *a, const void *index, T *y, int width)
#define HPK_VMK_PARAMS_PACK_M(T, R)  (int64_t n, const T *a, const void *mask, T *y, int width)
#define HPK_VMK_PARAMS(t, shape) HPK_VMK_PARAMS_##shape(HPK_VMK_T_##t, HPK_VMK_R_##t)

/* Stub suffixes of the low accuracy and enhanced performance slots by type. */
#define HPK_VMK_SFX_LA_s _21
#define HPK_VMK_SFX_LA_c _21
#define HPK_VMK_SFX_LA_d _50
#define HPK_VMK_SFX_LA_z _50
#define HPK_VMK_SFX_EP_s _11
#define HPK_VMK_SFX_EP_c _11
#define HPK_VMK_SFX_EP_d _26
#define HPK_VMK_SFX_EP_z _26
#define HPK_VMK_CAT_(a, b) a##b
#define HPK_VMK_CAT(a, b) HPK_VMK_CAT_(a, b)
#define HPK_VMK_STUB_LA(t, Fn) HPK_VMK_CAT(_vmk##t##Fn, HPK_VMK_SFX_LA_##t)
#define HPK_VMK_STUB_EP(t, Fn) HPK_VMK_CAT(_vmk##t##Fn, HPK_VMK_SFX_EP_##t)

#define HPK_VMK_DECLARE_FUNCTION(t, Fn, shape, k0, k1, k2, c0, c1, c2)                 \
  HPK_API void hpk_vmk_kernel_##t##Fn##_EXHAynn HPK_VMK_PARAMS(t, shape);              \
  HPK_API void hpk_vmk_kernel_##t##Fn##_EX##k0 HPK_VMK_PARAMS(t, shape);               \
  HPK_API void hpk_vmk_kernel_##t##Fn##_EX##k2 HPK_VMK_PARAMS(t, shape);               \
  HPK_API extern void (*hpk_vmk_kernel_##t##Fn##_ttab[3]) HPK_VMK_PARAMS(t, shape);    \
  HPK_API extern const float hpk_vmk_kernel_##t##Fn##_ctab[3];                         \
  HPK_API void HPK_VMK_STUB_LA(t, Fn) HPK_VMK_PARAMS(t, shape);                        \
  HPK_API void _vmk##t##Fn##_HA HPK_VMK_PARAMS(t, shape);                              \
  HPK_API void _vmk##t##Fn HPK_VMK_PARAMS(t, shape);                                   \
  HPK_API void HPK_VMK_STUB_EP(t, Fn) HPK_VMK_PARAMS(t, shape);

HPK_VMK_FUNCTION_LIST(HPK_VMK_DECLARE_FUNCTION)

HPK_EXTERN_C_END

#endif
