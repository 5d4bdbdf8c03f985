// Reading the description files as their loaders do: in pieces of a fixed
// size with the number of the line each piece stands on, the section headers
// of the sectioned files, and the problems a loader meets on the way, kept
// for the product's author (see -check).
#ifndef INSTALLER_LIB_LINES_H_
#define INSTALLER_LIB_LINES_H_

#include <cstdio>
#include <string>
#include <vector>

#include "lib/limits.h"

namespace inst {

// Something a loader met in a description file that the file's author
// should hear of: the loader went on, but not as the author meant.
struct Problem {
  int line = 0;       // from 1
  bool error = true;  // else a warning
  std::string text;   // what is wrong and what the loader does with it
};

// Reads a file in pieces of at most size-1 characters, as fgets() does into
// a buffer of `size`, so that a longer line arrives as several pieces, and
// counts the lines.
class LineReader {
 public:
  // Reads `in`, which stays the caller's; a size below 2 counts as 2.
  explicit LineReader(FILE* in, int size = kLineSize);
  // The next piece with its line end, in a buffer of the reader's that the
  // next call overwrites; null at the end of the file or on a read error.
  char* next();
  // The line the last piece stands on, from 1.
  int line() const { return line_; }
  // Whether the last piece is not the first of its line: the line was
  // longer than a piece.
  bool tail() const { return tail_; }
  // The longest piece, in characters.
  int piece_max() const { return static_cast<int>(buffer_.size()) - 1; }

 private:
  FILE* in_;
  std::vector<char> buffer_;
  int line_ = 0;
  bool ended_ = true;  // the last piece ended its line
  bool tail_ = false;
};

// Adds to problems the warning that the tail of the reader's current line,
// which was longer than a piece, is read as a line of its own. Once per
// line: nothing when the last problem already says so for this line.
void note_tail(std::vector<Problem>* problems, const LineReader& reader);

// The name a section header gives: the text after its '[' (the first
// character of the trimmed line), without one ']' when that ends the line,
// so "[a] x" names "a] x". Cuts the line in place and returns the name.
char* section_name(char* line);

// One section header of a question file or copy script.
struct SectionHead {
  std::string name;
  int line = 0;
};
// Lists the section headers of `file` in file order, found as the loaders
// find them (trimmed lines starting with '[', in pieces of 999 characters).
// Returns false when the file cannot be opened (heads left empty).
bool list_sections(const char* file, std::vector<SectionHead>* heads);

}  // namespace inst

#endif  // INSTALLER_LIB_LINES_H_
