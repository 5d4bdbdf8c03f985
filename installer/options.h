// The command line: the options that steer a run.
#ifndef INSTALLER_INSTALLER_OPTIONS_H_
#define INSTALLER_INSTALLER_OPTIONS_H_

#include "lib/log.h"

namespace inst {

// Reads the options from argv[1..argc-1], left to right:
//   -debug, -automate, -special <tag>, -version (prints the version and ends
//   the process with status 0);
//   -action install|upgrade|remove, -set <name>=<value> (the presets.h
//   list), -answers <file> (likewise), -report <file>;
//   -check and -plan (see changes_nothing);
//   -help, --help, -h (prints one line per option and ends with status 0).
// A later -special or -action replaces an earlier one. An option without its
// word, or with a word it cannot take, prints its usage line and ends the
// process with status 1 ("Usage: install -special <tag>" for -special, the
// word "install" fixed). Other words are ignored, except with -action, where
// the first is reported ("Error: Unknown option '%s'") and ends the process
// with status 1, as does -action together with -special. A null argv does
// nothing.
void process_args(Log* log, char** argv, int argc);

// The menu entry -action chose: 1 install, 2 upgrade, 3 remove; 0 without
// -action.
int chosen_action();
// The file -report names, or null.
const char* report_file();
// Whether the command line scripts the program: -action, -set, -answers or
// -report was given.
bool scripted();
// Forgets what process_args read besides the process-wide values of
// installer.h (the action, the report file, the scripting options).
void options_clear();

// Whether `option` stands among the options of the command line, found as
// process_args finds it: the word after an option that takes one is its
// value, never an option.
bool option_given(int argc, char** argv, const char* option);
// Whether the command line asks for a run that changes nothing on disk, not
// even the log: -check or -plan (see option_given). Start-up asks
// this before it opens the log, and so must anything else that would write
// before the options are read.
bool changes_nothing(int argc, char** argv);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_OPTIONS_H_
