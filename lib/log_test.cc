#include "lib/log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace inst {
namespace {

namespace fs = std::filesystem;

std::string ReadAll(const std::string& path) {
  std::stringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

// Each line of the file without its time and process id: "Info: text".
std::vector<std::string> Bodies(const std::string& path) {
  std::vector<std::string> bodies;
  std::istringstream in(ReadAll(path));
  for (std::string line; std::getline(in, line);) {
    const size_t at = line.find("] ");
    bodies.push_back(at == std::string::npos ? line : line.substr(at + 2));
  }
  return bodies;
}

class LogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Drop what earlier tests left queued: a current log at LogNone takes
    // the queue and discards it.
    Log* sink = log_init(LogNone);
    log_set(sink);
    check_emsglog();
    log_set(nullptr);
    log_free(&sink);
    std::string pattern = (fs::temp_directory_path() / "log_test.XXXXXX").string();
    ASSERT_NE(nullptr, mkdtemp(pattern.data()));
    dir_ = pattern;
  }
  void TearDown() override {
    log_free(&log_);
    log_set(nullptr);
    fs::remove_all(dir_);
  }

  // A log at level, opened on <dir>/name and made current.
  Log* Open(LogLevel level, const std::string& name = "test.log") {
    log_free(&log_);
    log_ = log_init(level);
    EXPECT_EQ(1, log_open(log_, Path(name).c_str()));
    log_set(log_);
    return log_;
  }
  std::string Path(const std::string& name) const { return dir_ + "/" + name; }

  std::string dir_;
  Log* log_ = nullptr;
};

TEST_F(LogTest, LineHasTimeWithoutYearThenPidLevelAndText) {
  Open(LogInfo);
  imsg("hello %d", 5);
  log_close(log_);
  const std::string line = ReadAll(Path("test.log"));
  ASSERT_GT(line.size(), 20u);
  struct tm when = {};
  const char* rest = strptime(line.c_str(), "%a %b %d %H:%M:%S", &when);
  EXPECT_EQ(line.c_str() + 19, rest) << line;  // day, month, day of month and time
  EXPECT_EQ(' ', line[19]);                    // then a blank, no year
  EXPECT_EQ(" [" + std::to_string(getpid()) + "] Info: hello 5\n", line.substr(20));
  EXPECT_EQ(line.size(), log_->Size);
}

TEST_F(LogTest, LevelDecidesWhichMessagesAreWritten) {
  struct Row {
    LogLevel level;
    std::vector<std::string> bodies;
  };
  static const Row rows[] = {
      {LogDebug, {"Error: e", "Info: i", "Debug: d"}},
      {LogInfo, {"Error: e", "Info: i"}},
      {LogError, {"Error: e"}},
      {LogNone, {}},
  };
  for (const Row& r : rows) {
    const std::string name = std::to_string(r.level) + ".log";
    Open(r.level, name);
    emsg("e");
    imsg("i");
    dmsg("d");
    log_close(log_);
    EXPECT_EQ(r.bodies, Bodies(Path(name))) << "level " << r.level;
  }
}

TEST_F(LogTest, BodyIsCutTo999Characters) {
  const std::string text(1200, 'x');
  Open(LogError);
  emsg("%s", text.c_str());
  emsg((text + "%s").c_str(), "");  // plain characters fill the buffer
  log_close(log_);
  const std::vector<std::string> bodies = Bodies(Path("test.log"));
  ASSERT_EQ(2u, bodies.size());
  EXPECT_EQ("Error: " + text.substr(0, 999), bodies[0]);
  EXPECT_EQ(bodies[0], bodies[1]);
}

TEST_F(LogTest, ErrorsWaitForOpenOrSetupToMakeALogCurrent) {
  emsg("queued %d", 1);
  imsg("never queued");
  log_ = log_init(LogDebug);
  log_set(log_);  // does not drain
  ASSERT_EQ(1, log_setup(log_, dir_.c_str(), "a.log"));
  imsg("after set");
  check_emsglog();
  log_close(log_);
  EXPECT_EQ((std::vector<std::string>{"Info: after set", "Error: queued 1"}),
            Bodies(Path("a.log")));

  Log* none = log_init(LogNone);
  log_set(none);
  emsg("while none");  // a log at LogNone cannot take it
  log_set(nullptr);
  log_free(&none);
  Log* opened = log_init(LogError);
  ASSERT_EQ(1, log_open(opened, Path("b.log").c_str()));
  emsg("direct");
  log_free(&opened);
  EXPECT_EQ((std::vector<std::string>{"Error: while none", "Error: direct"}),
            Bodies(Path("b.log")));

  emsg("before setup");  // the freed current log was detached
  Log* chosen = log_init(LogError);
  ASSERT_EQ(1, log_setup(chosen, dir_.c_str(), "c.log"));
  log_free(&chosen);
  EXPECT_EQ((std::vector<std::string>{"Error: before setup"}), Bodies(Path("c.log")));
}

