#include "ini/ini.h"

#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "copy/copy.h"
#include "gtest/gtest.h"
#include "lib/log.h"

namespace inst {
namespace {

using Values = std::vector<std::string>;

constexpr IniMode kDefault = Ini_DefaultMode;

class IniTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char dir[] = "/tmp/ini_test_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    dir_ = dir;
    log_ = log_init(LogDebug);
    ASSERT_EQ(log_open(log_, Path("test.log").c_str()), 1);
    log_set(log_);
    ini_ = ini_init();
    ASSERT_NE(ini_, nullptr);
  }
  void TearDown() override {
    ini_free(&ini_);
    log_set(nullptr);
    log_free(&log_);
    std::filesystem::remove_all(dir_);
  }

  std::string Path(const std::string& name) const { return dir_ + "/" + name; }
  std::string Read(const std::string& path) const {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  std::string LogText() {
    log_flush(log_);
    return Read(Path("test.log"));
  }
  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(Path(name)) << text;
  }
  void Declare(std::vector<SettingList> rows, const int32_t* assoc = nullptr) {
    rows.push_back({nullptr, nullptr, Ini_None});
    ini_setup(ini_, rows.data(), assoc, 1);
  }
  Values ValuesOf(int32_t index) {
    Values out;
    for (const char* v = ini_value(ini_, index); v; v = ini_value_next(ini_, index))
      out.push_back(v);
    return out;
  }
  Values ValuesOf(const char* name) { return ValuesOf(ini_index(ini_, name)); }

  std::string dir_;
  Log* log_ = nullptr;
  Ini* ini_ = nullptr;
};

// Transforms with distinguishable results, kept in static storage because
// the store only copies what they return.
const char* append_a(const char* v) {
  static std::string out;
  return (out = std::string(v) + "a").c_str();
}
const char* append_b(const char* v) {
  static std::string out;
  return (out = std::string(v) + "b").c_str();
}
const char* backslashes(const char*) { return "x\\y"; }
const char* nothing(const char*) { return nullptr; }

TEST_F(IniTest, AddRuleFollowsSettingAndStoreModes) {
  const std::string long_value(1200, 'v');
  struct Row {
    const char* what;
    SettingMode mode;
    IniMode store;
    const char* dflt;
    std::string add;
    int result;
    Values values;
  } rows[] = {
      {"non-multi replaced", Ini_None, kDefault, "a", "b", 1, {"b"}},
      {"multi accumulates", Ini_Multi, kDefault, "a", "b", 1, {"a", "b"}},
      {"no UseMulti accumulates", Ini_None, kDefault & ~Ini_UseMulti, "a", "b", 1, {"a", "b"}},
      {"fixed refused", Ini_Replace | Ini_Fixed, kDefault, "a", "b", -1, {"a"}},
      {"fixed refuses first value", Ini_Fixed, kDefault, nullptr, "b", -1, {}},
      {"fixed without UseFixed", Ini_Fixed, kDefault & ~Ini_UseFixed, "a", "b", 1, {"b"}},
      {"empty refused", Ini_None, kDefault, "a", "", -1, {"a"}},
      {"empty allowed by setting", Ini_Empty, kDefault, "a", "", 1, {""}},
      {"empty allowed by store", Ini_None, kDefault & ~Ini_UseEmpty, "a", "", 1, {""}},
      {"path separators", Ini_Path, kDefault, nullptr, "a\\b/c", 1, {"a/b/c"}},
      {"path without UsePath", Ini_Path, kDefault & ~Ini_UsePath, nullptr, "a\\b", 1, {"a\\b"}},
      {"path cut to 999", Ini_Path, kDefault, nullptr, long_value, 1, {long_value.substr(0, 999)}},
      {"plain value not cut", Ini_None, kDefault, nullptr, long_value, 1, {long_value}},
      {"default skips path rule", Ini_Path, kDefault, "a\\b", "", -1, {"a\\b"}},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    Declare({{"s", row.dflt, row.mode}});
    ini_setmode(ini_, row.store);
    EXPECT_EQ(ini_add(ini_, 0, row.add.c_str()), row.result);
    EXPECT_EQ(ValuesOf(0), row.values);
  }
}

