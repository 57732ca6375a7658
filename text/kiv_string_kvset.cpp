// Key-value sets: an AVL tree of pairs. Its engine is used directly, with the key's order built in: adding goes down
// the tree once.

#include "kiv_string_kvset.h"

#include <algorithm>
#include <cstring>

#include "base/record_layout.h"
#include "containers/avl_engine.h"
#include "kiv_string.h"
#include "kiv_string_convert.h"
#include "text/empty_string.h"

KIV_LAYOUT_32(sizeof(KIV_STRING_KVSET) == 16);
KIV_LAYOUT_32(offsetof(KIV_STRING_KVSET, tree) == 4 && offsetof(KIV_STRING_KVSET, copy_keys) == 8);
KIV_LAYOUT_32(offsetof(KIV_STRING_KVSET, copy_values) == 12);
KIV_LAYOUT_32(sizeof(KIV_STRING_KVSET_PAIR) == 8 && offsetof(KIV_STRING_KVSET_PAIR, value) == 4);

namespace avl = kiv::avl;

namespace {

/// What the tree's values are. Callers see the pair at its beginning. The set owns a key that it has converted, also
/// when it does not copy keys: behind the pair it says so.
struct Element {
  KIV_STRING_KVSET_PAIR pair;
  uint32_t key_was_converted;
};

/// Char strings of so many bytes are not widened for a search.
constexpr size_t kWidenedKey = 300;

const KIV_UNICHAR *key_of(const void *pair) {
  return kiv::or_empty(static_cast<const KIV_STRING_KVSET_PAIR *>(pair)->key);
}

int compare_pairs(const void *key, const void *pair) { return kiv_string_compare(key_of(key), key_of(pair)); }

/// The same order for a search from the root. On the way down all keys lie between the last one that was greater than
/// the key in search and the last one that was smaller: what the key has in common with both, it has in common with all
/// that follow, and that is not compared again. Keys that callers can change are compared whole: the order may be
/// broken.
class SearchOrder {
 public:
  SearchOrder(const KIV_STRING_KVSET *set, const KIV_UNICHAR *key)
      : key_(kiv::or_empty(key)), keys_are_ours_(set->copy_keys != 0) {}

  int operator()(const void *, const void *pair) {
    const KIV_UNICHAR *key = key_of(pair);
    size_t i = keys_are_ours_ ? std::min(common_with_smaller_, common_with_greater_) : 0;
    while (key_[i] == key[i]) {
      if (key_[i] == 0) return 0;
      ++i;
    }
    if (key_[i] < key[i]) {
      common_with_greater_ = i;
      return -1;
    }
    common_with_smaller_ = i;
    return 1;
  }

 private:
  const KIV_UNICHAR *key_;
  bool keys_are_ours_;
  size_t common_with_smaller_ = 0, common_with_greater_ = 0;
};

void destroy_element(void *value, void *context) {
  const auto *set = static_cast<const KIV_STRING_KVSET *>(context);
  auto *element = static_cast<Element *>(value);
  if (set->copy_keys != 0 || element->key_was_converted != 0) set->allocator->free(set->allocator, element->pair.key);
  if (set->copy_values != 0) set->allocator->free(set->allocator, element->pair.value);
  set->allocator->free(set->allocator, element);
}

KIV_STRING_KVSET_PAIR *pair_of(const avl::Node *node) {
  return static_cast<KIV_STRING_KVSET_PAIR *>(avl::value_of(node));
}

KIV_STRING_KVSET_PAIR *find_pair(const KIV_STRING_KVSET *set, const KIV_UNICHAR *key) {
  return pair_of(avl::find_node_by(set->tree->root, nullptr, SearchOrder(set, key)));
}

template <bool kOrEqual>
KIV_STRING_KVSET_PAIR *find_above(const KIV_STRING_KVSET *set, const KIV_UNICHAR *key) {
  return static_cast<KIV_STRING_KVSET_PAIR *>(
      avl::find_nearest_by<avl::Direction::above, kOrEqual>(set->tree->root, nullptr, SearchOrder(set, key)));
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
    if (kiv_string_compare_with_char_s(kiv::or_empty(pair->key), wanted->key) != 0) return 1;
    wanted->found = pair;
    return 0;
  };
  (void)kiv_avl_conditional_sequential_walk(set->tree, visit, &search);
  return search.found;
}

