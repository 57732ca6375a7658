// Wide text, as the C runtime's "%S" prints it.
#ifndef KIV_TEXT_WIDE_TEXT_H
#define KIV_TEXT_WIDE_TEXT_H

#include <cwchar>
#include <type_traits>

#include "kiv_string_convert.h"

namespace kiv {

/// A wide character holds a unit of UTF-16 or, where it has 32 bits, a code point.
using WideUnit = std::conditional_t<sizeof(wchar_t) == sizeof(uint16_t), uint16_t, KIV_UNICHAR>;

/// What UTF-16 has no form for.
constexpr bool is_no_character(KIV_UNICHAR c) { return (c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF; }

/// Converts s to wide text of one kind or the other. REQUIRES: size units are room for the UTF-16 form of s and its
/// terminator.
inline void convert_to_wide(const KIV_UNICHAR *s, uint16_t *wide, uint32_t size) {
  kiv_string_convert_utf32_to_utf16(s, wide, size);
}
inline void convert_to_wide(const KIV_UNICHAR *s, KIV_UNICHAR *wide, uint32_t) {
  for (; *s != 0; ++s) *wide++ = is_no_character(*s) ? '?' : *s;
  *wide = 0;
}

}  // namespace kiv

#endif
