// Conversions from and to 8-bit characters. Their numbers of units are equal on both sides and known beforehand: loops
// over vectors, and over what these leave.

#include <algorithm>
#include <cstring>

#include "kiv_string_convert.h"
#include "text/convert_engine.h"
#include "text/convert_widen.h"

namespace convert = kiv::convert;

namespace {

/// Widens `count` bytes, as many as fit with a terminator behind them.
template <class To>
int widen(const char *chars, size_t count, To *destination, uint32_t size) {
  if (size == 0) return 0;
  const size_t fitting = std::min<size_t>(count, size - 1);
  for (size_t i = convert::widen_run(chars, fitting, destination); i < fitting; ++i) {
    destination[i] = static_cast<uint8_t>(chars[i]);
  }
  destination[fitting] = 0;
  return fitting == count;
}

}  // namespace

int kiv_string_convert_utf32_to_char(const KIV_UNICHAR *string, char *chars, uint32_t size) {
  if (size == 0) return 0;
  const size_t count = convert::units_before_terminator(string, size);
  const size_t fitting = std::min<size_t>(count, size - 1);
  for (size_t i = convert::narrow_run<convert::Narrowing::replace>(string, fitting, chars); i < fitting; ++i) {
    chars[i] = static_cast<char>(string[i] < 0x80 ? string[i] : convert::kReplacement);
  }
  chars[fitting] = 0;
  return fitting == count;
}

char *kiv_string_convert_utf32_to_char_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string) {
  return convert::allocate_and<char>(allocator, convert::length_of(string), [=](char *chars, uint32_t size) {
    return kiv_string_convert_utf32_to_char(string, chars, size);
  });
}

int kiv_string_convert_utf32_to_char_checked(const KIV_UNICHAR *string, char *chars, uint32_t size) {
  if (size == 0) return 1;
  const size_t count = convert::units_before_terminator(string, size);
  const size_t fitting = std::min<size_t>(count, size - 1);
  for (size_t i = convert::narrow_run<convert::Narrowing::stop>(string, fitting, chars); i < fitting; ++i) {
    if (string[i] >= 0x80) return 1;
    chars[i] = static_cast<char>(string[i]);
  }
  if (fitting < count) return 1;
  chars[fitting] = 0;
  return 0;
}

char *kiv_string_convert_utf32_to_char_checked_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string) {
  const size_t length = convert::length_of(string);
  auto *chars = convert::allocate<char>(allocator, length);
  if (chars != nullptr &&
      kiv_string_convert_utf32_to_char_checked(string, chars, static_cast<uint32_t>(length + 1)) != 0) {
    allocator->free(allocator, chars);
    return nullptr;
  }
  return chars;
}

int kiv_string_convert_char_to_utf32(const char *chars, KIV_UNICHAR *string, uint32_t size) {
  return widen(chars, std::strlen(chars), string, size);
}

KIV_STRING kiv_string_convert_char_to_utf32_a(KIV_ALLOCATOR *allocator, const char *chars) {
  const size_t length = std::strlen(chars);
  return convert::allocate_and<KIV_UNICHAR>(
      allocator, length, [=](KIV_UNICHAR *string, uint32_t size) { return widen(chars, length, string, size); });
}

int kiv_string_convert_n_char_to_utf32(const char *chars, int32_t count, KIV_UNICHAR *string, uint32_t size) {
  return widen(chars, count > 0 ? static_cast<size_t>(count) : 0, string, size);
}

KIV_STRING kiv_string_convert_limited_char_to_utf32_a(KIV_ALLOCATOR *allocator, const char *chars, int32_t count) {
  const size_t length = count > 0 ? static_cast<size_t>(count) : 0;
  return convert::allocate_and<KIV_UNICHAR>(
      allocator, length, [=](KIV_UNICHAR *string, uint32_t size) { return widen(chars, length, string, size); });
}

int kiv_string_convert_char_to_utf16(const char *chars, uint16_t *utf16, uint32_t size) {
  return widen(chars, std::strlen(chars), utf16, size);
}
