// The kinds of objects that hold one plain value: their descriptors and constructors. All but their texts and numbers
// are the default operations.

#include <charconv>
#include <cstring>

#include "base/record_layout.h"
#include "kiv_bigflt_text.h"
#include "kiv_obj.h"
#include "numbers/digits.h"
#include "objects/object.h"

KIV_LAYOUT_32(sizeof(KIV_OBJ_INT) == 20);
KIV_LAYOUT_32(sizeof(KIV_OBJ_U32) == 20);
KIV_LAYOUT_32(sizeof(KIV_OBJ_CHAR) == 20);
KIV_LAYOUT_32(sizeof(KIV_OBJ_UCHAR) == 20);
KIV_LAYOUT_32(sizeof(KIV_OBJ_PTR) == 20);
KIV_LAYOUT_32(sizeof(KIV_OBJ_BIGFLT) == 52);
KIV_LAYOUT_32(sizeof(KIV_OBJ_UNICHAR) == 20);
KIV_LAYOUT_32(sizeof(KIV_OBJ_U64) == 24);

namespace kiv::object {
namespace {

template <class Record>
auto value_of(const KIV_OBJ *object) {
  return reinterpret_cast<const Record *>(object)->value;
}

// --- Texts -----------------------------------------------------------------------------------------------------------

/// The text that write(buffer) gives the length of, in a block of that length and one: first in a buffer that all such
/// texts fit.
template <class Write>
char *number_text(const KIV_OBJ *object, Write write) {
  char *text = allocate_text(object, 50);
  return text != nullptr ? shrink_text(object, text, write(text)) : nullptr;
}

template <class Integer>
uint32_t write_decimal(char *text, uint32_t size, Integer value) {
  return static_cast<uint32_t>(std::to_chars(text, text + size, value).ptr - text);
}

/// Also of u32: its texts are those of int, and have been negative from 2^31 on for as long as the kind exists.
char *int_text(const KIV_OBJ *object) {
  return number_text(object, [=](char *text) { return write_decimal(text, 50, value_of<KIV_OBJ_INT>(object)); });
}

/// As the C runtime of Windows prints "%p".
char *ptr_text(const KIV_OBJ *object) {
  return number_text(object, [=](char *text) {
    uint32_t length = 0;
    const auto address = reinterpret_cast<uintptr_t>(value_of<KIV_OBJ_PTR>(object));
    if constexpr (sizeof address == 8) {
      write_8_hexadecimal(text, static_cast<uint32_t>(uint64_t{address} >> 32), 'A');
      length = 8;
    }
    write_8_hexadecimal(text + length, static_cast<uint32_t>(address), 'A');
    return length + 8;
  });
}

char *bigflt_text(const KIV_OBJ *object) {
  return number_text(object, [=](char *text) {
    // The number is cut where it does not fit.
    (void)kiv_bigflt_sprint(text, 20, "f", 6, &reinterpret_cast<const KIV_OBJ_BIGFLT *>(object)->value);
    return static_cast<uint32_t>(std::strlen(text));
  });
}

char *u64_text(const KIV_OBJ *object) {
  constexpr uint32_t kSize = 21;  // 2^64 - 1 has 20 digits
  char *text = allocate_text(object, kSize);
  if (text != nullptr) (void)write_decimal(text, kSize, value_of<KIV_OBJ_U64>(object));
  return text;
}

char *character_text(const KIV_OBJ *object, char character) {
  char *text = allocate_text(object, 2);
  if (text != nullptr) text[0] = character;
  return text;
}

char *char_text(const KIV_OBJ *object) { return character_text(object, value_of<KIV_OBJ_CHAR>(object)); }

char *unichar_text(const KIV_OBJ *object) {
  const KIV_UNICHAR value = value_of<KIV_OBJ_UNICHAR>(object);
  return character_text(object, value <= 126 ? static_cast<char>(value) : '?');
}

// --- Numbers ---------------------------------------------------------------------------------------------------------

uint32_t u32_number(const KIV_OBJ *object) { return value_of<KIV_OBJ_U32>(object); }
uint32_t ptr_number(const KIV_OBJ *object) { return fold(value_of<KIV_OBJ_PTR>(object)); }
uint32_t u64_number(const KIV_OBJ *object) { return fold(value_of<KIV_OBJ_U64>(object)); }

// --- Descriptors -----------------------------------------------------------------------------------------------------

template <class Record>
constexpr KIV_OBJ_TYPE scalar(KIV_OBJ_KIND kind, char *(*text)(const KIV_OBJ *),
                              uint32_t (*number)(const KIV_OBJ *) = obj_to_number_default) {
  return {kind, sizeof(Record), text, number, obj_copy_default, obj_cmp_default, obj_del_default};
}

constexpr KIV_OBJ_TYPE kChar = scalar<KIV_OBJ_CHAR>(KIV_OBJ_KIND_CHAR, char_text);
constexpr KIV_OBJ_TYPE kUchar = scalar<KIV_OBJ_UCHAR>(KIV_OBJ_KIND_UCHAR, char_text);
constexpr KIV_OBJ_TYPE kBigflt = scalar<KIV_OBJ_BIGFLT>(KIV_OBJ_KIND_BIGFLT, bigflt_text);
constexpr KIV_OBJ_TYPE kUnichar = scalar<KIV_OBJ_UNICHAR>(KIV_OBJ_KIND_UNICHAR, unichar_text);

// --- Constructors ----------------------------------------------------------------------------------------------------

template <class Record, class Value>
KIV_OBJ *with_value(Record *record, Value value) {
  if (record == nullptr) return nullptr;
  record->value = value;
  return &record->header;
}

template <class Record, class Value>
KIV_OBJ *make(KIV_ALLOCATOR *allocator, const KIV_OBJ_TYPE &type, Value value) {
  return with_value(allocate<Record>(allocator, type), value);
}

template <class Record, class Value>
KIV_OBJ *make_automatic(Record *storage, const KIV_OBJ_TYPE &type, Value value) {
  return with_value(build_automatic(storage, type, nullptr), value);
}

/// Bytes without a meaning take part in comparisons.
bigflt without_rests(bigflt value) {
  std::memset(value.unused, 0, sizeof value.unused);
  return value;
}

}  // namespace

constinit const KIV_OBJ_TYPE int_type = scalar<KIV_OBJ_INT>(KIV_OBJ_KIND_INT, int_text, u32_number);
constinit const KIV_OBJ_TYPE u32_type = scalar<KIV_OBJ_U32>(KIV_OBJ_KIND_U32, int_text, u32_number);
constinit const KIV_OBJ_TYPE ptr_type = scalar<KIV_OBJ_PTR>(KIV_OBJ_KIND_PTR, ptr_text, ptr_number);
constinit const KIV_OBJ_TYPE u64_type = scalar<KIV_OBJ_U64>(KIV_OBJ_KIND_U64, u64_text, u64_number);

}  // namespace kiv::object

