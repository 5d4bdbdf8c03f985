#include "file/file.h"

#include <grp.h>
#include <pwd.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "lib/interrupt.h"
#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

// Every progress callback, as "ok|path|second path or -|mode".
Strings calls;
void Record(const char* kind, const char* a, const char* b, int mode) {
  calls.push_back(std::string(kind) + "|" + str(a) + "|" + (b ? b : "-") + "|" +
                  std::to_string(mode));
}
void on_ok(const char* a, const char* b, int mode) { Record("ok", a, b, mode); }
void on_fail(const char* a, const char* b, int mode) { Record("fail", a, b, mode); }

std::string Joined(const Strings& names) {
  std::string out;
  for (const auto& n : names) out += (out.empty() ? "" : ",") + n;
  return out;
}
std::string Sorted(Strings names) {
  std::sort(names.begin(), names.end());
  return Joined(names);
}

// Everything below root, relative to it; directories end in "/".
std::string Tree(const std::string& root) {
  Strings names;
  for (const auto& e : fs::recursive_directory_iterator(root)) {
    names.push_back(fs::relative(e.path(), root).string() + (e.is_directory() ? "/" : ""));
  }
  return Sorted(names);
}

// The names in dir itself, sorted; links are not followed.
std::string Names(const std::string& dir) {
  Strings names;
  for (const auto& e : fs::directory_iterator(dir)) names.push_back(e.path().filename().string());
  return Sorted(names);
}

class FileTest : public InScratchTest {
 protected:
  void SetUp() override {
    InScratchTest::SetUp();
    if (HasFatalFailure()) return;
    calls.clear();
    file_setup_fn(on_ok, on_fail);
  }
};

TEST_F(FileTest, RecordKeepsTheLinkWhileExistFollowsIt) {
  dir_.Write("t/f", "x");
  fs::create_directory_symlink("t", "ln");
  File* f = file_existf("ln");
  File* copy = file_dup(f);
  file_free(&f);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(std::string(copy->name) + "->" + copy->link, "ln->t");
  file_free(&copy);
  EXPECT_EQ(file_exist("ln"), 2);
  EXPECT_EQ(file_exist("t/f"), 1);
  EXPECT_EQ(file_exist("none"), 0);
  EXPECT_EQ(file_exist(nullptr), 0);
  EXPECT_EQ(LogLines("Debug"), (Strings{"'ln' exists and is a directory",
                                        "'t/f' exists and is a file", "'none' does not exist"}));
}

TEST_F(FileTest, PathsLongerThan255CharactersAreNeverActedOn) {
  // Below a directory of 250 characters "abcd" still fits; "abcde" would be
  // cut to the very name of "abcd" and must not be reported twice.
  const std::string deep(250, 'd');
  dir_.Write(deep + "/abcd", "1");
  dir_.Write(deep + "/abcde", "2");
  // A scan passes such an entry over (see the walk test); a tree copy
  // does not: it is a failed copy.
  EXPECT_EQ(file_xcopy(deep.c_str(), "*", nullptr, "c", 1, nullptr), 2);
  EXPECT_EQ(LogLines("Error"),
            Strings{"Error opening '" + deep + "/abcde' for read, File name too long"});
  EXPECT_EQ(Sorted(calls), "fail|" + deep + "/abcde|-|1,ok|c|-|1,ok|" + deep + "/abcd|c/abcd|1");
  EXPECT_EQ(file_existf((deep + "/abcde").c_str()), nullptr);
  File* f = file_existf((deep + "/abcd").c_str());
  EXPECT_NE(f, nullptr);
  file_free(&f);
  dir_.Write("src/abcde/x", "x");  // its target there would be cut to the file abcd
  EXPECT_EQ(file_xcopy("src", "*", nullptr, deep.c_str(), 0, nullptr), 0);
  // A tree copied into itself ends where the names no longer fit.
  dir_.Write("s/f", "1");
  EXPECT_GT(file_xcopy("s", "*", nullptr, "s/in", 1, nullptr), 2);
  EXPECT_NE(LogLines("Error").back().find(", File name too long"), std::string::npos);
}

