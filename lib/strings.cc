// Text helpers: null-safe wrappers, bounded copies, trimming, tokenizing,
// case-blind comparison and search, truth words and number texts.
#include "lib/strings.h"

#include <cctype>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace inst {

// clang-format off
const unsigned char charmap[256] = {
    0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f,
    0x10, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x1b, 0x1c, 0x1d, 0x1e, 0x1f,
    0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x2b, 0x2c, 0x2d, 0x2e, 0x2f,
    0x30, 0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x3b, 0x3c, 0x3d, 0x3e, 0x3f,
    0x40, 'a',  'b',  'c',  'd',  'e',  'f',  'g',  'h',  'i',  'j',  'k',  'l',  'm',  'n',  'o',
    'p',  'q',  'r',  's',  't',  'u',  'v',  'w',  'x',  'y',  'z',  0x5b, 0x5c, 0x5d, 0x5e, 0x5f,
    0x60, 0x61, 0x62, 0x63, 0x64, 0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x6b, 0x6c, 0x6d, 0x6e, 0x6f,
    0x70, 0x71, 0x72, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x7b, 0x7c, 0x7d, 0x7e, 0x7f,
    0x80, 0x81, 0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x8b, 0x8c, 0x8d, 0x8e, 0x8f,
    0x90, 0x91, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9a, 0x9b, 0x9c, 0x9d, 0x9e, 0x9f,
    0xa0, 0xa1, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xab, 0xac, 0xad, 0xae, 0xaf,
    0xb0, 0xb1, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba, 0xbb, 0xbc, 0xbd, 0xbe, 0xbf,
    0xc0, 0xc1, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xcb, 0xcc, 0xcd, 0xce, 0xcf,
    0xd0, 0xd1, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xdb, 0xdc, 0xdd, 0xde, 0xdf,
    0xe0, 0xe1, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xeb, 0xec, 0xed, 0xee, 0xef,
    0xf0, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa, 0xfb, 0xfc, 0xfd, 0xfe, 0xff,
};
// clang-format on

