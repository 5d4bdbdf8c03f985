#include "installer/plan.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "copy/copy.h"
#include "copy/dryrun.h"
#include "ini/shared.h"
#include "init/init.h"
#include "installer/installer.h"
#include "installer/menu.h"
#include "installer/options.h"
#include "installer/presets.h"
#include "installer/probes.h"
#include "lib/limits.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "quest/quest.h"

namespace inst {
namespace {

// A value as the plan shows it: in double quotes, line ends and tabs
// written as \n and \t, cut after 60 characters.
std::string quoted(const char* value) {
  if (value == nullptr) return "nothing";
  std::string out = "\"";
  size_t shown = 0;
  for (const char* c = value; *c != '\0'; ++c, ++shown) {
    if (shown == 60) {
      out += "...";
      break;
    }
    out += *c == '\n' ? "\\n" : *c == '\t' ? "\\t" : std::string(1, *c);
  }
  return out + "\"";
}

// Why a gate is closed: the control's value and what it had to be.
std::string closed_because(const char* control, const char* value, const char* compare) {
  std::string why = std::string(str(control)) + " is " + quoted(value);
  return compare != nullptr ? why + ", not " + quoted(compare) : why + ", not a true word";
}

// The words of a line joined by blanks, absent ones left out and empty
// ones shown as "".
std::string words(std::initializer_list<const char*> parts) {
  std::string out;
  for (const char* part : parts) {
    if (part == nullptr) continue;
    if (!out.empty()) out += ' ';
    out += *part != '\0' ? part : "\"\"";
  }
  return out;
}

// "1 file", "2 files", "2 entries".
std::string count(unsigned long n, const char* what) {
  std::string text = std::to_string(n) + " " + what;
  if (n == 1) return text;
  if (text.back() == 'y') {
    text.pop_back();
    return text + "ies";
  }
  return text + "s";
}

// The probes, as start-up runs them, except that a WFile probe is shown and
// not run.
void plan_probes(Ini* ini, Init* probes, const char* file) {
  std::printf("\nProbes (%s)\n", file);
  for (IItem* p = init_get_num(probes, 0); p != nullptr; p = init_get(probes)) {
    const IItemMode mode = p->mode;
    char a[kPathSize] = "";
    if (mode == IExist || mode == IWFile || mode == IRFile) {
      ini_replace(ini, p->a.get(), a, kPathSize);
    } else {
      scpy(a, p->a.get(), kPathSize);
    }
    const char* keyword = init_keyword(mode);
    std::printf("  %s:%d  %s => ", file, p->line,
                words({keyword != nullptr ? keyword : "(unknown)", a, p->b.get(), p->control.get(),
                       p->compare.get()})
                    .c_str());
    if (!probe_applies(ini, p)) {
      const char* value = ini_value_name(ini, p->control.get());
      std::printf(
          "skipped, %s\n",
          closed_because(p->control.get(), value ? value : p->control.get(), p->compare.get())
              .c_str());
      continue;
    }
    // The setting the probe writes.
    const char* target = mode == ICopy || (mode & IHTTP) != 0 ? p->a.get() : p->b.get();
    if (mode == IWFile) {
      std::printf("not run: it writes %s\n", a);
      continue;
    }
    if (mode == 0) {
      std::printf("does nothing\n");
      continue;
    }
    if (mode == IRFile && access(a, R_OK) != 0) {
      std::printf("fails: %s cannot be read\n", a);
      continue;
    }
    std::string failure;
    run_probe(ini, p, init_find_http_conf, &failure);
    if (!failure.empty()) {
      std::printf("fails (%s): %s = \"true\"\n", failure.c_str(), str(p->b.get()));
    } else if (mode == ITimeDate) {
      const char* format = ini_value_name(ini, p->a.get());
      if (format == nullptr) {
        std::printf("fails: %s has no value\n", a);
      } else {
        std::printf("%s = the time now, as %s\n", str(target), quoted(format).c_str());
      }
    } else {
      std::printf("%s = %s\n", str(target), quoted(ini_value_name(ini, target)).c_str());
    }
  }
}

// Shows the question walk step by step.
class WalkPrinter : public WalkObserver {
 public:
  WalkPrinter(Ini* ini, Questions* quest, const char* file)
      : ini_(ini), quest_(quest), file_(file) {}

