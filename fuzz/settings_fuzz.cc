// Settings files with virtual-host blocks: the first line of the input names
// the virtual host, the rest is the file. It is loaded into a store whose
// declared settings cover every per-setting mode, then peeked at and saved.
#include "fuzz/fuzz_input.h"
#include "ini/ini.h"

namespace {

const inst::SettingList kSettings[] = {
    {"name", nullptr, inst::Ini_None},
    {"multi", nullptr, inst::Ini_Multi},
    {"pass", "secret", inst::Ini_Pass},
    {"path", "a\\b", inst::Ini_Path},
    {"empty", "", inst::Ini_Empty},
    {"fixed", "f", inst::Ini_Fixed},
    {"refs", "$(name)/$(path)", inst::Ini_Replace},
    {"vhost_match", "FUZZ_NO_SUCH_VARIABLE", inst::Ini_None},
    {nullptr, nullptr, inst::Ini_None},
};
const int32_t kAssoc[] = {0, 1, 1, 0, -1};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::QuietLog();
  fuzz::Reader in(data, size);
  const std::string vhost(in.Line().substr(0, 100));
  const std::string path = fuzz::WriteInput("settings.ini", in.Rest());
  const std::string saved = fuzz::InputDir::Get().Path("saved.ini");
  Ini* ini = ini_init();
  ini_setup(ini, kSettings, kAssoc, 1);
  if (ini_load(ini, path.c_str(), vhost.c_str())) {
    ini_process(ini);
    for (int32_t i = 0; i < ini_items(ini); ++i) ini_peek(ini, path.c_str(), i);
    ini_save(ini, saved.c_str());
  }
  ini_free(&ini);
  return 0;
}
