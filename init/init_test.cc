#include "init/init.h"

#include <sys/stat.h>

#include <string>
#include <vector>

#include "tests/scratch.h"

namespace inst {
namespace {

using Lines = std::vector<std::string>;

std::string Text(const std::unique_ptr<char[]>& s) { return s ? s.get() : "-"; }

class InitTest : public LoggedTest {
 protected:
  int Load(const std::string& text) {
    dir_.Write("setup.int", text);
    return init_load(init_.get(), dir_.Path("setup.int").c_str());
  }
  // Every record as "mode a b control compare", "-" for an absent field.
  Lines Records() {
    Lines out;
    for (IItem* p = init_get_num(init_.get(), 0); p; p = init_get(init_.get())) {
      out.push_back(std::to_string(p->mode) + " " + Text(p->a) + " " + Text(p->b) + " " +
                    Text(p->control) + " " + Text(p->compare));
    }
    return out;
  }

  std::unique_ptr<Init> init_{init_init()};
};

TEST_F(InitTest, LinesBecomeRecordsAndShortLinesCarryOver) {
  ASSERT_EQ(Load("# comment\n\n \t \n"
                 "Exist /etc/passwd found - -\n"
                 "\tTimeDate\tfmt  when\r\n"  // short: stays pending ...
                 "  # a comment does not disturb it\n"
                 "RFile f out mode yes and more tokens\n"  // ... and is filled again
                 "Copy a b ctl\n"
                 "Copy x y - yes\n"  // "-" clears the carried-over control
                 "HTTP_Scripts\n"
                 "Bogus s flag - -\n"  // an unknown keyword keeps the mode it found
                 "Bogus 1 2 3 4\n"
                 "HTTP_User u e - -\nHTTP_Group g e - -\nHTTP_Root r e - -\nWFile p v - -\n"
                 "Copy left pending\n"),
            1);
  EXPECT_EQ(Records(), (Lines{"1 /etc/passwd found - -", "4096 f out mode yes", "2 x y - yes",
                              "528 s flag - -", "0 1 2 3 4", "20 u e - -", "24 g e - -",
                              "272 r e - -", "2048 p v - -"}));
  EXPECT_EQ(LogLines("Error"),
            (Lines{"Unknown init command 'Bogus'", "Unknown init command 'Bogus'"}));
}

TEST_F(InitTest, LongBinaryAndManyLinesLoad) {
  // The long line arrives in two pieces, the second starting with 207 p's
  // taken as an unknown keyword; the pending record is then filled again.
  std::string text = "Exist " + std::string(1200, 'p') + " flag - -\n";
  text += std::string("Copy \x01\xff\0zz b\n", 13) + "Exist q r - -\n";
  for (int i = 0; i < 100000; ++i) text += "Copy a b - -\n";
  ASSERT_EQ(Load(text), 1);
  const Lines records = Records();
  ASSERT_EQ(records.size(), 100001u);
  EXPECT_EQ(records[0], "1 q r - -");
  const Lines errors = LogLines("Error");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0], "Unknown init command '" + std::string(207, 'p') + "'");
}

// Web server discovery over files in the scratch directory.
class HttpTest : public LoggedTest {
 protected:
  // Asks for one item ("user", "group", "root" or "scripts"); returns
  // "1 <value>" or "0 <error>".
  std::string Ask(const std::string& item) {
    char value[kLineSize] = "", error[kLineSize] = "";
    const int ok = init_find_http_conf_in(
        &cache_, files_.data(), static_cast<int>(files_.size()), item == "user" ? value : nullptr,
        item == "group" ? value : nullptr, item == "root" ? value : nullptr,
        item == "scripts" ? value : nullptr, error);
    return std::to_string(ok) + " " + (ok ? value : error);
  }

  HttpConf cache_;
  std::string conf_ = dir_.Path("httpd.conf");
  std::vector<const char*> files_ = {conf_.c_str()};
};

