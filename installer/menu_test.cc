#include "installer/menu.h"

#include <gtest/gtest.h>

namespace inst {
namespace {

// A store holding the built-in "action" setting, as the data file makes it.
class MenuTest : public testing::Test {
 protected:
  void SetUp() override {
    static const SettingList table[] = {{"action", "install", Ini_None},
                                        {"product", nullptr, Ini_Replace},
                                        {nullptr, nullptr, Ini_None}};
    ini_ = ini_init();
    ini_setup(ini_, table, nullptr, 1);
  }
  void TearDown() override { ini_free(&ini_); }
  Ini* ini_ = nullptr;
};

TEST_F(MenuTest, SuggestsUpgradeOnlyForTheExactWord) {
  EXPECT_EQ(suggested_action(ini_), 1);
  ASSERT_EQ(ini_add_name(ini_, "action", "upgrade"), 1);
  EXPECT_EQ(suggested_action(ini_), 2);
  ASSERT_EQ(ini_add_name(ini_, "action", "Upgrade"), 1);
  EXPECT_EQ(suggested_action(ini_), 1);
  EXPECT_EQ(suggested_action(nullptr), 1);
}

TEST_F(MenuTest, MenuNamesTheProduct) {
  testing::internal::CaptureStdout();
  print_menu(ini_);
  ASSERT_EQ(ini_add_name(ini_, "product", "Widget"), 1);
  print_menu(ini_);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "\n1. Install NONAME\n2. Upgrade NONAME\n3. Remove NONAME\n4. Exit\n"
            "\n1. Install Widget\n2. Upgrade Widget\n3. Remove Widget\n4. Exit\n");
}

}  // namespace
}  // namespace inst