TEST_F(IniTest, FixedRuleIsCheckedBeforeEmptyRule) {
  Declare({{"f", "a", Ini_Fixed}, {"e", "a", Ini_None}});
  EXPECT_EQ(ini_add_name(ini_, "f", ""), -1);
  EXPECT_EQ(ini_add_name(ini_, "e", ""), -1);
  std::string log = LogText();
  EXPECT_NE(log.find("Ini value for 'f' not addded, value is fixed"), std::string::npos);
  EXPECT_EQ(log.find("Ini value for 'f' not added, value was empty"), std::string::npos);
  EXPECT_NE(log.find("Ini value for 'e' not added, value was empty"), std::string::npos);
}

TEST_F(IniTest, TransformsChainInOrderBeforePathAndEmptyRules) {
  const SettingMode a = static_cast<SettingMode>(64), b = static_cast<SettingMode>(128);
  const SettingMode c = static_cast<SettingMode>(256), d = static_cast<SettingMode>(512);
  Declare({{"both", nullptr, a | b},
           {"path", nullptr, c | Ini_Path},
           {"empty", "old", d},
           {"plain", nullptr, Ini_None}});
  ini_setup_load_fn(ini_, append_a, a);
  ini_setup_load_fn(ini_, append_b, b);
  ini_setup_load_fn(ini_, backslashes, c);
  ini_setup_load_fn(ini_, nothing, d);
  EXPECT_EQ(ini_add_name(ini_, "both", "x"), 1);
  EXPECT_EQ(ini_add_name(ini_, "path", "anything"), 1);
  EXPECT_EQ(ini_add_name(ini_, "empty", "new"), -1);
  EXPECT_EQ(ValuesOf("both"), Values{"xab"});
  EXPECT_EQ(ValuesOf("path"), Values{"x/y"});
  EXPECT_EQ(ValuesOf("empty"), Values{"old"});

  ini_setup_load_fn(ini_, append_b, a);
  EXPECT_EQ(ini_add_name(ini_, "both", "y"), 1);
  EXPECT_EQ(ValuesOf("both"), Values{"ybb"});
  std::string log = LogText();
  EXPECT_NE(log.find("New load fn ["), std::string::npos);
  EXPECT_NE(log.find("already set for flag [64], replacing with new fn"), std::string::npos);
}

TEST_F(IniTest, UnknownNamesCreateSettingsByStoreMode) {
  struct Row {
    const char* what;
    IniMode store;
    const char* value;
    int result;
    SettingMode mode;
  } rows[] = {
      {"default", kDefault, "v", 1, Ini_Multi | Ini_Empty},
      {"default, empty value", kDefault, "", 1, Ini_Multi | Ini_Empty},
      {"no NewEmpty, empty value", kDefault & ~Ini_NewEmpty, "", -1, Ini_None},
      {"no NewEmpty", kDefault & ~Ini_NewEmpty, "v", 1, Ini_Multi},
      {"pass and fixed", kDefault | Ini_NewPass | Ini_NewFixed, "v", 1,
       Ini_Multi | Ini_Empty | Ini_Pass | Ini_Fixed},
      {"lock", Ini_UseNew | Ini_NewLock, "v", 1, Ini_Lock},
      {"no UseNew", kDefault & ~Ini_UseNew, "v", 0, Ini_None},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    Declare({{"known", "k", Ini_None}});
    ini_setmode(ini_, row.store);
    EXPECT_EQ(ini_add_name(ini_, "new", row.value), row.result);
    EXPECT_EQ(ini_index(ini_, "new"), row.result == 1 ? 1 : -1);
    EXPECT_EQ(ini_setting_mode_name(ini_, "new"), row.mode);
  }
}

TEST_F(IniTest, CreatedSettingAddsAfterCursor) {
  Declare({});
  ini_add_name(ini_, "n", "1");
  ini_add_name(ini_, "n", "2");
  EXPECT_STREQ(ini_value_name(ini_, "n"), "1");
  EXPECT_STREQ(ini_value_name_next(ini_, "n"), "2");
  EXPECT_EQ(ini_value_name_next(ini_, "n"), nullptr);

  ini_add_name(ini_, "m", "1");
  ini_value_name(ini_, "m");
  ini_add_name(ini_, "m", "2");
  EXPECT_EQ(ValuesOf("m"), (Values{"2", "1"}));
}

