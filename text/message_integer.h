// Integers of messages as characters.
#ifndef KIV_TEXT_MESSAGE_INTEGER_H
#define KIV_TEXT_MESSAGE_INTEGER_H

#include <cstring>

#include "kiv_u128.h"
#include "text/message_syntax.h"

namespace kiv::message {

template <class T>
inline T read(const void *word) {
  T value;
  std::memcpy(&value, word, sizeof value);
  return value;
}

/// The value of an integer of at most 64 bits, sign- or zero-extended. Callers of byte-string messages pass the smaller
/// ones as C passes arguments, in 32 bits, and what they pass is printed.
inline uint64_t read_integer(TypeCode code, const void *word) {
  const auto extended = [](int64_t value) { return static_cast<uint64_t>(value); };
  switch (code) {
    case 0:
      return extended(read<int8_t>(word));
    case kUnsigned:
      return read<uint8_t>(word);
    case 4:
      return extended(read<int16_t>(word));
    case 4 | kUnsigned:
      return read<uint16_t>(word);
    case kPromoted:
    case 4 | kPromoted:
    case 8:
    case 8 | kPromoted:
      return extended(read<int32_t>(word));
    case kPromoted | kUnsigned:
    case 4 | kPromoted | kUnsigned:
    case 8 | kUnsigned:
    case 8 | kPromoted | kUnsigned:
      return read<uint32_t>(word);
    default:
      return read<uint64_t>(word);
  }
}

/// An integer's digits, right-aligned.
class Digits {
 public:
  const char *text() const { return first_; }
  size_t length() const { return static_cast<size_t>(text_ + sizeof text_ - first_); }
  bool negative() const { return negative_; }

  /// After the digits.
  void write_sign() {
    if (negative_) *--first_ = '-';
  }

  void write_decimal(uint64_t value, bool negative) {
    negative_ = negative;
    if (negative) value = 0 - value;
    while (value > UINT32_MAX) {
      // Eight digits at a time: on 32-bit targets a 64-bit division is a call.
      const uint64_t upper = value / 100000000;
      auto eight = static_cast<uint32_t>(value - upper * 100000000);
      for (int i = 0; i < 4; ++i, eight /= 100) write_pair(eight % 100);
      value = upper;
    }
    auto rest = static_cast<uint32_t>(value);
    for (; rest >= 100; rest /= 100) write_pair(rest % 100);
    if (rest >= 10) {
      write_pair(rest);
    } else {
      *--first_ = static_cast<char>('0' + rest);
    }
  }

  void write_hexadecimal(uint64_t value) {
    do {
      *--first_ = "0123456789abcdef"[value & 15];
      value >>= 4;
    } while (value != 0);
  }

  void write_decimal_128(const KIV_U128 &value, bool negative) {
    negative_ = negative;
    KIV_U128 magnitude = value;
    if (negative) kiv_u128_neg(&magnitude);
    char text[40];
    kiv_u128_to_str_bis(&magnitude, 10, nullptr, 0, text);
    take(text);
  }

  void write_hexadecimal_128(const KIV_U128 &value) {
    char text[33];
    kiv_u128_to_str_no_leading_zeros(&value, text, 0);
    take(text);
  }

 private:
  void write_pair(uint32_t pair) {
    static constexpr char kPairs[] =
        "0001020304050607080910111213141516171819202122232425262728293031323334353637383940414243444546474849"
        "5051525354555657585960616263646566676869707172737475767778798081828384858687888990919293949596979899";
    first_ -= 2;
    std::memcpy(first_, kPairs + size_t{2} * pair, 2);
  }

  void take(const char *text) {
    const size_t length = std::strlen(text);
    first_ -= length;
    std::memcpy(first_, text, length);
  }

  char text_[40];
  char *first_ = text_ + sizeof text_;
  bool negative_ = false;
};

/// The value in the form that the format asks for. Two's complement is that of the type's width; a value that does not
/// need it is printed whole.
inline void write_integer(Digits *digits, const Placeholder &p, uint64_t value) {
  const unsigned bits = 8u << (p.code >> 2);
  bool is_signed = (p.code & kUnsigned) == 0;
  const auto is_negative = [&] { return is_signed && static_cast<int64_t>(value) < 0; };
  if (p.letter == 'd' && !is_signed) {
    is_signed = true;
    value = static_cast<uint64_t>(static_cast<int64_t>(value << (64 - bits)) >> (64 - bits));
  } else if ((p.letter == 'u' || p.hexadecimal) && is_negative()) {
    is_signed = false;
    value = value << (64 - bits) >> (64 - bits);
  }
  if (p.hexadecimal) {
    if (is_negative()) value = value << (64 - bits) >> (64 - bits);
    digits->write_hexadecimal(value);
  } else {
    digits->write_decimal(value, is_negative());
  }
}

inline void write_integer_128(Digits *digits, const Placeholder &p, const KIV_U128 &value) {
  if (p.hexadecimal) return digits->write_hexadecimal_128(value);
  const bool is_signed = p.letter == 'd' || (p.letter != 'u' && (p.code & kUnsigned) == 0);
  digits->write_decimal_128(value, is_signed && static_cast<int64_t>(value.hi) < 0);
}

}  // namespace kiv::message

#endif
