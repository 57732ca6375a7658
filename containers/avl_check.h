// Verifies the invariants of an AVL tree; for tests, and for a debugger's user in doubt.
#ifndef KIV_CONTAINERS_AVL_CHECK_H
#define KIV_CONTAINERS_AVL_CHECK_H

#include <algorithm>

#include "kiv_avl.h"

namespace kiv::avl {

/// What is wrong with the tree at root, or null. The numbers are those of the invariants in avl_engine.h.
class Checker {
 public:
  explicit Checker(const KIV_AVL_TREE *tree) : tree_(tree) {}

  const char *check(const KIV_AVL_NODE *root) {
    previous_ = nullptr;
    visit(root);
    return problem_;
  }

 private:
  int order(const void *key, const void *value) const {
    return tree_->compare != nullptr ? tree_->compare(key, value)
                                     : tree_->compare_with_context(key, value, tree_->compare_context);
  }

  /// The height of the subtree.
  int visit(const KIV_AVL_NODE *node) {
    if (node == nullptr) return 0;
    const int left = visit(node->left);
    if (previous_ != nullptr && order(previous_->value, node->value) >= 0) problem_ = "1: values out of order";
    previous_ = node;
    const int right = visit(node->right);
    const int height = std::max(left, right) + 1;
    if (node->height != height) problem_ = "2: wrong height";
    if (left > right + 1 || right > left + 1) problem_ = "3: out of balance";
    return height;
  }

  const KIV_AVL_TREE *tree_;
  const KIV_AVL_NODE *previous_ = nullptr;
  const char *problem_ = nullptr;
};

}  // namespace kiv::avl

#endif
