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
int act(KIV_IVTREE *tree, KIV_IVTREE_NODE *node, void *action) {
  EXPECT_EQ(node->owner, tree);
  return (*static_cast<Action *>(action))(node);
}

Nodes walk(KIV_IVTREE *tree) {
  Nodes nodes;
  Action keep = [&](KIV_IVTREE_NODE *node) { return nodes.push_back(node), 0; };
  kiv_ivtree_conditional_sequential_walk_and_remove(tree, act, &keep);
  return nodes;
}

Nodes overlapping(KIV_IVTREE *tree, uint64_t low, uint64_t high, size_t most = SIZE_MAX) {
  Nodes nodes;
  Action report = [&](KIV_IVTREE_NODE *node) { return nodes.push_back(node), nodes.size() < most ? 7 : 0; };
  EXPECT_EQ(kiv_ivtree_enumerate_overlapping(tree, nullptr, low, high, act, &report), 0);
  return nodes;
}

bool meets(const KIV_IVTREE_NODE *node, uint64_t low, uint64_t high) {
  return (node->low < low && low <= node->high) || (low <= node->low && node->low <= high);
}

/// The search without any thought for subtrees that cannot hold anything, but for left ones that end too low.
void search_naively(KIV_IVTREE *tree, KIV_IVTREE_NODE *node, uint64_t low, uint64_t high, Nodes *found) {
  if (node == nullptr || node == &tree->nil) return;
  if (meets(node, low, high)) found->push_back(node);
  if (node->left->max >= low) search_naively(tree, node->left, low, high, found);
  search_naively(tree, node->right, low, high, found);
}

/// Random operations on a tree and on a list of nodes in the order in which the tree has to have them.
class Model {
 public:
  Model(CountingAllocator *allocator, uint32_t range, bool reversed_bounds)
      : allocator_(allocator), range_(range), reversed_bounds_(reversed_bounds) {
    KIV_IVTREE *made = kiv_ivtree_new(&record_, allocator != nullptr ? allocator->record() : nullptr);
    EXPECT_EQ(made == nullptr, allocator == nullptr);
    if (made != nullptr) tree_ = made;
  }
  ~Model() { EXPECT_EQ(kiv_ivtree_delete(tree_), nullptr); }

  void step(bool growing) {
    const uint32_t choice = below(random_, 1000);
    if (choice < (growing ? 700u : 300u)) {
      insert();
    } else if (choice < 998) {
      remove();
    } else {
      walk_and_remove(choice == 999);
    }
    ASSERT_EQ(kiv::ivtree::Checker().check(tree_), nullptr);
    ASSERT_EQ(walk(tree_), nodes_);
    ASSERT_EQ(kiv_ivtree_get_root_node(tree_) == nullptr, nodes_.empty());
    if (allocator_ != nullptr) ASSERT_EQ(allocator_->live_blocks(), nodes_.size() + 1);
    for (int i = 0; i < 4; ++i) search();
  }

 private:
  /// Near both ends of the number range, many of them equal.
  uint64_t bound() {
    const uint64_t number = below(random_, range_);
    return number < range_ / 2 ? number : number - range_;
  }
  std::pair<uint64_t, uint64_t> bounds() {
    const uint64_t a = bound(), b = below(random_, 2) != 0 ? bound() : a + below(random_, 3);
    return reversed_bounds_ || a <= b ? std::pair(a, b) : std::pair(b, a);
  }

  void insert() {
    const auto [low, high] = bounds();
    KIV_IVTREE_NODE *storage = allocator_ == nullptr ? &storage_.emplace_back() : nullptr;
    KIV_IVTREE_NODE *node = kiv_ivtree_insert_node(tree_, storage, low, high);
    ASSERT_EQ(node == nullptr, allocator_ == nullptr);
    if (node == nullptr) node = storage;
    ASSERT_TRUE(node->low == low && node->high == high);
    const auto after = [](uint64_t bound, const KIV_IVTREE_NODE *other) { return bound < other->low; };
    nodes_.insert(std::upper_bound(nodes_.begin(), nodes_.end(), low, after), node);
  }

  void remove() {
    if (nodes_.empty()) return;
    const auto victim = nodes_.begin() + below(random_, static_cast<uint32_t>(nodes_.size()));
    kiv_ivtree_remove_node(tree_, *victim);
    nodes_.erase(victim);
  }

  /// Removes some nodes, one of them by the callback itself, or all.
  void walk_and_remove(bool all) {
    Nodes left;
    Action remove_some = [&](KIV_IVTREE_NODE *node) {
      if (below(random_, 3) != 0) return left.push_back(node), 0;
      if (below(random_, 2) != 0) return -1;
      return kiv_ivtree_remove_node(tree_, node), 0;
    };
    kiv_ivtree_conditional_sequential_walk_and_remove(tree_, all ? nullptr : act, &remove_some);
    nodes_ = left;
  }

  void search() {
    const auto [low, high] = bounds();
    const Nodes found = overlapping(tree_, low, high);
    Nodes expected;
    search_naively(tree_, kiv_ivtree_get_root_node(tree_), low, high, &expected);
    ASSERT_EQ(found, expected) << low << ' ' << high;
    if (reversed_bounds_) return;
    const auto count = std::count_if(nodes_.begin(), nodes_.end(),
                                     [low = low, high = high](auto *node) { return meets(node, low, high); });
    ASSERT_EQ(found.size(), static_cast<size_t>(count)) << low << ' ' << high;
  }

  CountingAllocator *allocator_;
  const uint32_t range_;
  const bool reversed_bounds_;
  std::mt19937_64 random_ = kiv::test::make_random();
  KIV_IVTREE record_;
  KIV_IVTREE *tree_ = &record_;
  std::deque<KIV_IVTREE_NODE> storage_;
  Nodes nodes_;
};

