// Floating-point numbers of a program: their formats, and how they are shown. Source: IEEE 754-2019, section 3.4.
#ifndef KIV_INSPECT_FLOAT_FORMAT_H
#define KIV_INSPECT_FLOAT_FORMAT_H

#include <cstdint>
#include <string_view>

#include "kiv_u128.h"

namespace kiv::inspect {

/// In bits. The 80-bit format of the x87 has the mantissa's leading bit, which the others leave out.
struct FloatFormat {
  uint32_t size;
  uint32_t exponent;
  uint32_t mantissa;
  int digits;  // decimal ones that tell all values apart
};

/// The format that an image of so many bits has, or null: 16, 32, 64, 80, 128.
const FloatFormat *float_format_of_width(uint32_t bits);

/// The format of a base type, or null when it is none of these. Types of 12 and 16 bytes are told apart by what the
/// program runs on, and by name. A pair of doubles, as PowerPC has, is none.
const FloatFormat *float_format_of_type(std::string_view name, uint64_t bytes, bool x87, bool double_pairs);

/// Room for any number.
inline constexpr uint32_t kFloatTextSize = 64;

/// The shortest decimal digits that read back as the same number, but integers below 1e16 whole: "0.1", "-3.0",
/// "65504.0" (of binary16, where 6.55e4 is the same), "6.62607015e-34", "NaN", "+Inf".
void format_float(const KIV_U128 &image, const FloatFormat &format, char (&text)[kFloatTextSize]);

}  // namespace kiv::inspect

#endif
