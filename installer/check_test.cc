#include "installer/check.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "installer/installer.h"
#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

// A product without a mistake; each case adds lines to the end of one file
// (of the [install] section for the question file and the copy script).
constexpr const char* kData = "product Widget\ndest $(current_dir)/out\nflag yes\nempty\nquit q\n";
constexpr const char* kQuestions = "[install]\nText flag - - H Flag\nDir dest - - DEST Where\n";
constexpr const char* kProbes = "Exist /etc probed - -\n";
constexpr const char* kScript = "[install]\nMkDir $(dest)\n";

class CheckTest : public InScratchTest {
 protected:
  void SetUp() override {
    InScratchTest::SetUp();
    if (HasFatalFailure()) return;
    myname = s_strdup("setup");
    dir_.Write("t.in", "a=$(dest)\nb=$(zzz)\n");
    dir_.Write("sub/d/x", "");
  }
  void TearDown() override {
    delete[] myname;
    myname = nullptr;
    InScratchTest::TearDown();
  }
  // The findings as check_product prints them, one a line.
  std::string Check() {
    Ini* store = ini_init();
    std::string out;
    for (const Finding& f : check_files(store)) {
      out += f.file + (f.line > 0 ? ":" + std::to_string(f.line) : "") +
             (f.error ? ": error: " : ": warning: ") + f.text + "\n";
    }
    ini_free(&store);
    return out;
  }
};

TEST_F(CheckTest, EachMistakeIsFoundOnItsLine) {
  const std::string longer(2500, 'y');  // three pieces, one warning
  static const struct {
    const char* ext;    // the file that gets the line; null: the probe file is missing
    std::string added;  // appended to it
    const char* found;  // what is found, in order
  } kCases[] = {
      {".dat", "dest /x\n",
       "setup.dat:6: warning: 'dest' is declared again (first on line 2): only the first is ever "
       "read\n"},
      {".dat", "action upgrade\n",
       "setup.dat:6: warning: 'action' is built in: this line has no effect\n"},
      {".dat", "x $(nosuch)/y $(DEST)\n",
       "setup.dat:6: warning: $(nosuch) names a setting that nothing sets: it is replaced by "
       "nothing\n"},
      {".dat", "x " + longer + "\n",
       "setup.dat:6: warning: line longer than 999 characters: the rest of it is read as a line "
       "of its own\n"},
      {".int", "Exsit /x flag - -\n",
       "setup.int:2: error: unknown probe 'Exsit': it does nothing\n"},
      {".int", "Exist /x\n",
       "setup.int:2: error: too few words for Exist: a probe takes 4 after its keyword ('-' for "
       "none); the next probe line is read into this one\n"},
      {".int", "Copy a b ctl yes\nExist $(nope)/x f - -\n",
       "setup.int:2: warning: control ctl names a setting that nothing sets: the compare text is "
       "matched with its name\n"
       "setup.int:3: warning: $(nope) names a setting that nothing sets: it is replaced by "
       "nothing\n"},
      {".q", "Txt x - - H Ask\n",
       "setup.q:4: error: unknown question type 'Txt': the line is kept as a question that takes "
       "any answer\n"},
      {".q", "YN flag - -\n",
       "setup.q:4: error: too few words for YN (setting control compare help-id text): the line "
       "is dropped\n"},
      {".q", "Loop flag 3\n",
       "setup.q:4: error: Loop goes back to question '3', which is not one of this section's 0 "
       "to 2\n"},
      {".q", "Loop flag 1\nLoop dest 0\n",
       "setup.q:4: warning: no question from 1 to this Loop sets flag: while it is false the "
       "questions go round without end\n"},
      {".q", "Error quit H Stop\nError flag H Stop\nError probed H Stop\n",
       "setup.q:4: warning: nothing before this Error and no probe sets quit: its default alone "
       "decides whether it fires\n"},
      {".q", "Text quit nosuch - H Ask $(nada)\n",
       "setup.q:4: warning: the default of quit is 'q': taken unattended, it quits the run\n"
       "setup.q:4: warning: $(nada) names a setting that nothing sets: it is replaced by "
       "nothing\n"
       "setup.q:4: warning: control nosuch names a setting that nothing sets: the question is "
       "always asked\n"},
      {".q", "[other]\nText x - - H Ask\n",
       "setup.q:4: error: section [other] is not in setup.cpy: its run asks the questions and "
       "then does nothing\n"},
      {".cpy", "Frob a b c\nCopyFile a -\n",
       "setup.cpy:3: error: unknown command 'Frob': the line is kept and fails when it runs\n"
       "setup.cpy:4: error: too few words for CopyFile (source not dest [control [compare]]): "
       "the line is dropped\n"},
      {".cpy", "RmDir $(empty)/x -\nRmDir $(dest)/$(empty) -\n",
       "setup.cpy:3: error: RmDir starts with $(empty), a setting without a default: while it is "
       "empty the command removes '/x'\n"},
      {".cpy", "RmFile /etc/* -\nRmFile /etc/app.conf -\nRmDir //opt -\n",
       "setup.cpy:3: error: RmFile takes '/etc/*' from the system directory /etc\n"
       "setup.cpy:5: error: RmDir removes '//opt' straight from /\n"},
      {".cpy", "CopyFile $(current_dir)/nothere/* - $(dest)\nCopyFile sub/* - $(dest)\n",
       "setup.cpy:3: error: source 'nothere/*' matches nothing in the product's directory\n"
       "setup.cpy:4: error: source 'sub/*' matches nothing in the product's directory\n"},
      {".cpy",
       "CopyDir sub/* - $(dest)\nIni $(current_dir)/t.in $(dest)/t\nIni none.in $(dest)/u\n",
       "setup.cpy:5: error: template 'none.in' is not in the product's directory\n"
       "t.in:2: warning: $(zzz) names a setting that nothing sets: it is replaced by nothing\n"},
      {".cpy", "Error quit Oops\nExist /x seen\nError seen Oops\nError flag Oops\n",
       "setup.cpy:3: warning: nothing before this Error, in its questions or in a probe sets quit: "
       "its default alone decides whether it fires\n"},
      {".cpy", "MkDir $(dest)/x ctl\n[other]\nMkDir x\n",
       "setup.cpy:3: warning: control ctl names a setting that nothing sets: the command always "
       "runs\n"
       "setup.cpy:4: error: section [other] is not in setup.q: its run fails before it starts, "
       "with no questions to load\n"},
      {nullptr, "", "setup.int: error: cannot be read: No such file or directory\n"},
  };
  for (const auto& c : kCases) {
    const std::string ext = c.ext != nullptr ? c.ext : "";
    dir_.Write("setup.dat", kData + (ext == ".dat" ? c.added : ""));
    dir_.Write("setup.int", kProbes + (ext == ".int" ? c.added : ""));
    dir_.Write("setup.q", kQuestions + (ext == ".q" ? c.added : ""));
    dir_.Write("setup.cpy", kScript + (ext == ".cpy" ? c.added : ""));
    if (c.ext == nullptr) std::filesystem::remove(dir_.Path("setup.int"));
    EXPECT_EQ(Check(), c.found) << ext << " + " << c.added;
  }
}

}  // namespace
}  // namespace inst
