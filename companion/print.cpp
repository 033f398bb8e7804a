// The print service and its message catalogue. Each message is one line; the catalogue fixes
// its format and the kinds of its arguments, and a call whose count disagrees prints nothing.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "hpk/serv.h"

namespace {

// Argument kinds, one letter per argument: 's' string, 'i' int, 'g' double.
struct Message {
  int id;
  const char *kinds;
  const char *format;
};

// 735-741: the heading of a vector math error report, one per status code.
// 742-753: the value lines that follow it, one per argument or result of the element.
constexpr Message kCatalogue[] = {
    {735, "si", "%.64s: argument %d is invalid on entry"},
    {736, "s", "%.64s: the arguments are inconsistent on entry"},
    {737, "s", "%.64s: argument outside the domain of the function (status 1)"},
    {738, "s", "%.64s: singularity, the function has a pole at the argument (status 2)"},
    {739, "s", "%.64s: the result overflows (status 3)"},
    {740, "s", "%.64s: the result underflows (status 4)"},
    {741, "s", "%.64s: unknown error status"},
    {742, "ig", "    element %d: argument %.17g"},
    {743, "ig", "    element %d: result %.17g"},
    {744, "ig", "    element %d: argument %.17g"},
    {745, "ig", "    element %d: first result %.17g"},
    {746, "ig", "    element %d: second result %.17g"},
    {747, "ig", "    element %d: first argument %.17g"},
    {748, "ig", "    element %d: second argument %.17g"},
    {749, "ig", "    element %d: result %.17g"},
    {750, "ig", "    element %d: first argument %.17g"},
    {751, "ig", "    element %d: second argument %.17g"},
    {752, "ig", "    element %d: first result %.17g"},
    {753, "ig", "    element %d: second result %.17g"},
};

const Message *find(int id) {
  for (const Message &m : kCatalogue)
    if (m.id == id) return &m;
  return nullptr;
}

}  // namespace

extern "C" int hpk_serv_hpk_print(int selector, int id, int count, ...) {
  if (selector != 1) return -1;
  const Message *m = find(id);
  if (!m || count != int(std::strlen(m->kinds))) return -1;
  // The line is formed first and written by one call, so lines of concurrent reports do not
  // interleave. Names are at most 64 characters, so 256 bytes always hold a line.
  char line[256];
  va_list ap;
  va_start(ap, count);
  int len = std::vsnprintf(line, sizeof line - 1, m->format, ap);
  va_end(ap);
  if (len < 0) return -1;
  if (len > int(sizeof line) - 2) len = int(sizeof line) - 2;
  line[len++] = '\n';
  line[len] = '\0';
  std::fputs(line, stderr);
  return len;
}
