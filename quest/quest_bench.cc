// Times the loading of one large section of a question file, every fifth
// line of it rejected and logged, so that the cost per line can be compared
// between a small and a large section: it should not grow with the section.
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "benchmark/benchmark.h"
#include "lib/log.h"
#include "quest/quest.h"

namespace inst {
namespace {

// A temporary directory holding a question file whose section "install"
// has `lines` question lines.
class QuestionDir {
 public:
  explicit QuestionDir(int lines) {
    char dir[] = "/tmp/quest_bench_XXXXXX";
    if (mkdtemp(dir)) path_ = dir;
    std::ofstream out(file());
    out << "[other]\nText o - - H other\n[install]\n";
    for (int i = 0; i < lines; ++i) {
      if (i % 5 == 4) {
        out << "Text s" << i << " ctl\n";
      } else {
        out << "YN s" << i << " ctl - H" << i << " Question number " << i << "?\n";
      }
    }
  }
  ~QuestionDir() { std::filesystem::remove_all(path_); }
  std::string file() const { return path_ + "/install.q"; }
  std::string log() const { return path_ + "/install.log"; }

 private:
  std::string path_;
};

void BM_LoadSection(benchmark::State& state) {
  const int lines = static_cast<int>(state.range(0));
  QuestionDir dir(lines);
  // The rejected lines' errors go to a log, as in a real run; without one
  // they would be queued in memory.
  Log* log = log_init(LogError);
  log_open(log, dir.log().c_str());
  log_set(log);
  for (auto _ : state) {
    Questions* list = quest_init(nullptr);
    if (quest_load(list, dir.file().c_str(), "install") != 1) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(quest_count(list));
    quest_free(&list);
  }
  state.SetItemsProcessed(state.iterations() * lines);
  log_set(nullptr);
  log_free(&log);
}

BENCHMARK(BM_LoadSection)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace inst

BENCHMARK_MAIN();
