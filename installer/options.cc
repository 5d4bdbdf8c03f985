#include "installer/options.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "installer/installer.h"
#include "installer/presets.h"
#include "lib/strings.h"

namespace inst {
namespace {

const char* const kActions[] = {"install", "upgrade", "remove"};

int action = 0;
std::string report;
bool scripting = false;

[[noreturn]] void usage(const char* text) {
  std::printf("Usage: install %s\n", text);
  std::exit(1);
}

// Whether the option takes the word after it as its value, so that the
// value is never read as an option itself.
bool takes_word(const char* word) {
  for (const char* option : {"-special", "-action", "-set", "-answers", "-report"}) {
    if (s_strcmp(word, option) == 0) return true;
  }
  return false;
}

void print_help() {
  std::printf("Usage: %s [option]...\n", str(myname));
  std::printf("  -automate            take the suggested menu entry and every default answer\n");
  std::printf("  -special <tag>       run the section [<tag>] once instead of the menu\n");
  std::printf("  -action <action>     run install, upgrade or remove once instead of the menu\n");
  std::printf("  -set <name>=<value>  give a setting a value before the questions\n");
  std::printf("  -answers <file>      give settings the values in a file of name-value lines\n");
  std::printf("  -report <file>       write the outcome as JSON into <file> at the end\n");
  std::printf("  -check               check the description files; change nothing\n");
  std::printf("  -plan                show what the action would do; change nothing\n");
  std::printf("  -debug               log at debug level (the default already)\n");
  std::printf("  -version             print the version and exit\n");
  std::printf("  -help, --help, -h    print this help and exit\n");
}

}  // namespace

void process_args(Log* log, char** argv, int argc) {
  if (argv == nullptr) return;
  const char* unknown = nullptr;
  for (int i = 1; i < argc; ++i) {
    const char* word = argv[i];
    // The word after an option, or null when the option is the last word.
    const char* next = i < argc - 1 ? argv[i + 1] : nullptr;
    if (s_strcmp(word, "-debug") == 0) {
      // The log starts at debug level already; the option is kept for scripts.
      log_set_level(log, LogDebug);
      imsg("Logging set to debug");
    } else if (s_strcmp(word, "-version") == 0) {
      std::printf("Installer version %s\n", kInstallerVersion);
      std::exit(0);
    } else if (s_strcmp(word, "-automate") == 0) {
      imsg("Automated install/upgrade...");
      automate = 1;
    } else if (s_strcmp(word, "-special") == 0) {
      if (next == nullptr) usage("-special <tag>");
      delete[] special_mode;
      special_mode = s_strdup(argv[++i]);
      imsg("Special mode [%s]", special_mode);
    } else if (s_strcmp(word, "-action") == 0) {
      action = 0;
      for (int a = 0; a < 3; ++a) {
        if (s_strcmp(next, kActions[a]) == 0) action = a + 1;
      }
      if (action == 0) usage("-action install|upgrade|remove");
      imsg("Chosen action [%s]", argv[++i]);
      scripting = true;
    } else if (s_strcmp(word, "-set") == 0) {
      const char* equals = next != nullptr ? std::strchr(next, '=') : nullptr;
      if (equals == nullptr || equals == next) usage("-set <name>=<value>");
      preset_set(std::string(next, equals).c_str(), equals + 1);
      ++i;
      scripting = true;
    } else if (s_strcmp(word, "-answers") == 0) {
      if (next == nullptr || *next == '\0') usage("-answers <file>");
      preset_answers(argv[++i]);
      scripting = true;
    } else if (s_strcmp(word, "-report") == 0) {
      if (next == nullptr || *next == '\0') usage("-report <file>");
      report = argv[++i];
      imsg("Report to '%s'", report.c_str());
      scripting = true;
    } else if (s_strcmp(word, "-help") == 0 || s_strcmp(word, "--help") == 0 ||
               s_strcmp(word, "-h") == 0) {
      print_help();
      std::exit(0);
    } else if (s_strcmp(word, "-check") == 0) {
      check_only = 1;
    } else if (s_strcmp(word, "-plan") == 0) {
      plan_only = 1;
    } else if (unknown == nullptr) {
      unknown = word;
    }
  }
  if (action == 0) return;
  // A command line that chooses the action is a script's: a word it does
  // not know is more likely a mistake than something to ignore.
  if (unknown != nullptr) {
    std::printf("Error: Unknown option '%s'\n", str(unknown));
    std::exit(1);
  }
  if (special_mode != nullptr) {
    std::printf("Error: -action and -special cannot be used together\n");
    std::exit(1);
  }
}

int chosen_action() { return action; }

const char* report_file() { return report.empty() ? nullptr : report.c_str(); }

bool scripted() { return scripting; }

void options_clear() {
  action = 0;
  report.clear();
  scripting = false;
  presets_clear();
}

bool option_given(int argc, char** argv, const char* option) {
  if (argv == nullptr) return false;
  for (int i = 1; i < argc; ++i) {
    if (s_strcmp(argv[i], option) == 0) return true;
    if (takes_word(argv[i])) ++i;
  }
  return false;
}

bool changes_nothing(int argc, char** argv) {
  return option_given(argc, argv, "-check") || option_given(argc, argv, "-plan");
}

}  // namespace inst
