// Tokens and fields between delimiters.

#include <cstring>

#include "empty_string.h"
#include "kiv_string.h"
#include "kiv_string_pattern.h"

namespace {

/// Calls visit(field, length) for each field of text until it gives false.
template <class Visit>
bool visit_fields(const KIV_UNICHAR *text, const KIV_UNICHAR *delimiters, Visit visit) {
  while (*text != 0) {
    const uint32_t length = kiv_string_strcspn(text, delimiters);
    if (!visit(text, length)) return false;
    text += length;
    if (*text != 0) ++text;
  }
  return true;
}

}  // namespace

int kiv_string_token_matches(const KIV_UNICHAR *token, const KIV_UNICHAR *delimiters, const KIV_UNICHAR *text,
                             uint32_t *next) {
  token = kiv::or_empty(token);
  delimiters = kiv::or_empty(delimiters);
  text = kiv::or_empty(text);
  const uint32_t skipped = kiv_string_strspn(text, delimiters);
  const uint32_t length = kiv_string_strcspn(text + skipped, delimiters);
  const bool same =
      length == kiv_string_length(token) && std::memcmp(text + skipped, token, length * sizeof(KIV_UNICHAR)) == 0;
  *next = same ? skipped + length : 0;
  return same ? 1 : 0;
}

KIV_STRING *kiv_string_split(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *text, const KIV_UNICHAR *delimiters) {
  text = kiv::or_empty(text);
  delimiters = kiv::or_empty(delimiters);
  uint64_t count = 0;
  visit_fields(text, delimiters, [&count](const KIV_UNICHAR *, uint32_t) { return ++count, true; });
  const uint64_t size = (count + 1) * sizeof(KIV_STRING);
  if (size > UINT32_MAX) return nullptr;
  auto *fields = static_cast<KIV_STRING *>(allocator->alloc(allocator, static_cast<uint32_t>(size)));
  if (fields == nullptr) return nullptr;
  KIV_STRING *field = fields;
  *field = nullptr;
  const bool copied = visit_fields(text, delimiters, [&](const KIV_UNICHAR *start, uint32_t length) {
    *field = kiv_string_ndup(allocator, start, length);
    if (*field == nullptr) return false;
    *++field = nullptr;
    return true;
  });
  if (copied) return fields;
  kiv_string_delete_array(allocator, fields);
  return nullptr;
}
