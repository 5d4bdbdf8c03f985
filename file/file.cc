// File records, directory scans, and the operations that copy, move, create
// and remove files and trees.
#include "file/file.h"

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "lib/accounts.h"
#include "lib/format.h"
#include "lib/interrupt.h"
#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "lib/tempfile.h"
#include "lib/wild.h"

namespace inst {

void DirCloser::operator()(DIR* dir) const {
  if (dir != nullptr) closedir(dir);
}

namespace {

// The progress callbacks, installed by file_setup_fn and file_setup.
FileFn ok = nullptr;
FileFn fail = nullptr;

// Longest run handed to the kernel's in-kernel copy in one call: a whole
// number of chunks, small enough that a recorded signal is noticed within a
// few milliseconds.
constexpr size_t kKernelCopyStep = size_t{8} << 20;
// Attempts at a fresh temporary name before giving up.
constexpr int kTempAttempts = 100;
// The system call that changes a mode without following a link; its number
// is the same on every architecture that has it.
#ifdef SYS_fchmodat2
constexpr long kFchmodat2 = SYS_fchmodat2;
#else
constexpr long kFchmodat2 = 452;
#endif
// Upper bound for the buffer of a user or group lookup.
constexpr size_t kLookupBufferMax = size_t{1} << 20;

void report_ok(const char* src, const char* dst, int mode) {
  if (ok != nullptr) ok(src, dst, mode);
}

void report_fail(const char* src, const char* dst, int mode) {
  if (fail != nullptr) fail(src, dst, mode);
}

// Logs one debug line about path. errno is kept, since the caller may still
// report it.
void debug_path(FormatFor<const char*> format, const char* path) {
  const int saved = errno;
  dmsg(format, path);
  errno = saved;
}

// Joins dir and name with attach_path into out (kPathSize characters).
// Returns false when the whole path did not fit, so that out holds it cut.
bool join_path(char* out, const char* dir, const char* name) {
  // One more place than out has: a result that fills it was too long.
  char wide[kPathSize + 1];
  scpy(wide, dir, kPathSize + 1);
  attach_path(wide, name, kPathSize + 1);
  scpy(out, wide, kPathSize);
  return std::strlen(wide) < static_cast<size_t>(kPathSize);
}

// A file descriptor closed when it goes out of scope.
class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  ~Fd() { close(); }
  int get() const { return fd_; }
  bool valid() const { return fd_ >= 0; }
  void close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }

 private:
  int fd_;
};

// Opens path without waiting on a FIFO or device that has no partner, then
// makes the descriptor blocking again for anything that is not a plain file.
// Fills st with the descriptor's status.
int open_no_wait(const char* path, int flags, struct stat* st) {
  const int fd = open(path, flags | O_NONBLOCK | O_CLOEXEC, 0666);
  if (fd < 0) return fd;
  if (fstat(fd, st) != 0) {
    st->st_mode = 0;
  }
  if (!S_ISREG(st->st_mode)) {
    const int fl = fcntl(fd, F_GETFL);
    if (fl >= 0) fcntl(fd, F_SETFL, fl & ~O_NONBLOCK);
  }
  return fd;
}

// Writes all of data to fd, going on after a write cut short by a signal
// unless the signal was recorded. Returns false with errno set (EINTR for a
// recorded signal, ENOSPC for a write that wrote nothing).
bool write_all(int fd, const char* data, size_t size) {
  size_t done = 0;
  while (done < size) {
    if (interrupt_signal() != 0) {
      errno = EINTR;
      return false;
    }
    const ssize_t w = ::write(fd, data + done, size - done);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) {
      if (w == 0) errno = ENOSPC;
      return false;
    }
    done += static_cast<size_t>(w);
  }
  return true;
}

