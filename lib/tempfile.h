// Fresh temporary file names in a directory. Kept apart from the path
// helpers because it logs, while those stay below the log.
#ifndef INSTALLER_LIB_TEMPFILE_H_
#define INSTALLER_LIB_TEMPFILE_H_

namespace inst {

// Writes into buf (size bytes) dir joined with a fresh, not yet existing
// name made from templ (cut to 127 characters; "XXXXXX" when null) by the
// system's template rule: the template must end in six X's, and exactly
// those last six are replaced by letters and digits. Logs "Tempfile
// made[%s]" at debug level and returns buf. Only the name is made, no file.
// Returns null, with buf emptied and nothing logged, when the template does
// not end in six X's (rather than handing back the bare directory) or when
// no fresh name is found; null for a null buf or a size below 1.
char* tempfile(char* buf, int size, const char* dir, const char* templ);

// One letter or digit for a temporary name, from a generator started from
// the system's entropy when it gives some, and from the clock and the
// process id in any case.
char tempfile_char();

}  // namespace inst

#endif  // INSTALLER_LIB_TEMPFILE_H_
