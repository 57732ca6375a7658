// Ranges of bits beside memmove, memset and GMP's limb operations, where these can do the same work, and a bit loop.
//
// Sizes are the bytes of a range; those of the fields are the number of fields. "hand" is the memmove, or memcmp, of as
// many bytes: no bit has to move within its byte there.

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
using Replace = decltype(kiv_bitops_replace_bits);

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

/// Adds a contestant: call(range) once, after which right(range) holds, then many times.
template <class Call, class Right>
void add(const char *operation, size_t size, const char *contestant, Call call, Right right) {
  const std::string name = kiv::bench::name("bitops", operation, size, contestant);
  const auto range = std::make_shared<Range>(size);
  const Stopwatch trial;
  call(*range);
  const double once = trial.seconds();
  require(right(*range), name, operation);
  const auto calls = static_cast<size_t>(std::clamp(1e-3 / (once + 1e-9), 1.0, 20000.0));
  kiv::bench::add(name, 5, calls, [=] {
    const Stopwatch watch;
    for (size_t i = 0; i < calls; ++i) {
      call(*range);
      benchmark::ClobberMemory();
    }
    return watch.seconds() * 1.0;
  });
}

/// Whether count bits of the target are those of the source at these offsets.
auto copied(int32_t target_bit, int32_t source_bit) {
  return [=](const Range &range) {
    for (int32_t i = 0; i < range.count; ++i) {
      if (bit_at(range.target.data(), target_bit + i) != bit_at(range.source.data(), source_bit + i)) return false;
    }
    return true;
  };
}

auto anything() {
  return [](const Range &) { return true; };
}

auto replace_by(Replace *replace, int32_t target_bit, int32_t source_bit) {
  return [=](Range &range) { replace(range.target.data(), target_bit, range.source.data(), source_bit, range.count); };
}

void memmove_range(Range &range) { std::memmove(range.target.data(), range.source.data(), range.size()); }

void add_copies(size_t size) {
  add("aligned", size, "ours", replace_by(kiv_bitops_replace_bits, 0, 0), copied(0, 0));
  add("aligned", size, "memmove", memmove_range, copied(0, 0));
  add("equal phase", size, "ours", replace_by(kiv_bitops_replace_bits, 5, 5), copied(5, 5));
  add("equal phase", size, "memmove", memmove_range, anything());

  add("shifted", size, "ours", replace_by(kiv_bitops_replace_bits, 0, 3), copied(0, 3));
  add(
      "shifted", size, "GMP",
      [](Range &range) {
        const auto limbs = range.size() / sizeof(mp_limb_t);
        mp_limb_t *to = reinterpret_cast<mp_limb_t *>(range.target.data());
        mpn_rshift(to, reinterpret_cast<const mp_limb_t *>(range.source.data()), static_cast<mp_size_t>(limbs), 3);
        to[limbs - 1] |= static_cast<mp_limb_t>(range.source[range.size()]) << 61;
      },
      copied(0, 3));
  add("shifted", size, "bit loop", replace_by(bit_loop, 0, 3), copied(0, 3));
  add("shifted", size, "hand", memmove_range, anything());
  add("odd offsets", size, "ours", replace_by(kiv_bitops_replace_bits, 6, 1), copied(6, 1));
  add("odd offsets", size, "bit loop", replace_by(bit_loop, 6, 1), copied(6, 1));
  add("odd offsets", size, "hand", memmove_range, anything());
}

/// The big-endian side of a range is its bytes backwards.
void add_big_endian(size_t size) {
  add(
      "big-endian source", size, "ours",
      [](Range &range) {
        kiv_bitops_replace_bits_big_endian_source(range.target.data(), 2, &range.source.back() - 1, 5, range.count);
      },
      [](Range range) {
        std::reverse(range.source.begin(), range.source.end());
        return copied(2, 13)(range);
      });
  add("big-endian source", size, "hand", memmove_range, anything());
  add(
      "big-endian both", size, "ours",
      [](Range &range) {
        kiv_bitops_replace_bits_big_endian_source_and_target(&range.target.back(), 2, &range.source.back(), 5,
                                                             range.count);
      },
      [](Range range) {
        std::reverse(range.source.begin(), range.source.end());
        std::reverse(range.target.begin(), range.target.end());
        return copied(2, 5)(range);
      });
  add("big-endian both", size, "hand", memmove_range, anything());
  add(
      "big-endian bytes", size, "ours",
      [](Range &range) {
        kiv_bitops_replace_bits_big_endian_source(range.target.data(), 0, &range.source.back(), 0, range.count);
      },
      [](Range range) {
        std::reverse(range.source.begin(), range.source.end());
        return copied(0, 0)(range);
      });
  add(
      "big-endian bytes", size, "reverse_copy",
      [](Range &range) {
        std::reverse_copy(range.source.end() - static_cast<ptrdiff_t>(range.size()), range.source.end(),
                          range.target.begin());
      },
      [](Range range) {
        std::reverse(range.source.begin(), range.source.end());
        return copied(0, 0)(range);
      });
}

void add_combining(size_t size) {
  add(
      "and", size, "ours",
      [](Range &range) { kiv_bitops_AND_bits(range.target.data(), 0, range.source.data(), 0, range.count); },
      anything());
  add(
      "and", size, "GMP",
      [](Range &range) {
        mp_limb_t *to = reinterpret_cast<mp_limb_t *>(range.target.data());
        mpn_and_n(to, to, reinterpret_cast<const mp_limb_t *>(range.source.data()),
                  static_cast<mp_size_t>(range.size() / sizeof(mp_limb_t)));
      },
      anything());
  add(
      "xor shifted", size, "ours",
      [](Range &range) { kiv_bitops_XOR_bits(range.target.data(), 3, range.source.data(), 1, range.count); },
      anything());
  add("xor shifted", size, "hand", memmove_range, anything());
  add(
      "set", size, "ours", [](Range &range) { kiv_bitops_set_bits(range.target.data(), 5, range.count); },
      [](const Range &range) { return kiv_bitops_all_bits_are_one(range.target.data() + 1, range.count - 8) == 1; });
  add(
      "set", size, "memset", [](Range &range) { std::memset(range.target.data(), 0xFF, range.size()); }, anything());

  // All zero: the scan has to look at everything.
  const auto zero = std::make_shared<Bytes>(size + 1);
  const auto other = std::make_shared<Bytes>(size + 1);
  add(
      "test zero", size, "ours",
      [=](Range &range) { require(kiv_bitops_all_bits_are_zero(zero->data(), range.count) == 1, "ours", "test zero"); },
      anything());
  add(
      "test zero", size, "memcmp",
      [=](Range &range) {
        require(std::memcmp(zero->data(), other->data(), range.size()) == 0, "memcmp", "test zero");
      },
      anything());
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
  }
  add_fields("fields of 1 to 64 bits", 0);
  add_fields("fields of 13 bits", 13);
  add_fields("fields of 64 bits", 64);
  return kiv::bench::run(argc, argv);
}
