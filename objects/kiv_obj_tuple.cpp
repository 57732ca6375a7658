// Tuples.

#include "kiv_obj_tuple.h"

#include <cstdarg>

#include "base/record_layout.h"
#include "objects/object_tuple.h"

KIV_LAYOUT_32(sizeof(KIV_OBJ_TUPLE) == 20);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TUPLE, elements) == 16);

namespace kiv::object {
namespace {

KIV_OBJ *copy(const KIV_OBJ *object) {
  const KIV_OBJ_VECTOR *elements = as_tuple(object)->elements;
  KIV_OBJ_TUPLE *result = make_tuple(object->allocator, elements->count);
  if (result == nullptr) return nullptr;
  if (copy_elements(result->elements, elements)) return &result->header;
  release(&result->header);
  return nullptr;
}

/// By the key alone.
int32_t cmp(const KIV_OBJ *a, const KIV_OBJ *b) { return equal(key_of(a), key_of(b)) ? 0 : 1; }

void del(KIV_OBJ *object) {
  KIV_OBJ *elements = &as_tuple(object)->elements->header;
  const bool has_own_block = elements->automatic != kPartOfTuple;
  release(elements);
  if (has_own_block) free_storage(object);
}

void fill(KIV_OBJ_VECTOR *elements, va_list arguments) {
  for (int32_t i = 0; i < elements->count; ++i) elements->elements[i] = va_arg(arguments, KIV_OBJ *);
}

}  // namespace

constinit const KIV_OBJ_TYPE tuple_type = {
    KIV_OBJ_KIND_TUPLE, sizeof(KIV_OBJ_TUPLE), tuple_text, obj_to_number_default, copy, cmp, del};

KIV_OBJ_TUPLE *make_tuple(KIV_ALLOCATOR *allocator, int32_t n) {
  const bool within = roomy(n) < kSlotsWithin;
  const uint64_t size = sizeof(KIV_OBJ_TUPLE) + (within ? sizeof(KIV_OBJ_VECTOR) + slots_size(roomy(n)) : 0);
  auto *tuple = static_cast<KIV_OBJ_TUPLE *>(allocator->alloc(allocator, static_cast<uint32_t>(size)));
  if (tuple == nullptr) return nullptr;
  tuple->header = {&tuple_type, allocator, 0, 0};
  if (within) {
    tuple->elements = reinterpret_cast<KIV_OBJ_VECTOR *>(tuple + 1);
    std::fill_n(slots_behind(tuple->elements), roomy(n) + 1, nullptr);
    build_vector(tuple->elements, allocator, kPartOfTuple, n, slots_behind(tuple->elements));
    return tuple;
  }
  tuple->elements = make_vector(allocator, n);
  if (tuple->elements != nullptr) return tuple;
  free_storage(&tuple->header);
  return nullptr;
}

}  // namespace kiv::object

namespace object = kiv::object;

KIV_OBJ *obj_tuple_new(KIV_ALLOCATOR *allocator, int32_t n, ...) {
  KIV_OBJ_TUPLE *tuple = object::make_tuple(allocator, n);
  if (tuple == nullptr) return nullptr;
  va_list arguments;
  va_start(arguments, n);
  object::fill(tuple->elements, arguments);
  va_end(arguments);
  return &tuple->header;
}

KIV_OBJ *obj_tuple_new_automatic(KIV_ALLOCATOR *allocator, KIV_OBJ_TUPLE *storage, int32_t n, ...) {
  KIV_OBJ_VECTOR *elements = object::make_vector(allocator, n);
  if (elements == nullptr) return nullptr;
  va_list arguments;
  va_start(arguments, n);
  object::fill(elements, arguments);
  va_end(arguments);
  *storage = {{&object::tuple_type, allocator, 1, 0}, elements};
  return &storage->header;
}

KIV_OBJ *obj_tuple_get_elem(const KIV_OBJ *tuple, int32_t index) { return object::tuple_element(tuple, index); }
