#include "copy/copy.h"

#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "file/file.h"
#include "ini/ini.h"
#include "lib/interrupt.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

// Everything below root, sorted and joined by ","; directories end in "/".
std::string Tree(const std::string& root) {
  std::set<std::string> names;
  std::error_code ignored;
  for (const auto& e : fs::recursive_directory_iterator(root, ignored)) {
    names.insert(fs::relative(e.path(), root).string() + (e.is_directory() ? "/" : ""));
  }
  std::string out;
  for (const auto& n : names) out += (out.empty() ? "" : ",") + n;
  return out;
}

// The permission bits in octal and, for root, the owner: "644 0:0".
std::string Status(const std::string& path) {
  struct stat st;
  stat(path.c_str(), &st);
  const std::string owner = std::to_string(st.st_uid) + ":" + std::to_string(st.st_gid);
  char mode[8];
  std::snprintf(mode, sizeof mode, "%o", st.st_mode & 07777);
  return mode + (geteuid() == 0 ? " " + owner : "");
}

// A small tmpfs mounted at path until the end of the scope, where permitted.
struct Mount {
  explicit Mount(const std::string& at) : path(at) {
    fs::create_directories(path);
    ok = mount("none", path.c_str(), "tmpfs", 0, "size=64k") == 0;
  }
  ~Mount() {
    if (ok) umount2(path.c_str(), MNT_DETACH);
  }
  std::string path;
  bool ok;
};

// The paths of the progress callbacks for success, in order.
std::string progress;
void NoteOk(const char* path, const char*, int) { progress += std::string(path) + ","; }

// Works inside the scratch directory with a store holding "dir" (out),
// "yes", "no", "owner" (a reference left for execution time), "user",
// "big" (9500 characters) and "flag" (no value).
class CopyTest : public InScratchTest {
 protected:
  void SetUp() override {
    InScratchTest::SetUp();
    if (HasFatalFailure()) return;
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
    InScratchTest::TearDown();
  }
  int Load(const std::string& text) {
    dir_.Write("install.cpy", text);
    return copy_load(copy_, "install.cpy", "install");
  }
  // Loads the one command line and runs it.
  int Do(const std::string& line) {
    Load("[install]\n" + line + "\n");
    return copy_do(copy_, 0, nullptr);
  }
  bool Logged(const char* level, const std::string& line) {
    const Strings lines = LogLines(level);
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  }

  Ini* ini_ = ini_init();
  Copy* copy_ = copy_init(ini_);
};

TEST_F(CopyTest, LoaderSelectsTheSectionTakesEachTypesFieldsAndExpandsPaths) {
  static const struct {
    std::string text;
    int result;
    std::string records;  // "type|source|not|dest|control|control_cmp;...", "~" for none
  } rows[] = {
      {"[INSTALL]\nMkDir a\n", 1, "260|a|~|~|~|~"},
      {"[install\nMkDir a\n", 1, "260|a|~|~|~|~"},
      {"[install] x\nMkDir a\n", 0, ""},
      {"MkDir a\n", 0, ""},
      {"[install]\n[other]\nMkDir a\n", 1, ""},
      {"[install]\nMkDir a\n[other]\nMkDir b\n[install]\nMkDir c\n", 1, "260|a|~|~|~|~"},
      {" # note\n\n[install]\n  #MkDir x\n\t MkDir  a  # b \r\n", 1, "260|a|~|~|#|b"},
      {"[install]\nCopyFile src\nCopyFile\nExist a\nRmFile /tmp/*.bak -\n", 1,
       "513|/tmp/*.bak|~|~|~|~"},
      {"[install]\nError $(dir)  Disk  $(dir)\nError flag\n", 1,
       "4096|out|~| Disk  out|~|~;4096|flag|~|~|~|~"},
      {"[install]\nFrobnicate a b c d e f\n\x01\xff\n", 1, "0|a|b|c|d|e"},
      {"[install]\nchmod $(dir)/* $(dir) $(dir)$(nosuch)x $(dir) $(no)\n", 1,
       "2049|out/*|$(dir)|outx|$(dir)|$(no)"},
      {"[install]\nCopyDir /opt/$(nosuch)/bin - /$(dir\n", 1, "258|/opt//bin|~|/$(dir|~|~"},
      {"[install]\nExist $(DIR)$(flag)/$(owner) x\n", 1, "1024|/$(user)|~|x|~|~"},
      {"[install]\nRename $(big) $(big)$(big)\n", 1,
       "272|" + std::string(8999, 'b') + "|~|" + std::string(9999, 'b') + "|~|~"},
      {"[install]\nMkDir " + std::string(1200, 'a') + "\n", 1,
       "260|" + std::string(993, 'a') + "|~|~|~|~"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text.substr(0, 60));
    EXPECT_EQ(Load(row.text), row.result);
    std::string records;
    for (int i = 0; i < copy_count(copy_); ++i) {
      records.append(i ? ";" : "").append(std::to_string(copy_->list[i].type));
      for (const char* f : {copy_src(copy_, i), copy_not(copy_, i), copy_dst(copy_, i),
                            copy_control(copy_, i), copy_control_cmp(copy_, i)}) {
        records += std::string("|") + (f ? f : "~");
      }
    }
    EXPECT_EQ(records, row.records);
  }
  // Every command carries the line it stands on; so do both pieces of a
  // line longer than the reader's line size.
  Load("[install]\n\nMkDir a\nMkDir " + std::string(993, 'b') + "MkDir x\nMkDir c\n");
  std::string lines;
  for (const CCmd& cmd : copy_->list) lines += std::to_string(cmd.line) + ",";
  EXPECT_EQ(lines, "3,4,4,5,");

  std::unique_ptr<char[]> tail(replace_vars(copy_, ("$(dir)" + std::string(9500, 't')).c_str()));
  EXPECT_EQ(tail.get(), "out" + std::string(8999, 't'));
  EXPECT_EQ(replace_vars(copy_, "no reference"), nullptr);
  EXPECT_EQ(copy_load(copy_, "missing.cpy", "install"), 0);
  EXPECT_EQ(LogLines("Error").back(), "Error opening 'missing.cpy', No such file or directory");
}

