// The bounded formatter: the format is walked here, and each conversion is
// rendered on its own by the C library and then copied into the caller's
// buffer with scpy(), so that an over-long conversion is cut while plain
// characters alone can fill the buffer.
#include "lib/format.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "lib/strings.h"

namespace inst {
namespace {

// One conversion as collected from the format. The text handed to the C
// library is rebuilt from these parts, so that it is always well formed.
struct Conversion {
  std::string flags;      // "-+0 #" in the order they came
  std::string width;      // digits, or "*" when the width is an argument
  std::string precision;  // digits, or "*" when the precision is an argument
  bool has_precision = false;
  int star_width = 0;
  int star_precision = 0;
  char letter = 0;
};

// Reads one conversion starting just after its '%'. Every '*' takes the next
// int argument; the last width (or precision) written in its place counts.
// Returns the position after the conversion letter, or null when the format
// ends before a letter.
const char* collect(const char* f, va_list* args, Conversion* c) {
  for (; *f; ++f) {
    char ch = *f;
    if (ch == '-' || ch == '+' || ch == ' ' || ch == '#' ||
        (ch == '0' && !c->has_precision && c->width.empty())) {
      c->flags += ch;
    } else if (ch >= '0' && ch <= '9') {
      std::string& digits = c->has_precision ? c->precision : c->width;
      if (digits == "*") digits.clear();
      digits += ch;
    } else if (ch == '*') {
      if (c->has_precision) {
        c->star_precision = va_arg(*args, int);
        c->precision = "*";
      } else {
        c->star_width = va_arg(*args, int);
        c->width = "*";
      }
    } else if (ch == '.') {
      c->has_precision = true;
      c->precision.clear();
    } else {
      c->letter = ch;
      return f + 1;
    }
  }
  return nullptr;
}

// The text for the C library: the collected parts around `letter`.
std::string library_directive(const Conversion& c, char letter) {
  std::string directive = "%" + c.flags + c.width;
  if (c.has_precision) directive += "." + c.precision;
  directive += letter;
  return directive;
}

// Renders `value` through the directive with the C library, passing the '*'
// values first, and copies the result into dst with scpy() bounded by room.
// Returns the number of characters copied; 0 when the library refuses the
// conversion or the temporary text cannot be allocated.
template <typename T>
int render(char* dst, size_t room, const Conversion& c, const std::string& directive, T value) {
  const char* s = directive.c_str();
  bool sw = c.width == "*";
  bool sp = c.has_precision && c.precision == "*";
  auto print = [&](char* out, size_t n) {
    if (sw && sp) return std::snprintf(out, n, s, c.star_width, c.star_precision, value);
    if (sw) return std::snprintf(out, n, s, c.star_width, value);
    if (sp) return std::snprintf(out, n, s, c.star_precision, value);
    return std::snprintf(out, n, s, value);
  };
  int length = print(nullptr, 0);
  if (length < 0) return 0;
  // Only what can reach the caller's buffer is kept; the library's own cut
  // gives the same leading characters as the unbounded text.
  size_t keep = static_cast<size_t>(length);
  if (keep > room - 1) keep = room - 1;
  std::string text;
  try {
    text.resize(keep);
  } catch (const std::bad_alloc&) {
    return 0;
  }
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
    switch (c.letter) {
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
        written = render(dst, room, c, library_directive(c, 's'), text ? text : "(NULL)");
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
  try {
    walk(buffer, size, format, &ap, &count);
  } catch (const std::bad_alloc&) {
    // The walk stops where memory ran out; what was written so far stands.
  }
  va_end(ap);
  // Only plain characters can fill the buffer; it then has no terminator.
  if (count >= size) return -1;
  buffer[count] = '\0';
  return static_cast<int>(count);
}

int snprintf(char* buffer, size_t size, const char* format, ...) {
  va_list args;
  va_start(args, format);
  int result = inst::vsnprintf(buffer, size, format, args);
  va_end(args);
  return result;
}

}  // namespace inst
