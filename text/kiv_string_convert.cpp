// Conversions between code points, UTF-8, UTF-16 and 8-bit characters.

#include "kiv_string_convert.h"

#include <cstring>

#include "os/platform.h"
#include "text/convert_count.h"

namespace os = kiv::os;

namespace {

constexpr uint32_t kReplacement = '?';

template <class Unit>
size_t length_of(const Unit *text) {
  size_t length = 0;
  while (text[length] != 0) ++length;
  return length;
}

/// The room for count units and a terminator; null when an allocator cannot be asked for that many bytes.
template <class Unit>
Unit *allocate(KIV_ALLOCATOR *allocator, size_t count) {
  if (count >= UINT32_MAX / sizeof(Unit)) return nullptr;
  return static_cast<Unit *>(allocator->alloc(allocator, static_cast<uint32_t>((count + 1) * sizeof(Unit))));
}

/// A new text of count units at most, filled by convert(text, size).
template <class Unit, class Convert>
Unit *allocate_and(KIV_ALLOCATOR *allocator, size_t count, Convert convert) {
  auto *text = allocate<Unit>(allocator, count);
  if (text != nullptr) (void)convert(text, static_cast<uint32_t>(count + 1));
  return text;
}

/// Writes map(unit) for count units of the source; each needs room for itself and a terminator.
template <class From, class To, class Map>
int map_units(const From *source, size_t count, To *destination, uint32_t size, Map map) {
  if (size == 0) return 0;
  const size_t fitting = count < size ? count : size - 1;
  for (size_t i = 0; i < fitting; ++i) destination[i] = map(source[i]);
  destination[fitting] = 0;
  return fitting == count;
}

template <class To>
int widen(const char *chars, size_t count, To *destination, uint32_t size) {
  return map_units(chars, count, destination, size, [](char c) { return To{static_cast<uint8_t>(c)}; });
}

}  // namespace

int kiv_string_convert_utf32_to_utf8(const KIV_UNICHAR *string, char *utf8, uint32_t size) {
  size_t room = size;
  auto put = [&](uint32_t byte) { *utf8++ = static_cast<char>(byte), --room; };
  for (; *string != 0; ++string) {
    const uint32_t c = *string;
    if (c >= 0x110000) {
      // The one character that may take the terminator's place.
      if (room < 1) break;
      put(kReplacement);
    } else if (c < 0x80) {
      if (room < 2) break;
      put(c);
    } else if (c < 0x800) {
      if (room < 3) break;
      put(0xC0 | c >> 6);
      put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      if (room < 4) break;
      put(0xE0 | c >> 12);
      put(0x80 | (c >> 6 & 0x3F));
      put(0x80 | (c & 0x3F));
    } else {
      if (room < 5) break;
      put(0xF0 | c >> 18);
      put(0x80 | (c >> 12 & 0x3F));
      put(0x80 | (c >> 6 & 0x3F));
      put(0x80 | (c & 0x3F));
    }
  }
  if (room == 0) return 0;
  *utf8 = 0;
  return *string == 0;
}

char *kiv_string_convert_utf32_to_utf8_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string) {
  return allocate_and<char>(allocator, kiv::utf8_bytes_of(string), [=](char *utf8, uint32_t size) {
    return kiv_string_convert_utf32_to_utf8(string, utf8, size);
  });
}

int kiv_string_convert_utf8_to_utf32(const char *utf8, KIV_UNICHAR *string, uint32_t size) {
  if (size == 0) return 0;
  for (; *utf8 != 0; --size) {
    if (size < 2) break;
    const uint32_t lead = static_cast<uint8_t>(*utf8++);
    int following = 0;
    uint32_t c = lead;
    if (lead >= 0x80) {
      if ((lead & 0xE0) == 0xC0) {
        following = 1, c = lead & 0x1F;
      } else if ((lead & 0xF0) == 0xE0) {
        following = 2, c = lead & 0x0F;
      } else if ((lead & 0xF8) == 0xF0) {
        following = 3, c = lead & 0x07;
      } else {
        c = kReplacement;
      }
    }
    for (; following > 0; --following, ++utf8) {
      if (*utf8 == 0) {
        c = kReplacement;
        break;
      }
      c = c << 6 | (static_cast<uint8_t>(*utf8) & 0x3F);
    }
    *string++ = c;
  }
  *string = 0;
  return *utf8 == 0;
}

KIV_STRING kiv_string_convert_utf8_to_utf32_a(KIV_ALLOCATOR *allocator, const char *utf8) {
  return allocate_and<KIV_UNICHAR>(allocator, kiv::wide_chars_in_utf8(utf8), [=](KIV_UNICHAR *string, uint32_t size) {
    return kiv_string_convert_utf8_to_utf32(utf8, string, size);
  });
}

