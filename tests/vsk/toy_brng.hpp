// Two small generators registered at run time, so that the stream machinery can be tested
// before the real generators exist.
//
// Toy LCG: x <- A x + C modulo 2^64, raw word = high 32 bits of x before the step. Its record
// is the head, then x (the moving state: 2 words of 4 bytes), then A and C, which leapfrog
// replaces by the N-step map and which a state copy must leave alone. Supports leapfrog and
// skip-ahead; seeding with no words gives -3.
//
// Toy wide: 16-byte words and 4 state words (64 bytes) over a 32-byte state, as a generator
// whose state_words * word_bytes passes the end of its record. Refuses leapfrog and skip.
#pragma once

#include <cstdint>
#include <vector>

#include "hpk/vsk.h"

namespace toy {

struct LcgState {
  StreamState head;
  uint64_t x, a, c;
};
static_assert(sizeof(LcgState) == 40);

struct Ids {
  int32_t count_before;   // __vskGetNumRegBrngs() before the toys were registered
  int32_t probe_before;   // validity of id (count_before + 1) << 20 before registering
  int32_t lcg;
  int32_t wide;
};

// Registers both toys on first use (once per process) and reports what it saw.
const Ids &ids();

BrngEntry lcg_entry();
BrngEntry wide_entry();

// The toy LCG's raw sequence from a seed, computed here step by step.
std::vector<uint32_t> lcg_model(uint64_t seed, int n);

// A seeded toy LCG stream; fails the test on a bad status.
StreamState *new_lcg(uint64_t seed);
std::vector<uint32_t> draw(StreamState *s, int n);

// Installs an entry in a legacy row for the duration of a scope: no legacy generator is built
// yet, and the legacy rules (member not examined, legacy id kept) need a filled row to show.
class LegacyRow {
 public:
  LegacyRow(int row, const BrngEntry &e) : row_(row), saved_(__RegBrngs[row]) {
    __RegBrngs[row] = e;
  }
  ~LegacyRow() { __RegBrngs[row_] = saved_; }
  LegacyRow(const LegacyRow &) = delete;
  LegacyRow &operator=(const LegacyRow &) = delete;

 private:
  int row_;
  BrngEntry saved_;
};

// Field-wise equality (the record has padding after word_bits).
inline bool same_entry(const BrngEntry &x, const BrngEntry &y) {
  return x.state_bytes == y.state_bytes && x.state_words == y.state_words &&
         x.has_zero == y.has_zero && x.word_bytes == y.word_bytes &&
         x.word_bits == y.word_bits && x.init_stream == y.init_stream &&
         x.s_output == y.s_output && x.d_output == y.d_output && x.i_output == y.i_output;
}

// A block from the stream allocator filled with `fill`.
void *block(int32_t bytes, unsigned char fill);

}  // namespace toy
