#include "file/file.h"

#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "lib/log.h"
#include "lib/strings.h"

namespace inst {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

std::string Call(const char* kind, const std::string& a, const char* b, int mode) {
  return std::string(kind) + "|" + a + "|" + (b ? b : "-") + "|" + std::to_string(mode);
}
// Every progress callback, in the form Call() gives.
Strings calls;
void on_ok(const char* a, const char* b, int mode) { calls.push_back(Call("ok", str(a), b, mode)); }
void on_fail(const char* a, const char* b, int mode) {
  calls.push_back(Call("fail", str(a), b, mode));
}

// Everything below root, relative to it and sorted; directories end in "/".
Strings Tree(const std::string& root) {
  Strings out;
  for (const auto& e : fs::recursive_directory_iterator(root)) {
    out.push_back(fs::relative(e.path(), root).string() + (e.is_directory() ? "/" : ""));
  }
  std::sort(out.begin(), out.end());
  return out;
}

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char tmpl[] = "/tmp/file_test.XXXXXX";
    ASSERT_NE(mkdtemp(tmpl), nullptr);
    dir_ = tmpl;
    log_ = log_init(LogDebug);
    log_set(log_);
    ASSERT_EQ(log_open(log_, P("test.log").c_str()), 1);
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
    return {std::istreambuf_iterator<char>(in), {}};
  }
  // The bodies of the log lines of one level.
  Strings Lines(const char* level) {
    log_flush(log_);
    std::ifstream in(P("test.log"));
    Strings found;
    const std::string mark = std::string("] ") + level + ": ";
    for (std::string line; std::getline(in, line);) {
      const size_t at = line.find(mark);
      if (at != std::string::npos) found.push_back(line.substr(at + mark.size()));
    }
    return found;
  }
  Strings Errors() { return Lines("Error"); }
  // The names a scan of rel for wild yields, sorted.
  Strings Scan(const std::string& rel, const char* wild) {
    Strings names;
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
  fs::create_directory(P("empty"));
  static const struct {
    const char* dir;
    const char* wild;
    Strings names;
  } rows[] = {
      {"d", "*.txt", {".h.txt", "a.txt", "my file \xc3\xbc.txt"}},
      {"d", "*", {".h.txt", "a.txt", "b.TXT", "my file \xc3\xbc.txt", "sub"}},
      {"d", "?.*", {"a.txt", "b.TXT"}},
      {"d", "nothing", {}},
      {"empty", "*", {}},
  };
  for (const auto& row : rows) {
    Strings expected;
    for (const auto& n : row.names) expected.push_back(P(std::string(row.dir) + "/" + n));
    EXPECT_EQ(Scan(row.dir, row.wild), expected) << row.dir << " " << row.wild;
  }
  EXPECT_TRUE(Errors().empty());
  EXPECT_TRUE(Scan("missing", "*").empty());
  EXPECT_EQ(Errors(),
            Strings{"Error opening dir '" + P("missing") + "', No such file or directory"});
  FHandle* handle = nullptr;
  EXPECT_EQ(file_first(&handle, P("d").c_str(), nullptr), nullptr);
  EXPECT_EQ(file_next(nullptr, handle), 0);
}

TEST_F(FileTest, LinkToDirectoryIsNoDirectoryInScanButExistFollowsIt) {
  Write("t/f", "x");
  fs::create_directory(P("d"));
  fs::create_directory_symlink(P("t"), P("d/ln"));
  FHandle* handle = nullptr;
  File* f = file_first(&handle, P("d").c_str(), "*");
  ASSERT_NE(f, nullptr);
  File* copy = file_dup(f);
  file_free(&f);
  file_last(&handle);
  ASSERT_NE(copy, nullptr);
  EXPECT_TRUE(S_ISLNK(copy->info.st_mode));
  EXPECT_EQ(copy->link, P("t"));
  EXPECT_STREQ(copy->name, P("d/ln").c_str());
  file_free(&copy);
  EXPECT_EQ(copy, nullptr);

  EXPECT_EQ(file_exist(P("d/ln").c_str()), 2);
  EXPECT_EQ(file_exist(P("t/f").c_str()), 1);
  EXPECT_EQ(file_exist(P("none").c_str()), 0);
  EXPECT_EQ(file_exist(nullptr), 0);
  EXPECT_EQ(Lines("Debug"), (Strings{"'" + P("d/ln") + "' exists and is a directory",
                                     "'" + P("t/f") + "' exists and is a file",
                                     "'" + P("none") + "' does not exist"}));
}

