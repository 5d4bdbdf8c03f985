// The runs behind the menu entries: install, upgrade, remove and the
// special run, each a question stage and then a copy stage.
#ifndef INSTALLER_INSTALLER_RUNS_H_
#define INSTALLER_INSTALLER_RUNS_H_

#include "ini/ini.h"

namespace inst {

// Per-file progress callback: prints one dot.
void printdot(const char* src, const char* dst, int mode);
// Per-file failure callback: prints the system error text.
void printerror(const char* src, const char* dst, int mode);

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
// stopping at the first failing command and counting bytes too. A missing
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

}  // namespace inst

#endif  // INSTALLER_INSTALLER_RUNS_H_
