#include "lib/strings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace inst {
namespace {

// The length of the text an edit returned, or -1 when it returned null.
int Length(const char* text) { return text ? static_cast<int>(std::strlen(text)) : -1; }

TEST(StringsTest, BoundedEditsKeepTheirCutsAndMargins) {
  // c scpy, a scat (one place short of what scpy allows), k schunk up to '=',
  // r sreplace of '=' by "12", p spre of src (refused when the lengths reach
  // the size).
  static const struct {
    char op;
    const char* dst;  // the buffer's text before the edit
    const char* src;
    int size;
    const char* expected;  // null: refused, the buffer unchanged
  } rows[] = {
      {'c', "", "abc", 1, ""},           {'c', "", "abc", 3, "ab"},
      {'c', "zz", nullptr, 4, ""},       {'a', "xy", "abc", 6, "xyab"},
      {'a', "a", "b", 3, "a"},           {'a', "abcdef", "z", 4, "abc"},
      {'k', "", "key=value", 10, "key"}, {'k', "", "abc", 3, "ab"},
      {'r', "", "a=b=", 32, "a12b12"},   {'r', "", "x=y", 3, "x1"},
      {'r', "", "abcdef", 4, "abc"},     {'r', "", "===", 6, "12121"},
      {'p', "bar", "foo", 6, nullptr},   {'p', "bar", "foo", 7, "foobar"},
  };
  for (const auto& row : rows) {
    char b[40];
    std::memset(b, '#', sizeof b);
    std::strcpy(b, row.dst);
    const char guard = b[row.size];
    int n = row.op == 'c'   ? scpy(b, row.src, row.size)
            : row.op == 'a' ? scat(b, row.src, row.size)
            : row.op == 'k' ? schunk(row.src, "=", b, row.size)
            : row.op == 'r' ? Length(sreplace(row.src, "=", "12", b, row.size))
                            : Length(spre(b, row.src, row.size));
    const std::string label = row.op + std::string(" ") + row.dst + "," + str(row.src) + " size " +
                              std::to_string(row.size);
    EXPECT_STREQ(b, row.expected ? row.expected : row.dst) << label;
    EXPECT_EQ(n, Length(row.expected)) << label;
    EXPECT_EQ(b[row.size], guard) << "wrote past the size: " << label;
  }
  char b[8];
  EXPECT_EQ(sreplace("abc", "", "x", b, 8), nullptr);
}

// comma_number of text in a buffer of size; "refused " and the text left
// when it returns null.
std::string Commas(const char* text, int size) {
  char buffer[64];
  std::strcpy(buffer, text);
  return comma_number(buffer, size) ? buffer : "refused " + std::string(buffer);
}

TEST(StringsTest, CommasGoIntoTheLeadingDigitsOnce) {
  EXPECT_EQ(Commas("1234567.89", 64), "1,234,567.89");
  EXPECT_EQ(Commas("123456", 64), "123,456");
  EXPECT_EQ(Commas("1234", 7), "1,234");
  EXPECT_EQ(Commas("1234", 6), "refused 1234");
  EXPECT_EQ(Commas("1,234567", 64), "1,234,567");
  EXPECT_EQ(Commas("1,234,567", 64), "1,234,567");
  EXPECT_EQ(Commas("-1234", 64), "-1234");
}

TEST(StringsTest, AllocatedTexts) {
  char* made = smake("abcdef", 4);  // n-1 characters kept
  EXPECT_STREQ(made, "abc");
  delete[] made;
  EXPECT_EQ(smake("abc", 0), nullptr);
  char* s = sadd(sadd(nullptr, "ab"), "cd");
  EXPECT_STREQ(s, "abcd");
  EXPECT_EQ(sadd(s, nullptr), s);
  delete[] s;
}

TEST(StringsTest, ComparisonsFoldOnlyLettersAndRefuseNull) {
  EXPECT_EQ(s_stricmp("YES", "yes"), 0);
  EXPECT_LT(s_stricmp("abc", "ABD"), 0);
  EXPECT_GT(s_stricmp("ab", "a"), 0);
  EXPECT_LT(s_stricmp("[", "{"), 0);
  EXPECT_EQ(s_stricmp("a", nullptr), -1);
  EXPECT_EQ(s_strnicmp("abcX", "ABCy", 3), 0);
  EXPECT_NE(s_strnicmp("ab", "abc", 3), 0);
  EXPECT_EQ(s_strcmp(nullptr, nullptr), -1);
  char text[] = "abc";
  EXPECT_EQ(s_strchr(text, '\0'), nullptr);
  EXPECT_EQ(sdiff(text, "abx"), text + 2);
  EXPECT_EQ(sdiff(text, "abcdef"), text + 3);
}

TEST(StringsTest, InPlaceEditsTrimmingAndTokens) {
  char text[] = "MiXed 1!";
  EXPECT_EQ(s_strlwr(text), text + 8);  // the terminator, not the start
  EXPECT_STREQ(text, "mixed 1!");
  EXPECT_EQ(s_strupr(text), text + 8);
  EXPECT_STREQ(text, "MIXED 1!");
  char a[] = "  x  \r\n";
  EXPECT_EQ(s_strtrm(a), a + 2);
  EXPECT_STREQ(a, "  x");
  char b[] = "  x \r\ny";
  EXPECT_STREQ(strip_whitespace(b), "x ");
  char tokens[] = ",,a  b";
  char* next = nullptr;
  EXPECT_STREQ(s_strtok(tokens, " ,", &next), "a");
  EXPECT_STREQ(s_strtok(nullptr, " ,", &next), "b");
  EXPECT_EQ(next, nullptr);
  EXPECT_EQ(s_strtok(nullptr, " ,", &next), nullptr);
}

TEST(StringsTest, CaseBlindSearchDoesNotRetryTheMismatch) {
  const char* s = "xAbab";
  const char* t = "aab";
  EXPECT_EQ(s_stristr(t, "ab"), nullptr);  // the second 'a' is not tried again
  EXPECT_EQ(s_stristr(s, "BA"), s + 2);
  EXPECT_EQ(s_stristr(s, ""), nullptr);
  EXPECT_EQ(s_strristr(s, "ab"), s + 3);
  EXPECT_EQ(s_strristr(t, "AB"), t + 1);
  EXPECT_EQ(s_strristr("abb", "ab"), nullptr);
}

TEST(StringsTest, TruthWordsAndNumbers) {
  static const struct {
    const char* text;
    int truth;
    int falsity;
  } rows[] = {
      {"On", 1, 0}, {"SELECTED", 1, 0}, {"checked", 1, 0},     {"y", 1, 0},      {"2", 1, 0},
      {"-3", 1, 0}, {"7 days", 1, 0},   {"99999999999", 1, 0}, {"0", 0, 1},      {"off", 0, 1},
      {"N", 0, 1},  {"00", 0, 1},       {"x0", 0, 1},          {" 0", 0, 1},     {"FALSE", 0, 1},
      {"", 0, 0},   {"abc", 0, 0},      {"yess", 0, 0},        {"no way", 0, 0}, {nullptr, 0, 0},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(istrue(row.text), row.truth) << "istrue " << str(row.text);
    EXPECT_EQ(isfalse(row.text), row.falsity) << "isfalse " << str(row.text);
  }
  EXPECT_EQ(s_atoi("99999999999"), 2147483647);  // clamped, not overflowed
  EXPECT_STREQ(number(-2147483647 - 1), "-2147483648");
}

}  // namespace
}  // namespace inst
