// The installer driver's shared run state: the program's name, the options
// that steer every run, and the results a run gives back. The driver itself
// is split by concern: options.h (the command line), probes.h (the machine's
// facts before the menu), menu.h (banner, menu and after-install text),
// runs.h (the install, upgrade, remove and special runs), presets.h (values
// given on the command line for settings), report.h (the JSON report),
// check.h (-check) and plan.h (-plan).
#ifndef INSTALLER_INSTALLER_INSTALLER_H_
#define INSTALLER_INSTALLER_INSTALLER_H_

#include "lib/limits.h"

namespace inst {

// The version -version prints and the report gives.
inline constexpr char kInstallerVersion[] = "1.0d";

// Results of a run. SUCEEDED is spelled so on purpose.
enum { FAILED = 0, SUCEEDED = 1, SW_TO_UPGRADE = 2, SW_TO_INSTALL = 3, QUIT = 4 };

// The program's bare name (see exename), set at start-up and released at the
// end; null outside a run.
extern char* myname;
// The tag given with -special, or null.
extern char* special_mode;
// 1 when -automate was given: every choice and answer takes its default.
extern int automate;
// 1 when -check was given: the description files are checked, nothing runs.
extern int check_only;
// 1 when -plan was given: the action is worked out without being done.
extern int plan_only;

// Names this program's description file with extension `ext` in the working
// directory, as start-up names the data file (the bare name when the
// directory cannot be read). Returns false when the name does not fit in a
// path: a cut name could open some other file.
bool description_file(char (&path)[kPathSize], const char* ext);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_INSTALLER_H_
