// Doubles of usual size printed without the C runtime, to the same digits.
//
// A double is m * 2^-k with an integer m < 2^53. For 0 <= k < 128 the digits behind its point are those of the integer
// m' * 10^n / 2^k, where m' is the fraction's part of m and n the number of digits: the product has 117 bits at most,
// so that quotient and remainder are exact, and so is the rounding, to nearest, ties to even.
#ifndef KIV_TEXT_MESSAGE_DOUBLE_H
#define KIV_TEXT_MESSAGE_DOUBLE_H

#include <cstring>

#include "numbers/uint128.h"
#include "text/message_integer.h"

namespace kiv::message {

class ShortDouble {
 public:
  static constexpr uint32_t kMostDigits = 19;
  static constexpr size_t kLongestText = 48;

  explicit ShortDouble(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    negative_ = bits >> 63 != 0;
    const uint32_t exponent = bits >> 52 & 0x7FF;
    uint64_t mantissa = bits & ((uint64_t{1} << 52) - 1);
    if (bits << 1 == 0) {
      usual_ = true;  // zero
      return;
    }
    // From 2^-75 on, so that all of its bits are in 128 behind the point, and below 2^53.
    usual_ = exponent >= 1023 - 75 && exponent < 1023 + 53;
    if (!usual_) return;
    mantissa |= uint64_t{1} << 52;
    shift_ = static_cast<int>(1023 + 52 - exponent);
    integer_ = shift_ < 64 ? mantissa >> shift_ : 0;
    fraction_ = mantissa - (shift_ < 64 ? integer_ << shift_ : 0);
  }

  /// "%.*f" into room for kLongestText characters; gives the length, or 0 when this is none of its numbers.
  size_t print_fixed(uint32_t digits, char *out) const {
    if (!usual_ || digits > kMostDigits) return 0;
    return write(round_to(digits), digits, out);
  }

  /// "%.*g", when it is in the fixed form.
  size_t print_general(uint32_t digits, char *out) const {
    if (digits == 0) digits = 1;
    // The power of ten of the first digit, before rounding.
    int first = 0;
    if (integer_ != 0) {
      while (first < 16 && integer_ >= power_of_ten(first + 1)) ++first;
    } else if (fraction_ != 0) {
      do --first;
      while (first > -4 && scaled(static_cast<uint32_t>(-first)) >> shift_ == UInt128(0));
      if (scaled(static_cast<uint32_t>(-first)) >> shift_ == UInt128(0)) return 0;
    }
    const int64_t behind_point = int64_t{digits} - 1 - first;
    if (!usual_ || behind_point < 0 || behind_point > kMostDigits) return 0;
    const auto count = static_cast<uint32_t>(behind_point);
    const Parts parts = round_to(count);
    // Rounded up to a digit more than the fixed form has.
    if (first + 1 == static_cast<int>(digits) && parts.integer >= power_of_ten(first + 1)) return 0;
    size_t length = write(parts, count, out);
    if (count == 0) return length;
    while (out[length - 1] == '0') --length;
    return out[length - 1] == '.' ? length - 1 : length;
  }

 private:
  struct Parts {
    uint64_t integer;
    uint64_t fraction;  ///< times a power of ten
  };

  static constexpr auto kPowersOfTen = [] {
    struct {
      uint64_t powers[kMostDigits + 1];
      constexpr uint64_t operator[](size_t i) const { return powers[i]; }
    } table{};
    uint64_t power = 1;
    for (uint64_t &entry : table.powers) {
      entry = power;
      power *= 10;
    }
    return table;
  }();

  static constexpr uint64_t power_of_ten(int exponent) { return kPowersOfTen[static_cast<size_t>(exponent)]; }

  UInt128 scaled(uint32_t digits) const { return multiply_64(fraction_, kPowersOfTen[digits]); }

  Parts round_to(uint32_t digits) const {
    const UInt128 product = scaled(digits);
    Parts parts = {integer_, low64(product >> shift_)};
    if (shift_ == 0) return parts;
    const UInt128 rest = product - (UInt128(parts.fraction) << shift_), half = UInt128(1) << (shift_ - 1);
    const bool is_odd = ((digits == 0 ? parts.integer : parts.fraction) & 1) != 0;
    if (rest > half || (rest == half && is_odd)) {
      ++parts.fraction;
      if (parts.fraction == kPowersOfTen[digits]) {
        parts.fraction = 0;
        ++parts.integer;
      }
    }
    return parts;
  }

  size_t write(const Parts &parts, uint32_t digits, char *out) const {
    char *at = out;
    if (negative_) *at++ = '-';
    Digits integer;
    integer.write_decimal(parts.integer, false);
    std::memcpy(at, integer.text(), integer.length());
    at += integer.length();
    if (digits != 0) {
      *at++ = '.';
      Digits fraction;
      fraction.write_decimal(parts.fraction, false);
      std::memset(at, '0', digits - fraction.length());
      at += digits;
      std::memcpy(at - fraction.length(), fraction.text(), fraction.length());
    }
    return static_cast<size_t>(at - out);
  }

  bool negative_ = false;
  bool usual_ = false;
  int shift_ = 0;
  uint64_t integer_ = 0;
  uint64_t fraction_ = 0;
};

}  // namespace kiv::message

#endif
