// The installer driver's shared run state: the program's name, the options
// that steer every run, and the results a run gives back. The driver itself
// is split by concern: options.h (the command line), probes.h (the machine's
// facts before the menu), menu.h (banner, menu and after-install text),
// runs.h (the install, upgrade, remove and special runs), presets.h (values
// given on the command line for settings) and report.h (the JSON report).
#ifndef INSTALLER_INSTALLER_INSTALLER_H_
#define INSTALLER_INSTALLER_INSTALLER_H_

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

}  // namespace inst

#endif  // INSTALLER_INSTALLER_INSTALLER_H_
