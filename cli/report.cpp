// `hpk report`: for every vector function in the oracle's list, the largest ulp error against
// MPFR over its sweep, and its throughput against the glibc (or plain C) loop on 1000 elements.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "oracle.hpp"

namespace {

using hpk::oracle::Case;

// Nanoseconds per element of `body` over arrays of n, best of several repetitions.
template <class F>
double ns_per_element(F body, int n) {
  double best = 1e30;
  for (int rep = 0; rep < 7; ++rep) {
    const auto t0 = std::chrono::steady_clock::now();
    const int iters = 2000;
    for (int k = 0; k < iters; ++k) body();
    const auto t1 = std::chrono::steady_clock::now();
    best = std::min(best, std::chrono::duration<double, std::nano>(t1 - t0).count() / (double(iters) * n));
  }
  return best;
}

template <class T>
void time_case(const Case &c, double &kernel_ns, double &peer_ns) {
  const int n = 1000;
  std::vector<T> x(n), y(n), out(n);
  for (int i = 0; i < n; ++i) {
    x[i] = T(c.time_lo + (c.time_hi - c.time_lo) * (i % 97) / 97.0);
    y[i] = T(0.25 + (i % 89) / 89.0);
  }
  volatile T sink = 0;
  if (c.arity == 1) {
    auto kern = reinterpret_cast<void (*)(int, const T *, T *)>(c.kernel);
    auto peer = reinterpret_cast<T (*)(T)>(c.peer);
    kernel_ns = ns_per_element([&] { kern(n, x.data(), out.data()); sink = out[7]; }, n);
    peer_ns = ns_per_element([&] { for (int i = 0; i < n; ++i) out[i] = peer(x[i]); sink = out[7]; }, n);
  } else {
    auto kern = reinterpret_cast<void (*)(int, const T *, const T *, T *)>(c.kernel);
    auto peer = reinterpret_cast<T (*)(T, T)>(c.peer);
    kernel_ns = ns_per_element([&] { kern(n, x.data(), y.data(), out.data()); sink = out[7]; }, n);
    peer_ns = ns_per_element([&] { for (int i = 0; i < n; ++i) out[i] = peer(x[i], y[i]); sink = out[7]; }, n);
  }
  (void)sink;
}

}  // namespace

int run_report(const char *write_dir, long samples) {
  std::string acc =
      "# Accuracy\n\nLargest error in ulps against MPFR (256 bits), per kernel, over random inputs\n"
      "uniform in bit pattern over each range of the sweep plus all special values (pairs of them\n"
      "for two-argument functions). Made by `build/cli/hpk report --write docs --samples " +
      std::to_string(samples) + "`.\n\n| function | samples | max ulp | bound | worst input |\n|---|---|---|---|---|\n";
  std::string perf =
      "# Performance\n\nNanoseconds per element on arrays of 1000, best of 7 runs of 2000 calls,\n"
      "kernel through its high accuracy stub against the plain loop over the glibc function\n"
      "(or the C operator), called once per element through a pointer as a loop over a libm\n"
      "function is; for the operators that overstates the gap, and the compiled loops are in the\n"
      "benchmark sections below. Made by `build/cli/hpk report --write docs`; the machine is the\n"
      "2-core development machine, so compare the ratios rather than the absolute figures.\n"
      "Google Benchmark figures with peers from SLEEF and libmvec are in the sections below,\n"
      "from `build/bench/hpk_bench`.\n\n"
      "| function | kernel ns/elem | peer | peer ns/elem | speed-up |\n|---|---|---|---|---|\n";
  std::printf("%-12s %10s %10s %6s   %-28s %10s %10s %8s\n", "function", "samples", "max ulp",
              "bound", "worst input", "ns/elem", "peer ns", "speedup");
  int failures = 0;
  for (const Case &c : hpk::oracle::cases()) {
    const hpk::oracle::Worst w = hpk::oracle::sweep(c, samples, 20261122);
    double kns = 0, pns = 0;
    if (c.type == 'd') time_case<double>(c, kns, pns);
    else time_case<float>(c, kns, pns);
    char worst[96];
    if (c.arity == 1) std::snprintf(worst, sizeof worst, "%a", w.x);
    else std::snprintf(worst, sizeof worst, "%a, %a", w.x, w.y);
    std::printf("%-12s %10ld %10.3f %6.1f   %-28s %10.3f %10.3f %8.2f\n", c.name.c_str(),
                w.samples, w.max_ulp, c.bound_ulp, worst, kns, pns, pns / kns);
    if (!(w.max_ulp <= c.bound_ulp)) ++failures;
    char line[256];
    std::snprintf(line, sizeof line, "| %s | %ld | %.3f | %.1f | %s |\n", c.name.c_str(), w.samples,
                  w.max_ulp, c.bound_ulp, worst);
    acc += line;
    std::snprintf(line, sizeof line, "| %s | %.3f | %s | %.3f | %.2f |\n", c.name.c_str(), kns,
                  c.peer_name.c_str(), pns, pns / kns);
    perf += line;
  }
  if (write_dir) {
    for (auto [file, text] : {std::pair{"accuracy.md", &acc}, std::pair{"performance.md", &perf}}) {
      const std::string path = std::string(write_dir) + "/" + file;
      // The report owns the head of each file; sections after a line "<!-- bench -->" are kept.
      std::string tail;
      if (FILE *in = std::fopen(path.c_str(), "r")) {
        std::string old;
        char buf[4096];
        size_t got;
        while ((got = std::fread(buf, 1, sizeof buf, in)) > 0) old.append(buf, got);
        std::fclose(in);
        const size_t at = old.find("<!-- bench -->");
        if (at != std::string::npos) tail = "\n" + old.substr(at);
      }
      if (FILE *out = std::fopen(path.c_str(), "w")) {
        std::fputs(text->c_str(), out);
        std::fputs(tail.c_str(), out);
        std::fclose(out);
      }
    }
  }
  if (failures) std::printf("%d function(s) above their bound\n", failures);
  return failures ? 1 : 0;
}
