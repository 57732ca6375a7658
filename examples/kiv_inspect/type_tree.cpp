#include "examples/kiv_inspect/type_tree.h"

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/pointer_vector.h"
#include "examples/kiv_inspect/type_label.h"
#include "kiv_obj_vector.h"

namespace kiv::inspect {
namespace {

/// What is in one scope together, scopes in the order of the table.
int by_place(const void *left, const void *right) {
  const auto &a = *static_cast<const TypeNode *>(left), &b = *static_cast<const TypeNode *>(right);
  if (a.around != b.around) return compare(a.around->number, b.around->number);
  const bool is_enumerator = a.kind == TypeKind::enumerator;
  if (is_enumerator != (b.kind == TypeKind::enumerator)) return is_enumerator ? -1 : 1;
  const int name = is_enumerator ? 0 : a.name.compare(b.name);
  return name != 0 ? name : compare(a.number, b.number);
}

}  // namespace

// Every node hangs in the tree as soon as it is made, so that the tree owns it whatever happens next. A scope comes
// before what is in it, in the table and therefore here.
class TypeTree::Builder {
 public:
  Builder(TypeTree &tree, uint32_t count)
      : tree_(tree),
        sorted_(tree.allocator_, by_place),
        nodes_(static_cast<KIV_OBJ **>(tree.allocator_->calloc(tree.allocator_, count, sizeof(KIV_OBJ *)))) {}
  ~Builder() { tree_.allocator_->free(tree_.allocator_, nodes_); }
  Builder(const Builder &) = delete;
  Builder &operator=(const Builder &) = delete;

  /// False without memory, as all others here.
  bool run(const TypeTable &table, const TypeNode &top) {
    for (const TypeNode *node = table.program()->next; node != nullptr; node = node->next) {
      if (!sorted_.append(*node)) return false;
    }
    sorted_.sort();
    tree_.root_ = new_node(top, top);
    if (nodes_ == nullptr || tree_.root_ == nullptr) return false;
    nodes_[top.number] = tree_.root_;
    for (uint32_t first = 0, end; first < sorted_.count(); first = end) {
      const TypeNode *around = sorted_[first].around;
      for (end = first + 1; end < sorted_.count() && sorted_[end].around == around;) ++end;
      KIV_OBJ *node = nodes_[around->number];
      if (node != nullptr && !put_below(node, first, end)) return false;
    }
    return true;
  }

 private:
  KIV_OBJ *new_node(const TypeNode &first, const TypeNode &last) {
    KIV_OBJ *label = new_type_label(tree_.allocator_, first, last, &tree_.label_failed_);
    KIV_OBJ *node = label != nullptr ? obj_tree_new(tree_.allocator_, label) : nullptr;
    if (node == nullptr) obj_vector_del(label);
    return node;
  }

  /// The first half is not the smaller one. As deep as the logarithm of the count.
  bool put_below(KIV_OBJ *node, uint32_t first, uint32_t end) {
    const uint32_t middle = first + (end - first + 1) / 2;
    return put(node, obj_tree_set_left, first, middle) && (middle == end || put(node, obj_tree_set_right, middle, end));
  }

  bool put(KIV_OBJ *above, void (*set_link)(KIV_OBJ *, KIV_OBJ *), uint32_t first, uint32_t end) {
    KIV_OBJ *node = new_node(sorted_[first], sorted_[end - 1]);
    if (node == nullptr) return false;
    set_link(above, node);
    if (end - first > 1) return put_below(node, first, end);
    nodes_[sorted_[first].number] = node;
    return true;
  }

  TypeTree &tree_;
  PointerVector<TypeNode> sorted_;
  KIV_OBJ **nodes_;  // by number; null: not in the tree
};

Status TypeTree::build(const TypeTable &table, const TypeNode &top) {
  return Builder(*this, table.count()).run(table, top) ? Status{} : errors_.out_of_memory();
}

}  // namespace kiv::inspect
