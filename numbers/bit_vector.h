// A word of 16 bytes with the operators of the built-in words that moving bits needs; shifts are of its 64-bit halves.
// Every x86 target has it; where __SSE2__ is not defined, 64-bit words do everything.
#ifndef KIV_NUMBERS_BIT_VECTOR_H
#define KIV_NUMBERS_BIT_VECTOR_H

#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)

#include <emmintrin.h>

namespace kiv::bits {

struct Vector {
  __m128i lanes;
};

inline Vector operator&(Vector a, Vector b) { return {_mm_and_si128(a.lanes, b.lanes)}; }
inline Vector operator|(Vector a, Vector b) { return {_mm_or_si128(a.lanes, b.lanes)}; }
inline Vector operator^(Vector a, Vector b) { return {_mm_xor_si128(a.lanes, b.lanes)}; }
inline Vector operator~(Vector a) { return {_mm_xor_si128(a.lanes, _mm_set1_epi8(-1))}; }
inline Vector operator>>(Vector a, unsigned n) {
  return {_mm_srl_epi64(a.lanes, _mm_cvtsi32_si128(static_cast<int>(n)))};
}
inline Vector operator<<(Vector a, unsigned n) {
  return {_mm_sll_epi64(a.lanes, _mm_cvtsi32_si128(static_cast<int>(n)))};
}
inline bool operator==(Vector a, Vector b) { return _mm_movemask_epi8(_mm_cmpeq_epi8(a.lanes, b.lanes)) == 0xFFFF; }

inline Vector byte_swap(Vector a) {
  constexpr int kReversed = _MM_SHUFFLE(0, 1, 2, 3);
  const __m128i pairs = _mm_or_si128(_mm_slli_epi16(a.lanes, 8), _mm_srli_epi16(a.lanes, 8));
  const __m128i halves = _mm_shufflehi_epi16(_mm_shufflelo_epi16(pairs, kReversed), kReversed);
  return {_mm_shuffle_epi32(halves, _MM_SHUFFLE(1, 0, 3, 2))};
}

}  // namespace kiv::bits

#else

namespace kiv::bits {

using Vector = uint64_t;

}  // namespace kiv::bits

#endif

namespace kiv::bits {

inline uint8_t byte_swap(uint8_t word) { return word; }
inline uint16_t byte_swap(uint16_t word) { return __builtin_bswap16(word); }
inline uint32_t byte_swap(uint32_t word) { return __builtin_bswap32(word); }
inline uint64_t byte_swap(uint64_t word) { return __builtin_bswap64(word); }

/// The word whose bytes are all `byte`.
template <class Word>
Word every_byte(uint8_t byte) {
  const uint64_t eight = byte * (UINT64_MAX / UINT8_MAX);
  if constexpr (sizeof(Word) == sizeof eight) {
    return eight;
  } else {
    const uint64_t both[] = {eight, eight};
    return std::bit_cast<Word>(both);
  }
}

}  // namespace kiv::bits

#endif
