#include "lib/format.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace inst {
namespace {

// Calls vsnprintf without the compiler's format check, so that conversions
// the checker rejects (%C, %S, unknown letters) can be tried too.
int fmt(char* buffer, size_t size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  int result = inst::vsnprintf(buffer, size, format, args);
  va_end(args);
  return result;
}

TEST(FormatTest, IntegerFlagsWidthsAndStars) {
  // A negative '*' width left-justifies; a negative '*' precision counts as
  // none; a flag after the width still counts.
  static const struct {
    const char* format;
    int a, b;
    const char* expected;
  } rows[] = {
      {"%5d", 42, 0, "   42"},  {"%-5d|", 42, 0, "42   |"},  {"%+05d", 42, 0, "+0042"},
      {"%#x", 255, 0, "0xff"},  {"%u", -1, 0, "4294967295"}, {"%C", 'z', 0, "z"},
      {"a%%b%i", 1, 0, "a%b1"}, {"%5-d|", 42, 0, "42   |"},  {"%*d", 6, 1, "     1"},
      {"%*d|", -4, 7, "7   |"}, {"%.*d", 3, 7, "007"},       {"%.*d", -1, 7, "7"},
  };
  for (const auto& row : rows) {
    char buffer[64];
    int n = fmt(buffer, sizeof buffer, row.format, row.a, row.b);
    EXPECT_EQ(n, static_cast<int>(std::strlen(row.expected))) << "format " << row.format;
    EXPECT_STREQ(buffer, row.expected) << "format " << row.format;
  }
}

TEST(FormatTest, TextsDoublesAndUnknownLetters) {
  char buffer[400];
  EXPECT_EQ(fmt(buffer, sizeof buffer, "%*.*s|%d", -6, 2, "hello", 3), 8);
  EXPECT_STREQ(buffer, "he    |3");
  fmt(buffer, sizeof buffer, "%s|%S|%-5s|", nullptr, "wide", "ab");
  EXPECT_STREQ(buffer, "(NULL)|wide|ab   |");
  fmt(buffer, sizeof buffer, "%.2f %g %E", 3.14159, 0.5, 1.0);
  EXPECT_STREQ(buffer, "3.14 0.5 1.000000E+00");
  // A conversion wider than any fixed scratch space still comes out whole.
  EXPECT_EQ(fmt(buffer, sizeof buffer, "%350s", "x"), 350);
  EXPECT_EQ(std::string(buffer), std::string(349, ' ') + "x");
  // Any other letter stores the count, a length modifier too, and the
  // letter after it is plain.
  int seen = -1;
  EXPECT_EQ(fmt(buffer, sizeof buffer, "ab%qcd", &seen), 4);
  EXPECT_EQ(seen, 2);
  EXPECT_EQ(fmt(buffer, sizeof buffer, "x%ld", &seen), 2);
  EXPECT_STREQ(buffer, "xd");
  EXPECT_EQ(seen, 1);
}

TEST(FormatTest, OverflowCutsConversionsButPlainCharactersGiveMinusOne) {
  // v vsnprintf, p lprintf and c lpcat (which hands the formatter one place
  // less than is free) into size characters that hold `start`; bytes: the
  // buffer's first size+1 bytes afterwards, '#' where nothing was written.
  // The last 'v' row's format ends inside a conversion.
  static const struct {
    char op;
    const char* start;
    int size;
    const char* format;
    const char* arg;
    int result;
    const char* bytes;
  } rows[] = {
      {'v', "", 4, "%s", "abcdef", 3, "abc\0#"},
      {'v', "", 3, "abcd", nullptr, -1, "abc#"},
      {'v', "", 5, "ab%s", "cdefg", 4, "abcd\0#"},
      {'v', "", 3, "%sxyz", "ab", -1, "abx#"},
      {'v', "", 0, "x", nullptr, -1, "#"},
      {'v', "", 6, "ab%-", "x", 2, "ab\0####"},
      {'p', "", 5, "abcdefg", nullptr, 4, "abcd\0#"},
      {'p', "", 1, "abc", nullptr, 0, "\0#"},
      {'c', "ab", 6, "%s", "abcdef", 2, "abab\0##"},
      {'c', "ab", 6, "cdefg", nullptr, 2, "abcd\0##"},
      {'c', "ab", 6, "x", nullptr, 1, "abx\0###"},
      {'c', "abcde", 6, "x", nullptr, 0, "abcde\0#"},
  };
  for (const auto& row : rows) {
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    if (*row.start) std::strcpy(buffer, row.start);
    const size_t size = static_cast<size_t>(row.size);
    const int n = row.op == 'p'   ? unchecked::lprintf(buffer, row.size, row.format, row.arg)
                  : row.op == 'c' ? unchecked::lpcat(buffer, row.size, row.format, row.arg)
                                  : fmt(buffer, size, row.format, row.arg);
    const std::string label =
        row.op + std::string(" ") + row.format + " size " + std::to_string(size);
    EXPECT_EQ(n, row.result) << label;
    EXPECT_EQ(std::string(buffer, size + 1), std::string(row.bytes, size + 1)) << label;
  }
  char buffer[4];
  EXPECT_EQ(inst::snprintf(nullptr, 4, "x"), 0);
  EXPECT_EQ(fmt(buffer, sizeof buffer, nullptr), 0);
}

}  // namespace
}  // namespace inst
