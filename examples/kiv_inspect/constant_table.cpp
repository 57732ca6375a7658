#include "examples/kiv_inspect/constant_table.h"

#include <algorithm>
#include <new>

namespace kiv::inspect {
namespace {

int by_contents(const void *key, const void *value) {
  const auto &a = *static_cast<const Constant *>(key), &b = *static_cast<const Constant *>(value);
  if (a.kind != b.kind) return a.kind > b.kind ? 1 : -1;
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
  void *block = pool_->alloc(pool_, sizeof(Constant));
  auto *name = static_cast<char *>(pool_->alloc(pool_, static_cast<uint32_t>(constant.name.size()) + 1));
  if (block == nullptr || name == nullptr) return errors_.out_of_memory();
  std::copy(constant.name.begin(), constant.name.end(), name);
  auto *added = new (block) Constant(constant);
  added->name = {name, constant.name.size()};
  added->next = nullptr;
  if (kiv_avl_insert(known_, added) != 0) return errors_.out_of_memory();
  *last_ = added;
  last_ = &added->next;
  return {};
}

}  // namespace kiv::inspect
