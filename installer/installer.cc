#include "installer/installer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "copy/copy.h"
#include "file/file.h"
#include "lib/input.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "quest/quest.h"

namespace inst {

char* myname = nullptr;
char* special_mode = nullptr;
int automate = 0;

namespace {

const char kVersion[] = "1.0d";
const char kRule[] = "======================================================\n";

const char* product_name(Ini* ini) {
  const char* name = ini_value_name(ini, "product");
  return name != nullptr ? name : "NONAME";
}

// The value of the setting `name`, or the text of `name` itself when the
// setting has no value.
const char* value_or_text(Ini* ini, const char* name) {
  const char* value = ini_value_name(ini, name);
  return value ? value : name;
}

bool probe_applies(Ini* ini, const IItem* probe) {
  if (!probe->compare) return true;
  const char* value = value_or_text(ini, probe->control.get());
  // Without a control the compare text alone decides.
  if (!value) return istrue(probe->compare.get());
  return std::strcmp(probe->compare.get(), value) == 0;
}

// The probe's first argument with setting references expanded, as a path.
void expand_path(Ini* ini, const IItem* probe, char (&path)[kPathSize]) {
  path[0] = '\0';
  ini_replace(ini, probe->a.get(), path, kPathSize);
}

void probe_http(Ini* ini, const IItem* probe, HttpFinder find) {
  char result[kLineSize] = "";
  char error[kLineSize] = "";
  const IItemMode mode = probe->mode;
  if (find(mode == IHTTP_User ? result : nullptr, mode == IHTTP_Group ? result : nullptr,
           mode == IHTTP_Root ? result : nullptr, mode == IHTTP_Scripts ? result : nullptr,
           error)) {
    ini_add_name(ini, probe->a.get(), result);
  } else {
    // The second argument is an error flag: set on failure only.
    std::printf("ERROR: %s\n", error);
    ini_add_name(ini, probe->b.get(), "true");
  }
}

// Formats the local time by `format`, cut to kMessageMax characters.
std::string format_time(const char* format) {
  const time_t now = std::time(nullptr);
  struct tm local = {};
  if (localtime_r(&now, &local) == nullptr) return {};
  // strftime gives 0 when the text does not fit, so the buffer grows until
  // it does; only a field width in the millions exhausts the last size.
  constexpr size_t kMostRoom = size_t{1} << 20;
  std::string text;
  for (size_t room = kLineSize; room <= kMostRoom; room *= 2) {
    text.resize(room);
    const size_t length = std::strftime(text.data(), room, format, &local);
    if (length > 0) {
      text.resize(length < static_cast<size_t>(kMessageMax) ? length : kMessageMax);
      return text;
    }
  }
  return {};
}

void probe_timedate(Ini* ini, const IItem* probe) {
  const char* format = ini_value_name(ini, probe->a.get());
  if (!format) {
    emsg("TimeDate '%s' is NULL", probe->a.get());
    return;
  }
  ini_add_name(ini, probe->b.get(), format_time(format).c_str());
}

void probe_wfile(Ini* ini, const IItem* probe) {
  char path[kPathSize];
  expand_path(ini, probe, path);
  OpenFile out(s_fopen(path, "w"));
  if (!out.f || std::fputs(str(value_or_text(ini, probe->b.get())), out.f) < 0 ||
      std::fflush(out.f) != 0) {
    emsg("Failed to write (%s), %s", path, std::strerror(errno));
  }
}

void probe_rfile(Ini* ini, const IItem* probe) {
  char path[kPathSize];
  expand_path(ini, probe, path);
  OpenFile in(s_fopen(path, "r"));
  std::string text;
  if (in.f) {
    char piece[kCopyChunk];
    for (size_t n; (n = std::fread(piece, 1, sizeof piece, in.f)) > 0;) text.append(piece, n);
  }
  if (!in.f || std::ferror(in.f)) {
    emsg("Failed to read (%s), %s", path, std::strerror(errno));
    return;
  }
  // An empty file gives no value, which the store refuses.
  if (!text.empty()) ini_add_name(ini, probe->b.get(), text.c_str());
}

void run_probe(Ini* ini, const IItem* probe, HttpFinder find) {
  if (!probe_applies(ini, probe)) return;
  const IItemMode mode = probe->mode;
  if (mode == IExist) {
    char path[kPathSize];
    expand_path(ini, probe, path);
    ini_add_name(ini, probe->b.get(), file_exist(path) ? "true" : "false");
  } else if (mode == ICopy) {
    ini_add_name(ini, probe->a.get(), value_or_text(ini, probe->b.get()));
  } else if (mode & IHTTP) {
    probe_http(ini, probe, find);
  } else if (mode == ITimeDate) {
    probe_timedate(ini, probe);
  } else if (mode == IWFile) {
    probe_wfile(ini, probe);
  } else if (mode == IRFile) {
    probe_rfile(ini, probe);
  }
}

}  // namespace

void evaluate_probes(Ini* ini, Init* probes, HttpFinder find) {
  if (!ini || !find) return;
  for (IItem* probe = init_get_num(probes, 0); probe; probe = init_get(probes)) {
    run_probe(ini, probe, find);
  }
}

int load_probes(Ini* ini, const char* path) {
  Init* probes = init_init();
  if (!init_load(probes, path)) {
    std::printf("Error: Failed to load init file '%s', %s\n", str(path), init_error());
    init_free(&probes);
    return 0;
  }
  evaluate_probes(ini, probes);
  init_free(&probes);
  return 1;
}

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
    }
  }
}

