// Period proof for MT2203 parameters (word 32 bits, N 69, M 34, r 5), shared by the parameter
// search and the tests.
//
// The state space has dimension 2203 = 69 * 32 - 5 and 2^2203 - 1 is prime, so the period is
// 2^2203 - 1 exactly when the characteristic polynomial of the transition is irreducible of
// degree 2203. full_period() runs the recurrence from a fixed nonzero state, takes bit 0 of
// 2 * 2203 words and finds the minimal polynomial of that bit sequence by Berlekamp-Massey over
// GF(2). It divides the characteristic polynomial; when it has degree 2203 and is irreducible it
// is the characteristic polynomial, which proves the period. Irreducibility of p of prime degree
// n: p(0) = p(1) = 1 and x^(2^n) = x mod p. Before the 2203 squarings a sieve rejects p as soon
// as gcd(x^(2^k) - x, p) != 1 for some k <= kSieve (a factor of degree dividing k); most
// reducible candidates leave within the first few dozen squarings. Portable C++; carry-less multiply when built with it.
#pragma once

#ifdef __PCLMUL__
#include <immintrin.h>
#endif

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace mt2203 {

constexpr int kN = 69, kM = 34, kR = 5, kW = 32;
constexpr int kDeg = kN * kW - kR;   // 2203
constexpr int kWords = (kDeg + 64) / 64;  // 35 words hold a polynomial of degree <= 2203
constexpr int kWide = 2 * kWords;         // a square before reduction
constexpr int kSieve = 256;               // sieve degrees 1..kSieve
constexpr uint32_t kUpper = 0xffffffe0u, kLower = 0x1fu;

uint64_t splitmix(uint64_t &s) {
  uint64_t z = (s += 0x9e3779b97f4a7c15ull);
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
  return z ^ (z >> 31);
}

// ---- GF(2)[x] on fixed word arrays ---------------------------------------------------------

using Poly = std::vector<uint64_t>;

int degree(const uint64_t *p, int words) {
  for (int w = words - 1; w >= 0; --w)
    if (p[w]) return 64 * w + 63 - __builtin_clzll(p[w]);
  return -1;
}
bool bit(const uint64_t *p, int i) { return (p[i >> 6] >> (i & 63)) & 1; }

// p ^= q << s, q of qw words, p large enough.
void xor_shifted(uint64_t *p, const uint64_t *q, int qw, int s) {
  const int ws = s >> 6, bs = s & 63;
  if (bs == 0) {
    for (int i = 0; i < qw; ++i) p[i + ws] ^= q[i];
    return;
  }
  uint64_t carry = 0;
  for (int i = 0; i < qw; ++i) {
    p[i + ws] ^= (q[i] << bs) | carry;
    carry = q[i] >> (64 - bs);
  }
  if (carry) p[qw + ws] ^= carry;
}

// Squaring in GF(2)[x] interleaves zeros between the bits.
inline uint64_t spread(uint32_t x) {
  uint64_t v = x;
  v = (v | (v << 16)) & 0x0000ffff0000ffffull;
  v = (v | (v << 8)) & 0x00ff00ff00ff00ffull;
  v = (v | (v << 4)) & 0x0f0f0f0f0f0f0f0full;
  v = (v | (v << 2)) & 0x3333333333333333ull;
  v = (v | (v << 1)) & 0x5555555555555555ull;
  return v;
}

// Full product of two polynomials of kWords words into kWide words.
inline void mul_full(const uint64_t *a, const uint64_t *b, uint64_t *v) {
  std::memset(v, 0, kWide * sizeof(uint64_t));
#ifdef __PCLMUL__
  for (int i = 0; i < kWords; ++i) {
    if (!a[i]) continue;
    const __m128i x = _mm_cvtsi64_si128(static_cast<long long>(a[i]));
    for (int j = 0; j < kWords; ++j) {
      const __m128i r =
          _mm_clmulepi64_si128(x, _mm_cvtsi64_si128(static_cast<long long>(b[j])), 0x00);
      v[i + j] ^= static_cast<uint64_t>(_mm_cvtsi128_si64(r));
      v[i + j + 1] ^= static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(r, r)));
    }
  }
