// Every parser of number text on one text.
#ifndef KIV_TESTS_TEXT_PARSE_EVERY_TYPE_H
#define KIV_TESTS_TEXT_PARSE_EVERY_TYPE_H

#include <algorithm>
#include <string>
#include <type_traits>

#include "kiv_string_number.h"
#include "tests/text/naive_number.h"

namespace kiv::test {

template <class Unit, class T>
ParsedNumber parse(int (*function)(const Unit *, int32_t, int, int, T *, uint32_t *, uint32_t *), const Unit *text,
                   int base, bool skip, bool trailing) {
  ParsedNumber parsed;
  T value;
  std::memset(&value, ParsedNumber::untouched, sizeof value);
  // Both truth values are any number but 0.
  parsed.result = function(text, base, skip ? 2 : 0, trailing ? -1 : 0, &value, &parsed.start, &parsed.length);
  if (parsed.result != 0) {
    const auto *bytes = reinterpret_cast<const uint8_t *>(&value);
    if (std::any_of(bytes, bytes + sizeof value, [](uint8_t b) { return b != ParsedNumber::untouched; })) parsed.hi = 0;
    return parsed;
  }
  if constexpr (std::is_integral_v<T>) {
    parsed.lo = static_cast<uint64_t>(value);
    parsed.hi = value < 0 ? ~uint64_t{0} : 0;
  } else {
    parsed.lo = value.lo;
    parsed.hi = static_cast<uint64_t>(value.hi);
  }
  return parsed;
}

/// Calls see(name, parsed, told) for each parser. Code points above 0xFF make a text that no char string can be.
template <class See>
void parse_every_type(const std::u32string &text, int base, bool skip, bool trailing, See see) {
  const auto *string = reinterpret_cast<const KIV_UNICHAR *>(text.c_str());
  std::string chars;
  for (const char32_t c : text) chars += static_cast<char>(c);
  const bool is_char = std::all_of(text.begin(), text.end(), [](char32_t c) { return c < 0x100; });
  const auto both = [&](const char *name, int bits, bool is_signed, auto *function, auto *char_function) {
    const ParsedNumber told = naive_parse(text, base, skip, trailing, bits, is_signed);
    see(name, parse(function, string, base, skip, trailing), told);
    if (is_char) see(name, parse(char_function, chars.c_str(), base, skip, trailing), told);
  };
  both("u32m", 32, false, kiv_string_convert_to_u32m, kiv_string_char_s_convert_to_u32m);
  both("s32m", 32, true, kiv_string_convert_to_s32m, kiv_string_char_s_convert_to_s32m);
  both("u64m", 64, false, kiv_string_convert_to_u64m, kiv_string_char_s_convert_to_u64m);
  both("s64m", 64, true, kiv_string_convert_to_s64m, kiv_string_char_s_convert_to_s64m);
  both("u128", 128, false, kiv_string_convert_to_u128, kiv_string_char_s_convert_to_u128);
  both("s128", 128, true, kiv_string_convert_to_s128, kiv_string_char_s_convert_to_s128);
}

}  // namespace kiv::test

#endif
