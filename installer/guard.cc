#include "installer/guard.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "installer/options.h"
#include "lib/limits.h"
#include "lib/paths.h"
#include "lib/strings.h"

namespace inst {
namespace {

// The extension of the description files that start-up names; all have
// the same length.
constexpr size_t kExtensionLength = 4;  // ".log", ".dat", ".int"

// The working directory for messages; "." when it cannot be read.
std::string working_directory() {
  char dir[PATH_MAX];
  return getcwd(dir, sizeof dir) != nullptr ? dir : ".";
}

// The process holding an flock on the file with this status, from
// /proc/locks; 0 when none is found there.
long lock_holder(const struct stat& st) {
  OpenFile locks(s_fopen("/proc/locks", "r"));
  if (locks.f == nullptr) return 0;
  char line[kLineSize];
  while (std::fgets(line, sizeof line, locks.f) != nullptr) {
    // "1: FLOCK  ADVISORY  WRITE 4242 fd:01:1234 0 EOF"; waiters have "->"
    // before the type.
    char type[16];
    long pid = 0;
    unsigned int major_id = 0;
    unsigned int minor_id = 0;
    unsigned long inode = 0;
    const char* fields = std::strchr(line, ':');
    if (fields == nullptr) continue;
    if (std::strncmp(fields + 1, " ->", 3) == 0) continue;
    if (std::sscanf(fields + 1, " %15s %*s %*s %ld %x:%x:%lu", type, &pid, &major_id, &minor_id,
                    &inode) != 5) {
      continue;
    }
    if (std::strcmp(type, "FLOCK") == 0 && major_id == major(st.st_dev) &&
        minor_id == minor(st.st_dev) && inode == st.st_ino) {
      return pid;
    }
  }
  return 0;
}

}  // namespace

bool guard_needs_lock(int argc, char** argv) {
  if (changes_nothing(argc, argv)) return false;
  for (const char* option : {"-version", "-help", "--help", "-h"}) {
    if (option_given(argc, argv, option)) return false;
  }
  return true;
}

int guard_lock() {
  // Held open, and so locked, until the process ends.
  static int held = -1;
  if (held >= 0) return 1;
  const int fd = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return 1;
  if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
    held = fd;
    return 1;
  }
  const bool busy = errno == EWOULDBLOCK;
  struct stat st = {};
  const long holder = busy && fstat(fd, &st) == 0 ? lock_holder(st) : 0;
  close(fd);
  if (!busy) return 1;
  const std::string dir = working_directory();
  if (holder > 0) {
    std::printf("Error: another run (process %ld) is in progress in '%s'\n", holder, dir.c_str());
  } else {
    std::printf("Error: another run is in progress in '%s'\n", dir.c_str());
  }
  return 0;
}

int guard_names_fit(const char* name) {
  char dir[kPathSize];
  std::string base;
  if (currentdir(dir, kPathSize) != nullptr) {
    base = dir;
    if (!is_separator(base.back())) base += '/';
  }
  base += str(name);
  if (base.size() + kExtensionLength < static_cast<size_t>(kPathSize)) return 1;
  std::printf(
      "Error: the current directory's path is %d characters long, too long to name "
      "'%s.log' in it\n",
      static_cast<int>(working_directory().size()), str(name));
  return 0;
}

}  // namespace inst