// Creates a fresh file ".instkit.XXXXXX" (six random letters and digits) in
// the directory of path with the given mode (less the umask), and stores its
// name in *temp. Returns the descriptor, or -1 with errno set.
int create_temp_beside(const std::string& path, mode_t mode, std::string* temp) {
  const char* sep = last_separator(path.c_str());
  const size_t dir_length = sep == nullptr ? 0 : static_cast<size_t>(sep - path.c_str()) + 1;
  for (int attempt = 0; attempt < kTempAttempts; ++attempt) {
    temp->assign(path, 0, dir_length).append(".instkit.");
    for (int i = 0; i < 6; ++i) temp->push_back(tempfile_char());
    const int fd = ::open(temp->c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    if (fd >= 0 || errno != EEXIST) return fd;
  }
  return -1;
}

bool readable(const char* path) {
  struct stat st;
  Fd fd(open_no_wait(path, O_RDONLY, &st));
  return fd.valid();
}

// Copies everything from in to out. Bytes are counted into *bytes (when
// given) by chunks of kCopyChunk as each chunk is completely written: on
// failure the count holds the whole chunks written before it, as a plain
// loop of kCopyChunk reads and writes would leave it. Between two plain
// files the data first moves by the kernel's in-kernel copy; whatever stops
// that copy (the end, an error, no support) hands over to the plain loop at
// the same position, which then meets any real error itself and reports it
// with the right text.
bool copy_data(int in, int out, const struct stat& in_st, bool both_plain, const char* src,
               const char* dst, unsigned long* bytes) {
  unsigned long long written = 0;
  unsigned long long counted = 0;
  auto count_to = [&](unsigned long long mark) {
    if (bytes != nullptr) *bytes += static_cast<unsigned long>(mark - counted);
    counted = mark;
  };

  if (both_plain) {
    const int saved = errno;
    while (interrupt_signal() == 0) {
      const ssize_t n = copy_file_range(in, nullptr, out, nullptr, kKernelCopyStep, 0);
      if (n > 0) {
        written += static_cast<unsigned long long>(n);
        count_to(written - written % kCopyChunk);
        continue;
      }
      if (n < 0 && errno == EINTR) continue;
      break;
    }
    errno = saved;
    // The end came where the status said it would: nothing is left to read.
    if (written == static_cast<unsigned long long>(in_st.st_size)) {
      count_to(written);
      return true;
    }
  }

  char chunk[kCopyChunk];
  // The first read completes the chunk the kernel copy stopped inside.
  size_t want = kCopyChunk - static_cast<size_t>(written % kCopyChunk);
  for (;;) {
    const ssize_t n = read(in, chunk, want);
    if (n < 0) {
      if (errno == EINTR) continue;  // a recorded signal stops the write below
      file_error("Error reading from '%s'", src);
      return false;
    }
    if (n == 0) {
      count_to(written);
      return true;
    }
    if (!write_all(out, chunk, static_cast<size_t>(n))) {
      if (errno != EINTR) file_error("Error writing to '%s'", dst);
      return false;
    }
    written += static_cast<unsigned long long>(n);
    count_to(written);
    want = kCopyChunk;
  }
}

void refuse_copy(const char* src, const char* dst) {
  errno = ENAMETOOLONG;
  file_error("Error opening '%s' for write", dst);
  report_fail(src, dst, 1);
}

void refuse_mkdir(const char* dir) {
  errno = ENAMETOOLONG;
  file_error("Error creating directory '%s'", dir);
  report_fail(dir, nullptr, 1);
}

File* start_scan(FHandle** handle, const char* path, const char* wild, bool report,
                 bool report_overlong = false);

// The walk shared by file_xcopy and file_xmove.
int copy_tree(const char* path, const char* wild, const char* exclude, const char* dst, int recurse,
              unsigned long* bytes, bool move) {
  if (path == nullptr || dst == nullptr) return 0;
  int count = 0;
  if (file_exist(dst) == 0) {
    if (!file_mkdir(dst, 1)) return 0;
    count = 1;
  }
  if (wild == nullptr) wild = "*";

  FHandle* handle = nullptr;
  File* entry = start_scan(&handle, path, wild, true, true);
  for (bool more = entry != nullptr; more && interrupt_signal() == 0;
       more = file_next(entry, handle) != 0) {
    char base[kPathSize];
    file_filename(entry, base, kPathSize);
    if (!wild_match(base, wild) || wild_list(base, exclude)) continue;
    char target[kPathSize];
    const bool fits = join_path(target, dst, base);

    if (!S_ISDIR(entry->info.st_mode)) {
      if (!fits) {
        refuse_copy(entry->name, target);
        continue;
      }
      const int r = move ? file_move(entry->name, target, recurse, bytes)
                         : file_copy(entry->name, target, 1, bytes);
      if (r != 0) ++count;
    } else if (!fits) {
      refuse_mkdir(target);
    } else if (recurse) {
      count += copy_tree(entry->name, "*", exclude, target, 1, bytes, move);
      if (move) {
        if (file_rmdir(entry->name, exclude, recurse) != 0) {
          ++count;
        } else {
          file_error("Failed to remove moved directory '%s'", target);
        }
      }
    } else if (file_mkdir(target, 1)) {
      ++count;
    }
  }
  file_free(&entry);
  file_last(&handle);
  return count;
}

// Looks a name up through one of the re-entrant user or group database
// calls. Returns true and fills *record when the name is known.
template <typename Record>
bool lookup(int (*call)(const char*, Record*, char*, size_t, Record**), const char* name,
            Record* record, std::vector<char>* buffer) {
  if (name == nullptr) return false;
  const long hint = sysconf(_SC_GETPW_R_SIZE_MAX);
  size_t size = hint > 0 ? static_cast<size_t>(hint) : 1024;
  for (;;) {
    buffer->resize(size);
    Record* found = nullptr;
    const int rc = call(name, record, buffer->data(), buffer->size(), &found);
    if (rc == ERANGE && size < kLookupBufferMax) {
      size *= 2;
      continue;
    }
    return rc == 0 && found != nullptr;
  }
}

int user_field(const char* name, bool want_group) {
#ifdef USER_LOOKUP_FILES_ONLY
  return accounts_find(kPasswdFile, name, want_group ? kAccountGroup : kAccountId);
#else
  passwd record;
  std::vector<char> buffer;
  if (!lookup(getpwnam_r, name, &record, &buffer)) return -1;
  return static_cast<int>(want_group ? record.pw_gid : record.pw_uid);
#endif
}

// file_first, with the failure to open the directory logged only when
// report is set; report_overlong is stored in the handle.
File* start_scan(FHandle** handle, const char* path, const char* wild, bool report,
                 bool report_overlong) {
  if (handle == nullptr) return nullptr;
  *handle = nullptr;
  if (path == nullptr || wild == nullptr) return nullptr;
  *handle = new FHandle();
  DIR* dir = opendir(path);
  if (dir == nullptr) {
    if (report) file_error("Error opening dir '%s'", path);
    file_last(handle);
    return nullptr;
  }
  (*handle)->handle.reset(dir);
  (*handle)->path = path;
  (*handle)->wild = wild;
  (*handle)->report_overlong = report_overlong;
  File* file = new File();
  if (!file_next(file, *handle)) {
    file_free(&file);
    file_last(handle);
    return nullptr;
  }
  return file;
}

}  // namespace

