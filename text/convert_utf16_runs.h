// Runs of the conversions from and to UTF-16 in vectors; see convert_engine.h for what a run is.
#ifndef KIV_TEXT_CONVERT_UTF16_RUNS_H
#define KIV_TEXT_CONVERT_UTF16_RUNS_H

#include "text/convert_engine.h"
#include "text/convert_gather.h"
#include "text/convert_widen.h"

namespace kiv::convert {

#if defined(__SSE2__)

/// Which of eight units have these six high bits.
inline Vector begin_with(Vector units, uint16_t bits) {
  return equals<uint16_t>(both(units, all16(0xFC00)), all16(bits));
}

/// Four characters, each a unit in the low half of a word, or a pair.
[[gnu::always_inline]] inline Vector decode_utf16(Vector words) {
  const Vector pair = equals<uint32_t>(both(words, all32(0xFC00)), all32(0xD800));
  const Vector high = _mm_slli_epi32(both(words, all32(0x3FF)), 10);
  const Vector low = both(_mm_srli_epi32(words, 16), all32(0x3FF));
  return choose(pair, _mm_add_epi32(_mm_add_epi32(high, low), all32(0x10000)), both(words, all32(0xFFFF)));
}

[[gnu::always_inline]] inline Cursor<uint16_t, KIV_UNICHAR> run_from_utf16(Cursor<uint16_t, KIV_UNICHAR> at,
                                                                           const uint16_t *end) {
  for (;;) {
    Vector units;
    for (;;) {
      if (end - at.source < 8 || at.room <= 8) return at;
      units = load(at.source);
      const Vector surrogates = equals<uint16_t>(both(units, all16(0xF800)), all16(0xD800));
      if (byte_mask(surrogates) != 0) break;
      widen8(units, at.destination);
      at.source += 8, at.destination += 8, at.room -= 8;
    }
    const Vector pairs = equals<uint32_t>(both(units, all32(0xFC00FC00)), all32(0xDC00D800));
    if (byte_mask(pairs) == 0xFFFF) {
      store(at.destination, decode_utf16(units));
      at.source += 8, at.destination += 4, at.room -= 4;
      continue;
    }
    constexpr uint32_t kBlock = 16;
    if (end - at.source < static_cast<ptrdiff_t>(kBlock) + 1 || at.room <= kBlock) return at;
    const Vector more = load(at.source + 8);
    const Mask high = byte_mask(_mm_packs_epi16(begin_with(units, 0xD800), begin_with(more, 0xD800)));
    const Mask low = byte_mask(_mm_packs_epi16(begin_with(units, 0xDC00), begin_with(more, 0xDC00)));
    if (low != (high << 1 & 0xFFFF)) return at;
    // A pair that the block's end divides is left to the next block.
    const Mask divided = high >> (kBlock - 1);
    const Mask leads = (~low & 0xFFFF) ^ divided << (kBlock - 1);
    const size_t count = decode_leads(at.source, leads, at.destination, decode_utf16);
    at.source += kBlock - divided, at.destination += count, at.room -= count;
  }
}

/// Writes four code points and gives the number of their units. Up to two units behind them are overwritten.
[[gnu::always_inline]] inline size_t encode_four_utf16(Vector c, uint16_t *destination) {
  const Vector above = _mm_sub_epi32(c, all32(0x10000));
  const Vector supplementary = equals<uint32_t>(_mm_srli_epi32(above, 20), _mm_setzero_si128());
  const Vector high = _mm_srli_epi32(above, 10);
  const Vector low = _mm_slli_epi32(both(c, all32(0x3FF)), 16);
  const Vector pair = either(either(high, low), all32(0xDC00D800));
  const uint32_t mask = byte_mask(supplementary);
  if (mask == 0xFFFF) {
    store(destination, pair);
    return 8;
  }
  // Neither one nor the other: surrogate values, and what lies behind the last code point.
  const Vector bmp = equals<uint32_t>(_mm_srli_epi32(c, 16), _mm_setzero_si128());
  const Vector surrogate = equals<uint32_t>(_mm_srli_epi32(c, 11), all32(0xD800 >> 11));
  const Vector one = choose(_mm_andnot_si128(surrogate, bmp), c, all32(kReplacement));
  const Vector words = choose(supplementary, pair, one);
  // Two at a time: the second one moves down to where the first one ends.
  const Vector first = _mm_shuffle_epi32(supplementary, 0xA0);
  const Vector even = _mm_set_epi32(0, -1, 0, -1);
  const Vector odd = _mm_andnot_si128(even, words);
  const Vector pairs = either(both(words, even), choose(first, odd, _mm_srli_epi64(odd, 16)));
  _mm_storel_epi64(reinterpret_cast<Vector *>(destination), pairs);
  const size_t units = 2 + (mask & 1) + (mask >> 4 & 1);
  _mm_storel_epi64(reinterpret_cast<Vector *>(destination + units), _mm_unpackhi_epi64(pairs, pairs));
  return units + 2 + (mask >> 8 & 1) + (mask >> 12 & 1);
}

[[gnu::always_inline]] inline Cursor<KIV_UNICHAR, uint16_t> run_to_utf16(Cursor<KIV_UNICHAR, uint16_t> at,
                                                                         const KIV_UNICHAR *end) {
  const Vector zero = _mm_setzero_si128();
  for (;;) {
    while (end - at.source >= 8 && at.room > 8) {
      const Vector a = load(at.source), b = load(at.source + 4);
      const Vector surrogates = either(equals<uint32_t>(_mm_srli_epi32(a, 11), all32(0xD800 >> 11)),
                                       equals<uint32_t>(_mm_srli_epi32(b, 11), all32(0xD800 >> 11)));
      const Vector bmp = equals<uint32_t>(_mm_srli_epi32(either(a, b), 16), zero);
      if (byte_mask(_mm_andnot_si128(surrogates, bmp)) != 0xFFFF) break;
      // Packing keeps numbers that are 16 bits with a sign: so they are made.
      store(at.destination, _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(a, 16), 16),  //
                                            _mm_srai_epi32(_mm_slli_epi32(b, 16), 16)));
      at.source += 8, at.destination += 8, at.room -= 8;
    }
    // Behind eight code points others follow that will overwrite the two units that may be written too far.
    if (end - at.source < 8 + 2 || at.room <= 16 + 2 + 2) return at;
    for (int i = 0; i < 2; ++i) {
      const size_t count = encode_four_utf16(load(at.source), at.destination);
      at.source += 4, at.destination += count, at.room -= count;
    }
  }
}

#else

inline Cursor<uint16_t, KIV_UNICHAR> run_from_utf16(Cursor<uint16_t, KIV_UNICHAR> at, const uint16_t *) { return at; }
inline Cursor<KIV_UNICHAR, uint16_t> run_to_utf16(Cursor<KIV_UNICHAR, uint16_t> at, const KIV_UNICHAR *) { return at; }

#endif

}  // namespace kiv::convert

#endif
