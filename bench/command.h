// Runs one copy-script command through the copy module as an install runs
// it, for the benchmarks that time it beside a system tool.
#ifndef INSTALLER_BENCH_COMMAND_H_
#define INSTALLER_BENCH_COMMAND_H_

#include <cstdio>
#include <fstream>
#include <string>

#include "copy/copy.h"
#include "ini/ini.h"
#include "installer/runs.h"

namespace bench {

// Runs the one-command script `line` (written to root/bench.cpy) as an
// install does, a dot per file, and checks that the command handled
// `expected` files (0: any number).
inline bool ours(inst::Ini* ini, const std::string& root, const std::string& line, int expected) {
  const std::string file = root + "/bench.cpy";
  std::ofstream(file) << "[bench]\n" << line << "\n";
  inst::Copy* copy = inst::copy_init(ini);
  inst::copy_setup(copy, inst::printdot, inst::printerror);
  unsigned long files = 0;
  unsigned long bytes = 0;
  const bool good = inst::copy_load(copy, file.c_str(), "bench") == 1 &&
                    inst::copy_process(copy, &files, &bytes, 1) == 1 &&
                    (expected == 0 || files == static_cast<unsigned long>(expected));
  inst::copy_free(&copy);
  if (!good) std::fprintf(stderr, "'%s' handled %lu files\n", line.c_str(), files);
  return good;
}

}  // namespace bench

#endif  // INSTALLER_BENCH_COMMAND_H_
