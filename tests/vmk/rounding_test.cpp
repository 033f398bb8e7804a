// Rounding family: every kernel against a scalar model of the prescribed bit steps (written on
// the top and low words of a double, as the steps are told) and against the C library function
// of the same meaning, bit for bit, over special values, word and binade boundaries and random
// inputs in every binade, under each of the four rounding directions set by the caller.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>
#include <xmmintrin.h>

#include "hpk/vmk.h"

namespace {

template <class To, class From>
To bitcast(From f) {
  static_assert(sizeof(To) == sizeof(From));
  To t;
  std::memcpy(&t, &f, sizeof t);
  return t;
}

// ---- the model --------------------------------------------------------------------------

// Opaque 1.0, so that x * 1.0 is performed and quiets a signalling NaN.
volatile double g_one_d = 1.0;
volatile float g_one_s = 1.0f;

enum class Fn { Ceil, Floor, Trunc, Round, Rint0, Rint1, Rint2, Rint3 };

// Double, top word hi and low word lo.
double model_d(Fn fn, double x) {
  const uint64_t bits = bitcast<uint64_t>(x);
  uint32_t hi = uint32_t(bits >> 32), lo = uint32_t(bits);
  const uint32_t t = hi & 0x7FFFFFFF;
  const uint32_t u = t - 0x3FF00000u;
  const bool neg = hi >> 31;
  const int e = int(t >> 20) - 1023;
  auto make = [](uint32_t h, uint32_t l) { return bitcast<double>(uint64_t(h) << 32 | l); };
  const double signed_zero = neg ? -0.0 : 0.0, signed_one = neg ? -1.0 : 1.0;

  if (fn == Fn::Rint1) fn = Fn::Floor;
  if (fn == Fn::Rint2) fn = Fn::Ceil;
  if (fn == Fn::Rint3) fn = Fn::Trunc;
  if (fn == Fn::Rint0) {
    const uint32_t E = t >> 20;
    if (E >= 0x433) return x * g_one_d;
    if (E < 0x3FF) return std::fabs(x) <= 0.5 ? signed_zero : signed_one;
    const uint64_t frac_mask = (uint64_t(1) << (52 - e)) - 1;
    const uint64_t frac = bits & frac_mask, half = uint64_t(1) << (51 - e);
    const double tr = bitcast<double>(bits & ~frac_mask);
    const bool odd = uint64_t(std::fabs(tr)) & 1;
    return (frac > half || (frac == half && odd)) ? tr + signed_one : tr;
  }

  if (u < 0x3400000) {  // 1 <= |x| < 2^52
    const bool unit = (fn == Fn::Ceil && !neg) || (fn == Fn::Floor && neg);
    if (u < 0x1500000) {  // e <= 20: the fraction reaches into the top word
      const uint32_t m = 0xFFFFFFFFu << (20 - e);
      const bool any = (hi & ~m) || lo;
      const bool half = e < 20 ? (hi >> (19 - e)) & 1 : lo >> 31;
      hi &= m;
      lo = 0;
      if (fn == Fn::Round) return half ? make(hi, lo) + signed_one : make(hi, lo);
      if (unit && any) hi -= m;
      return make(hi, lo);
    }
    const uint32_t m = 0xFFFFFFFFu << (52 - e);
    const bool any = lo & ~m;
    const bool half = (lo >> (51 - e)) & 1;
    lo &= m;
    if (fn == Fn::Round) return half ? make(hi, lo) + signed_one : make(hi, lo);
    uint64_t r = uint64_t(hi) << 32 | lo;
    if (unit && any) r += uint32_t(-m);  // the carry runs into the top word
    return bitcast<double>(r);
  }
  if (t >= 0x43300000) {  // integer or special
    if (t < 0x7FF00000 && (fn == Fn::Ceil || fn == Fn::Floor)) return x;
    return x * g_one_d;
  }
  // small
  if (fn == Fn::Round) return u < 0xFFF00000u ? signed_zero : signed_one;
  if (fn == Fn::Trunc || (t | lo) == 0) return signed_zero;
  if (fn == Fn::Ceil) return neg ? -0.0 : 1.0;  // _pone_nzero
  return neg ? -1.0 : 0.0;                     // _pzero_none
}

float model_s(Fn fn, float x) {
  uint32_t w = bitcast<uint32_t>(x);
  const uint32_t t = w & 0x7FFFFFFF;
  const uint32_t u = t - 0x3F800000u;
  const bool neg = w >> 31;
  const int e = int(t >> 23) - 127;
  const float signed_zero = neg ? -0.0f : 0.0f, signed_one = neg ? -1.0f : 1.0f;
  if (fn == Fn::Rint1) fn = Fn::Floor;
  if (fn == Fn::Rint2) fn = Fn::Ceil;
  if (fn == Fn::Rint3) fn = Fn::Trunc;
  if (fn == Fn::Rint0) {
    if (t >= 0x4B000000) return x * g_one_s;
    if (t < 0x3F800000) return std::fabs(x) <= 0.5f ? signed_zero : signed_one;
    const uint32_t frac_mask = (1u << (23 - e)) - 1, frac = w & frac_mask, half = 1u << (22 - e);
    const float tr = bitcast<float>(w & ~frac_mask);
    const bool odd = uint32_t(std::fabs(tr)) & 1;
    return (frac > half || (frac == half && odd)) ? tr + signed_one : tr;
  }
  if (u < 0x0B800000) {
    const uint32_t m = 0xFFFFFFFFu << (23 - e);
    const bool any = w & ~m;
    const bool half = (w >> (22 - e)) & 1;
    w &= m;
    if (fn == Fn::Round) return half ? bitcast<float>(w) + signed_one : bitcast<float>(w);
    if (((fn == Fn::Ceil && !neg) || (fn == Fn::Floor && neg)) && any) w -= m;
    return bitcast<float>(w);
  }
  if (t >= 0x4B000000) {
    if (t < 0x7F800000 && (fn == Fn::Ceil || fn == Fn::Floor)) return x;
    return x * g_one_s;
  }
  if (fn == Fn::Round) return t < 0x3F000000 ? signed_zero : signed_one;
  if (fn == Fn::Trunc || t == 0) return signed_zero;
  if (fn == Fn::Ceil) return neg ? -0.0f : 1.0f;
  return neg ? -1.0f : 0.0f;
}

template <class T>
void model_modf(T x, T &ip, T &fp) {
  const T zero = std::signbit(x) ? T(-0.0) : T(0.0);
  if (std::isnan(x)) {
    ip = fp = x + x;
  } else if (std::isinf(x) || std::fabs(x) >= T(1) / std::numeric_limits<T>::epsilon()) {
    ip = x;
    fp = zero;
  } else if (std::fabs(x) < T(1)) {
    ip = zero;
    fp = x;
  } else {
    ip = sizeof(T) == 8 ? T(model_d(Fn::Trunc, double(x))) : T(model_s(Fn::Trunc, float(x)));
    fp = ip == x ? zero : x - ip;
  }
}

// ---- inputs -------------------------------------------------------------------------------

template <class T>
struct Bits;
template <>
struct Bits<double> {
  using U = uint64_t;
  static constexpr int kMant = 52;
  static constexpr U kQuiet = U(1) << 51;
};
template <>
struct Bits<float> {
  using U = uint32_t;
  static constexpr int kMant = 23;
  static constexpr U kQuiet = U(1) << 22;
};

template <class T>
std::vector<T> inputs() {
  using U = typename Bits<T>::U;
  constexpr int P = Bits<T>::kMant;
  constexpr U kExpOne = U((sizeof(T) == 8 ? 1023 : 127)) << P;
  constexpr U kMantMask = (U(1) << P) - 1;
  using L = std::numeric_limits<T>;
  const T two_p = T(1) / L::epsilon();  // 2^52 or 2^23
  std::vector<T> v = {T(0), T(0.25), T(0.5), T(0.75), T(1), T(1.5), T(2.5), T(3.5), T(4.5),
                      std::nextafter(T(0.5), T(0)), std::nextafter(T(0.5), T(1)),
                      std::nextafter(T(1), T(0)), std::nextafter(two_p, T(0)), two_p - T(0.5),
                      two_p - T(1.5), two_p, two_p + T(1), two_p * 2, two_p * 2 + T(2),
                      L::denorm_min(), L::min(), L::max(), L::infinity(),
                      bitcast<T>(U(~U(0) >> 1)),                              // NaN, all payload
                      bitcast<T>(bitcast<U>(L::infinity()) | 1),               // signalling
                      bitcast<T>(bitcast<U>(L::infinity()) | Bits<T>::kQuiet),  // plain quiet NaN
                      bitcast<T>(bitcast<U>(L::infinity()) | 0x5A5)};           // signalling
  // For every exponent of the main range: fraction patterns that carry through the whole
  // mantissa, the half bit alone or with a low bit (halves and just above), the lowest bit.
  for (int k = 0; k < P; ++k) {
    const U base = kExpOne + (U(k) << P);
    const int fbits = P - k;  // fraction bits of this binade
    for (U m : {kMantMask, U(1), U(U(1) << (fbits - 1)), U((U(1) << (fbits - 1)) | 1),
                U((U(1) << (fbits - 1)) - 1), U(kMantMask & ~((U(1) << fbits) - 1)),
                U(kMantMask & ~((U(1) << fbits) - 1)) | U(U(1) << (fbits - 1))})
      v.push_back(bitcast<T>(U(base | (m & kMantMask))));
  }
  // Random patterns in every binade, denormals, infinities and NaNs included.
  std::mt19937_64 g(6);
  for (U E = 0; E <= (sizeof(T) == 8 ? 0x7FF : 0xFF); ++E)
    for (int r = 0; r < 24; ++r) v.push_back(bitcast<T>(U((E << P) | (U(g()) & kMantMask))));
  const std::size_t half = v.size();
  for (std::size_t i = 0; i < half; ++i) v.push_back(-v[i]);
  return v;
}

template <class T>
bool same_bits(T a, T b) {
  return bitcast<typename Bits<T>::U>(a) == bitcast<typename Bits<T>::U>(b);
}

template <class T>
std::string hex(T x) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%a (0x%llx)", double(x),
                (unsigned long long)bitcast<typename Bits<T>::U>(x));
  return buf;
}