TEST_F(CopyTest, PathSplittersFollowTheLastSeparator) {
  char cwd[kPathSize];
  currentdir(cwd, kPathSize);
  // Text, directory (null: the working directory), source pattern, destination pattern.
  const std::tuple<const char*, const char*, const char*, const char*> rows[] = {
      {"file.txt", nullptr, "file.txt", ""},
      {"/opt/a*", "/opt/", "a*", "a*"},
      {"/opt/", "/opt/", "*", ""},
      {"a/b\\c", "a/b\\", "c", "c"}};
  for (const auto& [text, path, src_file, dst_file] : rows) {
    Load(std::string("[install]\nCopyFile ") + text + " - " + text + "\n");
    char buffer[kPathSize];
    EXPECT_STREQ(str(copy_dst_file(copy_, 0, buffer, kPathSize)), dst_file) << text;
    EXPECT_STREQ(copy_src_file(copy_, 0, buffer, kPathSize), src_file) << text;
    EXPECT_STREQ(copy_dst_path(copy_, 0, buffer, kPathSize), path ? path : cwd) << text;
  }
  char small[4];
  EXPECT_STREQ(copy_src_path(copy_, 0, small, sizeof small), "a/b");
  EXPECT_EQ(copy_src_path(copy_, 1, small, sizeof small), nullptr);
}

TEST_F(CopyTest, ControlSettingGatesTheCommandAndFailuresKeepTheirError) {
  ini_add_name(ini_, "flag", "Apache");
  const std::pair<const char*, int> rows[] = {
      {"", 1},          {"nosuch", 1},  {"yes", 1},
      {"no", -1},       {"flag", -1},   {"flag APACHE", 1},
      {"flag flag", 1}, {"no dir", -1}, {"flag apache2", -1}};
  for (const auto& [fields, result] : rows) {
    EXPECT_EQ(Do(std::string("Exist x seen ") + fields), result) << fields;
  }
  const Strings debug = LogLines("Debug");
  EXPECT_EQ(std::count(debug.begin(), debug.end(), "Doing nothing due to controlling setting"), 4);

  // A failure keeps the error its command logged, or says that nothing was
  // done; the line dropped at loading still counts in the line numbers.
  Load(
      "[install]\nMkDir a\nExist a seen no\nCopyFile x\nFrobnicate x y z\nRmFile nothing* -\nMkDir "
      "b\n");
  unsigned long files = 9, bytes = 9;
  EXPECT_EQ(copy_process(copy_, &files, &bytes, 0), 1);
  EXPECT_EQ(files * 10 + bytes, 20u);  // two commands counted, no bytes
  EXPECT_EQ(LogLines("Info").back(), "Copy script completed successfully");
  std::string failures;
  for (const CFailure& f : copy_failures(copy_)) {
    failures += std::to_string(f.line) + "/" + std::to_string(f.index) + " " + f.error + ";";
  }
  EXPECT_EQ(failures, "5/2 How did we get here!;6/3 No files handled;");
  EXPECT_EQ(copy_process(nullptr, &files, nullptr, 1) + copy_do(copy_, 5, nullptr), 0);
}

