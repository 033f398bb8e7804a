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
  X(s, Add, TWO, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Add, TWO, HAynn, HAynn, HAynn, 1.79f, 1.79f, 1.79f)                            \
  X(s, Cbrt, ONE, HAynn, HAynn, HAynn, 11.4f, 11.4f, 11.4f)                           \
  X(d, Cbrt, ONE, HAynn, HAynn, HAynn, 17.4f, 17.4f, 17.4f)                           \
  X(s, Div, TWO, HAynn, HAynn, HAynn, 1.0f, 1.0f, 1.0f)                               \
  X(d, Div, TWO, HAynn, HAynn, HAynn, 3.2f, 3.2f, 3.2f)                               \
  X(s, Exp, ONE, HAynn, HAynn, HAynn, 9.25f, 9.25f, 9.25f)                            \
  X(d, Exp, ONE, HAynn, HAynn, HAynn, 20.19f, 20.19f, 20.19f)                         \
  X(s, Expm1, ONE, HAynn, HAynn, HAynn, 70.0f, 70.0f, 70.0f)                          \
  X(d, Expm1, ONE, HAynn, HAynn, HAynn, 34.0f, 34.0f, 34.0f)                          \
  X(s, Hypot, TWO, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                             \
  X(d, Hypot, TWO, HAynn, HAynn, HAynn, 9.0f, 9.0f, 9.0f)                             \
  X(s, Inv, ONE, HAynn, HAynn, HAynn, 1.0f, 1.0f, 1.0f)                               \
  X(d, Inv, ONE, HAynn, HAynn, HAynn, 3.2f, 3.2f, 3.2f)                               \
  X(s, InvCbrt, ONE, HAynn, HAynn, HAynn, 11.5f, 11.5f, 11.5f)                        \
  X(d, InvCbrt, ONE, HAynn, HAynn, HAynn, 18.0f, 18.0f, 18.0f)                        \
  X(s, InvSqrt, ONE, HAynn, HAynn, HAynn, 5.7f, 5.7f, 5.7f)                           \
  X(d, InvSqrt, ONE, HAynn, HAynn, HAynn, 10.1f, 10.1f, 10.1f)                        \
  X(s, LinearFrac, LINFRAC, HAynn, HAynn, HAynn, 666.0f, 666.0f, 666.0f)              \
  X(d, LinearFrac, LINFRAC, HAynn, HAynn, HAynn, 666.666f, 666.666f, 666.666f)        \
  X(s, Ln, ONE, HAynn, HAynn, HAynn, 22.0f, 22.0f, 22.0f)                             \
  X(d, Ln, ONE, HAynn, HAynn, HAynn, 29.75f, 29.75f, 29.75f)                          \
  X(s, Log10, ONE, HAynn, HAynn, HAynn, 23.0f, 23.0f, 23.0f)                          \
  X(d, Log10, ONE, HAynn, HAynn, HAynn, 37.0f, 37.0f, 37.0f)                          \
  X(s, Log1p, ONE, HAynn, HAynn, HAynn, 59.0f, 59.0f, 59.0f)                          \
  X(d, Log1p, ONE, HAynn, HAynn, HAynn, 57.0f, 57.0f, 57.0f)                          \
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
  X(s, Sqr, ONE, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Sqr, ONE, HAynn, HAynn, HAynn, 1.5f, 1.5f, 1.5f)                               \
  X(s, Sqrt, ONE, HAynn, HAynn, HAynn, 5.9f, 5.9f, 5.9f)                              \
  X(d, Sqrt, ONE, HAynn, HAynn, HAynn, 10.4f, 10.4f, 10.4f)                           \
  X(s, Sub, TWO, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Sub, TWO, HAynn, HAynn, HAynn, 1.79f, 1.79f, 1.79f)                            \
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
