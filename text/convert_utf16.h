// Runs of the conversions from and to UTF-16 in vectors; see convert_engine.h for what a run is.
#ifndef KIV_TEXT_CONVERT_UTF16_H
#define KIV_TEXT_CONVERT_UTF16_H

#include "text/convert_engine.h"
#include "text/convert_widen.h"

namespace kiv::convert {

#if defined(__SSE2__)

/// All ones for each of eight units that has these six high bits.
inline Vector begin_with(Vector units, uint16_t bits) {
  return equals<uint16_t>(both(units, all16(0xFC00)), all16(bits));
}

/// All ones for each of eight units that is a surrogate.
inline Vector surrogates(Vector units) { return equals<uint16_t>(both(units, all16(0xF800)), all16(0xD800)); }

/// The characters of pairs: the first unit in each word's low half, the second one in its high half.
inline Vector decode_pairs(Vector words) {
  const Vector high = _mm_slli_epi32(both(words, all32(0x3FF)), 10);
  const Vector low = both(_mm_srli_epi32(words, 16), all32(0x3FF));
  return _mm_add_epi32(either(high, low), all32(0x10000));
}

/// Writes the characters that begin at four units, each in a word with its successor: single units, pairs, and second
/// units of pairs, whose place is given to the next one. Writes four in any case.
[[gnu::always_inline]] inline size_t put_leads(Vector words, uint32_t kept, KIV_UNICHAR *destination) {
  const Vector first_of_pair = equals<uint32_t>(both(words, all32(0xFC00)), all32(0xD800));
  const Vector c = choose(first_of_pair, decode_pairs(words), both(words, all32(0xFFFF)));
  KIV_UNICHAR *place = destination;
  auto put = [&place](Vector v, uint32_t keep) {
    store4(place, v);
    place += keep;
  };
  put(c, kept & 1);
  put(_mm_srli_si128(c, 4), kept >> 2 & 1);
  put(_mm_srli_si128(c, 8), kept >> 4 & 1);
  put(_mm_srli_si128(c, 12), kept >> 6 & 1);
  return static_cast<size_t>(place - destination);
}

[[gnu::always_inline]] inline Cursor<uint16_t, KIV_UNICHAR> run_from_utf16(Cursor<uint16_t, KIV_UNICHAR> at,
                                                                           const uint16_t *end) {
  // Masks have two bits a unit. `divided`: those of a first unit that belongs to the pair before it.
  uint32_t divided = 0;
  while (end - at.source >= 8 && at.room > 8) {
    const Vector units = load(at.source);
    size_t count;
    if (are_none(surrogates(units))) {
      widen8(units, at.destination);
      count = 8;
    } else {
      const uint32_t highs = byte_mask(begin_with(units, 0xD800)), lows = byte_mask(begin_with(units, 0xDC00));
      const Vector next = load(at.source + 1);  // the last one may be the terminator
      // Every first unit has a second one behind it; every second one, but for a divided pair's, is one of those.
      if (highs != byte_mask(begin_with(next, 0xDC00)) || (lows & 3) != divided) break;
      if (highs == 0x3333) {
        store(at.destination, decode_pairs(units));
        count = 4;
      } else {
        count = put_leads(_mm_unpacklo_epi16(units, next), ~lows, at.destination);
        count += put_leads(_mm_unpackhi_epi16(units, next), ~lows >> 8, at.destination + count);
      }
      divided = highs >> 14;
    }
    at.source += 8, at.destination += count, at.room -= count;
  }
  // Its character has been written.
  if (divided != 0) ++at.source;
  return at;
}

/// Four code points' distances from 0x10000 as pairs, the first unit in each word's low half.
inline Vector encode_pairs(Vector distances) {
  const Vector low = _mm_slli_epi32(both(distances, all32(0x3FF)), 16);
  return either(either(_mm_srli_epi32(distances, 10), low), all32(0xDC00D800));
}

/// Writes four code points and gives the number of their units. Up to two units behind them are overwritten.
[[gnu::always_inline]] inline size_t put_any_utf16(Vector c, Vector distances, uint16_t *destination) {
  const Vector supplementary = below(distances, 20);
  // Neither one nor the other: surrogate values, and what lies behind the last code point.
  const Vector surrogate = equals<uint32_t>(_mm_srli_epi32(c, 11), all32(0xD800 >> 11));
  const Vector single = choose(_mm_andnot_si128(surrogate, below(c, 16)), c, all32(kReplacement));
  const Vector words = choose(supplementary, encode_pairs(distances), single);
  // Two at a time: the second one moves down to where the first one ends.
  const Vector first = _mm_shuffle_epi32(supplementary, 0xA0);
  const Vector even = _mm_set_epi32(0, -1, 0, -1);
  const Vector odd = _mm_andnot_si128(even, words);
  const Vector pairs = either(both(words, even), choose(first, odd, _mm_srli_epi64(odd, 16)));
  const uint32_t mask = byte_mask(supplementary);
  const size_t half = 2 + (mask & 1) + (mask >> 4 & 1);
  store8(destination, pairs);
  store8(destination + half, _mm_unpackhi_epi64(pairs, pairs));
  return half + 2 + (mask >> 8 & 1) + (mask >> 12 & 1);
}

[[gnu::always_inline]] inline Cursor<KIV_UNICHAR, uint16_t> run_to_utf16(Cursor<KIV_UNICHAR, uint16_t> at,
                                                                         const KIV_UNICHAR *end) {
  while (end - at.source >= 8 && at.room > 8) {
    const Vector a = load(at.source), b = load(at.source + 4);
    // Packing keeps numbers that are 16 bits with a sign: so they are made.
    const Vector packed = _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(a, 16), 16),  //
                                          _mm_srai_epi32(_mm_slli_epi32(b, 16), 16));
    if (are_all(below(either(a, b), 16)) && are_none(surrogates(packed))) {
      store(at.destination, packed);
      at.source += 8, at.destination += 8, at.room -= 8;
      continue;
    }
    // Two code points more will overwrite the two units that may be written too far; and if there is no room for them,
    // the terminator goes into the last unit that there is.
    if (end - at.source < 8 + 2 || at.room <= 16) break;
    const Vector distances_a = _mm_sub_epi32(a, all32(0x10000)), distances_b = _mm_sub_epi32(b, all32(0x10000));
    size_t count = 16;
    if (are_all(below(either(distances_a, distances_b), 20))) {
      store(at.destination, encode_pairs(distances_a));
      store(at.destination + 8, encode_pairs(distances_b));
    } else {
      count = put_any_utf16(a, distances_a, at.destination);
      count += put_any_utf16(b, distances_b, at.destination + count);
    }
    at.source += 8, at.destination += count, at.room -= count;
  }
  return at;
}

#else

inline Cursor<uint16_t, KIV_UNICHAR> run_from_utf16(Cursor<uint16_t, KIV_UNICHAR> at, const uint16_t *) { return at; }
inline Cursor<KIV_UNICHAR, uint16_t> run_to_utf16(Cursor<KIV_UNICHAR, uint16_t> at, const KIV_UNICHAR *) { return at; }

#endif

}  // namespace kiv::convert

#endif
