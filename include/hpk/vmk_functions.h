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
 *          fixed ones (the s/d Add/Sub/Mul rows, the c/z Add/Sub rows 4.33/1.41 and
 *          9.79/4.56 (zSub 4.55), zDiv 1487.64, the LinearFrac marks 666.0 / 666.666 and the
 *          complex Pack/Unpack mark 1111.0, the s/d CdfNorm and ErfInv rows, cExp, cLn, cAsin) are
 *          measured: `python3 tools/cost_figures.py
 *          build/bench/hpk_bench` (nanoseconds per element on arrays of 1000 in cache, scaled by
 *          1.79 / ns(dAdd)); see docs/performance.md. The hyperbolic rows are the medians of
 *          bench/hyperbolic_bench.cpp on the same scale, whose inputs lie in each function's
 *          domain (the cost benchmark's inputs 0.75 .. 2.26 would time Acosh and Atanh on
 *          their error paths). The CdfNormInv and ErfcInv rows (but dCdfNormInv's fixed 2285.24)
 *          come the same way from bench/cdfnorminv_bench.cpp, whose inputs spread over the open
 *          domain (the cost benchmark's inputs above 1 would time the error path).
 *
 * Only functions whose kernels exist are listed; the list is kept in alphabetical order by
 * name, then type s d c z.
 */
#ifndef HPK_VMK_FUNCTIONS_H
#define HPK_VMK_FUNCTIONS_H

#define HPK_VMK_FUNCTION_LIST(X)                                                      \
  X(s, Abs, ONE, HAynn, HAynn, HAynn, 0.69f, 0.69f, 0.69f)                            \
  X(d, Abs, ONE, HAynn, HAynn, HAynn, 1.36f, 1.36f, 1.36f)                            \
  X(c, Abs, TO_REAL, HAynn, HAynn, HAynn, 6.0f, 6.0f, 6.0f)                           \
  X(z, Abs, TO_REAL, HAynn, HAynn, HAynn, 20.0f, 20.0f, 20.0f)                        \
  X(s, Acos, ONE, HAynn, HAynn, HAynn, 12.0f, 12.0f, 12.0f)                           \
  X(d, Acos, ONE, HAynn, HAynn, HAynn, 22.0f, 22.0f, 22.0f)                           \
  X(c, Acos, ONE, HAynn, HAynn, HAynn, 330.0f, 330.0f, 330.0f)                        \
  X(z, Acos, ONE, HAynn, HAynn, HAynn, 290.0f, 290.0f, 290.0f)                        \
  X(s, Acosh, ONE, HAynn, HAynn, HAynn, 27.4f, 27.4f, 27.4f)                          \
  X(d, Acosh, ONE, HAynn, HAynn, HAynn, 33.0f, 33.0f, 33.0f)                          \
  X(c, Acosh, ONE, HAynn, HAynn, HAynn, 301.0f, 301.0f, 301.0f)                       \
  X(z, Acosh, ONE, HAynn, HAynn, HAynn, 289.0f, 289.0f, 289.0f)                       \
  X(s, Add, TWO, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Add, TWO, HAynn, HAynn, HAynn, 1.79f, 1.79f, 1.79f)                            \
  X(c, Add, TWO, HAynn, HAynn, EPnnn, 4.33f, 4.33f, 1.41f)                            \
  X(z, Add, TWO, HAynn, HAynn, EPnnn, 9.79f, 9.79f, 4.56f)                            \
  X(c, Arg, TO_REAL, HAynn, HAynn, HAynn, 69.9f, 69.9f, 69.9f)                        \
  X(z, Arg, TO_REAL, HAynn, HAynn, HAynn, 65.8f, 65.8f, 65.8f)                        \
  X(s, Asin, ONE, HAynn, HAynn, HAynn, 12.0f, 12.0f, 12.0f)                           \
  X(d, Asin, ONE, HAynn, HAynn, HAynn, 22.0f, 22.0f, 22.0f)                           \
  X(c, Asin, ONE, HAynn, HAynn, HAynn, 1792.66f, 1792.66f, 1792.66f)                  \
  X(z, Asin, ONE, HAynn, HAynn, HAynn, 1792.66f, 1792.66f, 1792.66f)                  \
  X(s, Asinh, ONE, HAynn, HAynn, HAynn, 27.9f, 27.9f, 27.9f)                          \
  X(d, Asinh, ONE, HAynn, HAynn, HAynn, 40.2f, 40.2f, 40.2f)                          \
  X(c, Asinh, ONE, HAynn, HAynn, HAynn, 300.0f, 300.0f, 300.0f)                       \
  X(z, Asinh, ONE, HAynn, HAynn, HAynn, 321.0f, 321.0f, 321.0f)                       \
  X(s, Atan, ONE, HAynn, HAynn, HAynn, 12.0f, 12.0f, 12.0f)                           \
  X(d, Atan, ONE, HAynn, HAynn, HAynn, 22.0f, 22.0f, 22.0f)                           \
  X(c, Atan, ONE, HAynn, HAynn, HAynn, 216.0f, 216.0f, 216.0f)                        \
  X(z, Atan, ONE, HAynn, HAynn, HAynn, 135.8f, 135.8f, 135.8f)                        \
  X(s, Atan2, TWO, HAynn, HAynn, HAynn, 14.0f, 14.0f, 14.0f)                          \
  X(d, Atan2, TWO, HAynn, HAynn, HAynn, 26.0f, 26.0f, 26.0f)                          \
  X(s, Atanh, ONE, HAynn, HAynn, HAynn, 24.6f, 24.6f, 24.6f)                          \
  X(d, Atanh, ONE, HAynn, HAynn, HAynn, 32.0f, 32.0f, 32.0f)                          \
  X(c, Atanh, ONE, HAynn, HAynn, HAynn, 212.0f, 212.0f, 212.0f)                       \
  X(z, Atanh, ONE, HAynn, HAynn, HAynn, 135.7f, 135.7f, 135.7f)                       \
  X(c, CIS, CIS, HAynn, HAynn, HAynn, 15.3f, 15.3f, 15.3f)                            \
  X(z, CIS, CIS, HAynn, HAynn, HAynn, 35.8f, 35.8f, 35.8f)                            \
  X(s, Cbrt, ONE, HAynn, HAynn, HAynn, 11.4f, 11.4f, 11.4f)                           \
  X(d, Cbrt, ONE, HAynn, HAynn, HAynn, 17.4f, 17.4f, 17.4f)                           \
  X(s, CdfNorm, ONE, LAynn, HAynn, EPnnn, 96.51f, 110.18f, 88.54f)                    \
  X(d, CdfNorm, ONE, LAynn, HAynn, EPnnn, 155.67f, 233.19f, 99.22f)                   \
  X(s, CdfNormInv, ONE, HAynn, HAynn, HAynn, 33.9f, 33.9f, 33.9f)                     \
  X(d, CdfNormInv, ONE, HAynn, HAynn, HAynn, 2285.24f, 2285.24f, 2285.24f)            \
  X(s, Ceil, ONE, HAynn, HAynn, HAynn, 2.5f, 2.5f, 2.5f)                              \
  X(d, Ceil, ONE, HAynn, HAynn, HAynn, 5.0f, 5.0f, 5.0f)                              \
  X(c, Conj, ONE, HAynn, HAynn, HAynn, 0.62f, 0.62f, 0.62f)                           \
  X(z, Conj, ONE, HAynn, HAynn, HAynn, 1.24f, 1.24f, 1.24f)                           \
  X(s, Cos, ONE, HAynn, HAynn, HAynn, 14.0f, 14.0f, 14.0f)                            \
  X(d, Cos, ONE, HAynn, HAynn, HAynn, 30.19f, 30.19f, 30.19f)                         \
  X(c, Cos, ONE, HAynn, HAynn, HAynn, 41.2f, 41.2f, 41.2f)                            \
  X(z, Cos, ONE, HAynn, HAynn, HAynn, 92.8f, 92.8f, 92.8f)                            \
  X(s, Cosh, ONE, HAynn, HAynn, HAynn, 18.7f, 18.7f, 18.7f)                           \
  X(d, Cosh, ONE, HAynn, HAynn, HAynn, 17.0f, 17.0f, 17.0f)                           \
  X(c, Cosh, ONE, HAynn, HAynn, HAynn, 41.9f, 41.9f, 41.9f)                           \
  X(z, Cosh, ONE, HAynn, HAynn, HAynn, 92.6f, 92.6f, 92.6f)                           \
  X(s, Div, TWO, HAynn, HAynn, HAynn, 1.0f, 1.0f, 1.0f)                               \
  X(d, Div, TWO, HAynn, HAynn, HAynn, 3.2f, 3.2f, 3.2f)                               \
  X(c, Div, TWO, HAynn, HAynn, HAynn, 6.6f, 6.6f, 6.6f)                               \
  X(z, Div, TWO, HAynn, HAynn, HAynn, 1487.64f, 1487.64f, 1487.64f)                   \
  X(s, Erf, ONE, HAynn, HAynn, HAynn, 37.7f, 37.7f, 37.7f)                            \
  X(d, Erf, ONE, HAynn, HAynn, HAynn, 35.7f, 35.7f, 35.7f)                            \
  X(s, ErfInv, ONE, LAynn, HAynn, EPnnn, 22.46f, 52.67f, 9.83f)                       \
  X(d, ErfInv, ONE, HAynn, HAynn, EPnnn, 49.18f, 49.18f, 14.54f)                      \
  X(s, Erfc, ONE, HAynn, HAynn, HAynn, 44.5f, 44.5f, 44.5f)                           \
  X(d, Erfc, ONE, HAynn, HAynn, HAynn, 42.0f, 42.0f, 42.0f)                           \
  X(s, ErfcInv, ONE, HAynn, HAynn, HAynn, 35.5f, 35.5f, 35.5f)                        \
  X(d, ErfcInv, ONE, HAynn, HAynn, HAynn, 30.6f, 30.6f, 30.6f)                        \
  X(s, Exp, ONE, HAynn, HAynn, HAynn, 9.25f, 9.25f, 9.25f)                            \
  X(d, Exp, ONE, HAynn, HAynn, HAynn, 20.19f, 20.19f, 20.19f)                         \
  X(c, Exp, ONE, LAynn, HAynn, LAynn, 35.70f, 99.26f, 35.70f)                         \
  X(z, Exp, ONE, HAynn, HAynn, HAynn, 70.4f, 70.4f, 70.4f)                            \
  X(s, Expm1, ONE, HAynn, HAynn, HAynn, 70.0f, 70.0f, 70.0f)                          \
  X(d, Expm1, ONE, HAynn, HAynn, HAynn, 34.0f, 34.0f, 34.0f)                          \
  X(s, Floor, ONE, HAynn, HAynn, HAynn, 2.4f, 2.4f, 2.4f)                             \
  X(d, Floor, ONE, HAynn, HAynn, HAynn, 5.0f, 5.0f, 5.0f)                             \
  X(s, Hypot, TWO, HAynn, HAynn, HAynn, 6.40f, 6.40f, 6.40f)                          \
  X(d, Hypot, TWO, HAynn, HAynn, HAynn, 19.51f, 19.51f, 19.51f)                       \
  X(s, Inv, ONE, HAynn, HAynn, HAynn, 1.0f, 1.0f, 1.0f)                               \
  X(d, Inv, ONE, HAynn, HAynn, HAynn, 3.2f, 3.2f, 3.2f)                               \
  X(s, InvCbrt, ONE, HAynn, HAynn, HAynn, 11.5f, 11.5f, 11.5f)                        \
  X(d, InvCbrt, ONE, HAynn, HAynn, HAynn, 18.0f, 18.0f, 18.0f)                        \
  X(s, InvSqrt, ONE, HAynn, HAynn, HAynn, 5.7f, 5.7f, 5.7f)                           \
  X(d, InvSqrt, ONE, HAynn, HAynn, HAynn, 10.1f, 10.1f, 10.1f)                        \
  X(s, LGamma, ONE, HAynn, HAynn, HAynn, 35.5f, 35.5f, 35.5f)                         \
  X(d, LGamma, ONE, HAynn, HAynn, HAynn, 34.7f, 34.7f, 34.7f)                         \
  X(s, LinearFrac, LINFRAC, HAynn, HAynn, HAynn, 666.0f, 666.0f, 666.0f)              \
  X(d, LinearFrac, LINFRAC, HAynn, HAynn, HAynn, 666.666f, 666.666f, 666.666f)        \
  X(s, Ln, ONE, HAynn, HAynn, HAynn, 22.0f, 22.0f, 22.0f)                             \
  X(d, Ln, ONE, HAynn, HAynn, HAynn, 29.75f, 29.75f, 29.75f)                          \
  X(c, Ln, ONE, LAynn, HAynn, EPnnn, 76.04f, 111.67f, 56.36f)                         \
  X(z, Ln, ONE, HAynn, HAynn, HAynn, 104.5f, 104.5f, 104.5f)                          \
  X(s, Log10, ONE, HAynn, HAynn, HAynn, 23.0f, 23.0f, 23.0f)                          \
  X(d, Log10, ONE, HAynn, HAynn, HAynn, 37.0f, 37.0f, 37.0f)                          \
  X(c, Log10, ONE, HAynn, HAynn, HAynn, 84.0f, 84.0f, 84.0f)                          \
  X(z, Log10, ONE, HAynn, HAynn, HAynn, 115.9f, 115.9f, 115.9f)                       \
  X(s, Log1p, ONE, HAynn, HAynn, HAynn, 59.0f, 59.0f, 59.0f)                          \
  X(d, Log1p, ONE, HAynn, HAynn, HAynn, 57.0f, 57.0f, 57.0f)                          \
  X(s, Modf, TWO_OUT, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                          \
  X(d, Modf, TWO_OUT, HAynn, HAynn, HAynn, 7.2f, 7.2f, 7.2f)                          \
  X(s, Mul, TWO, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Mul, TWO, HAynn, HAynn, HAynn, 1.79f, 1.79f, 1.79f)                            \
  X(c, Mul, TWO, HAynn, HAynn, HAynn, 4.6f, 4.6f, 4.6f)                               \
  X(z, Mul, TWO, HAynn, HAynn, HAynn, 19.9f, 19.9f, 19.9f)                            \
  X(c, MulByConj, TWO, HAynn, HAynn, HAynn, 4.4f, 4.4f, 4.4f)                         \
  X(z, MulByConj, TWO, HAynn, HAynn, HAynn, 20.5f, 20.5f, 20.5f)                      \
  X(s, NearbyInt, ONE, HAynn, HAynn, HAynn, 1.1f, 1.1f, 1.1f)                         \
  X(d, NearbyInt, ONE, HAynn, HAynn, HAynn, 2.9f, 2.9f, 2.9f)                         \
  X(s, PackI, PACK_I, HAynn, HAynn, HAynn, 1.70f, 1.70f, 1.70f)                       \
  X(d, PackI, PACK_I, HAynn, HAynn, HAynn, 1.68f, 1.68f, 1.68f)                       \
  X(c, PackI, PACK_I, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(z, PackI, PACK_I, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(s, PackM, PACK_M, HAynn, HAynn, HAynn, 1.74f, 1.74f, 1.74f)                       \
  X(d, PackM, PACK_M, HAynn, HAynn, HAynn, 2.06f, 2.06f, 2.06f)                       \
  X(c, PackM, PACK_M, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(z, PackM, PACK_M, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(s, PackV, PACK_V, HAynn, HAynn, HAynn, 1.86f, 1.86f, 1.86f)                       \
  X(d, PackV, PACK_V, HAynn, HAynn, HAynn, 1.85f, 1.85f, 1.85f)                       \
  X(c, PackV, PACK_V, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(z, PackV, PACK_V, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)                 \
  X(s, Pow, TWO, HAynn, HAynn, HAynn, 25.9f, 25.9f, 25.9f)                            \
  X(d, Pow, TWO, HAynn, HAynn, HAynn, 102.57f, 102.57f, 102.57f)                      \
  X(c, Pow, TWO, HAynn, HAynn, HAynn, 189.0f, 189.0f, 189.0f)                         \
  X(z, Pow, TWO, HAynn, HAynn, HAynn, 1920.0f, 1920.0f, 1920.0f)                      \
  X(s, Pow2o3, ONE, HAynn, HAynn, HAynn, 20.4f, 20.4f, 20.4f)                         \
  X(d, Pow2o3, ONE, HAynn, HAynn, HAynn, 47.6f, 47.6f, 47.6f)                         \
  X(s, Pow3o2, ONE, HAynn, HAynn, HAynn, 6.9f, 6.9f, 6.9f)                            \
  X(d, Pow3o2, ONE, HAynn, HAynn, HAynn, 12.2f, 12.2f, 12.2f)                         \
  X(s, Powx, POWX, HAynn, HAynn, HAynn, 24.1f, 24.1f, 24.1f)                          \
  X(d, Powx, POWX, HAynn, HAynn, HAynn, 39.4f, 39.4f, 39.4f)                          \
  X(c, Powx, POWX, HAynn, HAynn, HAynn, 190.0f, 190.0f, 190.0f)                       \
  X(z, Powx, POWX, HAynn, HAynn, HAynn, 1940.0f, 1940.0f, 1940.0f)                    \
  X(s, Rint, ONE, HAynn, HAynn, HAynn, 1.1f, 1.1f, 1.1f)                              \
  X(d, Rint, ONE, HAynn, HAynn, HAynn, 3.0f, 3.0f, 3.0f)                              \
  X(s, Round, ONE, HAynn, HAynn, HAynn, 2.3f, 2.3f, 2.3f)                             \
  X(d, Round, ONE, HAynn, HAynn, HAynn, 5.3f, 5.3f, 5.3f)                             \
  X(s, Sin, ONE, HAynn, HAynn, HAynn, 14.0f, 14.0f, 14.0f)                            \
  X(d, Sin, ONE, HAynn, HAynn, HAynn, 30.19f, 30.19f, 30.19f)                         \
  X(c, Sin, ONE, HAynn, HAynn, HAynn, 41.0f, 41.0f, 41.0f)                            \
  X(z, Sin, ONE, HAynn, HAynn, HAynn, 90.8f, 90.8f, 90.8f)                            \
  X(s, SinCos, TWO_OUT, HAynn, HAynn, HAynn, 16.0f, 16.0f, 16.0f)                     \
  X(d, SinCos, TWO_OUT, HAynn, HAynn, HAynn, 36.0f, 36.0f, 36.0f)                     \
  X(s, Sinh, ONE, HAynn, HAynn, HAynn, 18.6f, 18.6f, 18.6f)                           \
  X(d, Sinh, ONE, HAynn, HAynn, HAynn, 23.4f, 23.4f, 23.4f)                           \
  X(c, Sinh, ONE, HAynn, HAynn, HAynn, 41.7f, 41.7f, 41.7f)                           \
  X(z, Sinh, ONE, HAynn, HAynn, HAynn, 91.9f, 91.9f, 91.9f)                           \
  X(s, Sqr, ONE, HAynn, HAynn, HAynn, 0.71f, 0.71f, 0.71f)                            \
  X(d, Sqr, ONE, HAynn, HAynn, HAynn, 1.39f, 1.39f, 1.39f)                            \
  X(s, Sqrt, ONE, HAynn, HAynn, HAynn, 5.9f, 5.9f, 5.9f)                              \
  X(d, Sqrt, ONE, HAynn, HAynn, HAynn, 10.4f, 10.4f, 10.4f)                           \
  X(c, Sqrt, ONE, HAynn, HAynn, HAynn, 40.5f, 40.5f, 40.5f)                           \
  X(z, Sqrt, ONE, HAynn, HAynn, HAynn, 39.9f, 39.9f, 39.9f)                           \
  X(s, Sub, TWO, HAynn, HAynn, HAynn, 0.74f, 0.74f, 0.74f)                            \
  X(d, Sub, TWO, HAynn, HAynn, HAynn, 1.79f, 1.79f, 1.79f)                            \
  X(c, Sub, TWO, HAynn, HAynn, EPnnn, 4.33f, 4.33f, 1.41f)                            \
  X(z, Sub, TWO, HAynn, HAynn, EPnnn, 9.79f, 9.79f, 4.55f)                            \
  X(s, TGamma, ONE, HAynn, HAynn, HAynn, 101.0f, 101.0f, 101.0f)                      \
  X(d, TGamma, ONE, HAynn, HAynn, HAynn, 210.0f, 210.0f, 210.0f)                      \
  X(s, Tan, ONE, HAynn, HAynn, HAynn, 20.0f, 20.0f, 20.0f)                            \
  X(d, Tan, ONE, HAynn, HAynn, HAynn, 45.0f, 45.0f, 45.0f)                            \
  X(c, Tan, ONE, HAynn, HAynn, HAynn, 42.6f, 42.6f, 42.6f)                            \
  X(z, Tan, ONE, HAynn, HAynn, HAynn, 127.4f, 127.4f, 127.4f)                         \
  X(s, Tanh, ONE, HAynn, HAynn, HAynn, 15.3f, 15.3f, 15.3f)                           \
  X(d, Tanh, ONE, HAynn, HAynn, HAynn, 38.0f, 38.0f, 38.0f)                           \
  X(c, Tanh, ONE, HAynn, HAynn, HAynn, 41.8f, 41.8f, 41.8f)                           \
  X(z, Tanh, ONE, HAynn, HAynn, HAynn, 126.8f, 126.8f, 126.8f)                        \
  X(s, Trunc, ONE, HAynn, HAynn, HAynn, 1.5f, 1.5f, 1.5f)                             \
  X(d, Trunc, ONE, HAynn, HAynn, HAynn, 4.0f, 4.0f, 4.0f)                             \
  X(s, UnpackI, PACK_I, HAynn, HAynn, HAynn, 1.69f, 1.69f, 1.69f)                     \
  X(d, UnpackI, PACK_I, HAynn, HAynn, HAynn, 1.69f, 1.69f, 1.69f)                     \
  X(c, UnpackI, PACK_I, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(z, UnpackI, PACK_I, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(s, UnpackM, PACK_M, HAynn, HAynn, HAynn, 1.73f, 1.73f, 1.73f)                     \
  X(d, UnpackM, PACK_M, HAynn, HAynn, HAynn, 1.72f, 1.72f, 1.72f)                     \
  X(c, UnpackM, PACK_M, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(z, UnpackM, PACK_M, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(s, UnpackV, PACK_V, HAynn, HAynn, HAynn, 1.75f, 1.75f, 1.75f)                     \
  X(d, UnpackV, PACK_V, HAynn, HAynn, HAynn, 1.76f, 1.76f, 1.76f)                     \
  X(c, UnpackV, PACK_V, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)               \
  X(z, UnpackV, PACK_V, HAynn, HAynn, HAynn, 1111.0f, 1111.0f, 1111.0f)

#endif
