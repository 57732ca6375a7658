/** @file
 * Height-balanced (AVL) search trees of untyped values, ordered by a caller's compare function.
 * Source: G. M. Adelson-Velsky and E. M. Landis, "An algorithm for the organization of information", 1962.
 *
 * Values are pointers and are not copied. Keys are not stored: a key is whatever compare accepts as its first
 * argument, and since insert, detach and swap pass a value there, it must accept a value too.
 *
 * Two families share one implementation. A plain tree is its record. The shared operations let one record (compare,
 * callbacks, nodes) serve any number of trees, each of them a root pointer in a caller's variable that starts as null:
 * operations that change a tree take the variable's address, the others its value.
 *
 * Conventions: a status is 0 or 1 (failure: a null tree, no memory for a node); a search gives a value or null; a walk
 * gives 1 when it ran to the end, also over a null tree, and 0 when its function stopped it by returning 0. Callbacks
 * must not change the tree that calls them.
 *
 * Costs: searches, insert, delete, detach and swap take O(log n) compares; walks, counting and emptying are linear.
 *
 * Nodes come from the C runtime's heap unless the tree is given another allocator. The first insert then puts allocator
 * functions of the library's own into the record, which take nodes from the heap in chunks. Freed nodes are kept for
 * the next inserts; chunks go back when the last node of all trees of the record is freed, the smallest with the
 * record.
 *
 * Thread safety: one thread at a time per record and all its trees. Searches and walks write nothing, so several
 * threads may read a tree that nobody changes. */
#ifndef KIV_AVL_H
#define KIV_AVL_H

#include "kiv_allocator.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_AVL_NODE KIV_AVL_NODE;
struct KIV_AVL_NODE {
  KIV_AVL_NODE *left;  /**< smaller values */
  KIV_AVL_NODE *right; /**< greater values */
  int32_t height;      /**< 1 for a leaf, else 1 + the greater of the children's; an absent child counts 0 */
  void *value;
};

/** Negative: key lies left of value; positive: right; 0: they match. */
typedef int (*KIV_AVL_COMPARE)(const void *key, const void *value);
typedef int (*KIV_AVL_COMPARE_WITH_CONTEXT)(const void *key, const void *value, void *context);
typedef void (*KIV_AVL_RELEASE)(void *value, void *context);
/** A walk's function; conditional walks stop when it gives 0. */
typedef int (*KIV_AVL_WALK)(void *value, void *context);
typedef int (*KIV_AVL_MATCH)(void *value, void *context);
typedef void *(*KIV_AVL_NODE_ALLOC)(void *context, uint32_t size);
typedef void (*KIV_AVL_NODE_FREE)(void *node, void *context);
typedef void (*KIV_AVL_FINISH)(void *context);
/** Told the values of a node and of its children (null for an absent one) whenever these children may have changed. */
typedef void (*KIV_AVL_FIX_LINKAGE)(void *value, void *left_value, void *right_value);

typedef struct KIV_AVL_TREE {
  KIV_AVL_NODE *root; /**< unused by the shared operations */
  KIV_AVL_COMPARE compare;
  KIV_AVL_COMPARE_WITH_CONTEXT compare_with_context; /**< used when compare is null */
  void *compare_context;
  KIV_AVL_RELEASE release; /**< called for a value that is deleted or destroyed; may be null */
  void *release_context;
  uint32_t nodes_allocated;        /**< 1 from the first insert on: the node allocator is then fixed */
  KIV_AVL_NODE *free_nodes;        /**< spare nodes, linked through left */
  void *allocator_context;         /**< the argument of the next four */
  KIV_AVL_NODE_ALLOC node_alloc;   /**< null: the C runtime's heap, see above */
  KIV_AVL_NODE_FREE node_free;     /**< null with node_alloc set: freed nodes become spare ones */
  KIV_AVL_NODE_FREE pool_release;  /**< applied to every spare node when the tree is destroyed */
  KIV_AVL_FINISH allocator_finish; /**< called last when the tree is destroyed */
  uint32_t record_is_custom;       /**< 1: record_free (when set) releases the record */
  void (*record_free)(void *record, void *context);
  void *record_free_context;
  KIV_AVL_FIX_LINKAGE fix_linkage; /**< may be null */
} KIV_AVL_TREE;

/* --- Making and setting up --------------------------------------------------------------------------------------- */

/** An empty tree from the C runtime's heap; null without memory. release may be null. */
KIV_API KIV_AVL_TREE *kiv_avl_new(KIV_AVL_COMPARE compare, KIV_AVL_RELEASE release, void *release_context);
KIV_API KIV_AVL_TREE *kiv_avl_new2(KIV_AVL_COMPARE_WITH_CONTEXT compare, void *compare_context, KIV_AVL_RELEASE release,
                                   void *release_context);

