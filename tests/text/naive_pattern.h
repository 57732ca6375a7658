// The pattern languages by plain recursive backtracking, and how tests and fuzzers hold the matchers against it.
#ifndef KIV_TESTS_TEXT_NAIVE_PATTERN_H
#define KIV_TESTS_TEXT_NAIVE_PATTERN_H

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "kiv_string_pattern.h"

namespace kiv::test {

using Text = std::basic_string<KIV_UNICHAR>;

inline Text widen(std::string_view bytes) { return Text(bytes.begin(), bytes.end()); }
inline std::string narrow(const Text &text) { return std::string(text.begin(), text.end()); }

/// Reads a set behind its "["; moves p behind it, or to null when the pattern ends inside. Gives whether c is in it.
inline bool naive_set(const KIV_UNICHAR *&p, KIV_UNICHAR c, bool escapes) {
  const bool negated = *p == '^';
  if (negated) ++p;
  std::vector<std::pair<KIV_UNICHAR, bool>> units;  // and whether each was escaped
  bool closed = false;
  while (*p != 0 && !closed) {
    if (*p == ']' && !units.empty()) {
      closed = true;
    } else if (*p == '\\' && escapes) {
      if (*++p == 0) break;
      units.push_back({*p, true});
    } else {
      units.push_back({*p, false});
    }
    ++p;
  }
  if (!closed) return p = nullptr, false;
  bool found = false;
  for (size_t i = 0; i < units.size(); ++i) {
    // A "-" after a member and before another makes a range of them.
    const bool range = i + 2 < units.size() && units[i + 1] == std::pair<KIV_UNICHAR, bool>{'-', false};
    const KIV_UNICHAR low = units[i].first, high = units[range ? i + 2 : i].first;
    found = found || (low <= c && c <= high);
    if (range) i += 2;
  }
  return c != 0 && found != negated;
}

struct NaiveResult {
  int64_t place = -1;
  /// The last end that was stored, if any.
  std::optional<size_t> end;
  bool operator==(const NaiveResult &) const = default;
};

class NaiveRegExp {
 public:
  NaiveRegExp(const Text &text, const Text &re, int64_t most_steps = INT64_MAX)
      : text_(text), re_(re), steps_left_(most_steps) {}

  /// Whether the limit of steps was not reached: else results mean nothing.
  bool finished() const { return steps_left_ > 0; }

  NaiveResult match_at_start(bool whole) { return anchored(re_.c_str(), whole); }

  NaiveResult search(int64_t start, bool backwards) {
    const bool whole = !re_.empty() && re_.back() == '$' && (re_.size() == 1 || re_[re_.size() - 2] != '\\');
    const auto length = static_cast<int64_t>(text_.size());
    end_ = 0;
    if (!re_.empty() && re_[0] == '^') return start > 0 ? NaiveResult{-1, 0} : anchored(re_.c_str() + 1, whole);
    whole_ = whole;
    const int64_t first = backwards ? std::min(start, length - 1) : std::max<int64_t>(start, 0);
    for (int64_t i = first; i >= 0 && i < length; i += backwards ? -1 : 1) {
      if (match(text_.c_str() + i, re_.c_str())) return {i, end_};
    }
    return {-1, end_};
  }

 private:
  struct Atom {
    const KIV_UNICHAR *start;
    bool is_period;
  };

  NaiveResult anchored(const KIV_UNICHAR *re, bool whole) {
    whole_ = whole;
    const bool matched = match(text_.c_str(), *re == '^' ? re + 1 : re);
    return {matched ? 0 : -1, end_};
  }

  bool stop(const KIV_UNICHAR *t, bool success) {
    end_ = static_cast<size_t>(t - text_.c_str());
    return success;
  }

  static bool atom_matches(Atom atom, KIV_UNICHAR c) {
    if (*atom.start == '[') return naive_set(++atom.start, c, true);
    return c != 0 && (atom.is_period || c == (*atom.start == '\\' ? atom.start[1] : atom.start[0]));
  }

  bool match(const KIV_UNICHAR *t, const KIV_UNICHAR *p) {
    if (--steps_left_ <= 0) return false;
    if (*p == 0) return stop(t, !whole_ || *t == 0);
    if (*p == '$') return stop(t, *t == 0);
    if (*p == '*' || *p == '+' || *p == '?') return false;
    const Atom atom{p, *p == '.'};
    if (*p == '[') {
      naive_set(++p, 0, true);
      if (p == nullptr) return false;
    } else {
      if (*p == '\\' && *++p == 0) return false;
      ++p;
    }
    switch (*p) {
      case '?':
        return (atom_matches(atom, *t) && match(t + 1, p + 1)) || match(t, p + 1);
      case '*':
        return star(t, atom, p + 1);
      case '+':
        return atom_matches(atom, *t) && star(t + 1, atom, p + 1);
      default:
        return atom_matches(atom, *t) && match(t + 1, p);
    }
  }

