#include "lib/tempfile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

using TempfileTest = LoggedTest;

TEST_F(TempfileTest, ExactlySixTrailingXsBecomeAFreshName) {
  // kept: what stands before the six replaced X's; null: refused. Templates
  // are cut to 127 characters first.
  const std::string a121(121, 'a'), fits = a121 + "XXXXXX", cut = "a" + fits;
  const char* const rows[][2] = {
      {"instXXXXXX", "inst"}, {"XXXXXXXXXXXX", "XXXXXX"},
      {nullptr, ""},          {fits.c_str(), a121.c_str()},
      {cut.c_str(), nullptr}, {"instXXXXX", nullptr},
      {"XXXXXXa", nullptr},   {"", nullptr},
  };
  for (const auto& [templ, kept] : rows) {
    char name[256] = "old";
    const std::string made = str(tempfile(name, sizeof name, dir_.root().c_str(), templ));
    const std::string head = dir_.root() + "/" + str(kept);
    if (kept == nullptr) {
      EXPECT_EQ(made + name, "") << templ;
      continue;
    }
    EXPECT_EQ(made, name);
    ASSERT_EQ(made.size(), head.size() + 6) << made;
    EXPECT_TRUE(made.starts_with(head) &&
                std::all_of(made.begin() + head.size(), made.end(), ::isalnum))
        << made;
    EXPECT_NE(access(name, F_OK), 0) << made;
    EXPECT_EQ(LogLines("Debug").back(), "Tempfile made[" + made + "]");
  }
  EXPECT_EQ(LogLines("Debug").size(), 4u);  // refusals log nothing
}

}  // namespace
}  // namespace inst
