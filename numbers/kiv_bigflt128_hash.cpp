// The hash of a record in extended form.

#include <array>

#include "kiv_bigflt128.h"

namespace {

constexpr std::array<uint32_t, 256> make_crc_table() {
  std::array<uint32_t, 256> table{};
  for (uint32_t byte = 0; byte < 256; ++byte) {
    uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320U : 0);
    table[byte] = crc;
  }
  return table;
}

constexpr std::array<uint32_t, 256> kCrcTable = make_crc_table();

// Takes the bytes of a word in, the least significant first.
uint32_t add_word(uint32_t crc, uint32_t word) {
  crc ^= word;
  for (int byte = 0; byte < 4; ++byte) crc = crc >> 8 ^ kCrcTable[crc & 0xFF];
  return crc;
}

}  // namespace

uint32_t kiv_bigflt128_hash(bigflt *a) {
  if (a->limb_count != 4) a->limb_count = 4;
  uint32_t crc = UINT32_MAX;
  crc = add_word(crc, a->mantissa[3]);
  crc = add_word(crc, static_cast<uint32_t>(a->exponent));
  crc = add_word(crc, a->sign);
  return ~crc;
}
