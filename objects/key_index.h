// A hashtable's index of its entries by key, for a table whose keys are strings. The number of a string is the sum of
// its code units, and 100,000 names of a program have some thousand sums: without an index a look-up would compare
// dozens of keys of its bucket.
//
// Representation: open addressing with linear probing in a power of two of slots, at most two thirds in use, each
// with an entry's tuple and a hash value of the whole string. Deletion closes gaps (D. E. Knuth, "The Art of Computer
// Programming", volume 3, section 6.4, algorithm R).
//
// Invariants:
//  1. A complete index has every entry of its table, once, and all their keys are strings of the library's kind. What
//  is
//     equal is then known without asking the objects, and a search gives what the bucket would.
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

  struct Slot {
    KIV_OBJ *tuple;
    uint32_t hash;
  };

  State state() const { return state_; }

  /// Whether searches for the key can be made here.
  bool covers(const KIV_OBJ *key) const;

  static uint32_t hash(const KIV_OBJ *string);

  /// The slot of the equal key; null when there is none. REQUIRES: covers(key).
  Slot *find(const KIV_OBJ *key, uint32_t hash) const;

  /// Starts a complete index of an empty table. False without memory.
  bool start(KIV_ALLOCATOR *allocator);

  /// Adds an entry that is not there. A key of another kind, or a shortage of memory, ends the index: it is refused.
  void insert(KIV_ALLOCATOR *allocator, KIV_OBJ *tuple);

  void erase(Slot *slot);

  void drop(KIV_ALLOCATOR *allocator, State state);

 private:
  void place(Slot entry);
  bool resize(KIV_ALLOCATOR *allocator, uint64_t count);

  Slot *slots_;
  uint32_t mask_;
  uint32_t used_;
  State state_;
};

}  // namespace kiv::object

#endif
