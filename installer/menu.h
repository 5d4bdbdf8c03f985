// What the user sees around the runs: the welcome banner, the menu and its
// loop, and the text shown after an install.
#ifndef INSTALLER_INSTALLER_MENU_H_
#define INSTALLER_INSTALLER_MENU_H_

#include "ini/ini.h"

namespace inst {

// The welcome banner, naming the product ("NONAME" without one).
void print_header(Ini* ini);
// The menu of the four visible entries.
void print_menu(Ini* ini);
// Prints blurb.txt from the working directory with setting references
// replaced; nothing when the file cannot be opened.
void print_blurb(Ini* ini);
// The menu entry to suggest: 2 when the setting "action" is exactly
// "upgrade", else 1.
int suggested_action(Ini* ini);
// Runs menu entry `choice` once: 1 install (then prints blurb.txt unless the
// run was quit), 2 upgrade, 3 remove, 5 the special run; any other entry
// runs nothing and gives FAILED. Returns the run's result.
int run_entry(Ini* ini, int choice);
// Shows the menu and carries out choices until one ends the program:
// `action` is the suggested entry, taken on an empty reply and under
// -automate; -special runs the special section once without a menu. End of
// input at the prompt counts as Exit. A run interrupted by a signal ends the
// loop at once, without the after-install text.
void menu_loop(Ini* ini, int action);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_MENU_H_
