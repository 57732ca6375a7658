// Strings of the string tests.
#ifndef KIV_TESTS_TEXT_TEXT_H
#define KIV_TESTS_TEXT_TEXT_H

#include <cstdint>
#include <random>
#include <string>

#include "kiv_types.h"
#include "tests/support/random.h"

namespace kiv::test {

using Text = std::basic_string<KIV_UNICHAR>;

inline Text text(const char32_t *literal) {
  Text result;
  for (; *literal != 0; ++literal) result += *literal;
  return result;
}

/// A copy up to the terminator.
inline Text text(const KIV_UNICHAR *s) {
  Text result;
  while (*s != 0) result += *s++;
  return result;
}

inline int sign(int value) { return (value > 0) - (value < 0); }

/// A text of up to max_length units out of an alphabet.
inline Text random_text(std::mt19937_64 &random, uint32_t max_length, const Text &alphabet) {
  Text result(below(random, max_length + 1), 0);
  for (KIV_UNICHAR &unit : result) unit = alphabet[below(random, static_cast<uint32_t>(alphabet.size()))];
  return result;
}

}  // namespace kiv::test

#endif
