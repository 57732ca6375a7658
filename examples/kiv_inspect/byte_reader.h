// Reads a view's bytes one after the other, as DWARF lays them out.
//
// A read that is not wholly inside the view fails: it gives 0, and so does every later one. A reader checks ok() once
// behind a group of reads, not behind each. A failed reader is at the end: loops that stop there stop.
#ifndef KIV_INSPECT_BYTE_READER_H
#define KIV_INSPECT_BYTE_READER_H

#include <cstring>

#include "examples/kiv_inspect/byte_view.h"
#include "kiv_leb128.h"
#include "kiv_target_word.h"
#include "kiv_u128.h"

namespace kiv::inspect {

class ByteReader {
 public:
  explicit ByteReader(ByteView bytes, uint64_t at = 0) : bytes_(bytes), at_(bytes.size()) {
    if (at <= bytes.size()) {
      at_ = static_cast<uint32_t>(at);
    } else {
      ok_ = false;
    }
  }

  bool ok() const { return ok_; }
  uint32_t at() const { return at_; }
  ByteOrder order() const { return bytes_.order(); }
  bool at_end() const { return at_ == bytes_.size(); }

  ByteView bytes(uint64_t count) {
    const auto part = bytes_.part(at_, count);
    if (!part || !ok_) {
      fail();
      return {};
    }
    at_ += part->size();
    return *part;
  }

  /// A number of 1 to 8 bytes.
  uint64_t number(uint32_t width) { return bytes(width).number({0, width}); }

  /// Leaves bytes out.
  void skip(uint64_t count) {
    if (count > bytes_.size() - at_) return fail();
    at_ += static_cast<uint32_t>(count);
  }

  KIV_U128 unsigned_leb128() {
    KIV_U128 value = {};
    pass(ok_ ? kiv_uleb128_array_to_u128_bis(bytes_.size() - at_, bytes_.data() + at_, &value) : 0);
    return value;
  }

  /// In two's complement.
  KIV_U128 signed_leb128() {
    KIV_S128 value = {};
    pass(ok_ ? kiv_sleb128_array_to_s128_bis(bytes_.size() - at_, bytes_.data() + at_, &value) : 0);
    return {static_cast<uint64_t>(value.hi), value.lo};
  }

  /// For codes and counts, which fail when 64 bits do not hold them. Nearly all of them take a byte or two.
  uint64_t short_leb128() {
    if (bytes_.size() - at_ >= 2) {
      const uint32_t first = bytes_.data()[at_], second = bytes_.data()[at_ + 1];
      if (first < 0x80 || second < 0x80) {
        at_ += first < 0x80 ? 1 : 2;
        return first < 0x80 ? first : second << 7 | (first & 0x7F);
      }
    }
    const KIV_U128 value = unsigned_leb128();
    if (value.hi != 0) fail();
    return ok_ ? value.lo : 0;
  }

  /// Leaves out a number of either kind, of any value that the others can read.
  void skip_leb128() {
    const uint32_t left = bytes_.size() - at_;
    for (uint32_t i = 0; i < left && i < KIV_LEB128_MAX_BYTES; ++i) {
      if (bytes_.data()[at_ + i] < 0x80) return skip(i + 1);
    }
    fail();
  }

  /// The bytes up to the next zero, which is skipped.
  ByteView text() {
    const uint32_t left = bytes_.size() - at_;
    const void *end = left > 0 ? std::memchr(bytes_.data() + at_, 0, left) : nullptr;
    if (end == nullptr) {
      fail();
      return {};
    }
    const ByteView result = bytes(static_cast<uint64_t>(static_cast<const uint8_t *>(end) - bytes_.data()) - at_);
    ++at_;
    return result;
  }

 private:
  void fail() {
    ok_ = false;
    at_ = bytes_.size();
  }

  /// Behind a number of so many bytes; 0: it has no end.
  void pass(int length) {
    if (length <= 0) return fail();
    at_ += static_cast<uint32_t>(length);
  }

  ByteView bytes_;
  uint32_t at_;
  bool ok_ = true;
};

}  // namespace kiv::inspect

#endif