TEST_F(FileTest, NameSplitsAtTheLastSeparatorAndIsCutToTheBuffer) {
  static const struct {
    const char *name, *filename, *path;
    int size;
  } rows[] = {
      {"/a/b/c.txt", "c.txt", "/a/b", 256}, {"c.txt", "c.txt", "c.txt", 256},
      {"a/b\\c", "c", "a/b", 256},          {"/x", "x", "", 256},
      {"/abc/defg", "def", "/ab", 4},
  };
  for (const auto& row : rows) {
    File f;
    scpy(f.name, row.name, sizeof f.name);
    char buf[256] = "junk";
    EXPECT_STREQ(file_filename(&f, buf, row.size), row.filename) << row.name;
    EXPECT_STREQ(file_path(&f, buf, row.size), row.path) << row.name;
  }
  EXPECT_EQ(file_filename(nullptr, nullptr, 0), nullptr);
}

TEST_F(FileTest, UserAndGroupLookupsReadTheirOwnFields) {
  for (auto lookup : {file_getuid, file_getgid, file_usergid}) {
    EXPECT_EQ(lookup("no-such-user-here") + lookup("") + lookup(nullptr), -3);
  }
  // "man" is a user whose group number differs from its own; "adm" is only a group.
  const passwd* man = getpwnam("man");
  const group* adm = getgrnam("adm");
  if (man == nullptr || adm == nullptr) GTEST_SKIP() << "needs the user man and the group adm";
  EXPECT_EQ(file_getuid("man"), static_cast<int>(man->pw_uid));
  EXPECT_EQ(file_usergid("man"), static_cast<int>(man->pw_gid));
  EXPECT_EQ(file_getgid("adm"), static_cast<int>(adm->gr_gid));
}

TEST_F(FileTest, ErrorTextIsCutAndAlwaysCarriesTheSystemText) {
  errno = 0;
  file_error("plain %d", 7);
  errno = ENOENT;
  file_error("%s", std::string(1500, 'x').c_str());
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(LogLines("Error"), (Strings{"plain 7, Success", std::string(999, 'x')}));
}

TEST_F(FileTest, CopyReplacesTheTargetCountsEveryByteAndReportsOnce) {
  unsigned long bytes = 7, total = 7;
  for (size_t size : {0, 1, 8192, 8193, (1 << 20) + 3}) {
    std::string text;
    for (size_t i = 0; i < size; ++i) text += static_cast<char>(i * 31 + i / 8192);
    dir_.Write("src", text);
    dir_.Write("dst", "older and longer than some sources");
    calls.clear();
    EXPECT_EQ(file_copy("src", "dst", 1, &bytes), 1) << size;
    EXPECT_EQ(bytes, total += size) << size;
    EXPECT_TRUE(dir_.Read("dst") == text) << size;
    EXPECT_EQ(calls, Strings{"ok|src|dst|1"});
  }
  // A replaced file keeps its mode and owner; a link is replaced, not
  // written through; a new file gets the default mode. No temporary file
  // stays behind.
  dir_.Write("victim", "secret");
  fs::create_symlink("victim", "link");
  chmod("dst", 0604);
  if (geteuid() == 0) {
    ASSERT_EQ(chown("dst", 33, 34), 0);
  }
  EXPECT_EQ(file_copy("src", "dst", 1, nullptr) + file_copy("src", "link", 1, nullptr) +
                file_copy("src", "new", 1, nullptr),
            3);
  struct stat st = {};
  stat("dst", &st);
  EXPECT_EQ(st.st_mode & 07777, 0604u);
  if (geteuid() == 0) {
    EXPECT_EQ(std::to_string(st.st_uid) + ":" + std::to_string(st.st_gid), "33:34");
  }
  EXPECT_TRUE(dir_.Read("link") == dir_.Read("src") && !fs::is_symlink("link"));
  EXPECT_EQ(dir_.Read("victim"), "secret");
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(fs::status("new").permissions(), static_cast<fs::perms>(0666 & ~mask));
  EXPECT_EQ(Names("."), "dst,link,new,src,test.log,victim");
  // Without overwrite an existing target is kept, uncounted and unreported.
  calls.clear();
  dir_.Write("dst", "old");
  EXPECT_EQ(file_copy("src", "dst", 0, &bytes), -1);
  EXPECT_EQ(dir_.Read("dst") + std::to_string(bytes - total), "old0");
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(file_copy("dst", "fresh", 0, nullptr), 1);
  EXPECT_TRUE(LogLines("Error").empty());
}

