// Parameter search for the MT2203 member table (word 32 bits, exponent 2203, N 69, M 34, r 5).
//
// Each member needs a twist word whose recurrence has period 2^2203 - 1; mt2203_period.hpp
// proves it (Berlekamp-Massey over GF(2), then x^(2^2203) = x modulo the polynomial found).
//
// Tempering masks: mask_b has its low 7 bits clear and mask_c its low 15 bits (those bits are
// shifted in as zero and the mask cannot act there). Among R random candidates the tool keeps
// the one with the smallest total gap, then flips single mask bits while the gap falls; the gap
// is sum_{v=1..V} (floor(2203 / v) - k(v)), where k(v) is the
// largest k for which the top v bits of k consecutive tempered words are equidistributed: the
// linear map from the 2203-bit state to those k * v bits has full rank k * v.
//
// Rows 0, 1, 2, 6022 and 6023 are fixed; the tool proves their period like any other row. The
// twist word of a searched row r is 1 in its top bit, random in bits 30..16 and r in its low 16
// bits, so searched rows are distinct from each other; each is also compared with the fixed
// rows. Every row is a deterministic function of its index (the candidates come from a
// splitmix64 stream seeded by the row), so slices may run in any order and on several
// processes, and a slice that is stopped loses only the row in progress.
//
// Usage:
//   mt2203_search search FIRST LAST [STEP] >> rows.txt   search rows FIRST..LAST-1 by STEP
//   mt2203_search verify rows.txt                         re-prove every row of the file
//   mt2203_search emit rows.txt DIR                       write the table sources (see emit())
// Lines of rows.txt: "row matrix_a mask_b mask_c k1 .. kV" in hexadecimal / decimal.
#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "mt2203_period.hpp"

