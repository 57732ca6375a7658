// Doubles and IEEE 754 images.

#include <bit>
#include <cstring>

#include "kiv_bigflt_convert.h"
#include "numbers/bigflt_ieee754.h"

using namespace kiv::bigflt_engine;
using kiv::high64;
using kiv::low64;
using kiv::make_uint128;
using kiv::UInt128;

static_assert(std::endian::native == std::endian::little, "images are copied from and to words, low one first");

void kiv_bigflt_double_to_bigflt(bigflt *r, double value) {
  store(r, decode(UInt128(std::bit_cast<uint64_t>(value)), kDoubleFormat));
}

double kiv_bigflt_to_double(const bigflt *a) {
  if (a->small != 0) return a->exponent;
  return std::bit_cast<double>(low64(encode(load_extended(*a), kDoubleFormat)));
}

void kiv_bigflt_ieee754_to_bigflt(bigflt *r, const void *image, uint32_t size, uint32_t exponent_width,
                                  uint32_t mantissa_width) {
  Extended value = kNan;
  if (Format::is_valid(size, exponent_width, mantissa_width)) {
    uint64_t words[2] = {0, 0};
    std::memcpy(words, image, size / 8);
    value = decode(make_uint128(words[1], words[0]), Format::make(exponent_width, mantissa_width));
  }
  store(r, value);
}

void kiv_bigflt_to_ieee754(const bigflt *a, void *image, uint32_t size, uint32_t exponent_width,
                           uint32_t mantissa_width) {
  if (!Format::is_valid(size, exponent_width, mantissa_width)) return;
  const UInt128 bits = encode(load(*a), Format::make(exponent_width, mantissa_width));
  const uint64_t words[2] = {low64(bits), high64(bits)};
  std::memcpy(image, words, size / 8);
}
