// Nodes of binary trees: making, links, height.

#include "kiv_obj_tree.h"

#include <algorithm>
#include <utility>

#include "base/alias.h"
#include "base/record_layout.h"
#include "kiv_obj_hashtable.h"
#include "objects/object.h"
#include "objects/tree_delete.h"
#include "objects/tree_walk.h"

KIV_LAYOUT_32(sizeof(KIV_OBJ_TREE) == 40);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TREE, visit_mark) == 16);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TREE, value) == 20);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TREE, parent) == 24);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TREE, left) == 32 && offsetof(KIV_OBJ_HASHTABLE, count) == 32);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TREE, right) == 36);

namespace kiv::tree {
namespace {

// Not constant: obj_tree_del_non_recursive exchanges the last operation.
constinit KIV_OBJ_TYPE type = {
    KIV_OBJ_KIND_TREE, sizeof(Node), obj_to_char_s_default, obj_to_number_default, obj_copy_default,
    obj_cmp_default,   delete_tree};

/// Null stays null.
Node *node_of(KIV_OBJ *object) { return reinterpret_cast<Node *>(object); }
const Node *node_of(const KIV_OBJ *object) { return reinterpret_cast<const Node *>(object); }
KIV_OBJ *object_of(Node *node) { return reinterpret_cast<KIV_OBJ *>(node); }

void set_link(Node *node, Node *Node::*link, KIV_OBJ *child) {
  if (node == nullptr) return;
  node->*link = node_of(child);
  if (child != nullptr) node_of(child)->parent = node;
}

KIV_OBJ *get_link(const KIV_OBJ *node, Node *Node::*link) {
  return node != nullptr ? object_of(node_of(node)->*link) : nullptr;
}

/// The del of the kind while obj_tree_del_non_recursive is at work. The value may be a tree, which ends as always: the
/// descriptor is put right before it is released.
void delete_node_only(KIV_OBJ *object) {
  type.del = delete_tree;
  object::release(std::exchange(node_of(object)->value, nullptr));
  object::free_storage(object);
}

/// Leaves nodes marked with their heights. A node that is met again has its height already, or is on the way.
struct MeasureHeights {
  static bool is_new(const Node *node) { return node->visit_mark == kUnvisited; }
  static void meet_again(Node *, Node *&) {}
  static uint32_t leave(const Node *node) { return 1 + std::max(height(node->left), height(node->right)); }
  static uint32_t height(const Node *child) { return child == nullptr || is_on_the_way(child) ? 0 : child->visit_mark; }
};

}  // namespace
}  // namespace kiv::tree

namespace tree = kiv::tree;

KIV_OBJ *obj_tree_new(KIV_ALLOCATOR *allocator, KIV_OBJ *value) {
  auto *node = kiv::object::allocate<tree::Node>(allocator, tree::type);
  if (node != nullptr) node->value = value;
  return tree::object_of(node);
}

KIV_OBJ *obj_tree_new_set_left_right(KIV_ALLOCATOR *allocator, KIV_OBJ *value, KIV_OBJ *left, KIV_OBJ *right) {
  KIV_OBJ *node = obj_tree_new(allocator, value);
  obj_tree_set_left_right(node, left, right);
  return node;
}

void obj_tree_del_non_recursive(KIV_OBJ *node) {
  tree::type.del = tree::delete_node_only;
  kiv::object::release(node);
  tree::type.del = tree::delete_tree;
}

void obj_tree_set(KIV_OBJ *node, KIV_OBJ *value) {
  if (node != nullptr) tree::node_of(node)->value = value;
}

void obj_tree_set_left(KIV_OBJ *node, KIV_OBJ *left) { tree::set_link(tree::node_of(node), &tree::Node::left, left); }

void obj_tree_set_right(KIV_OBJ *node, KIV_OBJ *right) {
  tree::set_link(tree::node_of(node), &tree::Node::right, right);
}

void obj_tree_set_left_right(KIV_OBJ *node, KIV_OBJ *left, KIV_OBJ *right) {
  obj_tree_set_left(node, left);
  obj_tree_set_right(node, right);
}

void obj_tree_set_parent(KIV_OBJ *node, KIV_OBJ *parent) {
  if (node != nullptr) tree::node_of(node)->parent = tree::node_of(parent);
}

KIV_OBJ *obj_tree_get(const KIV_OBJ *node) { return node != nullptr ? tree::node_of(node)->value : nullptr; }
KIV_OBJ *obj_tree_get_left(const KIV_OBJ *node) { return tree::get_link(node, &tree::Node::left); }
KIV_ALIAS_32(
    obj_hashtable_size, obj_tree_get_left, uint32_t obj_hashtable_size(const KIV_OBJ *table) {
      return table != nullptr ? reinterpret_cast<const KIV_OBJ_HASHTABLE *>(table)->count : 0;
    });
KIV_OBJ *obj_tree_get_right(const KIV_OBJ *node) { return tree::get_link(node, &tree::Node::right); }
KIV_OBJ *obj_tree_get_parent(const KIV_OBJ *node) { return tree::get_link(node, &tree::Node::parent); }

uint32_t obj_tree_height(KIV_OBJ *node) {
  if (node == nullptr) return 0;
  tree::Node *root = tree::node_of(node);
  tree::walk(root, tree::MeasureHeights());
  const uint32_t height = root->visit_mark;
  tree::walk(root, tree::ClearMarks());
  return height;
}
