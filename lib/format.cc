// The bounded formatter: the format is walked here, and each conversion is
// rendered on its own by the C library and then copied into the caller's
// buffer with scpy(), so that an over-long conversion is cut while plain
// characters alone can fill the buffer.
#include "lib/format.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "lib/strings.h"

namespace inst {
namespace {

// One conversion as collected from the format. The text handed to the C
// library is rebuilt from these parts, so that it is always well formed.
struct Conversion {
  unsigned flags = 0;  // bits of kFlagChars that were given, in any order
  int width = -1;      // digits given in the width place; -1 for none
  int precision = -1;  // digits after the '.', 0 when none follow it; -1 without '.'
  bool star_width = false;
  bool star_precision = false;
  int width_value = 0;      // the argument a '*' width took
  int precision_value = 0;  // the argument a '*' precision took
  char letter = 0;
};

constexpr char kFlagChars[] = "-+0 #";

// Adds a decimal digit to a width or precision, stopping at INT_MAX.
int add_digit(int value, char digit) {
  const int d = digit - '0';
  if (value < 0) value = 0;
  return value > (INT_MAX - d) / 10 ? INT_MAX : value * 10 + d;
}

// Reads one conversion starting just after its '%'. Every '*' takes the next
// int argument; the last width (or precision) written in its place counts.
// Returns the position after the conversion letter, or null when the format
// ends before a letter.
const char* collect(const char* f, va_list* args, Conversion* c) {
  for (; *f; ++f) {
    const char ch = *f;
    const char* flag = ch != '\0' ? std::strchr(kFlagChars, ch) : nullptr;
    const bool has_precision = c->precision >= 0;
    if (flag != nullptr && (ch != '0' || (!has_precision && c->width < 0 && !c->star_width))) {
      c->flags |= 1u << (flag - kFlagChars);
    } else if (ch >= '0' && ch <= '9') {
      if (has_precision) {
        c->star_precision = false;
        c->precision = add_digit(c->precision, ch);
      } else {
        c->star_width = false;
        c->width = add_digit(c->width, ch);
      }
    } else if (ch == '*') {
      if (has_precision) {
        c->precision_value = va_arg(*args, int);
        c->star_precision = true;
        c->precision = 0;
      } else {
        c->width_value = va_arg(*args, int);
        c->star_width = true;
        c->width = -1;
      }
    } else if (ch == '.') {
      c->precision = 0;
      c->star_precision = false;
    } else {
      c->letter = ch;
      return f + 1;
    }
  }
  return nullptr;
}

// The text for the C library: the collected parts around `letter`.
struct Directive {
  char text[64];
};

Directive library_directive(const Conversion& c, char letter) {
  Directive d;
  char flags[sizeof kFlagChars] = "";
  int n = 0;
  for (int i = 0; kFlagChars[i] != '\0'; ++i) {
    if (c.flags & (1u << i)) flags[n++] = kFlagChars[i];
  }
  flags[n] = '\0';
  char width[16] = "";
  if (c.star_width) {
    std::strcpy(width, "*");
  } else if (c.width >= 0) {
    std::snprintf(width, sizeof width, "%d", c.width);
  }
  char precision[16] = "";
  if (c.star_precision) {
    std::strcpy(precision, ".*");
  } else if (c.precision >= 0) {
    std::snprintf(precision, sizeof precision, ".%d", c.precision);
  }
  std::snprintf(d.text, sizeof d.text, "%%%s%s%s%c", flags, width, precision, letter);
  return d;
}

// What a conversion prints, for bounding its width and precision.
enum class Kind { Integer, Double, Text };

// Lowers a width or precision so large that the C library would spend long
// rendering characters that are cut away: only the first room-1 characters of
// a conversion are kept. Beyond the bounds used here a larger precision only
// adds characters after the kept ones (zeros of a number, which for a double
// come after its exact expansion of fewer than 1100 digits, so nothing is
// rounded differently; the rest of a text), and a larger width only adds
// padding after them or more padding in front than can be kept. The kept
// text is therefore the same. text_length is the length of a Text's
// argument as far as the precision lets it be read.
void bound_sizes(Conversion* c, size_t room, Kind kind, size_t text_length) {
  const uint64_t keep = room - 1;
  const auto cap = [](uint64_t value) {
    return static_cast<int>(value < INT_MAX ? value : INT_MAX);
  };
  int& precision = c->star_precision ? c->precision_value : c->precision;
  if (precision >= 0) {
    const uint64_t most = kind == Kind::Text     ? keep
                          : kind == Kind::Double ? (keep > 1100 ? keep : 1100)
                                                 : keep + 12;
    if (static_cast<uint64_t>(precision) > most) precision = cap(most);
  }
  // The longest the conversion can be without its width.
  const uint64_t digits = precision >= 0 ? static_cast<uint64_t>(precision) : 6;
  const uint64_t natural = kind == Kind::Text     ? text_length
                           : kind == Kind::Double ? digits + 340
                                                  : digits + 24;
  const int most_width = cap(keep + natural);
  int& width = c->star_width ? c->width_value : c->width;
  if (width > most_width) {
    width = most_width;
  } else if (width < -most_width) {
    width = -most_width;  // a negative '*' width left-justifies
  }
}

// Renders `value` through the directive with the C library, passing the '*'
// values first, and copies the result into dst with scpy() bounded by room.
// Returns the number of characters copied; 0 when the library refuses the
// conversion. The temporary text is never longer than the room left.
template <typename T>
int render(char* dst, size_t room, const Conversion& c, const Directive& directive, T value) {
  const char* s = directive.text;
  auto print = [&](char* out, size_t n) {
    if (c.star_width && c.star_precision) {
      return std::snprintf(out, n, s, c.width_value, c.precision_value, value);
    }
    if (c.star_width) return std::snprintf(out, n, s, c.width_value, value);
    if (c.star_precision) return std::snprintf(out, n, s, c.precision_value, value);
    return std::snprintf(out, n, s, value);
  };
  int length = print(nullptr, 0);
  if (length < 0) return 0;
  // Only what can reach the caller's buffer is kept; the library's own cut
  // gives the same leading characters as the unbounded text.
  size_t keep = static_cast<size_t>(length);
  if (keep > room - 1) keep = room - 1;
  std::string text(keep, '\0');
  print(text.data(), keep + 1);
  return scpy(dst, text.c_str(), room > INT_MAX ? INT_MAX : static_cast<int>(room));
}
// Walks the format, writing into buffer and advancing *count; stops when
// *count reaches size or the format ends.
void walk(char* buffer, size_t size, const char* f, va_list* ap, size_t* count) {
  while (*f && *count < size) {
    if (*f != '%') {
      buffer[(*count)++] = *f++;
      continue;
    }
    if (f[1] == '%') {
      buffer[(*count)++] = '%';
      f += 2;
      continue;
    }
    Conversion c;
    f = collect(f + 1, ap, &c);
    if (f == nullptr) return;
    char* dst = buffer + *count;
    size_t room = size - *count;
    int written = 0;
    const char letter = c.letter;
    if (letter != 's' && letter != 'S') {
      const bool real =
          letter == 'e' || letter == 'E' || letter == 'f' || letter == 'g' || letter == 'G';
      bound_sizes(&c, room, real ? Kind::Double : Kind::Integer, 0);
    }
    switch (letter) {
      case 'c':
      case 'C':
        written = render(dst, room, c, library_directive(c, 'c'), va_arg(*ap, int));
        break;
      case 'd':
      case 'i':
        written = render(dst, room, c, library_directive(c, c.letter), va_arg(*ap, int));
        break;
      case 'o':
      case 'u':
      case 'x':
      case 'X':
        written = render(dst, room, c, library_directive(c, c.letter), va_arg(*ap, unsigned int));
        break;
      case 'e':
      case 'E':
      case 'f':
      case 'g':
      case 'G':
        written = render(dst, room, c, library_directive(c, c.letter), va_arg(*ap, double));
        break;
      case 's':
      case 'S': {
        const char* text = va_arg(*ap, const char*);
        if (text == nullptr) text = "(NULL)";
        if (c.flags == 0 && c.width < 0 && !c.star_width && c.precision < 0) {
          // A bare "%s" prints the text as it is: copied straight, as
          // render() would keep it, without the C library's round trips.
          written = scpy(dst, text, room > INT_MAX ? INT_MAX : static_cast<int>(room));
          break;
        }
        const int limit = c.star_precision ? c.precision_value : c.precision;
        bound_sizes(&c, room, Kind::Text,
                    strnlen(text, limit >= 0 ? static_cast<size_t>(limit) : SIZE_MAX));
        written = render(dst, room, c, library_directive(c, 's'), text);
        break;
      }
      case 'p':
        written = render(dst, room, c, library_directive(c, 'p'), va_arg(*ap, void*));
        break;
      default: {
        // Any other letter stores the count so far, as %n does.
        int* out = va_arg(*ap, int*);
        if (out != nullptr) *out = static_cast<int>(*count);
        break;
      }
    }
    *count += static_cast<size_t>(written);
  }
}

}  // namespace

int vsnprintf(char* buffer, size_t size, const char* format, va_list args) {
  if (buffer == nullptr || format == nullptr) return 0;
  // A copy whose address can be handed on to the helpers that read arguments.
  va_list ap;
  va_copy(ap, args);
  size_t count = 0;
  walk(buffer, size, format, &ap, &count);
  va_end(ap);
  // Only plain characters can fill the buffer; it then has no terminator.
  if (count >= size) return -1;
  buffer[count] = '\0';
  return static_cast<int>(count);
}

int vlprintf(char* buffer, int size, const char* format, va_list args) {
  if (buffer == nullptr || size < 1 || format == nullptr) return 0;
  const int n = inst::vsnprintf(buffer, static_cast<size_t>(size), format, args);
  if (n == -1 || n >= size) {
    buffer[size - 1] = '\0';
    return size - 1;
  }
  return n;
}

namespace unchecked {

int snprintf(char* buffer, size_t size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int result = inst::vsnprintf(buffer, size, format, args);
  va_end(args);
  return result;
}

int lprintf(char* buffer, int size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  const int n = vlprintf(buffer, size, format, args);
  va_end(args);
  return n;
}

int lpcat(char* buffer, int size, const char* format, ...) {
  if (buffer == nullptr || size < 1 || format == nullptr) return 0;
  // The formatter gets one place less than is free, on purpose.
  const int len = static_cast<int>(strnlen(buffer, static_cast<size_t>(size)));
  const int room = size - 1 - len;
  if (room < 1) return 0;
  va_list args;
  va_start(args, format);
  const int n = vlprintf(buffer + len, room, format, args);
  va_end(args);
  return n;
}

}  // namespace unchecked
}  // namespace inst
