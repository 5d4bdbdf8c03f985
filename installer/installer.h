// The installer driver: the process-wide run state, the command line, the
// banner and menu, the after-install text, the progress callbacks and the
// four runs behind the menu entries.
#ifndef INSTALLER_INSTALLER_INSTALLER_H_
#define INSTALLER_INSTALLER_INSTALLER_H_

#include "ini/ini.h"
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

// The menu entry to suggest: 2 when the setting "action" is exactly
// "upgrade", else 1.
int suggested_action(Ini* ini);
// Shows the menu and carries out choices until one ends the program:
// `action` is the suggested entry, taken on an empty reply and under
// -automate; -special runs the special section once without a menu. End of
// input at the prompt counts as Exit.
void menu_loop(Ini* ini, int action);

// The four runs; each returns one of the results above.
int install_product(Ini* ini);
int upgrade_product(Ini* ini);
int remove_product(Ini* ini);
int do_special(Ini* ini);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_INSTALLER_H_