// ---- the kernels and their C library peers --------------------------------------------------

template <class T>
using Kernel = void (*)(int, const T *, T *);

struct Member {
  const char *name;
  Kernel<double> dk;
  Kernel<float> sk;
  double (*dlib)(double);
  float (*slib)(float);
  bool follows_direction;  // NearbyInt and Rint
  Fn fixed;                // the model of the others
};

const Member kMembers[] = {
    {"Ceil", _vmkdCeil, _vmksCeil, ::ceil, ::ceilf, false, Fn::Ceil},
    {"Floor", _vmkdFloor, _vmksFloor, ::floor, ::floorf, false, Fn::Floor},
    {"Trunc", _vmkdTrunc, _vmksTrunc, ::trunc, ::truncf, false, Fn::Trunc},
    {"Round", _vmkdRound, _vmksRound, ::round, ::roundf, false, Fn::Round},
    {"NearbyInt", _vmkdNearbyInt, _vmksNearbyInt, ::nearbyint, ::nearbyintf, true, Fn::Rint0},
    {"Rint", _vmkdRint, _vmksRint, ::rint, ::rintf, true, Fn::Rint0},
};

struct Direction {
  int fe;
  Fn rint_model;
  const char *name;
};
const Direction kDirections[] = {{FE_TONEAREST, Fn::Rint0, "to nearest"},
                                 {FE_DOWNWARD, Fn::Rint1, "downward"},
                                 {FE_UPWARD, Fn::Rint2, "upward"},
                                 {FE_TOWARDZERO, Fn::Rint3, "toward zero"}};