/** The record comes from record_alloc and goes back through record_free (null: it is left to the caller, but the tree
 * is to be destroyed all the same). Nodes come from the C runtime's heap unless customised. Null without memory. */
KIV_API KIV_AVL_TREE *kiv_avl_new_using_allocator(KIV_AVL_COMPARE compare, KIV_AVL_RELEASE release,
                                                  void *release_context,
                                                  void *(*record_alloc)(void *context, uint32_t size),
                                                  void *record_alloc_context,
                                                  void (*record_free)(void *record, void *context),
                                                  void *record_free_context);

/** Record and nodes come from the allocator and go back to it. Null without memory. */
KIV_API KIV_AVL_TREE *kiv_avl_new_using_KIV_ALLOCATOR(KIV_ALLOCATOR *allocator, KIV_AVL_COMPARE compare,
                                                      KIV_AVL_RELEASE release, void *release_context);

/** Sets where nodes come from and go to; see the record. 0; 1 for a null tree or after the first insert. A spare node
 * that is left when the tree is destroyed goes to pool_release, or else to where freed nodes go. */
KIV_API int kiv_avl_customize_allocator(KIV_AVL_TREE *tree, void *allocator_context, KIV_AVL_NODE_ALLOC node_alloc,
                                        KIV_AVL_NODE_FREE node_free, KIV_AVL_NODE_FREE pool_release,
                                        KIV_AVL_FINISH allocator_finish);

/** Sets or (null) clears the hook through which values can keep data about their subtrees. It is called for a node
 * whenever an insert or delete has passed through it, children before parents, also for an insert that found its value
 * present; in a rotation for the node that goes down, then for the one that comes up; after a swap for the node and its
 * parent. It is not called in place of a removed leaf, nor when a key to be deleted is absent. */
KIV_API void kiv_avl_set_fix_linkage(KIV_AVL_TREE *tree, KIV_AVL_FIX_LINKAGE fix_linkage);

/** Bytes of a node. */
KIV_API uint32_t kiv_avl_sizeof_node(void);

/* --- Plain trees ------------------------------------------------------------------------------------------------- */

/** 0, also when an equal value is present: the tree is then unchanged, the new value neither stored nor released.
 * 1 for a null tree or without memory for a node: the tree is unchanged. */
KIV_API int kiv_avl_insert(KIV_AVL_TREE *tree, void *value);

/** Removes and releases the value that matches key; nothing happens when there is none. */
KIV_API void kiv_avl_delete(KIV_AVL_TREE *tree, const void *key);

/** Removes the matching value without releasing it, and returns it; null when there is none. */
KIV_API void *kiv_avl_detach(KIV_AVL_TREE *tree, const void *key);

/** Puts value in the place of the stored one that matches it, and returns that one, not released; null when there is
 * none: nothing is changed. */
KIV_API void *kiv_avl_swap(KIV_AVL_TREE *tree, void *value);

/** Removes and releases every value for which match gives non-zero, in ascending order, O(log n) for each value. */
KIV_API void kiv_avl_delete_all_matching(KIV_AVL_TREE *tree, KIV_AVL_MATCH match, void *context);

/** Removes and releases all values, children before parents; the record and its spare nodes stay. */
KIV_API void kiv_avl_empty_tree(KIV_AVL_TREE *tree);

/** Empties the tree and releases spare nodes and record. Always 0. */
KIV_API int kiv_avl_destroy_tree(KIV_AVL_TREE *tree);

KIV_API void *kiv_avl_find(KIV_AVL_TREE *tree, const void *key);
KIV_API void *kiv_avl_find_least_greater_or_equal(KIV_AVL_TREE *tree, const void *key);
KIV_API void *kiv_avl_find_largest_less_or_equal(KIV_AVL_TREE *tree, const void *key);
KIV_API void *kiv_avl_find_least_greater(KIV_AVL_TREE *tree, const void *key);
KIV_API void *kiv_avl_find_largest_less(KIV_AVL_TREE *tree, const void *key);
KIV_API void *kiv_avl_least(KIV_AVL_TREE *tree);
KIV_API void *kiv_avl_largest(KIV_AVL_TREE *tree);

/** The root node (null for a null or empty tree), and its value. */
KIV_API KIV_AVL_NODE *kiv_avl_get_tree_root(KIV_AVL_TREE *tree);
KIV_API void *kiv_avl_get_tree_root_value(KIV_AVL_TREE *tree);

