// Object trees: ownership against a recursive model, long trees, single nodes, memory shortage, the standard streams.
#include "kiv_obj_tree.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <set>

#include "tests/objects/counting_kind.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/process.h"
#include "tests/support/random.h"

namespace kiv::test {
namespace {

KIV_OBJ_TREE *tree(KIV_OBJ *object) { return reinterpret_cast<KIV_OBJ_TREE *>(object); }

/// A graph of nodes that are all reached from the first one, and what is to become of it, written down by recursion.
class Model {
 public:
  Model(CountingAllocator *memory, CountingKind *kind) : memory_(memory), kind_(kind) {}

  /// Links form a tree at first; then the free ones get any node, or none.
  void build(std::mt19937_64 &random, uint32_t size) {
    for (uint32_t i = 0; i < size; ++i) {
      KIV_OBJ *value = kind_->make(memory_->record(), i);
      KIV_OBJ *inner = below(random, 4) == 0 ? obj_tree_new(memory_->record(), value) : nullptr;
      entries_.push_back({obj_tree_new(memory_->record(), inner != nullptr ? inner : value), value, inner});
      while (i > 0 && !link(&entries_[below(random, i)], below(random, 2) == 0, &entries_[i])) {
      }
      entries_[i].refs = entries_[i].object->extra_refs = below(random, 4) == 0 ? 1 + below(random, 2) : 0;
      owners_.insert(owners_.end(), entries_[i].refs + (i == 0 ? 1 : 0), &entries_[i]);
    }
    for (Entry &entry : entries_) {
      for (const bool left : {true, false}) {
        if (below(random, 3) == 0) link(&entry, left, &entries_[below(random, size)]);
      }
    }
    std::shuffle(owners_.begin(), owners_.end(), random);
  }

  /// Every owner lets go, in a random order.
  void release_all() {
    for (Entry *entry : owners_) {
      expected_.clear();
      memory_->clear_log();
      release(entry);
      obj_tree_del(entry->object);
      ASSERT_EQ(memory_->log, expected_);
      check();
    }
    EXPECT_EQ(memory_->live_blocks(), 0U);
  }

  void check() {
    for (Entry &entry : entries_) {
      if (entry.dead) continue;
      ASSERT_EQ(obj_tree_get_left(entry.object), object_of(entry.left));
      ASSERT_EQ(obj_tree_get_right(entry.object), object_of(entry.right));
      ASSERT_EQ(obj_tree_get_parent(entry.object), object_of(entry.parent));
      ASSERT_EQ(entry.object->extra_refs, entry.refs);
      ASSERT_EQ(tree(entry.object)->visit_mark, 0U);
      heights_.clear();
      ASSERT_EQ(obj_tree_height(entry.object), height(&entry));
    }
  }

 private:
  struct Entry {
    KIV_OBJ *object, *value, *inner;  // inner: the node that is the value and has the value, or null
    Entry *left = nullptr, *right = nullptr, *parent = nullptr;
    uint32_t refs = 0;
    bool dead = false;
  };

  static KIV_OBJ *object_of(const Entry *entry) { return entry != nullptr ? entry->object : nullptr; }

  static bool link(Entry *above, bool left, Entry *child) {
    Entry *&place = left ? above->left : above->right;
    if (place != nullptr) return false;
    place = child;
    child->parent = above;
    (left ? obj_tree_set_left : obj_tree_set_right)(above->object, child->object);
    return true;
  }

  /// A node on the way has height 0 already.
  uint32_t height(Entry *entry) {
    if (entry == nullptr) return 0;
    const auto [place, fresh] = heights_.insert({entry, 0});
    if (fresh) {
      const uint32_t left = height(entry->left);
      place->second = 1 + std::max(left, height(entry->right));
    }
    return place->second;
  }

  void release(Entry *entry) {
    if (entry->refs > 0) {
      --entry->refs;
      return;
    }
    visited_.clear();
    visit(entry);
    end(entry);
  }

  void visit(Entry *entry) {
    visited_.insert(entry);
    for (Entry **place : {&entry->left, &entry->right}) {
      Entry *child = *place;
      if (child == nullptr) continue;
      if (visited_.count(child) == 0) {
        visit(child);
      } else {
        *place = nullptr;
        if (child->parent == entry && entry->left != child && entry->right != child) child->parent = nullptr;
      }
    }
  }

  void end(Entry *entry) {
    expect_free(entry->value);
    if (entry->inner != nullptr) expect_free(entry->inner);
    for (Entry *child : {entry->left, entry->right}) {
      if (child == nullptr) continue;
      if (child->parent == entry) child->parent = nullptr;
      child->refs > 0 ? void(--child->refs) : end(child);
    }
    expect_free(entry->object);
    entry->dead = true;
  }

  void expect_free(const KIV_OBJ *object) { expected_.push_back("free " + std::to_string(memory_->name_of(object))); }