File* file_first(FHandle** handle, const char* path, const char* wild) {
  return start_scan(handle, path, wild, true);
}

int file_next(File* file, FHandle* handle) {
  if (file == nullptr || handle == nullptr || !handle->handle) return 0;
  for (;;) {
    const int saved = errno;
    const dirent* entry = readdir(handle->handle.get());
    if (entry == nullptr) return 0;
    const char* name = entry->d_name;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) continue;
    if (!wild_match(name, handle->wild.c_str())) continue;
    // An entry that cannot be named in full, or whose status cannot be read,
    // is passed over without a trace, unless the scan is a tree copy's.
    const bool fits = join_path(file->name, handle->path.c_str(), name);
    if (fits && file_stat(file)) return 1;
    if (!fits && handle->report_overlong) {
      const std::string full = handle->path + "/" + name;
      errno = ENAMETOOLONG;
      file_error("Error opening '%s' for read", full.c_str());
      report_fail(full.c_str(), nullptr, 1);
    }
    errno = saved;
  }
}

void file_last(FHandle** handle) {
  if (handle == nullptr) return;
  delete *handle;
  *handle = nullptr;
}

void file_free(File** file) {
  if (file == nullptr) return;
  delete *file;
  *file = nullptr;
}

int file_stat(File* file) {
  if (file == nullptr) return 0;
  file->link.clear();
  if (lstat(file->name, &file->info) != 0) return 0;
  if (!S_ISLNK(file->info.st_mode)) return 1;
  char target[kPathSize];
  const ssize_t n = readlink(file->name, target, kPathSize - 1);
  if (n < 0) {
    file_error("Error reading symlink '%s'", file->name);
    file->link = "READLINK FAILED";
  } else {
    file->link.assign(target, static_cast<size_t>(n));
  }
  return 1;
}

