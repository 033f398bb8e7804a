// Erfc, d and s (the single kernel widens its lanes to double and rounds once). Status 4 where
// the result underflows.
//
//   x < 0.5:        erfc x = 1 - erf x, with erf x = sign (hi + lo) from Erf's interval route
//                   unrounded: (h, l) = TwoSum(1, -sign hi), result h + (l - sign lo). The
//                   result is at least 0.479, so erf's absolute error (below 2^-54 of 0.52)
//                   stays below a quarter ulp of it.
//   0.5 <= x < 32:  erfc x = e^(-x^2) R(x), R = erfc e^(x^2) from 48 interval rows by eighths of
//                   a binade (fit below 2^-57.8 relative, see the generator).
//                   x^2 = qh + ql exactly; e^-qh by the exponential's reduction and table:
//                   k = round(-qh 64/ln 2) = 64 m + j, r = ((-qh - k Ln2Hi) - k Ln2Lo) - ql,
//                   e^(-x^2) = 2^m (T + E), E = Tl + T (e^r - 1) (below 2^-60 relative).
//                   With R = Rh + P (P = Rl + r (b1 + ...)), (ph, pl) = TwoProd(T, Rh):
//                   y = 2^m (ph + ((pl + T P) + E R)), one rounding of the sum, so about 0.55 ulp.
// Main route: -6 < x < 26.5, where 2^m and the result stay normal and the scaling is exact.
// The scalar routine takes the rest: NaN -> quieted; x <= -6 -> 2 (erfc(-6) rounds to 2);
// 26.5 <= x < 27.3 -> the same formula scaled in two steps, one rounding into the denormals, and
// status 4 where the result is below the least normal (double: x > 26.5433; single: x > 9.1945);
// x >= 27.3 -> +0 with status 4; +infinity -> +0 without status.
#include <cstdint>

