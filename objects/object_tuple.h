// Tuples. One that the library allocates is, when it is small, a single block: the record, the record of its vector,
// and the vector's slots.
#ifndef KIV_OBJECTS_OBJECT_TUPLE_H
#define KIV_OBJECTS_OBJECT_TUPLE_H

#include "kiv_obj_tuple.h"
#include "objects/object_vector.h"

namespace kiv::object {

/// The descriptor.
extern const KIV_OBJ_TYPE tuple_type;

inline KIV_OBJ_TUPLE *as_tuple(KIV_OBJ *object) { return reinterpret_cast<KIV_OBJ_TUPLE *>(object); }
inline const KIV_OBJ_TUPLE *as_tuple(const KIV_OBJ *object) { return reinterpret_cast<const KIV_OBJ_TUPLE *>(object); }

inline KIV_OBJ *tuple_element(const KIV_OBJ *tuple, int32_t index) {
  return element_at(as_tuple(tuple)->elements, index);
}
inline KIV_OBJ *key_of(const KIV_OBJ *tuple) { return tuple_element(tuple, 0); }

/// The kind's to_char_s.
char *tuple_text(const KIV_OBJ *tuple);

/// A tuple of n empty elements; null without memory.
KIV_OBJ_TUPLE *make_tuple(KIV_ALLOCATOR *allocator, int32_t n);

}  // namespace kiv::object

#endif
