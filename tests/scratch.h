// Shared pieces for unit tests: a fresh temporary directory that removes
// itself, and a test fixture that logs at debug level into a file there.
#ifndef INSTALLER_TESTS_SCRATCH_H_
#define INSTALLER_TESTS_SCRATCH_H_

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "lib/log.h"

namespace inst {

// A new directory under /tmp, removed with everything in it at the end.
class ScratchDir {
 public:
  ScratchDir() {
    char pattern[] = "/tmp/scratch-XXXXXX";
    if (mkdtemp(pattern) != nullptr) root_ = pattern;
  }
  ~ScratchDir() {
    std::error_code ignored;
    if (!root_.empty()) std::filesystem::remove_all(root_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  bool ok() const { return !root_.empty(); }
  const std::string& root() const { return root_; }
  std::string Path(const std::string& rel) const { return root_ + "/" + rel; }
  // Writes text to rel, creating its parent directories.
  void Write(const std::string& rel, const std::string& text) const {
    std::filesystem::create_directories(std::filesystem::path(Path(rel)).parent_path());
    std::ofstream(Path(rel), std::ios::binary) << text;
  }
  // The whole content of rel; empty when it cannot be read.
  std::string Read(const std::string& rel) const {
    std::ifstream in(Path(rel), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }

 private:
  std::string root_;
};

// A fixture with a scratch directory and a current log, "test.log" in it,
// at debug level.
class LoggedTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(dir_.ok());
    log_ = log_init(LogDebug);
    ASSERT_EQ(log_open(log_, dir_.Path("test.log").c_str()), 1);
    log_set(log_);
  }
  void TearDown() override { log_free(&log_); }

  // The log's lines of one level ("Error", "Info", "Debug"), or of every
  // level when level is null, without time, process id and level name.
  std::vector<std::string> LogLines(const char* level = nullptr) {
    log_flush(log_);
    std::ifstream in(dir_.Path("test.log"));
    std::vector<std::string> bodies;
    for (std::string line; std::getline(in, line);) {
      const size_t bracket = line.find("] ");
      const size_t colon = line.find(": ", bracket);
      if (bracket == std::string::npos || colon == std::string::npos) continue;
      if (level != nullptr && line.compare(bracket + 2, colon - bracket - 2, level) != 0) continue;
      bodies.push_back(line.substr(colon + 2));
    }
    return bodies;
  }

  ScratchDir dir_;
  Log* log_ = nullptr;
};

// A LoggedTest that runs inside its scratch directory, so that paths and the
// texts naming them are short and relative; the working directory is given
// back at the end.
class InScratchTest : public LoggedTest {
 protected:
  void SetUp() override {
    LoggedTest::SetUp();
    if (HasFatalFailure()) return;
    home_ = std::filesystem::current_path();
    std::filesystem::current_path(dir_.root());
  }
  void TearDown() override {
    if (!home_.empty()) std::filesystem::current_path(home_);
    LoggedTest::TearDown();
  }

 private:
  std::filesystem::path home_;
};

}  // namespace inst

#endif  // INSTALLER_TESTS_SCRATCH_H_
