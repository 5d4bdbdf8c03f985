#include "installer/presets.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <optional>

#include "lib/limits.h"
#include "lib/log.h"
#include "lib/strings.h"

namespace inst {
namespace {

struct Preset {
  std::string name;
  std::string value;
};

std::vector<Preset> set_options;
std::vector<std::string> answer_files;
// Every preset in the order it is applied, made once by the first apply.
std::optional<std::vector<Preset>> resolved;
bool files_read = true;
std::vector<std::string> taken;

// Expands the references in the values of `entries` as the data file's are
// expanded: a temporary store declares the entries first and then a copy of
// every setting of `ini`, and ini_process() works on it.
void expand(Ini* ini, std::vector<Preset>* entries) {
  std::deque<std::string> texts;  // the store's names and values, at fixed places
  std::vector<SettingList> table;
  for (const Preset& entry : *entries) {
    table.push_back(
        {entry.name.c_str(), entry.value.empty() ? nullptr : entry.value.c_str(), Ini_Replace});
  }
  for (int32_t i = 0; i < ini_items(ini); ++i) {
    const char* value = ini_value(ini, i);
    texts.emplace_back(str(ini_label(ini, i)));
    const char* name = texts.back().c_str();
    if (value != nullptr) texts.emplace_back(value);
    table.push_back(
        {name, value != nullptr ? texts.back().c_str() : nullptr, ini_setting_mode(ini, i)});
  }
  table.push_back({nullptr, nullptr, Ini_None});
  std::unique_ptr<Ini, void (*)(Ini*)> scratch(ini_init(), [](Ini* p) { ini_free(&p); });
  ini_setup(scratch.get(), table.data(), nullptr, 1);
  ini_process(scratch.get());
  for (size_t i = 0; i < entries->size(); ++i) {
    (*entries)[i].value = str(ini_value(scratch.get(), static_cast<int32_t>(i)));
  }
}

// Appends the presets of one answers file to `out`. A name given twice
// keeps its last value. Returns false when the file cannot be read.
bool read_answers(Ini* ini, const std::string& file, std::vector<Preset>* out) {
  OpenFile in(s_fopen(file.c_str(), "r"));
  if (in.f == nullptr) {
    const char* reason = std::strerror(errno);
    emsg("Error opening '%s' for read, %s", file.c_str(), reason);
    std::printf("Error: Cannot read the answers file '%s', %s\n", file.c_str(), reason);
    return false;
  }
  imsg("Reading answers from '%s'", file.c_str());
  std::vector<Preset> entries;
  char line[kLineSize];
  while (std::fgets(line, sizeof line, in.f) != nullptr) {
    char* name;
    char* value;
    if (!ini_split_line(line, &name, &value)) continue;
    auto same = [name](const Preset& p) { return p.name == name; };
    auto known = std::find_if(entries.begin(), entries.end(), same);
    if (known != entries.end()) {
      known->value = value;
    } else {
      entries.push_back({name, value});
    }
  }
  expand(ini, &entries);
  out->insert(out->end(), entries.begin(), entries.end());
  return true;
}

// Makes `value` the setting's only value. Returns ini_add_name()'s result.
int set_only(Ini* ini, const Preset& preset) {
  const char* name = preset.name.c_str();
  const SettingMode mode = ini_setting_mode_name(ini, name);
  // A setting that keeps every value would otherwise keep the probes' too.
  if ((mode & Ini_Multi) != 0 && (mode & Ini_Fixed) == 0) {
    while (char* old = ini_remove_name(ini, name)) delete[] old;
  }
  return ini_add_name(ini, name, preset.value.c_str());
}

}  // namespace

void preset_set(const char* name, const char* value) {
  set_options.push_back({str(name), str(value)});
  resolved.reset();
}

void preset_answers(const char* file) {
  answer_files.emplace_back(str(file));
  resolved.reset();
}

int apply_presets(Ini* ini) {
  if (!resolved) {
    resolved.emplace();
    files_read = true;
    for (const std::string& file : answer_files) files_read &= read_answers(ini, file, &*resolved);
    resolved->insert(resolved->end(), set_options.begin(), set_options.end());
  }
  int ok = files_read ? 1 : 0;
  for (const Preset& preset : *resolved) {
    const char* name = preset.name.c_str();
    if (set_only(ini, preset) != 1) {
      const bool fixed = (ini_setting_mode_name(ini, name) & Ini_Fixed) != 0;
      const char* why = fixed || !preset.value.empty() ? "cannot be changed" : "cannot be empty";
      emsg("The setting '%s' %s", name, why);
      std::printf("Error: The setting '%s' %s\n", name, why);
      ok = 0;
    } else if (std::find(taken.begin(), taken.end(), preset.name) == taken.end()) {
      taken.push_back(preset.name);
    }
  }
  return ok;
}

const std::vector<std::string>& preset_names() { return taken; }

void presets_clear() {
  set_options.clear();
  answer_files.clear();
  resolved.reset();
  files_read = true;
  taken.clear();
}

}  // namespace inst
