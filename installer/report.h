// The report: one JSON document, written when the program ends, that tells a
// script or a configuration tool what the program did.
#ifndef INSTALLER_INSTALLER_REPORT_H_
#define INSTALLER_INSTALLER_REPORT_H_

#include <ctime>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "ini/ini.h"
#include "installer/runs.h"

namespace inst {

struct Report {
  std::string version;
  std::optional<std::string> product;
  std::optional<std::string> tag;  // -special's tag
  // "succeeded", "failed", "quit", "copy-failed" or "interrupted".
  std::string outcome;
  int status = 0;                    // the exit status
  std::optional<std::string> error;  // why the program stopped before any run
  std::vector<std::pair<std::string, std::string>> answers;  // name and value
  RunRecord run;  // the latest run; its action is null when none ran
  std::time_t started = 0;
  std::time_t ended = 0;
  std::string log;  // the log file's path
};

// How the program ended and the exit status that tells it.
struct Ending {
  const char* outcome;
  int status;
};
// The ending after a start-up that succeeded or not (a refused preset, a
// data or probe file that cannot be loaded), the latest run, and the signal
// recorded while files changed (0 for none):
//   interrupted  128 + the signal, whatever else happened
//   failed       1 when the start-up failed; 2 when the run's questions did
//   quit         3 when the user quit the run, or left without one
//   copy-failed  4 when the copy script failed, passed over a failed command
//                or file, or could not be read
//   succeeded    0
Ending report_ending(bool started, const RunRecord& run, int signal);

// The settings `names` with their values in the store; a password setting's
// value is "xxxx", as the log shows it; a setting without a value is "".
std::vector<std::pair<std::string, std::string>> report_answers(
    Ini* ini, const std::vector<std::string>& names);

// The report as JSON text. Bytes that are not UTF-8 come out as U+FFFD, so
// the text is valid whatever the settings and paths hold.
std::string report_json(const Report& report);
// Writes the report into `path` through a new file beside it, renamed into
// place, so that a reader never sees half a report; the file is readable by
// its owner only, as it holds the answers. Returns 1; 0 when it cannot be
// written (logged as "Error writing report '%s'" with the system's error).
int report_write(const Report& report, const char* path);
// Whether a file can be made beside `path`, as report_write makes one.
// Returns 1; 0 with errno set when it cannot.
int report_writable(const char* path);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_REPORT_H_
