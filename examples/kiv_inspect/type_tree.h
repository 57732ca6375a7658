// The tree of types as a tree of objects, to be drawn and walked by kiv_obj_tree.h.
//
// Its nodes have two links, and a scope has any number of types. So the types in a scope hang below it in halves: the
// first half on the left, the second on the right. A half of several is a node of its own, which is named after the
// first and the last of them and has halves again. Of n types in a scope, each is about log2(n) steps away.
#ifndef KIV_INSPECT_TYPE_TREE_H
#define KIV_INSPECT_TYPE_TREE_H

#include "examples/kiv_inspect/type_table.h"
#include "kiv_obj_tree.h"

namespace kiv::inspect {

/// Owns the tree. The values of its nodes are labels of type_label.h.
class TypeTree {
 public:
  /// REQUIRES: errors and allocator outlive this.
  TypeTree(const Errors &errors, KIV_ALLOCATOR *allocator) : errors_(errors), allocator_(allocator) {}
  ~TypeTree() { obj_tree_del(root_); }
  TypeTree(const TypeTree &) = delete;
  TypeTree &operator=(const TypeTree &) = delete;

  /// Builds the tree below a node of the table, which outlives this; once. Enumerators keep their order, all others
  /// come in the order of their names' bytes.
  Status build(const TypeTable &table, const TypeNode &top);

  /// The top; null before build().
  KIV_OBJ *root() const { return root_; }

  /// Tells afterwards when there was no memory for a label. A drawing has "[?]" in its place.
  Status labels() const { return label_failed_ ? errors_.out_of_memory() : Status{}; }

 private:
  class Builder;

  const Errors &errors_;
  KIV_ALLOCATOR *allocator_;
  KIV_OBJ *root_ = nullptr;
  bool label_failed_ = false;
};

}  // namespace kiv::inspect

#endif