  void Step(int index, WalkStep step, const char* detail) override {
    const uint32_t at = static_cast<uint32_t>(index);
    const QType type = quest_type(quest_, at);
    const char* keyword = quest_keyword(type);
    const char* setting = quest_setting(quest_, at);
    const Quest& q = quest_->list[at];
    std::printf("  %s:%d  %s %s => ", file_, q.line, keyword != nullptr ? keyword : "(unknown)",
                str(setting));
    const char* value = ini_value_name(ini_, setting);
    switch (step) {
      case WalkStep::kCopied:
        if (detail == nullptr) {
          std::printf("unchanged, %s has no value\n", str(quest_text(quest_, at)));
        } else {
          std::printf("%s = %s\n", str(setting), quoted(detail).c_str());
        }
        break;
      case WalkStep::kTested:
      case WalkStep::kAnswered:
        std::printf("%s = %s\n", str(setting), quoted(detail).c_str());
        break;
      case WalkStep::kPassed:
        std::printf("goes on, %s is %s\n", str(setting), quoted(value).c_str());
        break;
      case WalkStep::kWentTo:
        std::printf("goes back to question %s, %s is %s\n", detail, str(setting),
                    quoted(value).c_str());
        break;
      case WalkStep::kNotAsked: {
        const char* control = quest_control(quest_, at);
        const char* cmp = ini_value_name(ini_, quest_control_cmp(quest_, at));
        std::printf("not asked, %s\n",
                    closed_because(control, ini_value_name(ini_, control),
                                   cmp != nullptr ? cmp : quest_control_cmp(quest_, at))
                        .c_str());
        break;
      }
      case WalkStep::kErrorFired:
      case WalkStep::kRoundabout:
        std::printf("FAILS: Error: %s\n", str(detail));
        break;
      case WalkStep::kRefused:
        std::printf("FAILS: its default %s is refused: %s\n", quoted(value).c_str(), str(detail));
        break;
      case WalkStep::kQuit:
        std::printf("QUITS: its default is %s\n", quoted(value).c_str());
        break;
      case WalkStep::kBack:
        std::printf("goes back a question: its default is %s\n", quoted(value).c_str());
        break;
    }
  }

