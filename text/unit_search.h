// The first place of one string in another.
//
// Places where the first two units of the needle stand are found block by block, and the rest of the needle is compared
// there. A text may have many such places and the comparisons may go far: when they have cost more than a few steps a
// unit of text so far, the search goes on with the Two-Way algorithm (M. Crochemore, D. Perrin: Two-way
// string-matching, Journal of the ACM 38, 1991), which is linear whatever the strings. It needs the length of the text,
// hence not first.
#ifndef KIV_TEXT_UNIT_SEARCH_H
#define KIV_TEXT_UNIT_SEARCH_H

#include <algorithm>
#include <cstring>

#include "kiv_types.h"
#include "os/units.h"

namespace kiv {

/// Where the needle is cut in two, and the period of its right part.
struct Factorization {
  size_t cut;
  size_t period;
};

/// The lexicographically greatest suffix, by < or by >, and its period.
template <bool kGreatest>
Factorization maximal_suffix(const KIV_UNICHAR *needle, size_t length) {
  size_t suffix = 0, candidate = 1, matched = 0, period = 1;
  while (candidate + matched < length) {
    const KIV_UNICHAR a = needle[candidate + matched], b = needle[suffix + matched];
    if (a == b) {
      if (++matched == period) candidate += period, matched = 0;
    } else if (kGreatest ? a < b : a > b) {
      candidate += matched + 1;
      matched = 0;
      period = candidate - suffix;
    } else {
      suffix = candidate++;
      matched = 0;
      period = 1;
    }
  }
  return {suffix, period};
}

/// A cut at which the needle's local period is its period: the later of the two maximal suffixes.
inline Factorization factorize(const KIV_UNICHAR *needle, size_t length) {
  const Factorization greatest = maximal_suffix<true>(needle, length);
  const Factorization least = maximal_suffix<false>(needle, length);
  return greatest.cut >= least.cut ? greatest : least;
}

/// Two-Way search. The right part is compared forwards, then the left one backwards. When the needle repeats its left
/// part, `known` units at its start are known to match after a shift by the period.
inline const KIV_UNICHAR *find_two_way(const KIV_UNICHAR *text, size_t text_length, const KIV_UNICHAR *needle,
                                       size_t length) {
  auto [cut, period] = factorize(needle, length);
  const bool periodic = cut + period <= length && std::memcmp(needle, needle + period, cut * sizeof(KIV_UNICHAR)) == 0;
  if (!periodic) period = std::max(cut, length - cut) + 1;
  size_t known = 0;
  for (size_t place = 0; length <= text_length && place <= text_length - length;) {
    size_t right = std::max(cut, known);
    while (right < length && needle[right] == text[place + right]) ++right;
    if (right < length) {
      place += right - cut + 1;
      known = 0;
      continue;
    }
    size_t left = cut;
    while (left > known && needle[left - 1] == text[place + left - 1]) --left;
    if (left <= known) return text + place;
    place += period;
    known = periodic ? length - period : 0;
  }
  return nullptr;
}

/// The first place of the needle in s, null when there is none. REQUIRES: the needle has two units at least.
inline const KIV_UNICHAR *find_string(const KIV_UNICHAR *s, const KIV_UNICHAR *needle) {
  const auto like = [](KIV_UNICHAR c) {
    return [units = os::four(c)](__m128i text) { return os::equal(text, units); };
  };
  const auto first = like(needle[0]), second = like(needle[1]), third = like(needle[2]);
  auto [block, skipped] = os::block_of(s);
  uint32_t in_text = UINT32_MAX << skipped;
  uint32_t first_before = 0;  // whether the block follows a unit like the needle's first
  size_t steps = 0;
  for (;; block += 4, in_text = UINT32_MAX) {
    const uint32_t ends = os::block_mask(block, os::is_end) & in_text;
    in_text &= os::before_first(ends);
    const uint32_t firsts = os::block_mask(block, first) & in_text;
    // A bit is where the needle's second unit stands behind the first.
    uint32_t places = (firsts << 1 | first_before) & os::block_mask(block, second) & in_text;
    first_before = firsts >> (os::kBlockUnits - 1);
    // So is the third unit to follow, as far as this block tells.
    if (places != 0 && needle[2] != 0) places &= os::block_mask(block, third) >> 1 | 1u << (os::kBlockUnits - 1);
    for (; places != 0; places &= places - 1) {
      const KIV_UNICHAR *place = reinterpret_cast<const KIV_UNICHAR *>(block) + __builtin_ctz(places) - 1;
      size_t matched = 2;
      while (needle[matched] != 0 && needle[matched] == place[matched]) ++matched;
      if (needle[matched] == 0) return place;
      if (place[matched] == 0) return nullptr;  // the rest of the text is shorter than the needle
      steps += matched;
      if (steps > 256 + 4 * static_cast<size_t>(place - s)) {
        const auto length = [](const KIV_UNICHAR *text) { return static_cast<size_t>(os::find_end(text) - text); };
        return find_two_way(place + 1, length(place + 1), needle, length(needle));
      }
    }
    if (ends != 0) return nullptr;
  }
}

}  // namespace kiv

#endif
