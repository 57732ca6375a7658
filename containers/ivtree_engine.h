// Interval trees: red-black trees of closed intervals in which every node knows the largest high bound of its subtree.
// Source: Cormen, Leiserson, Rivest, Stein, "Introduction to Algorithms", chapters 13 (insertion and deletion with
// their repairs) and 14 (the maxima).
//
// Invariants of a tree (containers/ivtree_check.h verifies them):
//  1. Walking left, node, right gives ascending low bounds, and equal ones in the order of their insertion.
//  2. The root is black, no red node has a red child, and every path down to nil has the same number of black nodes.
//  3. max(node) = the largest of its high, max(left) and max(right); nil counts 0.
//  4. A child's parent link leads back. The header is the root's parent, and the root the header's left child.
//  5. nil is black, its bounds and its max are 0, and it is its own child. Its parent is scratch: a removal notes there
//     whose child the nil is that it begins its repair from.
//
// From 2, a tree of n nodes has a height of at most 2 log2(n + 1).
//
// A tree keeps 3 while it climbs as little as it can. Going up, max never falls. So a new high bound has nothing to
// change above a node that has it or a greater one. And a high bound that is taken away was nobody's max above a node
// with a greater one; nor is anything changed above a node that still has the same max from elsewhere.
#ifndef KIV_CONTAINERS_IVTREE_ENGINE_H
#define KIV_CONTAINERS_IVTREE_ENGINE_H

#include <algorithm>
#include <cstdint>
#include <utility>

#include "kiv_ivtree.h"

