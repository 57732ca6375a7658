// Counting what the conversions need, and the order of UTF-16 texts.

#include "kiv_string_convert.h"
#include "text/convert_count.h"

namespace {

/// The public counts stop at the largest 32-bit number.
uint32_t clip(size_t count) { return count < UINT32_MAX ? static_cast<uint32_t>(count) : UINT32_MAX; }

/// What each block of 0x800 units is moved by (modulo 0x10000) so that the order of units is the order of code points:
/// surrogates to the end, the units above them into the gap.
constexpr uint16_t kCodePointOrder[32] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,      0,      0,      0,      0,
                                          0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x2000, 0xF800, 0xF800, 0xF800, 0xF800};

}  // namespace

size_t kiv::wide_chars_in_utf8(const char *utf8) {
  size_t count = 0;
  for (; *utf8 != 0; ++utf8) count += (static_cast<uint8_t>(*utf8) & 0xC0) != 0x80;
  return count;
}

size_t kiv::utf8_bytes_of(const KIV_UNICHAR *string) {
  size_t count = 0;
  for (; *string != 0; ++string) {
    const uint32_t c = *string;
    count += size_t{1} + (c >= 0x80) + (c >= 0x800) + (c >= 0x10000);
  }
  return count;
}

size_t kiv::wide_chars_in_utf16(const uint16_t *utf16) {
  size_t count = 0;
  while (*utf16 != 0) {
    const bool pair = (*utf16++ & 0xF800) == 0xD800;
    if (pair && *utf16 != 0) ++utf16;
    ++count;
  }
  return count;
}

size_t kiv::utf16_words_of(const KIV_UNICHAR *string) {
  size_t count = 0;
  for (; *string != 0; ++string) count += size_t{1} + (*string >= 0x10000 || (*string & 0xF800) == 0xD800);
  return count;
}

uint32_t kiv_string_nr_of_wide_chars_in_utf8_string(const char *utf8) { return clip(kiv::wide_chars_in_utf8(utf8)); }

uint32_t kiv_string_nr_of_utf8_bytes_for_wide_char_string_representation(const KIV_UNICHAR *string) {
  return clip(kiv::utf8_bytes_of(string));
}

uint32_t kiv_string_nr_of_wide_chars_in_utf16_string(const uint16_t *utf16) {
  return clip(kiv::wide_chars_in_utf16(utf16));
}

uint32_t kiv_string_nr_of_utf16_words_for_wide_char_string_representation(const KIV_UNICHAR *string) {
  return clip(kiv::utf16_words_of(string));
}

int kiv_string_utf16_strcmp(const uint16_t *utf16_1, const uint16_t *utf16_2) {
  for (;; ++utf16_1, ++utf16_2) {
    const auto a = static_cast<uint16_t>(*utf16_1 + kCodePointOrder[*utf16_1 >> 11]);
    const auto b = static_cast<uint16_t>(*utf16_2 + kCodePointOrder[*utf16_2 >> 11]);
    if (a != b || a == 0) return (a > b) - (a < b);
  }
}