 private:
  Ini* ini_;
  Questions* quest_;
  const char* file_;
};

// What the plan of the copy script adds up to.
struct Totals {
  int run = 0;
  int skipped = 0;
  int failed = 0;
  unsigned long files = 0;  // the run's own count
  unsigned long bytes = 0;
  int dirs_made = 0;
  int files_made = 0;
  int replaced = 0;
  int removed_files = 0;
  int removed_dirs = 0;
  int modes = 0;
  int owners = 0;
};

void print_change(const PlanChange& c, Totals* totals) {
  const char* path = c.path.c_str();
  const auto bytes = static_cast<unsigned long long>(c.bytes);
  switch (c.what) {
    case PlanChange::kMakeDir:
      std::printf("      + dir      %s\n", path);
      ++totals->dirs_made;
      break;
    case PlanChange::kNewFile:
      std::printf("      + file     %s: %s\n", path, count(bytes, "byte").c_str());
      ++totals->files_made;
      break;
    case PlanChange::kReplace:
      std::printf("      ! REPLACE  %s: %s\n", path, count(bytes, "byte").c_str());
      ++totals->replaced;
      break;
    case PlanChange::kEmpty:
      std::printf("      ! EMPTY    %s\n", path);
      ++totals->replaced;
      break;
    case PlanChange::kCopyTree:
      std::printf("      + tree     %s: %s, %s, %s\n", path, count(c.files, "file").c_str(),
                  count(c.dirs, "directory").c_str(), count(bytes, "byte").c_str());
      totals->files_made += c.files;
      totals->dirs_made += c.dirs;
      break;
    case PlanChange::kRemove:
      std::printf("      - REMOVE   %s: %s\n", path, count(bytes, "byte").c_str());
      ++totals->removed_files;
      break;
    case PlanChange::kRemoveTree:
      std::printf("      - REMOVE   %s: tree of %s, %s, %s", path, count(c.files, "file").c_str(),
                  count(c.dirs, "directory").c_str(), count(bytes, "byte").c_str());
      if (c.kept > 0) std::printf("; %s kept", count(c.kept, "entry").c_str());
      std::printf("\n");
      totals->removed_files += c.files;
      totals->removed_dirs += c.dirs;
      break;
    case PlanChange::kRename:
      std::printf("      ~ rename   %s -> %s\n", path, c.detail.c_str());
      break;
    case PlanChange::kMode:
    case PlanChange::kOwner:
      std::printf("      ~ %s    %s: %s", c.what == PlanChange::kMode ? "mode " : "owner", path,
                  c.detail.c_str());
      if (c.files > 1) std::printf(", %s", count(c.files, "entry").c_str());
      std::printf("\n");
      (c.what == PlanChange::kMode ? totals->modes : totals->owners) += c.files;
      break;
  }
}

// What the plan says after a command's line: its failure, or what it set
// or tested when it touches no file.
std::string describe(Ini* ini, const CCmd& cmd, const CommandPlan& plan) {
  if (plan.result == 0) return "FAILS: " + plan.failure;
  if (!plan.failure.empty()) return "some fail: " + plan.failure;
  if (cmd.type == Exist) {
    return std::string(str(cmd.dest.get())) + " = " + quoted(ini_value_name(ini, cmd.dest.get()));
  }
  if (cmd.type == Error) {
    return std::string("passes, ") + str(cmd.source.get()) + " is " +
           quoted(ini_value_name(ini, cmd.source.get()));
  }
  return plan.changes.empty() ? "changes nothing" : "runs";
}

// The copy stage: plans the section command by command. Returns false when
// the run would stop at a failing command.
bool plan_copy(Ini* ini, const RunKind& kind, const char* path, const char* file) {
  std::unique_ptr<Copy, void (*)(Copy*)> copy(copy_init(ini), [](Copy* c) { copy_free(&c); });
  if (!copy_load(copy.get(), path, kind.section)) {
    std::printf("\nCopy script [%s] (%s): not there, the run does nothing more\n",
                str(kind.section), file);
    return true;
  }
  std::printf("\nCopy script [%s] (%s), %s\n", str(kind.section), file,
              kind.stop_on_fail ? "stopping at the first command that fails"
                                : "going on past commands that fail");
  PlanView view;
  Totals totals;
  std::string last_error = copy_error();
  bool stopped = false;
  for (int i = 0; i < copy_count(copy.get()); ++i) {
    const CCmd& cmd = copy->list[static_cast<size_t>(i)];
    const char* keyword = copy_keyword(cmd.type);
    const char* fields[] = {cmd.source.get(), nullptr, nullptr};
    if (cmd.type != MkDir && cmd.type != CpyIni && cmd.type != Rename && cmd.type != Exist &&
        cmd.type != Error && cmd.type != WFile && cmd.type != RFile) {
      fields[1] = cmd.not_ ? cmd.not_.get() : "-";
    }
    if (cmd.type != MkDir && cmd.type != RmDir && cmd.type != RmFile) fields[2] = cmd.dest.get();
    std::printf("  %s:%d  %s => ", file, cmd.line,
                words({keyword != nullptr ? keyword : "(unknown)", fields[0], fields[1], fields[2],
                       cmd.control.get(), cmd.control_cmp.get()})
                    .c_str());
    const CommandPlan plan = copy_plan(copy.get(), i, &view);
    if (plan.result < 0) {
      const char* cmp = ini_value_name(ini, cmd.control_cmp.get());
      std::printf("skipped, %s\n",
                  closed_because(cmd.control.get(), ini_value_name(ini, cmd.control.get()),
                                 cmp != nullptr ? cmp : cmd.control_cmp.get())
                      .c_str());
      ++totals.skipped;
      continue;
    }
    const std::string outcome = describe(ini, cmd, plan);
    std::printf("%s\n", outcome.c_str());
    for (const PlanChange& change : plan.changes) print_change(change, &totals);
    if (plan.result > 0) {
      ++totals.run;
      totals.files += static_cast<unsigned long>(plan.result);
      totals.bytes += plan.bytes;
      continue;
    }
    ++totals.failed;
    if (cmd.type == Error) last_error = str(cmd.dest.get());
    if (kind.stop_on_fail) {
      stopped = true;
      break;
    }
  }
  if (stopped) {
    std::printf("  The run stops here and prints \"Failed, %s\"\n", last_error.c_str());
  } else if (kind.count_bytes) {
    std::printf("  The run ends with \"Success %lu bytes in %lu files copied\"\n", totals.bytes,
                totals.files);
  } else {
    std::printf("  The run ends with \"Success %lu files %s\"\n", totals.files, kind.done);
  }
  std::printf(
      "\nSummary: %s run, %d skipped, %d failing; made %s and %s, replaced %s, removed %s "
      "and %s, changed %s and %s; %s copied\n",
      count(static_cast<unsigned long>(totals.run), "command").c_str(), totals.skipped,
      totals.failed, count(totals.dirs_made, "directory").c_str(),
      count(totals.files_made, "file").c_str(), count(totals.replaced, "file").c_str(),
      count(totals.removed_files, "file").c_str(), count(totals.removed_dirs, "directory").c_str(),
      count(totals.modes, "mode").c_str(), count(totals.owners, "owner").c_str(),
      count(totals.bytes, "byte").c_str());
  return !stopped;
}

// The file name of description file `ext` as the plan shows it.
std::string shown(const char* ext) { return std::string(str(myname)) + ext; }

}  // namespace

RunKind planned_run(Ini* ini) {
  if (special_mode != nullptr) return special_run();
  switch (chosen_action() != 0 ? chosen_action() : suggested_action(ini)) {
    case 2:
      return kUpgradeRun;
    case 3:
      return kRemoveRun;
    default:
      return kInstallRun;
  }
}

int plan_product(Ini* store) {
  char path[kPathSize];
  if (!description_file(path, ".dat") || !load_datfile(store, path)) {
    std::printf("%s: cannot be read\n", shown(".dat").c_str());
    return 1;
  }
  clear_datfile();
  // The presets go in as a run puts them: before the probes and after them.
  if (!apply_presets(store)) return 1;
  const char* product = ini_value_name(store, "product");
  char dir[kPathSize] = "";
  currentdir(dir, kPathSize);

  std::unique_ptr<Init, void (*)(Init*)> probes(init_init(), [](Init* p) { init_free(&p); });
  if (!description_file(path, ".int") || !init_load(probes.get(), path)) {
    std::printf("Error: Failed to load init file '%s', %s\n", path, init_error());
    return 1;
  }
  std::printf("Plan for %s in %s; nothing is changed\n", product ? product : "NONAME", dir);
  const std::string int_file = shown(".int");
  plan_probes(store, probes.get(), int_file.c_str());
  apply_presets(store);

  const RunKind kind = planned_run(store);
  std::printf("\nThe run: [%s]\n", kind.heading);
  std::unique_ptr<Questions, void (*)(Questions*)> quest(quest_init(store),
                                                         [](Questions* q) { quest_free(&q); });
  const std::string q_file = shown(".q");
  if (!description_file(path, ".q") || !quest_load(quest.get(), path, kind.section)) {
    std::printf("\nQuestions [%s] (%s): cannot be loaded, the run fails\n", str(kind.section),
                q_file.c_str());
    return 1;
  }
  std::printf("\nQuestions [%s] (%s), each taking its default\n", str(kind.section),
              q_file.c_str());
  WalkPrinter printer(store, quest.get(), q_file.c_str());
  // Every question takes its default, as under -automate.
  const int was_automated = automate;
  automate = 1;
  const int result = walk_questions(store, quest.get(), kind, &printer);
  automate = was_automated;
  if (result != SUCEEDED) {
    std::printf("  The run %s here, before the copy script\n", result == QUIT ? "quits" : "fails");
    return 1;
  }
  const std::string cpy_file = shown(".cpy");
  if (!description_file(path, ".cpy")) path[0] = '\0';
  return plan_copy(store, kind, path, cpy_file.c_str()) ? 0 : 1;
}

}  // namespace inst
