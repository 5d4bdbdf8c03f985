// The reference expanders: the first byte gives the size of the buffer for
// ini_replace(), the next lines ("name value", at most 64) declare settings
// that may be substituted, and the last line is the text to expand. The
// store's own values are expanded by ini_process(), then the text and every
// value by ini_replace() and by the copy script's replace_vars().
#include <memory>
#include <string>
#include <vector>

#include "copy/copy.h"
#include "fuzz/fuzz_input.h"
#include "ini/ini.h"
#include "lib/limits.h"

namespace {

// Expands text with both expanders, ini_replace() into a buffer of exactly
// bfsz bytes, so that a write past it is caught.
void Replace(const inst::Copy* copy, const char* text, unsigned bfsz) {
  std::unique_ptr<char[]> buffer(new char[bfsz]);
  buffer[0] = '\0';
  inst::ini_replace(copy->ini, text, buffer.get(), bfsz);
  std::unique_ptr<char[]> expanded(inst::replace_vars(copy, text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::QuietLog();
  fuzz::Reader in(data, size);
  const uint8_t pick = in.Byte();
  const unsigned bfsz = pick < 128 ? pick % 32 + 1u : static_cast<unsigned>(kLineSize);

  std::vector<std::string> lines;
  while (!in.Done() && lines.size() < 65) lines.emplace_back(in.Line().substr(0, kMessageMax));
  const std::string text = lines.empty() ? std::string() : lines.back();
  if (!lines.empty()) lines.pop_back();

  // Every third setting cannot be substituted.
  std::vector<std::string> names, values;
  for (std::string& line : lines) {
    char* name;
    char* value;
    if (!ini_split_line(line.data(), &name, &value)) continue;
    names.emplace_back(name);
    values.emplace_back(value);
  }
  std::vector<SettingList> table;
  for (size_t i = 0; i < names.size(); ++i) {
    table.push_back({names[i].c_str(), values[i].c_str(), i % 3 == 2 ? Ini_None : Ini_Replace});
  }
  table.push_back({nullptr, nullptr, Ini_None});

  Ini* ini = ini_init();
  ini_setup(ini, table.data(), nullptr, 1);
  ini_process(ini);
  Copy* copy = copy_init(ini);
  Replace(copy, text.c_str(), bfsz);
  for (int32_t i = 0; i < ini_items(ini); ++i) {
    if (const char* value = ini_value(ini, i)) Replace(copy, value, bfsz);
  }
  copy_free(&copy);
  ini_free(&ini);
  return 0;
}
