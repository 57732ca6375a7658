// Texts of the tests: runs of characters of one kind, as texts are, and damage, as they meet it.
#ifndef KIV_TESTS_TEXT_RANDOM_TEXT_H
#define KIV_TESTS_TEXT_RANDOM_TEXT_H

#include <cstddef>
#include <vector>

#include "kiv_types.h"
#include "tests/support/random.h"

namespace kiv::test {

/// `length` code points and the terminator, well-formed or not.
inline std::vector<KIV_UNICHAR> random_code_points(std::mt19937_64 &random, size_t length) {
  struct Kind {
    uint32_t first, count;
  };
  static constexpr Kind kKinds[] = {{1, 0x7F},           {1, 0x7F},        {1, 0x7F},       {1, 0xFF},
                                    {0x80, 0x780},       {0x4E00, 0x5000}, {0x800, 0xD000}, {0x1F300, 0x400},
                                    {0x10000, 0x100000}, {0xD800, 0x800},  {1, 0x110010},   {0x110000, 0xFFEF0000u}};
  constexpr uint32_t kWellFormed = 9;
  const uint32_t kinds = below(random, 3) != 0 ? kWellFormed : 12;
  std::vector<KIV_UNICHAR> text;
  while (text.size() < length) {
    const Kind &kind = kKinds[below(random, kinds)];
    for (uint32_t run = 1 + below(random, below(random, 4) != 0 ? 8 : 100); run > 0 && text.size() < length; --run) {
      text.push_back(kind.first + below(random, kind.count));
    }
  }
  text.push_back(0);
  return text;
}

/// Changes some units, cuts the text perhaps, and leaves it terminated.
template <class Unit>
void damage(std::mt19937_64 &random, std::vector<Unit> &text) {
  if (text.size() < 2) return;
  if (below(random, 3) == 0) text.resize(1 + below(random, static_cast<uint32_t>(text.size())));
  static constexpr uint16_t kUnits[] = {0x41, 0x80, 0xBF, 0xC3, 0xE2, 0xF0, 0xF8, 0xFF, 0xD800, 0xDBFF, 0xDC00, 0xDFFF};
  for (uint32_t times = 1 + below(random, 3); times > 0; --times) {
    const auto unit = static_cast<Unit>(kUnits[sizeof(Unit) == 1 ? below(random, 8) : below(random, 12)]);
    text[below(random, static_cast<uint32_t>(text.size()))] = unit;
  }
  text.back() = 0;
}

}  // namespace kiv::test

#endif
