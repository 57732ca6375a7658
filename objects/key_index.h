// A hashtable's index of its entries, for a table of keys about which the library knows enough. A look-up through the
// buckets follows five pointers to the key, and for strings often to dozens of keys: the number of a string is the sum
// of its code units, and 100,000 names of a program have some thousand sums. Through the index it is one or two.
//
// Representation: open addressing with linear probing in a power of two of slots, at most two thirds of them in use. A
// slot is an entry's tuple and the key's hash value, of the whole string or of the number; the two stand in arrays
// apart, in one block, so that probing reads hash values only. Hash value 0 is a free slot's. Beside the tuple is the
// address of its key, only to fetch the key ahead: it is read through the tuple, where somebody may have put an equal
// one in its place. Deletion closes gaps (D. E. Knuth, "The Art
// of Computer Programming", volume 3, section 6.4, algorithm R).
//
// Invariants:
//  1. A complete index has every entry of its table, once, and all keys are plain: of kinds of the library's own whose
//     equal objects have equal numbers. A search gives what the bucket would, and there is no foreign code that could
//     tell the difference.
//  2. Any other index has no slots.
#ifndef KIV_OBJECTS_KEY_INDEX_H
#define KIV_OBJECTS_KEY_INDEX_H

#include <cstdint>

#include "kiv_obj.h"

namespace kiv::object {

class KeyIndex {
 public:
  /// All zero: absent.
  enum class State : uint32_t { absent, complete, refused };

  /// What to_number gives, and the index's own hash value.
  struct Digest {
    uint32_t number, hash;
  };

  static constexpr uint32_t kNone = UINT32_MAX;

  bool is_absent() const { return state_ == State::absent; }
  bool is_complete() const { return state_ == State::complete; }

  /// The hash is 0 for a key that is not plain.
  static Digest digest(const KIV_OBJ *key);

  /// Whether searches for a key of that hash can be made here.
  bool covers(uint32_t hash) const { return is_complete() && hash != 0; }

  /// The slot of the equal key, or kNone. REQUIRES: covers(hash).
  uint32_t find(const KIV_OBJ *key, uint32_t hash) const;

  /// Fetches where an entry of that hash is or will be.
  void prefetch(uint32_t hash) const {
    if (!is_complete()) return;
    __builtin_prefetch(&hashes_[hash & mask_]);
    __builtin_prefetch(&entries_[hash & mask_]);
  }

  KIV_OBJ *tuple_at(uint32_t slot) const { return entries_[slot].tuple; }

  /// Starts a complete index of an empty table, or refuses it without memory.
  void start(KIV_ALLOCATOR *allocator, uint32_t entries);

  /// Makes room for so many entries, if there is memory: insert grows the index as well.
  void reserve(KIV_ALLOCATOR *allocator, uint32_t entries);

  /// Adds an entry that is not there, with the hash of its key. A key that is not plain, or a shortage of memory, ends
  /// the index: it is refused.
  void insert(KIV_ALLOCATOR *allocator, KIV_OBJ *tuple, uint32_t hash);

  void erase(uint32_t slot);

  void drop(KIV_ALLOCATOR *allocator, State state);

 private:
  struct Entry {
    KIV_OBJ *tuple;
    const void *key;  ///< not to be read
  };

  void place(Entry entry, uint32_t hash);
  bool resize(KIV_ALLOCATOR *allocator, uint64_t slots);

  Entry *entries_;  ///< the block
  uint32_t *hashes_;
  uint32_t mask_, used_;
  State state_;
};

}  // namespace kiv::object

#endif