  bool star(const KIV_UNICHAR *t, Atom atom, const KIV_UNICHAR *rest) {
    if (*rest == 0 && *t == 0) return stop(t, true);
    if (*rest == 0 && atom.is_period) return stop(text_.c_str() + text_.size(), true);
    const KIV_UNICHAR *cursor = t;
    while (atom_matches(atom, *cursor)) ++cursor;
    for (;; --cursor) {
      if (match(cursor, rest)) return true;
      if (cursor == t || steps_left_ <= 0) return false;
    }
  }

  const Text &text_, &re_;
  int64_t steps_left_;
  bool whole_ = false;
  std::optional<size_t> end_;
};

inline bool naive_wildcards(const KIV_UNICHAR *t, const KIV_UNICHAR *p, bool whole, int64_t *steps_left) {
  if (--*steps_left <= 0) return false;
  switch (*p) {
    case 0:
      return !whole || *t == 0;
    case '*':
      if (p[1] == 0) return true;
      for (; *t != 0; ++t) {
        if (naive_wildcards(t, p + 1, whole, steps_left)) return true;
      }
      return false;
    case '?':
      return *t != 0 && naive_wildcards(t + 1, p + 1, whole, steps_left);
    case '[': {
      const KIV_UNICHAR *behind = p + 1;
      return naive_set(behind, *t, false) && naive_wildcards(t + 1, behind, whole, steps_left);
    }
    case '\\':
      ++p;
      [[fallthrough]];
    default:
      return *p != 0 && *p == *t && naive_wildcards(t + 1, p + 1, whole, steps_left);
  }
}

inline int64_t naive_wildcards_search(const Text &text, const Text &pattern, bool backwards, int64_t *steps_left) {
  for (size_t i = 0; i < text.size(); ++i) {
    const size_t place = backwards ? text.size() - 1 - i : i;
    if (naive_wildcards(text.c_str() + place, pattern.c_str(), false, steps_left)) return static_cast<int64_t>(place);
  }
  return -1;
}

/// The units and the terminator in a block without one to spare, so that sanitizers see a read behind them.
inline std::vector<KIV_UNICHAR> exactly(const Text &text) { return {text.c_str(), text.c_str() + text.size() + 1}; }

inline NaiveResult match(const Text &text, const Text &re, bool whole) {
  const std::vector<KIV_UNICHAR> units = exactly(text), pattern = exactly(re);
  KIV_STRING end = nullptr;
  NaiveResult found{kiv_string_matches_with_reg_exp(units.data(), pattern.data(), &end, whole ? 1 : 0) - 1, {}};
  if (end != nullptr) found.end = static_cast<size_t>(end - units.data());
  return found;
}

inline NaiveResult search(const Text &text, const Text &re, int32_t start, bool backwards = false) {
  const std::vector<KIV_UNICHAR> units = exactly(text), pattern = exactly(re);
  const auto find = backwards ? kiv_string_reverse_substr_matches_with_regular_expression
                              : kiv_string_substr_matches_with_regular_expression;
  KIV_STRING end = nullptr;
  NaiveResult found{find(units.data(), pattern.data(), &end, start), {}};
  if (end != nullptr) found.end = static_cast<size_t>(end - units.data());
  return found;
}

/// Whether all three functions of wildcards do as the naive ones, or these take too many steps.
inline bool wildcards_agree(const Text &text, const Text &wildcards, int64_t steps) {
  const std::vector<KIV_UNICHAR> units = exactly(text), pattern = exactly(wildcards);
  const bool whole = naive_wildcards(text.c_str(), wildcards.c_str(), true, &steps);
  const int64_t first = naive_wildcards_search(text, wildcards, false, &steps);
  const int64_t last = naive_wildcards_search(text, wildcards, true, &steps);
  return steps <= 0 || ((kiv_string_matches_using_wildcards(units.data(), pattern.data()) != 0) == whole &&
                        kiv_string_substr_matches_using_wildcards(units.data(), pattern.data()) == first &&
                        kiv_string_reverse_substr_matches_using_wildcards(units.data(), pattern.data()) == last);
}

}  // namespace kiv::test

#endif
