// The question file: its "install" section loaded, every question's fields
// and default read, then the list reloaded with the "upgrade" section.
#include <memory>

#include "fuzz/fuzz_input.h"
#include "ini/ini.h"
#include "quest/quest.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::QuietLog();
  const std::string path = fuzz::WriteInput("setup.q", {reinterpret_cast<const char*>(data), size});
  static const SettingList settings[] = {{"dir", "/tmp", Ini_None},
                                         {"yes", "on", Ini_None},
                                         {"no", "", Ini_Empty},
                                         {nullptr, nullptr, Ini_None}};
  Ini* ini = ini_init();
  ini_setup(ini, settings, nullptr, 1);
  Questions* list = quest_init(ini);
  for (const char* section : {"install", "upgrade"}) {
    if (!quest_load(list, path.c_str(), section)) continue;
    for (uint32_t i = 0; i < quest_count(list); ++i) {
      quest_text(list, i);
      quest_help(list, i);
      quest_setting(list, i);
      quest_control(list, i);
      quest_control_cmp(list, i);
      quest_type(list, i);
      // A buffer of exactly the size given, so that a write past it is caught.
      const int bfsz = static_cast<int>(i % 8) + 1;
      std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(bfsz)]);
      quest_default(list, i, buffer.get(), bfsz);
    }
  }
  quest_free(&list);
  ini_free(&ini);
  return 0;
}
