// The settings store, the expansion of setting references and settings files.
#include "ini/ini.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "lib/format.h"
#include "lib/limits.h"
#include "lib/log.h"
#include "lib/paths.h"
#include "lib/strings.h"
#include "lib/wild.h"

namespace inst {
namespace {

constexpr size_t kNameMax = kLineSize - 1;  // longest reference name looked up
constexpr int kMaxSubstitutions = 100;      // per value in ini_process()
constexpr int32_t kGrowRows = 5;            // rows added when the table is full

// Shared by every ini_peek() call and never cleared.
char peek_buffer[kLineSize];

bool uses(const Ini* ini, IniMode flag) { return (ini->mode & flag) != 0; }

bool valid_index(const Ini* ini, int32_t index) { return ini && index >= 0 && index < ini->items; }

Item* item_at(const Ini* ini, int32_t index) { return ini->data->data[index]; }

const char* name_at(const Ini* ini, int32_t index) { return ini->list[index].setting; }

Xtra* xtra_new(XtraFn fn, SettingMode flag) { return new Xtra{fn, flag}; }

// FNV-1a over the name's bytes, folded through charmap for a folded index.
uint64_t name_hash(std::string_view name, bool folded) {
  uint64_t hash = 14695981039346656037ull;
  for (char c : name) {
    hash ^= folded ? fold(c) : static_cast<unsigned char>(c);
    hash *= 1099511628211ull;
  }
  return hash ^ (hash >> 32);
}

// Whether the row text `row` is `name`, folded or exactly.
bool same_name(std::string_view name, const char* row, bool folded) {
  for (char c : name) {
    if (*row == '\0' || (folded ? fold(c) != fold(*row) : c != *row)) return false;
    ++row;
  }
  return *row == '\0';
}

// The slot that holds `name`, or the free slot where it would go. The index
// must have slots.
size_t probe(const Ini* ini, const IniNameIndex& index, std::string_view name) {
  const size_t mask = index.slots.size() - 1;
  for (size_t at = name_hash(name, index.folded) & mask;; at = (at + 1) & mask) {
    const int32_t setting = index.slots[at];
    if (setting < 0 || same_name(name, name_at(ini, setting), index.folded)) return at;
  }
}

int32_t lookup(const Ini* ini, const IniNameIndex& index, std::string_view name) {
  return index.slots.empty() ? -1 : index.slots[probe(ini, index, name)];
}

// Records `setting` under its name unless an earlier setting has the name.
void index_insert(const Ini* ini, IniNameIndex& index, int32_t setting) {
  const size_t at = probe(ini, index, name_at(ini, setting));
  if (index.slots[at] >= 0) return;
  index.slots[at] = setting;
  ++index.used;
}

// Gives the index room for `names` names at most half full, keeping what
// it holds.
void index_reserve(const Ini* ini, IniNameIndex& index, size_t names) {
  if (2 * names <= index.slots.size()) return;
  size_t size = 16;
  while (size < 2 * names) size *= 2;
  std::vector<int32_t> old(size, -1);
  old.swap(index.slots);
  index.used = 0;
  for (int32_t setting : old) {
    if (setting >= 0) index_insert(ini, index, setting);
  }
}

int32_t find_exact(const Ini* ini, const char* name) {
  if (!ini || !name || ini->list.empty()) return -1;
  return lookup(ini, ini->by_name, name);
}

int32_t find_folded(const Ini* ini, std::string_view name) {
  return lookup(ini, ini->by_folded, name);
}

// Records the setting at `index` in both name indexes unless an earlier
// setting already has the name.
void index_name(Ini* ini, int32_t index) {
  for (IniNameIndex* names : {&ini->by_name, &ini->by_folded}) {
    index_reserve(ini, *names, static_cast<size_t>(names->used) + 1);
    index_insert(ini, *names, index);
  }
}

// The first value of an Item without moving its cursor.
const char* first_value(const Item* item) {
  const Node<char>* first = item->values->root ? item->values->root->next : nullptr;
  return first ? first->data : nullptr;
}

// Sets the counts from the containers they mirror; the only writer of
// items and size.
void recount(Ini* ini) {
  ini->items = array_items(ini->data);
  ini->size = static_cast<int32_t>(ini->list.size());
}

// Gives the declaration table `rows` rows, the new ones empty. Returns
// false, logging "Memory allocation error", when the table cannot have
// them; it is then left as it was.
bool resize_table(Ini* ini, size_t rows) {
  try {
    ini->list.resize(rows);
  } catch (const std::bad_alloc&) {
    emsg("Memory allocation error");
    return false;
  }
  recount(ini);
  return true;
}

// Appends a setting: its row, grown by kGrowRows when only the terminator
// row is free, its values and its place in the name indexes. Returns false
// when the table or the Item array cannot grow (each logs its own failure).
bool append_setting(Ini* ini, const char* name, SettingMode mode, std::unique_ptr<Item> item) {
  const int32_t index = ini->items;
  if (ini->size <= index + 1 && !resize_table(ini, static_cast<size_t>(ini->size) + kGrowRows)) {
    return false;
  }
  if (!array_add(ini->data, item.get())) return false;
  item.release();
  ini->list[index] = IniRow{ini->names.add(name), mode};
  recount(ini);
  index_name(ini, index);
  return true;
}

// Drops every declaration and value, for a second ini_setup().
void clear_declarations(Ini* ini) {
  array_empty_dealloc(ini->data);
  ini->list.clear();
  ini->names.release();
  for (IniNameIndex* names : {&ini->by_name, &ini->by_folded}) {
    names->slots.clear();
    names->used = 0;
  }
  recount(ini);
}

// Runs the registered transforms that apply to `mode` over value. Returns
// the transformed text in work, or value itself when none applies.
const char* apply_transforms(const Ini* ini, SettingMode mode, const char* value, char* work) {
  if (!(mode & Ini_XTRAMask) || !ini->xtra) return value;
  for (int32_t i = 0; i < ini->xtra->items; ++i) {
    const Xtra* x = ini->xtra->data[i];
    if (!x || !x->fn || !(x->flag & mode)) continue;
    // The function may hand back the work buffer itself, so copy through a
    // second buffer.
    char next[kLineSize];
    scpy(next, x->fn(value), kLineSize);
    std::memcpy(work, next, std::strlen(next) + 1);
    value = work;
  }
  return value;
}

// A buffer filled from the front that always keeps one byte for its
// terminator: append() copies at most `limit` characters of a text and never
// more than the room left less one.
struct Bounded {
  char* buffer;
  size_t size;
  size_t used = 0;

