// One step of a quicksort: which elements go to the left of the pivot, and what a bad split costs.
#ifndef KIV_CONTAINERS_SORT_SPLIT_H
#define KIV_CONTAINERS_SORT_SPLIT_H

#include <algorithm>
#include <bit>

#include "containers/sort_access.h"

namespace kiv::sort {

/// Where elements equal to the pivot go.
enum class Equals { left, right };

/// Exchanges the elements of [from, end) that belong to the left of the pivot, in their order, with those from place
/// on; where the next one would go (N. Lomuto's scheme). place <= from; the pivot lies elsewhere.
template <Equals kEquals, class Access>
Index gather_left(const Access &access, Index place, Index from, Index end, Index pivot) {
  // Elements are expected this far ahead: a few compares take as long as a cache miss.
  constexpr Index kAhead = 16;
  for (Index i = from; i < end; ++i) {
    access.expect(std::min(i + kAhead, end - 1));
    const int order = access.order(i, pivot);
    const bool left = kEquals == Equals::left ? order <= 0 : order < 0;
    access.exchange_if(left, place, i);
    place += Index{left};
  }
  return place;
}

/// The pivot is the first element and waits at the end; elements equal to it go left.
struct FirstPivot {
  /// Splits count > 1 elements from first on; where the pivot is then.
  template <class Access>
  static Index split(const Access &access, Index first, Index count) {
    const Index pivot = first + count - 1;
    access.exchange(first, pivot);
    const Index place = gather_left<Equals::left>(access, first, first, pivot, pivot);
    access.exchange(place, pivot);
    return place;
  }
};

/// The pivot is the middle element and waits in front; elements equal to it stay right.
struct MiddlePivot {
  template <class Access>
  static Index split(const Access &access, Index first, Index count) {
    access.exchange(first, first + count / 2);
    const Index place = gather_left<Equals::right>(access, first + 1, first + 1, first + count, first) - 1;
    access.exchange(first, place);
    return place;
  }
};

/// How bad it is to split count elements so that only smaller of them lie on one side of the pivot: 0 for an eighth or
/// more, and then the square of the number of times that this share was halved. With a pivot drawn at random, this
/// number is k or more once in 2^(k + 1) times.
inline int cost_of_split(Index count, Index smaller) {
  const int halvings = std::max(0, static_cast<int>(std::bit_width(count / (smaller + 1))) - 3);
  return halvings * halvings;
}

}  // namespace kiv::sort

#endif
