/** @file
 * Quicksort of arrays of elements of any size, and a test whether the elements of an array are all different.
 *
 * The order of compares and swaps is fixed, and so is the resulting order of equal elements:
 *
 *     sort(first, count): while count > 1: swap the first element with that at first + count / 2; m = first; for each e
 *         after first, ascending: if compare(e, first) < 0, increase m and swap m and e; then swap first and m;
 *         sort(first, m - first); go on with the elements behind m
 *
 * That is what happens to up to KIV_QSORT_EXACT_COUNT elements, and to more of them unless these steps split them very
 * unevenly again and again, as they do when most elements are equal. Ranges where that happens are finished in another
 * way, so that every array takes O(n log n) compares and swaps and less than 128 KiB of stack, whatever the order of
 * its elements and the answers of its compare callback: one that contradicts itself gets some permutation. Not stable.
 *
 * Counts are signed: nothing happens to an array of a negative one. Callbacks must not change the array except as swap
 * is asked to.
 *
 * Thread safety: any number of threads on different arrays. */
#ifndef KIV_QSORT_H
#define KIV_QSORT_H

#include "kiv_allocator.h"
#include "kiv_types.h"

KIV_BEGIN_DECLARATIONS

/** Arrays of up to so many elements are sorted by exactly the steps above, however these split them. */
#define KIV_QSORT_EXACT_COUNT 64

/** Negative: a comes before b; positive: after; 0: equal. Given the addresses of two elements of the array. */
typedef int (*KIV_QSORT_COMPARE)(const void *a, const void *b, void *context);
/** The same without a context. */
typedef int (*KIV_QSORT_COMPARE_PLAIN)(const void *a, const void *b);
/** Exchanges elements i and j, which may be the same, counted from the start of the whole array. */
typedef void (*KIV_QSORT_SWAP)(void *base, uint32_t element_size, uint32_t i, uint32_t j, void *context);

/** Sorts count elements of element_size bytes each ascending. The result, 0 or 1, means nothing. */
KIV_API int kiv_qsort(void *base, int32_t count, uint32_t element_size, KIV_QSORT_COMPARE compare, void *context);

/** The same, but all exchanges are left to swap: so further arrays can be kept in step. compare and swap share the
 * context. */
KIV_API void kiv_qsort_swap_context(void *base, int32_t count, uint32_t element_size, KIV_QSORT_COMPARE compare,
                                    KIV_QSORT_SWAP swap, void *context);

/** 1 when no two elements are equal, also for a count of 1 or less; 0 otherwise, and without memory for a pointer an
 * element, which comes from the allocator's alloc and goes back to it. The array stays as it is. O(n log n) compares.
 */
KIV_API int kiv_array_elements_are_unique(KIV_ALLOCATOR *allocator, const void *base, int32_t count,
                                          uint32_t element_size, KIV_QSORT_COMPARE_PLAIN compare);
KIV_API int kiv_array_elements_are_unique2(KIV_ALLOCATOR *allocator, const void *base, int32_t count,
                                           uint32_t element_size, KIV_QSORT_COMPARE compare, void *context);

KIV_END_DECLARATIONS

#endif
