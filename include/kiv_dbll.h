/** @file
 * Doubly linked lists of nodes that the caller embeds in records of its own. Nothing is allocated or freed.
 *
 * Head and nodes are one record. In the head, next is the first node and prev the last one. Every node has the head as
 * its owner, and so has the head: whatever takes "a position" or "an element" takes the head or any node of the list.
 *
 *   for (KIV_DBLL_NODE *node = head.next; node != NULL; node = node->next) use((struct part *)node->data);
 *
 * Invariants: head.next and head.prev are both null or both not; the first node's prev and the last node's next are
 * null.
 *
 * Conventions: nothing fails and no argument is checked. A node is in one list at most: to insert it a second time, or
 * to take out one that is in no list, breaks the lists involved. Nodes that were taken out keep their words.
 *
 * Costs: every change takes constant time; counting, looking up by index and the integrity check are linear.
 *
 * Thread safety: one thread at a time per list. */
#ifndef KIV_DBLL_H
#define KIV_DBLL_H

#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** A node, or the head of a list. It may lie anywhere in the caller's record, which data usually points to. */
typedef struct KIV_DBLL_NODE KIV_DBLL_NODE;
struct KIV_DBLL_NODE {
  KIV_DBLL_NODE *next;  /**< null after the last node; in the head the first node, null when the list is empty */
  void *data;           /**< the caller's, which no operation reads; only kiv_dbll_init clears the head's */
  KIV_DBLL_NODE *prev;  /**< null before the first node; in the head the last node, null when the list is empty */
  KIV_DBLL_NODE *owner; /**< the head; in the head itself */
};

/** Makes head an empty list, and returns it. Nodes need no such call. */
KIV_API KIV_DBLL_NODE *kiv_dbll_init(KIV_DBLL_NODE *head);

/** The number of nodes, from the first one on whatever element is given. */
KIV_API uint32_t kiv_dbll_count(const KIV_DBLL_NODE *element);

/** The node with that number, the first one being 0; null when the list is shorter or index is negative. */
KIV_API KIV_DBLL_NODE *kiv_dbll_get_element_by_index(const KIV_DBLL_NODE *element, int32_t index);

/** Puts node behind position, or first when position is the head. Returns node. */
KIV_API KIV_DBLL_NODE *kiv_dbll_insert_after(KIV_DBLL_NODE *position, KIV_DBLL_NODE *node);

/** Puts node before position, or last when position is the head. Returns node. */
KIV_API KIV_DBLL_NODE *kiv_dbll_insert_before(KIV_DBLL_NODE *position, KIV_DBLL_NODE *node);

/** Puts node first in the list of element. Returns node. */
KIV_API KIV_DBLL_NODE *kiv_dbll_prepend(KIV_DBLL_NODE *element, KIV_DBLL_NODE *node);

/** Puts node last in the list of element. */
KIV_API void kiv_dbll_append(KIV_DBLL_NODE *element, KIV_DBLL_NODE *node);

/** Takes node out of its list.
 * REQUIRES: here and below, node is not the head. */
KIV_API void kiv_dbll_remove(KIV_DBLL_NODE *node);

/** Takes node and all nodes before it out. Returns the node that followed, now the first; null when there is none. */
KIV_API KIV_DBLL_NODE *kiv_dbll_remove_and_all_previous(KIV_DBLL_NODE *node);

/** Takes node and all nodes behind it out. Returns the node that preceded it, now the last; null when there is none. */
KIV_API KIV_DBLL_NODE *kiv_dbll_remove_and_all_next(KIV_DBLL_NODE *node);

/** Walks over the list from its first node to its end, and returns null. Nothing is compared: a damaged link shows
 * where the walk faults or does not end. */
KIV_API void *kiv_dbll_integrity_check(const KIV_DBLL_NODE *element);

KIV_END_DECLARATIONS

#endif
