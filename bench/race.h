// Pieces shared by the benchmarks that time our code side by side with a
// system tool: a temporary directory, running a tool, timing one side, and
// the median and spread of the ratios of several rounds.
#ifndef INSTALLER_BENCH_RACE_H_
#define INSTALLER_BENCH_RACE_H_

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <system_error>
#include <vector>

extern char** environ;

namespace bench {

// A fresh directory under base, removed with everything in it at the end;
// `path` is empty when it could not be made.
struct TempDir {
  TempDir(const std::string& base, const char* prefix) {
    std::string pattern = base + "/" + prefix + ".XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) path = pattern;
  }
  ~TempDir() {
    std::error_code ignored;
    if (!path.empty()) std::filesystem::remove_all(path, ignored);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  std::string path;
};

// Wall and processor time (this process and its waited-for children).
struct Times {
  double wall = 0;
  double cpu = 0;
};

inline double cpu_now() {
  double total = 0;
  for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage;
    getrusage(who, &usage);
    total += usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6;
    total += usage.ru_stime.tv_sec + usage.ru_stime.tv_usec / 1e6;
  }
  return total;
}

// Runs work, adds its times to *sum, then flushes the file system's delayed
// work outside the timing. Returns what work returned.
inline bool timed(const std::function<bool()>& work, Times* sum) {
  const double cpu = cpu_now();
  const auto start = std::chrono::steady_clock::now();
  const bool good = work();
  sum->wall += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  sum->cpu += cpu_now() - cpu;
  sync();
  return good;
}

// Runs a program found on PATH and waits for it; true when it exits with 0.
inline bool tool(std::vector<std::string> args) {
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid;
  if (posix_spawnp(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0) return false;
  int status = 0;
  return waitpid(pid, &status, 0) == pid && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// The median, smallest and largest of a set of figures.
struct Spread {
  double median = 0, min = 0, max = 0;
};

inline Spread spread(std::vector<double> v) {
  Spread s;
  if (v.empty()) return s;
  std::sort(v.begin(), v.end());
  const size_t n = v.size();
  s.median = n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
  s.min = v.front();
  s.max = v.back();
  return s;
}

// One operation timed both ways: prepare() runs untimed before each of the
// two runs of a round, mine() and theirs() are timed, clean() runs untimed
// after both.
struct Race {
  std::string name;
  std::function<void()> prepare;
  std::function<bool()> mine;
  std::function<bool()> theirs;
  std::function<void()> clean;
};

// The ratios ours/theirs of every round, wall and processor time.
struct Ratios {
  std::vector<double> wall, cpu;
};

// The directories a benchmark works in: its arguments from argv[2] on, else
// /dev/shm (a tmpfs) and /var/tmp (disk).
inline std::vector<std::string> places(int argc, char** argv) {
  std::vector<std::string> dirs(argv + std::min(argc, 2), argv + argc);
  if (dirs.empty()) dirs = {"/dev/shm", "/var/tmp"};
  return dirs;
}

// The user running the benchmark, whom Chown and chown -R give the trees to.
inline std::string owner() {
  const passwd* me = getpwuid(geteuid());
  return me != nullptr ? me->pw_name : "root";
}

// Runs `rounds` rounds of the race. Which side goes first after a removal
// matters on disk, so every round runs both orders, each after its own
// prepare(), and compares the sums. Prints each round on standard error;
// sets *good to false when a side failed.
inline Ratios run_race(const Race& race, int rounds, bool* good) {
  Ratios ratios;
  for (int round = 0; round < rounds; ++round) {
    Times t_mine, t_theirs;
    for (int order = 0; order < 2; ++order) {
      race.prepare();
      if (order == 0) {
        *good = timed(race.mine, &t_mine) && *good;
        *good = timed(race.theirs, &t_theirs) && *good;
      } else {
        *good = timed(race.theirs, &t_theirs) && *good;
        *good = timed(race.mine, &t_mine) && *good;
      }
      race.clean();
    }
    ratios.wall.push_back(t_mine.wall / t_theirs.wall);
    ratios.cpu.push_back(t_mine.cpu / t_theirs.cpu);
    std::fprintf(stderr, "  round %d %-12s ours %.3f s (cpu %.3f)  tool %.3f s (cpu %.3f)  %.3f\n",
                 round + 1, race.name.c_str(), t_mine.wall, t_mine.cpu, t_theirs.wall, t_theirs.cpu,
                 t_mine.wall / t_theirs.wall);
  }
  return ratios;
}

// Runs every race in turn, as run_race does, with standard output sent to
// /dev/null meanwhile: the progress dots go where an unattended install's
// output might, nowhere. Returns the ratios in the races' order.
template <typename Races>
std::vector<Ratios> run_races(const Races& races, int rounds, bool* good) {
  std::fflush(stdout);
  const int saved_stdout = dup(STDOUT_FILENO);
  const int null_fd = open("/dev/null", O_WRONLY);
  dup2(null_fd, STDOUT_FILENO);
  close(null_fd);
  std::vector<Ratios> ratios;
  for (const Race& race : races) ratios.push_back(run_race(race, rounds, good));
  std::fflush(stdout);
  dup2(saved_stdout, STDOUT_FILENO);
  close(saved_stdout);
  return ratios;
}

}  // namespace bench

#endif  // INSTALLER_BENCH_RACE_H_