  size_t room() const { return size - used; }
  void append(const char* text, size_t length, size_t limit) {
    length = std::min({length, limit, room() - 1});
    std::memcpy(buffer + used, text, length);
    used += length;
  }
  void finish() { buffer[used] = '\0'; }
};

// Expands the references in the current value of `values` in place, for
// ini_process().
void expand_value(Ini* ini, Linklist<char>* values) {
  char work[kLineSize];
  const char* value = list_get(values);
  size_t scan = 0;
  int substitutions = 0;
  for (;;) {
    const char* start = std::strstr(value + scan, "$(");
    if (!start) return;
    const char* name = start + 2;
    const char* close = std::strchr(name, ')');
    // Without a closing parenthesis the rest of the value stays as it is.
    if (!close) return;
    scan = static_cast<size_t>(start - value) + 1;
    std::string_view written(name, std::min(static_cast<size_t>(close - name), kNameMax));
    int32_t found = find_folded(ini, written);
    if (found < 0) continue;
    if (substitutions == kMaxSubstitutions) return;
    const char* replacement = nullptr;
    if (ini->list[found].mode & Ini_Replace) replacement = first_value(item_at(ini, found));
    std::string pattern = "$(";
    pattern.append(written).append(")");
    sreplace(value, pattern.c_str(), replacement, work, kLineSize);
    dmsg("Replaced '%s' in '%s' with '%s' = '%s'", pattern.c_str(), value, str(replacement), work);
    char* fresh = s_strdup(work);
    delete[] list_replace(values, fresh);
    value = fresh;
    scan = 0;
    ++substitutions;
  }
}

// The virtual host named by the environment variable that "vhost_match"
// holds; also added to the setting "vhost". Null (logged) when unknown.
const char* vhost_from_environment(Ini* ini, std::string& found) {
  const char* variable = ini_value_name(ini, "vhost_match");
  if (!variable) {
    emsg("No vhost_match specified, will not match any vhost lines");
    return nullptr;
  }
  const char* host = std::getenv(variable);
  if (!host) {
    emsg("Ini vhost NOT found, vhost_match=%s", variable);
    return nullptr;
  }
  found = host;
  ini_add_name(ini, "vhost", found.c_str());
  return found.c_str();
}

bool has_extension(const char* path) {
  const char* sep = last_separator(path);
  return std::strchr(sep ? sep + 1 : path, '.') != nullptr;
}

}  // namespace

Item::~Item() { list_free_dealloc(&values); }

char* IniTexts::add(std::string_view text) {
  const size_t need = text.size() + 1;
  if (need > room_) {
    // Blocks double from 1 KiB to 64 KiB, so that a small store stays small.
    block_size_ = std::clamp(2 * block_size_, size_t{1024}, size_t{65536});
    const size_t size = std::max(block_size_, need);
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(size));
    next_ = blocks_.back().get();
    room_ = size;
  }
  char* at = next_;
  std::memcpy(at, text.data(), text.size());
  at[text.size()] = '\0';
  next_ += need;
  room_ -= need;
  return at;
}

