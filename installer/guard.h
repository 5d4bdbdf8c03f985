// Checks made at start-up, before the program touches anything: that its
// files can be named in full in the working directory, and that no other
// run works in that directory at the same time.
#ifndef INSTALLER_INSTALLER_GUARD_H_
#define INSTALLER_INSTALLER_GUARD_H_

namespace inst {

// Whether a run with these command-line words may change files and so must
// hold the directory's lock: every run except -check, -plan, and one that
// only prints the version or the help (found as option_given finds them).
bool guard_needs_lock(int argc, char** argv);

// Takes the lock of the working directory for the rest of the process: an
// flock() that the system drops when the process ends, however it ends, so
// no stale lock is ever left. Returns 1; when another process holds it,
// prints "Error: another run (process %d) is in progress in '%s'\n" (the
// process from /proc/locks; "Error: another run is in progress in '%s'\n"
// when that cannot be read) and returns 0. A directory that cannot be
// opened or locked at all is run without the lock.
int guard_lock();

// Whether the log, data and probe files of the program `name` (name plus
// ".log", ".dat" or ".int", in the working directory) fit in 255
// characters. Returns 1; otherwise prints "Error: the current directory's
// path is %d characters long, too long to name '%s.log' in it\n" and returns
// 0. A directory too long for a path at all is not refused: the files are
// then named relative to it.
int guard_names_fit(const char* name);

}  // namespace inst

#endif  // INSTALLER_INSTALLER_GUARD_H_
