// Times the program as a user runs it, menu then exit: started as ./setup in
// a directory holding setup.dat and an empty setup.int, fed "4" (Exit) and an
// empty line (the exit prompt), its output thrown away.
//
// Start-up: with an empty data file, against a static C program that does
// nothing, run alternately; the ratio of their times is printed.
// Several programs (say, two builds) take turns in every measurement, so
// that they can be compared on a busy machine.
// Data file: 1,000, 10,000 and 100,000 settings, half of them referring to
// the setting before ("s<i> $(s<i-1>)/x<i>" for odd i, "s<i> /opt/v<i>" for
// even i); printed are the time, the peak memory (the child's maximum
// resident set), and the time and memory per setting beyond the empty start,
// so that growth can be seen to be linear. The log starts empty every run.
// Every figure is the median of the rounds, with the smallest and largest;
// processor times are given beside wall times, as they suffer less from
// other work on a busy machine.
//
// Usage: startup_bench [rounds] [directory...] [--program=PATH...]
//   5 rounds; /dev/shm and /var/tmp; the program built beside this one.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/race.h"

namespace {

namespace fs = std::filesystem;

constexpr int kStartRuns = 20;  // start-up runs of each program in a round
const int kSettings[] = {1000, 10000, 100000};

// One run's wall time, the child's processor time (user and system) and its
// peak resident set.
struct Run {
  double seconds = 0;
  double cpu = 0;
  long peak_kib = 0;
  bool good = false;
};

// Runs `program` under the name `name` in `dir`, with standard input from
// dir/input and output to /dev/null.
Run run_in(const std::string& dir, const std::string& program, const char* name) {
  Run run;
  const auto start = std::chrono::steady_clock::now();
  const pid_t pid = fork();
  if (pid < 0) return run;
  if (pid == 0) {
    const int in = open((dir + "/input").c_str(), O_RDONLY);
    const int out = open("/dev/null", O_WRONLY);
    if (in < 0 || out < 0 || chdir(dir.c_str()) != 0) _exit(126);
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    char* argv[] = {const_cast<char*>(name), nullptr};
    execv(program.c_str(), argv);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  const bool waited = wait4(pid, &status, 0, &usage) == pid;
  run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  run.peak_kib = usage.ru_maxrss;
  run.cpu = usage.ru_utime.tv_sec + usage.ru_utime.tv_usec / 1e6 + usage.ru_stime.tv_sec +
            usage.ru_stime.tv_usec / 1e6;
  run.good = waited && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  return run;
}

// A directory for one case: the data file of `settings` settings (none:
// empty), an empty probe file, the input, and no log.
std::string make_case(const std::string& root, int settings) {
  const std::string dir = root + "/d" + std::to_string(settings);
  fs::create_directories(dir);
  std::ofstream data(dir + "/setup.dat");
  if (settings > 0) data << "s0 /opt/base\n";
  for (int i = 1; i < settings; ++i) {
    data << "s" << i;
    if (i % 2) {
      data << " $(s" << i - 1 << ")/x" << i << "\n";
    } else {
      data << " /opt/v" << i << "\n";
    }
  }
  std::ofstream(dir + "/setup.int");
  std::ofstream(dir + "/input") << "4\n\n";
  return dir;
}

// Runs the program once in a case directory whose log is removed first.
Run fresh_run(const std::string& dir, const std::string& program) {
  for (const auto& entry : fs::directory_iterator(dir)) {
    if (entry.path().filename().string().rfind("setup.log", 0) == 0) fs::remove(entry.path());
  }
  sync();
  return run_in(dir, program, "./setup");
}

void print_spread(const char* format, const std::vector<double>& values) {
  const bench::Spread s = bench::spread(values);
  std::printf(format, s.median, s.min, s.max);
}

bool bench_place(const std::string& base, int rounds, const std::vector<std::string>& programs) {
  bench::TempDir root(base, "startup_bench");
  if (root.path.empty()) {
    std::perror(base.c_str());
    return false;
  }
  const std::string empty = make_case(root.path, 0);
  std::vector<std::string> cases;
  for (int settings : kSettings) cases.push_back(make_case(root.path, settings));
  const size_t np = programs.size(), nc = cases.size();
  bool good = true;

  // Start-up: the yardstick (slot np) and the programs take turns, starting
  // one further every run. The log grows by a few lines a run and never
  // rotates here.
  std::vector<std::vector<double>> ratio(np), cpu_ratio(np), ms(np);
  for (int round = 0; round < rounds; ++round) {
    std::vector<double> sum(np + 1), cpu(np + 1);
    for (int run = 0; run < kStartRuns; ++run) {
      for (size_t k = 0; k <= np; ++k) {
        const size_t p = (k + static_cast<size_t>(run + round)) % (np + 1);
        const Run r = p == np ? run_in(empty, NOTHING_PROGRAM, "nothing")
                              : run_in(empty, programs[p], "./setup");
        good = r.good && good;
        sum[p] += r.seconds;
        cpu[p] += r.cpu;
      }
    }
    for (size_t p = 0; p < np; ++p) {
      ratio[p].push_back(sum[p] / sum[np]);
      cpu_ratio[p].push_back(cpu[p] / cpu[np]);
      ms[p].push_back(sum[p] / kStartRuns * 1000);
    }
  }

  // Data files: every program on every size once a round, the sizes in
  // turned order every other round, the programs taking turns.
  std::vector<std::vector<std::vector<double>>> seconds(np, std::vector<std::vector<double>>(nc));
  auto peak = seconds;
  auto cpu = seconds;
  std::vector<std::vector<double>> start_seconds(np), start_peak(np);
  for (int round = 0; round < rounds; ++round) {
    for (size_t k = 0; k <= nc; ++k) {
      for (size_t j = 0; j < np; ++j) {
        const size_t p = (j + static_cast<size_t>(round)) % np;
        if (k == nc) {
          const Run r = fresh_run(empty, programs[p]);
          good = r.good && good;
          start_seconds[p].push_back(r.seconds);
          start_peak[p].push_back(static_cast<double>(r.peak_kib));
          continue;
        }
        const size_t c = round % 2 ? nc - 1 - k : k;
        const Run r = fresh_run(cases[c], programs[p]);
        good = r.good && good;
        seconds[p][c].push_back(r.seconds);
        cpu[p][c].push_back(r.cpu);
        peak[p][c].push_back(static_cast<double>(r.peak_kib));
      }
    }
  }

  for (size_t p = 0; p < np; ++p) {
    std::printf("%s, %s, %d rounds:\n", base.c_str(), programs[p].c_str(), rounds);
    print_spread("  start-up, menu then exit: %.2f (%.2f-%.2f) x a static C program doing nothing",
                 ratio[p]);
    print_spread(" (processor time %.2f, %.2f-%.2f)", cpu_ratio[p]);
    print_spread(", %.2f (%.2f-%.2f) ms\n", ms[p]);
    const double start_s = bench::spread(start_seconds[p]).median;
    const double start_kib = bench::spread(start_peak[p]).median;
    std::printf("  data file, menu then exit: empty %.3f s, %.1f MB\n", start_s, start_kib / 1024);
    for (size_t c = 0; c < nc; ++c) {
      const bench::Spread t = bench::spread(seconds[p][c]);
      const bench::Spread m = bench::spread(peak[p][c]);
      const bench::Spread u = bench::spread(cpu[p][c]);
      std::printf(
          "  %6d settings: %.3f s (%.3f-%.3f), processor %.3f s (%.3f-%.3f), peak %.1f MB "
          "(%.1f-%.1f); a setting %.2f us, %.0f B\n",
          kSettings[c], t.median, t.min, t.max, u.median, u.min, u.max, m.median / 1024,
          m.min / 1024, m.max / 1024, (t.median - start_s) / kSettings[c] * 1e6,
          (m.median - start_kib) * 1024 / kSettings[c]);
    }
  }
  std::fflush(stdout);
  if (!good) std::printf("%s: a run failed\n", base.c_str());
  return good;
}

}  // namespace

int main(int argc, char** argv) {
  int rounds = 5;
  std::vector<std::string> places, programs;
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    if (std::strncmp(arg, "--program=", 10) == 0) {
      programs.push_back(fs::absolute(arg + 10).string());
    } else if (i == 1 && std::atoi(arg) > 0) {
      rounds = std::atoi(arg);
    } else {
      places.push_back(arg);
    }
  }
  if (places.empty()) places = {"/dev/shm", "/var/tmp"};
  if (programs.empty()) programs = {INSTALL_PROGRAM};
  bool good = true;
  for (const std::string& place : places) good = bench_place(place, rounds, programs) && good;
  return good ? 0 : 1;
}
