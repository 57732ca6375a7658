// The AVL trees' engine, shared by the plain and the shared operations: everything works on a root pointer, and on a
// record for compare, callbacks and nodes.
//
// Invariants of a tree (containers/avl_check.h verifies them):
//  1. Walking left, node, right gives the values in ascending order, no two equal.
//  2. height(node) = 1 + max(height(left), height(right)); an absent node counts 0.
//  3. The heights of a node's children differ by at most 1.
// From 3, a tree of height h has at least Fibonacci(h + 2) - 1 nodes, so kMaxHeight covers every address space.
//
// Searches, insert and delete are loops: they note the links on the way down and go up again along them. Without a
// linkage hook going up ends where a subtree kept its height; with one, every node on the way is reported.
//
// A descent waits for memory most of its time once the tree is larger than the caches: for the node, then for what its
// value points at. Both children are fetched ahead while the compare function looks at the node's value.
#ifndef KIV_CONTAINERS_AVL_ENGINE_H
#define KIV_CONTAINERS_AVL_ENGINE_H

#include <algorithm>
#include <cstddef>

#include "containers/avl_nodes.h"
#include "kiv_avl.h"

namespace kiv::avl {

inline constexpr size_t kMaxHeight = 96;

inline int32_t height(const Node *node) { return node != nullptr ? node->height : 0; }
inline void *value_of(const Node *node) { return node != nullptr ? node->value : nullptr; }
inline void update_height(Node *node) { node->height = std::max(height(node->left), height(node->right)) + 1; }

inline void report_linkage(const Tree *tree, const Node *node) {
  if (tree->fix_linkage != nullptr) tree->fix_linkage(node->value, value_of(node->left), value_of(node->right));
}

/// Calls body with the tree's order, a function of a key and a value.
template <class Body>
decltype(auto) with_order(const Tree *tree, Body body) {
  if (tree->compare != nullptr) [[likely]] {
    return body([compare = tree->compare](const void *key, const void *value) { return compare(key, value); });
  }
  return body([compare = tree->compare_with_context, context = tree->compare_context](
                  const void *key, const void *value) { return compare(key, value, context); });
}

// --- Balance ---------------------------------------------------------------------------------------------------------

/// Puts the child on the heavy side in its parent's place, and the parent below it on the other side.
template <Node *Node::*kHeavy, Node *Node::*kOther>
void rotate(const Tree *tree, Node **link) {
  Node *down = *link;
  Node *up = down->*kHeavy;
  down->*kHeavy = up->*kOther;  // NOLINT(clang-analyzer-core.NullDereference): the heavy side has a child
  update_height(down);
  up->*kOther = down;
  update_height(up);
  *link = up;
  report_linkage(tree, down);
  report_linkage(tree, up);
}

inline void rotate_right(const Tree *tree, Node **link) { rotate<&Node::left, &Node::right>(tree, link); }
inline void rotate_left(const Tree *tree, Node **link) { rotate<&Node::right, &Node::left>(tree, link); }

/// Repairs height and balance of the node behind a link, one of whose subtrees has grown or shrunk by one level. Only
/// a deletion meets children of equal height below a heavy side, and rotates once.
inline void rebalance(const Tree *tree, Node **link) {
  Node *node = *link;
  const int32_t left_height = height(node->left);
  const int32_t right_height = height(node->right);
  node->height = std::max(left_height, right_height) + 1;
  report_linkage(tree, node);
  if (left_height > right_height + 1) {
    if (height(node->left->left) < height(node->left->right)) rotate_left(tree, &node->left);
    rotate_right(tree, link);
  } else if (right_height > left_height + 1) {
    if (height(node->right->right) < height(node->right->left)) rotate_right(tree, &node->right);
    rotate_left(tree, link);
  }
}

/// The links from the root down to a place in a tree.
struct Path {
  Node **links[kMaxHeight];
  size_t depth = 0;

  void push(Node **link) { links[depth++] = link; }

