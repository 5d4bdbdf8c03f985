#include "file/file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "lib/log.h"
#include "lib/strings.h"

namespace inst {
namespace {

namespace fs = std::filesystem;

// Every progress callback, as "ok|path|second path|mode" ("-" for null).
std::vector<std::string> calls;

void record(const char* kind, const char* a, const char* b, int mode) {
  calls.push_back(std::string(kind) + "|" + str(a) + "|" + (b ? b : "-") + "|" +
                  std::to_string(mode));
}
void on_ok(const char* a, const char* b, int mode) { record("ok", a, b, mode); }
void on_fail(const char* a, const char* b, int mode) { record("fail", a, b, mode); }

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char tmpl[] = "/tmp/file_test.XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
    log_ = log_init(LogDebug);
    log_set(log_);
    ASSERT_EQ(log_open(log_, (dir_ + "/test.log").c_str()), 1);
    calls.clear();
    file_setup_fn(on_ok, on_fail);
  }
  void TearDown() override {
    file_setup_fn(nullptr, nullptr);
    log_free(&log_);
    if (mounted_) umount(P("small").c_str());
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }

  std::string P(const std::string& rel) const { return dir_ + "/" + rel; }
  void Write(const std::string& rel, const std::string& text) {
    fs::create_directories(fs::path(P(rel)).parent_path());
    std::ofstream(P(rel), std::ios::binary) << text;
  }
  std::string Read(const std::string& rel) const {
    std::ifstream in(P(rel), std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
  }
  // The log's text after the given level name, one entry per line.
  std::vector<std::string> Lines(const char* level) {
    log_flush(log_);
    std::ifstream in(P("test.log"));
    std::vector<std::string> found;
    const std::string mark = std::string("] ") + level + ": ";
    for (std::string line; std::getline(in, line);) {
      const size_t at = line.find(mark);
      if (at != std::string::npos) found.push_back(line.substr(at + mark.size()));
    }
    return found;
  }
  std::vector<std::string> Errors() { return Lines("Error"); }
  // The names a scan of rel for wild yields, sorted.
  std::vector<std::string> Scan(const std::string& rel, const char* wild) {
    std::vector<std::string> names;
    FHandle* handle = nullptr;
    File* f = file_first(&handle, P(rel).c_str(), wild);
    for (bool more = f != nullptr; more; more = file_next(f, handle) != 0) {
      names.push_back(file_name(f));
    }
    file_free(&f);
    file_last(&handle);
    EXPECT_EQ(handle, nullptr);
    std::sort(names.begin(), names.end());
    return names;
  }

  std::string dir_;
  Log* log_ = nullptr;
  bool mounted_ = false;
};

TEST_F(FileTest, ScanFiltersNamesCaseSensitivelyAndSkipsDotEntries) {
  for (const char* name : {"a.txt", "b.TXT", ".h.txt", "sub/c.txt", "my file \xc3\xbc.txt"}) {
    Write("d/" + std::string(name), "x");
  }
  static const struct {
    const char* wild;
    std::vector<std::string> names;
  } rows[] = {
      {"*.txt", {".h.txt", "a.txt", "my file \xc3\xbc.txt"}},
      {"*", {".h.txt", "a.txt", "b.TXT", "my file \xc3\xbc.txt", "sub"}},
      {"?.*", {"a.txt", "b.TXT"}},
      {"nothing", {}},
  };
  for (const auto& row : rows) {
    std::vector<std::string> expected;
    for (const auto& n : row.names) expected.push_back(P("d/" + n));
    EXPECT_EQ(Scan("d", row.wild), expected) << row.wild;
  }
  fs::create_directory(P("empty"));
  EXPECT_TRUE(Scan("empty", "*").empty());
  EXPECT_TRUE(Errors().empty());
}

TEST_F(FileTest, ScanOfMissingDirectoryLogsAndReturnsNull) {
  EXPECT_TRUE(Scan("missing", "*").empty());
  EXPECT_EQ(Errors(), std::vector<std::string>{"Error opening dir '" + P("missing") +
                                               "', No such file or directory"});
  FHandle* handle = nullptr;
  EXPECT_EQ(file_first(&handle, nullptr, "*"), nullptr);
  EXPECT_EQ(file_first(&handle, P("").c_str(), nullptr), nullptr);
  EXPECT_EQ(file_next(nullptr, handle), 0);
}

TEST_F(FileTest, LinkToDirectoryIsNoDirectoryInScanButExistFollowsIt) {
  Write("t/f", "x");
  fs::create_directory(P("d"));
  fs::create_directory_symlink(P("t"), P("d/ln"));
  FHandle* handle = nullptr;
  File* f = file_first(&handle, P("d").c_str(), "*");
  ASSERT_NE(f, nullptr);
  EXPECT_TRUE(S_ISLNK(f->info.st_mode));
  EXPECT_EQ(f->link, P("t"));
  File* copy = file_dup(f);
  file_free(&f);
  file_last(&handle);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->link, P("t"));
  EXPECT_STREQ(copy->name, P("d/ln").c_str());
  file_free(&copy);
  EXPECT_EQ(copy, nullptr);

