// Times copy scripts run through copy_process as an install runs them (the
// installer's progress callbacks installed, a debug log flushed every line)
// against the system tools doing the same work on the same trees: CopyDir of
// 10,000 files of 4 KiB in 100 directories and CopyFile of one 1 GiB file
// against "cp -r", Chmod and Chown of the tree against "chmod -R" and
// "chown -R", and RmDir of it against "rm -rf". Each place (tmpfs and the
// ordinary disk by default) gets its own trees; every round runs both
// orders and compares the sums; the median ratio ours/theirs is printed.
//
// First it times the loading of scripts of 1,000 to 10,000 commands, with and
// without a debug log, and fits the growth (it should be linear).
//
// Usage: copy_bench [--benchmark_... flags] [rounds [directory...]]
// A round count of 0 times the loading only.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "bench/command.h"
#include "bench/race.h"
#include "bench/trees.h"
#include "benchmark/benchmark.h"
#include "copy/copy.h"
#include "ini/ini.h"
#include "installer/runs.h"
#include "lib/log.h"

namespace inst {
namespace {

namespace fs = std::filesystem;

// A script of `commands` lines of every kind of field, each source and
// destination with a reference, some with control settings.
std::string script_text(int commands) {
  std::string text = "# generated\n[other]\nMkDir /x\n[install]\n";
  const char* kinds[] = {"CopyFile $(dir)/src/f%d.txt *.bak $(dir)/dst flag yes\n",
                         "CopyDir $(dir)/src/d%d - $(dir)/dst\n",
                         "MkDir $(dir)/new/d%d\n",
                         "RmFile $(dir)/old/f%d.* -\n",
                         "Chmod $(dir)/bin/p%d - 755 flag\n",
                         "Error flag Could not install part %d\n"};
  char line[200];
  for (int i = 0; i < commands; ++i) {
    std::snprintf(line, sizeof line, kinds[i % 6], i);
    text += line;
  }
  return text + "[upgrade]\nMkDir /y\n";
}

void LoadScript(benchmark::State& state, bool logging) {
  const int commands = static_cast<int>(state.range(0));
  bench::TempDir dir("/tmp", "copy_bench");
  const std::string file = dir.path + "/install.cpy";
  std::ofstream(file) << script_text(commands);
  Log* log = log_init(logging ? LogDebug : LogError);
  log_open(log, (dir.path + "/install.log").c_str());
  log_set(log);
  Ini* ini = ini_init();
  const SettingList settings[] = {{"dir", "/opt/app", Ini_None}, {nullptr, nullptr, Ini_None}};
  ini_setup(ini, settings, nullptr, 1);
  for (auto _ : state) {
    Copy* copy = copy_init(ini);
    if (copy_load(copy, file.c_str(), "install") != 1 || copy_count(copy) != commands) {
      state.SkipWithError("load failed");
    }
    copy_free(&copy);
  }
  state.SetComplexityN(commands);
  state.SetItemsProcessed(state.iterations() * commands);
  ini_free(&ini);
  log_set(nullptr);
  log_free(&log);
}

void BM_LoadScriptLogged(benchmark::State& state) { LoadScript(state, true); }
void BM_LoadScriptQuiet(benchmark::State& state) { LoadScript(state, false); }

BENCHMARK(BM_LoadScriptLogged)
    ->RangeMultiplier(2)
    ->Range(1250, 10000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);
BENCHMARK(BM_LoadScriptQuiet)
    ->RangeMultiplier(2)
    ->Range(1250, 10000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

// Times one place; returns false when an operation went wrong.
bool bench_place(const std::string& base, int rounds, const std::string& owner) {
  bench::TempDir dir(base, "copy_bench");
  if (dir.path.empty()) {
    std::perror(base.c_str());
    return false;
  }
  const std::string root = dir.path;
  std::fprintf(stderr, "%s: building %d files of %zu bytes and one of %zu MiB...\n", root.c_str(),
               bench::kDirs * bench::kFilesPerDir, bench::kSmallSize, bench::kBigSize >> 20);
  bench::make_trees(root + "/src");
  sync();

  Log* log = log_init(LogDebug);
  log_open(log, (root + "/install.log").c_str());
  log_doflush(log, 1);
  log_set(log);
  Ini* ini = ini_init();
  const std::string tree = root + "/tree";
  const std::string mine = root + "/ours";
  const std::string theirs = root + "/cp";
  // The entries below "small": what CopyDir makes inside the copy of it.
  const int small_files = bench::kDirs + bench::kDirs * bench::kFilesPerDir;
  auto fresh = [&] {
    fs::remove_all(mine);
    fs::remove_all(theirs);
    fs::create_directory(mine);
    sync();
  };
  auto tree_copies = [&] {
    fs::remove_all(mine);
    fs::remove_all(theirs);
    bench::tool({"cp", "-r", root + "/src/small", mine});
    bench::tool({"cp", "-r", root + "/src/small", theirs});
    sync();
  };
  auto nothing = [] {};
  bench::Race races[] = {
      {"CopyDir", fresh,
       [&] {
         return bench::ours(ini, root, "CopyDir " + root + "/src/small - " + mine, small_files + 1);
       },
       [&] {
         return bench::tool({"cp", "-r", root + "/src/small", theirs});
       },
       nothing},
      {"CopyFile", fresh,
       [&] { return bench::ours(ini, root, "CopyFile " + root + "/src/big/big.bin - " + mine, 1); },
       [&] {
         return bench::tool({"cp", "-r", root + "/src/big", theirs});
       },
       nothing},
      {"Chmod", nothing,
       [&] { return bench::ours(ini, root, "Chmod " + tree + " - 755", small_files + 1); },
       [&] {
         return bench::tool({"chmod", "-R", "755", tree});
       },
       nothing},
      {"Chown", nothing,
       [&] { return bench::ours(ini, root, "Chown " + tree + " - " + owner, small_files + 1); },
       [&] {
         return bench::tool({"chown", "-R", owner + ":" + owner, tree});
       },
       nothing},
      {"RmDir", tree_copies, [&] { return bench::ours(ini, root, "RmDir " + mine + " -", 0); },
       [&] {
         return bench::tool({"rm", "-rf", theirs});
       },
       [&] {
         fs::remove_all(mine);
         fs::remove_all(theirs);
       }},
  };

  bool good = bench::tool({"cp", "-r", root + "/src/small", tree});
  const std::vector<bench::Ratios> ratios = bench::run_races(races, rounds, &good);

  std::printf("%s: median ratio ours/tool over %d rounds:", base.c_str(), rounds);
  for (size_t r = 0; r < ratios.size(); ++r) {
    std::printf(" %s %.3f (cpu %.3f);", races[r].name.c_str(), bench::median(ratios[r].wall),
                bench::median(ratios[r].cpu));
  }
  std::printf("\n");
  if (!good) std::printf("%s: an operation failed\n", base.c_str());
  ini_free(&ini);
  log_set(nullptr);
  log_free(&log);
  return good;
}

}  // namespace
}  // namespace inst

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  const int rounds = argc > 1 ? std::max(0, std::atoi(argv[1])) : 5;
  const std::string owner = bench::owner();
  bool good = true;
  for (const std::string& place : bench::places(argc, argv)) {
    if (rounds > 0) good = inst::bench_place(place, rounds, owner) && good;
  }
  return good ? 0 : 1;
}
