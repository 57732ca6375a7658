// A kind of objects that keeps account: who is alive, who died in which order. It shows who releases what.
#ifndef KIV_TESTS_OBJECTS_COUNTING_KIND_H
#define KIV_TESTS_OBJECTS_COUNTING_KIND_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <set>
#include <vector>

#include "kiv_obj.h"

namespace kiv::test {

/// Objects have a number as value, by which they are equal; their text is "<7>". Deleting one that is not alive fails
/// the test, and so do objects that are alive at the end. The kind outlives its objects: destroy it after containers
/// and before the allocator looks for leaks.
class CountingKind {
 public:
  struct Object {
    KIV_OBJ header;
    uint32_t value;
  };

  /// type_id tells it from other kinds of the test. Hash values are the value modulo `hashes`, so that a small number
  /// makes collisions.
  explicit CountingKind(uint32_t type_id = 1000, uint32_t hashes = UINT32_MAX)
      : descriptor_{{type_id, sizeof(Object), to_char_s, to_number, copy, cmp, del}, this}, hashes_(hashes) {}
  ~CountingKind() { EXPECT_TRUE(alive.empty()) << alive.size() << " objects are left"; }
  CountingKind(const CountingKind &) = delete;
  CountingKind &operator=(const CountingKind &) = delete;

  const KIV_OBJ_TYPE *type() const { return &descriptor_.type; }

  /// A new object with one owner; null without memory.
  KIV_OBJ *make(KIV_ALLOCATOR *allocator, uint32_t value, uint32_t extra_refs = 0) {
    auto *object = static_cast<Object *>(allocator->calloc(allocator, 1, sizeof(Object)));
    if (object == nullptr) return nullptr;
    *object = {{type(), allocator, 0, extra_refs}, value};
    alive.insert(&object->header);
    return &object->header;
  }

  static uint32_t value_of(const KIV_OBJ *object) { return reinterpret_cast<const Object *>(object)->value; }

  std::set<const KIV_OBJ *> alive;
  std::vector<uint32_t> dead;  ///< their values, in the order of their deaths

 private:
  /// What the objects point to, and how it leads back here.
  struct Descriptor {
    KIV_OBJ_TYPE type;
    CountingKind *kind;
  };

  static CountingKind *of(const KIV_OBJ *object) { return reinterpret_cast<const Descriptor *>(object->type)->kind; }

  static char *to_char_s(const KIV_OBJ *object) {
    auto *text = static_cast<char *>(object->allocator->calloc(object->allocator, 1, 16));
    if (text != nullptr) std::snprintf(text, 16, "<%u>", static_cast<unsigned>(value_of(object)));
    return text;
  }

  static uint32_t to_number(const KIV_OBJ *object) { return value_of(object) % of(object)->hashes_; }

  static KIV_OBJ *copy(const KIV_OBJ *object) { return of(object)->make(object->allocator, value_of(object)); }

  static int32_t cmp(const KIV_OBJ *a, const KIV_OBJ *b) { return value_of(a) != value_of(b); }

  static void del(KIV_OBJ *object) {
    CountingKind *kind = of(object);
    if (kind->alive.erase(object) == 0) {
      ADD_FAILURE() << "deleted twice";
      return;
    }
    EXPECT_EQ(object->extra_refs, 0U) << "deleted with owners left";
    kind->dead.push_back(value_of(object));
    if (object->automatic == 0) object->allocator->free(object->allocator, object);
  }

  Descriptor descriptor_;
  uint32_t hashes_;
};

}  // namespace kiv::test

#endif
