// The answer checks: the first byte picks a question of each kind that takes
// an answer, the second the size of the buffer for its default, the rest is
// the answer. The answer is checked and stored into a fresh store, and the
// default read back.
#include <memory>

#include "fuzz/fuzz_input.h"
#include "ini/ini.h"
#include "lib/limits.h"
#include "quest/quest.h"

namespace {

constexpr char kQuestions[] =
    "[check]\n"
    "Text      text      - - h Some text?\n"
    "YN        yn        - - h Yes or no?\n"
    "Dir       dir       - - h A directory?\n"
    "DirExist  direxist  - - h An existing directory?\n"
    "DirEmpty  dirempty  - - h An empty directory?\n"
    "File      file      - - h A file?\n"
    "FileExist fileexist - - h An existing file?\n"
    "FileName  filename  - - h A file name?\n"
    "Copy      copy      - - h Copied?\n";

const inst::SettingList kSettings[] = {
    {"text", nullptr, inst::Ini_None},       {"yn", "yes", inst::Ini_None},
    {"dir", nullptr, inst::Ini_Path},        {"direxist", nullptr, inst::Ini_Path},
    {"dirempty", nullptr, inst::Ini_Path},   {"file", nullptr, inst::Ini_Empty},
    {"fileexist", nullptr, inst::Ini_Multi}, {"filename", nullptr, inst::Ini_None},
    {"copy", nullptr, inst::Ini_Pass},       {nullptr, nullptr, inst::Ini_None},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::QuietLog();
  static Questions* const list = [] {
    Questions* loaded = quest_init(nullptr);
    const std::string path = fuzz::WriteInput("check.q", kQuestions);
    quest_load(loaded, path.c_str(), "check");
    return loaded;
  }();
  if (quest_count(list) == 0) __builtin_trap();

  fuzz::Reader in(data, size);
  const uint32_t index = in.Byte() % quest_count(list);
  const int bfsz = in.Byte() % 40;
  char answer[kLineSize];
  const std::string_view text = in.Rest().substr(0, kMessageMax);
  text.copy(answer, text.size());
  answer[text.size()] = '\0';

  Ini* ini = ini_init();
  ini_setup(ini, kSettings, nullptr, 1);
  list->ini = ini;
  quest_answer(list, index, answer);
  // A buffer of exactly the size given, so that a write past it is caught.
  std::unique_ptr<char[]> buffer(new char[bfsz > 0 ? static_cast<size_t>(bfsz) : 1]);
  quest_default(list, index, buffer.get(), bfsz);
  list->ini = nullptr;
  ini_free(&ini);
  return 0;
}