class DirectionScope {
 public:
  explicit DirectionScope(int fe) : saved_(std::fegetround()) { std::fesetround(fe); }
  ~DirectionScope() { std::fesetround(saved_); }

 private:
  int saved_;
};

template <class T>
void check_member(const Member &m, const Direction &dir) {
  const std::vector<T> x = inputs<T>();
  const int n = int(x.size());
  std::vector<T> y(n + 1), y_pieces(n);
  const Fn fn = m.follows_direction ? dir.rint_model : m.fixed;
  auto kernel = [&](int len, const T *in, T *out) {
    if constexpr (sizeof(T) == 8) m.dk(len, in, out);
    else m.sk(len, in, out);
  };
  {
    const DirectionScope scope(dir.fe);
    // The whole array, offset by one element so that the stores are unaligned; then pieces of
    // 1 to 9 elements, so that every tail length meets every kind of input.
    kernel(n, x.data(), y.data() + 1);
    for (int i = 0, len = 1; i < n; i += len, len = len % 9 + 1)
      kernel(std::min(len, n - i), x.data() + i, y_pieces.data() + i);
    int shown = 0;
    for (int i = 0; i < n && shown < 8; ++i) {
      const T want = sizeof(T) == 8 ? T(model_d(fn, double(x[i]))) : T(model_s(fn, float(x[i])));
      const T lib = sizeof(T) == 8 ? T(m.dlib(double(x[i]))) : T(m.slib(float(x[i])));
      const T got = y[i + 1];
      const bool ok = same_bits(got, want) && same_bits(got, lib) && same_bits(y_pieces[i], want);
      if (!ok) ++shown;
      EXPECT_TRUE(ok) << m.name << (sizeof(T) == 8 ? " d" : " s") << " " << dir.name << " x "
                      << hex(x[i]) << " got " << hex(got) << " model " << hex(want) << " libc "
                      << hex(lib);
    }
  }
}

