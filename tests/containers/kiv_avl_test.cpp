#include "kiv_avl.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "containers/avl_check.h"
#include "gtest/gtest.h"
#include "tests/containers/naive_avl.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"

namespace {

using kiv::test::CountingAllocator;
using kiv::test::NaiveAvl;

// Values are ints of one array, so that a value's pointer tells which it is; keys are ints too.
int numbers[1000];
const bool numbers_are_set = [] {
  for (int i = 0; i < 1000; ++i) numbers[i] = i;
  return true;
}();

int number_of(const void *value) { return value != nullptr ? *static_cast<const int *>(value) : -1; }

int compare(const void *key, const void *value) {
  const int a = number_of(key), b = number_of(value);
  return (a > b) - (a < b);
}

/// Any sign and size will do: the context tells by how much to exaggerate.
int compare_with_context(const void *key, const void *value, void *context) {
  return compare(key, value) * *static_cast<int *>(context);
}

std::vector<std::array<int, 3>> hooks;
void record_hook(void *value, void *left, void *right) {
  hooks.push_back({number_of(value), number_of(left), number_of(right)});
}

std::vector<int> released;
void record_release(void *value, void *context) {
  EXPECT_EQ(context, &released);
  released.push_back(number_of(value));
}

int collect(void *value, void *list) {
  static_cast<std::vector<int> *>(list)->push_back(number_of(value));
  return 0;  // the plain walks do not mind
}

/// The values in order, as the plain walk sees them.
std::vector<int> values_of(KIV_AVL_TREE *tree) {
  std::vector<int> list;
  kiv_avl_sequential_walk(tree, collect, &list);
  return list;
}

struct Tree {
  KIV_AVL_TREE *tree = kiv_avl_new(compare, record_release, &released);
  Tree() = default;
  Tree(std::initializer_list<int> list) {
    for (int number : list) EXPECT_EQ(kiv_avl_insert(tree, &numbers[number]), 0);
  }
  ~Tree() {
    kiv_avl_destroy_tree(tree);
    released.clear();
    hooks.clear();
  }
  operator KIV_AVL_TREE *() const { return tree; }
  KIV_AVL_TREE *operator->() const { return tree; }
};

void *no_memory(void *, uint32_t) { return nullptr; }

TEST(Avl, EndReleasesChildrenFirst) {
  Tree tree{0, 1, 2, 3};
  EXPECT_EQ(kiv_destroy_detached(tree, kiv_avl_detach(tree, &numbers[0])), 0);
  EXPECT_EQ(kiv_shared_destroy_detached(tree, nullptr), 0);
  EXPECT_EQ(number_of(kiv_avl_get_tree_root_value(tree)), 2);
  kiv_avl_empty_tree(tree);
  EXPECT_EQ(released, (std::vector<int>{0, 1, 3, 2}));
  EXPECT_EQ(kiv_avl_count_nodes(tree), 0u);
}

// --- Against the naive tree: structure, released values and hook calls ---

void expect_same_structure(const KIV_AVL_NODE *node, const NaiveAvl::Node *naive) {
  ASSERT_EQ(node == nullptr, naive == nullptr);
  if (node == nullptr) return;
  ASSERT_EQ(number_of(node->value), naive->value);
  expect_same_structure(node->left, naive->child[0].get());
  expect_same_structure(node->right, naive->child[1].get());
}

/// Random inserts, deletions and detachments among `range` values, every one compared with the naive tree's.
void run_against_naive(int range, int steps, bool hooked, bool with_context) {
  auto random = kiv::test::make_random();
  int exaggeration = 1000;
  KIV_AVL_TREE *tree = with_context ? kiv_avl_new2(compare_with_context, &exaggeration, record_release, &released)
                                    : kiv_avl_new(compare, record_release, &released);
  if (hooked) kiv_avl_set_fix_linkage(tree, record_hook);
  NaiveAvl naive;
  kiv::avl::Checker checker(tree);
  for (int step = 0; step < steps; ++step) {
    int key = static_cast<int>(kiv::test::below(random, static_cast<uint32_t>(range)));
    hooks.clear();
    released.clear();
    naive.hooks.clear();
    naive.released.clear();
    // Phases of growing and of shrinking, so that all sizes are met.
    const bool growing = (step / (3 * range)) % 2 == 0;
    if (kiv::test::below(random, 4) < (growing ? 3u : 1u)) {
      ASSERT_EQ(kiv_avl_insert(tree, &numbers[key]), 0);
      naive.insert(key);
    } else if (kiv::test::below(random, 2) == 0) {
      kiv_avl_delete(tree, &key);
      naive.erase(key, true);
    } else {
      const bool present = kiv_avl_find(tree, &key) != nullptr;
      ASSERT_EQ(kiv_avl_detach(tree, &key), present ? &numbers[key] : nullptr);
      naive.erase(key, false);
    }
    ASSERT_EQ(checker.check(kiv_avl_get_tree_root(tree)), nullptr);
    ASSERT_EQ(released, naive.released);
    ASSERT_EQ(hooks, hooked ? naive.hooks : decltype(hooks)());
    expect_same_structure(kiv_avl_get_tree_root(tree), naive.root.get());
    if (testing::Test::HasFatalFailure()) break;
  }
  kiv_avl_destroy_tree(tree);
  released.clear();
}

TEST(Avl, DoesWhatTheNaiveTreeDoes) {
  for (const bool hooked : {false, true}) {
    run_against_naive(8, 2000, hooked, false);
    run_against_naive(60, 4000, hooked, true);
    run_against_naive(1000, 9000, hooked, false);
  }
}

// --- Searches and walks, exhaustively over small trees ---

/// Calls body with the tree of every subset of 1, 3, 5, ..., 2n - 1, so that even keys lie between values.
void for_all_subsets(int n, const std::function<void(KIV_AVL_TREE *, const std::set<int> &)> &body) {
  for (int members = 0; members < 1 << n; ++members) {
    Tree tree;
    std::set<int> model;
    for (int i = 0; i < n; ++i) {
      if ((members >> i & 1) == 0) continue;
      kiv_avl_insert(tree, &numbers[2 * i + 1]);
      model.insert(2 * i + 1);
    }
    body(tree, model);
  }
}

TEST(Avl, NearestSearches) {
  for_all_subsets(7, [](KIV_AVL_TREE *tree, const std::set<int> &model) {
    const auto at = [&](std::set<int>::const_iterator i) { return i != model.end() ? *i : -1; };
    const auto before = [&](std::set<int>::const_iterator i) { return i != model.begin() ? *std::prev(i) : -1; };
    for (int key = 0; key <= 14; ++key) {
      const auto lower = model.lower_bound(key), upper = model.upper_bound(key);
      EXPECT_EQ(number_of(kiv_avl_find(tree, &key)), at(model.find(key)));
      EXPECT_EQ(number_of(kiv_avl_find_least_greater_or_equal(tree, &key)), at(lower));
      EXPECT_EQ(number_of(kiv_avl_find_least_greater(tree, &key)), at(upper));
      EXPECT_EQ(number_of(kiv_avl_find_largest_less_or_equal(tree, &key)), before(upper));
      EXPECT_EQ(number_of(kiv_avl_find_largest_less(tree, &key)), before(lower));
    }
    EXPECT_EQ(number_of(kiv_avl_least(tree)), at(model.begin()));
    EXPECT_EQ(number_of(kiv_avl_largest(tree)), before(model.end()));
    EXPECT_EQ(kiv_avl_count_nodes(tree), model.size());
  });
}

struct Limited {
  std::vector<int> seen;
  size_t stop_at;
};

int collect_until(void *value, void *context) {
  auto *limited = static_cast<Limited *>(context);
  limited->seen.push_back(number_of(value));
  return limited->seen.size() != limited->stop_at;
}

/// Every walk of the values between two bounds, to its end and stopped at the second value.
void check_interval(KIV_AVL_TREE *tree, const std::set<int> &model, int low_mode, int low, int high_mode, int high) {
  std::vector<int> expected;
  for (int value : model) {
    const bool above = low_mode == 0 || value > low || (low_mode == KIV_AVL_INCLUDED && value == low);
    const bool below = high_mode == 0 || value < high || (high_mode == KIV_AVL_INCLUDED && value == high);
    if (above && below) expected.push_back(value);
  }
  for (const bool reverse : {false, true}) {
    for (const size_t stop_at : {0u, 2u}) {
      const bool stopped = stop_at != 0 && expected.size() >= stop_at;
      const std::vector<int> wanted(expected.begin(), stopped ? expected.begin() + 2 : expected.end());
      Limited limited{{}, stop_at};
      EXPECT_EQ(kiv_avl_interval_walk(tree, low_mode, &low, high_mode, &high, reverse, collect_until, &limited),
                stopped ? 0 : 1);
      EXPECT_EQ(limited.seen, wanted) << low_mode << " " << low << " " << high_mode << " " << high;
      if (low_mode != 0 || high_mode != 0) continue;
      Limited plain{{}, stop_at};
      EXPECT_EQ((reverse ? kiv_avl_conditional_sequential_reverse_walk : kiv_avl_conditional_sequential_walk)(
                    tree, collect_until, &plain),
                stopped ? 0 : 1);
      EXPECT_EQ(plain.seen, wanted);
      std::vector<int> all;
      (reverse ? kiv_avl_sequential_reverse_walk : kiv_avl_sequential_walk)(tree, collect, &all);
      EXPECT_EQ(all, expected);
    }
    std::reverse(expected.begin(), expected.end());
  }
}

TEST(Avl, IntervalWalks) {
  for_all_subsets(5, [](KIV_AVL_TREE *tree, const std::set<int> &model) {
    for (int low_mode : {0, 1, 2, -7}) {
      for (int high_mode : {0, 1, 2, 3}) {
        for (int low = 0; low <= (low_mode != 0 ? 10 : 0); ++low) {
          for (int high = 0; high <= (high_mode != 0 ? 10 : 0); ++high) {
            check_interval(tree, model, low_mode, low, high_mode, high);
          }
        }
      }
    }
  });
}

// --- Swapping, deleting many, sharing values ---

TEST(Avl, SwapTellsTheNodeAndItsParentOnly) {
  Tree tree{4, 2, 6, 1, 3, 5, 7};
  kiv_avl_set_fix_linkage(tree, record_hook);
  int three = 3, eight = 8, four = 4;
  EXPECT_EQ(kiv_avl_swap(tree, &three), &numbers[3]);
  EXPECT_EQ(kiv_avl_find(tree, &numbers[3]), &three);
  EXPECT_EQ(hooks, (std::vector<std::array<int, 3>>{{3, -1, -1}, {2, 1, 3}}));
  hooks.clear();
  EXPECT_EQ(kiv_avl_swap(tree, &eight), nullptr);
  EXPECT_TRUE(hooks.empty());
  EXPECT_EQ(kiv_avl_swap(tree, &four), &numbers[4]);
  EXPECT_EQ(hooks, (std::vector<std::array<int, 3>>{{4, 2, 6}}));
  EXPECT_TRUE(released.empty());
  kiv_avl_empty_tree(tree);
}

TEST(Avl, DeleteAllMatching) {
  Tree tree;
  for (int i = 0; i < 300; ++i) kiv_avl_insert(tree, &numbers[i * 7 % 300]);
  std::vector<int> expected_released, expected_left;
  for (int i = 0; i < 300; ++i) (i % 3 == 0 ? expected_left : expected_released).push_back(i);
  kiv_avl_delete_all_matching(
      tree, [](void *value, void *) { return number_of(value) % 3; }, nullptr);
  EXPECT_EQ(released, expected_released);
  EXPECT_EQ(values_of(tree), expected_left);
  EXPECT_EQ(kiv::avl::Checker(tree).check(tree->root), nullptr);
}

TEST(Avl, AddReferences) {
  Tree source{5, 1, 3};
  Tree owner{2, 3};
  EXPECT_EQ(kiv_avl_add_tree_value_references_to_tree(source, owner), 1);
  KIV_AVL_TREE *target = kiv_avl_new(compare, nullptr, nullptr);
  EXPECT_EQ(kiv_avl_add_tree_value_references_to_tree(source, target), 0);
  EXPECT_EQ(kiv_avl_add_tree_value_references_to_tree(owner, target), 0);
  EXPECT_EQ(values_of(target), (std::vector<int>{1, 2, 3, 5}));
  EXPECT_EQ(kiv_avl_destroy_tree(target), 0);
  CountingAllocator allocator;
  target = kiv_avl_new_using_KIV_ALLOCATOR(allocator.record(), compare, nullptr, nullptr);
  allocator.fail_at(2);
  EXPECT_EQ(kiv_avl_add_tree_value_references_to_tree(source, target), 1);
  EXPECT_EQ(values_of(target), std::vector<int>{1});  // nothing after the failure
  kiv_avl_destroy_tree(target);
  EXPECT_TRUE(released.empty());
}

// --- Where nodes come from ---

TEST(Avl, InsertSurvivesFailures) {
  const uint32_t points = kiv::test::sweep_failures([](CountingAllocator &allocator) {
    KIV_AVL_TREE *tree = kiv_avl_new_using_KIV_ALLOCATOR(allocator.record(), compare, nullptr, nullptr);
    if (tree == nullptr) return;
    std::vector<int> expected;
    for (int i = 0; i < 20; ++i) {
      if (kiv_avl_insert(tree, &numbers[i]) == 0) expected.push_back(i);
      EXPECT_EQ(values_of(tree), expected);
    }
    EXPECT_EQ(kiv::avl::Checker(tree).check(tree->root), nullptr);
    // The node that is laid by for a value that is there already becomes the next one's.
    for (int i : {0, 20}) kiv_avl_insert(tree, &numbers[i]);
    kiv_avl_destroy_tree(tree);
  });
  EXPECT_EQ(points, 22u);
}

std::vector<std::string> events;
void note_release(void *, void *) { events.push_back("release"); }

/// A tree's own memory: its record, and an array of nodes.
struct Own {
  KIV_AVL_TREE record;
  KIV_AVL_NODE nodes[8];
  uint32_t used = 0;
  static void *alloc_record(void *own, uint32_t size) {
    EXPECT_EQ(size, sizeof(KIV_AVL_TREE));
    return &static_cast<Own *>(own)->record;
  }
  static void *alloc_node(void *own, uint32_t size) {
    EXPECT_EQ(size, sizeof(KIV_AVL_NODE));
    return &static_cast<Own *>(own)->nodes[static_cast<Own *>(own)->used++];
  }
};

TEST(Avl, CustomAllocatorAndOrderOfTheEnd) {
  for (const bool custom_record : {false, true}) {
    Own own;
    KIV_AVL_TREE *tree = kiv_avl_new(compare, note_release, nullptr);
    if (custom_record) {
      kiv_avl_destroy_tree(tree);
      tree = kiv_avl_new_using_allocator(
          compare, note_release, nullptr, Own::alloc_record, &own, [](void *, void *) { events.push_back("record"); },
          nullptr);
    }
    // Only a node that was given fixes the allocator.
    EXPECT_EQ(kiv_avl_customize_allocator(tree, nullptr, no_memory, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(kiv_avl_insert(tree, &numbers[1]), 1);
    EXPECT_EQ(kiv_avl_customize_allocator(
                  tree, &own, Own::alloc_node, nullptr, [](void *, void *) { events.push_back("pool"); },
                  [](void *) { events.push_back("finish"); }),
              0);
    for (int i : {1, 2, 3}) kiv_avl_insert(tree, &numbers[i]);
    kiv_avl_delete(tree, &numbers[1]);
    kiv_avl_insert(tree, &numbers[4]);  // without node_free, the node of 1 is used again
    EXPECT_EQ(own.used, 3u);
    const KIV_AVL_TREE before = *tree;
    EXPECT_EQ(kiv_avl_customize_allocator(tree, nullptr, no_memory, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(std::memcmp(&before, tree, sizeof before), 0);
    EXPECT_EQ(kiv_avl_destroy_tree(tree), 0);
    std::vector<std::string> expected{"release", "release", "release", "release", "pool", "pool", "pool"};
    if (custom_record) expected.push_back("record");
    expected.push_back("finish");
    EXPECT_EQ(std::exchange(events, {}), expected);
  }
  EXPECT_EQ(kiv_avl_new_using_allocator(compare, nullptr, nullptr, no_memory, nullptr, nullptr, nullptr), nullptr);
}

// --- Shared trees and null trees ---

TEST(Avl, SharedTreesStayApart) {
  auto random = kiv::test::make_random();
  Tree tree;
  KIV_AVL_NODE *roots[3] = {};
  std::set<int> models[3];
  kiv::avl::Checker checker(tree);
  for (int step = 0; step < 3000; ++step) {
    const uint32_t which = kiv::test::below(random, 3);
    const int key = static_cast<int>(kiv::test::below(random, 40));
    std::set<int> &model = models[which];
    if (kiv::test::below(random, 2) == 0) {
      ASSERT_EQ(kiv_avl_shared_insert(tree, &roots[which], &numbers[key]), 0);
      model.insert(key);
    } else {
      ASSERT_EQ(kiv_avl_shared_detach(tree, &roots[which], &key), model.erase(key) != 0 ? &numbers[key] : nullptr);
    }
    ASSERT_EQ(checker.check(roots[which]), nullptr);
    std::vector<int> list;
    kiv_avl_shared_sequential_walk(tree, roots[which], collect, &list);
    ASSERT_EQ(list, std::vector<int>(model.begin(), model.end()));
    ASSERT_EQ(kiv_avl_shared_count_nodes(tree, roots[which]), list.size());
    ASSERT_EQ(number_of(kiv_avl_shared_least(tree, roots[which])), list.empty() ? -1 : list.front());
    ASSERT_EQ(number_of(kiv_avl_shared_largest(tree, roots[which])), list.empty() ? -1 : list.back());
  }
  released.clear();
  kiv_avl_shared_destroy_single_tree(tree, &roots[1]);
  EXPECT_EQ(roots[1], nullptr);
  EXPECT_EQ(released.size(), models[1].size());
  EXPECT_EQ(kiv_avl_shared_count_nodes(tree, roots[2]), models[2].size());
  kiv_avl_shared_destroy_single_tree(tree, &roots[2]);
  EXPECT_EQ(kiv_avl_get_tree_root(tree), nullptr);
}

TEST(Avl, NullTrees) {
  int key = 1;
  EXPECT_EQ(kiv_avl_insert(nullptr, &key), 1);
  EXPECT_EQ(kiv_avl_shared_insert(nullptr, nullptr, &key), 1);
  EXPECT_EQ(kiv_avl_customize_allocator(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(kiv_avl_add_tree_value_references_to_tree(nullptr, nullptr), 1);
  EXPECT_EQ(kiv_avl_interval_walk(nullptr, 2, &key, 2, &key, 0, collect, nullptr), 1);
  kiv_avl_delete(nullptr, &key);
  kiv_avl_delete_all_matching(nullptr, collect, nullptr);
  kiv_avl_empty_tree(nullptr);
  kiv_avl_set_fix_linkage(nullptr, record_hook);
  EXPECT_EQ(kiv_avl_destroy_tree(nullptr), 0);
  EXPECT_EQ(kiv_destroy_detached(nullptr, &key), 0);
  EXPECT_EQ(kiv_avl_count_nodes(nullptr), 0u);
  for (const auto search : {kiv_avl_find, kiv_avl_find_least_greater, kiv_avl_find_least_greater_or_equal,
                            kiv_avl_find_largest_less, kiv_avl_find_largest_less_or_equal, kiv_avl_detach}) {
    EXPECT_EQ(search(nullptr, &key), nullptr);
  }
  for (const auto end : {kiv_avl_least, kiv_avl_largest, kiv_avl_get_tree_root_value}) EXPECT_EQ(end(nullptr), nullptr);
  EXPECT_EQ(kiv_avl_swap(nullptr, &key), nullptr);
}

}  // namespace