TEST_F(IniTest, LogShowsValuesButMasksPasswords) {
  Declare({{"name", "a", Ini_None}, {"pw", nullptr, Ini_Pass}});
  ini_add_name(ini_, "name", "b");
  ini_add_name(ini_, "pw", "secret1");
  ini_addmode(ini_, Ini_NewPass);
  ini_add_name(ini_, "newpw", "secret2");
  std::string log = LogText();
  EXPECT_NE(log.find("Ini value for 'name' set to 'b'"), std::string::npos);
  EXPECT_NE(log.find("Ini value for 'pw' set to 'xxxx'"), std::string::npos);
  EXPECT_NE(log.find("Ini setting 'newpw' created and set to 'xxxx'"), std::string::npos);
  EXPECT_EQ(log.find("secret"), std::string::npos);

  ini_rmvmode(ini_, Ini_UsePass);
  ini_add_name(ini_, "pw", "shown");
  EXPECT_NE(LogText().find("Ini value for 'pw' set to 'shown'"), std::string::npos);
}

TEST_F(IniTest, AssociationsFallBackAndLastOneWins) {
  // 0 falls back to 1 then 2 (no value); 3 to 1 only; 4 and 5 form a cycle
  // without values; 6 falls back to itself; 7 cycles through 8, which has
  // one; 99 is no setting.
  static const int32_t assoc[] = {0, 1, 0, 2, 3, 1, 4, 5, 5, 4, 6, 6, 7, 8, 8, 7, 99, 1, -1};
  Declare({{"s0", nullptr, Ini_None},
           {"s1", "one", Ini_None},
           {"s2", nullptr, Ini_None},
           {"s3", nullptr, Ini_None},
           {"s4", nullptr, Ini_None},
           {"s5", nullptr, Ini_None},
           {"s6", nullptr, Ini_None},
           {"s7", nullptr, Ini_None},
           {"s8", "eight", Ini_None}},
          assoc);
  EXPECT_EQ(ini_value(ini_, 0), nullptr);
  EXPECT_STREQ(ini_value(ini_, 3), "one");
  EXPECT_EQ(ini_value_next(ini_, 3), nullptr);
  EXPECT_EQ(ini_value(ini_, 4), nullptr);
  EXPECT_EQ(ini_value(ini_, 6), nullptr);
  EXPECT_STREQ(ini_value(ini_, 7), "eight");
  ini_add(ini_, 2, "two");
  EXPECT_STREQ(ini_value(ini_, 0), "two");
  ini_add(ini_, 0, "own");
  EXPECT_STREQ(ini_value(ini_, 0), "own");
  std::string log = LogText();
  EXPECT_NE(log.find("Ini association index 0->2 added"), std::string::npos);
  EXPECT_NE(log.find("Ini association index 99 invalid."), std::string::npos);
}

TEST_F(IniTest, FormattedAddIsCutTo999) {
  Declare({{"s", nullptr, Ini_None}});
  const std::string long_text(1500, 'x');
  EXPECT_EQ(ini_add_format(ini_, 0, "%d-%s", 7, "x"), 1);
  EXPECT_EQ(ValuesOf(0), Values{"7-x"});
  EXPECT_EQ(ini_add_format(ini_, 0, "%s", long_text.c_str()), 1);
  EXPECT_EQ(ValuesOf(0), Values{long_text.substr(0, 999)});
  EXPECT_EQ(ini_add_format(ini_, 0, long_text.c_str()), 1);
  EXPECT_EQ(ValuesOf(0), Values{long_text.substr(0, 999)});
}

TEST_F(IniTest, ArrayAddGoesOnPastRefusedValues) {
  Declare({{"m", nullptr, Ini_Multi}});
  Array<char>* values = array_init<char>();
  array_tok(values, "a,,b", ",");
  char empty[] = "";
  array_add_num(values, empty, 1);
  EXPECT_EQ(ini_add_array(ini_, 0, values), 1);
  EXPECT_EQ(ValuesOf(0), (Values{"a", "b"}));
  array_del_num(values, 1);
  array_free_dealloc(&values);
}

TEST_F(IniTest, RemovalsFollowTheCursor) {
  Declare({{"m", nullptr, Ini_Multi}});
  for (const char* v : {"a", "b", "c", "d"}) ini_add(ini_, 0, v);
  auto take = [](char* v) {
    std::unique_ptr<char[]> owned(v);
    return std::string(v ? v : "(null)");
  };
  ini_value(ini_, 0);
  ini_value_next(ini_, 0);
  EXPECT_EQ(take(ini_remove_next(ini_, 0)), "b");
  EXPECT_EQ(take(ini_remove(ini_, 0)), "a");
  while (ini_value_next(ini_, 0)) {
  }
  EXPECT_EQ(take(ini_remove_name_next(ini_, "m")), "d");
  EXPECT_EQ(take(ini_remove_name(ini_, "m")), "c");
  EXPECT_EQ(take(ini_remove(ini_, 0)), "(null)");
}

