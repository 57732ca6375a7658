// Lists of memory spaces. Every record is in the array and in the three trees; duplicates are refused beforehand, so
// that taking a record out of a tree which does not have it takes out nothing.

#include "kiv_target_memspace.h"

#include <cstddef>

#include "base/record_layout.h"
#include "kiv_string.h"
#include "text/empty_string.h"
#include "text/text_source.h"

KIV_LAYOUT_32(sizeof(KIV_TARGET_MEMSPACE) == 40);
KIV_LAYOUT_32(offsetof(KIV_TARGET_MEMSPACE, number_high) == 4 && offsetof(KIV_TARGET_MEMSPACE, name) == 8);
KIV_LAYOUT_32(offsetof(KIV_TARGET_MEMSPACE, as_name) == 12 && offsetof(KIV_TARGET_MEMSPACE, bits_per_unit) == 16);
KIV_LAYOUT_32(offsetof(KIV_TARGET_MEMSPACE, unused) == 20 && offsetof(KIV_TARGET_MEMSPACE, caller_data) == 24);
KIV_LAYOUT_32(sizeof(KIV_TARGET_MEMSPACE_LIST) == 32);
KIV_LAYOUT_32(offsetof(KIV_TARGET_MEMSPACE_LIST, allocator) == 4 && offsetof(KIV_TARGET_MEMSPACE_LIST, memspaces) == 8);
KIV_LAYOUT_32(offsetof(KIV_TARGET_MEMSPACE_LIST, default_name) == 12);
KIV_LAYOUT_32(offsetof(KIV_TARGET_MEMSPACE_LIST, default_as_name) == 16);
KIV_LAYOUT_32(offsetof(KIV_TARGET_MEMSPACE_LIST, by_number) == 20 && offsetof(KIV_TARGET_MEMSPACE_LIST, by_name) == 24);
KIV_LAYOUT_32(offsetof(KIV_TARGET_MEMSPACE_LIST, by_as_name) == 28);

namespace {

using Memspace = KIV_TARGET_MEMSPACE;
using List = KIV_TARGET_MEMSPACE_LIST;
using Name = KIV_STRING Memspace::*;

// The trees' keys are records, of which only what the tree orders by is looked at.

uint64_t number_of(const void *memspace) {
  const auto *record = static_cast<const Memspace *>(memspace);
  return static_cast<uint64_t>(record->number_high) << 32 | record->number_low;
}

int compare_numbers(const void *key, const void *memspace) {
  const uint64_t a = number_of(key), b = number_of(memspace);
  return a < b ? -1 : a > b ? 1 : 0;
}

template <Name kName>
int compare_names(const void *key, const void *memspace) {
  return kiv_string_compare(static_cast<const Memspace *>(key)->*kName,
                            static_cast<const Memspace *>(memspace)->*kName);
}

Memspace key_of_number(uint32_t low, uint32_t high) {
  Memspace key{};
  key.number_low = low;
  key.number_high = high;
  return key;
}

template <Name kName>
Memspace key_of_name(const KIV_UNICHAR *name) {
  Memspace key{};
  key.*kName = const_cast<KIV_STRING>(kiv::or_empty(name));
  return key;
}

Memspace *find(KIV_AVL_TREE *tree, const Memspace &key) { return static_cast<Memspace *>(kiv_avl_find(tree, &key)); }

void free_if_any(KIV_ALLOCATOR *allocator, void *block) {
  if (block != nullptr) allocator->free(allocator, block);
}

/// A record that lacks memory for a name may come without it, or not at all.
void delete_memspace(KIV_ALLOCATOR *allocator, KIV_STRING name, KIV_STRING as_name, Memspace *memspace) {
  free_if_any(allocator, name);
  free_if_any(allocator, as_name);
  free_if_any(allocator, memspace);
}

/// Makes room for one more pointer. The list is as good as before with the larger array.
bool grow(List *list) {
  const uint64_t size = (uint64_t{list->count} + 1) * sizeof(Memspace *);
  if (size > UINT32_MAX) return false;
  void *array = list->allocator->realloc(list->allocator, list->memspaces, static_cast<uint32_t>(size));
  if (array == nullptr) return false;
  list->memspaces = static_cast<Memspace **>(array);
  return true;
}

/// A record with copies of the names. All three blocks are asked for before the first is looked at.
Memspace *new_memspace(KIV_ALLOCATOR *allocator, const KIV_UNICHAR *name, const KIV_UNICHAR *as_name) {
  auto *memspace = static_cast<Memspace *>(allocator->alloc(allocator, sizeof(Memspace)));
  const KIV_STRING name_copy = kiv_string_dup(allocator, name);
  const KIV_STRING as_name_copy = kiv_string_dup(allocator, as_name);
  if (memspace == nullptr || name_copy == nullptr || as_name_copy == nullptr) {
    delete_memspace(allocator, name_copy, as_name_copy, memspace);
    return nullptr;
  }
  memspace->name = name_copy;
  memspace->as_name = as_name_copy;
  memspace->unused = 0;
  return memspace;
}

bool insert(List *list, Memspace *memspace) {
  if (kiv_avl_insert(list->by_number, memspace) == 0 && kiv_avl_insert(list->by_name, memspace) == 0 &&
      kiv_avl_insert(list->by_as_name, memspace) == 0) {
    return true;
  }
  kiv_avl_delete(list->by_number, memspace);
  kiv_avl_delete(list->by_name, memspace);
  kiv_avl_delete(list->by_as_name, memspace);
  return false;
}

/// Whether `name` is the first `length` characters of the text, none of which is read behind a terminator.
template <class Source>
bool is_whole_name(Source text, uint32_t length, const KIV_UNICHAR *name) {
  for (uint32_t i = 0; i < length; ++i) {
    if (name[i] == 0 || text[i] != name[i]) return false;
  }
  return name[length] == 0;
}

template <Name kName, class Source>
Memspace *find_whole(const List *list, Source text, uint32_t length) {
  for (uint32_t i = 0; i < list->count; ++i) {
    if (is_whole_name(text, length, list->memspaces[i]->*kName)) return list->memspaces[i];
  }
  return nullptr;
}

template <Name kName>
Memspace *find_whole(const List *list, const char *chars, const KIV_UNICHAR *text, uint32_t length) {
  return chars != nullptr ? find_whole<kName>(list, kiv::SignExtended{chars}, length)
                          : find_whole<kName>(list, kiv::Units{kiv::or_empty(text)}, length);
}

}  // namespace

