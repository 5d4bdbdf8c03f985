#include "copy/copy.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "ini/ini.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

// Everything below root, sorted; directories end in "/".
std::string Tree(const std::string& root) {
  Strings names;
  std::error_code ignored;
  for (const auto& e : fs::recursive_directory_iterator(root, ignored)) {
    names.push_back(fs::relative(e.path(), root).string() + (e.is_directory() ? "/" : ""));
  }
  std::sort(names.begin(), names.end());
  std::string out;
  for (const auto& n : names) out += (out.empty() ? "" : ",") + n;
  return out;
}

// The permission bits, or owner and group as "uid:gid".
int Mode(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 ? static_cast<int>(st.st_mode & 07777) : -1;
}
std::string Owner(const std::string& path) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) return "none";
  return std::to_string(st.st_uid) + ":" + std::to_string(st.st_gid);
}

// A small tmpfs mounted at a fresh directory, unmounted at the end; ok() is
// false where mounting is not permitted.
class Mount {
 public:
  explicit Mount(const std::string& path) : path_(path) {
    fs::create_directories(path);
    ok_ = mount("none", path.c_str(), "tmpfs", 0, "size=64k") == 0;
  }
  ~Mount() {
    if (ok_) umount2(path_.c_str(), MNT_DETACH);
  }
  bool ok() const { return ok_; }
  bool ReadOnly() {
    return mount(nullptr, path_.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
  }

 private:
  std::string path_;
  bool ok_ = false;
};

bool Logged(const Strings& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

int failures = 0;
void CountFailure(const char*, const char*, int) { ++failures; }

// Works inside the scratch directory with a store holding "dir" (out),
// "yes", "no", "owner" (a reference kept for execution time) and "big"
// (9500 characters).
class CopyTest : public LoggedTest {
 protected:
  void SetUp() override {
    LoggedTest::SetUp();
    if (HasFatalFailure()) return;
    home_ = fs::current_path();
    fs::current_path(dir_.root());
    static const std::string big(9500, 'b');
    const SettingList settings[] = {{"dir", "out", Ini_None},     {"yes", "yes", Ini_None},
                                    {"no", "no", Ini_None},       {"owner", "$(user)", Ini_None},
                                    {"user", "daemon", Ini_None}, {"big", big.c_str(), Ini_None},
                                    {"flag", nullptr, Ini_None},  {nullptr, nullptr, Ini_None}};
    ini_setup(ini_, settings, nullptr, 1);
    file_setup_fn(nullptr, nullptr);
  }
  void TearDown() override {
    copy_free(&copy_);
    ini_free(&ini_);
    if (!home_.empty()) fs::current_path(home_);
    LoggedTest::TearDown();
  }
  int Load(const std::string& text, const char* section = "install") {
    dir_.Write("install.cpy", text);
    return copy_load(copy_, "install.cpy", section);
  }
  // Loads the one command line and runs it.
  int Do(const std::string& line) {
    Load("[install]\n" + line + "\n");
    return copy_do(copy_, 0, nullptr);
  }
  // Every loaded record as "type|source|not|dest|control|control_cmp", "~"
  // for an absent field, joined by ";".
  std::string Records() {
    std::string out;
    for (int i = 0; i < copy_count(copy_); ++i) {
      out += (i ? ";" : "") + std::to_string(copy_->list[i].type);
      for (const char* f : {copy_src(copy_, i), copy_not(copy_, i), copy_dst(copy_, i),
                            copy_control(copy_, i), copy_control_cmp(copy_, i)}) {
        out += std::string("|") + (f ? f : "~");
      }
    }
    return out;
  }

  fs::path home_;
  Ini* ini_ = ini_init();
  Copy* copy_ = copy_init(ini_);
};

TEST_F(CopyTest, LoaderSelectsTheSectionAndTakesEachTypesFields) {
  const std::string long_line = "MkDir " + std::string(1200, 'a');
  static const struct {
    std::string text;
    int result;
    std::string records;
  } rows[] = {
      {"[INSTALL]\nMkDir a\n", 1, "260|a|~|~|~|~"},
      {"[install\nMkDir a\n", 1, "260|a|~|~|~|~"},
      {"[install] x\nMkDir a\n", 0, ""},
      {"MkDir a\n", 0, ""},
      {"[install]\n[other]\nMkDir a\n", 1, ""},
      {"[install]\nMkDir a\n[other]\nMkDir b\n[install]\nMkDir c\n", 1, "260|a|~|~|~|~"},
      {" # note\n\n[install]\n  #MkDir x\n\t MkDir  a  # b \r\n", 1, "260|a|~|~|#|b"},
      {"[install]\nCopyFile src\nCopyFile\nRmFile /tmp/*.bak -\n", 1, "513|/tmp/*.bak|~|~|~|~"},
      {"[install]\nError setting  Disk  full\nError flag\n", 1,
       "4096|setting|~| Disk  full|~|~;4096|flag|~|~|~|~"},
      {"[install]\nFrobnicate a b c d e f\n", 1, "0|a|b|c|d|e"},
      {"[install]\nchmod $(dir)/* $(dir) $(dir)$(nosuch)x $(dir) $(no)\n", 1,
       "2049|out/*|$(dir)|outx|$(dir)|$(no)"},
      {"[install]\nCopyDir /opt/$(nosuch)/bin - /$(dir\n", 1, "258|/opt//bin|~|/$(dir|~|~"},
      {"[install]\n" + long_line + "\n", 1, "260|" + std::string(993, 'a') + "|~|~|~|~"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(Load(row.text), row.result);
    EXPECT_EQ(Records(), row.records);
  }
  // Without a store nothing is substituted and "-" stays.
  Copy* bare = copy_init(nullptr);
  dir_.Write("bare.cpy", "[install]\nRmDir $(dir)/x -\n");
  EXPECT_EQ(copy_load(bare, "bare.cpy", "install"), 1);
  EXPECT_STREQ(copy_src(bare, 0), "$(dir)/x");
  EXPECT_STREQ(copy_not(bare, 0), "-");
  copy_free(&bare);
}

TEST_F(CopyTest, LoaderLogsEachMissingFieldAndUnknownKeyword) {
  EXPECT_EQ(Load("[install]\nCopyFile src\nCopyFile\nExist a\nFrobnicate\n\x01\xff z\n"), 1);
  EXPECT_EQ(copy_count(copy_), 0);
  EXPECT_EQ(
      LogLines("Error"),
      (Strings{"Missing not wildcard", "Missing copy destination path", "Missing copy source path",
               "Missing not wildcard", "Missing copy destination path",
               "Missing copy destination path", "Unknown copy type 'Frobnicate'",
               "Missing copy source path", "Missing not wildcard", "Missing copy destination path",
               "Unknown copy type '\x01\xff'", "Missing not wildcard",
               "Missing copy destination path"}));
  EXPECT_EQ(copy_load(copy_, "missing.cpy", "install"), 0);
  EXPECT_EQ(LogLines("Error").back(), "Error opening 'missing.cpy', No such file or directory");
}

TEST_F(CopyTest, ExpanderIsSingleLevelExactAndCut) {
  static const struct {
    std::string text, expected;
  } rows[] = {
      {"$(dir)/bin", "out/bin"},
      {"a$(unknown)b", "ab"},
      {"$(DIR)/bin", "/bin"},
      {"$(owner)", "$(user)"},
      {"$(flag)x", "x"},
      {"$(dir)$(dir", "out$(dir"},
      {"no reference", "(null)"},
      {"$(big)", std::string(8999, 'b')},
      {"$(big)$(big)", std::string(9999, 'b')},
      {"$(dir)" + std::string(9500, 't'), "out" + std::string(8999, 't')},
  };
  for (const auto& row : rows) {
    std::unique_ptr<char[]> out(replace_vars(copy_, row.text.c_str()));
    EXPECT_EQ(out ? std::string(out.get()) : "(null)", row.expected) << row.text.substr(0, 20);
  }
  EXPECT_EQ(replace_vars(nullptr, "$(dir)"), nullptr);
}

TEST_F(CopyTest, PathSplittersFollowTheLastSeparator) {
  char cwd[kPathSize];
  currentdir(cwd, kPathSize);
  static const struct {
    const char *text, *src_path, *src_file, *dst_file;
  } rows[] = {
      {"file.txt", nullptr, "file.txt", "(null)"},
      {"/opt/a*", "/opt/", "a*", "a*"},
      {"/opt/", "/opt/", "*", "(null)"},
      {"a/b\\c", "a/b\\", "c", "c"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    Load(std::string("[install]\nCopyFile ") + row.text + " - " + row.text + "\n");
    char buffer[kPathSize];
    const std::string path = row.src_path ? row.src_path : cwd;
    EXPECT_EQ(str(copy_src_path(copy_, 0, buffer, kPathSize)), path);
    EXPECT_EQ(str(copy_dst_path(copy_, 0, buffer, kPathSize)), path);
    EXPECT_STREQ(copy_src_file(copy_, 0, buffer, kPathSize), row.src_file);
    const char* dst_file = copy_dst_file(copy_, 0, buffer, kPathSize);
    EXPECT_STREQ(dst_file ? dst_file : "(null)", row.dst_file);
  }
  char small[4];
  EXPECT_STREQ(copy_src_path(copy_, 0, small, sizeof small), "a/b");
  EXPECT_EQ(copy_src_path(copy_, 1, small, sizeof small), nullptr);
  EXPECT_EQ(copy_src(nullptr, 0), nullptr);
  EXPECT_EQ(copy_cpyfile(copy_, 0) + copy_cpydir(copy_, 0) + copy_cpyfile(copy_, 7), 1);
}

TEST_F(CopyTest, ControlSettingGatesTheCommand) {
  ini_add_name(ini_, "flag", "Apache");
  static const struct {
    const char* fields;
    int result;
  } rows[] = {
      {"", 1},        {"nosuch", 1},      {"yes", 1},           {"no", -1},
      {"flag", -1},   {"flag APACHE", 1}, {"flag apache2", -1}, {"flag flag", 1},
      {"no dir", -1}, {"dir dir", 1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Do(std::string("Exist x seen ") + row.fields), row.result) << row.fields;
  }
  const Strings debug = LogLines("Debug");
  EXPECT_EQ(std::count(debug.begin(), debug.end(), "Doing nothing due to controlling setting"), 4);
}

TEST_F(CopyTest, RunCountsSuccessesAndStopsOnFailureWhenAsked) {
  Load("[install]\nMkDir a\nExist a seen no\nRmFile nothing* -\nMkDir b\n");
  for (int stop : {1, 0}) {
    unsigned long files = 99, bytes = 99;
    EXPECT_EQ(copy_process(copy_, &files, &bytes, stop), 1 - stop);
    EXPECT_EQ(files, stop ? 1u : 2u);
    EXPECT_EQ(bytes, 0u);
    EXPECT_EQ(LogLines("Info").back(),
              stop ? "Stop on fail set, stopping..." : "Copy script completed successfully");
  }
  EXPECT_EQ(copy_process(nullptr, nullptr, nullptr, 1), 0);
  EXPECT_EQ(copy_do(copy_, 4, nullptr), 0);
}

TEST_F(CopyTest, CopyAndRemoveCommandsSelectByWildcardAndBaseName) {
  static const struct {
    const char* line;
    int result;
    const char* tree;  // of "www" afterwards
  } rows[] = {
      {"CopyFile src/* skip,*.LOG www/*", 4,
       "a.txt,b.txt,one/,one/a.txt,one/b.txt,skip/,two/,two/a.txt,two/b.txt"},
      {"CopyDir src/* *.log www/skip", 4,
       "a.txt,b.txt,one/,skip/,skip/a.txt,skip/b.txt,skip/sub/,skip/sub/d.txt,two/"},
      {"CopyFile src/none* - www/one", 0, "a.txt,b.txt,one/,skip/,two/"},
      {"CopyFile src/a.txt - www/", 0, "a.txt,b.txt,one/,skip/,two/"},
      {"CopyFile src/a.txt - www/a.txt", 0, "a.txt,b.txt,one/,skip/,two/"},
      {"MkDir www/new/deep", 1, "a.txt,b.txt,new/,new/deep/,one/,skip/,two/"},
      {"MkDir www/a.txt/x", 0, "a.txt,b.txt,one/,skip/,two/"},
      {"RmFile www/* b.txt", 1, "b.txt,one/,skip/,two/"},
      {"RmDir www/* ONE", 4, "one/"},
      {"RmDir www/ -", 5, ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    fs::remove_all("www");
    for (const char* f : {"src/a.txt", "src/b.txt", "src/c.log", "src/sub/d.txt", "www/a.txt",
                          "www/b.txt", "www/one/", "www/two/", "www/skip/"}) {
      dir_.Write(f, f);  // a name ending in "/" makes a directory
    }
    EXPECT_EQ(Do(row.line), row.result);
    EXPECT_EQ(Tree("www"), row.tree);
  }
  EXPECT_EQ(LogLines("Info"), (Strings{"No files found to copy in 'src/' matching 'none*'"}));
  EXPECT_EQ(LogLines("Error"),
            (Strings{"No destination directories found", "No destination directories found",
                     "Error creating directory 'www/a.txt/x', Not a directory",
                     "No destination directories found, Not a directory"}));
}

TEST_F(CopyTest, IniTemplateKeepsIndentOnlyWithoutReferences) {
  const std::string wide(3500, 'w');
  dir_.Write("t.ini", "  plain  \n\t  key=$(dir)/x  \n$(nosuch)y\n\n" + wide + "\n");
  ASSERT_EQ(Do("Ini t.ini out.ini"), 1);
  EXPECT_EQ(dir_.Read("out.ini"),
            "  plain\nkey=out/x\ny\n\n" + wide.substr(0, 2999) + "\n" + wide.substr(2999) + "\n");
  EXPECT_EQ(LogLines("Info"), Strings{"Writing INI file 't.ini' to 'out.ini'"});
  // A missing template leaves the destination created and empty; a
  // directory as template cannot be read to its end.
  for (const char* tmpl : {"none.ini", "src"}) {
    fs::create_directory("src");
    dir_.Write("out.ini", "old");
    EXPECT_EQ(Do(std::string("Ini ") + tmpl + " out.ini"), 0);
    EXPECT_EQ(copy_write_ini(copy_, 0), 0);
    EXPECT_EQ(dir_.Read("out.ini"), "");
  }
  EXPECT_EQ(Do("Ini t.ini no/out.ini"), 0);
  const Strings errors = LogLines("Error");
  for (const char* line : {"Error reading ini file 'none.ini', No such file or directory",
                           "Error reading ini file 'src', Is a directory",
                           "Error creating ini file 'no/out.ini', No such file or directory"}) {
    EXPECT_TRUE(Logged(errors, line)) << line;
  }
}

TEST_F(CopyTest, SingleActionCommandsChangeFilesAndSettings) {
  dir_.Write("a", "A");
  dir_.Write("keep", "text");
  static const struct {
    const char* line;
    int result;
  } rows[] = {
      {"Rename a b", 1},
      {"Rename a c", 0},
      {"Exist b seen", 1},
      {"Exist a gone", 1},
      {"Exist . here", 1},
      {"Error yes Not shown", 1},
      {"Error nosuch Not shown", 1},
      {"Error no  Disk  full", 0},
      {"WFile w1 dir", 1},
      {"WFile w2 literal", 1},
      {"WFile none/w dir", 0},
      {"RFile keep dir", 1},
      {"RFile none/r dir", 0},
      {"Frobnicate x y z", 0},
  };
  for (const auto& row : rows) EXPECT_EQ(Do(row.line), row.result) << row.line;
  EXPECT_EQ(Tree("."), "b,install.cpy,keep,test.log,w1,w2");
  EXPECT_STREQ(ini_value_name(ini_, "seen"), "true");
  EXPECT_STREQ(ini_value_name(ini_, "gone"), "false");
  EXPECT_STREQ(ini_value_name(ini_, "here"), "true");
  EXPECT_STREQ(copy_error(), " Disk  full");
  EXPECT_EQ(dir_.Read("w1") + dir_.Read("w2") + dir_.Read("keep"), "outliteral");
  EXPECT_STREQ(ini_value_name(ini_, "dir"), "out");
  EXPECT_EQ(LogLines("Error"),
            (Strings{"Error renaming 'a'->'c', , No such file or directory",
                     "No destination directories found, No such file or directory", " Disk  full",
                     "Failed to write (none/w), No such file or directory",
                     "Failed to read (none/r), No such file or directory",
                     "Unknown copy type 'Frobnicate'", "How did we get here!"}));
}

TEST_F(CopyTest, ChmodWalksDepthFirstWithFullPathExclusions) {
  static const struct {
    const char* line;
    int result;
    int x_mode;  // of app/x.conf afterwards
    int y_mode;  // of app/sub/y
  } rows[] = {
      {"Chmod app/* - 700", 5, 0700, 0700},      {"Chmod app/* *.conf 700", 3, 0644, 0700},
      {"Chmod app/* x.conf 700", 5, 0700, 0700}, {"Chmod app/x.conf - 0640", 1, 0640, 0644},
      {"Chmod app/x.conf - 9", 1, 011, 0644},    {"Chmod app/x.conf - abc", 1, 07003, 0644},
      {"Chmod app/none - 700", 0, 0644, 0644},   {"Chmod app/sub2/* - 700", 0, 0644, 0644},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    fs::remove_all("app");
    for (const char* f : {"app/x.conf", "app/sub/y", "app/sub/z.conf", "app/sub2/"}) {
      dir_.Write(f, "");
    }
    fs::create_symlink("missing", "app/sub2/broken");
    chmod("app/x.conf", 0644);
    chmod("app/sub/y", 0644);
    EXPECT_EQ(Do(row.line), row.result);
    EXPECT_EQ(Mode("app/x.conf"), row.x_mode);
    EXPECT_EQ(Mode("app/sub/y"), row.y_mode);
  }
  const Strings debug = LogLines("Debug");
  for (const char* line : {"Not chmod'ding 'app/x.conf'", "Not chmod'ding 'app/sub/z.conf'",
                           "No files found to chmod", "Finished chmod'ing, 5 files done"}) {
    EXPECT_TRUE(Logged(debug, line)) << line;
  }
}

TEST_F(CopyTest, ChownTakesUserAndGroupExpandedAtExecution) {
  if (geteuid() != 0) GTEST_SKIP() << "changing owners needs root";
  static const struct {
    const char* line;
    int result;
    const char* owner;  // of app/x.conf afterwards
  } rows[] = {
      {"Chown app/* - daemon", 3, "1:1"},           {"Chown app/x.conf - $(owner)", 1, "1:1"},
      {"Chown app/x.conf - daemon:root", 1, "1:0"}, {"Chown app/x.conf - root:nosuch", 1, "0:0"},
      {"Chown app/x.conf - nosuch", 0, "0:0"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.line);
    fs::remove_all("app");
    dir_.Write("app/x.conf", "");
    dir_.Write("app/sub/y", "");
    EXPECT_EQ(Do(row.line), row.result);
    EXPECT_EQ(Owner("app/x.conf"), row.owner);
  }
  EXPECT_EQ(Owner("app/sub/y"), "0:0");
  const Strings debug = LogLines("Debug");
  for (const char* line : {"Found user id for 'daemon'=1", "Found group id for 'nosuch'=-1",
                           "Found user id for 'nosuch'=-1", "file_chown failed"}) {
    EXPECT_TRUE(Logged(debug, line)) << line;
  }
}

TEST_F(CopyTest, WalkChangesContentsBeforeTheirDirectoryAndStopsAtAFailure) {
  Mount ro("ro/m");
  if (!ro.ok()) GTEST_SKIP() << "mounting a tmpfs is not permitted";
  dir_.Write("ro/m/f", "");
  ASSERT_TRUE(ro.ReadOnly());
  const size_t before = LogLines().size();
  EXPECT_EQ(Do("Chmod ro/* - 700"), 0);
  Strings lines = LogLines();
  lines.erase(lines.begin(), lines.begin() + static_cast<long>(before) + 5);
  EXPECT_EQ(lines, (Strings{"Found files to chmod, doing all of them",
                            "Found files to chmod, doing all of them",
                            "Error changing mode of 'ro/m/f' to 448, Read-only file system",
                            "file_chmod failed", "Finished chmod'ing, 0 files done",
                            "Error changing mode of 'ro/m' to 448, Read-only file system",
                            "file_chmod failed", "Finished chmod'ing, 0 files done"}));
}

TEST_F(CopyTest, CopyOntoAFullFileSystemLeavesWhatWasWritten) {
  Mount full("mnt/full");
  if (!full.ok()) GTEST_SKIP() << "mounting a tmpfs is not permitted";
  dir_.Write("src/big.bin", std::string(256 << 10, 'x'));
  failures = 0;
  file_setup_fn(nullptr, CountFailure);
  EXPECT_EQ(Do("CopyFile src/big.bin - mnt/full"), 0);
  EXPECT_EQ(failures, 1);
  const auto size = fs::file_size("mnt/full/big.bin");
  EXPECT_GT(size, 0u);
  EXPECT_LT(size, 256u << 10);
  EXPECT_EQ(LogLines("Error"),
            Strings{"Error writing to 'mnt/full/big.bin', No space left on device"});
}

TEST_F(CopyTest, LoopsUnreadableDirectoriesAndOverlongPathsFailCleanly) {
  dir_.Write("src/f", "f");
  dir_.Write("src/sub/g", "g");
  fs::create_directories("out/dst");
  fs::create_directory_symlink(".", "src/loop");
  fs::create_symlink("self", "src/self");
  fs::create_directory_symlink("..", "src/sub/up");
  // The links are not followed: each is a failed copy, which leaves an empty file.
  EXPECT_EQ(Do("CopyDir src/* - out/dst"), 3);
  EXPECT_EQ(Tree("out/dst"), "f,loop,self,sub/,sub/g,sub/up");

  const std::string deep(250, 'd');
  fs::create_directory(deep);
  dir_.Write("src2/longname", "");
  EXPECT_EQ(Do("CopyFile src2/longname - ./" + deep), 0);
  EXPECT_EQ(Do("MkDir $(big)$(big)"), 0);
  EXPECT_EQ(Do("Chmod $(big)/* - 7"), 0);

  fs::create_directory("locked");
  chmod("locked", 0);
  chmod(".", 0755);
  Load("[install]\nCopyFile locked/* - out/dst\n");
  const bool root = geteuid() == 0;
  if (root) {
    ASSERT_EQ(seteuid(65534), 0);
  }
  const int locked = copy_do(copy_, 0, nullptr);
  if (root) {
    ASSERT_EQ(seteuid(0), 0);
  }
  EXPECT_EQ(locked, 0);
  EXPECT_TRUE(Logged(LogLines("Info"), "No files found to copy in 'locked/' matching '*'"));
  const Strings errors = LogLines("Error");
  for (const std::string& line :
       Strings{"Error reading from 'src/loop', Is a directory",
               "Error opening 'src/self' for read, Too many levels of symbolic links",
               "Error opening './" + deep + "/longname' for write, File name too long",
               "No destination directories found, File name too long",
               "Error opening dir 'locked/', Permission denied"}) {
    EXPECT_TRUE(Logged(errors, line)) << line;
  }
}

TEST_F(CopyTest, ScriptRunTranscript) {
  dir_.Write("src/a.txt", "alpha");
  dir_.Write("src/c.log", "log");
  const size_t before = LogLines().size();
  ASSERT_EQ(Load("[remove]\nRmDir out -\n[install]\n"
                 "MkDir $(dir)/bin\n"
                 "CopyFile src/*.txt - $(dir)/bin\n"
                 "Exist $(dir)/bin/b.txt have_b\n"
                 "Error have_b b.txt  is missing\n"
                 "Frobnicate x y z\n"),
            1);
  unsigned long files = 0, bytes = 0;
  EXPECT_EQ(copy_process(copy_, &files, &bytes, 0), 1);
  EXPECT_EQ(files, 3u);
  EXPECT_EQ(bytes, 5u);
  EXPECT_EQ(dir_.Read("out/bin/a.txt"), "alpha");
  EXPECT_STREQ(copy_error(), "b.txt  is missing");
  std::string transcript;
  const Strings lines = LogLines();
  for (size_t i = before; i < lines.size(); ++i) transcript += lines[i] + "\n";
  EXPECT_EQ(transcript, R"(Process .cpy file line [MkDir $(dir)/bin]
Copy line 'type' is [260]
Copy line 'source' is [$(dir)/bin]
Process .cpy file line [CopyFile src/*.txt - $(dir)/bin]
Copy line 'type' is [257]
Copy line 'source' is [src/*.txt]
Copy line 'not' is [-]
Copy line 'destination' is [$(dir)/bin]
Process .cpy file line [Exist $(dir)/bin/b.txt have_b]
Copy line 'type' is [1024]
Copy line 'source' is [$(dir)/bin/b.txt]
Copy line 'destination' is [have_b]
Process .cpy file line [Error have_b b.txt  is missing]
Copy line 'type' is [4096]
Copy line 'source' is [have_b]
Copy list error string is 'b.txt  is missing'
Process .cpy file line [Frobnicate x y z]
Unknown copy type 'Frobnicate'
Copy line 'type' is [0]
Copy line 'source' is [x]
Copy line 'not' is [y]
Copy line 'destination' is [z]
Processing copy script...
Processing [260:out/bin->,,,]
Directory created 'out'
Directory created 'out/bin'
Processing [257:src/*.txt->out/bin,,,]
Processing [1024:out/bin/b.txt->have_b,,,]
'out/bin/b.txt' does not exist
Ini setting 'have_b' created and set to 'false'
Processing [4096:have_b->b.txt  is missing,,,]
b.txt  is missing
Stop on fail NOT set, continuing...
Processing [0:x->z,y,,]
How did we get here!
Stop on fail NOT set, continuing...
Copy script completed successfully
)");
}

TEST_F(CopyTest, NullArgumentsDoNothing) {
  Copy* none = nullptr;
  copy_free(&none);
  copy_free(nullptr);
  EXPECT_EQ(copy_load(nullptr, "install.cpy", "install"), 0);
  EXPECT_EQ(copy_load(copy_, nullptr, "install"), 0);
  EXPECT_EQ(copy_count(nullptr), 0);
  EXPECT_EQ(copy_do(nullptr, 0, nullptr) + copy_chown(nullptr, 0) + copy_write_ini(copy_, 0), 0);
  EXPECT_EQ(dochmod(nullptr, "*", nullptr, 0755), 0);
}

}  // namespace
}  // namespace inst