TEST(Rounding, EveryMemberMatchesItsModelAndTheCLibraryUnderEachDirection) {
  for (const Member &m : kMembers)
    for (const Direction &d : kDirections) {
      check_member<double>(m, d);
      check_member<float>(m, d);
    }
}

template <class T>
void check_modf(const Direction &dir, void (*k)(int, const T *, T *, T *), T (*lib)(T, T *)) {
  const std::vector<T> x = inputs<T>();
  const int n = int(x.size());
  std::vector<T> y(n), z(n);
  const DirectionScope scope(dir.fe);
  for (int i = 0, len = 1; i < n; i += len, len = len % 9 + 1)  // every tail length
    k(std::min(len, n - i), x.data() + i, y.data() + i, z.data() + i);
  int bad = 0;
  for (int i = 0; i < n && bad < 8; ++i) {
    T ip, fp, lip;
    model_modf(x[i], ip, fp);
    const T lfp = lib(x[i], &lip);
    // The C library returns a NaN input as it is; this kernel stores x + x, which quiets it.
    const bool lib_ok = std::isnan(x[i]) ? std::isnan(lip) && std::isnan(lfp)
                                         : same_bits(y[i], lip) && same_bits(z[i], lfp);
    const bool ok = same_bits(y[i], ip) && same_bits(z[i], fp) && lib_ok;
    bad += !ok;
    EXPECT_TRUE(ok) << "Modf " << dir.name << " x " << hex(x[i]) << " got " << hex(y[i]) << ", "
                    << hex(z[i]) << " model " << hex(ip) << ", " << hex(fp) << " libc "
                    << hex(lip) << ", " << hex(lfp);
  }
}

