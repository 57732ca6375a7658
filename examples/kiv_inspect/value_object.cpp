#include "examples/kiv_inspect/value_object.h"

#include <algorithm>
#include <new>

#include "examples/kiv_inspect/compare.h"

namespace kiv::inspect {
namespace {

const ConstantValue &value_of(const KIV_OBJ *object) { return reinterpret_cast<const ValueObject *>(object)->value; }

/// A text of so many characters, all of them 0 yet; null without memory.
char *new_text(const KIV_OBJ *object, size_t size) {
  if (size >= UINT32_MAX) return nullptr;
  return static_cast<char *>(object->allocator->calloc(object->allocator, static_cast<uint32_t>(size) + 1, 1));
}

char *quote(const KIV_OBJ *object, std::string_view contents) {
  char *text = new_text(object, contents.size() + 2);
  if (text == nullptr) return nullptr;
  *text = '"';
  *std::copy(contents.begin(), contents.end(), text + 1) = '"';
  return text;
}

char *spell(const KIV_OBJ *object, std::string_view bytes) {
  constexpr std::string_view kStart = "bytes", kDigits = "0123456789abcdef";
  if (bytes.size() > UINT32_MAX / 4) return nullptr;
  char *text = new_text(object, kStart.size() + 3 * bytes.size());
  if (text == nullptr) return nullptr;
  char *end = std::copy(kStart.begin(), kStart.end(), text);
  for (const char byte : bytes) {
    *end++ = ' ';
    *end++ = kDigits[static_cast<uint8_t>(byte) >> 4];
    *end++ = kDigits[static_cast<uint8_t>(byte) & 15];
  }
  return text;
}

char *to_text(const KIV_OBJ *object) {
  const ConstantValue &value = value_of(object);
  if (value.kind == ConstantValue::text) return quote(object, value.contents);
  if (value.kind == ConstantValue::bytes) return spell(object, value.contents);
  char number[kFloatTextSize];
  format_number(value, number);
  const std::string_view digits = number;
  char *text = new_text(object, digits.size());
  if (text != nullptr) std::copy(digits.begin(), digits.end(), text);
  return text;
}

/// Equal values have equal numbers: the number of one that has contents is 0 or the attribute's.
uint32_t to_number(const KIV_OBJ *object) {
  const ConstantValue &value = value_of(object);
  const uint64_t number = value.number.lo ^ value.number.hi;
  return static_cast<uint32_t>(number ^ number >> 32 ^ value.contents.size());
}

int32_t compare_own(const KIV_OBJ *a, const KIV_OBJ *b) { return compare_values(value_of(a), value_of(b)); }

// The payload has no parts of its own: copying and deleting it are the default operations.
constexpr KIV_OBJ_TYPE kValueType = {kValueKind,       sizeof(ValueObject), to_text,        to_number,
                                     obj_copy_default, compare_own,         obj_del_default};

enum class Kind { u64, negative, own };

Kind kind_for(const ConstantValue &value) {
  if (value.kind == ConstantValue::unsigned_integer && value.number.hi == 0) return Kind::u64;
  const bool negative = value.kind == ConstantValue::signed_integer && value.number.hi == UINT64_MAX;
  return negative && value.number.lo >= uint64_t{0} - (uint64_t{1} << 31) ? Kind::negative : Kind::own;
}

int32_t low_word(const ConstantValue &value) { return static_cast<int32_t>(static_cast<uint32_t>(value.number.lo)); }

}  // namespace

KIV_OBJ *new_value_object(KIV_ALLOCATOR *allocator, const ConstantValue &value) {
  const Kind kind = kind_for(value);
  if (kind == Kind::u64) return obj_u64_new(allocator, value.number.lo);
  if (kind == Kind::negative) return obj_int_new(allocator, low_word(value));
  void *block = allocator->alloc(allocator, sizeof(ValueObject));
  return block != nullptr ? &(new (block) ValueObject{{&kValueType, allocator, 0, 0}, value})->header : nullptr;
}

KIV_OBJ *build_value_object(ValueStorage *storage, const ConstantValue &value) {
  const Kind kind = kind_for(value);
  if (kind == Kind::u64) return obj_u64_new_automatic(&storage->u64, value.number.lo);
  if (kind == Kind::negative) return obj_int_new_automatic(&storage->negative, low_word(value));
  return &(new (&storage->own) ValueObject{{&kValueType, nullptr, 1, 0}, value})->header;
}

int compare_value_objects(const KIV_OBJ *a, const KIV_OBJ *b) {
  if (a->type != b->type) return compare(a->type->type_id, b->type->type_id);
  if (a->type->type_id == KIV_OBJ_KIND_U64) return compare(obj_u64_get(a), obj_u64_get(b));
  if (a->type->type_id == KIV_OBJ_KIND_INT) return compare(obj_int_get(a), obj_int_get(b));
  return a->type->cmp(a, b);
}

}  // namespace kiv::inspect
