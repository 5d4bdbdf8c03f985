#include "lib/wild.h"

#include <gtest/gtest.h>

#include <string>

namespace inst {
namespace {

TEST(WildTest, WholeTextMatchesWholePattern) {
  // "*?x" looks for a literal '?' after the star; "a*bc" needs a later
  // candidate than the first; "*ab" rejects a case-only candidate when exact;
  // bytes above 127 fold to themselves.
  static const struct {
    const char* text;
    const char* wild;
    int exact;
    int folded;
  } rows[] = {
      {"", "*", 1, 1},          {"", "?", 0, 0},      {"abc", "", 0, 0},       {"", "", 1, 1},
      {"a.TXT", "*.txt", 0, 1}, {"abc", "a*c", 1, 1}, {"abcbc", "a*bc", 1, 1}, {"abx", "*?x", 0, 0},
      {"a?x", "*?x", 1, 1},     {"ab", "a**b", 1, 1}, {"ABC", "a?c", 0, 1},    {"aXb", "a*B", 0, 1},
      {"ab", "abc", 0, 0},      {"a", "a*?", 0, 0},   {"a.c.o", "*.c", 0, 0},  {"aAb", "*ab", 0, 1},
      {"\xC4x", "\xE4*", 0, 0},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(wild_match(row.text, row.wild), row.exact) << row.text << " ~ " << row.wild;
    EXPECT_EQ(wild_imatch(row.text, row.wild), row.folded) << row.text << " ~i " << row.wild;
  }
}

TEST(WildTest, RecursionFollowsStarGroupsNotTextLength) {
  std::string text(1000000, 'a');
  text += 'b';
  EXPECT_EQ(wild_match(text.c_str(), "*a*b"), 1);
  EXPECT_EQ(wild_match(text.c_str(), "*c"), 0);
}

// wild_list and wild_ilist of the same lists, as two digits.
std::string Lists(const char* list, const char* wilds) {
  return std::to_string(wild_list(list, wilds)) + std::to_string(wild_ilist(list, wilds));
}

TEST(WildTest, ListsMatchAnyNameAgainstAnyPattern) {
  EXPECT_EQ(Lists("core, old.tmp", "*.tmp"), "11");
  EXPECT_EQ(Lists("x\ty", "z,y"), "11");
  EXPECT_EQ(Lists("a.TMP", "*.tmp"), "01");
  EXPECT_EQ(Lists("core", " ,\t, "), "00");
  EXPECT_EQ(Lists(" ,,\t", "*"), "00");
  EXPECT_EQ(Lists("xy", "x"), "00");   // items match whole
  EXPECT_EQ(Lists("x;y", "y"), "00");  // only blank, tab and comma separate
}

}  // namespace
}  // namespace inst
