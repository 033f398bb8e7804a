// Sobol streams: seeding from the built-in or the caller's tables, the selection of one
// dimension (the only leapfrog there is), and skip-ahead.
//
// Direction numbers of a dimension with primitive polynomial x^e + a(1) x^(e-1) + ... + 1 and
// initial numbers m(1)..m(e) (odd, m(k) < 2^k) follow the recurrence
//   m(j) = m(j-e) XOR (m(j-e) << e) XOR sum over the other set bits i of (m(j-e+i) << (e-i)),
// bit 0 of the polynomial (the constant term) giving the (m(j-e) << e) term. The numbers are
// then aligned to the top of a 32-bit word: dir[j] = m(j) << (31 - j). Point c is the XOR of
// dir[i] over the set bits i of the Gray code c ^ (c >> 1), stepped from point c - 1 by one XOR
// with dir[RightmostZeroBit(c - 1)]. With a caller's data nothing is range-checked beyond the
// reads staying inside the seed words: the arithmetic is on 32-bit words and wraps.
#include <cstring>

#include "hpk/serv.h"
#include "vsk/brng/sobol/sobol.hpp"

namespace hpk::vsk::sobol {
namespace {

constexpr int32_t kBuiltinRows = 39;
constexpr int kMInitWidth = 8;

// Word k of uSobolMInit read as one flat array. A user polynomial of degree above 8 in mode 1
// reads on past its own row into the next ones; past the end of the table it reads zeros.
uint32_t minit_word(int64_t k) {
  return k < int64_t(kBuiltinRows) * kMInitWidth ? (&uSobolMInit[0][0])[k] : 0u;
}

// Position of the highest set bit of a user polynomial: bytes from the top, then the bits of
// that byte. 0 for the polynomials 0 and 1, whose direction numbers then come out all zero.
int degree_of(uint32_t q) {
  for (int byte = 3; byte >= 0; --byte) {
    const uint32_t b = (q >> (8 * byte)) & 0xffu;
    if (b == 0) continue;
    for (int bit = 7; bit >= 0; --bit)
      if ((b >> bit) & 1u) return 8 * byte + bit;
  }
  return 0;
}

// Direction numbers of one dimension into row[0..31] from its polynomial, degree e (0 to 31)
// and the first e numbers.
void recur(uint32_t *row, uint32_t poly, int e, const uint32_t *init) {
  uint32_t m[kBits] = {};
  for (int k = 0; k < e; ++k) m[k] = init[k];
  for (int j = e; j < kBits; ++j) {
    uint32_t w = m[j - e];
    for (int i = 0; i < e; ++i)
      if ((poly >> i) & 1u) w ^= m[j - e + i] << (e - i);
    m[j] = w;
  }
  for (int j = 0; j < kBits; ++j) row[j] = m[j] << (31 - j);
}

void all_ones(uint32_t *row) {
  for (int j = 0; j < kBits; ++j) row[j] = 1u << (31 - j);
}

// The first point, and the transposed copy of the direction numbers.
void finish(const Tables &t, int32_t dim) {
  for (int32_t d = 0; d < dim; ++d) {
    const uint32_t *row = t.dir + int64_t(d) * t.dir_stride;
    if (t.point != nullptr) t.point[d] = row[0];
    for (int j = 0; j < kBits; ++j)
      t.dir_t[int64_t(j) * t.dirt_stride + d] = row[j];
  }
}

// Record form from the built-in tables (user_polys null) or from the polynomials of a mode 1
// set, or with the initial numbers of a mode 2 set (user_init non-null, L words apart).
void build_record(Record *r, int32_t dim, const uint32_t *user_polys, const uint32_t *user_init,
                  uint64_t L) {
  std::memset(r, 0, sizeof *r);
  all_ones(r->dir[0]);
  for (int32_t d = 0; d + 1 < dim; ++d) {
    uint32_t poly = uSobolIrredPoly[d];
    int e = iSobolIrredPolyDeg[d];
    if (user_polys != nullptr) {
      poly = user_polys[d];
      e = degree_of(poly);
    }
    uint32_t init[kBits];
    for (int k = 0; k < e; ++k)
      init[k] = user_init != nullptr ? user_init[d * L + k] : minit_word(int64_t(d) * 8 + k);
    recur(r->dir[d + 1], poly, e, init);
  }
  finish(record_tables(r), dim);
  r->counter = 1;
  r->dimension = dim;
  r->selected = kAll;
  r->remaining = 0;
}

void build_default(Record *r, int32_t dim) { build_record(r, dim, nullptr, nullptr, 0); }

// Whether a user set with mode p[2], n >= 4 words and dimension dim > 0 is well formed: long
// enough for its layout, and no initial number read from outside the words given.
bool well_formed(int32_t n, const uint32_t *p, int32_t dim) {
  const uint64_t words = uint64_t(n), D = uint64_t(dim);
  switch (p[2]) {
    case 1:
      return dim <= kMaxDim && words >= D + 2;
    case 2: {
      if (dim > kMaxDim) return false;
      const uint64_t L = p[3];
      if (words < (D - 1) * L + 4) return false;
      for (uint64_t d = 0; d + 1 < D; ++d)
        if (4 + d * L + uint64_t(iSobolIrredPolyDeg[d]) > words) return false;
      return true;
    }
    case 3: {
      if (words < D + 3) return false;
      const uint64_t L = p[D + 2];
      if (words < (D - 1) * (L + 1) + 4) return false;
      for (uint64_t d = 0; d + 1 < D; ++d)
        if (D + 3 + d * L + uint64_t(degree_of(p[3 + d])) > words) return false;
      return true;
    }
    case 11: {
      if (words < D + 4) return false;
      const uint64_t L = p[D + 3];
      if (words < D * (L + 1) + 4) return false;
      for (uint64_t d = 0; d < D; ++d)
        if (D + 4 + d * L + uint64_t(degree_of(p[3 + d])) > words) return false;
      return true;
    }
    case 4:
      return words >= 32 * D + 3;
    default:
      return false;
  }
}

// Chunk form: the direction block goes in as chunk 9 under a fresh key (time stamp, block
// address), so that copies share it; the point as private chunk 13. Until both are attached the
// record stays a one-dimensional default stream, and a failure leaves it so.
int32_t seed_chunks(StreamState *s, int32_t n, const uint32_t *p, int32_t dim) {
  const int64_t dir_bytes = chunk_dir_bytes(dim);
  const int64_t point_bytes = 4 * int64_t(dim);
  if (dir_bytes > INT32_MAX || point_bytes > INT32_MAX) return HPK_VSK_ERROR_MEM;

  auto *dirs = static_cast<uint32_t *>(hpk_serv_hpk_malloc(size_t(dir_bytes), 64));
  if (dirs == nullptr) return HPK_VSK_ERROR_MEM;
  std::memset(dirs, 0, size_t(dir_bytes));
  __vskSobolUserPolymsDirNumsChunk(s, n, p, dirs, nullptr, int32_t(p[2]));
  uint64_t key[2];
  __vskGenerateNewGlobalRODataTableEntryId(key, uint64_t(reinterpret_cast<uintptr_t>(dirs)));
  int32_t status = __vskAddChunk(s, HPK_VSK_CHUNK_SOBOL_DIRECTIONS, key, dirs, int32_t(dir_bytes));
  if (status != HPK_VSK_STATUS_OK) {
    hpk_serv_hpk_free(dirs);
    return status;
  }

  auto *point = static_cast<uint32_t *>(hpk_serv_hpk_malloc(size_t(point_bytes), 64));
  if (point == nullptr) return HPK_VSK_ERROR_MEM;
  for (int32_t d = 0; d < dim; ++d) point[d] = dirs[int64_t(d) * kChunkDirStride];
  status = __vskAddChunk(s, HPK_VSK_CHUNK_SOBOL_POINT, nullptr, point, int32_t(point_bytes));
  if (status != HPK_VSK_STATUS_OK) {
    hpk_serv_hpk_free(point);
    return status;
  }
  record_of(s)->dimension = dim;
  return HPK_VSK_STATUS_OK;
}

int32_t seed(StreamState *s, int32_t n, const uint32_t *p) {
  Record *r = record_of(s);
  const int32_t dim = n >= 1 ? int32_t(p[0]) : 0;
  if (n <= 0 || dim <= 0) {
    build_default(r, 1);
    return HPK_VSK_STATUS_OK;
  }
  const int32_t fallback = dim <= kMaxDim ? dim : 1;
  if (n == 1 || n < 4 || p[1] != HPK_VSK_SOBOL_USER_MODE_WORD || !well_formed(n, p, dim)) {
    build_default(r, fallback);
    return HPK_VSK_STATUS_OK;
  }
  if (p[2] == 1 || p[2] == 2) return __vskSobolUserPolyms(s, n, p);
  build_default(r, 1);
  return seed_chunks(s, n, p, dim);
}

int32_t leapfrog(StreamState *s, int32_t nstreams, const uint32_t *params) {
  Record *r = record_of(s);
  const uint32_t k = params[0];
  if (nstreams != 0x7fffffff || k >= uint32_t(r->dimension))
    return HPK_VSK_ERROR_LEAPFROG_UNSUPPORTED;
  if (r->selected == k) return HPK_VSK_STATUS_OK;
  const Tables t = tables_of(s);
  const uint32_t *dk = t.dir + int64_t(k) * t.dir_stride;
  if (r->selected == kAll) {
    // Component k of a partly delivered point is spent: dimension k goes on from the next one.
    if (r->remaining != 0 && k < uint32_t(r->dimension - r->remaining)) {
      t.point[k] ^= dk[RightmostZeroBit(r->counter)];
      ++r->counter;
    }
  } else {
    // The point of dimension k was left behind: rebuild it from the Gray code of the counter.
    const uint32_t c = ++r->counter;
    uint32_t x = (c & 1u) ? dk[0] : 0u;
    for (int i = 1; i < kBits; ++i)
      if ((c >> i) & 1u) x ^= dk[i] ^ dk[i - 1];
    t.point[k] = x;
  }
  r->remaining = 0;
  r->selected = k;
  return HPK_VSK_STATUS_OK;
}

// Moves on by t points at once, t below 2^32 - counter: the Gray codes of c and c + t differ in
// the bits found by adding t one bit at a time, and adding 2^i to c flips Gray bit i - 1 and
// bit i + RightmostZeroBit(c >> i).
int32_t skip_ahead(StreamState *s, int32_t n, const uint32_t *params) {
  if (n <= 0) return HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED;
  Record *r = record_of(s);
  uint64_t nskip;
  std::memcpy(&nskip, params, sizeof nskip);
  const uint64_t D = uint64_t(r->dimension);
  const uint64_t q = nskip / D;
  if (q >= 0xffffffffu || uint64_t(r->counter) + q >= 0xffffffffu)
    return HPK_VSK_ERROR_SKIPAHEAD_UNSUPPORTED;
  const uint64_t rem = uint64_t(r->remaining);
  if (nskip < rem) {
    r->remaining -= int32_t(nskip);
    return HPK_VSK_STATUS_OK;
  }
  uint64_t t, rest;
  if (rem == 0) {
    t = q;
    rest = nskip - D * q;
  } else {
    const uint64_t u = (nskip - rem) / D;
    t = u + 1;
    rest = nskip - rem - D * u;
  }
  if (t != 0) {
    const Tables tb = tables_of(s);
    for (uint64_t d = 0; d < D; ++d) {
      const uint32_t *dd = tb.dir + d * tb.dir_stride;
      uint32_t c = r->counter, w = 0;
      if (t & 1u) {
        w = dd[RightmostZeroBit(c)];
        ++c;
      }
      for (int i = 1; (t >> i) != 0; ++i) {
        c >>= 1;
        if ((t >> i) & 1u) {
          w ^= dd[RightmostZeroBit(c) + i] ^ dd[i - 1];
          ++c;
        }
      }
      tb.point[d] ^= w;
    }
    r->counter += uint32_t(t);
  }
  r->remaining = rest == 0 ? 0 : int32_t(D - rest);
  return HPK_VSK_STATUS_OK;
}

}  // namespace

Tables tables_of(StreamState *s) {
  Record *r = record_of(s);
  auto *point = static_cast<uint32_t *>(__vskSearchChunk(s, HPK_VSK_CHUNK_SOBOL_POINT));
  if (point == nullptr) return record_tables(r);
  auto *dirs = static_cast<uint32_t *>(__vskSearchChunk(s, HPK_VSK_CHUNK_SOBOL_DIRECTIONS));
  return chunk_tables(dirs, point, r->dimension);
}

}  // namespace hpk::vsk::sobol

