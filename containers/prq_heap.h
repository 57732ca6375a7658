// The heap of a priority queue: orders of keys, and the two ways in which an entry finds its place.
//
// Representation: entries[0 .. count), the children of entry i at 2i + 1 and 2i + 2. An entry on its way is held aside
// and leaves a hole; entries that it passes move into the hole one by one, and it is stored where it stops. That moves
// each entry once where exchanging neighbours moves it twice, and leaves the same arrangement after the same compares.
// Invariants, hole and moving entry apart:
//   1. No entry's key is above its parent's.
//   2. *entries[i].position == i.
// Cost: O(log n) compares, moves and stores into positions.
// Source: J. W. J. Williams, "Algorithm 232: Heapsort", 1964.
#ifndef KIV_CONTAINERS_PRQ_HEAP_H
#define KIV_CONTAINERS_PRQ_HEAP_H

#include <cstddef>
#include <cstdint>

#include "kiv_prq.h"
#include "numbers/uint128.h"

namespace kiv::prq {

using Entry = KIV_PRQ_ENTRY;
using Key = KIV_PRQ_KEY;

// --- Orders ----------------------------------------------------------------------------------------------------------
//
// Each has above(a, b), whether a belongs above b, and below(a, b). For numbers one is the other with its arguments
// exchanged; a callback takes its arguments as they are, since it may be told them in order.

/// Numbers: kRead takes one out of a key.
template <auto kRead, bool kSmallestFirst>
struct NumberOrder {
  static constexpr bool kIsNumber = true;
  static bool above(const Key &a, const Key &b) { return kSmallestFirst ? kRead(a) < kRead(b) : kRead(a) > kRead(b); }
  static bool below(const Key &a, const Key &b) { return above(b, a); }
};

inline uint64_t read_u64(const Key &key) { return key.u64; }
inline UInt128 read_u128(const Key &key) { return make_uint128(key.u128.hi, key.u128.lo); }

template <bool kSmallestFirst>
struct CustomOrder {
  static constexpr bool kIsNumber = false;
  KIV_PRQ_COMPARE compare;
  void *context;

  // The result's sign is looked at the other way round, not negated: INT_MIN has no negative.
  bool above(const Key &a, const Key &b) const {
    const int result = compare(a.word, b.word, context);
    return kSmallestFirst ? result < 0 : result > 0;
  }
  bool below(const Key &a, const Key &b) const {
    const int result = compare(a.word, b.word, context);
    return kSmallestFirst ? result > 0 : result < 0;
  }
};

/// Of keys of no known kind: all are equal.
struct NoOrder {
  static constexpr bool kIsNumber = false;
  static bool above(const Key &, const Key &) { return false; }
  static bool below(const Key &, const Key &) { return false; }
};

/// Calls action with the queue's order, and gives what it gives.
template <class Action>
auto with_order(const KIV_PRQ &queue, Action action) {
  const bool smallest_first = queue.smallest_first != 0;
  switch (queue.key_kind) {
    case KIV_PRQ_KEY_U64:
      return smallest_first ? action(NumberOrder<read_u64, true>{}) : action(NumberOrder<read_u64, false>{});
    case KIV_PRQ_KEY_U128:
      return smallest_first ? action(NumberOrder<read_u128, true>{}) : action(NumberOrder<read_u128, false>{});
    case KIV_PRQ_KEY_CUSTOM:
      return smallest_first ? action(CustomOrder<true>{queue.compare, queue.compare_context})
                            : action(CustomOrder<false>{queue.compare, queue.compare_context});
    default:
      return action(NoOrder{});
  }
}

// --- Moves -----------------------------------------------------------------------------------------------------------

inline void place(Entry *entries, size_t index, const Entry &entry) {
  entries[index] = entry;
  *entry.position = static_cast<uint32_t>(index);
}

/// Places entry at hole or, while passes(parent's key), at the parent's index, and so on.
template <class Passes>
void sift_up(Entry *entries, size_t hole, const Entry &entry, Passes passes) {
  while (hole > 0) {
    const size_t parent = (hole - 1) / 2;
    if (!passes(entries[parent].key)) break;
    place(entries, hole, entries[parent]);
    hole = parent;
  }
  place(entries, hole, entry);
}

/// The child that comes up before all others: the one that belongs above the other, the left one of equal ones.
template <class Order>
size_t upper_child(const Entry *entries, size_t left, size_t count, const Order &order) {
  if (left + 1 == count) return left;
  return left + static_cast<size_t>(order.above(entries[left + 1].key, entries[left].key));
}

/// Places entry at hole or, while a child belongs above it, at that child's index, and so on.
template <class Order>
void sift_down(Entry *entries, size_t count, size_t hole, const Entry &entry, const Order &order) {
  for (size_t left; (left = 2 * hole + 1) < count;) {
    size_t child = left;
    if constexpr (Order::kIsNumber) {
      // If the left child does not belong above the entry, but the right one does, then that is above the left one too:
      // so the choice of the child need not wait for the entry's own compare.
      child = upper_child(entries, left, count, order);
      if (!order.above(entries[child].key, entry.key)) break;
    } else {
      const Key *uppermost = &entry.key;
      if (order.above(entries[left].key, *uppermost)) uppermost = &entries[left].key;
      if (left + 1 < count && order.above(entries[left + 1].key, *uppermost)) {
        uppermost = &entries[left + 1].key;
        child = left + 1;
      }
      if (uppermost == &entry.key) break;
    }
    place(entries, hole, entries[child]);
    hole = child;
  }
  place(entries, hole, entry);
}

}  // namespace kiv::prq

#endif
