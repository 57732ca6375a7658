// Conversions from and to UTF-16, and the order of UTF-16 texts.

#include "kiv_string_convert.h"
#include "os/platform.h"
#include "text/convert_count.h"
#include "text/convert_utf16.h"

namespace convert = kiv::convert;
namespace os = kiv::os;

namespace {

using convert::kReplacement;

struct ToUtf16 {
  using From = KIV_UNICHAR;
  using To = uint16_t;

  static convert::Cursor<From, To> run(convert::Cursor<From, To> at, const From *end) {
    return convert::run_to_utf16(at, end);
  }

  /// Takes the room to its end: the terminator will be put over what is in the last unit, also over the second half of
  /// a pair. The cursor stays before a pair of which only the first half would fit: the terminator replaces that
  /// anyway.
  static bool step(convert::Cursor<From, To> &at) {
    const uint32_t c = *at.source;
    if (c == 0 || at.room == 0) return false;
    const bool pair = c >= 0x10000 && c < 0x110000;
    if (pair) {
      if (at.room < 2) return at.destination++, at.room = 0, false;
      *at.destination++ = static_cast<uint16_t>(0xD800 + ((c - 0x10000) >> 10));
      *at.destination++ = static_cast<uint16_t>(0xDC00 + (c & 0x3FF));
      at.room -= 2;
    } else {
      const bool bad = c >= 0x110000 || (c & 0xFFFFF800) == 0xD800;
      *at.destination++ = static_cast<uint16_t>(bad ? kReplacement : c);
      --at.room;
    }
    ++at.source;
    return true;
  }
};

struct FromUtf16 {
  using From = uint16_t;
  using To = KIV_UNICHAR;

  static convert::Cursor<From, To> run(convert::Cursor<From, To> at, const From *end) {
    return convert::run_from_utf16(at, end);
  }

  static bool step(convert::Cursor<From, To> &at) {
    const uint32_t unit = *at.source;
    if (unit == 0 || at.room < 2) return false;
    if ((unit & 0xF800) != 0xD800) {
      *at.destination++ = unit;
      ++at.source;
    } else {
      const uint32_t next = at.source[1];  // there is one: the terminator at least
      if (unit >= 0xDC00 || (next & 0xFC00) != 0xDC00) return false;
      *at.destination++ = ((unit & 0x3FF) << 10) + (next & 0x3FF) + 0x10000;
      at.source += 2;
    }
    --at.room;
    return true;
  }
};

/// What each block of 0x800 units is moved by (modulo 0x10000) so that the order of units is the order of code points:
/// surrogates to the end, the units above them into the gap.
constexpr uint16_t kCodePointOrder[32] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,      0,      0,      0,      0,
                                          0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x2000, 0xF800, 0xF800, 0xF800, 0xF800};

uint16_t rank(uint16_t unit) { return static_cast<uint16_t>(unit + kCodePointOrder[unit >> 11]); }

}  // namespace

int kiv_string_convert_utf32_to_utf16(const KIV_UNICHAR *string, uint16_t *utf16, uint32_t size) {
  if (size == 0) return 0;
  auto at = convert::convert<ToUtf16>({string, utf16, size});
  if (at.room == 0) --at.destination;
  *at.destination = 0;
  return at.room != 0;
}

uint16_t *kiv_string_convert_utf32_to_utf16_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string) {
  return convert::allocate_and<uint16_t>(allocator, kiv::utf16_words_of(string), [=](uint16_t *utf16, uint32_t size) {
    return kiv_string_convert_utf32_to_utf16(string, utf16, size);
  });
}

int kiv_string_convert_utf16_to_utf32(const uint16_t *utf16, KIV_UNICHAR *string, uint32_t size) {
  if (size == 0) return 0;
  auto at = convert::convert<FromUtf16>({utf16, string, size});
  *at.destination = 0;
  // With room left the text ended, at its terminator or at a surrogate alone: the latter, too, is a success.
  return *at.source == 0 || at.room >= 2;
}

KIV_STRING kiv_string_convert_utf16_to_utf32_a(KIV_ALLOCATOR *allocator, const uint16_t *utf16) {
  return convert::allocate_and<KIV_UNICHAR>(
      allocator, kiv::wide_chars_in_utf16(utf16),
      [=](KIV_UNICHAR *string, uint32_t size) { return kiv_string_convert_utf16_to_utf32(utf16, string, size); });
}

int kiv_string_convert_utf16_to_char(const uint16_t *utf16, char *chars, uint32_t size) {
  const size_t length = convert::length_of(utf16);
  KIV_STRING string = nullptr;
  if (length < UINT32_MAX / sizeof *string) {
    string = static_cast<KIV_STRING>(os::heap_alloc((length + 1) * sizeof *string));
  }
  if (string == nullptr) {
    if (size > 0) *chars = 0;
    return 0;
  }
  (void)kiv_string_convert_utf16_to_utf32(utf16, string, static_cast<uint32_t>(length + 1));
  const int whole = kiv_string_convert_utf32_to_char(string, chars, size);
  os::heap_free(string);
  return whole;
}

char *kiv_string_convert_utf16_to_char_a(KIV_ALLOCATOR *allocator, const uint16_t *utf16) {
  const size_t length = convert::length_of(utf16);
  auto *chars = convert::allocate<char>(allocator, length);
  if (chars != nullptr && kiv_string_convert_utf16_to_char(utf16, chars, static_cast<uint32_t>(length + 1)) == 0) {
    allocator->free(allocator, chars);
    return nullptr;
  }
  return chars;
}

int kiv_string_utf16_strcmp(const uint16_t *utf16_1, const uint16_t *utf16_2) {
  while (*utf16_1 == *utf16_2 && *utf16_1 != 0) ++utf16_1, ++utf16_2;
  const int a = rank(*utf16_1), b = rank(*utf16_2);
  return (a > b) - (a < b);
}
