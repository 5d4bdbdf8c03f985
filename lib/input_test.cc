#include "lib/input.h"

#include <gtest/gtest.h>

#include <string>

namespace inst {
namespace {

TEST(InputTest, EachLineIsOneAnswerCutToTheBuffer) {
  std::string text = "1\n\n  two words \n" + std::string(20, 'x') + "\nlast";
  FILE* in = fmemopen(text.data(), text.size(), "r");
  ASSERT_NE(in, nullptr);
  char reply[8] = "zz";
  EXPECT_EQ(read_reply(nullptr, 4, in) + read_reply(reply, 0, in) + read_reply(reply, 4, nullptr),
            0);
  EXPECT_STREQ(reply, "zz");
  ASSERT_EQ(read_reply(reply, 1, in), 1);  // the line "1", with room for none of it
  EXPECT_STREQ(reply, "");
  // The rest of a long line is dropped, so the next read is the next line.
  for (const char* want : {"", "  two w", "xxxxxxx", "last"}) {
    ASSERT_EQ(read_reply(reply, sizeof reply, in), 1) << want;
    EXPECT_STREQ(reply, want);
  }
  EXPECT_EQ(read_reply(reply, sizeof reply, in), 0);
  EXPECT_STREQ(reply, "");
  std::fclose(in);
}

}  // namespace
}  // namespace inst
