// Small helpers shared by the vector math tests: bit views of values, and a call-back that
// records what the dispatcher offers it.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "hpk/vmk.h"

namespace hpk::test {

inline uint64_t bits(double x) {
  uint64_t u;
  std::memcpy(&u, &x, 8);
  return u;
}
inline uint32_t bits(float x) {
  uint32_t u;
  std::memcpy(&u, &x, 4);
  return u;
}
inline double d_of(uint64_t u) {
  double x;
  std::memcpy(&x, &u, 8);
  return x;
}
inline float f_of(uint32_t u) {
  float x;
  std::memcpy(&x, &u, 4);
  return x;
}

// What a recording call-back saw, per thread; `record` lets dispatch go on (returns 0).
struct Report {
  int code, index;
  std::string name;
};
inline thread_local std::vector<Report> t_reports;
inline int record(HpkVmkErrorContext *c) {
  t_reports.push_back({c->code, c->index, std::string(c->funcName, c->funcNameLen)});
  return 0;
}

}  // namespace hpk::test
