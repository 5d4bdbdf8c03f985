// The program's own bounded formatter. Every bounded formatting call inside
// the project namespace resolves to these rather than to the C library's.
#ifndef INSTALLER_LIB_FORMAT_H_
#define INSTALLER_LIB_FORMAT_H_

#include <cstdarg>
#include <cstddef>

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

// vsnprintf() with a variable argument list.
int snprintf(char* buffer, size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

}  // namespace inst

#endif  // INSTALLER_LIB_FORMAT_H_