namespace {

bool is_space(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// The leading number as atoi reads it (blanks, a sign, digits), clamped to
// the range of int instead of overflowing.
int leading_int(const char* s) {
  long value = std::strtol(s, nullptr, 10);
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

bool is_word(const char* s, const char* const* words) {
  for (; *words; ++words) {
    if (s_stricmp(s, *words) == 0) return true;
  }
  return false;
}

}  // namespace

size_t s_strlen(const char* s) { return s ? std::strlen(s) : 0; }

size_t s_strcspn(const char* s, const char* reject) {
  return s && reject ? std::strcspn(s, reject) : 0;
}

int s_atoi(const char* s) { return s ? leading_int(s) : 0; }

long s_atol(const char* s) { return s ? std::strtol(s, nullptr, 10) : 0; }

double s_atof(const char* s) { return s ? std::strtod(s, nullptr) : 0; }

unsigned long s_strtoul(const char* s, char** end, int base) {
  return s ? std::strtoul(s, end, base) : 0;
}

int s_strcmp(const char* a, const char* b) { return a && b ? std::strcmp(a, b) : -1; }

int s_strncmp(const char* a, const char* b, size_t n) {
  return a && b ? std::strncmp(a, b, n) : -1;
}

const char* s_strchr(const char* s, int c) {
  if (s == nullptr || static_cast<char>(c) == '\0') return nullptr;
  return std::strchr(s, c);
}

char* s_strchr(char* s, int c) {
  return const_cast<char*>(s_strchr(static_cast<const char*>(s), c));
}

const char* s_strstr(const char* s, const char* find) {
  return s && find ? std::strstr(s, find) : nullptr;
}

char* s_strstr(char* s, const char* find) {
  return const_cast<char*>(s_strstr(static_cast<const char*>(s), find));
}

char* s_strdup(const char* s) {
  if (s == nullptr) return nullptr;
  size_t n = std::strlen(s) + 1;
  char* copy = new char[n];
  std::memcpy(copy, s, n);
  return copy;
}

char* s_strcpy(char* dst, const char* src) {
  if (dst && src) std::strcpy(dst, src);
  return dst;
}

char* s_strcat(char* dst, const char* src) {
  if (dst && src) std::strcat(dst, src);
  return dst;
}

const char* str(const char* s) { return s ? s : ""; }

FILE* s_fopen(const char* path, const char* mode) {
  return path && mode ? std::fopen(path, mode) : nullptr;
}

void s_fclose(FILE** stream) {
  if (stream == nullptr || *stream == nullptr) return;
  std::fclose(*stream);
  *stream = nullptr;
}

int s_stricmp(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) return -1;
  while (*a && *b && fold(*a) == fold(*b)) {
    ++a;
    ++b;
  }
  return fold(*a) - fold(*b);
}

int s_strnicmp(const char* a, const char* b, size_t n) {
  if (a == nullptr || b == nullptr) return -1;
  for (size_t i = 0; i < n; ++i) {
    if (a[i] == '\0' || b[i] == '\0' || fold(a[i]) != fold(b[i])) return fold(a[i]) - fold(b[i]);
  }
  return 0;
}

char* s_strlwr(char* s) {
  if (s == nullptr) return nullptr;
  for (; *s; ++s) *s = static_cast<char>(fold(*s));
  return s;
}

char* s_strupr(char* s) {
  if (s == nullptr) return nullptr;
  for (; *s; ++s) {
    if (*s >= 'a' && *s <= 'z') *s = static_cast<char>(*s - 'a' + 'A');
  }
  return s;
}

int scpy(char* dst, const char* src, int size) {
  if (dst == nullptr || size < 1) return 0;
  int n = 0;
  if (src) {
    while (n < size - 1 && src[n]) {
      dst[n] = src[n];
      ++n;
    }
  }
  dst[n] = '\0';
  return n;
}

int scat(char* dst, const char* src, int size) {
  if (dst == nullptr || src == nullptr || size < 1) return 0;
  int n = 0;
  while (n < size - 1 && dst[n]) ++n;
  // The appended text stops one character short of what scpy would allow;
  // the margin is kept on purpose.
  while (n < size - 2 && *src) dst[n++] = *src++;
  dst[n] = '\0';
  return n;
}

char* smake(const char* src, int n) {
  if (src == nullptr || n <= 0) return nullptr;
  char* text = new char[static_cast<size_t>(n) + 1];
  scpy(text, src, n);
  return text;
}

int schunk(const char* src, const char* delims, char* dst, int size) {
  if (src == nullptr || dst == nullptr || size < 1) return 0;
  size_t stop = delims ? std::strcspn(src, delims) : std::strlen(src);
  int n = 0;
  while (static_cast<size_t>(n) < stop && n < size - 1) {
    dst[n] = src[n];
    ++n;
  }
  dst[n] = '\0';
  return n;
}

char* spre(char* dst, const char* prefix, int size) {
  if (dst == nullptr || prefix == nullptr) return nullptr;
  size_t len = std::strlen(dst);
  size_t plen = std::strlen(prefix);
  if (size < 1 || len + plen >= static_cast<size_t>(size)) return nullptr;
  std::memmove(dst + plen, dst, len + 1);
  std::memcpy(dst, prefix, plen);
  return dst;
}

char* sadd(char* s, const char* add) {
  if (add == nullptr) return s;
  size_t len = s ? std::strlen(s) : 0;
  size_t alen = std::strlen(add);
  char* grown = new char[len + alen + 1];
  if (len) std::memcpy(grown, s, len);
  std::memcpy(grown + len, add, alen + 1);
  delete[] s;
  return grown;
}

char* sreplace(const char* src, const char* find, const char* repl, char* dst, int size) {
  if (src == nullptr || find == nullptr || *find == '\0' || dst == nullptr) return nullptr;
  if (size < 1) return dst;
  size_t flen = std::strlen(find);
  int n = 0;
  while (*src && n < size - 1) {
    if (std::strncmp(src, find, flen) == 0) {
      n += scpy(dst + n, repl, size - n);
      src += flen;
    } else {
      dst[n++] = *src++;
    }
  }
  dst[n] = '\0';
  return dst;
}

char* creplace(char* s, int from, int to) {
  if (s == nullptr) return nullptr;
  for (char* p = s; *p; ++p) {
    if (*p == static_cast<char>(from)) *p = static_cast<char>(to);
  }
  return s;
}

const char* sdiff(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) return a;
  while (*a && *a == *b) {
    ++a;
    ++b;
  }
  return a;
}

char* s_strtrm(char* s) {
  if (s == nullptr) return nullptr;
  size_t n = std::strlen(s);
  while (n > 0 && is_space(s[n - 1])) s[--n] = '\0';
  while (is_space(*s)) ++s;
  return s;
}

