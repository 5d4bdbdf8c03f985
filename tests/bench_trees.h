// The trees that the copy benchmarks time side by side with the system's
// tools (10,000 files of 4 KiB in 100 directories, and one file of 1 GiB),
// and the median by which they sum up their rounds.
#ifndef INSTALLER_TESTS_BENCH_TREES_H_
#define INSTALLER_TESTS_BENCH_TREES_H_

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace bench {

constexpr int kDirs = 100;
constexpr int kFilesPerDir = 100;
constexpr size_t kSmallSize = 4096;
constexpr size_t kBigSize = size_t{1024} << 20;

// Writes root/small/d<0..99>/f<0..99> of kSmallSize bytes each and
// root/big/big.bin of kBigSize bytes, all of varied content.
inline void make_trees(const std::string& root) {
  namespace fs = std::filesystem;
  std::vector<char> block(1 << 20);
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 7 + i / 4096);
  for (int d = 0; d < kDirs; ++d) {
    const std::string dir = root + "/small/d" + std::to_string(d);
    fs::create_directories(dir);
    for (int f = 0; f < kFilesPerDir; ++f) {
      std::ofstream(dir + "/f" + std::to_string(f), std::ios::binary)
          .write(block.data() + f * 13, kSmallSize);
    }
  }
  fs::create_directories(root + "/big");
  std::ofstream big(root + "/big/big.bin", std::ios::binary);
  for (size_t done = 0; done < kBigSize; done += block.size()) {
    big.write(block.data(), static_cast<std::streamsize>(block.size()));
  }
}

inline double median(std::vector<double> v) {
  if (v.empty()) return 0;
  std::sort(v.begin(), v.end());
  return v.size() % 2 ? v[v.size() / 2] : (v[v.size() / 2 - 1] + v[v.size() / 2]) / 2;
}

}  // namespace bench

#endif  // INSTALLER_TESTS_BENCH_TREES_H_
