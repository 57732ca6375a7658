// Words in memory, in either byte order and at any address.
#ifndef KIV_NUMBERS_BYTE_WORDS_H
#define KIV_NUMBERS_BYTE_WORDS_H

#include <bit>
#include <cstdint>
#include <cstring>

namespace kiv {

constexpr uint16_t swap_bytes(uint16_t word) { return __builtin_bswap16(word); }
constexpr uint32_t swap_bytes(uint32_t word) { return __builtin_bswap32(word); }
constexpr uint64_t swap_bytes(uint64_t word) { return __builtin_bswap64(word); }

/// (Inlined always, so that it is like its caller to a sanitizer.)
template <class Word>
[[gnu::always_inline]] inline Word load_word(const uint8_t *bytes, bool big_endian) {
  Word word;
  std::memcpy(&word, bytes, sizeof word);
  return big_endian == (std::endian::native == std::endian::big) ? word : swap_bytes(word);
}

template <class Word>
void store_word(uint8_t *bytes, bool big_endian, Word word) {
  if (big_endian != (std::endian::native == std::endian::big)) word = swap_bytes(word);
  std::memcpy(bytes, &word, sizeof word);
}

}  // namespace kiv

#endif