namespace {

using namespace mt2203;

constexpr int kMaskTries = 16;            // tempering candidates per row
constexpr int kClimbPasses = 1;          // hill-climbing passes over the mask bits
constexpr int kEquiV = 6;                 // equidistribution measured for v = 1..kEquiV

struct Fixed { int row; uint32_t a, b, c; };
constexpr Fixed kFixed[] = {
    {0, 0xaf81055fu, 0xdd7eef80u, 0xefd78000u},
    {1, 0x832604e1u, 0x66ad7f80u, 0xebd58000u},
    {2, 0x92f70739u, 0x656d7780u, 0xefc50000u},
    {6022, 0x8a8c1d4au, 0x65757780u, 0xefe18000u},
    {6023, 0xe8761d4bu, 0x72967680u, 0xefeb0000u},
};

// ---- equidistribution of the top bits ------------------------------------------------------

// Untempered word t as a linear function of the state: 32 vectors of kWords words, one per bit.
struct Responses {
  int count;
  std::vector<uint64_t> v;  // [t][bit][word]
  const uint64_t *at(int t, int b) const { return &v[(static_cast<size_t>(t) * kW + b) * kWords]; }
};

Responses responses(uint32_t matrix_a, int count) {
  // State variables: bits 5..31 of word 0 are 0..26, bit b of word j >= 1 is 27 + 32 (j-1) + b.
  std::vector<uint64_t> win(static_cast<size_t>(kN) * kW * kWords, 0);
  auto slot = [&](int j, int b) { return &win[(static_cast<size_t>(j) * kW + b) * kWords]; };
  for (int b = kR; b < kW; ++b) { int x = b - kR; slot(0, b)[x >> 6] |= 1ull << (x & 63); }
  for (int j = 1; j < kN; ++j)
    for (int b = 0; b < kW; ++b) {
      int x = 27 + 32 * (j - 1) + b;
      slot(j, b)[x >> 6] |= 1ull << (x & 63);
    }
  Responses out{count, std::vector<uint64_t>(static_cast<size_t>(count) * kW * kWords)};
  uint64_t y[kW][kWords];
  int k = 0;
  for (int t = 0; t < count; ++t) {
    const int k1 = (k + 1) % kN, km = (k + kM) % kN;
    for (int b = 0; b < kW; ++b) std::memcpy(y[b], slot(b >= kR ? k : k1, b), sizeof y[b]);
    for (int b = 0; b < kW; ++b) {
      uint64_t *d = slot(k, b);
      const uint64_t *m = slot(km, b);
      for (int w = 0; w < kWords; ++w) {
        uint64_t v = m[w];
        if (b < kW - 1) v ^= y[b + 1][w];
        if ((matrix_a >> b) & 1) v ^= y[0][w];
        d[w] = v;
      }
    }
    for (int b = 0; b < kW; ++b)
      std::memcpy(&out.v[(static_cast<size_t>(t) * kW + b) * kWords], slot(k, b),
                  kWords * sizeof(uint64_t));
    k = (k + 1) % kN;
  }
  return out;
}

// Tempering as a 32x32 matrix over GF(2): column j of the result is the set of input bits
// feeding output bit j.
std::vector<uint32_t> tempering_rows(uint32_t mb, uint32_t mc) {
  std::vector<uint32_t> rows(kW);
  for (int i = 0; i < kW; ++i) {  // image of input bit i
    uint32_t y = 1u << i;
    y ^= y >> 12;
    y ^= (y << 7) & mb;
    y ^= (y << 15) & mc;
    y ^= y >> 18;
    for (int j = 0; j < kW; ++j)
      if ((y >> j) & 1) rows[j] |= 1u << i;
  }
  return rows;
}

inline void xor_into(uint64_t *__restrict row, const uint64_t *__restrict src, int from) {
  for (int w = from; w < kWords; ++w) row[w] ^= src[w];
}

// k(v): number of leading words whose top v tempered bits stay linearly independent.
int equi_k(const Responses &resp, const std::vector<uint32_t> &trows, int v) {
  const int limit = std::min(kDeg / v, resp.count);
  static std::vector<uint64_t> pivots(static_cast<size_t>(kDeg) * kWords);
  static std::vector<uint8_t> has(kDeg);
  std::fill(has.begin(), has.end(), 0);
  uint64_t row[kWords];
  for (int t = 0; t < limit; ++t) {
    for (int j = kW - 1; j >= kW - v; --j) {
      std::memset(row, 0, sizeof row);
      for (int i = 0; i < kW; ++i)
        if ((trows[j] >> i) & 1) {
          xor_into(row, resp.at(t, i), 0);
        }
      // A pivot row has no bit below its pivot, so the lowest set bit only moves up.
      for (int from = 0;;) {
        int h = -1;
        for (int w = from; w < kWords; ++w)
          if (row[w]) { h = 64 * w + __builtin_ctzll(row[w]); break; }
        from = h >> 6;
        if (h < 0) return t;  // dependent: k(v) = t
        if (!has[h]) {
          has[h] = 1;
          std::memcpy(&pivots[static_cast<size_t>(h) * kWords], row, sizeof row);
          break;
        }
        xor_into(row, &pivots[static_cast<size_t>(h) * kWords], h >> 6);
      }
    }
  }
  return limit;
}

struct Row { int row; uint32_t a, b, c; int k[kEquiV]; };

// Fills r.k; stops early (with the remaining k at 0) once the gap reaches `give_up`.
void measure(Row &r, const Responses &resp, int give_up = 1 << 30) {
  const auto tr = tempering_rows(r.b, r.c);
  int g = 0;
  for (int v = 1; v <= kEquiV; ++v) r.k[v - 1] = 0;
  // Wide v first: their gaps are the large ones, so a poor candidate is dropped sooner.
  for (int v = kEquiV; v >= 1 && g < give_up; --v) {
    r.k[v - 1] = equi_k(resp, tr, v);
    g += kDeg / v - r.k[v - 1];
  }
}

int gap(const Row &r) {
  int g = 0;
  for (int v = 1; v <= kEquiV; ++v) g += kDeg / v - r.k[v - 1];
  return g;
}

void print(const Row &r) {
  std::printf("%d %08" PRIx32 " %08" PRIx32 " %08" PRIx32, r.row, r.a, r.b, r.c);
  for (int v = 0; v < kEquiV; ++v) std::printf(" %d", r.k[v]);
  std::printf("\n");
  std::fflush(stdout);
}

const Fixed *fixed_row(int row) {
  for (const auto &f : kFixed)
    if (f.row == row) return &f;
  return nullptr;
}

Row search_row(int row) {
  Row r{row, 0, 0, 0, {}};
  if (const Fixed *f = fixed_row(row)) {
    if (!full_period(f->a)) { std::fprintf(stderr, "fixed row %d fails\n", row); std::exit(2); }
    r.a = f->a; r.b = f->b; r.c = f->c;
    measure(r, responses(r.a, kDeg));
    return r;
  }
  uint64_t s = 0x6d7432323033ull ^ (static_cast<uint64_t>(row) << 32);
  for (;;) {
    const uint32_t a = 0x80000000u | (static_cast<uint32_t>(splitmix(s)) & 0x7fff0000u) |
                       static_cast<uint32_t>(row);
    bool clash = false;
    for (const auto &f : kFixed) clash |= f.a == a;
    if (clash || !full_period(a)) continue;
    r.a = a;
    break;
  }
  const Responses resp = responses(r.a, kDeg);
  int best = -1;
  for (int i = 0; i < kMaskTries; ++i) {
    Row c = r;
    c.b = static_cast<uint32_t>(splitmix(s)) & 0xffffff80u;
    c.c = static_cast<uint32_t>(splitmix(s)) & 0xffff8000u;
    measure(c, resp, best < 0 ? 1 << 30 : best);
    if (best < 0 || gap(c) < best) { best = gap(c); r = c; }
  }
  // Then flip single mask bits while that lowers the gap, for at most kClimbPasses passes.
  for (int pass = 0; pass < kClimbPasses; ++pass) {
    bool improved = false;
    for (int bitno = 7; bitno < 64; ++bitno) {
      if (bitno >= 32 && bitno < 32 + 15) continue;
      Row c = r;
      if (bitno < 32) c.b ^= 1u << bitno;
      else c.c ^= 1u << (bitno - 32);
      measure(c, resp, best);
      if (gap(c) < best) { best = gap(c); r = c; improved = true; }
    }
    if (!improved) break;
  }
  return r;
}

std::map<int, Row> read_rows(const char *path) {
  std::map<int, Row> rows;
  FILE *f = std::fopen(path, "r");
  if (!f) { std::perror(path); std::exit(1); }
  Row r{};
  while (std::fscanf(f, "%d %" SCNx32 " %" SCNx32 " %" SCNx32, &r.row, &r.a, &r.b, &r.c) == 4) {
    for (int v = 0; v < kEquiV; ++v)
      if (std::fscanf(f, "%d", &r.k[v]) != 1) r.k[v] = 0;
    rows[r.row] = r;
  }
  std::fclose(f);
  return rows;
}

// Writes DIR/mt2203_table.inc, the 6024 rows as C initialisers (rows of the file and the fixed
// rows; any other row zero), and DIR/mt2203_members.hpp, the length of the leading run of rows
// present: the number of members that are valid ids. Fails on a repeated twist word.
int emit(const char *path, const char *dir) {
  auto rows = read_rows(path);
  for (const auto &f : kFixed) rows[f.row] = Row{f.row, f.a, f.b, f.c, {}};
  std::map<uint32_t, int> seen;
  for (const auto &[i, r] : rows)
    if (!seen.emplace(r.a, i).second) {
      std::fprintf(stderr, "rows %d and %d share %08x\n", seen[r.a], i, r.a);
      return 1;
    }
  int prefix = 0;
  while (rows.count(prefix)) ++prefix;
  const std::string d = dir;
  FILE *t = std::fopen((d + "/mt2203_table.inc").c_str(), "w");
  FILE *m = std::fopen((d + "/mt2203_members.hpp").c_str(), "w");
  if (!t || !m) { std::perror(dir); return 1; }
  const char *head =
      "// Generated by tools/mt2203/mt2203_search emit tools/mt2203/rows.txt src/vsk/brng/mt2203;\n"
      "// do not edit.\n";
  std::fprintf(t, "%s", head);
  for (int i = 0; i < 6024; ++i) {
    auto it = rows.find(i);
    if (it == rows.end()) std::fprintf(t, "{0x00000000u, 0x00000000u, 0x00000000u},\n");
    else std::fprintf(t, "{0x%08xu, 0x%08xu, 0x%08xu},\n", it->second.a, it->second.b, it->second.c);
  }
  std::fprintf(m, "%s#pragma once\n\n#include <cstdint>\n\nnamespace hpk::vsk {\n\n", head);
  if (prefix == 6024)
    std::fprintf(m, "// All 6024 members have proven parameters.\n");
  else
    std::fprintf(m, "// Members 0 to %d have proven parameters; later members are not valid ids yet.\n",
                 prefix - 1);
  std::fprintf(m, "inline constexpr int32_t kMt2203Members = %d;\n\n}  // namespace hpk::vsk\n",
               prefix);
  std::fclose(t);
  std::fclose(m);
  std::fprintf(stderr, "%zu rows, leading run %d\n", rows.size(), prefix);
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc >= 4 && !std::strcmp(argv[1], "search")) {
    const int first = std::atoi(argv[2]), last = std::atoi(argv[3]);
    const int step = argc >= 5 ? std::atoi(argv[4]) : 1;
    for (int row = first; row < last; row += step) print(search_row(row));
    return 0;
  }
  if (argc >= 3 && !std::strcmp(argv[1], "verify")) {
    auto rows = read_rows(argv[2]);
    int bad = 0;
    for (const auto &f : kFixed) bad += !full_period(f.a);
    for (const auto &[i, r] : rows) bad += !full_period(r.a);
    std::printf("%zu rows and %zu fixed rows checked, %d without full period\n", rows.size(),
                std::size(kFixed), bad);
    return bad != 0;
  }
  if (argc >= 4 && !std::strcmp(argv[1], "emit")) return emit(argv[2], argv[3]);
  if (argc >= 3 && !std::strcmp(argv[1], "period")) {  // period proof of one twist word
    const uint32_t a = static_cast<uint32_t>(std::strtoul(argv[2], nullptr, 16));
    std::printf("%08x %s\n", a, full_period(a) ? "full period" : "not full period");
    return 0;
  }
  std::fprintf(stderr, "usage: %s search FIRST LAST [STEP] | verify FILE | emit FILE DIR | period A\n",
               argv[0]);
  return 1;
}
