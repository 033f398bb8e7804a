// Streams before the built-in generators exist: a toy congruential generator registered at run
// time, a stream over it, its copy, leapfrog and skip-ahead, and a block shared between copies.
#include <cstdio>
#include <cstring>

#include "hpk/serv.h"
#include "hpk/vsk.h"

namespace {

// x <- 69069 x + 1 modulo 2^32; the record holds x (the moving state), then the multiplier and
// increment that leapfrog replaces by those of the n-step map.
struct ToyState {
  StreamState head;
  uint32_t x, a, c;
};

ToyState &toy(StreamState *s) { return *reinterpret_cast<ToyState *>(s); }

// The n-step map of x <- a x + c, by squaring.
void power(uint32_t a, uint32_t c, uint64_t n, uint32_t *an, uint32_t *cn) {
  uint32_t ra = 1, rc = 0;
  while (n) {
    if (n & 1) { rc = a * rc + c; ra = a * ra; }
    c = a * c + c;
    a = a * a;
    n >>= 1;
  }
  *an = ra;
  *cn = rc;
}

int32_t toy_init(int32_t method, StreamState *s, int32_t n, const uint32_t *params) {
  ToyState &g = toy(s);
  uint32_t a, c;
  switch (method) {
    case HPK_VSK_INIT_METHOD_STANDARD:
      g.x = n > 0 ? params[0] : 1;
      g.a = 69069;
      g.c = 1;
      return 0;
    case HPK_VSK_INIT_METHOD_LEAPFROG:
      power(g.a, g.c, params[0], &a, &c);
      g.x = a * g.x + c;
      power(g.a, g.c, uint64_t(n), &g.a, &g.c);
      return 0;
    case HPK_VSK_INIT_METHOD_SKIPAHEAD: {
      uint64_t nskip;
      std::memcpy(&nskip, params, sizeof nskip);
      power(g.a, g.c, nskip, &a, &c);
      g.x = a * g.x + c;
      return 0;
    }
    default:
      return HPK_VSK_ERROR_METHOD;
  }
}

uint32_t next(StreamState *s) {
  ToyState &g = toy(s);
  const uint32_t raw = g.x;
  g.x = g.a * g.x + g.c;
  return raw;
}

int32_t toy_i(StreamState *s, int32_t n, uint32_t *r) {
  for (int32_t i = 0; i < n; ++i) r[i] = next(s);
  return 0;
}
int32_t toy_d(StreamState *s, int32_t n, double *r, double a, double b) {
  for (int32_t i = 0; i < n; ++i) r[i] = next(s) * ((b - a) * 0x1p-32) + a;
  return 0;
}
int32_t toy_s(StreamState *s, int32_t n, float *r, float a, float b) {
  for (int32_t i = 0; i < n; ++i) r[i] = float(next(s)) * ((b - a) * 0x1p-32f) + a;
  return 0;
}

void show(const char *title, StreamState *s, int n) {
  double r[8];
  int32_t row, member;
  const BrngEntry *t = __vskGetBrngBaseOffset(__vskGetStreamStateBrng(s), &row, &member);
  t[row].d_output(s, n, r, 0.0, 1.0);
  std::printf("  %-34s", title);
  for (int i = 0; i < n; ++i) std::printf(" %.6f", r[i]);
  std::printf("\n");
}

}  // namespace

int run_demo_vsk() {
  std::printf("\nRandom streams over a generator registered at run time\n");
  const BrngEntry entry = {int32_t(sizeof(ToyState)), 1, 1, 4, 32, toy_init, toy_s, toy_d, toy_i};
  const int32_t brng = __vskRegisterBrng(&entry);
  std::printf("  registered generators              %d; the toy has id 0x%x\n",
              __vskGetNumRegBrngs(), unsigned(brng));
  if (brng < 0) return 1;

  const long live = hpk_serv_outstanding_allocations();
  StreamState *s = nullptr, *copy = nullptr, *frog = nullptr, *skip = nullptr;
  const uint32_t seed[1] = {0x9e3779b9};
  if (__vskNewStreamEx(&s, brng, 1, seed) != 0) return 1;
  __vskCopyStream(&copy, s);
  __vskCopyStream(&frog, s);
  __vskCopyStream(&skip, s);
  show("stream, 8 draws in [0, 1)", s, 8);
  show("its copy goes the same way", copy, 8);
  __vskLeapfrogStream(frog, 1, 3);
  show("leapfrog k = 1 of 3 (draws 1, 4)", frog, 2);
  __vskSkipAheadStream(skip, 6);
  show("skip ahead 6 (draws 6, 7)", skip, 2);
  std::printf("  leapfrog with nstreams -1          status %d\n", __vskLeapfrogStream(frog, 0, -1));

  // A keyed block lives in the shared table as long as some chunk refers to it.
  uint64_t key[2];
  __vskGenerateNewGlobalRODataTableEntryId(key, 9);
  void *block = hpk_serv_hpk_malloc(256, HPK_VSK_STREAM_ALIGNMENT);
  __vskAddChunk(s, HPK_VSK_CHUNK_SOBOL_DIRECTIONS, key, block, 256);
  StreamState *sharer = nullptr;
  __vskCopyStream(&sharer, s);
  GlobRODataEntry *e = nullptr;
  __vskFindGlobRODataTableEntry(&e, key);
  std::printf("  keyed block shared by a copy       %s, %d references\n",
              __vskSearchChunk(sharer, HPK_VSK_CHUNK_SOBOL_DIRECTIONS) == block ? "same block"
                                                                                 : "other block",
              e->ref_count);
  __vskDeleteStream(&s);
  std::printf("  after deleting the first stream    %d row(s) in the table\n",
              _GlobRODataTableCount);
  __vskDeleteStream(&sharer);
  std::printf("  after deleting the copy            %d row(s)\n", _GlobRODataTableCount);
  __vskDeleteStream(&copy);
  __vskDeleteStream(&frog);
  __vskDeleteStream(&skip);
  std::printf("  blocks live before and after       %ld and %ld\n", live,
              hpk_serv_outstanding_allocations());
  return 0;
}
