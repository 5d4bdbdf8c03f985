#include "lib/host.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/scratch.h"

namespace inst {
namespace {

using HostTest = LoggedTest;

TEST_F(HostTest, NameFallsBackWhenItDoesNotFit) {
  char full[256] = {};
  ASSERT_EQ(gethostname(full, sizeof full - 1), 0);
  char name[256];
  EXPECT_STREQ(tcp_hostname(name, sizeof name), full);
  ASSERT_GT(std::string(full).size(), 1u);
  char small[2];
  EXPECT_STREQ(tcp_hostname(small, sizeof small), "1");
  const std::vector<std::string> errors = LogLines("Error");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].rfind("Gethostname failed, ", 0), 0u);
}

}  // namespace
}  // namespace inst
