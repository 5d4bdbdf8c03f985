#include "ini/shared.h"

#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "tests/scratch.h"

namespace inst {
namespace {

using Lines = std::vector<std::string>;

std::string HostName() {
  char name[1000] = "";
  gethostname(name, sizeof name - 1);
  return name;
}

class DatfileTest : public LoggedTest {
 protected:
  ~DatfileTest() override {
    clear_datfile();
    ini_free(&ini_);
  }
  int Load(const std::string& text) {
    dir_.Write("install.dat", text);
    return load_datfile(ini_, dir_.Path("install.dat").c_str());
  }
  // Every setting as "name=first value" in index order, "(null)" for none.
  Lines Settings() {
    Lines out;
    for (int32_t i = 0; i < ini_items(ini_); ++i) {
      const char* value = ini_value(ini_, i);
      out.push_back(std::string(ini_label(ini_, i)) + "=" + (value ? value : "(null)"));
    }
    return out;
  }

  Ini* ini_ = ini_init();
};

TEST_F(DatfileTest, BuiltInsComeFirstAndReferencesExpandInEitherOrder) {
  ASSERT_EQ(Load("dir $(base)/x\nbase /opt\nact [$(action)]\nhere $(current_dir)/p\n"), 1);
  const std::string cwd = std::filesystem::current_path().string();
  EXPECT_EQ(Settings(),
            (Lines{"host=" + HostName(), "system_dir=/etc", "current_dir=" + cwd, "action=install",
                   "dir=/opt/x", "base=/opt", "act=[]", "here=" + cwd + "/p"}));
  std::vector<int> modes;
  for (int32_t i = 0; i < ini_items(ini_); ++i) modes.push_back(ini_setting_mode(ini_, i));
  EXPECT_EQ(modes, (std::vector<int>{36, 36, 36, 0, 4, 4, 4, 4}));
  EXPECT_EQ(LogLines("Info"), (Lines{"host=" + HostName(), "system_dir=/etc", "current_dir=" + cwd,
                                     "action=install"}));
  EXPECT_EQ(LogLines("Debug").at(0), "Adding 'dir'='$(base)/x'");
  // A reference to "action" is dropped in the file but expands in a text.
  char out[100];
  ini_replace(ini_, "$(dir) for $(action)", out, sizeof out);
  EXPECT_STREQ(out, "/opt/x for install");
}

TEST_F(DatfileTest, LinesSplitIntoNameAndValueAndLongLinesComeInPieces) {
  // The long line is read as "k" with 997 characters, then the rest as a name.
  const std::string head(997, 'v'), tail(503, 'w'), long_line = "k " + head + tail + "\n";
  ASSERT_EQ(Load("words   one  two  \nalone\nblanks   \n  # a comment\n#another\n\n   \t \n"
                 "hash b#c\n\ttabs \t value with\ttab\ncrlf value\r\nhost elsewhere\ndup 1\n"
                 "dup 2\n" +
                 long_line),
            1);
  Lines file_rows = Settings();
  file_rows.erase(file_rows.begin(), file_rows.begin() + 4);
  EXPECT_EQ(file_rows, (Lines{"words=one  two", "alone=(null)", "blanks=(null)", "hash=b#c",
                              "tabs=value with\ttab", "crlf=value", "host=elsewhere", "dup=1",
                              "dup=2", "k=" + head, tail + "=(null)"}));
  // Lookups by name reach the first of two equal names.
  EXPECT_STREQ(ini_value_name(ini_, "host"), HostName().c_str());
  EXPECT_STREQ(ini_value_name(ini_, "dup"), "1");
}

// The rows' texts fill several blocks of storage; every row keeps its own.
TEST_F(DatfileTest, ManyRowsKeepTheirTextsInTableAndStore) {
  std::string text;
  Lines expected;
  for (int i = 0; i < 3000; ++i) {
    const std::string name = "s" + std::to_string(i);
    const std::string value(static_cast<size_t>(i % 7 == 0 ? 990 : i % 40), 'a' + i % 26);
    text += name + " " + value + "\n";
    expected.push_back(name + "=" + (value.empty() ? "(null)" : value));
  }
  ASSERT_EQ(Load(text), 1);
  Lines rows;
  int32_t count = 0;
  for (; _settings[count].setting; ++count) {
    const char* dflt = _settings[count].dflt;
    rows.push_back(std::string(_settings[count].setting) + "=" + (dflt ? dflt : "(null)"));
  }
  EXPECT_EQ(count, ini_items(ini_));
  Lines store = Settings();
  rows.erase(rows.begin(), rows.begin() + 4);
  store.erase(store.begin(), store.begin() + 4);
  EXPECT_EQ(rows, expected);
  EXPECT_EQ(store, expected);
}

}  // namespace
}  // namespace inst
