// Bit operations whose results are blocks of an allocator.
//
// A null for a size above 0 is a lack of memory: then nothing has changed and the result is 0. A null for a size of 0
// is a block like any other: realloc has released the old one.

#include <cstring>

#include "kiv_bitops.h"
#include "numbers/bit_combine.h"
#include "numbers/bit_image.h"
#include "numbers/bit_units.h"

namespace kiv::bits {
namespace {

using LittleTarget = Target<ByteOrder::little>;
using LittleSource = Source<ByteOrder::little>;

/// Gives *buffer a new size; false, with *buffer as it was, on a lack of memory.
bool resize(KIV_ALLOCATOR *allocator, uint8_t **buffer, uint32_t size) {
  void *block = allocator->realloc(allocator, *buffer, size);
  if (block == nullptr && size > 0) return false;
  *buffer = static_cast<uint8_t *>(block);
  return true;
}

int32_t write_image_to(KIV_ALLOCATOR *allocator, uint8_t **buffer, KIV_U128 value, int32_t count) {
  const uint32_t size = bytes_for(count);
  if (!resize(allocator, buffer, size)) return 0;
  write_image(*buffer, value, count);
  return static_cast<int32_t>(size);
}

void copy_bits(uint8_t *target, int32_t target_bit, const void *source, int32_t source_bit, int32_t count) {
  combine<Copy>(LittleTarget(target, target_bit), LittleSource(static_cast<const uint8_t *>(source), source_bit),
                count);
}

}  // namespace
}  // namespace kiv::bits

using namespace kiv::bits;

int32_t kiv_bitops_convert_from_U32_allocate(KIV_ALLOCATOR *allocator, uint8_t **buffer, uint32_t value,
                                             int32_t count) {
  return write_image_to(allocator, buffer, {0, value}, count);
}

int32_t kiv_bitops_convert_from_U64_allocate(KIV_ALLOCATOR *allocator, uint8_t **buffer, uint64_t value,
                                             int32_t count) {
  return write_image_to(allocator, buffer, {0, value}, count);
}

int32_t kiv_bitops_convert_from_U128_allocate(KIV_ALLOCATOR *allocator, uint8_t **buffer, const KIV_U128 *value,
                                              int32_t count) {
  return write_image_to(allocator, buffer, *value, count);
}

int32_t kiv_bitops_bitwise_extract(KIV_ALLOCATOR *allocator, uint8_t **result, const void *source, int32_t source_bit,
                                   int32_t count) {
  const uint32_t size = bytes_for(count);
  *result = size > 0 ? static_cast<uint8_t *>(allocator->alloc(allocator, size)) : nullptr;
  if (*result == nullptr) return 0;
  copy_bits(*result, 0, source, source_bit, count);
  return static_cast<int32_t>(size);
}

int32_t kiv_bitops_bitwise_insert(KIV_ALLOCATOR *allocator, uint8_t **buffer, int32_t size, int32_t bit_offset,
                                  const void *source, int32_t count) {
  const uint32_t old_size = size > 0 ? static_cast<uint32_t>(size) : 0;
  const uint32_t new_size = std::max(bytes_for(int64_t{bit_offset} + count), old_size);
  if (!resize(allocator, buffer, new_size)) return 0;
  if (new_size > old_size) std::memset(*buffer + old_size, 0, new_size - old_size);
  if (bit_offset >= 0) copy_bits(*buffer, bit_offset, source, 0, count);
  return static_cast<int32_t>(new_size);
}

int32_t kiv_bitops_bitwise_cat(KIV_ALLOCATOR *allocator, uint8_t **buffer, int32_t first_count, const void *second,
                               int32_t second_count) {
  first_count = std::max(first_count, 0);
  second_count = std::max(second_count, 0);
  const uint32_t size = bytes_for(int64_t{first_count} + second_count);
  auto *joined = static_cast<uint8_t *>(allocator->calloc(allocator, 1, size));
  if (joined == nullptr && size > 0) return 0;
  copy_bits(joined, 0, *buffer, 0, first_count);
  copy_bits(joined, first_count, second, 0, second_count);
  allocator->free(allocator, *buffer);
  *buffer = joined;
  return static_cast<int32_t>(size);
}

uint8_t *kiv_bitops_bitwise_swap_endianness(KIV_ALLOCATOR *allocator, const void *source, int32_t size,
                                            int32_t unit_bits, int32_t units_per_group) {
  const uint32_t bytes = size > 0 ? static_cast<uint32_t>(size) : 0;
  auto *swapped = static_cast<uint8_t *>(allocator->alloc(allocator, bytes));
  if (swapped == nullptr || bytes == 0) return swapped;
  std::memcpy(swapped, source, bytes);
  if (unit_bits > 0 && units_per_group > 1) {
    UnitReversal(swapped, static_cast<const uint8_t *>(source), size, unit_bits, units_per_group).run();
  }
  return swapped;
}
