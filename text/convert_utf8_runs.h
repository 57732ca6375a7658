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
inline Vector decode_utf8(Vector words) {
  // Two times two bytes of six bits, then these twelve: 24 bits, of which the first byte's high ones are to go.
  const Vector bits = all32(0x003F003F);
  const Vector twelve = either(_mm_slli_epi16(both(words, bits), 6), both(_mm_srli_epi16(words, 8), bits));
  const Vector all = _mm_madd_epi16(twelve, all32(0x00011000));
  const Vector lead = both(words, all32(0xFF));
  Vector c = choose(_mm_cmpgt_epi32(lead, all32(0x7F)), _mm_srli_epi32(all, 12), lead);
  c = choose(_mm_cmpgt_epi32(lead, all32(0xDF)), both(_mm_srli_epi32(all, 6), all32(0xFFFF)), c);
  return choose(_mm_cmpgt_epi32(lead, all32(0xEF)), both(all, all32(0x1FFFFF)), c);
}

inline void run_from_utf8(Cursor<char, KIV_UNICHAR> &at, const char *end) {
  constexpr ptrdiff_t kBehind = 3;  // bytes that a word at the block's last byte reaches behind it
  for (;;) {
    while (end - at.source >= 16 && at.room > 16) {
      const Vector bytes = load(at.source);
      if (byte_mask(bytes) != 0) break;
      widen16(bytes, at.destination);
      at.source += 16, at.destination += 16, at.room -= 16;
    }
    if (end - at.source < static_cast<ptrdiff_t>(kMaskBits) + kBehind || at.room <= kMaskBits) return;
    const Utf8Block block(at.source);
    if (!block.well_formed) return;
    const size_t count = decode_leads(at.source, block.leads, at.destination, decode_utf8);
    at.source += kMaskBits + block.surplus, at.destination += count, at.room -= count;
  }
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

inline Vector encode4(Vector c) {
  const Vector second = both(_mm_srli_epi32(c, 4), all32(0x3F00));
  const Vector third = both(_mm_slli_epi32(c, 10), all32(0x3F0000));
  const Vector ends = either(_mm_srli_epi32(c, 18), _mm_slli_epi32(last_six(c), 24));
  return either(either(ends, all32(0x808080F0)), either(second, third));
}

inline uint32_t lane_mask(Vector v) { return static_cast<uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(v))); }

inline void store8(char *place, Vector v) { _mm_storel_epi64(reinterpret_cast<Vector *>(place), v); }

/// Writes four code points and gives the number of their bytes. Up to six bytes behind them are overwritten.
inline size_t encode_four(Vector c, char *destination) {
  const Vector two = _mm_cmpgt_epi32(c, all32(0x7F));
  const Vector three = _mm_cmpgt_epi32(c, all32(0x7FF));
  const Vector four = _mm_cmpgt_epi32(c, all32(0xFFFF));
  const uint32_t twos = lane_mask(two), threes = lane_mask(three), fours = lane_mask(four);
  if (threes == 0) {
    // Two at a time: the second one moves down to where the first one ends.
    const Vector words = choose(two, encode2(c), c);
    const Vector first = _mm_shuffle_epi32(two, 0xA0);
    const Vector low = _mm_set_epi32(0, -1, 0, -1);
    const Vector odd = _mm_andnot_si128(low, words);
    const Vector pairs = either(both(words, low), choose(first, _mm_srli_epi64(odd, 16), _mm_srli_epi64(odd, 24)));
    store8(destination, pairs);
    destination += 2 + (twos & 1) + (twos >> 1 & 1);
    store8(destination, _mm_unpackhi_epi64(pairs, pairs));
    return 4 + (twos & 1) + (twos >> 1 & 1) + (twos >> 2 & 1) + (twos >> 3);
  }
  if (threes == 15 && fours == 0) {
    // Two times six bytes.
    const Vector words = encode3(c);
    const Vector low = _mm_set_epi32(0, 0xFFFFFF, 0, 0xFFFFFF);
    const Vector pairs = either(both(words, low), _mm_srli_epi64(_mm_andnot_si128(low, words), 8));
    store8(destination, pairs);
    store8(destination + 6, _mm_unpackhi_epi64(pairs, pairs));
    return 12;
  }
  if (fours == 15) {
    store(destination, encode4(c));
    return 16;
  }
  alignas(Vector) uint32_t words[4];
  store(words, choose(four, encode4(c), choose(three, encode3(c), choose(two, encode2(c), c))));
  char *place = destination;
  for (int i = 0; i < 4; ++i) {
    std::memcpy(place, &words[i], 4);
    place += 1 + (twos >> i & 1) + (threes >> i & 1) + (fours >> i & 1);
  }
  return static_cast<size_t>(place - destination);
}

inline void run_to_utf8(Cursor<KIV_UNICHAR, char> &at, const KIV_UNICHAR *end) {
  // Behind sixteen code points others follow that will overwrite what was written too far: six at least, and with room
  // for more than that before one might not fit.
  constexpr size_t kRoom = 4 * 16 + 6 + 5;
  for (;;) {
    while (end - at.source >= 16 && at.room > 16) {
      const Vectors units(at.source);
      if (!units.are_ascii()) break;
      store(at.destination, units.narrow());
      at.source += 16, at.destination += 16, at.room -= 16;
    }
    if (end - at.source < 16 + 6 || at.room < kRoom) return;
    for (int i = 0; i < 4; ++i) {
      const Vector c = load(at.source);
      // Beyond the last code point: as unsigned numbers.
      if (byte_mask(_mm_cmpgt_epi32(_mm_srli_epi32(c, 16), all32(0x10))) != 0) return;
      const size_t count = encode_four(c, at.destination);
      at.source += 4, at.destination += count, at.room -= count;
    }
  }
}

#else

inline void run_from_utf8(Cursor<char, KIV_UNICHAR> &, const char *) {}
inline void run_to_utf8(Cursor<KIV_UNICHAR, char> &, const KIV_UNICHAR *) {}

#endif

}  // namespace kiv::convert

#endif
