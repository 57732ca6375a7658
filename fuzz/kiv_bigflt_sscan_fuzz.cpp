// Reading of any text: by both functions alike, within the limit, and the value prints as a text that reads back.
//
// The input: two bytes with a limit, then the text.

#include <cstdlib>
#include <cstring>
#include <vector>

#include "kiv_bigflt_text.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

struct Characters {
  const char *next, *end;
  bool put_back = false;
};

int get(void *context) {
  auto &characters = *static_cast<Characters *>(context);
  require(!characters.put_back);
  return characters.next < characters.end ? static_cast<unsigned char>(*characters.next++) : -1;
}

int unget(int c, void *context) {
  auto &characters = *static_cast<Characters *>(context);
  require(!characters.put_back);
  characters.put_back = true;
  require(c == static_cast<unsigned char>(*--characters.next));
  return c;
}

bool same(const bigflt &a, const bigflt &b) {
  if (a.small != b.small || a.exponent != b.exponent) return false;
  return a.small != 0 || (a.sign == b.sign && std::memcmp(a.mantissa, b.mantissa, sizeof a.mantissa) == 0);
}

void check_round_trip(const bigflt &value, const char *conversion, int precision) {
  char text[100];
  bigflt back = {};
  require(kiv_bigflt_sprint(text, sizeof text, conversion, precision, &value) == 1);
  require(kiv_bigflt_sscan(text, UINT32_MAX, &back) == static_cast<int>(std::strlen(text)));
  require(same(value, back));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 2) return 0;
  const uint32_t limit = data[0] == 0 ? data[1] : UINT32_MAX - data[1];
  std::vector<char> text(data + 2, data + size);
  text.push_back('\0');
  const size_t length = std::strlen(text.data());
  const bigflt untouched = {0, {}, 1, 5, 128, 4, {1, 2, 3, 0x80000000}};
  bigflt value = untouched, other = untouched;
  const int read = kiv_bigflt_sscan(text.data(), limit, &value);
  require(read <= static_cast<int64_t>(limit) && read <= static_cast<int64_t>(length));
  Characters characters = {text.data(), text.data() + length};
  require(kiv_bigflt_scan_generic(get, unget, &characters, limit, &other) == read);
  require(same(value, other));
  if (read < 0) {
    require(same(value, untouched));
    return 0;
  }
  require(characters.next - text.data() == read);
  check_round_trip(value, "e", 39);
  check_round_trip(value, "a", 0);
  check_round_trip(value, "A", 0);
  return 0;
}
