// Matching, searching and replacing by regular expression.

#include "kiv_string_pattern.h"

#include <algorithm>
#include <cstring>

#include "empty_string.h"
#include "regexp_search.h"
#include "string_block.h"

namespace kiv {
namespace {

using regexp::kNone;
using regexp::Outline;
using regexp::Search;

KIV_STRING place_in(const KIV_UNICHAR *text, size_t place) { return const_cast<KIV_STRING>(text) + place; }

int32_t index_of(size_t place) { return place != kNone ? static_cast<int32_t>(place) : -1; }

/// A pattern as a search takes it.
struct Sought {
  bool anchored;
  Outline outline;

  explicit Sought(const KIV_UNICHAR *re)
      // A second "^" is skipped as matching at the start of a text skips one.
      : anchored(*re == '^'), outline(anchored ? re + (re[1] == '^' ? 2 : 1) : re) {}
};

enum class Direction { forwards, backwards };

/// Where a search found a match and where that ends; for a failed search, where attempts stopped last.
struct Found {
  size_t place = kNone;
  size_t end = kNone;
};

/// Searches from start on. REQUIRES: a search backwards has a start below the length.
template <class Machine>
Found search_all(Search<Machine> search, const KIV_UNICHAR *text, size_t start, Direction direction) {
  Found found;
  if (direction == Direction::forwards) {
    found.place = search.first(start, kNone - 1);
    found.end = found.place != kNone ? search.end() : search.first_stopped(start, kNone - 1, kiv_string_length(text));
  } else {
    found.place = search.last(0, start, kiv_string_length(text));
    found.end = found.place != kNone ? search.end() : search.last_stopped(0, start);
  }
  return found;
}

template <class Machine>
Found search_anchored(Search<Machine> search) {
  Found found;
  found.end = search.match(0);
  if (found.end != kNone) {
    found.place = 0;
  } else {
    found.end = search.match_stopped(0);
  }
  return found;
}

int32_t search_text(const KIV_UNICHAR *given, const KIV_UNICHAR *re, KIV_STRING *end, int32_t start,
                    Direction direction) {
  const KIV_UNICHAR *text = or_empty(given);
  const Sought sought(or_empty(re));
  const auto find = [&](auto *machine) -> Found {
    Search search(sought.outline, machine, text, false);
    if (sought.anchored) return start <= 0 ? search_anchored(search) : Found{};
    // A search from the start need not know the length: it may find something near.
    if (direction == Direction::forwards && start <= 0) return search_all(search, text, 0, direction);
    const size_t length = kiv_string_length(text);
    const auto from = static_cast<size_t>(start);
    if (direction == Direction::forwards) return from < length ? search_all(search, text, from, direction) : Found{};
    if (start < 0 || length == 0) return Found{};
    return search_all(search, text, std::min(from, length - 1), direction);
  };
  const Found found = regexp::with_machine(sought.outline, Found{}, find);
  if (end != nullptr) *end = place_in(given, found.end != kNone ? found.end : 0);
  return index_of(found.place);
}

/// A text that grows by pieces. The text is lost when it cannot grow: the next piece begins a new one.
class Growing {
 public:
  explicit Growing(KIV_ALLOCATOR *allocator) : allocator_(allocator) {}

  void append(const KIV_UNICHAR *piece, size_t length) {
    KIV_STRING grown = reallocate_units(allocator_, text_, uint64_t{length_} + length + 1);
    if (grown == nullptr) {
      kiv_string_delete(allocator_, text_);
      text_ = nullptr;
      length_ = 0;
      return;
    }
    text_ = grown;
    std::memcpy(text_ + length_, piece, length * sizeof(KIV_UNICHAR));
    length_ += length;
    text_[length_] = 0;
  }

  KIV_STRING text() const { return text_; }

 private:
  KIV_ALLOCATOR *allocator_;
  KIV_STRING text_ = nullptr;
  size_t length_ = 0;
};

/// Replaces up to max matches and gives the part of the text that is left.
template <class Machine>
const KIV_UNICHAR *replace_matches(const Sought &sought, Machine *machine, const KIV_UNICHAR *text,
                                   const KIV_UNICHAR *replacement, int32_t max, Growing *result) {
  const size_t replacement_length = kiv_string_length(replacement);
  Found found;
  for (; *text != 0 && max >= 1; --max) {
    // An empty match at the start of what is left is found again and again.
    if (found.place != 0 || found.end != 0) {
      Search search(sought.outline, machine, text, false);
      if (sought.anchored) {
        found = search_anchored(search);
      } else {
        found.place = search.first(0, kNone - 1);
        found.end = search.end();
      }
    }
    if (found.place == kNone) break;
    result->append(text, found.place);
    if (replacement != nullptr) result->append(replacement, replacement_length);
    text += found.end;
  }
  return text;
}

}  // namespace
}  // namespace kiv

int kiv_string_matches_with_reg_exp(const KIV_UNICHAR *text, const KIV_UNICHAR *re, KIV_STRING *end, int whole) {
  using namespace kiv;
  re = or_empty(re);
  const Outline outline(*re == '^' ? re + 1 : re);
  const auto match = [&](auto *machine) {
    return search_anchored(Search(outline, machine, or_empty(text), whole != 0));
  };
  const Found found = regexp::with_machine(outline, Found{}, match);
  if (end != nullptr && found.end != kNone) *end = place_in(text, found.end);
  return found.place != kNone ? 1 : 0;
}

int32_t kiv_string_substr_matches_with_regular_expression(const KIV_UNICHAR *text, const KIV_UNICHAR *re,
                                                          KIV_STRING *end, int32_t start) {
  return kiv::search_text(text, re, end, start, kiv::Direction::forwards);
}

int32_t kiv_string_reverse_substr_matches_with_regular_expression(const KIV_UNICHAR *text, const KIV_UNICHAR *re,
                                                                  KIV_STRING *end, int32_t start) {
  return kiv::search_text(text, re, end, start, kiv::Direction::backwards);
}

KIV_STRING kiv_string_replace_re(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *text, const KIV_UNICHAR *re,
                                 const KIV_UNICHAR *replacement, int32_t max) {
  using namespace kiv;
  if (text == nullptr) return nullptr;
  const Sought sought(or_empty(re));
  Growing result(allocator);
  const KIV_UNICHAR *rest = regexp::with_machine(sought.outline, text, [&](auto *machine) {
    return replace_matches(sought, machine, text, replacement, max, &result);
  });
  result.append(rest, kiv_string_length(rest));
  return result.text();
}
