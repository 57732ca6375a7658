// Conversions between integers and images of any number of bits.

#include "kiv_bitops.h"
#include "numbers/bit_image.h"

using namespace kiv::bits;

void kiv_bitops_convert_from_U32(void *buffer, uint32_t value, int32_t count) {
  write_image(static_cast<uint8_t *>(buffer), {0, value}, count);
}

void kiv_bitops_convert_from_U64(void *buffer, uint64_t value, int32_t count) {
  write_image(static_cast<uint8_t *>(buffer), {0, value}, count);
}

void kiv_bitops_convert_from_U128(void *buffer, const KIV_U128 *value, int32_t count) {
  write_image(static_cast<uint8_t *>(buffer), *value, count);
}

uint32_t kiv_bitops_convert_to_U32(const void *buffer, int32_t count) {
  return static_cast<uint32_t>(read_image(static_cast<const uint8_t *>(buffer), std::min(count, 32)));
}

uint64_t kiv_bitops_convert_to_U64(const void *buffer, int32_t count) {
  return read_image(static_cast<const uint8_t *>(buffer), count);
}

void kiv_bitops_convert_to_U128(KIV_U128 *out, const void *buffer, int32_t count) {
  const auto *image = static_cast<const uint8_t *>(buffer);
  const uint64_t lo = read_image(image, count);
  const uint64_t hi = count > 64 ? read_image(image + 8, count - 64) : 0;
  *out = {hi, lo};
}
