// Runs of the conversions from and to UTF-8 in vectors; see convert_engine.h for what a run is.
#ifndef KIV_TEXT_CONVERT_UTF8_RUNS_H
#define KIV_TEXT_CONVERT_UTF8_RUNS_H

#include "text/convert_engine.h"
#include "text/convert_gather.h"
#include "text/convert_widen.h"

namespace kiv::convert {

#if defined(__SSE2__)

/// The characters that begin in a block of kMaskBits bytes, of which the first one does.
struct Utf8Block {
  Mask leads;
  size_t surplus;    // bytes of the last character that are behind the block
  bool well_formed;  // every first byte is followed by as many continuing ones as it says, within the block

  explicit Utf8Block(const char *bytes) {
    Mask high = 0, continuing = 0, three = 0, four = 0, none = 0;  // 0x80 and above, 0x80-0xBF, 0xE0-, 0xF0-, 0xF8-
#pragma GCC unroll 4
    for (size_t i = 0; i < kMaskBits; i += sizeof(Vector)) {
      const Vector v = load(bytes + i);
      // As signed numbers 0x80 to 0xFF are -128 to -1.
      high |= Mask{byte_mask(v)} << i;
      continuing |= Mask{byte_mask(_mm_cmplt_epi8(v, all8(0xC0)))} << i;
      three |= Mask{byte_mask(_mm_cmpgt_epi8(v, all8(0xDF)))} << i;
      four |= Mask{byte_mask(_mm_cmpgt_epi8(v, all8(0xEF)))} << i;
      none |= Mask{byte_mask(_mm_cmpgt_epi8(v, all8(0xF7)))} << i;
    }
    const Mask two = high & ~continuing;
    three &= high;
    four &= high;
    leads = ~continuing;
    well_formed = continuing == (two << 1 | three << 2 | four << 3) && (none & high) == 0;
    surplus = (two >> (kMaskBits - 1)) + (three >> (kMaskBits - 2) != 0) + (four >> (kMaskBits - 3) != 0);
  }
};

/// Four characters, each from its first byte (the lowest) on.
[[gnu::always_inline]] inline Vector decode_utf8(Vector words) {
  // Two times two bytes of six bits, then these twelve: 24 bits, of which the first byte's high ones are to go.
  const Vector bits = all32(0x003F003F);
  const Vector twelve = either(_mm_slli_epi16(both(words, bits), 6), both(_mm_srli_epi16(words, 8), bits));
  const Vector all = _mm_madd_epi16(twelve, all32(0x00011000));
  const Vector lead = both(words, all32(0xFF));
  Vector c = choose(_mm_cmpgt_epi32(lead, all32(0x7F)), _mm_srli_epi32(all, 12), lead);
  c = choose(_mm_cmpgt_epi32(lead, all32(0xDF)), both(_mm_srli_epi32(all, 6), all32(0xFFFF)), c);
  return choose(_mm_cmpgt_epi32(lead, all32(0xEF)), both(all, all32(0x1FFFFF)), c);
}

/// Which bytes of a vector have certain high bits.
inline uint32_t begin_with(Vector bytes, uint8_t high_bits, uint8_t value) {
  return byte_mask(equals<uint8_t>(both(bytes, all8(high_bits)), all8(value)));
}

/// How much was read and written.
struct Advance {
  size_t read, written;
};

/// Converts the characters at the beginning of sixteen bytes when the first of them all have one length of two to four.
[[gnu::always_inline]] inline Advance run_of_one_length(Vector bytes, KIV_UNICHAR *destination) {
  constexpr uint32_t kEveryThird = 0x249, kEveryFourth = 0x1111, kEverySecond = 0x5555;
  if ((begin_with(bytes, 0xF0, 0xE0) & kEveryThird) == kEveryThird) {
    const Vector words = _mm_unpacklo_epi64(_mm_unpacklo_epi32(bytes, _mm_srli_si128(bytes, 3)),
                                            _mm_unpacklo_epi32(_mm_srli_si128(bytes, 6), _mm_srli_si128(bytes, 9)));
    const Vector high = both(_mm_slli_epi32(words, 12), all32(0xF000));
    const Vector middle = both(_mm_srli_epi32(words, 2), all32(0xFC0));
    store(destination, either(either(high, middle), both(_mm_srli_epi32(words, 16), all32(0x3F))));
    return {12, 4};
  }
  if ((begin_with(bytes, 0xF8, 0xF0) & kEveryFourth) == kEveryFourth) {
    const Vector high = both(_mm_slli_epi32(bytes, 18), all32(0x1C0000));
    const Vector second = both(_mm_slli_epi32(bytes, 4), all32(0x3F000));
    const Vector third = both(_mm_srli_epi32(bytes, 10), all32(0xFC0));
    const Vector last = both(_mm_srli_epi32(bytes, 24), all32(0x3F));
    store(destination, either(either(high, second), either(third, last)));
    return {16, 4};
  }
  if ((begin_with(bytes, 0xE0, 0xC0) & kEverySecond) == kEverySecond) {
    const Vector high = both(_mm_slli_epi16(bytes, 6), all16(0x7C0));
    widen8(either(high, both(_mm_srli_epi16(bytes, 8), all16(0x3F))), destination);
    return {16, 8};
  }
  return {0, 0};
}

[[gnu::always_inline]] inline Cursor<char, KIV_UNICHAR> run_from_utf8(Cursor<char, KIV_UNICHAR> at, const char *end) {
  constexpr ptrdiff_t kBehind = 3;  // bytes that a word at the block's last byte reaches behind it
  while (end - at.source >= 16 && at.room > 16) {
    const Vector bytes = load(at.source);
    if (byte_mask(bytes) == 0) {
      widen16(bytes, at.destination);
      at.source += 16, at.destination += 16, at.room -= 16;
      continue;
    }
    if (const Advance run = run_of_one_length(bytes, at.destination); run.read != 0) {
      at.source += run.read, at.destination += run.written, at.room -= run.written;
      continue;
    }
    if (end - at.source < static_cast<ptrdiff_t>(kMaskBits) + kBehind || at.room <= kMaskBits) break;
    const Utf8Block block(at.source);
    if (!block.well_formed) break;
    const size_t count = decode_leads(at.source, block.leads, at.destination, decode_utf8);
    at.source += kMaskBits + block.surplus, at.destination += count, at.room -= count;
  }
  while (end - at.source >= 4 && at.room > 4) {
    const Vector word = word_at(at.source);
    if (byte_mask(word) != 0) break;
    const Vector zero = _mm_setzero_si128();
    store(at.destination, _mm_unpacklo_epi16(_mm_unpacklo_epi8(word, zero), zero));
    at.source += 4, at.destination += 4, at.room -= 4;
  }
  return at;
}

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

inline bool are_all(Vector masks) { return byte_mask(masks) == 0xFFFF; }

inline void store4(char *place, Vector v) {
  const int word = _mm_cvtsi128_si32(v);
  std::memcpy(place, &word, sizeof word);
}

inline void store8(char *place, Vector v) { _mm_storel_epi64(reinterpret_cast<Vector *>(place), v); }

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
    if (end - at.source < static_cast<ptrdiff_t>(16 + kBehind) || at.room < 4 * 16 + kBehind + 5) break;
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

inline Cursor<char, KIV_UNICHAR> run_from_utf8(Cursor<char, KIV_UNICHAR> at, const char *) { return at; }
inline Cursor<KIV_UNICHAR, char> run_to_utf8(Cursor<KIV_UNICHAR, char> at, const KIV_UNICHAR *) { return at; }

#endif

}  // namespace kiv::convert

#endif
