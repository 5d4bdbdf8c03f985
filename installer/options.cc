#include "installer/options.h"

#include <cstdio>
#include <cstdlib>

#include "installer/installer.h"
#include "lib/strings.h"

namespace inst {
namespace {

const char kVersion[] = "1.0d";

}  // namespace

void process_args(Log* log, char** argv, int argc) {
  if (argv == nullptr) return;
  for (int i = 1; i < argc; ++i) {
    const char* word = argv[i];
    if (s_strcmp(word, "-debug") == 0) {
      // The log starts at debug level already; the option is kept for scripts.
      log_set_level(log, LogDebug);
      imsg("Logging set to debug");
    } else if (s_strcmp(word, "-version") == 0) {
      std::printf("Installer version %s\n", kVersion);
      std::exit(0);
    } else if (s_strcmp(word, "-automate") == 0) {
      imsg("Automated install/upgrade...");
      automate = 1;
    } else if (s_strcmp(word, "-special") == 0) {
      if (i == argc - 1) {
        std::printf("Usage: install -special <tag>\n");
        std::exit(1);
      }
      delete[] special_mode;
      special_mode = s_strdup(argv[++i]);
      imsg("Special mode [%s]", special_mode);
    } else if (s_strcmp(word, "-check") == 0) {
      check_only = 1;
    } else if (s_strcmp(word, "-plan") == 0) {
      plan_only = 1;
    }
  }
}

bool changes_nothing(int argc, char** argv) {
  if (argv == nullptr) return false;
  for (int i = 1; i < argc; ++i) {
    if (s_strcmp(argv[i], "-special") == 0) {
      ++i;
    } else if (s_strcmp(argv[i], "-check") == 0 || s_strcmp(argv[i], "-plan") == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace inst
