// Copying, combining, setting and testing ranges of bits.

#include "kiv_bitops.h"

#include "numbers/bit_combine.h"
#include "numbers/bit_fill.h"

namespace kiv::bits {
namespace {

const uint8_t *bytes(const void *buffer) { return static_cast<const uint8_t *>(buffer); }
uint8_t *bytes(void *buffer) { return static_cast<uint8_t *>(buffer); }

template <class Operation, ByteOrder kTarget = ByteOrder::little, ByteOrder kSource = ByteOrder::little>
void combine_at(void *target, int32_t target_bit, const void *source, int32_t source_bit, int32_t count) {
  combine<Operation>(Target<kTarget>(bytes(target), target_bit), Source<kSource>(bytes(source), source_bit), count);
}

/// The test of whole bytes that callers rely on, which is not one of the range: the byte of first_bit is compared from
/// first_bit to its end, and the count goes on behind it as if it had held `first_bit % 8` bits of the range.
///
/// An empty range is all zero and all one wherever it begins; nothing is read.
template <bool kBit>
bool all_are_bytewise(const uint8_t *buffer, int32_t first_bit, int32_t count) {
  if (count <= 0) return true;
  const uint8_t *byte = buffer + (first_bit >> 3);
  const int32_t phase = first_bit & 7;
  if (phase == 0) return all_are<kBit>(byte, count);
  const int upper = 0xFF << phase & 0xFF;
  // For ones the bits below have to be zero: the whole byte is compared.
  const bool matches = kBit ? *byte == upper : (*byte & upper) == 0;
  return matches && all_are<kBit>(byte + 1, count - phase);
}

}  // namespace
}  // namespace kiv::bits

using namespace kiv::bits;

void kiv_bitops_replace_bits(void *target, int32_t target_bit, const void *source, int32_t source_bit, int32_t count) {
  combine_at<Copy>(target, target_bit, source, source_bit, count);
}

void kiv_bitops_replace_bits_big_endian_source(void *target, int32_t target_bit, const void *source, int32_t source_bit,
                                               int32_t count) {
  combine_at<Copy, ByteOrder::little, ByteOrder::big>(target, target_bit, source, source_bit, count);
}

void kiv_bitops_replace_bits_big_endian_target(void *target, int32_t target_bit, const void *source, int32_t source_bit,
                                               int32_t count) {
  combine_at<Copy, ByteOrder::big, ByteOrder::little>(target, target_bit, source, source_bit, count);
}

void kiv_bitops_replace_bits_big_endian_source_and_target(void *target, int32_t target_bit, const void *source,
                                                          int32_t source_bit, int32_t count) {
  combine_at<Copy, ByteOrder::big, ByteOrder::big>(target, target_bit, source, source_bit, count);
}

void kiv_bitops_AND_bits(void *target, int32_t target_bit, const void *source, int32_t source_bit, int32_t count) {
  combine_at<And>(target, target_bit, source, source_bit, count);
}

void kiv_bitops_OR_bits(void *target, int32_t target_bit, const void *source, int32_t source_bit, int32_t count) {
  combine_at<Or>(target, target_bit, source, source_bit, count);
}

void kiv_bitops_XOR_bits(void *target, int32_t target_bit, const void *source, int32_t source_bit, int32_t count) {
  combine_at<Xor>(target, target_bit, source, source_bit, count);
}

void kiv_bitops_set_bits(void *buffer, int32_t first_bit, int32_t count) {
  fill<true>(LittleTarget(bytes(buffer), first_bit), count);
}

void kiv_bitops_reset_bits(void *buffer, int32_t first_bit, int32_t count) {
  fill<false>(LittleTarget(bytes(buffer), first_bit), count);
}

int kiv_bitops_all_bits_are_zero(const void *buffer, int32_t count) { return all_are<false>(bytes(buffer), count); }

int kiv_bitops_all_bits_are_one(const void *buffer, int32_t count) { return all_are<true>(bytes(buffer), count); }

int kiv_bitops_all_bits_are_zero2(const void *buffer, int32_t first_bit, int32_t count) {
  return all_are_bytewise<false>(bytes(buffer), first_bit, count);
}

int kiv_bitops_all_bits_are_one2(const void *buffer, int32_t first_bit, int32_t count) {
  return all_are_bytewise<true>(bytes(buffer), first_bit, count);
}

int kiv_bitops_bit_is_set(const void *buffer, int32_t bit) { return bytes(buffer)[bit >> 3] >> (bit & 7) & 1; }
