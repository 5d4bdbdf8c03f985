#include "installer/report.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/scratch.h"

namespace inst {
namespace {

using nlohmann::json;

TEST(ReportTest, EndingTellsHowTheProgramEnded) {
  struct Row {
    bool started;
    const char* action;
    int result;
    bool copy_ok;
    int signal;
    const char* outcome;
    int status;
  };
  const Row rows[] = {
      {true, "install", SUCEEDED, true, 0, "succeeded", 0},
      {true, "remove", SUCEEDED, false, 0, "copy-failed", 4},
      {true, "install", FAILED, true, 0, "failed", 2},
      {true, "install", QUIT, true, 0, "quit", 3},
      {true, nullptr, FAILED, true, 0, "quit", 3},
      {false, nullptr, FAILED, true, 0, "failed", 1},
      {true, "install", SUCEEDED, false, 15, "interrupted", 143},
  };
  for (const Row& row : rows) {
    RunRecord run;
    run.action = row.action;
    run.result = row.result;
    run.copy_ok = row.copy_ok;
    const Ending ending = report_ending(row.started, run, row.signal);
    EXPECT_STREQ(ending.outcome, row.outcome) << row.outcome;
    EXPECT_EQ(ending.status, row.status) << row.outcome;
  }
}

TEST(ReportTest, PasswordsAreMaskedAndMissingValuesEmpty) {
  static const SettingList table[] = {{"user", "ann", Ini_None},
                                      {"secret", "hunter2", Ini_Pass},
                                      {"empty", nullptr, Ini_None},
                                      {nullptr, nullptr, Ini_None}};
  Ini* ini = ini_init();
  ini_setup(ini, table, nullptr, 1);
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"user", "ann"}, {"secret", "xxxx"}, {"empty", ""}, {"unknown", ""}};
  EXPECT_EQ(report_answers(ini, {"user", "secret", "empty", "unknown"}), expected);
  ini_free(&ini);
}

// Any bytes in a setting or a path: the document still parses, control
// characters come back as they were and other bytes that are not UTF-8 as
// U+FFFD.
TEST(ReportTest, AnyBytesGiveValidJson) {
  Report report;
  report.outcome = "copy-failed";
  report.answers = {{"note", "tab\there\x01\x1f\"\\ end"},
                    {"bad",
                     "a\xff\xfe"
                     "b\xc3"}};
  report.run.action = "install";
  report.run.failed_files = {{"/tmp/\xe9t\xe9", "Is a directory"}};
  report.run.failed_commands = {{3, 7, "Error opening '\x80', No such file or directory"}};
  report.started = 0;
  const json parsed = json::parse(report_json(report));
  EXPECT_EQ(parsed["answers"][0]["value"], "tab\there\x01\x1f\"\\ end");
  EXPECT_EQ(parsed["answers"][1]["value"],
            "a\xef\xbf\xbd\xef\xbf\xbd"
            "b\xef\xbf\xbd");
  EXPECT_EQ(parsed["copy"]["failed_files"][0]["path"], "/tmp/\xef\xbf\xbdt\xef\xbf\xbd");
  EXPECT_EQ(parsed["copy"]["failed_commands"][0]["line"], 7);
  EXPECT_EQ(parsed["started"], "1970-01-01T00:00:00Z");
  EXPECT_EQ(parsed["product"], nullptr);
}

class ReportFileTest : public LoggedTest {};

TEST_F(ReportFileTest, WrittenWholeBesideAndRenamedIntoPlace) {
  const std::string path = dir_.Path("report.json");
  dir_.Write("report.json", "old");
  Report report;
  report.outcome = "succeeded";
  ASSERT_EQ(report_writable(path.c_str()), 1);
  ASSERT_EQ(report_write(report, path.c_str()), 1);
  EXPECT_EQ(json::parse(dir_.Read("report.json"))["outcome"], "succeeded");
  struct stat st;
  ASSERT_EQ(stat(path.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  // Nothing but the report and the log is left beside it.
  int entries = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dir_.root())) {
    (void)entry;
    ++entries;
  }
  EXPECT_EQ(entries, 2);

  const std::string missing = dir_.Path("no/such/report.json");
  EXPECT_EQ(report_writable(missing.c_str()), 0);
  EXPECT_EQ(report_write(report, missing.c_str()), 0);
  EXPECT_EQ(LogLines("Error").back(),
            "Error writing report '" + missing + "', No such file or directory");
}

}  // namespace
}  // namespace inst
