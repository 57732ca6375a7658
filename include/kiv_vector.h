/** @file
 * Growable arrays of untyped element pointers: hashtables are made of them, and they serve on their own.
 *
 * Elements are opaque: a vector looks into them only through its callbacks, and owns them only in the deep operations,
 * which are told how to free or copy one. Null is an element like any other, though the operations that return an
 * element give null for its absence, too.
 *
 * Slots and growth. The array has capacity + 1 slots. When the count rises above the capacity, the capacity becomes one
 * and a half times the new count, rounded down; when a removal or truncation leaves the count below half the capacity,
 * rounded down, the capacity is halved, once a call. So appending is constant time on average. Removal does not clean
 * up: a slot behind the count holds null or an element that was there before, and a later set beyond the count
 * brings such slots back as they are.
 *
 * Memory comes from the vector's allocator, and a vector holds at most KIV_VECTOR_MAX_COUNT elements. Without memory,
 * or above that count, an operation that grows leaves the vector as it was and does not store its element, and one that
 * makes a vector gives null and has freed what it made. These operations report nothing else: a caller who cannot look
 * uses an allocator whose operations do not fail. A shrink without memory keeps the larger array.
 *
 * Preconditions: pointers to vectors are not null where a declaration does not allow it. Callbacks must not change the
 * vector that calls them, except that the function of a walk may.
 *
 * Costs: get, set, append and the last element's removal are constant; insert and remove move the elements behind the
 * place; find is linear; sorting is O(n log n) whatever the order of the elements.
 *
 * Thread safety: one thread at a time per vector. Reading (get, find, foreach, copying) writes nothing, so several
 * threads may read a vector that nobody changes. */
#ifndef KIV_VECTOR_H
#define KIV_VECTOR_H

#include "kiv_allocator.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** Negative: a comes before b; positive: after; 0: equal. */
typedef int (*KIV_VECTOR_COMPARE)(const void *a, const void *b);
/** A walk's function; the walk stops when it gives non-zero. */
typedef int (*KIV_VECTOR_WALK)(void *context, void *element);
/** Frees an element. Told the vector's allocator. */
typedef int (*KIV_VECTOR_DELETE_ELEMENT)(KIV_ALLOCATOR *allocator, void *element);
/** Gives the copy of an element. Told the new vector's allocator. */
typedef void *(*KIV_VECTOR_COPY_ELEMENT)(KIV_ALLOCATOR *allocator, void *element);

typedef struct KIV_VECTOR {
  KIV_ALLOCATOR *allocator;   /**< owns the record and the slots */
  KIV_VECTOR_COMPARE compare; /**< null: find finds nothing, qsort does nothing, unique gives null */
  uint32_t count;             /**< elements in use */
  uint32_t capacity;          /**< elements for which there is room; there is one slot more */
  void **elements;            /**< the slots */
} KIV_VECTOR;

/** The slots of a larger vector would take more bytes than an allocator can be asked for. */
#define KIV_VECTOR_MAX_COUNT ((uint32_t)(UINT32_MAX / sizeof(void *) - 1))

/* --- Making and freeing ------------------------------------------------------------------------------------------ */

/** A vector of count elements, all null, with room for one and a half times as many, rounded down (at most
 * KIV_VECTOR_MAX_COUNT); for 10 when count is 0. compare may be null. */
KIV_API KIV_VECTOR *kiv_vector_new(KIV_ALLOCATOR *allocator, uint32_t count, KIV_VECTOR_COMPARE compare);

/** Frees slots and record, not the elements. Null is ignored. */
KIV_API void kiv_vector_delete(KIV_VECTOR *vector);

/** Calls delete_element for the elements, first to last, until it gives non-zero; then deletes the vector. */
KIV_API void kiv_vector_deep_delete(KIV_VECTOR *vector, KIV_VECTOR_DELETE_ELEMENT delete_element);

/** A vector from this allocator with the same elements and compare. */
KIV_API KIV_VECTOR *kiv_vector_copy(KIV_ALLOCATOR *allocator, const KIV_VECTOR *vector);

/** The same with a copy of each element, or the element itself when copy_element is null. What copy_element gives is
 * stored, null included. */
