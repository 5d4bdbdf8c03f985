// Fresh temporary file names in a directory. Kept apart from the path
// helpers because it logs, while those stay below the log.
#ifndef INSTALLER_LIB_TEMPFILE_H_
#define INSTALLER_LIB_TEMPFILE_H_

namespace inst {

// A fresh, not yet existing file name in dir made from templ (at most 127
// characters; "XXXXXX" when null) with its trailing run of X's replaced by
// random letters and digits; logged at debug level. Returns buf, or null for
// a null buf or when no fresh name is found (buf is then empty).
char* tempfile(char* buf, int size, const char* dir, const char* templ);

}  // namespace inst

#endif  // INSTALLER_LIB_TEMPFILE_H_
