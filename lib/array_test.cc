#include "lib/array.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/scratch.h"

namespace inst {
namespace {

int pool[32];  // elements are addresses in here; an element's value is its index

Array<int>* Filled(int n) {
  Array<int>* a = array_init<int>();
  for (int i = 0; i < n; ++i) array_add(a, &pool[i]);
  return a;
}

using Ints = std::vector<int>;
using Texts = std::vector<std::string>;

Ints Indexes(const Array<int>* a) {
  Ints v;
  for (int i = 0; i < a->items; ++i) v.push_back(static_cast<int>(a->data[i] - pool));
  return v;
}

// The texts of a, which is released with them; none for a null a.
Texts Take(Array<char>* a) {
  if (a == nullptr) return {};
  Texts texts(a->data.begin(), a->data.begin() + a->items);
  array_free_dealloc(&a);
  return texts;
}

// items, size and block.
Ints Shape(const Array<int>* a) { return {a->items, a->size, a->block}; }

TEST(ArrayTest, GrowsByBlockAndByTheShortfallOfAnAppendedArray) {
  Array<int>* a = Filled(10);
  EXPECT_EQ(Shape(a), (Ints{10, 10, 10}));
  array_add(a, &pool[10]);
  EXPECT_EQ(Shape(a), (Ints{11, 20, 10}));
  array_setup(a, 25, 0);  // a step below 1 becomes 5
  EXPECT_EQ(Shape(a), (Ints{11, 25, 5}));
  Array<int>* more = Filled(20);
  array_array(a, more);  // 6 slots short: the step is left at 6
  EXPECT_EQ(Shape(a), (Ints{31, 31, 6}));
  array_free(&a);
  array_free(&more);
}

TEST(ArrayTest, CursorMovesWithItsElementOnInsertAndDelete) {
  static const struct {
    bool insert;
    int cursor, index, cursor_after;
  } rows[] = {
      {true, 2, 0, 3},  {true, 2, 2, 3},  {true, 2, 3, 2},    {true, -1, 0, -1}, {false, 2, 0, 1},
      {false, 2, 2, 1}, {false, 2, 3, 2}, {false, -1, 1, -1}, {false, 0, 0, -1},
  };
  for (const auto& r : rows) {
    Array<int>* a = Filled(4);
    a->current = r.cursor;
    if (r.insert) {
      ASSERT_EQ(array_add_num(a, &pool[9], r.index), 1);
    } else {
      EXPECT_EQ(array_del_num(a, r.index), &pool[r.index]);
    }
    EXPECT_EQ(array_current(a), r.cursor_after)
        << (r.insert ? "insert" : "delete") << " at " << r.index << ", cursor " << r.cursor;
    if (r.insert && r.cursor >= 0) {
      EXPECT_EQ(array_get(a), &pool[r.cursor]) << "insert at " << r.index;  // the same element
    }
    array_free(&a);
  }
  Array<int>* full = Filled(10);  // every slot in use: only the elements move
  EXPECT_EQ(array_del_num(full, 0), &pool[0]);
  EXPECT_EQ(Indexes(full), (Ints{1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(full->data[9], nullptr);
  array_free(&full);
}

TEST(ArrayTest, ReadsRunTheCursorOffTheEndAndDelTakesTheLastRead) {
  Array<int>* a = Filled(4);
  Ints seen;
  for (int* p = array_get_num(a, 0); p; p = array_get(a))
    seen.push_back(static_cast<int>(p - pool));
  EXPECT_EQ(seen, (Ints{0, 1, 2, 3}));
  EXPECT_EQ(array_current(a), -1);
  EXPECT_EQ(array_get_last(a), &pool[3]);  // after the end: the last one
  array_get_num(a, 1);
  EXPECT_EQ(array_get_last(a), &pool[1]);  // after a read: that one again
  EXPECT_EQ(array_del(a), &pool[1]);
  EXPECT_EQ(array_get(a), &pool[2]);
  array_end(a);
  EXPECT_EQ(array_del(a), &pool[3]);
  EXPECT_EQ(Indexes(a), (Ints{0, 2}));
  array_free(&a);
}

TEST(ArrayTest, TokSplitsWithoutEmptyTokens) {
  Array<char>* a = array_init<char>();
  EXPECT_EQ(array_tok(a, ",a,,b,", ","), 2);
  EXPECT_EQ(array_tok(a, ",,,", ","), 0);
  EXPECT_EQ(array_tok(a, "c d\te", " \t"), 3);
  EXPECT_EQ(array_tok(a, "whole", ""), 1);
  EXPECT_EQ(Take(a), (Texts{"a", "b", "c", "d", "e", "whole"}));
}

using ArrayFileTest = LoggedTest;

TEST_F(ArrayFileTest, LoadsLinesKeepingABareLineBreak) {
  const std::string x(998, 'x');  // a read takes 998 characters at most
  dir_.Write("a", "one\n\ntwo\n");
  dir_.Write("b", "dos\r\n\r\n" + x + "xx\n" + x + "\nz");
  EXPECT_EQ(Take(array_loadfile(dir_.Path("a").c_str())), (Texts{"one", "\n", "two"}));
  EXPECT_EQ(Take(array_loadfile(dir_.Path("b").c_str())),
            (Texts{"dos", "\r\n", x, "xx", x, "\n", "z"}));
  EXPECT_EQ(array_loadfile(dir_.Path("missing").c_str()), nullptr);
}

TEST_F(ArrayFileTest, FailedGrowthIsLoggedAndChangesNothing) {
  Array<int>* a = array_init<int>();
  a->block = 0;  // no step: the array cannot grow
  EXPECT_EQ(array_add(a, &pool[0]), 0);
  EXPECT_EQ(a->items, 0);
  array_free(&a);
  EXPECT_EQ(LogLines("Error"), Texts{"Memory allocation error."});
}

}  // namespace
}  // namespace inst
