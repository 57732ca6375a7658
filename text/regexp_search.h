// Matching regular expressions without backtracking, with the results that backtracking has.
//
// What backtracking finds. Its ways through a pattern and a text are ordered by the first choice in which they differ:
// the one that takes a character comes before the one that leaves its item. Let two ways part at such a choice. From
// there on the earlier one is at no later place in the pattern than the other, until they meet: every item takes one
// character at a time, so that overtaking is only possible by skipping items, and that leads through every place up to
// the other's. When they have met they can go the same ways. Hence the way that comes first among those that reach the
// end of the pattern is also the one that reaches it last in the text: greedy matches are the longest ones. Likewise,
// the way that comes last is the one that reaches the end first: that is where a failing attempt stopped last.
//
// So a machine that follows all ways at once finds the same, in one pass over the text and without memory of its own.
//
// A search tries place after place. Most attempts end after a character or two; when they take long, as those of a*b on
// a row of a's, a pass that starts at every place at once tells whether there is a match at all, and passes over ever
// smaller parts find its start.
#ifndef KIV_TEXT_REGEXP_SEARCH_H
#define KIV_TEXT_REGEXP_SEARCH_H

#include <algorithm>

#include "kiv_string.h"
#include "regexp_machine.h"

namespace kiv::regexp {

inline constexpr size_t kNone = SIZE_MAX;

/// Attempts and searches in one text. Places are indices into the text; kNone is none of them.
template <class Machine>
class Search {
 public:
  Search(const Outline &outline, Machine *machine, const KIV_UNICHAR *text, bool whole)
      : outline_(outline), machine_(*machine), text_(text), only_at_end_(whole || outline.end_of_text) {}

  /// Where the match at a place ends.
  size_t match(size_t place) { return end_ = attempt<Wanted::longest>(place); }

  /// Where the match ends that was found last.
  size_t end() const { return end_; }

  /// After match(place) has failed: where an attempt last came to the end of the pattern, in vain.
  size_t match_stopped(size_t place) {
    return only_at_end_ ? in_vain().template attempt<Wanted::shortest>(place) : kNone;
  }

  /// The first place from first to last that matches. REQUIRES: first is not behind the end of the text.
  size_t first(size_t first, size_t last) {
    known_ = first;
    // Not further than to the end of the first match, when there is one.
    if (outline_.required != 0 && kiv_string_strchr(text_ + first, outline_.required) == nullptr) return kNone;
    size_t patience = kPatience;
    size_t previous = first;
    for (size_t place = candidate(first); place <= last && place != kNone; place = candidate(place + 1)) {
      patience += (place - previous) * kPatienceForPlace;
      previous = place;
      if (match(place) != kNone) return place;
      if (steps_ > patience) return place < last ? first_by_halving(place + 1, last) : kNone;
      patience -= steps_;
    }
    return kNone;
  }

  /// The last place from first to last that matches. REQUIRES: last < length, the length of the text.
  size_t last(size_t first, size_t last, size_t length) {
    size_t patience = kPatience;
    for (size_t place = last + 1; place-- > first;) {
      patience += kPatienceForPlace;
      if (!is_candidate(place, length)) continue;
      if (match(place) != kNone) return place;
      if (steps_ > patience) return place > first ? last_by_halving(first, place - 1) : kNone;
      patience -= steps_;
    }
    return kNone;
  }

  /// After a search has failed: where the last of all attempts to reach the end of the pattern came there.
  size_t first_stopped(size_t first, size_t last, size_t length) {
    if (!only_at_end_ || first >= length) return kNone;
    Search search = in_vain();
    return search.stop_of(search.last(first, last < length ? last : length - 1, length));
  }
  size_t last_stopped(size_t first, size_t last) {
    if (!only_at_end_) return kNone;
    Search search = in_vain();
    return search.stop_of(search.first(first, last));
  }

 private:
  enum class Wanted { longest, shortest };

  /// How many steps an attempt may take beyond those that the places passed have earned.
  static constexpr size_t kPatience = 128;
  static constexpr size_t kPatienceForPlace = 16;

  /// The same search with every end of the pattern counting as a match.
  Search in_vain() const {
    Search search = *this;
    search.only_at_end_ = false;
    return search;
  }

