#include "lib/array.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "lib/log.h"

namespace inst {
namespace {

int pool[32];  // elements are addresses in here; an element's value is its index

Array<int>* Filled(int n) {
  Array<int>* a = array_init<int>();
  for (int i = 0; i < n; ++i) array_add(a, &pool[i]);
  return a;
}

std::vector<int> Indexes(const Array<int>* a) {
  std::vector<int> v;
  for (int i = 0; i < a->items; ++i) v.push_back(static_cast<int>(a->data[i] - pool));
  return v;
}

std::vector<std::string> Texts(const Array<char>* a) {
  return std::vector<std::string>(a->data.begin(), a->data.begin() + a->items);
}

TEST(ArrayTest, GrowsByBlockWhenFull) {
  Array<int>* a = Filled(10);
  EXPECT_EQ(10, a->size);
  ASSERT_EQ(1, array_add(a, &pool[10]));
  EXPECT_EQ(20, a->size);
  array_setup(a, 25, 0);  // a step below 1 becomes 5
  EXPECT_EQ(25, a->size);
  EXPECT_EQ(5, a->block);
  array_free(&a);
}

TEST(ArrayTest, CursorMovesWithItsElementOnInsertAndDelete) {
  struct Row {
    bool insert;
    int cursor, index, cursor_after;
  };
  static const Row rows[] = {
      {true, 2, 0, 3},  {true, 2, 2, 3},  {true, 2, 3, 2},    {true, -1, 0, -1}, {false, 2, 0, 1},
      {false, 2, 2, 1}, {false, 2, 3, 2}, {false, -1, 1, -1}, {false, 0, 0, -1},
  };
  for (const Row& r : rows) {
    Array<int>* a = Filled(4);
    a->current = r.cursor;
    if (r.insert) {
      ASSERT_EQ(1, array_add_num(a, &pool[9], r.index));
    } else {
      EXPECT_EQ(&pool[r.index], array_del_num(a, r.index));
    }
    EXPECT_EQ(r.cursor_after, array_current(a))
        << (r.insert ? "insert" : "delete") << " at " << r.index << ", cursor " << r.cursor;
    if (r.insert && r.cursor >= 0) {
      EXPECT_EQ(&pool[r.cursor], array_get(a)) << "insert at " << r.index;  // same element
    }
    array_free(&a);
  }
}

TEST(ArrayTest, DeleteFromFullArrayShiftsOnlyElements) {
  Array<int>* a = Filled(10);  // every slot in use
  EXPECT_EQ(&pool[0], array_del_num(a, 0));
  EXPECT_EQ((std::vector<int>{1, 2, 3, 4, 5, 6, 7, 8, 9}), Indexes(a));
  EXPECT_EQ(nullptr, a->data[9]);
  array_free(&a);
}

TEST(ArrayTest, ReadsRunTheCursorOffTheEndAndDelTakesTheLastRead) {
  Array<int>* a = Filled(4);
  std::vector<int> seen;
  for (int* p = array_get_num(a, 0); p; p = array_get(a))
    seen.push_back(static_cast<int>(p - pool));
  EXPECT_EQ((std::vector<int>{0, 1, 2, 3}), seen);
  EXPECT_EQ(-1, array_current(a));
  EXPECT_EQ(&pool[3], array_get_last(a));  // after the end: the last one
  array_get_num(a, 1);
  EXPECT_EQ(&pool[1], array_get_last(a));  // after a read: that one again
  EXPECT_EQ(&pool[1], array_del(a));
  EXPECT_EQ(&pool[2], array_get(a));
  array_end(a);
  EXPECT_EQ(&pool[3], array_del(a));
  EXPECT_EQ((std::vector<int>{0, 2}), Indexes(a));
  array_free(&a);
}

TEST(ArrayTest, AppendingAnArrayGrowsByTheShortfallAndKeepsItAsBlock) {
  Array<int>* a = Filled(8);
  Array<int>* src = Filled(5);
  array_array(a, src);
  EXPECT_EQ(13, a->items);
  EXPECT_EQ(13, a->size);
  EXPECT_EQ(3, a->block);
  array_free(&a);
  array_free(&src);
}

TEST(ArrayTest, TokSplitsWithoutEmptyTokens) {
  struct Row {
    const char* text;
    const char* delims;
    std::vector<std::string> tokens;
  };
  static const Row rows[] = {
      {",a,,b,", ",", {"a", "b"}},
      {"a b\tc", " \t", {"a", "b", "c"}},
      {"", ",", {}},
      {",,,", ",", {}},
      {"whole", "", {"whole"}},
  };
  for (const Row& r : rows) {
    Array<char>* a = array_init<char>();
    EXPECT_EQ(static_cast<int>(r.tokens.size()), array_tok(a, r.text, r.delims)) << r.text;
    EXPECT_EQ(r.tokens, Texts(a)) << "text \"" << r.text << "\"";
    array_free_dealloc(&a);
  }
}

class ArrayFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "array_test.XXXXXX").string();
    ASSERT_NE(nullptr, mkdtemp(pattern.data()));
    dir_ = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  std::string dir_;
};

TEST_F(ArrayFileTest, LoadsLinesKeepingABareLineBreak) {
  struct Row {
    std::string content;
    std::vector<std::string> lines;
  };
  const std::string x(998, 'x');
  const Row rows[] = {
      {"one\n\ntwo\n", {"one", "\n", "two"}},
      {"dos\r\n\r\nend", {"dos", "\r\n", "end"}},
      {x + "xx\n", {x, "xx"}},  // read 998 characters at a time
      {x + "\nz", {x, "\n", "z"}},
  };
  const std::string path = dir_ + "/lines.txt";
  for (const Row& r : rows) {
    std::ofstream(path, std::ios::binary) << r.content;
    Array<char>* a = array_loadfile(path.c_str());
    ASSERT_NE(nullptr, a);
    EXPECT_EQ(r.lines, Texts(a)) << "content of " << r.content.size() << " bytes";
    array_free_dealloc(&a);
  }
  EXPECT_EQ(nullptr, array_loadfile((dir_ + "/missing").c_str()));
}

TEST_F(ArrayFileTest, FailedGrowthIsLoggedAndChangesNothing) {
  Log* log = log_init(LogError);
  const std::string path = dir_ + "/test.log";
  ASSERT_EQ(1, log_open(log, path.c_str()));
  log_set(log);
  Array<int>* a = array_init<int>();
  a->block = 0;  // no step: the array cannot grow
  EXPECT_EQ(0, array_add(a, &pool[0]));
  EXPECT_EQ(0, a->items);
  array_free(&a);
  log_free(&log);
  std::stringstream text;
  text << std::ifstream(path).rdbuf();
  EXPECT_NE(std::string::npos, text.str().find("] Error: Memory allocation error.\n"));
}

}  // namespace
}  // namespace inst
