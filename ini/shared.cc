// The product data file.
#include "ini/shared.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "lib/host.h"
#include "lib/limits.h"
#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"

namespace inst {

SettingList* _settings = nullptr;

namespace {

constexpr size_t kFirstRows = 10;
constexpr size_t kGrowRows = 5;

// The storage behind _settings; its size is the table's capacity.
std::vector<SettingList> rows;

void release_rows() {
  for (SettingList& row : rows) {
    delete[] row.setting;
    delete[] row.dflt;
  }
  std::vector<SettingList>().swap(rows);
  _settings = nullptr;
}

// Writes the next row, growing the table first when every row is filled.
// An empty or null default leaves the setting without a value.
void add_row(size_t& filled, const char* name, const char* dflt, SettingMode mode) {
  if (filled == rows.size())
    rows.resize(rows.size() + kGrowRows, SettingList{nullptr, nullptr, Ini_None});
  std::unique_ptr<char[]> setting(s_strdup(name));
  std::unique_ptr<char[]> value(dflt && *dflt ? s_strdup(dflt) : nullptr);
  rows[filled] = SettingList{setting.release(), value.release(), mode};
  ++filled;
}

// Rows 0 to 3: the machine and the run.
void add_builtins(size_t& filled) {
  constexpr SettingMode kMachine = Ini_Replace | Ini_Fixed;
  char buffer[kLineSize];
  tcp_hostname(buffer, kLineSize);
  imsg("host=%s", buffer);
  add_row(filled, "host", buffer, kMachine);
  systemdir(buffer, kLineSize);
  imsg("system_dir=%s", buffer);
  add_row(filled, "system_dir", buffer, kMachine);
  // Without a current directory the setting is declared without a value.
  const char* current = currentdir(buffer, kLineSize);
  imsg("current_dir=%s", str(current));
  add_row(filled, "current_dir", current, kMachine);
  imsg("action=install");
  add_row(filled, "action", "install", Ini_None);
}

}  // namespace

int load_datfile(Ini* ini, const char* file) try {
  if (!ini || !file) return 0;
  OpenFile in(s_fopen(file, "r"));
  if (!in.f) {
    emsg("Error opening '%s' for read, %s", file, std::strerror(errno));
    return 0;
  }
  release_rows();
  rows.resize(kFirstRows, SettingList{nullptr, nullptr, Ini_None});
  size_t filled = 0;
  add_builtins(filled);
  // A line longer than the buffer arrives in pieces, each taken as a line.
  char line[kLineSize];
  while (std::fgets(line, sizeof line, in.f)) {
    char* name;
    char* value;
    if (!ini_split_line(line, &name, &value)) continue;
    dmsg("Adding '%s'='%s'", name, value);
    add_row(filled, name, value, Ini_Replace);
  }
  if (filled == rows.size()) rows.resize(rows.size() + 1, SettingList{nullptr, nullptr, Ini_None});
  s_fclose(&in.f);
  _settings = rows.data();
  ini_setup(ini, _settings, nullptr, 1);
  ini_process(ini);
  return 1;
} catch (const std::bad_alloc&) {
  release_rows();
  return 0;
}

void clear_datfile() {
  if (!_settings) return;
  release_rows();
}

}  // namespace inst
