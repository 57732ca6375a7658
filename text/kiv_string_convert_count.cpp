// Counting what the conversions need.

#include <utility>

#include "kiv_string_convert.h"
#include "text/convert_count.h"
#include "text/convert_widen.h"

namespace convert = kiv::convert;

namespace {

/// The public counts stop at the largest 32-bit number.
uint32_t clip(size_t count) { return count < UINT32_MAX ? static_cast<uint32_t>(count) : UINT32_MAX; }

/// Windows that are in the nearest cache when they are counted; few enough units that a lane of 32 bits holds the
/// count.
constexpr size_t kWindowBytes = 8192;

#if defined(__SSE2__)

using convert::all32;
using convert::below;
using convert::both;
using convert::equals;
using convert::Vector;

uint32_t sum_of_lanes(Vector lanes) {
  lanes = _mm_add_epi32(lanes, _mm_srli_si128(lanes, 8));
  lanes = _mm_add_epi32(lanes, _mm_srli_si128(lanes, 4));
  return static_cast<uint32_t>(_mm_cvtsi128_si32(lanes));
}

#endif

// What a unit counts, alone and as one of a vector's, in whichever lanes.

struct CharsInUtf8 {
  using Unit = char;
  static size_t value(char byte) { return (byte & 0xC0) != 0x80; }
#if defined(__SSE2__)
  static Vector values(Vector bytes) {
    const Vector ones = both(_mm_cmpgt_epi8(bytes, convert::all8(0xBF)), convert::all8(1));
    return _mm_sad_epu8(ones, _mm_setzero_si128());
  }
#endif
};

struct Utf8Bytes {
  using Unit = KIV_UNICHAR;
  static constexpr int kOneBits = 7;  // numbers of so many bits count 1
  static size_t value(KIV_UNICHAR c) { return size_t{1} + (c >= 0x80) + (c >= 0x800) + (c >= 0x10000); }
#if defined(__SSE2__)
  static Vector values(Vector c) {
    return _mm_add_epi32(_mm_add_epi32(all32(4), below(c, 7)), _mm_add_epi32(below(c, 11), below(c, 16)));
  }
#endif
};

struct Utf16Words {
  using Unit = KIV_UNICHAR;
  static constexpr int kOneBits = 15;
  static size_t value(KIV_UNICHAR c) { return size_t{1} + (c >= 0x10000 || (c & 0xF800) == 0xD800); }
#if defined(__SSE2__)
  static Vector values(Vector c) {
    const Vector surrogate = equals<uint32_t>(_mm_srli_epi32(c, 11), all32(0xD800 >> 11));
    return _mm_sub_epi32(_mm_add_epi32(all32(2), below(c, 16)), surrogate);
  }
#endif
};

template <class Count>
size_t sum(const typename Count::Unit *text) {
  constexpr size_t kWindow = kWindowBytes / sizeof *text;
  size_t total = 0, ahead;
  do {
    ahead = convert::units_before_terminator(text, kWindow);
    size_t i = 0;
#if defined(__SSE2__)
    constexpr size_t kUnits = sizeof(Vector) / sizeof *text;
    Vector lanes = _mm_setzero_si128();
    if constexpr (sizeof *text == 4) {
      for (; ahead - i >= 16; i += 16) {
        const convert::Vectors units(text + i);
        if (convert::are_all(below(units.any_bits(), Count::kOneBits))) {
          total += 16;
          continue;
        }
        lanes = _mm_add_epi32(lanes, _mm_add_epi32(_mm_add_epi32(Count::values(units.a), Count::values(units.b)),
                                                   _mm_add_epi32(Count::values(units.c), Count::values(units.d))));
      }
    }
    for (; ahead - i >= kUnits; i += kUnits) lanes = _mm_add_epi32(lanes, Count::values(convert::load(text + i)));
    total += sum_of_lanes(lanes);
#endif
    for (; i < ahead; ++i) total += Count::value(text[i]);
    text += ahead;
  } while (ahead >= kWindow);
  return total;
}

/// Counts characters of whole pairs and single units from `utf16` on, which is moved, while there are some before
/// `end`.
size_t run_of_pairs([[maybe_unused]] const uint16_t *&utf16, [[maybe_unused]] const uint16_t *end) {
  size_t count = 0;
#if defined(__SSE2__)
  const uint16_t *place = utf16;
  uint32_t divided = 0;  // a pair's second unit is expected first: its two bits of a mask
  Vector lows = _mm_setzero_si128();
  for (; end - place >= 8; place += 8, count += 8) {
    const Vector kinds = both(convert::load(place), convert::all16(0xFC00));
    const Vector low = equals<uint16_t>(kinds, convert::all16(0xDC00));
    const uint32_t high_mask = convert::byte_mask(equals<uint16_t>(kinds, convert::all16(0xD800)));
    if (convert::byte_mask(low) != ((high_mask << 2 & 0xFFFF) | divided)) break;
    divided = high_mask >> 14;
    lows = _mm_add_epi32(lows, _mm_madd_epi16(low, low));  // -1 times -1
  }
  count -= sum_of_lanes(lows);
  // The first unit of a pair has been counted for both.
  if (divided != 0 && *place != 0) ++place;
  utf16 = place;
#endif
  return count;
}

}  // namespace

size_t kiv::wide_chars_in_utf8(const char *utf8) { return sum<CharsInUtf8>(utf8); }

size_t kiv::utf8_bytes_of(const KIV_UNICHAR *string) { return sum<Utf8Bytes>(string); }

size_t kiv::utf16_words_of(const KIV_UNICHAR *string) { return sum<Utf16Words>(string); }

size_t kiv::wide_chars_in_utf16(const uint16_t *utf16) {
  constexpr size_t kWindow = kWindowBytes / sizeof *utf16;
  constexpr int kStepsBetweenRuns = 16;
  size_t count = 0;
  for (const uint16_t *end = utf16;;) {
    if (utf16 >= end) end = utf16 + convert::units_before_terminator(utf16, kWindow);
    count += run_of_pairs(utf16, end);
    for (int i = 0; i < kStepsBetweenRuns; ++i, ++count) {
      if (*utf16 == 0) return count;
      const bool pair = (*utf16++ & 0xF800) == 0xD800;
      if (pair && *utf16 != 0) ++utf16;
    }
  }
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
