// The exported tree operations: a plain tree's are the engine's on the record's own root.

#include "kiv_avl.h"

#include <cstring>

#include "base/alias.h"
#include "base/record_layout.h"
#include "containers/avl_engine.h"
#include "kiv_string_array.h"

namespace avl = kiv::avl;
namespace os = kiv::os;

KIV_LAYOUT_32(sizeof(KIV_AVL_NODE) == 16);
KIV_LAYOUT_32(offsetof(KIV_AVL_NODE, height) == 8 && offsetof(KIV_AVL_NODE, value) == 12);
KIV_LAYOUT_32(sizeof(KIV_AVL_TREE) == 68);
KIV_LAYOUT_32(offsetof(KIV_AVL_TREE, nodes_allocated) == 24);
KIV_LAYOUT_32(offsetof(KIV_AVL_TREE, node_alloc) == 36);
KIV_LAYOUT_32(offsetof(KIV_AVL_TREE, record_is_custom) == 52);
KIV_LAYOUT_32(offsetof(KIV_AVL_TREE, fix_linkage) == 64);

namespace {

avl::Node **root_link(KIV_AVL_TREE *tree) { return tree != nullptr ? &tree->root : nullptr; }
avl::Node *root_of(const KIV_AVL_TREE *tree) { return tree != nullptr ? tree->root : nullptr; }

KIV_AVL_TREE *new_on_heap(KIV_AVL_RELEASE release, void *release_context) {
  auto *tree = static_cast<KIV_AVL_TREE *>(os::heap_calloc(1, sizeof(KIV_AVL_TREE)));
  if (tree == nullptr) return nullptr;
  tree->release = release;
  tree->release_context = release_context;
  return tree;
}

// An allocator record's operations in the shape of a tree's: the record comes first there, the context last here.
void *alloc_from_record(void *allocator, uint32_t size) {
  auto *record = static_cast<KIV_ALLOCATOR *>(allocator);
  return record->alloc(record, size);
}

void free_to_record(void *block, void *allocator) {
  auto *record = static_cast<KIV_ALLOCATOR *>(allocator);
  record->free(record, block);
}

}  // namespace

KIV_AVL_TREE *kiv_avl_new(KIV_AVL_COMPARE compare, KIV_AVL_RELEASE release, void *release_context) {
  KIV_AVL_TREE *tree = new_on_heap(release, release_context);
  if (tree != nullptr) tree->compare = compare;
  return tree;
}

KIV_AVL_TREE *kiv_avl_new2(KIV_AVL_COMPARE_WITH_CONTEXT compare, void *compare_context, KIV_AVL_RELEASE release,
                           void *release_context) {
  KIV_AVL_TREE *tree = new_on_heap(release, release_context);
  if (tree == nullptr) return nullptr;
  tree->compare_with_context = compare;
  tree->compare_context = compare_context;
  return tree;
}

KIV_AVL_TREE *kiv_avl_new_using_allocator(KIV_AVL_COMPARE compare, KIV_AVL_RELEASE release, void *release_context,
                                          void *(*record_alloc)(void *context, uint32_t size),
                                          void *record_alloc_context, void (*record_free)(void *record, void *context),
                                          void *record_free_context) {
  auto *tree = static_cast<KIV_AVL_TREE *>(record_alloc(record_alloc_context, sizeof(KIV_AVL_TREE)));
  if (tree == nullptr) return nullptr;
  std::memset(tree, 0, sizeof *tree);
  tree->compare = compare;
  tree->release = release;
  tree->release_context = release_context;
  tree->record_is_custom = 1;
  tree->record_free = record_free;
  tree->record_free_context = record_free_context;
  return tree;
}

KIV_AVL_TREE *kiv_avl_new_using_KIV_ALLOCATOR(KIV_ALLOCATOR *allocator, KIV_AVL_COMPARE compare,
                                              KIV_AVL_RELEASE release, void *release_context) {
  KIV_AVL_TREE *tree = kiv_avl_new_using_allocator(compare, release, release_context, alloc_from_record, allocator,
                                                   free_to_record, allocator);
  // A new tree takes every allocator; without a tree there is nothing to undo.
  (void)kiv_avl_customize_allocator(tree, allocator, alloc_from_record, free_to_record, free_to_record, nullptr);
  return tree;
}

int kiv_avl_customize_allocator(KIV_AVL_TREE *tree, void *allocator_context, KIV_AVL_NODE_ALLOC node_alloc,
                                KIV_AVL_NODE_FREE node_free, KIV_AVL_NODE_FREE pool_release,
                                KIV_AVL_FINISH allocator_finish) {
  if (tree == nullptr || tree->nodes_allocated != 0) return 1;
  tree->allocator_context = allocator_context;
  tree->node_alloc = node_alloc;
  tree->node_free = node_free;
  tree->pool_release = pool_release;
  tree->allocator_finish = allocator_finish;
  return 0;
}

