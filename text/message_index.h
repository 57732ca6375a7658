// The index of cached messages: an open-addressed hash table that is read without a lock.
//
// Writers hold the cache's mutex. Readers take whatever table was published last and probe it from the slot of their
// hash on; a slot's key is stored last, so that whoever sees it sees the rest. Slots never change once they have a key,
// and a table that was outgrown stays until the end, because readers may still be in it: all of them together are as
// large as the last one at most. A reader who misses a message that is just being added finds it under the mutex.
//
// Invariants:
//  1. A table has a power of two of slots, at most 3/4 of which have keys: every probe meets an empty one.
//  2. Keys and texts outlive the index.
//
// Tables are on the C runtime's heap: the operations that a user's allocator sees are those of messages, texts and
// their pairs alone.
#ifndef KIV_TEXT_MESSAGE_INDEX_H
#define KIV_TEXT_MESSAGE_INDEX_H

#include <atomic>
#include <cstring>
#include <new>

#include "kiv_types.h"
#include "os/platform.h"

namespace kiv::message {

/// A message with what it is looked up by.
struct Key {
  const char *bytes;
  uint32_t length;
  uint32_t hash;
};

/// Eight bytes a step, the last eight once more when the length is no multiple.
inline uint32_t hash_of(const char *bytes, size_t length) {
  constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15;
  const auto word_at = [](const char *place, size_t size) {
    uint64_t word = 0;
    std::memcpy(&word, place, size);
    return word;
  };
  uint64_t hash = length;
  const auto mix = [&](uint64_t word) {
    hash = (hash ^ word) * kMultiplier;
    hash ^= hash >> 32;
  };
  if (length >= 8) {
    for (size_t i = 0; i + 8 < length; i += 8) mix(word_at(bytes + i, 8));
    mix(word_at(bytes + length - 8, 8));
  } else {
    mix(word_at(bytes, length));
  }
  return static_cast<uint32_t>(hash * kMultiplier >> 32);
}

class MessageIndex {
 public:
  MessageIndex() = default;
  MessageIndex(const MessageIndex &) = delete;

  ~MessageIndex() {
    for (Table *table = table_.load(std::memory_order_relaxed); table != nullptr;) {
      Table *older = table->older;
      os::heap_free(table);
      table = older;
    }
  }

  /// The text of a message, or null. Any thread.
  KIV_STRING find(const Key &key) const {
    const Table *table = table_.load(std::memory_order_acquire);
    if (table == nullptr) return nullptr;
    for (uint32_t i = key.hash;; ++i) {
      const Slot &slot = table->slots()[i & table->mask];
      const char *bytes = slot.key.load(std::memory_order_acquire);
      if (bytes == nullptr) return nullptr;
      if (slot.hash == key.hash && slot.length == key.length && std::memcmp(bytes, key.bytes, key.length) == 0) {
        return slot.text;
      }
    }
  }

  /// Makes room for one more message; false when there is no memory. Under the mutex.
  bool reserve() {
    Table *old = table_.load(std::memory_order_relaxed);
    const uint32_t slots = old != nullptr ? old->mask + 1 : 0;
    if (used_ < slots - slots / 4) return true;
    Table *table = make_table(slots != 0 ? slots * 2 : kFirstSlots);
    if (table == nullptr) return false;
    for (uint32_t i = 0; i < slots; ++i) {
      const Slot &slot = old->slots()[i];
      const char *bytes = slot.key.load(std::memory_order_relaxed);
      if (bytes != nullptr) put(table, {bytes, slot.length, slot.hash}, slot.text);
    }
    table->older = old;
    table_.store(table, std::memory_order_release);
    return true;
  }

  /// Adds a message that is not there. Under the mutex. REQUIRES: reserve() has made room.
  void insert(const Key &key, KIV_STRING text) {
    put(table_.load(std::memory_order_relaxed), key, text);
    ++used_;
  }

 private:
  struct Slot {
    std::atomic<const char *> key{nullptr};
    KIV_STRING text = nullptr;
    uint32_t hash = 0;
    uint32_t length = 0;
  };

  struct Table {
    Table *older = nullptr;
    uint32_t mask = 0;

    Slot *slots() { return reinterpret_cast<Slot *>(this + 1); }
    const Slot *slots() const { return reinterpret_cast<const Slot *>(this + 1); }
  };
  static_assert(sizeof(Table) % alignof(Slot) == 0);

  static constexpr uint32_t kFirstSlots = 16;
  static constexpr uint32_t kMostSlots = 1u << 27;  // whose size a 32-bit target can say

  static Table *make_table(uint32_t slots) {
    if (slots > kMostSlots) return nullptr;
    void *block = os::heap_alloc(sizeof(Table) + slots * sizeof(Slot));
    if (block == nullptr) return nullptr;
    auto *table = new (block) Table;
    table->mask = slots - 1;
    for (uint32_t i = 0; i < slots; ++i) new (table->slots() + i) Slot;
    return table;
  }

  static void put(Table *table, const Key &key, KIV_STRING text) {
    uint32_t i = key.hash & table->mask;
    while (table->slots()[i].key.load(std::memory_order_relaxed) != nullptr) i = (i + 1) & table->mask;
    Slot &slot = table->slots()[i];
    slot.text = text;
    slot.hash = key.hash;
    slot.length = key.length;
    slot.key.store(key.bytes, std::memory_order_release);
  }

  std::atomic<Table *> table_{nullptr};
  uint32_t used_ = 0;
};

}  // namespace kiv::message

#endif