TEST_F(FileTest, ScanSkipsEntriesWhoseFullPathDoesNotFit) {
  // In a directory of 250 characters "abcd" still fits; "abcde" would be cut
  // to the very name of "abcd" and must not be reported twice.
  const std::string deep = std::string(250 - dir_.size() - 1, 'd');
  Write(deep + "/abcd", "1");
  Write(deep + "/abcde", "2");
  EXPECT_EQ(Scan(deep, "*"), Strings{P(deep + "/abcd")});
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
}

TEST_F(FileTest, UserAndGroupLookups) {
  for (auto lookup : {file_getuid, file_getgid, file_usergid}) {
    EXPECT_EQ(lookup("root"), 0);
    for (const char* name : {"no-such-user-here", "", static_cast<const char*>(nullptr)}) {
      EXPECT_EQ(lookup(name), -1) << str(name);
    }
  }
}

TEST_F(FileTest, ErrorTextIsCutAndAlwaysCarriesTheSystemText) {
  errno = 0;
  file_error("plain %d", 7);
  EXPECT_EQ(errno, 0);
  errno = ENOENT;
  file_error("%s", std::string(1500, 'x').c_str());
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(Errors(), (Strings{"plain 7, Success", std::string(999, 'x')}));
}

TEST_F(FileTest, CopyCountsEveryByteAndReportsOnce) {
  static const size_t sizes[] = {0, 1, 8191, 8192, 8193, 3 * 8192 + 5, (1 << 20) + 3};
  unsigned long bytes = 7, total = 7;
  for (size_t size : sizes) {
    std::string text(size, '\0');
    for (size_t i = 0; i < size; ++i) text[i] = static_cast<char>(i * 31 + i / 8192);
    Write("src", text);
    Write("dst", "older and longer than some sources");
    calls.clear();
    EXPECT_EQ(file_copy(P("src").c_str(), P("dst").c_str(), 1, &bytes), 1) << size;
    EXPECT_EQ(bytes, total += size) << size;
    EXPECT_TRUE(Read("dst") == text) << size;
    EXPECT_EQ(calls, Strings{Call("ok", P("src"), P("dst").c_str(), 1)});
  }
  // Without overwrite an existing destination is kept and nothing reported.
  calls.clear();
  Write("dst", "old");
  EXPECT_EQ(file_copy(P("src").c_str(), P("dst").c_str(), 0, &bytes), -1);
  EXPECT_EQ(Read("dst"), "old");
  EXPECT_EQ(bytes, total);
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(file_copy(P("dst").c_str(), P("fresh").c_str(), 0, nullptr), 1);
  EXPECT_TRUE(Errors().empty());
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
    EXPECT_EQ(Errors().back(), text.replace(text.find("%s"), 2, P(row.named)));
    EXPECT_EQ(calls, Strings{Call("fail", P(row.src), P(row.dst).c_str(), 1)});
    EXPECT_EQ(bytes, 0u);
  }
  EXPECT_EQ(Read("d1"), "");  // opened for writing before the source failed
  calls.clear();
  EXPECT_EQ(file_copy(nullptr, P("x").c_str(), 1, nullptr), 0);
  EXPECT_EQ(calls, Strings{Call("fail", "", P("x").c_str(), 1)});
  // A FIFO without a writer is an empty source, not a reason to wait.
  EXPECT_EQ(file_copy(P("fifo").c_str(), P("from_fifo").c_str(), 1, nullptr), 1);
}

TEST_F(FileTest, CopyStoppedByFileSizeLimitKeepsWhatWasWritten) {
  Write("src", std::string(100000, 'z'));
  rlimit old, small;
  getrlimit(RLIMIT_FSIZE, &old);
  small = old;
  small.rlim_cur = 20000;
  auto old_handler = signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  unsigned long bytes = 0;
  const int r = file_copy(P("src").c_str(), P("dst").c_str(), 1, &bytes);
  setrlimit(RLIMIT_FSIZE, &old);
  signal(SIGXFSZ, old_handler);
  EXPECT_EQ(r, 0);
  EXPECT_EQ(bytes, 2u * 8192);  // the whole chunks written before the limit
  EXPECT_EQ(fs::file_size(P("dst")), 20000u);
  EXPECT_EQ(Errors().back(), "Error writing to '" + P("dst") + "', File too large");
  EXPECT_EQ(calls.back(), Call("fail", P("src"), P("dst").c_str(), 1));
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
  EXPECT_EQ(file_move(P("b").c_str(), P("c").c_str(), 0, nullptr), 1);
  EXPECT_EQ(Tree(dir_), (Strings{"c", "test.log"}));
  EXPECT_EQ(Read("c"), "B");
  EXPECT_EQ(file_move(P("gone").c_str(), P("d").c_str(), 1, nullptr), 0);
  // A skipped copy of a non-empty directory leaves a source that cannot go.
  Write("full/x", "x");
  EXPECT_EQ(file_move(P("full").c_str(), P("c").c_str(), 0, nullptr), 0);
  EXPECT_EQ(Errors().back(), "Error removing moved file '" + P("full") + "', Directory not empty");
}

