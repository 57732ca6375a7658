// The ready-made keys of hashtables: 32-bit numbers, 64-bit numbers, strings.

#include <cstring>

#include "kiv_hashtable.h"
#include "kiv_string.h"

namespace {

/// A number at an address that need not be aligned.
template <class Number>
Number number_at(const void *key) {
  Number number;
  std::memcpy(&number, key, sizeof number);
  return number;
}

uint32_t hash_of(uint32_t number) { return number; }
uint32_t hash_of(uint64_t number) { return static_cast<uint32_t>(number) ^ static_cast<uint32_t>(number >> 32); }

template <class Number>
uint32_t hash_number(const void *key) {
  return hash_of(number_at<Number>(key));
}

uint32_t hash_string(const void *key) {
  uint32_t hash = 0;
  for (const auto *unit = static_cast<const KIV_UNICHAR *>(key); *unit != 0; ++unit) hash ^= *unit;
  return hash;
}

const void *key_of_pair(const void *entry) { return static_cast<const KIV_HASHTABLE_PAIR *>(entry)->key; }

template <class Number>
int compare_numbers(const void *key, const void *entry) {
  const auto a = number_at<Number>(key), b = number_at<Number>(key_of_pair(entry));
  return (a > b) - (a < b);
}

int compare_strings(const void *key, const void *entry) {
  return kiv_string_compare(static_cast<const KIV_UNICHAR *>(key),
                            static_cast<const KIV_UNICHAR *>(key_of_pair(entry)));
}

KIV_HASHTABLE *new_pairs(KIV_ALLOCATOR *allocator, KIV_HASHTABLE_HASH hash, KIV_HASHTABLE_COMPARE compare) {
  return kiv_hashtable_new(allocator, 0, 1, hash, compare, key_of_pair);
}

}  // namespace

KIV_HASHTABLE *kiv_hashtable_KIV_U32_new_default(KIV_ALLOCATOR *allocator) {
  return new_pairs(allocator, hash_number<uint32_t>, compare_numbers<uint32_t>);
}

KIV_HASHTABLE *kiv_hashtable_KIV_U64_new_default(KIV_ALLOCATOR *allocator) {
  return new_pairs(allocator, hash_number<uint64_t>, compare_numbers<uint64_t>);
}

KIV_HASHTABLE *kiv_hashtable_KIV_UNICHAR_new_default(KIV_ALLOCATOR *allocator) {
  return new_pairs(allocator, hash_string, compare_strings);
}

KIV_HASHTABLE *kiv_hashtable_KIV_U32_new(KIV_ALLOCATOR *allocator, KIV_HASHTABLE_COMPARE compare,
                                         KIV_HASHTABLE_KEY_OF key_of) {
  return kiv_hashtable_new(allocator, 0, 0, hash_number<uint32_t>, compare, key_of);
}

KIV_HASHTABLE *kiv_hashtable_KIV_U64_new(KIV_ALLOCATOR *allocator, KIV_HASHTABLE_COMPARE compare,
                                         KIV_HASHTABLE_KEY_OF key_of) {
  return kiv_hashtable_new(allocator, 0, 0, hash_number<uint64_t>, compare, key_of);
}

KIV_HASHTABLE *kiv_hashtable_KIV_UNICHAR_new(KIV_ALLOCATOR *allocator, KIV_HASHTABLE_COMPARE compare,
                                             KIV_HASHTABLE_KEY_OF key_of) {
  return kiv_hashtable_new(allocator, 0, 0, hash_string, compare, key_of);
}
