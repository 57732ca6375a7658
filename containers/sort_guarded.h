// The sort for ranges that fixed steps split badly: sorted, reversed and equal elements at once, and everything else in
// O(n log n) compares and swaps, by a ladder of means each of which gives up early.
//
//  1. One scan finds out whether the range is in order already, or strictly in reverse.
//  2. A quicksort takes the middle of nine elements as its pivot, and three ways: elements equal to it are finished.
//     It has patience for log2(n) bits of bad splits, see sort_engine.h.
//  3. Heapsort, where that has run out.
//
// Nothing here reads or writes beyond its range, or fails to end, when compares contradict each other: all loops are
// bounded by indices alone.
#ifndef KIV_CONTAINERS_SORT_GUARDED_H
#define KIV_CONTAINERS_SORT_GUARDED_H

#include <algorithm>
#include <bit>

#include "containers/sort_access.h"

namespace kiv::sort {

/// What it costs, in bits, to split count elements so that only smaller of them lie on one side of the pivot.
inline int cost_of_split(Index count, Index smaller) {
  return std::max(0, static_cast<int>(std::bit_width(count / (smaller + 1))) - 3);
}

/// True when the range is in ascending order, perhaps because it was in strictly descending order before.
template <class Access>
bool was_run(const Access &access, Index first, Index count) {
  const Index end = first + count;
  Index i = first + 1;
  while (i < end && access.order(i - 1, i) <= 0) ++i;
  if (i == end) return true;
  if (i != first + 1) return false;
  while (i < end && access.order(i - 1, i) > 0) ++i;
  if (i != end) return false;
  for (Index low = first, high = end - 1; low < high; ++low, --high) access.exchange(low, high);
  return true;
}

template <class Access>
void sort_by_insertion(const Access &access, Index first, Index count) {
  for (Index i = first + 1; i < first + count; ++i) {
    for (Index j = i; j > first && access.order(j - 1, j) > 0; --j) access.exchange(j - 1, j);
  }
}

/// Bottom-up heapsort (I. Wegener, 1993): a hole sinks to a leaf along the greater children, one compare a level; then
/// what was in it rises again, mostly not far.
template <class Access>
void sort_by_heap(const Access &access, Index first, Index count) {
  const auto sink = [&](Index root, Index size) {
    Index leaf = root;
    while (2 * leaf + 2 < size) {
      const Index child = 2 * leaf + 1;
      leaf = child + Index{access.order(first + child, first + child + 1) <= 0};
    }
    if (2 * leaf + 2 == size) leaf = 2 * leaf + 1;
    while (leaf != root && access.order(first + root, first + leaf) > 0) leaf = (leaf - 1) / 2;
    // Everything on the way from leaf to root goes up by one level, the root's element to leaf.
    while (leaf != root) {
      access.exchange(first + root, first + leaf);
      leaf = (leaf - 1) / 2;
    }
  };
  for (Index root = count / 2; root-- > 0;) sink(root, count);
  for (Index size = count - 1; size > 0; --size) {
    access.exchange(first, first + size);
    sink(0, size);
  }
}

template <class Access>
Index middle_of_three(const Access &access, Index a, Index b, Index c) {
  if (access.order(a, b) < 0) {
    if (access.order(b, c) <= 0) return b;
    return access.order(a, c) < 0 ? c : a;
  }
  if (access.order(b, c) >= 0) return b;
  return access.order(a, c) < 0 ? a : c;
}

/// The middle of three middles of three.
template <class Access>
Index choose_pivot(const Access &access, Index first, Index count) {
  const Index step = count / 9;
  Index middles[3];
  Index place = first + step / 2;
  for (Index &middle : middles) {
    middle = middle_of_three(access, place, place + step, place + 2 * step);
    place += 3 * step;
  }
  return middle_of_three(access, middles[0], middles[1], middles[2]);
}

template <class Access>
void swap_blocks(const Access &access, Index a, Index b, Index count) {
  for (Index i = 0; i < count; ++i) access.exchange(a + i, b + i);
}

/// Less than the pivot: [first, less_end); greater: [greater, end).
struct Split {
  Index less_end;
  Index greater;
};

/// Elements equal to the pivot are gathered at both ends and then moved between the others (J. L. Bentley and M. D.
/// McIlroy, "Engineering a sort function", 1993).
template <class Access>
Split split_three_ways(const Access &access, Index first, Index count) {
  const Index end = first + count;
  access.exchange(first, choose_pivot(access, first, count));
  // Equal: [first, equal_end) and [equal, end). Less: [equal_end, low). Greater: [high, equal). Not yet known: between.
  Index equal_end = first + 1, low = first + 1;
  Index high = end, equal = end;
  for (;;) {
    for (; low < high; ++low) {
      const int order = access.order(low, first);
      if (order > 0) break;
      if (order == 0) access.exchange(equal_end++, low);
    }
    for (; low < high; --high) {
      const int order = access.order(high - 1, first);
      if (order < 0) break;
      if (order == 0) access.exchange(--equal, high - 1);
    }
    if (low >= high) break;
    access.exchange(low++, --high);
  }
  const Index less = low - equal_end;
  const Index greater = equal - high;
  const Index front = std::min(equal_end - first, less);
  swap_blocks(access, first, low - front, front);
  const Index back = std::min(end - equal, greater);
  swap_blocks(access, low, end - back, back);
  return {first + less, end - greater};
}

template <class Access>
void sort_by_middles(const Access &access, Index first, Index count, int patience) {  // NOLINT(misc-no-recursion)
  constexpr Index kFew = 12;
  // The smaller part is sorted by recursion, which is so no deeper than log2(count).
  while (count > kFew) {
    if (patience < 0) {
      sort_by_heap(access, first, count);
      return;
    }
    const Split split = split_three_ways(access, first, count);
    const Index less = split.less_end - first;
    const Index greater = first + count - split.greater;
    // Equal elements are done: a split that finds many of them is a good one.
    patience -= cost_of_split(count, count - 1 - std::max(less, greater));
    if (less < greater) {
      sort_by_middles(access, first, less, patience);
      first = split.greater;
      count = greater;
    } else {
      sort_by_middles(access, split.greater, greater, patience);
      count = less;
    }
  }
  sort_by_insertion(access, first, count);
}

template <class Access>
void sort_guarded(const Access &access, Index first, Index count) {
  if (was_run(access, first, count)) return;
  sort_by_middles(access, first, count, static_cast<int>(std::bit_width(count)));
}

}  // namespace kiv::sort

#endif