TEST_F(FileTest, CopyFailuresLogTheirTextAndCallFailOnce) {
  fs::create_directory("adir");
  dir_.Write("src", "data");
  dir_.Write("d1", "old");
  mkfifo("fifo", 0600);
  fs::create_symlink("src", "same");
  fs::create_symlink("fifo", "to_fifo");
  static const struct {
    const char *src, *dst, *error;
  } rows[] = {
      {"missing", "d1", "Error opening 'missing' for read, No such file or directory"},
      {"adir", "d1", "Error reading from 'adir', Is a directory"},
      {"src", "no/dst", "Error opening 'no/dst' for write, No such file or directory"},
      {"src", "adir", "Error opening 'adir' for write, Is a directory"},
      {"src", "fifo", "Error opening 'fifo' for write, No such device or address"},
      {"to_fifo", "d1", "Refusing to read 'to_fifo', not a regular file, Invalid argument"},
      {"/dev/zero", "d1", "Refusing to read '/dev/zero', not a regular file, Invalid argument"},
      {"src", "same", "Refusing to copy 'src' onto the same file 'same', Invalid argument"},
      {"d1", "d1", "Refusing to copy 'd1' onto the same file 'd1', Invalid argument"},
  };
  for (const auto& row : rows) {
    calls.clear();
    EXPECT_EQ(file_copy(row.src, row.dst, 1, nullptr), 0) << row.error;
    EXPECT_EQ(LogLines("Error").back(), row.error);
    EXPECT_EQ(calls, Strings{"fail|" + std::string(row.src) + "|" + row.dst + "|1"});
  }
  // Nothing was written for any of them.
  EXPECT_EQ(dir_.Read("d1") + dir_.Read("src"), "olddata");
  EXPECT_EQ(Names("."), "adir,d1,fifo,same,src,test.log,to_fifo");
  // The callbacks can be put aside and restored; a null source is reported.
  FSInf saved;
  file_old_setup(&saved);
  file_setup_fn(nullptr, nullptr);
  EXPECT_EQ(file_copy("none", "x", 1, nullptr), 0);
  file_setup(nullptr);
  file_setup(&saved);
  calls.clear();
  EXPECT_EQ(file_copy(nullptr, "x", 1, nullptr), 0);
  EXPECT_EQ(calls, Strings{"fail||x|1"});
}

TEST_F(FileTest, CopyStoppedByFileSizeLimitOrSignalLeavesTheTargetAsItWas) {
  dir_.Write("src", std::string(100000, 'z'));
  dir_.Write("dst", "old");
  chmod("dst", 0640);
  rlimit old;
  getrlimit(RLIMIT_FSIZE, &old);
  const rlimit small = {20000, old.rlim_max};
  auto old_handler = signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &small);
  unsigned long bytes = 0;
  const int r = file_copy("src", "dst", 1, &bytes);
  setrlimit(RLIMIT_FSIZE, &old);
  signal(SIGXFSZ, old_handler);
  EXPECT_EQ(r, 0);
  EXPECT_EQ(bytes, 2u * 8192);  // the whole chunks written before the limit
  EXPECT_EQ(LogLines("Error").back(), "Error writing to 'dst', File too large");
  // A recorded signal stops the next copy before its first chunk.
  interrupt_arm();
  raise(SIGTERM);
  EXPECT_EQ(file_copy("src", "dst", 1, nullptr) + file_copy("src", "new", 1, nullptr), 0);
  EXPECT_EQ(errno, EINTR);
  interrupt_disarm();
  interrupt_clear();
  EXPECT_EQ(calls, (Strings{"fail|src|dst|1", "fail|src|dst|1", "fail|src|new|1"}));
  EXPECT_EQ(LogLines("Error").size(), 1u);
  EXPECT_EQ(Names(".") + " " + dir_.Read("dst"), "dst,src,test.log old");
  EXPECT_EQ(fs::status("dst").permissions(), static_cast<fs::perms>(0640));
}

