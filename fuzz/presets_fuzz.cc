// Answers files: read as presets into a store loaded from a small data file
// (their references expanded against it), applied twice as the start-up
// does, and the answers then written as a report, which must take any bytes.
#include <cstdio>

#include "fuzz/fuzz_input.h"
#include "ini/ini.h"
#include "ini/shared.h"
#include "installer/presets.h"
#include "installer/report.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::QuietLog();
  // Refused presets print an error line each; nobody reads them here.
  static FILE* const quiet = std::freopen("/dev/null", "w", stdout);
  (void)quiet;
  static const std::string dat =
      fuzz::WriteInput("setup.dat", "product Widget\nbase /opt\ndest $(base)/x\n");
  const std::string path = fuzz::WriteInput("answers", {reinterpret_cast<const char*>(data), size});
  Ini* ini = ini_init();
  if (load_datfile(ini, dat.c_str())) {
    preset_answers(path.c_str());
    apply_presets(ini);
    apply_presets(ini);
    Report report;
    report.answers = report_answers(ini, preset_names());
    report_json(report);
  }
  presets_clear();
  clear_datfile();
  ini_free(&ini);
  return 0;
}
