// Hexadecimal numbers of lines that are printed without a message.
#ifndef KIV_INSPECT_HEX_TEXT_H
#define KIV_INSPECT_HEX_TEXT_H

#include <cstdint>
#include <string_view>

namespace kiv::inspect {

/// A number in lower-case hexadecimal digits, with zeros in front up to so many: "[0_u64x.8]" of a message.
class HexText {
 public:
  /// REQUIRES: digits <= 16.
  explicit HexText(uint64_t value, int digits = 1) {
    const char *least = digits_ + sizeof digits_ - digits;
    for (; value != 0 || first_ > least; value >>= 4) *--first_ = "0123456789abcdef"[value & 15];
  }
  HexText(const HexText &) = delete;  // the start points into this
  HexText &operator=(const HexText &) = delete;

  std::string_view text() const { return {first_, static_cast<size_t>(digits_ + sizeof digits_ - first_)}; }

 private:
  char digits_[16];
  char *first_ = digits_ + sizeof digits_;
};

}  // namespace kiv::inspect

#endif