TEST_F(LogTest, RotationKeepsNumberedCopiesUpToRotations) {
  struct Row {
    int rotations;
    int lines;
    std::vector<std::string> copies;  // expected body of <File>0, <File>1, ...
  };
  static const Row rows[] = {
      {2, 5, {"Info: 5", "Info: 4", "Info: 3"}},
      {0, 3, {"Info: 3"}},
  };
  for (const Row& r : rows) {
    fs::remove_all(dir_);
    fs::create_directory(dir_);
    Open(LogInfo, "r.log");
    log_dorotate(log_, r.rotations, 0);  // every line rotates
    for (int i = 1; i <= r.lines; ++i) imsg("%d", i);
    EXPECT_EQ(r.lines, log_->Lines);
    for (size_t k = 0; k < r.copies.size(); ++k) {
      EXPECT_EQ(std::vector<std::string>{r.copies[k]}, Bodies(Path("r.log" + std::to_string(k))))
          << "rotations " << r.rotations << " copy " << k;
    }
    // Besides the fresh current file only the numbered copies are left.
    EXPECT_EQ(1 + r.copies.size(),
              static_cast<size_t>(std::distance(fs::directory_iterator(dir_), {})))
        << "rotations " << r.rotations;
    EXPECT_EQ(0u, fs::file_size(Path("r.log")));
  }
}

TEST_F(LogTest, RotatesOnceSizeReachesRotate) {
  const std::string path = Path("big.log");
  std::ofstream(path) << std::string(1048576, 'x');
  Open(LogInfo, "big.log");
  EXPECT_EQ(1048576u, log_->Size);
  imsg("first");  // already at the default limit
  EXPECT_EQ(0u, log_->Size);
  EXPECT_FALSE(fs::exists(Path("big.log1")));
  EXPECT_NE(std::string::npos, ReadAll(Path("big.log0")).find("Info: first\n"));

  imsg("one");
  log_dorotate(log_, 4, 2 * log_->Size);  // the next line of the same length reaches it
  imsg("two");
  EXPECT_EQ(0u, log_->Size);
  EXPECT_EQ((std::vector<std::string>{"Info: one", "Info: two"}), Bodies(Path("big.log0")));
  EXPECT_TRUE(fs::exists(Path("big.log1")));
}

TEST_F(LogTest, FlushesOnLinesThatAreMultiplesOfThePeriod) {
  Open(LogInfo);
  log_doflush(log_, 3);
  // Lines counted before each line: 0 and 3 and 6 flush.
  static const size_t visible[] = {1, 1, 1, 4, 4, 4, 7};
  for (size_t i = 0; i < std::size(visible); ++i) {
    imsg("line");
    EXPECT_EQ(visible[i], Bodies(Path("test.log")).size()) << "after line " << i + 1;
  }
}

TEST_F(LogTest, RawTextHasNoPrefixIgnoresLevelAndFlushesOnEvenLines) {
  Open(LogNone);
  log_doflush(log_, 1);
  log_dorotate(log_, 4, 0);  // raw writes keep their own limit
  static const struct {
    const char* text;
    const char* visible;
  } rows[] = {{"a1", "a1"}, {"b", "a1"}, {"c", "a1bc"}, {"d", "a1bc"}};
  for (const auto& r : rows) {
    log_raw("%s", r.text);
    EXPECT_EQ(r.visible, ReadAll(Path("test.log"))) << "after " << r.text;
  }
  EXPECT_FALSE(fs::exists(Path("test.log0")));
  EXPECT_EQ(5u, log_->Size);
}

TEST_F(LogTest, ClosedOrFailedLogReopensItsFileOnTheNextLine) {
  Open(LogInfo);
  imsg("one");
  EXPECT_EQ(0, log_open(log_, Path("missing/x.log").c_str()));  // closes, keeps File
  EXPECT_EQ(0, log_setup(log_, Path("missing").c_str(), "x.log"));
  EXPECT_EQ(nullptr, log_->F);
  imsg("two");
  log_flush(nullptr);
  EXPECT_EQ((std::vector<std::string>{"Info: one", "Info: two"}), Bodies(Path("test.log")));
  EXPECT_EQ(ReadAll(Path("test.log")).size(), log_->Size);
}

TEST_F(LogTest, FileKeepsTheFirst999CharactersOfALongPath) {
  std::string dir = dir_;
  while (dir.size() < 1100) {
    dir += "/" + std::string(200, 'd');
    ASSERT_TRUE(fs::create_directory(dir));
  }
  const std::string path = dir + "/long.log";
  log_ = log_init(LogInfo);
  ASSERT_EQ(1, log_open(log_, path.c_str()));
  EXPECT_EQ(path.substr(0, 999), log_->File);
}

TEST(LogFormatTest, LprintfAndLpcatCutTheirOverflow) {
  struct Row {
    bool cat;
    int size;
    const char* start;  // text already in the buffer
    const char* format;
    const char* result;
    int returned;
  };
  static const Row rows[] = {
      {false, 5, "", "%s", "abcd", 4},
      {false, 5, "", "abcdefghij", "abcd", 4},
      {false, 20, "", "%s!", "abcdefghij!", 11},
      {false, 1, "", "abc", "", 0},
      {true, 10, "ab", "%s", "ababcdef", 6},
      {true, 10, "ab", "cdefghijk", "abcdefgh", 6},
      {true, 10, "ab", "xy", "abxy", 2},
      {true, 10, "abcdefgh", "z", "abcdefgh", 0},
      {true, 10, "abcdefghi", "%s", "abcdefghi", 0},
  };
  for (const Row& r : rows) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%s", r.start);
    // "%s" takes a text longer than every buffer here.
    const int n = r.cat ? lpcat(buffer, r.size, r.format, "abcdefghij")
                        : lprintf(buffer, r.size, r.format, "abcdefghij");
    EXPECT_STREQ(r.result, buffer) << (r.cat ? "lpcat " : "lprintf ") << r.size << " " << r.format;
    EXPECT_EQ(r.returned, n) << (r.cat ? "lpcat " : "lprintf ") << r.size << " " << r.format;
  }
}
}  // namespace
}  // namespace inst
