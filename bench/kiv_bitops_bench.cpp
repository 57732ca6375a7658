// Ranges of bits beside memmove, memset and GMP's limb operations, where these can do the same work, and a bit loop.
//
// Sizes are the bytes of a range; those of the fields are the number of fields. memmove and reverse_copy of as many
// bytes stand for the limit where bits have to move within their bytes, which they do not do.

#include <gmp.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench_support.h"
#include "kiv_bitops.h"

using kiv::bench::require;
using kiv::bench::Stopwatch;

namespace {

using Bytes = std::vector<uint8_t>;
bool bit_at(const uint8_t *buffer, int64_t bit) { return buffer[bit / 8] >> (bit % 8) & 1; }

void bit_loop(void *target, int32_t target_bit, const void *source, int32_t source_bit, int32_t count) {
  auto *to = static_cast<uint8_t *>(target);
  const auto *from = static_cast<const uint8_t *>(source);
  for (int32_t i = 0; i < count; ++i) {
    const int32_t bit = target_bit + i;
    const auto mask = static_cast<uint8_t>(1 << bit % 8);
    to[bit / 8] = static_cast<uint8_t>(bit_at(from, source_bit + i) ? to[bit / 8] | mask : to[bit / 8] & ~mask);
  }
}

struct Range {
  Bytes source;
  Bytes target;
  int32_t count;

