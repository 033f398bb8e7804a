// The loop constants of the power kernels, and their scalar routes (pow_scalar.hpp).
#include "vmk/core/pow/pow_scalar.hpp"

#include "vmk/core/pow/pow_core.hpp"

namespace hpk::vmk::pow_core {

namespace {
constexpr vd c2(double c) { return vd{c, c}; }
constexpr vul u2(uint64_t u) { return vul{u, u}; }
constexpr simd::vi i4(uint32_t u) { return simd::vi{int(u), int(u), int(u), int(u)}; }
}  // namespace

const PowConstants kPowConstants = {
    u2(kFraction),          u2(kOneExp),           u2(iHighMask),         u2(0x7FFFFFFFFFFFFFFFull),
    i4(kNBreakTop),         i4(0xFFFFF),           i4(0x200),             i4(0x1FFC00),
    c2(1.0),                c2(pow_tables::LHN),   c2(pow_tables::clv1),  c2(pow_tables::clv2),
    c2(pow_tables::clv3),   c2(pow_tables::clv4),  c2(pow_tables::clv5),  c2(pow_tables::clv6),
    c2(pow_tables::clv7),   c2(db2p45_2p44),       c2(pow_tables::cev1),  c2(pow_tables::cev2),
    c2(pow_tables::cev3),   c2(pow_tables::cev4),  c2(pow_tables::cev5),  c2(kZBoundD),
    c2(kZBoundS),           c2(-0x1.71547652b82fep+0), c2(-0x1.71547652b82fep-1),
    c2(-0x1.ec709dc3a03fdp-2), c2(-0x1.71547652b82fep-2)};

namespace {

constexpr uint64_t kQNaN = 0xFFF8000000000000ull;

double pow2i(int64_t m) { return simd::from_bits(uint64_t(m + 1023) << 52); }

// Results beyond the range, with the flags of the operation that makes them.
double overflow() {
  volatile double huge = 0x1p1000;
  return huge * huge;
}
double underflow() {
  volatile double tiny = 0x1p-1000;
  return tiny * tiny;
}

}  // namespace

int classify_y(double y) {
  const double ay = __builtin_fabs(y);
  if (!(ay < 0x1p53)) return y != y ? 0 : 2;  // NaN, huge values and infinities
  const double t = (ay + 0x1p52) - 0x1p52;    // |y| rounded to an integer (|y| < 2^52 here)
  if (ay >= 0x1p52) return (simd::bits(ay) & 1) ? 1 : 2;
  if (t != ay) return 0;
  return (simd::bits(t + 0x1p52) & 1) ? 1 : 2;
}

double positive_pow(double x, double y) {
  const double ay = __builtin_fabs(y);
  vd x_v = simd::splat(x), extra{};
  if (x < 0x1p-1022) {
    x_v = simd::splat(x * 0x1p54);
    extra = simd::splat(-54.0);
  }
  const simd::vdd L = log2_dd<true>(x_v, extra);
  const double l = L.hi[0] + L.lo[0];
  if (ay < 0x1p-511) return 1.0 + y * l;  // |z| < 2^-500: 1, inexact
  if (ay >= 0x1p1000) return (l > 0) == (y > 0) ? overflow() : underflow();
  vd yh, yl;
  split_y(simd::splat(y), yh, yl);
  const simd::vdd z = mul_dd(yh, yl, L);
  const double zh = z.hi[0];
  if (zh >= 1100.0) return overflow();
  if (zh <= -1100.0) return underflow();
  const Exp2Parts e = exp2_parts(z.hi, z.lo);
  const int64_t k = int64_t(e.t_bits[0] - simd::bits(db2p45_2p44));
  const int64_t m = k >> 7;  // floor division
  // Two exact-or-final scalings: each factor is normal, the first product is normal, so the
  // only rounding is the last one (to a denormal or to infinity).
  const int64_t m1 = m >> 1;
  const double r = (e.v()[0] * pow2i(m1)) * pow2i(m - m1);
  if (!(r < 0x1p-1022)) return r;
  // A denormal result: rounding v first and then at 2^-1074 would cost up to a quarter ulp more,
  // so T + rest is rounded once, in units of 2^-1074 (w = v 2^(m + 1074) < 2^52, scaled exactly).
  const int64_t s = m + 1074;
  if (s < -60) return underflow();
  const double wh = e.T[0] * pow2i(s), wl = e.rest[0] * pow2i(s);
  const double n0 = (wh + 0x1.8p52) - 0x1.8p52;
  const double f = (wh - n0) + wl;
  const double n = n0 + ((f + 0x1.8p52) - 0x1.8p52);
  (void)underflow();  // the flags of a tiny inexact result
  return n * 0x1p-1074;
}

double powc_scalar(double x, double y, int y_class, int &status) {
  status = 0;
  if (y == 0) return 1.0;
  if (x == 1.0) return 1.0;
  if (x != x || y != y) return x + y;
  const bool odd = y_class == 1;
  if (x == 0) {
    if (y < 0) {
      status = 1;
      return odd ? 1.0 / x : __builtin_inf();
    }
    return odd ? x : 0.0;
  }
  const double ax = __builtin_fabs(x);
  if (__builtin_isinf(y)) {
    if (ax == 1.0) return 1.0;
    return (ax > 1.0) == (y > 0) ? __builtin_inf() : 0.0;
  }
  if (__builtin_isinf(x)) {
    const double r = y > 0 ? __builtin_inf() : 0.0;
    return x < 0 && odd ? -r : r;
  }
  if (x < 0) {
    if (y_class == 0) {
      status = 1;
      return simd::from_bits(kQNaN);
    }
    const double r = ax == 1.0 ? 1.0 : positive_pow(ax, y);
    return odd ? -r : r;
  }
  return positive_pow(x, y);
}

double pow_scalar(double x, double y, int &status) {
  return powc_scalar(x, y, classify_y(y), status);
}

float spow_scalar(float x, float y, int y_class, int &status) {
  return float(powc_scalar(double(x), double(y), y_class, status));
}

}  // namespace hpk::vmk::pow_core
