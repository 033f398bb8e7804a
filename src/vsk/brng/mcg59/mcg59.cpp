// MCG59: x <- a x mod 2^59, raw word x as a 64-bit word.
//
// Reduction is a mask, and since 2^59 divides 2^64 the mask can wait until a value leaves: the
// wrapped 64-bit products agree with the true ones modulo 2^59. The main loop keeps L lanes
// x, a x, ..., a^(L-1) x and multiplies every lane by a^L per pass (L = 4 for the integer
// output, 8 for the floating ones); it covers n rounded down to a multiple of 16, the rest goes
// one by one. Each element is the exact residue, so the values do not depend on the lanes.
//
// Conversions: d = double(x) * s + a, s = (b - a) * 2^-59, x rounded to nearest on conversion.
// The single output computes in single throughout: s is formed in double and rounded, then
// float(x) * s + a in single.
#include <cstring>

#include "hpk/vsk_brng_mcg.h"
#include "vsk/brng/mcg31m1/mcg31m1.hpp"
#include "vsk/service/registry.hpp"

namespace hpk::vsk {
namespace {

constexpr double dbInvMax = 0x1p-59;  // bit pattern 0x3c40000000000000

Mcg59State *mcg59(StreamState *s) { return reinterpret_cast<Mcg59State *>(state_of(s)); }

struct IntSink {
  static constexpr int lanes = 4;
  uint32_t *r;
  void one(int32_t i, uint64_t x) const { std::memcpy(r + 2 * int64_t(i), &x, sizeof x); }
};

struct DoubleSink {
  static constexpr int lanes = 8;
  double *r;
  double s, a;
  void one(int32_t i, uint64_t x) const { r[i] = double(int64_t(x)) * s + a; }
};

struct FloatSink {
  static constexpr int lanes = 8;
  float *r;
  float s, a;
  void one(int32_t i, uint64_t x) const { r[i] = float(int64_t(x)) * s + a; }
};

template <class Sink>
int32_t generate(StreamState *stream, int32_t n, const Sink &out) {
  constexpr int L = Sink::lanes;
  if (n <= 0) return HPK_VSK_STATUS_OK;
  Mcg59State *st = mcg59(stream);
  const uint64_t a = st->a;
  uint64_t x = st->x;
  const int32_t nv = n & ~15;
  if (nv > 0) {
    uint64_t lane[L];
    lane[0] = x;
    for (int j = 1; j < L; ++j) lane[j] = lane[j - 1] * a;
    uint64_t aL = a;
    for (int k = 1; k < L; k <<= 1) aL *= aL;
    for (int32_t i = 0; i < nv; i += L) {
      for (int j = 0; j < L; ++j) {
        out.one(i + j, lane[j] & kMask59);
        lane[j] *= aL;
      }
    }
    x = lane[0] & kMask59;
  }
  for (int32_t i = nv; i < n; ++i) {
    out.one(i, x);
    x = (x * a) & kMask59;
  }
  st->x = x;
  return HPK_VSK_STATUS_OK;
}

}  // namespace
}  // namespace hpk::vsk

using namespace hpk::vsk;

extern "C" {

uint64_t __vskiPowMod2P59(uint64_t base, uint64_t e) {
  // Wrapping products are right modulo 2^59; only the result is masked.
  uint64_t result = 1;
  for (; e != 0; e >>= 1) {
    if (e & 1) result *= base;
    base *= base;
  }
  return result & kMask59;
}

int32_t __vskBRngMCG59InitStream(int32_t method, StreamState *stream, int32_t n,
                                 const uint32_t *params) {
  Mcg59State *st = mcg59(stream);
  switch (method) {
    case HPK_VSK_INIT_METHOD_STANDARD: {
      uint64_t x = 1;
      if (n == 1) x = params[0];
      else if (n >= 2) x = uint64_t(params[0]) | (uint64_t(params[1]) << 32);
      x &= kMask59;
      st->x = x == 0 ? 1u : x;
      st->a = kMcg59A;
      return HPK_VSK_STATUS_OK;
    }
    case HPK_VSK_INIT_METHOD_LEAPFROG:
      st->x = (st->x * __vskiPowMod2P59(st->a, params[0])) & kMask59;
      st->a = __vskiPowMod2P59(st->a, uint32_t(n));
      return HPK_VSK_STATUS_OK;
    case HPK_VSK_INIT_METHOD_SKIPAHEAD: {
      uint64_t s;
      std::memcpy(&s, params, sizeof s);
      st->x = (st->x * __vskiPowMod2P59(st->a, s)) & kMask59;
      return HPK_VSK_STATUS_OK;
    }
    default:
      return HPK_VSK_ERROR_METHOD;
  }
}

int32_t __vskiBRngMCG59(StreamState *stream, int32_t n, uint32_t *r) {
  return generate(stream, n, IntSink{r});
}

int32_t __vskdBRngMCG59(StreamState *stream, int32_t n, double *r, double a, double b) {
  return generate(stream, n, DoubleSink{r, (b - a) * dbInvMax, a});
}

int32_t __vsksBRngMCG59(StreamState *stream, int32_t n, float *r, float a, float b) {
  const float s = float((double(b) - double(a)) * dbInvMax);
  return generate(stream, n, FloatSink{r, s, a});
}

}  // extern "C"
