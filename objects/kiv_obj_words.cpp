// Reading and writing a payload's first word or byte: one function for all kinds that have the same there. Kinds with a
// pointer share it on the 32-bit targets only.
//
// Words go through memcpy: what one kind reads as a number another has written as a pointer.

#include <cstring>

#include "base/alias.h"
#include "kiv_obj.h"
#include "kiv_obj_vector.h"
#include "objects/object.h"

namespace object = kiv::object;

namespace {

template <class Value>
Value first(const KIV_OBJ *object) {
  Value value;
  std::memcpy(&value, object::payload(object), sizeof value);
  return value;
}

template <class Value>
void set_first(KIV_OBJ *object, Value value) {
  std::memcpy(object::payload(object), &value, sizeof value);
}

}  // namespace

int32_t obj_int_get(const KIV_OBJ *object) { return first<int32_t>(object); }
KIV_ALIAS(obj_u32_get, obj_int_get);
KIV_ALIAS(obj_unichar_get, obj_int_get);
KIV_ALIAS(obj_vector_size, obj_int_get);
KIV_ALIAS_32(
    obj_ptr_get, obj_int_get, void *obj_ptr_get(const KIV_OBJ *object) { return first<void *>(object); });
KIV_ALIAS_32(
    obj_unichar_s_get, obj_int_get,
    KIV_STRING obj_unichar_s_get(const KIV_OBJ *object) { return first<KIV_STRING>(object); });

void obj_int_set(KIV_OBJ *object, int32_t value) { set_first(object, value); }
KIV_ALIAS(obj_u32_set, obj_int_set);
KIV_ALIAS(obj_unichar_set, obj_int_set);
KIV_ALIAS_32(
    obj_ptr_set, obj_int_set, void obj_ptr_set(KIV_OBJ *object, void *value) { set_first(object, value); });
KIV_ALIAS_32(
    obj_unichar_s_set, obj_int_set,
    void obj_unichar_s_set(KIV_OBJ *object, KIV_STRING value) { set_first(object, value); });

char obj_char_get(const KIV_OBJ *object) { return first<char>(object); }
KIV_ALIAS(obj_uchar_get, obj_char_get);

void obj_char_set(KIV_OBJ *object, char value) { set_first(object, value); }
KIV_ALIAS(obj_uchar_set, obj_char_set);
