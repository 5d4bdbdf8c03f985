// The installer's entry point: start-up, the menu, and clean-up.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "ini/ini.h"
#include "ini/shared.h"
#include "installer/check.h"
#include "installer/guard.h"
#include "installer/installer.h"
#include "installer/menu.h"
#include "installer/options.h"
#include "installer/plan.h"
#include "installer/presets.h"
#include "installer/probes.h"
#include "installer/report.h"
#include "installer/runs.h"
#include "lib/input.h"
#include "lib/interrupt.h"
#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"

namespace {

// Held at file scope so that they stay reachable when an option ends the
// process early.
inst::Log* run_log = nullptr;
inst::Ini* store = nullptr;

// Opens /dev/null on standard input, output or error when the program was
// started with it closed. Otherwise the log file would be given that number
// and the transcript would be written into the log.
void fill_closed_standard_streams() {
  for (int fd = 0; fd <= 2; ++fd) {
    if (fcntl(fd, F_GETFD) != -1 || errno != EBADF) continue;
    const int opened = open("/dev/null", fd == 0 ? O_RDONLY : O_WRONLY);
    if (opened >= 0 && opened != fd) {
      dup2(opened, fd);
      close(opened);
    }
  }
}

// Whether the report named on the command line, if any, can be written, so
// that nothing is run when it could not be. Prints the error when not.
bool report_file_writable() {
  const char* file = inst::report_file();
  if (file == nullptr || inst::report_writable(file)) return true;
  const char* reason = std::strerror(errno);
  inst::emsg("Cannot write the report '%s', %s", file, reason);
  std::printf("Error: Cannot write the report '%s', %s\n", file, reason);
  return false;
}

// Writes the report, when one was asked for, of a program that started at
// `started`, logged into `log_path` and ends as `ending` with `status`.
void finish_report(inst::Ini* ini, bool started_up, const inst::Ending& ending, int status,
                   std::time_t started, const std::string& log_path) {
  using namespace inst;
  const char* file = report_file();
  if (file == nullptr) return;
  Report report;
  report.version = kInstallerVersion;
  if (const char* product = ini_value_name(ini, "product")) report.product = product;
  if (special_mode != nullptr) report.tag = special_mode;
  report.outcome = ending.outcome;
  report.status = status;
  if (!started_up) report.error = emsg_latest();
  report.run = last_run();
  std::vector<std::string> names = preset_names();
  for (const std::string& name : report.run.answered) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
  }
  report.answers = report_answers(ini, names);
  report.started = started;
  report.ended = std::time(nullptr);
  report.log = log_path;
  if (!report_write(report, file)) {
    std::printf("Error: Cannot write the report '%s', %s\n", file, std::strerror(errno));
  }
}

// Loads the data file named after `path` (the log's path), applies the
// presets, runs the probes and then the chosen action or the menu, and
// writes the report when one was asked for. Returns the exit status.
int run_product(inst::Ini* ini, char (&path)[inst::kPathSize]) {
  using namespace inst;
  const std::time_t started = std::time(nullptr);
  const std::string log_path = path;
  // The start-up got as far as the runs; or a new option's value could not
  // be used, which ends the program with status 1 whatever else is given.
  bool started_up = false;
  bool option_error = !report_file_writable();
  strip_ext(path);
  attach_ext(path, ".dat", kPathSize);
  if (!option_error && load_datfile(ini, path)) {
    // Presets go in before the probes, so that the probes see them, and
    // again after them, so that no probe replaces them.
    option_error = !apply_presets(ini);
    strip_ext(path);
    attach_ext(path, ".int", kPathSize);
    // The suggestion is read after the probes, which may set "action".
    if (!option_error && load_probes(ini, path)) {
      apply_presets(ini);
      started_up = true;
      const int action = suggested_action(ini);
      print_header(ini);
      if (chosen_action() != 0) {
        run_entry(ini, chosen_action());
      } else {
        menu_loop(ini, action);
      }
    }
  }

  // The status tells the outcome when a script chose the run; otherwise it
  // is 0, as it has always been, but for an interrupt.
  const Ending ending = report_ending(started_up, last_run(), interrupt_signal());
  int status = 0;
  if (interrupt_signal() != 0 ||
      (scripted() && (chosen_action() != 0 || special_mode != nullptr))) {
    status = ending.status;
  } else if (option_error) {
    status = 1;
  }
  finish_report(ini, started_up, ending, status, started, log_path);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace inst;
  fill_closed_standard_streams();
  // Output that nobody reads (a closed pipe) fails its writes instead of
  // ending the program half-way through a run.
  std::signal(SIGPIPE, SIG_IGN);
  // A write past the file size limit fails as a write error instead.
  std::signal(SIGXFSZ, SIG_IGN);
  run_log = log_init(LogDebug);
  store = ini_init();

  char path[kPathSize] = "";
  exename(path, argv != nullptr && argc > 0 ? argv[0] : nullptr, kPathSize);
  myname = s_strdup(path);
  // Before anything is opened: names that would be cut, or another run at
  // work in this directory, end the program with nothing touched.
  if (!guard_names_fit(myname)) return 1;
  if (guard_needs_lock(argc, argv) && !guard_lock()) return 1;

  // Without a usable working directory the files are named relative to it.
  if (currentdir(path, kPathSize) == nullptr) path[0] = '\0';
  attach_path(path, myname, kPathSize);
  attach_ext(path, ".log", kPathSize);
  // A run that changes nothing has no log: its messages have nowhere to go,
  // and errors wait in memory for a log that never comes.
  const bool read_only = changes_nothing(argc, argv);
  if (!read_only) {
    log_set(run_log);
    log_open(run_log, path);
    log_doflush(run_log, 1);
    imsg("Log file opened in '%s'", path);
  }

  process_args(run_log, argv, argc);

  int status = 0;
  if (check_only) {
    status = check_product(store);
  } else if (plan_only) {
    status = plan_product(store);
  } else {
    status = run_product(store, path);
  }

  clear_datfile();
  ini_free(&store);
  log_free(&run_log);
  delete[] myname;
  myname = nullptr;

  if (!automate && !read_only && interrupt_signal() == 0) {
    std::printf("\n<Press enter to exit>");
    char reply[kLineSize];
    read_reply(reply, sizeof reply, stdin);
  }
  return status;
}
