// Fresh temporary file names.
#include "lib/tempfile.h"

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>

#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"

namespace inst {
namespace {

// A letter or digit from a generator started from the clock, the process
// id and the system's random device when it has one.
char random_name_char() {
  static const char kChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  static std::mt19937_64 engine = [] {
    unsigned long long start = static_cast<unsigned long long>(time(nullptr)) ^
                               (static_cast<unsigned long long>(getpid()) << 32);
    try {
      std::random_device device;
      start ^= (static_cast<unsigned long long>(device()) << 16) ^ device();
    } catch (...) {
      // Without a random device the clock and the process id must do.
    }
    return std::mt19937_64(start);
  }();
  return kChars[engine() % (sizeof kChars - 1)];
}

// Attempts at a fresh temporary name before giving up.
constexpr int kTempAttempts = 1000;

}  // namespace

char* tempfile(char* buf, int size, const char* dir, const char* templ) {
  if (buf == nullptr) return nullptr;
  if (size < 1) return buf;
  char name[128];
  scpy(name, templ ? templ : "XXXXXX", sizeof name);
  size_t len = std::strlen(name);
  size_t first_x = len;
  while (first_x > 0 && name[first_x - 1] == 'X') --first_x;
  for (int attempt = 0; attempt < kTempAttempts; ++attempt) {
    for (size_t i = first_x; i < len; ++i) name[i] = random_name_char();
    scpy(buf, dir, size);
    if (attach_path(buf, name, size) == nullptr) break;
    struct stat st;
    if (lstat(buf, &st) != 0 && errno == ENOENT) {
      dmsg("Tempfile made[%s]", buf);
      return buf;
    }
    if (first_x == len) break;
  }
  buf[0] = '\0';
  return nullptr;
}

}  // namespace inst