  CountingAllocator *memory_;
  CountingKind *kind_;
  std::deque<Entry> entries_;
  std::vector<Entry *> owners_;
  std::map<Entry *, uint32_t> heights_;
  std::set<Entry *> visited_;
  std::vector<std::string> expected_;
};

TEST(ObjTree, EveryNodeEndsOnceWhateverLinksLeadToIt) {
  SCOPED_TRACE(seed());
  std::mt19937_64 random = make_random();
  for (int round = 0; round < 300 && !testing::Test::HasFailure(); ++round) {
    CountingAllocator memory;
    CountingKind kind;
    Model model(&memory, &kind);
    model.build(random, 1 + below(random, 24));
    model.check();
    model.release_all();
  }
}

TEST(ObjTree, AMillionNodesInALineNeedNoStack) {
  constexpr uint32_t kNodes = 1000000;
  KIV_ALLOCATOR heap;
  kiv_allocator_default_new(&heap);
  KIV_OBJ *root = nullptr;
  KIV_OBJ *chain = nullptr;  // each the value of the next
  for (uint32_t i = 0; i < kNodes; ++i) {
    root = i % 2 == 0 ? obj_tree_new_set_left_right(&heap, nullptr, root, nullptr)
                      : obj_tree_new_set_left_right(&heap, nullptr, nullptr, root);
    chain = obj_tree_new(&heap, chain);
  }
  EXPECT_EQ(obj_tree_height(root), kNodes);
  obj_tree_set(root, chain);
  obj_tree_del(root);
}

TEST(ObjTree, SingleNodes) {
  CountingAllocator memory;
  CountingKind kind;
  KIV_OBJ *leaf = obj_tree_new(memory.record(), kind.make(memory.record(), 1));
  KIV_OBJ *inner = obj_tree_new_set_left_right(memory.record(), kind.make(memory.record(), 2), leaf, nullptr);
  KIV_OBJ *child = obj_tree_new(memory.record(), kind.make(memory.record(), 3));
  // Only the node goes, but its value does so with all that it owns, and the kind is as before.
  KIV_OBJ *node = obj_tree_new_set_left_right(memory.record(), inner, child, nullptr);
  node->extra_refs = 1;
  obj_tree_del_non_recursive(node);
  EXPECT_EQ(node->extra_refs, 0U);
  obj_tree_del_non_recursive(node);
  EXPECT_EQ(kind.dead, (std::vector<uint32_t>{2, 1}));
  // An automatic node keeps its storage and can be used again.
  KIV_OBJ_TREE storage = *tree(child);
  storage.header.automatic = 1;
  memory.record()->free(memory.record(), child);
  KIV_OBJ *automatic = &storage.header;
  for (const uint32_t value : {4U, 5U}) {
    obj_tree_set_left(automatic, obj_tree_new(memory.record(), kind.make(memory.record(), value)));
    obj_tree_set_parent(automatic, automatic);
    obj_tree_del(automatic);
    EXPECT_TRUE(storage.value == nullptr && storage.left == nullptr && storage.parent == nullptr);
  }
  EXPECT_EQ(kind.dead, (std::vector<uint32_t>{2, 1, 3, 4, 5}));
  obj_tree_del(nullptr);
  obj_tree_del_non_recursive(nullptr);
}

TEST(ObjTree, WithoutMemoryAllStaysTheCallers) {
  sweep_failures([](CountingAllocator &memory) {
    CountingKind kind;
    KIV_OBJ *value = kind.make(memory.record(), 1);
    KIV_OBJ *left = obj_tree_new(memory.record(), nullptr);
    KIV_OBJ *node = obj_tree_new_set_left_right(memory.record(), value, left, nullptr);
    if (left != nullptr) EXPECT_EQ(obj_tree_get_parent(left), node);
    if (node != nullptr) return obj_tree_del(node);
    if (value != nullptr) value->type->del(value);
    obj_tree_del(left);
  });
}

KIV_CHILD(walk_in_a_tree) {
  KIV_ALLOCATOR heap;
  kiv_allocator_default_new(&heap);
  KIV_OBJ *root = obj_tree_new(&heap, obj_int_new(&heap, 1));
  obj_tree_set_left(root, obj_tree_new(&heap, obj_int_new(&heap, 2)));
  obj_tree_dump_node(root, 4, 8, 2);
  obj_tree_dump(root, 64);
  const int next = std::getchar();
  std::printf("%c", next);
  obj_tree_del(root);
}

TEST(ObjTree, TalksThroughTheStandardStreams) {
  const ProcessResult result = run_child("walk_in_a_tree", "l\nquit\n+");
  const std::string menu = "  'l' for 'left node'\n  'r' for 'right node'\n  'p' for parent node\n  'q' for quit\n>\n";
  const std::string blanks(30, ' ');
  EXPECT_EQ(result.out, "  [1]\n  /\n[2]\n\n" + blanks + "[1]\n" + std::string(23, ' ') +
                            "/\n\n<\n  tree navigation mode: \n" + menu + blanks +
                            "[2]\n\n\n<\n  tree navigation mode:\n" + menu + "+");
  EXPECT_EQ(result.exit_code, 0);
}

}  // namespace
}  // namespace kiv::test
