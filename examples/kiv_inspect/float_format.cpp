#include "examples/kiv_inspect/float_format.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "kiv_bigflt_convert.h"
#include "kiv_bigflt_text.h"
#include "kiv_target_word.h"

namespace kiv::inspect {
namespace {

constexpr FloatFormat kFormats[] = {
    {16, 5, 10, 5}, {32, 8, 23, 9}, {64, 11, 52, 17}, {80, 15, 64, 21}, {128, 15, 112, 36}};
constexpr FloatFormat kBrainFloat = {16, 8, 7, 4};

bool contains(std::string_view name, std::string_view part) { return name.find(part) != name.npos; }

/// Whether the text reads back as the number that the image has.
bool reads_back(const char *text, const uint8_t (&image)[16], const FloatFormat &format) {
  bigflt value;
  uint8_t again[16] = {};
  if (kiv_bigflt_sscan(text, static_cast<uint32_t>(std::strlen(text)), &value) < 0) return false;
  kiv_bigflt_to_ieee754(&value, again, format.size, format.exponent, format.mantissa);
  return std::equal(again, again + format.size / 8, image);
}

}  // namespace

const FloatFormat *float_format_of_width(uint32_t bits) {
  const auto *found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                   [bits](const auto &format) { return format.size == bits; });
  return found != std::end(kFormats) ? found : nullptr;
}

const FloatFormat *float_format_of_type(std::string_view name, uint64_t bytes, bool x87, bool double_pairs) {
  if (bytes == 2 && contains(name, "bf")) return &kBrainFloat;  // __bf16, std::bfloat16_t
  if (bytes > 16) return nullptr;
  const bool quad = contains(name, "128") && !contains(name, "ibm");  // __float128, _Float128, but not __ibm128
  if (double_pairs && bytes == 16 && !quad) return nullptr;
  if (x87 && (bytes == 12 || (bytes == 16 && !quad))) return float_format_of_width(80);
  return float_format_of_width(static_cast<uint32_t>(8 * bytes));
}

void format_float(const KIV_U128 &image, const FloatFormat &format, char (&text)[kFloatTextSize]) {
  KIV_U128 magnitude_bits = image;
  kiv_u128_clear_bits(&magnitude_bits, static_cast<int>(format.size) - 1, 1);
  if (kiv_u128_is_zero(&magnitude_bits) != 0) {  // numbers in the middle of a computation have no signed zeros
    (void)std::snprintf(text, kFloatTextSize, "%s0.0", kiv_u128_is_zero(&image) != 0 ? "" : "-");
    return;
  }
  uint8_t bytes[16];
  kiv_u128_to_u8_array(&image, 0, bytes);
  bigflt value;
  kiv_bigflt_ieee754_to_bigflt(&value, bytes, format.size, format.exponent, format.mantissa);
  for (int digits = 1; digits <= format.digits; ++digits) {
    (void)kiv_bigflt_sprint(text, kFloatTextSize, "e", digits - 1, &value);
    const char *exponent = std::strchr(text, 'e');
    if (exponent == nullptr) return;  // infinity and NaN have names
    if (digits < format.digits && !reads_back(text, bytes, format)) continue;
    const long magnitude = std::strtol(exponent + 1, nullptr, 10);
    if (magnitude < -4 || magnitude > 15) return;
    // The same digits without an exponent. An integer's other digits are its own rather than zeros.
    (void)kiv_bigflt_sprint(text, kFloatTextSize, "f", std::max(1, digits - 1 - static_cast<int>(magnitude)), &value);
    return;
  }
}

}  // namespace kiv::inspect
