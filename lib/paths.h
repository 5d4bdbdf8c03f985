// In-place operations on path texts held in caller buffers, and the
// program's own name and directories. Both '/' and '\' are understood as
// separators; only the module separator (Sep, '/' at start) is written.
// Every bounded operation writes at most size-1 characters and a terminator.
#ifndef INSTALLER_LIB_PATHS_H_
#define INSTALLER_LIB_PATHS_H_

namespace inst {

// Whether c is a separator: '/' or '\'.
bool is_separator(char c);
// The last separator in path, or null when there is none (or path is null).
const char* last_separator(const char* path);
// Sets the separator that attach_path() writes; returns it.
char usesep(char sep);
// Replaces every '/' and '\' in path by sep; returns path (null for null).
char* setsep(char* path, char sep);
// Joins name to the directory in path: rewrites path's separators to Sep,
// adds one separator between them when neither side has one, skips one
// leading separator of name when path already ends with one (an empty path
// takes name as it is). Returns path, or null when path is null, size is 0
// or the result is empty.
char* attach_path(char* path, const char* name, int size);
// Joins each name in turn, up to a null one, without rewriting separators;
// the first name is copied from the start of the buffer. Each name is cut to
// the room left less one place (size 6 keeps "abcd" of "abcdef"), on
// purpose. Returns path.
char* attach_pathx(char* path, int size, ...) __attribute__((sentinel));
// Appends ext exactly as given, stopping at size-1 characters. Returns path,
// or null when path is null or size is 0. A null ext appends nothing.
char* attach_ext(char* path, const char* ext, int size);
// Cuts path at its last separator and copies what followed it into name
// (when name is not null). Without a separator the whole text goes to name
// and path becomes empty; a path whose only separator is its first
// character becomes empty too. Returns path (null for null).
char* strip_file(char* path, char* name, int size);
// Removes everything up to and including the last separator. Returns path.
char* strip_path(char* path);
// Removes everything from the last dot of the file-name part, unless that
// dot is the first character of the whole text. Returns path.
char* strip_ext(char* path);
// Copies what follows the first dot of the file-name part into ext and
// returns its length; 0 (ext untouched) when there is no dot.
int get_ext(char* ext, const char* path, int size);
// The file-name part of argv0 up to its first dot. Returns buf.
char* exename(char* buf, const char* argv0, int size);
// The program's directory as an absolute path with "." and ".." resolved,
// always written with '/' and without a trailing one (so a program in the
// root directory gives the empty text). A relative argv0 is taken from the
// working directory. Returns buf.
char* exepath(char* buf, const char* argv0, int size);
// The working directory as the system gives it (no trailing separator except
// for the root itself, "/"). Returns buf, or null when buf is null, the
// directory cannot be read or it does not fit in size-1 characters (buf is
// then unchanged).
char* currentdir(char* buf, int size);
// The system configuration directory, "/etc". Returns buf (null for null).
char* systemdir(char* buf, int size);
// Also "/etc", the same as systemdir() on purpose.
char* windir(char* buf, int size);

}  // namespace inst

#endif  // INSTALLER_LIB_PATHS_H_
