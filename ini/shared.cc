// The product data file.
#include "ini/shared.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "lib/host.h"
#include "lib/limits.h"
#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"

namespace inst {

SettingList* _settings = nullptr;

namespace {

// One declaration row with its texts owned.
struct OwnedRow {
  std::string setting;
  std::optional<std::string> dflt;  // none: the setting starts without a value
  SettingMode mode;
  int line;  // of the data file; 0 for the built-in rows
};

// The rows in order, and the table that _settings points to: made once
// every row is read, its texts point into `owned`, which is left alone
// until clear_datfile().
std::vector<OwnedRow> owned;
std::vector<SettingList> table;
// What the last load met.
std::vector<Problem> problems;

// An empty or null default leaves the setting without a value.
void add_row(const char* name, const char* dflt, SettingMode mode, int line = 0) {
  owned.push_back(
      OwnedRow{name, dflt && *dflt ? std::optional<std::string>(dflt) : std::nullopt, mode, line});
}

// Rows 0 to 3: the machine and the run.
void add_builtins() {
  constexpr SettingMode kMachine = Ini_Replace | Ini_Fixed;
  char buffer[kLineSize];
  tcp_hostname(buffer, kLineSize);
  imsg("host=%s", buffer);
  add_row("host", buffer, kMachine);
  systemdir(buffer, kLineSize);
  imsg("system_dir=%s", buffer);
  add_row("system_dir", buffer, kMachine);
  // Without a current directory the setting is declared without a value.
  const char* current = currentdir(buffer, kLineSize);
  imsg("current_dir=%s", str(current));
  add_row("current_dir", current, kMachine);
  imsg("action=install");
  add_row("action", "install", Ini_None);
}

// Points _settings at a table of the rows read, ended by a null row.
void publish_table() {
  table.reserve(owned.size() + 1);
  for (const OwnedRow& row : owned) {
    table.push_back(
        SettingList{row.setting.c_str(), row.dflt ? row.dflt->c_str() : nullptr, row.mode});
  }
  table.push_back(SettingList{nullptr, nullptr, Ini_None});
  _settings = table.data();
}

}  // namespace

int load_datfile(Ini* ini, const char* file) {
  if (!ini || !file) return 0;
  OpenFile in(s_fopen(file, "r"));
  if (!in.f) {
    emsg("Error opening '%s' for read, %s", file, std::strerror(errno));
    return 0;
  }
  clear_datfile();
  problems.clear();
  add_builtins();
  // A line longer than the buffer arrives in pieces, each taken as a line.
  LineReader reader(in.f);
  while (char* line = reader.next()) {
    char* name;
    char* value;
    if (!ini_split_line(line, &name, &value)) continue;
    if (reader.tail()) note_tail(&problems, reader);
    dmsg("Adding '%s'='%s'", name, value);
    add_row(name, value, Ini_Replace, reader.line());
  }
  s_fclose(&in.f);
  publish_table();
  ini_setup(ini, _settings, nullptr, 1);
  ini_process(ini);
  return 1;
}

int datfile_line(int row) {
  if (row < 0 || static_cast<size_t>(row) >= owned.size()) return 0;
  return owned[static_cast<size_t>(row)].line;
}

const std::vector<Problem>& datfile_problems() { return problems; }

void clear_datfile() {
  _settings = nullptr;
  std::vector<SettingList>().swap(table);
  std::vector<OwnedRow>().swap(owned);
}

}  // namespace inst