  EXPECT_EQ(file_exist(P("d/ln").c_str()), 2);
  EXPECT_EQ(file_exist(P("t/f").c_str()), 1);
  EXPECT_EQ(file_exist(P("none").c_str()), 0);
  EXPECT_EQ(file_exist(nullptr), 0);
  EXPECT_EQ(Lines("Debug"),
            (std::vector<std::string>{"'" + P("d/ln") + "' exists and is a directory",
                                      "'" + P("t/f") + "' exists and is a file",
                                      "'" + P("none") + "' does not exist"}));
}

TEST_F(FileTest, ScanSkipsEntriesWhoseFullPathDoesNotFit) {
  // A directory whose path is 250 characters: "abcd" still fits, "abcde"
  // would be cut to the very name of "abcd" and must not be reported twice.
  const std::string deep = std::string(250 - dir_.size() - 1, 'd');
  Write(deep + "/abcd", "1");
  Write(deep + "/abcde", "2");
  EXPECT_EQ(Scan(deep, "*"), std::vector<std::string>{P(deep + "/abcd")});
  EXPECT_EQ(file_existf(P(deep + "/abcde").c_str()), nullptr);
  File* f = file_existf(P(deep + "/abcd").c_str());
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(f->info.st_size, 1);
  file_free(&f);
}

TEST_F(FileTest, NameSplitting) {
  static const struct {
    const char* name;
    int size;
    const char* filename;
    const char* path;
  } rows[] = {
      {"/a/b/c.txt", 256, "c.txt", "/a/b"}, {"c.txt", 256, "c.txt", "c.txt"},
      {"a\\b/c", 256, "c", "a\\b"},         {"/x", 256, "x", ""},
      {"/abc/defg", 4, "def", "/ab"},       {"", 256, "", ""},
  };
  for (const auto& row : rows) {
    File f;
    scpy(f.name, row.name, sizeof f.name);
    char buf[256] = "junk";
    EXPECT_STREQ(file_filename(&f, buf, row.size), row.filename) << row.name;
    EXPECT_STREQ(file_path(&f, buf, row.size), row.path) << row.name;
  }
  char buf[8];
  EXPECT_EQ(file_filename(nullptr, buf, 8), nullptr);
  EXPECT_EQ(file_path(nullptr, buf, 8), nullptr);
  EXPECT_EQ(file_name(nullptr), nullptr);
}

