// The fixed sizes that users can see: how long a line, a path or a message
// may be, and the unit in which files are copied. Every buffer of these
// kinds is declared with these names, so a cut happens in one known place.
#ifndef INSTALLER_LIB_LIMITS_H_
#define INSTALLER_LIB_LIMITS_H_

namespace inst {

// A line buffer: a line read from a file or the terminal, a message body, a
// setting's work text. 999 characters and the terminator.
constexpr int kLineSize = 1000;
// The longest message or log line body; longer texts are cut to it.
constexpr int kMessageMax = kLineSize - 1;
// A path buffer: 255 characters and the terminator.
constexpr int kPathSize = 256;
// A settings-file template (the copy script's Ini command) is read in
// pieces of 2999 characters, each written as a line.
constexpr int kTemplateLineSize = 3000;
// The unit in which copies read, write and count their bytes.
constexpr int kCopyChunk = 8192;

}  // namespace inst

#endif  // INSTALLER_LIB_LIMITS_H_