void print_header(Ini* ini) {
  std::printf("%s", kRule);
  std::printf("             Welcome to the %s installer\n", product_name(ini));
  std::printf(" You will be asked a series of questions, for each a\n");
  std::printf(" default answer will be provided (thus), to accept the\n");
  std::printf(" default simply press <enter>, otherwise enter a new\n");
  std::printf(" answer and press <enter>\n");
  std::printf("%s", kRule);
}

void print_menu(Ini* ini) {
  const char* name = product_name(ini);
  std::printf("\n");
  std::printf("1. Install %s\n", name);
  std::printf("2. Upgrade %s\n", name);
  std::printf("3. Remove %s\n", name);
  std::printf("4. Exit\n");
}

void print_blurb(Ini* ini) {
  OpenFile blurb(s_fopen("blurb.txt", "r"));
  if (blurb.f == nullptr) return;
  std::printf("\n");
  char line[kLineSize];
  char out[kLineSize];
  while (std::fgets(line, sizeof line, blurb.f) != nullptr) {
    out[0] = '\0';
    ini_replace(ini, s_strtrm(line), out, sizeof out);
    std::printf("%s\n", out);
  }
}

void printdot(const char*, const char*, int) {
  // Nothing advances the counter, so every dot is flushed at once; the test
  // is kept so that a coarser period is one line away.
  static int upto = 0;
  std::printf(".");
  if (upto % 5 == 0) std::fflush(stdout);
}

void printerror(const char*, const char*, int) {
  std::printf("\nError: %s\n", std::strerror(errno));
}

int suggested_action(Ini* ini) {
  return s_strcmp(ini_value_name(ini, "action"), "upgrade") == 0 ? 2 : 1;
}

void menu_loop(Ini* ini, int action) {
  char reply[kLineSize];
  for (int finished = 0; !finished;) {
    int choice;
    if (special_mode != nullptr) {
      choice = 5;
    } else {
      print_menu(ini);
      if (automate) {
        std::printf("\n");
        choice = action;
      } else {
        std::printf("\nWhat would you like to do[%d]? ", action);
        if (!read_reply(reply, sizeof reply, stdin)) return;
        const char* text = s_strtrm(reply);
        choice = *text == '\0' ? action : s_atoi(text);
      }
    }
    switch (choice) {
      case 1: {
        const int result = install_product(ini);
        if (result != SW_TO_UPGRADE && result != QUIT) {
          // Shown after a failed install too, on purpose.
          print_blurb(ini);
          finished = 1;
        }
        break;
      }
      case 2: {
        const int result = upgrade_product(ini);
        finished = result != SW_TO_INSTALL && result != QUIT;
        break;
      }
      case 3:
        finished = remove_product(ini) != QUIT;
        break;
      case 4:
        finished = 1;
        break;
      case 5:
        do_special(ini);
        finished = 1;
        break;
      default:
        std::printf("That is not a recognised option, please try again\n");
        break;
    }
  }
}

