#include "examples/kiv_inspect/constant_table.h"

#include "examples/kiv_inspect/compare.h"
#include "examples/kiv_inspect/pool.h"

namespace kiv::inspect {
namespace {

int by_contents(const void *key, const void *value) {
  const auto &a = *static_cast<const Constant *>(key), &b = *static_cast<const Constant *>(value);
  if (a.kind != b.kind) return compare(a.kind, b.kind);
  const int name = a.name.compare(b.name);
  return name != 0 ? name : compare_values(a.value, b.value);
}

}  // namespace

Status ConstantTable::open(KIV_ALLOCATOR *pool) {
  pool_ = pool;
  known_ = kiv_avl_new_using_KIV_ALLOCATOR(pool, by_contents, nullptr, nullptr);
  return known_ != nullptr ? Status{} : errors_.out_of_memory();
}

Status ConstantTable::add(const Constant &constant) {
  if (kiv_avl_find(known_, &constant) != nullptr) return {};
  Constant *added = place(pool_, constant);
  if (added == nullptr) return errors_.out_of_memory();
  added->name = place_text(pool_, constant.name);
  if (added->name.data() == nullptr) return errors_.out_of_memory();
  added->next = nullptr;
  if (kiv_avl_insert(known_, added) != 0) return errors_.out_of_memory();
  *last_ = added;
  last_ = &added->next;
  return {};
}

}  // namespace kiv::inspect
