// The file system layer: file records, directory scans filtered by a
// wildcard, existence tests, name splitting, user and group lookups, and the
// operations that copy, move, create and remove files and trees while
// reporting each step through two progress callbacks.
//
// Every path this layer composes (a scanned entry, a copy target, a
// directory to create) lives in 256 characters, so at most 255 are used. A
// composition that does not fit is never acted on: a scan skips such an
// entry as it skips one whose status cannot be read, and a copy or a
// directory creation aimed at it fails with its usual error text and the
// system error "File name too long".
//
// Whatever replaces a file does it all or nothing (see Replacement): a copy
// that fails or is interrupted leaves the destination as it was, or absent
// when it did not exist, never a partial file under its name. While a signal
// is recorded (lib/interrupt.h), copies and tree walks stop at the next
// chunk or entry.
#ifndef INSTALLER_FILE_FILE_H_
#define INSTALLER_FILE_FILE_H_

#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <string>

#include "lib/format.h"
#include "lib/limits.h"

namespace inst {

// One file: its path, the target of a symbolic link, and its status.
struct File {
  char name[kPathSize] = "";  // full path, at most 255 characters
  // For a symbolic link the text it points to (at most 255 characters), or
  // "READLINK FAILED" when it could not be read; empty for anything else.
  std::string link;
  // Status as lstat gives it: a link to a directory is not a directory.
  struct stat info = {};
};

struct DirCloser {
  void operator()(DIR* dir) const;
};

// A scan of one directory for names matching a wildcard.
struct FHandle {
  std::string path;                        // the directory being scanned
  std::string wild;                        // the wildcard names must match
  std::unique_ptr<DIR, DirCloser> handle;  // the open directory stream
  // Set for the scans of a tree copy: an entry whose full path does not fit
  // is then a failed copy (logged, reported through fail) instead of being
  // passed over in silence.
  bool report_overlong = false;
};

// A progress callback: a path (the source or the directory), a second path
// (the destination, or null) and a mode (1 for copies and creations, 0 for
// removals).
using FileFn = void (*)(const char* src, const char* dst, int mode);

// A saved pair of progress callbacks.
struct FSInf {
  FileFn xok = nullptr;
  FileFn xfail = nullptr;
};

// Scanning. A scan is written as: file_first; while a record is returned,
// use it and call file_next(record, handle) until it returns 0; then
// file_free(&record) and file_last(&handle). The same record is refilled for
// every entry, so keep a copy (file_dup) of any entry you need later.
//
// Opens path and returns a new record for its first entry whose name matches
// wild (case-sensitive; "*" matches every name, hidden ones too), skipping
// "." and "..", and stores the new scan in *handle. Returns null with
// *handle null when an argument is null, when the directory cannot be opened
// (logged as "Error opening dir '%s'") or when nothing matches. Whatever
// *handle held before is overwritten, not released.
File* file_first(FHandle** handle, const char* path, const char* wild);
// Refills file with the next matching entry and returns 1; returns 0 at the
// end or for a null argument. Entries whose status cannot be read, or whose
// full path does not fit in 255 characters, are skipped without a message.
int file_next(File* file, FHandle* handle);
// Closes the scan, releases it and sets *handle to null. Null is accepted.
void file_last(FHandle** handle);
// Releases the record and sets *file to null. Null is accepted.
void file_free(File** file);

// Reads the status of file->name without following links. For a symbolic
// link also reads the link text; a failure there is logged as "Error reading
// symlink '%s'" and leaves link "READLINK FAILED". Returns 1, or 0 when the
// status cannot be read or file is null.
int file_stat(File* file);
// A new record for path filled by file_stat, or null when path is null,
// longer than 255 characters, or has no status.
File* file_existf(const char* path);
// Follows links: 0 when path is null or has no status, 1 for anything that
// is not a directory, 2 for a directory. Logs one debug line saying which,
// except for a null path.
int file_exist(const char* path);
// A new record with the same name, link and status; null for null.
File* file_dup(const File* file);
// The record's path; null for null.
const char* file_name(const File* file);
// Writes into buffer the part of the name after its last '/' or '\' (all of
// it when there is none), at most bfsz-1 characters. Returns buffer, or null
// when file or buffer is null.
char* file_filename(const File* file, char* buffer, int bfsz);
// Writes into buffer the name cut before its last '/' or '\' (all of it when
// there is none), at most bfsz-1 characters. Returns buffer, or null when
// file or buffer is null.
char* file_path(const File* file, char* buffer, int bfsz);
// The numeric id of the named user, the named group, or the named user's
// primary group; -1 when unknown or name is null. A build with
// USER_LOOKUP_FILES_ONLY defined (the static program) reads /etc/passwd and
// /etc/group only, bypassing the system's name services.
int file_getuid(const char* name);
int file_getgid(const char* name);
int file_usergid(const char* name);
// Formats the text (cut to 999 characters) and logs it at error level
// followed by ", " and the text of the current system error, even when no
// error is set. errno is left as it was.
namespace unchecked {
void file_error(const char* format, ...);
}  // namespace unchecked
template <typename... Args>
void file_error(FormatFor<Args...> format, Args... args) {
  unchecked::file_error(format.text(), args...);
}

// Installs the two progress callbacks; either may be null (no call).
void file_setup_fn(FileFn xok, FileFn xfail);
// Installs the pair held in inf; nothing for null.
void file_setup(const FSInf* inf);
// Stores the current pair into inf so that it can be restored later.
void file_old_setup(FSInf* inf);

// Writes one file all or nothing. When the destination exists, the content
// goes to a fresh temporary file beside it (".instkit.XXXXXX"), and commit()
// renames that over the destination; until then the destination keeps its
// old content, and a replacement dropped without commit() (a failure, an
// interrupt) removes its temporary file. A regular file that is replaced
// keeps its mode and owner, as emptying it in place would have; one that
// replaces a symbolic link (the link itself, never what it points to) gets
// the process's default mode. A destination that does not exist is created
// under its own name, with the default mode, and removed again when dropped
// without commit(). A device, FIFO or socket is written in place: there is
// no content there to lose.
class Replacement {
 public:
  Replacement() = default;
  ~Replacement() { discard(); }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  // Prepares to write dst. Returns false with errno set when nothing can be
  // written there (EISDIR for a directory).
  bool open(const char* dst);
  // Prepares to write dst when nothing stands under that name yet, creating
  // it. Returns false with errno set: EEXIST when something does.
  bool create(const char* dst);
  // Prepares to replace dst, given the status lstat() just gave for it.
  bool open(const char* dst, const struct stat* now);
  // The descriptor to write to; -1 when not open.
  int fd() const { return fd_; }
  // Whether the descriptor is a regular file.
  bool regular() const { return regular_; }
  // Writes all of data. Returns false with errno set (EINTR when a signal
  // was recorded).
  bool write(const char* data, size_t size);
  // Puts what was written in place of dst. Returns false with errno set; the
  // destination is then left as it was.
  bool commit();

