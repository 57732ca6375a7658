// Object vectors: making, reading, storing, deleting elements.

#include "kiv_obj_vector.h"

#include "base/alias.h"
#include "base/record_layout.h"
#include "kiv_obj_hashtable.h"
#include "kiv_obj_tree.h"
#include "kiv_obj_tuple.h"
#include "objects/object_vector.h"

KIV_LAYOUT_32(sizeof(KIV_OBJ_VECTOR) == 28);
KIV_LAYOUT_32(offsetof(KIV_OBJ_VECTOR, count) == 16);
KIV_LAYOUT_32(offsetof(KIV_OBJ_VECTOR, capacity) == 20);
KIV_LAYOUT_32(offsetof(KIV_OBJ_VECTOR, elements) == 24);

namespace kiv::object {
namespace {

void del(KIV_OBJ *object) {
  const KIV_OBJ_VECTOR *vector = as_vector(object);
  // Elements are scattered over the heap, and their number is known.
  constexpr int32_t kAhead = 8;
  for (int32_t i = 0; i < vector->count; ++i) {
    if (i + kAhead < vector->count) __builtin_prefetch(vector->elements[i + kAhead]);
    release(vector->elements[i]);
  }
  discard(as_vector(object));
}

void shallow_del(KIV_OBJ *object) { discard(as_vector(object)); }

/// Puts an object into a slot of the vector or behind it. False without memory.
bool store(KIV_OBJ_VECTOR *vector, int32_t index, KIV_OBJ *object) {
  if (index >= vector->count) {
    if (!make_room(vector, int64_t{index} + 1)) return false;
    vector->count = index + 1;
    vector->elements[index] = object;
    return true;
  }
  KIV_OBJ *old = vector->elements[index];
  vector->elements[index] = object;
  if (old != nullptr) release_replaced(old, object);
  return true;
}

/// Fills a gap with a char object for each byte. False, with none of them left, without memory.
bool fill_with_chars(KIV_OBJ_VECTOR *vector, int32_t index, const char *text, int32_t length) {
  for (int32_t i = 0; i < length; ++i) {
    KIV_OBJ *object = obj_char_new(vector->header.allocator, text[i]);
    if (object == nullptr) {
      while (i > 0) release(vector->elements[index + --i]);
      return false;
    }
    vector->elements[index + i] = object;
  }
  return true;
}

/// Inserts the bytes of a text; an index behind the end makes empty slots. False, and nothing is changed, without
/// memory.
bool insert_chars(KIV_OBJ_VECTOR *vector, int32_t index, const char *text, size_t length) {
  // Longer texts make vectors of more than 4 GiB.
  if (length > INT32_MAX) return false;
  const int32_t old_count = vector->count, at = std::min(index, old_count);
  const int64_t gap = int64_t{index} - at + static_cast<int64_t>(length);
  if (!open_gap(vector, at, gap)) return false;
  if (fill_with_chars(vector, index, text, static_cast<int32_t>(length))) return true;
  close_gap(vector, at, static_cast<int32_t>(gap));
  return false;
}

}  // namespace

constinit KIV_OBJ_TYPE vector_type = {KIV_OBJ_KIND_VECTOR,
                                      sizeof(KIV_OBJ_VECTOR),
                                      obj_vector_to_char_s,
                                      obj_to_number_default,
                                      obj_vector_copy,
                                      obj_vector_cmp,
                                      del};

}  // namespace kiv::object

namespace object = kiv::object;
using object::as_vector;

// --- Making and deleting ---------------------------------------------------------------------------------------------

KIV_OBJ *obj_vector_new(KIV_ALLOCATOR *allocator, int32_t n) {
  return reinterpret_cast<KIV_OBJ *>(object::make_vector(allocator, n));
}

KIV_OBJ *obj_vector_new_automatic(KIV_ALLOCATOR *allocator, KIV_OBJ_VECTOR *storage, int32_t n) {
  KIV_OBJ **slots = object::allocate_slots(allocator, n);
  if (slots == nullptr) return nullptr;
  object::build_vector(storage, allocator, 1, n, slots);
  return &storage->header;
}

KIV_OBJ *obj_vector_new_from_char_s(KIV_ALLOCATOR *allocator, const char *text) {
  const size_t length = text != nullptr ? std::strlen(text) : 0;
  if (length > INT32_MAX) return nullptr;
  const auto n = static_cast<int32_t>(length);
  KIV_OBJ_VECTOR *vector = object::make_vector(allocator, n);
  if (vector == nullptr) return nullptr;
  if (object::fill_with_chars(vector, 0, text, n)) return &vector->header;
  object::discard(vector);
  return nullptr;
}

void obj_vector_del(KIV_OBJ *object) { object::release(object); }
KIV_ALIAS(obj_hashtable_del, obj_vector_del);
KIV_ALIAS(obj_tree_del, obj_vector_del);
KIV_ALIAS(obj_tuple_del, obj_vector_del);

void obj_vector_shallow_del(KIV_OBJ *vector) { object::release_as(vector, &object::vector_type, object::shallow_del); }

