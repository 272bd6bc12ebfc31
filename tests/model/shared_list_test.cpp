#include "model/shared_list.h"

#include <gtest/gtest.h>

#include <string>

namespace brevelan {
namespace {

TEST(SharedList, WritesThroughOneCopyNeverShowInAnotherAndEqualityIsByValue) {
  SharedList<std::string> original{"a", "b", "c"};
  SharedList<std::string> copy = original;
  EXPECT_TRUE(copy.sharesStorageWith(original));
  copy.mut(1) = "B";
  copy.push_back("d");
  EXPECT_EQ(original.toVector(), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_EQ(copy.toVector(), (std::vector<std::string>{"a", "B", "c", "d"}));
  // Untouched elements stay shared between the two.
  EXPECT_EQ(&original[0], &copy[0]);
  EXPECT_NE(&original[1], &copy[1]);

  SharedList<std::string> separate{"a", "b", "c"};
  EXPECT_FALSE(separate.sharesStorageWith(original));
  EXPECT_EQ(separate, original);
  EXPECT_NE(separate, SharedList<std::string>({"a", "b"}));
  EXPECT_EQ(SharedList<int>(), SharedList<int>(std::vector<int>{}));
}

TEST(SharedList, EditingOperationsKeepOrder) {
  SharedList<int> list{5, 1, 4};
  list.insert(1, 9);
  EXPECT_EQ(list.toVector(), (std::vector<int>{5, 9, 1, 4}));
  list.erase(0);
  EXPECT_EQ(list.removeIf([](int v) { return v > 3; }), 2u);
  EXPECT_EQ(list.toVector(), (std::vector<int>{1}));
  list.set(0, 7);
  list.push_back(2);
  list.push_back(7);
  list.sortBy([](int x, int y) { return x < y; });
  EXPECT_EQ(list.toVector(), (std::vector<int>{2, 7, 7}));
  list.clear();
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.begin(), list.end());
}

}  // namespace
}  // namespace brevelan
