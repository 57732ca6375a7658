// Copies or combines ranges of bits between buffers of either byte order.
//
// A range of more than 64 bits is cut where the target has byte boundaries:
//
//     target   ..hhh|ww...ww|ww...ww|...|ww...ww|tttttt..
//              head  vectors of 16 bytes, a word  rest, up to 63 bits
//
// Head and rest are fields. Within the body each byte of the target takes bits of two neighbouring bytes of the source,
//
//     target[i] = source[i] >> shift | source[i + 1] << (8 - shift)
//
// which is done for all bytes of a word at once by loading it twice, a byte apart; a shift of 0 needs the first only.
// When both sides have equal phases and order a copy is a memmove between two fields.
//
// Invariants:
//  1. Every step reads only bytes that hold a bit of the source range, and writes only bits of the target range: bits
//     around it are written back as they are.
//  2. Every step reads its part of the source before it writes. Sides of the same order that overlap are therefore
//     right when no step overwrites what a later one reads: steps go up when the target begins at or below the source,
//     and down when it begins above it and within the range.
//
// Cost: linear, 16 bytes a step; no step depends on the one before.
#ifndef KIV_NUMBERS_BIT_COMBINE_H
#define KIV_NUMBERS_BIT_COMBINE_H

#include <type_traits>

#include "numbers/bit_place.h"

namespace kiv::bits {

/// The bits that a word of the target takes, in the order of the source's addresses. low and high are neighbouring
/// words of the source a byte apart, shift is 1 to 7.
template <ByteOrder kSource, class Word>
Word shifted_together(Word low, Word high, unsigned shift) {
  // Words are little-endian: the bits that pass from byte to byte are the right ones, and low and high agree on them.
  if constexpr (kSource == ByteOrder::little) return low >> shift | high << (8 - shift);
  const auto kept = every_byte<Word>(static_cast<uint8_t>(0xFF >> shift));
  return (low >> shift & kept) | (high << (8 - shift) & ~kept);
}

enum class Direction { up, down };

/// The whole bytes of the target within a range. target is at a byte boundary; kShifted tells whether source is not.
template <class Operation, bool kShifted, ByteOrder kTarget, ByteOrder kSource>
struct Body {
  Target<kTarget> target;
  Source<kSource> source;

  template <class Word>
  void combine_word(size_t i) const {
    Word word = source.template load_raw<Word>(i);
    if constexpr (kShifted) {
      word = shifted_together<kSource>(word, source.template load_raw<Word>(i + 1), source.phase());
    }
    if constexpr (kTarget != kSource) word = byte_swap(word);
    target.store_raw(i, Operation::apply(target.template load_raw<Word>(i), word));
  }

  /// So many bytes of vectors, and then perhaps a 64-bit word.
  void combine(size_t vector_bytes, bool and_word, Direction direction) const {
    if (and_word && direction == Direction::down) combine_word<uint64_t>(vector_bytes);
    if (direction == Direction::up) {
#pragma GCC unroll 4  // a sixth faster
      for (size_t i = 0; i < vector_bytes; i += sizeof(Vector)) combine_word<Vector>(i);
    } else {
      for (size_t i = vector_bytes; i > 0; i -= sizeof(Vector)) combine_word<Vector>(i - sizeof(Vector));
    }
    if (and_word && direction == Direction::up) combine_word<uint64_t>(vector_bytes);
  }
};

/// A field of 0 to 64 bits.
template <class Operation, ByteOrder kTarget, ByteOrder kSource>
void combine_field(Target<kTarget> target, Source<kSource> source, size_t count) {
  if (count > 0) write_field<Operation>(target, read_field(source, count), count);
}

/// Whether steps go up or down, see invariant 2.
template <ByteOrder kTarget, ByteOrder kSource>
Direction direction_of(Target<kTarget> target, Source<kSource> source, size_t count) {
  if constexpr (kTarget != kSource) return Direction::up;
  const auto position = [](const uint8_t *byte, unsigned phase) {
    const auto address = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(byte));
    return (kTarget == ByteOrder::little ? address : -address) * 8 + phase;
  };
  const uint64_t distance = position(target.word(0, 1), target.phase()) - position(source.word(0, 1), source.phase());
  return distance < count ? Direction::down : Direction::up;
}

/// Copies more than 64 bits between sides of equal phase and order.
template <ByteOrder kOrder>
void move_long(Target<kOrder> target, Source<kOrder> source, size_t count) {
  const unsigned phase = target.phase();
  const size_t end = phase + count;
  const size_t first = phase != 0 ? 1 : 0;
  const size_t bytes = end / 8 - first;
  // Read before anything is written.
  const auto head = source.template load<uint8_t>(0);
  const auto rest = end % 8 != 0 ? source.template load<uint8_t>(end / 8) : uint8_t{0};
  std::memmove(target.word(first, bytes), source.word(first, bytes), bytes);
  if (phase != 0) write_byte(target, 0, head, 0xFFU << phase);
  if (end % 8 != 0) write_byte(target, end / 8, rest, 0xFFU >> (8 - end % 8));
}

/// Combines more than 64 bits.
template <class Operation, ByteOrder kTarget, ByteOrder kSource>
void combine_long(Target<kTarget> target, Source<kSource> source, size_t count) {
  const Direction direction = direction_of(target, source, count);
  const bool up = direction == Direction::up;
  const size_t head = (8 - target.phase()) % 8;
  const size_t vector_bytes = (count - head) / 8 / sizeof(Vector) * sizeof(Vector);
  const size_t left = count - head - 8 * vector_bytes;
  const bool and_word = left >= 64;
  const size_t rest = left % 64;
  const auto combine_part = [=](size_t at, size_t bits) { combine_field<Operation>(target + at, source + at, bits); };

  combine_part(up ? 0 : count - rest, up ? head : rest);
  const auto from = source + head;
  if (from.phase() != 0) {
    Body<Operation, true, kTarget, kSource>{target + head, from}.combine(vector_bytes, and_word, direction);
  } else {
    Body<Operation, false, kTarget, kSource>{target + head, from}.combine(vector_bytes, and_word, direction);
  }
  combine_part(up ? count - rest : 0, up ? rest : head);
}

/// target range = operation(target range, source range), count bits; nothing for a count of 0 or less.
template <class Operation, ByteOrder kTarget, ByteOrder kSource>
void combine(Target<kTarget> target, Source<kSource> source, int32_t count) {
  if (count <= 0) return;
  const auto bits = static_cast<size_t>(count);
  if (bits <= 64) {
    combine_field<Operation>(target, source, bits);
  } else if (std::is_same_v<Operation, Copy> && kTarget == kSource && target.phase() == source.phase()) {
    if constexpr (kTarget == kSource) move_long(target, source, bits);
  } else {
    combine_long<Operation>(target, source, bits);
  }
}

}  // namespace kiv::bits

#endif
