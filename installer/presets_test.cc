#include "installer/presets.h"

#include <gtest/gtest.h>

#include "ini/shared.h"
#include "installer/options.h"
#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

// A store loaded from a data file in the scratch directory, and the
// presets read from a command line.
class PresetsTest : public InScratchTest {
 protected:
  void SetUp() override {
    InScratchTest::SetUp();
    if (HasFatalFailure()) return;
    dir_.Write("setup.dat", "product Widget\nbase /opt\ndest $(base)/widget\n");
    ASSERT_EQ(load_datfile(ini_, "setup.dat"), 1);
  }
  void TearDown() override {
    options_clear();
    clear_datfile();
    ini_free(&ini_);
    InScratchTest::TearDown();
  }
  void Args(std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    process_args(nullptr, argv.data(), static_cast<int>(argv.size()));
  }
  std::string Value(const char* name) { return str(ini_value_name(ini_, name)); }

  Ini* ini_ = ini_init();
};

TEST_F(PresetsTest, SetWinsOverAnswersAndLaterOverEarlier) {
  // References as in the data file: nested, forward, any case; "action"
  // expands to nothing and unknown names stay.
  dir_.Write("answers",
             "# for a scripted install\n"
             "dest    $(prefix)/$(PRODUCT)\n"
             "prefix  $(base)/x\n"
             "title   $(action)-$(nosuch)\n"
             "copies  one\n"
             "copies  two  and  three\n"
             "empty\n");
  Args({"setup", "-set", "note=a = b", "-answers", "answers", "-set", "note=c=d"});
  ASSERT_EQ(apply_presets(ini_), 1);
  EXPECT_EQ(Value("dest"), "/opt/x/Widget");
  EXPECT_EQ(Value("title"), "-$(nosuch)");
  EXPECT_EQ(Value("copies"), "two  and  three");
  EXPECT_EQ(Value("note"), "c=d");

  // What a probe writes is undone, also in a setting that keeps every value.
  ini_add_name(ini_, "note", "probed");
  ini_add_name(ini_, "dest", "probed");
  ASSERT_EQ(apply_presets(ini_), 1);
  EXPECT_EQ(Value("note"), "c=d");
  EXPECT_EQ(ini_value_name_next(ini_, "note"), nullptr);
  EXPECT_EQ(Value("dest"), "/opt/x/Widget");
  const std::vector<std::string> names = {"dest", "prefix", "title", "copies", "empty", "note"};
  EXPECT_EQ(preset_names(), names);
}

TEST_F(PresetsTest, RefusedPresetsAreReportedAndTheOthersStored) {
  Args({"setup", "-set", "host=elsewhere", "-set", "product=", "-answers", "missing", "-set",
        "base=/srv"});
  testing::internal::CaptureStdout();
  EXPECT_EQ(apply_presets(ini_), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Error: Cannot read the answers file 'missing', No such file or directory\n"
            "Error: The setting 'host' cannot be changed\n"
            "Error: The setting 'product' cannot be empty\n");
  EXPECT_EQ(Value("product"), "Widget");
  EXPECT_EQ(Value("base"), "/srv");
  EXPECT_EQ(preset_names(), std::vector<std::string>{"base"});
}

}  // namespace
}  // namespace inst
