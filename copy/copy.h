// The copy script: one section of file commands (copy, create, remove,
// rename, test, write) held in memory as a list of command records.
#ifndef INSTALLER_COPY_COPY_H_
#define INSTALLER_COPY_COPY_H_

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "file/file.h"
#include "lib/format.h"
#include "lib/lines.h"

namespace inst {

struct Ini;

// The command of one record. Every copy-like command carries bit 256 (Cpy)
// and every removal bit 512 (Rm); the two group values are masks only.
enum CType : int32_t {
  Cpy = 256,
  CpyFile = 257,  // "CopyFile"
  CpyDir = 258,   // "CopyDir"
  MkDir = 260,    // "MkDir"
  CpyIni = 264,   // "Ini"
  Rename = 272,   // "Rename"
  Rm = 512,
  RmFile = 513,  // "RmFile"
  RmDir = 514,   // "RmDir"
  Exist = 1024,  // "Exist"
  Chown = 2048,  // "Chown"
  Chmod = 2049,  // "Chmod"
  Error = 4096,  // "Error"
  WFile = 8192,  // "WFile"
  RFile = 16384  // "RFile"
};

// One command. Every text is owned by the record and may be null.
struct CCmd {
  std::unique_ptr<char[]> source;  // first field after the keyword
  std::unique_ptr<char[]> dest;    // destination, setting name, mode, owner or message
  // Exclusion list of comma-separated wildcards. Named with a trailing
  // underscore because `not` is an operator keyword in C++.
  std::unique_ptr<char[]> not_;
  std::unique_ptr<char[]> control;      // name of the controlling setting
  std::unique_ptr<char[]> control_cmp;  // setting name or literal to compare with
  CType type = Cpy;
  // The line of the script the command stands on, from 1. A line longer
  // than the reader's line size is read in pieces, each a command of its
  // own, and all of them carry the line they came from.
  int line = 0;
  // Set at load when the source referred to a setting that was missing or
  // had an empty value, which the expansion dropped without trace: a
  // removal of such a source is refused.
  bool lost_reference = false;
};

// One command that failed while the script ran.
struct CFailure {
  int index = 0;      // its place in the list
  int line = 0;       // its line in the script
  std::string error;  // the last error message logged while it ran
};

// A loaded section of a copy script.
struct Copy {
  std::vector<CCmd> list;        // the commands in file order
  Ini* ini = nullptr;            // settings store for references and commands; borrowed
  uint32_t count = 0;            // number of valid records in list
  std::vector<CFailure> failed;  // the commands that failed in the last copy_process
  // What the last load met in its section: unknown commands, lines dropped
  // for want of a word, lines longer than a piece. Kept for -check.
  std::vector<Problem> problems;
};

// The keyword of a command type as scripts write it ("CopyFile" for
// CpyFile); null for a type no keyword gives (0, Cpy, Rm).
const char* copy_keyword(int type);

// A new empty script that reads and writes the settings store `ini` (which
// may be null: then nothing is substituted at load).
Copy* copy_init(Ini* ini);
// Installs the file layer's per-file progress callbacks (either may be null:
// no call). The script itself is not changed; nothing happens for a null
// script.
void copy_setup(Copy* copy, FileFn ok, FileFn fail);
// Loads the commands of `section` (found without regard to case) from the
// copy script `file`, replacing the commands held so far. A header is "["
// and a name, with a "]" dropped only when it is the last character; the
// section ends at the next header. Every line is read in pieces of at most
// 999 characters, so the rest of a longer line is read as a line of its own.
// Lines with an unknown keyword are kept with type 0; lines that lack a
// field their keyword needs are logged and dropped. Both, and the tails of
// over-long lines, are also described in copy->problems with their lines. With a store, "-" as the
// exclusion list means none, and references in `source` and `dest` are
// expanded (replace_vars). Returns 1 when the section header was found
// (also for an empty section), else 0; 0 without change for null arguments
// or a file that cannot be opened (logged as "Error opening '%s'").
int copy_load(Copy* copy, const char* file, const char* section);
// Releases the script and everything it owns and sets *copy to null; null
// is accepted.
void copy_free(Copy** copy);
// The number of commands; 0 for a null script.
int copy_count(const Copy* copy);

// The command's fields, borrowed from the script; null for a null script, an
// index outside 0 .. count-1, or an absent field.
const char* copy_src(const Copy* copy, int index);
const char* copy_dst(const Copy* copy, int index);
const char* copy_not(const Copy* copy, int index);
const char* copy_control(const Copy* copy, int index);
const char* copy_control_cmp(const Copy* copy, int index);
// 1 when the command has that type, else 0 (also for a null script or an
// index outside the list).
int copy_cpyfile(const Copy* copy, int index);
int copy_cpydir(const Copy* copy, int index);
int copy_mkdir(const Copy* copy, int index);
int copy_rmdir(const Copy* copy, int index);
int copy_rmfile(const Copy* copy, int index);
int copy_ini(const Copy* copy, int index);

// The directory and the file pattern of the command's source or
// destination, split at the last '/' or '\', written into buffer (at most
// bfsz-1 characters). Each returns buffer, or null for a null script or
// buffer, a bfsz below 1, an index outside the list or an absent field.
//   copy_src_path: the text up to and including the last separator; the
//     current directory when there is none (null when it cannot be read or
//     does not fit).
//   copy_src_file: the text after the last separator; all of it when there
//     is none; "*" when the text ends with a separator.
//   copy_dst_path: as copy_src_path, for the destination.
//   copy_dst_file: the text after the last separator; null when there is no
//     separator or nothing follows the last one (such a destination names no
//     destination directory).
char* copy_src_path(const Copy* copy, int index, char* buffer, int bfsz);
char* copy_src_file(const Copy* copy, int index, char* buffer, int bfsz);
char* copy_dst_path(const Copy* copy, int index, char* buffer, int bfsz);
char* copy_dst_file(const Copy* copy, int index, char* buffer, int bfsz);

// The message of the last Error command that fired, or "" when none has.
// Loading and freeing scripts leave it as it is.
const char* copy_error();
// Formats the text (cut to 999 characters) and logs it at error level,
// followed by ", " and the system error text when the system error number is
// set. errno is left as it was; the last Error message is not touched.
namespace unchecked {
void cerror(const char* format, ...);
}  // namespace unchecked
template <typename... Args>
void cerror(FormatFor<Args...> format, Args... args) {
  unchecked::cerror(format.text(), args...);
}

// Expands the references "$(name)" in a copy script's text with the script's
// store, one level deep, with exact names; an unknown name or a setting
// without a value expands to nothing. Each value and the text after the last
// reference are cut to 8999 characters and the whole result to 9999. A "$("
// without a closing ")" ends the expansion: the rest of the text is copied
// as it stands. Returns a new[] text the caller releases, or null when the
// script or text is null or the text holds no "$(".
char* replace_vars(const Copy* copy, const char* text);

// Runs every command in order. The counters, when given, are set to 0 first;
// *files gathers the positive results of the commands and *bytes the bytes
// the copies write. A failed command (result 0) ends the run with 0 when
// stop_on_fail is set; otherwise the run goes on. A signal recorded while a
// command runs (lib/interrupt.h) ends the run after it with 0, logged as
// "Interrupted by signal %d (%s), stopping...". Returns 1 when the end of
// the list is reached, also after failures were passed over; 0 for a null
// script.
int copy_process(Copy* copy, unsigned long* files, unsigned long* bytes, int stop_on_fail);
// The commands that failed in the latest copy_process of the script, in
// order, each with the last error message logged while it ran, or "No files
// handled" when it logged none (a pattern that matched nothing). Empty for a
// null script.
const std::vector<CFailure>& copy_failures(const Copy* copy);
// Whether the command's controlling setting lets it run, as copy_do
// decides (below): 1 or 0; 0 also for a null script or an index outside the
// list.
int copy_gate_open(const Copy* copy, int index);
// Runs one command. The controlling setting decides first: with `control`
// naming a setting that has a value, the command runs only when that value
// equals (without regard to case) the value of the setting `control_cmp`
// names, or the `control_cmp` text itself when no such setting has a value;
// without `control_cmp`, only when the value is a true word. Returns -1
// when the gate stops it, 0 when it fails (also for a null script or an
// index outside the list), else the number of files and directories it
// handled (1 for the commands that do one thing). A failed MkDir, Ini or
// Rename goes on as a copy with its own fields, on purpose.
int copy_do(Copy* copy, int index, unsigned long* bytes);

// One command each; every one returns 0 for a null script or an index
// outside the list.
//
// Ini: writes the template `source` to `dest` with the references of every
// line expanded, all or nothing (see Replacement). The template is read in
// pieces of at most 2999 characters, each written as a line of its own. A
// line with references loses its leading blanks; one without keeps them (on
// purpose). Returns 1; 0 when dest cannot be created ("Error creating ini
// file '%s'"), when the template cannot be opened or read to its end ("Error
// reading ini file '%s'"), is not a regular file ("Refusing to read '%s', not
// a regular file") or when writing dest fails ("Error writing ini file
// '%s'"); dest is then left as it was.
int copy_write_ini(Copy* copy, int index);
// Appends the template read from `in` to `out` as the Ini command writes it: each
// piece of at most 2999 characters trimmed, with its references expanded
// with the script's store when it has any (losing its leading blanks) and
// as it stands otherwise, and a line end. A read error is left in in's error
// flag. Returns 1; 0 when a line's references could not be expanded (a null
// script) or for a null stream.
int copy_expand_template(const Copy* copy, FILE* in, std::string* out);
// Rename: renames source to dest. Returns 1; 0 on failure, logged as
// "Error renaming '%s'->'%s', %s" with an empty third text and the system
// error after it.
int copy_rename(Copy* copy, int index);
// Exist: sets the setting named by dest to "true" when source exists (a
// directory counts), else to "false". Returns 1.
int copy_exist(Copy* copy, int index);
// Error: when the setting named by source holds a false word, makes dest the
// last Error message (logged at error level) and returns 0; otherwise 1.
int copy_seterror(Copy* copy, int index);
// WFile: writes the value of the setting named by dest (or dest itself when
// no such setting has a value) into the file source, replacing it all or
// nothing (see Replacement), with no line end. Returns 1; 0 when it cannot
// be opened or written, logged as "Failed to write (%s)".
int copy_wfile(Copy* copy, int index);
// RFile: opens source for writing, as the command always has, so the file is
// created or emptied, nothing is read and the setting named by dest keeps
// its value. Returns 1; 0 when it cannot be opened ("Failed to read (%s)").
int copy_rfile(Copy* copy, int index);

// Chown: expands dest again with the store (ini_replace, 999 characters),
// takes "user:group" or one name for both, and changes the owner of the
// source's matching entries (see dochown). "Found user id for '%s'=%d" and
// "Found group id for '%s'=%d" are logged with the ids, -1 when unknown; an
// unknown group takes the user's id. Returns the number of entries changed.
int copy_chown(Copy* copy, int index);
// Changes the owner of the entries of directory path that match the
// wildcard file, depth first: a directory's contents before the directory.
// An entry whose full path matches the exclusion list (without regard to
// case) is left alone with its contents. A symbolic link met inside the tree
// (matched by a wildcard, or below a directory) is left alone too, logged
// as "Not following link '%s'"; an entry the command names exactly is
// changed, following a link, and nothing inside the tree is ever changed
// through a link. The first change that fails ends
// the walk of its directory. Logs at debug level what it does. Returns the
// number of entries changed; 0 for a null path or file.
int dochown(const char* path, const char* file, const char* exclude, int uid, int gid);
// Chmod: reads dest as octal digits (each character adds its code minus
// that of '0' to eight times the sum so far, whatever it is, in unsigned
// arithmetic that wraps) and sets that mode on the source's matching entries
// (see dochmod). Returns the number of entries changed.
int copy_chmod(Copy* copy, int index);
// As dochown, setting the mode instead of the owner.
int dochmod(const char* path, const char* file, const char* exclude, int mode);

// Whether `name`, a directory directly in "/", is one of the machine's own:
// bin, boot, dev, etc, home, lib*, opt, proc, root, run, sbin, srv, sys,
// tmp, usr or var. Returns 1 or 0.
int copy_system_dir(const char* name);
// Whether removing the entries of directory dir that match the wildcard wild
// could only be a mistake: a wildcard directly inside "/", "/" itself, a
// top-level system directory (/bin /boot /dev /etc /home /lib* /opt /proc
// /root /run /sbin /srv /sys /tmp /usr /var), or all of one ("*" inside
// it). dir is taken both as written (with "//", "." and ".." collapsed) and,
// when it exists, as the system resolves it, so that no link leads there.
// Returns 1 when refused, else 0 (also for null arguments). RmFile and RmDir
// refuse such a source, and one that lost a reference at load (see
// CCmd::lost_reference), as failures reported through the failure callback:
// "Refusing to remove '%s', the root or a system directory" or "Refusing to remove '%s',
// a setting it names is missing or empty".
int copy_rm_forbidden(const char* dir, const char* wild);

}  // namespace inst

#endif  // INSTALLER_COPY_COPY_H_
