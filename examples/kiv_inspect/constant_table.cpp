#include "examples/kiv_inspect/constant_table.h"

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/pool.h"
#include "examples/kiv_inspect/value_object.h"

namespace kiv::inspect {
namespace {

int by_contents(const void *key, const void *value) {
  const auto &a = *static_cast<const Constant *>(key), &b = *static_cast<const Constant *>(value);
  if (a.kind != b.kind) return compare(a.kind, b.kind);
  const int name = a.name.compare(b.name);
  return name != 0 ? name : compare_value_objects(a.value, b.value);
}

}  // namespace

Status ConstantTable::open(KIV_ALLOCATOR *pool, KIV_ALLOCATOR *allocator) {
  pool_ = pool;
  known_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_contents, nullptr, nullptr);
  values_ = obj_vector_new(allocator, 0);
  return known_ != nullptr && values_ != nullptr ? Status{} : errors_.out_of_memory();
}

// Most constants are in several units, so what is looked for is not made in memory.
Status ConstantTable::add(ConstantKind kind, std::string_view name, const ConstantValue &value) {
  ValueStorage storage;
  const Constant key = {nullptr, kind, name, build_value_object(&storage, value)};
  if (kiv_avl_find(known_, &key) != nullptr) return {};
  KIV_OBJ *object = new_value_object(obj_vector_get_alloc(values_), value);
  if (object == nullptr) return errors_.out_of_memory();
  if (obj_vector_add_elem(values_, object) == nullptr) {
    obj_vector_del(object);
    return errors_.out_of_memory();
  }
  Constant *added = place(pool_, Constant{nullptr, kind, place_text(pool_, name), object});
  if (added == nullptr || added->name.data() == nullptr || kiv_avl_insert(known_, added) != 0)
    return errors_.out_of_memory();
  *last_ = added;
  last_ = &added->next;
  ++count_;
  return {};
}

}  // namespace kiv::inspect
