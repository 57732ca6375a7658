// Conversions from and to UTF-8.

#include "kiv_string_convert.h"
#include "text/convert_count.h"
#include "text/convert_from_utf8.h"
#include "text/convert_to_utf8.h"

namespace convert = kiv::convert;

namespace {

using convert::kReplacement;

struct ToUtf8 {
  using From = KIV_UNICHAR;
  using To = char;

  static convert::Cursor<From, To> run(convert::Cursor<From, To> at, const From *end) {
    return convert::run_to_utf8(at, end);
  }

  static bool step(convert::Cursor<From, To> &at) {
    const uint32_t c = *at.source;
    if (c == 0) return false;
    // All but the replacement leave room for the terminator.
    const size_t length = c < 0x80 || c >= 0x110000 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    if (at.room < length + (c < 0x110000)) return false;
    auto put = [&at](uint32_t byte) { *at.destination++ = static_cast<char>(byte); };
    switch (length) {
      case 1:
        put(c < 0x80 ? c : kReplacement);
        break;
      case 2:
        put(0xC0 | c >> 6);
        break;
      case 3:
        put(0xE0 | c >> 12);
        break;
      default:
        put(0xF0 | c >> 18);
        put(0x80 | (c >> 12 & 0x3F));
    }
    if (length > 2) put(0x80 | (c >> 6 & 0x3F));
    if (length > 1) put(0x80 | (c & 0x3F));
    at.room -= length;
    ++at.source;
    return true;
  }
};

struct FromUtf8 {
  using From = char;
  using To = KIV_UNICHAR;

  static convert::Cursor<From, To> run(convert::Cursor<From, To> at, const From *end) {
    return convert::run_from_utf8(at, end);
  }

  static bool step(convert::Cursor<From, To> &at) {
    if (*at.source == 0 || at.room < 2) return false;
    const uint32_t lead = static_cast<uint8_t>(*at.source++);
    --at.room;
    if (lead < 0x80) {
      *at.destination++ = lead;
    } else if (lead < 0xC0 || lead >= 0xF8) {
      *at.destination++ = kReplacement;
    } else {
      const int following = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
      *at.destination++ = sequence(at, lead & (0x3Fu >> following), following);
    }
    return true;
  }

 private:
  /// Whatever the following bytes are, their low bits are taken; only the terminator is no part of a sequence.
  static uint32_t sequence(convert::Cursor<From, To> &at, uint32_t c, int following) {
    for (; following > 0; --following) {
      if (*at.source == 0) return kReplacement;
      c = c << 6 | (static_cast<uint8_t>(*at.source++) & 0x3F);
    }
    return c;
  }
};

}  // namespace

int kiv_string_convert_utf32_to_utf8(const KIV_UNICHAR *string, char *utf8, uint32_t size) {
  auto at = convert::convert<ToUtf8>({string, utf8, size});
  // A replacement took the last byte; or there never was one.
  if (at.room == 0) return 0;
  *at.destination = 0;
  return *at.source == 0;
}

char *kiv_string_convert_utf32_to_utf8_a(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *string) {
  return convert::allocate_and<char>(allocator, kiv::utf8_bytes_of(string), [=](char *utf8, uint32_t size) {
    return kiv_string_convert_utf32_to_utf8(string, utf8, size);
  });
}

int kiv_string_convert_utf8_to_utf32(const char *utf8, KIV_UNICHAR *string, uint32_t size) {
  if (size == 0) return 0;
  auto at = convert::convert<FromUtf8>({utf8, string, size});
  *at.destination = 0;
  return *at.source == 0;
}

KIV_STRING kiv_string_convert_utf8_to_utf32_a(KIV_ALLOCATOR *allocator, const char *utf8) {
  return convert::allocate_and<KIV_UNICHAR>(
      allocator, kiv::wide_chars_in_utf8(utf8),
      [=](KIV_UNICHAR *string, uint32_t size) { return kiv_string_convert_utf8_to_utf32(utf8, string, size); });
}
