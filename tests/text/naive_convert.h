// The conversions once more, a character at a time and as their rules are told, for tests to compare with. Each gives
// its result and what it has written from the beginning of a destination of so many units.
#ifndef KIV_TESTS_TEXT_NAIVE_CONVERT_H
#define KIV_TESTS_TEXT_NAIVE_CONVERT_H

#include <cstddef>
#include <vector>

#include "kiv_types.h"

namespace kiv::test::naive {

/// What a bounded conversion of one unit a character does at its end, and where the room ends.
template <class To>
int terminate(std::vector<To> &written, bool whole) {
  written.push_back(0);
  return whole;
}

inline int utf32_to_utf8(const KIV_UNICHAR *source, uint32_t size, std::vector<char> &written) {
  written.clear();
  uint32_t room = size;
  for (; *source != 0; ++source) {
    const uint32_t c = *source;
    const uint32_t length = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : c < 0x110000 ? 4 : 1;
    const uint32_t need = c < 0x110000 ? length + 1 : 1;
    if (room < need) break;
    room -= length;
    if (length == 1) {
      written.push_back(c < 0x80 ? static_cast<char>(c) : '?');
      continue;
    }
    written.push_back(static_cast<char>((0xF00 >> length & 0xFF) | c >> 6 * (length - 1)));
    for (uint32_t left = length - 1; left-- > 0;) written.push_back(static_cast<char>(0x80 | (c >> 6 * left & 0x3F)));
  }
  return room == 0 ? 0 : terminate(written, *source == 0);
}

inline int utf8_to_utf32(const char *source, uint32_t size, std::vector<KIV_UNICHAR> &written) {
  written.clear();
  if (size == 0) return 0;
  const auto *bytes = reinterpret_cast<const uint8_t *>(source);
  for (uint32_t room = size; *bytes != 0; --room) {
    if (room < 2) return terminate(written, false);
    const uint32_t lead = *bytes++;
    uint32_t c = lead, following = 0;
    if (lead >= 0x80) c = '?';
    if ((lead & 0xE0) == 0xC0) c = lead & 0x1F, following = 1;
    if ((lead & 0xF0) == 0xE0) c = lead & 0x0F, following = 2;
    if ((lead & 0xF8) == 0xF0) c = lead & 0x07, following = 3;
    while (following > 0 && *bytes != 0) c = c << 6 | (*bytes++ & 0x3F), --following;
    written.push_back(following > 0 ? '?' : c);
  }
  return terminate(written, true);
}

inline int utf32_to_utf16(const KIV_UNICHAR *source, uint32_t size, std::vector<uint16_t> &written) {
  written.clear();
  if (size == 0) return 0;
  for (; *source != 0 && written.size() < size; ++source) {
    const uint32_t c = *source;
    if ((c >= 0xD800 && c < 0xE000) || c >= 0x110000) {
      written.push_back('?');
    } else if (c < 0x10000) {
      written.push_back(static_cast<uint16_t>(c));
    } else {
      written.push_back(static_cast<uint16_t>(0xD800 + ((c - 0x10000) >> 10)));
      written.push_back(static_cast<uint16_t>(0xDC00 + (c & 0x3FF)));
    }
  }
  if (written.size() < size) return terminate(written, true);
  written.resize(size);
  written.back() = 0;
  return 0;
}

inline int utf16_to_utf32(const uint16_t *source, uint32_t size, std::vector<KIV_UNICHAR> &written) {
  written.clear();
  if (size == 0) return 0;
  for (uint32_t room = size; *source != 0; --room) {
    if (room < 2) return terminate(written, false);
    const uint32_t unit = *source++;
    if (unit < 0xD800 || unit > 0xDFFF) {
      written.push_back(unit);
    } else if (unit < 0xDC00 && *source >= 0xDC00 && *source <= 0xDFFF) {
      written.push_back(((unit & 0x3FF) << 10) + (*source++ & 0x3FFu) + 0x10000);
    } else {
      break;
    }
  }
  return terminate(written, true);
}

inline int utf32_to_char(const KIV_UNICHAR *source, uint32_t size, std::vector<char> &written) {
  written.clear();
  if (size == 0) return 0;
  for (; *source != 0 && written.size() + 2 <= size; ++source) {
    written.push_back(*source > 127 ? '?' : static_cast<char>(*source));
  }
  return terminate(written, *source == 0);
}

inline int utf32_to_char_checked(const KIV_UNICHAR *source, uint32_t size, std::vector<char> &written) {
  written.clear();
  if (size == 0) return 1;
  for (; *source != 0; ++source) {
    if (*source > 127 || size - written.size() < 2) return 1;
    written.push_back(static_cast<char>(*source));
  }
  return terminate(written, false);
}

inline int utf16_to_char(const uint16_t *source, uint32_t size, std::vector<char> &written) {
  std::vector<KIV_UNICHAR> string;
  utf16_to_utf32(source, UINT32_MAX, string);
  return utf32_to_char(string.data(), size, written);
}

template <class To>
int widen(const char *source, size_t count, uint32_t size, std::vector<To> &written) {
  written.clear();
  if (size == 0) return 0;
  size_t i = 0;
  for (; i < count && size - written.size() >= 2; ++i) written.push_back(static_cast<uint8_t>(source[i]));
  return terminate(written, i == count);
}

inline uint32_t chars_in_utf8(const char *source) {
  uint32_t count = 0;
  for (; *source != 0; ++source) count += (*source & 0xC0) != 0x80;
  return count;
}

inline uint32_t utf8_bytes_of(const KIV_UNICHAR *source) {
  uint32_t count = 0;
  for (; *source != 0; ++source) count += *source < 0x80 ? 1 : *source < 0x800 ? 2 : *source < 0x10000 ? 3 : 4;
  return count;
}

inline uint32_t chars_in_utf16(const uint16_t *source) {
  uint32_t count = 0;
  for (; *source != 0; ++count) {
    const bool first_of_pair = *source >= 0xD800 && *source <= 0xDFFF;
    ++source;
    if (first_of_pair && *source != 0) ++source;
  }
  return count;
}

inline uint32_t utf16_words_of(const KIV_UNICHAR *source) {
  uint32_t count = 0;
  for (; *source != 0; ++source) count += *source >= 0xD800 && (*source < 0xE000 || *source >= 0x10000) ? 2 : 1;
  return count;
}

inline int utf16_compare(const uint16_t *a, const uint16_t *b) {
  auto rank = [](uint32_t unit) { return unit < 0xD800 ? unit : unit < 0xE000 ? unit + 0x2000 : unit - 0x800; };
  for (; *a != 0 && *b != 0 && *a == *b; ++a, ++b) {
  }
  return (rank(*a) > rank(*b)) - (rank(*a) < rank(*b));
}

}  // namespace kiv::test::naive

#endif