namespace kiv::ivtree {

using Tree = KIV_IVTREE;
using Node = KIV_IVTREE_NODE;
using Link = Node *Node::*;

inline constexpr uint32_t kBlack = KIV_IVTREE_BLACK;
inline constexpr uint32_t kRed = KIV_IVTREE_RED;

inline Node *&root_of(Tree *tree) { return tree->header.left; }

inline uint64_t max_of(const Node *node) { return std::max({node->high, node->left->max, node->right->max}); }

inline void make_empty(Tree *tree) {
  Node *nil = &tree->nil;
  const auto fill = [=](Node *node, uint64_t bound, uint32_t color) {
    node->left = node->right = node->parent = nil;
    node->color = color;
    node->low = node->high = node->max = bound;
    node->owner = tree;
  };
  fill(&tree->header, UINT64_MAX, kBlack);
  fill(nil, 0, kBlack);
}

// --- Order -----------------------------------------------------------------------------------------------------------

inline Node *leftmost(const Tree *tree, Node *node) {
  while (node->left != &tree->nil) node = node->left;
  return node;
}

/// The next node in order; the header after the last one.
inline Node *successor(const Tree *tree, Node *node) {
  if (node->right != &tree->nil) return leftmost(tree, node->right);
  while (node != node->parent->left) node = node->parent;
  return node->parent;
}

// --- Balance: kNear and kFar are left and right, or right and left ---------------------------------------------------

inline void replace_child(Node *child, Node *by) {
  Node *parent = child->parent;
  (parent->left == child ? parent->left : parent->right) = by;
}

/// Puts the child on the far side in its parent's place, and the parent below it on the near side.
template <Link kNear, Link kFar>
void rotate(const Tree *tree, Node *down) {
  Node *up = down->*kFar;
  Node *between = up->*kNear;
  down->*kFar = between;
  if (between != &tree->nil) between->parent = down;
  replace_child(down, up);
  up->parent = down->parent;
  up->*kNear = down;
  down->parent = up;
  up->max = down->max;  // it has the same nodes below it now, itself included
  down->max = max_of(down);
}

/// Repairs a red node below a red parent, which is the near child of its own parent. Returns the node at which the same
/// may be wrong now.
template <Link kNear, Link kFar>
Node *resolve_red_pair(const Tree *tree, Node *node) {
  Node *parent = node->parent;
  Node *grandparent = parent->parent;
  Node *uncle = grandparent->*kFar;
  grandparent->color = kRed;
  if (uncle->color == kRed) {
    parent->color = uncle->color = kBlack;
    return grandparent;
  }
  if (node == parent->*kFar) {
    rotate<kNear, kFar>(tree, parent);
    std::swap(node, parent);
  }
  parent->color = kBlack;
  rotate<kFar, kNear>(tree, grandparent);
  return node;
}

/// Repairs paths through node that have a black node too few; node is its parent's near child. Returns the node of
/// which that is still true, or the root.
template <Link kNear, Link kFar>
Node *resolve_missing_black(Tree *tree, Node *node) {
  Node *parent = node->parent;
  Node *sibling = parent->*kFar;
  if (sibling->color == kRed) {
    sibling->color = kBlack;
    parent->color = kRed;
    rotate<kNear, kFar>(tree, parent);
    sibling = parent->*kFar;
  }
  if ((sibling->left->color | sibling->right->color) == kBlack) {
    sibling->color = kRed;
    return parent;
  }
  if ((sibling->*kFar)->color == kBlack) {
    (sibling->*kNear)->color = kBlack;
    sibling->color = kRed;
    rotate<kFar, kNear>(tree, sibling);
    sibling = parent->*kFar;
  }
  sibling->color = parent->color;
  parent->color = (sibling->*kFar)->color = kBlack;
  rotate<kNear, kFar>(tree, parent);
  return root_of(tree);
}

// --- Insert and remove -----------------------------------------------------------------------------------------------

inline void insert(Tree *tree, Node *node, uint64_t low, uint64_t high) {
  Node *parent = &tree->header;
  Link side = &Node::left;
  for (Node *next = root_of(tree); next != &tree->nil; next = next->*side) {
    __builtin_prefetch(next->left);
    __builtin_prefetch(next->right);
    parent = next;
    side = next->low <= low ? &Node::right : &Node::left;
  }
  parent->*side = node;
  node->left = node->right = &tree->nil;
  node->parent = parent;
  node->color = kRed;
  node->low = low;
  node->high = node->max = high;
  node->owner = tree;
  // The header's bounds are all ones: it ends the climb.
  for (Node *above = parent; above->max < high; above = above->parent) above->max = high;

  while (node->parent->color == kRed) {
    const bool left = node->parent == node->parent->parent->left;
    node = left ? resolve_red_pair<&Node::left, &Node::right>(tree, node)
                : resolve_red_pair<&Node::right, &Node::left>(tree, node);
  }
  root_of(tree)->color = kBlack;
}

/// Corrects the maxima from node up to below end after the interval that ends at high has gone from beneath.
inline void forget_high(Node *node, const Node *end, uint64_t high) {
  for (; node != end && node->max == high; node = node->parent) {
    const uint64_t max = max_of(node);
    if (max == high) return;
    node->max = max;
  }
}

/// Takes node out of the tree. No other node's address changes: where node has two children its successor is put in its
/// place.
inline void remove(Tree *tree, Node *node) {
  const Node *nil = &tree->nil;
  Node *spliced = node->left == nil || node->right == nil ? node : leftmost(tree, node->right);
  Node *child = spliced->left != nil ? spliced->left : spliced->right;
  replace_child(spliced, child);
  child->parent = spliced->parent;
  const uint32_t color = spliced->color;
  if (spliced == node) {
    forget_high(node->parent, &tree->header, node->high);
  } else {
    forget_high(spliced->parent, node, spliced->high);
    spliced->left = node->left;
    spliced->right = node->right;
    spliced->parent = node->parent;
    spliced->color = node->color;
    // Also when one is nil, because spliced was the right child: that nil is where the repair begins.
    spliced->left->parent = spliced->right->parent = spliced;
    replace_child(node, spliced);
    spliced->max = max_of(spliced);
    forget_high(spliced->parent, &tree->header, node->high);
  }
  if (color == kRed) return;
  while (child != root_of(tree) && child->color == kBlack) {
    const bool left = child == child->parent->left;
    child = left ? resolve_missing_black<&Node::left, &Node::right>(tree, child)
                 : resolve_missing_black<&Node::right, &Node::left>(tree, child);
  }
  child->color = kBlack;
}

}  // namespace kiv::ivtree

#endif
