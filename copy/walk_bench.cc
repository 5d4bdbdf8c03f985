// Times the tree walks of the copy scripts, run through copy_process as an
// install runs them (a progress dot written per file, to /dev/null, and a
// debug log flushed every line), against the system tools doing the same
// work on the same trees in the same run: Chown against "chown -R", Chmod
// against "chmod -R", RmDir against "rm -rf". Trees of 10,100 and 101,000
// entries (files of 4 KiB, 100 to a directory). Each place gets its own
// trees; every round runs both orders and compares the sums; the median
// ratio ours/tool is printed with the smallest and largest round.
//
// Usage: walk_bench [rounds [directory...]]   (5 rounds; /dev/shm and /var/tmp)
//        WALK_BENCH_DIRS=100 walk_bench ...    only the tree of 100 directories
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/command.h"
#include "bench/race.h"
#include "bench/trees.h"
#include "copy/copy.h"
#include "ini/ini.h"
#include "installer/runs.h"
#include "lib/log.h"

namespace inst {
namespace {

namespace fs = std::filesystem;

// Times the three walks over a tree of `dirs` directories in one place;
// returns false when an operation went wrong.
bool bench_tree(const std::string& base, int dirs, int rounds, const std::string& owner) {
  bench::TempDir dir(base, "walk_bench");
  if (dir.path.empty()) {
    std::perror(base.c_str());
    return false;
  }
  const std::string root = dir.path;
  const std::string src = root + "/src";
  const std::string tree = root + "/tree";
  const std::string mine = root + "/ours";
  const std::string theirs = root + "/tool";
  // Entries below the top of a tree, which a walk changes, and the top.
  const int entries = dirs * (bench::kFilesPerDir + 1);
  std::fprintf(stderr, "%s: building %d entries...\n", root.c_str(), entries);
  bench::make_small_tree(src, dirs);
  bool good = bench::tool({"cp", "-r", src, tree});
  sync();

  Log* log = log_init(LogDebug);
  log_open(log, (root + "/install.log").c_str());
  log_doflush(log, 1);
  log_set(log);
  Ini* ini = ini_init();
  auto two_copies = [&] {
    fs::remove_all(mine);
    fs::remove_all(theirs);
    bench::tool({"cp", "-r", src, mine});
    bench::tool({"cp", "-r", src, theirs});
    sync();
  };
  auto remove_both = [&] {
    fs::remove_all(mine);
    fs::remove_all(theirs);
  };
  auto nothing = [] {};
  const bench::Race races[] = {
      {"Chown", nothing,
       [&] { return bench::ours(ini, root, "Chown " + tree + " - " + owner, entries + 1); },
       [&] {
         return bench::tool({"chown", "-R", owner + ":" + owner, tree});
       },
       nothing},
      {"Chmod", nothing,
       [&] { return bench::ours(ini, root, "Chmod " + tree + " - 755", entries + 1); },
       [&] {
         return bench::tool({"chmod", "-R", "755", tree});
       },
       nothing},
      {"RmDir", two_copies, [&] { return bench::ours(ini, root, "RmDir " + mine + " -", 0); },
       [&] {
         return bench::tool({"rm", "-rf", theirs});
       },
       remove_both},
  };

  const std::vector<bench::Ratios> ratios = bench::run_races(races, rounds, &good);

  std::printf("%s, %d entries, %d rounds: ours/tool median (min-max)", base.c_str(), entries,
              rounds);
  for (size_t r = 0; r < ratios.size(); ++r) {
    const bench::Spread wall = bench::spread(ratios[r].wall);
    const bench::Spread cpu = bench::spread(ratios[r].cpu);
    std::printf("; %s %.2f (%.2f-%.2f, cpu %.2f)", races[r].name.c_str(), wall.median, wall.min,
                wall.max, cpu.median);
  }
  std::printf("\n");
  std::fflush(stdout);
  if (!good) std::printf("%s: an operation failed\n", base.c_str());
  ini_free(&ini);
  log_set(nullptr);
  log_free(&log);
  return good;
}

}  // namespace
}  // namespace inst

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
  std::vector<int> sizes = {100, 1000};
  if (const char* only = std::getenv("WALK_BENCH_DIRS")) sizes = {std::max(1, std::atoi(only))};
  const std::string owner = bench::owner();
  bool good = true;
  for (const std::string& place : bench::places(argc, argv)) {
    for (int dirs : sizes) good = inst::bench_tree(place, dirs, rounds, owner) && good;
  }
  return good ? 0 : 1;
}
