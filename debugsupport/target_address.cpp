// Target addresses out of text: blanks, prefix and end are found here, the digits by the conversions of number text.

#include <cctype>

#include "kiv_string_number.h"
#include "kiv_target_memspace.h"
#include "kiv_uni.h"
#include "text/empty_string.h"

namespace {

using Memspace = KIV_TARGET_MEMSPACE;
using List = KIV_TARGET_MEMSPACE_LIST;

constexpr uint32_t kBitsOfByte = 8;

// What differs between the two kinds of texts.

bool is_blank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
bool is_blank(KIV_UNICHAR c) { return kiv_uni_isspace(c) != 0; }

// The number begins where the text does, and its end is judged here.

int read_number(const char *text, KIV_U128 &number, uint32_t &length) {
  return kiv_string_char_s_convert_to_u128(text, 16, 0, 1, &number, nullptr, &length);
}
int read_number(const KIV_UNICHAR *text, KIV_U128 &number, uint32_t &length) {
  return kiv_string_convert_to_u128(text, 16, 0, 1, &number, nullptr, &length);
}

Memspace *find_name(const List *list, const char *text, uint32_t length) {
  return kiv_target_memspace_find_by_name2(list, text, nullptr, length);
}
Memspace *find_name(const List *list, const KIV_UNICHAR *text, uint32_t length) {
  return kiv_target_memspace_find_by_name2(list, nullptr, text, length);
}

Memspace *find_as_name(const List *list, const char *text, uint32_t length) {
  return kiv_target_memspace_find_by_as_name2(list, text, nullptr, length);
}
Memspace *find_as_name(const List *list, const KIV_UNICHAR *text, uint32_t length) {
  return kiv_target_memspace_find_by_as_name2(list, nullptr, text, length);
}

struct Syntax {
  bool match_name;
  bool match_as_name;
  bool allow_leading_blanks;
  bool allow_trailing_text;
};

struct TargetAddress {
  Memspace *memspace;
  KIV_U128 units;
  uint32_t end;
};

template <class Unit>
Memspace *find_prefix(const List *list, const Unit *prefix, uint32_t length, const Syntax &syntax) {
  Memspace *memspace = syntax.match_name ? find_name(list, prefix, length) : nullptr;
  if (memspace == nullptr && syntax.match_as_name) memspace = find_as_name(list, prefix, length);
  return memspace;
}

Memspace *find_default(const List *list, const Syntax &syntax) {
  Memspace *memspace = syntax.match_name ? list->default_name : nullptr;
  if (memspace == nullptr && syntax.match_as_name) memspace = list->default_as_name;
  return memspace;
}

/// The colon, or the end of the text.
template <class Unit>
const Unit *find_colon(const Unit *text) {
  while (*text != 0 && *text != ':') ++text;
  return text;
}

/// False when the text has no target address; its parts then have no meaning.
template <class Unit>
bool parse(const List *list, const Unit *text, const Syntax &syntax, TargetAddress &address) {
  const Unit *prefix = text;
  while (*prefix != 0 && is_blank(*prefix)) ++prefix;
  if (prefix != text && !syntax.allow_leading_blanks) return false;

  const Unit *colon = find_colon(prefix);
  const bool has_prefix = *colon != 0;
  const Unit *number = has_prefix ? colon + 1 : prefix;
  address.memspace = nullptr;
  if (list == nullptr) {
    if (has_prefix) return false;
  } else {
    address.memspace = has_prefix ? find_prefix(list, prefix, static_cast<uint32_t>(colon - prefix), syntax)
                                  : find_default(list, syntax);
    if (address.memspace == nullptr) return false;
  }

  uint32_t length = 0;
  if (read_number(number, address.units, length) != 0) return false;
  address.end = static_cast<uint32_t>(number - text) + length;
  return syntax.allow_trailing_text || number[length] == 0;
}

}  // namespace

int kiv_string_to_target_address(const KIV_TARGET_MEMSPACE_LIST *list, const char *char_text, const KIV_UNICHAR *text,
                                 int match_name, int match_as_name, int allow_leading_blanks, int allow_trailing_text,
                                 KIV_TARGET_MEMSPACE **memspace, KIV_U128 *units, KIV_U128 *bits, uint32_t *end) {
  const Syntax syntax{match_name != 0, match_as_name != 0, allow_leading_blanks != 0, allow_trailing_text != 0};
  TargetAddress address{};
  const bool parsed = char_text != nullptr ? parse(list, char_text, syntax, address)
                                           : parse(list, kiv::or_empty(text), syntax, address);
  if (!parsed) return 1;
  KIV_U128 product = address.units;
  const uint32_t factor = address.memspace != nullptr ? address.memspace->bits_per_unit : kBitsOfByte;
  if (kiv_u128_mul_ov_u64(&product, factor) != 0 && bits != nullptr) return 1;
  if (memspace != nullptr) *memspace = address.memspace;
  if (units != nullptr) *units = address.units;
  if (bits != nullptr) *bits = product;
  if (end != nullptr) *end = address.end;
  return 0;
}
