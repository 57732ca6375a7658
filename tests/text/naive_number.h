// Number text read digit by digit: what the library's parsers are held against.
#ifndef KIV_TESTS_TEXT_NAIVE_NUMBER_H
#define KIV_TESTS_TEXT_NAIVE_NUMBER_H

#include <cstring>
#include <string>

#include "numbers/uint128.h"

namespace kiv::test {

/// What a parser gives. Outputs that it left alone have `untouched` in all bytes.
struct ParsedNumber {
  static constexpr uint8_t untouched = 0xA5;
  int result = 1;
  uint64_t hi = 0xA5A5A5A5A5A5A5A5, lo = 0xA5A5A5A5A5A5A5A5;  // sign-extended
  uint32_t start = 0xA5A5A5A5, length = 0xA5A5A5A5;
  bool operator==(const ParsedNumber &) const = default;
};

inline ParsedNumber naive_parse(const std::u32string &text, int base, bool skip, bool trailing, int bits,
                                bool is_signed) {
  ParsedNumber parsed;
  size_t i = 0;
  while (skip && i < text.size() && text[i] < 0x80 &&
         std::strchr(" \t\n\v\f\r", static_cast<int>(text[i])) != nullptr) {
    ++i;
  }
  parsed.start = static_cast<uint32_t>(i);
  const bool negative = is_signed && text[i] == '-';
  if (is_signed && (text[i] == '-' || text[i] == '+')) ++i;
  if (base == 0 || base == 16) {
    const bool prefix = text.compare(i, 2, U"0x") == 0 || text.compare(i, 2, U"0X") == 0;
    if (prefix) i += 2, base = 16;
    if (base == 0) base = 10;
  }
  if (base > 10) base = 16;
  const std::u32string lower = U"0123456789abcdef", upper = U"0123456789ABCDEF";
  const UInt128 greatest = ~UInt128(0);
  const UInt128 limit = is_signed ? UInt128(1) << (bits - 1) : greatest >> (128 - bits);
  UInt128 magnitude = 0;
  const size_t first = i;
  for (; i < text.size(); ++i) {
    const size_t digit = std::min(lower.find(text[i]), upper.find(text[i]));
    if (base < 1 || digit >= static_cast<size_t>(base)) break;
    const UInt128 factor = static_cast<uint64_t>(base), added = uint64_t{digit};
    if (magnitude > greatest / factor || magnitude * factor > greatest - added) return parsed;
    magnitude = magnitude * factor + added;
  }
  if (i == first || (i < text.size() && !trailing) || magnitude > limit) return parsed;
  parsed.length = static_cast<uint32_t>(i) - parsed.start;
  if (is_signed && !negative && magnitude == limit) return parsed;
  const UInt128 value = negative ? UInt128(0) - magnitude : magnitude;
  parsed.result = 0;
  parsed.hi = high64(value);
  parsed.lo = low64(value);
  return parsed;
}

}  // namespace kiv::test

#endif
