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
// Each has value(key), what it takes out of a key, and above(a, b), whether a belongs above b, of such values; below is
// the other way round. For numbers that is above with its arguments exchanged; callbacks are told theirs in order.

inline uint64_t read_u64(const Key &key) { return key.u64; }
inline UInt128 read_u128(const Key &key) { return make_uint128(key.u128.hi, key.u128.lo); }

template <auto kRead, bool kSmallestFirst>
struct NumberOrder {
  static constexpr bool kIsNumber = true;
  static auto value(const Key &key) { return kRead(key); }
  template <class Number>
  static bool above(Number a, Number b) {
    return kSmallestFirst ? a < b : a > b;
  }
  template <class Number>
  static bool below(Number a, Number b) {
    return above(b, a);
  }
};

template <bool kSmallestFirst>
struct CustomOrder {
  static constexpr bool kIsNumber = false;
  KIV_PRQ_COMPARE compare;
  void *context;

  static const void *value(const Key &key) { return key.word; }
  // The result's sign is looked at the other way round, not negated: INT_MIN has no negative.
  bool above(const void *a, const void *b) const {
    const int result = compare(a, b, context);
    return kSmallestFirst ? result < 0 : result > 0;
  }
  bool below(const void *a, const void *b) const {
    const int result = compare(a, b, context);
    return kSmallestFirst ? result > 0 : result < 0;
  }
};

/// Of keys of no known kind: all are equal.
struct NoOrder {
  static constexpr bool kIsNumber = false;
  static const void *value(const Key &) { return nullptr; }
  static bool above(const void *, const void *) { return false; }
  static bool below(const void *, const void *) { return false; }
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
//
// An entry on its way may stand in a slot behind the count: nothing moves there.

inline void place(Entry *entries, size_t index, const Entry &entry) {
  entries[index] = entry;
  *entry.position = static_cast<uint32_t>(index);
}

/// Places entry at hole or, while passes(parent's value), at the parent's index, and so on.
template <class Order, class Passes>
void sift_up(Entry *entries, size_t hole, const Entry &entry, const Order &order, Passes passes) {
  while (hole > 0) {
    const size_t parent = (hole - 1) / 2;
    if (!passes(order.value(entries[parent].key))) break;
    place(entries, hole, entries[parent]);
    hole = parent;
  }
  place(entries, hole, entry);
}

/// As many entries as a processor's own caches can be expected to hold.
constexpr size_t kCachedCount = 1 << 16;

/// Of the children right - 1 and right: the one that belongs above the other, or the left one of equal ones.
template <bool kCached, class Order>
size_t upper_child(const Entry *entries, size_t right, const Order &order) {
  const bool right_is_above = order.above(order.value(entries[right].key), order.value(entries[right - 1].key));
  if constexpr (kCached) {
    // Fetches the four entries that follow the two, whichever it will be; beyond the array this does nothing.
    const uintptr_t next = reinterpret_cast<uintptr_t>(entries) + (2 * right - 1) * sizeof(Entry);
    __builtin_prefetch(reinterpret_cast<const void *>(next));
    __builtin_prefetch(reinterpret_cast<const void *>(next + 2 * sizeof(Entry)));
    __builtin_prefetch(reinterpret_cast<const void *>(next + 4 * sizeof(Entry) - 1));
    return right - 1 + static_cast<size_t>(right_is_above);
  }
  // A branch that is guessed wrong half of the time, but by guessing the processor fetches what lies further down
  // before the keys have arrived. The empty statement keeps the compiler from doing without the branch.
  if (right_is_above) return right;
  asm volatile("");
  return right - 1;
}

/// sift_down for numbers. If the left child does not belong above the entry, but the right one does, then that is above
/// the left one too: so the choice of the child need not wait for the entry's own compare.
template <bool kCached, class Order>
void sift_number_down(Entry *entries, size_t count, size_t hole, const Entry &entry, const Order &order) {
  const auto value = order.value(entry.key);
  size_t right;
  while ((right = 2 * hole + 2) < count) {
    const size_t child = upper_child<kCached>(entries, right, order);
    if (!order.above(order.value(entries[child].key), value)) break;
    place(entries, hole, entries[child]);
    hole = child;
  }
  // An only child has none itself.
  if (right == count && order.above(order.value(entries[right - 1].key), value)) {
    place(entries, hole, entries[right - 1]);
    hole = right - 1;
  }
  place(entries, hole, entry);
}

/// Places entry at hole or, while a child belongs above it, at that child's index, and so on.
template <class Order>
void sift_down(Entry *entries, size_t count, size_t hole, const Entry &entry, const Order &order) {
  if constexpr (Order::kIsNumber) {
    return count <= kCachedCount ? sift_number_down<true>(entries, count, hole, entry, order)
                                 : sift_number_down<false>(entries, count, hole, entry, order);
  }
  const auto value = order.value(entry.key);
  for (size_t left; (left = 2 * hole + 1) < count;) {
    size_t child = hole;
    auto uppermost = value;
    if (order.above(order.value(entries[left].key), uppermost)) {
      child = left;
      uppermost = order.value(entries[left].key);
    }
    if (left + 1 < count && order.above(order.value(entries[left + 1].key), uppermost)) child = left + 1;
    if (child == hole) break;
    place(entries, hole, entries[child]);
    hole = child;
  }
  place(entries, hole, entry);
}

/// Places entry at index, the slot of a removed one, or wherever it belongs from there.
template <class Order>
void replace(Entry *entries, size_t count, size_t index, const Entry &entry, const Order &order) {
  const auto value = order.value(entry.key);
  const auto passes = [&](auto parent) { return order.above(value, parent); };
  bool goes_down;
  if constexpr (Order::kIsNumber) {
    // An entry that belongs above the parent belongs above the removed one too, which need not be looked at: one that
    // lies between the two stays here either way.
    goes_down = index == 0 || !passes(order.value(entries[(index - 1) / 2].key));
  } else {
    goes_down = order.below(value, order.value(entries[index].key));
  }
  if (goes_down) {
    sift_down(entries, count, index, entry, order);
  } else {
    sift_up(entries, index, entry, order, passes);
  }
}

}  // namespace kiv::prq

#endif