TEST(Rounding, ModfMatchesItsModelAndTheCLibraryUnderEachDirection) {
  for (const Direction &d : kDirections) {
    check_modf<double>(d, _vmkdModf, ::modf);
    check_modf<float>(d, _vmksModf, ::modff);
  }
}

// The prescribed edge cases, as literal answers.
TEST(Rounding, EdgeCases) {
  struct Case {
    void (*k)(int, const double *, double *);
    double x, want;
    int dir;
  };
  const Case cases[] = {
      {_vmkdCeil, -0.5, -0.0, FE_TONEAREST},
      {_vmkdCeil, 0.25, 1.0, FE_TONEAREST},
      {_vmkdCeil, -0.0, -0.0, FE_TONEAREST},
      {_vmkdFloor, -0.25, -1.0, FE_TONEAREST},
      {_vmkdFloor, 0.25, 0.0, FE_TONEAREST},
      {_vmkdRound, 2.5, 3.0, FE_TONEAREST},
      {_vmkdRound, -2.5, -3.0, FE_TONEAREST},
      {_vmkdRound, 0x1.fffffffffffffp-2, 0.0, FE_TONEAREST},
      {_vmkdRound, -0.5, -1.0, FE_TONEAREST},
      {_vmkdRint, 0.5, 0.0, FE_TONEAREST},
      {_vmkdRint, 1.5, 2.0, FE_TONEAREST},
      {_vmkdRint, 2.5, 2.0, FE_TONEAREST},
      {_vmkdRint, -0.5, -0.0, FE_TONEAREST},
      {_vmkdRint, 0.25, 1.0, FE_UPWARD},
      {_vmkdRint, -0.25, -1.0, FE_DOWNWARD},
      {_vmkdNearbyInt, -1.75, -1.0, FE_TOWARDZERO},
      {_vmkdCeil, 0x1.fffffffffffffp51, 0x1p52, FE_TONEAREST},   // carry into the exponent
      {_vmkdCeil, 0x1.00000fffffffep20, 0x1.00001p20, FE_TONEAREST},  // carry across the words
      {_vmkdFloor, -0x1.fffffffffffffp51, -0x1p52, FE_TONEAREST},
  };
  for (const Case &c : cases) {
    double y = 7;
    const DirectionScope scope(c.dir);
    c.k(1, &c.x, &y);
    EXPECT_TRUE(same_bits(y, c.want)) << hex(c.x) << " got " << hex(y) << " want " << hex(c.want);
  }
  const double snan = bitcast<double>(0x7FF0000000000123ull);
  double y = 0;
  _vmkdTrunc(1, &snan, &y);
  EXPECT_EQ(bitcast<uint64_t>(y), 0x7FF8000000000123ull);

  struct ModfCase {
    double x, ip, fp;
  };
  const double inf = std::numeric_limits<double>::infinity();
  for (const ModfCase &c : {ModfCase{-3.0, -3.0, -0.0}, ModfCase{inf, inf, 0.0},
                            ModfCase{0.75, 0.0, 0.75}, ModfCase{-inf, -inf, -0.0}}) {
    double ip = 7, fp = 7;
    _vmkdModf(1, &c.x, &ip, &fp);
    EXPECT_TRUE(same_bits(ip, c.ip) && same_bits(fp, c.fp)) << hex(c.x);
  }
}

