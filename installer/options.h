// The command line: the options that steer a run.
#ifndef INSTALLER_INSTALLER_OPTIONS_H_
#define INSTALLER_INSTALLER_OPTIONS_H_

#include "lib/log.h"

namespace inst {

// Reads the options -debug, -version, -automate and -special <tag> from
// argv[1..argc-1]; other words are ignored. -version prints the version and
// ends the process with status 0; -special without a tag prints the usage
// line and ends it with status 1. A null argv does nothing.
void process_args(Log* log, char** argv, int argc);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_OPTIONS_H_
