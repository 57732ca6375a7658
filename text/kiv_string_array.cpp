// Growable stacks of strings.

#include "kiv_string_array.h"

#include <cstdio>
#include <cstring>

#include "base/record_layout.h"
#include "kiv_string.h"
#include "kiv_string_convert.h"

KIV_LAYOUT_32(sizeof(KIV_STRING_ARRAY) == 12);
KIV_LAYOUT_32(offsetof(KIV_STRING_ARRAY, capacity) == 4 && offsetof(KIV_STRING_ARRAY, elements) == 8);
// The number of elements is the first word: see kiv_string_n_elems_in_KIV_STRING_ARRAY beside kiv_avl_get_tree_root.
static_assert(offsetof(KIV_STRING_ARRAY, count) == 0);

namespace {

constexpr uint32_t kFirstCapacity = 6;
constexpr uint32_t kLeastShrinkingCapacity = 7;

bool resize(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array, uint64_t capacity) {
  const uint64_t size = capacity * sizeof(KIV_STRING);
  if (size > UINT32_MAX) return false;
  void *elements = allocator->realloc(allocator, array->elements, static_cast<uint32_t>(size));
  if (elements == nullptr) return false;
  array->elements = static_cast<KIV_STRING *>(elements);
  array->capacity = static_cast<uint32_t>(capacity);
  return true;
}

bool grow(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array) {
  // Part of what a push does, and kept: a visible trace of every attempt.
  std::fputs("ALLOC\n", stdout);
  return resize(allocator, array, (uint64_t{3} * array->capacity + 2) / 2);
}

void shrink(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array) {
  const uint64_t capacity = array->capacity;
  if (uint64_t{2} * array->count >= capacity || capacity < kLeastShrinkingCapacity) return;
  (void)resize(allocator, array, 2 * capacity / 3);
}

size_t length_of(const char *text) { return text != nullptr ? std::strlen(text) : 0; }

/// A new string of count bytes; null without memory.
KIV_STRING convert(KIV_ALLOCATOR *allocator, const char *text, size_t count) {
  if (text == nullptr) count = 0;
  if (count > INT32_MAX) return nullptr;
  return kiv_string_convert_limited_char_to_utf32_a(allocator, text, static_cast<int32_t>(count));
}

int push_bytes(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array, const char *text, size_t count) {
  KIV_STRING string = convert(allocator, text, count);
  if (string == nullptr) return 1;
  const int failed = kiv_string_push_to_KIV_STRING_ARRAY(allocator, array, string);
  if (failed != 0) allocator->free(allocator, string);
  return failed;
}

int append_bytes(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array, const char *text, size_t count) {
  KIV_STRING *top = kiv_string_address_of_top_of_KIV_STRING_ARRAY(array);
  if (top == nullptr) return 1;
  KIV_STRING string = convert(allocator, text, count);
  if (string == nullptr) return 1;
  if (*top == nullptr) {
    *top = string;
    return 0;
  }
  KIV_STRING joined = kiv_string_cat(allocator, *top, string, 0);
  if (joined != nullptr) {
    allocator->free(allocator, *top);
    *top = joined;
  }
  allocator->free(allocator, string);
  return joined != nullptr ? 0 : 1;
}

}  // namespace

KIV_STRING_ARRAY *kiv_string_new_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator) {
  auto *array = static_cast<KIV_STRING_ARRAY *>(allocator->alloc(allocator, sizeof(KIV_STRING_ARRAY)));
  if (array == nullptr) return nullptr;
  void *elements = allocator->alloc(allocator, kFirstCapacity * sizeof(KIV_STRING));
  if (elements == nullptr) {
    allocator->free(allocator, array);
    return nullptr;
  }
  *array = {0, kFirstCapacity, static_cast<KIV_STRING *>(elements)};
  return array;
}

KIV_STRING_ARRAY *kiv_string_destroy_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array) {
  if (array == nullptr) return nullptr;
  for (uint32_t i = 0; i < array->count; ++i) {
    if (array->elements[i] != nullptr) allocator->free(allocator, array->elements[i]);
  }
  allocator->free(allocator, array->elements);
  allocator->free(allocator, array);
  return nullptr;
}

int kiv_string_push_to_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array, KIV_STRING string) {
  if (array == nullptr) return 1;
  if (array->count == array->capacity && !grow(allocator, array)) return 1;
  array->elements[array->count++] = string;
  return 0;
}

KIV_STRING kiv_string_pop_from_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array) {
  if (kiv_string_is_empty_KIV_STRING_ARRAY(array) != 0) return nullptr;
  KIV_STRING string = array->elements[--array->count];
  shrink(allocator, array);
  return string;
}

int kiv_string_is_empty_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array) {
  return array == nullptr || array->count == 0 ? 1 : 0;
}

KIV_STRING kiv_string_get_elem_from_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array, uint32_t index) {
  return array != nullptr && index < array->count ? array->elements[index] : nullptr;
}

KIV_STRING kiv_string_top_of_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array) {
  KIV_STRING *top = kiv_string_address_of_top_of_KIV_STRING_ARRAY(array);
  return top != nullptr ? *top : nullptr;
}

KIV_STRING *kiv_string_address_of_top_of_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array) {
  return kiv_string_is_empty_KIV_STRING_ARRAY(array) != 0 ? nullptr : &array->elements[array->count - 1];
}

int kiv_string_push_char_string_to_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array,
                                                    const char *text) {
  return push_bytes(allocator, array, text, length_of(text));
}

int kiv_string_push_limited_char_string_to_KIV_STRING_ARRAY(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array,
                                                            const char *text, uint32_t count) {
  return push_bytes(allocator, array, text, count);
}

int kiv_string_append_char_string_to_KIV_STRING_ARRAY_top(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array,
                                                          const char *text) {
  return append_bytes(allocator, array, text, length_of(text));
}

int kiv_string_append_limited_char_string_to_KIV_STRING_ARRAY_top(KIV_ALLOCATOR *allocator, KIV_STRING_ARRAY *array,
                                                                  const char *text, uint32_t count) {
  return append_bytes(allocator, array, text, count);
}

void kiv_string_iterate_KIV_STRING_ARRAY(const KIV_STRING_ARRAY *array,
                                         void (*function)(uint32_t index, KIV_STRING element, void *context),
                                         void *context) {
  if (array == nullptr) return;
  for (uint32_t i = 0; i < array->count; ++i) function(i, array->elements[i], context);
}
