// hpk: shows what the library does (`hpk demo`) and measures it (`hpk report`).
#include <cstdio>
#include <cstring>
#include <string>

int run_demo();
int run_report(const char *write_dir, long samples);

namespace {

int usage() {
  std::fprintf(stderr,
               "usage: hpk demo\n"
               "       hpk report [--write DIR] [--samples N]\n"
               "  demo    a short tour of the library\n"
               "  report  largest ulp error against MPFR and throughput against the glibc loop\n"
               "          for every vector function; --write DIR also writes DIR/accuracy.md and\n"
               "          DIR/performance.md\n");
  return 2;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) return usage();
  const std::string cmd = argv[1];
  if (cmd == "demo") return run_demo();
  if (cmd == "report") {
    const char *dir = nullptr;
    long samples = 200000;
    for (int i = 2; i < argc; ++i) {
      if (!std::strcmp(argv[i], "--write") && i + 1 < argc) dir = argv[++i];
      else if (!std::strcmp(argv[i], "--samples") && i + 1 < argc) samples = std::atol(argv[++i]);
      else return usage();
    }
    return run_report(dir, samples);
  }
  return usage();
}
