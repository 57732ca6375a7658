// The deletion of a tree: in linear time, in constant memory, without recursion.
//
// First, links that lead to a node a second time are cut and marks are cleared. What is left is a tree, and no walk is
// under way when the first value is released: a value may be a tree itself, even one that shares nodes with this one.
// Then a node is taken apart. Whatever is its own and a node as well, a child or a value, is taken apart before it goes
// on, with the parent link as the way back.
//
// Invariants of the second part:
//  1. From the node in hand, parent links lead up to the root, whose parent link is null. All these have 0 extra_refs.
//  2. What a node on this way has given up is null in it; the rest below it is a tree with marks of 0.
#include "objects/tree_delete.h"

#include <utility>

#include "objects/object.h"
#include "objects/tree_walk.h"

namespace kiv::tree {
namespace {

/// Leaves nodes marked with 1.
struct CutLinksToVisited {
  static bool is_new(const Node *node) { return node->visit_mark == kUnvisited; }
  static void meet_again(Node *node, Node *&link) {
    Node *child = link;
    link = nullptr;
    if (child->parent == node && node->left != child && node->right != child) child->parent = nullptr;
  }
  static uint32_t leave(Node *) { return 1; }
};

void cut_to_tree(Node *root) {
  walk(root, CutLinksToVisited());
  walk(root, ClearMarks());
}

/// A node that ends when it is released, and so can be taken apart instead.
bool ends_here(const KIV_OBJ *object) { return object->extra_refs == 0 && object->type->del == delete_tree; }

/// Gives up a child or the value; the result is a node to be taken apart, or null when the part is released.
Node *give_up(Node *node, KIV_OBJ *part) {
  if (!ends_here(part)) {
    object::release(part);
    return nullptr;
  }
  auto *below = reinterpret_cast<Node *>(part);
  below->parent = node;
  return below;
}

Node *give_up_value(Node *node) {
  KIV_OBJ *value = std::exchange(node->value, nullptr);
  if (ends_here(value)) cut_to_tree(reinterpret_cast<Node *>(value));
  return give_up(node, value);
}

Node *give_up_child(Node *node, Node *&link) {
  Node *child = std::exchange(link, nullptr);
  if (child->parent == node) child->parent = nullptr;
  return give_up(node, &child->header);
}

}  // namespace

void delete_tree(KIV_OBJ *object) {
  auto *node = reinterpret_cast<Node *>(object);
  cut_to_tree(node);
  node->parent = nullptr;
  for (;;) {
    Node *next = nullptr;
    if (node->value != nullptr) {
      next = give_up_value(node);
    } else if (node->left != nullptr) {
      next = give_up_child(node, node->left);
    } else if (node->right != nullptr) {
      next = give_up_child(node, node->right);
    } else {
      next = std::exchange(node->parent, nullptr);
      object::free_storage(&node->header);
      if (next == nullptr) return;
    }
    if (next != nullptr) node = next;
  }
}

}  // namespace kiv::tree
