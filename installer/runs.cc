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
namespace {

RunRecord record;

}  // namespace

const RunRecord& last_run() { return record; }

void printdot(const char*, const char*, int) {
  // Nothing advances the counter, so every dot is flushed at once; the test
  // is kept so that a coarser period is one line away.
  static int upto = 0;
  std::printf(".");
  if (upto % 5 == 0) std::fflush(stdout);
}

void printerror(const char* src, const char* dst, int) {
  const char* reason = std::strerror(errno);
  record.failed_files.push_back({str(dst != nullptr ? dst : src), reason});
  std::printf("\nError: %s\n", reason);
}

namespace {

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
  QuestionWalk(Ini* ini, Questions* quest, const RunKind& kind, WalkObserver* observer)
      : ini_(ini),
        quest_(quest),
        kind_(kind),
        observer_(observer),
        count_(static_cast<int>(quest_count(quest))) {}

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
      case QCopy: {
        const std::optional<std::string> value = value_of(ini_, text);
        Store(setting, value);
        Tell(index, WalkStep::kCopied, value ? value->c_str() : nullptr);
        return index + 1;
      }
      case QXExist: {
        char path[kLineSize] = "";
        ini_replace(ini_, text, path, sizeof path);
        const char* found = file_exist(path) ? "true" : "false";
        Store(setting, found);
        Tell(index, WalkStep::kTested, found);
        return index + 1;
      }
      case QError: {
        if (!isfalse(ini_value_name(ini_, setting))) {
          Tell(index, WalkStep::kPassed, nullptr);
          return index + 1;
        }
        char message[kLineSize] = "";
        if (kind_.expand_errors) {
          ini_replace(ini_, text, message, sizeof message);
        } else {
          scpy(message, text, sizeof message);
        }
        Say(index, WalkStep::kErrorFired, message);
        return End(FAILED);
      }
      case QLoop: {
        if (!isfalse(ini_value_name(ini_, setting))) {
          Tell(index, WalkStep::kPassed, nullptr);
          return index + 1;
        }
        // A target before the first question starts the walk again; one past
        // the last ends it.
        const int target = std::clamp(s_atoi(text), 0, count_);
        Tell(index, WalkStep::kWentTo, std::to_string(target).c_str());
        return target > index ? target : SendBack(index, target);
      }
      default:
        if (GateOpen(at)) return Ask(index);
        Tell(index, WalkStep::kNotAsked, nullptr);
        return index + 1;
    }
  }

  // Tells the observer, if any, what question `index` did.
  void Tell(int index, WalkStep step, const char* detail) {
    if (observer_ != nullptr) observer_->Step(index, step, detail);
  }
  // Prints "Error: <text><after>" as the run shows it, or with an observer
  // tells it the text instead.
  void Say(int index, WalkStep step, const char* text, const char* after = "") {
    if (observer_ != nullptr) {
      observer_->Step(index, step, text);
    } else {
      std::printf("Error: %s%s\n", text, after);
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
      if (one_letter(reply_, 'q')) {
        Tell(index, WalkStep::kQuit, nullptr);
        return End(QUIT);
      }
      // Back one; the first question stays where it is.
      if (one_letter(reply_, 'b')) {
        Tell(index, WalkStep::kBack, nullptr);
        return SendBack(index, index > 0 ? index - 1 : 0);
      }
      const char* setting = quest_setting(quest_, at);
      const std::optional<std::string> before = value_of(ini_, setting);
      if (quest_answer(quest_, at, reply_)) {
        const std::optional<std::string> after = value_of(ini_, setting);
        if (after != before) ++changes_;
        Answered(setting);
        Tell(index, WalkStep::kAnswered, after ? after->c_str() : nullptr);
        return index + 1;
      }
      Say(index, WalkStep::kRefused, quest_error(), ", please try again");
      if (automate) return End(FAILED);
    }
  }

  // Sends the walk back from question `index` to `target`. Returns target; ends
  // the run with FAILED when this question sent the walk back before and
  // nothing has changed since: the same steps would follow for ever.
  int SendBack(int index, int target) {
    if (sent_back_[index] == changes_) {
      emsg("Question %d goes back to %d with nothing changed, stopping", index + 1, target + 1);
      Say(index, WalkStep::kRoundabout, "The questions go round without end");
      return End(FAILED);
    }
    sent_back_[index] = changes_;
    return target;
  }

  // Notes in the run's record that the setting got an answer.
  static void Answered(const char* setting) {
    if (setting == nullptr) return;
    std::vector<std::string>& names = record.answered;
    if (std::find(names.begin(), names.end(), setting) == names.end()) names.push_back(setting);
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
  WalkObserver* observer_;
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
  QuestionWalk walk(ini, quest.get(), kind, nullptr);
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
// file, and notes in the run's record what it did. A missing script or
// section prints nothing; a failure prints the last Error message. Neither
// changes the run's result.
void copy_stage(Ini* ini, const RunKind& kind) {
  Copy* copy = copy_init(ini);
  copy_setup(copy, printdot, printerror);
  char path[kPathSize];
  const unsigned long errors_before = emsg_count();
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
    record.copied = true;
    record.files = files;
    record.bytes = bytes;
    record.failed_commands = copy_failures(copy);
    record.copy_ok = done && record.failed_commands.empty() && record.failed_files.empty();
  } else if (emsg_count() != errors_before) {
    // The script could not be read; a missing section logs nothing.
    record.failed_commands.push_back({-1, 0, emsg_latest()});
    record.copy_ok = false;
  }
  copy_free(&copy);
}

// One run: the heading, the questions, and unless they failed or were quit,
// the copy script. Without a store nothing happens and the run fails.
int run_action(Ini* ini, const RunKind& kind) {
  if (ini == nullptr) return FAILED;
  record = RunRecord();
  record.action = kind.action;
  std::printf("[%s]\n", kind.heading);
  const int result = question_stage(ini, kind);
  if (result == SUCEEDED) copy_stage(ini, kind);
  record.result = result;
  return result;
}

}  // namespace

int walk_questions(Ini* ini, Questions* quest, const RunKind& kind, WalkObserver* observer) {
  if (ini == nullptr || quest == nullptr) return FAILED;
  return QuestionWalk(ini, quest, kind, observer).Walk();
}

const RunKind kInstallRun = {"install",        "Install", "install", false,
                             "Copying files[", true,      1,         nullptr};
const RunKind kUpgradeRun = {"upgrade",        "Upgrade", "upgrade", true,
                             "Copying files[", true,      1,         nullptr};
const RunKind kRemoveRun = {"remove",          "Remove", "remove", false,
                            "Removing files[", false,    0,        "removed"};

// Without a tag the heading is "[]" and no section can be loaded.
RunKind special_run() {
  return {"special", str(special_mode), special_mode, false, "Executing[", false, 0, "done."};
}

int install_product(Ini* ini) { return run_action(ini, kInstallRun); }

int upgrade_product(Ini* ini) { return run_action(ini, kUpgradeRun); }

int remove_product(Ini* ini) { return run_action(ini, kRemoveRun); }

int do_special(Ini* ini) { return run_action(ini, special_run()); }

}  // namespace inst
