// The command line: the options that steer a run.
#ifndef INSTALLER_INSTALLER_OPTIONS_H_
#define INSTALLER_INSTALLER_OPTIONS_H_

#include "lib/log.h"

namespace inst {

// Reads the options -debug, -version, -automate, -special <tag>, -check and
// -plan from argv[1..argc-1]; other words are ignored. -version prints the
// version and ends the process with status 0; -special without a tag prints
// the usage line and ends it with status 1. A null argv does nothing.
void process_args(Log* log, char** argv, int argc);

// Whether the command line asks for a run that changes nothing on disk, not
// even the log: -check or -plan, found as process_args finds them (the word
// after -special is its tag, not an option). Start-up asks this before it
// opens the log, and so must anything else that would write before the
// options are read.
bool changes_nothing(int argc, char** argv);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_OPTIONS_H_
