// The kind of objects that owns a string of code points. Null is another spelling of the empty string.

#include "base/record_layout.h"
#include "kiv_obj.h"
#include "kiv_string.h"
#include "kiv_string_convert.h"
#include "objects/object.h"
#include "text/empty_string.h"

KIV_LAYOUT_32(sizeof(KIV_OBJ_UNICHAR_S) == 20);

namespace kiv::object {
namespace {

const KIV_UNICHAR *string_of(const KIV_OBJ *object) {
  return or_empty(reinterpret_cast<const KIV_OBJ_UNICHAR_S *>(object)->value);
}

char *unichar_s_text(const KIV_OBJ *object) {
  if (object->allocator == nullptr) return nullptr;
  return kiv_string_convert_utf32_to_char_a(object->allocator, string_of(object));
}

uint32_t unichar_s_number(const KIV_OBJ *object) {
  uint32_t sum = 0;
  for (const KIV_UNICHAR *unit = string_of(object); *unit != 0; ++unit) sum += *unit;
  return sum;
}

KIV_OBJ *unichar_s_copy(const KIV_OBJ *object) {
  if (object->allocator == nullptr) return nullptr;
  KIV_STRING string = kiv_string_dup(object->allocator, string_of(object));
  if (string == nullptr) return nullptr;
  KIV_OBJ *copy = obj_unichar_s_new(object->allocator, string);
  if (copy == nullptr) kiv_string_delete(object->allocator, string);
  return copy;
}

int32_t unichar_s_cmp(const KIV_OBJ *a, const KIV_OBJ *b) { return kiv_string_compare(string_of(a), string_of(b)); }

void unichar_s_del(KIV_OBJ *object) {
  KIV_STRING string = reinterpret_cast<KIV_OBJ_UNICHAR_S *>(object)->value;
  if (object->allocator != nullptr) kiv_string_delete(object->allocator, string);
  free_storage(object);
}

}  // namespace

constinit const KIV_OBJ_TYPE unichar_s_type = {
    KIV_OBJ_KIND_UNICHAR_S, sizeof(KIV_OBJ_UNICHAR_S), unichar_s_text, unichar_s_number, unichar_s_copy, unichar_s_cmp,
    unichar_s_del};

}  // namespace kiv::object

namespace object = kiv::object;

KIV_OBJ *obj_unichar_s_new(KIV_ALLOCATOR *allocator, KIV_STRING value) {
  auto *record = object::allocate<KIV_OBJ_UNICHAR_S>(allocator, object::unichar_s_type);
  if (record == nullptr) return nullptr;
  record->value = value;
  return &record->header;
}

KIV_OBJ *obj_unichar_s_new_automatic(KIV_ALLOCATOR *allocator, KIV_OBJ_UNICHAR_S *storage, KIV_STRING value) {
  object::build_automatic(storage, object::unichar_s_type, allocator)->value = value;
  return &storage->header;
}

uint32_t obj_unichar_s_get_type(void) { return KIV_OBJ_KIND_UNICHAR_S; }
