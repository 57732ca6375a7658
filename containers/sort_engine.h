// Quicksort by fixed steps, in O(n log n) compares and swaps and bounded stack whatever the array and its compare.
//
// The steps of a Partition decide the result for all arrays but those that they split badly. Each path from the whole
// array down to a range has a patience of so many bits. A split of n > 64 elements that leaves s on its smaller side
// costs log2(n / (s + 1)) - 2 of them, rounded down, at least 0: a split by a random pivot costs k bits or more once in
// 2^(k + 1) times. Where a range has none left, it is finished by other means: see sort_guarded.h.
//
// The patience for n elements is 40 + 4 log2(n) bits. Among arrays in random order less than one in 10^8 has a path
// that costs as much, for any n up to 2^24 (bounded by the expected value of 1.4^cost or 1.6^cost, summed over all
// paths). A sorted array of a million, whose splits cost 17 each, loses its patience in the seventh.
//
// Depth: a path has at most 5.2 log2(n / 64) splits that cost nothing and so leave at most 7/8 of a range, 1 + 40 + 4
// log2(n) that cost something, and 63 splits of at most 64 elements: 360 for n = 2^31. Only the left parts among them
// take stack. So the left part can come first, as the order of compares demands, even where it is the larger one.
#ifndef KIV_CONTAINERS_SORT_ENGINE_H
#define KIV_CONTAINERS_SORT_ENGINE_H

#include <algorithm>
#include <bit>

#include "containers/sort_access.h"
#include "containers/sort_guarded.h"

namespace kiv::sort {

/// How far ahead of the compares elements are expected.
constexpr Index kAhead = 8;

/// The pivot is the first element and waits at the end; elements equal to it go left.
struct FirstPivot {
  /// Splits count > 1 elements from first on; where the pivot is then.
  template <class Access>
  static Index split(const Access &access, Index first, Index count) {
    const Index pivot = first + count - 1;
    access.exchange(first, pivot);
    Index place = first;
    for (Index i = first; i < pivot; ++i) {
      access.expect(std::min(i + kAhead, pivot));
      const bool left = access.order(i, pivot) <= 0;
      access.exchange_if(left, place, i);
      place += Index{left};
    }
    access.exchange(place, pivot);
    return place;
  }
};

/// The pivot is the middle element and waits in front; elements equal to it stay right.
struct MiddlePivot {
  template <class Access>
  static Index split(const Access &access, Index first, Index count) {
    const Index last = first + count - 1;
    access.exchange(first, first + count / 2);
    Index place = first;
    for (Index i = first + 1; i <= last; ++i) {
      access.expect(std::min(i + kAhead, last));
      const bool left = access.order(i, first) < 0;
      place += Index{left};
      access.exchange_if(left, place, i);
    }
    access.exchange(first, place);
    return place;
  }
};

/// Sorts a range; the number of elements in the last, rightmost part of it, 0 or 1.
template <class Partition, class Access>
Index sort_range(const Access &access, Index first, Index count, int patience) {  // NOLINT(misc-no-recursion): above
  while (count > 1) {
    if (patience < 0) {
      sort_guarded(access, first, count);
      return 0;
    }
    const Index pivot = Partition::split(access, first, count);
    const Index left = pivot - first;
    const Index right = count - 1 - left;
    if (count > KIV_QSORT_EXACT_COUNT) patience -= cost_of_split(count, std::min(left, right));
    sort_range<Partition>(access, first, left, patience);
    first = pivot + 1;
    count = right;
  }
  return count;
}

template <class Partition, class Access>
Index sort(const Access &access, Index count) {
  return sort_range<Partition>(access, 0, count, 36 + 4 * static_cast<int>(std::bit_width(count)));
}

}  // namespace kiv::sort

#endif
