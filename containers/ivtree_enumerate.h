// The search of an interval tree for the intervals that meet a range: depth first, each node before its subtrees, the
// left one before the right one.
//
// A subtree is left out only when nothing in it can be reported, whatever its bounds are; there are two reasons.
//  - All low bounds in it lie above the range: it is the right subtree of a node whose low bound does.
//  - All high bounds in it lie below the range. That is enough for a left subtree. In a right one an interval with its
//    bounds in reverse could still be met at its low bound; not, though, when the low bounds lie below the range as
//    well, because that of the nearest ancestor which has the subtree on its left does.
// For intervals and ranges with low <= high, every subtree that is entered then holds an interval to be reported, or
// lies on the way down to one of the range's bounds.
#ifndef KIV_CONTAINERS_IVTREE_ENUMERATE_H
#define KIV_CONTAINERS_IVTREE_ENUMERATE_H

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/record_layout.h"
#include "containers/ivtree_engine.h"

namespace kiv::ivtree {

/// The entries lie on one path, of the nodes below which a left child has been entered, and the present node on top.
struct Entry {
  Node *node;
  uint32_t from;     ///< index of the entry that it came from: its nearest ancestor on whose left it is; kNone for none
  uint32_t visited;  ///< 1: it has been reported, and its left subtree has been searched or is being searched
};
KIV_LAYOUT_32(sizeof(Entry) == 12);

inline constexpr uint32_t kNone = UINT32_MAX;

/// An array of entries that grows threefold; the first ones are its own. The height of a balanced tree is below
/// their number.
class Stack {
 public:
  explicit Stack(KIV_ALLOCATOR *allocator) : allocator_(allocator) {}
  Stack(const Stack &) = delete;
  Stack &operator=(const Stack &) = delete;
  ~Stack() {
    if (entries_ != own_) allocator_->free(allocator_, entries_);
  }

  Entry &operator[](uint32_t index) { return entries_[index]; }

  /// Makes room for one more than `count` entries. False without memory: all is as before.
  bool reserve_above(uint32_t count) { return count < capacity_ || grow(); }

 private:
  static constexpr uint32_t kOwn = 128;

  [[gnu::noinline]] bool grow() {
    constexpr uint32_t kMost = UINT32_MAX / (3 * sizeof(Entry));
    if (allocator_ == nullptr || capacity_ > kMost) return false;
    const uint32_t capacity = 3 * capacity_;
    const auto size = static_cast<uint32_t>(capacity * sizeof(Entry));
    const bool first = entries_ == own_;
    void *block = first ? allocator_->alloc(allocator_, size) : allocator_->realloc(allocator_, entries_, size);
    if (block == nullptr) return false;
    if (first) std::memcpy(block, own_, sizeof own_);
    entries_ = static_cast<Entry *>(block);
    capacity_ = capacity;
    return true;
  }

  KIV_ALLOCATOR *allocator_;
  Entry *entries_ = own_;
  uint32_t capacity_ = kOwn;
  Entry own_[kOwn];
};

/// Calls report(node) until it gives false. False only without memory for the stack.
template <class Report>
bool enumerate_overlapping(Tree *tree, KIV_ALLOCATOR *allocator, uint64_t low, uint64_t high, Report report) {
  const Node *nil = &tree->nil;
  if (root_of(tree) == nil) return true;
  const uint64_t last = std::max(low, high);  // no interval with a greater low bound is reported
  Stack stack(allocator);
  stack[0] = {root_of(tree), kNone, 0};
  uint32_t present = 0;
  for (;;) {
    Entry &entry = stack[present];
    Node *node = entry.node;
    if (entry.visited == 0) {
      __builtin_prefetch(node->right);
      entry.visited = 1;
      const bool meets = node->low < low ? low <= node->high : node->low <= high;
      if (meets && !report(node)) return true;
      if (node->left != nil && node->left->max >= low) {
        if (!stack.reserve_above(present + 1)) return false;
        stack[present + 1] = {node->left, present, 0};
        ++present;
        continue;
      }
    }
    const bool goes_right = node->low <= last && node->right != nil &&
                            (node->right->max >= low || entry.from == kNone || stack[entry.from].node->low >= low);
    if (goes_right) {
      entry.node = node->right;
      entry.visited = 0;
    } else if (entry.from == kNone) {
      return true;
    } else {
      present = entry.from;
    }
  }
}

}  // namespace kiv::ivtree

#endif
