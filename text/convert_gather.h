// Characters of unequal length, four at a time: what the runs from UTF-8 and from UTF-16 have in common.
//
// A block's masks tell, a bit a unit, where its characters begin. The 32-bit words at four such places are gathered in
// a vector, which decodes them all alike: no branch depends on the text.
#ifndef KIV_TEXT_CONVERT_GATHER_H
#define KIV_TEXT_CONVERT_GATHER_H

#include <utility>

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

/// Writes decode(word) for the word at every place that `leads` has a bit for, and gives the number of them: four at
/// least. Exactly so many units are written: when their number is no multiple of four, the first ones are written
/// twice.
template <class From, class Decode>
size_t decode_leads(const From *block, Mask leads, uint32_t *destination, Decode decode) {
  const size_t count = count_bits(leads);
  size_t advance = (count - 1) % 4 + 1;
  for (size_t done = 0; done < count; done += std::exchange(advance, 4)) {
    const Mask after1 = leads & (leads - 1), after2 = after1 & (after1 - 1), after3 = after2 & (after2 - 1);
    const Vector low = _mm_unpacklo_epi32(word_at(block + std::countr_zero(leads)),  //
                                          word_at(block + std::countr_zero(after1)));
    const Vector high = _mm_unpacklo_epi32(word_at(block + std::countr_zero(after2)),  //
                                           word_at(block + std::countr_zero(after3)));
    store(destination + done, decode(_mm_unpacklo_epi64(low, high)));
    const Mask after4 = after3 & (after3 - 1);
    leads = after4;
    if (advance != 4) leads = advance == 1 ? after1 : advance == 2 ? after2 : after3;
  }
  return count;
}

}  // namespace kiv::convert

#endif

#endif