TEST_F(FileTest, TreeCopyCountsFilesAndDirectoriesMade) {
  static const struct {
    const char *wild, *exclude, *tree;
    int recurse, count;
    unsigned long bytes;
  } rows[] = {
      {"*", "*.tmp", "a.txt,b.log,sub/,sub/c,sub/deep/,sub/deep/d,t/,t/e", 1, 9, 28},
      {"*", "*.tmp", "a.txt,b.log,sub/,t/", 0, 5, 10},
      {"*.txt", nullptr, "a.txt", 1, 2, 5},
      {"s*", nullptr, "sub/,sub/c,sub/deep/,sub/deep/d", 1, 5, 15},  // names inside need not match
      {nullptr, "sub,b.log", "a.txt,k.tmp,t/,t/e", 1, 5, 13},
  };
  for (const char* name : {"a.txt", "b.log", "k.tmp", "sub/c", "sub/deep/d", "t/e"}) {
    dir_.Write("s/" + std::string(name), name);
  }
  for (const auto& row : rows) {
    const std::string out = std::to_string(&row - rows) + "/new";
    unsigned long bytes = 0;
    EXPECT_EQ(file_xcopy("s", row.wild, row.exclude, out.c_str(), row.recurse, &bytes), row.count)
        << row.tree;
    EXPECT_EQ(bytes, row.bytes) << row.tree;
    EXPECT_EQ(Tree(out), row.tree);
  }
  EXPECT_TRUE(LogLines("Error").empty());
  EXPECT_EQ(file_xcopy(nullptr, "*", nullptr, "x", 1, nullptr), 0);
}

TEST_F(FileTest, MovesRemoveTheSourceEvenAfterASkippedCopy) {
  dir_.Write("a", "A");
  dir_.Write("b", "B");
  EXPECT_EQ(file_move("a", "b", 0, nullptr) + file_move("b", "c", 0, nullptr), 2);
  EXPECT_EQ(Tree(".") + " " + dir_.Read("c"), "c,test.log B");
  EXPECT_EQ(file_move("gone", "d", 1, nullptr), 0);
  // A skipped copy of a non-empty directory leaves a source that cannot go.
  dir_.Write("full/x", "x");
  EXPECT_EQ(file_move("full", "c", 0, nullptr), 0);
  // A tree move removes the directories it empties and names the target of
  // one that stays.
  for (const char* name : {"a", "keep.cfg", "sub/b", "sub/keep.cfg", "sub2/c"}) {
    dir_.Write("m/" + std::string(name), name);
  }
  unsigned long bytes = 0;
  EXPECT_EQ(file_xmove("m", "*", "keep.cfg", "out", 1, &bytes), 7);
  EXPECT_EQ(bytes, 1u + 5 + 6);
  EXPECT_EQ(Tree("m") + " " + Tree("out"), "keep.cfg,sub/,sub/keep.cfg a,sub/,sub/b,sub2/,sub2/c");
  EXPECT_EQ(LogLines("Error"),
            (Strings{"Error opening 'gone' for read, No such file or directory",
                     "Error removing moved file 'full', Directory not empty",
                     "Failed to remove moved directory 'out/sub', Directory not empty"}));
}