TEST_F(IniTest, TableGrowsByFiveRowsWhenOnlyTheTerminatorIsFree) {
  Declare({{"a", "1", Ini_None}, {"b", "2", Ini_None}});
  EXPECT_EQ(ini_->size, 3);
  const char* first = ini_label(ini_, 0);
  const int32_t sizes[] = {8, 8, 8, 8, 8, 13, 13, 13, 13, 13};
  for (int i = 0; i < 10; ++i) {
    std::string name = "new" + std::to_string(i);
    ASSERT_EQ(ini_add_name(ini_, name.c_str(), "v"), 1);
    EXPECT_EQ(ini_->size, sizes[i]) << name;
    EXPECT_EQ(ini_index(ini_, name.c_str()), i + 2);
  }
  EXPECT_EQ(ini_items(ini_), 12);
  EXPECT_STREQ(first, "a");
}

TEST_F(IniTest, NullAndBadArgumentsDoNothing) {
  EXPECT_EQ(ini_add_name(ini_, "x", "v"), 0);  // before ini_setup
  EXPECT_EQ(ini_label_array(ini_), nullptr);
  EXPECT_EQ(ini_process(ini_), 0);
  Declare({{"a", "1", Ini_None}});
  EXPECT_EQ(ini_add(ini_, 1, "v"), 0);
  EXPECT_EQ(ini_add(ini_, -1, "v"), 0);
  EXPECT_EQ(ini_add_name(ini_, nullptr, "v"), 0);
  EXPECT_EQ(ini_value(nullptr, 0), nullptr);
  EXPECT_EQ(replace_vars(nullptr, "$(a)"), nullptr);
  char buffer[4] = "abc";
  ini_replace(nullptr, "x", buffer, sizeof buffer);
  ini_replace(ini_, nullptr, buffer, sizeof buffer);
  EXPECT_STREQ(buffer, "abc");
  Ini* none = nullptr;
  ini_free(&none);
  ini_free(nullptr);
}

// The three expanders over one store: "dir" holds /opt/x, "nested" holds an
// unexpanded reference, "none" has no value, "big" 9500 characters.
class ExpandTest : public IniTest {
 protected:
  void SetUp() override {
    IniTest::SetUp();
    Declare({{"dir", "/opt/x", Ini_Replace},
             {"nested", "$(dir)/n", Ini_None},
             {"none", nullptr, Ini_None},
             {"big", big_.c_str(), Ini_None}});
  }
  const std::string big_ = std::string(9500, 'b');
};

TEST_F(ExpandTest, BufferExpansionIsSingleLevelExactAndBounded) {
  struct Row {
    const char* text;
    unsigned size;
    const char* expected;
  } rows[] = {
      {"$(dir)/bin", 100, "/opt/x/bin"},
      {"a$(unknown)b", 100, "ab"},
      {"$(DIR)/bin", 100, "/bin"},
      {"$(nested)", 100, "$(dir)/n"},
      {"$(none)x", 100, "x"},
      {"plain text", 6, "plain"},
      {"ab$(dir)cd", 5, "ab/o"},   // value cut to the room less one
      {"abc$(dir)", 4, "abc"},     // literal fits with its terminator
      {"abcd$(dir)", 4, "abc"},    // literal fills the room: copied raw, cut
      {"abcdef$(dir)", 4, "abc"},  // literal longer than the room
      {"x$(dir", 100, "x$(dir"},   // unterminated reference copied as it is
      {"$(dir)$(dir", 100, "/opt/x$(dir"},
      {"$(dir)", 1, ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    char out[128];
    std::memset(out, '#', sizeof out);
    ini_replace(ini_, row.text, out, row.size);
    EXPECT_STREQ(out, row.expected);
    for (size_t i = row.size; i < sizeof out; ++i) ASSERT_EQ(out[i], '#') << "byte " << i;
  }
}

TEST_F(ExpandTest, CopyTextExpansionCutsValuesAndTail) {
  const std::string tail(9500, 't');
  struct Row {
    std::string text;
    const char* expected;  // null: only the length is checked
    size_t length;
  } rows[] = {
      {"$(dir)/bin", "/opt/x/bin", 10},
      {"a$(unknown)b", "ab", 2},
      {"$(DIR)", "", 0},
      {"$(nested)", "$(dir)/n", 8},
      {"x$(dir", "x$(dir", 6},
      {"$(big)", nullptr, 8999},
      {"$(big)$(big)", nullptr, 9999},
      {"$(dir)" + tail, nullptr, 6 + 8999},
  };
  Copy copy;
  copy.ini = ini_;
  EXPECT_EQ(replace_vars(&copy, "no reference"), nullptr);
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text.substr(0, 20));
    char* out = replace_vars(&copy, row.text.c_str());
    ASSERT_NE(out, nullptr);
    if (row.expected) {
      EXPECT_STREQ(out, row.expected);
    }
    EXPECT_EQ(std::strlen(out), row.length);
    delete[] out;
  }
}

