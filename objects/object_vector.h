// The engine of object vectors, which all containers of objects are made of.
//
// Representation: a record and an array of capacity + 1 slots. A vector that starts small has its first array in the
// block of its record, right behind it; when it grows, or when it starts larger, the array is a block of its own.
//
// Invariants:
//  1. Slots from count to capacity are null: what was removed leaves no pointer behind that could be taken for an
//     element when the count goes up again.
//  2. The array belongs to the record's block exactly when it starts where the record ends and the storage is not the
//     caller's. (The block of a vector whose array is apart has at least one more slot, so that no other block can
//     start there.)
//  3. A tuple's vector can be part of the tuple's block, right behind the tuple's record: its header's automatic is
//     kPartOfTuple. The block ends with the vector, which never ends before the tuple, as the tuple is an owner.
#ifndef KIV_OBJECTS_OBJECT_VECTOR_H
#define KIV_OBJECTS_OBJECT_VECTOR_H

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "kiv_obj_vector.h"
#include "objects/object.h"

namespace kiv::object {

/// The descriptor. Not constant: see release_as.
extern KIV_OBJ_TYPE vector_type;

constexpr uint32_t kPartOfTuple = 2;
constexpr uint32_t kSlotSize = sizeof(KIV_OBJ *);

inline KIV_OBJ_VECTOR *as_vector(KIV_OBJ *object) { return reinterpret_cast<KIV_OBJ_VECTOR *>(object); }
inline const KIV_OBJ_VECTOR *as_vector(const KIV_OBJ *object) {
  return reinterpret_cast<const KIV_OBJ_VECTOR *>(object);
}

/// Releases an object whose deletion, if it comes to that, is del in place of what the kind's descriptor says. The
/// descriptor itself says so meanwhile, also to those whom the deletion calls.
inline void release_as(KIV_OBJ *object, KIV_OBJ_TYPE *type, void (*del)(KIV_OBJ *)) {
  void (*const usual)(KIV_OBJ *) = type->del;
  type->del = del;
  release(object);
  type->del = usual;
}

/// Whether two elements are of one kind and equal. An empty slot equals another one only.
inline bool equal(const KIV_OBJ *a, const KIV_OBJ *b) {
  if (a == nullptr || b == nullptr) return a == b;
  return a->type->type_id == b->type->type_id && a->type->cmp(a, b) == 0;
}

// --- Storage ---------------------------------------------------------------------------------------------------------

/// The room that a vector of so many slots starts with or grows to.
constexpr uint64_t roomy(int64_t count) {
  return count > 0 ? static_cast<uint64_t>(count) + static_cast<uint64_t>(count) / 2 : 10;
}

constexpr uint64_t slots_size(uint64_t capacity) { return (capacity + 1) * kSlotSize; }

/// Vectors of at most so many slots start in one block.
constexpr uint64_t kSlotsWithin = 16;

inline KIV_OBJ **slots_behind(KIV_OBJ_VECTOR *vector) { return reinterpret_cast<KIV_OBJ **>(vector + 1); }
inline bool has_slots_within(KIV_OBJ_VECTOR *vector) {
  return vector->elements == slots_behind(vector) && vector->header.automatic != 1;
}

/// Fills in a record. REQUIRES: the slots are null, roomy(n) + 1 of them.
inline void build_vector(KIV_OBJ_VECTOR *vector, KIV_ALLOCATOR *allocator, uint32_t automatic, int32_t n,
                         KIV_OBJ **slots) {
  *vector = {{&vector_type, allocator, automatic, 0}, std::max(n, 0), static_cast<uint32_t>(roomy(n)), slots};
}

/// The slots for a new vector in a block of their own; null without memory.
KIV_OBJ **allocate_slots(KIV_ALLOCATOR *allocator, int32_t n);

/// A new vector of n empty slots; null without memory.
KIV_OBJ_VECTOR *make_vector(KIV_ALLOCATOR *allocator, int32_t n);

/// Makes the array capacity + 1 slots long. REQUIRES: capacity >= count. False, and nothing is changed, without memory.
bool set_capacity(KIV_OBJ_VECTOR *vector, uint64_t capacity);

/// Makes room for so many slots in use.
inline bool make_room(KIV_OBJ_VECTOR *vector, int64_t count) {
  return count <= static_cast<int64_t>(vector->capacity) || (count <= INT32_MAX && set_capacity(vector, roomy(count)));
}

/// Ends the vector, but not its elements.
void discard(KIV_OBJ_VECTOR *vector);

// --- Elements --------------------------------------------------------------------------------------------------------

/// The element; null outside the vector. (A negative index is a large unsigned one.)
inline KIV_OBJ *element_at(const KIV_OBJ_VECTOR *vector, int32_t index) {
  return static_cast<uint32_t>(index) < static_cast<uint32_t>(vector->count) ? vector->elements[index] : nullptr;
}

/// Moves up what stands from index on and leaves `gap` empty slots there. False without memory. REQUIRES: 0 <= index
/// <= count.
bool open_gap(KIV_OBJ_VECTOR *vector, int32_t index, int64_t gap);

/// Removes `gap` slots at index, which have no elements that anybody would miss.
void close_gap(KIV_OBJ_VECTOR *vector, int32_t index, int32_t gap);

/// Takes the element out and closes its slot; gives back room that is not needed. REQUIRES: the index is within.
KIV_OBJ *detach(KIV_OBJ_VECTOR *vector, int32_t index);

/// The index of the first element equal to the key, or -1.
int32_t find(const KIV_OBJ_VECTOR *vector, const KIV_OBJ *key);

/// A reference to an object that has taken the place of `old`: ends that one's. Where the same object is stored again,
/// one of its two references ends; if there is one only, it is the one that is stored.
inline void release_replaced(KIV_OBJ *old, const KIV_OBJ *stored) {
  if (old != stored || old->extra_refs != 0) release(old);
}

/// Stores copies of the elements in the same slots of another vector, which are empty. False when one cannot be made.
bool copy_elements(KIV_OBJ_VECTOR *copy, const KIV_OBJ_VECTOR *vector);

}  // namespace kiv::object

#endif