void kiv_avl_set_fix_linkage(KIV_AVL_TREE *tree, KIV_AVL_FIX_LINKAGE fix_linkage) {
  if (tree != nullptr) tree->fix_linkage = fix_linkage;
}

uint32_t kiv_avl_sizeof_node(void) { return sizeof(KIV_AVL_NODE); }

void kiv_avl_empty_tree(KIV_AVL_TREE *tree) { kiv_avl_shared_destroy_single_tree(tree, root_link(tree)); }

int kiv_avl_destroy_tree(KIV_AVL_TREE *tree) {
  if (tree == nullptr) return 0;
  if (!avl::nodes_end_with_record(tree)) kiv_avl_empty_tree(tree);
  avl::destroy_spare_nodes(tree);
  tree->root = nullptr;
  tree->free_nodes = nullptr;
  const KIV_AVL_TREE last = *tree;
  const auto finish = [&last] {
    if (last.allocator_finish != nullptr) last.allocator_finish(last.allocator_context);
  };
  if (last.record_is_custom != 0) {
    if (last.record_free != nullptr) last.record_free(tree, last.record_free_context);
    finish();
  } else {
    finish();
    os::heap_free(tree);
  }
  return 0;
}

int kiv_avl_add_tree_value_references_to_tree(KIV_AVL_TREE *source, KIV_AVL_TREE *target) {
  if (source == nullptr || target == nullptr) return 1;
  if (source->release != nullptr && target->release != nullptr) return 1;
  const auto insert_into = [](void *value, void *tree) {
    return kiv_avl_insert(static_cast<KIV_AVL_TREE *>(tree), value) == 0 ? 1 : 0;
  };
  return kiv_avl_conditional_sequential_walk(source, insert_into, target) != 0 ? 0 : 1;
}

int kiv_destroy_detached(KIV_AVL_TREE *tree, void *value) {
  if (tree != nullptr && value != nullptr) avl::release_value(tree, value);
  return 0;
}
KIV_ALIAS(kiv_shared_destroy_detached, kiv_destroy_detached);

KIV_AVL_NODE *kiv_avl_get_tree_root(KIV_AVL_TREE *tree) { return root_of(tree); }
// Both give the first word of a record, or 0 for none: here a pointer, there a count.
KIV_ALIAS_32(
    kiv_string_n_elems_in_KIV_STRING_ARRAY, kiv_avl_get_tree_root,
    uint32_t kiv_string_n_elems_in_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array) {
      return array != nullptr ? array->count : 0;
    });
void *kiv_avl_get_tree_root_value(KIV_AVL_TREE *tree) { return avl::value_of(root_of(tree)); }
void *kiv_avl_shared_get_tree_root_value(KIV_AVL_NODE *root) { return avl::value_of(root); }

// --- Plain trees -----------------------------------------------------------------------------------------------------

int kiv_avl_insert(KIV_AVL_TREE *tree, void *value) { return avl::insert(tree, root_link(tree), value); }

void kiv_avl_delete(KIV_AVL_TREE *tree, const void *key) { kiv_avl_shared_delete(tree, root_link(tree), key); }

void *kiv_avl_detach(KIV_AVL_TREE *tree, const void *key) { return kiv_avl_shared_detach(tree, root_link(tree), key); }

void *kiv_avl_swap(KIV_AVL_TREE *tree, void *value) { return kiv_avl_shared_swap(tree, root_of(tree), value); }

void kiv_avl_delete_all_matching(KIV_AVL_TREE *tree, KIV_AVL_MATCH match, void *context) {
  kiv_avl_shared_delete_all_matching(tree, root_link(tree), match, context);
}

void *kiv_avl_find(KIV_AVL_TREE *tree, const void *key) { return kiv_avl_shared_find(tree, root_of(tree), key); }

void *kiv_avl_find_least_greater_or_equal(KIV_AVL_TREE *tree, const void *key) {
  return kiv_avl_shared_find_least_greater_or_equal(tree, root_of(tree), key);
}

void *kiv_avl_find_largest_less_or_equal(KIV_AVL_TREE *tree, const void *key) {
  return kiv_avl_shared_find_largest_less_or_equal(tree, root_of(tree), key);
}

void *kiv_avl_find_least_greater(KIV_AVL_TREE *tree, const void *key) {
  return kiv_avl_shared_find_least_greater(tree, root_of(tree), key);
}

void *kiv_avl_find_largest_less(KIV_AVL_TREE *tree, const void *key) {
  return kiv_avl_shared_find_largest_less(tree, root_of(tree), key);
}

void *kiv_avl_least(KIV_AVL_TREE *tree) { return avl::least(root_of(tree)); }
void *kiv_avl_largest(KIV_AVL_TREE *tree) { return avl::largest(root_of(tree)); }
uint32_t kiv_avl_count_nodes(KIV_AVL_TREE *tree) { return avl::count(root_of(tree)); }

