// Reverses the order of units of bits within groups of them.
//
// Groups that are words of 2, 4 or 8 bytes are byte-swapped. Groups of up to 64 bits are turned round in a register.
// Units of larger groups are copied one by one, so that nothing needs room for a unit.
#ifndef KIV_NUMBERS_BIT_UNITS_H
#define KIV_NUMBERS_BIT_UNITS_H

#include "numbers/bit_combine.h"

namespace kiv::bits {

class UnitReversal {
 public:
  /// The buffers of `bytes` bytes are equal and do not overlap. REQUIRES: unit_bits >= 1, units >= 2.
  UnitReversal(uint8_t *target, const uint8_t *source, int64_t bytes, int32_t unit_bits, int32_t units)
      : target_(target),
        source_(source),
        bits_(bytes * 8),
        unit_bits_(unit_bits),
        units_(units),
        group_bits_(int64_t{unit_bits} * units) {}

  void run() const {
    if (unit_bits_ == 8 && units_ == 2) return swap_words<uint16_t>();
    if (unit_bits_ == 8 && units_ == 4) return swap_words<uint32_t>();
    if (unit_bits_ == 8 && units_ == 8) return swap_words<uint64_t>();
    for (int64_t group = 0; group_bits_ <= bits_ - group; group += group_bits_) {
      if (group_bits_ <= 64) {
        turn_group(group);
      } else {
        copy_units(group);
      }
    }
  }

 private:
  Target<ByteOrder::little> target(int64_t bit) const { return {target_, bit}; }
  Source<ByteOrder::little> source(int64_t bit) const { return {source_, bit}; }

  template <class Word>
  void swap_words() const {
    const size_t bytes = static_cast<size_t>(bits_ / 8) / sizeof(Word) * sizeof(Word);
    for (size_t i = 0; i < bytes; i += sizeof(Word)) {
      target(0).store(i, byte_swap(source(0).load<Word>(i)));
    }
  }

  void turn_group(int64_t group) const {
    const auto bits = static_cast<size_t>(group_bits_);
    const uint64_t unit = low_bits(static_cast<size_t>(unit_bits_));
    uint64_t rest = read_field(source(group), bits);
    uint64_t turned = 0;
    for (int32_t i = 0; i < units_; ++i) {
      turned = turned << unit_bits_ | (rest & unit);
      rest >>= unit_bits_;
    }
    write_field<Copy>(target(group), turned, bits);
  }

  void copy_units(int64_t group) const {
    for (int32_t i = 0; i < units_; ++i) {
      const int64_t from = group + int64_t{i} * unit_bits_;
      const int64_t to = group + int64_t{units_ - 1 - i} * unit_bits_;
      combine<Copy>(target(to), source(from), unit_bits_);
    }
  }

  uint8_t *target_;
  const uint8_t *source_;
  int64_t bits_;
  int32_t unit_bits_;
  int32_t units_;
  int64_t group_bits_;
};

}  // namespace kiv::bits

#endif