namespace object = kiv::object;

KIV_OBJ *obj_int_new(KIV_ALLOCATOR *allocator, int32_t value) {
  return object::make<KIV_OBJ_INT>(allocator, object::int_type, value);
}
KIV_OBJ *obj_u32_new(KIV_ALLOCATOR *allocator, uint32_t value) {
  return object::make<KIV_OBJ_U32>(allocator, object::u32_type, value);
}
KIV_OBJ *obj_char_new(KIV_ALLOCATOR *allocator, char value) {
  return object::make<KIV_OBJ_CHAR>(allocator, object::kChar, value);
}
KIV_OBJ *obj_uchar_new(KIV_ALLOCATOR *allocator, uint8_t value) {
  return object::make<KIV_OBJ_UCHAR>(allocator, object::kUchar, value);
}
KIV_OBJ *obj_ptr_new(KIV_ALLOCATOR *allocator, void *value) {
  return object::make<KIV_OBJ_PTR>(allocator, object::ptr_type, value);
}
KIV_OBJ *obj_bigflt_new(KIV_ALLOCATOR *allocator, bigflt value) {
  return object::make<KIV_OBJ_BIGFLT>(allocator, object::kBigflt, object::without_rests(value));
}
KIV_OBJ *obj_unichar_new(KIV_ALLOCATOR *allocator, KIV_UNICHAR value) {
  return object::make<KIV_OBJ_UNICHAR>(allocator, object::kUnichar, value);
}
KIV_OBJ *obj_u64_new(KIV_ALLOCATOR *allocator, uint64_t value) {
  return object::make<KIV_OBJ_U64>(allocator, object::u64_type, value);
}

KIV_OBJ *obj_int_new_automatic(KIV_OBJ_INT *storage, int32_t value) {
  return object::make_automatic(storage, object::int_type, value);
}
KIV_OBJ *obj_u32_new_automatic(KIV_OBJ_U32 *storage, uint32_t value) {
  return object::make_automatic(storage, object::u32_type, value);
}
KIV_OBJ *obj_char_new_automatic(KIV_OBJ_CHAR *storage, char value) {
  return object::make_automatic(storage, object::kChar, value);
}
KIV_OBJ *obj_uchar_new_automatic(KIV_OBJ_UCHAR *storage, uint8_t value) {
  return object::make_automatic(storage, object::kUchar, value);
}
KIV_OBJ *obj_ptr_new_automatic(KIV_OBJ_PTR *storage, void *value) {
  return object::make_automatic(storage, object::ptr_type, value);
}
KIV_OBJ *obj_bigflt_new_automatic(KIV_OBJ_BIGFLT *storage, bigflt value) {
  return object::make_automatic(storage, object::kBigflt, object::without_rests(value));
}
KIV_OBJ *obj_unichar_new_automatic(KIV_OBJ_UNICHAR *storage, KIV_UNICHAR value) {
  return object::make_automatic(storage, object::kUnichar, value);
}
KIV_OBJ *obj_u64_new_automatic(KIV_OBJ_U64 *storage, uint64_t value) {
  return object::make_automatic(storage, object::u64_type, value);
}

bigflt obj_bigflt_get(const KIV_OBJ *object) { return object::value_of<KIV_OBJ_BIGFLT>(object); }
void obj_bigflt_set(KIV_OBJ *object, bigflt value) {
  reinterpret_cast<KIV_OBJ_BIGFLT *>(object)->value = object::without_rests(value);
}

uint64_t obj_u64_get(const KIV_OBJ *object) { return object::value_of<KIV_OBJ_U64>(object); }
void obj_u64_set(KIV_OBJ *object, uint64_t value) { reinterpret_cast<KIV_OBJ_U64 *>(object)->value = value; }

uint32_t obj_int_get_type(void) { return KIV_OBJ_KIND_INT; }
uint32_t obj_u32_get_type(void) { return KIV_OBJ_KIND_U32; }
uint32_t obj_char_get_type(void) { return KIV_OBJ_KIND_CHAR; }
uint32_t obj_uchar_get_type(void) { return KIV_OBJ_KIND_UCHAR; }
uint32_t obj_ptr_get_type(void) { return KIV_OBJ_KIND_PTR; }
uint32_t obj_bigflt_get_type(void) { return KIV_OBJ_KIND_BIGFLT; }
uint32_t obj_unichar_get_type(void) { return KIV_OBJ_KIND_UNICHAR; }
uint32_t obj_u64_get_type(void) { return KIV_OBJ_KIND_U64; }
