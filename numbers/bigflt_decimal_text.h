// Digits of a text, as they are read one by one, and the bigflt nearest to them.
#ifndef KIV_NUMBERS_BIGFLT_DECIMAL_TEXT_H
#define KIV_NUMBERS_BIGFLT_DECIMAL_TEXT_H

#include "numbers/bigflt_decimal_exact.h"

namespace kiv::bigflt_engine {

/// Decimal digits times a power of ten.
///
/// Representation. The digits from the first that is not zero on stand in chunks of 19; of those that kMaxChunks do not
/// hold, only whether one is not zero is known. That is enough: no tie between two values has more than 23,032
/// digits, so that further ones tell only that the number is greater than a tie which agrees with it up to there.
class DecimalText {
 public:
  /// The last chunk, while it is not full: a reader keeps it in registers.
  struct Partial {
    uint64_t digits = 0;
    int count = 0;
  };

  bool is_zero() const { return count_ == 0 && last_.digits == 0; }

  Partial partial() const { return last_; }
  void set_partial(const Partial &partial) { last_ = partial; }

  /// Adds a digit to the partial chunk. REQUIRES: !is_zero(), or the digit is not zero.
  void add(Partial &partial, unsigned digit) {
    partial.digits = partial.digits * 10 + digit;
    if (++partial.count == kChunkDigits) {
      push(partial.digits);
      partial = {};
    }
  }

  /// Multiplies by 10^exponent.
  void scale(int64_t exponent) { exponent_ += exponent; }

  /// The nearest value. To be called once, when all has been added.
  Extended value(bool negative);

 private:
  static constexpr int kMaxChunks = 1213;

  void push(uint64_t chunk) {
    if (count_ < kMaxChunks) [[likely]] {
      chunks_[count_++] = chunk;
    } else {
      exponent_ += kChunkDigits;
      more_ = more_ || chunk != 0;
    }
  }

  Binary leading_digits(int64_t *exponent, bool *exact) const;
  int compare(const Binary &boundary) const;

  int64_t exponent_ = 0;  // of the last digit that has been kept
  Partial last_;
  int32_t count_ = 0;
  bool more_ = false;
  uint64_t chunks_[kMaxChunks + 1];
};

/// Hexadecimal digits, with a point between them, times a power of two. The first 48 are kept.
class HexadecimalText {
 public:
  void add(unsigned digit) {
    exponent_ -= behind_point_ ? 4 : 0;
    if (mantissa_ >> 124 == UInt128(0)) {
      mantissa_ = mantissa_ << 4 | UInt128(digit);
    } else {
      exponent_ += 4;
      if (below_digits_ < 16) {
        ++below_digits_;
        below_ |= uint64_t{digit} << (64 - 4 * below_digits_);
      } else if (digit != 0) {
        below_ |= 1;
      }
    }
  }
  void point() { behind_point_ = true; }

  Extended value(bool negative, int64_t exponent) const {
    if (mantissa_ == UInt128(0)) return zero();
    const int shift = leading_zeros(mantissa_);
    // There is something below only behind a digit that is not zero at the top.
    const UInt128 mantissa = shift == 0 ? mantissa_ : mantissa_ << shift | UInt128(below_ >> 1 >> (63 - (shift & 63)));
    return finish(negative, exponent + exponent_ + 127 - shift, mantissa, below_ << (shift & 63));
  }

 private:
  UInt128 mantissa_ = 0;
  uint64_t below_ = 0;
  int below_digits_ = 0;
  bool behind_point_ = false;
  int64_t exponent_ = 0;
};

}  // namespace kiv::bigflt_engine

#endif