char* strip_whitespace(char* s) {
  if (s == nullptr) return nullptr;
  while (is_space(*s)) ++s;
  return strip_eol_r(s);
}

char* strip_eol_r(char* s) {
  if (s == nullptr) return nullptr;
  s[std::strcspn(s, "\r\n")] = '\0';
  return s;
}

char* s_strtok(char* s, const char* delims, char** next) {
  if (delims == nullptr) return nullptr;
  if (s == nullptr) {
    if (next == nullptr || *next == nullptr) return nullptr;
    s = *next;
  }
  s += std::strspn(s, delims);
  if (*s == '\0') {
    if (next) *next = nullptr;
    return nullptr;
  }
  char* end = s + std::strcspn(s, delims);
  char* after = nullptr;
  if (*end) {
    *end = '\0';
    after = end + 1;
  }
  if (next) *next = after;
  return s;
}

const char* s_stristr(const char* s, const char* find) {
  if (s == nullptr || find == nullptr || *find == '\0') return nullptr;
  const char* start = nullptr;
  size_t j = 0;
  for (; *s; ++s) {
    if (fold(*s) == fold(find[j])) {
      if (j == 0) start = s;
      if (find[++j] == '\0') return start;
    } else {
      // Deliberately simple: the mismatched character is not tried again
      // as the start of a new match.
      j = 0;
    }
  }
  return nullptr;
}

char* s_stristr(char* s, const char* find) {
  return const_cast<char*>(s_stristr(static_cast<const char*>(s), find));
}

const char* s_strristr(const char* s, const char* find) {
  if (s == nullptr || find == nullptr || *find == '\0') return nullptr;
  size_t last = std::strlen(find) - 1;
  size_t j = last;
  for (size_t i = std::strlen(s); i-- > 0;) {
    if (fold(s[i]) == fold(find[j])) {
      if (j == 0) return s + i;
      --j;
    } else {
      j = last;
    }
  }
  return nullptr;
}

char* s_strristr(char* s, const char* find) {
  return const_cast<char*>(s_strristr(static_cast<const char*>(s), find));
}

int istrue(const char* s) {
  static const char* const kWords[] = {"true", "yes", "y", "on", "checked", "selected", nullptr};
  if (s == nullptr) return 0;
  return is_word(s, kWords) || leading_int(s) != 0 ? 1 : 0;
}

int isfalse(const char* s) {
  static const char* const kWords[] = {"false", "no", "n", "off", nullptr};
  if (s == nullptr) return 0;
  if (is_word(s, kWords)) return 1;
  // A digit in the second place counts too, so "x0" and " 0" are false.
  if (is_digit(s[0]) || (s[0] && is_digit(s[1]))) return leading_int(s) == 0 ? 1 : 0;
  return 0;
}

const char* number(int n) {
  // Decimal digits as "%d" writes them; the text helpers stay below the
  // formatter, which copies with scpy.
  static char string[50];
  *std::to_chars(string, string + sizeof string - 1, n).ptr = '\0';
  return string;
}

char* comma_number(char* s, int size) {
  if (s == nullptr) return nullptr;
  // The run is made of digits and of commas already standing among them.
  size_t end = 0;
  while (is_digit(s[end]) || (end > 0 && s[end] == ',')) ++end;
  while (end > 0 && s[end - 1] == ',') --end;
  // Count the commas to add: one after every three digits from the right,
  // unless one already stands there or no digit precedes the place.
  size_t adds = 0;
  int digits = 0;
  for (size_t i = end; i-- > 0;) {
    if (s[i] == ',') {
      digits = 0;
      continue;
    }
    if (++digits == 3 && i > 0 && s[i - 1] != ',') {
      ++adds;
      digits = 0;
    }
  }
  if (adds == 0) return s;
  size_t len = std::strlen(s);
  if (size < 1 || len + adds >= static_cast<size_t>(size) - 1) return nullptr;
  // Move the tail once, then fill the run from the right.
  std::memmove(s + end + adds, s + end, len - end + 1);
  size_t out = end + adds;
  digits = 0;
  for (size_t i = end; i-- > 0;) {
    s[--out] = s[i];
    if (s[i] == ',') {
      digits = 0;
      continue;
    }
    if (++digits == 3 && i > 0 && s[i - 1] != ',') {
      s[--out] = ',';
      digits = 0;
    }
  }
  return s;
}

}  // namespace inst
