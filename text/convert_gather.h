// Characters of unequal length, four at a time: what the runs from UTF-8 and from UTF-16 have in common.
//
// A block's masks tell, a bit a unit, where its characters begin. The 32-bit words at four such places are gathered in
// a vector, which decodes them all alike: no branch depends on the text.
#ifndef KIV_TEXT_CONVERT_GATHER_H
#define KIV_TEXT_CONVERT_GATHER_H

#include "text/convert_vector.h"

#if defined(__SSE2__)

namespace kiv::convert {

/// A bit for each unit of a block: as many as a register of the target has.
using Mask = size_t;
constexpr size_t kMaskBits = sizeof(Mask) * 8;

/// (A call of the compiler's support library where the processor is not known to have an instruction for it.)
inline size_t count_bits(Mask mask) {
  constexpr Mask kAll = ~Mask{0};
  mask -= mask >> 1 & kAll / 3;
  mask = (mask & kAll / 5) + (mask >> 2 & kAll / 5);
  mask = (mask + (mask >> 4)) & kAll / 17;
  return mask * (kAll / 255) >> (kMaskBits - 8);
}

inline Vector word_at(const void *place) {
  int word;
  std::memcpy(&word, place, sizeof word);
  return _mm_cvtsi32_si128(word);
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

  template <class From>
  [[gnu::always_inline]] Four(const From *block, Mask leads) {
    left[0] = without_first(leads);
    left[1] = without_first(left[0]);
    left[2] = without_first(left[1]);
    left[3] = without_first(left[2]);
    words =
        _mm_unpacklo_epi64(_mm_unpacklo_epi32(word_at(block + first_of(leads)), word_at(block + first_of(left[0]))),
                           _mm_unpacklo_epi32(word_at(block + first_of(left[1])), word_at(block + first_of(left[2]))));
  }
};

/// Writes decode(word) for the word at every place that `leads` has a bit for, and gives the number of them: four at
/// least. Exactly so many units are written: when their number is no multiple of four, the first ones are written
/// twice.
template <class From, class Decode>
[[gnu::always_inline]] inline size_t decode_leads(const From *block, Mask leads, uint32_t *destination, Decode decode) {
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

}  // namespace kiv::convert

#endif

#endif