KIV_STRING_KVSET_PAIR *find_pair(const KIV_STRING_KVSET *set, const char *key) {
  if (std::strlen(key) >= kWidenedKey) return find_by_walk(set, key);
  // Sign-extended, unlike the keys that are stored: a decision of old that callers rely on.
  KIV_UNICHAR widened[kWidenedKey];
  return find_pair(set, kiv_string_strcpy_char_s(widened, key));
}

/// The place of a key in the tree, for an insertion after a search that found nothing.
struct Place {
  avl::Path path;
  avl::Node **link = nullptr;

  KIV_STRING_KVSET_PAIR *seek(const KIV_STRING_KVSET *set, const KIV_UNICHAR *key) {
    path.depth = 0;
    link = avl::descend(&set->tree->root, nullptr, SearchOrder(set, key), &path);
    return pair_of(*link);
  }
};

enum class Insertion { done, refused, failed };

/// Makes a pair and inserts it: at place for a string; for a char string where its stored form belongs, which was not
/// looked for yet, and is refused when it is there.
Insertion insert_pair(const KIV_STRING_KVSET *set, const char *key_chars, KIV_STRING key, KIV_STRING value,
                      Place *place) {
  KIV_ALLOCATOR *allocator = set->allocator;
  auto *element = static_cast<Element *>(allocator->alloc(allocator, sizeof(Element)));
  if (element == nullptr) return Insertion::failed;
  const bool key_is_ours = key_chars != nullptr || set->copy_keys != 0;
  if (key_chars != nullptr) {
    key = kiv_string_convert_char_to_utf32_a(allocator, key_chars);
  } else if (key_is_ours) {
    key = kiv_string_dup(allocator, key);
  }
  *element = {{key, value}, key_chars != nullptr ? 1u : 0u};
  Insertion result = Insertion::failed;
  if ((key != nullptr || !key_is_ours) && avl::reserve_node(set->tree)) {
    if (key_chars == nullptr || place->seek(set, key) == nullptr) {
      avl::link_value(set->tree, place->link, element);
      place->path.unwind(set->tree);
      return Insertion::done;
    }
    result = Insertion::refused;
  }
  if (key_is_ours && key != nullptr) allocator->free(allocator, key);
  allocator->free(allocator, element);
  return result;
}

}  // namespace

KIV_STRING_KVSET *kiv_string_kvset_new(KIV_ALLOCATOR *allocator, uint32_t copy_keys, uint32_t copy_values) {
  auto *set = static_cast<KIV_STRING_KVSET *>(allocator->alloc(allocator, sizeof(KIV_STRING_KVSET)));
  if (set == nullptr) return nullptr;
  KIV_AVL_TREE *tree = kiv_avl_new_using_KIV_ALLOCATOR(allocator, compare_pairs, destroy_element, set);
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
  Place place;
  KIV_STRING_KVSET_PAIR *pair = key_chars != nullptr ? find_pair(set, key_chars) : place.seek(set, key);
  if (pair != nullptr) {
    if (set->copy_values != 0) set->allocator->free(set->allocator, pair->value);
    pair->value = stored;
    return 1;
  }
  const Insertion result = insert_pair(set, key_chars, key, stored, &place);
  // Nobody else knows the new value.
  if (result != Insertion::done && value_is_ours) set->allocator->free(set->allocator, stored);
  return result == Insertion::failed ? -1 : 0;
}

KIV_STRING kiv_string_kvset_find(KIV_STRING_KVSET *set, const char *key_chars, const KIV_UNICHAR *key) {
  if (set == nullptr) return nullptr;
  const KIV_STRING_KVSET_PAIR *pair = key_chars != nullptr ? find_pair(set, key_chars) : find_pair(set, key);
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
  *element = set != nullptr ? find_above<true>(set, key) : nullptr;
  if (converted != nullptr) allocator->free(allocator, converted);
  return 0;
}

KIV_STRING_KVSET_PAIR *kiv_string_kvset_find_least_greater(KIV_STRING_KVSET *set,
                                                           const KIV_STRING_KVSET_PAIR *element) {
  return set != nullptr && element != nullptr ? find_above<false>(set, element->key) : nullptr;
}
