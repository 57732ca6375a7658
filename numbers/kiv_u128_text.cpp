// 128-bit integers as text, and read from hexadecimal digits.
#include <cstring>

#include "kiv_u128.h"
#include "numbers/digits.h"
#include "numbers/u128_record.h"

using kiv::high64;
using kiv::load_u128;
using kiv::low64;
using kiv::UInt128;

namespace {

// A number's digits in the width of its base, of which only those from `first` on are filled in and count.
struct Digits {
  char text[128];
  int width;
  int first;
};

void write_16_hexadecimal(char *out, uint64_t value, char letter) {
  kiv::write_8_hexadecimal(out, static_cast<uint32_t>(value >> 32), letter);
  kiv::write_8_hexadecimal(out + 8, static_cast<uint32_t>(value), letter);
}

void write_32_hexadecimal(char *out, UInt128 value, char letter) {
  write_16_hexadecimal(out, high64(value), letter);
  write_16_hexadecimal(out + 16, low64(value), letter);
}

// Zero has a digit.
int count_leading_zero_digits(UInt128 value, int bits_per_digit) {
  return kiv::leading_zeros(value | UInt128(1)) / bits_per_digit;
}

void make_binary(Digits *digits, UInt128 value) {
  digits->width = 128;
  digits->first = count_leading_zero_digits(value, 1);
  for (int i = digits->first / 8 * 8; i < 128; i += 8) {
    kiv::write_8_binary(digits->text + i, static_cast<uint8_t>(low64(value >> (120 - i))));
  }
}

void make_hexadecimal(Digits *digits, UInt128 value, char letter) {
  digits->width = 32;
  digits->first = count_leading_zero_digits(value, 4);
  write_32_hexadecimal(digits->text, value, letter);
}

constexpr uint64_t kTenTo19 = 10000000000000000000U;  // the greatest power of ten below 2^64
constexpr uint32_t kTenTo8 = 100000000;

// REQUIRES: value < 10^19
void write_19_decimal(char *out, uint64_t value) {
  uint32_t last = 0, middle = 0;
  const uint64_t upper = kiv::divide_64_by_32(value, kTenTo8, &last);
  const uint32_t top = static_cast<uint32_t>(kiv::divide_64_by_32(upper, kTenTo8, &middle));
  out[0] = static_cast<char>('0' + top / 100);
  out[1] = static_cast<char>('0' + top / 10 % 10);
  out[2] = static_cast<char>('0' + top % 10);
  kiv::write_8_decimal(out + 3, middle);
  kiv::write_8_decimal(out + 11, last);
}

// Where the first character that is not '0' stands, at `last` at the latest.
int skip_zeros(const char *text, int first, int last) {
  while (first + 8 <= last) {
    const int zeros = kiv::count_zeros_of_8(text + first);
    first += zeros;
    if (zeros < 8) return first;
  }
  while (first < last && text[first] == '0') ++first;
  return first;
}

// Three pieces: one digit, and twice 19.
void make_decimal(Digits *digits, UInt128 value) {
  uint64_t high = high64(value), low = low64(value);
  digits->width = 39;
  digits->first = 20;
  if (high != 0 || low >= kTenTo19) {
    const uint64_t upper = high >= kTenTo19 ? 1 : 0;  // 10^19 > 2^63
    const uint64_t quotient = kiv::divide_128_by_64(high - upper * kTenTo19, low, kTenTo19, &low);
    uint64_t middle = 0;
    digits->text[0] = static_cast<char>('0' + kiv::divide_128_by_64(upper, quotient, kTenTo19, &middle));
    write_19_decimal(digits->text + 1, middle);
    digits->first = 0;
  }
  write_19_decimal(digits->text + 20, low);
  digits->first = skip_zeros(digits->text, digits->first, 38);
}

void format(UInt128 magnitude, bool negative, int base, const char *prefix, char pad_char, char *buffer) {
  Digits digits;
  if (base == 2) {
    make_binary(&digits, magnitude);
  } else if (base == 10) {
    make_decimal(&digits, magnitude);
  } else {
    make_hexadecimal(&digits, magnitude, base > 0 ? 'A' : 'a');
  }
  if (negative) *buffer++ = '-';
  if (prefix != nullptr) {
    while (*prefix != 0) *buffer++ = *prefix++;
  }
  // The sign stands before the padding, also before blanks.
  if (pad_char != 0) {
    std::memset(buffer, pad_char, static_cast<size_t>(digits.first));
    buffer += digits.first;
  }
  const size_t count = static_cast<size_t>(digits.width - digits.first);
  std::memcpy(buffer, digits.text + digits.first, count);
  buffer[count] = 0;
}

}  // namespace

extern "C" {

void kiv_u128_to_str(const KIV_U128 *a, char *buffer) {
  write_32_hexadecimal(buffer, load_u128(a), 'a');
  buffer[32] = 0;
}

void kiv_u128_to_str_no_leading_zeros(const KIV_U128 *a, char *buffer, int upper_case) {
  const UInt128 value = load_u128(a);
  const int count = 32 - count_leading_zero_digits(value, 4);
  // Moved to the front, the digits are written in groups of eight, as many as there are.
  UInt128 rest = value << (4 * (32 - count));
  for (int i = 0; i < count; i += 8, rest <<= 32) {
    kiv::write_8_hexadecimal(buffer + i, static_cast<uint32_t>(high64(rest) >> 32), upper_case != 0 ? 'A' : 'a');
  }
  buffer[count] = 0;
}

// Neither the characters nor the end of the text are looked at: callers pass what kiv_u128_to_str has written.
void kiv_str_to_u128(const char *text, KIV_U128 *out) {
  const uint64_t high = uint64_t{kiv::read_8_hexadecimal(text)} << 32 | kiv::read_8_hexadecimal(text + 8);
  const uint64_t low = uint64_t{kiv::read_8_hexadecimal(text + 16)} << 32 | kiv::read_8_hexadecimal(text + 24);
  *out = {high, low};
}

void kiv_u128_to_str_bis(const KIV_U128 *a, int base, const char *prefix, char pad_char, char *buffer) {
  format(load_u128(a), false, base, prefix, pad_char, buffer);
}

void kiv_s128_to_str_bis(const KIV_S128 *a, int base, const char *prefix, char pad_char, char *buffer) {
  format(kiv::load_magnitude(a), kiv::is_negative(a), base, prefix, pad_char, buffer);
}

}  // extern "C"