  /// Rebalances from the last link up to the root.
  void unwind(const Tree *tree) {
    while (depth > 0) {
      Node **link = links[--depth];
      const int32_t old_height = (*link)->height;
      rebalance(tree, link);
      if ((*link)->height == old_height && tree->fix_linkage == nullptr) return;
    }
  }
};

// --- Searches --------------------------------------------------------------------------------------------------------

inline void prefetch_children(const Node *node) {
  __builtin_prefetch(node->left);
  __builtin_prefetch(node->right);
}

/// Searches with an order of the caller's: order(key, value) is called on the way down, once a level.
template <class Order>
Node *find_node_by(Node *node, const void *key, Order order) {
  while (node != nullptr) {
    prefetch_children(node);
    const int side = order(key, node->value);
    if (side == 0) break;
    node = side < 0 ? node->left : node->right;
  }
  return node;
}

inline Node *find_node(const Tree *tree, Node *node, const void *key) {
  return with_order(tree, [=](auto order) { return find_node_by(node, key, order); });
}

/// Which neighbour of a key a nearest search is after.
enum class Direction { above, below };

/// The value closest to key in a direction, or the one that matches when kOrEqual.
template <Direction kDirection, bool kOrEqual, class Order>
void *find_nearest_by(const Node *node, const void *key, Order order) {
  // The last node left to the right, and to the left: kept in memory, as whether a step goes one way or the other is no
  // better predicted than a coin, and compilers make a branch of a conditional assignment here.
  const Node *passed[2] = {nullptr, nullptr};
  while (node != nullptr) {
    prefetch_children(node);
    const int side = order(key, node->value);
    if (kOrEqual && side == 0) return node->value;
    const bool go_right = kDirection == Direction::above ? side >= 0 : side > 0;
    passed[go_right] = node;
    node = go_right ? node->right : node->left;
  }
  return value_of(passed[kDirection == Direction::below]);
}

template <Direction kDirection, bool kOrEqual>
void *find_nearest(const Tree *tree, const Node *node, const void *key) {
  return with_order(tree, [=](auto order) { return find_nearest_by<kDirection, kOrEqual>(node, key, order); });
}

inline void *least(const Node *node) {
  while (node != nullptr && node->left != nullptr) node = node->left;
  return value_of(node);
}

inline void *largest(const Node *node) {
  while (node != nullptr && node->right != nullptr) node = node->right;
  return value_of(node);
}

// --- Changes ---------------------------------------------------------------------------------------------------------

/// Follows key from a root link, noting every link on the way. Gives the link of the matching node, or the empty one
/// where it would be; that link is not noted.
template <class Order>
Node **descend(Node **link, const void *key, Order order, Path *path) {
  while (Node *node = *link) {
    prefetch_children(node);
    const int side = order(key, node->value);
    if (side == 0) break;
    path->push(link);
    link = side < 0 ? &node->left : &node->right;
  }
  return link;
}

/// The same for inserts, which often come in order: the direction is a branch, and a predicted one lets the processor
/// run ahead of the compares.
template <class Order>
Node **descend_predicting(Node **link, const void *key, Order order, Path *path) {
  Node *node = *link;
  while (node != nullptr) {
    prefetch_children(node);
    const int side = order(key, node->value);
    if (side == 0) break;
    path->push(link);
    Node *const left = node->left, *const right = node->right;
    link = side < 0 ? &node->left : &node->right;
    node = side < 0 ? left : right;
  }
  return link;
}

/// Puts a value in the empty place that descend() has found, in the spare node that reserve_node() has made. The path
/// is to be unwound then.
inline void link_value(Tree *tree, Node **link, void *value) {
  *link = take_spare_node(tree, value);
  report_linkage(tree, *link);
}

inline int insert(Tree *tree, Node **root, void *value) {
  if (tree == nullptr || root == nullptr || !reserve_node(tree)) return 1;
  Path path;
  Node **link = with_order(tree, [&](auto order) { return descend_predicting(root, value, order, &path); });
  if (*link == nullptr) link_value(tree, link, value);
  path.unwind(tree);
  return 0;
}

/// Unlinks the node behind a link, which has at most one child.
inline void unlink(Tree *tree, Node **link) {
  Node *node = *link;
  Node *child = node->left != nullptr ? node->left : node->right;
  *link = child;
  dispose_node(tree, node);
  if (child != nullptr) report_linkage(tree, child);
}

/// Removes the value that matches key and gives it, or null. It is released before its node is disposed of.
inline void *remove(Tree *tree, Node **root, const void *key, bool release) {
  if (tree == nullptr || root == nullptr) return nullptr;
  Path path;
  Node **link = with_order(tree, [&](auto order) { return descend(root, key, order, &path); });
  Node *node = *link;
  if (node == nullptr) return nullptr;
  void *value = node->value;
  if (release) release_value(tree, value);
  if (node->left != nullptr && node->right != nullptr) {
    // The node stays and takes the value of its successor, whose node goes.
    path.push(link);
    link = &node->right;
    while ((*link)->left != nullptr) {
      path.push(link);
      link = &(*link)->left;
    }
    node->value = (*link)->value;
  }
  unlink(tree, link);
  path.unwind(tree);
  return value;
}

inline void *swap(const Tree *tree, Node *node, void *value) {
  if (tree == nullptr) return nullptr;
  Path path;
  Node **link = with_order(tree, [&](auto order) { return descend(&node, value, order, &path); });
  Node *found = *link;
  if (found == nullptr) return nullptr;
  void *old_value = found->value;
  found->value = value;
  report_linkage(tree, found);
  if (path.depth > 0) report_linkage(tree, *path.links[path.depth - 1]);
  return old_value;
}

/// By value: deletions and rotations do not disturb the walk.
inline void delete_all_matching(Tree *tree, Node **root, KIV_AVL_MATCH match, void *context) {
  if (tree == nullptr || root == nullptr) return;
  void *value = least(*root);
  while (value != nullptr) {
    void *next = find_nearest<Direction::above, false>(tree, *root, value);
    if (match(value, context) != 0) (void)remove(tree, root, value, true);
    value = next;
  }
}

// --- Walks -----------------------------------------------------------------------------------------------------------

/// The nodes of a tree in ascending or descending order. `first` is the side that comes first: left when ascending.
template <bool kReverse>
class Walker {
 public:
  static Node *first(const Node *node) { return kReverse ? node->right : node->left; }
  static Node *last(const Node *node) { return kReverse ? node->left : node->right; }

