#include "kiv_target_word.h"

#include <algorithm>

#include "numbers/byte_words.h"

namespace {

template <class Record>
void load_record(bool big_endian, const uint8_t *bytes, Record *out) {
  const auto first = kiv::load_word<uint64_t>(bytes, big_endian);
  const auto second = kiv::load_word<uint64_t>(bytes + 8, big_endian);
  out->hi = static_cast<decltype(out->hi)>(big_endian ? first : second);
  out->lo = big_endian ? second : first;
}

template <class Record>
void store_record(const Record *value, bool big_endian, uint8_t *bytes) {
  const auto hi = static_cast<uint64_t>(value->hi);
  const uint64_t lo = value->lo;
  kiv::store_word(bytes, big_endian, big_endian ? hi : lo);
  kiv::store_word(bytes + 8, big_endian, big_endian ? lo : hi);
}

/// Where the bytes that a word has are in an image, and how many these are.
template <class Word, class Byte>
struct Place {
  Byte *bytes;
  uint32_t count;

  Place(uint32_t length, Byte *image, bool big_endian) : bytes(image), count(std::min<uint32_t>(length, sizeof(Word))) {
    if (big_endian) bytes += length - count;
  }
};

template <class Word>
Word load_image(uint32_t length, const uint8_t *image, bool big_endian) {
  const Place<Word, const uint8_t> place(length, image, big_endian);
  if (place.count == sizeof(Word)) return kiv::load_word<Word>(place.bytes, big_endian);
  Word word = 0;
  for (uint32_t i = 0; i < place.count; ++i) {
    word = static_cast<Word>(word << 8 | place.bytes[big_endian ? i : place.count - 1 - i]);
  }
  return word;
}

template <class Word>
void store_image(Word word, bool big_endian, uint32_t length, uint8_t *image) {
  const Place<Word, uint8_t> place(length, image, big_endian);
  std::fill_n(big_endian ? image : image + place.count, length - place.count, uint8_t{0});
  if (place.count == sizeof(Word)) return kiv::store_word(place.bytes, big_endian, word);
  for (uint32_t i = 0; i < place.count; ++i, word >>= 8) {
    place.bytes[big_endian ? place.count - 1 - i : i] = static_cast<uint8_t>(word);
  }
}

template <class Word>
Word add_saturating(Word a, Word b) {
  const Word sum = a + b;
  return sum < a ? static_cast<Word>(-1) : sum;
}

template <class Word>
Word subtract_saturating(Word a, Word b) {
  return a < b ? 0 : a - b;
}

template <class Word>
Word sign_extend(Word value, uint32_t sign_bit) {
  constexpr uint32_t kTopBit = 8 * sizeof(Word) - 1;
  if (sign_bit >= kTopBit) return value;
  const Word mask = static_cast<Word>(-1) >> (kTopBit - sign_bit);
  return (value >> sign_bit & 1) != 0 ? value | ~mask : value & mask;
}

bool has_quotient(int64_t a, int64_t b) { return b != 0 && !(a == INT64_MIN && b == -1); }

}  // namespace

void kiv_u8_array_to_u128(int big_endian, const uint8_t *bytes, KIV_U128 *out) {
  load_record(big_endian != 0, bytes, out);
}

void kiv_u8_array_to_s128(int big_endian, const uint8_t *bytes, KIV_S128 *out) {
  load_record(big_endian != 0, bytes, out);
}

void kiv_u128_to_u8_array(const KIV_U128 *value, int big_endian, uint8_t *bytes) {
  store_record(value, big_endian != 0, bytes);
}

void kiv_s128_to_u8_array(const KIV_S128 *value, int big_endian, uint8_t *bytes) {
  store_record(value, big_endian != 0, bytes);
}

uint32_t kiv_u8_array_to_u32m(uint32_t length, const uint8_t *bytes, int big_endian) {
  return load_image<uint32_t>(length, bytes, big_endian != 0);
}

uint64_t kiv_u8_array_to_u64m(uint32_t length, const uint8_t *bytes, int big_endian) {
  return load_image<uint64_t>(length, bytes, big_endian != 0);
}

void kiv_u32m_to_u8_array(uint32_t value, int big_endian, uint32_t length, uint8_t *bytes) {
  store_image(value, big_endian != 0, length, bytes);
}

void kiv_u64m_to_u8_array(uint64_t value, int big_endian, uint32_t length, uint8_t *bytes) {
  store_image(value, big_endian != 0, length, bytes);
}

uint32_t kiv_u32m_add_sat(uint32_t a, uint32_t b) { return add_saturating(a, b); }
uint64_t kiv_u64m_add_sat(uint64_t a, uint64_t b) { return add_saturating(a, b); }
uint32_t kiv_u32m_sub_sat(uint32_t a, uint32_t b) { return subtract_saturating(a, b); }
uint64_t kiv_u64m_sub_sat(uint64_t a, uint64_t b) { return subtract_saturating(a, b); }
uint32_t kiv_u32m_sign_extend(uint32_t value, uint32_t sign_bit) { return sign_extend(value, sign_bit); }
uint64_t kiv_u64m_sign_extend(uint64_t value, uint32_t sign_bit) { return sign_extend(value, sign_bit); }

int kiv_s64m_div_towards_zero(int64_t a, int64_t b, int64_t *out) {
  if (!has_quotient(a, b)) return 1;
  *out = a / b;
  return 0;
}

int kiv_s64m_div_floor(int64_t a, int64_t b, int64_t *out) {
  if (!has_quotient(a, b)) return 1;
  const int64_t quotient = a / b;
  const bool rounded_up = quotient * b != a && (a < 0) != (b < 0);
  *out = quotient - (rounded_up ? 1 : 0);
  return 0;
}
