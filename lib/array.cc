// The array operations on texts: comparison, tokenizing and reading
// the lines of a file.
#include "lib/array.h"

#include <cstring>
#include <string_view>

#include "lib/limits.h"
#include "lib/log.h"
#include "lib/strings.h"

namespace inst {

namespace {

// Appends a new[] copy of text; returns 1, or 0 when the array cannot grow.
int add_copy(Array<char>* a, std::string_view text) {
  char* p = new char[text.size() + 1];
  std::memcpy(p, text.data(), text.size());
  p[text.size()] = '\0';
  if (!array_add(a, p)) {
    delete[] p;
    return 0;
  }
  return 1;
}

// Size of the buffer a line is read into: one place less than a line
// buffer, on purpose, so a read takes at most 998 characters.
constexpr int kLineBuffer = kLineSize - 1;

}  // namespace

void array_alloc_error() { emsg("Memory allocation error."); }

int array_strcmp(char* const* x, char* const* y) {
  const char* a = x ? *x : nullptr;
  const char* b = y ? *y : nullptr;
  if (!a || !b) return (a != nullptr) - (b != nullptr);
  return std::strcmp(a, b);
}

int array_tok(Array<char>* a, const char* text, const char* delims) {
  if (!a || !text || !delims) return 0;
  std::string_view rest(text);
  int added = 0;
  while (true) {
    const size_t start = rest.find_first_not_of(delims);
    if (start == std::string_view::npos) break;
    rest.remove_prefix(start);
    const size_t len = std::min(rest.find_first_of(delims), rest.size());
    if (!add_copy(a, rest.substr(0, len))) break;
    added++;
    rest.remove_prefix(len);
  }
  return added;
}

void array_loadfile_do(Array<char>* a, FILE* stream) {
  if (!a || !stream) return;
  char line[kLineBuffer];
  while (std::fgets(line, kLineBuffer, stream)) {
    // A line break is cut off only when some other character precedes it,
    // so a bare line break is kept as the element itself (on purpose).
    const size_t end = std::strcspn(line, "\r\n");
    if (end > 0) line[end] = '\0';
    if (!add_copy(a, line)) return;
  }
}

Array<char>* array_loadfile(const char* path) { return array_loadfile_ex(path, 0, 10); }

Array<char>* array_loadfile_ex(const char* path, int size, int block) {
  FILE* f = s_fopen(path, "r");
  if (!f) return nullptr;
  Array<char>* a = array_init<char>();
  array_setup(a, size, block);
  array_loadfile_do(a, f);
  s_fclose(&f);
  return a;
}

}  // namespace inst