TEST_F(FileTest, TreeCopyCountsFilesAndDirectoriesMade) {
  static const struct {
    const char* wild;
    const char* exclude;
    int recurse, count;
    unsigned long bytes;
    Strings tree;
  } rows[] = {
      {"*",
       "*.tmp",
       1,
       9,
       31,
       {"a.txt", "b.log", "s \xc3\xbc/", "s \xc3\xbc/e", "sub/", "sub/c", "sub/deep/",
        "sub/deep/d"}},
      {"*", "*.tmp", 0, 5, 10, {"a.txt", "b.log", "s \xc3\xbc/", "sub/"}},
      {"*.txt", nullptr, 1, 2, 5, {"a.txt"}},
      {nullptr, "sub,b.log", 1, 5, 16, {"a.txt", "k.tmp", "s \xc3\xbc/", "s \xc3\xbc/e"}},
  };
  for (const char* name : {"a.txt", "b.log", "k.tmp", "sub/c", "sub/deep/d", "s \xc3\xbc/e"}) {
    Write("s/" + std::string(name), name);
  }
  int n = 0;
  for (const auto& row : rows) {
    const std::string out = P("out" + std::to_string(n++) + "/new");
    unsigned long bytes = 0;
    EXPECT_EQ(file_xcopy(P("s").c_str(), row.wild, row.exclude, out.c_str(), row.recurse, &bytes),
              row.count)
        << n;
    EXPECT_EQ(bytes, row.bytes) << n;
    EXPECT_EQ(Tree(out), row.tree) << n;
  }
  EXPECT_TRUE(Errors().empty());
  EXPECT_EQ(file_xcopy(nullptr, "*", nullptr, P("x").c_str(), 1, nullptr), 0);
}

TEST_F(FileTest, ProgressCallbacksComeInOrderAndCanBeSavedAndRestored) {
  Write("s/f", "1");
  EXPECT_EQ(file_xcopy(P("s").c_str(), "*", nullptr, P("n/m").c_str(), 1, nullptr), 2);
  EXPECT_EQ(calls, (Strings{Call("ok", P("n"), nullptr, 1), Call("ok", P("n/m"), nullptr, 1),
                            Call("ok", P("s/f"), P("n/m/f").c_str(), 1)}));
  FSInf saved;
  file_old_setup(&saved);
  EXPECT_TRUE(saved.xok == &on_ok && saved.xfail == &on_fail);
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
  EXPECT_GT(file_xcopy(P("s").c_str(), "*", nullptr, P("s/in").c_str(), 1, nullptr), 2);
  EXPECT_NE(Errors().back().find(", File name too long"), std::string::npos);
}

TEST_F(FileTest, TreeMoveRemovesMovedDirectoriesAndNamesTheTargetOfOneThatStays) {
  for (const char* name : {"a", "keep.cfg", "sub/b", "sub/keep.cfg", "sub2/c"}) {
    Write("m/" + std::string(name), name);
  }
  unsigned long bytes = 0;
  EXPECT_EQ(file_xmove(P("m").c_str(), "*", "keep.cfg", P("out").c_str(), 1, &bytes), 7);
  EXPECT_EQ(bytes, 1u + 5 + 6);
  EXPECT_EQ(Tree(P("m")), (Strings{"keep.cfg", "sub/", "sub/keep.cfg"}));
  EXPECT_EQ(Tree(P("out")), (Strings{"a", "sub/", "sub/b", "sub2/", "sub2/c"}));
  EXPECT_EQ(Errors(), Strings{"Failed to remove moved directory '" + P("out/sub") +
                              "', Directory not empty"});
}

