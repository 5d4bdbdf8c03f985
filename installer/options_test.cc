#include "installer/options.h"

#include <gtest/gtest.h>

#include "installer/installer.h"

namespace inst {
namespace {

class OptionsTest : public testing::Test {
 protected:
  void TearDown() override {
    delete[] special_mode;
    special_mode = nullptr;
    automate = 0;
  }
};

TEST_F(OptionsTest, OptionsTakeEffectInOrder) {
  char prog[] = "setup", special[] = "-special", one[] = "one", other[] = "-other", two[] = "two",
       autom[] = "-automate";
  char* argv[] = {prog, special, one, other, special, two, autom, nullptr};
  process_args(nullptr, argv, 7);
  EXPECT_STREQ(special_mode, "two");
  EXPECT_EQ(automate, 1);
}

TEST_F(OptionsTest, AbsentCommandLineChangesNothing) {
  process_args(nullptr, nullptr, 3);
  EXPECT_EQ(special_mode, nullptr);
  EXPECT_EQ(automate, 0);
}

}  // namespace
}  // namespace inst
