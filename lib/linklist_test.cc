#include "lib/linklist.h"

#include <gtest/gtest.h>

#include <vector>

namespace inst {
namespace {

int pool[10];  // elements are addresses in here; an element's value is its index

void Add(Linklist<int>* l, std::initializer_list<int> indexes) {
  for (int i : indexes) ASSERT_EQ(1, list_add(l, &pool[i]));
}

// The elements from the cursor's current one to the end, read the usual way.
std::vector<int> Rest(Linklist<int>* l) {
  std::vector<int> v;
  for (int* p = list_get(l); p; p = list_get_next(l)) v.push_back(static_cast<int>(p - pool));
  return v;
}

std::vector<int> All(Linklist<int>* l) {
  list_start(l);
  return Rest(l);
}

class LinklistTest : public ::testing::Test {
 protected:
  void TearDown() override { list_free(&l_); }
  Linklist<int>* l_ = list_init<int>();
};

TEST_F(LinklistTest, AddGoesAfterTheCursorAndMovesOntoTheNewNode) {
  Add(l_, {1, 2, 3});
  EXPECT_EQ(1, list_at_end(l_));
  list_start(l_);
  Add(l_, {0});
  EXPECT_EQ((std::vector<int>{1, 2, 3}), Rest(l_));  // the new one stands before the current
  EXPECT_EQ((std::vector<int>{0, 1, 2, 3}), All(l_));
  EXPECT_EQ(4, list_items(l_));
  EXPECT_EQ(0, list_add(l_, static_cast<int*>(nullptr)));
}

TEST_F(LinklistTest, AddLeavesTheFollowingPrevOnPurpose) {
  Add(l_, {1, 3});
  list_start(l_);
  list_next(l_);  // current element 3
  Add(l_, {2});
  list_next(l_);  // past the end, on 3
  list_prev(l_);  // 3's prev still names 1, so 2 is current
  EXPECT_EQ((std::vector<int>{2, 3}), Rest(l_));
  list_start(l_);
  list_prev(l_);  // the sentinel is its own prev
  EXPECT_EQ(1, list_at_start(l_));
}

TEST_F(LinklistTest, DelTakesTheCurrentElementOrTheLastPastTheEnd) {
  EXPECT_EQ(nullptr, list_del(l_));
  Add(l_, {1, 2, 3});
  list_start(l_);
  EXPECT_EQ(&pool[1], list_del(l_));
  EXPECT_EQ(&pool[2], list_get(l_));
  list_end(l_);
  EXPECT_EQ(&pool[3], list_del(l_));
  EXPECT_EQ(1, list_items(l_));
  list_start(l_);
  Add(l_, {0});  // 2's prev still names the sentinel
  list_end(l_);
  EXPECT_EQ(&pool[2], list_del(l_));
  EXPECT_EQ((std::vector<int>{0}), All(l_));
}

TEST_F(LinklistTest, RemovingTheNodeAStalePrevNamesLeavesNoDanglingLink) {
  Add(l_, {1, 3});
  list_start(l_);
  list_next(l_);
  Add(l_, {2});  // 3's prev names 1
  list_start(l_);
  EXPECT_EQ(&pool[1], list_del(l_));
  list_end(l_);
  list_prev(l_);  // would read the removed node without the relink
  EXPECT_EQ(1, list_at_start(l_));
  EXPECT_EQ((std::vector<int>{2, 3}), All(l_));
}

TEST_F(LinklistTest, ReplaceSwapsTheCurrentElement) {
  Add(l_, {1, 2});
  list_start(l_);
  list_next(l_);
  EXPECT_EQ(&pool[2], list_replace(l_, &pool[7]));
  EXPECT_EQ(nullptr, list_replace(l_, static_cast<int*>(nullptr)));
  list_end(l_);
  EXPECT_EQ(nullptr, list_replace(l_, &pool[8]));
  EXPECT_EQ((std::vector<int>{1, 7}), All(l_));
}

TEST_F(LinklistTest, CopyKeepsOrderAndLeavesItemsAtZero) {
  Add(l_, {3, 1, 2});
  Linklist<int>* copy = list_copy(l_);
  ASSERT_NE(nullptr, copy);
  EXPECT_EQ(0, list_items(copy));
  EXPECT_EQ(1, list_at_end(copy));
  EXPECT_EQ((std::vector<int>{3, 1, 2}), All(copy));
  list_free(&copy);
  EXPECT_EQ(nullptr, copy);
}

TEST_F(LinklistTest, EmptiedListStaysUsable) {
  Add(l_, {1, 2});
  list_empty(l_);
  EXPECT_EQ(0, list_items(l_));
  EXPECT_EQ(1, list_at_start(l_));
  Add(l_, {5});
  EXPECT_EQ((std::vector<int>{5}), All(l_));
}

int calls = 0;
int null_calls = 0;
void Release(int** p) {
  calls++;
  null_calls += *p == nullptr;
  delete *p;
  *p = nullptr;
}

TEST(LinklistOwnershipTest, FnSeesEveryElementFieldIncludingTheSentinels) {
  Linklist<int>* ints = list_init<int>();
  for (int i = 0; i < 3; ++i) list_add(ints, new int(i));
  list_free_fn(&ints, Release);
  EXPECT_EQ(4, calls);
  EXPECT_EQ(1, null_calls);
  EXPECT_EQ(nullptr, ints);
}

TEST(LinklistOwnershipTest, LongListIsReleasedWithoutDeepRecursion) {
  Linklist<char>* l = list_init<char>();
  for (int i = 0; i < 1000000; ++i) list_add(l, new char[2]{"x"});
  list_free_dealloc(&l);
  EXPECT_EQ(nullptr, l);
}

}  // namespace
}  // namespace inst
