// The index of a hashtable's entries.

#include "objects/key_index.h"

#include <algorithm>
#include <bit>

#include "objects/object_tuple.h"
#include "text/empty_string.h"

namespace kiv::object {

namespace {

constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15;  // 2^64 divided by the golden ratio

uint32_t upper_half(uint64_t state) { return std::max(static_cast<uint32_t>(state >> 32), 1U); }

/// The number of a string, and a hash value: two code units at a time, each step a bijection of the state; the upper
/// bits depend on all of them.
KeyIndex::Digest string_digest(const KIV_UNICHAR *units) {
  uint64_t state = 0;
  uint32_t sum = 0;
  for (; units[0] != 0; units += 2) {
    sum += units[0] + units[1];
    state = (std::rotl(state, 29) ^ (units[0] | uint64_t{units[1]} << 32)) * kMultiplier;
    if (units[1] == 0) break;
  }
  return {sum, upper_half(state)};
}

/// Plain kinds but strings. Known by their descriptors: a program's own kind may have the id of one.
bool is_plain_number(const KIV_OBJ_TYPE *type) {
  return type == &int_type || type == &u32_type || type == &ptr_type || type == &u64_type;
}

/// Slots that so many entries fill to two thirds at most.
uint64_t slots_for(uint64_t entries) { return std::bit_ceil(std::max<uint64_t>(entries + entries / 2 + 1, 64)); }

}  // namespace

KeyIndex::Digest KeyIndex::digest(const KIV_OBJ *key) {
  if (key->type == &unichar_s_type) {
    return string_digest(or_empty(reinterpret_cast<const KIV_OBJ_UNICHAR_S *>(key)->value));
  }
  const uint32_t number = key->type->to_number(key);
  return {number, is_plain_number(key->type) ? upper_half(number * kMultiplier) : 0};
}

uint32_t KeyIndex::find(const KIV_OBJ *key, uint32_t hash) const {
  for (uint32_t i = hash & mask_; hashes_[i] != 0; i = (i + 1) & mask_) {
    if (hashes_[i] != hash) continue;
    __builtin_prefetch(entries_[i].key);
    // The line of a small tuple's elements, while the first one comes in.
    __builtin_prefetch(reinterpret_cast<const char *>(entries_[i].tuple) + 64);
    const KIV_OBJ *stored = key_of(entries_[i].tuple);
    if (stored != nullptr && stored->type == key->type && key->type->cmp(key, stored) == 0) return i;
  }
  return kNone;
}

void KeyIndex::place(Entry entry, uint32_t hash) {
  uint32_t i = hash & mask_;
  while (hashes_[i] != 0) i = (i + 1) & mask_;
  entries_[i] = entry;
  hashes_[i] = hash;
}

bool KeyIndex::resize(KIV_ALLOCATOR *allocator, uint64_t slots) {
  const uint64_t size = slots * (sizeof *entries_ + sizeof *hashes_);
  if (size > UINT32_MAX) return false;
  auto *entries = static_cast<Entry *>(allocator->alloc(allocator, static_cast<uint32_t>(size)));
  if (entries == nullptr) return false;
  const KeyIndex old = *this;
  entries_ = entries;
  hashes_ = reinterpret_cast<uint32_t *>(entries + slots);
  std::fill_n(hashes_, slots, 0);
  mask_ = static_cast<uint32_t>(slots - 1);
  if (old.entries_ == nullptr) return true;
  for (uint32_t i = 0; i <= old.mask_; ++i) {
    if (old.hashes_[i] != 0) place(old.entries_[i], old.hashes_[i]);
  }
  allocator->free(allocator, old.entries_);
  return true;
}

void KeyIndex::start(KIV_ALLOCATOR *allocator, uint32_t entries) {
  state_ = resize(allocator, slots_for(entries)) ? State::complete : State::refused;
}

void KeyIndex::reserve(KIV_ALLOCATOR *allocator, uint32_t entries) {
  if (is_complete() && slots_for(entries) > mask_) (void)resize(allocator, slots_for(entries));
}

void KeyIndex::insert(KIV_ALLOCATOR *allocator, KIV_OBJ *tuple, uint32_t hash) {
  const uint64_t slots = uint64_t{mask_} + 1;
  if (hash == 0 || (uint64_t{used_} * 3 >= slots * 2 && !resize(allocator, slots * 2))) {
    drop(allocator, State::refused);
    return;
  }
  place({tuple, key_of(tuple)}, hash);
  ++used_;
}

void KeyIndex::erase(uint32_t slot) {
  for (uint32_t i = (slot + 1) & mask_; hashes_[i] != 0; i = (i + 1) & mask_) {
    // An entry may move into the gap unless its search would start behind that.
    if (((i - hashes_[i]) & mask_) < ((i - slot) & mask_)) continue;
    entries_[slot] = entries_[i];
    hashes_[slot] = hashes_[i];
    slot = i;
  }
  hashes_[slot] = 0;
  --used_;
}

void KeyIndex::drop(KIV_ALLOCATOR *allocator, State state) {
  if (entries_ != nullptr) allocator->free(allocator, entries_);
  *this = {};
  state_ = state;
}

}  // namespace kiv::object
