#include "ini/shared.h"

#include <stdlib.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "gtest/gtest.h"
#include "lib/log.h"
#include "lib/strings.h"

namespace inst {
namespace {

class DatfileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/shared_test_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
    log_ = log_init(LogDebug);
    ASSERT_EQ(log_open(log_, Path("test.log").c_str()), 1);
    log_set(log_);
    ini_ = ini_init();
  }
  void TearDown() override {
    clear_datfile();
    ini_free(&ini_);
    log_set(nullptr);
    log_free(&log_);
    std::filesystem::remove_all(dir_);
  }

  std::string Path(const std::string& name) const { return dir_ + "/" + name; }
  std::string LogText() {
    log_flush(log_);
    std::ifstream in(Path("test.log"));
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  int Load(const std::string& text) {
    std::ofstream(Path("install.dat")) << text;
    return load_datfile(ini_, Path("install.dat").c_str());
  }
  std::string Value(const char* name) { return str(ini_value_name(ini_, name)); }

  std::string dir_;
  Log* log_ = nullptr;
  Ini* ini_ = nullptr;
};

TEST_F(DatfileTest, BuiltInSettingsComeFirst) {
  ASSERT_EQ(Load("product Demo\n"), 1);
  char host[1000];
  char cwd[1000];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  const char* names[] = {"host", "system_dir", "current_dir", "action", "product"};
  const std::string values[] = {tcp_hostname(host, sizeof host), "/etc", cwd, "install", "Demo"};
  const SettingMode modes[] = {Ini_Replace | Ini_Fixed, Ini_Replace | Ini_Fixed,
                               Ini_Replace | Ini_Fixed, Ini_None, Ini_Replace};
  ASSERT_EQ(ini_items(ini_), 5);
  for (int i = 0; i < 5; ++i) {
    EXPECT_STREQ(ini_label(ini_, i), names[i]);
    EXPECT_EQ(str(ini_value(ini_, i)), values[i]) << names[i];
    EXPECT_EQ(ini_setting_mode(ini_, i), modes[i]) << names[i];
  }
  std::string log = LogText();
  EXPECT_NE(log.find(std::string("host=") + host), std::string::npos);
  EXPECT_NE(log.find("action=install"), std::string::npos);
  EXPECT_NE(log.find("Adding 'product'='Demo'"), std::string::npos);
}

TEST_F(DatfileTest, LinesSplitIntoNameAndValue) {
  struct Row {
    const char* name;
    const char* value;  // empty: declared without a value
  } rows[] = {
      {"words", "one  two"},       {"alone", ""},     {"blanks", ""}, {"hash", "b#c"},
      {"tabs", "value with\ttab"}, {"crlf", "value"},
  };
  ASSERT_EQ(Load("words   one  two  \n"
                 "alone\n"
                 "blanks   \n"
                 "  # a comment\n"
                 "#another\n"
                 "\n"
                 "   \t \n"
                 "hash b#c\n"
                 "\ttabs\t value with\ttab\n"
                 "crlf value\r\n"),
            1);
  EXPECT_EQ(ini_items(ini_), 4 + 6);
  for (const Row& row : rows) EXPECT_EQ(Value(row.name), row.value) << row.name;
}

TEST_F(DatfileTest, TableGrowsAndKeepsATerminator) {
  struct Row {
    int settings;
    int32_t capacity;
  } rows[] = {{0, 10}, {5, 10}, {6, 11}, {7, 15}, {11, 16}, {12, 20}};
  for (const Row& row : rows) {
    std::string text = "# comments only\n\n";
    for (int i = 0; i < row.settings; ++i) text += "s" + std::to_string(i) + " v\n";
    clear_datfile();
    ini_free(&ini_);
    ini_ = ini_init();
    ASSERT_EQ(Load(text), 1);
    EXPECT_EQ(datfile_capacity(), row.capacity) << row.settings << " settings";
    ASSERT_NE(_settings, nullptr);
    EXPECT_EQ(_settings[4 + row.settings].setting, nullptr) << row.settings << " settings";
    EXPECT_EQ(ini_items(ini_), 4 + row.settings);
  }
  clear_datfile();
  EXPECT_EQ(_settings, nullptr);
  EXPECT_EQ(datfile_capacity(), 0);
  clear_datfile();
}

TEST_F(DatfileTest, LongLinesAreReadInPieces) {
  const std::string tail(503, 'w');
  ASSERT_EQ(Load("k " + std::string(997, 'v') + tail + "\nnext 1\n"), 1);
  ASSERT_EQ(ini_items(ini_), 4 + 3);
  EXPECT_EQ(Value("k"), std::string(997, 'v'));
  EXPECT_STREQ(ini_label(ini_, 5), tail.c_str());
  EXPECT_EQ(ini_value(ini_, 5), nullptr);
  EXPECT_EQ(Value("next"), "1");
}

TEST_F(DatfileTest, RepeatedAndBuiltInNamesAreShadowed) {
  ASSERT_EQ(Load("host elsewhere\ndup 1\ndup 2\n"), 1);
  char host[1000];
  EXPECT_EQ(Value("host"), tcp_hostname(host, sizeof host));
  EXPECT_STREQ(ini_value(ini_, 4), "elsewhere");
  EXPECT_EQ(Value("dup"), "1");
  EXPECT_EQ(ini_add_name(ini_, "host", "changed"), -1);
}

TEST_F(DatfileTest, ReferencesExpandInEitherOrder) {
  ASSERT_EQ(Load("dir $(base)/x\n"
                 "base /opt\n"
                 "after $(dir)/y\n"
                 "act [$(action)]\n"
                 "here $(current_dir)/p\n"
                 "unknown $(nope)/a\n"
                 "self $(self)/s\n"
                 "open $(base\n"),
            1);
  char cwd[1000];
  ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
  EXPECT_EQ(Value("dir"), "/opt/x");
  EXPECT_EQ(Value("after"), "/opt/x/y");
  EXPECT_EQ(Value("act"), "[]");
  EXPECT_EQ(Value("here"), std::string(cwd) + "/p");
  EXPECT_EQ(Value("unknown"), "$(nope)/a");
  EXPECT_NE(Value("self").find("$(self)"), std::string::npos);
  EXPECT_EQ(Value("open"), "$(base");
  char out[100];
  ini_replace(ini_, "$(dir) for $(action)", out, sizeof out);
  EXPECT_STREQ(out, "/opt/x for install");
}

TEST_F(DatfileTest, MissingFileIsLoggedAndDeclaresNothing) {
  const std::string path = Path("absent.dat");
  EXPECT_EQ(load_datfile(ini_, path.c_str()), 0);
  EXPECT_EQ(ini_items(ini_), 0);
  EXPECT_EQ(_settings, nullptr);
  EXPECT_NE(LogText().find("Error opening '" + path + "' for read, No such file or directory"),
            std::string::npos);
  EXPECT_EQ(load_datfile(nullptr, path.c_str()), 0);
  EXPECT_EQ(load_datfile(ini_, nullptr), 0);
}

TEST_F(DatfileTest, HostNameFallsBackWhenItDoesNotFit) {
  char full[1000];
  ASSERT_EQ(gethostname(full, sizeof full), 0);
  ASSERT_GT(std::strlen(full), 1u);
  char small[2];
  EXPECT_STREQ(tcp_hostname(small, sizeof small), "1");
  EXPECT_NE(LogText().find("Gethostname failed, "), std::string::npos);
  char buffer[1000];
  EXPECT_STREQ(tcp_hostname(buffer, sizeof buffer), full);
}

}  // namespace
}  // namespace inst