void IniTexts::release() {
  std::vector<std::unique_ptr<char[]>>().swap(blocks_);
  block_size_ = 0;
  next_ = nullptr;
  room_ = 0;
}

Ini::~Ini() {
  array_free_dealloc(&data);
  array_free_fn(&xtra, ini_free_xtra);
}

Ini* ini_init() { return new Ini; }

void ini_free(Ini** ini) {
  if (!ini || !*ini) return;
  delete *ini;
  *ini = nullptr;
}

void ini_free_xtra(Xtra** xtra) {
  if (!xtra || !*xtra) return;
  delete *xtra;
  *xtra = nullptr;
}

void ini_setup(Ini* ini, const SettingList* table, const int32_t* assoc, int use_dflts) {
  if (!ini || !table) return;
  int32_t rows = 0;
  while (table[rows].setting) ++rows;
  if (!ini->list.empty()) clear_declarations(ini);
  if (!resize_table(ini, static_cast<size_t>(rows) + 1)) return;
  // Room for every row at once, so that nothing grows while they go in.
  array_setup(ini->data, rows, ini->data->block);
  index_reserve(ini, ini->by_name, static_cast<size_t>(rows));
  index_reserve(ini, ini->by_folded, static_cast<size_t>(rows));
  for (int32_t i = 0; i < rows; ++i) {
    auto item = std::make_unique<Item>();
    if (use_dflts && table[i].dflt) list_add(item->values, s_strdup(table[i].dflt));
    dmsg("Ini setting '%s' setup", table[i].setting);
    if (!append_setting(ini, table[i].setting, table[i].mode, std::move(item))) break;
  }
  if (!assoc) return;
  for (const int32_t* pair = assoc; pair[0] != -1; pair += 2) {
    int32_t from = pair[0];
    int32_t to = pair[1];
    if (!valid_index(ini, from)) {
      emsg("Ini association index %d invalid.", from);
      continue;
    }
    Item* item = item_at(ini, from);
    if (!item->assoc) item->assoc = std::make_unique<std::vector<int32_t>>();
    item->assoc->push_back(to);
    dmsg("Ini association index %d->%d added", from, to);
  }
}

void ini_setup_load_fn(Ini* ini, XtraFn fn, SettingMode flag) {
  if (!ini || !fn) return;
  if (!ini->xtra) ini->xtra = array_init<Xtra>();
  for (int32_t i = 0; i < ini->xtra->items; ++i) {
    Xtra* x = ini->xtra->data[i];
    if (x->flag != flag) continue;
    imsg("Load fn [%p] already set for flag [%d], replacing with new fn",
         reinterpret_cast<void*>(x->fn), static_cast<int>(flag));
    x->fn = fn;
    return;
  }
  std::unique_ptr<Xtra> x(xtra_new(fn, flag));
  imsg("New load fn [%p] set for flag [%d]", reinterpret_cast<void*>(fn), static_cast<int>(flag));
  if (array_add(ini->xtra, x.get())) x.release();
}

