// Dump texts of any characters, and dumps of any records into buffers of any size.
//
// The input: a byte of choices, then a text, of bytes or of 16-bit characters, or the words of a record.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "kiv_bigflt.h"
#include "kiv_bigflt_dump.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

/// In a block without a byte to spare.
std::vector<char> dump(const bigflt &a, uint32_t size) {
  std::vector<char> text(size);
  kiv_bigflt_sdump(text.data(), size, &a);
  require(size == 0 || std::memchr(text.data(), 0, size) != nullptr);
  return text;
}

int scan(const std::vector<KIV_UNICHAR> &characters, bigflt *r, uint32_t *consumed) {
  const std::vector<KIV_UNICHAR> exactly(characters);
  return kiv_bigflt_scan_sdump_widestring(exactly.data(), r, consumed);
}

/// What a record's dump says is the record, but for integers that have the small form.
void check_record(const bigflt &a) {
  const std::vector<char> text = dump(a, 52);
  const std::vector<KIV_UNICHAR> characters(text.begin(), text.end());
  bigflt r;
  uint32_t consumed = 0;
  require(scan(characters, &r, &consumed) == 1);
  require(consumed == std::strlen(text.data()));
  bigflt x, y;
  kiv_bigflt_shift_left(&x, &a, 0);
  kiv_bigflt_shift_left(&y, &r, 0);
  require(std::memcmp(&x, &y, sizeof x) == 0);
  if (a.small == 0 && r.small == 0) {
    require(dump(r, 52) == text);
  }
}

void check_text(const std::vector<KIV_UNICHAR> &characters) {
  bigflt r;
  std::memset(&r, 0xA5, sizeof r);
  const bigflt before = r;
  uint32_t consumed = 0;
  const int status = scan(characters, &r, &consumed);
  const auto end = std::find(characters.begin(), characters.end(), KIV_UNICHAR{0});
  require(consumed <= static_cast<size_t>(end - characters.begin()) && consumed <= 51);
  require(status == (consumed != 0 ? 1 : 0));
  if (status != 0) {
    check_record(r);
  } else {
    require(std::memcmp(&r, &before, sizeof r) == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  if (size < 1) return 0;
  const uint8_t choices = *data++;
  --size;
  if (choices % 4 == 0) {
    bigflt a = {};
    std::memcpy(&a, data, std::min(size, sizeof a));
    dump(a, choices / 4);
    check_record(a);
    return 0;
  }
  const size_t width = choices % 4 == 1 ? 2 : 1;
  std::vector<KIV_UNICHAR> characters;
  for (size_t i = 0; i + width <= size; i += width) {
    characters.push_back(width == 1 ? data[i] : static_cast<KIV_UNICHAR>(data[i] | data[i + 1] << 8));
  }
  characters.push_back(0);
  check_text(characters);
  return 0;
}