TEST_F(IniTest, InStoreExpansionIsCaseBlindNestedAndEndsCycles) {
  const std::string long_base(600, 'l');
  Declare({{"before", "$(later)/z", Ini_Replace},
           {"base", "/opt", Ini_Replace},
           {"dir", "$(BASE)/x", Ini_Replace},
           {"later", "$(dir)/l", Ini_Replace},
           {"unknown", "$(nope)/a$(base)", Ini_Replace},
           {"norepl", "N", Ini_None},
           {"dropped", "$(norepl)/q$(action)", Ini_Replace},
           {"twice", "$(base):$(base)", Ini_Replace},
           {"self", "$(self)!", Ini_Replace},
           {"cycle_a", "$(cycle_b)", Ini_Replace},
           {"cycle_b", "$(cycle_a)", Ini_Replace},
           {"open", "$(base)$(base", Ini_Replace},
           {"long", long_base.c_str(), Ini_Replace},
           {"longer", "$(long)$(long)", Ini_Replace},
           {"action", nullptr, Ini_None}});
  ini_setmode(ini_, kDefault & ~Ini_UseMulti);
  ini_add(ini_, ini_index(ini_, "twice"), "second $(base)");
  ASSERT_EQ(ini_process(ini_), 1);
  EXPECT_EQ(ValuesOf("before"), Values{"/opt/x/l/z"});
  EXPECT_EQ(ValuesOf("dir"), Values{"/opt/x"});
  EXPECT_EQ(ValuesOf("unknown"), Values{"$(nope)/a/opt"});
  EXPECT_EQ(ValuesOf("dropped"), Values{"/q"});
  EXPECT_EQ(ValuesOf("twice"), (Values{"/opt:/opt", "second /opt"}));
  // Self-reference doubles the value until the cut, then repeats unchanged
  // until the substitution limit ends it.
  EXPECT_EQ(ValuesOf("self"), Values{"$(self)" + std::string(992, '!')});
  EXPECT_EQ(ValuesOf("cycle_a"), Values{"$(cycle_a)"});
  EXPECT_EQ(ValuesOf("cycle_b"), Values{"$(cycle_a)"});
  EXPECT_EQ(ValuesOf("open"), Values{"/opt$(base"});
  EXPECT_EQ(ValuesOf("longer"), Values{(long_base + long_base).substr(0, 999)});
  EXPECT_NE(LogText().find("Replaced '$(BASE)' in '$(BASE)/x' with '/opt' = '/opt/x'"),
            std::string::npos);
}

TEST_F(IniTest, FileNamesAreCutAndCompleted) {
  const std::string long_name(300, 'n');
  struct Row {
    std::string name;
    std::string expected;
  } rows[] = {
      {"conf", "conf.ini"},
      {"conf.txt", "conf.txt"},
      {"dir.d/conf", "dir.d/conf.ini"},
      {"dir.d\\conf", "dir.d\\conf.ini"},
      {long_name, long_name.substr(0, 255)},
      {long_name.substr(0, 252), long_name.substr(0, 252) + ".in"},
  };
  for (const Row& row : rows) {
    char path[kIniNameMax + 1];
    EXPECT_EQ(ini_filename(path, row.name.c_str()), row.expected) << row.name.substr(0, 20);
  }
}