void ini_setmode(Ini* ini, IniMode mode) {
  if (ini) ini->mode = mode;
}

void ini_addmode(Ini* ini, IniMode mode) {
  if (ini) ini->mode = ini->mode | mode;
}

void ini_rmvmode(Ini* ini, IniMode mode) {
  if (ini) ini->mode = ini->mode & ~mode;
}

int32_t ini_items(const Ini* ini) { return ini ? ini->items : 0; }

int32_t ini_index(const Ini* ini, const char* name) { return find_exact(ini, name); }

const char* ini_label(const Ini* ini, int32_t index) {
  return valid_index(ini, index) ? name_at(ini, index) : nullptr;
}

Array<char>* ini_label_array(const Ini* ini) {
  if (!ini || ini->list.empty()) return nullptr;
  Array<char>* names = array_init<char>();
  for (int32_t i = 0; i < ini->items; ++i) array_add(names, ini->list[i].setting);
  return names;
}

Linklist<char>* ini_label_list(const Ini* ini) {
  if (!ini || ini->list.empty()) return nullptr;
  Linklist<char>* names = list_init<char>();
  for (int32_t i = 0; i < ini->items; ++i) list_add(names, ini->list[i].setting);
  return names;
}

Array<char>* ini_label_wild(const Ini* ini, const char* wild) {
  if (!ini || !wild) return nullptr;
  Array<char>* names = array_init<char>();
  for (int32_t i = 0; i < ini->items; ++i) {
    if (wild_match(name_at(ini, i), wild)) array_add(names, ini->list[i].setting);
  }
  return names;
}

SettingMode ini_setting_mode(const Ini* ini, int32_t index) {
  return valid_index(ini, index) ? ini->list[index].mode : Ini_None;
}

SettingMode ini_setting_mode_name(const Ini* ini, const char* name) {
  return ini_setting_mode(ini, find_exact(ini, name));
}

const char* ini_value(Ini* ini, int32_t index) {
  if (!valid_index(ini, index)) return nullptr;
  if (uses(ini, Ini_UseLock) && (ini->list[index].mode & Ini_Lock)) return nullptr;
  Item* item = item_at(ini, index);
  list_start(item->values);
  if (const char* value = list_get(item->values)) return value;
  // A setting already being read further up this chain ends the chain.
  if (!item->assoc || item->reading) return nullptr;
  item->reading = true;
  const char* result = nullptr;
  for (int32_t link : *item->assoc) result = ini_value(ini, link);
  item->reading = false;
  return result;
}

const char* ini_value_next(Ini* ini, int32_t index) {
  if (!valid_index(ini, index)) return nullptr;
  if (uses(ini, Ini_UseLock) && (ini->list[index].mode & Ini_Lock)) return nullptr;
  return list_get_next(item_at(ini, index)->values);
}

const char* ini_value_name(Ini* ini, const char* name) {
  return ini_value(ini, find_exact(ini, name));
}

const char* ini_value_name_next(Ini* ini, const char* name) {
  return ini_value_next(ini, find_exact(ini, name));
}

int ini_true(Ini* ini, int32_t index) { return istrue(ini_value(ini, index)); }

int ini_false(Ini* ini, int32_t index) { return isfalse(ini_value(ini, index)); }

