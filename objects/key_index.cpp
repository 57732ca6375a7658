// The index of a hashtable's entries.

#include "objects/key_index.h"

#include <bit>

#include "objects/object_tuple.h"
#include "text/empty_string.h"

namespace kiv::object {

namespace {

constexpr uint64_t kFirstSlots = 64;

bool is_string(const KIV_OBJ *key) { return key->type == &unichar_s_type; }

constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15;  // 2^64 divided by the golden ratio

/// Two code units at a time, each step a bijection of the state; the upper bits depend on all of them.
uint32_t string_hash(const KIV_UNICHAR *units) {
  uint64_t state = 0;
  for (; units[0] != 0; units += 2) {
    const uint64_t pair = units[0] | uint64_t{units[1]} << 32;
    state = (std::rotl(state, 29) ^ pair) * kMultiplier;
    if (units[1] == 0) break;
  }
  return static_cast<uint32_t>(state >> 32);
}

}  // namespace

bool KeyIndex::is_plain(const KIV_OBJ *key) {
  if (is_string(key)) return true;
  if (key->type->cmp != obj_cmp_default) return false;
  switch (key->type->type_id) {
    case KIV_OBJ_KIND_INT:
    case KIV_OBJ_KIND_U32:
    case KIV_OBJ_KIND_PTR:
    case KIV_OBJ_KIND_U64:
      return true;
    default:
      return false;
  }
}

bool KeyIndex::covers(const KIV_OBJ *key) const { return state_ == State::complete && is_plain(key); }

uint32_t KeyIndex::hash(const KIV_OBJ *key, uint32_t number) {
  if (is_string(key)) return string_hash(or_empty(reinterpret_cast<const KIV_OBJ_UNICHAR_S *>(key)->value));
  return static_cast<uint32_t>(number * kMultiplier >> 32);
}

uint32_t KeyIndex::hash(const KIV_OBJ *key) { return hash(key, is_string(key) ? 0 : key->type->to_number(key)); }

KeyIndex::Slot *KeyIndex::find(const KIV_OBJ *key, uint32_t hash) const {
  const uint32_t kind = key->type->type_id;
  for (uint32_t i = hash & mask_; slots_[i].tuple != nullptr; i = (i + 1) & mask_) {
    if (slots_[i].hash != hash) continue;
    // On its way while the keys are compared: nearly always it is the one.
    __builtin_prefetch(slots_[i].tuple);
    __builtin_prefetch(reinterpret_cast<const char *>(slots_[i].tuple) + 64);
    if (slots_[i].key->type->type_id == kind && key->type->cmp(key, slots_[i].key) == 0) return &slots_[i];
  }
  return nullptr;
}

void KeyIndex::place(Slot entry) {
  uint32_t i = entry.hash & mask_;
  while (slots_[i].tuple != nullptr) i = (i + 1) & mask_;
  slots_[i] = entry;
}

bool KeyIndex::resize(KIV_ALLOCATOR *allocator, uint64_t count) {
  const uint64_t size = count * sizeof(Slot);
  if (size > UINT32_MAX) return false;
  auto *slots = static_cast<Slot *>(allocate_zeroed(allocator, static_cast<uint32_t>(size)));
  if (slots == nullptr) return false;
  Slot *const old = slots_, *const end = old != nullptr ? old + mask_ + 1 : nullptr;
  slots_ = slots;
  mask_ = static_cast<uint32_t>(count - 1);
  for (const Slot *slot = old; slot != end; ++slot) {
    if (slot->tuple != nullptr) place(*slot);
  }
  allocator->free(allocator, old);
  return true;
}

void KeyIndex::start(KIV_ALLOCATOR *allocator) {
  state_ = resize(allocator, kFirstSlots) ? State::complete : State::refused;
}

void KeyIndex::insert(KIV_ALLOCATOR *allocator, KIV_OBJ *tuple, uint32_t hash) {
  const KIV_OBJ *key = key_of(tuple);
  const uint64_t size = uint64_t{mask_} + 1;
  if (!is_plain(key) || (uint64_t{used_} * 3 >= size * 2 && !resize(allocator, size * 2))) {
    drop(allocator, State::refused);
    return;
  }
  place({tuple, key, hash});
  ++used_;
}

void KeyIndex::erase(Slot *slot) {
  auto gap = static_cast<uint32_t>(slot - slots_);
  for (uint32_t i = (gap + 1) & mask_; slots_[i].tuple != nullptr; i = (i + 1) & mask_) {
    // An entry may move into the gap unless its search would start behind that.
    const uint32_t home = slots_[i].hash & mask_;
    if (((i - home) & mask_) < ((i - gap) & mask_)) continue;
    slots_[gap] = slots_[i];
    gap = i;
  }
  slots_[gap] = {};
  --used_;
}

void KeyIndex::drop(KIV_ALLOCATOR *allocator, State state) {
  if (slots_ != nullptr) allocator->free(allocator, slots_);
  slots_ = nullptr;
  mask_ = 0;
  used_ = 0;
  state_ = state;
}

}  // namespace kiv::object
