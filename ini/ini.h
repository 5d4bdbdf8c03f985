// The settings store: named settings, each with per-setting mode flags and an
// ordered list of text values, under store-wide mode flags; the expansion of
// "$(name)" references; and the store's own settings files with virtual-host
// blocks.
//
// Texts returned by reads are borrowed from the store and stay valid until
// that value is removed or replaced. Texts returned by removals are new[]
// arrays handed to the caller, who releases them with delete[]. Texts passed
// in are copied. Every operation accepts null arguments and then does nothing
// and returns 0, -1 or null as noted. Running out of memory ends the program,
// except that a declaration table that cannot grow is logged as "Memory
// allocation error" and the setup or the new setting is given up.
#ifndef INSTALLER_INI_INI_H_
#define INSTALLER_INI_INI_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "lib/array.h"
#include "lib/format.h"
#include "lib/limits.h"
#include "lib/linklist.h"

namespace inst {

// Per-setting flags. Each takes effect only when the matching store flag
// (IniMode) is on, except Ini_Replace, which no store flag gates.
enum SettingMode : int32_t {
  Ini_None = 0,
  Ini_Multi = 1,    // keeps every value added instead of only the newest
  Ini_Pass = 2,     // a password: logged as 'xxxx'
  Ini_Replace = 4,  // may be substituted into references by ini_process()
  Ini_Path = 8,     // a path: separators are written as '/'
  Ini_Empty = 16,   // accepts the empty value
  // One bit with two names on purpose: a setting with bit 32 refuses adds
  // under Ini_UseFixed and reads as absent under Ini_UseLock.
  Ini_Fixed = 32,
  Ini_Lock = 32,
  Ini_XTRAMask = 65472  // bits 64 .. 32768 select registered transforms
};

// Store-wide flags.
enum IniMode : int32_t {
  Ini_Blank = 0,
  Ini_UseLock = 1,      // settings with bit 32 read as absent
  Ini_UseEmpty = 2,     // empty values refused unless the setting has Ini_Empty
  Ini_UsePass = 4,      // Ini_Pass values are logged as 'xxxx'
  Ini_UseFixed = 8,     // adds to settings with bit 32 are refused
  Ini_UseMulti = 16,    // settings without Ini_Multi keep only their newest value
  Ini_UsePath = 32,     // Ini_Path values get '/' separators
  Ini_UseReplace = 64,  // declared only; no operation tests it
  Ini_UseNew = 128,     // adding by an unknown name creates the setting
  Ini_NewMulti = 256,   // a created setting gets Ini_Multi
  Ini_NewEmpty = 512,   // a setting may be created empty, and gets Ini_Empty
  Ini_NewFixed = 1024,  // a created setting gets bit 32
  Ini_NewPass = 2048,   // a created setting gets Ini_Pass
  Ini_NewLock = 4096,   // a created setting gets bit 32
  Ini_NewModes = 7936,
  Ini_DefaultMode = 1022
};

// Flag arithmetic that keeps the enum types, so that tables can be written
// as {"name", "value", Ini_Replace | Ini_Fixed}.
constexpr SettingMode operator|(SettingMode a, SettingMode b) {
  return static_cast<SettingMode>(static_cast<int32_t>(a) | static_cast<int32_t>(b));
}
constexpr SettingMode operator&(SettingMode a, SettingMode b) {
  return static_cast<SettingMode>(static_cast<int32_t>(a) & static_cast<int32_t>(b));
}
constexpr SettingMode operator~(SettingMode a) {
  return static_cast<SettingMode>(~static_cast<int32_t>(a));
}
constexpr IniMode operator|(IniMode a, IniMode b) {
  return static_cast<IniMode>(static_cast<int32_t>(a) | static_cast<int32_t>(b));
}
constexpr IniMode operator&(IniMode a, IniMode b) {
  return static_cast<IniMode>(static_cast<int32_t>(a) & static_cast<int32_t>(b));
}
constexpr IniMode operator~(IniMode a) { return static_cast<IniMode>(~static_cast<int32_t>(a)); }

// One declaration row as callers write it. A null `setting` ends a table.
struct SettingList {
  const char* setting;  // the setting's name
  const char* dflt;     // its default value, or null for none
  SettingMode mode;
};

// A value transform: takes the value being added and returns the text to
// store instead. The store copies the result at once (at most 999
// characters) and never releases it; a null result counts as the empty text.
using XtraFn = const char* (*)(const char* value);

// One registered transform and the per-setting flag bit that selects it.
struct Xtra {
  XtraFn fn = nullptr;
  SettingMode flag = Ini_None;
};

// The values of one setting.
struct Item {
  Linklist<char>* values = list_init<char>();  // new[] texts in order; reads move its cursor
  // Indexes of the settings read, in order, when there is no value; null
  // while there are none, as for nearly every setting.
  std::unique_ptr<std::vector<int32_t>> assoc;
  bool reading = false;  // set while a read follows this setting's associations