TEST_F(FileTest, UserAndGroupLookups) {
  EXPECT_EQ(file_getuid("root"), 0);
  EXPECT_EQ(file_getgid("root"), 0);
  EXPECT_EQ(file_usergid("root"), 0);
  for (const char* name : {"no-such-user-here", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(file_getuid(name), -1) << str(name);
    EXPECT_EQ(file_getgid(name), -1) << str(name);
    EXPECT_EQ(file_usergid(name), -1) << str(name);
  }
}

TEST_F(FileTest, ErrorTextIsCutAndAlwaysCarriesTheSystemText) {
  errno = 0;
  file_error("plain %d", 7);
  EXPECT_EQ(errno, 0);
  errno = ENOENT;
  file_error("%s", std::string(1500, 'x').c_str());
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(Errors(), (std::vector<std::string>{"plain 7, Success", std::string(999, 'x')}));
}

TEST_F(FileTest, CopyCountsEveryByteAndReportsOnce) {
  static const size_t sizes[] = {0, 1, 8191, 8192, 8193, 3 * 8192 + 5, (1 << 20) + 3};
  unsigned long bytes = 7;
  unsigned long total = 7;
  for (size_t size : sizes) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 31 + i / 8192);
    Write("src", text);
    Write("dst", "older and longer than some sources");
    calls.clear();
    EXPECT_EQ(file_copy(P("src").c_str(), P("dst").c_str(), 1, &bytes), 1) << size;
    total += size;
    EXPECT_EQ(bytes, total) << size;
    EXPECT_TRUE(Read("dst") == text) << size;
    EXPECT_EQ(calls, std::vector<std::string>{"ok|" + P("src") + "|" + P("dst") + "|1"});
  }
  EXPECT_TRUE(Errors().empty());
}

TEST_F(FileTest, CopyWithoutOverwriteSkipsAnExistingDestination) {
  Write("src", "new");
  Write("dst", "old");
  EXPECT_EQ(file_copy(P("src").c_str(), P("dst").c_str(), 0, nullptr), -1);
  EXPECT_EQ(Read("dst"), "old");
  EXPECT_EQ(Read("src"), "new");
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(file_copy(P("src").c_str(), P("fresh").c_str(), 0, nullptr), 1);
  EXPECT_EQ(Read("fresh"), "new");
}

TEST_F(FileTest, CopyFailuresLogTheirTextAndCallFailOnce) {
  fs::create_directory(P("adir"));
  Write("src", "data");
  mkfifo(P("fifo").c_str(), 0600);
  static const struct {
    const char* src;
    const char* dst;
    const char* text;  // %s stands for the path named
    const char* named;
  } rows[] = {
      {"missing", "d1", "Error opening '%s' for read, No such file or directory", "missing"},
      {"adir", "d2", "Error reading from '%s', Is a directory", "adir"},
      {"src", "no/dst", "Error opening '%s' for write, No such file or directory", "no/dst"},
      {"src", "fifo", "Error opening '%s' for write, No such device or address", "fifo"},
  };
  for (const auto& row : rows) {
    calls.clear();
    unsigned long bytes = 0;
    EXPECT_EQ(file_copy(P(row.src).c_str(), P(row.dst).c_str(), 1, &bytes), 0) << row.src;
    std::string text = row.text;
    text.replace(text.find("%s"), 2, P(row.named));
    EXPECT_EQ(Errors().back(), text);
    EXPECT_EQ(calls, std::vector<std::string>{"fail|" + P(row.src) + "|" + P(row.dst) + "|1"});
    EXPECT_EQ(bytes, 0u);
  }
  EXPECT_EQ(Read("d1"), "");  // opened for writing before the source failed
  calls.clear();
  EXPECT_EQ(file_copy(nullptr, P("x").c_str(), 1, nullptr), 0);
  EXPECT_EQ(calls, std::vector<std::string>{"fail||" + P("x") + "|1"});
  // A FIFO without a writer is an empty source, not a reason to wait.
  EXPECT_EQ(file_copy(P("fifo").c_str(), P("from_fifo").c_str(), 1, nullptr), 1);
}

TEST_F(FileTest, CopyStoppedByFileSizeLimitKeepsWhatWasWritten) {
  Write("src", std::string(100000, 'z'));
  rlimit old;
  getrlimit(RLIMIT_FSIZE, &old);
  rlimit small = old;
  small.rlim_cur = 20000;
  auto old_handler = signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  unsigned long bytes = 0;
  const int r = file_copy(P("src").c_str(), P("dst").c_str(), 1, &bytes);
  setrlimit(RLIMIT_FSIZE, &old);
  signal(SIGXFSZ, old_handler);
  EXPECT_EQ(r, 0);
  EXPECT_EQ(bytes, 2u * 8192);  // whole chunks written before the limit
  EXPECT_EQ(fs::file_size(P("dst")), 20000u);
  EXPECT_EQ(Errors().back(), "Error writing to '" + P("dst") + "', File too large");
  EXPECT_EQ(calls.back(), "fail|" + P("src") + "|" + P("dst") + "|1");
}