  size_t stop_of(size_t place) { return place != kNone ? attempt<Wanted::shortest>(place) : kNone; }

  bool matched(KIV_UNICHAR next) const { return machine_.at_end() && (!only_at_end_ || next == 0); }

  /// Where the longest or the shortest match at a place ends; steps_ is what it took.
  template <Wanted kWanted>
  size_t attempt(size_t place) {
    size_t end = kNone;
    size_t i = place;
    machine_.clear();
    machine_.start();
    for (;; ++i) {
      const KIV_UNICHAR c = text_[i];
      if (matched(c)) {
        end = i;
        if (kWanted == Wanted::shortest) break;
      }
      if (c == 0 || !machine_.alive()) break;
      machine_.step(c);
    }
    steps_ = i - place;
    return end;
  }

  /// Starts at every place from first to last at once. Gives the end of some match; no start of one lies behind it.
  size_t any(size_t first, size_t last) {
    machine_.clear();
    for (size_t i = first;; ++i) {
      const KIV_UNICHAR c = text_[i];
      if (c != 0 && i <= last) machine_.start();
      if (matched(c)) return i;
      if (c == 0 || (i >= last && !machine_.alive())) return kNone;
      machine_.step(c);
    }
  }

  size_t first_by_halving(size_t first, size_t last) {
    const size_t end = any(first, last);
    if (end == kNone) return kNone;
    last = std::min(last, end);
    while (first < last) {
      const size_t middle = first + (last - first) / 2;
      if (any(first, middle) != kNone) {
        last = middle;
      } else {
        first = middle + 1;
      }
    }
    match(first);
    return first;
  }

  size_t last_by_halving(size_t first, size_t last) {
    if (any(first, last) == kNone) return kNone;
    while (first < last) {
      const size_t middle = last - (last - first) / 2;
      if (any(middle, last) != kNone) {
        first = middle;
      } else {
        last = middle - 1;
      }
    }
    match(first);
    return first;
  }

  /// The first place from `place` on at which a match may start.
  size_t candidate(size_t place) {
    if (outline_.nullable) return text_[place] != 0 ? place : kNone;
    if (outline_.landmark_units == 0) {
      for (; text_[place] != 0; ++place) {
        if (machine_.may_start(text_[place])) return place;
      }
      return kNone;
    }
    // Up to known_ the text has not ended.
    const size_t offset = outline_.landmark_offset;
    for (; known_ < place + offset; ++known_) {
      if (text_[known_] == 0) return kNone;
    }
    const KIV_UNICHAR *from = text_ + place + offset;
    if (outline_.landmark_units == 1 && *from == outline_.landmark[0]) return place;
    const KIV_UNICHAR *found = outline_.landmark_units == 1 ? kiv_string_strchr(from, outline_.landmark[0])
                                                            : kiv_string_strstr(from, outline_.landmark);
    if (found == nullptr) return kNone;
    known_ = static_cast<size_t>(found - text_);
    return known_ - offset;
  }

  bool is_candidate(size_t place, size_t length) {
    if (outline_.nullable) return true;
    if (outline_.landmark_units == 0) return machine_.may_start(text_[place]);
    return outline_.landmark_offset < length - place && text_[place + outline_.landmark_offset] == outline_.landmark[0];
  }

  const Outline &outline_;
  Machine &machine_;
  const KIV_UNICHAR *text_;
  bool only_at_end_;  // of the text
  size_t end_ = kNone;
  size_t known_ = 0;
  size_t steps_ = 0;
};

/// Out of line, so that callers do not have this machine's 64 KiB on their stack when they need the other one.
template <class Body>
[[gnu::noinline]] auto with_large_machine(const Outline &outline, Body body) {
  LargeMachine machine(outline);
  return body(&machine);
}

/// Gives body(machine) with the machine for a pattern; `otherwise` when no text matches.
template <class Result, class Body>
Result with_machine(const Outline &outline, Result otherwise, Body body) {
  if (outline.never) return otherwise;
  if (outline.items <= SmallMachine::kMostItems) {
    SmallMachine machine(outline);
    return body(&machine);
  }
  if (outline.units <= LargeMachine::kMostUnits) return with_large_machine(outline, body);
  return otherwise;
}

}  // namespace kiv::regexp

#endif
