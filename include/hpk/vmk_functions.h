/* The one list of the vector math array functions. Everything per function -- the exported
 * kernel and cost tables, the four stubs, the C declarations -- is generated from this list by
 * the preprocessor, so a function exists in all places or in none. It is safe to include from
 * assembler sources: it defines a macro and nothing else.
 *
 * X(type, Name, shape, slot0, slot1, slot2, cost0, cost1, cost2)
 *   type   s d c z
 *   shape  ONE TWO POWX TWO_OUT CIS TO_REAL LINFRAC PACK_I PACK_V PACK_M (see vmk.h)
 *   slotK  kernel suffix in slot K: HAynn, LAynn or EPnnn (0 low accuracy, 1 high, 2 enhanced)
 *   costK  cost of one element on the scale sAdd = 0.74, dAdd = 1.79. Figures other than the
 *          fixed marks are measured by `hpk_bench --benchmark_filter=Cost` (docs/performance.md).
 *
 * Only functions whose kernels exist are listed; the list is kept in alphabetical order by
 * name, then type s d c z.
 */
#ifndef HPK_VMK_FUNCTIONS_H
#define HPK_VMK_FUNCTIONS_H

#define HPK_VMK_FUNCTION_LIST(X)                                                      \
  X(s, Abs, ONE, HAynn, HAynn, HAynn, 0.62f, 0.62f, 0.62f)                            \
  X(d, Abs, ONE, HAynn, HAynn, HAynn, 1.26f, 1.26f, 1.26f)                            \
  X(s, Acos, ONE, HAynn, HAynn, HAynn, 12.0f, 12.0f, 12.0f)                           \
  X(d, Acos, ONE, HAynn, HAynn, HAynn, 22.0f, 22.0f, 22.0f)                           \
  X(s, Add, TWO, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Add, TWO, HAynn, HAynn, HAynn, 1.79f, 1.79f, 1.79f)                            \
  X(s, Asin, ONE, HAynn, HAynn, HAynn, 12.0f, 12.0f, 12.0f)                           \
  X(d, Asin, ONE, HAynn, HAynn, HAynn, 22.0f, 22.0f, 22.0f)                           \
  X(s, Atan, ONE, HAynn, HAynn, HAynn, 12.0f, 12.0f, 12.0f)                           \
  X(d, Atan, ONE, HAynn, HAynn, HAynn, 22.0f, 22.0f, 22.0f)                           \
  X(s, Atan2, TWO, HAynn, HAynn, HAynn, 14.0f, 14.0f, 14.0f)                          \
  X(d, Atan2, TWO, HAynn, HAynn, HAynn, 26.0f, 26.0f, 26.0f)                          \
  X(s, Cbrt, ONE, HAynn, HAynn, HAynn, 4.0f, 4.0f, 4.0f)                              \
  X(d, Cbrt, ONE, HAynn, HAynn, HAynn, 7.0f, 7.0f, 7.0f)                              \
  X(s, Cos, ONE, HAynn, HAynn, HAynn, 14.0f, 14.0f, 14.0f)                            \
  X(d, Cos, ONE, HAynn, HAynn, HAynn, 30.19f, 30.19f, 30.19f)                         \
  X(s, Div, TWO, HAynn, HAynn, HAynn, 1.3f, 1.3f, 1.3f)                               \
  X(d, Div, TWO, HAynn, HAynn, HAynn, 3.5f, 3.5f, 3.5f)                               \
  X(s, Hypot, TWO, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                             \
  X(d, Hypot, TWO, HAynn, HAynn, HAynn, 9.0f, 9.0f, 9.0f)                             \
  X(s, Inv, ONE, HAynn, HAynn, HAynn, 1.2f, 1.2f, 1.2f)                               \
  X(d, Inv, ONE, HAynn, HAynn, HAynn, 3.3f, 3.3f, 3.3f)                               \
  X(s, InvCbrt, ONE, HAynn, HAynn, HAynn, 4.2f, 4.2f, 4.2f)                           \
  X(d, InvCbrt, ONE, HAynn, HAynn, HAynn, 7.2f, 7.2f, 7.2f)                           \
  X(s, InvSqrt, ONE, HAynn, HAynn, HAynn, 2.0f, 2.0f, 2.0f)                           \
  X(d, InvSqrt, ONE, HAynn, HAynn, HAynn, 3.5f, 3.5f, 3.5f)                           \
  X(s, LinearFrac, LINFRAC, HAynn, HAynn, HAynn, 666.0f, 666.0f, 666.0f)              \
  X(d, LinearFrac, LINFRAC, HAynn, HAynn, HAynn, 666.666f, 666.666f, 666.666f)        \
  X(s, Mul, TWO, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Mul, TWO, HAynn, HAynn, HAynn, 1.79f, 1.79f, 1.79f)                            \
  X(s, PackI, PACK_I, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                          \
  X(d, PackI, PACK_I, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                          \
  X(c, PackI, PACK_I, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(z, PackI, PACK_I, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(s, PackM, PACK_M, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                          \
  X(d, PackM, PACK_M, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                          \
  X(c, PackM, PACK_M, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(z, PackM, PACK_M, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(s, PackV, PACK_V, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                          \
  X(d, PackV, PACK_V, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                          \
  X(c, PackV, PACK_V, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(z, PackV, PACK_V, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(s, Sin, ONE, HAynn, HAynn, HAynn, 14.0f, 14.0f, 14.0f)                            \
  X(d, Sin, ONE, HAynn, HAynn, HAynn, 30.19f, 30.19f, 30.19f)                         \
  X(s, SinCos, TWO_OUT, HAynn, HAynn, HAynn, 16.0f, 16.0f, 16.0f)                     \
  X(d, SinCos, TWO_OUT, HAynn, HAynn, HAynn, 36.0f, 36.0f, 36.0f)                     \
  X(s, Sqr, ONE, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Sqr, ONE, HAynn, HAynn, HAynn, 1.5f, 1.5f, 1.5f)                               \
  X(s, Sqrt, ONE, HAynn, HAynn, HAynn, 2.0f, 2.0f, 2.0f)                              \
  X(d, Sqrt, ONE, HAynn, HAynn, HAynn, 4.0f, 4.0f, 4.0f)                              \
  X(s, Sub, TWO, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Sub, TWO, HAynn, HAynn, HAynn, 1.79f, 1.79f, 1.79f)                            \
  X(s, Tan, ONE, HAynn, HAynn, HAynn, 20.0f, 20.0f, 20.0f)                            \
  X(d, Tan, ONE, HAynn, HAynn, HAynn, 45.0f, 45.0f, 45.0f)                            \
  X(s, UnpackI, PACK_I, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                        \
  X(d, UnpackI, PACK_I, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                        \
  X(c, UnpackI, PACK_I, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(z, UnpackI, PACK_I, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(s, UnpackM, PACK_M, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                        \
  X(d, UnpackM, PACK_M, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                        \
  X(c, UnpackM, PACK_M, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(z, UnpackM, PACK_M, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(s, UnpackV, PACK_V, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                        \
  X(d, UnpackV, PACK_V, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                        \
  X(c, UnpackV, PACK_V, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(z, UnpackV, PACK_V, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)

#endif
