// Images of IEEE 754's binary formats.
//
// An image is sign, exponent field, and stored mantissa, from the most significant bit on. Without the sign, and with
// the leading bit dropped where it is stored, the images of numbers from zero to infinity are the integers from 0 on:
// rounding up may carry out of the mantissa and even so gives the next number, from the greatest subnormal to the least
// normal one, and from the greatest finite one to infinity.
#ifndef KIV_NUMBERS_BIGFLT_IEEE754_H
#define KIV_NUMBERS_BIGFLT_IEEE754_H

#include <algorithm>

#include "numbers/bigflt_value.h"

namespace kiv::bigflt_engine {

struct Format {
  int32_t exponent_width = 0;
  int32_t mantissa_width = 0;
  bool leading_bit_stored = false;

  // Exponent fields that are wider reach beyond the range of bigflt.
  static constexpr bool is_valid(uint32_t size, uint32_t exponent_width, uint32_t mantissa_width) {
    return size <= 128 && size % 8 == 0 && exponent_width >= 2 && exponent_width <= 15 && mantissa_width >= 1 &&
           mantissa_width <= 125 && size == 1 + exponent_width + mantissa_width;
  }
  // REQUIRES: is_valid.
  static constexpr Format make(uint32_t exponent_width, uint32_t mantissa_width) {
    return {static_cast<int32_t>(exponent_width), static_cast<int32_t>(mantissa_width),
            exponent_width == 15 && mantissa_width == 64};
  }

  constexpr int32_t sign_position() const { return exponent_width + mantissa_width; }
  // Bits behind the leading one.
  constexpr int32_t fraction_width() const { return mantissa_width - (leading_bit_stored ? 1 : 0); }
  constexpr int32_t bias() const { return (1 << (exponent_width - 1)) - 1; }
  constexpr uint64_t greatest_field() const { return (uint64_t{1} << exponent_width) - 1; }
};

inline constexpr Format kDoubleFormat = Format::make(11, 52);

constexpr Extended decode(UInt128 image, const Format &format) {
  const bool negative = (low64(image >> format.sign_position()) & 1) != 0;
  const uint64_t field = low64(image >> format.mantissa_width) & format.greatest_field();
  const int32_t fraction_width = format.fraction_width();
  const UInt128 leading_bit = UInt128(1) << fraction_width;
  const UInt128 fraction = image & (leading_bit - UInt128(1));
  const bool leading = format.leading_bit_stored ? (image & leading_bit) != UInt128(0) : field != 0;
  if (field != 0 && !leading) return kNan;
  if (field == format.greatest_field()) return fraction == UInt128(0) ? infinity(negative) : kNan;
  Extended value = from_uint128(leading ? fraction | leading_bit : fraction, negative);
  if (value.is_zero()) return zero(negative);
  value.exponent += std::max(static_cast<int32_t>(field), 1) - format.bias() - fraction_width;
  return value;
}

// mantissa / 2^drop, rounded to nearest, ties to even. REQUIRES: drop > 0, the top bit of the mantissa is set.
constexpr UInt128 drop_bits(UInt128 mantissa, int64_t drop) {
  if (drop > 128) return UInt128(0);
  if (drop == 128) return UInt128(mantissa > kTopBit ? 1 : 0);
  const UInt128 half = UInt128(1) << static_cast<int>(drop - 1);
  const UInt128 kept = mantissa >> static_cast<int>(drop);
  const UInt128 rest = mantissa & (half + half - UInt128(1));
  const bool up = rest > half || (rest == half && (low64(kept) & 1) != 0);
  return kept + UInt128(up ? 1 : 0);
}

constexpr UInt128 encode(const Extended &value, const Format &format) {
  const int32_t fraction_width = format.fraction_width();
  const UInt128 infinity_magnitude = UInt128(format.greatest_field()) << fraction_width;
  const int32_t least_exponent = 1 - format.bias();
  UInt128 magnitude = 0;
  if (value.is_nan()) {
    magnitude = infinity_magnitude | UInt128(1) << (fraction_width - 1);
  } else if (value.exponent > format.bias()) {
    magnitude = infinity_magnitude;
  } else if (value.exponent >= least_exponent) {
    // The leading bit adds 1 to the exponent field.
    magnitude = (UInt128(static_cast<uint64_t>(value.exponent - least_exponent)) << fraction_width) +
                drop_bits(value.mantissa, 127 - fraction_width);
  } else if (!value.is_zero()) {
    magnitude = drop_bits(value.mantissa, int64_t{127} - fraction_width + least_exponent - value.exponent);
  }
  if (format.leading_bit_stored) {
    const UInt128 leading_bit = UInt128(1) << fraction_width;
    const UInt128 field = magnitude >> fraction_width;
    magnitude = field << format.mantissa_width | (field != UInt128(0) ? leading_bit : UInt128(0)) |
                (magnitude & (leading_bit - UInt128(1)));
  }
  return magnitude | UInt128(value.negative ? 1 : 0) << format.sign_position();
}

}  // namespace kiv::bigflt_engine

#endif
