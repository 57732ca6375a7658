/** @file
 * Interval trees: sets of closed intervals with unsigned 64-bit bounds, asked which of them meet a range. For
 * addresses: the scopes around a program counter, the sections in a memory window, the breakpoints on a line. Source:
 * T. H. Cormen, C. E. Leiserson, R. L. Rivest, C. Stein, "Introduction to Algorithms", chapters 13 and 14.
 *
 * An interval [low, high] holds both its bounds; two that only touch meet. The same interval may be stored any number
 * of times. Order is that of the low bounds, and the order of insertion among equal ones, also after removals.
 *
 * The tree is a red-black tree whose nodes each know the largest high bound of their subtree. Nodes never move in
 * memory: a node's address is the caller's handle to it until it is removed. A caller either gives the tree an
 * allocator, from which it takes its nodes, or gives it the storage of every node, perhaps as a part of a record of his
 * own; the nodes' word user_data is there for a link to that record.
 *
 * Results tell what a call has allocated: kiv_ivtree_new() and kiv_ivtree_insert_node() give null, also on success,
 * when the caller supplied the storage. Storage that a tree with an allocator holds is always freed through that
 * allocator, so such a tree must only hold nodes that come from it.
 *
 * Costs: insert and remove take O(log n); an enumeration visits at most O(log n) nodes for each interval that it
 * reports, and O(log n) more; a walk is linear. Nothing recurses.
 *
 * A null tree holds nothing and takes nothing. Whether a node belongs to the tree that it is given with is not checked.
 *
 * Thread safety: one thread at a time per tree. Enumerations write nothing to the tree, so several threads may ask a
 * tree that nobody changes. */
#ifndef KIV_IVTREE_H
#define KIV_IVTREE_H

#include "kiv_allocator.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_IVTREE KIV_IVTREE;
typedef struct KIV_IVTREE_NODE KIV_IVTREE_NODE;

/** A stored interval. Read it freely; only user_data may be written while the node is in a tree. Where there is no
 * child the link is the address of the tree's nil node; the root's parent is the tree's header. */
struct KIV_IVTREE_NODE {
  KIV_IVTREE_NODE *left;  /**< smaller low bounds, or equal ones inserted earlier */
  KIV_IVTREE_NODE *right; /**< greater low bounds, or equal ones inserted later */
  KIV_IVTREE_NODE *parent;
  uint32_t color; /**< KIV_IVTREE_RED or KIV_IVTREE_BLACK */
  uint64_t low;
  uint64_t high;
  uint64_t max;        /**< the largest high bound in the node's subtree */
  KIV_IVTREE *owner;   /**< the tree that the node was inserted into */
  uintptr_t user_data; /**< the caller's: no function reads or writes it, so it is indeterminate in a new node */
};

#define KIV_IVTREE_BLACK 0
#define KIV_IVTREE_RED 1

struct KIV_IVTREE {
  KIV_IVTREE_NODE header;   /**< left is the root, or nil; right and parent are nil; the bounds are all ones */
  KIV_IVTREE_NODE nil;      /**< stands for every absent child: black, the bounds are 0 */
  KIV_ALLOCATOR *allocator; /**< may be null */
  uintptr_t user_data;      /**< the caller's, as in a node */
};

/** Non-zero has the node removed. */
typedef int (*KIV_IVTREE_WALK)(KIV_IVTREE *tree, KIV_IVTREE_NODE *node, void *context);
/** 0 ends the enumeration. */
typedef int (*KIV_IVTREE_ENUMERATE)(KIV_IVTREE *tree, KIV_IVTREE_NODE *node, void *context);

/** Makes an empty tree. With an allocator the record comes from it, storage is ignored, and the result is the record,
 * or null without memory. Without one the tree is made in storage, and the result is null. A record holds addresses of
 * its own parts and must not be moved or copied. */
KIV_API KIV_IVTREE *kiv_ivtree_new(KIV_IVTREE *storage, KIV_ALLOCATOR *allocator);

/** Frees every node, children before parents, and the record, if the tree has an allocator; otherwise there is nothing
 * to free. Always null. */
KIV_API void *kiv_ivtree_delete(KIV_IVTREE *tree);

/** The root, from which a caller can walk along the links; null for an empty tree. */
KIV_API KIV_IVTREE_NODE *kiv_ivtree_get_root_node(KIV_IVTREE *tree);

/** Inserts [low, high]. With storage null: into a node from the tree's allocator, which is the result; null, and the
 * tree as it was, without memory or without an allocator. Otherwise into storage, and the result is null. */
KIV_API KIV_IVTREE_NODE *kiv_ivtree_insert_node(KIV_IVTREE *tree, KIV_IVTREE_NODE *storage, uint64_t low,
                                                uint64_t high);

/** Takes the node out of the tree, and frees it through the tree's allocator if there is one.
 * REQUIRES: the node is in the tree. */
KIV_API void kiv_ivtree_remove_node(KIV_IVTREE *tree, KIV_IVTREE_NODE *node);

/** Calls callback for each node in order and removes those for which it gives non-zero; all of them when callback is
 * null. The node after the present one is found before the call: callback may insert, but a node that is to lie between
 * the two is not visited, and it may remove the node that it is given (and then gives 0), but not the next one. */
KIV_API void kiv_ivtree_conditional_sequential_walk_and_remove(KIV_IVTREE *tree, KIV_IVTREE_WALK callback,
                                                               void *context);

/** Calls callback for each node whose interval meets [low, high], until it gives 0: each node before those of its
 * subtrees, those of the left subtree before those of the right one; not in order, therefore. callback must not change
 * the tree.
 *
 * 0; 1 when memory for the nodes that are yet to be visited was refused: some have then not been reported. The first
 * 128 of them need none, which is enough for every tree that fits into memory; only trees that were linked by hand,
 * without balance, need allocator, which may otherwise be null.
 *
 * Bounds in reverse: for low > high the intervals that hold low are reported, except those that begin there. An
 * interval stored with low > high is met by a range that holds its low bound, if the enumeration comes across it: it is
 * passed over in a left subtree whose high bounds are all below the range. */
KIV_API int kiv_ivtree_enumerate_overlapping(KIV_IVTREE *tree, KIV_ALLOCATOR *allocator, uint64_t low, uint64_t high,
                                             KIV_IVTREE_ENUMERATE callback, void *context);

KIV_END_DECLARATIONS

#endif
