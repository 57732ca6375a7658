// A hashtable's index of its entries, for a table of keys about which the library knows enough. A look-up through the
// buckets follows five pointers to the key, and for strings often to dozens of keys: the number of a string is the sum
// of its code units, and 100,000 names of a program have some thousand sums. Through the index it is one or two.
//
// Representation: open addressing with linear probing in a power of two of slots, at most two thirds of them in use,
// each with an entry's tuple, its key and a hash value: of the whole string, or of the key's number. Deletion closes
// gaps (D. E. Knuth, "The Art of Computer Programming", volume 3, section 6.4, algorithm R).
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

  struct Slot {
    KIV_OBJ *tuple;  ///< null: the slot is free
    const KIV_OBJ *key;
    uint32_t hash;
  };

  State state() const { return state_; }

  static bool is_plain(const KIV_OBJ *key);

  /// Whether searches for the key can be made here.
  bool covers(const KIV_OBJ *key) const;

  /// REQUIRES: the key is plain, and number is what its to_number gives, unless it is a string.
  static uint32_t hash(const KIV_OBJ *key, uint32_t number);
  /// The same; asks for the number when it is needed.
  static uint32_t hash(const KIV_OBJ *key);

  /// The slot of the equal key; null when there is none. REQUIRES: covers(key).
  Slot *find(const KIV_OBJ *key, uint32_t hash) const;

  /// Starts a complete index of an empty table, or refuses it without memory.
  void start(KIV_ALLOCATOR *allocator);

  /// Adds an entry that is not there, with the hash of its key. A key that is not plain, or a shortage of memory, ends
  /// the index: it is refused.
  void insert(KIV_ALLOCATOR *allocator, KIV_OBJ *tuple, uint32_t hash);

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