using namespace hpk::vsk::sobol;

extern "C" {

int32_t __vskSobolUserPolyms(StreamState *stream, int32_t n, const uint32_t *params) {
  const int32_t dim = int32_t(params[0]);
  if (params[2] == 1)
    build_record(record_of(stream), dim, params + 3, nullptr, 0);
  else
    build_record(record_of(stream), dim, nullptr, params + 4, params[3]);
  return HPK_VSK_STATUS_OK;
}

int32_t __vskSobolUserPolymsDirNumsChunk(StreamState *stream, int32_t n, const uint32_t *params,
                                         uint32_t *directions, uint32_t *point, int32_t mode) {
  const int32_t dim = int32_t(params[0]);
  const uint64_t D = uint64_t(dim);
  for (uint64_t d = 0; d < D; ++d) {
    uint32_t *row = directions + d * kChunkDirStride;
    if (mode == 4) {
      std::memcpy(row, params + 3 + kBits * d, kBits * sizeof(uint32_t));
    } else if (mode == 11) {
      const uint32_t poly = params[3 + d];
      recur(row, poly, degree_of(poly), params + D + 4 + d * params[D + 3]);
    } else if (d == 0) {
      all_ones(row);
    } else {
      const uint32_t poly = params[3 + d - 1];
      recur(row, poly, degree_of(poly), params + D + 3 + (d - 1) * params[D + 2]);
    }
  }
  finish(chunk_tables(directions, point, dim), dim);
  return HPK_VSK_STATUS_OK;
}

int32_t __vskBRngSobolInitStream(int32_t method, StreamState *stream, int32_t n,
                                 const uint32_t *params) {
  switch (method) {
    case HPK_VSK_INIT_METHOD_STANDARD: return seed(stream, n, params);
    case HPK_VSK_INIT_METHOD_LEAPFROG: return leapfrog(stream, n, params);
    case HPK_VSK_INIT_METHOD_SKIPAHEAD: return skip_ahead(stream, n, params);
    default: return HPK_VSK_ERROR_METHOD;
  }
}

}  // extern "C"
