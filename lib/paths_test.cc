#include "lib/paths.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstring>
#include <filesystem>
#include <string>

namespace inst {
namespace {

TEST(PathsTest, AttachPathJoinsWithOneSeparator) {
  static const struct {
    const char* path;
    const char* name;
    int size;
    const char* expected;  // null: the call returns null
  } rows[] = {
      {"/opt/pkg", "install", 256, "/opt/pkg/install"},
      {"/opt/pkg/", "/install", 256, "/opt/pkg/install"},
      {"", "/etc/x", 256, "/etc/x"},
      {"", "", 256, nullptr},
      {"c:\\dir", "f", 256, "c:/dir/f"},
      {"a/", "//b", 256, "a//b"},
      {"a", "/b", 256, "a/b"},
      {"a\\b", "c\\d", 256, "a/b/c/d"},
      {"abc", "def", 6, "abc/d"},
      {"abcde", "f", 6, "abcde"},
      {"abcdefgh", "x", 6, "abcde"},  // a path longer than the buffer is cut
      {"a\\b", nullptr, 256, "a/b"},
  };
  for (const auto& row : rows) {
    char buffer[64];
    std::memset(buffer, '#', sizeof buffer);
    std::strcpy(buffer, row.path);
    char* r = attach_path(buffer, row.name, row.size);
    std::string label = std::string(row.path) + " + " + (row.name ? row.name : "(null)");
    EXPECT_EQ(r == nullptr, row.expected == nullptr) << label;
    if (row.expected) {
      EXPECT_STREQ(buffer, row.expected) << label;
    }
  }
  EXPECT_EQ(attach_path(nullptr, "a", 10), nullptr);
  char buffer[8] = "a";
  EXPECT_EQ(attach_path(buffer, "b", 0), nullptr);
}

TEST(PathsTest, AttachPathWritesTheChosenSeparator) {
  char buffer[32] = "a/b";
  EXPECT_EQ(usesep('\\'), '\\');
  attach_path(buffer, "c/d", sizeof buffer);
  usesep('/');
  EXPECT_STREQ(buffer, "a\\b\\c\\d");
  EXPECT_STREQ(setsep(buffer, '/'), "a/b/c/d");
}

TEST(PathsTest, AttachPathxJoinsAListFromTheStart) {
  char buffer[32] = "ignored";
  EXPECT_EQ(attach_pathx(buffer, sizeof buffer, "a", "b/", "/c", "d", nullptr), buffer);
  EXPECT_STREQ(buffer, "a/b/c/d");
  attach_pathx(buffer, 6, "x\\", "y", "zzz", nullptr);
  EXPECT_STREQ(buffer, "x\\y/z");  // names keep their own separators
}

TEST(PathsTest, AttachExtStopsAtTheBufferEnd) {
  static const struct {
    const char* path;
    const char* ext;
    int size;
    const char* expected;
  } rows[] = {
      {"install", ".log", 256, "install.log"},
      {"install", ".log", 8, "install"},
      {"install", ".log", 10, "install.l"},
      {"install", nullptr, 256, "install"},
  };
  for (const auto& row : rows) {
    char buffer[32];
    std::memset(buffer, '#', sizeof buffer);
    std::strcpy(buffer, row.path);
    EXPECT_EQ(attach_ext(buffer, row.ext, row.size), buffer) << row.path << " size " << row.size;
    EXPECT_STREQ(buffer, row.expected) << row.path << " size " << row.size;
  }
  EXPECT_EQ(attach_ext(nullptr, ".q", 10), nullptr);
}

TEST(PathsTest, SplittingPaths) {
  static const struct {
    const char* path;
    const char* dir;   // strip_file's path
    const char* file;  // strip_file's name
    const char* base;  // strip_path
    const char* stem;  // strip_ext
  } rows[] = {
      {"/a/b/c.q", "/a/b", "c.q", "c.q", "/a/b/c"},
      {"/install", "", "install", "install", "/install"},
      {"file", "", "file", "file", "file"},
      {"a\\b/c", "a\\b", "c", "c", "a\\b/c"},
      {"dir/", "dir", "", "", "dir/"},
      {"a.tar.gz", "", "a.tar.gz", "a.tar.gz", "a.tar"},
      {"x.y/z", "x.y", "z", "z", "x.y/z"},
      {".profile", "", ".profile", ".profile", ".profile"},
      {"dir/.profile", "dir", ".profile", ".profile", "dir/"},
      {"a\\b.c", "a", "b.c", "b.c", "a\\b"},
  };
  for (const auto& row : rows) {
    char path[64], name[64];
    std::strcpy(path, row.path);
    EXPECT_EQ(strip_file(path, name, sizeof name), path);
    EXPECT_STREQ(path, row.dir) << "strip_file " << row.path;
    EXPECT_STREQ(name, row.file) << "strip_file " << row.path;
    std::strcpy(path, row.path);
    EXPECT_STREQ(strip_path(path), row.base) << "strip_path " << row.path;
    std::strcpy(path, row.path);
    EXPECT_STREQ(strip_ext(path), row.stem) << "strip_ext " << row.path;
  }
  char path[] = "/a/bcdef";
  char name[4];
  strip_file(path, name, sizeof name);
  EXPECT_STREQ(name, "bcd");
  EXPECT_EQ(strip_file(nullptr, name, 4), nullptr);
}

TEST(PathsTest, ExtensionsAndProgramNames) {
  static const struct {
    const char* path;
    int size;
    const char* ext;  // get_ext; null: returns 0, ext untouched
    const char* exe;  // exename
  } rows[] = {
      {"a.tar.gz", 32, "tar.gz", "a"},
      {"dir.x/file", 32, nullptr, "file"},
      {"/usr/local/bin/install", 32, nullptr, "install"},
      {"./install.sh", 32, "sh", "install"},
      {"c:\\x\\setup.bin.exe", 32, "bin.exe", "setup"},
      {".hidden", 32, "hidden", ""},
      {"install.longext", 4, "lon", "ins"},
  };
  for (const auto& row : rows) {
    char ext[32] = "untouched";
    int n = get_ext(ext, row.path, row.size);
    EXPECT_STREQ(ext, row.ext ? row.ext : "untouched") << "get_ext " << row.path;
    EXPECT_EQ(n, row.ext ? static_cast<int>(std::strlen(row.ext)) : 0) << "get_ext " << row.path;
    char exe[32];
    EXPECT_STREQ(exename(exe, row.path, row.size), row.exe) << "exename " << row.path;
  }
}

TEST(PathsTest, ExepathOfAnAbsoluteProgram) {
  static const struct {
    const char* argv0;
    const char* expected;
  } rows[] = {
      {"/usr/local/bin/install", "/usr/local/bin"},
      {"/a/b/../c/./prog", "/a/c"},
      {"/a//prog", "/a"},
      {"/../x/prog", "/x"},
      {"/a/.hidden/..x/prog", "/a/.hidden/..x"},
      {"\\opt\\pkg\\install", "/opt/pkg"},
      {"c:\\prog", "c:/"},
      {"/a/b/./../../c/prog", "/c"},
  };
  for (const auto& row : rows) {
    char buffer[64];
    EXPECT_STREQ(exepath(buffer, row.argv0, sizeof buffer), row.expected) << row.argv0;
  }
}

// Runs in a fresh temporary directory that is also the working directory.
class PathsDirTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(getcwd(old_cwd_, sizeof old_cwd_), nullptr);
    std::string pattern = (std::filesystem::temp_directory_path() / "paths_test.XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    char real[PATH_MAX];
    ASSERT_NE(realpath(pattern.c_str(), real), nullptr);
    dir_ = real;
    ASSERT_EQ(chdir(dir_.c_str()), 0);
  }
  void TearDown() override {
    ASSERT_EQ(chdir(old_cwd_), 0);
    std::filesystem::remove_all(dir_);
  }
  char old_cwd_[PATH_MAX];
  std::string dir_;
};

TEST_F(PathsDirTest, CurrentDirectoryFitsOrLeavesTheBufferAlone) {
  char buffer[PATH_MAX];
  EXPECT_STREQ(currentdir(buffer, sizeof buffer), dir_.c_str());
  std::strcpy(buffer, "unchanged");
  EXPECT_EQ(currentdir(buffer, static_cast<int>(dir_.size())), nullptr);
  EXPECT_STREQ(buffer, "unchanged");
  EXPECT_NE(currentdir(buffer, static_cast<int>(dir_.size()) + 1), nullptr);

  // A working directory deeper than a 256-character path buffer.
  std::string deep = dir_;
  while (deep.size() < 300) {
    deep += "/" + std::string(40, 'd');
    ASSERT_EQ(mkdir(deep.c_str(), 0700), 0);
  }
  ASSERT_EQ(chdir(deep.c_str()), 0);
  std::strcpy(buffer, "unchanged");
  EXPECT_EQ(currentdir(buffer, 256), nullptr);
  EXPECT_STREQ(buffer, "unchanged");
  EXPECT_STREQ(currentdir(buffer, 1000), deep.c_str());
}

TEST_F(PathsDirTest, ExepathOfARelativeProgramStartsAtTheWorkingDirectory) {
  char buffer[PATH_MAX];
  EXPECT_EQ(std::string(exepath(buffer, "./bin/install", sizeof buffer)), dir_ + "/bin");
  EXPECT_EQ(std::string(exepath(buffer, "install", sizeof buffer)), dir_);
  EXPECT_EQ(std::string(exepath(buffer, "a/../../install", sizeof buffer)),
            dir_.substr(0, dir_.rfind('/')));
}

TEST_F(PathsDirTest, TempfileGivesFreshNames) {
  char first[256], second[256];
  ASSERT_EQ(tempfile(first, sizeof first, dir_.c_str(), "instXXXXXX"), first);
  std::string prefix = dir_ + "/inst";
  ASSERT_EQ(std::string(first).substr(0, prefix.size()), prefix);
  std::string tail = first + prefix.size();
  EXPECT_EQ(tail.size(), 6u) << first;
  EXPECT_NE(tail, "XXXXXX");
  for (char c : tail) EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(c))) << first;
  EXPECT_NE(access(first, F_OK), 0);

  // A name that exists is not handed out again.
  FILE* f = std::fopen("taken", "w");
  ASSERT_NE(f, nullptr);
  std::fclose(f);
  EXPECT_EQ(tempfile(second, sizeof second, dir_.c_str(), "taken"), nullptr);
  EXPECT_STREQ(second, "");
}

}  // namespace
}  // namespace inst
