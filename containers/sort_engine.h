// Quicksort by fixed steps, whose cost is bounded whatever the array and its compare.
//
// The steps, a pivot rule of sort_split.h, decide the result for every array but those that they split badly. Arrays of
// up to KIV_QSORT_EXACT_COUNT elements are too small for that to matter. In others each path from the whole array down
// to a range has patience for splits of a total cost (cost_of_split) of 64 + 3 L min(L, 25), where L is log2(n),
// rounded down. Splits of at most 16 elements are free. A range without patience left is finished by the means of
// sort_guarded.h.
//
// Among arrays of n <= 2^24 elements in random order, fewer than one in 10^7 has a path that costs as much (bounded by
// the expected value of e^(t cost), summed over all paths, for the best t). In a sorted array of a million, whose
// splits cost 289 each, the patience ends with the fourth.
//
// Compares: both terms of the depth below are O(log n), so n elements take O(n log n). A compare made to use up all
// patience slowly, by splits of 1 : 61 throughout, reaches 5 n log2(n), against 1.4 for random order.
//
// Depth: a split whose cost is the square of h leaves at most 1 - 1/2^(h+3) of a range. For every h, 20/2^(h+3) +
// h^2/10 is at least 1; summed over the splits of a path with more than 16 elements, these are at most 20 ln(n/16) plus
// a tenth of the total cost: 620 splits for n = 2^31, 350 for a million. Few follow. Only the left parts among them
// take stack. So the left part can come first, as the order of compares demands, even where it is the larger one.
#ifndef KIV_CONTAINERS_SORT_ENGINE_H
#define KIV_CONTAINERS_SORT_ENGINE_H

#include <algorithm>
#include <bit>

#include "containers/sort_guarded.h"
#include "containers/sort_split.h"

namespace kiv::sort {

/// Splits of so many elements cost nothing.
constexpr Index kFree = 16;

/// Sorts a range. Gives the number of elements in the last, rightmost part of it: 0 or 1.
template <class Pivot, class Access>
Index sort_range(const Access &access, Index first, Index count, int patience) {  // NOLINT(misc-no-recursion): above
  while (count > 1) {
    if (patience < 0) {
      sort_guarded(access, first, count);
      return 0;
    }
    const Index pivot = Pivot::split(access, first, count);
    const Index left = pivot - first;
    const Index right = count - 1 - left;
    if (count > kFree) patience -= cost_of_split(count, std::min(left, right));
    if (left > 1) sort_range<Pivot>(access, first, left, patience);
    first = pivot + 1;
    count = right;
  }
  return count;
}

template <class Pivot, class Access>
Index sort(const Access &access, Index count) {
  const int log = std::max(0, static_cast<int>(std::bit_width(count)) - 1);
  // The worst path of an array that has to be sorted exactly costs less than this.
  constexpr int kEndless = 16 * KIV_QSORT_EXACT_COUNT;
  return sort_range<Pivot>(access, 0, count,
                           count <= KIV_QSORT_EXACT_COUNT ? kEndless : 64 + 3 * log * std::min(log, 25));
}

}  // namespace kiv::sort

#endif
