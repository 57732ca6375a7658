#include "kiv_obj.h"

#include <gtest/gtest.h>

#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "counting_kind.h"
#include "kiv_bigflt_text.h"
#include "kiv_obj_vector.h"
#include "tests/support/counting_allocator.h"
#include "tests/support/random.h"
#include "tests/support/unistring.h"

using kiv::test::CountingAllocator;
using kiv::test::CountingKind;
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
    {MAKE(obj_u32_new(a, 2147483647)), 2, 20, 2147483647, "2147483647", 11},
    {MAKE(obj_u32_new(a, 4294967295)), obj_u32_get_type(), 20, 4294967295, "-1", 3},
    {MAKE(obj_char_new(a, 'x')), 3, 20, kAddress, "x", 2},
    {MAKE(obj_char_new(a, 0)), obj_char_get_type(), 20, kAddress, "", 2},
    {MAKE(obj_uchar_new(a, 0xE9)), 4, 20, kAddress, "\xE9", 2},
    {MAKE(obj_uchar_new(a, 127)), obj_uchar_get_type(), 20, kAddress, "\x7F", 2},
    {MAKE(obj_ptr_new(a, (void *)0x12ABCD)), 5, 20, 0x12ABCD, kUpper + "0012ABCD", sizeof(void *) * 2 + 1},
    {MAKE(obj_ptr_new(a, nullptr)), obj_ptr_get_type(), 20, 0, kUpper + "00000000", sizeof(void *) * 2 + 1},
    {MAKE(obj_bigflt_new(a, number("0.3333333"))), 6, 52, kAddress, "0.333333", 9},
    {MAKE(obj_bigflt_new(a, number("-123456789012.5"))), 6, 52, kAddress, "-123456789012.50000", 20},
    {MAKE(obj_bigflt_new(a, number("15e30"))), obj_bigflt_get_type(), 52, kAddress, "1500000000000000000", 20},
    {MAKE(obj_unichar_new(a, 'A')), 7, 20, kAddress, "A", 2},
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

/// Mostly zero bytes, so that values of different kinds are equal now and then.
template <class Value>
Value random_value(std::mt19937_64 *random) {
  Value value;
  auto *bytes = reinterpret_cast<uint8_t *>(&value);
  for (size_t i = 0; i < sizeof value; ++i) {
    bytes[i] = kiv::test::below(*random, 8) == 0 ? static_cast<uint8_t>((*random)()) : 0;
  }
  return value;
}

void clear_unused(void *) {}
void clear_unused(bigflt *value) { std::memset(value->unused, 0, sizeof value->unused); }

/// Objects of the kinds with default operations: two are equal when sizes and bytes of their values are, however they
/// were built and set.
TEST(Object, values_are_equal_when_sizes_and_bytes_are) {
  CountingAllocator allocator;
  auto random = kiv::test::make_random();
  std::deque<KIV_OBJ_BIGFLT> room;  // the largest of them
  std::vector<std::pair<KIV_OBJ *, std::string>> objects;
  const auto add = [&]<class Record, class Value>(KIV_OBJ *(*make)(KIV_ALLOCATOR *, Value),
                                                  KIV_OBJ *(*make_automatic)(Record *, Value),
                                                  Value (*get)(const KIV_OBJ *), void (*set)(KIV_OBJ *, Value)) {
    void *storage = std::memset(static_cast<void *>(&room.emplace_back()), 0xA5, sizeof(Record));  // as a stack is
    const auto value = random_value<Value>(&random), other = random_value<Value>(&random);
    for (KIV_OBJ *object : {make(allocator.record(), value), make_automatic(static_cast<Record *>(storage), value)}) {
      const bool replace = random() % 2 == 0;
      if (replace) set(object, other);
      Value got = get(object), wanted = replace ? other : value;
      clear_unused(&wanted);
      std::string bytes(sizeof(Record) - sizeof(KIV_OBJ), 0);
      std::memcpy(bytes.data(), &wanted, sizeof wanted);
      EXPECT_EQ(std::memcmp(&got, &wanted, sizeof got), 0);
      objects.emplace_back(object, bytes);
    }
  };
  for (int round = 0; round < 20; ++round) {
    add(obj_int_new, obj_int_new_automatic, obj_int_get, obj_int_set);
    add(obj_u32_new, obj_u32_new_automatic, obj_u32_get, obj_u32_set);
    add(obj_char_new, obj_char_new_automatic, obj_char_get, obj_char_set);
    add(obj_uchar_new, obj_uchar_new_automatic, obj_uchar_get, obj_uchar_set);
    add(obj_ptr_new, obj_ptr_new_automatic, obj_ptr_get, obj_ptr_set);
    add(obj_bigflt_new, obj_bigflt_new_automatic, obj_bigflt_get, obj_bigflt_set);
    add(obj_unichar_new, obj_unichar_new_automatic, obj_unichar_get, obj_unichar_set);
    add(obj_u64_new, obj_u64_new_automatic, obj_u64_get, obj_u64_set);
  }
  for (const auto &[a, bytes_a] : objects) {
    for (const auto &[b, bytes_b] : objects) EXPECT_EQ(a->type->cmp(a, b), bytes_a != bytes_b);
  }
  for (const auto &[object, bytes] : objects) obj_vector_del(object);
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

  CountingKind kind;
  KIV_OBJ *object = kind.make(allocator.record(), 5, 2);
  obj_vector_del(nullptr);
  obj_vector_del(object);
  EXPECT_EQ(object->extra_refs, 1U);
  obj_vector_del(object);
  EXPECT_TRUE(kind.dead.empty());
  obj_vector_del(object);
  EXPECT_EQ(kind.dead, std::vector<uint32_t>{5});
}

TEST(Object, texts_of_numbers_are_cut_to_size) {
  CountingAllocator allocator;
  KIV_OBJ *object = obj_int_new(allocator.record(), 17);
  allocator.record()->free(allocator.record(), object->type->to_char_s(object));
  obj_vector_del(object);
  const std::string block = "calloc " + std::to_string(sizeof(KIV_OBJ_INT)) + " -> 1";
  EXPECT_EQ(allocator.log, (std::vector<std::string>{block, "calloc 50 -> 2", "realloc 2 3 -> 3", "free 3", "free 1"}));
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
  EXPECT_EQ(allocator.size_of(copy), type.object_size);
  EXPECT_EQ(type.cmp(&a.header, copy), 0);
  ++reinterpret_cast<uint8_t *>(copy)[type.object_size - 1];
  EXPECT_EQ(type.cmp(&a.header, copy), 1);
  type.del(copy);
}

}  // namespace
