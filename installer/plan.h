// -plan: works out what an action would do, from the probes to the last
// copy command, and prints it, changing nothing on disk, not even the log.
#ifndef INSTALLER_INSTALLER_PLAN_H_
#define INSTALLER_INSTALLER_PLAN_H_

#include "ini/ini.h"
#include "installer/runs.h"

namespace inst {

// The run that -plan works out: the special run when -special was given,
// else the one -action chose, else the one the menu suggests from the
// setting "action" after the probes (the upgrade for "upgrade", else the
// install).
RunKind planned_run(Ini* ini);

// Plans the action for the product in the working directory and prints the
// plan: loads the data file into `store` and applies the presets (-set,
// -answers) before the probes and after them, as a run does; runs the
// probes that only read
// (a WFile probe is shown, not run); walks the questions of the planned run
// as -automate does, every one taking its default; then plans its section
// of the copy script command by command (see copy_plan()), each command
// with its references expanded, whether its control lets it run, and what
// it would make, replace, remove or change, ending with the line the run
// would print and a summary. Returns 0 when the run would complete; 1 when
// it would fail or quit, or when the data, probe or question file cannot
// be read, or a preset is refused.
int plan_product(Ini* store);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_PLAN_H_
