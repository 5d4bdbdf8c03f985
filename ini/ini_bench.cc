// Times the loading of product data files whose settings each refer to the
// one before, so that the cost per setting of declaring and expanding can be
// compared between small and large files, and the growth fitted. Every value
// expands to the same short text, so each setting costs one lookup and one
// substitution and the time per setting should not grow with the file.
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "benchmark/benchmark.h"
#include "ini/ini.h"
#include "ini/shared.h"
#include "lib/log.h"

namespace inst {
namespace {

// A temporary directory holding one data file of `settings` lines
// "s<i> $(s<i-1>)", and a log file beside it.
class DataDir {
 public:
  explicit DataDir(int settings) {
    char dir[] = "/tmp/ini_bench_XXXXXX";
    if (mkdtemp(dir)) path_ = dir;
    std::ofstream out(file());
    out << "s0 /base\n";
    for (int i = 1; i < settings; ++i) out << "s" << i << " $(s" << i - 1 << ")\n";
  }
  ~DataDir() { std::filesystem::remove_all(path_); }
  std::string file() const { return path_ + "/install.dat"; }
  std::string log() const { return path_ + "/install.log"; }

 private:
  std::string path_;
};

void LoadDatfile(benchmark::State& state, bool logging) {
  const int settings = static_cast<int>(state.range(0));
  DataDir dir(settings);
  Log* log = nullptr;
  if (logging) {
    log = log_init(LogDebug);
    log_open(log, dir.log().c_str());
    log_doflush(log, 1);  // as the program runs
    log_set(log);
  }
  for (auto _ : state) {
    Ini* ini = ini_init();
    if (load_datfile(ini, dir.file().c_str()) != 1) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(ini_value(ini, ini_items(ini) - 1));
    clear_datfile();
    ini_free(&ini);
  }
  state.SetComplexityN(settings);
  state.SetItemsProcessed(state.iterations() * settings);
  if (log) {
    log_set(nullptr);
    log_free(&log);
  }
}

void BM_LoadDatfileLogged(benchmark::State& state) { LoadDatfile(state, true); }
void BM_LoadDatfileQuiet(benchmark::State& state) { LoadDatfile(state, false); }

BENCHMARK(BM_LoadDatfileLogged)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);
BENCHMARK(BM_LoadDatfileQuiet)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

}  // namespace
}  // namespace inst

BENCHMARK_MAIN();
