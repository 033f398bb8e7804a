#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "oracle.hpp"

namespace hpk::oracle {

namespace {

// A random value whose magnitude is uniform in bit pattern between |lo| and |hi| (both of the
// same sign or zero), so each binade of the range is sampled alike.
template <class T, class U>
T random_in(const Range &r, std::mt19937_64 &g) {
  const T lo = T(std::fabs(r.lo)), hi = T(std::fabs(r.hi));
  U blo, bhi;
  std::memcpy(&blo, &lo, sizeof lo);
  std::memcpy(&bhi, &hi, sizeof hi);
  if (blo > bhi) std::swap(blo, bhi);
  U u = U(blo + g() % (uint64_t(bhi - blo) + 1));
  T x;
  std::memcpy(&x, &u, sizeof x);
  const bool negative = r.signed_inputs ? (g() & 1) : (r.lo < 0 && r.hi <= 0);
  return negative ? -x : x;
}

// |computed - exact| in ulps of `floor` in the format of T (a finite computed value).
template <class T>
double floor_error(T computed, const mpfr_t exact, double floor) {
  if (!std::isfinite(computed)) return HUGE_VAL;
  mpfr_t diff;
  mpfr_init2(diff, 320);
  mpfr_set_d(diff, double(computed), MPFR_RNDN);
  mpfr_sub(diff, diff, exact, MPFR_RNDN);
  int e;
  std::frexp(floor, &e);
  const double unit = std::ldexp(1.0, e - std::numeric_limits<T>::digits);
  const double r = std::fabs(mpfr_get_d(diff, MPFR_RNDN)) / unit;
  mpfr_clear(diff);
  return r;
}

template <class T>
struct Runner {
  const Case &c;
  Worst worst;
  mpfr_t mx, my, exact;

  explicit Runner(const Case &cs) : c(cs) { mpfr_inits2(256, mx, my, exact, (mpfr_ptr)0); }
  ~Runner() { mpfr_clears(mx, my, exact, (mpfr_ptr)0); }

  void run(const std::vector<T> &x, const std::vector<T> &y) {
    std::vector<T> out(x.size());
    const int n = int(x.size());
    if (c.arity == 1)
      reinterpret_cast<void (*)(int, const T *, T *)>(c.kernel)(n, x.data(), out.data());
    else
      reinterpret_cast<void (*)(int, const T *, const T *, T *)>(c.kernel)(n, x.data(), y.data(),
                                                                          out.data());
    for (int i = 0; i < n; ++i) {
      mpfr_set_d(mx, double(x[i]), MPFR_RNDN);
      if (c.arity == 1) {
        c.ref1(exact, mx, MPFR_RNDN);
      } else {
        mpfr_set_d(my, double(y[i]), MPFR_RNDN);
        c.ref2(exact, mx, my, MPFR_RNDN);
      }
      double e = ulp_error(out[i], exact);
      if (c.abs_floor > 0 && mpfr_number_p(exact) &&
          std::fabs(mpfr_get_d(exact, MPFR_RNDN)) < c.abs_floor)
        e = floor_error(out[i], exact, c.abs_floor);
      ++worst.samples;
      if (e > worst.max_ulp || std::isnan(e)) {
        worst.max_ulp = e;
        worst.x = double(x[i]);
        worst.y = c.arity == 2 ? double(y[i]) : 0.0;
      }
    }
  }
};

template <class T, class U>
Worst sweep_t(const Case &c, long samples, uint64_t seed) {
  Runner<T> runner(c);
  std::mt19937_64 g(seed);
  constexpr std::size_t kBlock = 1024;
  std::vector<T> x, y;
  auto flush = [&] {
    if (!x.empty()) runner.run(x, y);
    x.clear();
    y.clear();
  };
  for (const Range &r : c.ranges) {
    for (long k = 0; k < samples; ++k) {
      x.push_back(random_in<T, U>(r, g));
      y.push_back(c.arity == 2 ? random_in<T, U>(r, g) : T(0));
      if (x.size() == kBlock) flush();
    }
  }
  for (double s : c.specials) {
    if (c.arity == 1) {
      x.push_back(T(s));
      y.push_back(T(0));
    } else {
      for (double t : c.specials) {
        x.push_back(T(s));
        y.push_back(T(t));
      }
    }
  }
  flush();
  return runner.worst;
}

}  // namespace

Worst sweep(const Case &c, long samples, uint64_t seed) {
  return c.type == 'd' ? sweep_t<double, uint64_t>(c, samples, seed)
                       : sweep_t<float, uint32_t>(c, samples, seed);
}

}  // namespace hpk::oracle
