// Decodes foreign bytes as LEB128, with exactly the bytes that may be read, and holds the values against decoding bit
// by bit; what was decoded must survive being encoded again.

#include <cstdlib>
#include <memory>

#include "kiv_leb128.h"
#include "tests/numbers/naive_leb128.h"

namespace {

using kiv::test::Leb128Value;

void require(bool holds) {
  if (!holds) std::abort();
}

template <class Record>
void check(bool is_signed, uint32_t size, const uint8_t *bytes, int (*decode)(uint32_t, const uint8_t *, Record *),
           int (*encode)(const Record *, uint8_t *)) {
  Record value{};
  const int length = decode(size, bytes, &value);
  const Leb128Value told = kiv::test::naive_leb128_decode(is_signed, size, bytes);
  require(told == Leb128Value{length, static_cast<uint64_t>(value.hi), value.lo});
  if (length == 0) return;
  uint8_t encoded[KIV_LEB128_MAX_BYTES];
  const int shortest = encode(&value, encoded);
  require(shortest <= length || (length == KIV_LEB128_MAX_BYTES && shortest <= KIV_LEB128_MAX_BYTES));
  Record again{};
  require(decode(static_cast<uint32_t>(shortest), encoded, &again) == shortest);
  require(again.hi == value.hi && again.lo == value.lo);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::unique_ptr<uint8_t[]> bytes(new uint8_t[size]);
  for (size_t i = 0; i < size; ++i) bytes[i] = data[i];
  check(false, static_cast<uint32_t>(size), bytes.get(), kiv_uleb128_array_to_u128_bis, kiv_u128_to_uleb128);
  check(true, static_cast<uint32_t>(size), bytes.get(), kiv_sleb128_array_to_s128_bis, kiv_s128_to_sleb128);
  return 0;
}
