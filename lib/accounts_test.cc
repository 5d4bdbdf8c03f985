#include "lib/accounts.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>

#include <string>

#include "tests/scratch.h"

namespace inst {
namespace {

TEST(AccountsTest, FindsTheFieldOfTheFirstGoodEntryWithExactlyThatName) {
  ScratchDir dir;
  ASSERT_TRUE(dir.ok());
  // A group line longer than any line buffer comes first; the last line has
  // no line break.
  const std::string members(5000, 'm');
  dir.Write("passwd",
            "# comment:x:1:1\n"
            "\n"
            "big:x:7:7:" +
                members +
                "\n"
                "root:x:0:0:root:/root:/bin/bash\n"
                "man:x:6:12:man:/var/cache/man:/usr/sbin/nologin\n"
                "bad:x:12a:1\n"
                "bad:x:13:1\n"
                "short:x\n"
                "empty:x::5\n"
                "huge:x:4294967296:1\n"
                "top:x:4294967294:1\n"
                "man:x:99:99\n"
                "last:x:42:43");
  static const struct {
    const char* name;
    int field;
    int id;
  } rows[] = {
      {"root", kAccountId, 0},
      {"man", kAccountId, 6},
      {"man", kAccountGroup, 12},
      {"ma", kAccountId, -1},
      {"mann", kAccountId, -1},
      {"MAN", kAccountId, -1},
      {"big", kAccountGroup, 7},
      {"# comment", kAccountId, -1},
      {"bad", kAccountId, 13},
      {"short", kAccountId, -1},
      {"empty", kAccountId, -1},
      {"empty", kAccountGroup, 5},
      {"huge", kAccountId, -1},
      {"top", kAccountId, -2},
      {"last", kAccountGroup, 43},
      {"", kAccountId, -1},
      {"root", -1, -1},
  };
  const std::string file = dir.Path("passwd");
  for (const auto& row : rows) {
    EXPECT_EQ(accounts_find(file.c_str(), row.name, row.field), row.id)
        << row.name << " field " << row.field;
  }
  EXPECT_EQ(accounts_find(file.c_str(), nullptr, kAccountId), -1);
  EXPECT_EQ(accounts_find(dir.Path("missing").c_str(), "root", kAccountId), -1);
  EXPECT_EQ(accounts_find(nullptr, "root", kAccountId), -1);
}

// The machine's own files give what its name services give for names that
// the files database holds.
TEST(AccountsTest, AgreesWithTheSystemLookupsForLocalNames) {
  for (const char* name : {"root", "man", "daemon"}) {
    const passwd* user = getpwnam(name);
    if (user == nullptr) continue;
    EXPECT_EQ(accounts_find(kPasswdFile, name, kAccountId), static_cast<int>(user->pw_uid));
    EXPECT_EQ(accounts_find(kPasswdFile, name, kAccountGroup), static_cast<int>(user->pw_gid));
  }
  for (const char* name : {"root", "adm", "staff"}) {
    const group* found = getgrnam(name);
    if (found == nullptr) continue;
    EXPECT_EQ(accounts_find(kGroupFile, name, kAccountId), static_cast<int>(found->gr_gid));
  }
}

}  // namespace
}  // namespace inst
