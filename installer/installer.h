// The installer driver: the process-wide run state, the command line, the
// banner and menu, the after-install text, the progress callbacks and the
// four runs behind the menu entries.
#ifndef INSTALLER_INSTALLER_INSTALLER_H_
#define INSTALLER_INSTALLER_INSTALLER_H_

#include "ini/ini.h"
#include "init/init.h"
#include "lib/limits.h"
#include "lib/log.h"

namespace inst {

// Results of a run. SUCEEDED is spelled so on purpose.
enum { FAILED = 0, SUCEEDED = 1, SW_TO_UPGRADE = 2, SW_TO_INSTALL = 3, QUIT = 4 };

// The program's bare name (see exename), set at start-up and released at the
// end; null outside a run.
extern char* myname;
// The tag given with -special, or null.
extern char* special_mode;
// 1 when -automate was given: every choice and answer takes its default.
extern int automate;

// Reads the options -debug, -version, -automate and -special <tag> from
// argv[1..argc-1]; other words are ignored. -version prints the version and
// ends the process with status 0; -special without a tag prints the usage
// line and ends it with status 1. A null argv does nothing.
void process_args(Log* log, char** argv, int argc);
// The welcome banner, naming the product ("NONAME" without one).
void print_header(Ini* ini);
// The menu of the four visible entries.
void print_menu(Ini* ini);
// Prints blurb.txt from the working directory with setting references
// replaced; nothing when the file cannot be opened.
void print_blurb(Ini* ini);
// Per-file progress callback: prints one dot.
void printdot(const char* src, const char* dst, int mode);
// Per-file failure callback: prints the system error text.
void printerror(const char* src, const char* dst, int mode);

// Asks for web server items; init_find_http_conf() is the one the program
// uses.
using HttpFinder = int (*)(char* user, char* group, char* root, char* scripts, char* errmsg);
// Runs every probe of `probes` in file order into the store; no probe's
// failure stops the others. A probe with a compare text runs only when that
// text equals, exactly, the value of the control setting, or the control's
// own name when that setting has no value. Without a control ("-") a compare
// text that is a true word runs the probe and any other skips it.
//   Exist    b = "true" or "false": whether the path a (references expanded,
//            255 characters at most) exists as a file or a directory.
//   Copy     a = the value of setting b, or the text b when it has none.
//   HTTP_*   a = the web server item `find` gives; when it fails, "ERROR: %s"
//            with the reason is printed and b = "true".
//   TimeDate b = the local time formatted by strftime with the value of
//            setting a, cut to 999 characters (a field too wide to format
//            in a MiB gives the empty text); logs "TimeDate '%s' is NULL"
//            when setting a has no value.
//   WFile    writes the value of setting b (or the text b) to the path a,
//            creating or truncating it; logs "Failed to write (%s), %s" when
//            the file cannot be opened or written.
//   RFile    b = the whole content of the file at path a, line ends
//            included (a NUL byte ends the value, as it ends any text); an
//            empty file leaves b as it was; logs "Failed to read (%s), %s"
//            when the file cannot be opened or read (a directory, say).
// Settings are written with ini_add_name(), whose rules may refuse a value.
void evaluate_probes(Ini* ini, Init* probes, HttpFinder find = init_find_http_conf);
// Loads the probe file at `path` and evaluates it into the store. Returns 1;
// 0 when the file cannot be loaded, after printing "Error: Failed to load
// init file '%s', %s" with the path and init_error().
int load_probes(Ini* ini, const char* path);

// The menu entry to suggest: 2 when the setting "action" is exactly
// "upgrade", else 1.
int suggested_action(Ini* ini);
// Shows the menu and carries out choices until one ends the program:
// `action` is the suggested entry, taken on an empty reply and under
// -automate; -special runs the special section once without a menu. End of
// input at the prompt counts as Exit.
void menu_loop(Ini* ini, int action);

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

#endif  // INSTALLER_INSTALLER_INSTALLER_H_