TEST_F(CopyTest, CopyAndRemoveCommandsSelectByWildcardAndBaseName) {
  // The command, its result and the tree of "www" afterwards.
  const std::tuple<const char*, int, const char*> rows[] = {
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
  for (const auto& [line, result, tree] : rows) {
    fs::remove_all("www");
    for (const char* f : {"src/a.txt", "src/b.txt", "src/c.log", "src/sub/d.txt", "www/a.txt",
                          "www/b.txt", "www/one/", "www/two/", "www/skip/"}) {
      dir_.Write(f, f);  // a name ending in "/" makes a directory
    }
    EXPECT_EQ(Do(line), result) << line;
    EXPECT_EQ(Tree("www"), tree) << line;
  }
  EXPECT_EQ(LogLines("Info"), Strings{"No files found to copy in 'src/' matching 'none*'"});
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
  // A missing template, or a directory that cannot be read to its end,
  // leaves the destination as it was.
  fs::create_directory("src");
  dir_.Write("out.ini", "old");
  for (const char* tmpl : {"none.ini", "src", "/dev/null"}) {
    EXPECT_EQ(Do(std::string("Ini ") + tmpl + " out.ini") + copy_write_ini(copy_, 0), 0);
  }
  EXPECT_EQ(dir_.Read("out.ini"), "old");
  EXPECT_EQ(Do("Ini t.ini no/out.ini"), 0);
  for (const char* line : {"Error reading ini file 'none.ini', No such file or directory",
                           "Error reading ini file 'src', Is a directory",
                           "Refusing to read '/dev/null', not a regular file, Invalid argument",
                           "Error creating ini file 'no/out.ini', No such file or directory"}) {
    EXPECT_TRUE(Logged("Error", line)) << line;
  }
}

TEST_F(CopyTest, SingleActionCommandsChangeFilesAndSettings) {
  dir_.Write("a", "A");
  dir_.Write("keep", "text");
  const std::pair<const char*, int> rows[] = {
      {"Rename a b", 1},       {"Rename a c", 0},           {"Exist b seen", 1},
      {"Exist a gone", 1},     {"Exist . here", 1},         {"Error yes Not shown", 1},
      {"Error nosuch Not", 1}, {"Error no  Disk  full", 0}, {"WFile w1 dir", 1},
      {"WFile w2 literal", 1}, {"WFile none/w dir", 0},     {"RFile keep dir", 1},
      {"RFile none/r dir", 0}};
  for (const auto& [line, result] : rows) EXPECT_EQ(Do(line), result) << line;
  EXPECT_EQ(Tree("."), "b,install.cpy,keep,test.log,w1,w2");
  EXPECT_EQ(dir_.Read("w1") + dir_.Read("w2") + dir_.Read("keep"), "outliteral");
  EXPECT_EQ(std::string(ini_value_name(ini_, "seen")) + ini_value_name(ini_, "gone") +
                ini_value_name(ini_, "here") + ini_value_name(ini_, "dir"),
            "truefalsetrueout");
  EXPECT_STREQ(copy_error(), " Disk  full");
  EXPECT_TRUE(Logged("Debug", "Copy list error string is ' Disk  full'"));
  EXPECT_EQ(LogLines("Error"),
            (Strings{"Error renaming 'a'->'c', , No such file or directory",
                     "No destination directories found, No such file or directory", " Disk  full",
                     "Failed to write (none/w), No such file or directory",
                     "Failed to read (none/r), No such file or directory"}));
}

TEST_F(CopyTest, ChmodAndChownWalkDepthFirstWithFullPathExclusions) {
  const bool root = geteuid() == 0;
  dir_.Write("victim", "");
  dir_.Write("outside/f", "");
  for (const char* f : {"victim", "outside", "outside/f"}) chmod(f, 0600);
  // The command, its result and the status of app/x.conf and app/sub/y afterwards.
  const std::tuple<const char*, int, std::string> rows[] = {
      {"Chmod app/* - 700", 5, "700 0:0,700 0:0"},
      {"Chmod app/* *.conf 700", 3, "644 0:0,700 0:0"},
      {"Chmod app/* x.conf 700", 5, "700 0:0,700 0:0"},
      {"Chmod app/x.conf - 0640", 1, "640 0:0,644 0:0"},
      {"Chmod app/xl - 0640", 1, "640 0:0,644 0:0"},
      {"Chmod app/x.conf - 9", 1, "11 0:0,644 0:0"},
      {"Chmod app/x.conf - abc", 1, "7003 0:0,644 0:0"},
      {"Chmod app/none - 700", 0, "644 0:0,644 0:0"},
      {"Chmod app/sub2/* - 700", 0, "644 0:0,644 0:0"},
      {"Chown app/* - daemon", 5, "644 1:1,644 1:1"},
      {"Chown app/x.conf - $(owner)", 1, "644 1:1,644 0:0"},
      {"Chown app/* app/sub daemon:root", 2, "644 1:0,644 0:0"},
      {"Chown app/x.conf - daemon:nosuch", 1, "644 1:1,644 0:0"},
      {"Chown app/x.conf - nosuch", 0, "644 0:0,644 0:0"},
  };
  for (auto [line, result, status] : rows) {
    if (line[3] == 'w' && !root) continue;  // changing owners needs root
    fs::remove_all("app");
    for (const char* f : {"app/x.conf", "app/sub/y", "app/sub/z.conf", "app/sub2/"}) {
      dir_.Write(f, "");
    }
    // Links inside the tree are left alone, wherever they lead; one the
    // command names is followed.
    for (const char* link : {"app/sub2/b1", "app/sub2/b2"}) fs::create_symlink("missing", link);
    fs::create_symlink("../../victim", "app/sub/evil");
    fs::create_directory_symlink("../outside", "app/linked");
    fs::create_symlink("x.conf", "app/xl");
    for (const char* f : {"app/x.conf", "app/sub/y"}) chmod(f, 0644);
    EXPECT_EQ(Do(line), result) << line;
    if (!root) status = status.substr(0, status.find(' ')) + status.substr(status.find(','), 4);
    EXPECT_EQ(Status("app/x.conf") + "," + Status("app/sub/y"), status) << line;
  }
  EXPECT_EQ(Status("victim") + "," + Status("outside") + "," + Status("outside/f"),
            root ? "600 0:0,600 0:0,600 0:0" : "600,600,600");
  const Strings debug = LogLines("Debug");
  EXPECT_EQ(std::count(debug.begin(), debug.end(), "file_chmod failed"), 0);
  for (const char* line : {"Not chmod'ding 'app/sub/z.conf'", "No files found to chmod",
                           "Not following link 'app/sub2/b1'", "Not following link 'app/linked'",
                           "Finished chmod'ing, 5 files done"}) {
    EXPECT_TRUE(Logged("Debug", line)) << line;
  }
  for (const char* line : {"Found group id for 'nosuch'=-1", "Not chown'ing 'app/sub'"}) {
    EXPECT_TRUE(!root || Logged("Debug", line)) << line;
  }
}

TEST_F(CopyTest, TreeWalksRunAlikeWhenTheReadGivesNoTypesAndStopOnASignal) {
  const bool root = geteuid() == 0;
  // The command and its result.
  const std::pair<const char*, int> rows[] = {
      {"Chmod app/* *z.conf 700", 5},
      {"Chown app/* - daemon", 6},
      {"RmDir app/sub/* Z.CONF", 4},  // y, evil, deep and deep/w
      {"RmDir app/ x.conf", 3},       // linked, sub/z.conf and sub
  };
  file_setup_fn(NoteOk, nullptr);
  std::string transcripts[2];
  for (int unknown : {0, 1}) {
    file_walk_types_unknown(unknown);
    for (const char* f : {"app/x.conf", "app/sub/y", "app/sub/z.conf", "app/sub/deep/w"}) {
      dir_.Write(f, "");
    }
    fs::create_symlink("../x.conf", "app/sub/evil");
    fs::create_directory_symlink("sub", "app/linked");
    const size_t before = LogLines().size();
    progress.clear();
    for (const auto& [line, result] : rows) {
      if (line[3] == 'w' && !root) continue;  // changing owners needs root
      EXPECT_EQ(Do(line), result) << line << ", types unknown: " << unknown;
    }
    const Strings lines = LogLines();
    for (size_t i = before; i < lines.size(); ++i) transcripts[unknown] += lines[i] + "\n";
    transcripts[unknown] += progress + "\n" + Tree("app") + " " + Status("app/x.conf");
  }
  file_walk_types_unknown(0);
  EXPECT_EQ(transcripts[1], transcripts[0]);
  EXPECT_EQ(transcripts[0].substr(transcripts[0].rfind('\n') + 1),
            "x.conf 700" + std::string(root ? " 1:1" : ""));
  // A signal recorded before a walk ends it before its first change.
  interrupt_arm();
  raise(SIGTERM);
  EXPECT_EQ(Do("Chmod app/* - 600") + Do("RmDir app/ -") + file_rmdir("app", nullptr, 1), 0);
  interrupt_disarm();
  interrupt_clear();
  EXPECT_EQ(Tree("app") + " " + Status("app/x.conf"),
            "x.conf 700" + std::string(root ? " 1:1" : ""));
}

TEST_F(CopyTest, FailureOnAReadOnlyFileSystemStopsTheWalkOnEachLevel) {
  Mount ro("ro/m");
  if (!ro.ok) GTEST_SKIP() << "mounting a tmpfs is not permitted";
  // The walk changes a directory after its contents, so on a read-only file
  // system it fails twice, once on each level.
  dir_.Write("ro/m/f", "");
  ASSERT_EQ(mount(nullptr, "ro/m", nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
  const size_t before = LogLines().size() + 5;  // after the loader's lines
  EXPECT_EQ(Do("Chmod ro/* - 700"), 0);
  const Strings lines = LogLines();
  EXPECT_EQ(
      Strings(lines.begin() + static_cast<long>(before), lines.end()),
      (Strings{"Found files to chmod, doing all of them", "Found files to chmod, doing all of them",
               "Error changing mode of 'ro/m/f' to 448, Read-only file system", "file_chmod failed",
               "Finished chmod'ing, 0 files done",
               "Error changing mode of 'ro/m' to 448, Read-only file system", "file_chmod failed",
               "Finished chmod'ing, 0 files done"}));
}

TEST_F(CopyTest, LoopsUnreadableDirectoriesAndOverlongPathsFailCleanly) {
  dir_.Write("src/f", "f");
  dir_.Write("src/sub/g", "g");
  dir_.Write("long/longname", "");
  fs::create_directories("out/dst");
  fs::create_directory_symlink(".", "src/loop");
  fs::create_symlink("self", "src/self");
  fs::create_directory_symlink("..", "src/sub/up");
  // Links are not followed: each is a failed copy, which leaves nothing.
  EXPECT_EQ(Do("CopyDir src/* - out/dst"), 3);
  EXPECT_EQ(Tree("out/dst"), "f,sub/,sub/g");
  const std::string deep(250, 'd');
  fs::create_directory(deep);
  EXPECT_EQ(Do("CopyFile long/longname - ./" + deep), 0);
  EXPECT_EQ(Do("MkDir $(big)$(big)") + Do("Chmod $(big)/* - 7"), 0);

  fs::create_directory("locked");
  chmod("locked", 0);
  chmod(".", 0755);
  Load("[install]\nCopyFile locked/* - out/dst\n");
  // Root reads every directory, so the command runs as nobody.
  const bool root = geteuid() == 0;
  if (root && seteuid(65534) != 0) FAIL() << "cannot become nobody";
  const int locked = copy_do(copy_, 0, nullptr);
  if (root && seteuid(0) != 0) abort();
  EXPECT_EQ(locked, 0);
  EXPECT_TRUE(Logged("Info", "No files found to copy in 'locked/' matching '*'"));
  for (const std::string& line :
       Strings{"Error reading from 'src/loop', Is a directory",
               "Error opening 'src/self' for read, Too many levels of symbolic links",
               "Error opening './" + deep + "/longname' for write, File name too long",
               "No destination directories found, File name too long",
               "Error opening dir 'locked/', Permission denied"}) {
    EXPECT_TRUE(Logged("Error", line)) << line;
  }
}

// What the program logs and shows for a refused removal is the scenario
// copy-removals-that-cannot-be-meant-are-refused.
TEST_F(CopyTest, RemovalsThatCannotBeMeantAreRefused) {
  fs::create_directory_symlink("/", "top");
  fs::create_directory_symlink("/etc", "etc");
  static const struct {
    const char *dir, *wild;
    int forbidden;
  } rows[] = {
      {"/", "*", 1},           {"/", "e?c", 1},           {"/", "", 1},
      {"/", "etc", 1},         {"/", "lib64", 1},         {"/", "mnt", 0},
      {"//opt/../", "usr", 1}, {"/usr/./", "*", 1},       {"/usr/", "local", 0},
      {"/tmp/", "*.bak", 0},   {"/opt/app/", "*", 0},     {"top/", "*", 1},
      {"top/", "mnt", 0},      {"etc/", "*", 1},          {"etc/", "app.conf", 0},
      {"www/", "*", 0},        {"/var/../../", "var", 1}, {"/home/x/../", "*", 1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(copy_rm_forbidden(row.dir, row.wild), row.forbidden) << row.dir << " " << row.wild;
  }
}

}  // namespace
}  // namespace inst
