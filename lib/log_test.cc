#include "lib/log.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "tests/scratch.h"

namespace inst {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// A current debug log on test.log in a scratch directory.
using LogTest = LoggedTest;

// The time and process id that start a line are made once and kept: lines
// written in a later second, or by a forked child, must not reuse them.
TEST_F(LogTest, TimeAndProcessIdFollowTheClockAndForks) {
  imsg("first");
  const time_t first = std::time(nullptr);
  while (std::time(nullptr) == first) usleep(20000);
  const time_t now = std::time(nullptr);  // a second has just begun
  struct tm local;
  char stamp[64];
  const std::string next(asctime_r(localtime_r(&now, &local), stamp), 20);
  imsg("next");
  log_flush(log_);  // the child must not write the parent's buffered lines again
  const pid_t child = fork();
  if (child == 0) {
    imsg("child");
    log_flush(log_);
    _exit(0);
  }
  ASSERT_GT(child, 0);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  std::istringstream in(dir_.Read("test.log"));
  Lines lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1], next + " [" + std::to_string(getpid()) + "] Info: next");
  EXPECT_EQ(lines[2].substr(20), " [" + std::to_string(child) + "] Info: child");
}

// A text handed to log_line() directly may be longer than any message body.
TEST_F(LogTest, LineWritesTheWholeTextGivenToIt) {
  for (size_t length : {size_t{0}, size_t{999}, size_t{1200}, size_t{5000}}) {
    const std::string before = dir_.Read("test.log");
    const std::string text(length, 'y');
    log_line(log_, text.c_str(), LogError);
    log_flush(log_);
    const std::string written = dir_.Read("test.log").substr(before.size());
    EXPECT_EQ(written.substr(20), " [" + std::to_string(getpid()) + "] Error: " + text + "\n")
        << "length " << length;
    EXPECT_EQ(log_->Size, before.size() + written.size()) << "length " << length;
  }
}

TEST_F(LogTest, LevelDecidesWhichMessagesAreWritten) {
  for (LogLevel level : {LogDebug, LogInfo, LogError}) {
    log_set_level(log_, level);
    emsg("e%d", level);
    imsg("i%d", level);
    dmsg("d%d", level);
  }
  EXPECT_EQ(LogLines("Error"), (Lines{"e3", "e2", "e1"}));
  EXPECT_EQ(LogLines("Info"), (Lines{"i3", "i2"}));
  EXPECT_EQ(LogLines("Debug"), (Lines{"d3"}));
  log_set_level_name(log_, "debug");
  EXPECT_EQ(log_level(log_), LogDebug);
  log_set_level_name(log_, "verbose");  // unknown: unchanged
  EXPECT_STREQ(log_level_name(log_), "Debug");
}

TEST_F(LogTest, BodyIsCutTo999Characters) {
  const std::string text(1200, 'x');
  emsg("%s", text.c_str());
  unchecked::emsg((text + "%s").c_str(), "");  // plain characters fill the buffer
  EXPECT_EQ(LogLines("Error"), Lines(2, text.substr(0, 999)));
}

TEST_F(LogTest, ErrorsWaitUntilOpenOrSetupMakesALogCurrent) {
  log_set(nullptr);
  emsg("queued %d", 1);
  imsg("dropped");  // only errors wait
  log_set(log_);    // does not drain
  imsg("after set");
  check_emsglog();
  log_set_level(log_, LogNone);
  emsg("while none");  // a log at LogNone cannot take it
  log_set(nullptr);
  log_set_level(log_, LogDebug);
  ASSERT_EQ(1, log_open(log_, dir_.Path("test.log").c_str()));  // current again
  emsg("direct");
  Log* other = log_init(LogNone);
  log_set(other);
  log_free(&other);  // no longer current
  emsg("after free");
  ASSERT_EQ(1, log_setup(log_, dir_.root().c_str(), "test.log"));
  EXPECT_EQ(LogLines(), (Lines{"after set", "queued 1", "while none", "direct", "after free"}));
}

TEST_F(LogTest, RotationKeepsNumberedCopiesUpToRotations) {
  log_dorotate(log_, 2, 0);  // every line rotates; test.log0 .. test.log2 are kept
  for (int i = 1; i <= 5; ++i) imsg("%d", i);
  EXPECT_EQ(log_->Lines, 5);
  EXPECT_TRUE(dir_.Read("test.log0").ends_with("] Info: 5\n"));
  EXPECT_TRUE(dir_.Read("test.log1").ends_with("] Info: 4\n"));
  EXPECT_TRUE(dir_.Read("test.log2").ends_with("] Info: 3\n"));
  EXPECT_EQ(dir_.Read("test.log"), "");
  // No temporary file and no older copy is left.
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.root()), {}), 4);
}

TEST_F(LogTest, RotatesWhenSizeReachesRotateCountingWhatTheFileHeld) {
  imsg("full");  // measures a line of this length
  const uint32_t length = log_->Size;
  dir_.Write("big.log", std::string(1048576 - length, 'x'));
  ASSERT_EQ(1, log_open(log_, dir_.Path("big.log").c_str()));
  imsg("full");  // reaches the default limit exactly
  EXPECT_EQ(log_->Size, 0u);
  EXPECT_EQ(dir_.Read("big.log0").size(), 1048576u);
  EXPECT_FALSE(fs::exists(dir_.Path("big.log1")));
}

TEST_F(LogTest, FlushesOnLinesThatAreMultiplesOfThePeriod) {
  log_doflush(log_, 3);
  static const long visible[] = {1, 1, 1, 4, 4, 4, 7};  // lines 0, 3 and 6 flush
  for (size_t i = 0; i < std::size(visible); ++i) {
    imsg("line");
    const std::string text = dir_.Read("test.log");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), visible[i]) << "after line " << i + 1;
  }
}

TEST_F(LogTest, RawTextHasNoPrefixIgnoresLevelAndFlushesOnEvenLines) {
  log_set_level(log_, LogNone);
  log_doflush(log_, 1);
  log_dorotate(log_, 4, 0);  // raw writes keep their own limit
  log_raw("%s", "a1");       // Lines 0: flushed
  EXPECT_EQ(dir_.Read("test.log"), "a1");
  log_raw("b");  // Lines 1: not flushed
  EXPECT_EQ(dir_.Read("test.log"), "a1");
  log_raw("c");
  EXPECT_EQ(dir_.Read("test.log"), "a1bc");
  EXPECT_FALSE(fs::exists(dir_.Path("test.log0")));
  EXPECT_EQ(log_->Size, 4u);
}

TEST_F(LogTest, ClosedOrFailedLogReopensItsFileOnTheNextLine) {
  imsg("one");
  EXPECT_EQ(0, log_open(log_, dir_.Path("missing/x.log").c_str()));  // closes, keeps File
  EXPECT_EQ(0, log_setup(log_, dir_.Path("missing").c_str(), "x.log"));
  EXPECT_EQ(log_->F, nullptr);
  imsg("two");
  EXPECT_EQ(LogLines(), (Lines{"one", "two"}));
  EXPECT_EQ(dir_.Read("test.log").size(), log_->Size);
}

TEST_F(LogTest, FileKeepsTheFirst999CharactersOfALongPath) {
  std::string path = dir_.root();
  while (path.size() < 1100) path += "/" + std::string(200, 'd');
  fs::create_directories(path);
  path += "/long.log";
  ASSERT_EQ(1, log_open(log_, path.c_str()));
  EXPECT_EQ(log_->File, path.substr(0, 999));
}

}  // namespace
}  // namespace inst
