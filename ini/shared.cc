// The product data file.
#include "ini/shared.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "lib/host.h"
#include "lib/limits.h"
#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"

namespace inst {

SettingList* _settings = nullptr;

namespace {

// The rows in order, their texts in `texts`; _settings points into `table`
// once every row is read and the terminator added.
IniTexts texts;
std::vector<SettingList> table;
// The data file's line of each row; 0 for the built-in rows.
std::vector<int> lines;
// What the last load met.
std::vector<Problem> problems;

// An empty or null default leaves the setting without a value.
void add_row(const char* name, const char* dflt, SettingMode mode, int line = 0) {
  table.push_back(SettingList{texts.add(name), dflt && *dflt ? texts.add(dflt) : nullptr, mode});
  lines.push_back(line);
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

// Ends the table with a null row and points _settings at it.
void publish_table() {
  table.push_back(SettingList{nullptr, nullptr, Ini_None});
  // The table is kept until the end of the run: give back what its growth
  // left unused.
  table.shrink_to_fit();
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

void clear_datfile() {
  _settings = nullptr;
  std::vector<SettingList>().swap(table);
  std::vector<int>().swap(lines);
  texts.release();
}

int datfile_line(int row) {
  if (row < 0 || static_cast<size_t>(row) >= lines.size()) return 0;
  return lines[static_cast<size_t>(row)];
}

const std::vector<Problem>& datfile_problems() { return problems; }

}  // namespace inst
