#include "installer/plan.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "installer/installer.h"
#include "lib/strings.h"
#include "tests/scratch.h"

namespace inst {
namespace {

class PlanProductTest : public InScratchTest {
 protected:
  void SetUp() override {
    InScratchTest::SetUp();
    if (HasFatalFailure()) return;
    myname = s_strdup("setup");
  }
  void TearDown() override {
    delete[] myname;
    myname = nullptr;
    InScratchTest::TearDown();
  }
};

// How a plan ends when the run would not go through, and what it shows of
// the probes it does not run: each row is a small product, the lines its
// plan must show in this order, and the status.
TEST_F(PlanProductTest, PlanShowsWhereTheRunWouldEnd) {
  static const struct {
    const char* probes;
    const char* questions;  // the [install] section
    const char* script;     // the [install] section; null: no such section
    const char* shown;      // lines of the plan, one a line, in order
    int status;
  } kCases[] = {
      {"WFile $(dest)/w flag - -\nFrob a b - -\nRFile /nowhere x - -\nTimeDate nofmt t - -\n", "",
       "",
       "  setup.int:1  WFile @/out/w flag => not run: it writes @/out/w\n"
       "  setup.int:2  (unknown) a b => does nothing\n"
       "  setup.int:3  RFile /nowhere x => fails: /nowhere cannot be read\n"
       "  setup.int:4  TimeDate nofmt t => fails: nofmt has no value\n"
       "  The run ends with \"Success 0 bytes in 0 files copied\"\n",
       0},
      {"", "Error no H Stop here\n", "",
       "  setup.q:2  Error no => FAILS: Error: Stop here\n"
       "  The run fails here, before the copy script\n",
       1},
      {"", "FileExist dest - - H Where\n", "",
       "  setup.q:2  FileExist dest => FAILS: its default \"@/out\" is refused: File '@/out' "
       "must exist, No such file or directory\n",
       1},
      {"", "Text letter - - H Letter\n", "",
       "  setup.q:2  Text letter => QUITS: its default is \"q\"\n"
       "  The run quits here, before the copy script\n",
       1},
      {"", "Text dest - - H Where\nLoop no 0\n", "",
       "  setup.q:3  Loop no => goes back to question 0, no is \"no\"\n"
       "  setup.q:2  Text dest => dest = \"@/out\"\n"
       "  setup.q:3  Loop no => FAILS: Error: The questions go round without end\n",
       1},
      {"", "", nullptr, "Copy script [install] (setup.cpy): not there, the run does nothing more\n",
       0},
      {"", "", "MkDir $(dest) no true\nError no Disk full\nMkDir $(dest)\n",
       "  setup.cpy:2  MkDir @/out no true => skipped, no is \"no\", not \"true\"\n"
       "  setup.cpy:3  Error no Disk full => FAILS: Disk full\n"
       "  The run stops here and prints \"Failed, Disk full\"\n"
       "Summary: 0 commands run, 1 skipped, 1 failing; made 0 directories and 0 files, replaced 0 "
       "files, removed 0 files and 0 directories, changed 0 modes and 0 owners; 0 bytes copied\n",
       1},
  };
  for (const auto& c : kCases) {
    dir_.Write("setup.dat", "dest $(current_dir)/out\nno no\nletter q\n");
    dir_.Write("setup.int", c.probes);
    dir_.Write("setup.q", std::string("[install]\n") + c.questions);
    dir_.Write("setup.cpy", c.script != nullptr ? std::string("[install]\n") + c.script : "");
    Ini* store = ini_init();
    testing::internal::CaptureStdout();
    const int status = plan_product(store);
    std::string out = testing::internal::GetCapturedStdout();
    ini_free(&store);
    for (size_t at = out.find(dir_.root()); at != std::string::npos; at = out.find(dir_.root())) {
      out.replace(at, dir_.root().size(), "@");
    }
    EXPECT_EQ(status, c.status) << c.shown;
    // Each expected line, in order.
    std::istringstream lines(c.shown);
    size_t from = 0;
    for (std::string line; std::getline(lines, line);) {
      const size_t at = out.find(line + "\n", from);
      EXPECT_NE(at, std::string::npos) << "missing or out of order: " << line << "\nin:\n" << out;
      if (at != std::string::npos) from = at + line.size();
    }
  }
}

}  // namespace
}  // namespace inst
