// Two machines that follow all ways through a regular expression at once. A state is a place in the pattern before an
// item, or its end. They have the same operations:
//
//   clear()         no states
//   start()         adds the pattern's start
//   step(c)         goes on by the character c
//   at_end()        whether the end of the pattern is among the states
//   alive()         whether another state is
//   may_start(c)    false when no match of a pattern that is not nullable begins with c
//
// Invariant, after each operation: with the place before an item that can be skipped, the place behind it is a state.
#ifndef KIV_TEXT_REGEXP_MACHINE_H
#define KIV_TEXT_REGEXP_MACHINE_H

#include <algorithm>
#include <bit>

#include "regexp_item.h"

namespace kiv::regexp {

/// For patterns of up to 63 items: a state is a bit of one word, and a step is some operations on words. Which items
/// match a character is remembered for as many characters as ASCII has.
class SmallMachine {
 public:
  static constexpr size_t kMostItems = 63;

  explicit SmallMachine(const Outline &outline) : count_(outline.items), end_(uint64_t{1} << outline.items) {
    const KIV_UNICHAR *p = outline.pattern;
    for (size_t i = 0; i < count_; ++i) {
      read_item(p, &items_[i]);
      const uint64_t bit = uint64_t{1} << i;
      if (items_[i].skippable()) skippable_ |= bit;
      if (items_[i].repeats()) repeating_ |= bit;
      if (items_[i].advances()) advancing_ |= bit;
    }
    start_ = with_skipped(1);
  }

  void clear() { states_ = 0; }
  void start() { states_ |= start_; }
  bool at_end() const { return (states_ & end_) != 0; }
  bool alive() const { return (states_ & ~end_) != 0; }
  bool may_start(KIV_UNICHAR c) { return (start_ & matching(c)) != 0; }

  void step(KIV_UNICHAR c) {
    uint64_t matched = states_ & ~end_;
    if ((matched & (matched - 1)) != 0) {
      matched &= matching(c);
    } else if (matched != 0 && !items_[std::countr_zero(matched)].matches(c)) {
      matched = 0;
    }
    states_ = with_skipped((matched & repeating_) | (matched & advancing_) << 1);
  }

 private:
  static constexpr size_t kRemembered = 128;

  /// A state at the start or in the middle of a run of items that can be skipped brings all later places of the run and
  /// the one behind it. Adding it to the run's bits carries through just these, except where other states stand.
  uint64_t with_skipped(uint64_t states) const { return states | (((states & skippable_) + skippable_) ^ skippable_); }

  uint64_t matching(KIV_UNICHAR c) {
    const size_t slot = c % kRemembered;
    if (characters_[slot] != c) remember(slot, c);
    return matching_[slot];
  }

  [[gnu::noinline]] void remember(size_t slot, KIV_UNICHAR c) {
    uint64_t mask = 0;
    for (size_t i = 0; i < count_; ++i) mask |= uint64_t{items_[i].matches(c)} << i;
    characters_[slot] = c;
    matching_[slot] = mask;
  }

  const size_t count_;
  const uint64_t end_;
  uint64_t start_ = 0, states_ = 0;
  uint64_t skippable_ = 0, repeating_ = 0, advancing_ = 0;
  KIV_UNICHAR characters_[kRemembered] = {};  // 0 is no character
  uint64_t matching_[kRemembered];
  Item items_[kMostItems];
};

/// For longer patterns: a state is a bit at its offset in the pattern, and items are read anew at every step.
class LargeMachine {
 public:
  static constexpr size_t kMostUnits = (1 << 19) - 1;

  explicit LargeMachine(const Outline &outline) : pattern_(outline.pattern), end_(outline.units) {}

  void clear() {
    if (low_ <= high_) std::fill(words_ + low_ / 64, words_ + high_ / 64 + 1, 0);
    low_ = kMostUnits;
    high_ = 0;
  }
  void start() {
    add(0);
    add_skipped();
  }
  bool at_end() const { return has(end_); }
  bool alive() const { return low_ < end_; }
  bool may_start(KIV_UNICHAR) const { return true; }

  /// From the last state to the first: what a state brings lies not before it, and so is never met again.
  void step(KIV_UNICHAR c) {
    size_t state = high_;
    bool more = low_ <= high_;
    const size_t first = low_;
    low_ = kMostUnits;
    high_ = 0;
    while (more) {
      more = state > first;
      const size_t here = state;
      if (more) state = previous(state - 1);
      words_[here / 64] &= ~(uint64_t{1} << here % 64);
      if (here == end_) continue;
      Item item;
      const KIV_UNICHAR *behind = pattern_ + here;
      read_item(behind, &item);
      if (!item.matches(c)) continue;
      if (item.repeats()) add(here);
      if (item.advances()) add(static_cast<size_t>(behind - pattern_));
    }
    add_skipped();
  }

 private:
  bool has(size_t state) const { return (words_[state / 64] >> state % 64 & 1) != 0; }
  void add(size_t state) {
    words_[state / 64] |= uint64_t{1} << state % 64;
    low_ = std::min(low_, state);
    high_ = std::max(high_, state);
  }

  /// From the first state to the last: what a skipped item brings lies behind it.
  void add_skipped() {
    for (size_t state = low_; state < end_ && state <= high_; state = next(state + 1)) {
      Item item;
      const KIV_UNICHAR *behind = pattern_ + state;
      read_item(behind, &item);
      if (item.skippable()) add(static_cast<size_t>(behind - pattern_));
    }
  }

  /// The first state from `from` on; behind the last one when there is none.
  size_t next(size_t from) const {
    size_t word = from / 64;
    uint64_t bits = words_[word] >> from % 64 << from % 64;
    while (bits == 0) {
      if (++word > high_ / 64) return high_ + 1;
      bits = words_[word];
    }
    return word * 64 + static_cast<size_t>(std::countr_zero(bits));
  }

  /// The last state up to `from`. REQUIRES: there is one.
  size_t previous(size_t from) const {
    size_t word = from / 64;
    uint64_t bits = words_[word] << (63 - from % 64) >> (63 - from % 64);
    while (bits == 0) bits = words_[--word];
    return word * 64 + 63 - static_cast<size_t>(std::countl_zero(bits));
  }

  const KIV_UNICHAR *pattern_;
  const size_t end_;
  size_t low_ = kMostUnits, high_ = 0;        // the first and the last state, when low <= high
  uint64_t words_[kMostUnits / 64 + 1] = {};  // all 0 outside of these
};

}  // namespace kiv::regexp

#endif
