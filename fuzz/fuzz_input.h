// Shared pieces of the fuzz targets: a log that formats every message but
// keeps none, a directory of the process's own for the inputs that the
// loaders read from files, and a reader that takes an input apart.
#ifndef INSTALLER_FUZZ_FUZZ_INPUT_H_
#define INSTALLER_FUZZ_FUZZ_INPUT_H_

#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "lib/log.h"

namespace inst::fuzz {

// Makes a debug-level log without a file the current log: every message is
// formatted, none is written, and errors are not queued (they would pile up
// over millions of runs). Cheap enough to call on every run.
inline void QuietLog() {
  static Log* const quiet = log_init(LogDebug);
  log_set(quiet);
}

// A directory made on first use and removed when the process ends: in
// /dev/shm where there is one, since the file-reading targets rewrite a file
// on every run, else in /tmp.
class InputDir {
 public:
  static const InputDir& Get() {
    static const InputDir dir;
    return dir;
  }
  std::string Path(const char* name) const { return root_ + "/" + name; }

 private:
  InputDir() {
    for (const char* base : {"/dev/shm", "/tmp"}) {
      std::string pattern = std::string(base) + "/fuzz-input-XXXXXX";
      if (mkdtemp(pattern.data()) != nullptr) {
        root_ = pattern;
        return;
      }
    }
  }
  ~InputDir() {
    std::error_code ignored;
    if (!root_.empty()) std::filesystem::remove_all(root_, ignored);
  }
  std::string root_;
};

// Writes `text` to the file `name` in the process's input directory,
// replacing what the previous run wrote there, and returns its path.
inline std::string WriteInput(const char* name, std::string_view text) {
  const std::string path = InputDir::Get().Path(name);
  std::ofstream(path, std::ios::binary | std::ios::trunc)
      .write(text.data(), static_cast<std::streamsize>(text.size()));
  return path;
}

// Takes an input apart from the front: single bytes, lines and the rest.
// Reading past the end gives zeros and empty texts.
class Reader {
 public:
  Reader(const uint8_t* data, size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  bool Done() const { return rest_.empty(); }
  uint8_t Byte() {
    if (rest_.empty()) return 0;
    const uint8_t b = static_cast<uint8_t>(rest_.front());
    rest_.remove_prefix(1);
    return b;
  }
  // The bytes up to the next `end` (which is dropped) or to the end.
  std::string_view Upto(char end) {
    const size_t at = rest_.find(end);
    const std::string_view part = rest_.substr(0, at);
    rest_.remove_prefix(at == std::string_view::npos ? rest_.size() : at + 1);
    return part;
  }
  std::string_view Line() { return Upto('\n'); }
  std::string_view Rest() {
    const std::string_view all = rest_;
    rest_ = {};
    return all;
  }
  template <typename T>
  T Value() {
    T value{};
    const size_t n = rest_.size() < sizeof value ? rest_.size() : sizeof value;
    std::memcpy(&value, rest_.data(), n);
    rest_.remove_prefix(n);
    return value;
  }

 private:
  std::string_view rest_;
};

}  // namespace inst::fuzz

#endif  // INSTALLER_FUZZ_FUZZ_INPUT_H_
