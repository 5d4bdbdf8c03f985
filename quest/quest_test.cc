#include "quest/quest.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "ini/ini.h"
#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

using Lines = std::vector<std::string>;
using namespace std::string_literals;

class QuestTest : public LoggedTest {
 protected:
  void SetUp() override {
    LoggedTest::SetUp();
    const SettingList rows[] = {{"s", nullptr, Ini_None}, {nullptr, nullptr, Ini_None}};
    ini_setup(ini_, rows, nullptr, 0);
  }
  ~QuestTest() override {
    quest_free(&list_);
    ini_free(&ini_);
  }
  int Load(const std::string& text, const char* section) {
    dir_.Write("q", text);
    return quest_load(list_, dir_.Path("q").c_str(), section);
  }
  // Each question as "type setting control comparison help text", "~" for
  // a missing field.
  Lines Loaded() {
    Lines out;
    for (uint32_t i = 0; i < quest_count(list_); ++i) {
      out.push_back(std::to_string(quest_type(list_, i)));
      for (auto field : {quest_setting, quest_control, quest_control_cmp, quest_help, quest_text}) {
        out.back() += " "s + (field(list_, i) ? field(list_, i) : "~");
      }
    }
    return out;
  }
  // Makes the list hold one question: `type`, setting "s", `text`.
  void One(QType type, const std::string& text) {
    quest_clear(list_);
    list_->section.reset(s_strdup("x"));
    list_->list.resize(1);
    auto copy = [](const char* s) { return std::unique_ptr<char[]>(s_strdup(s)); };
    list_->list[0] = Quest{copy(text.c_str()), copy("s"), {}, {}, {}, type};
    list_->count = 1;
  }
  Ini* ini_ = ini_init();
  Questions* list_ = quest_init(ini_);
};

TEST_F(QuestTest, SectionsAreChosenByNameAndLoadedOnce) {
  const char* file =
      "Text early - - H before any section\n  [Install]\r\n# comment\n\n"
      "\tYN webserver - - HELP1 Install the web pages?  \r\n[remove]\nText r - - H remove\n"
      "[INSTALL]\nText again - - H second\n[a] x\n[b]]\n";
  const std::tuple<const char*, int, Lines> rows[] = {
      {"install", 1, {"2 webserver ~ ~ HELP1 Install the web pages?"}},
      {"a", 0, {}},
      {"A] X", 1, {}},
      {"b]", 1, {}},
      {"none", 0, {}}};
  for (const auto& [section, result, questions] : rows) {
    SCOPED_TRACE(section);
    EXPECT_EQ(Load(file, section), result);
    EXPECT_EQ(Loaded(), questions);
  }
  EXPECT_EQ(LogLines("Error"), (Lines{"Section 'a' not found", "Section 'none' not found"}));
  ASSERT_EQ(Load(file, "remove"), 1);
  EXPECT_EQ(Load("[remove]\n", "REMOVE"), 1);
  EXPECT_EQ(Loaded(), Lines{"1 r ~ ~ H remove"});
  EXPECT_EQ(Load("Text a - - H q\n[s]\rText b - - H q\r", "s"), 0);
  EXPECT_EQ(quest_load(list_, dir_.Path("none").c_str(), "other"), 0);
  EXPECT_EQ(quest_count(list_), 0u);
  EXPECT_EQ(quest_error(), "Error opening '" + dir_.Path("none") + "', No such file or directory");
}

