// LEB128 by strings of '0' and '1', least significant bit first: what the library's decoders and encoders are held
// against.
#ifndef KIV_TESTS_NUMBERS_NAIVE_LEB128_H
#define KIV_TESTS_NUMBERS_NAIVE_LEB128_H

#include <cstdint>
#include <string>
#include <vector>

namespace kiv::test {

/// A value as the bits of its halves, and the length of its encoding: 0 for a failure.
struct Leb128Value {
  int length = 0;
  uint64_t hi = 0, lo = 0;
  bool operator==(const Leb128Value &) const = default;
};

inline Leb128Value naive_leb128_decode(bool is_signed, uint32_t available, const uint8_t *bytes) {
  std::string bits;
  uint32_t length = 0;
  for (bool ended = false; !ended; ++length) {
    if (length == available || length == 19) return {};
    for (int bit = 0; bit < 7; ++bit) bits += (bytes[length] >> bit & 1) != 0 ? '1' : '0';
    ended = bytes[length] < 0x80;
  }
  bits.resize(133, is_signed ? bits.back() : '0');
  Leb128Value value{static_cast<int>(length), 0, 0};
  for (size_t bit = 0; bit < 64; ++bit) {
    value.lo |= uint64_t{bits[bit] == '1'} << bit;
    value.hi |= uint64_t{bits[64 + bit] == '1'} << bit;
  }
  return value;
}

/// The shortest encoding that decodes to the value.
inline std::vector<uint8_t> naive_leb128_encode(bool is_signed, uint64_t hi, uint64_t lo) {
  std::vector<uint8_t> bytes;
  for (;;) {
    uint8_t group = 0;
    for (int bit = 0; bit < 7; ++bit) {
      const size_t place = 7 * bytes.size() + static_cast<size_t>(bit);
      const uint64_t set = place < 64    ? lo >> place & 1
                           : place < 128 ? hi >> (place - 64) & 1
                                         : (is_signed ? hi >> 63 : 0);
      group = static_cast<uint8_t>(group | set << bit);
    }
    bytes.push_back(group);
    const auto length = static_cast<uint32_t>(bytes.size());
    if (naive_leb128_decode(is_signed, length, bytes.data()) == Leb128Value{static_cast<int>(length), hi, lo}) {
      return bytes;
    }
    bytes.back() |= 0x80;
  }
}

}  // namespace kiv::test

#endif
