// Runs of the conversion to UTF-8 in vectors; see convert_engine.h for what a run is.
//
// Sixteen code points go one of five ways: ASCII, below 0x800, three bytes each, four bytes each, any. Within a way no
// branch depends on the text.
#ifndef KIV_TEXT_CONVERT_TO_UTF8_H
#define KIV_TEXT_CONVERT_TO_UTF8_H

#include "text/convert_engine.h"
#include "text/convert_widen.h"

namespace kiv::convert {

#if defined(__SSE2__)

// Code points as words of their bytes in UTF-8, the first byte lowest.

inline Vector last_six(Vector c) { return both(c, all32(0x3F)); }

inline Vector encode2(Vector c) {
  return either(either(_mm_srli_epi32(c, 6), _mm_slli_epi32(last_six(c), 8)), all32(0x80C0));
}

inline Vector encode3(Vector c) {
  const Vector middle = _mm_slli_epi32(both(c, all32(0xFC0)), 2);
  const Vector ends = either(_mm_srli_epi32(c, 12), _mm_slli_epi32(last_six(c), 16));
  return either(either(ends, middle), all32(0x8080E0));
}

/// All four bytes without their marks.
inline Vector spread4(Vector c) {
  const Vector second = both(_mm_srli_epi32(c, 4), all32(0x3F00));
  const Vector third = both(_mm_slli_epi32(c, 10), all32(0x3F0000));
  const Vector ends = either(_mm_srli_epi32(c, 18), _mm_slli_epi32(last_six(c), 24));
  return either(ends, either(second, third));
}

inline Vector mark4(Vector spread) { return either(spread, all32(0x808080F0)); }

// Four code points each; the number of bytes is the result. Up to six bytes behind them are overwritten.

/// All below 0x800: two at a time, of which the second one moves down to where the first one ends.
[[gnu::always_inline]] inline size_t put_below_800(Vector c, char *destination) {
  const Vector two = above(c, 0x7F);
  const Vector words = choose(two, encode2(c), c);
  const Vector first = _mm_shuffle_epi32(two, 0xA0);
  const Vector even = _mm_set_epi32(0, -1, 0, -1);
  const Vector odd = _mm_andnot_si128(even, words);
  const Vector pairs = either(both(words, even), choose(first, _mm_srli_epi64(odd, 16), _mm_srli_epi64(odd, 24)));
  const uint32_t twos = byte_mask(two);
  const size_t half = 2 + (twos & 1) + (twos >> 4 & 1);
  store8(destination, pairs);
  store8(destination + half, _mm_unpackhi_epi64(pairs, pairs));
  return half + 2 + (twos >> 8 & 1) + (twos >> 12 & 1);
}

/// All of three bytes: two times six.
[[gnu::always_inline]] inline size_t put_threes(Vector c, char *destination) {
  const Vector words = encode3(c);
  const Vector even = _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF);
  const Vector pairs = either(both(words, even), _mm_srli_epi64(_mm_andnot_si128(even, words), 8));
  store8(destination, pairs);
  store8(destination + 6, _mm_unpackhi_epi64(pairs, pairs));
  return 12;
}

/// Any: each word goes where the one before it ends.
[[gnu::always_inline]] inline size_t put_any(Vector c, char *destination) {
  const Vector two = above(c, 0x7F), three = above(c, 0x7FF), four = above(c, 0xFFFF);
  const Vector spread = spread4(c);
  Vector words = choose(two, either(_mm_srli_epi32(spread, 16), all32(0x80C0)), c);
  words = choose(three, either(_mm_srli_epi32(spread, 8), all32(0x8080E0)), words);
  words = choose(four, mark4(spread), words);
  // The lengths as bytes of a number; and, by multiplying, the sums of the first of them.
  Vector lengths = _mm_sub_epi32(_mm_sub_epi32(all32(1), two), _mm_add_epi32(three, four));
  lengths = _mm_packs_epi32(lengths, lengths);
  const uint32_t ends = static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(lengths, lengths))) * 0x01010101u;
  store4(destination, words);
  store4(destination + (ends & 0xFF), _mm_srli_si128(words, 4));
  store4(destination + (ends >> 8 & 0xFF), _mm_srli_si128(words, 8));
  store4(destination + (ends >> 16 & 0xFF), _mm_srli_si128(words, 12));
  return ends >> 24;
}

[[gnu::always_inline]] inline Cursor<KIV_UNICHAR, char> run_to_utf8(Cursor<KIV_UNICHAR, char> at,
                                                                    const KIV_UNICHAR *end) {
  // Behind a group others follow that will overwrite what was written too far: six bytes, by six code points at least,
  // and with room for more than that before one might not fit.
  constexpr size_t kBehind = 6;
  auto put_four_times = [&at](auto put, const Vectors &units) {
    char *place = at.destination;
    place += put(units.a, place);
    place += put(units.b, place);
    place += put(units.c, place);
    place += put(units.d, place);
    at.room -= static_cast<size_t>(place - at.destination);
    at.source += 16, at.destination = place;
  };
  while (end - at.source >= 16 && at.room > 16) {
    const Vectors units(at.source);
    const Vector all = units.any_bits();
    if (are_all(below(all, 7))) {
      store(at.destination, units.narrow());
      at.source += 16, at.destination += 16, at.room -= 16;
      continue;
    }
    if (end - at.source < static_cast<ptrdiff_t>(16 + kBehind) || at.room < size_t{4} * 16 + kBehind + 5) break;
    if (are_all(below(all, 11))) {
      put_four_times(put_below_800, units);
    } else if (are_all(below(all, 16)) && units.are_above(0x7FF)) {
      put_four_times(put_threes, units);
    } else if (are_all(below(all, 21)) && !units.is_one_above(0x10FFFF)) {
      if (units.are_above(0xFFFF)) {
        put_four_times([](Vector c, char *place) { return store(place, mark4(spread4(c))), size_t{16}; }, units);
      } else {
        put_four_times(put_any, units);
      }
    } else {
      break;
    }
  }
  while (end - at.source >= 4 && at.room > 4) {
    const Vector c = load(at.source);
    if (!are_all(below(c, 7))) break;
    store4(at.destination, _mm_packus_epi16(_mm_packs_epi32(c, c), c));
    at.source += 4, at.destination += 4, at.room -= 4;
  }
  return at;
}

#else

inline Cursor<KIV_UNICHAR, char> run_to_utf8(Cursor<KIV_UNICHAR, char> at, const KIV_UNICHAR *) { return at; }

#endif

}  // namespace kiv::convert

#endif