int kiv_string_convert_utf32_to_utf16(const KIV_UNICHAR *string, uint16_t *utf16, uint32_t size) {
  if (size == 0) return 0;
  size_t i = 0;
  bool fits = true;
  for (; fits && *string != 0; ++string) {
    const uint32_t c = *string;
    if (i >= size) {
      fits = false;
    } else if (c < 0x10000 || c >= 0x110000) {
      const bool bad = c >= 0x110000 || (c & 0xFFFFF800) == 0xD800;
      utf16[i++] = static_cast<uint16_t>(bad ? kReplacement : c);
    } else {
      utf16[i++] = static_cast<uint16_t>(0xD800 + ((c - 0x10000) >> 10));
      if (i < size) utf16[i] = static_cast<uint16_t>(0xDC00 + (c & 0x3FF));
      ++i;
    }
  }
  fits = fits && i < size;
  // Whatever stands in the last unit gives way, also the second half of a pair.
  utf16[fits ? i : size - 1] = 0;
  return fits;
}

uint16_t *kiv_string_convert_utf32_to_utf16_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string) {
  return allocate_and<uint16_t>(allocator, kiv::utf16_words_of(string), [=](uint16_t *utf16, uint32_t size) {
    return kiv_string_convert_utf32_to_utf16(string, utf16, size);
  });
}

int kiv_string_convert_utf16_to_utf32(const uint16_t *utf16, KIV_UNICHAR *string, uint32_t size) {
  if (size == 0) return 0;
  int whole = 1;
  for (; *utf16 != 0; --size) {
    if (size < 2) {
      whole = 0;
      break;
    }
    const uint32_t unit = *utf16++;
    if ((unit & 0xF800) != 0xD800) {
      *string++ = unit;
    } else if ((unit & 0xFC00) == 0xD800 && (*utf16 & 0xFC00) == 0xDC00) {
      *string++ = ((unit & 0x3FF) << 10) + (*utf16++ & 0x3FFu) + 0x10000;
    } else {
      break;  // a surrogate alone ends the text, and that is no failure
    }
  }
  *string = 0;
  return whole;
}

KIV_STRING kiv_string_convert_utf16_to_utf32_a(KIV_ALLOCATOR *allocator, const uint16_t *utf16) {
  return allocate_and<KIV_UNICHAR>(allocator, kiv::wide_chars_in_utf16(utf16), [=](KIV_UNICHAR *string, uint32_t size) {
    return kiv_string_convert_utf16_to_utf32(utf16, string, size);
  });
}

int kiv_string_convert_utf16_to_char(const uint16_t *utf16, char *chars, uint32_t size) {
  const size_t length = length_of(utf16);
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
  const size_t length = length_of(utf16);
  auto *chars = allocate<char>(allocator, length);
  if (chars != nullptr && kiv_string_convert_utf16_to_char(utf16, chars, static_cast<uint32_t>(length + 1)) == 0) {
    allocator->free(allocator, chars);
    return nullptr;
  }
  return chars;
}

int kiv_string_convert_utf32_to_char(const KIV_UNICHAR *string, char *chars, uint32_t size) {
  return map_units(string, length_of(string), chars, size,
                   [](KIV_UNICHAR c) { return static_cast<char>(c < 0x80 ? c : kReplacement); });
}

char *kiv_string_convert_utf32_to_char_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string) {
  return allocate_and<char>(allocator, length_of(string), [=](char *chars, uint32_t size) {
    return kiv_string_convert_utf32_to_char(string, chars, size);
  });
}

int kiv_string_convert_utf32_to_char_checked(const KIV_UNICHAR *string, char *chars, uint32_t size) {
  if (size == 0) return 1;
  for (; *string != 0; ++string, --size) {
    if (*string >= 0x80 || size < 2) return 1;
    *chars++ = static_cast<char>(*string);
  }
  *chars = 0;
  return 0;
}

char *kiv_string_convert_utf32_to_char_checked_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string) {
  const size_t length = length_of(string);
  auto *chars = allocate<char>(allocator, length);
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
  return allocate_and<KIV_UNICHAR>(
      allocator, length, [=](KIV_UNICHAR *string, uint32_t size) { return widen(chars, length, string, size); });
}

int kiv_string_convert_n_char_to_utf32(const char *chars, int32_t count, KIV_UNICHAR *string, uint32_t size) {
  return widen(chars, count > 0 ? static_cast<size_t>(count) : 0, string, size);
}

KIV_STRING kiv_string_convert_limited_char_to_utf32_a(KIV_ALLOCATOR *allocator, const char *chars, int32_t count) {
  const size_t length = count > 0 ? static_cast<size_t>(count) : 0;
  return allocate_and<KIV_UNICHAR>(
      allocator, length, [=](KIV_UNICHAR *string, uint32_t size) { return widen(chars, length, string, size); });
}

int kiv_string_convert_char_to_utf16(const char *chars, uint16_t *utf16, uint32_t size) {
  return widen(chars, std::strlen(chars), utf16, size);
}