TEST_F(FileTest, CopyOntoFullFileSystemFails) {
  fs::create_directory(P("small"));
  if (geteuid() != 0 || mount("tmpfs", P("small").c_str(), "tmpfs", 0, "size=64k") != 0) {
    GTEST_SKIP() << "needs root to mount a small file system";
  }
  mounted_ = true;
  Write("src", std::string(300000, 'q'));
  unsigned long bytes = 0;
  EXPECT_EQ(file_copy(P("src").c_str(), P("small/dst").c_str(), 1, &bytes), 0);
  EXPECT_EQ(Errors().back(), "Error writing to '" + P("small/dst") + "', No space left on device");
  EXPECT_EQ(bytes % 8192, 0u);
  EXPECT_LE(bytes, fs::file_size(P("small/dst")));
  EXPECT_GT(fs::file_size(P("small/dst")), 0u);
}

TEST_F(FileTest, MoveRemovesTheSourceEvenAfterASkippedCopy) {
  Write("a", "A");
  Write("b", "B");
  EXPECT_EQ(file_move(P("a").c_str(), P("b").c_str(), 0, nullptr), 1);
  EXPECT_FALSE(fs::exists(P("a")));
  EXPECT_EQ(Read("b"), "B");
  EXPECT_EQ(file_move(P("b").c_str(), P("c").c_str(), 0, nullptr), 1);
  EXPECT_EQ(Read("c"), "B");
  EXPECT_FALSE(fs::exists(P("b")));
  EXPECT_EQ(file_move(P("gone").c_str(), P("d").c_str(), 1, nullptr), 0);
  // A skipped copy of a non-empty directory leaves a source that cannot go.
  Write("full/x", "x");
  EXPECT_EQ(file_move(P("full").c_str(), P("c").c_str(), 0, nullptr), 0);
  EXPECT_EQ(Errors().back(), "Error removing moved file '" + P("full") + "', Directory not empty");
}

// Everything below rel, relative to it and sorted; directories end in "/".
std::vector<std::string> Tree(const std::string& root) {
  std::vector<std::string> out;
  for (const auto& e : fs::recursive_directory_iterator(root)) {
    out.push_back(fs::relative(e.path(), root).string() + (e.is_directory() ? "/" : ""));
  }
  std::sort(out.begin(), out.end());
  return out;
}

TEST_F(FileTest, TreeCopyCountsFilesAndDirectoriesMade) {
  static const struct {
    const char* wild;
    const char* exclude;
    int recurse;
    int count;
    unsigned long bytes;
    std::vector<std::string> tree;
  } rows[] = {
      {"*",
       "*.tmp",
       1,
       9,
       11,
       {"a.txt", "b.log", "sp \xc3\xbc/", "sp \xc3\xbc/e.txt", "sub/", "sub/c.txt", "sub/deep/",
        "sub/deep/d.txt"}},
      {"*", "*.tmp", 0, 5, 5, {"a.txt", "b.log", "sp \xc3\xbc/", "sub/"}},
      {"*.txt", nullptr, 1, 2, 3, {"a.txt"}},
      {nullptr, "sub,b.log", 1, 5, 5, {"a.txt", "skip.tmp", "sp \xc3\xbc/", "sp \xc3\xbc/e.txt"}},
  };
  Write("s/a.txt", "aaa");
  Write("s/b.log", "bb");
  Write("s/skip.tmp", "t");
  Write("s/sub/c.txt", "c");
  Write("s/sub/deep/d.txt", "dddd");
  Write("s/sp \xc3\xbc/e.txt", "e");
  int n = 0;
  for (const auto& row : rows) {
    const std::string out = "out" + std::to_string(n++) + "/new";
    unsigned long bytes = 0;
    EXPECT_EQ(
        file_xcopy(P("s").c_str(), row.wild, row.exclude, P(out).c_str(), row.recurse, &bytes),
        row.count)
        << n;
    EXPECT_EQ(bytes, row.bytes) << n;
    EXPECT_EQ(Tree(P(out)), row.tree) << n;
  }
  EXPECT_TRUE(Errors().empty());
  EXPECT_EQ(file_xcopy(nullptr, "*", nullptr, P("x").c_str(), 1, nullptr), 0);
}