#else
  for (int i = 0; i < 64 * kWords; ++i)
    if (bit(a, i)) xor_shifted(v, b, kWords, i);
#endif
}

// v >> kDeg, for v of kWide words, into kWords words.
inline void shift_down(const uint64_t *v, uint64_t *out) {
  constexpr int ws = kDeg / 64, bs = kDeg % 64;
  for (int i = 0; i < kWords; ++i) {
    const uint64_t lo = i + ws < kWide ? v[i + ws] : 0;
    const uint64_t hi = i + ws + 1 < kWide ? v[i + ws + 1] : 0;
    out[i] = (lo >> bs) | (bs ? hi << (64 - bs) : 0);
  }
}

// Reduction modulo a fixed p of degree n = kDeg by Barrett's method, which is exact over
// GF(2)[x] for a dividend of degree below 2n: with mu = floor(x^(2n) / p),
// floor(v / p) = floor(floor(v / x^n) mu / x^n).
struct Modulus {
  uint64_t p[kWords], mu[kWords];
  explicit Modulus(const uint64_t *poly) {
    std::memcpy(p, poly, sizeof p);
    std::vector<uint64_t> r(kWide + 2, 0);
    r[(2 * kDeg) >> 6] |= 1ull << ((2 * kDeg) & 63);
    std::memset(mu, 0, sizeof mu);
    for (int i = 2 * kDeg; i >= kDeg; --i) {
      if (!bit(r.data(), i)) continue;
      mu[(i - kDeg) >> 6] |= 1ull << ((i - kDeg) & 63);
      xor_shifted(r.data(), p, kWords, i - kDeg);
    }
  }
  // v has kWide words and degree < 2 kDeg; leaves v mod p in its low kWords words.
  void reduce(uint64_t *v) const {
    uint64_t t[kWords], q[kWords], w[kWide];
    shift_down(v, t);
    mul_full(t, mu, w);
    shift_down(w, q);
    mul_full(q, p, w);
    for (int i = 0; i < kWords; ++i) v[i] ^= w[i];
  }
  // g = g * h mod p.
  void multiply(uint64_t *g, const uint64_t *h) const {
    uint64_t v[kWide];
    mul_full(g, h, v);
    reduce(v);
    std::memcpy(g, v, kWords * sizeof(uint64_t));
  }
  void square(uint64_t *g) const {
    uint64_t v[kWide];
    for (int w = 0; w < kWords; ++w) {
#ifdef __PCLMUL__
      __m128i a = _mm_cvtsi64_si128(static_cast<long long>(g[w]));
      __m128i r = _mm_clmulepi64_si128(a, a, 0x00);
      v[2 * w] = static_cast<uint64_t>(_mm_cvtsi128_si64(r));
      v[2 * w + 1] = static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(r, r)));
#else
      v[2 * w] = spread(uint32_t(g[w]));
      v[2 * w + 1] = spread(uint32_t(g[w] >> 32));
#endif
    }
    reduce(v);
    std::memcpy(g, v, kWords * sizeof(uint64_t));
  }
};

// gcd(a, b) has degree 0, i.e. a and b are coprime. Both of kWords words.
bool coprime(Poly a, Poly b) {
  int da = degree(a.data(), kWords), db = degree(b.data(), kWords);
  while (da >= 0 && db >= 0) {
    if (da < db) { std::swap(a, b); std::swap(da, db); }
    // Cancel the top of a against b repeatedly.
    while (da >= db) {
      xor_shifted(a.data(), b.data(), (db >> 6) + 1, da - db);
      da = degree(a.data(), (da >> 6) + 1);
      if (da < 0) break;
    }
  }
  const int d = da < 0 ? db : da;
  return d == 0;
}