TEST(Ivtree, DoesWhatTheModelDoes) {
  for (const uint32_t range : {6u, 40u, 1000u}) {
    for (const bool reversed_bounds : {false, true}) {
      for (const bool allocates : {false, true}) {
        CountingAllocator allocator;
        Model model(allocates ? &allocator : nullptr, range, reversed_bounds);
        for (int step = 0; step < 1500 && !HasFatalFailure(); ++step) model.step(step % 500 < 350);
      }
    }
  }
}

TEST(Ivtree, EdgesOfOverlap) {
  KIV_IVTREE tree;
  KIV_IVTREE_NODE nodes[3];
  EXPECT_EQ(kiv_ivtree_new(&tree, nullptr), nullptr);
  EXPECT_EQ(kiv_ivtree_insert_node(&tree, nullptr, 1, 2), nullptr);
  EXPECT_EQ(kiv_ivtree_get_root_node(&tree), nullptr);
  nodes[0].user_data = 17;
  EXPECT_EQ(kiv_ivtree_insert_node(&tree, &nodes[0], 10, 20), nullptr);
  EXPECT_EQ(kiv_ivtree_get_root_node(&tree), &nodes[0]);
  EXPECT_EQ(nodes[0].user_data, 17u);
  const struct {
    uint64_t low, high;
    size_t count;
  } kTable[] = {{20, 30, 1}, {21, 30, 0}, {0, 10, 1},        {0, 9, 0},          {12, 13, 1},
                {15, 5, 1},  {10, 9, 0},  {20, 0, 1},        {0, UINT64_MAX, 1}, {10ull << 32, 30ull << 32, 0},
                {9, 21, 1},  {20, 20, 1}, {UINT64_MAX, 0, 0}};
  for (const auto &row : kTable) EXPECT_EQ(overlapping(&tree, row.low, row.high).size(), row.count) << row.low;
  for (int i = 1; i < 3; ++i) kiv_ivtree_insert_node(&tree, &nodes[i], 10, UINT64_MAX);
  EXPECT_EQ(overlapping(&tree, 20, 20), (Nodes{&nodes[1], &nodes[0], &nodes[2]}));
  EXPECT_EQ(overlapping(&tree, 20, 20, 2), (Nodes{&nodes[1], &nodes[0]}));
  kiv_ivtree_delete(nullptr);
  EXPECT_EQ(kiv_ivtree_new(nullptr, nullptr), nullptr);
  EXPECT_EQ(kiv_ivtree_enumerate_overlapping(nullptr, nullptr, 0, 1, act, nullptr), 0);
}

/// Links 450 nodes by hand, each the left child of the one before, and gives each a right child.
TEST(Ivtree, StackOfTheSearchGrows) {
  constexpr uint32_t kDepth = 450, kEntry = sizeof(void *) + 8;
  KIV_IVTREE tree;
  kiv_ivtree_new(&tree, nullptr);
  std::vector<KIV_IVTREE_NODE> nodes(2 * kDepth);
  KIV_IVTREE_NODE *parent = &tree.header;
  for (uint32_t i = 0; i < kDepth; ++i) {
    KIV_IVTREE_NODE *node = &nodes[2 * i], *right = &nodes[2 * i + 1];
    const uint64_t low = 2 * (kDepth - i);
    *node = {&tree.nil, right, parent, KIV_IVTREE_BLACK, low, low, low + 1, &tree, 0};
    *right = {&tree.nil, &tree.nil, node, KIV_IVTREE_BLACK, low + 1, low + 1, low + 1, &tree, 0};
    parent->left = node;
    parent = node;
  }
  size_t most = 0, reported = 0;
  Action count = [&](KIV_IVTREE_NODE *) { return ++reported < most ? 1 : 0; };
  const auto run = [&](CountingAllocator &allocator) {
    reported = 0;
    const int status = kiv_ivtree_enumerate_overlapping(&tree, allocator.record(), 0, 1000, act, &count);
    EXPECT_EQ(status, allocator.has_failed() ? 1 : 0);
  };
  for (most = 2 * kDepth; most >= 2 * kDepth - 1; --most) {
    EXPECT_EQ(kiv::test::sweep_failures(
                  run,
                  [&](CountingAllocator &allocator) {
                    EXPECT_EQ(reported, !allocator.has_failed() ? most : allocator.log.size() == 1 ? 128 : 384);
                  }),
              2u);
  }
  CountingAllocator allocator;
  most = 400;  // ends the search on the way down
  run(allocator);
  const std::string first = std::to_string(384 * kEntry), second = std::to_string(1152 * kEntry);
  EXPECT_EQ(allocator.log,
            (std::vector<std::string>{"alloc " + first + " -> 1", "realloc 1 " + second + " -> 2", "free 2"}));
  reported = 0;
  EXPECT_EQ(kiv_ivtree_enumerate_overlapping(&tree, nullptr, 0, 1000, act, &count), 1);
}

TEST(Ivtree, SurvivesEveryFailedAllocation) {
  EXPECT_EQ(kiv::test::sweep_failures([](CountingAllocator &allocator) {
              KIV_IVTREE *tree = kiv_ivtree_new(nullptr, allocator.record());
              if (tree == nullptr) return;
              size_t inserted = 0;
              for (uint64_t low = 0; low < 5; ++low)
                inserted += kiv_ivtree_insert_node(tree, nullptr, low, 9) != nullptr;
              EXPECT_EQ(kiv::ivtree::Checker().check(tree), nullptr);
              EXPECT_EQ(overlapping(tree, 9, 9).size(), inserted);
              kiv_ivtree_delete(tree);
            }),
            6u);
}

}  // namespace
