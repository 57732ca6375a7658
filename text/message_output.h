// Where a formatted text goes: a block that grows, or a caller's buffer.
//
// Invariant: count < capacity, so that the terminator always has room.
#ifndef KIV_TEXT_MESSAGE_OUTPUT_H
#define KIV_TEXT_MESSAGE_OUTPUT_H

#include <algorithm>
#include <cstring>

#include "text/convert_widen.h"
#include "text/string_block.h"

namespace kiv::message {

#if defined(__SSE2__)

/// Widens `count` bytes by zeros. Sizes that are no multiple of a vector's end with one that overlaps the one before.
inline void widen(const char *bytes, size_t count, KIV_UNICHAR *out) {
  using namespace convert;
  const auto widen4 = [](const char *from, KIV_UNICHAR *to) {
    const Vector zero = _mm_setzero_si128();
    store(to, _mm_unpacklo_epi16(_mm_unpacklo_epi8(word_at(from), zero), zero));
  };
  if (count >= 16) {
    for (size_t i = 0; i + 16 < count; i += 16) widen16(load(bytes + i), out + i);
    widen16(load(bytes + count - 16), out + count - 16);
  } else if (count >= 4) {
    for (size_t i = 0; i + 4 < count; i += 4) widen4(bytes + i, out + i);
    widen4(bytes + count - 4, out + count - 4);
  } else {
    for (size_t i = 0; i < count; ++i) out[i] = static_cast<uint8_t>(bytes[i]);
  }
}

#else

inline void widen(const char *bytes, size_t count, KIV_UNICHAR *out) {
  for (size_t i = 0; i < count; ++i) out[i] = static_cast<uint8_t>(bytes[i]);
}

#endif

class Output {
 public:
  /// A caller's buffer. REQUIRES: capacity > 0.
  Output(KIV_STRING buffer, uint32_t capacity) : buffer_(buffer), capacity_(capacity) {}

  /// A block of the allocator's, null at first when there is no memory.
  explicit Output(KIV_ALLOCATOR *allocator)
      : allocator_(allocator), buffer_(allocate_units(allocator, kFirstCapacity)), capacity_(kFirstCapacity) {}

  KIV_STRING buffer() const { return buffer_; }
  uint32_t capacity() const { return capacity_; }
  uint32_t count() const { return count_; }

  /// All of these give false when there is no room; a caller's buffer then has as much as it had room for.
  bool append(const char *bytes, size_t length) {
    return append_by(length, [bytes](KIV_UNICHAR *to, size_t count) { widen(bytes, count, to); });
  }
  bool append(const KIV_UNICHAR *units, size_t length) {
    return append_by(length,
                     [units](KIV_UNICHAR *to, size_t count) { std::memcpy(to, units, count * sizeof(KIV_UNICHAR)); });
  }
  bool fill(KIV_UNICHAR unit, size_t length) {
    return append_by(length, [unit](KIV_UNICHAR *to, size_t count) { std::fill_n(to, count, unit); });
  }
  bool append(KIV_UNICHAR unit) { return fill(unit, 1); }

  /// Takes back the last unit when it is this one.
  bool drop_last(uint32_t start, KIV_UNICHAR unit) {
    if (count_ == start || buffer_[count_ - 1] != unit) return false;
    --count_;
    return true;
  }

  void terminate() { buffer_[count_] = 0; }

 private:
  static constexpr uint32_t kFirstCapacity = 128;

  template <class Write>
  bool append_by(size_t length, Write write) {
    const bool fits = length < capacity_ - count_ || grow(length);
    if (!fits) length = allocator_ != nullptr ? 0 : capacity_ - count_ - 1;
    write(buffer_ + count_, length);
    count_ += static_cast<uint32_t>(length);
    return fits;
  }

  /// Grows until so many units fit in. A growing text meets all the steps one after the other: whoever watches the
  /// allocator sees the same calls whether it grows by units or by pieces.
  [[gnu::noinline]] bool grow(size_t length) {
    if (allocator_ == nullptr) return false;
    while (length >= capacity_ - count_) {
      const uint64_t capacity = uint64_t{capacity_} + capacity_ / 2 + 50;
      KIV_STRING block = reallocate_units(allocator_, buffer_, capacity);
      if (block == nullptr) return false;
      buffer_ = block;
      capacity_ = static_cast<uint32_t>(capacity);
    }
    return true;
  }

  KIV_ALLOCATOR *allocator_ = nullptr;
  KIV_STRING buffer_;
  uint32_t capacity_;
  uint32_t count_ = 0;
};

}  // namespace kiv::message

#endif
