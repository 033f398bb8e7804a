// The print service: one line per call from the catalogue, nothing on a call that does not fit
// its message.
#include <gtest/gtest.h>

#include <string>

#include "hpk/serv.h"

namespace {

struct PrintCase {
  const char *what;
  int selector, id, count;
  int result;  // -1, or 1 for "the length of the text"
  const char *text;
};

TEST(Print, WritesOneCatalogueLineOrNothing) {
  const PrintCase cases[] = {
      {"heading with name", 1, 739, 1, 1, "vdExp: the result overflows (status 3)\n"},
      {"heading with name and index", 1, 735, 2, 1, "vdExp: argument 7 is invalid on entry\n"},
      {"value line", 1, 752, 2, 1, "    element 7: first result 0.10000000000000001\n"},
      {"unknown selector", 2, 739, 1, -1, ""},
      {"unknown message", 1, 734, 1, -1, ""},
      {"unknown message above the range", 1, 754, 2, -1, ""},
      {"count that does not fit the message", 1, 739, 2, -1, ""},
  };
  for (const PrintCase &c : cases) {
    SCOPED_TRACE(c.what);
    testing::internal::CaptureStderr();
    int r;
    if (c.id == 735) r = hpk_serv_hpk_print(c.selector, c.id, c.count, "vdExp", 7);
    else if (c.id >= 742) r = hpk_serv_hpk_print(c.selector, c.id, c.count, 7, 0.1);
    else r = hpk_serv_hpk_print(c.selector, c.id, c.count, "vdExp");
    const std::string text = testing::internal::GetCapturedStderr();
    EXPECT_EQ(text, c.text);
    EXPECT_EQ(r, c.result == -1 ? -1 : int(text.size()));
  }
}

TEST(Print, NamesArePrintedToAtMost64Characters) {
  const std::string name(80, 'q');
  testing::internal::CaptureStderr();
  hpk_serv_hpk_print(1, 741, 1, name.c_str());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            std::string(64, 'q') + ": unknown error status\n");
}

}  // namespace