int do_add(Ini* ini, int32_t index, const char* value) {
  if (!valid_index(ini, index) || !value) return 0;
  const char* name = name_at(ini, index);
  const SettingMode mode = ini->list[index].mode;
  char work[kLineSize];
  value = apply_transforms(ini, mode, value, work);
  if (uses(ini, Ini_UsePath) && (mode & Ini_Path)) {
    if (value != work) scpy(work, value, kLineSize);
    value = setsep(work, '/');
  }
  if (uses(ini, Ini_UseFixed) && (mode & Ini_Fixed)) {
    dmsg("Ini value for '%s' not addded, value is fixed", name);
    return -1;
  }
  if (*value == '\0' && uses(ini, Ini_UseEmpty) && !(mode & Ini_Empty)) {
    dmsg("Ini value for '%s' not added, value was empty", name);
    return -1;
  }
  Item* item = item_at(ini, index);
  if (first_value(item) && uses(ini, Ini_UseMulti) && !(mode & Ini_Multi)) {
    delete[] list_del(item->values);
  }
  char* text = s_strdup(value);
  list_add(item->values, text);
  if (uses(ini, Ini_UsePass) && (mode & Ini_Pass)) {
    dmsg("Ini value for '%s' set to 'xxxx'", name);
  } else {
    dmsg("Ini value for '%s' set to '%s'", name, text);
  }
  return 1;
}

int create_setting(Ini* ini, const char* name, const char* value) {
  if (!ini || !name || !value) return 0;
  if (!uses(ini, Ini_NewEmpty) && *value == '\0') return -1;
  SettingMode mode = Ini_None;
  if (uses(ini, Ini_NewMulti)) mode = mode | Ini_Multi;
  if (uses(ini, Ini_NewPass)) mode = mode | Ini_Pass;
  if (uses(ini, Ini_NewFixed)) mode = mode | Ini_Fixed;
  if (uses(ini, Ini_NewEmpty)) mode = mode | Ini_Empty;
  if (uses(ini, Ini_NewLock)) mode = mode | Ini_Lock;
  auto item = std::make_unique<Item>();
  list_add(item->values, s_strdup(value));
  if (!append_setting(ini, name, mode, std::move(item))) return 0;
  if (uses(ini, Ini_UsePass) && (mode & Ini_Pass)) {
    dmsg("Ini setting '%s' created and set to 'xxxx'", name);
  } else {
    dmsg("Ini setting '%s' created and set to '%s'", name, value);
  }
  return 1;
}

int ini_add(Ini* ini, int32_t index, const char* value) {
  if (!valid_index(ini, index) || !value) return 0;
  return do_add(ini, index, value);
}

int ini_add_name(Ini* ini, const char* name, const char* value) {
  if (!ini || ini->list.empty() || !name || !value) return 0;
  int32_t index = find_exact(ini, name);
  if (index >= 0) return do_add(ini, index, value);
  if (uses(ini, Ini_UseNew)) return create_setting(ini, name, value);
  return 0;
}

namespace unchecked {

int ini_add_format(Ini* ini, int32_t index, const char* format, ...) {
  if (!valid_index(ini, index) || !format) return 0;
  char buffer[kLineSize];
  va_list args;
  va_start(args, format);
  vlprintf(buffer, kLineSize, format, args);
  va_end(args);
  return do_add(ini, index, buffer);
}

}  // namespace unchecked

int ini_add_array(Ini* ini, int32_t index, Array<char>* values) {
  if (!valid_index(ini, index) || !values) return 0;
  for (int32_t i = 0; i < array_items(values); ++i) do_add(ini, index, values->data[i]);
  return 1;
}

char* ini_remove(Ini* ini, int32_t index) {
  if (!valid_index(ini, index)) return nullptr;
  Linklist<char>* values = item_at(ini, index)->values;
  list_start(values);
  return list_del(values);
}

char* ini_remove_next(Ini* ini, int32_t index) {
  if (!valid_index(ini, index)) return nullptr;
  return list_del(item_at(ini, index)->values);
}

char* ini_remove_name(Ini* ini, const char* name) { return ini_remove(ini, find_exact(ini, name)); }

char* ini_remove_name_next(Ini* ini, const char* name) {
  return ini_remove_next(ini, find_exact(ini, name));
}

int ini_process(Ini* ini) {
  if (!ini || ini->list.empty()) return 0;
  dmsg("Processing replacable settings...");
  for (int32_t i = 0; i < ini->items; ++i) {
    Linklist<char>* values = item_at(ini, i)->values;
    list_start(values);
    while (list_get(values)) {
      expand_value(ini, values);
      list_next(values);
    }
  }
  dmsg("Finished processing replacable settings");
  return 1;
}

