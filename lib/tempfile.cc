// Fresh temporary file names.
#include "lib/tempfile.h"

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <string_view>

#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"

namespace inst {
namespace {

// The run a template must end with; exactly these are replaced.
constexpr std::string_view kTemplateXs = "XXXXXX";
// Attempts at a fresh name before giving up.
constexpr int kTempAttempts = 1000;

}  // namespace

char tempfile_char() {
  static const char kChars[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
  static std::mt19937_64 engine = [] {
    unsigned long long start = static_cast<unsigned long long>(time(nullptr)) ^
                               (static_cast<unsigned long long>(getpid()) << 32);
    unsigned long long entropy = 0;
    if (getentropy(&entropy, sizeof entropy) == 0) start ^= entropy;
    return std::mt19937_64(start);
  }();
  return kChars[engine() % (sizeof kChars - 1)];
}

char* tempfile(char* buf, int size, const char* dir, const char* templ) {
  if (buf == nullptr || size < 1) return nullptr;
  char name[128];
  scpy(name, templ ? templ : "XXXXXX", sizeof name);
  const std::string_view given(name);
  if (given.ends_with(kTemplateXs)) {
    char* xs = name + given.size() - kTemplateXs.size();
    for (int attempt = 0; attempt < kTempAttempts; ++attempt) {
      for (size_t i = 0; i < kTemplateXs.size(); ++i) xs[i] = tempfile_char();
      scpy(buf, dir, size);
      if (attach_path(buf, name, size) == nullptr) break;
      struct stat st;
      if (lstat(buf, &st) != 0 && errno == ENOENT) {
        dmsg("Tempfile made[%s]", buf);
        return buf;
      }
    }
  }
  buf[0] = '\0';
  return nullptr;
}

}  // namespace inst
