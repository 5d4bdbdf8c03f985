#include "lib/accounts.h"

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

namespace inst {

namespace {

// Field `field` of a ':'-separated line, or false when the line has fewer.
bool nth_field(std::string_view line, int field, std::string_view* out) {
  for (int i = 0; i < field; ++i) {
    const size_t colon = line.find(':');
    if (colon == std::string_view::npos) return false;
    line.remove_prefix(colon + 1);
  }
  *out = line.substr(0, line.find(':'));
  return true;
}

// The id in `text`: digits only, at most 32 bits; -1 otherwise.
int parse_id(std::string_view text) {
  if (text.empty() || text.size() > 10) return -1;
  uint64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return -1;
    value = value * 10 + static_cast<uint64_t>(c - '0');
  }
  if (value > UINT32_MAX) return -1;
  return static_cast<int>(static_cast<uint32_t>(value));
}

}  // namespace

int accounts_find(const char* file, const char* name, int field) {
  if (file == nullptr || name == nullptr || *name == '\0' || field < 0) return -1;
  std::ifstream in(file);
  const std::string_view wanted(name);
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    std::string_view entry_name;
    nth_field(line, 0, &entry_name);
    if (entry_name != wanted) continue;
    std::string_view value;
    const int id = nth_field(line, field, &value) ? parse_id(value) : -1;
    if (id != -1) return id;
  }
  return -1;
}

}  // namespace inst
