#include "vsk/toy_brng.hpp"

#include <gtest/gtest.h>

#include <cstring>

#include "hpk/serv.h"

namespace toy {
namespace {

constexpr uint64_t kA = 6364136223846793005u;
constexpr uint64_t kC = 1442695040888963407u;

struct Affine { uint64_t a, c; };

// f^n for f(x) = a x + c, by squaring.
Affine power(Affine f, uint64_t n) {
  Affine r{1, 0};
  while (n) {
    if (n & 1) r = {f.a * r.a, f.a * r.c + f.c};
    f = {f.a * f.a, f.a * f.c + f.c};
    n >>= 1;
  }
  return r;
}

LcgState &lcg(StreamState *s) { return *reinterpret_cast<LcgState *>(s); }

uint32_t next(LcgState &g) {
  const uint32_t raw = uint32_t(g.x >> 32);
  g.x = g.a * g.x + g.c;
  return raw;
}

int32_t lcg_init(int32_t method, StreamState *s, int32_t n, const uint32_t *params) {
  LcgState &g = lcg(s);
  switch (method) {
    case HPK_VSK_INIT_METHOD_STANDARD:
      if (n < 1) return HPK_VSK_ERROR_BADARGS;
      g.x = params[0] | (n >= 2 ? uint64_t(params[1]) << 32 : 0);
      g.a = kA;
      g.c = kC;
      return 0;
    case HPK_VSK_INIT_METHOD_LEAPFROG: {
      const int32_t k = int32_t(params[0]);
      if (k < 0 || k >= n) return HPK_VSK_ERROR_BADARGS;
      const Affine skip = power({g.a, g.c}, uint64_t(k));
      g.x = skip.a * g.x + skip.c;
      const Affine stride = power({g.a, g.c}, uint64_t(n));
      g.a = stride.a;
      g.c = stride.c;
      return 0;
    }
    case HPK_VSK_INIT_METHOD_SKIPAHEAD: {
      uint64_t nskip;
      std::memcpy(&nskip, params, sizeof nskip);
      const Affine skip = power({g.a, g.c}, nskip);
      g.x = skip.a * g.x + skip.c;
      return n == 2 ? 0 : HPK_VSK_ERROR_BADARGS;
    }
    default:
      return HPK_VSK_ERROR_METHOD;
  }
}

int32_t lcg_i(StreamState *s, int32_t n, uint32_t *r) {
  for (int32_t i = 0; i < n; ++i) r[i] = next(lcg(s));
  return 0;
}
// Outputs that these tests never draw (the floating ones, and all of the wide toy's);
// registration only needs them present.
int32_t no_d(StreamState *, int32_t, double *, double, double) { return 0; }
int32_t no_s(StreamState *, int32_t, float *, float, float) { return 0; }
int32_t no_i(StreamState *, int32_t, uint32_t *) { return 0; }

// The wide toy: 32 bytes of state filled from the seed word.
uint32_t *wide_state(StreamState *s) {
  return reinterpret_cast<uint32_t *>(reinterpret_cast<unsigned char *>(s) + 16);
}
int32_t wide_init(int32_t method, StreamState *s, int32_t n, const uint32_t *params) {
  if (method == HPK_VSK_INIT_METHOD_LEAPFROG) return HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED;
  if (method == HPK_VSK_INIT_METHOD_SKIPAHEAD) return HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED;
  if (method != HPK_VSK_INIT_METHOD_STANDARD) return HPK_VSK_ERROR_METHOD;
  if (n < 1) return HPK_VSK_ERROR_BADARGS;
  for (int i = 0; i < 8; ++i) wide_state(s)[i] = params[0] + uint32_t(i);
  return 0;
}

}  // namespace

BrngEntry lcg_entry() {
  return BrngEntry{int32_t(sizeof(LcgState)), 2, 1, 4, 32, lcg_init, no_s, no_d, lcg_i};
}

BrngEntry wide_entry() { return BrngEntry{48, 4, 1, 16, 24, wide_init, no_s, no_d, no_i}; }

const Ids &ids() {
  static const Ids registered = [] {
    Ids r{};
    r.count_before = __vskGetNumRegBrngs();
    int32_t row, member;
    const BrngEntry *t = __vskGetBrngBaseOffset((r.count_before + 1) << 20, &row, &member);
    r.probe_before = __vskIsBrngValid(t, row, member);
    const BrngEntry l = lcg_entry(), w = wide_entry();
    r.lcg = __vskRegisterBrng(&l);
    r.wide = __vskRegisterBrng(&w);
    return r;
  }();
  return registered;
}

std::vector<uint32_t> lcg_model(uint64_t seed, int n) {
  std::vector<uint32_t> v(static_cast<size_t>(n));
  uint64_t x = seed;
  for (auto &r : v) {
    r = uint32_t(x >> 32);
    x = kA * x + kC;
  }
  return v;
}

StreamState *new_lcg(uint64_t seed) {
  const uint32_t words[2] = {uint32_t(seed), uint32_t(seed >> 32)};
  StreamState *s = nullptr;
  EXPECT_EQ(__vskNewStreamEx(&s, ids().lcg, 2, words), 0);
  return s;
}

std::vector<uint32_t> draw(StreamState *s, int n) {
  std::vector<uint32_t> v(static_cast<size_t>(n));
  int32_t row, member;
  const BrngEntry *t = __vskGetBrngBaseOffset(__vskGetStreamStateBrng(s), &row, &member);
  EXPECT_EQ(t[row].i_output(s, n, v.data()), 0);
  return v;
}

void *block(int32_t bytes, unsigned char fill) {
  void *p = hpk_serv_hpk_malloc(size_t(bytes), 64);
  if (p) std::memset(p, fill, size_t(bytes));
  return p;
}

}  // namespace toy
