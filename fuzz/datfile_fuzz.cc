// The product data file: loaded into a fresh store (which expands the
// references among its values), then every value of every setting read.
#include "fuzz/fuzz_input.h"
#include "ini/ini.h"
#include "ini/shared.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::QuietLog();
  const std::string path =
      fuzz::WriteInput("setup.dat", {reinterpret_cast<const char*>(data), size});
  Ini* ini = ini_init();
  if (load_datfile(ini, path.c_str())) {
    for (int32_t i = 0; i < ini_items(ini); ++i) {
      for (const char* v = ini_value(ini, i); v != nullptr; v = ini_value_next(ini, i)) {
      }
    }
  }
  clear_datfile();
  ini_free(&ini);
  return 0;
}
