// Text written into a buffer of limited size, and decimal digits as characters.
#ifndef KIV_NUMBERS_TEXT_SINK_H
#define KIV_NUMBERS_TEXT_SINK_H

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "numbers/big_natural.h"

namespace kiv {

/// Keeps as much of the text as fits with a terminating 0, and whether that was all.
class TextSink {
 public:
  TextSink(char *buffer, uint32_t size) : next_(buffer), room_(size == 0 ? 0 : size - 1), has_buffer_(size != 0) {
    complete_ = has_buffer_;
  }
  TextSink(const TextSink &) = delete;
  TextSink &operator=(const TextSink &) = delete;

  void add(const char *text, size_t length) {
    if (length > room_) [[unlikely]] {
      length = room_;
      complete_ = false;
    }
    if (length != 0) std::memcpy(next_, text, length);
    advance(length);
  }
  void add(const char *text) { add(text, std::strlen(text)); }
  void add(char c) { add(&c, 1); }
  void fill(char c, uint64_t count) {
    const uint64_t fitting = std::min<uint64_t>(count, room_);
    if (fitting < count) complete_ = false;
    if (fitting != 0) std::memset(next_, c, static_cast<size_t>(fitting));
    advance(static_cast<size_t>(fitting));
  }
  void fail() { complete_ = false; }

  /// Whether nothing more would be kept.
  bool full() const { return !complete_; }

  /// Terminates the text: 1, or 0 when it is not complete.
  int finish() {
    if (has_buffer_) *next_ = '\0';
    return complete_ ? 1 : 0;
  }

 private:
  void advance(size_t length) {
    if (length != 0) next_ += length;
    room_ -= length;
  }

  char *next_;
  size_t room_;
  bool has_buffer_;
  bool complete_;
};

inline constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

inline void write_8_digits(char *text, uint32_t value) {
  const uint32_t high = value / 10000, low = value % 10000;
  std::memcpy(text, &kDigitPairs[high / 100 * 2], 2);
  std::memcpy(text + 2, &kDigitPairs[high % 100 * 2], 2);
  std::memcpy(text + 4, &kDigitPairs[low / 100 * 2], 2);
  std::memcpy(text + 6, &kDigitPairs[low % 100 * 2], 2);
}

/// All 19 digits, with leading zeros. REQUIRES: chunk < 10^19.
inline void write_chunk(char *text, uint64_t chunk) {
  const uint64_t high = chunk / 100000000, highest = high / 100000000;
  text[0] = static_cast<char>('0' + highest / 100);
  std::memcpy(text + 1, &kDigitPairs[static_cast<size_t>(highest % 100 * 2)], 2);
  write_8_digits(text + 3, static_cast<uint32_t>(high - highest * 100000000));
  write_8_digits(text + 11, static_cast<uint32_t>(chunk - high * 100000000));
}

/// A natural number without leading zeros, but with at least `least` digits, of which there are up to 19.
inline void add_decimal(TextSink &sink, uint64_t value, int least) {
  char text[kChunkDigits];
  write_chunk(text, value);
  int start = 0;
  while (start < kChunkDigits - least && text[start] == '0') ++start;
  sink.add(text + start, static_cast<size_t>(kChunkDigits - start));
}

}  // namespace kiv

#endif
