// Signals that end the program while it changes files. While armed, SIGINT,
// SIGTERM and SIGHUP are recorded instead of ending the process at once, so
// that the work in progress can be undone, logged and reported before the
// program ends with status 128 + the signal's number.
#ifndef INSTALLER_LIB_INTERRUPT_H_
#define INSTALLER_LIB_INTERRUPT_H_

namespace inst {

// From now on SIGINT, SIGTERM and SIGHUP are caught: the first one received
// is recorded, and a system call that was waiting returns early with EINTR
// instead of being restarted, so that long reads and writes notice it.
void interrupt_arm();
// Gives the three signals back their default action. A signal recorded
// while armed stays recorded.
void interrupt_disarm();
// The first signal received while armed, or 0 when none has been.
int interrupt_signal();
// Forgets a recorded signal (for a program, or a test, that starts anew).
void interrupt_clear();

}  // namespace inst

#endif  // INSTALLER_LIB_INTERRUPT_H_