  Item() = default;
  Item(const Item&) = delete;
  Item& operator=(const Item&) = delete;
  ~Item();
};

// Texts packed one after another in blocks that never move, so that a text
// keeps its address while more are added and one allocation serves many.
// They are released all together.
class IniTexts {
 public:
  // A terminated copy of text that lives until release().
  char* add(std::string_view text);
  void release();

 private:
  std::vector<std::unique_ptr<char[]>> blocks_;
  size_t block_size_ = 0;  // of the newest block
  char* next_ = nullptr;   // free space in the newest block
  size_t room_ = 0;
};

// The store's own copy of one declaration row. The name is kept in the
// store's `names`, so that pointers to it stay valid when the table grows.
struct IniRow {
  char* setting = nullptr;
  SettingMode mode = Ini_None;
};

// A hash index from names to the first setting that carries each. It holds
// setting indexes only, never a copy of a name: the names compared are the
// rows' own texts. A folded index tells A-Z from a-z apart nowhere; its hash
// and comparison fold both sides as they go, so a lookup copies nothing.
struct IniNameIndex {
  std::vector<int32_t> slots;  // open addressing, a power of two in size; -1 is free
  int32_t used = 0;            // slots taken
  bool folded = false;
};

struct Ini {
  // Declarations in index order. The table is absent while empty; otherwise
  // it has `size` rows, of which those from `items` on are free and the one
  // at `items` ends the table.
  std::vector<IniRow> list;
  IniTexts names;               // the rows' names
  Array<Xtra>* xtra = nullptr;  // registered transforms; null until the first
  IniMode mode = Ini_DefaultMode;
  // Both counts mirror the containers (items: data's elements, size: list's
  // rows) and are set in one place, whenever either container changes.
  int32_t items = 0;                       // number of settings
  int32_t size = 0;                        // rows in list
  Array<Item>* data = array_init<Item>();  // one Item per setting, at its index

  // Name to first index, exactly and with A-Z folded to a-z. Later settings
  // of the same name are shadowed, so only the first index is kept.
  IniNameIndex by_name;
  IniNameIndex by_folded{{}, 0, true};

