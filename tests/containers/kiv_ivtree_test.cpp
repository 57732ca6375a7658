#include "kiv_ivtree.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <vector>

#include "containers/ivtree_check.h"
#include "gtest/gtest.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"

namespace {

using kiv::test::below;
using kiv::test::CountingAllocator;
using Nodes = std::vector<KIV_IVTREE_NODE *>;
using Action = std::function<int(KIV_IVTREE_NODE *)>;

/// A callback of both kinds.
int act(KIV_IVTREE *, KIV_IVTREE_NODE *node, void *action) { return (*static_cast<Action *>(action))(node); }

Nodes overlapping(KIV_IVTREE *tree, uint64_t low, uint64_t high, size_t most = SIZE_MAX) {
  Nodes nodes;
  Action report = [&](KIV_IVTREE_NODE *node) { return nodes.push_back(node), nodes.size() < most ? 7 : 0; };
  EXPECT_EQ(kiv_ivtree_enumerate_overlapping(tree, nullptr, low, high, act, &report), 0);
  return nodes;
}

/// Looks at all nodes, but (prunes) those of left subtrees that end too low.
void search_naively(KIV_IVTREE *tree, KIV_IVTREE_NODE *node, uint64_t low, uint64_t high, bool prunes, Nodes *found) {
  if (node == nullptr || node == &tree->nil) return;
  if (node->low < low ? low <= node->high : node->low <= high) found->push_back(node);
  if (!prunes || node->left->max >= low) search_naively(tree, node->left, low, high, prunes, found);
  search_naively(tree, node->right, low, high, prunes, found);
}

/// Random operations on a tree and on a list of nodes in the order in which the tree has to have them.
struct Model {
  Model(CountingAllocator *its_allocator, uint32_t its_range, bool reversed)
      : allocator(its_allocator), range(its_range), reversed_bounds(reversed) {
    KIV_IVTREE *made = kiv_ivtree_new(&record, allocator != nullptr ? allocator->record() : nullptr);
    EXPECT_EQ(made == nullptr, allocator == nullptr);
    tree = made != nullptr ? made : &record;
  }
  ~Model() { EXPECT_EQ(kiv_ivtree_delete(tree), nullptr); }

  /// Near both ends of the number range, many of them equal.
  std::pair<uint64_t, uint64_t> bounds() {
    const auto bound = [&](uint64_t number) { return number < range / 2 ? number : number - range; };
    const uint64_t a = bound(below(random, range));
    const uint64_t b = below(random, 2) != 0 ? bound(below(random, range)) : a + below(random, 3);
    return reversed_bounds || a <= b ? std::pair(a, b) : std::pair(b, a);
  }

  void insert() {
    const auto [low, high] = bounds();
    KIV_IVTREE_NODE *storage = allocator == nullptr ? &all_storage.emplace_back() : nullptr;
    KIV_IVTREE_NODE *node = kiv_ivtree_insert_node(tree, storage, low, high);
    ASSERT_EQ(node == nullptr, allocator == nullptr);
    if (node == nullptr) node = storage;
    ASSERT_TRUE(node->low == low && node->high == high);
    const auto begins_later = [](uint64_t bound, const KIV_IVTREE_NODE *other) { return bound < other->low; };
    nodes.insert(std::upper_bound(nodes.begin(), nodes.end(), low, begins_later), node);
  }

  void remove() {
    if (nodes.empty()) return;
    const auto victim = nodes.begin() + below(random, static_cast<uint32_t>(nodes.size()));
    kiv_ivtree_remove_node(tree, *victim);
    nodes.erase(victim);
  }

  /// Removes one node in so many, half of them within the callback.
  void walk(uint32_t remove_one_in) {
    Nodes seen, kept;
    Action visit = [&](KIV_IVTREE_NODE *node) {
      seen.push_back(node);
      if (below(random, remove_one_in) != 0) return kept.push_back(node), 0;
      if (below(random, 2) != 0) return -1;
      return kiv_ivtree_remove_node(tree, node), 0;
    };
    kiv_ivtree_conditional_sequential_walk_and_remove(tree, act, &visit);
    ASSERT_EQ(seen, nodes);
    nodes = kept;
  }

  void search() {
    const auto [low, high] = bounds();
    Nodes expected;
    search_naively(tree, kiv_ivtree_get_root_node(tree), low, high, reversed_bounds, &expected);
    ASSERT_EQ(overlapping(tree, low, high), expected) << low << ' ' << high;
  }

  void step(bool growing) {
    const uint32_t choice = below(random, 1000);
    choice < (growing ? 700u : 300u) ? insert() : choice < 998 ? remove() : walk(3);
    ASSERT_EQ(kiv::ivtree::Checker().check(tree), nullptr);
    if (allocator != nullptr) ASSERT_EQ(allocator->live_blocks(), nodes.size() + 1);
    walk(UINT32_MAX);
    for (int i = 0; i < 4; ++i) search();
  }