File* file_existf(const char* path) {
  if (path == nullptr) return nullptr;
  if (std::strlen(path) >= static_cast<size_t>(kPathSize)) {
    errno = ENAMETOOLONG;
    return nullptr;
  }
  File* file = new File();
  scpy(file->name, path, kPathSize);
  if (!file_stat(file)) file_free(&file);
  return file;
}

int file_exist(const char* path) {
  if (path == nullptr) return 0;
  struct stat st;
  if (stat(path, &st) != 0) {
    debug_path("'%s' does not exist", path);
    return 0;
  }
  if (!S_ISDIR(st.st_mode)) {
    debug_path("'%s' exists and is a file", path);
    return 1;
  }
  debug_path("'%s' exists and is a directory", path);
  return 2;
}

File* file_dup(const File* file) {
  if (file == nullptr) return nullptr;
  return new File(*file);
}

const char* file_name(const File* file) { return file == nullptr ? nullptr : file->name; }

char* file_filename(const File* file, char* buffer, int bfsz) {
  if (file == nullptr || buffer == nullptr) return nullptr;
  const char* sep = last_separator(file->name);
  scpy(buffer, sep == nullptr ? file->name : sep + 1, bfsz);
  return buffer;
}

char* file_path(const File* file, char* buffer, int bfsz) {
  if (file == nullptr || buffer == nullptr) return nullptr;
  if (bfsz < 1) return buffer;
  const char* sep = last_separator(file->name);
  size_t length = sep == nullptr ? std::strlen(file->name) : static_cast<size_t>(sep - file->name);
  if (length > static_cast<size_t>(bfsz - 1)) length = static_cast<size_t>(bfsz - 1);
  std::memmove(buffer, file->name, length);
  buffer[length] = '\0';
  return buffer;
}

int file_getuid(const char* name) { return user_field(name, false); }

int file_usergid(const char* name) { return user_field(name, true); }

int file_getgid(const char* name) {
#ifdef USER_LOOKUP_FILES_ONLY
  return accounts_find(kGroupFile, name, kAccountId);
#else
  group record;
  std::vector<char> buffer;
  if (!lookup(getgrnam_r, name, &record, &buffer)) return -1;
  return static_cast<int>(record.gr_gid);
#endif
}

namespace unchecked {

void file_error(const char* format, ...) {
  if (format == nullptr) return;
  const int saved = errno;
  char text[kLineSize];
  va_list args;
  va_start(args, format);
  vlprintf(text, kLineSize, format, args);
  va_end(args);
  emsg("%s, %s", text, std::strerror(saved));
  errno = saved;
}

}  // namespace unchecked

void file_setup_fn(FileFn xok, FileFn xfail) {
  ok = xok;
  fail = xfail;
}

void file_setup(const FSInf* inf) {
  if (inf != nullptr) file_setup_fn(inf->xok, inf->xfail);
}

void file_old_setup(FSInf* inf) {
  if (inf == nullptr) return;
  inf->xok = ok;
  inf->xfail = fail;
}