TEST_F(FileTest, MkdirMakesEveryMissingParentAndReportsEachOutcomeOnce) {
  dir_.Write("plain", "x");
  const std::string cut(255, 'l');
  const struct {
    std::string dir;
    int make_all;
    std::string calls;  // the callbacks, in order; made when none failed
  } rows[] = {
      {"a/", 0, "ok|a|-|1"},
      {"a/b/c", 1, "ok|a/b|-|1,ok|a/b/c|-|1"},
      {"x\\y", 1, "ok|x|-|1,ok|x/y|-|1"},
      {"a/b/c", 1, ""},  // "already exists" counts, whatever stands there
      {"plain/", 1, ""},
      {"plain/x/y", 1, "fail|plain/x/y|-|1"},
      {"q/r", 0, "fail|q/r|-|1"},
      {"c:/x", 1, "fail|c:/x|-|1"},  // "c:" is taken for a drive
      {std::string(300, 'l'), 1, "fail|" + cut + "|-|1"},
  };
  for (const auto& row : rows) {
    calls.clear();
    EXPECT_EQ(file_mkdir(row.dir.c_str(), row.make_all), row.calls.rfind("fail", 0) != 0)
        << row.dir;
    EXPECT_EQ(Joined(calls), row.calls) << row.dir;
  }
  EXPECT_EQ(Tree("."), "a/,a/b/,a/b/c/,plain,test.log,x/,x/y/");
  EXPECT_EQ(LogLines("Debug"), (Strings{"Directory created 'a'", "Directory created 'a/b'",
                                        "Directory created 'a/b/c'", "Directory created 'x'",
                                        "Directory created 'x/y'"}));
  EXPECT_EQ(LogLines("Error"),
            (Strings{"Error creating directory 'plain/x/y', Not a directory",
                     "Error creating directory 'q/r', No such file or directory",
                     "Error creating directory 'c:/x', No such file or directory",
                     "Error creating directory '" + cut + "', File name too long"}));
}

TEST_F(FileTest, RmdirLeavesExcludedEntriesAndNeverFollowsLinks) {
  for (const char* name : {"r/a", "r/k/keep.cfg", "r/sub/b", "r/sub/keep.cfg", "r/o/c", "t/f"}) {
    dir_.Write(name, "x");
  }
  fs::create_directory_symlink("../../t", "r/o/ln");
  EXPECT_EQ(file_rmdir("t", nullptr, 0), 0);
  EXPECT_EQ(file_rmdir("r", "keep.cfg", 1), 5);
  EXPECT_EQ(file_rmdir("missing", nullptr, 1), 0);
  EXPECT_EQ(Tree("r") + " " + dir_.Read("t/f"), "k/,k/keep.cfg,sub/,sub/keep.cfg x");
  // A directory that stays is reported as failed by its own removal; its
  // parent's removal reports it done when some of its entries went.
  EXPECT_EQ(Sorted(calls),
            "fail|missing|-|0,fail|r/k|-|0,fail|r/k|-|0,fail|r/sub|-|0,fail|r|-|0,fail|t|-|0,"
            "ok|r/a|-|0,ok|r/o/c|-|0,ok|r/o/ln|-|0,ok|r/o|-|0,ok|r/o|-|0,ok|r/sub/b|-|0,"
            "ok|r/sub|-|0");
  EXPECT_TRUE(LogLines("Error").empty());
}

// Every entry of a walk and of a scan of dir for wild, in order, as its
// path and "/" for a directory or "@" for a link; below each directory
// what it holds.
std::string Walked(DirWalk* walk) {
  std::string out;
  while (walk->next()) {
    out += walk->path() + std::string(walk->is_dir() ? "/" : walk->is_link() ? "@" : "") + ",";
    if (walk->is_dir()) {
      DirWalk below(walk, true);
      out += Walked(&below);
    }
  }
  return out;
}
std::string Walked(const std::string& dir, const char* wild) {
  DirWalk walk(dir.c_str(), wild, true);
  return Walked(&walk);
}
std::string Scanned(const std::string& dir, const char* wild) {
  std::string out;
  FHandle* handle = nullptr;
  File* f = file_first(&handle, dir.c_str(), wild);
  for (bool more = f; more; more = file_next(f, handle)) {
    const mode_t mode = f->info.st_mode;
    out += f->name + std::string(S_ISDIR(mode) ? "/" : S_ISLNK(mode) ? "@" : "") + ",";
    if (S_ISDIR(f->info.st_mode)) out += Scanned(f->name, "*");
  }
  file_free(&f);
  file_last(&handle);
  return out;
}

// The entries of a list Walked or Scanned made, sorted.
std::string SortedEntries(const std::string& list) {
  Strings names;
  for (size_t at = 0, comma; (comma = list.find(',', at)) != std::string::npos; at = comma + 1) {
    names.push_back(list.substr(at, comma - at));
  }
  return Sorted(names);
}