// Irreducibility of p, degree kDeg (prime).
bool irreducible(const Poly &p) {
  if (degree(p.data(), kWords) != kDeg || !bit(p.data(), 0)) return false;
  int weight = 0;
  for (uint64_t w : p) weight += __builtin_popcountll(w);
  if ((weight & 1) == 0) return false;  // p(1) = 0
  Modulus mod(p.data());
  Poly g(kWords, 0);
  g[0] = 2;  // x
  // The sieve multiplies x^(2^k) - x over windows of k and takes one gcd per window; the
  // windows grow, since the chance of a first factor of degree k falls like 1 / k.
  Poly acc(kWords, 0);
  acc[0] = 1;
  int window_end = 2;
  for (int k = 1; k <= kDeg; ++k) {
    mod.square(g.data());
    if (k >= 2 && k <= kSieve) {
      Poly h = g;
      h[0] ^= 2;
      mod.multiply(acc.data(), h.data());
      if (k == window_end) {
        if (!coprime(acc, p)) return false;
        std::fill(acc.begin(), acc.end(), 0);
        acc[0] = 1;
        window_end = std::min(kSieve, window_end < 8 ? window_end + 2 : window_end * 3 / 2);
      }
    }
  }
  Poly x(kWords, 0);
  x[0] = 2;
  return g == x;
}

// ---- the recurrence ------------------------------------------------------------------------

// Bit 0 of 2 * kDeg successive words of the recurrence, from a fixed nonzero state.
std::vector<uint8_t> bit_sequence(uint32_t matrix_a) {
  uint32_t mt[kN];
  uint64_t s = 0x2203;
  for (auto &w : mt) w = static_cast<uint32_t>(splitmix(s));
  std::vector<uint8_t> out(2 * kDeg);
  int k = 0;
  for (int t = 0; t < 2 * kDeg; ++t) {
    const uint32_t y = (mt[k] & kUpper) | (mt[(k + 1) % kN] & kLower);
    const uint32_t w = mt[(k + kM) % kN] ^ (y >> 1) ^ ((y & 1) ? matrix_a : 0u);
    mt[k] = w;
    k = (k + 1) % kN;
    out[t] = w & 1;
  }
  return out;
}

// Berlekamp-Massey; returns the characteristic polynomial x^L C(1/x) of the shortest linear
// recurrence of s, as kWords words (zero when L > kDeg).
Poly berlekamp_massey(const std::vector<uint8_t> &s) {
  const int n = static_cast<int>(s.size());
  const int cw = kWords + 1;
  std::vector<uint64_t> c(cw + 1, 0), b(cw + 1, 0), t;
  c[0] = b[0] = 1;
  // Reversed sequence so that the window s[i], s[i-1], ... is a run of increasing positions.
  const int rw = (n + 63) / 64 + 2;
  std::vector<uint64_t> r(rw, 0);
  for (int i = 0; i < n; ++i)
    if (s[i]) r[(n - 1 - i) >> 6] |= 1ull << ((n - 1 - i) & 63);
  int L = 0, m = -1, bl = 0;
  for (int i = 0; i < n; ++i) {
    // d = sum_{j=0..L} c_j s[i-j]; s[i-j] is bit (n-1-i+j) of r.
    const int off = n - 1 - i;
    const int words = (L >> 6) + 1;
    uint64_t acc = 0;
    const int ow = off >> 6, ob = off & 63;
    for (int w = 0; w < words; ++w) {
      uint64_t win = r[ow + w] >> ob;
      if (ob) win |= r[ow + w + 1] << (64 - ob);
      acc ^= win & c[w];
    }
    // Bits of c above L are zero, so the window beyond i-L contributes nothing.
    if (!(__builtin_popcountll(acc) & 1)) continue;
    // b has degree at most bl, the length before its last change; only its words are added.
    const int ws = (i - m) >> 6;
    const int qw = std::min((bl >> 6) + 1, cw - ws - 1);
    if (2 * L <= i) {
      t = c;
      xor_shifted(c.data(), b.data(), qw, i - m);
      bl = L;
      L = i + 1 - L;
      m = i;
      b = t;
    } else {
      xor_shifted(c.data(), b.data(), qw, i - m);
    }
    if (L > kDeg) return Poly(kWords, 0);
  }
  Poly p(kWords, 0);
  for (int j = 0; j <= L; ++j)
    if ((c[j >> 6] >> (j & 63)) & 1) p[(L - j) >> 6] |= 1ull << ((L - j) & 63);
  return p;
}

bool full_period(uint32_t matrix_a) { return irreducible(berlekamp_massey(bit_sequence(matrix_a))); }

}  // namespace mt2203