#include "vmk/core/erf/erf_core.hpp"
#include "vmk/core/erfc/erfc_tables.hpp"
#include "vmk/core/exp/exp_core.hpp"
#include "vmk/core/exp/exp_tables.hpp"
#include "vmk/frame/control.hpp"
#include "vmk/service/error.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace hpk::vmk::erfc {
namespace {

using simd::vd;
using simd::vdd;

inline vd c2(double v) { return simd::splat(v); }

// 1 - erf x for both lanes, x < 0.5 finite.
[[gnu::always_inline]] inline vd near_route(vd x) {
  const vd sign = simd::splat(-0.0);
  const vd xs = simd::and_bits(sign, x);
  const erf::Parts p = erf::parts(simd::andnot_bits(sign, x));
  const vd hi = simd::xor_bits(p.hi, xs), lo = simd::xor_bits(p.lo, xs);  // signed erf parts
  const vdd s = simd::two_sum(c2(1.0), -hi);
  return s.hi + (s.lo - lo);
}

inline int row_of(double x) {
  const uint32_t t = uint32_t(simd::bits(x) >> 32) & 0x7FFE0000;
  const int k = int((t - 0x3FE00000) >> 17);
  return k > 47 ? 47 : k;
}

// e^(-x^2) R(x) for both lanes (0.5 <= x < 32) as the unscaled sum and the exponent m.
struct Unscaled {
  vd y;
  int64_t m0, m1;
};
[[gnu::always_inline]] inline Unscaled far_route(vd x) {
  using namespace exp_core;
  const vdd q = simd::two_sqr(x);
  const vd nq = -q.hi;
  const vd t = nq * c2(s_dwInvLn) + c2(s_dwRS);
  const vd kd = t - c2(s_dwRS);
  const vd r = ((nq - kd * c2(simd::from_bits(s_dwLnHi))) - kd * c2(simd::from_bits(s_dwLnLo))) -
               q.lo;
  const vd r2 = r * r;
  const vd em1 = r + r2 * ((c2(A2) + r * c2(A3)) + r2 * (c2(A4) + r * c2(A5)));
  const int64_t k0 = int64_t(kd[0]), k1 = int64_t(kd[1]);
  const double *E0 = exp_tables::s_dwExp2 + 2 * (k0 & 63);
  const double *E1 = exp_tables::s_dwExp2 + 2 * (k1 & 63);
  const vd T{E0[0], E1[0]}, Tl{E0[1], E1[1]};
  const vd E = Tl + T * em1;
  const double *P0 = erfc_tables::kRows[row_of(x[0])];
  const double *P1 = erfc_tables::kRows[row_of(x[1])];
  auto entry = [&](int j) { return vd{P0[j], P1[j]}; };
  const vd rr = x + entry(13);
  vd p = entry(12);
#pragma GCC unroll 12
  for (int j = 11; j >= 2; --j) p = p * rr + entry(j);
  const vd P = entry(0) + p * rr;
  const vd Rh = entry(1);
  const vdd Ts = simd::split(T), Rs = simd::split(Rh);  // TwoProd(T, Rh), Dekker
  const vd phh = T * Rh;
  const vd phl = ((Ts.hi * Rs.hi - phh) + Ts.hi * Rs.lo + Ts.lo * Rs.hi) + Ts.lo * Rs.lo;
  const vdd ph{phh, phl};
  return {ph.hi + ((ph.lo + T * P) + E * (Rh + P)), k0 >> 6, k1 >> 6};
}

inline double pow2(int64_t m) { return simd::from_bits(uint64_t(m + 1023) << 52); }

[[gnu::always_inline]] inline vd main_pair(vd x) {
  const int near = simd::movemask((vd)(x < c2(0.5)));
  if (near == 3) return near_route(x);
  const Unscaled u = far_route(simd::vmax(x, c2(0.5)));
  const vd far = u.y * vd{pow2(u.m0), pow2(u.m1)};
  if (near == 0) return far;
  const vd m = (vd)(x < c2(0.5));
  return simd::select(m, near_route(simd::select(m, x, c2(0.25))), far);
}


// Correct for every input; status 4 where the result is below `least` (the type's least
// normal) for a finite x.
[[gnu::cold]] double scalar(double x, double least, int &status) {
  status = 0;
  if (x != x) return x + x;
  if (x <= -6.0) return 2.0;
  if (x == __builtin_inf()) return 0.0;
  double y;
  if (x < 26.5) {
    y = main_pair(simd::splat(x))[0];
  } else if (x >= 27.3) {  // erfc(27.3) < 2^-1080: below half the least denormal
    y = 0.0;
  } else {
    const Unscaled u = far_route(simd::splat(x));
    y = (u.y[0] * pow2(u.m0 + 100)) * 0x1p-100;  // the first product exact, one rounding
  }
  if (y < least) status = kStatusUnderflow;
  return y;
}

inline vd far_scaled(vd x) {
  const Unscaled u = far_route(x);
  return u.y * vd{pow2(u.m0), pow2(u.m1)};
}

// Arrays whose elements straddle 0.5 would pay for both routes in a mixed pair. So each block
// of up to 64 elements is sorted first, without branches, into index lists by route: near
// (-6 < x < 0.5), far (0.5 <= x < hi) and the rest (the scalar routine); then each list runs
// in pairs (an odd list repeats its last element). The rest goes last, in index order, so the
// dispatcher still sees statuses in rising index order. In place is safe: every element is
// read before its own result is written, and by no other element.
template <class T, class Rare>
inline void sorted_pass(int n, const T *a, T *y, double hi, Rare rare) {
  constexpr int B = 64;
  for (int s = 0; s < n; s += B) {
    const int m = n - s < B ? n - s : B;
    const T *as = a + s;
    T *ys = y + s;
    uint8_t near[B + 1], far[B + 1], rest[B];
    int nn = 0, nf = 0, nr = 0;
    for (int j = 0; j < m; ++j) {
      const double x = as[j];
      const int is_near = (x > -6.0) & (x < 0.5);
      const int is_far = (x >= 0.5) & (x < hi);
      near[nn] = uint8_t(j);
      nn += is_near;
      far[nf] = uint8_t(j);
      nf += is_far;
      rest[nr] = uint8_t(j);
      nr += 1 - is_near - is_far;
    }
    if (nn & 1) near[nn] = near[nn - 1];
    for (int k = 0; k < nn; k += 2) {
      const vd r = near_route(vd{double(as[near[k]]), double(as[near[k + 1]])});
      ys[near[k + 1]] = T(r[1]);
      ys[near[k]] = T(r[0]);
    }
    if (nf & 1) far[nf] = far[nf - 1];
    for (int k = 0; k < nf; k += 2) {
      const vd r = far_scaled(vd{double(as[far[k]]), double(as[far[k + 1]])});
      ys[far[k + 1]] = T(r[1]);
      ys[far[k]] = T(r[0]);
    }
    for (int k = 0; k < nr; ++k) rare(s + rest[k]);
  }
}

void run_d(int n, const double *a, double *y) {
  if (n <= 0) return;
  SseControlScope scope(current_mode());
  sorted_pass(n, a, y, 26.5, [&](int i) {
    int status;
    y[i] = scalar(a[i], 0x1p-1022, status);
    if (status) report_error<double>(status, i, a, a, y, y, "vdErfc");
  });
}

// Single: the double route, rounded once; from 9.1 up the scalar routine decides underflow
// against the single least normal.
void run_s(int n, const float *a, float *y) {
  if (n <= 0) return;
  SseControlScope scope(current_mode());
  sorted_pass(n, a, y, 9.1, [&](int i) {
    int status;
    y[i] = float(scalar(a[i], 0x1p-126, status));
    if (status) report_error<float>(status, i, a, a, y, y, "vsErfc");
  });
}

}  // namespace
}  // namespace hpk::vmk::erfc

extern "C" {
void hpk_vmk_kernel_dErfc_EXHAynn(int n, const double *a, double *y) {
  hpk::vmk::erfc::run_d(n, a, y);
}
void hpk_vmk_kernel_sErfc_EXHAynn(int n, const float *a, float *y) {
  hpk::vmk::erfc::run_s(n, a, y);
}
}
