// The runs behind the menu entries: install, upgrade, remove and the
// special run, each a question stage and then a copy stage.
#ifndef INSTALLER_INSTALLER_RUNS_H_
#define INSTALLER_INSTALLER_RUNS_H_

#include <string>
#include <vector>

#include "copy/copy.h"
#include "ini/ini.h"
#include "installer/installer.h"
#include "quest/quest.h"

namespace inst {

// What tells the four runs apart.
struct RunKind {
  const char* action;    // the run's name in its record
  const char* heading;   // shown as "[heading]"
  const char* section;   // of the question file and the copy script; null loads nothing
  bool expand_errors;    // Error question texts get their references replaced
  const char* progress;  // printed before the copy script's dots
  bool count_bytes;      // the success line counts bytes and files, else files only
  int stop_on_fail;      // the copy script stops at its first failing command
  const char* done;      // last word of the files-only success line
};
extern const RunKind kInstallRun;
extern const RunKind kUpgradeRun;
extern const RunKind kRemoveRun;
// The special run of the -special tag (special_mode, which may be null).
RunKind special_run();

// Per-file progress callback: prints one dot.
void printdot(const char* src, const char* dst, int mode);
// Per-file failure callback: prints the system error text, and keeps the
// file with it in the latest run's record.
void printerror(const char* src, const char* dst, int mode);

// A file the copy stage failed on.
struct FileFailure {
  std::string path;   // a copy's target, else the file or directory acted on
  std::string error;  // the system's error text
};

// What the latest run did, kept after it ends.
struct RunRecord {
  const char* action = nullptr;       // "install", "upgrade", "remove", "special"; null: none ran
  int result = FAILED;                // what the run returned
  std::vector<std::string> answered;  // the settings its questions stored, each once, in order
  bool copied = false;                // its section of the copy script was run
  // False when the copy script ran into a failing command or file, or could
  // not be read at all; a missing section is no failure.
  bool copy_ok = true;
  unsigned long files = 0;
  unsigned long bytes = 0;
  // The commands that failed; one with line 0 when the script could not be read.
  std::vector<CFailure> failed_commands;
  std::vector<FileFailure> failed_files;
};
// The record of the latest run; an empty record before the first.
const RunRecord& last_run();

// The four runs behind the menu entries, one algorithm. A run prints its
// heading ("[Install]", "[Upgrade]", "[Remove]", or the -special tag in
// brackets: "[]" without a tag), loads its section of <name>.q from the
// working directory ("install", "upgrade", "remove" or the tag; without a
// tag nothing is loaded) and walks the questions from the first:
//   Copy   sets its setting to the value of the setting its text names;
//          nothing changes when that one has no value.
//   Exist  sets its setting to "true" or "false": whether the path in its
//          text (references expanded) exists.
//   Error  when its setting holds a false word, prints "Error: %s" with its
//          text and fails the run. Only the upgrade expands the text's
//          references first; the others print it as written, on purpose.
//   Loop   when its setting holds a false word, goes on at the position its
//          text gives (from 0; below 0 counts as 0, past the end ends the
//          walk).
//   other  asked when its gate is open: with no control value, always; with
//          one and no comparison, when it is a true word; with both, when
//          they are equal. Unattended, the default is the answer (empty
//          when there is none).
// An answer "q" or "Q" quits the run; "b" or "B" goes back one question (at
// the first, it is asked again). A refused answer prints "Error: %s, please
// try again" and is asked again; unattended it fails the run. End of input
// while a question waits quits the run. A question sent back (by Loop or
// "b") a second time with no answer read and no setting changed since would
// repeat for ever: the run fails with "Error: The questions go round without
// end" instead. After the last question, at the terminal only, "Do you want
// to change your answers [n]? " walks them again on a true word; anything
// else, end of input included, goes on.
// Then the same section of <name>.cpy runs with a dot per file ("Copying
// files[", "Removing files[" or "Executing[" first), install and upgrade
// stopping at the first failing command and counting bytes too. SIGINT,
// SIGTERM and SIGHUP are recorded meanwhile (lib/interrupt.h). A missing
// script or section prints nothing; a failure prints "]\nFailed, %s" with
// the last Error message. Counts above the largest int are shown as it.
// While the script runs, SIGINT, SIGTERM and SIGHUP are recorded instead of
// ending the program (lib/interrupt.h): the script stops after the command
// they cut, and interrupt_signal() tells the caller.
// Returns QUIT when the user quit, FAILED when the questions could not be
// loaded ("Error loading questions" logged; also when a file's path would
// not fit in 255 characters) or failed, else SUCEEDED, also when the copy
// script failed or was missing. Without a store a run does nothing and
// returns FAILED.
int install_product(Ini* ini);
int upgrade_product(Ini* ini);
int remove_product(Ini* ini);
int do_special(Ini* ini);

// What a question did as the walk went by it, for a dry run to show.
enum class WalkStep {
  kCopied,      // Copy: its setting took the value in detail (null: unchanged)
  kTested,      // Exist: its setting became detail, "true" or "false"
  kPassed,      // Error or Loop: its setting was not false, the walk went on
  kErrorFired,  // Error: the run fails with the message in detail
  kWentTo,      // Loop: the walk goes on at the position in detail
  kNotAsked,    // its gate was closed
  kAnswered,    // the answer was stored; its setting holds detail (null: none)
  kRefused,     // the answer was refused for the reason in detail
  kQuit,        // the answer quit the run
  kBack,        // the answer went back a question
  kRoundabout,  // the walk would go round for ever and fails (detail: why)
};
class WalkObserver {
 public:
  virtual ~WalkObserver() = default;
  virtual void Step(int index, WalkStep step, const char* detail) = 0;
};
// Walks the loaded questions from the first as a run's question stage does,
// unattended when `automate` is set, telling `observer` each step. With an
// observer, the texts the walk would print ("Error: ...") go to it instead.
// Returns SUCEEDED, QUIT or FAILED as the run would; FAILED for a null
// store or list.
int walk_questions(Ini* ini, Questions* quest, const RunKind& kind, WalkObserver* observer);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_RUNS_H_