KIV_TARGET_MEMSPACE_LIST *kiv_target_memspace_list_new(KIV_ALLOCATOR *allocator) {
  auto *list = static_cast<List *>(allocator->calloc(allocator, 1, sizeof(List)));
  const auto new_tree = [allocator](KIV_AVL_COMPARE compare) {
    return kiv_avl_new_using_KIV_ALLOCATOR(allocator, compare, nullptr, nullptr);
  };
  KIV_AVL_TREE *by_number = new_tree(compare_numbers);
  KIV_AVL_TREE *by_name = new_tree(compare_names<&Memspace::name>);
  KIV_AVL_TREE *by_as_name = new_tree(compare_names<&Memspace::as_name>);
  if (list == nullptr || by_number == nullptr || by_name == nullptr || by_as_name == nullptr) {
    free_if_any(allocator, list);
    kiv_avl_destroy_tree(by_number);
    kiv_avl_destroy_tree(by_name);
    kiv_avl_destroy_tree(by_as_name);
    return nullptr;
  }
  list->allocator = allocator;
  list->by_number = by_number;
  list->by_name = by_name;
  list->by_as_name = by_as_name;
  return list;
}

void kiv_target_memspace_list_delete(KIV_TARGET_MEMSPACE_LIST *list) {
  if (list == nullptr) return;
  KIV_ALLOCATOR *allocator = list->allocator;
  for (uint32_t i = 0; i < list->count; ++i) {
    Memspace *memspace = list->memspaces[i];
    delete_memspace(allocator, memspace->name, memspace->as_name, memspace);
  }
  free_if_any(allocator, list->memspaces);
  kiv_avl_destroy_tree(list->by_number);
  kiv_avl_destroy_tree(list->by_name);
  kiv_avl_destroy_tree(list->by_as_name);
  allocator->free(allocator, list);
}

int kiv_target_memspace_add(KIV_TARGET_MEMSPACE_LIST *list, uint32_t number_low, uint32_t number_high,
                            const KIV_UNICHAR *name, const KIV_UNICHAR *as_name, uint32_t bits_per_unit,
                            const uint32_t *caller_data) {
  if (kiv_target_memspace_find_by_number(list, number_low, number_high) != nullptr ||
      kiv_target_memspace_find_by_name(list, name) != nullptr ||
      kiv_target_memspace_find_by_as_name(list, as_name) != nullptr) {
    return 1;
  }
  if (!grow(list)) return 1;
  Memspace *memspace = new_memspace(list->allocator, name, as_name);
  if (memspace == nullptr) return 1;
  memspace->number_low = number_low;
  memspace->number_high = number_high;
  memspace->bits_per_unit = bits_per_unit;
  for (uint32_t i = 0; i < 4; ++i) memspace->caller_data[i] = caller_data != nullptr ? caller_data[i] : 0;
  if (!insert(list, memspace)) {
    delete_memspace(list->allocator, memspace->name, memspace->as_name, memspace);
    return 1;
  }
  list->memspaces[list->count++] = memspace;
  if (memspace->name[0] == 0) list->default_name = memspace;
  if (memspace->as_name[0] == 0) list->default_as_name = memspace;
  return 0;
}

KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_number(const KIV_TARGET_MEMSPACE_LIST *list, uint32_t number_low,
                                                        uint32_t number_high) {
  return find(list->by_number, key_of_number(number_low, number_high));
}

KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_name(const KIV_TARGET_MEMSPACE_LIST *list, const KIV_UNICHAR *name) {
  return find(list->by_name, key_of_name<&Memspace::name>(name));
}

KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_as_name(const KIV_TARGET_MEMSPACE_LIST *list,
                                                         const KIV_UNICHAR *as_name) {
  return find(list->by_as_name, key_of_name<&Memspace::as_name>(as_name));
}

KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_name2(const KIV_TARGET_MEMSPACE_LIST *list, const char *char_name,
                                                       const KIV_UNICHAR *name, uint32_t length) {
  return find_whole<&Memspace::name>(list, char_name, name, length);
}

KIV_TARGET_MEMSPACE *kiv_target_memspace_find_by_as_name2(const KIV_TARGET_MEMSPACE_LIST *list,
                                                          const char *char_as_name, const KIV_UNICHAR *as_name,
                                                          uint32_t length) {
  return find_whole<&Memspace::as_name>(list, char_as_name, as_name, length);
}
