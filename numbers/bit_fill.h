// Ranges of equal bits in little-endian buffers: writing them, and finding out whether one is.
#ifndef KIV_NUMBERS_BIT_FILL_H
#define KIV_NUMBERS_BIT_FILL_H

#include "numbers/bit_place.h"

namespace kiv::bits {

using LittleTarget = Target<ByteOrder::little>;
using LittleSource = Source<ByteOrder::little>;

/// A word of equal bits.
template <class Word, bool kBit>
Word all() {
  return every_byte<Word>(kBit ? 0xFF : 0);
}

/// Makes all bits of a range kBit: whole bytes by memset, between parts of bytes.
template <bool kBit>
void fill(LittleTarget target, int32_t signed_count) {
  if (signed_count <= 0) return;
  const auto count = static_cast<size_t>(signed_count);
  if (count <= 64) return write_field<Copy>(target, all<uint64_t, kBit>(), count);
  constexpr uint8_t kByte = kBit ? 0xFF : 0;
  const size_t end = target.phase() + count;
  const size_t first = target.phase() != 0 ? 1 : 0;
  std::memset(target.word(first, 1), kByte, end / 8 - first);
  if (first != 0) write_byte(target, 0, kByte, 0xFFU << target.phase());
  if (end % 8 != 0) write_byte(target, end / 8, kByte, 0xFFU >> (8 - end % 8));
}

/// Whether bits 0 to count - 1 of the buffer are all kBit. Four vectors a step; a range of 64 bits or more ends with a
/// word that may overlap what was seen before.
template <bool kBit>
bool all_are(const uint8_t *buffer, int32_t signed_count) {
  if (signed_count <= 0) return true;
  const auto count = static_cast<size_t>(signed_count);
  const LittleSource source(buffer, 0);
  if (count < 64) return ((read_field(source, count) ^ all<uint64_t, kBit>()) & low_bits(count)) == 0;

  constexpr size_t kStep = sizeof(Vector);
  const size_t bytes = count / 8;
  const auto differing = [=](size_t i) { return source.load_raw<Vector>(i) ^ all<Vector, kBit>(); };
  const auto none = all<Vector, false>();
  size_t i = 0;
  for (; i + 4 * kStep <= bytes; i += 4 * kStep) {
    const Vector any = (differing(i) | differing(i + kStep)) | (differing(i + 2 * kStep) | differing(i + 3 * kStep));
    if (!(any == none)) return false;
  }
  for (; i + kStep <= bytes; i += kStep) {
    if (!(differing(i) == none)) return false;
  }
  if (i + 8 <= bytes && source.load_raw<uint64_t>(i) != all<uint64_t, kBit>()) return false;
  return read_field(source + (count - 64), 64) == all<uint64_t, kBit>();
}

}  // namespace kiv::bits

#endif
