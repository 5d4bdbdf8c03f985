#include "installer/runs.h"

#include <gtest/gtest.h>

#include "installer/installer.h"
#include "installer/menu.h"

namespace inst {
namespace {

TEST(RunsTest, WithoutAStoreRunsFailAndInstallIsSuggested) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(install_product(nullptr), FAILED);
  EXPECT_EQ(upgrade_product(nullptr), FAILED);
  EXPECT_EQ(remove_product(nullptr), FAILED);
  EXPECT_EQ(do_special(nullptr), FAILED);
  EXPECT_EQ(suggested_action(nullptr), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

}  // namespace
}  // namespace inst