  ~Ini();
};

// A new empty store under Ini_DefaultMode.
Ini* ini_init();
// Releases the store and everything it owns and sets *ini to null.
void ini_free(Ini** ini);
// Releases one transform record and sets *xtra to null.
void ini_free_xtra(Xtra** xtra);

// Declares the settings of `table` (rows up to the first null `setting`) in
// order. With use_dflts non-zero each default becomes the setting's first
// value as it stands (no add rule applies). `assoc`, when given, is read as
// pairs (a, b) up to a -1 where a pair would begin: setting a falls back to
// setting b when it has no value. Meant to be called once per store; a
// second call replaces all earlier declarations and values.
void ini_setup(Ini* ini, const SettingList* table, const int32_t* assoc, int use_dflts);
// Registers fn for the per-setting flag `flag`, or replaces the function
// already registered for exactly that flag. Transforms run in registration
// order when values are added.
void ini_setup_load_fn(Ini* ini, XtraFn fn, SettingMode flag);

void ini_setmode(Ini* ini, IniMode mode);
void ini_addmode(Ini* ini, IniMode mode);
void ini_rmvmode(Ini* ini, IniMode mode);

// The number of settings; 0 for a null store.
int32_t ini_items(const Ini* ini);
// The index of the first setting with exactly this name, or -1.
int32_t ini_index(const Ini* ini, const char* name);
// The setting's name (owned by the store), or null for a bad index.
const char* ini_label(const Ini* ini, int32_t index);
// New containers of the store's own names in index order; the caller frees
// the container only. Null for a null store or a store without declarations.
Array<char>* ini_label_array(const Ini* ini);
Linklist<char>* ini_label_list(const Ini* ini);
// The names that wild_match() accepts against `wild`, in index order (empty
// for a store without declarations); null for a null store or pattern.
Array<char>* ini_label_wild(const Ini* ini, const char* wild);
// The setting's flags; Ini_None for a bad index, unknown name or null store.
SettingMode ini_setting_mode(const Ini* ini, int32_t index);
SettingMode ini_setting_mode_name(const Ini* ini, const char* name);

// The setting's first value, or null. A setting without values reads the
// settings it is associated with, in order, and returns what the last one
// gave (even when that is null). A setting met again within one chain of
// associations reads as null, so association cycles end.
const char* ini_value(Ini* ini, int32_t index);
// The value after the one read last, or null at the end. Never falls back
// to associations.
const char* ini_value_next(Ini* ini, int32_t index);
// The same for the first setting with exactly this name; null if unknown.
const char* ini_value_name(Ini* ini, const char* name);
const char* ini_value_name_next(Ini* ini, const char* name);
// istrue() / isfalse() of ini_value().
int ini_true(Ini* ini, int32_t index);
int ini_false(Ini* ini, int32_t index);

// Adds a value to the setting by the store's add rule (do_add). Returns 1
// when stored, -1 when a mode rule refused it, 0 for bad arguments.
int ini_add(Ini* ini, int32_t index, const char* value);
// Adds to the first setting with exactly this name. An unknown name creates
// the setting under Ini_UseNew (see create_setting) and gives 0 otherwise.
// 0 before ini_setup().
int ini_add_name(Ini* ini, const char* name, const char* value);
// Formats with the program's own formatter into 1000 bytes (output beyond
// 999 characters is cut) and adds the result.
namespace unchecked {
int ini_add_format(Ini* ini, int32_t index, const char* format, ...);
}  // namespace unchecked
template <typename... Args>
int ini_add_format(Ini* ini, int32_t index, FormatFor<Args...> format, Args... args) {
  return unchecked::ini_add_format(ini, index, format.text(), args...);
}
// Adds every text of `values` in order, going on past refused ones. Returns
// 1, or 0 for bad arguments.
int ini_add_array(Ini* ini, int32_t index, Array<char>* values);

// Removes the setting's first value and hands it to the caller, or null.
char* ini_remove(Ini* ini, int32_t index);
// Removes the value read last (the last value when reading ran past the
// end) and hands it to the caller, or null.
char* ini_remove_next(Ini* ini, int32_t index);
char* ini_remove_name(Ini* ini, const char* name);
char* ini_remove_name_next(Ini* ini, const char* name);

// Appends a setting named `name` holding `value` as it stands, with the
// flags the store's Ini_New* bits give. Returns 1; -1 for an empty value
// without Ini_NewEmpty; 0 for bad arguments or when the table cannot grow.
int create_setting(Ini* ini, const char* name, const char* value);
// The add rule, applied in this order: transforms, path separators, the
// fixed rule, the empty rule, replacement of the current value, storing,
// logging. Returns 1 when stored, -1 when refused.
int do_add(Ini* ini, int32_t index, const char* value);

// Expands references among the values of Ini_Replace settings in place.
// Names match without regard to case; an unknown name stays as written; a
// setting without Ini_Replace or without a value expands to nothing. Values
// brought in are expanded too; after 100 substitutions in one value the
// remaining references stay, which ends reference cycles. Results are cut
// to 999 characters. Returns 1, or 0 for a null store or table.
int ini_process(Ini* ini);
// Expands references in `text` into `buffer` of `bfsz` bytes, one level
// deep, with exact names; unknown names and settings without a value expand
// to nothing. When the literal text before a reference does not fit, the
// rest of the text is copied as it stands. The result is always terminated
// within bfsz. Leaves the buffer untouched for a null store or text.
void ini_replace(Ini* ini, const char* text, char* buffer, unsigned bfsz);

// Splits one line of a settings or product data file in place. Leading and
// trailing white space is dropped; the name runs to the first blank or tab,
// the value starts after the blanks and tabs that follow it and may be empty.
// Returns 1 with *name and *value set, or 0 for an empty line, a comment
// (first character '#') or null arguments.
int ini_split_line(char* line, char** name, char** value);

// Copies `name` into `path` (kPathSize bytes), cut to kPathSize-1
// characters, and appends ".ini" (as far as it fits) when the file-name part
// has no dot. Returns path.
char* ini_filename(char* path, const char* name);

// Loads a settings file (".ini" added when the name has no extension) into
// the store by ini_add_name(), with fixed settings accepting values during
// the load; afterwards the store honours fixed settings (Ini_UseFixed is on).
// Lines inside a "vhost <host>" ... "vend" block apply only when <host> is
// `vhost`, or, for a null `vhost`, the content of the environment variable
// the setting "vhost_match" names. Returns 1 when the file was read; 0 for
// bad arguments, a store without declarations or a file that cannot be
// opened.
int ini_load(Ini* ini, const char* file, const char* vhost);
// The value on the first line of the file whose name is the setting's
// name, in a 1000-byte buffer shared by all calls. The buffer is not cleared
// between calls on purpose: when no line matches, what an earlier call found
// is returned. Null for a bad index, a file that cannot be opened, or an
// empty buffer.
const char* ini_peek(Ini* ini, const char* file, int32_t index);
// Writes "name value" lines for every value of every setting in index order.
// Returns 1 when written; 0 for bad arguments or a file that cannot be
// created (logged).
int ini_save(Ini* ini, const char* file);

}  // namespace inst

#endif  // INSTALLER_INI_INI_H_
