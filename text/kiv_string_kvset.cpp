// Key-value sets: an AVL tree of pairs.

#include "kiv_string_kvset.h"

#include <cstring>

#include "base/record_layout.h"
#include "kiv_string.h"
#include "kiv_string_convert.h"

KIV_LAYOUT_32(sizeof(KIV_STRING_KVSET) == 16);
KIV_LAYOUT_32(offsetof(KIV_STRING_KVSET, tree) == 4 && offsetof(KIV_STRING_KVSET, copy_keys) == 8);
KIV_LAYOUT_32(offsetof(KIV_STRING_KVSET, copy_values) == 12);
KIV_LAYOUT_32(sizeof(KIV_STRING_KVSET_PAIR) == 8 && offsetof(KIV_STRING_KVSET_PAIR, value) == 4);

namespace {

/// What the tree's values are. Callers see the pair at its beginning. The set owns a key that it has converted, also
/// when it does not copy keys: behind the pair it says so.
struct Element {
  KIV_STRING_KVSET_PAIR pair;
  uint32_t key_was_converted;
};

/// Char strings of so many bytes are not widened for a search.
constexpr size_t kWidenedKey = 300;

constexpr KIV_UNICHAR kEmpty[] = {0};

const KIV_UNICHAR *units_of(const KIV_UNICHAR *string) { return string != nullptr ? string : kEmpty; }

int compare_keys(const void *key, const void *element) {
  return kiv_string_compare(units_of(static_cast<const KIV_STRING_KVSET_PAIR *>(key)->key),
                            units_of(static_cast<const KIV_STRING_KVSET_PAIR *>(element)->key));
}

void destroy_element(void *value, void *context) {
  const auto *set = static_cast<const KIV_STRING_KVSET *>(context);
  auto *element = static_cast<Element *>(value);
  if (set->copy_keys != 0 || element->key_was_converted != 0) set->allocator->free(set->allocator, element->pair.key);
  if (set->copy_values != 0) set->allocator->free(set->allocator, element->pair.value);
  set->allocator->free(set->allocator, element);
}

/// A pair to search with.
KIV_STRING_KVSET_PAIR probe(const KIV_UNICHAR *key) { return {const_cast<KIV_STRING>(key), nullptr}; }

KIV_STRING_KVSET_PAIR *find_pair(const KIV_STRING_KVSET *set, const KIV_UNICHAR *key) {
  const KIV_STRING_KVSET_PAIR wanted = probe(key);
  return static_cast<KIV_STRING_KVSET_PAIR *>(kiv_avl_find(set->tree, &wanted));
}

/// The first pair whose key is the char string, zero-extended.
KIV_STRING_KVSET_PAIR *find_by_walk(const KIV_STRING_KVSET *set, const char *key) {
  struct Search {
    const char *key;
    KIV_STRING_KVSET_PAIR *found;
  } search{key, nullptr};
  const auto visit = [](void *value, void *context) {
    auto *pair = static_cast<KIV_STRING_KVSET_PAIR *>(value);
    auto *wanted = static_cast<Search *>(context);
    if (kiv_string_compare_with_char_s(units_of(pair->key), wanted->key) != 0) return 1;
    wanted->found = pair;
    return 0;
  };
  (void)kiv_avl_conditional_sequential_walk(set->tree, visit, &search);
  return search.found;
}

KIV_STRING_KVSET_PAIR *find_pair(const KIV_STRING_KVSET *set, const char *key_chars, const KIV_UNICHAR *key) {
  if (key_chars == nullptr) return find_pair(set, key);
  if (std::strlen(key_chars) >= kWidenedKey) return find_by_walk(set, key_chars);
  // Sign-extended, unlike the keys that are stored: a decision of old that callers rely on.
  KIV_UNICHAR widened[kWidenedKey];
  return find_pair(set, kiv_string_strcpy_char_s(widened, key_chars));
}

enum class Insertion { done, refused, failed };

/// Inserts a pair with a key that find_pair has not found. The tree refuses it all the same when the zero-extended key
/// is there and the sign-extended one was looked for.
Insertion insert_pair(const KIV_STRING_KVSET *set, const char *key_chars, KIV_STRING key, KIV_STRING value) {
  KIV_ALLOCATOR *allocator = set->allocator;
  auto *element = static_cast<Element *>(allocator->alloc(allocator, sizeof(Element)));
  if (element == nullptr) return Insertion::failed;
  const bool key_is_ours = key_chars != nullptr || set->copy_keys != 0;
  element->pair.key = key_chars != nullptr  ? kiv_string_convert_char_to_utf32_a(allocator, key_chars)
                      : set->copy_keys != 0 ? kiv_string_dup(allocator, key)
                                            : key;
  element->pair.value = value;
  element->key_was_converted = key_chars != nullptr ? 1 : 0;
  Insertion result = Insertion::failed;
  if (element->pair.key != nullptr || !key_is_ours) {
    if (kiv_avl_insert(set->tree, element) == 0) {
      if (key_chars == nullptr || kiv_avl_find(set->tree, element) == element) return Insertion::done;
      result = Insertion::refused;
    }
    if (key_is_ours) allocator->free(allocator, element->pair.key);
  }
  allocator->free(allocator, element);
  return result;
}

}  // namespace

