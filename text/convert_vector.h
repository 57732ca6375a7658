// Vectors of 16 bytes, as every x86 target has them, and the search for a text's end with them. Where __SSE2__ is not
// defined, plain loops do everything.
#ifndef KIV_TEXT_CONVERT_VECTOR_H
#define KIV_TEXT_CONVERT_VECTOR_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/reads_around.h"

#if defined(__SSE2__)

#include <emmintrin.h>

namespace kiv::convert {

using Vector = __m128i;

inline Vector load(const void *place) { return _mm_loadu_si128(static_cast<const Vector *>(place)); }
inline void store(void *place, Vector v) { _mm_storeu_si128(static_cast<Vector *>(place), v); }

inline Vector word_at(const void *place) {
  int word;
  std::memcpy(&word, place, sizeof word);
  return _mm_cvtsi32_si128(word);
}

/// The lowest four (eight) bytes.
inline void store4(void *place, Vector v) {
  const int word = _mm_cvtsi128_si32(v);
  std::memcpy(place, &word, sizeof word);
}
inline void store8(void *place, Vector v) { _mm_storel_epi64(static_cast<Vector *>(place), v); }

inline uint32_t byte_mask(Vector v) { return static_cast<uint32_t>(_mm_movemask_epi8(v)); }
inline Vector all32(uint32_t value) { return _mm_set1_epi32(static_cast<int>(value)); }
inline Vector all16(uint16_t value) { return _mm_set1_epi16(static_cast<short>(value)); }
inline Vector all8(uint8_t value) { return _mm_set1_epi8(static_cast<char>(value)); }
inline Vector both(Vector a, Vector b) { return _mm_and_si128(a, b); }
inline Vector either(Vector a, Vector b) { return _mm_or_si128(a, b); }

// Of masks.
inline bool are_all(Vector masks) { return byte_mask(masks) == 0xFFFF; }
inline bool are_none(Vector masks) { return byte_mask(masks) == 0; }

/// Where the mask is set, yes, else no.
inline Vector choose(Vector mask, Vector yes, Vector no) {
  return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

template <class Unit>
Vector equals(Vector a, Vector b) {
  if constexpr (sizeof(Unit) == 1) return _mm_cmpeq_epi8(a, b);
  if constexpr (sizeof(Unit) == 2) return _mm_cmpeq_epi16(a, b);
  if constexpr (sizeof(Unit) == 4) return _mm_cmpeq_epi32(a, b);
}

/// All ones for each number below 2^bits.
inline Vector below(Vector numbers, int bits) {
  return _mm_cmpeq_epi32(_mm_srli_epi32(numbers, bits), _mm_setzero_si128());
}

/// All ones for each number above the limit, as signed numbers.
inline Vector above(Vector numbers, uint32_t limit) { return _mm_cmpgt_epi32(numbers, all32(limit)); }

/// The number of units before the terminator; or, when it is not among the first `limit` of them, some number from
/// `limit` on of units that are there.
///
/// Reads aligned blocks whole, also where the text begins or ends within one.
template <class Unit>
KIV_READS_AROUND size_t units_before_terminator(const Unit *text, size_t limit) {
  constexpr size_t kUnits = sizeof(Vector) / sizeof(Unit);
  const Vector zero = _mm_setzero_si128();
  const size_t before = reinterpret_cast<uintptr_t>(text) % sizeof(Vector);
  const auto *block = reinterpret_cast<const Vector *>(reinterpret_cast<const char *>(text) - before);
  const uint32_t first = byte_mask(equals<Unit>(_mm_load_si128(block), zero)) >> before;
  if (first != 0) return static_cast<size_t>(std::countr_zero(first)) / sizeof(Unit);
  size_t count = (sizeof(Vector) - before) / sizeof(Unit);
  ++block;
  while (count < limit) {
    if (reinterpret_cast<uintptr_t>(block) % (4 * sizeof(Vector)) == 0) {
      const Vector found =
          either(either(equals<Unit>(_mm_load_si128(block), zero),  //
                        equals<Unit>(_mm_load_si128(block + 1), zero)),
                 either(equals<Unit>(_mm_load_si128(block + 2), zero), equals<Unit>(_mm_load_si128(block + 3), zero)));
      if (byte_mask(found) == 0) {
        block += 4;
        count += 4 * kUnits;
        continue;
      }
    }
    const uint32_t found = byte_mask(equals<Unit>(_mm_load_si128(block), zero));
    if (found != 0) return count + static_cast<size_t>(std::countr_zero(found)) / sizeof(Unit);
    ++block;
    count += kUnits;
  }
  return count;
}

}  // namespace kiv::convert

#else

namespace kiv::convert {

template <class Unit>
size_t units_before_terminator(const Unit *text, size_t limit) {
  size_t count = 0;
  while (count < limit && text[count] != 0) ++count;
  return count;
}

}  // namespace kiv::convert

#endif

#endif
