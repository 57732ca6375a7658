#include "kiv_enum_translate.h"

#include <cstring>

#include "base/record_layout.h"
#include "kiv_string.h"

// Tables of pairs are all words, on every target.
static_assert(sizeof(KIV_ENUM_TABLE) == 8 && offsetof(KIV_ENUM_TABLE, unread) == 4);
static_assert(sizeof(KIV_ENUM_PAIR) == 8 && offsetof(KIV_ENUM_PAIR, right) == 4);
KIV_LAYOUT_32(sizeof(KIV_ENUM_NAME) == 8 && offsetof(KIV_ENUM_NAME, name) == 4);

namespace {

/// Finds value in one column of a table, and gives what stands in the other one.
template <uint32_t KIV_ENUM_PAIR::*kFrom, uint32_t KIV_ENUM_PAIR::*kTo>
int translate(uint32_t value, const KIV_ENUM_TABLE *table, uint32_t *result) {
  if (table == nullptr) return 1;
  const auto *pairs = reinterpret_cast<const KIV_ENUM_PAIR *>(table + 1);
  for (int32_t i = 0; i < table->count; ++i) {
    if (pairs[i].*kFrom == value) return *result = pairs[i].*kTo, 0;
  }
  return 1;
}

/// The first line that matches, or null.
template <class Match>
const KIV_ENUM_NAME *find_line(const KIV_ENUM_NAME *line, Match matches) {
  for (; line != nullptr && line->name != nullptr; ++line) {
    if (matches(*line)) return line;
  }
  return nullptr;
}

}  // namespace

int kiv_enum_translate_to_enum(uint32_t value, const KIV_ENUM_TABLE *table, uint32_t *result, uint32_t) {
  return translate<&KIV_ENUM_PAIR::left, &KIV_ENUM_PAIR::right>(value, table, result);
}

int kiv_enum_translate_to_enum_reverse(uint32_t value, const KIV_ENUM_TABLE *table, uint32_t *result, uint32_t) {
  return translate<&KIV_ENUM_PAIR::right, &KIV_ENUM_PAIR::left>(value, table, result);
}

const char *kiv_enum_translate_to_string(uint32_t value, const KIV_ENUM_NAME *table) {
  const KIV_ENUM_NAME *line = find_line(table, [=](const KIV_ENUM_NAME &its) { return its.value == value; });
  return line != nullptr ? line->name : nullptr;
}

int kiv_enum_translate_from_string(const char *name, const KIV_UNICHAR *string, const KIV_ENUM_NAME *table, uint32_t,
                                   uint32_t *result) {
  const KIV_ENUM_NAME *line = find_line(table, [=](const KIV_ENUM_NAME &its) {
    return (name != nullptr && std::strcmp(name, its.name) == 0) ||
           (string != nullptr && kiv_string_compare_with_char_s(string, its.name) == 0);
  });
  if (line == nullptr) return 1;
  *result = line->value;
  return 0;
}