int file_copy(const char* src, const char* dst, int overwrite, unsigned long* bytes) {
  errno = 0;
  if (src == nullptr || dst == nullptr) {
    report_fail(src, dst, 1);
    return 0;
  }
  if (overwrite == 0 && readable(dst)) return -1;
  auto failed = [&](FormatFor<const char*> text, const char* name, int error) {
    errno = error;
    file_error(text, name);
    report_fail(src, dst, 1);
    return 0;
  };

  struct stat in_st;
  Fd in(open_no_wait(src, O_RDONLY, &in_st));
  if (!in.valid()) return failed("Error opening '%s' for read", src, errno);
  // A directory fails as it always has, as a source that cannot be read;
  // any other file that is not a regular one may never end.
  if (S_ISDIR(in_st.st_mode)) return failed("Error reading from '%s'", src, EISDIR);
  if (!S_ISREG(in_st.st_mode))
    return failed("Refusing to read '%s', not a regular file", src, EINVAL);
  // A new file needs no more than its creation. Something already there is
  // looked at once, for the same-file test and the replacement; only a link
  // is looked through.
  Replacement out;
  if (!out.create(dst)) {
    struct stat dst_st;
    if (errno != EEXIST || lstat(dst, &dst_st) != 0) {
      return failed("Error opening '%s' for write", dst, errno);
    }
    struct stat target = dst_st;
    if (S_ISLNK(dst_st.st_mode) && stat(dst, &target) != 0) target = dst_st;
    if (target.st_dev == in_st.st_dev && target.st_ino == in_st.st_ino) {
      errno = EINVAL;
      file_error("Refusing to copy '%s' onto the same file '%s'", src, dst);
      report_fail(src, dst, 1);
      return 0;
    }
    if (!out.open(dst, &dst_st)) return failed("Error opening '%s' for write", dst, errno);
  }
  const bool both_plain = out.regular() && in_st.st_size > 0;
  bool good = copy_data(in.get(), out.fd(), in_st, both_plain, src, dst, bytes);
  if (good && !out.commit()) {
    file_error("Error writing to '%s'", dst);
    good = false;
  }
  if (!good) {
    report_fail(src, dst, 1);
    return 0;
  }
  report_ok(src, dst, 1);
  return 1;
}

int file_xcopy(const char* path, const char* wild, const char* exclude, const char* dst,
               int recurse, unsigned long* bytes) {
  return copy_tree(path, wild, exclude, dst, recurse, bytes, false);
}

int file_move(const char* src, const char* dst, int overwrite, unsigned long* bytes) {
  if (file_copy(src, dst, overwrite, bytes) == 0) return 0;
  if (std::remove(src) != 0) {
    file_error("Error removing moved file '%s'", src);
    return 0;
  }
  return 1;
}

int file_xmove(const char* path, const char* wild, const char* exclude, const char* dst,
               int recurse, unsigned long* bytes) {
  return copy_tree(path, wild, exclude, dst, recurse, bytes, true);
}

int file_mkdir(const char* dir, int make_all) {
  if (dir == nullptr) return 0;
  char path[kPathSize];
  scpy(path, dir, kPathSize);
  size_t length = std::strlen(dir);
  if (length > 0 && is_separator(dir[length - 1])) --length;
  if (length >= static_cast<size_t>(kPathSize)) {
    refuse_mkdir(path);
    return 0;
  }
  path[length] = '\0';
  errno = 0;

  bool made = false;
  int last_error = 0;
  auto make = [&]() {
    if (mkdir(path, 0775) == 0) {
      made = true;
      last_error = 0;
      debug_path("Directory created '%s'", path);
      report_ok(path, nullptr, 1);
    } else {
      last_error = errno;
    }
  };
  if (make_all) {
    const size_t start = length > 1 && path[1] == ':' ? 3 : 1;
    for (size_t i = start; i < length; ++i) {
      if (!is_separator(path[i])) continue;
      path[i] = '\0';
      make();
      path[i] = '/';
    }
  }
  make();

  // "Already exists" is success whatever stands there: a later copy into a
  // file of that name fails on its own.
  errno = last_error;
  if (made || last_error == EEXIST) return 1;
  file_error("Error creating directory '%s'", path);
  report_fail(path, nullptr, 1);
  return 0;
}

