/** @file
 * Priority queues: binary heaps in an array, whose entries tell the caller where they are, so that any of them can be
 * removed without a search.
 * Source: J. W. J. Williams, "Algorithm 232: Heapsort", 1964.
 *
 * An entry has a key, a payload that the queue never looks at, and the address of a 32-bit variable of the caller's:
 * its position. The queue keeps each position equal to the entry's index in the array, whatever moves. An entry that
 * was taken out leaves its position as it was.
 *
 * Keys are 64-bit or 128-bit unsigned integers, copied into the queue, or words of the caller's, compared by a
 * callback: a pointer or an integer of its size. The largest key is on top unless the queue is made with
 * smallest_first. An entry never passes one with an equal key on its way up, and of two equal children the left one
 * comes up; that makes the order of equal keys reproducible, not first in, first out.
 *
 * Conventions: a status is 0 or 1 (failure: no memory for a larger array; nothing is changed). Entries move by value;
 * pointers into the array are good until the next call. A compare callback must not use the queue, nor a position: an
 * entry on its way has none.
 *
 * Costs: insert, extract_top and remove take O(log n) compares and moves, and change the array's size at most once. The
 * array doubles when it is full and is halved, once a call, when less than half is used.
 *
 * Thread safety: one thread at a time per queue. */
#ifndef KIV_PRQ_H
#define KIV_PRQ_H

#include "kiv_allocator.h"
#include "kiv_types.h"
#include "kiv_u128.h"

KIV_BEGIN_DECLARATIONS

/** What the keys of a queue are. With any other value all keys are equal, and none is read. */
#define KIV_PRQ_KEY_U64 0
#define KIV_PRQ_KEY_U128 1
#define KIV_PRQ_KEY_CUSTOM 2

typedef union KIV_PRQ_KEY {
  uint64_t u64;
  KIV_U128 u128;
  const void *word;
} KIV_PRQ_KEY;

typedef struct KIV_PRQ_ENTRY {
  KIV_PRQ_KEY key;
  void *payload;
  uint32_t *position; /**< the caller's variable that holds this entry's index */
} KIV_PRQ_ENTRY;

/** Positive: a's key is larger than b's; negative: smaller; 0: they are equal. Takes key words. */
typedef int (*KIV_PRQ_COMPARE)(const void *a, const void *b, void *context);

typedef struct KIV_PRQ {
  uint32_t count;         /**< entries */
  uint32_t capacity;      /**< slots of the array */
  KIV_PRQ_ENTRY *entries; /**< the top first; the children of entry i are 2i + 1 and 2i + 2 */
  KIV_ALLOCATOR *allocator;
  uint32_t key_kind;       /**< KIV_PRQ_KEY_... */
  uint32_t smallest_first; /**< non-zero: the smallest key is on top */
  KIV_PRQ_COMPARE compare; /**< for KIV_PRQ_KEY_CUSTOM, else unused */
  void *compare_context;
} KIV_PRQ;

/** An empty queue with room for capacity entries, 0 included. Record and array come from the allocator's alloc. Null
 * without memory for both, and when the array's size in bytes does not fit in 32 bits; nothing is then kept. */
KIV_API KIV_PRQ *kiv_prq_new(KIV_ALLOCATOR *allocator, uint32_t capacity, uint32_t key_kind, uint32_t smallest_first,
                             KIV_PRQ_COMPARE compare, void *compare_context);

/** Gives array and record back; payloads, keys and positions are the caller's. Ignores null. */
KIV_API void kiv_prq_delete(KIV_PRQ *queue);

/** Adds an entry. key is the address of the 64-bit or 128-bit number (which may lie in this queue), or the custom key
 * itself. 0; 1 when the array is full and cannot grow: nothing is changed.
 * REQUIRES: position is not null and stays valid while the entry is in the queue. Entries whose positions nobody reads
 * may share one variable. */
KIV_API int kiv_prq_insert(KIV_PRQ *queue, const void *key, void *payload, uint32_t *position);

/** Takes the top entry out and returns its payload; null when the queue is empty. */
KIV_API void *kiv_prq_extract_top(KIV_PRQ *queue);

/** Takes the entry at index, the value of its position, out. An index that no entry has is ignored. */
KIV_API void kiv_prq_remove(KIV_PRQ *queue, uint32_t index);

/** Takes all entries out and halves the array once: call it again to give more back. */
KIV_API void kiv_prq_remove_all(KIV_PRQ *queue);

/** Nothing; one function with kiv_thread_init. Builds with debugging support check the queue here. */
KIV_API void kiv_prq_integrity_check(const KIV_PRQ *queue);

KIV_END_DECLARATIONS

#endif
