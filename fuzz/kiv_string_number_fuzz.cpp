// Parses foreign texts as numbers of every type, and holds the results against parsing digit by digit. The first two
// bytes choose base and flags, the third whether the others are the characters or an alphabet of digits.

#include <cstdlib>
#include <string>

#include "tests/text/parse_every_type.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 3) return 0;
  const int base = static_cast<int8_t>(data[0]);
  const uint8_t flags = data[1];
  const std::u32string alphabet = U"0123456789abcdefABCDEFxX+- \t\u00A0\u0130g";
  std::u32string text;
  for (size_t i = 3; i < size; ++i) {
    const char32_t c = data[2] % 2 == 0 ? data[i] : alphabet[data[i] % alphabet.size()];
    if (c == 0) break;
    text += c;
  }
  kiv::test::parse_every_type(
      text, base, (flags & 1) != 0, (flags & 2) != 0,
      [](const char *, const kiv::test::ParsedNumber &parsed, const kiv::test::ParsedNumber &told) {
        if (!(parsed == told)) std::abort();
      });
  return 0;
}