TEST_F(FileTest, WalkYieldsWhatAScanYieldsWhetherOrNotTheReadGivesTypes) {
  const std::string deep(250, 'd');
  // A name ending in "/" makes a directory. The scan names "a\b/x" and
  // "s/x\y" by paths where '\' became '/': "a/b/x" and the directory "s/x/y".
  for (const std::string& name : Strings{"d/a.txt", "d/b.TXT", "d/.h.txt", "d/sub/c.txt", "shut/f",
                                         "shut/g/", "a\\b/x", "a\\b/only", "a/b/x", deep + "/abcd",
                                         deep + "/abcde", "s/x\\y", "s/x/y/", "s/x\\z", "empty/"}) {
    dir_.Write(name, "");
  }
  fs::create_directory_symlink("sub", "d/ln");
  fs::create_symlink("a.txt", "d/fl");
  fs::create_directory("d/locked");
  chmod("d/locked", 0);
  chmod("shut", 0644);  // names can be read, their status cannot
  chmod(".", 0755);
  // Names match case-sensitively, links are not followed, and below a
  // directory of 250 characters "abcd" still fits while "abcde" would be
  // cut to the very name of "abcd" and is passed over.
  const struct {
    std::string dir;
    const char* wild;
    std::string entries;  // sorted
  } rows[] = {
      {"d", "*", "d/.h.txt,d/a.txt,d/b.TXT,d/fl@,d/ln@,d/locked/,d/sub/,d/sub/c.txt"},
      {"d/", "*.txt", "d/.h.txt,d/a.txt"},
      {"d/sub/", "c.txt", "d/sub/c.txt"},
      {"shut", "*", ""},
      {"a\\b", "*", "a/b/x"},
      {"s", "x?*", "s/x/y/"},
      {"missing", "*", ""},
      {"empty", "*", ""},
      {deep, "*", deep + "/abcd"},
  };
  // Root passes over permissions, so the walks run as nobody.
  const bool root = geteuid() == 0;
  for (int unknown : {0, 1}) {
    file_walk_types_unknown(unknown);
    if (root && seteuid(65534) != 0) FAIL() << "cannot become nobody";
    for (const auto& row : rows) {
      const std::string scanned = Scanned(row.dir, row.wild);
      EXPECT_EQ(Walked(row.dir, row.wild), scanned) << row.dir << " " << unknown;
      EXPECT_EQ(SortedEntries(scanned), row.entries) << row.dir;
    }
    if (root && seteuid(0) != 0) abort();
  }
  EXPECT_EQ(file_walk_types_unknown(0), 1);
  // Failures to open are logged by the walk as by the scan, twice each.
  EXPECT_EQ(Sorted(LogLines("Error")),
            Joined(Strings(4, "Error opening dir 'd/locked', Permission denied")) + "," +
                Joined(Strings(4, "Error opening dir 'missing', No such file or directory")));
}

TEST_F(FileTest, ModeAndOwnerChangesNameTheirFailures) {
  dir_.Write("f", "x");
  File f;
  scpy(f.name, "f", sizeof f.name);
  EXPECT_EQ(file_chmod(&f, 0640), 1);
  EXPECT_EQ(fs::status("f").permissions(), static_cast<fs::perms>(0640));
  EXPECT_EQ(file_chown(nullptr, 0, 0) + file_chown(&f, -1, 0), 0);
  if (geteuid() == 0) {  // changing the owner needs root
    EXPECT_EQ(file_chown(&f, 33, -1), 1);
    struct stat st = {};
    stat("f", &st);
    EXPECT_EQ(std::to_string(st.st_uid) + "," + std::to_string(st.st_gid), "33,33");
  }
  scpy(f.name, "gone", sizeof f.name);
  EXPECT_EQ(file_chmod(&f, 0644) + file_chown(&f, 33, -1), 0);
  EXPECT_EQ(LogLines("Error"),
            (Strings{"Error changing mode of 'gone' to 420, No such file or directory",
                     "Error changing ownership of 'gone' to uid=33, gid=33, No such file or "
                     "directory"}));
}

}  // namespace
}  // namespace inst