TEST_F(FileTest, MkdirMakesEveryMissingParentAndReportsEach) {
  EXPECT_EQ(file_mkdir(P("a/b/c/").c_str(), 1), 1);
  EXPECT_EQ(file_mkdir((P("x") + "\\y\\z").c_str(), 1), 1);
  Strings made, reported;
  for (const char* rel : {"a", "a/b", "a/b/c", "x", "x/y", "x/y/z"}) {
    EXPECT_TRUE(fs::is_directory(P(rel))) << rel;
    made.push_back("Directory created '" + P(rel) + "'");
    reported.push_back(Call("ok", P(rel), nullptr, 1));
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
  static const struct {
    std::string rel;
    int make_all;
    const char* reason;
  } rows[] = {
      {"plain/x/y", 1, "Not a directory"},
      {"plain", 1, "File exists"},
      {"q/r", 0, "No such file or directory"},
      {std::string(300, 'l'), 1, "File name too long"},
  };
  for (const auto& row : rows) {
    const std::string shown = P(row.rel).substr(0, 255);
    calls.clear();
    EXPECT_EQ(file_mkdir(P(row.rel).c_str(), row.make_all), 0) << row.rel;
    EXPECT_EQ(Errors().back(), "Error creating directory '" + shown + "', " + row.reason);
    EXPECT_EQ(calls, Strings{Call("fail", shown, nullptr, 1)}) << row.rel;
  }
  EXPECT_EQ(Errors().size(), 4u);
  EXPECT_EQ(Tree(dir_), (Strings{"plain", "test.log"}));
}

TEST_F(FileTest, RmdirLeavesExcludedEntriesWithTheirDirectoriesAndCountsTheRest) {
  for (const char* name : {"a", "keep.cfg", "sub/b", "sub/keep.cfg", "other/c"}) {
    Write("r/" + std::string(name), "x");
  }
  EXPECT_EQ(file_rmdir(P("r").c_str(), "keep.cfg", 1), 4);
  EXPECT_EQ(Tree(P("r")), (Strings{"keep.cfg", "sub/", "sub/keep.cfg"}));
  Strings expected;
  for (const char* ok : {"r/a", "r/sub/b", "r/sub", "r/other/c", "r/other", "r/other"}) {
    expected.push_back(Call("ok", P(ok), nullptr, 0));
  }
  for (const char* fail : {"r/sub", "r"}) expected.push_back(Call("fail", P(fail), nullptr, 0));
  std::sort(expected.begin(), expected.end());
  std::sort(calls.begin(), calls.end());
  EXPECT_EQ(calls, expected);
  EXPECT_TRUE(Errors().empty());
}

TEST_F(FileTest, RmdirRemovesLinksWithoutFollowingThemAndLogsNothing) {
  Write("t/precious", "x");
  fs::create_directories(P("r/inner"));
  fs::create_directory_symlink(P("t"), P("r/inner/ln"));
  EXPECT_EQ(file_rmdir(P("t").c_str(), nullptr, 0), 0);
  EXPECT_EQ(file_rmdir(P("r").c_str(), nullptr, 1), 3);
  EXPECT_FALSE(fs::exists(P("r")));
  EXPECT_EQ(Read("t/precious"), "x");
  calls.clear();
  EXPECT_EQ(file_rmdir(P("missing").c_str(), nullptr, 1), 0);
  EXPECT_EQ(calls, Strings{Call("fail", P("missing"), nullptr, 0)});
  EXPECT_TRUE(Errors().empty());
}

TEST_F(FileTest, ModeAndOwnerChanges) {
  Write("f", "x");
  File* f = file_existf(P("f").c_str());
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(file_chmod(f, 0640), 1);
  EXPECT_EQ(fs::status(P("f")).permissions(), static_cast<fs::perms>(0640));
  EXPECT_EQ(file_chown(nullptr, 0, 0) + file_chown(f, -1, 0), 0);
  EXPECT_TRUE(Errors().empty());
  if (geteuid() == 0) {
    EXPECT_EQ(file_chown(f, 33, -1), 1);
    struct stat st;
    ASSERT_EQ(stat(P("f").c_str(), &st), 0);
    EXPECT_EQ(st.st_uid, 33u);
    EXPECT_EQ(st.st_gid, 33u);
  }
  scpy(f->name, P("gone").c_str(), sizeof f->name);
  EXPECT_EQ(file_chmod(f, 0644) + file_chown(f, 33, -1), 0);
  const std::string gone = "'" + P("gone") + "' to ";
  EXPECT_EQ(Errors(), (Strings{"Error changing mode of " + gone + "420, No such file or directory",
                               "Error changing ownership of " + gone +
                                   "uid=33, gid=33, No such file or directory"}));
  file_free(&f);
  if (geteuid() != 0) GTEST_SKIP() << "changing the owner needs root";
}

}  // namespace
}  // namespace inst
