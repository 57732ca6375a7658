// Target addresses as texts "SPACE UNITS BITS END", out of the library and out of a naive reader: the index of the
// space in its list or "-", two hexadecimal numbers, a decimal index. A failure is the empty text.
#ifndef KIV_TESTS_DEBUGSUPPORT_TELL_TARGET_ADDRESS_H
#define KIV_TESTS_DEBUGSUPPORT_TELL_TARGET_ADDRESS_H

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "kiv_target_memspace.h"

namespace kiv::test {

struct NaiveMemspace {
  uint64_t number;
  std::u32string name, as_name;
  uint32_t bits_per_unit;
};

/// The flags of kiv_string_to_target_address in their order, from bit 0 on.
enum AddressFlag : uint32_t { match_name = 1, match_as_name = 2, leading_blanks = 4, trailing_text = 8 };

/// REQUIRES: neither a number nor its bit address has more than 64 bits.
inline std::string naive_target_address(const std::vector<NaiveMemspace> *list, const std::u32string &text,
                                        uint32_t flags) {
  const size_t first = std::min(text.find_first_not_of(U" \t\n\v\f\r"), text.size());
  if (first > 0 && (flags & leading_blanks) == 0) return "";
  const size_t colon = text.find(U':', first);
  const bool has_prefix = colon != text.npos;
  const std::u32string prefix = has_prefix ? text.substr(first, colon - first) : U"";
  const NaiveMemspace *space = nullptr;
  for (const uint32_t flag : {match_name, match_as_name}) {
    for (size_t i = 0; list != nullptr && i < list->size() && space == nullptr && (flags & flag) != 0; ++i) {
      if ((flag == match_name ? (*list)[i].name : (*list)[i].as_name) == prefix) space = &(*list)[i];
    }
  }
  if (list != nullptr ? space == nullptr : has_prefix) return "";
  const std::u32string number = text.substr(has_prefix ? colon + 1 : first);
  const size_t start = number.substr(0, 2) == U"0x" || number.substr(0, 2) == U"0X" ? 2 : 0;
  const size_t end = std::min(number.find_first_not_of(U"0123456789abcdefABCDEF", start), number.size());
  if (end == start || (end < number.size() && (flags & trailing_text) == 0)) return "";
  const uint64_t value = std::stoull(std::string(number.begin(), number.begin() + static_cast<int>(end)), nullptr, 16);
  char told[100];
  std::snprintf(told, sizeof told, " %" PRIx64 " %" PRIx64 " %zu", value,
                value * (space != nullptr ? space->bits_per_unit : 8), text.size() - number.size() + end);
  return (space != nullptr ? std::to_string(space - list->data()) : "-") + told;
}

inline std::string told(const KIV_U128 &number) {
  char digits[40];
  std::snprintf(digits, sizeof digits, number.hi != 0 ? "%" PRIx64 "%016" PRIx64 : "%.0" PRIx64 "%" PRIx64, number.hi,
                number.lo);
  return digits;
}

/// Reads code points, or chars when they are not null. A failure that writes a result is told as "touched".
inline std::string tell_target_address(const KIV_TARGET_MEMSPACE_LIST *list, const char *chars, const KIV_UNICHAR *text,
                                       uint32_t flags, bool wants_bits = true) {
  struct {
    KIV_U128 units, bits;
    KIV_TARGET_MEMSPACE *memspace;
    uintptr_t end;
  } results, before;
  std::memset(&before, 0xA5, sizeof before);
  results = before;
  if (kiv_string_to_target_address(list, chars, text, flags & match_name, flags & match_as_name, flags & leading_blanks,
                                   flags & trailing_text, &results.memspace, &results.units,
                                   wants_bits ? &results.bits : nullptr,
                                   reinterpret_cast<uint32_t *>(&results.end)) != 0) {
    return std::memcmp(&results, &before, sizeof before) == 0 ? "" : "touched";
  }
  std::string space = "-";
  for (uint32_t i = 0; list != nullptr && i < list->count; ++i) {
    if (list->memspaces[i] == results.memspace) space = std::to_string(i);
  }
  return space + ' ' + told(results.units) + ' ' + (wants_bits ? told(results.bits) : "-") + ' ' +
         std::to_string(static_cast<uint32_t>(results.end));
}

}  // namespace kiv::test

#endif
