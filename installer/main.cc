// The installer's entry point: start-up, the menu, and clean-up.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "ini/ini.h"
#include "ini/shared.h"
#include "installer/guard.h"
#include "installer/installer.h"
#include "installer/menu.h"
#include "installer/options.h"
#include "installer/probes.h"
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
  log_set(run_log);
  log_open(run_log, path);
  log_doflush(run_log, 1);
  imsg("Log file opened in '%s'", path);

  process_args(run_log, argv, argc);

  strip_ext(path);
  attach_ext(path, ".dat", kPathSize);
  if (load_datfile(store, path)) {
    strip_ext(path);
    attach_ext(path, ".int", kPathSize);
    // The suggestion is read after the probes, which may set "action".
    if (load_probes(store, path)) {
      const int action = suggested_action(store);
      print_header(store);
      menu_loop(store, action);
    }
    clear_datfile();
  }

  ini_free(&store);
  log_free(&run_log);
  delete[] myname;
  myname = nullptr;

  // An interrupted run ends at once, with status 128 + the signal.
  const int signal = interrupt_signal();
  if (!automate && signal == 0) {
    std::printf("\n<Press enter to exit>");
    char reply[kLineSize];
    read_reply(reply, sizeof reply, stdin);
  }
  return signal != 0 ? 128 + signal : 0;
}
