// Arrays of strings: pointers ended by a null pointer.

#include <initializer_list>

#include "kiv_string.h"
#include "text/string_block.h"

namespace kiv {
namespace {

size_t count_strings(const KIV_STRING *array) {
  size_t count = 0;
  while (array != nullptr && array[count] != nullptr) ++count;
  return count;
}

constexpr bool fits_array(uint64_t pointers) { return pointers <= UINT32_MAX / sizeof(KIV_STRING); }

/// Appends a string that was made for the array; when it could not be made, or the array cannot grow, nothing is left.
KIV_STRING *append_or_delete(KIV_ALLOCATOR *allocator, KIV_STRING s, KIV_STRING *array) {
  KIV_STRING *grown = s != nullptr ? kiv_string_no_copy_append_to_array(allocator, s, array) : nullptr;
  if (grown == nullptr) {
    kiv_string_delete(allocator, s);
    kiv_string_delete_array(allocator, array);
  }
  return grown;
}

}  // namespace
}  // namespace kiv

KIV_STRING *kiv_string_no_copy_append_to_array(KIV_ALLOCATOR *allocator, KIV_STRING s, KIV_STRING *array) {
  const size_t count = kiv::count_strings(array);
  if (!kiv::fits_array(uint64_t{count} + 2)) return nullptr;
  auto *grown = static_cast<KIV_STRING *>(
      allocator->realloc(allocator, array, static_cast<uint32_t>((count + 2) * sizeof(KIV_STRING))));
  if (grown == nullptr) return nullptr;
  grown[count] = s;
  grown[count + 1] = nullptr;
  return grown;
}

KIV_STRING *kiv_string_append_to_array(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *s, KIV_STRING *array) {
  return kiv::append_or_delete(allocator, kiv::new_string(allocator, kiv::Units{s}), array);
}

KIV_STRING *kiv_string_append_char_s_to_array(KIV_ALLOCATOR *allocator, const char *s, KIV_STRING *array) {
  return kiv::append_or_delete(allocator, kiv::new_string(allocator, kiv::ZeroExtended{s}), array);
}

KIV_STRING *kiv_string_cat_arrays(KIV_ALLOCATOR *allocator, const KIV_STRING *array1, const KIV_STRING *array2) {
  const uint64_t pointers = uint64_t{kiv::count_strings(array1)} + kiv::count_strings(array2) + 1;
  if (!kiv::fits_array(pointers)) return nullptr;
  auto *joined =
      static_cast<KIV_STRING *>(allocator->alloc(allocator, static_cast<uint32_t>(pointers * sizeof(KIV_STRING))));
  if (joined == nullptr) return nullptr;
  // The copies stop at the first that fails: whoever deletes the array would not reach those behind it.
  KIV_STRING *next = joined;
  bool complete = true;
  for (const KIV_STRING *array : {array1, array2}) {
    for (; complete && *array != nullptr; ++array) {
      *next = kiv_string_dup(allocator, *array);
      complete = *next != nullptr;
      if (complete) ++next;
    }
  }
  while (next < joined + pointers) *next++ = nullptr;
  return joined;
}

void kiv_string_delete_array(KIV_ALLOCATOR *allocator, KIV_STRING *array) {
  if (array == nullptr) return;
  for (KIV_STRING *s = array; *s != nullptr; ++s) kiv_string_delete(allocator, *s);
  allocator->free(allocator, array);
}
