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

/// Combines `count` words. target is at a byte boundary.
template <class Operation, class Word, bool kShifted, ByteOrder kTarget, ByteOrder kSource>
void combine_words(Target<kTarget> target, Source<kSource> source, size_t count, Direction direction) {
  const unsigned shift = source.phase();
  const auto step = [=](size_t i) {
    Word word = source.template load_raw<Word>(i);
    if constexpr (kShifted) word = shifted_together<kSource>(word, source.template load_raw<Word>(i + 1), shift);
    if constexpr (kTarget != kSource) word = byte_swap(word);
    target.store_raw(i, Operation::apply(target.template load_raw<Word>(i), word));
  };
  if (direction == Direction::up) {
    for (size_t i = 0; i < count; ++i) step(i * sizeof(Word));
  } else {
    for (size_t i = count; i > 0; --i) step((i - 1) * sizeof(Word));
  }
}

/// The part of a range that is whole bytes of the target.
template <class Operation, class Word, ByteOrder kTarget, ByteOrder kSource>
void combine_body(Target<kTarget> target, Source<kSource> source, size_t count, Direction direction) {
  if (source.phase() != 0) {
    combine_words<Operation, Word, true>(target, source, count, direction);
  } else {
    combine_words<Operation, Word, false>(target, source, count, direction);
  }
}

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
  const size_t head = (8 - target.phase()) % 8;
  const size_t bytes = (count - head) / 8;
  const size_t rest = (count - head) % 8;
  // Read before anything is written.
  const uint64_t head_bits = head > 0 ? read_field(source, head) : 0;
  const uint64_t rest_bits = rest > 0 ? read_field(source + (count - rest), rest) : 0;
  std::memmove((target + head).word(0, bytes), (source + head).word(0, bytes), bytes);
  if (head > 0) write_field<Copy>(target, head_bits, head);
  if (rest > 0) write_field<Copy>(target + (count - rest), rest_bits, rest);
}

/// Combines more than 64 bits.
template <class Operation, ByteOrder kTarget, ByteOrder kSource>
void combine_long(Target<kTarget> target, Source<kSource> source, size_t count) {
  constexpr size_t kVectorBits = 8 * sizeof(Vector);
  const size_t head = (8 - target.phase()) % 8;
  const size_t vectors = (count - head) / kVectorBits;
  const size_t words_at = head + vectors * kVectorBits;
  const size_t words = (count - words_at) / 64;
  const size_t rest_at = words_at + words * 64;

  const Direction direction = direction_of(target, source, count);
  const auto combine_vectors = [=] {
    combine_body<Operation, Vector>(target + head, source + head, vectors, direction);
  };
  const auto combine_rest = [=] { combine_field<Operation>(target + rest_at, source + rest_at, count - rest_at); };
  if (direction == Direction::up) {
    combine_field<Operation>(target, source, head);
    combine_vectors();
    combine_field<Operation>(target + words_at, source + words_at, words * 64);
    combine_rest();
  } else {
    combine_rest();
    combine_field<Operation>(target + words_at, source + words_at, words * 64);
    combine_vectors();
    combine_field<Operation>(target, source, head);
  }
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
