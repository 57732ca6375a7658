// Reads an integer of up to 128 bits out of a text of either kind.
//
// Digits are gathered in 64 bits, as many at a time as fit there whatever they are (19 in base 10), and each such chunk
// is appended to the 128-bit magnitude by one multiplication: most numbers never see one. A magnitude that outgrows 128
// bits is too large for every type, so that the limit is looked at once, at the end.
#ifndef KIV_TEXT_NUMBER_PARSE_H
#define KIV_TEXT_NUMBER_PARSE_H

#include <array>

#include "kiv_uni.h"
#include "numbers/uint128.h"
#include "text/text_source.h"

namespace kiv::number {

/// How a number may be written.
struct Syntax {
  int32_t base;
  bool skip_white_space;
  bool has_sign;
  bool allow_trailing;
};

struct Number {
  UInt128 magnitude = 0;
  bool negative = false;
};

/// The first place without white space. Characters above 127 never are such.
template <class Source>
size_t skip_white_space(Source text) {
  size_t i = 0;
  while (text[i] != 0 && text[i] <= 127 && kiv_uni_isspace(text[i]) != 0) ++i;
  return i;
}

/// How many digits of a base always fit 64 bits, together with the power of the base for as many. (In base 1, whose
/// only digit is 0, any number of them does; base 0 stands for bases without digits.)
constexpr std::array<uint32_t, 17> kChunkDigits = [] {
  std::array<uint32_t, 17> digits{64, 64};
  for (size_t base = 2; base < digits.size(); ++base) {
    for (uint64_t power = 1; power <= UINT64_MAX / base; power *= base) ++digits[base];
  }
  return digits;
}();

/// The value of a decimal digit; a number above 9 for other characters.
inline uint32_t decimal_digit(KIV_UNICHAR c) { return c - '0'; }

/// The value of a hexadecimal digit; a number above 15 for other characters.
inline uint32_t hexadecimal_digit(KIV_UNICHAR c) {
  const uint32_t letter = (c | 0x20) - 'a';
  return letter < 6 ? letter + 10 : decimal_digit(c) < 10 ? decimal_digit(c) : 16;
}

/// Appends digits: magnitude * scale + chunk. False, with no meaning in the magnitude, when that has more than 128
/// bits.
inline bool append(UInt128 &magnitude, uint64_t scale, uint64_t chunk) {
  if (magnitude == 0) {
    magnitude = chunk;
    return true;
  }
  const UInt128 upper = multiply_64(high64(magnitude), scale);
  const UInt128 lower = multiply_64(low64(magnitude), scale);
  if (high64(upper) != 0) return false;
  const UInt128 product = lower + make_uint128(low64(upper), 0);
  magnitude = product + chunk;
  return product >= lower && magnitude >= product;
}

/// Reads digits from i on up to the first character that is none. False when they make more than 128 bits; i then has
/// no meaning. REQUIRES: base <= 16.
template <class Source, class Digit>
bool read_digits(Source text, uint32_t base, Digit digit_of, size_t &i, UInt128 &magnitude) {
  const uint32_t limit = kChunkDigits[base];
  for (;;) {
    uint64_t chunk = 0, scale = 1;
    uint32_t count = 0;
    for (; count < limit; ++count, ++i) {
      const uint32_t digit = digit_of(text[i]);
      if (digit >= base) break;
      chunk = chunk * base + digit;
      scale *= base;
    }
    if (!append(magnitude, scale, chunk)) return false;
    if (count < limit) return true;
  }
}

/// Reads a number. False when there is none, more than a number, or one whose magnitude is above the limit. *start
/// receives the place where it begins or should begin, always; *length how long it is, only when the result is true.
template <class Source>
bool parse(Source text, const Syntax &syntax, UInt128 limit, Number &number, uint32_t *start, uint32_t *length) {
  const size_t first = syntax.skip_white_space ? skip_white_space(text) : 0;
  if (start != nullptr) *start = static_cast<uint32_t>(first);
  size_t i = first;
  if (syntax.has_sign && (text[i] == '-' || text[i] == '+')) number.negative = text[i++] == '-';
  int32_t base = syntax.base;
  if ((base == 0 || base == 16) && text[i] == '0' && (text[i + 1] | 0x20) == 'x') {
    base = 16;
    i += 2;
  }
  if (base == 0) base = 10;
  const size_t first_digit = i;
  const bool read =
      base > 10 ? read_digits(text, 16, hexadecimal_digit, i, number.magnitude)
                : read_digits(text, base > 0 ? static_cast<uint32_t>(base) : 0, decimal_digit, i, number.magnitude);
  if (!read || i == first_digit || number.magnitude > limit) return false;
  if (text[i] != 0 && !syntax.allow_trailing) return false;
  if (length != nullptr) *length = static_cast<uint32_t>(i - first);
  return true;
}

}  // namespace kiv::number

#endif