TEST_F(FileTest, ProgressCallbacksComeInOrderAndCanBeSavedAndRestored) {
  Write("s/f", "1");
  EXPECT_EQ(file_xcopy(P("s").c_str(), "*", nullptr, P("n/m").c_str(), 1, nullptr), 2);
  EXPECT_EQ(calls, (std::vector<std::string>{"ok|" + P("n") + "|-|1", "ok|" + P("n/m") + "|-|1",
                                             "ok|" + P("s/f") + "|" + P("n/m/f") + "|1"}));
  FSInf saved;
  file_old_setup(&saved);
  EXPECT_EQ(saved.xok, &on_ok);
  EXPECT_EQ(saved.xfail, &on_fail);
  file_setup_fn(nullptr, nullptr);
  calls.clear();
  EXPECT_EQ(file_copy(P("none").c_str(), P("x").c_str(), 1, nullptr), 0);
  EXPECT_TRUE(calls.empty());
  file_setup(nullptr);
  file_setup(&saved);
  EXPECT_EQ(file_copy(P("none").c_str(), P("x").c_str(), 1, nullptr), 0);
  EXPECT_EQ(calls.size(), 1u);
}

TEST_F(FileTest, TreeCopyIntoItselfEndsAtTheNameLimit) {
  Write("s/f", "1");
  const int count = file_xcopy(P("s").c_str(), "*", nullptr, P("s/in").c_str(), 1, nullptr);
  EXPECT_GT(count, 2);
  EXPECT_NE(Errors().back().find(", File name too long"), std::string::npos);
}

TEST_F(FileTest, TreeMoveRemovesMovedDirectoriesAndNamesTheTargetOfOneThatStays) {
  for (const char* name : {"a", "keep.cfg", "sub/b", "sub/keep.cfg", "sub2/c"}) {
    Write("m/" + std::string(name), name);
  }
  unsigned long bytes = 0;
  EXPECT_EQ(file_xmove(P("m").c_str(), "*", "keep.cfg", P("out").c_str(), 1, &bytes), 7);
  EXPECT_EQ(bytes, 1u + 5 + 6);
  EXPECT_EQ(Tree(P("m")), (std::vector<std::string>{"keep.cfg", "sub/", "sub/keep.cfg"}));
  EXPECT_EQ(Tree(P("out")), (std::vector<std::string>{"a", "sub/", "sub/b", "sub2/", "sub2/c"}));
  EXPECT_EQ(Errors(), std::vector<std::string>{"Failed to remove moved directory '" + P("out/sub") +
                                               "', Directory not empty"});
}

TEST_F(FileTest, MkdirMakesEveryMissingParentAndReportsEach) {
  EXPECT_EQ(file_mkdir(P("a/b/c/").c_str(), 1), 1);
  EXPECT_EQ(file_mkdir((P("x") + "\\y\\z").c_str(), 1), 1);
  std::vector<std::string> made, reported;
  for (const char* rel : {"a", "a/b", "a/b/c", "x", "x/y", "x/y/z"}) {
    EXPECT_TRUE(fs::is_directory(P(rel))) << rel;
    made.push_back("Directory created '" + P(rel) + "'");
    reported.push_back("ok|" + P(rel) + "|-|1");
  }
  EXPECT_EQ(Lines("Debug"), made);
  EXPECT_EQ(calls, reported);
  calls.clear();
  EXPECT_EQ(file_mkdir(P("a/b/c").c_str(), 1), 1);
  EXPECT_EQ(file_mkdir(P("a/b").c_str(), 0), 1);
  EXPECT_EQ(Lines("Debug").size(), made.size());
  EXPECT_TRUE(calls.empty());
}

