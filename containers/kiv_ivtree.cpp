#include "kiv_ivtree.h"

#include "base/record_layout.h"
#include "containers/ivtree_engine.h"
#include "containers/ivtree_enumerate.h"

namespace ivtree = kiv::ivtree;

KIV_LAYOUT_32(sizeof(KIV_IVTREE_NODE) == 48 && offsetof(KIV_IVTREE_NODE, parent) == 8);
KIV_LAYOUT_32(offsetof(KIV_IVTREE_NODE, color) == 12 && offsetof(KIV_IVTREE_NODE, low) == 16);
KIV_LAYOUT_32(offsetof(KIV_IVTREE_NODE, high) == 24 && offsetof(KIV_IVTREE_NODE, max) == 32);
KIV_LAYOUT_32(offsetof(KIV_IVTREE_NODE, owner) == 40 && offsetof(KIV_IVTREE_NODE, user_data) == 44);
KIV_LAYOUT_32(sizeof(KIV_IVTREE) == 104 && offsetof(KIV_IVTREE, nil) == 48);
KIV_LAYOUT_32(offsetof(KIV_IVTREE, allocator) == 96 && offsetof(KIV_IVTREE, user_data) == 100);

namespace {

void free_node(KIV_IVTREE *tree, KIV_IVTREE_NODE *node) { tree->allocator->free(tree->allocator, node); }

/// The first node of a subtree when children come before their parents, left ones first.
KIV_IVTREE_NODE *first_of_children_first(const KIV_IVTREE *tree, KIV_IVTREE_NODE *node) {
  for (;;) {
    node = ivtree::leftmost(tree, node);
    if (node->right == &tree->nil) return node;
    node = node->right;
  }
}

/// Frees all nodes, in the order above. Of a freed node only the address is used again.
void free_all_nodes(KIV_IVTREE *tree) {
  KIV_IVTREE_NODE *node = first_of_children_first(tree, &tree->header);
  while (node != &tree->header) {
    KIV_IVTREE_NODE *parent = node->parent;
    const bool sibling_follows = node == parent->left && parent->right != &tree->nil;
    free_node(tree, node);
    node = sibling_follows ? first_of_children_first(tree, parent->right) : parent;
  }
}

}  // namespace

KIV_IVTREE *kiv_ivtree_new(KIV_IVTREE *storage, KIV_ALLOCATOR *allocator) {
  KIV_IVTREE *tree =
      allocator != nullptr ? static_cast<KIV_IVTREE *>(allocator->alloc(allocator, sizeof(KIV_IVTREE))) : storage;
  if (tree == nullptr) return nullptr;
  ivtree::make_empty(tree);
  tree->allocator = allocator;
  return allocator != nullptr ? tree : nullptr;
}

void *kiv_ivtree_delete(KIV_IVTREE *tree) {
  if (tree == nullptr || tree->allocator == nullptr) return nullptr;
  free_all_nodes(tree);
  tree->allocator->free(tree->allocator, tree);
  return nullptr;
}

KIV_IVTREE_NODE *kiv_ivtree_get_root_node(KIV_IVTREE *tree) {
  if (tree == nullptr || ivtree::root_of(tree) == &tree->nil) return nullptr;
  return ivtree::root_of(tree);
}

// The result is what the call has allocated, not what it has inserted: callers tell by it whose the node is.
KIV_IVTREE_NODE *kiv_ivtree_insert_node(KIV_IVTREE *tree, KIV_IVTREE_NODE *storage, uint64_t low, uint64_t high) {
  if (tree == nullptr) return nullptr;
  KIV_IVTREE_NODE *allocated = nullptr;
  if (storage == nullptr) {
    if (tree->allocator == nullptr) return nullptr;
    allocated = static_cast<KIV_IVTREE_NODE *>(tree->allocator->alloc(tree->allocator, sizeof(KIV_IVTREE_NODE)));
    if (allocated == nullptr) return nullptr;
  }
  ivtree::insert(tree, storage != nullptr ? storage : allocated, low, high);
  return allocated;
}

void kiv_ivtree_remove_node(KIV_IVTREE *tree, KIV_IVTREE_NODE *node) {
  if (tree == nullptr || node == nullptr) return;
  ivtree::remove(tree, node);
  if (tree->allocator != nullptr) free_node(tree, node);
}

void kiv_ivtree_conditional_sequential_walk_and_remove(KIV_IVTREE *tree, KIV_IVTREE_WALK callback, void *context) {
  if (tree == nullptr) return;
  KIV_IVTREE_NODE *node = ivtree::leftmost(tree, &tree->header);
  while (node != &tree->header) {
    KIV_IVTREE_NODE *next = ivtree::successor(tree, node);
    if (callback == nullptr || callback(tree, node, context) != 0) kiv_ivtree_remove_node(tree, node);
    node = next;
  }
}

int kiv_ivtree_enumerate_overlapping(KIV_IVTREE *tree, KIV_ALLOCATOR *allocator, uint64_t low, uint64_t high,
                                     KIV_IVTREE_ENUMERATE callback, void *context) {
  if (tree == nullptr) return 0;
  const auto report = [=](KIV_IVTREE_NODE *node) { return callback(tree, node, context) != 0; };
  return ivtree::enumerate_overlapping(tree, allocator, low, high, report) ? 0 : 1;
}
