// The program's own bounded formatter, the "format, then cut" helpers built
// on it, and the compile-time checked format type that every printf-style
// function of the program takes.
#ifndef INSTALLER_LIB_FORMAT_H_
#define INSTALLER_LIB_FORMAT_H_

#include <cstdarg>
#include <cstddef>
#include <type_traits>

namespace inst {

// Formats into `buffer` of `size` characters. Plain characters are copied one
// by one; each conversion is rendered on its own and copied with scpy() into
// the room left, so a conversion that does not fit is cut and keeps one place
// free. Supported: flags "-+0 #", width and precision (digits or '*'), the
// letters c C d i o u x X (int), e E f g G (double), s S (text; a null text
// prints "(NULL)"), p (pointer); C and S print as c and s do. Any other
// character in the letter's place stores the count so far through an int
// pointer, as %n does; there are no length modifiers. A '*' value is passed
// on as taken, so a negative width left-justifies and a negative precision
// counts as none. A format that ends inside a conversion writes nothing for it.
// Returns the number of characters written and terminates the text, or -1
// when plain characters filled the buffer (then it is not terminated).
// Returns 0 for a null buffer or format.
int vsnprintf(char* buffer, size_t size, const char* format, va_list args);

// Format, then cut: formats into buffer of size characters; when the text
// does not fit (the formatter gives -1 or exactly size) it is cut to size-1
// characters and size-1 is returned; otherwise the formatter's count. 0 for
// a null buffer or format or a size below 1. Every bounded message, log line
// and formatted setting value is made with this.
int vlprintf(char* buffer, int size, const char* format, va_list args);

// What one argument of a formatting call can stand for.
enum class ArgKind : unsigned char { Int, Double, Text, Null, Pointer, IntPointer, Other };

template <typename T>
consteval ArgKind arg_kind() {
  using U = std::remove_cv_t<T>;
  if constexpr (std::is_same_v<U, std::nullptr_t>) {
    return ArgKind::Null;
  } else if constexpr (std::is_integral_v<U> || std::is_enum_v<U>) {
    // The formatter reads every integer as an int.
    return sizeof(U) <= sizeof(int) ? ArgKind::Int : ArgKind::Other;
  } else if constexpr (std::is_floating_point_v<U>) {
    return sizeof(U) <= sizeof(double) ? ArgKind::Double : ArgKind::Other;
  } else if constexpr (std::is_pointer_v<U>) {
    using P = std::remove_cv_t<std::remove_pointer_t<U>>;
    if constexpr (std::is_same_v<P, char>) return ArgKind::Text;
    if constexpr (std::is_same_v<P, int>) return ArgKind::IntPointer;
    return ArgKind::Pointer;
  } else {
    return ArgKind::Other;
  }
}

// Reached only while a format is checked at compile time: calling one of
// them there stops the build, and the compiler's message names it.
void format_length_modifiers_are_not_supported();
void format_conversion_letter_is_not_supported();
void format_ends_inside_a_conversion();
void format_argument_does_not_suit_its_conversion();
void format_has_more_conversions_than_arguments();
void format_has_more_arguments_than_conversions();

// A format text checked at compile time against the arguments that follow
// it. It accepts exactly what the formatter supports (flags, width and
// precision as digits or '*', and the letters c C d i o u x X e E f g G s S
// p n) and requires each argument to suit its conversion: an integer of at
// most int's size for the integer letters and '*', a floating-point number
// for the double letters, a text (or nullptr) for s, any pointer for p, an
// int pointer for n. Length modifiers, other letters, an unfinished
// conversion and a count of arguments that differs from the conversions'
// are compile errors. A null format is allowed: the functions then do
// nothing.
template <typename... Args>
class Format {
 public:
  consteval Format(const char* text) : text_(text) { check(text); }  // NOLINT: implicit on purpose
  constexpr const char* text() const { return text_; }

 private:
  static consteval void check(const char* f) {
    if (f == nullptr) return;
    constexpr ArgKind kinds[] = {arg_kind<Args>()..., ArgKind::Other};
    size_t next = 0;
    auto take = [&](ArgKind a, ArgKind b = ArgKind::Other, ArgKind c = ArgKind::Other,
                    ArgKind d = ArgKind::Other) {
      if (next >= sizeof...(Args)) format_has_more_conversions_than_arguments();
      const ArgKind kind = kinds[next++];
      if (kind == ArgKind::Other || (kind != a && kind != b && kind != c && kind != d)) {
        format_argument_does_not_suit_its_conversion();
      }
    };
    for (; *f != '\0'; ++f) {
      if (*f != '%') continue;
      ++f;
      if (*f == '%') continue;
      for (;; ++f) {
        const char c = *f;
        if (c == '\0') format_ends_inside_a_conversion();
        if (c == '*') {
          take(ArgKind::Int);
        } else if (!(c == '-' || c == '+' || c == ' ' || c == '#' || c == '.' ||
                     (c >= '0' && c <= '9'))) {
          break;
        }
      }
      switch (*f) {
        case 'c':
        case 'C':
        case 'd':
        case 'i':
        case 'o':
        case 'u':
        case 'x':
        case 'X':
          take(ArgKind::Int);
          break;
        case 'e':
        case 'E':
        case 'f':
        case 'g':
        case 'G':
          take(ArgKind::Double);
          break;
        case 's':
        case 'S':
          take(ArgKind::Text, ArgKind::Null);
          break;
        case 'p':
          take(ArgKind::Pointer, ArgKind::Text, ArgKind::IntPointer, ArgKind::Null);
          break;
        case 'n':
          take(ArgKind::IntPointer);
          break;
        case 'h':
        case 'l':
        case 'L':
        case 'q':
        case 'j':
        case 'z':
        case 't':
          format_length_modifiers_are_not_supported();
          break;
        default:
          format_conversion_letter_is_not_supported();
      }
    }
    if (next != sizeof...(Args)) format_has_more_arguments_than_conversions();
  }

  const char* text_;
};

// The checked format type for the arguments `Args`, as a parameter that
// takes no part in deducing them.
template <typename... Args>
using FormatFor = Format<std::type_identity_t<Args>...>;

// The same operations with an unchecked format, for the checked wrappers
// below and for callers whose format is only known at run time.
namespace unchecked {
int snprintf(char* buffer, size_t size, const char* format, ...);
int lprintf(char* buffer, int size, const char* format, ...);
int lpcat(char* buffer, int size, const char* format, ...);
}  // namespace unchecked

// vsnprintf() with a variable argument list.
template <typename... Args>
int snprintf(char* buffer, size_t size, FormatFor<Args...> format, Args... args) {
  return unchecked::snprintf(buffer, size, format.text(), args...);
}

// vlprintf() with a variable argument list: formats into buffer of size
// characters, cutting an overflow to size-1 characters.
template <typename... Args>
int lprintf(char* buffer, int size, FormatFor<Args...> format, Args... args) {
  return unchecked::lprintf(buffer, size, format.text(), args...);
}

// Appends formatted text to buffer's text, handing the formatter one place
// less than is free (kept on purpose). Returns the number of characters
// appended; on overflow the appended part is cut. A buffer already full is
// left as it is and 0 returned.
template <typename... Args>
int lpcat(char* buffer, int size, FormatFor<Args...> format, Args... args) {
  return unchecked::lpcat(buffer, size, format.text(), args...);
}

}  // namespace inst

#endif  // INSTALLER_LIB_FORMAT_H_