KIV_ALLOCATOR *obj_vector_get_alloc(const KIV_OBJ *object) { return object->allocator; }
KIV_ALIAS(obj_hashtable_get_alloc, obj_vector_get_alloc);

// --- Reading ---------------------------------------------------------------------------------------------------------

KIV_OBJ *obj_vector_get_elem(const KIV_OBJ *vector, int32_t index) {
  return object::element_at(as_vector(vector), index);
}

KIV_OBJ *obj_vector_get_last_elem(const KIV_OBJ *vector) {
  return object::element_at(as_vector(vector), as_vector(vector)->count - 1);
}

KIV_OBJ *obj_vector_find_elem(const KIV_OBJ *vector, int32_t *index, const KIV_OBJ *key) {
  const int32_t found = object::find(as_vector(vector), key);
  if (found < 0) return nullptr;
  if (index != nullptr) *index = found;
  return as_vector(vector)->elements[found];
}

void obj_vector_foreach_elem(const KIV_OBJ *vector, void *context, KIV_OBJ_VISIT function) {
  for (int32_t i = 0; i < as_vector(vector)->count; ++i) (void)function(context, as_vector(vector)->elements[i]);
}

// --- Storing ---------------------------------------------------------------------------------------------------------

KIV_OBJ *obj_vector_set_elem(KIV_OBJ *vector, int32_t index, KIV_OBJ *object) {
  if (object == nullptr || index < 0) return nullptr;
  return object::store(as_vector(vector), index, object) ? object : nullptr;
}

KIV_OBJ *obj_vector_add_elem(KIV_OBJ *vector, KIV_OBJ *object) {
  return obj_vector_set_elem(vector, as_vector(vector)->count, object);
}

KIV_OBJ *obj_vector_add_uniq_elem(KIV_OBJ *vector, KIV_OBJ *object) {
  return object::find(as_vector(vector), object) < 0 ? obj_vector_add_elem(vector, object) : nullptr;
}

KIV_OBJ *obj_vector_ins_elem(KIV_OBJ *vector, int32_t index, KIV_OBJ *object) {
  if (object == nullptr || index < 0) return nullptr;
  KIV_OBJ *displaced = object::element_at(as_vector(vector), index);
  const bool done = index < as_vector(vector)->count ? object::open_gap(as_vector(vector), index, 1) : true;
  // The result cannot tell a failure, so that nobody else would release the object.
  if (!done || !object::store(as_vector(vector), index, object)) {
    object::release(object);
    return nullptr;
  }
  return displaced;
}

KIV_OBJ *obj_vector_ins_char(KIV_OBJ *vector, int32_t index, char byte) {
  if (index < 0 || !object::insert_chars(as_vector(vector), index, &byte, 1)) return nullptr;
  return as_vector(vector)->elements[index];
}

KIV_OBJ *obj_vector_ins_char_s(KIV_OBJ *vector, int32_t index, const char *text) {
  if (index < 0) return nullptr;
  const size_t length = text != nullptr ? std::strlen(text) : 0;
  if (length != 0 && !object::insert_chars(as_vector(vector), index, text, length)) return nullptr;
  return object::element_at(as_vector(vector), index);
}

// --- Deleting elements -----------------------------------------------------------------------------------------------

void obj_vector_del_elem_at(KIV_OBJ *vector, int32_t index) {
  if (index < 0 || index >= as_vector(vector)->count) return;
  object::release(object::detach(as_vector(vector), index));
}

void obj_vector_del_elem(KIV_OBJ *vector, const KIV_OBJ *object) {
  obj_vector_del_elem_at(vector, object::find(as_vector(vector), object));
}

void obj_vector_del_elem_last(KIV_OBJ *vector) { obj_vector_del_elem_at(vector, as_vector(vector)->count - 1); }

void obj_vector_clear(KIV_OBJ *vector) {
  for (int32_t i = 0; i < as_vector(vector)->count; ++i) {
    KIV_OBJ *element = as_vector(vector)->elements[i];
    as_vector(vector)->elements[i] = nullptr;
    object::release(element);
  }
}

void obj_vector_trunc(KIV_OBJ *vector, int32_t n) {
  const int32_t &count = as_vector(vector)->count;
  // The bound goes down with the count, and the two meet half-way: callers rely on what is left.
  for (int64_t removed = 0; count > 0 && removed < int64_t{count} - n; ++removed) obj_vector_del_elem_last(vector);
}

// --- The operations of the kind --------------------------------------------------------------------------------------

KIV_OBJ *obj_vector_copy(const KIV_OBJ *vector) {
  KIV_OBJ *copy = obj_vector_new(vector->allocator, as_vector(vector)->count);
  if (copy == nullptr) return nullptr;
  if (object::copy_elements(as_vector(copy), as_vector(vector))) return copy;
  object::release(copy);
  return nullptr;
}

int32_t obj_vector_cmp(const KIV_OBJ *a, const KIV_OBJ *b) {
  if (a == nullptr || b == nullptr || as_vector(a)->count != as_vector(b)->count) return 1;
  for (int32_t i = 0; i < as_vector(a)->count; ++i) {
    if (!object::equal(as_vector(a)->elements[i], as_vector(b)->elements[i])) return 1;
  }
  return 0;
}