TEST_F(QuestTest, QuestionLines) {
  const std::string x986(986, 'x'), x514(514, 'x');
  const std::tuple<std::string, Lines, Lines> rows[] = {
      // the section's lines, the questions loaded, the errors logged
      {"dirEXIST d ctl yes H  Where\tis  it?  ", {"260 d ctl yes H Where\tis  it?"}, {}},
      {"Exist /etc/httpd.conf have_conf", {"512 have_conf ~ ~ ~ /etc/httpd.conf"}, {}},
      {"Loop flag 2 extra\nLoop s a\\nb", {"4096 flag ~ ~ ~ 2", "4096 s ~ ~ ~ a\\nb"}, {}},
      {"Error s H Stop\\nnow", {"2048 s ~ ~ H Stop\nnow"}, {}},
      {"Text s - - H a\\tb\\\\c\\qd\\", {"1 s ~ ~ H a\tb\\cqd\\"}, {}},
      {"Frob s - - H Q", {"0 s ~ ~ H Q"}, {"Unknown question type 'Frob'"}},
      {"Text\nText s\nText s c\nText s c d\nText s c d H  ",
       {},
       {"Missing setting label", "Missing control", "Missing control comparison",
        "Missing Help ID text", "Missing question text"}},
      {"Error s H\nLoop again\nExist /p\n\x01",
       {},
       {"Missing question text", "Missing Help ID text", "Missing Help ID text",
        "Unknown question type '\x01'", "Missing setting label"}},
      // A rejected line's fields stay for the next line in its slot, unless
      // the slot is emptied again because count is a multiple of five.
      {"Text a - - H q\nText b ctl\nLoop l 3\nText c - - H q\nText d - - H q\nText e - - H q\n"
       "Text z ctl cmp\nLoop m 4",
       {"1 a ~ ~ H q", "4096 l ctl ~ ~ 3", "1 c ~ ~ H q", "1 d ~ ~ H q", "1 e ~ ~ H q",
        "4096 m ~ ~ ~ 4"},
       {"Missing control comparison", "Missing Help ID text"}},
      {"Text \x80\xff - - \x01 a\0b\n\xfe\xfd"s,
       {"1 \x80\xff ~ ~ \x01 a"},
       {"Unknown question type '\xfe\xfd'", "Missing setting label"}},
      {"Text a - - H " + x986 + x514,
       {"1 a ~ ~ H " + x986},
       {"Unknown question type '" + x514 + "'", "Missing setting label"}},
  };
  Lines errors;
  for (const auto& [lines, questions, logged] : rows) {
    SCOPED_TRACE(lines.substr(0, 40));
    quest_clear(list_);
    ASSERT_EQ(Load("[s]\n" + lines + "\n", "s"), 1);
    EXPECT_EQ(Loaded(), questions);
    errors.insert(errors.end(), logged.begin(), logged.end());
  }
  EXPECT_EQ(LogLines("Error"), errors);
  std::string many = "[t]\n";
  for (int i = 0; i < 10000; ++i) many += "Text s" + std::to_string(i) + " - - H q\n";
  ASSERT_EQ(Load(many, "t"), 1);
  EXPECT_EQ(quest_count(list_), 10000u);
}