KIV_STRING_KVSET *kiv_string_kvset_new(KIV_ALLOCATOR *allocator, uint32_t copy_keys, uint32_t copy_values) {
  auto *set = static_cast<KIV_STRING_KVSET *>(allocator->alloc(allocator, sizeof(KIV_STRING_KVSET)));
  if (set == nullptr) return nullptr;
  KIV_AVL_TREE *tree = kiv_avl_new_using_KIV_ALLOCATOR(allocator, compare_keys, destroy_element, set);
  if (tree == nullptr) {
    allocator->free(allocator, set);
    return nullptr;
  }
  *set = {allocator, tree, copy_keys, copy_values};
  return set;
}

void kiv_string_kvset_delete(KIV_STRING_KVSET *set) {
  if (set == nullptr) return;
  (void)kiv_avl_destroy_tree(set->tree);
  set->allocator->free(set->allocator, set);
}

int kiv_string_kvset_add(KIV_STRING_KVSET *set, const char *key_chars, KIV_STRING key, const char *value_chars,
                         KIV_STRING value) {
  if (set == nullptr) return -1;
  const bool value_is_ours = value_chars != nullptr || set->copy_values != 0;
  KIV_STRING stored = value_chars != nullptr  ? kiv_string_convert_char_to_utf32_a(set->allocator, value_chars)
                      : set->copy_values != 0 ? kiv_string_dup(set->allocator, value)
                                              : value;
  if (value_is_ours && stored == nullptr) return -1;
  if (KIV_STRING_KVSET_PAIR *pair = find_pair(set, key_chars, key)) {
    if (set->copy_values != 0) set->allocator->free(set->allocator, pair->value);
    pair->value = stored;
    return 1;
  }
  const Insertion result = insert_pair(set, key_chars, key, stored);
  // Nobody else knows the new value.
  if (result != Insertion::done && value_is_ours) set->allocator->free(set->allocator, stored);
  return result == Insertion::failed ? -1 : 0;
}

KIV_STRING kiv_string_kvset_find(KIV_STRING_KVSET *set, const char *key_chars, const KIV_UNICHAR *key) {
  const KIV_STRING_KVSET_PAIR *pair = set != nullptr ? find_pair(set, key_chars, key) : nullptr;
  return pair != nullptr ? pair->value : nullptr;
}

int kiv_string_kvset_find_least_greater_or_equal2(KIV_ALLOCATOR *allocator, KIV_STRING_KVSET *set,
                                                  const char *key_chars, const KIV_UNICHAR *key,
                                                  KIV_STRING_KVSET_PAIR **element) {
  KIV_STRING converted = nullptr;
  if (key_chars != nullptr) {
    converted = kiv_string_convert_char_to_utf32_a(allocator, key_chars);
    if (converted == nullptr) return 1;
    key = converted;
  }
  const KIV_STRING_KVSET_PAIR wanted = probe(key);
  *element = set != nullptr
                 ? static_cast<KIV_STRING_KVSET_PAIR *>(kiv_avl_find_least_greater_or_equal(set->tree, &wanted))
                 : nullptr;
  if (converted != nullptr) allocator->free(allocator, converted);
  return 0;
}

KIV_STRING_KVSET_PAIR *kiv_string_kvset_find_least_greater(KIV_STRING_KVSET *set,
                                                           const KIV_STRING_KVSET_PAIR *element) {
  if (set == nullptr || element == nullptr) return nullptr;
  return static_cast<KIV_STRING_KVSET_PAIR *>(kiv_avl_find_least_greater(set->tree, element));
}
