// Ranges that consist of a few runs: these are merged where they are.
//
// A merge takes O(n) compares, fewer where one run is much the shorter, and O(n log n) exchanges, which are cheap: they
// go through memory in order and look into no element.
#ifndef KIV_CONTAINERS_SORT_RUNS_H
#define KIV_CONTAINERS_SORT_RUNS_H

#include <algorithm>

#include "containers/sort_access.h"

namespace kiv::sort {

template <class Access>
void exchange_blocks(const Access &access, Index a, Index b, Index count) {
  for (Index i = 0; i < count; ++i) access.exchange(a + i, b + i);
}

/// Moves [middle, end) before [first, middle), both not empty, by exchanges of blocks of the shorter one's size.
template <class Access>
void rotate(const Access &access, Index first, Index middle, Index end) {
  Index left = middle - first, right = end - middle;
  while (left != right) {
    if (left > right) {
      exchange_blocks(access, middle - left, middle, right);
      left -= right;
    } else {
      exchange_blocks(access, middle - left, middle + right - left, left);
      right -= left;
    }
  }
  exchange_blocks(access, middle - left, middle, left);
}

/// Merges two sorted ranges, [first, middle) and [middle, end). A rotation brings the lesser half of all elements into
/// the left half of the places, which is found by a binary search in which the distances to both sides of the middle
/// are equal; then each half holds two sorted ranges again (P.-S. Kim and A. Kutzner, "Stable minimum storage merging
/// by symmetric comparisons", 2004). The recursion halves the range.
template <class Access>
void merge(const Access &access, Index first, Index middle, Index end) {  // NOLINT(misc-no-recursion)
  if (first == middle || middle == end) return;
  const Index half = first + (end - first) / 2;
  const Index sum = half + middle;
  Index low = middle > half ? sum - end : first;
  Index high = std::min(middle, half);
  while (low < high) {
    const Index i = low + (high - low) / 2;
    if (access.order(i, sum - 1 - i) <= 0) {
      low = i + 1;
    } else {
      high = i;
    }
  }
  const Index mirror = sum - low;
  if (low < middle && middle < mirror) rotate(access, low, middle, mirror);
  merge(access, first, low, half);
  merge(access, half, mirror, end);
}

/// Where the run that begins at first ends; a strictly descending one is reversed.
template <class Access>
Index make_run(const Access &access, Index first, Index end) {
  Index i = first + 1;
  if (i == end) return end;
  // Elements are expected some way ahead, see gather_left.
  const auto follows = [&](bool descending) {
    access.expect(std::min(i + 16, end - 1));
    return (access.order(i - 1, i) > 0) == descending;
  };
  const bool descending = access.order(i - 1, i) > 0;
  for (++i; i < end && follows(descending);) ++i;
  if (descending) {
    for (Index low = first, high = i - 1; low < high; ++low, --high) access.exchange(low, high);
  }
  return i;
}

/// Sorts the range if it consists of few runs; gives up, with some of them reversed, when there are more.
template <class Access>
bool merge_runs(const Access &access, Index first, Index count) {
  constexpr Index kMost = 16;
  Index bounds[kMost + 1] = {first};
  Index runs = 0;
  while (bounds[runs] < first + count) {
    if (runs == kMost) return false;
    bounds[runs + 1] = make_run(access, bounds[runs], first + count);
    ++runs;
  }
  while (runs > 1) {
    Index merged = 0;
    for (Index i = 0; i < runs; i += 2) {
      if (i + 1 < runs) merge(access, bounds[i], bounds[i + 1], bounds[i + 2]);
      bounds[++merged] = bounds[std::min(i + 2, runs)];
    }
    runs = merged;
  }
  return true;
}

}  // namespace kiv::sort

#endif
