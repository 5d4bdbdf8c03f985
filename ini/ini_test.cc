#include "ini/ini.h"

#include <stdlib.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/scratch.h"

namespace inst {
namespace {

using Values = std::vector<std::string>;
using Lines = std::vector<std::string>;

constexpr IniMode kDefault = Ini_DefaultMode;
// Transform selector bits.
constexpr SettingMode kX64 = static_cast<SettingMode>(64), kX128 = static_cast<SettingMode>(128);
constexpr SettingMode kX256 = static_cast<SettingMode>(256), kX512 = static_cast<SettingMode>(512);

class IniTest : public LoggedTest {
 protected:
  ~IniTest() override { ini_free(&ini_); }

  void Declare(std::vector<SettingList> rows, const int32_t* assoc = nullptr) {
    rows.push_back({nullptr, nullptr, Ini_None});
    ini_setup(ini_, rows.data(), assoc, 1);
  }
  Values ValuesOf(const char* name) {
    const int32_t i = ini_index(ini_, name);
    Values out;
    for (const char* v = ini_value(ini_, i); v; v = ini_value_next(ini_, i)) out.push_back(v);
    return out;
  }

  Ini* ini_ = ini_init();
};

// Transforms with distinguishable results; the store copies what they return.
template <char kLetter>
const char* append(const char* v) {
  static std::string out;
  return (out = std::string(v) + kLetter).c_str();
}
const char* backslashes(const char*) { return "x\\y"; }
const char* nothing(const char*) { return nullptr; }

// One add: what it shows, the setting's flags, the store's flags, the
// default, the value added, the result and the values afterwards.
using AddRow = std::tuple<const char*, SettingMode, IniMode, const char*, std::string, int, Values>;

TEST_F(IniTest, AddRuleFollowsSettingAndStoreModes) {
  ini_setup_load_fn(ini_, append<'b'>, kX64);
  ini_setup_load_fn(ini_, append<'b'>, kX128);
  ini_setup_load_fn(ini_, backslashes, kX256);
  ini_setup_load_fn(ini_, nothing, kX512);
  ini_setup_load_fn(ini_, append<'a'>, kX64);  // replaces, keeps its place
  const std::string big(1200, 'v');
  const AddRow rows[] = {
      {"non-multi replaced", Ini_None, kDefault, "a", "b", 1, {"b"}},
      {"multi accumulates", Ini_Multi, kDefault, "a", "b", 1, {"a", "b"}},
      {"no UseMulti accumulates", Ini_None, kDefault & ~Ini_UseMulti, "a", "b", 1, {"a", "b"}},
      {"fixed refuses first value", Ini_Replace | Ini_Fixed, kDefault, nullptr, "b", -1, {}},
      {"empty refused", Ini_None, kDefault, "a", "", -1, {"a"}},
      {"empty allowed by setting", Ini_Empty, kDefault, "a", "", 1, {""}},
      {"empty allowed by store", Ini_None, kDefault & ~Ini_UseEmpty, "a", "", 1, {""}},
      {"path separators", Ini_Path, kDefault, nullptr, "a\\b/c", 1, {"a/b/c"}},
      {"path without UsePath", Ini_Path, kDefault & ~Ini_UsePath, nullptr, "a\\b", 1, {"a\\b"}},
      {"path cut to 999", Ini_Path, kDefault, nullptr, big, 1, {big.substr(0, 999)}},
      {"plain value not cut", Ini_None, kDefault, nullptr, big, 1, {big}},
      {"default skips path rule", Ini_Path, kDefault, "a\\b", "", -1, {"a\\b"}},
      {"transforms chain in order", kX64 | kX128, kDefault, nullptr, "x", 1, {"xab"}},
      {"transform before path", kX256 | Ini_Path, kDefault, nullptr, "any", 1, {"x/y"}},
      {"null transform is empty", kX512, kDefault, "old", "new", -1, {"old"}},
  };
  for (const auto& [what, mode, store, dflt, add, result, values] : rows) {
    SCOPED_TRACE(what);
    Declare({{"s", dflt, mode}});
    ini_setmode(ini_, store);
    EXPECT_EQ(ini_add(ini_, 0, add.c_str()), result);
    EXPECT_EQ(ValuesOf("s"), values);
  }
  const Lines info = LogLines("Info");
  ASSERT_EQ(info.size(), 5u);
  EXPECT_EQ(info[0].rfind("New load fn [", 0), 0u);
  EXPECT_NE(info[4].find("] already set for flag [64], replacing with new fn"), std::string::npos);
}

TEST_F(IniTest, AddsAreLoggedWithPasswordsMaskedAndFixedCheckedBeforeEmpty) {
  Declare({{"n", "a", Ini_None}, {"pw", nullptr, Ini_Pass}, {"f", "a", Ini_Fixed}});
  const size_t setup_lines = LogLines("Debug").size();
  ini_add_name(ini_, "n", "b");
  ini_add_name(ini_, "pw", "secret1");
  ini_add_name(ini_, "n", "");
  ini_add_name(ini_, "f", "");
  ini_addmode(ini_, Ini_NewPass);
  ini_add_name(ini_, "newpw", "secret2");
  ini_rmvmode(ini_, Ini_UsePass);
  ini_add_name(ini_, "pw", "shown");
  Lines log = LogLines("Debug");
  log.erase(log.begin(), log.begin() + static_cast<long>(setup_lines));
  EXPECT_EQ(log, (Lines{"Ini value for 'n' set to 'b'", "Ini value for 'pw' set to 'xxxx'",
                        "Ini value for 'n' not added, value was empty",
                        "Ini value for 'f' not addded, value is fixed",
                        "Ini setting 'newpw' created and set to 'xxxx'",
                        "Ini value for 'pw' set to 'shown'"}));
}

TEST_F(IniTest, UnknownNamesCreateSettingsByStoreMode) {
  const std::tuple<const char*, IniMode, const char*, int, SettingMode> rows[] = {
      {"default, empty value", kDefault, "", 1, Ini_Multi | Ini_Empty},
      {"no NewEmpty, empty value", kDefault & ~Ini_NewEmpty, "", -1, Ini_None},
      {"no NewEmpty", kDefault & ~Ini_NewEmpty, "v", 1, Ini_Multi},
      {"pass and fixed", kDefault | Ini_NewPass | Ini_NewFixed, "v", 1,
       Ini_Multi | Ini_Empty | Ini_Pass | Ini_Fixed},
      {"lock", Ini_UseNew | Ini_NewLock, "v", 1, Ini_Lock},
      {"no UseNew", kDefault & ~Ini_UseNew, "v", 0, Ini_None},
  };
  for (const auto& [what, store, value, result, mode] : rows) {
    SCOPED_TRACE(what);
    Declare({{"known", "k", Ini_None}});
    ini_setmode(ini_, store);
    EXPECT_EQ(ini_add_name(ini_, "new", value), result);
    EXPECT_EQ(ini_index(ini_, "new"), result == 1 ? 1 : -1);
    EXPECT_EQ(ini_setting_mode_name(ini_, "new"), mode);
  }
}

TEST_F(IniTest, AddsAndRemovalsFollowTheCursor) {
  Declare({});
  for (const char* v : {"a", "b", "c", "d"}) ini_add_name(ini_, "m", v);
  using Taken = std::unique_ptr<char[]>;
  ini_value_name(ini_, "m");
  ini_value_name_next(ini_, "m");
  EXPECT_STREQ(Taken(ini_remove_name_next(ini_, "m")).get(), "b");
  EXPECT_STREQ(Taken(ini_remove_name(ini_, "m")).get(), "a");
  while (ini_value_name_next(ini_, "m")) {
  }
  EXPECT_STREQ(Taken(ini_remove_name_next(ini_, "m")).get(), "d");
  // A read puts the cursor at the start, so the next add goes first.
  ini_value_name(ini_, "m");
  ini_add_name(ini_, "m", "0");
  EXPECT_EQ(ValuesOf("m"), (Values{"0", "c"}));
  EXPECT_STREQ(Taken(ini_remove(ini_, 0)).get(), "0");
  EXPECT_STREQ(Taken(ini_remove(ini_, 0)).get(), "c");
  EXPECT_EQ(Taken(ini_remove(ini_, 0)), nullptr);
}

TEST_F(IniTest, AssociationsFallBackAndLastOneWins) {
  // s0 falls back to s1, then to s2; s2 falls back to s0; 99 is no setting.
  static const int32_t assoc[] = {0, 1, 0, 2, 2, 0, 99, 1, -1};
  Declare({{"s0", nullptr, Ini_None}, {"s1", "one", Ini_None}, {"s2", nullptr, Ini_None}}, assoc);
  EXPECT_EQ(ini_value(ini_, 0), nullptr);  // s2 gives nothing and is last
  EXPECT_EQ(ini_value(ini_, 2), nullptr);  // the cycle through s0 ends
  ini_add(ini_, 2, "two");
  EXPECT_STREQ(ini_value(ini_, 0), "two");
  EXPECT_EQ(ini_value_next(ini_, 0), nullptr);
  ini_add(ini_, 0, "own");
  EXPECT_STREQ(ini_value(ini_, 0), "own");
  EXPECT_EQ(LogLines("Error"), Lines{"Ini association index 99 invalid."});
}

TEST_F(IniTest, FormattedAddIsCutTo999AndArrayAddGoesOnPastRefusedValues) {
  Declare({{"s", nullptr, Ini_None}, {"m", nullptr, Ini_Multi}});
  const std::string long_text(1500, 'x');
  EXPECT_EQ(ini_add_format(ini_, 0, "%d-%s", 7, long_text.c_str()), 1);
  EXPECT_EQ(ValuesOf("s"), Values{("7-" + long_text).substr(0, 999)});

  char a[] = "a", empty[] = "", b[] = "b";
  Array<char>* values = array_init<char>();
  for (char* v : {a, empty, b}) array_add(values, v);
  EXPECT_EQ(ini_add_array(ini_, 1, values), 1);
  EXPECT_EQ(ValuesOf("m"), (Values{"a", "b"}));
  array_free(&values);
}

// The name indexes grow as settings are created: every name keeps leading
// to its first setting, exactly and (for references expanded in the store)
// without regard to case. Bad arguments give 0 or change nothing.
TEST_F(IniTest, LookupsFindTheFirstSettingOfANameWhileTheStoreGrows) {
  EXPECT_EQ(ini_add_name(ini_, "x", "v"), 0);  // before ini_setup()
  Declare({{"a", "1", Ini_Replace}, {"B", "2", Ini_Replace}, {"a", "3", Ini_Replace}});
  const char* first = ini_label(ini_, 0);
  for (int i = 0; i < 200; ++i) {
    const std::string name = "n" + std::to_string(i);
    ASSERT_EQ(ini_add_name(ini_, name.c_str(), "v"), 1);
  }
  ASSERT_EQ(ini_add_name(ini_, "ref", "$(b)$(A)$(N150)$(n199)$(zz)"), 1);
  EXPECT_STREQ(first, "a");  // names keep their place
  EXPECT_EQ(ini_add(ini_, 204, "v") + ini_add(ini_, -1, "v") + ini_add(ini_, 0, nullptr), 0);
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(ini_index(ini_, ("n" + std::to_string(i)).c_str()), 3 + i) << i;
  }
  const std::pair<const char*, int32_t> exact[] = {{"a", 0}, {"B", 1}, {"b", -1}, {"N1", -1}};
  for (const auto& [name, index] : exact) EXPECT_EQ(ini_index(ini_, name), index) << name;
  // Created settings are not substituted: a reference to one that is found
  // becomes empty, one to an unknown name stays.
  ASSERT_EQ(ini_process(ini_), 1);
  EXPECT_EQ(ValuesOf("ref"), Values{"21$(zz)"});
  EXPECT_EQ(ini_load(ini_, dir_.Path("missing").c_str(), nullptr), 0);
  char buffer[4] = "abc";
  ini_replace(ini_, nullptr, buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "abc");
}

// The expanders over one store: "dir" holds /opt/x, "nested" an unexpanded
// reference, "none" no value.
class ExpandTest : public IniTest {
 protected:
  void SetUp() override {
    IniTest::SetUp();
    Declare({{"dir", "/opt/x", Ini_Replace},
             {"nested", "$(dir)/n", Ini_None},
             {"none", nullptr, Ini_None}});
  }
};

TEST_F(ExpandTest, BufferExpansionIsSingleLevelAndExact) {
  const std::pair<const char*, const char*> rows[] = {
      {"$(dir)/bin", "/opt/x/bin"}, {"a$(unknown)b", "ab"}, {"$(DIR)/bin", "/bin"},
      {"$(nested)", "$(dir)/n"},    {"$(none)x", "x"},      {"$(dir)$(dir", "/opt/x$(dir"},
  };
  for (const auto& [text, expected] : rows) {
    char out[100];
    ini_replace(ini_, text, out, sizeof out);
    EXPECT_STREQ(out, expected) << "buffer: " << text;
  }
}

TEST_F(ExpandTest, BufferExpansionStaysWithinTheBuffer) {
  // A value is cut to the room less one; a literal that fits only without
  // its terminator stops the expansion and the rest is copied raw and cut.
  const std::tuple<const char*, unsigned, const char*> rows[] = {
      {"plain text", 6, "plain"}, {"ab$(dir)cd", 5, "ab/o"}, {"abc$(dir)", 4, "abc"},
      {"abcd$(dir)", 4, "abc"},   {"$(dir)", 1, ""},
  };
  for (const auto& [text, size, expected] : rows) {
    SCOPED_TRACE(text);
    char out[16];
    std::memset(out, '#', sizeof out);
    ini_replace(ini_, text, out, size);
    EXPECT_STREQ(out, expected);
    for (size_t i = size; i < sizeof out; ++i) ASSERT_EQ(out[i], '#') << "byte " << i;
  }
}

TEST_F(IniTest, InStoreExpansionIsCaseBlindNestedAndEndsCycles) {
  Declare({{"before", "$(dir)/z", Ini_Replace},
           {"base", "/opt", Ini_Replace},
           {"dir", "$(BASE)/x", Ini_Replace},
           {"unknown", "$(nope)/a$(base)", Ini_Replace},
           {"norepl", "N", Ini_None},
           {"dropped", "$(norepl)/q$(action)", Ini_Replace},
           {"twice", "$(base):$(base)", Ini_Replace},
           {"self", "$(self)!", Ini_Replace},
           {"open", "$(base)$(base", Ini_Replace},
           {"chain", "$(grow)", Ini_Replace},
           {"grow", "x$(grow)", Ini_Replace},
           {"action", nullptr, Ini_None}});
  ini_setmode(ini_, kDefault & ~Ini_UseMulti);
  ini_add(ini_, ini_index(ini_, "twice"), "second $(base)");
  ASSERT_EQ(ini_process(ini_), 1);
  EXPECT_EQ(ValuesOf("before"), Values{"/opt/x/z"});
  EXPECT_EQ(ValuesOf("unknown"), Values{"$(nope)/a/opt"});
  EXPECT_EQ(ValuesOf("dropped"), Values{"/q"});
  EXPECT_EQ(ValuesOf("twice"), (Values{"/opt:/opt", "second /opt"}));
  // Self-reference doubles the value until the cut at 999, then repeats
  // unchanged until the substitution limit ends it.
  EXPECT_EQ(ValuesOf("self"), Values{"$(self)" + std::string(992, '!')});
  EXPECT_EQ(ValuesOf("open"), Values{"/opt$(base"});
  // Each substitution adds one x: one value takes exactly 100 of them.
  EXPECT_EQ(ValuesOf("chain"), Values{std::string(100, 'x') + "$(grow)"});
  const Lines debug = LogLines("Debug");
  EXPECT_NE(std::find(debug.begin(), debug.end(),
                      "Replaced '$(BASE)' in '$(BASE)/x' with '/opt' = '/opt/x'"),
            debug.end());
}

TEST_F(IniTest, FileNamesAreCutAndCompleted) {
  const std::string n255(255, 'n'), n252(252, 'n');
  const std::pair<std::string, std::string> rows[] = {
      {"conf.txt", "conf.txt"},
      {"dir.d/conf", "dir.d/conf.ini"},
      {"dir.d\\conf", "dir.d\\conf.ini"},
      {n255 + "more", n255},
      {n252, n252 + ".in"},
  };
  for (const auto& [name, expected] : rows) {
    char path[kPathSize];
    EXPECT_EQ(ini_filename(path, name.c_str()), expected) << name.substr(0, 20);
  }
}

TEST_F(IniTest, LoadAppliesVirtualHostBlocksAndChangesFixedSettings) {
  dir_.Write("hosts.ini",
             "top 1\n# comment\n\nvhost a\nin_a 2\nvend\nvhost b\nin_b 3 # kept\nvend\nafter\n"
             "fixed new\n");
  Declare({{"vhost_match", nullptr, Ini_None},
           {"vhost", nullptr, Ini_None},
           {"fixed", "old", Ini_Fixed}});
  ASSERT_EQ(ini_load(ini_, dir_.Path("hosts").c_str(), "b"), 1);
  EXPECT_EQ(ValuesOf("top"), Values{"1"});
  EXPECT_EQ(ini_index(ini_, "in_a"), -1);
  EXPECT_EQ(ValuesOf("in_b"), Values{"3 # kept"});
  EXPECT_EQ(ValuesOf("after"), Values{""});
  EXPECT_EQ(ValuesOf("fixed"), Values{"new"});

  // Without a host from the caller, "vhost_match" names the variable. After
  // every load the fixed rule is on, even when it was off before.
  ini_rmvmode(ini_, Ini_UseFixed);
  setenv("INI_TEST_VHOST", "a", 1);
  unsetenv("INI_TEST_VHOST_UNSET");
  for (const char* variable : {static_cast<const char*>(nullptr), "INI_TEST_VHOST_UNSET"}) {
    if (variable) ini_add_name(ini_, "vhost_match", variable);
    ASSERT_EQ(ini_load(ini_, dir_.Path("hosts.ini").c_str(), nullptr), 1);
    EXPECT_EQ(ini_index(ini_, "in_a"), -1);
  }
  ini_add_name(ini_, "vhost_match", "INI_TEST_VHOST");
  ASSERT_EQ(ini_load(ini_, dir_.Path("hosts.ini").c_str(), nullptr), 1);
  EXPECT_EQ(ValuesOf("in_a"), Values{"2"});
  EXPECT_EQ(ValuesOf("vhost"), Values{"a"});
  EXPECT_EQ(ini_add_name(ini_, "fixed", "later"), -1);
  const std::string none = "No vhost_match specified, will not match any vhost lines";
  const std::string unset = "Ini vhost NOT found, vhost_match=INI_TEST_VHOST_UNSET";
  EXPECT_EQ(LogLines("Error"), (Lines{none, none, unset, unset}));
}

TEST_F(IniTest, SaveWritesOneLinePerValueAndPeekKeepsTheLastValueFound) {
  static const int32_t assoc[] = {2, 0, -1};
  Declare({{"m", nullptr, Ini_Multi}, {"locked", "l", Ini_Lock}, {"linked", nullptr, Ini_None}},
          assoc);
  ini_add(ini_, 0, "x");
  ini_add(ini_, 0, "y z");
  ini_addmode(ini_, Ini_UseLock);
  ASSERT_EQ(ini_save(ini_, dir_.Path("out.ini").c_str()), 1);
  EXPECT_EQ(dir_.Read("out.ini"), "m x\nm y z\nlinked x\n");
  EXPECT_STREQ(ini_peek(ini_, dir_.Path("out").c_str(), 0), "x");
  EXPECT_STREQ(ini_peek(ini_, dir_.Path("out").c_str(), 1), "x");  // no such line
  EXPECT_EQ(ini_peek(ini_, dir_.Path("missing").c_str(), 0), nullptr);

  EXPECT_EQ(ini_save(ini_, dir_.Path("no/such/dir.ini").c_str()), 0);
  EXPECT_EQ(LogLines("Error"), Lines{"Ini error opening '" + dir_.Path("no/such/dir.ini") +
                                     "' for write, No such file or directory"});
}

}  // namespace
}  // namespace inst