/** The number of values, counted in linear time. */
KIV_API uint32_t kiv_avl_count_nodes(KIV_AVL_TREE *tree);

/** Walks over all values, ascending or (reverse) descending. The plain ones ignore what function returns. */
KIV_API void kiv_avl_sequential_walk(KIV_AVL_TREE *tree, KIV_AVL_WALK function, void *context);
KIV_API int kiv_avl_conditional_sequential_walk(KIV_AVL_TREE *tree, KIV_AVL_WALK function, void *context);
KIV_API void kiv_avl_sequential_reverse_walk(KIV_AVL_TREE *tree, KIV_AVL_WALK function, void *context);
KIV_API int kiv_avl_conditional_sequential_reverse_walk(KIV_AVL_TREE *tree, KIV_AVL_WALK function, void *context);

/** How an interval walk treats a bound: any other value excludes it. */
#define KIV_AVL_UNBOUNDED 0
#define KIV_AVL_EXCLUDED 1
#define KIV_AVL_INCLUDED 2

/** A conditional walk over the values between two bounds, which are keys; descending when reverse is non-zero. */
KIV_API int kiv_avl_interval_walk(KIV_AVL_TREE *tree, int low_mode, const void *low_bound, int high_mode,
                                  const void *high_bound, int reverse, KIV_AVL_WALK function, void *context);

/** Inserts every value of source into target, ascending; both trees then hold them. 0; 1 when a tree is null, when both
 * have a release callback (a value has one owner; nothing is inserted), or at the first failed insert: the values
 * inserted before it stay. */
KIV_API int kiv_avl_add_tree_value_references_to_tree(KIV_AVL_TREE *source, KIV_AVL_TREE *target);

/** Passes a detached value to the record's release callback, if there are a tree, a value and a callback. Always 0. */
KIV_API int kiv_destroy_detached(KIV_AVL_TREE *tree, void *value);
KIV_API int kiv_shared_destroy_detached(KIV_AVL_TREE *tree, void *value);

/* --- Shared trees: as their plain counterparts ------------------------------------------------------------------- */

KIV_API int kiv_avl_shared_insert(KIV_AVL_TREE *tree, KIV_AVL_NODE **root, void *value);
KIV_API void kiv_avl_shared_delete(KIV_AVL_TREE *tree, KIV_AVL_NODE **root, const void *key);
KIV_API void *kiv_avl_shared_detach(KIV_AVL_TREE *tree, KIV_AVL_NODE **root, const void *key);
KIV_API void *kiv_avl_shared_swap(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, void *value);
KIV_API void kiv_avl_shared_delete_all_matching(KIV_AVL_TREE *tree, KIV_AVL_NODE **root, KIV_AVL_MATCH match,
                                                void *context);

/** Removes and releases all values of one tree and sets its root to null; the record serves the others on. */
KIV_API void kiv_avl_shared_destroy_single_tree(KIV_AVL_TREE *tree, KIV_AVL_NODE **root);

KIV_API void *kiv_avl_shared_find(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key);
KIV_API void *kiv_avl_shared_find_least_greater_or_equal(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key);
KIV_API void *kiv_avl_shared_find_largest_less_or_equal(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key);
KIV_API void *kiv_avl_shared_find_least_greater(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key);
KIV_API void *kiv_avl_shared_find_largest_less(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, const void *key);
KIV_API void *kiv_avl_shared_least(KIV_AVL_TREE *tree, KIV_AVL_NODE *root);
KIV_API void *kiv_avl_shared_largest(KIV_AVL_TREE *tree, KIV_AVL_NODE *root);
KIV_API void *kiv_avl_shared_get_tree_root_value(KIV_AVL_NODE *root);
KIV_API uint32_t kiv_avl_shared_count_nodes(KIV_AVL_TREE *tree, KIV_AVL_NODE *root);
KIV_API void kiv_avl_shared_sequential_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, KIV_AVL_WALK function,
                                            void *context);
KIV_API int kiv_avl_shared_conditional_sequential_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, KIV_AVL_WALK function,
                                                       void *context);
KIV_API void kiv_avl_shared_sequential_reverse_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, KIV_AVL_WALK function,
                                                    void *context);
KIV_API int kiv_avl_shared_conditional_sequential_reverse_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root,
                                                               KIV_AVL_WALK function, void *context);
KIV_API int kiv_avl_shared_interval_walk(KIV_AVL_TREE *tree, KIV_AVL_NODE *root, int low_mode, const void *low_bound,
                                         int high_mode, const void *high_bound, int reverse, KIV_AVL_WALK function,
                                         void *context);

KIV_END_DECLARATIONS

#endif
