// Verifies the invariants of an interval tree; for tests, and for a debugger's user in doubt.
#ifndef KIV_CONTAINERS_IVTREE_CHECK_H
#define KIV_CONTAINERS_IVTREE_CHECK_H

#include "containers/ivtree_engine.h"

namespace kiv::ivtree {

/// What is wrong with a tree, or null. The numbers are those of the invariants in ivtree_engine.h. Of equal low bounds
/// it cannot know in which order they were inserted.
class Checker {
 public:
  const char *check(Tree *tree) {
    tree_ = tree;
    previous_ = nullptr;
    problem_ = nullptr;
    const Node &header = tree->header, &nil = tree->nil;
    if (nil.left != &nil || nil.right != &nil || nil.color != kBlack || (nil.low | nil.high | nil.max) != 0) {
      problem_ = "5: nil was written to";
    }
    if (header.right != &nil || header.parent != &nil || header.color != kBlack) problem_ = "4: header was written to";
    if ((header.low & header.high & header.max) != UINT64_MAX) problem_ = "header's bounds were written to";
    if (header.owner != tree || nil.owner != tree) problem_ = "another owner";
    if (header.left->color != kBlack) problem_ = "2: red root";
    visit(header.left, &header);
    return problem_;
  }

 private:
  /// The number of black nodes on a path down from node.
  int visit(const Node *node, const Node *parent) {
    if (node == &tree_->nil) return 0;
    if (node->parent != parent) problem_ = "4: wrong parent";
    if (node->owner != tree_) problem_ = "another owner";
    const int left = visit(node->left, node);
    if (previous_ != nullptr && previous_->low > node->low) problem_ = "1: low bounds out of order";
    previous_ = node;
    const int right = visit(node->right, node);
    if (left != right) problem_ = "2: unequal numbers of black nodes";
    if (node->color != kBlack && node->color != kRed) problem_ = "2: no color";
    if (node->color == kRed && parent->color == kRed) problem_ = "2: red below red";
    if (node->max != max_of(node)) problem_ = "3: wrong max";
    return left + (node->color == kBlack ? 1 : 0);
  }

  const Tree *tree_ = nullptr;
  const Node *previous_ = nullptr;
  const char *problem_ = nullptr;
};

}  // namespace kiv::ivtree

#endif