TEST_F(HttpTest, DirectivesQuotesAndMissingItems) {
  const std::string kAll = "0 Could not find, Group, User, DocumentRoot, ScriptAlias";
  // A long root line, a lone quote, and many directives without arguments.
  std::string large = "DocumentRoot " + std::string(1500, 'r') + "\n\"\n";
  for (int i = 0; i < 100000; ++i) large += i % 2 ? "User\n" : "ScriptAlias cgi-bin\n";
  const struct {
    std::string conf;
    const char* item;
    std::string want;
  } kRows[] = {
      {"DocumentRoot \"/srv/www\"\n", "root", "1 /srv/www"},
      {"  DOCUMENTROOT\t/a\nDocumentRoot /b\n", "root", "1 /b"},
      {"DocumentRoot \"\n", "root", "1 "},
      {"DocumentRoot \"/a b\"\n", "root", "1 /"},
      {"ScriptAlias /cgi-bin/ \"/usr/lib/cgi-bin/\"\n", "scripts", "1 /usr/lib/cgi-bin/"},
      {"ScriptAlias /x/ /y\nscriptalias /my-cgi-bin/ /z\n", "scripts", "1 /z"},
      {"ScriptAlias /CGI-BIN/ /x\nScriptAlias /cgi-bin/\n", "scripts", kAll},
      {"user root\nGROUP root\n", "group", "1 root"},
      {"User no-such-user-here\nGroup root\n", "group",
       "0 User 'no-such-user-here' has bad uid '-1'"},
      {"Group no-such-group-here\n", "group", "0 Group 'no-such-group-here' has bad uid '-1'"},
      {"User\nGroup\n#DocumentRoot /x\n  # ScriptAlias /cgi-bin/ /x\n", "user", kAll},
      {"User root\nGroup root\nDocumentRoot /r\n", "scripts", "0 Could not find, ScriptAlias"},
      {"User root\nGroup root\nDocumentRoot /a\nScriptAlias /cgi-bin/ /s\nDocumentRoot /late\n",
       "root", "1 /a"},
      {large, "root", "1 " + std::string(986, 'r')},
  };
  for (const auto& row : kRows) {
    cache_ = HttpConf();
    dir_.Write("httpd.conf", row.conf);
    EXPECT_EQ(Ask(row.item), row.want) << row.conf;
  }
}

TEST_F(HttpTest, FileIsReadOnlyForItemsNotFoundYet) {
  dir_.Write("httpd.conf", "User root\nGroup root\nDocumentRoot /old\n");
  EXPECT_EQ(Ask("root"), "1 /old");
  std::filesystem::remove(conf_);
  EXPECT_EQ(Ask("user"), "1 root");
  EXPECT_EQ(Ask(""), "1 ");  // asking for nothing succeeds at once
  EXPECT_EQ(Ask("scripts"), "0 Cannot find httpd.conf file");
  // Once the scripts are found all four are known: the later root is not read.
  dir_.Write("httpd.conf", "ScriptAlias /cgi-bin/ /s\nDocumentRoot /new\n");
  EXPECT_EQ(Ask("scripts"), "1 /s");
  EXPECT_EQ(Ask("root"), "1 /old");
}

TEST_F(HttpTest, CandidatesAreTriedInOrder) {
  const std::string missing = dir_.Path("missing.conf"), folder = dir_.Path("folder"),
                    second = dir_.Path("second.conf");
  ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
  dir_.Write("second.conf", "DocumentRoot /second\n");
  dir_.Write("httpd.conf", "DocumentRoot /third\n");
  files_ = {missing.c_str(), folder.c_str(), second.c_str(), conf_.c_str()};
  EXPECT_EQ(Ask("root"), "1 /second");
  EXPECT_EQ(LogLines("Debug"),
            (Lines{"Is Httpd conf?[" + missing + "]", "Is Httpd conf?[" + folder + "]",
                   "Is Httpd conf?[" + second + "]", "Httpd conf is [" + second + "]"}));
}

}  // namespace
}  // namespace inst