  CountingAllocator *allocator;
  uint32_t range;
  bool reversed_bounds;
  std::mt19937_64 random = kiv::test::make_random();
  KIV_IVTREE record, *tree;
  std::deque<KIV_IVTREE_NODE> all_storage;
  Nodes nodes;
};

TEST(Ivtree, DoesWhatTheModelDoes) {
  for (uint32_t variant = 0; variant < 12; ++variant) {
    CountingAllocator allocator;
    const uint32_t range = variant < 4 ? 6 : variant < 8 ? 40 : 1000;
    Model model(variant % 2 != 0 ? &allocator : nullptr, range, variant % 4 >= 2);
    for (int step = 0; step < 800 && !HasFatalFailure(); ++step) model.step(step % 400 < 280);
    kiv_ivtree_conditional_sequential_walk_and_remove(model.tree, nullptr, nullptr);
    EXPECT_EQ(kiv_ivtree_get_root_node(model.tree), nullptr);
  }
}

TEST(Ivtree, EdgesOfOverlap) {
  KIV_IVTREE tree;
  KIV_IVTREE_NODE nodes[3];
  kiv_ivtree_new(&tree, nullptr);
  EXPECT_EQ(kiv_ivtree_insert_node(&tree, nullptr, 1, 2), nullptr);
  kiv_ivtree_insert_node(&tree, &nodes[0], 10, 20);
  EXPECT_EQ(kiv_ivtree_get_root_node(&tree), &nodes[0]);
  const uint64_t met[][2] = {{20, 30}, {0, 10}, {12, 13}, {9, 21}, {0, UINT64_MAX}, {15, 5}, {20, 0}};
  for (const auto &range : met) EXPECT_EQ(overlapping(&tree, range[0], range[1]), Nodes{&nodes[0]}) << range[0];
  const uint64_t missed[][2] = {{21, 30}, {0, 9}, {10ull << 32, 30ull << 32}, {10, 9}, {UINT64_MAX, 0}};
  for (const auto &range : missed) EXPECT_EQ(overlapping(&tree, range[0], range[1]), Nodes{}) << range[0];
  for (int i = 1; i < 3; ++i) kiv_ivtree_insert_node(&tree, &nodes[i], 10, UINT64_MAX);
  EXPECT_EQ(overlapping(&tree, 20, 20), (Nodes{&nodes[1], &nodes[0], &nodes[2]}));
  EXPECT_EQ(overlapping(&tree, 20, 20, 2), (Nodes{&nodes[1], &nodes[0]}));
}

TEST(Ivtree, SurvivesEveryFailedAllocation) {
  // 450 nodes linked by hand, each the left child of the one before, so that the search's stack grows twice.
  KIV_IVTREE spine;
  kiv_ivtree_new(&spine, nullptr);
  std::vector<KIV_IVTREE_NODE> nodes(450);
  KIV_IVTREE_NODE *parent = &spine.header;
  for (KIV_IVTREE_NODE &node : nodes) {
    const auto low = static_cast<uint64_t>(&nodes.back() - &node);
    node = {&spine.nil, &spine.nil, parent, KIV_IVTREE_BLACK, low, low, low, &spine, 0};
    parent = parent->left = &node;
  }
  const auto size = [](size_t entries) { return std::to_string(entries * (sizeof(void *) + 8)); };
  const std::vector<std::string> log{"alloc " + size(384) + " -> 1", "realloc 1 " + size(1152) + " -> 2", "free 2"};
  const auto action = [&](CountingAllocator &allocator) {
    size_t reported = 0;
    Action count = [&](KIV_IVTREE_NODE *) { return static_cast<int>(++reported); };
    const int status = kiv_ivtree_enumerate_overlapping(&spine, allocator.record(), 0, 1000, act, &count);
    ASSERT_EQ(status, allocator.has_failed() ? 1 : 0);
    ASSERT_EQ(reported, status == 0 ? nodes.size() : allocator.log.size() == 1 ? 128 : 384);
    if (status == 0) ASSERT_EQ(allocator.log, log);
    KIV_IVTREE *tree = kiv_ivtree_new(nullptr, allocator.record());
    if (tree == nullptr) return;
    size_t inserted = 0;
    for (uint64_t low = 0; low < 3; ++low) inserted += kiv_ivtree_insert_node(tree, nullptr, low, 9) != nullptr ? 1 : 0;
    EXPECT_EQ(overlapping(tree, 9, 9).size(), inserted);
    kiv_ivtree_delete(tree);
  };
  EXPECT_EQ(kiv::test::sweep_failures(action), 6u);
}

}  // namespace
