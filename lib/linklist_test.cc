#include "lib/linklist.h"

#include <gtest/gtest.h>

#include <vector>

namespace inst {
namespace {

int pool[10];  // elements are addresses in here; an element's value is its index
using Ints = std::vector<int>;

// The elements from the first on, read the usual way.
Ints All(Linklist<int>* l) {
  Ints v;
  list_start(l);
  for (int* p = list_get(l); p; p = list_get_next(l)) v.push_back(static_cast<int>(p - pool));
  return v;
}

class LinklistTest : public testing::Test {
 protected:
  void TearDown() override { list_free(&l_); }
  void Add(Ints indexes) {
    for (int i : indexes) ASSERT_EQ(list_add(l_, &pool[i]), 1);
  }
  Linklist<int>* l_ = list_init<int>();
};

TEST_F(LinklistTest, AddGoesAfterTheCursorAndMovesOntoTheNewNode) {
  Add({1, 2, 3});
  EXPECT_EQ(list_at_end(l_), 1);
  list_start(l_);
  Add({0});
  EXPECT_EQ(list_get(l_), &pool[1]);  // the new one stands before the current
  EXPECT_EQ(All(l_), (Ints{0, 1, 2, 3}));
  EXPECT_EQ(list_items(l_), 4);
  EXPECT_EQ(list_add(l_, static_cast<int*>(nullptr)), 0);
}

TEST_F(LinklistTest, AMiddleAddLeavesTheFollowingPrevUntilARemovalRelinksIt) {
  Add({1, 3});
  list_start(l_);
  list_next(l_);  // current element 3
  Add({2});
  list_next(l_);  // past the end, on 3
  list_prev(l_);  // 3's prev still names 1, so 2 is current
  EXPECT_EQ(list_get(l_), &pool[2]);
  list_start(l_);
  list_prev(l_);  // the sentinel is its own prev
  EXPECT_EQ(list_del(l_), &pool[1]);
  list_end(l_);
  list_prev(l_);  // would read the removed node without the relink
  EXPECT_EQ(list_at_start(l_), 1);
  EXPECT_EQ(All(l_), (Ints{2, 3}));
}

TEST_F(LinklistTest, DelAndReplaceWorkOnTheCurrentElement) {
  EXPECT_EQ(list_del(l_), nullptr);
  Add({1, 2, 3});
  list_start(l_);
  EXPECT_EQ(list_del(l_), &pool[1]);
  EXPECT_EQ(list_replace(l_, &pool[7]), &pool[2]);
  EXPECT_EQ(list_replace(l_, static_cast<int*>(nullptr)), nullptr);
  list_end(l_);
  EXPECT_EQ(list_replace(l_, &pool[8]), nullptr);
  EXPECT_EQ(list_del(l_), &pool[3]);  // past the end: the last one
  list_start(l_);
  Add({0});  // 7's prev still names the sentinel
  list_end(l_);
  EXPECT_EQ(list_del(l_), &pool[7]);
  EXPECT_EQ(All(l_), Ints{0});
  EXPECT_EQ(list_items(l_), 1);
}

TEST_F(LinklistTest, CopyLeavesItemsAtZeroAndAnEmptiedListStaysUsable) {
  Add({3, 1, 2});
  Linklist<int>* copy = list_copy(l_);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(list_items(copy), 0);
  EXPECT_EQ(list_at_end(copy), 1);
  EXPECT_EQ(All(copy), (Ints{3, 1, 2}));
  list_free(&copy);
  list_empty(l_);
  EXPECT_EQ(list_at_start(l_), 1);
  Add({5});
  EXPECT_EQ(All(l_), Ints{5});
}

TEST(LinklistOwnershipTest, FnSeesEveryElementFieldIncludingTheSentinels) {
  static int calls;  // counted by the release function below
  calls = 0;
  Linklist<int>* ints = list_init<int>();
  for (int i = 0; i < 3; ++i) list_add(ints, new int(i));
  list_free_fn<int>(&ints, [](int** p) {
    ++calls;
    delete *p;  // null for the sentinel
    *p = nullptr;
  });
  EXPECT_EQ(calls, 4);
  EXPECT_EQ(ints, nullptr);
}

TEST(LinklistOwnershipTest, LongListIsReleasedWithoutDeepRecursion) {
  Linklist<char>* l = list_init<char>();
  for (int i = 0; i < 1000000; ++i) list_add(l, new char[2]{"x"});
  list_free_dealloc(&l);
  EXPECT_EQ(l, nullptr);
}

}  // namespace
}  // namespace inst