void ini_replace(Ini* ini, const char* text, char* buffer, unsigned bfsz) {
  if (!ini || !text || !buffer || bfsz == 0) return;
  Bounded out{buffer, bfsz};
  const char* scan = text;
  for (;;) {
    const char* start = std::strstr(scan, "$(");
    if (!start) break;
    const size_t literal = static_cast<size_t>(start - scan);
    // The literal text must leave room for the terminator; otherwise the
    // rest of the text is copied as it stands.
    if (literal >= out.room()) break;
    const char* name = start + 2;
    const char* close = std::strchr(name, ')');
    if (!close) break;
    out.append(scan, literal, literal);
    std::string wanted(name, std::min(static_cast<size_t>(close - name), kNameMax));
    scan = close + 1;
    if (const char* value = ini_value_name(ini, wanted.c_str())) {
      out.append(value, std::strlen(value), std::strlen(value));
    }
  }
  out.append(scan, std::strlen(scan), std::strlen(scan));
  out.finish();
}

int ini_split_line(char* line, char** name, char** value) {
  if (!line || !name || !value) return 0;
  char* start = s_strtrm(line);
  if (!start || *start == '\0' || *start == '#') return 0;
  char* end = start + std::strcspn(start, " \t");
  if (*end) {
    *end++ = '\0';
    end += std::strspn(end, " \t");
  }
  *name = start;
  *value = end;
  return 1;
}

char* ini_filename(char* path, const char* name) {
  if (!path) return nullptr;
  scpy(path, name, kPathSize);
  if (!has_extension(path)) attach_ext(path, ".ini", kPathSize);
  return path;
}

int ini_load(Ini* ini, const char* file, const char* vhost) {
  if (!ini || ini->list.empty() || !file) return 0;
  char path[kPathSize];
  ini_filename(path, file);
  dmsg("Opening ini file '%s'", path);
  OpenFile in(s_fopen(path, "r"));
  if (!in.f) return 0;
  ini_rmvmode(ini, Ini_UseFixed);
  dmsg("Ini loading file '%s'", path);
  std::string found;
  const char* host = vhost;
  bool apply = true;
  char line[kLineSize];
  while (std::fgets(line, sizeof line, in.f)) {
    char* name;
    char* value;
    if (!ini_split_line(line, &name, &value)) continue;
    if (std::strcmp(name, "vend") == 0) {
      apply = true;
    } else if (std::strcmp(name, "vhost") == 0) {
      if (!host) host = vhost_from_environment(ini, found);
      apply = host && std::strcmp(host, value) == 0;
    } else if (apply) {
      ini_add_name(ini, name, value);
    }
  }
  ini_addmode(ini, Ini_UseFixed);
  return 1;
}

const char* ini_peek(Ini* ini, const char* file, int32_t index) {
  if (!valid_index(ini, index) || !file) return nullptr;
  char path[kPathSize];
  ini_filename(path, file);
  dmsg("Opening ini file '%s'", path);
  OpenFile in(s_fopen(path, "r"));
  if (!in.f) return nullptr;
  const char* wanted = name_at(ini, index);
  char line[kLineSize];
  while (std::fgets(line, sizeof line, in.f)) {
    char* name;
    char* value;
    if (!ini_split_line(line, &name, &value)) continue;
    if (std::strcmp(name, wanted) == 0) {
      scpy(peek_buffer, value, kLineSize);
      break;
    }
  }
  return peek_buffer[0] ? peek_buffer : nullptr;
}

int ini_save(Ini* ini, const char* file) {
  if (!ini || ini->list.empty() || !file) return 0;
  OpenFile out(s_fopen(file, "w"));
  if (!out.f) {
    emsg("Ini error opening '%s' for write, %s", file, std::strerror(errno));
    return 0;
  }
  dmsg("Ini saving file '%s'", file);
  for (int32_t i = 0; i < ini->items; ++i) {
    for (const char* v = ini_value(ini, i); v; v = ini_value_next(ini, i)) {
      std::fprintf(out.f, "%s %s\n", name_at(ini, i), v);
    }
  }
  return 1;
}

}  // namespace inst
