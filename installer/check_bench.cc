// Times -check (check_files) on a large product: 10,000 questions and
// 100,000 copy commands of every kind, their sources in a directory of 100
// files, all of them correct, so that every check runs to its end. It
// should take well under a second.
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "benchmark/benchmark.h"
#include "ini/ini.h"
#include "installer/check.h"
#include "installer/installer.h"
#include "lib/strings.h"

namespace inst {
namespace {

constexpr int kQuestions = 10000;
constexpr int kCommands = 100000;
constexpr int kSources = 100;

// A product in a fresh directory, removed at the end.
class Product {
 public:
  Product() {
    char dir[] = "/tmp/check_bench_XXXXXX";
    if (mkdtemp(dir) == nullptr) return;
    path_ = dir;
    std::filesystem::create_directories(path_ + "/files");
    for (int i = 0; i < kSources; ++i) std::ofstream(path_ + "/files/f" + std::to_string(i));
    std::ofstream(path_ + "/files/conf.in") << "a=$(dest)\nb=$(s1)\n";
    std::ofstream dat(path_ + "/install.dat");
    dat << "product Big\ndest $(current_dir)/out\nflag yes\n";
    std::ofstream(path_ + "/install.int") << "Exist $(dest) installed - -\n";
    std::ofstream q(path_ + "/install.q");
    q << "[install]\n";
    for (int i = 0; i < kQuestions; ++i) {
      if (i % 10 == 9) {
        q << "Loop s" << i - 1 << " " << i - 2 << "\n";
      } else {
        dat << "s" << i << " value " << i << "\n";
        q << "Text s" << i << " flag yes H" << i << " Question $(s" << i << ") in $(dest)\n";
      }
    }
    std::ofstream cpy(path_ + "/install.cpy");
    cpy << "[install]\n";
    for (int i = 0; i < kCommands; ++i) {
      const std::string n = std::to_string(i);
      switch (i % 8) {
        case 0:
          cpy << "MkDir $(dest)/d" << n << " flag\n";
          break;
        case 1:
          cpy << "CopyFile $(current_dir)/files/f" << i % kSources << " - $(dest)/d" << n << "\n";
          break;
        case 2:
          cpy << "CopyDir $(current_dir)/files/ *.bak $(dest)/d" << n << " flag yes\n";
          break;
        case 3:
          cpy << "Ini $(current_dir)/files/conf.in $(dest)/c" << n << ".conf\n";
          break;
        case 4:
          cpy << "RmFile $(dest)/d" << n << "/*.old -\n";
          break;
        case 5:
          cpy << "Exist $(dest)/d" << n << " seen" << n << "\n";
          break;
        case 6:
          cpy << "Chmod $(dest)/d" << n << "/* - 644\n";
          break;
        default:
          cpy << "WFile $(dest)/w" << n << " s" << i % kQuestions << "\n";
          break;
      }
    }
  }
  ~Product() {
    if (!path_.empty()) std::filesystem::remove_all(path_);
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void BM_CheckLargeProduct(benchmark::State& state) {
  Product product;
  const std::filesystem::path home = std::filesystem::current_path();
  std::filesystem::current_path(product.path());
  myname = s_strdup("install");
  size_t findings = 0;
  for (auto _ : state) {
    Ini* store = ini_init();
    findings = check_files(store).size();
    ini_free(&store);
  }
  if (findings != 0) state.SkipWithError("the generated product has findings");
  state.counters["questions"] = kQuestions;
  state.counters["commands"] = kCommands;
  delete[] myname;
  myname = nullptr;
  std::filesystem::current_path(home);
}

BENCHMARK(BM_CheckLargeProduct)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace inst

BENCHMARK_MAIN();
