// Little-endian images of integers in buffers of any number of bits.
#ifndef KIV_NUMBERS_BIT_IMAGE_H
#define KIV_NUMBERS_BIT_IMAGE_H

#include <algorithm>

#include "kiv_u128.h"
#include "numbers/bit_place.h"

namespace kiv::bits {

/// The bytes that hold so many bits; 0 for a negative count.
inline uint32_t bytes_for(int64_t bits) { return bits > 0 ? static_cast<uint32_t>((bits + 7) / 8) : 0; }

/// Writes bytes_for(count) bytes: the low count bits of value, then zeros.
inline void write_image(uint8_t *buffer, KIV_U128 value, int32_t count) {
  using Place = Target<ByteOrder::little>;
  const uint32_t bytes = bytes_for(count);
  if (bytes == 0) return;
  if (count < 64) return Place(buffer, 0).store_bytes(bytes, value.lo & low_bits(static_cast<size_t>(count)));
  Place(buffer, 0).store(0, value.lo);
  if (bytes == 8) return;
  const size_t high_bits = std::min<size_t>(static_cast<size_t>(count) - 64, 64);
  Place(buffer + 8, 0).store_bytes(std::min<uint32_t>(bytes - 8, 8), value.hi & low_bits(high_bits));
  if (bytes > 16) std::memset(buffer + 16, 0, bytes - 16);
}

/// The low count bits of the image, at most 64; reads no bytes but those that hold them.
inline uint64_t read_image(const uint8_t *buffer, int32_t count) {
  if (count <= 0) return 0;
  const auto bits = static_cast<size_t>(std::min(count, 64));
  return read_field(Source<ByteOrder::little>(buffer, 0), bits) & low_bits(bits);
}

}  // namespace kiv::bits

#endif
