#include "installer/report.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/scratch.h"

namespace inst {
namespace {

TEST(ReportTest, PasswordsAreMaskedAndMissingValuesEmpty) {
  static const SettingList table[] = {
      {"user", "ann", Ini_None}, {"secret", "hunter2", Ini_Pass}, {nullptr, nullptr, Ini_None}};
  Ini* ini = ini_init();
  ini_setup(ini, table, nullptr, 1);
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"user", "ann"}, {"secret", "xxxx"}, {"unknown", ""}};
  EXPECT_EQ(report_answers(ini, {"user", "secret", "unknown"}), expected);
  ini_free(&ini);
}

class ReportFileTest : public LoggedTest {};

TEST_F(ReportFileTest, WrittenBesideAndRenamedIntoPlace) {
  const std::string path = dir_.Path("report.json");
  dir_.Write("report.json", "old");
  Report report;
  report.outcome = "succeeded";
  ASSERT_EQ(report_writable(path.c_str()), 1);
  ASSERT_EQ(report_write(report, path.c_str()), 1);
  EXPECT_EQ(nlohmann::json::parse(dir_.Read("report.json"))["outcome"], "succeeded");
  struct stat st;
  ASSERT_EQ(stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  // Nothing is left beside it but the log.
  const auto entries = std::filesystem::directory_iterator(dir_.root());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 2);

  const std::string missing = dir_.Path("no/such/report.json");
  EXPECT_EQ(report_writable(missing.c_str()), 0);
  EXPECT_EQ(report_write(report, missing.c_str()), 0);
  EXPECT_EQ(LogLines("Error").back(),
            "Error writing report '" + missing + "', No such file or directory");
}

}  // namespace
}  // namespace inst
