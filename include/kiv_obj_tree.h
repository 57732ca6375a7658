/** @file
 * Binary trees of objects: nodes that are objects themselves, drawn as text and walked from a terminal.
 *
 * A node is an object (kiv_obj.h) of kind 12. It holds a value, any object or null, and links to its parent and to a
 * left and a right child. The links left and right make the tree; the parent link is a convenience for going back up:
 * nothing but obj_tree_dump follows it, and it owns nothing.
 *
 * Ownership: a node takes over the reference to its value and to its children that the caller hands in. obj_tree_del
 * on the root releases all of it. A tree owns each of its nodes once, however many of its links lead there, so
 * extra_refs counts holders outside the tree only: two links within one tree to the same node need none.
 *
 * What deletion does, in this order:
 *
 *  1. Every node that left and right links reach is visited, a node before its left side, that before its right side. A
 *     link to a node that was visited before, one that leads back up among them, is cut: it becomes null, and so does
 *     the parent link of the node that it led to when that names the node cut off. From here on it is a tree in which
 *     every node has one way to it.
 *  2. A node releases its value, then its left side is deleted, then its right side, then the node is freed.
 *  3. A node below the root with extra_refs above 0 loses one instead, and lives on with what is below it. Its parent
 *     link becomes null when it led to the node that is deleted. Links cut in step 1 stay cut in it too. It can be used
 *     and deleted later like any other.
 *  4. An automatic node is not freed. Its value and its links, parent too, are null then.
 *
 * The deleted node is not taken out of a tree above it: set that link first.
 *
 * The other operations of the kind are the defaults. The text of a node is empty, its number is its address. Two nodes
 * are equal when value, parent and children are the same objects. A copy shares value, parent and children with its
 * original, and counts none of them: before both are deleted, raise the extra_refs of the value and the children, or
 * delete the copy by obj_tree_del_non_recursive() after setting its value to null.
 *
 * Costs: reading and setting links take constant time. Deletion and height take linear time and no memory but the
 * nodes: neither recurses nor allocates, whatever the shape of the tree. A value that is a tree is deleted in the same
 * way, also one that is a value of a value and so on.
 *
 * Conventions: reading from a null node gives null, setting in one does nothing.
 *
 * Thread safety: one thread at a time for all trees that share nodes, also for obj_tree_height(), which turns links
 * around while it works; and one at a time in the whole process for obj_tree_del_non_recursive() beside any deletion of
 * a node, because it changes the descriptor of the kind for the duration of the call. */
#ifndef KIV_OBJ_TREE_H
#define KIV_OBJ_TREE_H

#include "kiv_obj.h"

KIV_BEGIN_DECLARATIONS

typedef struct KIV_OBJ_TREE KIV_OBJ_TREE;
struct KIV_OBJ_TREE {
  KIV_OBJ header;
  uint32_t visit_mark; /**< the library's own: 0 but during deletion and height */
  KIV_OBJ *value;      /**< owned; may be null */
  KIV_OBJ_TREE *parent;
  uint32_t unused;    /**< never read; it gives left the place that the count has in a hashtable */
  KIV_OBJ_TREE *left; /**< owned, as right is */
  KIV_OBJ_TREE *right;
};

/* --- Making and deleting ----------------------------------------------------------------------------------------- */

/** A node with this value and no links. Null without memory: the value stays the caller's. */
KIV_API KIV_OBJ *obj_tree_new(KIV_ALLOCATOR *allocator, KIV_OBJ *value);

/** A node with value and children; it becomes the parent of those that are not null. Null without memory: value and
 * children stay the caller's, and as they were. */
KIV_API KIV_OBJ *obj_tree_new_set_left_right(KIV_ALLOCATOR *allocator, KIV_OBJ *value, KIV_OBJ *left, KIV_OBJ *right);

/** Gives up one reference: with extra_refs above 0 that decreases, else node and tree are deleted as described above.
 * Null is ignored. One function with obj_vector_del(). */
KIV_API void obj_tree_del(KIV_OBJ *node);