namespace {

// What tells the four runs apart.
struct RunKind {
  const char* heading;   // shown as "[heading]"
  const char* section;   // of the question file and the copy script; null loads nothing
  bool expand_errors;    // Error question texts get their references replaced
  const char* progress;  // printed before the copy script's dots
  bool count_bytes;      // the success line counts bytes and files, else files only
  int stop_on_fail;      // the copy script stops at its first failing command
  const char* done;      // last word of the files-only success line
};

// Names this program's description file with extension `ext` in the working
// directory, as start-up names the data file (the bare name when the
// directory cannot be read). Returns false when the name does not fit in a
// path: a cut name could open some other file.
bool description_file(char (&path)[kPathSize], const char* ext) {
  char full[2 * kPathSize] = "";
  if (currentdir(full, kPathSize) == nullptr) full[0] = '\0';
  attach_path(full, str(myname), sizeof full);
  attach_ext(full, ext, sizeof full);
  return scpy(path, full, kPathSize) == static_cast<int>(std::strlen(full));
}

// A setting's value as a text that outlives changes to the store; nullopt
// when it has none.
std::optional<std::string> value_of(Ini* ini, const char* name) {
  const char* value = ini_value_name(ini, name);
  if (value == nullptr) return std::nullopt;
  return value;
}

// Whether the reply is exactly the one letter `letter`, in either case.
bool one_letter(const char* reply, char letter) {
  return reply[0] != '\0' && reply[1] == '\0' && fold(reply[0]) == letter;
}

// The walk over one section's questions. `changes` counts the answers read
// from the terminal and the settings the walk changed; a question that sends
// the walk back remembers the count it saw, so that being sent back again
// with nothing changed in between, which would repeat forever, is caught.
class QuestionWalk {
 public:
  QuestionWalk(Ini* ini, Questions* quest, const RunKind& kind)
      : ini_(ini), quest_(quest), kind_(kind), count_(static_cast<int>(quest_count(quest))) {}

  // Walks the questions from the first. Returns SUCEEDED when the last one
  // is done, QUIT when the user quits or input ends while a question waits,
  // FAILED when an Error question fires, an unattended default is refused or
  // the walk would go round without end.
  int Walk() {
    sent_back_.assign(count_, -1);
    for (int index = 0; index < count_;) {
      index = Process(index);
      if (index == kEnded) return result_;
    }
    return SUCEEDED;
  }

 private:
  // Returned instead of a position when the run ends; result_ tells how.
  static constexpr int kEnded = -1;

  int End(int result) {
    result_ = result;
    return kEnded;
  }

  // Processes question `index`. Returns the position to process next, or
  // kEnded.
  int Process(int index) {
    const uint32_t at = static_cast<uint32_t>(index);
    const char* setting = quest_setting(quest_, at);
    const char* text = quest_text(quest_, at);
    switch (quest_type(quest_, at)) {
      case QCopy:
        Store(setting, value_of(ini_, text));
        return index + 1;
      case QXExist: {
        char path[kLineSize] = "";
        ini_replace(ini_, text, path, sizeof path);
        Store(setting, file_exist(path) ? "true" : "false");
        return index + 1;
      }
      case QError:
        if (!isfalse(ini_value_name(ini_, setting))) return index + 1;
        if (kind_.expand_errors) {
          char message[kLineSize] = "";
          ini_replace(ini_, text, message, sizeof message);
          std::printf("Error: %s\n", message);
        } else {
          std::printf("Error: %s\n", str(text));
        }
        return End(FAILED);
      case QLoop: {
        if (!isfalse(ini_value_name(ini_, setting))) return index + 1;
        // A target before the first question starts the walk again; one past
        // the last ends it.
        const int target = std::clamp(s_atoi(text), 0, count_);
        return target > index ? target : SendBack(index, target);
      }
      default:
        return GateOpen(at) ? Ask(index) : index + 1;
    }
  }

  // Whether the question's control lets it be asked: always without a control
  // value; with one but nothing to compare it with, when it is a true word;
  // else when the two are equal.
  bool GateOpen(uint32_t at) {
    const char* control = ini_value_name(ini_, quest_control(quest_, at));
    if (control == nullptr) return true;
    const char* name = quest_control_cmp(quest_, at);
    const char* compare = ini_value_name(ini_, name);
    if (compare == nullptr) compare = name;
    if (compare == nullptr) return istrue(control) != 0;
    return std::strcmp(control, compare) == 0;
  }

  // Asks question `index` (or takes its default when unattended) until an
  // answer is accepted or the run ends. Returns as Process does.
  int Ask(int index) {
    const uint32_t at = static_cast<uint32_t>(index);
    for (;;) {
      reply_[0] = '\0';
      if (automate) {
        quest_default(quest_, at, reply_, kLineSize);
      } else {
        const int asked = quest_ask(quest_, at, reply_, kLineSize);
        if (asked < 0) return End(QUIT);
        if (asked == 0) {
          std::printf("Error: %s, please try again\n", quest_error());
          continue;
        }
        ++changes_;
      }
      if (one_letter(reply_, 'q')) return End(QUIT);
      // Back one; the first question stays where it is.
      if (one_letter(reply_, 'b')) return SendBack(index, index > 0 ? index - 1 : 0);
      const std::optional<std::string> before = value_of(ini_, quest_setting(quest_, at));
      if (quest_answer(quest_, at, reply_)) {
        if (value_of(ini_, quest_setting(quest_, at)) != before) ++changes_;
        return index + 1;
      }
      std::printf("Error: %s, please try again\n", quest_error());
      if (automate) return End(FAILED);
    }
  }