KIV_API KIV_VECTOR *kiv_vector_deep_copy(KIV_ALLOCATOR *allocator, const KIV_VECTOR *vector,
                                         KIV_VECTOR_COPY_ELEMENT copy_element);

/** A vector of the same elements start to start + length - 1; up to the last one when length is 0 or reaches beyond it;
 * of none when start is at or beyond the count. */
KIV_API KIV_VECTOR *kiv_vector_slice(const KIV_VECTOR *vector, uint32_t start, uint32_t length);

/* --- Elements ---------------------------------------------------------------------------------------------------- */

/** Null when index is not below the count. */
KIV_API void *kiv_vector_get(const KIV_VECTOR *vector, uint32_t index);

/** Null when there are none. */
KIV_API void *kiv_vector_get_last(const KIV_VECTOR *vector);

/** Puts element at index; the old one is not freed. An index beyond the count makes it index + 1; the elements between
 * are what their slots held, see above. */
KIV_API void kiv_vector_set(KIV_VECTOR *vector, uint32_t index, void *element);

KIV_API void kiv_vector_append(KIV_VECTOR *vector, void *element);

/** Puts element before the one at index. An index beyond the count does what set does. */
KIV_API void kiv_vector_insert(KIV_VECTOR *vector, uint32_t index, void *element);

/** The first element for which compare(key, element) gives 0, its index in *index (which may be null); null, with
 * *index as it was, when there is none. */
KIV_API void *kiv_vector_find(const KIV_VECTOR *vector, uint32_t *index, const void *key);

/** Takes out the element at index, not freed; nothing when index is not below the count. */
KIV_API void kiv_vector_remove(KIV_VECTOR *vector, uint32_t index);

/** The same after a call of delete_element, whose result is ignored. */
KIV_API void kiv_vector_deep_remove(KIV_VECTOR *vector, uint32_t index, KIV_VECTOR_DELETE_ELEMENT delete_element);

/** Nothing when there are none. */
KIV_API void kiv_vector_remove_last(KIV_VECTOR *vector);

/** Calls function(context, element) for the elements, first to last, until it gives non-zero. */
KIV_API void kiv_vector_foreach(KIV_VECTOR *vector, void *context, KIV_VECTOR_WALK function);

/** Makes all elements null; the count stays. */
KIV_API void kiv_vector_clear(KIV_VECTOR *vector);

/** Lowers the count to this one; nothing when it is not below it. The elements behind are not freed. */
KIV_API void kiv_vector_truncate(KIV_VECTOR *vector, uint32_t count);

/* --- Order ------------------------------------------------------------------------------------------------------- */

/** Sorts ascending by compare, in place, by a quicksort whose compares and resulting order of equal elements are fixed:
 *
 *     sort(lo, hi): while hi > lo: p = partition(lo, hi); sort(lo, p - 1); lo = p + 1
 *     partition(lo, hi): the pivot is the element at lo; swap lo and hi; i = lo; for j = lo to hi - 1: if
 *         compare(element j, pivot) <= 0, swap i and j and increase i; at last swap i and hi, and give i
 *
 * That is what happens to up to KIV_QSORT_EXACT_COUNT elements, and to more of them unless these steps split them very
 * unevenly again and again, as they do when the vector is sorted already. Ranges where that happens are finished in
 * another way: O(n log n) compares and less than 128 KiB of stack for every vector and every compare callback, also one
 * that contradicts itself (the result is then some permutation). Not stable. */
KIV_API void kiv_vector_qsort(KIV_VECTOR *vector);

/** Sorts the vector and gives a new one with the first element of each run of equal ones, ascending. The two share
 * the elements. When null is given for lack of memory, the vector may be sorted all the same. */
KIV_API KIV_VECTOR *kiv_vector_unique(KIV_VECTOR *vector);

/** All orderings of the elements: a vector without compare, of count! vectors with the compare of this one, in the
 * order of the place of the first element and then of the orderings of the others: abc, acb, bac, cab, bca, cba. An
 * empty vector has one ordering, which is empty. The caller deletes each vector and then the vector of them; elements
 * are shared. Null for null, for lack of memory, and for more than 12 elements, whose orderings no vector can hold. */
KIV_API KIV_VECTOR *kiv_vector_permutations(const KIV_VECTOR *vector);

KIV_END_DECLARATIONS

#endif
