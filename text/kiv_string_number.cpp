// Parsing: one engine, and what each type makes of the magnitude and sign that it gives.
#include "kiv_string_number.h"

#include <limits>

#include "text/number_parse.h"

namespace {

using kiv::UInt128;
using kiv::number::Number;

/// A type of the library as an integer: its width, and how it holds the two's complement of a number.
template <class T>
struct Type {
  static constexpr int kBits = 8 * sizeof(T);
  static constexpr bool kIsSigned = std::numeric_limits<T>::is_signed;
  static T from(UInt128 bits) { return static_cast<T>(kiv::low64(bits)); }
};

template <>
struct Type<KIV_U128> {
  static constexpr int kBits = 128;
  static constexpr bool kIsSigned = false;
  static KIV_U128 from(UInt128 bits) { return {kiv::high64(bits), kiv::low64(bits)}; }
};

template <>
struct Type<KIV_S128> {
  static constexpr int kBits = 128;
  static constexpr bool kIsSigned = true;
  static KIV_S128 from(UInt128 bits) { return {static_cast<int64_t>(kiv::high64(bits)), kiv::low64(bits)}; }
};

template <class Source, class T>
int convert(Source text, int32_t base, int skip_white_space, int allow_trailing, T *value, uint32_t *start,
            uint32_t *length) {
  static constexpr std::remove_const_t<std::remove_pointer_t<decltype(text.text)>> kEmpty[1] = {};
  if (text.text == nullptr) text.text = kEmpty;
  const kiv::number::Syntax syntax{base, skip_white_space != 0, Type<T>::kIsSigned, allow_trailing != 0};
  // The largest magnitude: that of the least negative number, for signed types.
  const UInt128 limit = Type<T>::kIsSigned ? UInt128(1) << (Type<T>::kBits - 1) : ~UInt128(0) >> (128 - Type<T>::kBits);
  Number number;
  if (!parse(text, syntax, limit, number, start, length)) return 1;
  if (Type<T>::kIsSigned && !number.negative && number.magnitude == limit) return 1;
  *value = Type<T>::from(number.negative ? -number.magnitude : number.magnitude);
  return 0;
}

}  // namespace

int kiv_string_convert_to_u32m(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                               uint32_t *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::Units{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_convert_to_s32m(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                               int32_t *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::Units{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_convert_to_u64m(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                               uint64_t *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::Units{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_convert_to_s64m(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                               int64_t *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::Units{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_convert_to_u128(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                               KIV_U128 *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::Units{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_convert_to_s128(const KIV_UNICHAR *text, int32_t base, int skip_white_space, int allow_trailing,
                               KIV_S128 *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::Units{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_char_s_convert_to_u32m(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                      uint32_t *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::SignExtended{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_char_s_convert_to_s32m(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                      int32_t *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::SignExtended{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_char_s_convert_to_u64m(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                      uint64_t *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::SignExtended{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_char_s_convert_to_s64m(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                      int64_t *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::SignExtended{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_char_s_convert_to_u128(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                      KIV_U128 *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::SignExtended{text}, base, skip_white_space, allow_trailing, value, start, length);
}

int kiv_string_char_s_convert_to_s128(const char *text, int32_t base, int skip_white_space, int allow_trailing,
                                      KIV_S128 *value, uint32_t *start, uint32_t *length) {
  return convert(kiv::SignExtended{text}, base, skip_white_space, allow_trailing, value, start, length);
}
