// LEB128 beside a plain loop over the bytes, which handles 64 bits: a million values one behind the other, a call each.
//
// "mixed" values have any width from 1 to 64 bits, so that no length can be foreseen; "small" ones have up to 14 bits,
// as most of a program's debug information; those of "byte" have 6. The loops are as one writes them, with a limit for
// the bytes that are read, and are called through a pointer, as functions of a shared library are.

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "kiv_leb128.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

constexpr size_t kValues = 1000000;

// --- The loops -------------------------------------------------------------------------------------------------------

int loop_decode_unsigned(uint32_t available, const uint8_t *bytes, uint64_t *out) {
  uint64_t value = 0;
  for (uint32_t i = 0, shift = 0; i < available && i < 10; ++i, shift += 7) {
    value |= uint64_t{bytes[i] & 0x7Fu} << shift;
    if ((bytes[i] & 0x80) == 0) {
      *out = value;
      return static_cast<int>(i + 1);
    }
  }
  return 0;
}

int loop_decode_signed(uint32_t available, const uint8_t *bytes, int64_t *out) {
  uint64_t value = 0;
  for (uint32_t i = 0, shift = 7; i < available && i < 10; ++i, shift += 7) {
    value |= uint64_t{bytes[i] & 0x7Fu} << (shift - 7);
    if ((bytes[i] & 0x80) == 0) {
      if (shift < 64 && (bytes[i] & 0x40) != 0) value |= ~uint64_t{0} << shift;
      *out = static_cast<int64_t>(value);
      return static_cast<int>(i + 1);
    }
  }
  return 0;
}

int loop_encode_unsigned(const uint64_t *in, uint8_t *bytes) {
  uint64_t value = *in;
  int length = 0;
  for (; value >= 0x80; value >>= 7) bytes[length++] = static_cast<uint8_t>(value | 0x80);
  bytes[length++] = static_cast<uint8_t>(value);
  return length;
}

int loop_encode_signed(const int64_t *in, uint8_t *bytes) {
  int64_t value = *in;
  int length = 0;
  for (; value < -64 || value >= 64; value >>= 7) bytes[length++] = static_cast<uint8_t>(value | 0x80);
  bytes[length++] = static_cast<uint8_t>(value & 0x7F);
  return length;
}

// --- Contestants -----------------------------------------------------------------------------------------------------

template <class Value>
struct Functions {
  const char *name;
  int (*decode)(uint32_t, const uint8_t *, Value *);
  int (*encode)(const Value *, uint8_t *);
};

const volatile Functions<uint64_t> kLoopUnsigned{"loop", loop_decode_unsigned, loop_encode_unsigned};
const volatile Functions<int64_t> kLoopSigned{"loop", loop_decode_signed, loop_encode_signed};
const volatile Functions<KIV_U128> kOursUnsigned{"ours", kiv_uleb128_array_to_u128_bis, kiv_u128_to_uleb128};
const volatile Functions<KIV_S128> kOursSigned{"ours", kiv_sleb128_array_to_s128_bis, kiv_s128_to_sleb128};

uint64_t low(uint64_t value) { return value; }
uint64_t low(int64_t value) { return static_cast<uint64_t>(value); }
uint64_t low(const KIV_U128 &value) { return value.lo; }
uint64_t low(const KIV_S128 &value) { return value.lo; }

void assign(uint64_t value, uint64_t *out) { *out = value; }
void assign(uint64_t value, int64_t *out) { *out = static_cast<int64_t>(value); }
void assign(uint64_t value, KIV_U128 *out) { *out = {0, value}; }
void assign(uint64_t value, KIV_S128 *out) { *out = {static_cast<int64_t>(value) >> 63, value}; }

struct Data {
  std::vector<uint64_t> values;
  std::vector<uint8_t> bytes;
};

template <class Value>
void add_contestant(const std::string &operation, const Data &data, const volatile Functions<Value> &functions) {
  const std::string contestant = functions.name;
  const auto name = [&](const char *direction) {
    return kiv::bench::name("leb128", (direction + operation).c_str(), kValues, contestant.c_str());
  };
  kiv::bench::add(name("decode "), 5, kValues, [=, &data, &functions] {
    const uint8_t *bytes = data.bytes.data();
    auto left = static_cast<uint32_t>(data.bytes.size());
    std::vector<Value> decoded(kValues);
    const Stopwatch watch;
    for (Value &value : decoded) {
      const int length = functions.decode(left, bytes, &value);
      bytes += length;
      left -= static_cast<uint32_t>(length);
    }
    const double seconds = watch.seconds();
    bool right = left == 0;
    for (size_t i = 0; i < kValues; ++i) right = right && low(decoded[i]) == data.values[i];
    require(right, contestant, "decoded values");
    return seconds;
  });
  kiv::bench::add(name("encode "), 5, kValues, [=, &data, &functions] {
    std::vector<Value> values(kValues);
    for (size_t i = 0; i < kValues; ++i) assign(data.values[i], &values[i]);
    std::vector<uint8_t> encoded(data.bytes.size());
    uint8_t *bytes = encoded.data();
    const Stopwatch watch;
    for (const Value &value : values) bytes += functions.encode(&value, bytes);
    const double seconds = watch.seconds();
    require(encoded == data.bytes, contestant, "encoded bytes");
    return seconds;
  });
}

/// Values of random widths, and their encodings one group of seven bits at a time.
Data make_data(uint32_t widths, bool one_width, bool is_signed) {
  std::mt19937_64 random(4711);
  Data data;
  for (size_t i = 0; i < kValues; ++i) {
    const auto width = static_cast<uint32_t>(one_width ? widths : 1 + random() % widths);
    uint64_t value = (random() | uint64_t{1} << 63) >> (64 - width);
    if (is_signed) value = random() % 2 == 0 ? ~(value >> 1) : value >> 1;
    data.values.push_back(value);
    const uint64_t sign = is_signed && value >> 63 != 0 ? ~uint64_t{0} : 0;
    for (uint32_t shift = 0;; shift += 7) {
      const auto group = static_cast<uint8_t>(((value ^ sign) >> shift ^ sign) & 0x7F);
      const uint64_t rest = shift + 7 < 64 ? (value ^ sign) >> (shift + 7) : 0;
      const bool ends = rest == 0 && (!is_signed || (group & 0x40) == (sign & 0x40));
      data.bytes.push_back(ends ? group : group | 0x80);
      if (ends) break;
    }
  }
  return data;
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  const struct {
    const char *name;
    uint32_t widths;
    bool one_width;
  } mixes[] = {{"mixed", 64, false}, {"small", 14, false}, {"byte", 6, true}};
  std::vector<Data> data;
  data.reserve(6);
  for (const auto &[name, widths, one_width] : mixes) {
    data.push_back(make_data(widths, one_width, false));
    add_contestant(std::string("u ") + name, data.back(), kOursUnsigned);
    add_contestant(std::string("u ") + name, data.back(), kLoopUnsigned);
    data.push_back(make_data(widths, one_width, true));
    add_contestant(std::string("s ") + name, data.back(), kOursSigned);
    add_contestant(std::string("s ") + name, data.back(), kLoopSigned);
  }
  return kiv::bench::run(argc, argv);
}
