// The default operations of objects: what fits a kind whose payload is plain bytes.

#include "kiv_obj.h"

#include <cstring>

#include "base/record_layout.h"
#include "objects/object.h"

namespace object = kiv::object;

KIV_LAYOUT_32(sizeof(KIV_OBJ) == 16);
KIV_LAYOUT_32(offsetof(KIV_OBJ, type) == 0);
KIV_LAYOUT_32(offsetof(KIV_OBJ, allocator) == 4);
KIV_LAYOUT_32(offsetof(KIV_OBJ, automatic) == 8);
KIV_LAYOUT_32(offsetof(KIV_OBJ, extra_refs) == 12);

KIV_LAYOUT_32(sizeof(KIV_OBJ_TYPE) == 28);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TYPE, type_id) == 0);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TYPE, object_size) == 4);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TYPE, to_char_s) == 8);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TYPE, to_number) == 12);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TYPE, copy) == 16);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TYPE, cmp) == 20);
KIV_LAYOUT_32(offsetof(KIV_OBJ_TYPE, del) == 24);

char *obj_to_char_s_default(const KIV_OBJ *object) {
  return object::allocate_text(object, object::payload_size(*object->type) + 1);
}

uint32_t obj_to_number_default(const KIV_OBJ *object) { return object::fold(object); }

KIV_OBJ *obj_copy_default(const KIV_OBJ *object) {
  auto *copy = object::allocate<KIV_OBJ>(object->allocator, *object->type);
  if (copy == nullptr) return nullptr;
  std::memcpy(object::payload(copy), object::payload(object), object::payload_size(*object->type));
  return copy;
}

int32_t obj_cmp_default(const KIV_OBJ *a, const KIV_OBJ *b) {
  const uint32_t size = object::payload_size(*a->type);
  if (size != object::payload_size(*b->type)) return 1;
  // Nearly all payloads are a word, which is compared without a call.
  if (size == sizeof(uintptr_t)) return std::memcmp(object::payload(a), object::payload(b), sizeof(uintptr_t)) != 0;
  return std::memcmp(object::payload(a), object::payload(b), size) != 0;
}

void obj_del_default(KIV_OBJ *object) { object::free_storage(object); }