TEST_F(QuestTest, AskShowsTheDefaultWrapsLongPromptsAndReadsOneLine) {
  const std::string a70(70, 'a'), b20(20, 'b'), x79(79, 'x'), x78(78, 'x'), x38(38, 'x');
  std::string hard_cuts, words, word_lines;
  for (int i = 0; i < 12; ++i)
    hard_cuts += x79 + "\n", words += x78 + " ", word_lines += x78 + "\n";
  const std::tuple<QType, const char*, std::string, std::string, int, std::string, std::string>
      rows[] = {
          // type, value of its setting, text, input, result, shown (and error), answer
          {QYN, "true", "Go?", "\n", 1, "Go? [y]? ", "y"},
          {QYN, "maybe", "Go?", "\n", 1, "Go? [n]? ", "n"},
          {QText, "x", "In $(s)?", " \t\r\n", 1, "In x? [x]? ", "x"},
          {QText, nullptr, "Q", "\n", 0, "Q []? You must enter an answer", ""},
          {QText, nullptr, "Q", "  lead \t\r\n", 1, "Q []? ", "  lead"},
          {QText, "d", "Q", "", -1, "Q [d]? ", ""},
          {QText, nullptr, "Q", std::string(5000, 'y') + "\nz", 1, "Q []? ", std::string(999, 'y')},
          {QText, nullptr, a70 + " " + b20, "x", 1, a70 + "\n" + b20 + " []? ", "x"},
          {QText, nullptr, x79 + "L" + b20, "x", 1, x79 + "\n" + b20 + " []? ", "x"},
          {QText, nullptr, x38 + x38, "x", 1, x38 + x38 + " []? ", "x"},
          {QText, nullptr, std::string(998, 'x'), "x", 1, hard_cuts + x38 + " ", "x"},
          {QText, nullptr, words + x38 + "yyyyyyyyyyyy", "x", 1, word_lines + x38 + "yyyyyyyyyyyy ",
           "x"},
      };
  for (const auto& [type, value, text, input, result, shown, answer] : rows) {
    SCOPED_TRACE(text);
    One(type, text);
    delete[] ini_remove_name(ini_, "s");
    ini_add_name(ini_, "s", value);
    std::string typed = input;
    char* printed = nullptr;
    size_t size = 0;
    FILE* in = fmemopen(typed.data(), typed.size(), "r");
    FILE* out = open_memstream(&printed, &size);
    errno = 0;
    char reply[kLineSize] = "junk";
    EXPECT_EQ(quest_ask_stream(list_, 0, reply, kLineSize, in, out), result);
    std::fclose(in);
    std::fclose(out);
    EXPECT_EQ(std::string(printed, size) + (result == 0 ? quest_error() : ""), shown);
    std::free(printed);
    EXPECT_EQ(reply, answer);
  }
}

TEST_F(QuestTest, AnswersAreCheckedByType) {
  dir_.Write("full/f", "");
  dir_.Write("file", "");
  std::filesystem::create_directory(dir_.Path("empty"));
  const std::string full = dir_.Path("full"), none = dir_.Path("none"), file = dir_.Path("file");
  const std::string too_long = dir_.Path(std::string(290, 'a'));
  // A stale system error is set before each check: rejections carry it
  // unless their own test replaces it.
  const std::tuple<QType, std::string, int, std::string, std::string> rows[] = {
      // type, answer, result, value stored, error
      {QDirExist, full + "/", 1, full, ""},
      {QDir, "c:\\x\\", 1, "c:\\x", ""},
      {QFile, "a/", 1, "a/", ""},
      {QDirExist, "/", 0, "", "Directory '' must exist, No such file or directory"},
      {QDirExist, too_long, 0, "", "Directory '" + too_long + "' must exist, File name too long"},
      {QFileExist, file, 1, file, ""},
      {QFileExist, none, 0, "", "File '" + none + "' must exist, No such file or directory"},
      {QDirEmpty, dir_.Path("empty"), 1, dir_.Path("empty"), ""},
      {QDirEmpty, none, 1, none, ""},
      {QDirEmpty, file, 1, file, ""},
      {QDirEmpty, full, 0, "", "Directory '" + full + "' must be empty, Permission denied"},
      {QYN, "0", 1, "false", ""},
      {QYN, "Yes", 1, "true", ""},
      {QYN, "maybe", 0, "", "You must answer either Yes or No, Permission denied"},
      {QFileName, "/tmp/setup.tar.gz", 1, "setup.tar", ""},
  };
  for (const auto& [type, text, result, stored, error] : rows) {
    SCOPED_TRACE(text);
    One(type, "Q");
    ini_add_name(ini_, "s", "old");
    errno = EACCES;
    char answer[kLineSize];
    scpy(answer, text.c_str(), kLineSize);
    EXPECT_EQ(quest_answer(list_, 0, answer), result);
    EXPECT_EQ(str(ini_value_name(ini_, "s")), result ? stored : "old");
    if (result == 0) {
      EXPECT_EQ(quest_error(), error);
    } else if (type != QYN) {
      EXPECT_EQ(answer, stored);
    }
    // A directory that cannot be scanned leaves no system error behind.
    EXPECT_TRUE(type != QDirEmpty || !result || errno == 0);
  }
}

}  // namespace
}  // namespace inst
