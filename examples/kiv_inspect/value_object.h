// Values of constants as objects of kiv_obj.h, printed by their descriptors.
//
// An unsigned integer of up to 64 bits is a u64, a negative one of 32 bits an int: the library's kinds. All other
// values are of a kind of the tool's own, because the library's have no place for them, or show less than all of them:
// a bigflt has six digits behind the point, a string "?" for what is not ASCII.
#ifndef KIV_INSPECT_VALUE_OBJECT_H
#define KIV_INSPECT_VALUE_OBJECT_H

#include "examples/kiv_inspect/constant_value.h"
#include "kiv_obj.h"

namespace kiv::inspect {

/// The kinds of the tool's own, behind those of the library.
enum : uint32_t { kValueKind = 0x100, kTypeLabelKind };

/// The tool's own kind of values. Its text is an integer or a floating-point number as format_number() has it,
/// "bytes 01 02", or a text in quotation marks. It owns nothing: contents stay where they are.
struct ValueObject {
  KIV_OBJ header;
  ConstantValue value;
};

/// A value as an object; null without memory.
KIV_OBJ *new_value_object(KIV_ALLOCATOR *allocator, const ConstantValue &value);

/// Room for any of them.
union ValueStorage {
  ValueStorage() : u64() {}
  KIV_OBJ_U64 u64;
  KIV_OBJ_INT negative;
  ValueObject own;
};

/// The same object in storage of the caller's, for comparing.
KIV_OBJ *build_value_object(ValueStorage *storage, const ConstantValue &value);

/// Some total order, which the descriptors do not have; 0 for values that are shown in the same way.
int compare_value_objects(const KIV_OBJ *a, const KIV_OBJ *b);

}  // namespace kiv::inspect

#endif
