// Decimal text of 32-bit integers in both directions, and the joining of names with it.
#include <cstring>

#include "kiv_string_convert.h"
#include "kiv_string_number.h"
#include "text/convert_engine.h"
#include "text/number_parse.h"

namespace number = kiv::number;

namespace {

constexpr KIV_UNICHAR kEmpty[] = {0};

/// The decimal text of an integer, without a terminator.
class Decimal {
 public:
  explicit Decimal(uint32_t magnitude, bool negative = false) {
    do {
      prepend(static_cast<char>('0' + magnitude % 10));
      magnitude /= 10;
    } while (magnitude != 0);
    if (negative) prepend('-');
  }
  explicit Decimal(int32_t value)
      : Decimal(value < 0 ? 0 - static_cast<uint32_t>(value) : static_cast<uint32_t>(value), value < 0) {}

  const char *chars() const { return chars_ + kRoom - length_; }
  int32_t length() const { return length_; }

 private:
  static constexpr int32_t kRoom = 11;  // -2147483648

  void prepend(char c) { chars_[kRoom - ++length_] = c; }

  char chars_[kRoom];
  int32_t length_ = 0;
};

int write(const Decimal &decimal, KIV_STRING destination, uint32_t size) {
  return kiv_string_convert_n_char_to_utf32(decimal.chars(), decimal.length(), destination, size);
}

KIV_STRING new_string(const Decimal &decimal, KIV_ALLOCATOR *allocator) {
  return kiv_string_convert_limited_char_to_utf32_a(allocator, decimal.chars(), decimal.length());
}

size_t length_of(const char *chars) { return chars != nullptr ? std::strlen(chars) : 0; }

char *append(char *end, const char *chars, size_t length) {
  if (length != 0) std::memcpy(end, chars, length);
  return end + length;
}

}  // namespace

int kiv_string_decimal_from_kiv_s32(int32_t value, KIV_STRING destination, uint32_t size) {
  return write(Decimal(value), destination, size);
}

int kiv_string_decimal_from_kiv_u32(uint32_t value, KIV_STRING destination, uint32_t size) {
  return write(Decimal(value), destination, size);
}

KIV_STRING kiv_string_decimal_from_kiv_s32_a(KIV_ALLOCATOR *allocator, int32_t value) {
  return new_string(Decimal(value), allocator);
}

KIV_STRING kiv_string_decimal_from_kiv_u32_a(KIV_ALLOCATOR *allocator, uint32_t value) {
  return new_string(Decimal(value), allocator);
}

int32_t kiv_string_s32_from_decimal(const KIV_UNICHAR *text, uint32_t *consumed) {
  if (text == nullptr) text = kEmpty;
  size_t i = text[0] == '-' || text[0] == '+' ? 1 : 0;
  uint32_t value = 0;
  for (; number::decimal_digit(text[i]) < 10; ++i) value = 10 * value + number::decimal_digit(text[i]);
  if (consumed != nullptr) *consumed = static_cast<uint32_t>(i);
  return static_cast<int32_t>(text[0] == '-' ? 0 - value : value);
}

uint32_t kiv_string_u32_from_decimal(const KIV_UNICHAR *text, uint32_t *count) {
  constexpr uint32_t kFailed = 0xDEADBEEF;
  if (text == nullptr) text = kEmpty;
  if (count != nullptr) *count = 0;
  const size_t first = number::skip_white_space(kiv::Units{text});
  size_t i = first;
  uint64_t value = 0;
  for (; number::decimal_digit(text[i]) < 10; ++i) {
    value = 10 * value + number::decimal_digit(text[i]);
    if (value > UINT32_MAX) return kFailed;
  }
  if (i == first) return kFailed;
  if (count != nullptr) *count = static_cast<uint32_t>(i - first);
  return static_cast<uint32_t>(value);
}

char *kiv_string_paste_char_char_utf32_a(KIV_ALLOCATOR *allocator, const char *chars1, const char *chars2,
                                         const KIV_UNICHAR *string) {
  if (string == nullptr) string = kEmpty;
  const size_t length1 = length_of(chars1), length2 = length_of(chars2);
  const size_t length3 = kiv::convert::length_of(string);
  const uint64_t length = uint64_t{length1} + length2 + length3;
  if (length >= UINT32_MAX) return nullptr;
  auto *pasted = kiv::convert::allocate<char>(allocator, static_cast<size_t>(length));
  if (pasted == nullptr) return nullptr;
  char *end = append(append(pasted, chars1, length1), chars2, length2);
  kiv_string_convert_utf32_to_char(string, end, static_cast<uint32_t>(length3 + 1));
  return pasted;
}
