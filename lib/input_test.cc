#include "lib/input.h"

#include <gtest/gtest.h>

#include <string>

namespace inst {
namespace {

// Feeds `text` through a memory stream.
class InputTest : public testing::Test {
 protected:
  void Feed(const std::string& text) {
    text_ = text;
    stream_ = fmemopen(text_.data(), text_.size(), "r");
    ASSERT_NE(stream_, nullptr);
  }
  void TearDown() override {
    if (stream_ != nullptr) std::fclose(stream_);
  }
  std::string text_;
  FILE* stream_ = nullptr;
};

TEST_F(InputTest, ReadsOneAnswerPerLine) {
  Feed("1\n\n  two words \nlast");
  char reply[16];
  const char* expected[] = {"1", "", "  two words ", "last"};
  for (const char* want : expected) {
    ASSERT_EQ(read_reply(reply, sizeof reply, stream_), 1) << want;
    EXPECT_STREQ(reply, want);
  }
  EXPECT_EQ(read_reply(reply, sizeof reply, stream_), 0);
  EXPECT_STREQ(reply, "");
}

TEST_F(InputTest, LongLineIsCutAndItsRestDropped) {
  Feed(std::string(20, 'x') + "\nnext\n");
  char reply[8];
  ASSERT_EQ(read_reply(reply, sizeof reply, stream_), 1);
  EXPECT_STREQ(reply, "xxxxxxx");
  ASSERT_EQ(read_reply(reply, sizeof reply, stream_), 1);
  EXPECT_STREQ(reply, "next");
}

TEST_F(InputTest, RefusesUnusableArguments) {
  Feed("a\n");
  char reply[4] = "zz";
  EXPECT_EQ(read_reply(nullptr, 4, stream_), 0);
  EXPECT_EQ(read_reply(reply, 0, stream_), 0);
  EXPECT_EQ(read_reply(reply, 4, nullptr), 0);
  EXPECT_STREQ(reply, "zz");
  ASSERT_EQ(read_reply(reply, 1, stream_), 1);
  EXPECT_STREQ(reply, "");
}

}  // namespace
}  // namespace inst
