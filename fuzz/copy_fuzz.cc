// The copy script: its "install" section loaded with a store, so that the
// references in paths are expanded, then every command's fields and path
// parts read, the parts into buffers of several exact sizes. Nothing
// is executed.
#include <memory>

#include "copy/copy.h"
#include "fuzz/fuzz_input.h"
#include "ini/ini.h"
#include "lib/limits.h"

namespace {

const inst::SettingList kSettings[] = {
    {"dir", "/opt/app", inst::Ini_None}, {"name", "notes", inst::Ini_None},
    {"many", "a", inst::Ini_Multi},      {"empty", "", inst::Ini_Empty},
    {"loop", "$(loop)", inst::Ini_None}, {nullptr, nullptr, inst::Ini_None},
};

using Part = char* (*)(const inst::Copy*, int, char*, int);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::QuietLog();
  const std::string path =
      fuzz::WriteInput("setup.cpy", {reinterpret_cast<const char*>(data), size});
  Ini* ini = ini_init();
  ini_setup(ini, kSettings, nullptr, 1);
  Copy* copy = copy_init(ini);
  if (copy_load(copy, path.c_str(), "install")) {
    for (int i = 0; i < copy_count(copy); ++i) {
      copy_src(copy, i);
      copy_dst(copy, i);
      copy_not(copy, i);
      copy_control(copy, i);
      copy_control_cmp(copy, i);
      for (Part part : {copy_src_path, copy_src_file, copy_dst_path, copy_dst_file}) {
        for (int bfsz : {1, 2, 7, kPathSize}) {
          // A buffer of exactly the size given, so that a write past it is caught.
          std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(bfsz)]);
          part(copy, i, buffer.get(), bfsz);
        }
      }
    }
  }
  copy_free(&copy);
  ini_free(&ini);
  return 0;
}
