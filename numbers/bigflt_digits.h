// The decimal digits of a bigflt, rounded to a place, for texts of any length.
//
// Short ones come from an integer, the number times a power of ten, rounded, of up to 50 digits. The estimate of it has
// 192 bits, so that at least 26 are left to tell which way it rounds. Others, and those that the estimate leaves open,
// come from the exact expansion. Layouts are written once, for both.
#ifndef KIV_NUMBERS_BIGFLT_DIGITS_H
#define KIV_NUMBERS_BIGFLT_DIGITS_H

#include "numbers/bigflt_decimal_exact.h"
#include "numbers/text_sink.h"

namespace kiv::bigflt_engine {

/// Up to 57 digits.
class ShortDigits {
 public:
  static constexpr int kMaxDigits = 50;

  /// value * 10^-position, rounded to an integer, ties to even. False when it has more than kMaxDigits digits, or when
  /// its rounding is left open. REQUIRES: the value is ordinary and not below 10^position.
  bool round(const Extended &value, int64_t position);

  /// An integer of at most 128 bits.
  void assign(UInt128 integer);

  int64_t leading_position() const { return position_ + kTextDigits - 1 - start_; }

  /// Adds the digits of weight 10^first and below, `count` of them.
  void add_to(TextSink &sink, int64_t first, uint64_t count) const;

 private:
  static constexpr int kTextDigits = 3 * kChunkDigits;

  void write(const Words<3> &integer);

  char text_[kTextDigits];  // padded with zeros
  int start_ = 0;           // of the first digit that is not zero
  int64_t position_ = 0;    // the power of ten of the last digit
};

/// Any number of digits, out of an expansion, which must live as long.
class LongDigits {
 public:
  explicit LongDigits(const ExactDigits &digits) : view_(digits.view()), leading_position_(digits.leading_position()) {}

  /// ExactDigits::kNone for zero.
  int64_t leading_position() const { return leading_position_; }

  /// Adds the digits of weight 10^first and below, `count` of them.
  void add_to(TextSink &sink, int64_t first, uint64_t count) const;

 private:
  ChunkView view_;
  int64_t leading_position_;
};

/// The power of ten of the first digit, or one less. REQUIRES: the value is ordinary.
inline int64_t leading_position_estimate(const Extended &value) {
  // log2(1 + f) >= f. The slope is log10(2) * 2^32, truncated; the last term makes up for that with negative exponents.
  const int64_t log2 = (int64_t{value.exponent} << 16) + static_cast<int64_t>(high64(value.mantissa) << 1 >> 48);
  return (log2 * 1292913986 - (int64_t{1} << 26)) >> 48;
}

}  // namespace kiv::bigflt_engine

#endif
