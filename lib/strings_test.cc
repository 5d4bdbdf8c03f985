#include "lib/strings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace inst {
namespace {

// A buffer that remembers its bytes, to see writes past a given size.
struct Guarded {
  char bytes[64];
  char before[64];
  explicit Guarded(const char* text) {
    std::memset(bytes, '#', sizeof bytes);
    if (text) std::memcpy(bytes, text, std::strlen(text) + 1);
    std::memcpy(before, bytes, sizeof bytes);
  }
  bool untouched_from(int size) const {
    return std::memcmp(bytes + size, before + size, sizeof bytes - size) == 0;
  }
};

TEST(StringsTest, BoundedCopiesKeepTheirMargins) {
  static const struct {
    char op;  // 'c' scpy, 'a' scat, 'k' schunk up to '='
    const char* dst;
    const char* src;
    int size;
    const char* expected;
    int result;
  } rows[] = {
      {'c', "", "abc", 1, "", 0},        {'c', "", "abc", 3, "ab", 2},
      {'c', "", "abc", 4, "abc", 3},     {'c', "zz", nullptr, 4, "", 0},
      {'a', "xy", "abc", 6, "xyab", 4},  {'a', "xy", "abc", 10, "xyabc", 5},
      {'a', "abcdef", "z", 4, "abc", 3}, {'a', "", "abc", 2, "", 0},
      {'a', "a", "b", 3, "a", 1},        {'k', "", "key=value", 10, "key", 3},
      {'k', "", "abc", 3, "ab", 2},      {'k', "", "=x", 5, "", 0},
  };
  for (const auto& row : rows) {
    Guarded g(row.dst);
    int n = row.op == 'c'   ? scpy(g.bytes, row.src, row.size)
            : row.op == 'a' ? scat(g.bytes, row.src, row.size)
                            : schunk(row.src, "=", g.bytes, row.size);
    EXPECT_STREQ(g.bytes, row.expected) << row.op << " of " << row.src << " size " << row.size;
    EXPECT_EQ(n, row.result) << row.op << " of " << row.src << " size " << row.size;
    EXPECT_TRUE(g.untouched_from(row.size)) << row.op << " of " << row.src;
  }
}

TEST(StringsTest, AllocatedTexts) {
  char* made = smake("abcdef", 4);
  EXPECT_STREQ(made, "abc");
  delete[] made;
  EXPECT_EQ(smake("abc", 0), nullptr);
  EXPECT_EQ(smake(nullptr, 5), nullptr);

  char* s = sadd(nullptr, "ab");
  s = sadd(s, "cd");
  EXPECT_STREQ(s, "abcd");
  EXPECT_EQ(sadd(s, nullptr), s);
  delete[] s;
}

TEST(StringsTest, PrefixRefusesWhenTheLengthsReachTheSize) {
  char buffer[16] = "bar";
  EXPECT_EQ(spre(buffer, "foo", 6), nullptr);
  EXPECT_STREQ(buffer, "bar");
  EXPECT_EQ(spre(buffer, "foo", 7), buffer);
  EXPECT_STREQ(buffer, "foobar");
  EXPECT_EQ(spre(buffer, nullptr, 16), nullptr);
}

TEST(StringsTest, ReplaceNeverWritesPastTheSize) {
  static const struct {
    const char* src;
    const char* find;
    const char* repl;
    int size;
    const char* expected;
  } rows[] = {
      {"a$(x)b$(x)", "$(x)", "12", 64, "a12b12"},
      {"aaa", "a", "bb", 64, "bbbbbb"},
      {"abc", "b", nullptr, 64, "ac"},
      {"xAx", "A", "12345", 5, "x123"},
      {"abcdef", "z", "", 4, "abc"},
      {"AAAA", "A", "xy", 6, "xyxyx"},
  };
  for (const auto& row : rows) {
    Guarded g(nullptr);
    EXPECT_EQ(sreplace(row.src, row.find, row.repl, g.bytes, row.size), g.bytes);
    EXPECT_STREQ(g.bytes, row.expected) << row.src << " size " << row.size;
    EXPECT_TRUE(g.untouched_from(row.size)) << row.src << " size " << row.size;
  }
  char buffer[8];
  EXPECT_EQ(sreplace("abc", "", "x", buffer, 8), nullptr);
  EXPECT_EQ(sreplace(nullptr, "a", "x", buffer, 8), nullptr);
}

TEST(StringsTest, CaseBlindComparison) {
  static const struct {
    const char* a;
    const char* b;
    int sign;
  } rows[] = {
      {"YES", "yes", 0},    {"a", nullptr, -1}, {nullptr, nullptr, -1}, {"abc", "ABD", -1},
      {"b", "A", 1},        {"ab", "a", 1},     {"[", "{", -1},  // only letters fold
      {"\xC4", "\xE4", -1},                                      // high bytes fold to themselves
  };
  for (const auto& row : rows) {
    int r = s_stricmp(row.a, row.b);
    EXPECT_EQ((r > 0) - (r < 0), row.sign)
        << (row.a ? row.a : "(null)") << " vs " << (row.b ? row.b : "(null)");
  }
  EXPECT_EQ(s_strnicmp("abcX", "ABCy", 3), 0);
  EXPECT_NE(s_strnicmp("ab", "abc", 3), 0);
}

TEST(StringsTest, InPlaceEdits) {
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
}

TEST(StringsTest, TokenizerWalksWithASavedPosition) {
  char text[] = ",,a  b,";
  char* next = nullptr;
  EXPECT_STREQ(s_strtok(text, " ,", &next), "a");
  EXPECT_STREQ(s_strtok(nullptr, " ,", &next), "b");
  EXPECT_EQ(s_strtok(nullptr, " ,", &next), nullptr);

  char last[] = "x y";
  EXPECT_STREQ(s_strtok(last, " ", &next), "x");
  EXPECT_STREQ(s_strtok(nullptr, " ", &next), "y");
  EXPECT_EQ(next, nullptr);
}

TEST(StringsTest, SimpleCaseBlindSearch) {
  static const struct {
    bool reverse;
    const char* s;
    const char* find;
    int at;  // -1: not found
  } rows[] = {
      {false, "aab", "ab", -1}, {false, "xAbC", "bc", 2}, {false, "abab", "AB", 0},
      {false, "abc", "", -1},   {true, "abab", "ab", 2},  {true, "aab", "AB", 1},
      {true, "abb", "ab", -1},  {true, "xAbC", "c", 3},   {true, "abc", "", -1},
  };
  for (const auto& row : rows) {
    const char* found = row.reverse ? s_strristr(row.s, row.find) : s_stristr(row.s, row.find);
    EXPECT_EQ(found ? found - row.s : -1, row.at)
        << (row.reverse ? "backwards " : "") << row.find << " in " << row.s;
  }
  EXPECT_EQ(s_stristr(static_cast<const char*>(nullptr), "a"), nullptr);
}

TEST(StringsTest, TruthWords) {
  static const struct {
    const char* text;
    int truth;
    int falsity;
  } rows[] = {
      {"On", 1, 0},    {"SELECTED", 1, 0}, {"checked", 1, 0},     {"y", 1, 0},    {"2", 1, 0},
      {"-3", 1, 0},    {"7 days", 1, 0},   {"99999999999", 1, 0}, {"0", 0, 1},    {"off", 0, 1},
      {"N", 0, 1},     {"00", 0, 1},       {"x0", 0, 1},          {" 0", 0, 1},   {"FALSE", 0, 1},
      {"", 0, 0},      {"abc", 0, 0},      {"maybe", 0, 0},       {"yess", 0, 0}, {"no way", 0, 0},
      {nullptr, 0, 0},
  };
  for (const auto& row : rows) {
    const char* name = row.text ? row.text : "(null)";
    EXPECT_EQ(istrue(row.text), row.truth) << "istrue " << name;
    EXPECT_EQ(isfalse(row.text), row.falsity) << "isfalse " << name;
  }
}

TEST(StringsTest, NumberTexts) {
  EXPECT_STREQ(number(-2147483647 - 1), "-2147483648");
  static const struct {
    const char* text;
    int size;
    const char* expected;  // null: refused, text unchanged
  } rows[] = {
      {"1234567.89", 64, "1,234,567.89"},
      {"123", 64, "123"},
      {"1234", 7, "1,234"},
      {"1234", 6, nullptr},
      {"1,234567", 64, "1,234,567"},
      {"1,234,567", 64, "1,234,567"},
      {"-1234", 64, "-1234"},
      {"", 64, ""},
      {"123456", 64, "123,456"},
  };
  for (const auto& row : rows) {
    char buffer[64];
    std::strcpy(buffer, row.text);
    char* r = comma_number(buffer, row.size);
    EXPECT_EQ(r == nullptr, row.expected == nullptr) << row.text << " size " << row.size;
    EXPECT_STREQ(buffer, row.expected ? row.expected : row.text)
        << row.text << " size " << row.size;
  }
}

TEST(StringsTest, WrapperEdges) {
  char text[] = "abc";
  EXPECT_EQ(s_atoi("99999999999"), 2147483647);  // clamped, not overflowed
  EXPECT_EQ(s_strcmp(nullptr, nullptr), -1);
  EXPECT_EQ(s_strchr(text, '\0'), nullptr);
  EXPECT_EQ(sdiff(text, "abx"), text + 2);
  EXPECT_EQ(sdiff(text, "abcdef"), text + 3);
}

}  // namespace
}  // namespace inst