TEST_F(FileTest, MkdirFailureLogsOnceAndCallsFailOnce) {
  Write("plain", "x");
  const std::string longest = P(std::string(300, 'l'));
  static const struct {
    std::string path;
    int make_all;
    const char* reason;
  } rows[] = {
      {"plain/x/y", 1, "Not a directory"},
      {"plain", 1, "File exists"},
      {"q/r", 0, "No such file or directory"},
      {"", 1, "File name too long"},
  };
  for (const auto& row : rows) {
    const std::string path = row.path.empty() ? longest : P(row.path);
    const std::string shown = path.substr(0, 255);
    calls.clear();
    EXPECT_EQ(file_mkdir(path.c_str(), row.make_all), 0) << row.path;
    EXPECT_EQ(Errors().back(), "Error creating directory '" + shown + "', " + row.reason);
    EXPECT_EQ(calls, std::vector<std::string>{"fail|" + shown + "|-|1"}) << row.path;
  }
  EXPECT_EQ(Errors().size(), 4u);
  EXPECT_FALSE(fs::exists(P(std::string(255 - dir_.size() - 1, 'l'))));
}

TEST_F(FileTest, RmdirLeavesExcludedEntriesWithTheirDirectoriesAndCountsTheRest) {
  for (const char* name : {"a", "keep.cfg", "sub/b", "sub/keep.cfg", "other/c"}) {
    Write("r/" + std::string(name), "x");
  }
  EXPECT_EQ(file_rmdir(P("r").c_str(), "keep.cfg", 1), 4);
  EXPECT_EQ(Tree(P("r")), (std::vector<std::string>{"keep.cfg", "sub/", "sub/keep.cfg"}));
  std::vector<std::string> expected;
  for (const char* c : {"ok|r/a", "ok|r/sub/b", "fail|r/sub", "ok|r/sub", "ok|r/other/c",
                        "ok|r/other", "ok|r/other", "fail|r"}) {
    const std::string s = c;
    const size_t bar = s.find('|');
    expected.push_back(s.substr(0, bar + 1) + P(s.substr(bar + 1)) + "|-|0");
  }
  std::sort(expected.begin(), expected.end());
  std::sort(calls.begin(), calls.end());
  EXPECT_EQ(calls, expected);
  EXPECT_TRUE(Errors().empty());
}

TEST_F(FileTest, RmdirRemovesLinksWithoutFollowingThem) {
  Write("t/precious", "x");
  fs::create_directories(P("r/inner"));
  fs::create_directory_symlink(P("t"), P("r/inner/ln"));
  EXPECT_EQ(file_rmdir(P("t").c_str(), nullptr, 0), 0);
  EXPECT_EQ(file_rmdir(P("r").c_str(), nullptr, 1), 3);
  EXPECT_FALSE(fs::exists(P("r")));
  EXPECT_EQ(Read("t/precious"), "x");
  EXPECT_EQ(file_rmdir(nullptr, nullptr, 1), 0);
}

TEST_F(FileTest, ModeAndOwnerChanges) {
  Write("f", "x");
  File* f = file_existf(P("f").c_str());
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(file_chmod(f, 0640), 1);
  EXPECT_EQ(fs::status(P("f")).permissions(), static_cast<fs::perms>(0640));
  EXPECT_EQ(file_chown(nullptr, 0, 0), 0);
  EXPECT_EQ(file_chown(f, -1, 0), 0);
  EXPECT_TRUE(Errors().empty());
  if (geteuid() == 0) {
    EXPECT_EQ(file_chown(f, 33, -1), 1);
    struct stat st;
    ASSERT_EQ(stat(P("f").c_str(), &st), 0);
    EXPECT_EQ(st.st_uid, 33u);
    EXPECT_EQ(st.st_gid, 33u);
  }
  scpy(f->name, P("gone").c_str(), sizeof f->name);
  EXPECT_EQ(file_chmod(f, 0644), 0);
  EXPECT_EQ(file_chown(f, 33, -1), 0);
  EXPECT_EQ(Errors(),
            (std::vector<std::string>{
                "Error changing mode of '" + P("gone") + "' to 420, No such file or directory",
                "Error changing ownership of '" + P("gone") +
                    "' to uid=33, gid=33, No such file or directory"}));
  file_free(&f);
  if (geteuid() != 0) GTEST_SKIP() << "changing the owner needs root";
}

}  // namespace
}  // namespace inst
