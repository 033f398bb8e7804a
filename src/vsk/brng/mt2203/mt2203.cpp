// MT2203: N 69, M 34, five split bits, tempering shifts 12 and 18, with the member's twist
// word and masks, taken from _vsk_mt2203_table at seeding and kept in the stream behind the
// moving state (so a copy of the moving state keeps each stream's own member).
#include "hpk/vsk_brng_mt.h"
#include "vsk/brng/mt19937/mt.hpp"

namespace hpk::vsk::mt {
namespace {

struct Mt2203 {
  static constexpr int N = 69, M = 34, shift_u = 12;
  static constexpr uint32_t upper = 0xffffffe0u, lower = 0x0000001fu;
  struct State {
    uint32_t mt[N];
    int32_t index;  // next word of mt to deliver; N: used up
    Params p;       // matrix_a, mask_b, mask_c of the member
  };
  static State *state(StreamState *s) { return reinterpret_cast<State *>(state_of(s)); }
  static Params params(const State *st) { return st->p; }
};
static_assert(HPK_VSK_STREAM_HEAD_BYTES + sizeof(Mt2203::State) <= 312);
static_assert(sizeof(Params) == sizeof(_vsk_mt2203_table[0]));

}  // namespace
}  // namespace hpk::vsk::mt

using hpk::vsk::mt::Mt2203;

extern "C" {

int32_t __vskBRngMT2203InitStream(int32_t method, StreamState *stream, int32_t n,
                                  const uint32_t *params) {
  if (method != HPK_VSK_INIT_METHOD_STANDARD) return hpk::vsk::mt::unsupported(method);
  Mt2203::State *st = Mt2203::state(stream);
  hpk::vsk::mt::seed<Mt2203>(st, n, params);
  int32_t row, member;
  __vskGetBrngBaseOffset(stream->brng, &row, &member);
  st->p = {_vsk_mt2203_table[member][0], _vsk_mt2203_table[member][1],
           _vsk_mt2203_table[member][2]};
  return HPK_VSK_STATUS_OK;
}

int32_t __vskiBRngMT2203(StreamState *stream, int32_t n, uint32_t *r) {
  return hpk::vsk::mt::iout<Mt2203>(stream, n, r);
}
int32_t __vskdBRngMT2203(StreamState *stream, int32_t n, double *r, double a, double b) {
  return hpk::vsk::mt::dout<Mt2203>(stream, n, r, a, b);
}
int32_t __vsksBRngMT2203(StreamState *stream, int32_t n, float *r, float a, float b) {
  return hpk::vsk::mt::sout<Mt2203>(stream, n, r, a, b);
}

}  // extern "C"
