// Making, releasing and measuring strings.

#include "kiv_string.h"

#include <cstring>

#include "base/alias.h"
#include "text/string_block.h"

using kiv::Units;

KIV_STRING kiv_string_new(KIV_ALLOCATOR *allocator) {
  KIV_STRING s = kiv::allocate_units(allocator, 1);
  if (s != nullptr) *s = 0;
  return s;
}

KIV_STRING kiv_string_new_empty_string(KIV_ALLOCATOR *allocator, uint32_t units) {
  if (!kiv::fits_block(units)) return nullptr;
  return static_cast<KIV_STRING>(allocator->calloc(allocator, units, sizeof(KIV_UNICHAR)));
}

void kiv_string_delete(KIV_ALLOCATOR *allocator, KIV_STRING s) {
  if (s != nullptr) allocator->free(allocator, s);
}

KIV_STRING kiv_string_dup(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *s) {
  return kiv::new_string(allocator, Units{s});
}

KIV_ALIAS(kiv_string_strdup, kiv_string_dup);

KIV_STRING kiv_string_ndup(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *s, uint32_t n) {
  KIV_STRING copy = kiv::allocate_units(allocator, uint64_t{n} + 1);
  if (copy == nullptr) return nullptr;
  // s need not be terminated within n units: it is not measured first.
  size_t i = 0;
  if (s != nullptr) {
    for (; i < n && s[i] != 0; ++i) copy[i] = s[i];
  }
  copy[i] = 0;
  return copy;
}

uint32_t kiv_string_length(const KIV_UNICHAR *s) { return static_cast<uint32_t>(Units{s}.length()); }

uint32_t kiv_string_sizeof(const KIV_UNICHAR *s) {
  return static_cast<uint32_t>((Units{s}.length() + 1) * sizeof(KIV_UNICHAR));
}

uint32_t kiv_string_length_byte_aligned(const void *s) {
  if (s == nullptr) return 0;
  const auto *bytes = static_cast<const uint8_t *>(s);
  for (uint32_t length = 0;; ++length, bytes += sizeof(KIV_UNICHAR)) {
    KIV_UNICHAR unit;
    std::memcpy(&unit, bytes, sizeof unit);
    if (unit == 0) return length;
  }
}

int kiv_string_contains_non_ascii(const KIV_UNICHAR *s) {
  if (s == nullptr) return 0;
  const __m128i above_ascii = kiv::os::four(~KIV_UNICHAR{127});
  const KIV_UNICHAR *place = kiv::os::scan(s, [above_ascii](__m128i units) {
    const __m128i is_ascii = kiv::os::is_end(_mm_and_si128(units, above_ascii));
    return _mm_or_si128(kiv::os::is_end(units), kiv::os::equal(is_ascii, _mm_setzero_si128()));
  });
  return *place != 0 ? 1 : 0;
}
