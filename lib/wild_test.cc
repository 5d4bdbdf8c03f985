#include "lib/wild.h"

#include <gtest/gtest.h>

#include <string>

namespace inst {
namespace {

TEST(WildTest, MatchTable) {
  static const struct {
    const char* text;
    const char* wild;
    int exact;
    int folded;
  } rows[] = {
      {"", "*", 1, 1},
      {"", "?", 0, 0},
      {"abc", "", 0, 0},
      {"", "", 1, 1},
      {"report.TXT", "*.txt", 0, 1},
      {"abc", "a*c", 1, 1},
      {"abcbc", "a*bc", 1, 1},  // the first candidate fails, a later one succeeds
      {"abx", "*?x", 0, 0},     // the character after a star is looked for literally
      {"a?x", "*?x", 1, 1},
      {"ab", "a**b", 1, 1},
      {"abc", "a?c", 1, 1},
      {"ABC", "a?c", 0, 1},
      {"aXb", "a*B", 0, 1},
      {"abc", "abc*", 1, 1},
      {"abc", "ab", 0, 0},
      {"ab", "abc", 0, 0},
      {"a", "a*?", 0, 0},
      {"main.c.orig", "*.c", 0, 0},
      {"x.c.c", "*.c", 1, 1},
      {"aAb", "*ab", 0, 1},  // a case-only candidate is rejected when exact
      {"AaB", "*aB", 1, 1},
      {"\xC4x", "\xE4*", 0, 0},  // bytes above 127 fold to themselves
  };
  for (const auto& row : rows) {
    EXPECT_EQ(wmatch(row.text, row.wild, 1), row.exact)
        << "'" << row.text << "' ~ '" << row.wild << "'";
    EXPECT_EQ(wmatch(row.text, row.wild, 0), row.folded)
        << "'" << row.text << "' ~i '" << row.wild << "'";
    EXPECT_EQ(wild_match(row.text, row.wild), row.exact) << row.text << " " << row.wild;
    EXPECT_EQ(wild_imatch(row.text, row.wild), row.folded) << row.text << " " << row.wild;
  }
}

TEST(WildTest, RecursionFollowsStarGroupsNotTextLength) {
  std::string text(1000000, 'a');
  text += 'b';
  EXPECT_EQ(wild_match(text.c_str(), "*a*b"), 1);
  EXPECT_EQ(wild_match(text.c_str(), "*c"), 0);
}

TEST(WildTest, ListsMatchAnyNameAgainstAnyPattern) {
  static const struct {
    const char* list;
    const char* wilds;
    int exact;
    int folded;
  } rows[] = {
      {"core, old.tmp", "*.tmp", 1, 1},
      {"core", " ,\t, ", 0, 0},
      {"core", "", 0, 0},
      {" ,,\t", "*", 0, 0},
      {"a.TMP", "*.tmp", 0, 1},
      {"x\ty", "z,y", 1, 1},
      {"xy", "x", 0, 0},   // items match whole, not as prefixes
      {"x;y", "y", 0, 0},  // only blank, tab and comma separate
      {",,bin,,", "?in", 1, 1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(wild_list(row.list, row.wilds), row.exact)
        << "'" << row.list << "' in '" << row.wilds << "'";
    EXPECT_EQ(wild_ilist(row.list, row.wilds), row.folded)
        << "'" << row.list << "' in '" << row.wilds << "'";
  }
}

}  // namespace
}  // namespace inst