  explicit Range(size_t size) : source(size + 16), target(size + 16), count(static_cast<int32_t>(8 * size)) {
    std::mt19937 random(7);
    for (auto &byte : source) byte = static_cast<uint8_t>(random());
    for (auto &byte : target) byte = static_cast<uint8_t>(random());
  }
  size_t size() const { return static_cast<size_t>(count) / 8; }
};

/// Adds a contestant: call(range) once, after which right(before, range) holds, then many times.
template <class Call, class Right>
void add(const char *operation, size_t size, const char *contestant, Call call, Right right) {
  const std::string name = kiv::bench::name("bitops", operation, size, contestant);
  const auto range = std::make_shared<Range>(size);
  const Range before = *range;
  const Stopwatch trial;
  call(*range);
  const double once = trial.seconds();
  require(right(before, *range), name, operation);
  const auto calls = static_cast<size_t>(std::clamp(1e-3 / (once + 1e-9), 1.0, 20000.0));
  kiv::bench::add(name, 5, calls, [=] {
    const Stopwatch watch;
    for (size_t i = 0; i < calls; ++i) {
      call(*range);
      benchmark::ClobberMemory();
    }
    return watch.seconds();
  });
}

bool copied_bit(bool, bool source) { return source; }
bool and_bit(bool target, bool source) { return target && source; }
bool xor_bit(bool target, bool source) { return target != source; }
bool one_bit(bool, bool) { return true; }

Bytes reversed(Bytes bytes) {
  std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

/// A check of the target's bits from target_bit on, in the little-endian numbering.
auto bits_are(bool (*expected)(bool, bool), int32_t target_bit, int32_t source_bit, bool big_target = false,
              bool big_source = false) {
  return [=](const Range &before, const Range &after) {
    const Bytes source = big_source ? reversed(before.source) : before.source;
    const Bytes old = big_target ? reversed(before.target) : before.target;
    const Bytes target = big_target ? reversed(after.target) : after.target;
    for (int32_t i = 0; i < after.count; ++i) {
      const bool wanted = expected(bit_at(old.data(), target_bit + i), bit_at(source.data(), source_bit + i));
      if (bit_at(target.data(), target_bit + i) != wanted) return false;
    }
    return true;
  };
}

using Replace = decltype(kiv_bitops_replace_bits);

/// A call between these offsets; a big-endian side begins at its last byte.
auto by(Replace *replace, int32_t target_bit, int32_t source_bit, bool big_target = false, bool big_source = false) {
  return [=](Range &range) {
    replace(big_target ? &range.target.back() : range.target.data(), target_bit,
            big_source ? &range.source.back() : range.source.data(), source_bit, range.count);
  };
}

void memmove_range(Range &range) { std::memmove(range.target.data(), range.source.data(), range.size()); }

void shift_by_gmp(Range &range) {
  const size_t limbs = range.size() / sizeof(mp_limb_t);
  auto *to = reinterpret_cast<mp_limb_t *>(range.target.data());
  mpn_rshift(to, reinterpret_cast<const mp_limb_t *>(range.source.data()), static_cast<mp_size_t>(limbs), 3);
  to[limbs - 1] |= static_cast<mp_limb_t>(range.source[range.size()]) << 61;
}

void and_by_gmp(Range &range) {
  auto *to = reinterpret_cast<mp_limb_t *>(range.target.data());
  mpn_and_n(to, to, reinterpret_cast<const mp_limb_t *>(range.source.data()),
            static_cast<mp_size_t>(range.size() / sizeof(mp_limb_t)));
}

void add_copies(size_t size) {
  const auto aligned = bits_are(copied_bit, 0, 0);
  add("aligned", size, "ours", by(kiv_bitops_replace_bits, 0, 0), aligned);
  add("aligned", size, "memmove", memmove_range, aligned);
  add("equal phase", size, "ours", by(kiv_bitops_replace_bits, 5, 5), bits_are(copied_bit, 5, 5));
  add("equal phase", size, "memmove", memmove_range, aligned);
  const auto shifted = bits_are(copied_bit, 0, 3);
  add("shifted", size, "ours", by(kiv_bitops_replace_bits, 0, 3), shifted);
  add("shifted", size, "GMP", shift_by_gmp, shifted);
  add("shifted", size, "bit loop", by(bit_loop, 0, 3), shifted);
  add("shifted", size, "hand", memmove_range, aligned);
  const auto odd = bits_are(copied_bit, 6, 1);
  add("odd offsets", size, "ours", by(kiv_bitops_replace_bits, 6, 1), odd);
  add("odd offsets", size, "bit loop", by(bit_loop, 6, 1), odd);
  add("odd offsets", size, "hand", memmove_range, aligned);
}

void add_big_endian(size_t size) {
  const auto reverse_copy = [](Range &range) {
    std::reverse_copy(range.source.end() - range.count / 8, range.source.end(), range.target.begin());
  };
  const auto bytes = bits_are(copied_bit, 0, 0, false, true);
  add("big-endian bytes", size, "ours", by(kiv_bitops_replace_bits_big_endian_source, 0, 0, false, true), bytes);
  add("big-endian bytes", size, "reverse_copy", reverse_copy, bytes);
  add("big-endian source", size, "ours", by(kiv_bitops_replace_bits_big_endian_source, 2, 5, false, true),
      bits_are(copied_bit, 2, 5, false, true));
  add("big-endian source", size, "reverse_copy", reverse_copy, bytes);
  add("big-endian target", size, "ours", by(kiv_bitops_replace_bits_big_endian_target, 2, 5, true, false),
      bits_are(copied_bit, 2, 5, true, false));
  add("big-endian target", size, "reverse_copy", reverse_copy, bytes);
  add("big-endian both", size, "ours", by(kiv_bitops_replace_bits_big_endian_source_and_target, 2, 5, true, true),
      bits_are(copied_bit, 2, 5, true, true));
  add("big-endian both", size, "bit loop", by(bit_loop, 2, 5), bits_are(copied_bit, 2, 5));
  add("big-endian both", size, "hand", memmove_range, bits_are(copied_bit, 0, 0));
}

void add_combining(size_t size) {
  add("and", size, "ours", by(kiv_bitops_AND_bits, 0, 0), bits_are(and_bit, 0, 0));
  add("and", size, "GMP", and_by_gmp, bits_are(and_bit, 0, 0));
  const auto set = [](Range &range) { kiv_bitops_set_bits(range.target.data(), 5, range.count); };
  const auto memset = [](Range &range) { std::memset(range.target.data(), 0xFF, range.size()); };
  add("set", size, "ours", set, bits_are(one_bit, 5, 0));
  add("set", size, "memset", memset, bits_are(one_bit, 0, 0));
  add("xor shifted", size, "ours", by(kiv_bitops_XOR_bits, 3, 1), bits_are(xor_bit, 3, 1));
  add("xor shifted", size, "bit loop", by(bit_loop, 3, 1), bits_are(copied_bit, 3, 1));
  add("xor shifted", size, "hand", memmove_range, bits_are(copied_bit, 0, 0));
}

/// All zero: a test has to look at everything. memcmp compares two such ranges.
void add_tests(size_t size) {
  const auto zero = std::make_shared<Bytes>(size + 1);
  const auto other = std::make_shared<Bytes>(size + 1);
  const auto found = std::make_shared<bool>();
  const auto right = [=](const Range &, const Range &) { return *found; };
  add(
      "test zero", size, "ours",
      [=](Range &range) { *found = kiv_bitops_all_bits_are_zero(zero->data(), range.count) == 1; }, right);
  add(
      "test zero", size, "memcmp",
      [=](Range &range) { *found = std::memcmp(zero->data(), other->data(), range.size()) == 0; }, right);
}

/// Fields of 1 to 64 bits, copied between arbitrary offsets.
void add_fields(const char *operation, int32_t width) {
  struct Field {
    int32_t target_bit, source_bit, count;
  };
  constexpr size_t kFields = 1000;
  const auto fields = std::make_shared<std::vector<Field>>(kFields);
  std::mt19937 random(5);
  for (auto &field : *fields) {
    field = {static_cast<int32_t>(random() % 4000), static_cast<int32_t>(random() % 4000),
             width != 0 ? width : static_cast<int32_t>(random() % 64) + 1};
  }
  const auto add_one = [=](const char *contestant, Replace *replace) {
    const std::string name = kiv::bench::name("bitops", operation, kFields, contestant);
    const auto run = [=](Range &range) {
      for (const Field &field : *fields) {
        replace(range.target.data(), field.target_bit, range.source.data(), field.source_bit, field.count);
      }
    };
    const auto range = std::make_shared<Range>(1024);
    Range expected(1024);
    for (const Field &field : *fields) {
      bit_loop(expected.target.data(), field.target_bit, expected.source.data(), field.source_bit, field.count);
    }
    run(*range);
    require(range->target == expected.target, name, operation);
    kiv::bench::add(name, 20, kFields, [=] {
      const Stopwatch watch;
      run(*range);
      return watch.seconds();
    });
  };
  add_one("ours", kiv_bitops_replace_bits);
  add_one("bit loop", bit_loop);
}

}  // namespace

int main(int argc, char **argv) {
  kiv::bench::keep_heap();
  for (const size_t size : {64, 4096, 1 << 20}) {
    add_copies(size);
    add_big_endian(size);
    add_combining(size);
    add_tests(size);
  }
  add_fields("fields of 1 to 64 bits", 0);
  add_fields("fields of 13 bits", 13);
  add_fields("fields of 64 bits", 64);
  return kiv::bench::run(argc, argv);
}
