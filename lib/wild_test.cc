#include "lib/wild.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "lib/strings.h"

namespace inst {
namespace {

// The rule on every short text and pattern is checked against a plain
// model below; these rows are the cases a reader looks for: a '?' after a
// star is literal, and only A-Z fold (bytes above 127 fold to themselves).
TEST(WildTest, WholeTextMatchesWholePattern) {
  static const struct {
    const char* text;
    const char* wild;
    int exact;
    int folded;
  } rows[] = {
      {"a.TXT", "*.txt", 0, 1}, {"abx", "*?x", 0, 0},     {"a?x", "*?x", 1, 1},
      {"a.c.o", "*.c", 0, 0},   {"\xC4x", "\xE4*", 0, 0},
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

// The matching rule written as plainly as possible, trying every place a
// run of stars could end: exponential, but fine for short texts.
bool Plain(const char* t, const char* w, bool exact) {
  auto same = [exact](char a, char b) { return exact ? a == b : fold(a) == fold(b); };
  if (*w == '\0') return *t == '\0';
  if (*w == '*') {
    while (*w == '*') ++w;
    if (*w == '\0') return true;
    for (; *t != '\0'; ++t) {
      const bool literal = *w == '?' ? *t == '?' : same(*t, *w);
      if (literal && Plain(t + 1, w + 1, exact)) return true;
    }
    return false;
  }
  return *t != '\0' && (*w == '?' || same(*t, *w)) && Plain(t + 1, w + 1, exact);
}

// Every text and pattern up to `most` characters long over `alphabet`.
std::vector<std::string> AllWords(const std::string& alphabet, size_t most) {
  std::vector<std::string> words = {""};
  for (size_t i = 0; i < words.size(); ++i) {
    if (words[i].size() == most) continue;
    for (char c : alphabet) words.push_back(words[i] + c);
  }
  return words;
}

TEST(WildTest, AgreesWithThePlainRuleOnEveryShortTextAndPattern) {
  for (const std::string& text : AllWords("aA?b", 4)) {
    for (const std::string& wild : AllWords("aA?*", 5)) {
      ASSERT_EQ(wild_match(text.c_str(), wild.c_str()), Plain(text.c_str(), wild.c_str(), true))
          << text << " ~ " << wild;
      ASSERT_EQ(wild_imatch(text.c_str(), wild.c_str()), Plain(text.c_str(), wild.c_str(), false))
          << text << " ~i " << wild;
    }
  }
}

TEST(WildTest, ManyStarRunsThatFailEndQuickly) {
  // Trying every combination of places for the stars would take ages here.
  const std::string text(200, 'a');
  std::string wild;
  for (int i = 0; i < 40; ++i) wild += "*a";
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(wild_match(text.c_str(), (wild + "*b").c_str()), 0);
  EXPECT_EQ(wild_imatch(text.c_str(), (wild + "A").c_str()), 1);
  EXPECT_EQ(wild_list(text.c_str(), (wild + "?b," + wild + "x").c_str()), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
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
