#include "copy/dryrun.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "ini/ini.h"
#include "tests/scratch.h"

namespace inst {
namespace {

namespace fs = std::filesystem;

// Settings both stores start with.
const SettingList kSettings[] = {
    {"dir", "out", Ini_None}, {"flag", "yes", Ini_None}, {nullptr, nullptr, Ini_None}};

class DryRunTest : public InScratchTest {
 protected:
  // Makes a fresh directory `name` holding src/a.txt (3 bytes), src/b.txt
  // (5), src/sub/c.txt (1), out/old.txt (2) and keep/data/x (1), and works
  // in it.
  void Enter(const std::string& name) {
    for (const auto& [file, text] : {std::pair{"src/a.txt", "aaa"},
                                     {"src/b.txt", "bbbbb"},
                                     {"src/sub/c.txt", "c"},
                                     {"out/old.txt", "oo"},
                                     {"keep/data/x", "x"}}) {
      dir_.Write(name + "/" + file, text);
    }
    root_ = dir_.Path(name);
    fs::current_path(root_);
  }

  // A path as the rows write it: relative to the row's directory.
  std::string Rel(const std::string& path) {
    return fs::path(path).lexically_relative(root_).string();
  }

  // What one planned command does, as "<result> <changes>".
  std::string Show(const CommandPlan& plan) {
    std::string out = std::to_string(plan.result);
    static const char* const kCodes[] = {"+d", "+f", "!r", "!e", "+t",
                                         "-f", "-t", "~n", "~m", "~o"};
    for (const PlanChange& c : plan.changes) {
      out += std::string(" ") + kCodes[c.what] + " " + Rel(c.path);
      if (c.what == PlanChange::kCopyTree || c.what == PlanChange::kRemoveTree) {
        out += " " + std::to_string(c.files) + "/" + std::to_string(c.dirs) + "/" +
               std::to_string(c.bytes) + (c.kept > 0 ? " kept " + std::to_string(c.kept) : "");
      } else if (c.what == PlanChange::kRename) {
        out += " " + Rel(c.detail);
      } else if (c.what == PlanChange::kMode) {
        out += " " + c.detail;
      } else if (c.what != PlanChange::kMakeDir) {
        out += " " + std::to_string(c.bytes);
      }
    }
    return out;
  }

  // Every entry below the row's directory with its size, as the view sees it
  // or, without a view, as it is on disk.
  std::set<std::string> Tree(const PlanView* view) {
    std::set<std::string> out;
    if (view != nullptr) {
      std::vector<std::string> dirs = {root_};
      while (!dirs.empty()) {
        const std::string dir = dirs.back();
        dirs.pop_back();
        for (const PlanView::Entry& e : view->List(dir, "*")) {
          out.insert(Rel(e.path) + (e.kind == PlanKind::kDir ? "/" : " " + std::to_string(e.size)));
          if (e.kind == PlanKind::kDir) dirs.push_back(e.path);
        }
      }
    } else {
      for (const auto& e : fs::recursive_directory_iterator(root_)) {
        out.insert(Rel(e.path().string()) +
                   (e.is_directory() ? "/" : " " + std::to_string(e.file_size())));
      }
    }
    return out;
  }

  std::string root_;
};

// Each script is planned, then run for real: the plan must show the
// expected changes and foretell every command's result, the bytes copied
// and the tree the run leaves.
TEST_F(DryRunTest, PlanForetellsWhatTheCommandsDo) {
  static const struct {
    const char* script;
    const char* plan;  // each command's plan, joined by " | "
  } kCases[] = {
      {"MkDir out/new/deep\nCopyFile src/*.txt - out/new/deep\nMkDir src",
       "1 +d out/new +d out/new/deep | 2 +f out/new/deep/a.txt 3 +f out/new/deep/b.txt 5 | 1"},
      {"CopyFile src/*.txt - nowhere/x", "0"},
      {"CopyDir src/ - ./out\nCopyDir src/ - ./out",
       "4 +f out/a.txt 3 +f out/b.txt 5 +t out/sub 1/1/1 | "
       "3 !r out/a.txt 3 !r out/b.txt 5 !r out/sub/c.txt 1"},
      {"RmDir out/* -\nRmDir keep/* x\nRmFile src/* -",
       "1 -f out/old.txt 2 | 0 -t keep/data 0/0/0 kept 1 | 2 -f src/a.txt 3 -f src/b.txt 5"},
      {"RmDir keep -\nCopyFile keep/data/x - ./out", "3 -t keep 1/2/1 | 0"},
      {"Rename out/old.txt out/new.txt\nCopyFile out/new.txt - ./src\nRename src/sub out/sub\n"
       "Exist out/sub/c.txt moved\nCopyFile src/a.txt - ./keep moved true",
       "1 ~n out/old.txt out/new.txt | 1 +f src/new.txt 2 | 1 ~n src/sub out/sub | 1 | "
       "1 +f keep/a.txt 3"},
      {"MkDir src/a.txt/x\nCopyFile out/old.txt - ./out\nRmDir $(nosuch)out/* -", "0 | 0 | 0"},
      {"MkDir out/n\nExist out/n made\nCopyFile src/a.txt - out/n made true\nMkDir out/g flag no",
       "1 +d out/n | 1 | 1 +f out/n/a.txt 3 | -1"},
      {"RFile out/old.txt x\nWFile out/w.txt dir\nIni src/a.txt out/t.ini\nChmod out/* - 600",
       "1 !e out/old.txt 0 | 1 +f out/w.txt 3 | 1 +f out/t.ini 4 | "
       "3 ~m out/old.txt 600 ~m out/t.ini 600 ~m out/w.txt 600"},
      {"Chown src/* - nosuchuser\nIni nowhere.in out/t.ini", "0 | 0"},
  };
  file_setup_fn(nullptr, nullptr);
  int row = 0;
  for (const auto& c : kCases) {
    Enter("row" + std::to_string(row++));
    dir_.Write("setup.cpy", std::string("[install]\n") + c.script + "\n");
    Ini* planned = ini_init();
    Ini* ran = ini_init();
    ini_setup(planned, kSettings, nullptr, 1);
    ini_setup(ran, kSettings, nullptr, 1);
    Copy* plan_copy = copy_init(planned);
    Copy* run_copy = copy_init(ran);
    ASSERT_EQ(copy_load(plan_copy, dir_.Path("setup.cpy").c_str(), "install"), 1);
    ASSERT_EQ(copy_load(run_copy, dir_.Path("setup.cpy").c_str(), "install"), 1);

    PlanView view;
    std::string shown;
    std::vector<int> results;
    unsigned long planned_bytes = 0;
    for (int i = 0; i < copy_count(plan_copy); ++i) {
      const CommandPlan plan = copy_plan(plan_copy, i, &view);
      shown += (i > 0 ? " | " : "") + Show(plan);
      results.push_back(plan.result);
      planned_bytes += plan.bytes;
    }
    const std::set<std::string> foretold = Tree(&view);
    EXPECT_EQ(shown, c.plan) << c.script;

    unsigned long bytes = 0;
    for (int i = 0; i < copy_count(run_copy); ++i) {
      EXPECT_EQ(copy_do(run_copy, i, &bytes), results[static_cast<size_t>(i)])
          << c.script << "\ncommand " << i;
    }
    EXPECT_EQ(bytes, planned_bytes) << c.script;
    EXPECT_EQ(Tree(nullptr), foretold) << c.script;

    copy_free(&plan_copy);
    copy_free(&run_copy);
    ini_free(&planned);
    ini_free(&ran);
  }
}

}  // namespace
}  // namespace inst
