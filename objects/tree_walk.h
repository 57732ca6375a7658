// A depth-first walk over everything that left and right links reach, in constant memory and without recursion.
//
// On the way down the link that is taken is turned round to lead back up, and put right on the way back; the mark of a
// node on the way tells which of its two links that is. Other nodes have a mark of the visitor's. Between operations
// every mark is 0, so that each walk that leaves other marks is followed by one that clears them.
//
// Cost: linear in the links. Source: H. Schorr and W. M. Waite, "An efficient machine-independent procedure for garbage
// collection in various list structures", 1967.
#ifndef KIV_OBJECTS_TREE_WALK_H
#define KIV_OBJECTS_TREE_WALK_H

#include "kiv_obj_tree.h"

namespace kiv::tree {

using Node = KIV_OBJ_TREE;

inline constexpr uint32_t kUnvisited = 0;
inline constexpr uint32_t kInRight = UINT32_MAX - 1;
inline constexpr uint32_t kInLeft = UINT32_MAX;

/// Whether the node is the one that the walk is at, or above that one.
inline bool is_on_the_way(const Node *node) { return node->visit_mark >= kInRight; }

inline Node *&link_on_the_way(Node *node) { return node->visit_mark == kInLeft ? node->left : node->right; }

/// A visitor has
///   bool is_new(const Node *)             whether the walk goes into a child; not into one that is on the way
///   void meet_again(Node *, Node *&link)  for a link to another child; it may change the link
///   uint32_t leave(Node *)                the mark of a node whose links are done; it makes the node an old one
/// A node is left after its left side, and that before its right side.
template <typename Visitor>
void walk(Node *root, Visitor visitor) {
  Node *up = nullptr;
  Node *node = root;
  node->visit_mark = kInLeft;
  for (;;) {
    Node *&link = link_on_the_way(node);
    Node *child = link;
    if (child != nullptr && visitor.is_new(child)) {
      link = up;
      up = node;
      node = child;
      node->visit_mark = kInLeft;
      continue;
    }
    if (child != nullptr) visitor.meet_again(node, link);
    while (node->visit_mark == kInRight) {
      node->visit_mark = visitor.leave(node);
      if (up == nullptr) return;
      Node *&turned = link_on_the_way(up);
      Node *above = turned;
      turned = node;
      node = up;
      up = above;
    }
    node->visit_mark = kInRight;
  }
}

/// Ends a walk that has left marks other than 0.
struct ClearMarks {
  static bool is_new(const Node *node) { return node->visit_mark != kUnvisited && !is_on_the_way(node); }
  static void meet_again(Node *, Node *&) {}
  static uint32_t leave(Node *) { return kUnvisited; }
};

}  // namespace kiv::tree

#endif