/** Gives up one reference, but deletes only this node: its value is released as always, children, parent and their
 * links to it are left alone (an automatic node's value is null then). The children need a new owner, and parent links
 * that do not lead here any more. Null is ignored. */
KIV_API void obj_tree_del_non_recursive(KIV_OBJ *node);

/* --- Value and links --------------------------------------------------------------------------------------------- */

/** Replaces the value. The old one is not released: it is the caller's again. */
KIV_API void obj_tree_set(KIV_OBJ *node, KIV_OBJ *value);

/** Set a link; a child that is not null gets the node as its parent. The child that was linked before is not released,
 * and its parent link stays as it is. */
KIV_API void obj_tree_set_left(KIV_OBJ *node, KIV_OBJ *left);
KIV_API void obj_tree_set_right(KIV_OBJ *node, KIV_OBJ *right);

/** Both links at once. */
KIV_API void obj_tree_set_left_right(KIV_OBJ *node, KIV_OBJ *left, KIV_OBJ *right);

/** Sets the parent link, and nothing in the parent. */
KIV_API void obj_tree_set_parent(KIV_OBJ *node, KIV_OBJ *parent);

/** The value, still the node's. */
KIV_API KIV_OBJ *obj_tree_get(const KIV_OBJ *node);
/** On 32-bit targets one function with obj_hashtable_size(). */
KIV_API KIV_OBJ *obj_tree_get_left(const KIV_OBJ *node);
KIV_API KIV_OBJ *obj_tree_get_right(const KIV_OBJ *node);
KIV_API KIV_OBJ *obj_tree_get_parent(const KIV_OBJ *node);

/** The number of nodes on the longest way down from the node, itself included: 1 for a leaf, 0 for null. Nodes with
 * several links to them are looked at once; a link that leads back up counts as absent. */
KIV_API uint32_t obj_tree_height(KIV_OBJ *node);

/* --- Drawing and navigation -------------------------------------------------------------------------------------- */

/** Draws the tree below node to standard output: two lines for each of the levels, the nodes of the level and the
 * branches that leave them. The first level has one cell as wide as the drawing, each further one two cells of half the
 * width below each cell. A node stands in the middle of its cell, its branches half-way to the middle of the cells
 * below. Width 32, 3 levels:
 *
 *                  [main]
 *                /       \
 *          [int]           [node]
 *          /               /   \
 *       [7]            [left] [righte
 *                                 \
 *
 * A node is the text of its value in brackets, cut off where the cell ends but for one column of space to the next: a
 * missing bracket tells that the text goes on. Characters that do not print (bytes below 0x20 and 0x7F) show as "?".
 * "[]" has no value or an empty text, "[?]" one whose text cannot be made, for want of memory or of an allocator, as
 * with automatic scalars. A branch is drawn also where the level below is not, as under the last one above. In a cell
 * of one column there is room for one branch, the right one. Lines end after the last character that is not a blank;
 * those of levels without nodes are empty.
 *
 * Texts come from the values' to_char_s, in order from left to right, and are freed through the values' allocators.
 *
 * unit_width is the narrowest cell that is worth drawing: both lines of a level with narrower ones are empty. Below 1
 * it counts as 1; a width below it counts as unit_width, one above 1024 as 1024. A null node or less than one level
 * draws nothing. */
KIV_API void obj_tree_dump_node(const KIV_OBJ *node, int32_t unit_width, int32_t width, int32_t levels);

/** Draws the tree and lets the user of the terminal walk in it: reads commands, a line each, from standard input until
 * "q" or its end, and writes to standard output.
 *
 *     l, r, p       go to the left child, the right child or the parent, and draw the tree from there; what follows
 *                   in the line is not looked at
 *     (empty line)  the last move that succeeded, once more
 *     q             ends, once the rest of the line is read
 *     (blank)       nothing, as with all lines that begin with one
 *
 * Drawings are as wide as unit_width (below 1: 1) doubled while that gives at most 64, and each doubling adds a level:
 * with 8 four levels in 64 columns, the last one in cells of 8. A null node is not drawn, and leads nowhere. */
KIV_API void obj_tree_dump(const KIV_OBJ *node, int32_t unit_width);

KIV_END_DECLARATIONS

#endif