namespace {

// Removes the entries of the walk that are not in the exclusion list,
// directories with their contents, reporting each through ok or fail.
// Returns the number of entries removed.
int remove_entries(DirWalk* walk, const char* exclude) {
  int count = 0;
  for (bool more = walk->next(); more && interrupt_signal() == 0; more = walk->next()) {
    if (wild_list(walk->base(), exclude)) continue;
    if (walk->is_dir()) {
      const int removed = walk->remove_tree(exclude);
      if (removed == 0) {
        report_fail(walk->path(), nullptr, 0);
      } else {
        report_ok(walk->path(), nullptr, 0);
      }
      count += removed;
    } else if (!walk->remove()) {
      report_fail(walk->path(), nullptr, 0);
    } else {
      report_ok(walk->path(), nullptr, 0);
      ++count;
    }
  }
  return count;
}

// Sets the mode of name in the directory dirfd (AT_FDCWD: the working
// directory), through a symbolic link only when follow is set. Returns 0,
// or -1 with errno set.
int mode_at(int dirfd, const char* name, mode_t bits, bool follow) {
  if (follow) return fchmodat(dirfd, name, bits, 0);
  // The kernel's own call (Linux 6.6 on) does it in one step; the C
  // library's takes four and needs /proc.
  int r = static_cast<int>(syscall(kFchmodat2, dirfd, name, bits, AT_SYMLINK_NOFOLLOW));
  if (r != 0) r = fchmodat(dirfd, name, bits, AT_SYMLINK_NOFOLLOW);
  // Where the C library cannot do it without /proc, a plain change is safe
  // only for what is not a link.
  struct stat st;
  if (r != 0 && (errno == EOPNOTSUPP || errno == ENOTSUP) &&
      fstatat(dirfd, name, &st, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISLNK(st.st_mode)) {
    r = fchmodat(dirfd, name, bits, 0);
  }
  return r;
}

// The same for the owner; gid is already resolved.
int owner_at(int dirfd, const char* name, int uid, int gid, bool follow) {
  return fchownat(dirfd, name, static_cast<uid_t>(uid), static_cast<gid_t>(gid),
                  follow ? 0 : AT_SYMLINK_NOFOLLOW);
}

void mode_error(const char* path, int mode) {
  file_error("Error changing mode of '%s' to %d", path, mode);
}

void owner_error(const char* path, int uid, int gid) {
  file_error("Error changing ownership of '%s' to uid=%d, gid=%d", path, uid, gid);
}

int change_owner(const File* file, int uid, int gid, bool follow) {
  if (file == nullptr || uid == -1) return 0;
  if (gid == -1) gid = uid;
  if (owner_at(AT_FDCWD, file->name, uid, gid, follow) != 0) {
    owner_error(file->name, uid, gid);
    return 0;
  }
  return 1;
}

int change_mode(const File* file, int mode, bool follow) {
  if (file == nullptr) return 0;
  if (mode_at(AT_FDCWD, file->name, static_cast<mode_t>(mode), follow) != 0) {
    mode_error(file->name, mode);
    return 0;
  }
  return 1;
}

// Set by file_walk_types_unknown.
bool walk_types_unknown = false;

// Room for the entries of one directory read; the C library's directory
// streams read as much at a time.
constexpr size_t kDirBufferSize = 32768;
// How a walk opens a directory: as opendir does, never waiting on a FIFO.
constexpr int kDirOpenFlags = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;

}  // namespace

int file_rmdir(const char* dir, const char* exclude, int recurse) {
  if (dir == nullptr) return 0;
  int count = 0;
  if (recurse) {
    // Removal logs nothing, not even a directory it cannot open.
    DirWalk walk(dir, "*", false);
    count = remove_entries(&walk, exclude);
  }
  if (rmdir(dir) == 0) {
    report_ok(dir, nullptr, 0);
    ++count;
  } else {
    report_fail(dir, nullptr, 0);
  }
  return count;
}

int file_chmod(const File* file, int mode) { return change_mode(file, mode, true); }

int file_lchmod(const File* file, int mode) { return change_mode(file, mode, false); }

int file_chown(const File* file, int uid, int gid) { return change_owner(file, uid, gid, true); }

int file_lchown(const File* file, int uid, int gid) { return change_owner(file, uid, gid, false); }

int file_walk_types_unknown(int on) {
  const int was = walk_types_unknown ? 1 : 0;
  walk_types_unknown = on != 0;
  return was;
}

DirWalk::DirWalk(const char* dir, const char* wild, bool report)
    : dir_(str(dir)), wild_(str(wild)), match_all_(wild_ == "*") {
  if (dir != nullptr && wild != nullptr) open_at(AT_FDCWD, dir, kDirOpenFlags, report);
}

DirWalk::DirWalk(DirWalk* parent, bool report) : dir_(parent->path()), match_all_(true) {
  // A directory met inside the tree is opened where it was read; one
  // replaced by a link since then is not followed.
  if (parent->slow_) {
    open_at(AT_FDCWD, dir_.c_str(), kDirOpenFlags, report);
  } else {
    open_at(parent->fd_, parent->name_, kDirOpenFlags | O_NOFOLLOW, report);
  }
}

DirWalk::~DirWalk() {
  if (fd_ >= 0) close(fd_);
}

void DirWalk::open_at(int dirfd, const char* name, int flags, bool report) {
  fd_ = openat(dirfd, name, flags);
  if (fd_ < 0) {
    if (report) file_error("Error opening dir '%s'", dir_.c_str());
    return;
  }
  buffer_ = std::make_unique_for_overwrite<char[]>(kDirBufferSize);
  // An entry's path is the directory's, joined as attach_path joins it
  // (which writes every separator as '/'), then the entry's name.
  const size_t length = dir_.size();
  std::string joined(dir_);
  joined.resize(length + 3);
  attach_path(joined.data(), "x", static_cast<int>(joined.size()));
  joined.resize(std::strlen(joined.c_str()) - 1);
  by_path_ = joined.compare(0, length, dir_) != 0;
  prefix_length_ = joined.size();
  if (prefix_length_ < sizeof path_) std::memcpy(path_, joined.c_str(), prefix_length_ + 1);
}

bool DirWalk::next() {
  if (fd_ < 0) return false;
  for (;;) {
    if (pos_ >= end_) {
      const ssize_t n = getdents64(fd_, buffer_.get(), kDirBufferSize);
      if (n <= 0) return false;
      pos_ = 0;
      end_ = n;
    }
    const auto* entry = reinterpret_cast<const dirent64*>(buffer_.get() + pos_);
    pos_ += entry->d_reclen;
    const char* name = entry->d_name;
    if (name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'))) continue;
    if (!match_all_ && !wild_match(name, wild_.c_str())) continue;
    name_ = name;
    name_length_ = std::strlen(name);
    type_ = walk_types_unknown ? static_cast<unsigned char>(DT_UNKNOWN) : entry->d_type;
    slow_ = by_path_ || std::strchr(name, '\\') != nullptr;
    struct stat st;
    if (slow_) {
      // Looked at by the path a scan builds, where its separators are
      // rewritten; an entry that does not fit is passed over as there.
      if (!join_path(slow_path_, dir_.c_str(), name) || lstat(slow_path_, &st) != 0) continue;
      type_ = IFTODT(st.st_mode);
    } else {
      if (prefix_length_ + name_length_ >= static_cast<size_t>(kPathSize)) continue;
      // The first entry's status is read even when its type is given: a
      // directory whose names can be read but whose entries cannot be
      // looked at (no search permission) yields nothing, as from a scan.
      if (!confirmed_ || type_ == DT_UNKNOWN) {
        if (fstatat(fd_, name, &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
        type_ = IFTODT(st.st_mode);
      }
    }
    confirmed_ = true;
    named_ = false;
    return true;
  }
}

const char* DirWalk::path() {
  if (slow_) return slow_path_;
  if (!named_) {
    std::memcpy(path_ + prefix_length_, name_, name_length_ + 1);
    named_ = true;
  }
  return path_;
}

const char* DirWalk::base() const {
  const char* sep = last_separator(name_);
  return sep == nullptr ? name_ : sep + 1;
}

int DirWalk::at_fd() const { return slow_ ? AT_FDCWD : fd_; }

const char* DirWalk::at_name() const { return slow_ ? slow_path_ : name_; }

int DirWalk::chown(int uid, int gid, bool follow) {
  if (uid == -1) return 0;
  if (gid == -1) gid = uid;
  if (owner_at(at_fd(), at_name(), uid, gid, follow) != 0) {
    owner_error(path(), uid, gid);
    return 0;
  }
  return 1;
}

int DirWalk::chmod(int mode, bool follow) {
  if (mode_at(at_fd(), at_name(), static_cast<mode_t>(mode), follow) != 0) {
    mode_error(path(), mode);
    return 0;
  }
  return 1;
}

int DirWalk::remove() {
  if (unlinkat(at_fd(), at_name(), 0) == 0) return 1;
  return errno == EISDIR && unlinkat(at_fd(), at_name(), AT_REMOVEDIR) == 0 ? 1 : 0;
}

int DirWalk::remove_tree(const char* exclude) {
  int count = 0;
  {
    DirWalk inside(this, false);
    count = remove_entries(&inside, exclude);
  }
  if (unlinkat(at_fd(), at_name(), AT_REMOVEDIR) == 0) {
    report_ok(path(), nullptr, 0);
    ++count;
  } else {
    report_fail(path(), nullptr, 0);
  }
  return count;
}

bool Replacement::open(const char* dst) {
  if (create(dst)) return true;
  struct stat st;
  return errno == EEXIST && lstat(dst, &st) == 0 && open(dst, &st);
}

bool Replacement::create(const char* dst) {
  discard();
  if (dst == nullptr) {
    errno = EINVAL;
    return false;
  }
  // Created under its own name: a rename for every new file made a copy of
  // 10,000 small files a fifth slower, and removing the file again when it
  // is dropped leaves nothing behind all the same.
  fd_ = ::open(dst, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd_ < 0) return false;
  final_ = dst;
  created_ = true;
  regular_ = true;
  return true;
}

bool Replacement::open(const char* dst, const struct stat* now) {
  discard();
  if (dst == nullptr || now == nullptr) {
    errno = EINVAL;
    return false;
  }
  final_ = dst;
  old_ = *now;
  if (S_ISDIR(old_.st_mode)) {
    errno = EISDIR;
    return false;
  }
  if (S_ISREG(old_.st_mode) || S_ISLNK(old_.st_mode)) {
    keep_status_ = S_ISREG(old_.st_mode);
    // Readable by its owner only until it takes the old file's mode.
    fd_ = create_temp_beside(final_, keep_status_ ? 0600 : 0666, &temp_);
    regular_ = fd_ >= 0;
    return fd_ >= 0;
  }
  struct stat st;
  fd_ = open_no_wait(dst, O_WRONLY | O_TRUNC, &st);
  regular_ = fd_ >= 0 && S_ISREG(st.st_mode);
  return fd_ >= 0;
}

bool Replacement::write(const char* data, size_t size) {
  if (fd_ < 0) {
    errno = EBADF;
    return false;
  }
  return write_all(fd_, data, size);
}

bool Replacement::commit() {
  if (fd_ < 0) {
    errno = EBADF;
    return false;
  }
  bool good = true;
  if (!temp_.empty() && keep_status_) {
    // The owner first: changing it may clear the set-id bits the mode sets.
    // An owner that cannot be given (not root) leaves the file the runner's.
    if (fchown(fd_, old_.st_uid, old_.st_gid) != 0 && errno != EPERM) good = false;
    if (good && fchmod(fd_, old_.st_mode & 07777) != 0) good = false;
  }
  const int fd = fd_;
  fd_ = -1;
  if (::close(fd) != 0) good = false;
  if (good && !temp_.empty() && rename(temp_.c_str(), final_.c_str()) != 0) good = false;
  if (good) {
    temp_.clear();
    created_ = false;
    return true;
  }
  const int error = errno;
  discard();
  errno = error;
  return false;
}

void Replacement::discard() {
  const int saved = errno;
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  if (!temp_.empty()) unlink(temp_.c_str());
  if (created_) unlink(final_.c_str());
  temp_.clear();
  created_ = false;
  keep_status_ = false;
  regular_ = false;
  errno = saved;
}

}  // namespace inst
