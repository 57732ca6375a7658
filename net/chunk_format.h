// The wire format of a stream, without the stream: headers of chunks and their piggyback characters.
//
// H, the base length of a header, counts the type character and, with the secondary channel, the piggyback character in
// front of it. The four digits of a counted chunk come on top of H. Lengths of whole chunks include all of the header.
#ifndef KIV_NET_CHUNK_FORMAT_H
#define KIV_NET_CHUNK_FORMAT_H

#include <cstdint>

#include "kiv_socket.h"

namespace kiv {

inline constexpr int32_t kChunkSize = KIV_SOCKET_CHUNK_SIZE;
inline constexpr int32_t kCountDigits = 4;
/// Chunks of this length and more have it in their type character: "0" for this, "9" for a whole chunk.
inline constexpr int32_t kLongChunk = 1015;
inline constexpr uint8_t kCountedType = '*';
inline constexpr uint8_t kFullType = '+';
inline constexpr uint8_t kAcknowledgement[] = {'A', 'C', 'K'};

inline bool is_digit(uint8_t character) { return character >= '0' && character <= '9'; }

/// The character for a value: 1 to 61 come back from piggyback_value(), others as 0 (or, when negative, as chance has
/// it).
inline uint8_t piggyback_character(int32_t value) {
  if (value < 10) return static_cast<uint8_t>('0' + value);
  if (value < 36) return static_cast<uint8_t>('A' + (value - 10));
  if (value < 62) return static_cast<uint8_t>('a' + (value - 36));
  return '*';
}

inline int32_t piggyback_value(uint8_t character) {
  if (is_digit(character)) return character - '0';
  if (character >= 'A' && character <= 'Z') return character - 'A' + 10;
  if (character >= 'a' && character <= 'z') return character - 'a' + 36;
  return 0;
}

/// Writes the header of a flushed chunk, but for the piggyback character, so that it ends where the payload begins.
/// Gives its begin. REQUIRES: payload_size <= kChunkSize - base_length.
inline uint8_t *put_flush_header(uint8_t *payload, int32_t payload_size, int32_t base_length) {
  uint8_t *at = payload;
  if (payload_size > kLongChunk - base_length) {
    *--at = static_cast<uint8_t>('0' + (payload_size + base_length - kLongChunk));
    return at;
  }
  int32_t length = payload_size + base_length + kCountDigits;
  for (int32_t i = 0; i < kCountDigits; ++i, length /= 10) *--at = static_cast<uint8_t>('0' + length % 10);
  *--at = kCountedType;
  return at;
}

/// The length in the digits of a counted chunk; -1 when one is no digit.
inline int32_t counted_length(const uint8_t (&digits)[kCountDigits]) {
  int32_t length = 0;
  for (const uint8_t digit : digits) {
    if (!is_digit(digit)) return -1;
    length = length * 10 + (digit - '0');
  }
  return length;
}

}  // namespace kiv

#endif
