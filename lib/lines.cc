#include "lib/lines.h"

#include <cstring>

#include "lib/format.h"
#include "lib/strings.h"

namespace inst {

LineReader::LineReader(FILE* in, int size)
    : in_(in), buffer_(static_cast<size_t>(size < 2 ? 2 : size)) {}

char* LineReader::next() {
  if (in_ == nullptr ||
      std::fgets(buffer_.data(), static_cast<int>(buffer_.size()), in_) == nullptr) {
    return nullptr;
  }
  tail_ = !ended_;
  if (ended_) ++line_;
  ended_ = std::strchr(buffer_.data(), '\n') != nullptr;
  return buffer_.data();
}

void note_tail(std::vector<Problem>* problems, const LineReader& reader) {
  if (problems == nullptr) return;
  // The loaders' only warnings are these, so one on this line is this one.
  for (auto it = problems->rbegin(); it != problems->rend() && it->line == reader.line(); ++it) {
    if (!it->error) return;
  }
  char text[kLineSize];
  lprintf(text, sizeof text,
          "line longer than %d characters: the rest of it is read as a line of its own",
          reader.piece_max());
  problems->push_back({reader.line(), false, text});
}

char* section_name(char* line) {
  char* name = line + 1;
  const size_t length = std::strlen(name);
  if (length > 0 && name[length - 1] == ']') name[length - 1] = '\0';
  return name;
}

bool list_sections(const char* file, std::vector<SectionHead>* heads) {
  OpenFile in(s_fopen(file, "r"));
  if (in.f == nullptr || heads == nullptr) return false;
  LineReader reader(in.f);
  while (char* piece = reader.next()) {
    char* line = s_strtrm(piece);
    if (*line == '[') heads->push_back({section_name(line), reader.line()});
  }
  return true;
}

}  // namespace inst
