#include "installer/runs.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "copy/copy.h"
#include "file/file.h"
#include "installer/installer.h"
#include "lib/input.h"
#include "lib/interrupt.h"
#include "lib/limits.h"
#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "quest/quest.h"

namespace inst {

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
    // While files change, SIGINT, SIGTERM and SIGHUP stop the script
    // cleanly instead of ending the program half-way through a file.
    interrupt_arm();
    const int done =
        copy_process(copy, &files, kind.count_bytes ? &bytes : nullptr, kind.stop_on_fail);
    interrupt_disarm();
    if (!done) {
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