TEST_F(IniTest, LoadAppliesVirtualHostBlocks) {
  Write("hosts.ini",
        "top 1\n# comment\n\nvhost a\nin_a 2\nvend\nvhost b\nin_b 3 # kept\nvend\nafter\n");
  Declare({{"vhost_match", nullptr, Ini_None}});
  ASSERT_EQ(ini_load(ini_, Path("hosts").c_str(), "b"), 1);
  EXPECT_EQ(ValuesOf("top"), Values{"1"});
  EXPECT_EQ(ini_index(ini_, "in_a"), -1);
  EXPECT_EQ(ValuesOf("in_b"), Values{"3 # kept"});
  EXPECT_EQ(ValuesOf("after"), Values{""});

  ini_free(&ini_);
  ini_ = ini_init();
  Declare({{"vhost_match", nullptr, Ini_None}});
  ASSERT_EQ(ini_load(ini_, Path("hosts.ini").c_str(), nullptr), 1);
  EXPECT_EQ(ini_index(ini_, "in_a"), -1);
  EXPECT_EQ(ini_index(ini_, "in_b"), -1);
  std::string log = LogText();
  const std::string message = "No vhost_match specified, will not match any vhost lines";
  size_t first = log.find(message);
  ASSERT_NE(first, std::string::npos);
  EXPECT_NE(log.find(message, first + 1), std::string::npos);
}

TEST_F(IniTest, LoadTakesVirtualHostFromNamedVariable) {
  Write("hosts.ini", "vhost a\nin_a 2\nvend\n");
  setenv("INI_TEST_VHOST", "a", 1);
  unsetenv("INI_TEST_VHOST_UNSET");
  Declare({{"vhost_match", "INI_TEST_VHOST", Ini_None}, {"vhost", nullptr, Ini_None}});
  ASSERT_EQ(ini_load(ini_, Path("hosts.ini").c_str(), nullptr), 1);
  EXPECT_EQ(ValuesOf("in_a"), Values{"2"});
  EXPECT_EQ(ValuesOf("vhost"), Values{"a"});

  ini_add_name(ini_, "vhost_match", "INI_TEST_VHOST_UNSET");
  delete[] ini_remove_name(ini_, "in_a");
  ASSERT_EQ(ini_load(ini_, Path("hosts.ini").c_str(), nullptr), 1);
  EXPECT_EQ(ini_value_name(ini_, "in_a"), nullptr);
  EXPECT_NE(LogText().find("Ini vhost NOT found, vhost_match=INI_TEST_VHOST_UNSET"),
            std::string::npos);
}

TEST_F(IniTest, LoadChangesFixedSettingsAndThenHonoursThem) {
  Write("fixed.ini", "fixed new\n");
  Declare({{"fixed", "old", Ini_Fixed}});
  ini_rmvmode(ini_, Ini_UseFixed);
  ASSERT_EQ(ini_load(ini_, Path("fixed").c_str(), nullptr), 1);
  EXPECT_EQ(ValuesOf("fixed"), Values{"new"});
  EXPECT_EQ(ini_add_name(ini_, "fixed", "later"), -1);
  EXPECT_EQ(ini_load(ini_, Path("missing").c_str(), nullptr), 0);
}

TEST_F(IniTest, SaveWritesOneLinePerValueAndLoadsBack) {
  static const int32_t assoc[] = {2, 0, -1};
  Declare({{"m", nullptr, Ini_Multi}, {"locked", "l", Ini_Lock}, {"linked", nullptr, Ini_None}},
          assoc);
  ini_add(ini_, 0, "x");
  ini_add(ini_, 0, "y z");
  ini_addmode(ini_, Ini_UseLock);
  EXPECT_EQ(ini_value(ini_, 1), nullptr);
  ASSERT_EQ(ini_save(ini_, Path("out.ini").c_str()), 1);
  EXPECT_EQ(Read(Path("out.ini")), "m x\nm y z\nlinked x\n");
  EXPECT_EQ(ini_save(ini_, Path("no/such/dir.ini").c_str()), 0);
  EXPECT_NE(LogText().find("Ini error opening '" + Path("no/such/dir.ini") +
                           "' for write, No such file or directory"),
            std::string::npos);
}

TEST_F(IniTest, PeekKeepsTheLastValueFound) {
  Write("peek.ini", "# a x\nvhost h\na first\na second\n");
  Declare({{"a", nullptr, Ini_None}, {"vhost", nullptr, Ini_None}, {"b", nullptr, Ini_None}});
  EXPECT_STREQ(ini_peek(ini_, Path("peek").c_str(), 1), "h");
  EXPECT_STREQ(ini_peek(ini_, Path("peek").c_str(), 0), "first");
  EXPECT_STREQ(ini_peek(ini_, Path("peek").c_str(), 2), "first");
  EXPECT_EQ(ini_peek(ini_, Path("peek").c_str(), 3), nullptr);
  EXPECT_EQ(ini_peek(ini_, Path("missing").c_str(), 0), nullptr);
}

}  // namespace
}  // namespace inst
