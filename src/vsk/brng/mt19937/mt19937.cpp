// MT19937: N 624, M 397, one split bit, twist word 0x9908b0df, tempering 11 / 0x9d2c5680 /
// 0xefc60000 / 18.
#include "hpk/vsk_brng_mt.h"
#include "vsk/brng/mt19937/mt.hpp"

namespace hpk::vsk::mt {
namespace {

struct Mt19937 {
  static constexpr int N = 624, M = 397, shift_u = 11;
  static constexpr uint32_t upper = 0x80000000u, lower = 0x7fffffffu;
  struct State {
    uint32_t mt[N];
    int32_t index;  // next word of mt to deliver; N: used up
  };
  static State *state(StreamState *s) { return reinterpret_cast<State *>(state_of(s)); }
  static constexpr Params params(const State *) { return {0x9908b0dfu, 0x9d2c5680u, 0xefc60000u}; }
};
static_assert(HPK_VSK_STREAM_HEAD_BYTES + sizeof(Mt19937::State) <= 2520);

}  // namespace
}  // namespace hpk::vsk::mt

using hpk::vsk::mt::Mt19937;

extern "C" {

int32_t __vskBRngMT19937InitStream(int32_t method, StreamState *stream, int32_t n,
                                   const uint32_t *params) {
  if (method != HPK_VSK_INIT_METHOD_STANDARD) return hpk::vsk::mt::unsupported(method);
  hpk::vsk::mt::seed<Mt19937>(Mt19937::state(stream), n, params);
  return HPK_VSK_STATUS_OK;
}

int32_t __vskiBRngMT19937(StreamState *stream, int32_t n, uint32_t *r) {
  return hpk::vsk::mt::iout<Mt19937>(stream, n, r);
}
int32_t __vskdBRngMT19937(StreamState *stream, int32_t n, double *r, double a, double b) {
  return hpk::vsk::mt::dout<Mt19937>(stream, n, r, a, b);
}
int32_t __vsksBRngMT19937(StreamState *stream, int32_t n, float *r, float a, float b) {
  return hpk::vsk::mt::sout<Mt19937>(stream, n, r, a, b);
}

}  // extern "C"
