// Where the nodes of AVL trees come from and go to.
//
// A tree takes a node from its spare ones, or else from its node allocator; a disposed one goes to node_free, or else
// to the spare ones. A tree whose allocator nobody has set gets one at its first insert that carves nodes from chunks
// of the C runtime's heap: without a heap header for each, two nodes lie in a cache line and none in two, which is what
// searches in large trees spend their time on. All chunks but the first, small one go back when the last node in use
// is disposed of, and that one with the record.
#ifndef KIV_CONTAINERS_AVL_NODES_H
#define KIV_CONTAINERS_AVL_NODES_H

#include <algorithm>
#include <cstddef>

#include "kiv_avl.h"
#include "os/platform.h"

namespace kiv::avl {

using Tree = KIV_AVL_TREE;
using Node = KIV_AVL_NODE;

/// A run of nodes in one heap block, aligned to their size. Chunks double, so that a small tree stays small.
struct Chunk {
  static constexpr uint32_t kMinCapacity = 2;
  static constexpr uint32_t kMaxCapacity = 512;

  Chunk *older;
  uint32_t used;
  uint32_t capacity;

  Node *nodes() {
    static_assert((sizeof(Node) & (sizeof(Node) - 1)) == 0);
    const auto end = reinterpret_cast<uintptr_t>(this + 1);
    return reinterpret_cast<Node *>((end + sizeof(Node) - 1) & ~(sizeof(Node) - 1));
  }
};

/// The allocator context of a tree whose nodes are carved.
struct Carver {
  Chunk *newest;
  size_t nodes_in_use;  // by all trees of the record
};

inline bool open_chunk(Carver *carver, uint32_t capacity) {
  auto *chunk = static_cast<Chunk *>(os::heap_alloc(sizeof(Chunk) + (capacity + 1) * sizeof(Node)));
  if (chunk == nullptr) return false;
  *chunk = {carver->newest, 0, capacity};
  carver->newest = chunk;
  return true;
}

inline void *carve_node(void *context, uint32_t) {
  auto *carver = static_cast<Carver *>(context);
  if (carver->newest->used == carver->newest->capacity &&
      !open_chunk(carver, std::min(carver->newest->capacity * 2, Chunk::kMaxCapacity))) {
    return nullptr;
  }
  return &carver->newest->nodes()[carver->newest->used++];
}

/// Frees chunks until `last` is the newest one.
inline void free_chunks(Carver *carver, const Chunk *last) {
  while (carver->newest != last) {
    Chunk *chunk = carver->newest;
    carver->newest = chunk->older;
    os::heap_free(chunk);
  }
}

inline void finish_carving(void *context) {
  free_chunks(static_cast<Carver *>(context), nullptr);
  os::heap_free(context);
}

inline bool is_carved(const Tree *tree) { return tree->node_alloc == carve_node; }
inline Carver *carver_of(const Tree *tree) { return static_cast<Carver *>(tree->allocator_context); }

inline bool start_carving(Tree *tree) {
  auto *carver = static_cast<Carver *>(os::heap_calloc(1, sizeof(Carver)));
  if (carver == nullptr) return false;
  if (!open_chunk(carver, Chunk::kMinCapacity)) {
    os::heap_free(carver);
    return false;
  }
  tree->allocator_context = carver;
  tree->node_alloc = carve_node;
  tree->allocator_finish = finish_carving;
  return true;
}

/// No node is in use: all nodes, the spare ones too, lie in chunks that nobody needs.
inline void start_carving_anew(Tree *tree) {
  Carver *carver = carver_of(tree);
  const Chunk *first = carver->newest;
  while (first->older != nullptr) first = first->older;
  free_chunks(carver, first);
  carver->newest->used = 0;
  tree->free_nodes = nullptr;
}

inline bool has_own_allocator(const Tree *tree) {
  return tree->node_alloc != nullptr || tree->node_free != nullptr || tree->pool_release != nullptr ||
         tree->allocator_finish != nullptr || tree->allocator_context != nullptr;
}

/// Makes sure that there is a spare node.
inline bool reserve_node(Tree *tree) {
  if (tree->free_nodes == nullptr) {
    if (tree->nodes_allocated == 0 && !has_own_allocator(tree) && !start_carving(tree)) return false;
    void *memory = tree->node_alloc != nullptr ? tree->node_alloc(tree->allocator_context, sizeof(Node))
                                               : os::heap_alloc(sizeof(Node));
    if (memory == nullptr) return false;
    tree->free_nodes = static_cast<Node *>(memory);
    tree->free_nodes->left = nullptr;
  }
  tree->nodes_allocated = 1;
  return true;
}

/// A leaf. REQUIRES: reserve_node.
inline Node *take_spare_node(Tree *tree, void *value) {
  if (is_carved(tree)) ++carver_of(tree)->nodes_in_use;
  Node *node = tree->free_nodes;
  tree->free_nodes = node->left;
  *node = {nullptr, nullptr, 1, value};
  return node;
}

inline void dispose_node(Tree *tree, Node *node) {
  if (tree->node_alloc == nullptr) {
    os::heap_free(node);
  } else if (tree->node_free != nullptr) {
    tree->node_free(node, tree->allocator_context);
  } else {
    node->left = tree->free_nodes;
    tree->free_nodes = node;
    if (is_carved(tree) && --carver_of(tree)->nodes_in_use == 0) start_carving_anew(tree);
  }
}

inline void release_value(const Tree *tree, void *value) {
  if (tree->release != nullptr) tree->release(value, tree->release_context);
}

/// Post-order; recursion is as deep as the tree is high.
inline void destroy_nodes(Tree *tree, Node *node) {
  if (node == nullptr) return;
  destroy_nodes(tree, node->left);
  destroy_nodes(tree, node->right);
  release_value(tree, node->value);
  dispose_node(tree, node);
}

/// Before the end of the record. Spare nodes go to pool_release; without one, to where freed nodes go, unless that is
/// the pool itself: those end with their allocator.
inline void destroy_spare_nodes(Tree *tree) {
  while (Node *node = tree->free_nodes) {
    if (tree->pool_release == nullptr && tree->node_alloc != nullptr && tree->node_free == nullptr) return;
    tree->free_nodes = node->left;
    if (tree->pool_release != nullptr) {
      tree->pool_release(node, tree->allocator_context);
    } else {
      dispose_node(tree, node);
    }
  }
}

/// Whether the end of the record is the end of all nodes and nothing has to be done for each.
inline bool nodes_end_with_record(const Tree *tree) { return is_carved(tree) && tree->release == nullptr; }

}  // namespace kiv::avl

#endif