// Flush-to-zero and denormals-are-zero in the caller's MXCSR change nothing (the work is on
// bits), the control state is left as it was, and no exception flag is raised but invalid,
// and that only for a signalling NaN (and inexact by the direction sums of NearbyInt, Rint).
TEST(Rounding, IgnoresFlushModesRaisesNothingAndLeavesControlAlone) {
  using K = void (*)(int, const double *, double *);
  const K kernels[] = {_vmkdCeil, _vmkdFloor, _vmkdTrunc, _vmkdRound, _vmkdNearbyInt, _vmkdRint};
  const Fn models[] = {Fn::Ceil, Fn::Floor, Fn::Trunc, Fn::Round, Fn::Rint0, Fn::Rint0};
  std::vector<double> x;
  for (double v : inputs<double>())
    if (!std::isnan(v)) x.push_back(v);
  x.push_back(bitcast<double>(0x7FF8000000000001ull));  // a quiet NaN raises nothing either
  std::vector<double> y(x.size());
  const unsigned saved = _mm_getcsr();
  for (unsigned flush : {0u, 0x8040u}) {
    for (int k = 0; k < 6; ++k) {
      const unsigned csr = (saved & ~0xE07Fu) | flush;
      _mm_setcsr(csr);
      kernels[k](int(x.size()), x.data(), y.data());
      const unsigned after = _mm_getcsr();
      _mm_setcsr(saved);
      // The direction sums of NearbyInt and Rint are inexact by design (flag 0x20).
      const unsigned allowed = k >= 4 ? 0x20u : 0u;
      EXPECT_EQ(after & ~allowed, csr) << "kernel " << k << " changed the control state or raised a flag";
      for (std::size_t i = 0; i < x.size(); ++i)
        if (!same_bits(y[i], model_d(models[k], x[i]))) {
          ADD_FAILURE() << "kernel " << k << " flush " << flush << " x " << hex(x[i]) << " got "
                        << hex(y[i]);
          break;
        }
    }
  }
  // A signalling NaN raises invalid (the multiplication by 1.0 that quiets it).
  const float snan = bitcast<float>(0x7F800001u);
  float out = 0;
  std::feclearexcept(FE_ALL_EXCEPT);
  _vmksCeil(1, &snan, &out);
  EXPECT_TRUE(std::fetestexcept(FE_INVALID));
  EXPECT_EQ(bitcast<uint32_t>(out), 0x7FC00001u);
  std::feclearexcept(FE_ALL_EXCEPT);
}

// Arrays that share storage run as a plain loop in order; y equal to a works in place.
TEST(Rounding, SharedStorageRunsInOrder) {
  std::vector<double> base;
  for (int i = 0; i < 41; ++i) base.push_back((i - 20) * 0.3 + 0.05 * (i % 3));
  for (int shift : {0, 1, -1, 3}) {
    std::vector<double> buf(base.size() + 8, 0.0), want;
    std::copy(base.begin(), base.end(), buf.begin() + 4);
    want = buf;
    const int n = int(base.size()) - 4;
    for (int i = 0; i < n; ++i) want[4 + shift + i] = model_d(Fn::Round, want[4 + i]);
    _vmkdRound(n, buf.data() + 4, buf.data() + 4 + shift);
    for (std::size_t i = 0; i < buf.size(); ++i)
      EXPECT_TRUE(same_bits(buf[i], want[i])) << "shift " << shift << " at " << i;
  }
  // Modf in place: y over a.
  std::vector<double> a = base, z(base.size());
  _vmkdModf(int(a.size()), a.data(), a.data(), z.data());
  for (std::size_t i = 0; i < a.size(); ++i) {
    double ip, fp;
    model_modf(base[i], ip, fp);
    EXPECT_TRUE(same_bits(a[i], ip) && same_bits(z[i], fp)) << i;
  }
}

TEST(Rounding, NearbyIntAndRintAreTwoKernels) {
  EXPECT_NE(reinterpret_cast<void *>(hpk_vmk_kernel_dNearbyInt_ttab[1]),
            reinterpret_cast<void *>(hpk_vmk_kernel_dRint_ttab[1]));
  EXPECT_NE(reinterpret_cast<void *>(hpk_vmk_kernel_sNearbyInt_ttab[1]),
            reinterpret_cast<void *>(hpk_vmk_kernel_sRint_ttab[1]));
  double x = 1.0, y = 0.0;
  _vmkdCeil(0, &x, &y);
  _vmkdModf(-3, &x, &y, &y);
  EXPECT_EQ(y, 0.0);  // counts of zero or less touch nothing
}

}  // namespace
