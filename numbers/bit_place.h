// The place of a bit in a buffer of either byte order, and fields of up to 64 bits at such a place.
//
// All addressing is here. Byte i of a place counts from the byte that holds the bit, in the order of significance:
// towards higher addresses in a little-endian buffer, towards lower ones in a big-endian one.
//
// A field reads and writes its own bytes only, with no loop: n bytes (4 to 8, 2 or 3) are two words that overlap.
#ifndef KIV_NUMBERS_BIT_PLACE_H
#define KIV_NUMBERS_BIT_PLACE_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "numbers/bit_vector.h"

namespace kiv::bits {

static_assert(std::endian::native == std::endian::little);

enum class ByteOrder { little, big };

/// Byte is uint8_t or const uint8_t.
template <ByteOrder kOrder, class Byte>
class BitPlace {
 public:
  BitPlace(Byte *byte, int64_t bit)
      : byte_(moved(byte, static_cast<ptrdiff_t>(bit >> 3))), phase_(static_cast<unsigned>(bit & 7)) {}

  /// The bit's number in its byte, 0 to 7.
  unsigned phase() const { return phase_; }

  BitPlace operator+(size_t bits) const { return {byte_, static_cast<int64_t>(phase_ + bits)}; }

  /// The address of a word of `size` bytes, of which byte i is the least significant.
  Byte *word(size_t i, size_t size) const {
    return moved(byte_, static_cast<ptrdiff_t>(kOrder == ByteOrder::little ? i : i + size - 1));
  }

  /// The bytes of that word in the order of their addresses.
  template <class Word>
  Word load_raw(size_t i) const {
    Word raw;
    std::memcpy(&raw, word(i, sizeof raw), sizeof raw);
    return raw;
  }
  template <class Word>
  void store_raw(size_t i, Word raw) const {
    std::memcpy(word(i, sizeof raw), &raw, sizeof raw);
  }

  /// The same as a number.
  template <class Word>
  Word load(size_t i) const {
    return in_order(load_raw<Word>(i));
  }
  template <class Word>
  void store(size_t i, Word value) const {
    store_raw(i, in_order(value));
  }

  /// Bytes 0 to count - 1 as a number; count is 1 to 8.
  uint64_t load_bytes(unsigned count) const {
    if (count >= 4) return load<uint32_t>(0) | uint64_t{load<uint32_t>(count - 4)} << (8 * count - 32);
    if (count >= 2) return load<uint16_t>(0) | uint64_t{load<uint16_t>(count - 2)} << (8 * count - 16);
    return load<uint8_t>(0);
  }
  void store_bytes(unsigned count, uint64_t value) const {
    if (count >= 4) {
      store(0, static_cast<uint32_t>(value));
      store(count - 4, static_cast<uint32_t>(value >> (8 * count - 32)));
    } else if (count >= 2) {
      store(0, static_cast<uint16_t>(value));
      store(count - 2, static_cast<uint16_t>(value >> (8 * count - 16)));
    } else {
      store(0, static_cast<uint8_t>(value));
    }
  }

 private:
  static Byte *moved(Byte *byte, ptrdiff_t count) { return kOrder == ByteOrder::little ? byte + count : byte - count; }

  template <class Word>
  static Word in_order(Word word) {
    return kOrder == ByteOrder::little ? word : byte_swap(word);
  }

  Byte *byte_;
  unsigned phase_;
};

template <ByteOrder kOrder>
using Source = BitPlace<kOrder, const uint8_t>;
template <ByteOrder kOrder>
using Target = BitPlace<kOrder, uint8_t>;

/// What happens to the bits of the target.
struct Copy {
  template <class Word>
  static Word apply(Word, Word source) {
    return source;
  }
};
struct And {
  template <class Word>
  static Word apply(Word target, Word source) {
    return target & source;
  }
};
struct Or {
  template <class Word>
  static Word apply(Word target, Word source) {
    return target | source;
  }
};
struct Xor {
  template <class Word>
  static Word apply(Word target, Word source) {
    return target ^ source;
  }
};

/// Replaces the bits of a byte that are set in mask.
template <ByteOrder kOrder>
void write_byte(Target<kOrder> target, size_t i, unsigned value, unsigned mask) {
  const unsigned old = target.template load<uint8_t>(i);
  target.store(i, static_cast<uint8_t>((old & ~mask) | (value & mask)));
}

/// The lowest count bits; count is 1 to 64.
inline uint64_t low_bits(size_t count) { return UINT64_MAX >> (64 - count); }

/// The count bits at source; bits above are arbitrary. count is 1 to 64.
template <ByteOrder kOrder>
uint64_t read_field(Source<kOrder> source, size_t count) {
  const unsigned phase = source.phase();
  const auto bytes = static_cast<unsigned>((phase + count + 7) / 8);
  if (bytes <= 8) return source.load_bytes(bytes) >> phase;
  return source.template load<uint64_t>(0) >> phase | uint64_t{source.template load<uint8_t>(8)} << (64 - phase);
}

/// Applies the low count bits of value to those at target. count is 1 to 64.
template <class Operation, ByteOrder kOrder>
void write_field(Target<kOrder> target, uint64_t value, size_t count) {
  const auto merged = [](uint64_t old, uint64_t bits, uint64_t mask) {
    return (old & ~mask) | (Operation::apply(old, bits) & mask);
  };
  const unsigned phase = target.phase();
  const uint64_t mask = low_bits(count);
  const auto bytes = static_cast<unsigned>((phase + count + 7) / 8);
  if (bytes <= 8) {
    target.store_bytes(bytes, merged(target.load_bytes(bytes), value << phase, mask << phase));
    return;
  }
  target.store(0, merged(target.template load<uint64_t>(0), value << phase, mask << phase));
  const uint64_t ninth = merged(target.template load<uint8_t>(8), value >> (64 - phase), mask >> (64 - phase));
  target.store(8, static_cast<uint8_t>(ninth));
}

}  // namespace kiv::bits

#endif
