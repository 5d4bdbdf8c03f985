#include "lib/tempfile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <string>
#include <vector>

#include "tests/scratch.h"

namespace inst {
namespace {

using TempfileTest = LoggedTest;

TEST_F(TempfileTest, GivesAFreshNameOrNone) {
  char name[256];
  ASSERT_EQ(tempfile(name, sizeof name, dir_.root().c_str(), "instXXXXXX"), name);
  const std::string tail = std::string(name).substr(dir_.root().size());
  EXPECT_TRUE(tail.starts_with("/inst") && tail.size() == 11 && !tail.ends_with("XXXXXX")) << name;
  for (char c : tail.substr(5)) EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(c))) << name;
  EXPECT_NE(access(name, F_OK), 0);
  EXPECT_EQ(LogLines("Debug"),
            std::vector<std::string>{"Tempfile made[" + std::string(name) + "]"});
  dir_.Write("taken", "");  // no X's to replace, and the name exists
  EXPECT_EQ(tempfile(name, sizeof name, dir_.root().c_str(), "taken"), nullptr);
  EXPECT_STREQ(name, "");
}

}  // namespace
}  // namespace inst
