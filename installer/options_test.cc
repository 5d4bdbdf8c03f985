#include "installer/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "installer/installer.h"

namespace inst {
namespace {

class OptionsTest : public testing::Test {
 protected:
  void TearDown() override {
    delete[] special_mode;
    special_mode = nullptr;
    automate = 0;
    check_only = 0;
    plan_only = 0;
  }
};

TEST_F(OptionsTest, OptionsTakeEffectInOrder) {
  process_args(nullptr, nullptr, 3);  // no command line: nothing changes
  EXPECT_EQ(special_mode, nullptr);
  char prog[] = "setup", special[] = "-special", one[] = "one", other[] = "-other", two[] = "two",
       autom[] = "-automate";
  char* argv[] = {prog, special, one, other, special, two, autom, nullptr};
  process_args(nullptr, argv, 7);
  EXPECT_STREQ(special_mode, "two");
  EXPECT_EQ(automate, 1);
}

// A run that changes nothing is told from the command line alone, before
// the log is opened; the word after -special is a tag, not an option.
TEST_F(OptionsTest, ChecksAndPlansChangeNothing) {
  static const struct {
    std::vector<std::string> words;
    bool read_only;
  } kCases[] = {
      {{"-check"}, true},
      {{"-automate", "-plan"}, true},
      {{"-special", "-check"}, false},
      {{"-special", "x", "-plan"}, true},
      {{"-debug", "-checks"}, false},
  };
  for (const auto& c : kCases) {
    std::vector<std::string> words = c.words;
    std::vector<char*> argv = {const_cast<char*>("setup")};
    for (std::string& word : words) argv.push_back(word.data());
    const int argc = static_cast<int>(argv.size());
    EXPECT_EQ(changes_nothing(argc, argv.data()), c.read_only) << words[0];
    process_args(nullptr, argv.data(), argc);
    EXPECT_EQ(check_only || plan_only, c.read_only) << words[0];
    TearDown();
  }
}

}  // namespace
}  // namespace inst
