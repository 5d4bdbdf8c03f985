#include "installer/probes.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

// Probes evaluated into a store declared as a data file would declare it,
// with a stand-in for web server discovery.
class ProbeTest : public LoggedTest {
 protected:
  void SetUp() override {
    LoggedTest::SetUp();
    Fresh();
  }
  void TearDown() override {
    ini_free(&ini_);
    LoggedTest::TearDown();
  }
  // A new store with its declarations, its input files and an empty log.
  void Fresh() {
    static const SettingList table[] = {
        {"action", "install", Ini_None}, {"mode", "upgrade", Ini_Replace},
        {"fmt", "x%%y", Ini_Replace},    {"got", "old", Ini_Replace},
        {"x", nullptr, Ini_Replace},     {nullptr, nullptr, Ini_None}};
    ini_free(&ini_);
    ini_ = ini_init();
    ini_setup(ini_, table, nullptr, 1);
    std::ofstream(dir_.Path("test.log"), std::ios::trunc);
    ini_add_name(ini_, "dir", dir_.root().c_str());
    std::string percents;  // a time format giving 1200 characters
    for (int i = 0; i < 1200; ++i) percents += "%%";
    ini_add_name(ini_, "long", percents.c_str());
    dir_.Write("in", "one\r\ntwo\n" + std::string(3000, 'z'));
    dir_.Write("empty", "");
  }
  // Evaluates the probe text; the stand-in finds the document root only.
  void Run(const std::string& text) {
    dir_.Write("setup.int", text);
    std::unique_ptr<Init> probes(init_init());
    ASSERT_EQ(init_load(probes.get(), dir_.Path("setup.int").c_str()), 1);
    testing::internal::CaptureStdout();  // what a failed discovery prints
    evaluate_probes(ini_, probes.get(), [](char*, char*, char* root, char*, char* error) {
      scpy(root ? root : error, root ? "/srv/www" : "Could not find, User", kLineSize);
      return root ? 1 : 0;
    });
    testing::internal::GetCapturedStdout();
  }
  std::string Value(const char* name) {
    const char* value = ini_value_name(ini_, name);
    return value ? value : "(none)";
  }

  Ini* ini_ = nullptr;
};

TEST_F(ProbeTest, EachProbeWritesItsSetting) {
  const std::string dir = dir_.root();
  const struct {
    const char* probes;
    const char* setting;
    std::string want;
    std::string error;  // the error logged, if any
  } kRows[] = {
      {"Exist $(dir)/in found - -", "found", "true", ""},
      {"Exist $(dir)/absent found - -", "found", "false", ""},
      {"Copy x y - -", "x", "y", ""},
      {"Copy x mode - -", "x", "upgrade", ""},
      {"Copy x y mode upgrade", "x", "y", ""},
      {"Copy x y mode Upgrade", "x", "(none)", ""},
      {"Copy x y none none", "x", "y", ""},
      {"Copy x y none yes", "x", "(none)", ""},
      {"Copy x y - yes", "x", "y", ""},
      {"Copy x y - no", "x", "(none)", ""},
      {"Bogus x y - -", "x", "(none)", "Unknown init command 'Bogus'"},
      {"HTTP_Root x flag - -", "x", "/srv/www", ""},
      {"HTTP_User x flag - -", "flag", "true", ""},
      {"TimeDate fmt x - -", "x", "x%y", ""},
      {"TimeDate long x - -", "x", std::string(999, '%'), ""},
      {"TimeDate nofmt x - -", "x", "(none)", "TimeDate 'nofmt' is NULL"},
      {"RFile $(dir)/in got - -", "got", "one\r\ntwo\n" + std::string(3000, 'z'), ""},
      {"RFile $(dir)/empty got - -", "got", "old", ""},
      {"RFile $(dir) got - -", "got", "old", "Failed to read (" + dir + "), Is a directory"},
      {"RFile $(dir)/absent got - -", "got", "old",
       "Failed to read (" + dir + "/absent), No such file or directory"},
      {"WFile $(dir)/in mode - -\nRFile $(dir)/in got - -", "got", "upgrade", ""},
      {"WFile $(dir)/no/in mode - -", "got", "old",
       "Failed to write (" + dir + "/no/in), No such file or directory"},
  };
  for (const auto& row : kRows) {
    Fresh();
    Run(row.probes);
    EXPECT_EQ(Value(row.setting), row.want) << row.probes;
    const std::vector<std::string> errors = LogLines("Error");
    EXPECT_EQ(errors.empty() ? "" : errors.back(), row.error) << row.probes;
  }
}

TEST_F(ProbeTest, LargeFileIsReadWhole) {
  const std::string big(24 << 20, 'b');
  dir_.Write("big", big);
  Run("RFile $(dir)/big got - -\n");
  EXPECT_TRUE(Value("got") == big) << Value("got").size();
}

}  // namespace
}  // namespace inst
