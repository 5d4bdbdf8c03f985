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

TEST(FormatTest, IntegerConversionsWithFlagsAndWidths) {
  static const struct {
    const char* format;
    int value;
    const char* expected;
  } rows[] = {
      {"%5d", 42, "   42"},  {"%-5d|", 42, "42   |"},  {"%+05d", 42, "+0042"},
      {"%#x", 255, "0xff"},  {"%u", -1, "4294967295"}, {"%C", 'z', "z"},
      {"a%%b%i", 1, "a%b1"}, {"%5-d|", 42, "42   |"},  // a flag after the width still counts
  };
  for (const auto& row : rows) {
    char buffer[64];
    int n = fmt(buffer, sizeof buffer, row.format, row.value);
    EXPECT_STREQ(buffer, row.expected) << "format " << row.format;
    EXPECT_EQ(n, static_cast<int>(std::strlen(row.expected))) << "format " << row.format;
  }
}

TEST(FormatTest, StarTakesWidthAndPrecisionFromArguments) {
  static const struct {
    const char* format;
    int star;
    int value;
    const char* expected;
  } rows[] = {
      {"%*d", 6, 1, "     1"},
      {"%*d|", -4, 7, "7   |"},  // a negative width left-justifies
      {"%.*d", 3, 7, "007"},
      {"%.*d", -1, 7, "7"},  // a negative precision counts as none
  };
  for (const auto& row : rows) {
    char buffer[64];
    fmt(buffer, sizeof buffer, row.format, row.star, row.value);
    EXPECT_STREQ(buffer, row.expected) << "format " << row.format;
  }
  char buffer[64];
  EXPECT_EQ(fmt(buffer, sizeof buffer, "%*.*s|%d", -6, 2, "hello", 3), 8);
  EXPECT_STREQ(buffer, "he    |3");
}

TEST(FormatTest, TextsDoublesAndPointers) {
  char buffer[400];
  fmt(buffer, sizeof buffer, "%s|%S|%.2s|%-5s|", nullptr, "wide", "abc", "ab");
  EXPECT_STREQ(buffer, "(NULL)|wide|ab|ab   |");
  fmt(buffer, sizeof buffer, "%.2f %g %E", 3.14159, 0.5, 1.0);
  EXPECT_STREQ(buffer, "3.14 0.5 1.000000E+00");
  // A conversion wider than any fixed scratch space still comes out whole.
  EXPECT_EQ(fmt(buffer, sizeof buffer, "%350s", "x"), 350);
  EXPECT_EQ(std::string(buffer), std::string(349, ' ') + "x");
}

TEST(FormatTest, UnknownLettersStoreTheCount) {
  char buffer[32];
  int seen = -1;
  EXPECT_EQ(fmt(buffer, sizeof buffer, "ab%qcd", &seen), 4);
  EXPECT_STREQ(buffer, "abcd");
  EXPECT_EQ(seen, 2);
  // A length modifier is an unknown letter; the letter after it is plain.
  EXPECT_EQ(fmt(buffer, sizeof buffer, "x%ld", &seen), 2);
  EXPECT_STREQ(buffer, "xd");
  EXPECT_EQ(seen, 1);
  EXPECT_EQ(fmt(buffer, sizeof buffer, "%n", nullptr), 0);
}

TEST(FormatTest, OverflowCutsConversionsButPlainCharactersGiveMinusOne) {
  static const struct {
    size_t size;
    const char* format;
    const char* arg;
    int result;
    const char* text;  // the first characters of the buffer
  } rows[] = {
      {10, "%s", "abcdefghijklmno", 9, "abcdefghi"},
      {5, "abcdefg", nullptr, -1, "abcde"},
      {5, "ab%s", "cdefg", 4, "abcd"},
      {3, "%sxyz", "ab", -1, "abx"},
      {4, "%s", nullptr, 3, "(NU"},
      {8, "%s%s", "abcdefgh", 7, "abcdefg"},
      {6, "ab%-", "unused", 2, "ab"},  // a format cut inside a conversion
      {0, "x", nullptr, -1, ""},
  };
  for (const auto& row : rows) {
    char buffer[16];
    std::memset(buffer, '#', sizeof buffer);
    int n = fmt(buffer, row.size, row.format, row.arg, row.arg);
    EXPECT_EQ(n, row.result) << "format " << row.format << " size " << row.size;
    EXPECT_EQ(std::string(buffer, std::strlen(row.text)), row.text) << "format " << row.format;
    size_t end = row.result < 0 ? row.size : static_cast<size_t>(row.result);
    EXPECT_EQ(buffer[end], row.result < 0 ? '#' : '\0') << "format " << row.format;
    EXPECT_EQ(buffer[row.size], '#') << "wrote past the buffer, format " << row.format;
  }
}

TEST(FormatTest, AbsentBufferOrFormatGiveZero) {
  char buffer[4] = "abc";
  EXPECT_EQ(inst::snprintf(nullptr, 4, "x"), 0);
  EXPECT_EQ(fmt(buffer, sizeof buffer, nullptr), 0);
  EXPECT_STREQ(buffer, "abc");
}

}  // namespace
}  // namespace inst
