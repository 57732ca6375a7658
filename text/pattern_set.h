// Sets in square brackets, as both pattern languages have them.
#ifndef KIV_TEXT_PATTERN_SET_H
#define KIV_TEXT_PATTERN_SET_H

#include "kiv_types.h"

namespace kiv::pattern {

/// Whether a backslash in a set makes the next code point a member.
enum class SetEscapes : bool { none, backslash };

/// A place in a pattern: the members of a set, behind "[" and "^".
struct Set {
  const KIV_UNICHAR *members;
  bool negated;
};

/// Calls visit(low, high) for each member until it gives true. Null when the pattern ends inside the set, else a place
/// in it: behind the set, when visit never gave true.
template <SetEscapes kEscapes, class Visit>
const KIV_UNICHAR *walk_members(const KIV_UNICHAR *p, Visit visit) {
  const auto read = [&p] {
    if (kEscapes == SetEscapes::backslash && *p == '\\') ++p;
    return *p != 0 ? *p++ : 0;
  };
  // The first member may be a "]".
  do {
    const KIV_UNICHAR low = read();
    KIV_UNICHAR high = low;
    if (low != 0 && p[0] == '-' && p[1] != ']' && p[1] != 0) {
      ++p;
      high = read();
    }
    if (high == 0) return nullptr;
    if (visit(low, high)) return p;
  } while (*p != ']');
  return p + 1;
}

/// Reads the set that begins behind the "[" at p. Gives the place behind it, or null when the pattern ends inside.
template <SetEscapes kEscapes>
const KIV_UNICHAR *read_set(const KIV_UNICHAR *p, Set *set) {
  set->negated = *p == '^';
  set->members = set->negated ? p + 1 : p;
  return walk_members<kEscapes>(set->members, [](KIV_UNICHAR, KIV_UNICHAR) { return false; });
}

/// REQUIRES: read_set has found the set's end, and c is a character. The end of the text is in no set, not even in a
/// negated one: callers see it before.
template <SetEscapes kEscapes>
bool contains(const Set &set, KIV_UNICHAR c) {
  bool found = false;
  walk_members<kEscapes>(set.members, [&found, c](KIV_UNICHAR low, KIV_UNICHAR high) {
    found = low <= c && c <= high;
    return found;
  });
  return found != set.negated;
}

}  // namespace kiv::pattern

#endif
