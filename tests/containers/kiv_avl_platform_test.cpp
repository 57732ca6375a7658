// Trees on the C runtime's heap: what they take, what they give back and when, and what a failing heap does to them.

#include "containers/avl_check.h"
#include "gtest/gtest.h"
#include "kiv_avl.h"
#include "tests/support/platform_seam.h"

namespace {

using kiv::test::platform;

/// Ordered by their places.
int numbers[3000];

int compare(const void *key, const void *value) {
  const auto *a = static_cast<const int *>(key), *b = static_cast<const int *>(value);
  return (a > b) - (a < b);
}

TEST(AvlHeap, GoesBackWithTheLastNode) {
  platform = {};
  KIV_AVL_TREE *tree = kiv_avl_new(compare, nullptr, nullptr);
  EXPECT_EQ(platform.live, 1u);
  kiv_avl_insert(tree, &numbers[0]);
  const size_t small = platform.live;
  KIV_AVL_NODE *other = nullptr;
  for (int round = 0; round < 3; ++round) {
    for (int &number : numbers) EXPECT_EQ(kiv_avl_shared_insert(tree, &tree->root, &number), 0);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(kiv_avl_shared_insert(tree, &other, &numbers[i]), 0);
    EXPECT_GT(platform.live, small);
    EXPECT_LT(platform.live, 30u);  // chunks, not nodes
    const size_t full = platform.live;
    kiv_avl_empty_tree(tree);
    EXPECT_EQ(platform.live, full);  // the other tree's nodes lie in the same chunks
    EXPECT_EQ(kiv::avl::Checker(tree).check(other), nullptr);
    EXPECT_EQ(kiv_avl_shared_count_nodes(tree, other), 100u);
    for (int i = 0; i < 100; ++i) kiv_avl_shared_delete(tree, &other, &numbers[i]);
    EXPECT_EQ(platform.live, small);
  }
  for (int &number : numbers) kiv_avl_insert(tree, &number);
  kiv_avl_insert(tree, &numbers[7]);  // lays a spare node by
  kiv_avl_destroy_tree(tree);
  EXPECT_EQ(platform.live, 0u);
}

TEST(AvlHeap, FailuresLeaveTheTreeAsItWas) {
  uint32_t failures = 0;
  for (uint32_t point = 0;; ++point) {
    SCOPED_TRACE(point);
    platform = {};
    platform.successes = point;
    platform.failures = 1;
    KIV_AVL_TREE *tree = kiv_avl_new(compare, nullptr, nullptr);
    if (tree == nullptr) continue;
    uint32_t stored = 0;
    for (int &number : numbers) {
      const int failed = kiv_avl_insert(tree, &number);
      stored += failed == 0;
      failures += failed != 0;
      EXPECT_EQ(kiv_avl_find(tree, &number), failed == 0 ? &number : nullptr);
    }
    EXPECT_EQ(kiv_avl_count_nodes(tree), stored);
    EXPECT_EQ(kiv::avl::Checker(tree).check(tree->root), nullptr);
    const bool met = platform.failures == 0;
    kiv_avl_destroy_tree(tree);
    EXPECT_EQ(platform.live, 0u);
    if (!met) break;
  }
  EXPECT_GT(failures, 5u);
}

/// A record of the caller's own that names no node allocator, or only an end of one.
TEST(AvlHeap, OtherRecords) {
  platform = {};
  KIV_AVL_TREE storage;
  KIV_AVL_TREE *tree = kiv_avl_new_using_allocator(
      compare, nullptr, nullptr, [](void *context, uint32_t) { return context; }, &storage, nullptr, nullptr);
  for (int &number : numbers) kiv_avl_insert(tree, &number);
  kiv_avl_destroy_tree(tree);
  EXPECT_EQ(platform.live, 0u);

  int finished = 0;
  tree = kiv_avl_new(compare, nullptr, nullptr);
  EXPECT_EQ(kiv_avl_customize_allocator(tree, &finished, nullptr, nullptr, nullptr,
                                        [](void *context) { ++*static_cast<int *>(context); }),
            0);
  for (int i = 0; i < 10; ++i) kiv_avl_insert(tree, &numbers[i]);
  EXPECT_EQ(platform.live, 11u);  // a block for each node, freed one by one
  kiv_avl_delete(tree, &numbers[3]);
  EXPECT_EQ(platform.live, 10u);
  kiv_avl_insert(tree, &numbers[4]);
  kiv_avl_destroy_tree(tree);
  EXPECT_EQ(platform.live, 0u);
  EXPECT_EQ(finished, 1);
}

}  // namespace