  // Sends the walk back from question `index` to `target`. Returns target; ends
  // the run with FAILED when this question sent the walk back before and
  // nothing has changed since: the same steps would follow for ever.
  int SendBack(int index, int target) {
    if (sent_back_[index] == changes_) {
      emsg("Question %d goes back to %d with nothing changed, stopping", index + 1, target + 1);
      std::printf("Error: The questions go round without end\n");
      return End(FAILED);
    }
    sent_back_[index] = changes_;
    return target;
  }

  // Sets the setting and counts a change of its value.
  void Store(const char* setting, const std::optional<std::string>& value) {
    if (!value) return;
    const std::optional<std::string> before = value_of(ini_, setting);
    if (ini_add_name(ini_, setting, value->c_str()) == 1 && before != value) ++changes_;
  }

  Ini* ini_;
  Questions* quest_;
  const RunKind& kind_;
  const int count_;
  int result_ = SUCEEDED;
  long changes_ = 0;
  std::vector<long> sent_back_;
  char reply_[kLineSize] = "";
};

// The question stage: loads the section and walks it, then, when someone is
// at the terminal, offers to walk it again. End of input at that prompt
// counts as no. Returns the walk's result, or FAILED when the section cannot
// be loaded (logged as "Error loading questions").
int question_stage(Ini* ini, const RunKind& kind) {
  std::unique_ptr<Questions, void (*)(Questions*)> quest(quest_init(ini),
                                                         [](Questions* q) { quest_free(&q); });
  char path[kPathSize];
  if (!description_file(path, ".q") || !quest_load(quest.get(), path, kind.section)) {
    emsg("Error loading questions");
    return FAILED;
  }
  QuestionWalk walk(ini, quest.get(), kind);
  for (;;) {
    const int result = walk.Walk();
    if (result != SUCEEDED || automate) return result;
    std::printf("Do you want to change your answers [n]? ");
    char reply[kLineSize];
    if (!read_reply(reply, sizeof reply, stdin) || !istrue(s_strtrm(reply))) return SUCEEDED;
  }
}

// Counts for the success lines, which show them as int.
int shown(unsigned long count) {
  return static_cast<int>(std::min<unsigned long>(count, std::numeric_limits<int>::max()));
}

// The copy stage: runs the section of the copy script with a dot for every
// file. A missing script or section prints nothing; a failure prints the
// last Error message. Neither changes the run's result.
void copy_stage(Ini* ini, const RunKind& kind) {
  Copy* copy = copy_init(ini);
  copy_setup(copy, printdot, printerror);
  char path[kPathSize];
  if (description_file(path, ".cpy") && copy_load(copy, path, kind.section)) {
    std::printf("%s", kind.progress);
    unsigned long files = 0;
    unsigned long bytes = 0;
    if (!copy_process(copy, &files, kind.count_bytes ? &bytes : nullptr, kind.stop_on_fail)) {
      std::printf("]\nFailed, %s", copy_error());
    } else if (kind.count_bytes) {
      std::printf("]\nSuccess %d bytes in %d files copied\n", shown(bytes), shown(files));
    } else {
      std::printf("]\n Success %d files %s\n", shown(files), kind.done);
    }
  }
  copy_free(&copy);
}

// One run: the heading, the questions, and unless they failed or were quit,
// the copy script. Without a store nothing happens and the run fails.
int run_action(Ini* ini, const RunKind& kind) {
  if (ini == nullptr) return FAILED;
  std::printf("[%s]\n", kind.heading);
  const int result = question_stage(ini, kind);
  if (result == SUCEEDED) copy_stage(ini, kind);
  return result;
}

}  // namespace

int install_product(Ini* ini) {
  return run_action(ini, {"Install", "install", false, "Copying files[", true, 1, nullptr});
}

int upgrade_product(Ini* ini) {
  return run_action(ini, {"Upgrade", "upgrade", true, "Copying files[", true, 1, nullptr});
}

int remove_product(Ini* ini) {
  return run_action(ini, {"Remove", "remove", false, "Removing files[", false, 0, "removed"});
}

// Without a tag the heading is "[]" and no section can be loaded.
int do_special(Ini* ini) {
  return run_action(ini, {str(special_mode), special_mode, false, "Executing[", false, 0, "done."});
}

}  // namespace inst
