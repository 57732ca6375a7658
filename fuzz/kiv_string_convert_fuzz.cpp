// Converts foreign texts, and holds what comes out against the naive conversions of the tests. The first two bytes
// choose the size of the destination and the conversion; source and destination have exactly the units that they may
// use.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "kiv_string_convert.h"
#include "tests/text/naive_convert.h"

namespace {

namespace naive = kiv::test::naive;

void require(bool holds) {
  if (!holds) std::abort();
}

template <class From, class To>
void check(const std::vector<From> &source, uint32_t size, int (*ours)(const From *, To *, uint32_t),
           int (*told)(const From *, uint32_t, std::vector<To> &)) {
  const To untouched = static_cast<To>(0xA5A5A5A5);
  std::vector<To> destination(size, untouched), written;
  require(ours(source.data(), destination.data(), size) == told(source.data(), size, written));
  require(written.size() <= size);
  written.resize(size, untouched);
  require(destination == written);
}

/// The bytes as units, and a terminator.
template <class Unit>
std::vector<Unit> text(const uint8_t *data, size_t size) {
  std::vector<Unit> units(size / sizeof(Unit) + 1, 0);
  if (size >= sizeof(Unit)) std::memcpy(units.data(), data, size / sizeof(Unit) * sizeof(Unit));
  return units;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 2) return 0;
  const uint32_t room = data[0];
  const uint8_t conversion = data[1];
  data += 2, size -= 2;
  switch (conversion % 6) {
    case 0: {
      const auto utf8 = text<char>(data, size);
      require(kiv_string_nr_of_wide_chars_in_utf8_string(utf8.data()) == naive::chars_in_utf8(utf8.data()));
      check(utf8, room, kiv_string_convert_utf8_to_utf32, naive::utf8_to_utf32);
      check(utf8, static_cast<uint32_t>(utf8.size()), kiv_string_convert_utf8_to_utf32, naive::utf8_to_utf32);
      break;
    }
    case 1: {
      const auto utf16 = text<uint16_t>(data, size);
      require(kiv_string_nr_of_wide_chars_in_utf16_string(utf16.data()) == naive::chars_in_utf16(utf16.data()));
      check(utf16, room, kiv_string_convert_utf16_to_utf32, naive::utf16_to_utf32);
      check(utf16, static_cast<uint32_t>(utf16.size()), kiv_string_convert_utf16_to_utf32, naive::utf16_to_utf32);
      check(utf16, room, kiv_string_convert_utf16_to_char, naive::utf16_to_char);
      break;
    }
    default: {
      auto string = text<KIV_UNICHAR>(data, size);
      // Most random words are no code points.
      const uint32_t bits = conversion % 6 == 2 ? 32 : 6 + 5 * (conversion % 6 - 2);
      for (KIV_UNICHAR &c : string) c = static_cast<KIV_UNICHAR>(c & ((uint64_t{1} << bits) - 1));
      const KIV_UNICHAR *s = string.data();
      require(kiv_string_nr_of_utf8_bytes_for_wide_char_string_representation(s) == naive::utf8_bytes_of(s));
      require(kiv_string_nr_of_utf16_words_for_wide_char_string_representation(s) == naive::utf16_words_of(s));
      for (const uint32_t units : {room, static_cast<uint32_t>(4 * string.size())}) {
        check(string, units, kiv_string_convert_utf32_to_utf8, naive::utf32_to_utf8);
        check(string, units, kiv_string_convert_utf32_to_utf16, naive::utf32_to_utf16);
        check(string, units, kiv_string_convert_utf32_to_char, naive::utf32_to_char);
        check(string, units, kiv_string_convert_utf32_to_char_checked, naive::utf32_to_char_checked);
      }
    }
  }
  return 0;
}
