#include "lib/format.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

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

// A star value and one argument, taken as the format's last letter wants.
struct StarRow {
  size_t size;
  const char* format;
  int star;
  int i;
  double d;
  const char* s;
};

template <typename Print>
int CallWith(Print print, char* buffer, size_t size, const StarRow& row) {
  const char letter = row.format[std::strlen(row.format) - 1];
  if (std::strchr("eEfgG", letter) != nullptr)
    return print(buffer, size, row.format, row.star, row.d);
  if (letter == 's') return print(buffer, size, row.format, row.star, row.s);
  return print(buffer, size, row.format, row.star, row.i);
}

TEST(FormatTest, LargeWidthsAndPrecisionsKeepTheTextThatFits) {
  // The C library renders these whole in a big buffer; the formatter must
  // keep the same first size-1 characters.
  static const StarRow rows[] = {
      {10, "%*d", 5000, 42, 0, nullptr},
      {10, "%-*d", 5000, 42, 0, nullptr},
      {10, "%0*d", 5000, -42, 0, nullptr},
      {10, "%#0*x", 5000, 255, 0, nullptr},
      {10, "%.*d", 5000, -7, 0, nullptr},
      {10, "%#.*o", 5000, 8, 0, nullptr},
      {10, "%-*c", -3000, 'q', 0, nullptr},
      {12, "%*s", 4000, 0, 0, "abc"},
      {12, "%.*s", 4000, 0, 0, "abcdefghijklmnop"},
      {2000, "%.*f", 3000, 0, 1.0 / 3, nullptr},
      {20, "%.*e", 1500, 0, 4.9e-324, nullptr},
      {1200, "%#.*g", 5000, 0, 0.1, nullptr},
      {11, "%.*f", 1200, 0, 0.99999999999999989, nullptr},
      {40, "%+0*f", 20000, 0, -1e300, nullptr},
  };
  std::vector<char> whole(1 << 16);
  for (const auto& row : rows) {
    const int n = CallWith(
        [](char* b, size_t z, const char* f, auto... a) { return std::snprintf(b, z, f, a...); },
        whole.data(), whole.size(), row);
    ASSERT_GT(n, 0) << row.format;
    ASSERT_LT(static_cast<size_t>(n), whole.size()) << row.format;
    const std::string expected(whole.data(), std::min(static_cast<size_t>(n), row.size - 1));
    std::vector<char> buffer(row.size);
    EXPECT_EQ(CallWith(fmt, buffer.data(), row.size, row), static_cast<int>(expected.size()))
        << row.format;
    EXPECT_EQ(std::string(buffer.data()), expected) << row.format << " star " << row.star;
  }
}

TEST(FormatTest, HugeWidthsAndPrecisionsEndQuickly) {
  static const struct {
    StarRow row;
    const char* expected;
  } rows[] = {
      {{8, "%*d", INT_MAX, 1, 0, nullptr}, "       "},
      {{8, "%-*d", -INT_MAX, 1, 0, nullptr}, "1      "},
      {{8, "%.*x", INT_MAX, 1, 0, nullptr}, "0000000"},
      {{8, "%.*f", INT_MAX, 0, 2.5, nullptr}, "2.50000"},
      {{8, "%0*g", INT_MAX, 0, -1.0, nullptr}, "-000000"},
      {{8, "%*s", INT_MAX, 0, 0, "x"}, "       "},
  };
  const auto start = std::chrono::steady_clock::now();
  for (const auto& row : rows) {
    char buffer[8];
    EXPECT_EQ(CallWith(fmt, buffer, sizeof buffer, row.row), 7) << row.row.format;
    EXPECT_STREQ(buffer, row.expected) << row.row.format;
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
}

}  // namespace
}  // namespace inst
