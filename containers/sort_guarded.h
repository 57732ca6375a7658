// The sort for ranges that fixed steps have split badly: O(n log n) compares and swaps for all of them, and fewer for
// those that are nearly in order, by a ladder of means each of which gives up early.
//
//  1. A range of few ascending or descending runs has these merged, see sort_runs.h.
//  2. A quicksort takes the middle of nine elements as its pivot, and sets elements equal to it aside where they are
//     many. It has patience for few bad splits, see sort_engine.h.
//  3. Heapsort, where that has run out.
//
// Nothing here reads or writes beyond its range, or fails to end, when compares contradict each other: all loops are
// bounded by indices alone.
#ifndef KIV_CONTAINERS_SORT_GUARDED_H
#define KIV_CONTAINERS_SORT_GUARDED_H

#include <algorithm>

#include "containers/sort_runs.h"
#include "containers/sort_split.h"

namespace kiv::sort {

// --- Heapsort --------------------------------------------------------------------------------------------------------

/// Makes a heap of [first + root, first + size), which is one but for its root. Bottom up (I. Wegener, 1993): down the
/// greater children to a leaf, one compare a level, then back up to where the root's element belongs, mostly not far.
template <class Access>
void sink(const Access &access, Index first, Index root, Index size) {
  Index place = root;
  while (2 * place + 2 < size) {
    const Index child = 2 * place + 1;
    for (Index i = 0; i < 8; ++i) access.expect(first + std::min(8 * place + 7 + i, size - 1));
    place = child + Index{access.order(first + child, first + child + 1) <= 0};
  }
  if (2 * place + 2 == size) place = 2 * place + 1;
  while (place != root && access.order(first + root, first + place) > 0) place = (place - 1) / 2;
  // Everything on the way up from there moves up by one.
  for (; place != root; place = (place - 1) / 2) access.exchange(first + root, first + place);
}

template <class Access>
void sort_by_heap(const Access &access, Index first, Index count) {
  for (Index root = count / 2; root-- > 0;) sink(access, first, root, count);
  for (Index size = count; --size > 0;) {
    access.exchange(first, first + size);
    sink(access, first, 0, size);
  }
}

// --- Quicksort -------------------------------------------------------------------------------------------------------

template <class Access>
Index middle_of_three(const Access &access, Index a, Index b, Index c) {
  if (access.order(a, b) > 0) std::swap(a, b);
  if (access.order(b, c) <= 0) return b;
  return access.order(a, c) <= 0 ? c : a;
}

/// The middle of three middles of three. Each three spans the whole range, so that an array that rises and falls again
/// is split into halves, too.
template <class Access>
Index choose_pivot(const Access &access, Index first, Index count) {
  const Index step = count / 9;
  const auto middle = [&](Index place) { return middle_of_three(access, place, place + 3 * step, place + 6 * step); };
  const Index start = first + step / 2;
  return middle_of_three(access, middle(start), middle(start + step), middle(start + 2 * step));
}

template <class Access>
void sort_by_middles(const Access &access, Index first, Index count, int patience) {  // NOLINT(misc-no-recursion)
  // The smaller part is sorted by recursion, which is so no deeper than log2(count).
  constexpr Index kFew = 12;
  while (count > kFew) {
    if (patience < 0) {
      sort_by_heap(access, first, count);
      return;
    }
    const Index end = first + count;
    access.exchange(first, choose_pivot(access, first, count));
    const Index pivot = gather_left<Equals::right>(access, first + 1, first + 1, end, first) - 1;
    access.exchange(first, pivot);
    const Index less = pivot - first;
    Index greater = end - pivot - 1;
    // The pivot may be that small because many elements are equal to it.
    if (less < count / 8) greater = end - gather_left<Equals::left>(access, pivot + 1, pivot + 1, end, pivot);
    patience -= cost_of_split(count, count - 1 - std::max(less, greater));
    if (less < greater) {
      sort_by_middles(access, first, less, patience);
      first = end - greater;
      count = greater;
    } else {
      sort_by_middles(access, end - greater, greater, patience);
      count = less;
    }
  }
  for (Index i = 1; i < count; ++i) {
    for (Index j = first + i; j > first && access.order(j - 1, j) > 0; --j) access.exchange(j - 1, j);
  }
}

template <class Access>
void sort_guarded(const Access &access, Index first, Index count) {
  if (!merge_runs(access, first, count)) sort_by_middles(access, first, count, 64);
}

}  // namespace kiv::sort

#endif
