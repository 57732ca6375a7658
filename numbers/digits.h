// Digits of integers as ASCII characters, eight at a time: each character is one byte of a 64-bit word, the first one
// the byte that is stored first. No tables, no branches.
#ifndef KIV_NUMBERS_DIGITS_H
#define KIV_NUMBERS_DIGITS_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace kiv {

static_assert(std::endian::native == std::endian::little);

inline constexpr uint64_t kEachByte = 0x0101010101010101;

inline void write_8_characters(char *out, uint64_t characters) { std::memcpy(out, &characters, 8); }

// REQUIRES: value < 10^8
inline void write_8_decimal(char *out, uint32_t value) {
  // Two numbers of four digits, then four of two, then eight of one. Each step divides all of them at once, by a
  // multiplication with the reciprocal in fixed point, which is exact for numbers of this size.
  const uint32_t upper = value / 10000;
  const uint64_t fours = upper | uint64_t{value - upper * 10000} << 32;
  const uint64_t hundreds = fours * 10486 >> 20 & 0x0000007f0000007f;
  const uint64_t twos = hundreds | (fours - hundreds * 100) << 16;
  const uint64_t tens = twos * 103 >> 10 & 0x000f000f000f000f;
  const uint64_t ones = tens | (twos - tens * 10) << 8;
  write_8_characters(out, ones | kEachByte * '0');
}

// letter: 'a' or 'A'
inline void write_8_hexadecimal(char *out, uint32_t value, char letter) {
  uint64_t digits = value >> 16 | uint64_t{value & 0xffff} << 32;
  digits = (digits >> 8 & 0x000000ff000000ff) | (digits & 0x000000ff000000ff) << 16;
  digits = (digits >> 4 & 0x000f000f000f000f) | (digits & 0x000f000f000f000f) << 8;
  const uint64_t letters = (digits + kEachByte * 6) >> 4 & kEachByte;  // 1 for a digit above 9
  write_8_characters(out, digits + kEachByte * '0' + letters * static_cast<uint64_t>(letter - '0' - 10));
}

inline void write_8_binary(char *out, uint8_t value) {
  // Every byte keeps a bit of its own, which the addition then carries to the byte's top.
  const uint64_t bits = kEachByte * value & 0x0102040810204080;
  write_8_characters(out, ((bits + kEachByte * 0x7f) >> 7 & kEachByte) | kEachByte * '0');
}

// How many of eight characters stand before the first one that is not '0'.
inline int count_zeros_of_8(const char *text) {
  uint64_t characters = 0;
  std::memcpy(&characters, text, 8);
  return std::countr_zero(characters ^ kEachByte * '0') / 8;
}

// Eight hexadecimal digits of either case. What other characters give is the sum of these rules: a character c, from
// -128 to 127, counts c - '0' below 'A', c - 55 below 'a', and c - 87 from there on, all modulo 256; the upper half of
// that is ORed into the digit before, or lost in front of the first.
inline uint32_t read_8_hexadecimal(const char *text) {
  constexpr uint64_t kTops = kEachByte * 0x80;
  uint64_t c = 0;
  std::memcpy(&c, text, 8);
  const uint64_t rest = c & ~kTops;
  const uint64_t upper_case = (rest + kEachByte * (0x80 - 'A')) & ~c & kTops;  // a byte's top bit where c >= 'A'
  const uint64_t lower_case = (rest + kEachByte * (0x80 - 'a')) & ~c & kTops;
  const uint64_t offset = kEachByte * '0' + (upper_case >> 7) * 7 + (lower_case >> 7) * 32;
  // Set top bits keep each byte's borrow inside; then every byte gets its own back.
  uint64_t digits = ((c | kTops) - offset) ^ (~c & kTops);
  digits = (digits & 0x00ff00ff00ff00ff) << 4 | (digits >> 8 & 0x00ff00ff00ff00ff);
  digits = (digits & 0x0000ffff0000ffff) << 8 | (digits >> 16 & 0x0000ffff0000ffff);
  return static_cast<uint32_t>(digits << 16 | digits >> 32);
}

}  // namespace kiv

#endif