 private:
  void discard();

  std::string final_;  // the destination
  std::string temp_;   // the temporary file; empty when writing in place
  int fd_ = -1;
  bool created_ = false;  // fd_ is a new file under the final name
  bool regular_ = false;
  bool keep_status_ = false;  // a regular file is replaced: keep its mode and owner
  struct stat old_ = {};      // its status
};

// Copies src to dst byte for byte, all or nothing (see Replacement). A new
// dst gets the process's default mode and owner. Returns -1 without writing
// when overwrite is 0 and dst can be opened for reading. Refuses, as
// failures, a src that is not a regular file once opened ("Refusing to read
// '%s', not a regular file"; a directory fails as an unreadable source) and
// a src and dst that are the same file ("Refusing to copy '%s' onto the
// same file '%s'"); nothing is written for either. Returns
// 1 and calls ok(src, dst, 1) on success; on failure logs the reason, leaves
// dst as it was, calls fail(src, dst, 1) and returns 0 (also for a null src
// or dst, and when a signal is recorded, then with errno EINTR and nothing
// logged). Adds the bytes written to *bytes when bytes is given, also those
// of a copy that then failed.
int file_copy(const char* src, const char* dst, int overwrite, unsigned long* bytes);
// Copies the entries of directory path whose names match wild (null: "*")
// and are not in the exclusion list into directory dst, creating dst when it
// is missing. Directories are copied whole when recurse is set, else only
// created. An entry whose full path does not fit in 255 characters is a
// failed copy ("Error opening '%s' for read", "File name too long"). Returns
// the number of files copied plus directories created (dst included); 0
// when path or dst is null or dst cannot be created.
int file_xcopy(const char* path, const char* wild, const char* exclude, const char* dst,
               int recurse, unsigned long* bytes);
// Copies src to dst as file_copy does, then removes src, also when the copy
// was skipped because dst exists (this is deliberate). Returns 1; 0 when the
// copy or the removal fails (the latter logged as "Error removing moved file
// '%s'").
int file_move(const char* src, const char* dst, int overwrite, unsigned long* bytes);
// As file_xcopy, but files are moved (recurse doubles as the overwrite flag)
// and, with recurse, each directory is moved and then removed. Returns the
// count of files moved and directories created or removed.
int file_xmove(const char* path, const char* wild, const char* exclude, const char* dst,
               int recurse, unsigned long* bytes);
// Creates dir (one trailing separator ignored) with mode 0775, and with
// make_all each missing parent first, logging and reporting through ok every
// directory made. Returns 1 when anything was made or the last creation
// found the path already there, whatever stands there (a file of that name
// makes a later copy into it fail on its own); otherwise logs "Error creating
// directory '%s'", calls fail once and returns 0.
int file_mkdir(const char* dir, int make_all);
// Removes directory dir; with recurse, first everything in it whose name is
// not in the exclusion list (which keeps an excluded entry's directories in
// place). Each entry and dir itself are reported through ok or fail. Returns
// the number of entries removed, dir included; logs nothing.
int file_rmdir(const char* dir, const char* exclude, int recurse);
// Sets the mode of file->name (following links). Returns 1; 0 for null or on
// failure, logged as "Error changing mode of '%s' to %d".
int file_chmod(const File* file, int mode);
// As file_chmod, but a symbolic link at file->name is never followed: the
// change then fails ("Operation not supported").
int file_lchmod(const File* file, int mode);
// Sets the owner of file->name (following links); a gid of -1 means the same
// number as uid. Returns 1; 0 without a message for a null file or a uid of
// -1; 0 on failure, logged as "Error changing ownership of '%s' to uid=%d,
// gid=%d".
int file_chown(const File* file, int uid, int gid);
// As file_chown, but a symbolic link at file->name is changed itself, never
// what it points to.
int file_lchown(const File* file, int uid, int gid);

// One directory of a tree walk (Chown, Chmod, RmFile, RmDir, file_rmdir).
// It yields the entries a scan (file_first, file_next) yields, in the same
// order and under the same names, but takes each entry's type from the
// directory read instead of reading its status: the status is read only
// where the read gives no type, and for the first entry, to learn whether
// the directory's entries can be looked at (a scan yields nothing from a
// directory whose entries have no readable status). Changes are made
// relative to the open directory, and the walk opens a subdirectory
// without following a link, so no path is built unless a message or a
// callback names the entry. An entry whose name holds a '\' is looked at
// and changed by the path a scan gives it, as a scan does.
class DirWalk {
 public:
  // Opens dir to walk its entries whose names match wild (case-sensitive;
  // "*" matches all). A directory that cannot be opened yields nothing;
  // that is logged as "Error opening dir '%s'" when report is set. Null
  // arguments yield nothing, without a message.
  DirWalk(const char* dir, const char* wild, bool report);
  // Opens the current entry of parent, a directory, to walk all of it, as
  // the constructor above would open it by its path.
  DirWalk(DirWalk* parent, bool report);
  ~DirWalk();
  DirWalk(const DirWalk&) = delete;
  DirWalk& operator=(const DirWalk&) = delete;

