// Times file_xcopy against "cp -r" on the same trees: 10,000 files of 4 KiB
// in 100 directories, and one file of 1 GiB. Each place (tmpfs and the
// ordinary disk by default) gets its own trees; in every round each copier
// goes first once, the copies are removed after each pass, and the median
// ratio ours/cp is printed per tree, with the process's peak memory.
//
// Usage: file_bench [rounds [directory...]]
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "bench/trees.h"
#include "file/file.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

using bench::kBigSize;
using bench::kDirs;
using bench::kFilesPerDir;
using bench::kSmallSize;
using bench::make_trees;
using bench::median;

struct Times {
  double wall = 0;
  double cpu = 0;  // user and system time of this process and its waited-for children
};

double cpu_seconds() {
  double total = 0;
  for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage;
    getrusage(who, &usage);
    for (const timeval& t : {usage.ru_utime, usage.ru_stime}) total += t.tv_sec + t.tv_usec / 1e6;
  }
  return total;
}

Times measure(const std::function<bool()>& run, bool* good) {
  const double cpu = cpu_seconds();
  const auto start = std::chrono::steady_clock::now();
  *good = run() && *good;
  Times t;
  t.wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  t.cpu = cpu_seconds() - cpu;
  return t;
}

bool run_cp(const std::string& src, const std::string& dst) {
  const char* argv[] = {"cp", "-r", src.c_str(), dst.c_str(), nullptr};
  pid_t pid;
  if (posix_spawnp(&pid, "cp", nullptr, nullptr, const_cast<char* const*>(argv), environ) != 0) {
    return false;
  }
  int status = 0;
  return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

bool ours(const std::string& src, const std::string& dst, int expected) {
  unsigned long bytes = 0;
  return inst::file_xcopy(src.c_str(), "*", nullptr, dst.c_str(), 1, &bytes) == expected;
}

long peak_kib() {
  std::ifstream in("/proc/self/status");
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::atol(line.c_str() + 6);
  }
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

// Times one place; returns false when a copy went wrong.
bool bench_place(const std::string& base, int rounds) {
  char tmpl[4096];
  std::snprintf(tmpl, sizeof tmpl, "%s/file_bench.XXXXXX", base.c_str());
  if (mkdtemp(tmpl) == nullptr) {
    std::perror(base.c_str());
    return false;
  }
  const std::string root = tmpl;
  std::printf("%s: building %d files of %zu bytes and one of %zu MiB...\n", root.c_str(),
              kDirs * kFilesPerDir, kSmallSize, kBigSize >> 20);
  std::fflush(stdout);
  make_trees(root + "/src");
  sync();
  // Start the peak memory count afresh, so that it covers the copies only.
  std::ofstream("/proc/self/clear_refs") << "5";

  bool good = true;
  std::vector<double> wall[2], cpu[2];
  const int small_count = 1 + kDirs + kDirs * kFilesPerDir;
  // Which copier goes first after a removal matters on ext4 (the first one
  // to fill many small files, or the second one to fill a big one, pays for
  // the file system's delayed work), so every round runs both orders, each
  // on fresh destinations, and compares the sums.
  for (int big = 0; big < 2; ++big) {
    const std::string src = root + (big ? "/src/big" : "/src/small");
    const std::string mine = root + "/ours", theirs = root + "/cp";
    for (int round = 0; round < rounds; ++round) {
      Times t_ours, t_cp;
      auto time_ours = [&] {
        const Times t = measure([&] { return ours(src, mine, big ? 2 : small_count); }, &good);
        t_ours.wall += t.wall;
        t_ours.cpu += t.cpu;
        sync();
      };
      auto time_cp = [&] {
        const Times t = measure([&] { return run_cp(src, theirs); }, &good);
        t_cp.wall += t.wall;
        t_cp.cpu += t.cpu;
        sync();
      };
      for (int order = 0; order < 2; ++order) {
        if (order == 0) {
          time_ours();
          time_cp();
        } else {
          time_cp();
          time_ours();
        }
        fs::remove_all(mine);
        fs::remove_all(theirs);
        sync();
      }
      wall[big].push_back(t_ours.wall / t_cp.wall);
      cpu[big].push_back(t_ours.cpu / t_cp.cpu);
      std::printf("  round %d %-5s ours %.3f s (cpu %.3f)  cp %.3f s (cpu %.3f)  ratio %.3f\n",
                  round + 1, big ? "big" : "small", t_ours.wall, t_ours.cpu, t_cp.wall, t_cp.cpu,
                  t_ours.wall / t_cp.wall);
      std::fflush(stdout);
    }
  }
  std::printf(
      "%s: median ratio ours/cp: small files %.3f, big file %.3f (cpu time: %.3f, %.3f); "
      "peak memory %ld KiB\n",
      base.c_str(), median(wall[0]), median(wall[1]), median(cpu[0]), median(cpu[1]), peak_kib());
  fs::remove_all(root);
  if (!good) std::printf("%s: a copy failed\n", base.c_str());
  return good;
}

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 5;
  std::vector<std::string> places;
  for (int i = 2; i < argc; ++i) places.push_back(argv[i]);
  if (places.empty()) places = {"/dev/shm", "/var/tmp"};
  bool good = true;
  for (const auto& place : places) good = bench_place(place, rounds) && good;
  return good ? 0 : 1;
}