  /// Leaves the subtree of node to be walked next.
  void enter(Node *node) {
    for (; node != nullptr; node = first(node)) push(node);
  }

  /// Enters only what comes after a bound: begins(value) tells it.
  template <class Begins>
  void enter_from(Node *node, Begins begins) {
    while (node != nullptr) {
      if (begins(node->value)) {
        push(node);
        node = first(node);
      } else {
        node = last(node);
      }
    }
  }

  /// Calls visit(value) for what is left to walk until it gives false. True when it never did.
  template <class Visit>
  bool run(Visit visit) {
    while (depth_ > 0) {
      Node *node = pending_[--depth_];
      if (!visit(node->value)) return false;
      enter(last(node));
    }
    return true;
  }

 private:
  void push(Node *node) {
    // By the time that the first side is walked, the value and the last side have arrived.
    __builtin_prefetch(last(node));
    __builtin_prefetch(node->value);
    pending_[depth_++] = node;
  }

  Node *pending_[kMaxHeight];
  size_t depth_ = 0;
};

template <bool kReverse>
int walk(const Tree *tree, Node *root, KIV_AVL_WALK function, void *context) {
  if (tree == nullptr) return 1;
  Walker<kReverse> walker;
  walker.enter(root);
  return walker.run([=](void *value) { return function(value, context) != 0; }) ? 1 : 0;
}

template <bool kReverse>
void walk_all(const Tree *tree, Node *root, KIV_AVL_WALK function, void *context) {
  if (tree == nullptr) return;
  Walker<kReverse> walker;
  walker.enter(root);
  walker.run([=](void *value) { return function(value, context), true; });
}

struct Bound {
  int mode;
  const void *key;
};

template <bool kReverse>
int walk_between(const Tree *tree, Node *root, Bound low, Bound high, KIV_AVL_WALK function, void *context) {
  return with_order(tree, [=](auto order) {
    const auto above_low = [=](const void *value) {
      if (low.mode == KIV_AVL_UNBOUNDED) return true;
      const int side = order(low.key, value);
      return side < 0 || (side == 0 && low.mode == KIV_AVL_INCLUDED);
    };
    const auto below_high = [=](const void *value) {
      if (high.mode == KIV_AVL_UNBOUNDED) return true;
      const int side = order(high.key, value);
      return side > 0 || (side == 0 && high.mode == KIV_AVL_INCLUDED);
    };
    const auto walk_from = [=](auto begins, auto goes_on) {
      Walker<kReverse> walker;
      bool wanted = true;
      walker.enter_from(root, begins);
      walker.run([&](void *value) { return goes_on(value) && (wanted = function(value, context) != 0); });
      return wanted ? 1 : 0;
    };
    if constexpr (kReverse) {
      return walk_from(below_high, above_low);
    } else {
      return walk_from(above_low, below_high);
    }
  });
}

inline int interval_walk(const Tree *tree, Node *root, Bound low, Bound high, int reverse, KIV_AVL_WALK function,
                         void *context) {
  if (tree == nullptr) return 1;
  return reverse != 0 ? walk_between<true>(tree, root, low, high, function, context)
                      : walk_between<false>(tree, root, low, high, function, context);
}

inline uint32_t count(Node *root) {
  uint32_t nodes = 0;
  Walker<false> walker;
  walker.enter(root);
  walker.run([&nodes](void *) { return ++nodes, true; });
  return nodes;
}

}  // namespace kiv::avl

#endif
