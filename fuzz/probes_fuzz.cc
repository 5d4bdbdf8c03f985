// The probe file: read into a probe list, which is then walked.
#include "fuzz/fuzz_input.h"
#include "init/init.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::QuietLog();
  const std::string path =
      fuzz::WriteInput("setup.int", {reinterpret_cast<const char*>(data), size});
  Init* probes = init_init();
  if (init_load(probes, path.c_str())) {
    for (IItem* probe = init_get_num(probes, 0); probe != nullptr; probe = init_get(probes)) {
    }
  }
  init_free(&probes);
  return 0;
}
