// The trees that the copy and walk benchmarks time side by side with the
// system's tools (files of 4 KiB, 100 to a directory, and one file of
// 1 GiB), and the median by which they sum up their rounds.
#ifndef INSTALLER_BENCH_TREES_H_
#define INSTALLER_BENCH_TREES_H_

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

// A megabyte of varied content.
inline std::vector<char> varied_block() {
  std::vector<char> block(1 << 20);
  for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 7 + i / 4096);
  return block;
}

// Writes dir/d<0..dirs-1>/f<0..kFilesPerDir-1> of kSmallSize bytes each:
// dirs * (kFilesPerDir + 1) entries below dir.
inline void make_small_tree(const std::string& dir, int dirs) {
  const std::vector<char> block = varied_block();
  for (int d = 0; d < dirs; ++d) {
    const std::string sub = dir + "/d" + std::to_string(d);
    std::filesystem::create_directories(sub);
    for (int f = 0; f < kFilesPerDir; ++f) {
      std::ofstream(sub + "/f" + std::to_string(f), std::ios::binary)
          .write(block.data() + f * 13, kSmallSize);
    }
  }
}

// Writes root/small/d<0..99>/f<0..99> of kSmallSize bytes each and
// root/big/big.bin of kBigSize bytes, all of varied content.
inline void make_trees(const std::string& root) {
  namespace fs = std::filesystem;
  make_small_tree(root + "/small", kDirs);
  const std::vector<char> block = varied_block();
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

#endif  // INSTALLER_BENCH_TREES_H_
