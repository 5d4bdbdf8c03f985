#include "lib/tempfile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <string>

#include "tests/scratch.h"

namespace inst {
namespace {

using TempfileTest = LoggedTest;

TEST_F(TempfileTest, ExactlySixTrailingXsBecomeAFreshName) {
  // kept: what stands before the six replaced X's; null when the template is
  // refused. Templates are cut to 127 characters first.
  const std::string a121(121, 'a'), a122(122, 'a');
  static const struct {
    const char* templ;
    const char* kept;
  } rows[] = {
      {"instXXXXXX", "inst"}, {"XXXXXXXXXXXX", "XXXXXX"}, {nullptr, ""},
      {"instXXXXX", nullptr}, {"XXXXXXa", nullptr},       {"", nullptr},
  };
  for (const auto& row : rows) {
    const std::string label = row.templ ? row.templ : "(null)";
    char name[256] = "old";
    const size_t debug_lines = LogLines("Debug").size();
    char* r = tempfile(name, sizeof name, dir_.root().c_str(), row.templ);
    if (row.kept == nullptr) {
      EXPECT_EQ(r, nullptr) << label;
      EXPECT_STREQ(name, "") << label;
      EXPECT_EQ(LogLines("Debug").size(), debug_lines) << label;
      continue;
    }
    ASSERT_EQ(r, name) << label;
    const std::string head = dir_.root() + "/" + row.kept;
    const std::string made = name;
    ASSERT_EQ(made.size(), head.size() + 6) << made;
    EXPECT_EQ(made.substr(0, head.size()), head);
    for (char c : made.substr(head.size()))
      EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(c))) << made;
    EXPECT_NE(access(name, F_OK), 0) << made;
    EXPECT_EQ(LogLines("Debug").back(), "Tempfile made[" + made + "]");
  }
  char name[256];
  EXPECT_NE(tempfile(name, sizeof name, nullptr, (a121 + "XXXXXX").c_str()), nullptr);
  EXPECT_EQ(tempfile(name, sizeof name, nullptr, (a122 + "XXXXXX").c_str()), nullptr);
}

}  // namespace
}  // namespace inst
