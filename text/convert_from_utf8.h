// Runs of the conversion from UTF-8 in vectors; see convert_engine.h for what a run is.
//
// Sixteen bytes of characters of one length are converted where they stand. For any others a block's masks tell, a bit
// a byte, where its characters begin; the 32-bit words at four such places are gathered in a vector, which decodes them
// all alike: no branch depends on how long they are. What is not well-formed is left to single steps.
#ifndef KIV_TEXT_CONVERT_FROM_UTF8_H
#define KIV_TEXT_CONVERT_FROM_UTF8_H

#include "text/convert_engine.h"
#include "text/convert_widen.h"

namespace kiv::convert {

#if defined(__SSE2__)

/// A bit for each byte of a block: as many as a register of the target has.
using Mask = size_t;
constexpr size_t kMaskBits = sizeof(Mask) * 8;

/// (std::popcount calls the compiler's support library where the processor is not known to have an instruction for it.)
inline size_t count_bits(Mask mask) {
  constexpr Mask kAll = ~Mask{0};
  mask -= mask >> 1 & kAll / 3;
  mask = (mask & kAll / 5) + (mask >> 2 & kAll / 5);
  mask = (mask + (mask >> 4)) & kAll / 17;
  return mask * (kAll / 255) >> (kMaskBits - 8);
}

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
[[gnu::always_inline]] inline Vector decode(Vector words) {
  // Two times two bytes of six bits, then these twelve: 24 bits, of which the first byte's high ones are to go.
  const Vector bits = all32(0x003F003F);
  const Vector twelve = either(_mm_slli_epi16(both(words, bits), 6), both(_mm_srli_epi16(words, 8), bits));
  const Vector all = _mm_madd_epi16(twelve, all32(0x00011000));
  const Vector lead = both(words, all32(0xFF));
  Vector c = choose(above(lead, 0x7F), _mm_srli_epi32(all, 12), lead);
  c = choose(above(lead, 0xDF), both(_mm_srli_epi32(all, 6), all32(0xFFFF)), c);
  return choose(above(lead, 0xEF), both(all, all32(0x1FFFFF)), c);
}

/// The place of the lowest bit. REQUIRES: there is one.
inline size_t first_of(Mask mask) {
  return static_cast<size_t>(sizeof mask == 8 ? __builtin_ctzll(mask) : __builtin_ctz(static_cast<unsigned>(mask)));
}

inline Mask without_first(Mask mask) { return mask & (mask - 1); }

/// The words at the first four leads, and what is left of the leads without the first one, two, three, four of them.
struct Four {
  Mask left[4];
  Vector words;

  [[gnu::always_inline]] Four(const char *block, Mask leads) {
    left[0] = without_first(leads);
    left[1] = without_first(left[0]);
    left[2] = without_first(left[1]);
    left[3] = without_first(left[2]);
    words =
        _mm_unpacklo_epi64(_mm_unpacklo_epi32(word_at(block + first_of(leads)), word_at(block + first_of(left[0]))),
                           _mm_unpacklo_epi32(word_at(block + first_of(left[1])), word_at(block + first_of(left[2]))));
  }
};

/// Writes the characters that begin at the leads, four of them at least, and gives their number. Exactly so many are
/// written: when they are no multiple of four, the first ones are written twice.
[[gnu::always_inline]] inline size_t decode_leads(const char *block, Mask leads, KIV_UNICHAR *destination) {
  const size_t count = count_bits(leads);
  const Four first(block, leads);
  store(destination, decode(first.words));
  leads = first.left[(count - 1) % 4];
  for (size_t done = (count - 1) % 4 + 1; done < count; done += 4) {
    const Four next(block, leads);
    store(destination + done, decode(next.words));
    leads = next.left[3];
  }
  return count;
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
    const size_t count = decode_leads(at.source, block.leads, at.destination);
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

#else

inline Cursor<char, KIV_UNICHAR> run_from_utf8(Cursor<char, KIV_UNICHAR> at, const char *) { return at; }

#endif

}  // namespace kiv::convert

#endif
