#include "lib/paths.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "lib/strings.h"

namespace inst {
namespace {

TEST(PathsTest, JoinsStopAtTheBufferEnd) {
  // p attach_path: one separator between the parts, only one leading
  // separator of the name skipped, every separator written as '/';
  // e attach_ext: the extension appended as given.
  static const struct {
    char op;
    const char* path;
    const char* name;
    int size;
    const char* expected;  // null: the call returns null
  } rows[] = {
      {'p', "/a", "b", 64, "/a/b"},      {'p', "/a/", "/b", 64, "/a/b"},
      {'p', "", "/b", 64, "/b"},         {'p', "", "", 64, nullptr},
      {'p', "c:\\a", "f", 64, "c:/a/f"}, {'p', "a/", "//b", 64, "a//b"},
      {'p', "a", "/b", 64, "a/b"},       {'p', "a", "b\\c", 64, "a/b/c"},
      {'p', "ab", "cd", 5, "ab/c"},      {'p', "abcd", "f", 5, "abcd"},
      {'p', "abcdefgh", "x", 5, "abcd"}, {'p', "a\\b", nullptr, 64, "a/b"},
      {'p', "a", "b", 0, nullptr},       {'e', "ab", ".q", 64, "ab.q"},
      {'e', "abc", ".q", 4, "abc"},      {'e', "abc", ".q", 5, "abc."},
      {'e', "ab", nullptr, 64, "ab"},    {'e', "a", ".q", 0, nullptr},
  };
  for (const auto& row : rows) {
    char b[72];
    std::memset(b, '#', sizeof b);
    std::strcpy(b, row.path);
    const char guard = b[row.size];
    char* r =
        row.op == 'p' ? attach_path(b, row.name, row.size) : attach_ext(b, row.name, row.size);
    const std::string label = row.op + std::string(" ") + row.path + "," + str(row.name) +
                              " size " + std::to_string(row.size);
    EXPECT_EQ(r, row.expected ? b : nullptr) << label;
    EXPECT_STREQ(r, row.expected) << label;
    EXPECT_EQ(b[row.size], guard) << "wrote past the size: " << label;
  }
}

TEST(PathsTest, JoinsWriteTheChosenSeparatorOrKeepTheNamesOwn) {
  char buffer[32] = "a/b";
  EXPECT_EQ(usesep('\\'), '\\');
  attach_path(buffer, "c/d", sizeof buffer);
  usesep('/');
  EXPECT_STREQ(buffer, "a\\b\\c\\d");
  EXPECT_STREQ(setsep(buffer, '/'), "a/b/c/d");
  EXPECT_EQ(attach_pathx(buffer, sizeof buffer, "a", "b/", "/c", "d", nullptr), buffer);
  EXPECT_STREQ(buffer, "a/b/c/d");  // the first name starts the buffer
  // Each name gets the room left less one place: size 6 holds 4 characters.
  attach_pathx(buffer, 6, "abcdef", nullptr);
  EXPECT_STREQ(buffer, "abcd");
  attach_pathx(buffer, 6, "ab", "cd", nullptr);
  EXPECT_STREQ(buffer, "ab/c");
  attach_pathx(buffer, 6, "x\\", "y", "zzz", nullptr);
  EXPECT_STREQ(buffer, "x\\y/");
}

// The parts of path, each cut to size where a size applies: strip_file's
// path and name, strip_path, strip_ext, get_ext ("-" when it finds no dot
// and so returns 0) and exename, joined by '|'.
std::string Split(const char* path, int size) {
  char dir[64], name[64], base[64], stem[64], ext[64] = "-", exe[64];
  std::strcpy(dir, path);
  std::strcpy(base, path);
  std::strcpy(stem, path);
  strip_file(dir, name, size);
  const int n = get_ext(ext, path, size);
  if (n != (ext[0] == '-' ? 0 : static_cast<int>(std::strlen(ext))))
    return "get_ext returned " + std::to_string(n);
  return std::string(dir) + "|" + name + "|" + strip_path(base) + "|" + strip_ext(stem) + "|" +
         ext + "|" + exename(exe, path, size);
}

TEST(PathsTest, SplittingPaths) {
  EXPECT_EQ(Split("/a/b/c.q", 32), "/a/b|c.q|c.q|/a/b/c|q|c");
  EXPECT_EQ(Split("/install", 32), "|install|install|/install|-|install");
  EXPECT_EQ(Split("a\\b/c", 32), "a\\b|c|c|a\\b/c|-|c");
  EXPECT_EQ(Split("a.tar.gz", 32), "|a.tar.gz|a.tar.gz|a.tar|tar.gz|a");
  EXPECT_EQ(Split("x.y/z", 32), "x.y|z|z|x.y/z|-|z");
  EXPECT_EQ(Split(".profile", 32), "|.profile|.profile|.profile|profile|");
  EXPECT_EQ(Split("dir/.profile", 32), "dir|.profile|.profile|dir/|profile|");
  EXPECT_EQ(Split("c:\\x\\setup.bin.exe", 32),
            "c:\\x|setup.bin.exe|setup.bin.exe|c:\\x\\setup.bin|bin.exe|setup");
  EXPECT_EQ(Split("/a/bcdef.ghij", 4), "/a|bcd|bcdef.ghij|/a/bcdef|ghi|bcd");
}

// The program's directory for argv0, from exepath.
std::string Exepath(const char* argv0) {
  char buffer[4096];
  return exepath(buffer, argv0, sizeof buffer);
}

TEST(PathsTest, ProgramAndWorkingDirectories) {
  EXPECT_EQ(Exepath("/usr/bin/install"), "/usr/bin");
  EXPECT_EQ(Exepath("/a/b/../c/./prog"), "/a/c");
  EXPECT_EQ(Exepath("/a/b/./../../c/prog"), "/c");
  EXPECT_EQ(Exepath("/../x/prog"), "/x");
  EXPECT_EQ(Exepath("/a/.h/..x/prog"), "/a/.h/..x");  // hidden names stay
  EXPECT_EQ(Exepath("/a//prog"), "/a");
  EXPECT_EQ(Exepath("\\o\\p\\install"), "/o/p");
  EXPECT_EQ(Exepath("c:\\prog"), "c:/");
  const std::string cwd = std::filesystem::current_path().string();
  EXPECT_EQ(Exepath("./bin/install"), cwd + "/bin");
  EXPECT_EQ(Exepath("a/../../install"), cwd.substr(0, cwd.rfind('/')));
  char buffer[4096] = "unchanged";
  EXPECT_EQ(currentdir(buffer, static_cast<int>(cwd.size())), nullptr);  // no room for the end
  EXPECT_STREQ(buffer, "unchanged");
  EXPECT_EQ(currentdir(buffer, static_cast<int>(cwd.size()) + 1), cwd);
}

}  // namespace
}  // namespace inst