void kiv_avl_sequential_walk(KIV_AVL_TREE *tree, KIV_AVL_WALK function, void *context) {
  kiv_avl_shared_sequential_walk(tree, root_of(tree), function, context);
}

int kiv_avl_conditional_sequential_walk(KIV_AVL_TREE *tree, KIV_AVL_WALK function, void *context) {
  return kiv_avl_shared_conditional_sequential_walk(tree, root_of(tree), function, context);
}

void kiv_avl_sequential_reverse_walk(KIV_AVL_TREE *tree, KIV_AVL_WALK function, void *context) {
  kiv_avl_shared_sequential_reverse_walk(tree, root_of(tree), function, context);
}

int kiv_avl_conditional_sequential_reverse_walk(KIV_AVL_TREE *tree, KIV_AVL_WALK function, void *context) {
  return kiv_avl_shared_conditional_sequential_reverse_walk(tree, root_of(tree), function, context);
}

int kiv_avl_interval_walk(KIV_AVL_TREE *tree, int low_mode, const void *low_bound, int high_mode,
                          const void *high_bound, int reverse, KIV_AVL_WALK function, void *context) {
  return kiv_avl_shared_interval_walk(tree, root_of(tree), low_mode, low_bound, high_mode, high_bound, reverse,
                                      function, context);
}

// --- Shared trees ----------------------------------------------------------------------------------------------------

int kiv_avl_shared_insert(KIV_AVL_TREE *tree, KIV_AVL_NODE **root, void *value) {
  return avl::insert(tree, root, value);
}

void kiv_avl_shared_delete(KIV_AVL_TREE *tree, KIV_AVL_NODE **root, const void *key) {
  (void)avl::remove(tree, root, key, true);
}

void *kiv_avl_shared_detach(KIV_AVL_TREE *tree, KIV_AVL_NODE **root, const void *key) {
  return avl::remove(tree, root, key, false);
}

void *kiv_avl_shared_swap(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, void *value) { return avl::swap(tree, root, value); }

void kiv_avl_shared_delete_all_matching(KIV_AVL_TREE *tree, KIV_AVL_NODE **root, KIV_AVL_MATCH match, void *context) {
  avl::delete_all_matching(tree, root, match, context);
}

void kiv_avl_shared_destroy_single_tree(KIV_AVL_TREE *tree, KIV_AVL_NODE **root) {
  if (tree == nullptr || root == nullptr) return;
  avl::destroy_nodes(tree, *root);
  *root = nullptr;
}

void *kiv_avl_shared_find(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key) {
  return tree != nullptr ? avl::value_of(avl::find_node(tree, root, key)) : nullptr;
}

void *kiv_avl_shared_find_least_greater_or_equal(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key) {
  return tree != nullptr ? avl::find_nearest<avl::Direction::above, true>(tree, root, key) : nullptr;
}

void *kiv_avl_shared_find_largest_less_or_equal(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key) {
  return tree != nullptr ? avl::find_nearest<avl::Direction::below, true>(tree, root, key) : nullptr;
}

void *kiv_avl_shared_find_least_greater(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key) {
  return tree != nullptr ? avl::find_nearest<avl::Direction::above, false>(tree, root, key) : nullptr;
}

void *kiv_avl_shared_find_largest_less(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key) {
  return tree != nullptr ? avl::find_nearest<avl::Direction::below, false>(tree, root, key) : nullptr;
}

void *kiv_avl_shared_least(KIV_AVL_TREE *tree, KIV_AVL_NODE *root) {
  return tree != nullptr ? avl::least(root) : nullptr;
}

void *kiv_avl_shared_largest(KIV_AVL_TREE *tree, KIV_AVL_NODE *root) {
  return tree != nullptr ? avl::largest(root) : nullptr;
}

uint32_t kiv_avl_shared_count_nodes(KIV_AVL_TREE *tree, KIV_AVL_NODE *root) {
  return tree != nullptr ? avl::count(root) : 0;
}

void kiv_avl_shared_sequential_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, KIV_AVL_WALK function, void *context) {
  avl::walk_all<false>(tree, root, function, context);
}

int kiv_avl_shared_conditional_sequential_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, KIV_AVL_WALK function,
                                               void *context) {
  return avl::walk<false>(tree, root, function, context);
}

void kiv_avl_shared_sequential_reverse_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, KIV_AVL_WALK function,
                                            void *context) {
  avl::walk_all<true>(tree, root, function, context);
}

int kiv_avl_shared_conditional_sequential_reverse_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, KIV_AVL_WALK function,
                                                       void *context) {
  return avl::walk<true>(tree, root, function, context);
}

int kiv_avl_shared_interval_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, int low_mode, const void *low_bound,
                                 int high_mode, const void *high_bound, int reverse, KIV_AVL_WALK function,
                                 void *context) {
  return avl::interval_walk(tree, root, {low_mode, low_bound}, {high_mode, high_bound}, reverse, function, context);
}
