// Object trees: ownership against a recursive model, long trees, single nodes, memory shortage, the standard streams.
#include "kiv_obj_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <set>
#include <tuple>

#include "tests/objects/counting_kind.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/process.h"
#include "tests/support/random.h"

namespace kiv::test {
namespace {

using Link = KIV_OBJ *(*)(const KIV_OBJ *);
constexpr Link kChildren[] = {obj_tree_get_left, obj_tree_get_right};

bool link(KIV_OBJ *node, uint32_t side, KIV_OBJ *child) {
  if (kChildren[side](node) != nullptr) return false;
  (side == 0 ? obj_tree_set_left : obj_tree_set_right)(node, child);
  return true;
}

/// By recursion. A node on the way has height 0 already.
uint32_t height(KIV_OBJ *node, std::map<KIV_OBJ *, uint32_t> *heights) {
  const auto [place, is_new] = heights->insert({node, 0});
  if (node == nullptr || !is_new) return place->second;
  const uint32_t left = height(obj_tree_get_left(node), heights);
  return place->second = 1 + std::max(left, height(obj_tree_get_right(node), heights));
}

/// What a deletion frees, in order, and which links are left in the nodes that live on: found by recursion.
struct Expected {
  void visit(KIV_OBJ *node, bool ends) {
    visited.insert(node);
    if (ends) frees.push_back("free " + std::to_string(memory->name_of(obj_tree_get(node))));
    for (const Link get : kChildren) {
      KIV_OBJ *child = get(node);
      const bool is_cut = child != nullptr && visited.count(child) != 0;
      if (child != nullptr && !is_cut) visit(child, ends && child->extra_refs == 0);
      if (!ends) links.push_back({node, get, is_cut ? nullptr : child});
    }
    if (ends) frees.push_back("free " + std::to_string(memory->name_of(node)));
  }

  CountingAllocator *memory;
  std::set<KIV_OBJ *> visited;
  std::vector<std::string> frees;
  std::vector<std::tuple<KIV_OBJ *, Link, KIV_OBJ *>> links;
};

TEST(ObjTree, EveryNodeEndsOnceWhateverLinksLeadToIt) {
  std::mt19937_64 random = make_random();
  for (int round = 0; round < 500 && !HasFailure(); ++round) {
    CountingAllocator memory;
    CountingKind kind;
    std::vector<KIV_OBJ *> nodes, owners;
    const auto any = [&] { return nodes[below(random, static_cast<uint32_t>(nodes.size()))]; };
    // A tree at first; then free links may lead to any node.
    while (nodes.empty() || below(random, 20) != 0) {
      KIV_OBJ *node = obj_tree_new(memory.record(), kind.make(memory.record(), 0));
      while (!nodes.empty() && !link(any(), below(random, 2), node)) {
      }
      nodes.push_back(node);
    }
    for (KIV_OBJ *node : nodes) {
      link(node, below(random, 2), any());
      node->extra_refs = below(random, 4) == 0 ? 1 + below(random, 2) : 0;
      owners.insert(owners.end(), node->extra_refs + (node == nodes[0] ? 1 : 0), node);
    }
    // Each owner lets go once, in any order.
    std::shuffle(owners.begin(), owners.end(), random);
    for (KIV_OBJ *node : owners) {
      std::map<KIV_OBJ *, uint32_t> heights;
      ASSERT_EQ(obj_tree_height(node), height(node, &heights));
      Expected expected{&memory, {}, {}, {}};
      if (node->extra_refs == 0) expected.visit(node, true);
      memory.clear_log();
      obj_tree_del(node);
      ASSERT_EQ(memory.log, expected.frees);
      const std::vector<void *> alive = memory.blocks();
      for (const auto &[above, get, child] : expected.links) {
        ASSERT_EQ(get(above), child);
        const void *parent = obj_tree_get_parent(above);
        ASSERT_TRUE(parent == nullptr || std::count(alive.begin(), alive.end(), parent) == 1);
      }
    }
  }
}

TEST(ObjTree, AMillionNodesInALineNeedNoStack) {
  KIV_ALLOCATOR heap;
  kiv_allocator_default_new(&heap);
  KIV_OBJ *root = nullptr;
  KIV_OBJ *chain = nullptr;  // each the value of the next
  for (uint32_t i = 0; i < 1000000; ++i) {
    root = obj_tree_new_set_left_right(&heap, nullptr, i % 2 == 0 ? root : nullptr, i % 2 == 0 ? nullptr : root);
    chain = obj_tree_new(&heap, chain);
  }
  EXPECT_EQ(obj_tree_height(root), 1000000U);
  obj_tree_set(root, chain);
  obj_tree_del(root);
}

TEST(ObjTree, SingleNodes) {
  CountingAllocator memory;
  CountingKind kind;
  const auto make = [&](uint32_t value) { return obj_tree_new(memory.record(), kind.make(memory.record(), value)); };
  KIV_OBJ_TREE storage = *reinterpret_cast<KIV_OBJ_TREE *>(make(1));
  memory.record()->free(memory.record(), memory.blocks().back());
  storage.header.automatic = 1;
  // Only the node goes, but its value does so with all that it owns.
  KIV_OBJ *value = make(2);
  obj_tree_set_left(value, make(3));
  KIV_OBJ *node = obj_tree_new_set_left_right(memory.record(), value, &storage.header, nullptr);
  node->extra_refs = 1;
  obj_tree_del_non_recursive(node);
  EXPECT_TRUE(kind.dead.empty());
  obj_tree_del_non_recursive(node);
  // An automatic node keeps its storage and can be used again.
  for (const uint32_t left : {4U, 5U}) {
    obj_tree_set_left(&storage.header, make(left));
    obj_tree_set_parent(&storage.header, &storage.header);
    obj_tree_del(&storage.header);
    EXPECT_TRUE(storage.value == nullptr && storage.left == nullptr && storage.parent == nullptr);
  }
  EXPECT_EQ(kind.dead, (std::vector<uint32_t>{2, 3, 1, 4, 5}));
  storage.value = kind.make(memory.record(), 6);
  obj_tree_del_non_recursive(&storage.header);
  EXPECT_EQ(storage.value, nullptr);
  obj_tree_del(nullptr);
  obj_tree_del_non_recursive(nullptr);
  memory.fail_at(2);
  KIV_OBJ *left = obj_tree_new(memory.record(), nullptr);
  EXPECT_EQ(obj_tree_new_set_left_right(memory.record(), nullptr, left, nullptr), nullptr);
  EXPECT_EQ(obj_tree_get_parent(left), nullptr);
  obj_tree_del(left);
}

KIV_CHILD(walk_in_a_tree) {
  KIV_ALLOCATOR heap;
  kiv_allocator_default_new(&heap);
  KIV_OBJ *root = obj_tree_new(&heap, obj_int_new(&heap, 1));
  obj_tree_dump_node(root, 4, 8, 2);
  obj_tree_dump(root, 4);
  std::printf("%c", std::getchar());
  obj_tree_del(root);
}

TEST(ObjTree, TalksThroughTheStandardStreams) {
  EXPECT_EQ(
      run_child("walk_in_a_tree", "p\nquit\n+").out,
      "  [1]\n\n\n\n" + std::string(30, ' ') +
          "[1]\n\n\n\n\n\n\n\n\n\n\n<\n  tree navigation mode: \n"
          "  'l' for 'left node'\n  'r' for 'right node'\n  'p' for parent node\n  'q' for quit\n>\ncannot go up\n+");
}

}  // namespace
}  // namespace kiv::test