  // Moves to the next entry and returns true; false at the end.
  bool next();
  // The current entry's full path, as a scan names it (at most 255
  // characters).
  const char* path();
  // The current entry's name after its last '/' or '\', as file_filename
  // gives it.
  const char* base() const;
  bool is_dir() const { return type_ == DT_DIR; }
  bool is_link() const { return type_ == DT_LNK; }

  // Change the current entry as file_chown and file_chmod do, or, when
  // follow is false, as file_lchown and file_lchmod do; failures are logged
  // with the entry's path, in the same texts. Return 1 or 0.
  int chown(int uid, int gid, bool follow);
  int chmod(int mode, bool follow);
  // Removes the current entry, not a directory, as the system's remove
  // does. Returns 1, or 0 with errno set; logs and reports nothing.
  int remove();
  // Removes the current entry, a directory, as file_rmdir(path(), exclude,
  // 1) does, reporting through the callbacks; returns the same count.
  int remove_tree(const char* exclude);

 private:
  void open_at(int dirfd, const char* name, int flags, bool report);
  // The directory and name the current entry is changed through.
  int at_fd() const;
  const char* at_name() const;

  int fd_ = -1;
  std::unique_ptr<char[]> buffer_;  // the entries read from the directory
  long pos_ = 0;
  long end_ = 0;
  std::string dir_;  // the directory as a scan of it is given
  std::string wild_;
  bool match_all_ = false;  // the wildcard is "*"
  // The directory's text holds a separator that paths write differently:
  // its entries are looked at and changed by their paths.
  bool by_path_ = false;
  bool confirmed_ = false;  // an entry's status has been read
  // The current entry: its name in the directory, type and full path.
  const char* name_ = nullptr;
  size_t name_length_ = 0;
  unsigned char type_ = DT_UNKNOWN;
  bool slow_ = false;   // looked at and changed by slow_path_, not through fd_
  bool named_ = false;  // path_ holds its full path
  // The directory's path with its separator; entries' names go after it.
  size_t prefix_length_ = 0;
  char path_[kPathSize + 1] = "";
  char slow_path_[kPathSize] = "";
};

// Makes every DirWalk take each entry's type as unknown, as on a file system
// whose directory reads give none, so that it reads each entry's status
// (for tests). Returns the setting it replaces.
int file_walk_types_unknown(int on);

}  // namespace inst

#endif  // INSTALLER_FILE_FILE_H_
