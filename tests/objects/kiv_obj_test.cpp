#include "kiv_obj.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

#include "kiv_bigflt_text.h"
#include "kiv_obj_vector.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/unistring.h"

using kiv::test::CountingAllocator;
using kiv::test::new_string;

namespace {

bigflt number(const char *text) {
  bigflt result;
  EXPECT_GT(kiv_bigflt_sscan(text, 100, &result), 0);
  return result;
}

KIV_OBJ *string_object(KIV_ALLOCATOR *allocator, const std::u32string &text) {
  KIV_STRING string = new_string(allocator, text);
  KIV_OBJ *object = string != nullptr ? obj_unichar_s_new(allocator, string) : nullptr;
  if (object == nullptr) kiv_string_delete(allocator, string);  // still the caller's
  return object;
}

const std::string kUpper(sizeof(void *) == 8 ? 8 : 0, '0');  // the upper half of an address
constexpr int64_t kAddress = -1;                             // the object's own

#define MAKE(call) [](KIV_ALLOCATOR *a) { return call; }
const struct {
  KIV_OBJ *(*make)(KIV_ALLOCATOR *);
  uint32_t kind, size_32;
  int64_t number;
  std::string text;
  size_t text_size;
} kLiterals[] = {
    {MAKE(obj_int_new(a, 2147483647)), 1, 20, 2147483647, "2147483647", 11},
    {MAKE(obj_int_new(a, INT32_MIN)), obj_int_get_type(), 20, 2147483648, "-2147483648", 12},
    {MAKE(obj_u32_new(a, 4294967295)), obj_u32_get_type(), 20, 4294967295, "-1", 3},
    {MAKE(obj_char_new(a, 'x')), 3, 20, kAddress, "x", 2},
    {MAKE(obj_char_new(a, 0)), obj_char_get_type(), 20, kAddress, "", 2},
    {MAKE(obj_uchar_new(a, 0xE9)), obj_uchar_get_type(), 20, kAddress, "\xE9", 2},
    {MAKE(obj_ptr_new(a, (void *)0x12ABCD)), 5, 20, 0x12ABCD, kUpper + "0012ABCD", sizeof(void *) * 2 + 1},
    {MAKE(obj_ptr_new(a, nullptr)), obj_ptr_get_type(), 20, 0, kUpper + "00000000", sizeof(void *) * 2 + 1},
    {MAKE(obj_bigflt_new(a, number("0.3333333"))), 6, 52, kAddress, "0.333333", 9},
    {MAKE(obj_bigflt_new(a, number("-123456789012.5"))), 6, 52, kAddress, "-123456789012.50000", 20},
    {MAKE(obj_bigflt_new(a, number("15e30"))), obj_bigflt_get_type(), 52, kAddress, "1500000000000000000", 20},
    {MAKE(obj_unichar_new(a, 126)), 7, 20, kAddress, "~", 2},
    {MAKE(obj_unichar_new(a, 127)), 7, 20, kAddress, "?", 2},
    {MAKE(obj_unichar_new(a, 0x20AC)), obj_unichar_get_type(), 20, kAddress, "?", 2},
    {MAKE(string_object(a, U"AB")), 8, 20, 131, "AB", 3},
    {MAKE(string_object(a, U"\x7F\x80\xFFFFFFFF\xFFFFFFFF")), 8, 20, 0xFD, "\x7F???", 5},
    {MAKE(obj_unichar_s_new(a, nullptr)), obj_unichar_s_get_type(), 20, 0, "", 1},
    {MAKE(obj_u64_new(a, 18446744073709551615U)), 13, 24, 0, "18446744073709551615", 21},
    {MAKE(obj_u64_new(a, 0x1234567800000001)), obj_u64_get_type(), 24, 0x12345679, "1311768464867721217", 21},
};

/// The descriptors' operations, with and without enough memory.
TEST(Object, literals) {
  for (const auto &row : kLiterals) {
    SCOPED_TRACE("kind " + std::to_string(row.kind) + ", " + row.text);
    const uint32_t failures = kiv::test::sweep_failures([&](CountingAllocator &allocator) {
      KIV_OBJ *object = row.make(allocator.record());
      if (object == nullptr) return;
      const KIV_OBJ_TYPE &type = *object->type;
      EXPECT_EQ(type.type_id, row.kind);
      EXPECT_EQ(allocator.size_of(object), type.object_size);
      if (sizeof(void *) == 4) EXPECT_EQ(type.object_size, row.size_32);

      char *text = type.to_char_s(object);
      if (text != nullptr) EXPECT_EQ(text, row.text);
      if (!allocator.has_failed()) EXPECT_EQ(allocator.size_of(text), row.text_size);
      allocator.record()->free(allocator.record(), text);
      const uint64_t address = reinterpret_cast<uintptr_t>(object);
      const uint64_t wanted = row.number == kAddress ? address ^ address >> 32 : static_cast<uint64_t>(row.number);
      EXPECT_EQ(type.to_number(object), static_cast<uint32_t>(wanted));

      object->extra_refs = 7;
      KIV_OBJ *copy = type.copy(object);
      object->extra_refs = 0;
      if (!allocator.has_failed()) {
        EXPECT_EQ(copy->type, &type);
        EXPECT_EQ(copy->automatic + copy->extra_refs, 0U);
        EXPECT_EQ(type.cmp(object, copy), 0);
      }
      obj_vector_del(copy);
      obj_vector_del(object);
    });
    EXPECT_GE(failures, 3U);  // object, text and copy
  }
}

/// In dirty storage, as a stack is, padding does not count, and what is set is what one gets.
template <class Record, class Value>
void expect_clean(KIV_OBJ *(*make)(Record *, Value), KIV_OBJ *made, Value (*get)(const KIV_OBJ *),
                  void (*set)(KIV_OBJ *, Value), Value value) {
  Record storage;
  std::memset(static_cast<void *>(&storage), 0xA5, sizeof storage);
  make(&storage, Value());
  set(made, value);
  EXPECT_EQ(made->type->cmp(&storage.header, made), 1) << made->type->type_id;
  set(&storage.header, get(made));
  EXPECT_EQ(made->type->cmp(&storage.header, made), 0) << made->type->type_id;
  obj_vector_del(made);
}

/// Equal are objects whose values have the same size and bytes, of whatever kinds and however they were built.
TEST(Object, values_are_equal_when_sizes_and_bytes_are) {
  CountingAllocator allocator;
  KIV_ALLOCATOR *a = allocator.record();
  bigflt dirty = number("1.5");
  std::memset(dirty.unused, 0xA5, sizeof dirty.unused);
  const std::tuple<KIV_OBJ *, KIV_OBJ *, int32_t> pairs[] = {
      {obj_int_new(a, -1), obj_u32_new(a, UINT32_MAX), 0},
      {obj_char_new(a, 'x'), obj_unichar_new(a, 'x'), 0},
      {obj_char_new(a, '\x80'), obj_uchar_new(a, 0x80), 0},
      {obj_bigflt_new(a, dirty), obj_bigflt_new(a, number("1.5")), 0},
      {obj_int_new(a, 1), obj_int_new(a, 1 << 24), 1},
      {obj_u64_new(a, 1), obj_u64_new(a, 1ULL << 56 | 1), 1},
      {obj_int_new(a, 0), obj_bigflt_new(a, bigflt()), 1},
      {obj_bigflt_new(a, number("1")), obj_bigflt_new(a, dirty), 1}};
  for (const auto &[one, other, result] : pairs) {
    EXPECT_EQ(one->type->cmp(one, other), result) << one->type->type_id;
    obj_vector_del(one), obj_vector_del(other);
  }
  expect_clean(obj_int_new_automatic, obj_int_new(a, 0), obj_int_get, obj_int_set, -2);
  expect_clean(obj_u32_new_automatic, obj_u32_new(a, 0), obj_u32_get, obj_u32_set, 3U);
  expect_clean(obj_char_new_automatic, obj_char_new(a, 0), obj_char_get, obj_char_set, 'c');
  expect_clean(obj_uchar_new_automatic, obj_uchar_new(a, 0), obj_uchar_get, obj_uchar_set, uint8_t{255});
  expect_clean(obj_bigflt_new_automatic, obj_bigflt_new(a, bigflt()), obj_bigflt_get, obj_bigflt_set, dirty);
  expect_clean(obj_unichar_new_automatic, obj_unichar_new(a, 0), obj_unichar_get, obj_unichar_set, KIV_UNICHAR{7});
  expect_clean(obj_u64_new_automatic, obj_u64_new(a, 0), obj_u64_get, obj_u64_set, uint64_t{1} << 63);
  expect_clean(obj_ptr_new_automatic, obj_ptr_new(a, nullptr), obj_ptr_get, obj_ptr_set, static_cast<void *>(a));
}

TEST(Object, owners) {
  CountingAllocator allocator;
  KIV_OBJ_UNICHAR_S storage;
  KIV_STRING replaced = new_string(allocator.record(), U"b");
  KIV_OBJ *string = obj_unichar_s_new_automatic(allocator.record(), &storage, replaced);
  KIV_OBJ *copy = string->type->copy(string);
  obj_unichar_s_set(string, new_string(allocator.record(), U"a"));
  kiv_string_delete(allocator.record(), replaced);
  EXPECT_EQ(string->type->cmp(string, copy), -1);
  EXPECT_EQ(string->type->cmp(copy, string), 1);
  obj_vector_del(copy);
  obj_vector_del(string);

  KIV_OBJ_INT number;
  KIV_OBJ *automatic = obj_int_new_automatic(&number, 5);
  EXPECT_EQ(automatic->type->to_char_s(automatic), nullptr);
  EXPECT_EQ(automatic->type->copy(automatic), nullptr);
  obj_vector_del(automatic);
  EXPECT_EQ(obj_int_get(automatic), 5);
  automatic = obj_unichar_s_new_automatic(nullptr, &storage, nullptr);
  EXPECT_EQ(automatic->type->to_char_s(automatic), nullptr);
  EXPECT_EQ(automatic->type->copy(automatic), nullptr);
  obj_vector_del(automatic);
}

/// A kind of the program's own, with an odd size and without operations of its own.
TEST(Object, defaults_serve_any_kind) {
  const KIV_OBJ_TYPE type = {99,
                             sizeof(KIV_OBJ) + 5,
                             obj_to_char_s_default,
                             obj_to_number_default,
                             obj_copy_default,
                             obj_cmp_default,
                             obj_del_default};
  CountingAllocator allocator;
  KIV_OBJ_U64 a = {{&type, allocator.record(), 1, 7}, 0x6162636465666768};
  char *text = type.to_char_s(&a.header);
  EXPECT_EQ(std::string(text, allocator.size_of(text)), std::string(6, 0));
  allocator.record()->free(allocator.record(), text);
  KIV_OBJ *copy = type.copy(&a.header);
  EXPECT_EQ(type.cmp(&a.header, copy), 0);
  ++reinterpret_cast<uint8_t *>(copy)[type.object_size - 1];
  EXPECT_EQ(type.cmp(&a.header, copy), 1);
  type.del(copy);
}

}  // namespace
